/// The checksum at the end of a section.
#ifndef VESTA_KIT_CRC32_H
#define VESTA_KIT_CRC32_H

#include <cstddef>
#include <cstdint>

namespace VestaHbbTV {

constexpr size_t checksumSize = 4;

/// CRC_32 of ISO/IEC 13818-1, annex A. That of a whole section, its own included, is 0.
uint32_t crc32(const unsigned char* bytes, size_t count);

}  // namespace VestaHbbTV

#endif
