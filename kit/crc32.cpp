#include "kit/crc32.h"

#include <array>

namespace VestaHbbTV {

namespace {

using Table = std::array<uint32_t, 256>;

constexpr Table makeTable()
{
    Table table{};
    for (uint32_t byte = 0; byte < table.size(); ++byte) {
        uint32_t crc = byte << 24;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc << 1) ^ ((crc & 0x80000000U) != 0 ? 0x04C11DB7U : 0U);
        table[byte] = crc;
    }
    return table;
}

}  // namespace

uint32_t crc32(const unsigned char* bytes, size_t count)
{
    static constexpr Table table = makeTable();
    uint32_t crc = 0xFFFFFFFF;
    for (size_t i = 0; i < count; ++i)
        crc = (crc << 8) ^ table[(crc >> 24) ^ bytes[i]];
    return crc;
}

}  // namespace VestaHbbTV
