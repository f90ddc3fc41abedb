/// The parts of a service, as the description has them.
#ifndef VESTA_STATION_DESCRIPTION_PART_READERS_H
#define VESTA_STATION_DESCRIPTION_PART_READERS_H

#include "station/description/description.h"
#include "station/description/object_reader.h"
#include "station/description/service_reader.h"

namespace station {

/// What PIDs and component tags can be.
constexpr Range pidRange = {0x20, 0x1FFE};
constexpr Range tagRange = {0, 255};
constexpr Range range16 = {0, 0xFFFF};

Network readNetwork(ObjectReader& object);

/// PIDs are not read: the service reader claims them.
Component readComponent(ObjectReader& object, unsigned otherwiseTag);
ApplicationTable readApplicationTable(ObjectReader& object);
/// The id of an event, with its kind in the two highest bits (ETSI TS 102 809, B.2.4.3).
constexpr Range doItNowIds = {0, 0x3FFF};
constexpr Range scheduledIds = {0x8000, 0xBFFF};

Carousel readCarousel(ObjectReader& object, const StationFrame& frame);
EventStream readEventStream(ObjectReader& object, const StationFrame& frame);
/// @param previous null for the first one
Programme readProgramme(ObjectReader& object, const Programme* previous, const StationFrame& frame);

}  // namespace station

#endif
