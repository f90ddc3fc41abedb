/// What the names in a record stand for in this process.
#ifndef VESTA_REPLAY_NAMES_H
#define VESTA_REPLAY_NAMES_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

#include "recorder/boundary/handles.h"

namespace replay {

/// Whether this is a name of that kind: "window:1".
bool isNameOf(recorder::Handle kind, const std::string& name);

class Names {
public:
    Names();
    ~Names();
    Names(const Names&) = delete;
    Names& operator=(const Names&) = delete;

    /// What the library is given for a name: what was bound to it, or else an address of its own
    /// that nobody can follow. @return nothing where there are too many of them
    std::optional<uintptr_t> valueOf(recorder::Handle kind, const std::string& name);

    /// @return null for a name without a value
    const uintptr_t* boundTo(const std::string& name) const;

    /// The value has this name from now on.
    void bind(recorder::Handle kind, const std::string& name, uintptr_t value);

    /// How the record calls a value of the library's.
    /// @param expected what the record has in this place: is bound to a value that comes for the
    ///        first time, if it is free
    /// @param isNew the library has just made the value: it was bound to no name
    std::string nameFor(recorder::Handle kind, uintptr_t value, bool isNew,
                        const std::string& expected);

private:
    struct Bound {
        uintptr_t value;
        bool isMadeUp;  ///< here, for the record: the library's own may take its place
    };
    std::unordered_map<std::string, Bound> values_;
    std::map<std::pair<recorder::Handle, uintptr_t>, std::string> names_;
    void* reserved_;
    size_t used_ = 0;
};

}  // namespace replay

#endif
