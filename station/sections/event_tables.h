/// What is on now, next and later (ETSI EN 300 468, 5.2.4).
#ifndef VESTA_STATION_SECTIONS_EVENT_TABLES_H
#define VESTA_STATION_SECTIONS_EVENT_TABLES_H

#include <cstdint>
#include <vector>

#include "station/description/description.h"
#include "station/sections/section.h"

namespace station {

/// Section 0 has the programme that is on, section 1 the one after it; either may have none.
/// @param time seconds since 1970 (UTC)
std::vector<Bytes> makePresentFollowing(const Network& network, const Service& service,
                                        int64_t time);

/// Table 0x50: a section or more for every three hours, from the midnight before the stream starts
/// to the end of the fourth day or the last programme. @param start of the stream
std::vector<Bytes> makeSchedule(const Network& network, const Service& service, int64_t start);

}  // namespace station

#endif
