/// The sections of one PID, until a table of them is whole.
#ifndef VESTA_KIT_TABLE_COLLECTOR_H
#define VESTA_KIT_TABLE_COLLECTOR_H

#include <cstdint>
#include <vector>

#include "kit/ait_section.h"

namespace VestaHbbTV {

/// A whole table: its sections by their numbers, as they came.
using WholeTable = std::vector<Section>;

/// Collects tables side by side, since an encoder may change over in the middle, or mix two. The
/// section that completes a table makes it the last one; what was begun before that is forgotten.
class TableCollector {
public:
    enum class Result {
        Repeated,   ///< it is a part of the last whole table, or was there already
        Collected,  ///< its table is not whole yet
        Completed   ///< the last whole table is a new one
    };

    /// @param section found right, but perhaps for its checksum
    /// @return whether that very section is known already, so that it need not be looked at
    bool holds(ByteReader section) const;

    /// @param section found right, with the right checksum
    Result add(ByteReader section);

    /// Empty while none was whole.
    const WholeTable& lastWhole() const { return whole_; }

    /// How many sections of the table that was begun last have come, and are needed; 0 for none.
    size_t numberCollected() const;
    size_t numberNeeded() const;

private:
    struct Collection {
        uint8_t version;
        WholeTable sections;  ///< empty where one has not come
        size_t missing;
    };

    Collection& collectionOf(ByteReader section);
    const Collection* findCollection(ByteReader section) const;

    WholeTable whole_;
    std::vector<Collection> collections_;  // the oldest first
};

}  // namespace VestaHbbTV

#endif
