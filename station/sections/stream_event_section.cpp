#include "station/sections/stream_event_section.h"

namespace station {

Bytes makeStreamEventSection(const TimedEvent& event)
{
    // StreamEventDescriptor: ISO/IEC 13818-6, 8.3. The time does not count where it is now: 31
    // reserved bits, 33 bits of eventNPT.
    const Bytes descriptor =
        makeDescriptor(0x1A, ByteWriter().u16(event.id).u32(0xFFFFFFFE).u32(0).add(event.text));
    SectionFields fields;
    fields.tableId = 0x3D;
    fields.tableIdExtension = event.id;  // its two highest bits are 0: do it now
    fields.version = event.version;
    return makeSection(fields, descriptor, longSection);
}

}  // namespace station
