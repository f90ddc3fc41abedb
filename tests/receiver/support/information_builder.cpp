#include "tests/receiver/support/information_builder.h"

namespace receiver {

Bytes makeEit(const EitFields& fields, const std::vector<EventFields>& events)
{
    ByteWriter body;
    body.u16(0x441).u16(0x20FA).u8(fields.segmentLastSection).u8(fields.lastTable);
    for (const EventFields& event : events) {
        body.u16(event.id).add(event.start).add(event.duration);
        body.u16(0x8000 | unsigned(event.descriptors.size())).add(event.descriptors);
    }
    return makeSection({fields.tableId, fields.serviceId, fields.version, true,
                        fields.sectionNumber, fields.lastSectionNumber},
                       body);
}

Bytes makePresentFollowing(unsigned serviceId, unsigned sectionNumber, const EventFields& event,
                           unsigned version)
{
    EitFields fields;
    fields.serviceId = serviceId;
    fields.version = version;
    fields.sectionNumber = sectionNumber;
    return makeEit(fields, {event});
}

Bytes makeShortEvent(const std::string& name, const std::string& text, const std::string& language)
{
    return makeDescriptor(0x4D, ByteWriter().add(language).with8(name).with8(text));
}

Bytes makeExtendedEvent(unsigned number, const std::string& text, const std::string& language)
{
    const std::string items = "\x03key\x05value";
    return makeDescriptor(
        0x4E, ByteWriter().u8(number << 4 | 0x0F).add(language).with8(items).with8(text));
}

Bytes makeComponentDescriptor(unsigned content, unsigned type, unsigned tag)
{
    return makeDescriptor(
        0x50, ByteWriter().u8(0xF0 | content).u8(type).u8(tag).add(std::string("deutext")));
}

Bytes makeNit(unsigned networkId, const std::vector<TransportFields>& transports, unsigned tableId)
{
    ByteWriter loop;
    for (const TransportFields& transport : transports) {
        loop.u16(transport.transportStreamId).u16(transport.originalNetworkId);
        loop.u16(0xF000 | unsigned(transport.descriptors.size())).add(transport.descriptors);
    }
    const Bytes name = makeDescriptor(0x40, ByteWriter().add(std::string("network")));
    ByteWriter body;
    body.u16(0xF000 | unsigned(name.size())).add(name);
    body.u16(0xF000 | unsigned(loop.bytes().size())).add(loop);
    return makeSection({tableId, networkId}, body);
}

}  // namespace receiver
