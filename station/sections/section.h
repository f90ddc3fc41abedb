/// Sections and descriptors, of which all tables are made.
#ifndef VESTA_STATION_SECTIONS_SECTION_H
#define VESTA_STATION_SECTIONS_SECTION_H

#include <vector>

#include "station/bytes/byte_writer.h"

namespace station {

/// What stands before private_indicator's or reserved_future_use's bit and after it: tables of
/// ISO/IEC 13818-1 and -6 have 0 there, those of DVB 1.
enum class SectionKind : unsigned { Mpeg = 0xB, Dvb = 0xF };

/// A section with section_syntax_indicator 1, current (ISO/IEC 13818-1, 2.4.4.11).
struct SectionFields {
    SectionKind kind = SectionKind::Mpeg;
    unsigned tableId = 0;
    unsigned tableIdExtension = 0;
    unsigned version = 0;
    unsigned sectionNumber = 0;
    unsigned lastSectionNumber = 0;
};

/// The most that a section of such a table has, header and CRC_32 included.
constexpr size_t shortSection = 1024;
constexpr size_t longSection = 4096;
/// Header and CRC_32.
constexpr size_t sectionFrame = 12;

/// @throws TooLong @param limit of the whole section
Bytes makeSection(const SectionFields& fields, const Bytes& body, size_t limit = shortSection);

/// A section of DVB without section syntax. @param crc whether a CRC_32 follows
Bytes makeShortSection(unsigned tableId, const Bytes& body, bool crc);

/// @throws TooLong
Bytes makeDescriptor(unsigned tag, const Bytes& payload);

/// stream_identifier_descriptor: ETSI EN 300 468, 6.2.39.
Bytes makeStreamIdentifier(unsigned componentTag);

/// Spreads entries over as many bodies as are needed. At least one. @throws TooLong for an entry
/// that fits into none
std::vector<Bytes> spread(const std::vector<Bytes>& entries, size_t limit);

}  // namespace station

#endif
