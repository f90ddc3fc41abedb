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
        Repeated,   ///< it is a part of the last whole table
        Collected,  ///< its table is not whole yet
        Stuck,      ///< likewise, and it has come round several times; once for each table
        Completed   ///< the last whole table is a new one
    };

    /// A table that was begun and did not go on for so long, in milliseconds, is forgotten: its
    /// version number may be another table's by then.
    static constexpr uint64_t patience = 30000;

    /// @param section found right, but perhaps for its checksum
    /// @return whether that very section is known already, so that it need not be looked at
    bool holds(ByteReader section) const;

    /// @param section found right, with the right checksum @param now in milliseconds
    Result add(ByteReader section, uint64_t now);

    /// Empty while none was whole.
    const WholeTable& lastWhole() const { return whole_; }

    /// @return the number of the first section that has not come of the table that was worked on
    ///         last; there has to be one that is not whole
    uint8_t firstMissing() const;

private:
    struct Collection {
        uint16_t type;
        uint8_t version;
        uint64_t lastTime;    ///< of a section
        WholeTable sections;  ///< empty where one has not come
        size_t missing;
        uint8_t first = 0;    ///< the number of the section that came first
        unsigned rounds = 0;  ///< how often that one came again
    };

    Collection& collectionOf(ByteReader section, uint64_t now);
    void forgetOld(uint64_t now);
    const Collection* findCollection(ByteReader section) const;

    WholeTable whole_;
    std::vector<Collection> collections_;  // the oldest first
};

}  // namespace VestaHbbTV

#endif
