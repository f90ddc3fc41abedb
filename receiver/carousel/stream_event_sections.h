/// DSM-CC stream descriptors: the events that an elementary stream announces.
#ifndef VESTA_RECEIVER_CAROUSEL_STREAM_EVENT_SECTIONS_H
#define VESTA_RECEIVER_CAROUSEL_STREAM_EVENT_SECTIONS_H

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "receiver/carousel/scheduled_events.h"
#include "receiver/carousel/stream_event.h"
#include "receiver/stream/section_assembler.h"

namespace receiver {

/// Reads the stream descriptor sections of one stream (table 0x3D: ISO/IEC 13818-6, clause 8; ETSI
/// TS 102 809, B.2.4). What was heard before an object of this class was made does not count: the
/// first section of an event is an event, though it may be a repetition on air. One thread.
class StreamEventSections {
public:
    /// @param section with a correct CRC_32
    /// @return the event that happens at the moment at which it is broadcast ("do it now"), when
    ///         the section is its first one or has another version than the last; nothing for a
    ///         repetition, another table, or what does not fit into the section
    std::optional<StreamEvent> take(const SectionBytes& section);

    /// The events that happen at a time of the programme, of the sections that were taken.
    ScheduledEvents& scheduled() { return scheduled_; }

private:
    std::map<uint16_t, uint8_t> versions_;  // by event id: at most as many as ids have 14 bits
    ScheduledEvents scheduled_;
};

}  // namespace receiver

#endif
