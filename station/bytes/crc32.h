/// The checksum at the end of a section.
#ifndef VESTA_STATION_BYTES_CRC32_H
#define VESTA_STATION_BYTES_CRC32_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "station/bytes/byte_writer.h"

namespace station {

/// CRC_32 of ISO/IEC 13818-1, annex A, a table entry for each byte.
inline uint32_t crc32(const Bytes& bytes)
{
    static const std::array<uint32_t, 256> table = [] {
        std::array<uint32_t, 256> entries{};
        for (uint32_t byte = 0; byte < entries.size(); ++byte) {
            uint32_t crc = byte << 24;
            for (int bit = 0; bit < 8; ++bit)
                crc = (crc << 1) ^ ((crc & 0x80000000U) != 0 ? 0x04C11DB7U : 0U);
            entries[byte] = crc;
        }
        return entries;
    }();
    uint32_t crc = 0xFFFFFFFF;
    for (const unsigned char byte : bytes)
        crc = (crc << 8) ^ table[(crc >> 24) ^ byte];
    return crc;
}

}  // namespace station

#endif
