#include "station/sections/stream_event_section.h"

namespace station {

namespace {

constexpr unsigned streamDescriptorTable = 0x3D;

// What the two highest bits of table_id_extension say: ETSI TS 102 809, B.2.4.3.
constexpr unsigned timeReferences = 0x4000;
constexpr unsigned scheduledEvents = 0x8000;

constexpr int64_t ticksPerMs = 90;

/// 31 reserved bits, and 33 bits of a time.
Bytes makeTime(int64_t timeMs)
{
    const auto ticks = static_cast<uint64_t>(timeMs * ticksPerMs);
    return ByteWriter()
        .u32(0xFFFFFFFE | static_cast<uint32_t>(ticks >> 32 & 1))
        .u32(static_cast<uint32_t>(ticks))
        .bytes();
}

// StreamEventDescriptor: ISO/IEC 13818-6, 8.3.
Bytes makeEventDescriptor(unsigned id, int64_t timeMs, const std::string& text)
{
    return makeDescriptor(0x1A, ByteWriter().u16(id).add(makeTime(timeMs)).add(text));
}

}  // namespace

// NPTReferenceDescriptor: ISO/IEC 13818-6, 8.1. The time goes on as the clock does.
Bytes makeTimeReferenceSection(const EventStream& stream, int64_t timeMs)
{
    const auto clock = static_cast<uint64_t>(timeMs * ticksPerMs);
    const Bytes descriptor =
        makeDescriptor(0x17, ByteWriter()
                                 .u8(0x7F)  // no postDiscontinuityIndicator, contentId 0x7F
                                 .u8(0xFE | static_cast<unsigned>(clock >> 32 & 1))
                                 .u32(static_cast<uint32_t>(clock))
                                 .add(makeTime(stream.programmeTimeMs + timeMs))
                                 .u16(1)
                                 .u16(1));
    SectionFields fields;
    fields.tableId = streamDescriptorTable;
    fields.tableIdExtension = timeReferences;
    return makeSection(fields, descriptor, longSection);
}

Bytes makeScheduledEventsSection(const EventStream& stream)
{
    ByteWriter descriptors;
    for (const ScheduledEvent& event : stream.scheduled)
        descriptors.add(makeEventDescriptor(event.id, event.timeMs, event.text));
    SectionFields fields;
    fields.tableId = streamDescriptorTable;
    fields.tableIdExtension = scheduledEvents;
    return makeSection(fields, descriptors.bytes(), longSection);
}

Bytes makeStreamEventSection(const TimedEvent& event)
{
    const Bytes descriptor = makeEventDescriptor(event.id, 0, event.text);  // no time counts
    SectionFields fields;
    fields.tableId = streamDescriptorTable;
    fields.tableIdExtension = event.id;  // its two highest bits are 0: do it now
    fields.version = event.version;
    return makeSection(fields, descriptor, longSection);
}

}  // namespace station
