/// The network, its services and the time (ETSI EN 300 468, 5.2).
#ifndef VESTA_STATION_SECTIONS_SERVICE_TABLES_H
#define VESTA_STATION_SECTIONS_SERVICE_TABLES_H

#include <cstdint>
#include <vector>

#include "station/description/description.h"
#include "station/sections/section.h"

namespace station {

/// service_description_section of the actual transport stream.
std::vector<Bytes> makeSdt(const Description& description);

/// network_information_section of the actual network.
Bytes makeNit(const Network& network, const std::vector<Service>& services);

/// The delivery system descriptor with tag and length: ETSI EN 300 468, 6.2.13.
Bytes makeDeliverySystem(const Delivery& delivery);

/// time_date_section. @param time seconds since 1970 (UTC)
Bytes makeTdt(int64_t time);

/// time_offset_section.
Bytes makeTot(int64_t time, const LocalTime& local);

}  // namespace station

#endif
