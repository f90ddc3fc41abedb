#include "inspector/survey/stream_surveyor.h"

#include <algorithm>
#include <iterator>
#include <tuple>
#include <utility>

#include "foundation/byte_reader.h"
#include "inspector/decode/tables.h"
#include "kit/crc32.h"

namespace inspector {

namespace {

using namespace receiver;

constexpr uint16_t patPid = 0x0000;
constexpr uint16_t sdtPid = 0x0011;
constexpr uint16_t eitPid = 0x0012;
constexpr uint16_t firstFreePid = 0x0020;

/// AITs that no PMT lists are looked for in so much of the stream.
constexpr uint64_t mostBytesLookedAt = uint64_t(64) << 20;
constexpr size_t mostUnlistedPids = 16;

constexpr uint8_t carouselStreamType = 0x0B;
constexpr uint8_t streamDescriptorType = 0x0C;

bool isOfCarousels(const StreamDescription& stream)
{
    return stream.streamType == carouselStreamType || stream.streamType == streamDescriptorType;
}

bool isSameStream(const StreamDescription& left, const StreamDescription& right)
{
    return std::tie(left.streamType, left.pid, left.componentTag, left.associationTags,
                    left.carouselId) == std::tie(right.streamType, right.pid, right.componentTag,
                                                 right.associationTags, right.carouselId);
}

std::vector<StreamDescription> carouselStreams(const ProgramMap& map)
{
    std::vector<StreamDescription> streams;
    std::copy_if(map.streams.begin(), map.streams.end(), std::back_inserter(streams),
                 isOfCarousels);
    return streams;
}

/// Whether one of the sections that begin in a payload is of an AIT. A PES packet looks like one
/// section that does not end there.
bool hasAit(VestaHbbTV::ByteReader payload)
{
    constexpr uint8_t stuffing = 0xFF;
    payload.skip(payload.u8());  // pointer_field
    while (!payload.empty() && payload.peek() != stuffing) {
        VestaHbbTV::ByteReader section = payload;
        const uint8_t tableId = section.u8();
        const uint16_t lengthWord = section.u16();
        const uint16_t length = lengthWord & 0x0FFF;
        if (tableId == aitTable && (lengthWord & 0x8000) != 0 && length <= 1021 &&
            section.u16() == hbbtvApplicationType)
            return true;
        payload.skip(VestaHbbTV::AITLayout::headerSize + length);
    }
    return false;
}

/// The PID of a packet in which an AIT begins.
std::optional<uint16_t> pidOfAitIn(const unsigned char* packet)
{
    VestaHbbTV::ByteReader reader(packet, PacketFramer::packetSize);
    reader.skip(1);
    const uint16_t flagsAndPid = reader.u16();
    const uint8_t control = reader.u8();
    const bool startsSection = (flagsAndPid & 0xC000) == 0x4000 && (control & 0xD0) == 0x10;
    if (!startsSection)
        return std::nullopt;
    if ((control & 0x20) != 0)
        reader.skip(reader.u8());  // the adaptation field
    return hasAit(reader) ? std::optional<uint16_t>(flagsAndPid & 0x1FFF) : std::nullopt;
}

/// Bytes up to last_section_number.
constexpr size_t wholeHeader = 8;

/// Where the CRC_32 of a section is; 0 where its length did not come.
size_t checksumPlace(const SectionBytes& header)
{
    VestaHbbTV::ByteReader reader(header.data(), header.size());
    reader.skip(1);
    const size_t end = VestaHbbTV::AITLayout::headerSize + reader.length12();
    return reader.ok() && end >= VestaHbbTV::checksumSize ? end - VestaHbbTV::checksumSize : 0;
}

/// What is wrong with a section on a PID of AITs that has no CRC_32.
GuardFinding faultOfUnchecked(const SectionBytes& header)
{
    VestaHbbTV::ByteReader reader(header.data(), header.size());
    if (reader.u8() != aitTable)
        return {{HBBTV_KIT_SECTION_NOT_AIT, 0, 0}, std::nullopt};
    const bool hasSyntax = (reader.u16() & 0x8000) != 0;
    return {{hasSyntax ? HBBTV_KIT_SECTION_LENGTH : HBBTV_KIT_SECTION_SYNTAX, 1, 0}, std::nullopt};
}

}  // namespace

StreamSurveyor::StreamSurveyor(Survey& survey, std::optional<uint16_t> onlyService)
    : survey_(survey), onlyService_(onlyService), stream_(*this),
      framer_([this](const unsigned char* packet) { lookForUnlisted(packet); })
{
    for (const uint16_t pid : {patPid, sdtPid, eitPid})
        stream_.subscribe(pid);
}

bool StreamSurveyor::feed(const unsigned char* bytes, size_t count)
{
    if (!onlyService_ && bytesLookedAt_ < mostBytesLookedAt) {
        bytesLookedAt_ += count;
        framer_.feed(bytes, count);
    }
    const bool isStream = stream_.feed(bytes, count);
    if (stream_.haveProgramMapsComeRound()) {
        listenToUnlisted();
        stream_.forgetEarlySections();
    }
    return isStream;
}

void StreamSurveyor::restart()
{
    stream_.restart();
    framer_.restart();
    time_.restart();
}

bool StreamSurveyor::finish()
{
    const bool isStream = stream_.finish();
    survey_.statistics = stream_.statistics();
    survey_.continuityErrors = stream_.continuityErrors();
    if (time_.now())
        survey_.streamMs = time_.totalMs();
    for (const uint16_t pid : unlistedPids_) {
        const bool hasTable = survey_.aits.count({pid, hbbtvApplicationType}) != 0;
        if (hasTable && aitPids_.count(pid) == 0)
            survey_.unlistedPids.push_back(pid);
    }
    survey_.finish(time_.now());
    return isStream;
}

bool StreamSurveyor::isWanted(uint16_t serviceId) const
{
    return !onlyService_ || *onlyService_ == serviceId;
}

void StreamSurveyor::servicesChanged(const std::vector<Service>& services)
{
    for (const Service& service : services) {
        if (!isWanted(service.programNumber))
            continue;
        if (ServiceSurvey* const known = survey_.service(service.programNumber)) {
            if (!known->service)
                known->pmt.expect(now());
            known->service = service;
            stream_.subscribe(service.pmtPid);
        }
    }
}

void StreamSurveyor::pmtReceived(const Service& service, const SectionBytes& section)
{
    const auto known = survey_.services.find(service.programNumber);
    if (!isWanted(service.programNumber) || known == survey_.services.end())
        return;
    known->second.map = readProgramMap(section);
    chooseCarousels(known->second);
    followTables();
}

/// Services often share the same streams: their carousels are kept once.
void StreamSurveyor::chooseCarousels(ServiceSurvey& service)
{
    std::vector<StreamDescription> streams = carouselStreams(service.map);
    groups_.erase(std::remove_if(groups_.begin(), groups_.end(),
                                 [](const auto& group) { return group.survey.expired(); }),
                  groups_.end());
    const auto same = std::find_if(groups_.begin(), groups_.end(), [&](const auto& group) {
        return std::equal(group.streams.begin(), group.streams.end(), streams.begin(),
                          streams.end(), isSameStream);
    });
    if (streams.empty()) {
        service.carousels.reset();
    } else if (same != groups_.end()) {
        service.carousels = same->survey.lock();
    } else if (service.carousels && service.carousels.use_count() == 1) {
        const auto own = std::find_if(groups_.begin(), groups_.end(), [&](const auto& group) {
            return group.survey.lock() == service.carousels;
        });
        service.carousels->join(*service.service, streams);
        own->streams = std::move(streams);
    } else if (groups_.size() < survey_.limits().carouselGroups) {
        CarouselLimits limits;
        limits.memory = onlyService_ ? survey_.limits().onlyServiceCarouselBytes
                                     : survey_.limits().carouselBytes;
        service.carousels = std::make_shared<CarouselSurvey>(limits);
        service.carousels->join(*service.service, streams);
        groups_.push_back({std::move(streams), service.carousels});
    } else {
        service.carousels.reset();
        ++survey_.leftOut.carousels;
    }
}

/// Listens to the PIDs that the PMTs name, from the stream's beginning as far as it is kept.
void StreamSurveyor::followTables()
{
    std::set<uint16_t> pids;
    aitPids_.clear();
    for (const auto& [id, service] : survey_.services) {
        for (const StreamDescription& stream : service.map.streams) {
            if (stream.mayCarryApplicationInformation() || !stream.applicationTypes.empty())
                aitPids_.insert(stream.pid);
            if (stream.signalling() == ApplicationSignalling::HbbTV)
                survey_.expectAit(stream.pid, now());
        }
        if (service.carousels)
            pids.insert(service.carousels->pids().begin(), service.carousels->pids().end());
    }
    pids.insert(aitPids_.begin(), aitPids_.end());
    listenTo(pids);
}

void StreamSurveyor::listenTo(const std::set<uint16_t>& pids)
{
    std::set<uint16_t> news;
    for (const uint16_t pid : pids) {
        if (!stream_.isSubscribed(pid))
            news.insert(pid);
        stream_.subscribe(pid);
    }
    if (news.empty())
        return;
    stream_.visitEarlySections(
        news, EarlyPackets::Visitor::Service,
        [this](uint16_t pid, const SectionBytes& section) { sectionReceived(pid, section); });
}

void StreamSurveyor::sectionReceived(uint16_t pid, const SectionBytes& section)
{
    const uint8_t tableId = section.empty() ? uint8_t(0) : section[0];
    const bool isOfEvents = tableId == presentFollowingTable ||
                            (tableId >= firstScheduleTable && tableId <= lastScheduleTable);
    const bool isWhereItBelongs = (tableId == patTable && pid == patPid) ||
                                  (tableId == sdtTable && pid == sdtPid) ||
                                  (isOfEvents && pid == eitPid);
    if (isWhereItBelongs) {
        survey_.take(pid, section, time_.now());
    } else if (tableId == pmtTable && pid >= firstFreePid) {
        const uint16_t id = readSectionHeader(section).tableIdExtension;
        if (isWanted(id) && survey_.services.count(id) != 0)
            survey_.take(pid, section, time_.now());
    } else if (tableId == aitTable && pid >= firstFreePid) {
        survey_.take(pid, section, time_.now());
    } else {
        if (aitPids_.count(pid) != 0)
            survey_.refuse({pid,
                            {{HBBTV_KIT_SECTION_NOT_AIT, 0, 0}, std::nullopt},
                            tableId,
                            readSectionHeader(section).sectionNumber});
        feedCarousels(pid, section);
    }
}

void StreamSurveyor::feedCarousels(uint16_t pid, const SectionBytes& section)
{
    for (const CarouselGroup& group : groups_) {
        const std::shared_ptr<CarouselSurvey> survey = group.survey.lock();
        if (survey && survey->pids().count(pid) != 0)
            survey->feed(pid, section);
    }
}

void StreamSurveyor::clockReceived(uint16_t pid, uint64_t ticks, bool discontinuity)
{
    time_.note(pid, ticks, discontinuity);
}

void StreamSurveyor::sectionLeftOut(uint16_t pid, const LeftOutSection& section)
{
    const SectionHeader header = readSectionHeader(section.header);
    const bool isHeaderWhole = section.header.size() == wholeHeader;
    Refusal refusal{pid, {}, Refusal::unknownTable, std::nullopt};
    if (!section.header.empty())
        refusal.tableId = section.header[0];
    const bool isOfAit = refusal.tableId == aitTable;
    if (isHeaderWhole)
        refusal.sectionNumber = header.sectionNumber;
    switch (section.reason) {
    case LeftOutSection::Reason::WrongCrc:
        refusal.finding.fault = HBBTV_KIT_SECTION_CRC;
        refusal.finding.offset = checksumPlace(section.header);
        break;
    case LeftOutSection::Reason::Unchecked:
        if (aitPids_.count(pid) == 0)
            return;
        refusal.finding = faultOfUnchecked(section.header);
        refusal.sectionNumber.reset();  // it has none
        break;
    case LeftOutSection::Reason::TooLong:
        refusal.finding.fault = isOfAit ? HBBTV_KIT_SECTION_LENGTH : HBBTV_KIT_SECTION_INCOMPLETE;
        refusal.finding.offset = 1;
        break;
    case LeftOutSection::Reason::CutShort:
        refusal.finding.fault = HBBTV_KIT_SECTION_INCOMPLETE;
        refusal.finding.offset = 1;
        break;
    }
    survey_.refuse(std::move(refusal));
}

void StreamSurveyor::listenToUnlisted()
{
    std::set<uint16_t> pids;
    std::set_difference(unlistedPids_.begin(), unlistedPids_.end(), aitPids_.begin(),
                        aitPids_.end(), std::inserter(pids, pids.end()));
    listenTo(pids);
}

void StreamSurveyor::lookForUnlisted(const unsigned char* packet)
{
    const std::optional<uint16_t> pid = pidOfAitIn(packet);
    if (!pid || *pid < firstFreePid || stream_.isSubscribed(*pid) ||
        unlistedPids_.size() == mostUnlistedPids)
        return;
    unlistedPids_.insert(*pid);
}

}  // namespace inspector
