/// A table that waits until it is known whether it is wanted.
#ifndef VESTA_RECEIVER_STREAM_HELD_TABLE_H
#define VESTA_RECEIVER_STREAM_HELD_TABLE_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "receiver/stream/section_assembler.h"

namespace receiver {

/// Holds one section of each number, of one version: 256 at most.
class HeldTable {
public:
    /// A section of another version takes the place of all that were there.
    /// @return whether the table has come round: a section of this number was there already
    bool add(const SectionBytes& section);

    /// @return the sections by number; none is held afterwards
    std::vector<SectionBytes> take();

    /// By number.
    const std::map<uint8_t, SectionBytes>& sections() const { return sections_; }
    size_t bytes() const { return bytes_; }

private:
    std::map<uint8_t, SectionBytes> sections_;
    uint8_t version_ = 0;
    size_t bytes_ = 0;
};

}  // namespace receiver

#endif
