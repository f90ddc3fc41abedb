/// PMT sections that list streams with AITs.
#ifndef VESTA_TESTS_KIT_PMT_BYTES_H
#define VESTA_TESTS_KIT_PMT_BYTES_H

#include <cstdint>
#include <utility>
#include <vector>

#include "tests/support/crc32.h"
#include "tests/support/section_builder.h"

namespace vesta::test {

struct PMTStream {
    uint8_t type;
    uint16_t pid;
    Bytes descriptors;
};

/// An application_signalling_descriptor. @param types application types with AIT versions
inline Bytes signallingDescriptor(const std::vector<std::pair<uint16_t, uint8_t>>& types)
{
    Bytes payload;
    for (const auto& [type, version] : types) {
        payload.push_back(static_cast<unsigned char>(0x80 | (type >> 8)));
        payload.push_back(static_cast<unsigned char>(type));
        payload.push_back(static_cast<unsigned char>(0xE0 | version));
    }
    return descriptor(0x6F, payload);
}

inline Bytes pmtBytes(const std::vector<PMTStream>& streams, bool isCurrent = true,
                      const Bytes& programInfo = {}, uint8_t programNumber = 3)
{
    const auto appendLength = [](Bytes& bytes, size_t length) {
        bytes.push_back(static_cast<unsigned char>(0xF0 | (length >> 8)));
        bytes.push_back(static_cast<unsigned char>(length));
    };
    Bytes body = {0,    programNumber, static_cast<unsigned char>(isCurrent ? 0xC1 : 0xC0), 0, 0,
                  0xE1, 0x00};
    appendLength(body, programInfo.size());
    body = body + programInfo;
    for (const PMTStream& stream : streams) {
        body.push_back(stream.type);
        body.push_back(static_cast<unsigned char>(0xE0 | (stream.pid >> 8)));
        body.push_back(static_cast<unsigned char>(stream.pid));
        appendLength(body, stream.descriptors.size());
        body = body + stream.descriptors;
    }
    const size_t length = body.size() + 4;
    Bytes section = {0x02, static_cast<unsigned char>(0xB0 | (length >> 8)),
                     static_cast<unsigned char>(length)};
    section = section + body;
    const uint32_t crc = crc32(section);
    for (int shift = 24; shift >= 0; shift -= 8)
        section.push_back(static_cast<unsigned char>(crc >> shift));
    return section;
}

}  // namespace vesta::test

#endif
