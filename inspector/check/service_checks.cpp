// Whether PMT, SDT and EIT fit the AITs and each other.
#include <algorithm>
#include <set>

#include "inspector/check/checks.h"
#include "inspector/decode/tables.h"

namespace inspector {

namespace {

using receiver::hbbtvApplicationType;
using receiver::StreamDescription;

constexpr uint8_t carouselStreamType = 0x0B;

/// After so long something has come that comes at all: the longest intervals that the standards
/// allow, and something more.
constexpr uint64_t untilPatMs = 1'000;
constexpr uint64_t untilPmtMs = 1'000;
constexpr uint64_t untilSdtMs = 2'500;
constexpr uint64_t untilPresentFollowingMs = 2'500;
constexpr uint64_t untilScheduleMs = 10'500;
constexpr uint64_t untilAitMs = 10'500;

using Tables = std::vector<const std::pair<const AITKey, TableHistory>*>;

Place placeOfPmt(const Survey& survey, uint16_t id)
{
    const ServiceSurvey& service = survey.services.at(id);
    Place place;
    place.service = id;
    if (service.service)
        place.pid = service.service->pmtPid;
    place.table = nameOfTable(pmtTable);
    return place;
}

std::string onPid(uint16_t pid)
{
    return "PID " + hexadecimal(pid, 4);
}

/// A stream of the PMT that carries HbbTV's AITs, or may.
void checkAitStream(const Survey& survey, const StreamDescription& stream, const Place& pmt,
                    Findings& findings)
{
    const auto named =
        std::find_if(stream.applicationTypes.begin(), stream.applicationTypes.end(),
                     [](const auto& type) { return type.applicationType == hbbtvApplicationType; });
    const bool isNamed = named != stream.applicationTypes.end();
    if (!stream.mayCarryApplicationInformation()) {
        if (isNamed)
            findings.add("pmt-ait-stream-type", pmt,
                         onPid(stream.pid) + " has stream_type " +
                             hexadecimal(stream.streamType, 2));
        return;
    }
    const auto table = survey.aits.find({stream.pid, hbbtvApplicationType});
    if (table == survey.aits.end()) {
        if (isNamed && survey.hasLasted(untilAitMs))
            findings.add("ait-missing", pmt, "no AIT of type 0x0010 came on " + onPid(stream.pid));
        return;
    }
    const TableVersion* const latest = table->second.latest();
    if (!isNamed)
        findings.add(stream.applicationTypes.empty() ? "pmt-ait-types" : "pmt-ait-type-unnamed",
                     pmt, onPid(stream.pid) + " carries an AIT of type 0x0010, which is not named");
    else if (latest && latest->version != named->aitVersion)
        findings.add("pmt-ait-version", pmt,
                     onPid(stream.pid) + ": the PMT says " + std::to_string(named->aitVersion) +
                         ", the AIT " + std::to_string(latest->version));
}

void checkStreams(const Survey& survey, const ServiceSurvey& service, const Place& pmt,
                  Findings& findings)
{
    std::set<uint8_t> tags, twice;
    for (const StreamDescription& stream : service.map.streams) {
        checkAitStream(survey, stream, pmt, findings);
        if (stream.streamType == carouselStreamType && !stream.componentTag)
            findings.add("pmt-carousel-tag", pmt, onPid(stream.pid));
        if (stream.componentTag && !tags.insert(*stream.componentTag).second &&
            twice.insert(*stream.componentTag).second)
            findings.add("pmt-component-tag-twice", pmt,
                         "component tag " + hexadecimal(*stream.componentTag, 2));
    }
    const bool hasAit =
        std::any_of(service.map.streams.begin(), service.map.streams.end(),
                    [](const auto& stream) { return stream.mayCarryApplicationInformation(); });
    if (!hasAit)
        findings.add("pmt-no-ait", pmt, "no stream of type 0x05");
}

void checkTypesAndPids(const Tables& tables, const Place& pmt, Findings& findings)
{
    std::map<uint16_t, std::set<SectionSource>> pids;
    for (const auto* const entry : tables) {
        std::set<SectionSource>& ofType = pids[entry->first.second];
        if (entry->first.first.pid)
            ofType.insert(entry->first.first);
    }
    const auto hbbtv = pids.find(hbbtvApplicationType);
    if (hbbtv != pids.end() && hbbtv->second.size() > 1)
        findings.add("ait-several-pids", pmt, counted(hbbtv->second.size(), "PID"));
    for (const auto& [type, places] : pids) {
        if (type != hbbtvApplicationType)
            findings.add("ait-several-types", pmt,
                         "an AIT of type " + hexadecimal(type, 4) +
                             (places.empty() ? "" : " on " + counted(places.size(), "PID")));
    }
}

bool isMalformed(const Node& node)
{
    return node.find("malformed") ||
           std::any_of(node.children.begin(), node.children.end(), isMalformed);
}

void checkMalformed(const TableHistory& history, const Place& pmt, Findings& findings)
{
    const TableVersion* const latest = history.latest();
    if (latest && isMalformed(latest->sections.begin()->second.tree))
        findings.add("pmt-malformed", pmt, "a loop or descriptor leaves what it is in");
}

/// An AIT from a file without a place in the PMT that came with it.
bool hasLooseTable(const Tables& tables)
{
    return std::any_of(tables.begin(), tables.end(),
                       [](const auto* entry) { return !entry->first.first.pid; });
}

void checkService(const Survey& survey, uint16_t id, const ServiceSurvey& service,
                  Findings& findings)
{
    const Place pmt = placeOfPmt(survey, id);
    if (service.pmt.empty()) {
        if (survey.hasLasted(untilPmtMs))
            findings.add("pmt-missing", pmt, "no PMT of the service came");
        return;
    }
    const Tables tables = survey.tablesOf(service);
    const bool hasAitStream =
        std::any_of(service.map.streams.begin(), service.map.streams.end(),
                    [](const auto& stream) { return stream.mayCarryApplicationInformation(); });
    if (!hasAitStream && hasLooseTable(tables))
        findings.add("pmt-ait-unlisted", pmt, "the PMT lists no stream for the AIT that is given");
    checkStreams(survey, service, pmt, findings);
    checkTypesAndPids(tables, pmt, findings);
    checkMalformed(service.pmt, pmt, findings);
}

void checkUnlisted(const Survey& survey, Findings& findings)
{
    for (const uint16_t pid : survey.unlistedPids) {
        Place place;
        place.pid = pid;
        place.table = nameOfTable(aitTable);
        findings.add("pmt-ait-unlisted", place, "no PMT lists the stream");
    }
}

/// Without a PAT nothing else can be found. A stream without a clock does not tell how long it is.
void checkAssociation(const Survey& survey, Findings& findings)
{
    if (!survey.statistics || !survey.pats.empty() ||
        (survey.streamMs && !survey.hasLasted(untilPatMs)))
        return;
    Place place;
    place.pid = 0x0000;
    place.table = nameOfTable(patTable);
    findings.add("pat-missing", place, "no PAT came");
}

/// The services of an SDT by their ids.
std::map<uint16_t, std::pair<const Node*, uint8_t>> servicesOf(const TableVersion& sdt)
{
    std::map<uint16_t, std::pair<const Node*, uint8_t>> services;
    for (const auto& [number, section] : sdt.sections) {
        for (const Node& service : section.tree.listOf("services"))
            services[static_cast<uint16_t>(service.numberOf("service_id"))] = {&service, number};
    }
    return services;
}

Place placeOfSdt()
{
    Place place;
    place.pid = 0x0011;
    place.table = nameOfTable(sdtTable);
    return place;
}

/// @param canBeMissed whether it has to have come by now, where there is one
void checkEitFlag(const Node& service, const char* flag, bool isThere, bool canBeMissed,
                  const char* what, const Place& place, Findings& findings)
{
    const bool isSaid = service.isSet(flag);
    if (isSaid == isThere || (isSaid && !canBeMissed))
        return;
    const std::string detail = std::string(flag) + (isSaid ? " is 1, and no " : " is 0, and ");
    findings.add("sdt-eit-flag", place, detail + what + " came");
}

void checkDescription(const Survey& survey, uint16_t id, const TableVersion& sdt,
                      Findings& findings)
{
    Place place = placeOfSdt();
    place.service = id;
    const auto services = servicesOf(sdt);
    const auto found = services.find(id);
    if (found == services.end()) {
        findings.add("sdt-service", place, "the SDT does not list the service");
        return;
    }
    place.section = found->second.second;
    place.offset = found->second.first->place;
    const auto events = survey.events.find(id);
    const EventTables tables = events == survey.events.end() ? EventTables() : events->second;
    const Node& service = *found->second.first;
    checkEitFlag(service, "EIT_present_following_flag", tables.hasPresentFollowing,
                 survey.hasLasted(untilPresentFollowingMs), "EIT present/following", place,
                 findings);
    checkEitFlag(service, "EIT_schedule_flag", tables.hasSchedule,
                 survey.hasLasted(untilScheduleMs), "EIT schedule", place, findings);
}

/// Only of whole streams: nobody gives an SDT with a file of sections.
void checkDescriptions(const Survey& survey, Findings& findings)
{
    if (!survey.statistics)
        return;
    for (const auto& [id, service] : survey.services) {
        if (!service.service)
            continue;
        const auto sdt = survey.sdts.find(service.service->transportStreamId);
        if (sdt == survey.sdts.end())
            continue;
        const TableVersion* const latest = sdt->second.latest();
        if (latest && latest->isWhole())
            checkDescription(survey, id, *latest, findings);
    }
    for (const auto& [id, sdt] : survey.sdts) {
        if (!survey.pats.empty() && survey.pats.count(id) == 0)
            findings.add("sdt-transport-stream", placeOfSdt(),
                         "transport_stream_id " + hexadecimal(id, 4) + ", in the PAT " +
                             hexadecimal(survey.pats.begin()->first, 4));
    }
    if (survey.sdts.empty() && !survey.services.empty() && survey.hasLasted(untilSdtMs))
        findings.add("sdt-missing", placeOfSdt(), "no SDT of the actual stream came");
}

}  // namespace

void checkServices(const Survey& survey, Findings& findings)
{
    checkAssociation(survey, findings);
    for (const auto& [id, service] : survey.services)
        checkService(survey, id, service, findings);
    checkUnlisted(survey, findings);
    checkDescriptions(survey, findings);
}

}  // namespace inspector
