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
Carousel readCarousel(ObjectReader& object, const StationFrame& frame);
EventStream readEventStream(ObjectReader& object, const StationFrame& frame);
/// @param previous null for the first one
Programme readProgramme(ObjectReader& object, const Programme* previous, const StationFrame& frame);

}  // namespace station

#endif
