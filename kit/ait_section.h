/// A section of an AIT as the demultiplexer delivers it: what it says of itself, and what is wrong
/// with it.
#ifndef VESTA_KIT_AIT_SECTION_H
#define VESTA_KIT_AIT_SECTION_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "foundation/byte_reader.h"
#include "signalling/ait_application_transport.h"
#include "vesta_hbbtv_kit.h"

namespace VestaHbbTV {

using Section = std::vector<unsigned char>;

/// Where the fields stand that the feed reads and writes: ETSI TS 102 809, 5.3.4.6.
namespace AITLayout {
constexpr size_t applicationType = 3;
constexpr size_t version = 5;
constexpr size_t sectionNumber = 6;
constexpr size_t lastSectionNumber = 7;
constexpr size_t commonLength = 8;
constexpr size_t lengthSize = 2;   ///< of a length with 12 bits
constexpr size_t headerSize = 3;   ///< up to and with section_length
constexpr size_t entryLength = 7;  ///< application_descriptors_loop_length, in an entry
/// A section with two empty loops.
constexpr size_t leastSize = commonLength + 2 * lengthSize + 4;
constexpr size_t mostSize = 1024;
constexpr uint8_t tableId = 0x74;
}  // namespace AITLayout

/// Stands for all types of applications; none has this number.
constexpr uint16_t anyApplicationType = 0;

/// Tags that an AIT gives a meaning, besides transportProtocolTag: ETSI TS 102 809, 5.3.5 to 5.3.9.
namespace AITTag {
constexpr uint8_t application = 0x00;
constexpr uint8_t applicationName = 0x01;
constexpr uint8_t simpleApplicationLocation = 0x15;
constexpr uint8_t simpleApplicationBoundary = 0x17;
}  // namespace AITTag

/// What is wrong first, if anything.
struct SectionFinding {
    HBBTV_KitSectionFault fault = HBBTV_KIT_SECTION_OK;
    size_t offset = 0;  ///< from table_id
    uint8_t tag = 0;    ///< of the descriptor, where it is one
};

/// What a table costs the application manager.
struct TableCost {
    size_t applications = 0;
    size_t textBytes = 0;      ///< of names, URLs and boundaries, and of locations for each label
    size_t labels = 0;         ///< transport_protocol_labels
    size_t longestCommon = 0;  ///< bytes of a common transport, which each label may lead to
};

/// The bytes of the section at the start of a buffer: 3 + section_length.
/// @return 0 where they are not all there
size_t sectionSize(const unsigned char* bytes, size_t count);

/// Looks at everything but the checksum, in the order of the bytes.
/// @param section whole, as sectionSize() has it
/// @param type the application_type that counts; anyApplicationType for every one
/// @param emptiesAreFaults whether an application must not have descriptors of length 0
/// @param cost gets what the section's descriptors cost, as far as they were looked at
SectionFinding examineSection(ByteReader section, uint16_t type, bool emptiesAreFaults,
                              TableCost& cost);

/// @name Of a section that was found right
/// @{
/// table_id_extension: which subtable it is of.
inline uint16_t typeOf(const unsigned char* section)
{
    return static_cast<uint16_t>((section[AITLayout::applicationType] << 8) |
                                 section[AITLayout::applicationType + 1]);
}
inline uint8_t versionOf(const unsigned char* section)
{
    return (section[AITLayout::version] >> 1) & 0x1F;
}
void setVersion(Section& section, uint8_t version);
void setNumber(Section& section, uint8_t number, uint8_t last);
/// After the last change.
void setChecksum(Section& section);
/// @}

}  // namespace VestaHbbTV

#endif
