/// What is inside a section.
#ifndef VESTA_TESTS_STATION_SUPPORT_SECTION_CHECK_H
#define VESTA_TESTS_STATION_SUPPORT_SECTION_CHECK_H

#include <cstddef>

#include "station/bytes/byte_writer.h"
#include "tests/support/crc32.h"

namespace station {

/// A section with the CRC_32 that belongs at its end.
inline Bytes checked(Bytes section)
{
    const uint32_t crc = vesta::test::crc32(section);
    for (const int shift : {24, 16, 8, 0})
        section.push_back(static_cast<unsigned char>(crc >> shift));
    return section;
}

}  // namespace station

#endif
