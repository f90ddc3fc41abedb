#include "receiver/service/event_information.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <string>
#include <utility>

#include "foundation/descriptor.h"
#include "receiver/text/dvb_text.h"

namespace receiver {

using VestaHbbTV::ByteReader;
using VestaHbbTV::forEachDescriptor;

namespace {

constexpr uint8_t presentFollowingTable = 0x4E;
constexpr uint8_t firstScheduleTable = 0x50;
constexpr uint8_t lastScheduleTable = 0x5F;
constexpr uint8_t shortEventTag = 0x4D;
constexpr uint8_t extendedEventTag = 0x4E;
constexpr uint8_t presentNumber = 0;
constexpr uint8_t followingNumber = 1;
constexpr uint8_t sectionsInSegment = 8;  // ETSI TS 101 211, 4.1.4
constexpr size_t sectionOverhead = 384;   // of the maps and the heap
constexpr int64_t secondsInDay = 86400;
constexpr int64_t firstDay = 40587;  // 1970-01-01, as modified Julian date

/// Two decimal digits; -1 for what are none.
int decimal(uint8_t byte)
{
    const int tens = byte >> 4;
    const int ones = byte & 0x0F;
    return tens < 10 && ones < 10 ? tens * 10 + ones : -1;
}

/// Hours, minutes, seconds; -1 for what are none.
int readSeconds(ByteReader& reader)
{
    const int hours = decimal(reader.u8());
    const int minutes = decimal(reader.u8());
    const int seconds = decimal(reader.u8());
    const bool isTime = hours >= 0 && minutes >= 0 && minutes < 60 && seconds >= 0 && seconds < 60;
    return isTime ? (hours * 60 + minutes) * 60 + seconds : -1;
}

int64_t readStartTime(ByteReader& reader)
{
    const int64_t day = reader.u16();
    const int seconds = readSeconds(reader);
    return seconds < 0 || day < firstDay ? 0 : (day - firstDay) * secondsInDay + seconds;
}

/// ETSI EN 300 468, 6.2.37.
void readShortEvent(ByteReader payload, Programme& programme)
{
    payload.skip(3);  // language
    const std::string name = payload.text(payload.u8());
    const std::string text = payload.text(payload.u8());
    if (!payload.ok() || !programme.name.empty())
        return;  // the first language counts
    programme.name = decodeDvbText(name);
    programme.description = decodeDvbText(text);
}

/// Extended event descriptors of the first language, by their numbers: ETSI EN 300 468, 6.2.15.
class LongDescription {
public:
    void add(ByteReader payload)
    {
        const uint8_t number = payload.u8() >> 4;
        const std::string language = payload.text(3);
        payload.skip(payload.u8());  // items
        const std::string text = payload.text(payload.u8());
        if (parts_.empty())
            language_ = language;
        if (payload.ok() && language == language_)
            parts_.emplace(number, decodeDvbText(text));
    }

