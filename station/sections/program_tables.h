/// Which services there are, and of which streams they consist (ISO/IEC 13818-1, 2.4.4).
#ifndef VESTA_STATION_SECTIONS_PROGRAM_TABLES_H
#define VESTA_STATION_SECTIONS_PROGRAM_TABLES_H

#include "station/description/description.h"
#include "station/sections/section.h"

namespace station {

constexpr unsigned nitPid = 0x10;
constexpr unsigned sdtPid = 0x11;
constexpr unsigned eitPid = 0x12;
constexpr unsigned tdtPid = 0x14;

/// program_association_section.
Bytes makePat(const Description& description);

/// TS_program_map_section.
Bytes makePmt(const Service& service);

}  // namespace station

#endif
