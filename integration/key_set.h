/// The OIPF KeySet: the remote-control keys that an application asked for (OIPF DAE, KeySet).
#ifndef VESTA_INTEGRATION_KEY_SET_H
#define VESTA_INTEGRATION_KEY_SET_H

#include <cstdint>

#include "vesta_browser.h"

#include "foundation/visibility.h"

namespace VestaHbbTV {

/// A mask of key groups. Browser thread only.
class VESTA_EXPORTED KeySet {
public:
    /// The groups, numbered as the OIPF constants.
    enum Group : int {
        RED = 0x1,
        GREEN = 0x2,
        YELLOW = 0x4,
        BLUE = 0x8,
        NAVIGATION = 0x10,
        VCR = 0x20,
        SCROLL = 0x40,
        INFO = 0x80,
        NUMERIC = 0x100,
        ALPHA = 0x200
    };

    /// @param value stored as it is
    explicit KeySet(int value) : value_(value) {}

    int getValue() const { return value_; }

    /// Stores those of the groups that the terminal supports. @return the stored value
    int setValue(int value);

    /// Whether some group of the set admits the key.
    bool matchesKey(TAVO_VIRTUAL_KEY key) const;

private:
    int32_t value_;
};

}  // namespace VestaHbbTV

#endif