    std::string joined() const
    {
        std::string text;
        for (const auto& [number, part] : parts_)
            text += part;
        return text;
    }

private:
    std::string language_;
    std::map<uint8_t, std::string> parts_;
};

void readDescriptors(ByteReader descriptors, Programme& programme)
{
    LongDescription longDescription;
    forEachDescriptor(descriptors, [&](uint8_t tag, ByteReader payload, ByteReader /*rest*/) {
        if (tag == shortEventTag)
            readShortEvent(payload, programme);
        else if (tag == extendedEventTag)
            longDescription.add(payload);
        return true;
    });
    programme.longDescription = longDescription.joined();
    if (!descriptors.empty())
        programme.descriptors.assign(descriptors.data(),
                                     descriptors.data() + descriptors.remaining());
}

/// What stands before the events.
struct TableEnd {
    uint8_t segmentLastSection = 0;
    uint8_t lastTable = 0;
};

TableEnd readTableEnd(ByteReader& body)
{
    body.skip(4);  // transport_stream_id, original_network_id
    TableEnd end;
    end.segmentLastSection = body.u8();
    end.lastTable = body.u8();
    return end;
}

bool isSchedule(uint8_t tableId)
{
    return tableId >= firstScheduleTable && tableId <= lastScheduleTable;
}

}  // namespace

std::vector<Programme> readEvents(const SectionBytes& section)
{
    std::vector<Programme> events;
    ByteReader body = sectionBody(section);
    readTableEnd(body);
    while (!body.empty()) {
        Programme event;
        event.eventId = body.u16();
        event.startTime = readStartTime(body);
        event.duration = static_cast<uint32_t>(std::max(readSeconds(body), 0));
        const ByteReader descriptors = body.take(body.length12());
        if (!body.ok())
            break;
        readDescriptors(descriptors, event);
        events.push_back(std::move(event));
    }
    return events;
}

bool EventInformation::isListed(const SectionHeader& header)
{
    if (!header.current || header.sectionNumber > header.lastSectionNumber)
        return false;
    return isSchedule(header.tableId) ||
           (header.tableId == presentFollowingTable && header.sectionNumber <= followingNumber);
}

EventInformation::News EventInformation::add(const SectionBytes& section)
{
    const SectionHeader header = readSectionHeader(section);
    if (!isListed(header))
        return News::None;
    const SectionBytes* const known =
        find(header.tableIdExtension, header.tableId, header.sectionNumber);
    if (known && *known == section)
        return News::None;  // a repetition, as most are
    const size_t before = known ? known->size() + sectionOverhead : 0;
    const size_t bytes = bytes_ - before + section.size() + sectionOverhead;
    const size_t most = isSchedule(header.tableId) ? mostBytes / 2 : mostBytes;
    if (bytes > most)
        return News::None;
    bytes_ = bytes;
    Tables& tables = services_[header.tableIdExtension];
    tables[header.tableId][header.sectionNumber] = section;
    dropReplaced(tables, section);
    return isSchedule(header.tableId) ? News::Schedule : News::PresentFollowing;
}

/// A table that got shorter loses what it had beyond its end. What has another version within it
/// stays until its own section comes: a schedule comes round in its own time.
void EventInformation::dropReplaced(Tables& tables, const SectionBytes& section)
{
    const SectionHeader header = readSectionHeader(section);
    Sections& sections = tables[header.tableId];
    erase(sections, sections.upper_bound(header.lastSectionNumber), sections.end());
    if (!isSchedule(header.tableId))
        return;
    ByteReader body = sectionBody(section);
    const TableEnd end = readTableEnd(body);
    const uint8_t inSegment = header.sectionNumber % sectionsInSegment;
    const auto last =
        static_cast<uint8_t>(header.sectionNumber - inSegment + sectionsInSegment - 1);
    if (end.segmentLastSection >= header.sectionNumber && end.segmentLastSection < last)
        erase(sections, sections.upper_bound(end.segmentLastSection), sections.upper_bound(last));
    if (end.lastTable < header.tableId)
        return;
    for (auto table = tables.upper_bound(end.lastTable);
         table != tables.end() && isSchedule(table->first);) {
        erase(table->second, table->second.begin(), table->second.end());
        table = tables.erase(table);
    }
}

void EventInformation::erase(Sections& sections, Sections::iterator from, Sections::iterator to)
{
    while (from != to) {
        bytes_ -= from->second.size() + sectionOverhead;
        from = sections.erase(from);
    }
}

void EventInformation::keepOnly(const std::set<uint16_t>& serviceIds)
{
    for (auto service = services_.begin(); service != services_.end();) {
        if (serviceIds.count(service->first) != 0) {
            ++service;
            continue;
        }
        for (auto& [tableId, sections] : service->second)
            erase(sections, sections.begin(), sections.end());
        service = services_.erase(service);
    }
}

/// @return null when it is not there
const SectionBytes* EventInformation::find(uint16_t serviceId, uint8_t tableId,
                                           uint8_t number) const
{
    const auto service = services_.find(serviceId);
    if (service == services_.end())
        return nullptr;
    const auto table = service->second.find(tableId);
    if (table == service->second.end())
        return nullptr;
    const auto section = table->second.find(number);
    return section == table->second.end() ? nullptr : &section->second;
}

/// The events of one section of the table of present and following ones.
std::vector<Programme> EventInformation::eventsOf(uint16_t serviceId, uint8_t number) const
{
    const SectionBytes* const section = find(serviceId, presentFollowingTable, number);
    return section ? readEvents(*section) : std::vector<Programme>();
}

std::vector<Programme> EventInformation::present(uint16_t serviceId) const
{
    std::vector<Programme> events = eventsOf(serviceId, presentNumber);
    if (events.size() > 1)
        events.resize(1);
    return events;
}

std::vector<Programme> EventInformation::presentFollowing(uint16_t serviceId) const
{
    std::vector<Programme> events = present(serviceId);
    std::vector<Programme> following = eventsOf(serviceId, followingNumber);
    // What follows has begun where its section has not come anew yet.
    const bool hasBegun = !events.empty() && !following.empty() &&
                          events.front().eventId == following.front().eventId;
    if (!following.empty() && !hasBegun)
        events.push_back(std::move(following.front()));
    return events;
}

std::vector<Programme> EventInformation::schedule(uint16_t serviceId) const
{
    std::vector<Programme> events = presentFollowing(serviceId);
    const auto service = services_.find(serviceId);
    if (service == services_.end())
        return events;
    for (const auto& [tableId, sections] : service->second) {
        for (const auto& [number, section] : sections) {
            if (!isSchedule(tableId) || events.size() > mostEvents)
                continue;
            std::vector<Programme> more = readEvents(section);
            std::move(more.begin(), more.end(), std::back_inserter(events));
        }
    }
    std::set<uint16_t> ids;
    const auto isLeftOut = [&ids](const Programme& event) {
        return event.startTime == 0 || !ids.insert(event.eventId).second;
    };
    std::vector<Programme> list;
    for (Programme& event : events) {
        if (list.size() < mostEvents && !isLeftOut(event))
            list.push_back(std::move(event));
    }
    std::stable_sort(list.begin(), list.end(), [](const auto& left, const auto& right) {
        return left.startTime < right.startTime;
    });
    return list;
}

}  // namespace receiver
