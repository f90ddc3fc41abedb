#ifndef VESTA_RECORDER_BOUNDARY_HASH_H
#define VESTA_RECORDER_BOUNDARY_HASH_H

#include <cstddef>
#include <string>

namespace recorder {

/// SHA-256, in hexadecimal digits.
std::string hashOf(const void* bytes, size_t length);

}  // namespace recorder

#endif
