/// Events of a stream, "do it now" and at times of the programme (ISO/IEC 13818-6, 8; ETSI TS 102
/// 809, B.2.4).
#ifndef VESTA_STATION_SECTIONS_STREAM_EVENT_SECTION_H
#define VESTA_STATION_SECTIONS_STREAM_EVENT_SECTION_H

#include "station/description/description.h"
#include "station/sections/section.h"

namespace station {

/// A section of table 0x3D with one stream event descriptor.
Bytes makeStreamEventSection(const TimedEvent& event);

/// A section that says which time of the programme (NPT) it is.
/// @param timeMs since the start of the stream, whose clock begins with 0
Bytes makeTimeReferenceSection(const EventStream& stream, int64_t timeMs);

/// A section with all events of the stream that have a time. May throw TooLong.
Bytes makeScheduledEventsSection(const EventStream& stream);

}  // namespace station

#endif
