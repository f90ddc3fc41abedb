/// Sections of the tables that say which applications a service has.
#ifndef VESTA_INSPECTOR_DECODE_TABLES_H
#define VESTA_INSPECTOR_DECODE_TABLES_H

#include <cstdint>
#include <string>

#include "inspector/decode/node.h"
#include "receiver/stream/section_assembler.h"

namespace inspector {

/// @name table_id
/// @{
constexpr uint8_t patTable = 0x00;
constexpr uint8_t pmtTable = 0x02;
constexpr uint8_t sdtTable = 0x42;  ///< of the actual transport stream
constexpr uint8_t presentFollowingTable = 0x4E;
constexpr uint8_t firstScheduleTable = 0x50;
constexpr uint8_t lastScheduleTable = 0x5F;
constexpr uint8_t aitTable = 0x74;
/// @}

/// "PMT"; "table 0x99" for one that is not known.
std::string nameOfTable(uint8_t tableId);

/// Decodes a section of any table: PAT, PMT, SDT, EIT and AIT with all that they hold, of others
/// the header. A loop that leaves what it is in ends there, and `malformed` is set where that is.
/// @param section whole, from table_id to CRC_32; one without section syntax has no header but
///        table_id and section_length
Node decodeSection(const receiver::SectionBytes& section);

}  // namespace inspector

#endif
