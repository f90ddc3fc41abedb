#include "station/sections/application_table.h"

#include "station/text/dvb_text.h"

namespace station {

namespace {

constexpr unsigned aitTable = 0x74;
constexpr unsigned hbbtvApplications = 0x0010;  // application_type, ETSI TS 102 796, 7.2.3.1
constexpr unsigned overCarousel = 0x0001;       // protocol_id
constexpr unsigned overHttp = 0x0003;
constexpr size_t loopLengths = 4;

// application_descriptor: 5.3.5.3.
Bytes makeApplicationDescriptor(const Application& application)
{
    ByteWriter profiles;
    for (const PlatformProfile& profile : application.profiles)
        profiles.u16(profile.profile).u8(profile.major).u8(profile.minor).u8(profile.micro);
    ByteWriter payload;
    payload.with8(profiles);
    payload.u8((application.serviceBound ? 0x80U : 0U) | (application.visibility << 5) | 0x1F);
    payload.u8(application.priority);
    for (const Transport& transport : application.transports)
        payload.u8(transport.label);
    return makeDescriptor(0x00, payload);
}

// application_name_descriptor: 5.3.5.6.1.
Bytes makeNames(const std::vector<Text>& names)
{
    if (names.empty())
        return {};
    ByteWriter payload;
    for (const Text& name : names)
        payload.add(name.language).with8(encodeDvbText(name.text));
    return makeDescriptor(0x01, payload);
}

// transport_protocol_descriptor: 5.3.6.
Bytes makeTransport(const Transport& transport)
{
    ByteWriter payload;
    payload.u16(transport.componentTag ? overCarousel : overHttp).u8(transport.label);
    if (transport.componentTag)
        payload.u8(0x7F).u8(*transport.componentTag);  // of this service: not remote
    else
        payload.with8(transport.urlBase).u8(0);
    return makeDescriptor(0x02, payload);
}

// simple_application_boundary_descriptor: 5.3.8.
Bytes makeBoundaries(const std::vector<std::string>& boundaries)
{
    if (boundaries.empty())
        return {};
    ByteWriter payload;
    payload.u8(static_cast<unsigned>(boundaries.size()));
    for (const std::string& boundary : boundaries)
        payload.with8(boundary);
    return makeDescriptor(0x17, payload);
}

}  // namespace

Bytes makeApplication(const Application& application)
{
    ByteWriter descriptors;
    descriptors.add(makeApplicationDescriptor(application)).add(makeNames(application.names));
    for (const Transport& transport : application.transports)
        descriptors.add(makeTransport(transport));
    // simple_application_location_descriptor: 5.3.7.
    descriptors.add(makeDescriptor(0x15, ByteWriter().add(application.initialPath)));
    if (application.usage)  // application_usage_descriptor: 5.3.5.5
        descriptors.add(makeDescriptor(0x16, ByteWriter().u8(*application.usage)));
    descriptors.add(makeBoundaries(application.boundaries));
    return ByteWriter()
        .u32(application.organisationId)
        .u16(application.applicationId)
        .u8(application.controlCode)
        .with12(0xF, descriptors);
}

std::vector<Bytes> makeAit(const ApplicationTable& table)
{
    std::vector<Bytes> entries;
    for (const Application& application : table.applications)
        entries.push_back(makeApplication(application));
    const auto bodies = spread(entries, shortSection - sectionFrame - loopLengths);
    std::vector<Bytes> sections;
    for (const Bytes& body : bodies) {
        SectionFields fields;
        fields.kind = SectionKind::Dvb;
        fields.tableId = aitTable;
        fields.tableIdExtension = hbbtvApplications;
        fields.version = table.version;
        fields.sectionNumber = static_cast<unsigned>(sections.size());
        fields.lastSectionNumber = static_cast<unsigned>(bodies.size() - 1);
        sections.push_back(makeSection(fields, ByteWriter().with12(0xF, {}).with12(0xF, body)));
    }
    return sections;
}

}  // namespace station
