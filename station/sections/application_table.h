/// The applications of a service (ETSI TS 102 809, 5.3).
#ifndef VESTA_STATION_SECTIONS_APPLICATION_TABLE_H
#define VESTA_STATION_SECTIONS_APPLICATION_TABLE_H

#include <vector>

#include "station/description/description.h"
#include "station/sections/section.h"

namespace station {

/// An entry of the table. @throws TooLong
Bytes makeApplication(const Application& application);

/// application_information_section. @throws TooLong
std::vector<Bytes> makeAit(const ApplicationTable& table);

}  // namespace station

#endif
