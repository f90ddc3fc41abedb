/// The checksum at the end of a section.
#ifndef VESTA_TESTS_SUPPORT_CRC32_H
#define VESTA_TESTS_SUPPORT_CRC32_H

#include <cstdint>
#include <vector>

namespace vesta::test {

/// CRC_32 of ISO/IEC 13818-1, annex A.
inline uint32_t crc32(const std::vector<unsigned char>& bytes)
{
    uint32_t crc = 0xFFFFFFFF;
    for (const unsigned char byte : bytes) {
        crc ^= static_cast<uint32_t>(byte) << 24;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc << 1) ^ ((crc & 0x80000000) ? 0x04C11DB7U : 0U);
    }
    return crc;
}

}  // namespace vesta::test

#endif
