#include "station/sections/program_tables.h"

namespace station {

namespace {

constexpr unsigned patTable = 0x00;
constexpr unsigned pmtTable = 0x02;
constexpr unsigned pidReserved = 0xE000;
constexpr unsigned hbbtvApplications = 0x0010;  // application_type, ETSI TS 102 796, 7.2.3.1
constexpr unsigned hbbtvCarousel = 0x0123;      // data_broadcast_id
constexpr unsigned privateSections = 0x05;      // stream types
constexpr unsigned privateData = 0x06;
constexpr unsigned dsmccUserToNetwork = 0x0B;

Bytes makeStream(unsigned streamType, unsigned pid, const Bytes& descriptors)
{
    return ByteWriter().u8(streamType).u16(pidReserved | pid).with12(0xF, descriptors);
}

unsigned streamTypeOf(const Component& component)
{
    const std::pair<const char*, unsigned> types[] = {
        {"mpeg2", 0x02}, {"h264", 0x1B}, {"hevc", 0x24},
        {"mpeg", 0x03},  {"aac", 0x11},  {"", privateData},
    };
    for (const auto& [codec, type] : types) {
        if (component.codec == codec)
            return type;
    }
    return privateData;  // AC-3 and enhanced AC-3 say so in a descriptor
}

// subtitling_descriptor: ETSI EN 300 468, 6.2.41.
Bytes makeSubtitling(const Component& component)
{
    constexpr unsigned page = 1;
    return makeDescriptor(
        0x59,
        ByteWriter().add(component.language).u8(component.subtitlingType).u16(page).u16(page));
}

// ISO_639_language_descriptor: ISO/IEC 13818-1, 2.6.18.
Bytes makeLanguage(const Component& component)
{
    return makeDescriptor(0x0A, ByteWriter().add(component.language).u8(component.audioType));
}

Bytes makeComponent(const Component& component)
{
    ByteWriter descriptors;
    descriptors.add(makeStreamIdentifier(component.componentTag));
    if (component.type == ComponentType::Subtitle)
        descriptors.add(makeSubtitling(component));
    else if (!component.language.empty())
        descriptors.add(makeLanguage(component));
    if (component.codec == "ac3")
        descriptors.add(makeDescriptor(0x6A, ByteWriter().u8(0)));
    if (component.codec == "eac3")
        descriptors.add(makeDescriptor(0x7A, ByteWriter().u8(0)));
    return makeStream(streamTypeOf(component), component.pid, descriptors);
}

// application_signalling_descriptor: ETSI TS 102 809, 5.3.5.1.
Bytes makeApplicationStream(const ApplicationTable& table)
{
    const Bytes type = ByteWriter().u16(0x8000 | hbbtvApplications).u8(0xE0 | table.version);
    return makeStream(privateSections, table.pid, makeDescriptor(0x6F, type));
}

// carousel_identifier_descriptor and data_broadcast_id_descriptor: ETSI TS 102 809, B.2.
Bytes makeCarouselStream(const Carousel& carousel)
{
    ByteWriter descriptors;
    descriptors.add(makeStreamIdentifier(carousel.componentTag));
    descriptors.add(makeDescriptor(0x13, ByteWriter().u32(carousel.id).u8(0)));
    descriptors.add(makeDescriptor(0x66, ByteWriter().u16(hbbtvCarousel)));
    return makeStream(dsmccUserToNetwork, carousel.pid, descriptors);
}

}  // namespace

Bytes makePat(const Description& description)
{
    ByteWriter body;
    body.u16(0).u16(pidReserved | nitPid);
    for (const Service& service : description.services)
        body.u16(service.id).u16(pidReserved | service.pmtPid);
    SectionFields fields;
    fields.tableId = patTable;
    fields.tableIdExtension = description.network.transportStreamId;
    return makeSection(fields, body);
}

Bytes makePmt(const Service& service)
{
    ByteWriter body;
    body.u16(pidReserved | service.pcrPid).with12(0xF, {});
    for (const Component& component : service.components)
        body.add(makeComponent(component));
    if (service.applications)
        body.add(makeApplicationStream(*service.applications));
    for (const Carousel& carousel : service.carousels)
        body.add(makeCarouselStream(carousel));
    for (const EventStream& stream : service.eventStreams)
        body.add(
            makeStream(stream.streamType, stream.pid, makeStreamIdentifier(stream.componentTag)));
    SectionFields fields;
    fields.tableId = pmtTable;
    fields.tableIdExtension = service.id;
    return makeSection(fields, body);
}

}  // namespace station
