/// The bytes of carousel files and documents, by the hashes that a record has of them.
#ifndef VESTA_REPLAY_BODIES_H
#define VESTA_REPLAY_BODIES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>

namespace replay {

/// Whether this is a SHA-256 as a record has it: 64 lower-case digits.
bool isHash(const std::string& text);

struct Body {
    std::string bytes;
    bool isLeftOut = false;  ///< the bytes are made up: only their number is that of the record
};

class Bodies {
public:
    /// @return false if the bytes have another hash
    bool add(const std::string& hash, std::string bytes);

    /// A body of which the record has the length alone. Stands in for it: bytes that no other body
    /// has. @return false if it is larger than any file, or all of them together are
    bool addLeftOut(const std::string& hash, uint64_t length);

    /// @return null for a hash without a body; stays valid
    const Body* find(const std::string& hash) const;

    /// The hash by which the record has these bytes: of those that stand in, that of the bytes
    /// which were left out.
    std::string hashOf(const void* bytes, size_t length) const;

private:
    uint64_t leftOutBytes_ = 0;
    std::unordered_map<std::string, Body> bodies_;
    std::unordered_map<std::string, std::string>
        leftOut_;  ///< hash of what stands in; the record's
};

}  // namespace replay

#endif
