#include "station/sections/section.h"

#include "station/bytes/crc32.h"

namespace station {

namespace {

constexpr size_t crcSize = 4;
constexpr unsigned lengthEnd = 3;  // what section_length does not count

}  // namespace

Bytes makeSection(const SectionFields& fields, const Bytes& body, size_t limit)
{
    const unsigned length = checkedSize(body.size() + sectionFrame, limit) - lengthEnd;
    ByteWriter section;
    section.u8(fields.tableId).u16((unsigned(fields.kind) << 12) | length);
    section.u16(fields.tableIdExtension).u8(0xC0 | (fields.version << 1) | 1U);
    section.u8(fields.sectionNumber).u8(fields.lastSectionNumber).add(body);
    return section.u32(crc32(section));
}

Bytes makeShortSection(unsigned tableId, const Bytes& body, bool crc)
{
    const size_t rest = body.size() + (crc ? crcSize : 0);
    const unsigned length = checkedSize(rest, shortSection - lengthEnd);
    ByteWriter section;
    section.u8(tableId).u16(0x7000U | length).add(body);
    return crc ? section.u32(crc32(section)) : section;
}

Bytes makeDescriptor(unsigned tag, const Bytes& payload)
{
    return ByteWriter().u8(tag).with8(payload);
}

Bytes makeStreamIdentifier(unsigned componentTag)
{
    return makeDescriptor(0x52, ByteWriter().u8(componentTag));
}

std::vector<Bytes> spread(const std::vector<Bytes>& entries, size_t limit)
{
    std::vector<Bytes> bodies(1);
    for (const Bytes& entry : entries) {
        checkedSize(entry.size(), limit);
        if (bodies.back().size() + entry.size() > limit)
            bodies.emplace_back();
        bodies.back().insert(bodies.back().end(), entry.begin(), entry.end());
    }
    return bodies;
}

}  // namespace station
