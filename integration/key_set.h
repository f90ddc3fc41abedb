/// @file
/// The OIPF KeySet: the remote-control keys that an application asked for (OIPF DAE, KeySet).
#ifndef VESTA_INTEGRATION_KEY_SET_H
#define VESTA_INTEGRATION_KEY_SET_H

#include <cstdint>

#include "vesta_browser.h"

#include "foundation/visibility.h"

namespace VestaHbbTV {

/// A mask of key groups.
/// @thread{browser} @since 1.0
class VESTA_EXPORTED KeySet {
public:
    /// The groups, numbered as the OIPF constants.
    enum Group : int {
        RED = 0x1,          ///< the red key alone
        GREEN = 0x2,        ///< the green key alone
        YELLOW = 0x4,       ///< the yellow key alone
        BLUE = 0x8,         ///< the blue key alone
        NAVIGATION = 0x10,  ///< arrows, enter, back
        VCR = 0x20,         ///< play, pause, play/pause, stop, rewind, fast forward
        SCROLL = 0x40,      ///< page up, page down
        INFO = 0x80,        ///< the info key alone
        NUMERIC = 0x100,    ///< 0 to 9
        ALPHA = 0x200       ///< A to Z
    };

    /// A set of these groups.
    /// @param value stored as it is, whatever the terminal supports
    explicit KeySet(int value);

    /// The mask of the groups.
    int getValue() const { return value_; }

    /// Stores those of the groups that the terminal supports. @return the stored value
    int setValue(int value);

    /// Whether some group of the set admits the key. A key of no group never matches.
    bool matchesKey(TAVO_VIRTUAL_KEY key) const;

private:
    int32_t value_;
};

}  // namespace VestaHbbTV

#endif
