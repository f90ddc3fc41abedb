/// "Do it now" events of a stream (ISO/IEC 13818-6, 8; ETSI TS 102 809, B.2.4).
#ifndef VESTA_STATION_SECTIONS_STREAM_EVENT_SECTION_H
#define VESTA_STATION_SECTIONS_STREAM_EVENT_SECTION_H

#include "station/description/description.h"
#include "station/sections/section.h"

namespace station {

/// A section of table 0x3D with one stream event descriptor.
Bytes makeStreamEventSection(const TimedEvent& event);

}  // namespace station

#endif
