#include "station/sections/service_tables.h"

#include <cstdlib>

#include "station/text/dvb_text.h"
#include "station/text/dvb_time.h"

namespace station {

namespace {

constexpr unsigned nitTable = 0x40;
constexpr unsigned sdtTable = 0x42;
constexpr unsigned tdtTable = 0x70;
constexpr unsigned totTable = 0x73;
constexpr unsigned running = 4;
constexpr size_t sdtBodyHeader = 3;

/// So many digits, two a byte.
uint32_t bcd(int64_t value, int digits)
{
    uint32_t result = 0;
    for (int shift = 0; shift < 4 * digits; shift += 4) {
        result |= static_cast<uint32_t>(value % 10) << shift;
        value /= 10;
    }
    return result;
}

// service_descriptor: ETSI EN 300 468, 6.2.33.
Bytes makeServiceEntry(const Service& service)
{
    const Bytes names = ByteWriter()
                            .u8(service.type)
                            .with8(encodeDvbText(service.provider))
                            .with8(encodeDvbText(service.name));
    const bool hasEvents = !service.programmes.empty();
    const unsigned flags = (hasEvents && service.hasSchedule ? 2U : 0U) | (hasEvents ? 1U : 0U);
    return ByteWriter()
        .u16(service.id)
        .u8(0xFC | flags)
        .with12(running << 1, makeDescriptor(0x48, names));
}

// 6.2.13.4
Bytes makeTerrestrial(const Delivery& delivery)
{
    const auto frequency = static_cast<uint32_t>(delivery.frequencyKhz * 100);  // units of 10 Hz
    const unsigned bandwidth = 8 - delivery.bandwidthMhz;  // 0 stands for 8 MHz, 1 for 7, ...
    constexpr unsigned constellation = 0x81;               // 64-QAM, no hierarchy, code rate 2/3
    constexpr unsigned guardAndMode = 0x02;  // guard interval 1/32, 8k, no other frequency
    return makeDescriptor(0x5A, ByteWriter()
                                    .u32(frequency)
                                    .u8((bandwidth << 5) | 0x1F)
                                    .u8(constellation)
                                    .u8(guardAndMode)
                                    .u32(0xFFFFFFFF));
}

// 6.2.13.2
Bytes makeSatellite(const Delivery& delivery)
{
    constexpr unsigned dvbSQpsk = 0x01;
    constexpr uint32_t fecThreeQuarters = 3;
    return makeDescriptor(
        0x43, ByteWriter()
                  .u32(bcd(delivery.frequencyKhz / 10, 8))
                  .u16(bcd(delivery.orbitalPosition, 4))
                  .u8((delivery.isEast ? 0x80U : 0U) | (delivery.polarisation << 5) | dvbSQpsk)
                  .u32((bcd(delivery.symbolRate / 100, 7) << 4) | fecThreeQuarters));
}

unsigned cableModulationCode(unsigned points)
{
    unsigned code = 1;  // 16-QAM
    for (unsigned size = 16; size < points; size *= 2)
        ++code;
    return code;
}

// 6.2.13.1
Bytes makeCable(const Delivery& delivery)
{
    constexpr unsigned noFec = 0xFFF2;  // reserved bits, then RS(204/188) outside
    constexpr uint32_t noInnerCode = 0x0F;
    return makeDescriptor(0x44, ByteWriter()
                                    .u32(bcd(delivery.frequencyKhz * 10, 8))
                                    .u16(noFec)
                                    .u8(cableModulationCode(delivery.cableModulation))
                                    .u32((bcd(delivery.symbolRate / 100, 7) << 4) | noInnerCode));
}

// service_list_descriptor: 6.2.35.
Bytes makeServiceList(const std::vector<Service>& services)
{
    ByteWriter list;
    for (const Service& service : services)
        list.u16(service.id).u8(service.type);
    return makeDescriptor(0x41, list);
}

// local_time_offset_descriptor: 6.2.20. Deliberate: the next change lies far ahead, and changes
// nothing.
Bytes makeLocalTimeOffset(const LocalTime& local)
{
    constexpr int64_t farAhead = 2'145'916'800;  // the first second of 2038
    const Bytes offset = encodeHoursAndMinutes(std::abs(local.offsetMinutes));
    const unsigned region = 0x02 | (local.offsetMinutes < 0 ? 1U : 0U);
    return makeDescriptor(0x58, ByteWriter()
                                    .add(local.country)
                                    .u8(region)
                                    .add(offset)
                                    .add(encodeUtc(farAhead))
                                    .add(offset));
}

}  // namespace

std::vector<Bytes> makeSdt(const Description& description)
{
    std::vector<Bytes> entries;
    for (const Service& service : description.services)
        entries.push_back(makeServiceEntry(service));
    const auto bodies = spread(entries, shortSection - sectionFrame - sdtBodyHeader);
    std::vector<Bytes> sections;
    for (const Bytes& body : bodies) {
        SectionFields fields;
        fields.kind = SectionKind::Dvb;
        fields.tableId = sdtTable;
        fields.tableIdExtension = description.network.transportStreamId;
        fields.sectionNumber = static_cast<unsigned>(sections.size());
        fields.lastSectionNumber = static_cast<unsigned>(bodies.size() - 1);
        sections.push_back(makeSection(
            fields, ByteWriter().u16(description.network.originalNetworkId).u8(0xFF).add(body)));
    }
    return sections;
}

Bytes makeDeliverySystem(const Delivery& delivery)
{
    switch (delivery.system) {
    case DeliverySystem::Satellite:
        return makeSatellite(delivery);
    case DeliverySystem::Cable:
        return makeCable(delivery);
    case DeliverySystem::Terrestrial:
        break;
    }
    return makeTerrestrial(delivery);
}

Bytes makeNit(const Network& network, const std::vector<Service>& services)
{
    const Bytes name = makeDescriptor(0x40, ByteWriter().add(encodeDvbText(network.name)));
    ByteWriter descriptors;
    descriptors.add(makeDeliverySystem(network.delivery)).add(makeServiceList(services));
    ByteWriter stream;
    stream.u16(network.transportStreamId).u16(network.originalNetworkId).with12(0xF, descriptors);
    SectionFields fields;
    fields.kind = SectionKind::Dvb;
    fields.tableId = nitTable;
    fields.tableIdExtension = network.networkId;
    return makeSection(fields, ByteWriter().with12(0xF, name).with12(0xF, stream));
}

Bytes makeTdt(int64_t time)
{
    return makeShortSection(tdtTable, encodeUtc(time), false);
}

Bytes makeTot(int64_t time, const LocalTime& local)
{
    const Bytes body = ByteWriter().add(encodeUtc(time)).with12(0xF, makeLocalTimeOffset(local));
    return makeShortSection(totTable, body, true);
}

}  // namespace station
