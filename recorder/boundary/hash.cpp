#include "recorder/boundary/hash.h"

#include <algorithm>

#include "security/sha256.h"

namespace recorder {

std::string hashOf(const void* bytes, size_t length)
{
    const size_t mostAtOnce = 1u << 30;
    SHA256 hash;
    const char* next = static_cast<const char*>(bytes);
    while (length > 0) {
        const size_t part = std::min(length, mostAtOnce);
        hash.input(next, static_cast<unsigned int>(part));
        next += part;
        length -= part;
    }
    return hash.getResultString();
}

}  // namespace recorder
