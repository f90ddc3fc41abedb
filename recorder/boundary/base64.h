#ifndef VESTA_RECORDER_BOUNDARY_BASE64_H
#define VESTA_RECORDER_BOUNDARY_BASE64_H

#include <cstddef>
#include <string>

namespace recorder {

/// Base 64 (RFC 4648, 4), with its padding.
void appendBase64(std::string& text, const void* bytes, size_t length);

}  // namespace recorder

#endif
