/// The names of handles in a record.
#ifndef VESTA_RECORDER_NAMES_H
#define VESTA_RECORDER_NAMES_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <unordered_map>
#include <utility>

#include "recorder/boundary/handles.h"

namespace recorder {

/// Gives each value of each kind a name at first sight: "window:1", "window:2". Of each kind the
/// last 65536 names are known; a value whose name is forgotten gets another one.
class Names {
public:
    static constexpr size_t known = 65536;

    /// @param isNew the value names something that was just made: a name that it had is not its
    std::string nameOf(Handle kind, uintptr_t value, bool isNew);

private:
    struct Kind {
        uint64_t last = 0;
        std::unordered_map<uintptr_t, uint64_t> numbers;
        std::deque<std::pair<uintptr_t, uint64_t>> inOrder;
    };

    static uint64_t nextNumber(Kind& kind, uintptr_t value);

    Kind kinds_[static_cast<size_t>(Handle::passed) + 1];
};

}  // namespace recorder

#endif
