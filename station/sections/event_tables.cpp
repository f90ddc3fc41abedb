#include "station/sections/event_tables.h"

#include <algorithm>

#include "station/text/dvb_text.h"
#include "station/text/dvb_time.h"

namespace station {

namespace {

constexpr unsigned presentFollowingTable = 0x4E;
constexpr unsigned scheduleTable = 0x50;
constexpr unsigned notRunning = 1;
constexpr unsigned running = 4;
constexpr unsigned undefined = 0;
constexpr unsigned versions = 32;
constexpr size_t eitBodyHeader = 6;
constexpr int64_t segmentSeconds = 3 * 3600;
constexpr int64_t segmentsPerTable = 32;
constexpr size_t sectionsPerSegment = 8;

// short_event_descriptor: ETSI EN 300 468, 6.2.37.
Bytes makeShortEvent(const Programme& programme)
{
    return makeDescriptor(0x4D, ByteWriter()
                                    .add(programme.language)
                                    .with8(encodeDvbText(programme.name))
                                    .with8(encodeDvbText(programme.text)));
}

// component_descriptor: 6.2.8.
Bytes makeComponent(const ProgrammeComponent& component)
{
    return makeDescriptor(0x50, ByteWriter()
                                    .u8(0xF0 | component.streamContent)
                                    .u8(component.componentType)
                                    .u8(component.componentTag)
                                    .add(component.language)
                                    .add(encodeDvbText(component.text)));
}

// content_descriptor: 6.2.9.
Bytes makeContent(const std::vector<unsigned>& content)
{
    if (content.empty())
        return {};
    ByteWriter payload;
    for (const unsigned nibbles : content)
        payload.u8(nibbles).u8(0);
    return makeDescriptor(0x54, payload);
}

// parental_rating_descriptor: 6.2.28. The rating counts from an age of three years.
Bytes makeParentalRating(const Programme& programme)
{
    if (!programme.minimumAge)
        return {};
    constexpr size_t countryCode = 3;  // blanks: wherever it is seen
    return makeDescriptor(0x55, ByteWriter().fill(countryCode, ' ').u8(*programme.minimumAge - 3));
}

Bytes makeProgramme(const Programme& programme, unsigned runningStatus)
{
    ByteWriter descriptors;
    descriptors.add(makeShortEvent(programme));
    for (const ProgrammeComponent& component : programme.components)
        descriptors.add(makeComponent(component));
    descriptors.add(makeContent(programme.content)).add(makeParentalRating(programme));
    return ByteWriter()
        .u16(programme.eventId)
        .add(encodeUtc(programme.start))
        .add(encodeDuration(programme.duration))
        .with12(runningStatus << 1, descriptors);
}

struct EventSection {
    SectionFields fields;
    unsigned segmentLast = 0;
    Bytes programmes;
};

Bytes makeEventSection(const Network& network, const Service& service, EventSection section)
{
    section.fields.kind = SectionKind::Dvb;
    section.fields.tableIdExtension = service.id;
    const Bytes body = ByteWriter()
                           .u16(network.transportStreamId)
                           .u16(network.originalNetworkId)
                           .u8(section.segmentLast)
                           .u8(section.fields.tableId)
                           .add(section.programmes);
    return makeSection(section.fields, body, longSection);
}

/// The programmes that start in a segment, spread over its sections.
std::vector<Bytes> segmentBodies(const Service& service, int64_t begin, int64_t end)
{
    std::vector<Bytes> entries;
    for (const Programme& programme : service.programmes) {
        if (programme.start >= begin && programme.start < end)
            entries.push_back(makeProgramme(programme, undefined));
    }
    std::vector<Bytes> bodies = spread(entries, longSection - sectionFrame - eitBodyHeader);
    if (bodies.size() > sectionsPerSegment)
        throw TooLong(bodies.size() * longSection, sectionsPerSegment * longSection);
    return bodies;
}

}  // namespace

std::vector<Bytes> makePresentFollowing(const Network& network, const Service& service,
                                        int64_t time)
{
    const auto& programmes = service.programmes;
    const auto present = std::find_if(programmes.begin(), programmes.end(), [time](const auto& p) {
        return p.start <= time && time < p.start + p.duration;
    });
    const auto following = std::find_if(programmes.begin(), programmes.end(),
                                        [time](const auto& p) { return p.start > time; });
    // It counts what has started and what has ended: each of them changes the table.
    auto changes = std::count_if(programmes.begin(), programmes.end(),
                                 [time](const auto& p) { return p.start <= time; });
    changes += std::count_if(programmes.begin(), programmes.end(),
                             [time](const auto& p) { return p.start + p.duration <= time; });
    std::vector<Bytes> sections;
    for (const bool isPresent : {true, false}) {
        const auto programme = isPresent ? present : following;
        EventSection section;
        section.fields.tableId = presentFollowingTable;
        section.fields.version = static_cast<unsigned>(changes) % versions;
        section.fields.sectionNumber = isPresent ? 0 : 1;
        section.fields.lastSectionNumber = 1;
        section.segmentLast = 1;
        if (programme != programmes.end())
            section.programmes = makeProgramme(*programme, isPresent ? running : notRunning);
        sections.push_back(makeEventSection(network, service, section));
    }
    return sections;
}

std::vector<Bytes> makeSchedule(const Network& network, const Service& service, int64_t start)
{
    if (service.programmes.empty())
        return {};
    const int64_t midnight = start - start % secondsPerDay;
    const int64_t last = service.programmes.back().start - midnight;
    const int64_t segments = std::clamp<int64_t>(last / segmentSeconds + 1, 1, segmentsPerTable);
    std::vector<EventSection> table;
    for (int64_t segment = 0; segment < segments; ++segment) {
        const int64_t begin = midnight + segment * segmentSeconds;
        const auto bodies = segmentBodies(service, begin, begin + segmentSeconds);
        const auto first = static_cast<unsigned>(size_t(segment) * sectionsPerSegment);
        for (size_t i = 0; i < bodies.size(); ++i) {
            EventSection section;
            section.fields.tableId = scheduleTable;
            section.fields.sectionNumber = first + static_cast<unsigned>(i);
            section.segmentLast = first + static_cast<unsigned>(bodies.size() - 1);
            section.programmes = bodies[i];
            table.push_back(section);
        }
    }
    std::vector<Bytes> sections;
    for (EventSection& section : table) {
        section.fields.lastSectionNumber = table.back().fields.sectionNumber;
        sections.push_back(makeEventSection(network, service, section));
    }
    return sections;
}

}  // namespace station
