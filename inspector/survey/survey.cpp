#include "inspector/survey/survey.h"

#include <algorithm>

#include "inspector/decode/tables.h"
#include "inspector/survey/section_guard.h"
#include "kit/crc32.h"

namespace inspector {

namespace {

using receiver::readSectionHeader;
using receiver::SectionHeader;

constexpr size_t leastTable = 12;  // header and CRC_32
constexpr size_t mostTransportStreams = 16;

bool hasHeader(const SectionBytes& section)
{
    return section.size() >= leastTable && (section[1] & 0x80) != 0;
}

/// Only what is looked at: the trees of all versions would take much memory.
void decode(TableHistory& history)
{
    TableVersion* const latest = history.latest();
    if (!latest)
        return;
    for (auto& [number, section] : latest->sections)
        section.tree = decodeSection(section.bytes);
}

/// Whether the feed does not take a section because of it.
bool isRefusal(const VestaHbbTV::SectionFinding& finding)
{
    return finding.fault != HBBTV_KIT_SECTION_EMPTY_DESCRIPTOR &&
           finding.fault != HBBTV_KIT_SECTION_NOT_CURRENT;
}

}  // namespace

void Survey::take(const std::optional<uint16_t>& pid, const SectionBytes& section,
                  const std::optional<Moment>& now)
{
    const uint8_t tableId = section.empty() ? uint8_t(0xFF) : section[0];
    if (tableId == aitTable)
        return takeAit(pid, section, now);
    if (!hasHeader(section)) {
        ++otherTables[tableId];
        return;
    }
    if (!pid && VestaHbbTV::crc32(section.data(), section.size()) != 0)
        refuse(pid, {HBBTV_KIT_SECTION_CRC, section.size() - VestaHbbTV::checksumSize, 0}, tableId,
               readSectionHeader(section).sectionNumber, 1);
    if (!readSectionHeader(section).current)
        return;
    if (tableId == patTable)
        takeHistory(pats, section, now);
    else if (tableId == sdtTable)
        takeHistory(sdts, section, now);
    else if (tableId == pmtTable)
        takePmt(section, now);
    else if (tableId == presentFollowingTable ||
             (tableId >= firstScheduleTable && tableId <= lastScheduleTable))
        takeEvents(section, now);
    else
        ++otherTables[tableId];
}

void Survey::takeHistory(std::map<uint16_t, TableHistory>& histories, const SectionBytes& section,
                         const std::optional<Moment>& now)
{
    const uint16_t id = readSectionHeader(section).tableIdExtension;
    if (histories.count(id) == 0 && histories.size() == mostTransportStreams)
        return;
    histories.try_emplace(id, memory_).first->second.add(section, now);
}

ServiceSurvey* Survey::service(uint16_t id)
{
    const auto known = services.find(id);
    if (known != services.end())
        return &known->second;
    if (services.size() == limits_.services) {
        ++leftOut.services;
        return nullptr;
    }
    return &services.try_emplace(id, memory_).first->second;
}

void Survey::takePmt(const SectionBytes& section, const std::optional<Moment>& now)
{
    ServiceSurvey* const owner = service(readSectionHeader(section).tableIdExtension);
    if (!owner)
        return;
    owner->pmt.add(section, now);
    const TableVersion* const latest = owner->pmt.latest();
    if (latest && latest->sections.begin()->second.count == 1)
        owner->map = receiver::readProgramMap(section);
}

void Survey::takeAit(const std::optional<uint16_t>& pid, const SectionBytes& section,
                     const std::optional<Moment>& now)
{
    const SectionHeader header = hasHeader(section) ? readSectionHeader(section) : SectionHeader();
    const std::vector<VestaHbbTV::SectionFinding> found = guard(section);
    for (const VestaHbbTV::SectionFinding& finding : found)
        refuse(pid, finding, aitTable, header.sectionNumber, 1);
    if (!hasHeader(section) || !header.current || header.sectionNumber > header.lastSectionNumber)
        return;
    const AITKey key(pid, header.tableIdExtension & 0x7FFF);
    std::map<AITKey, TableHistory>& tables =
        std::any_of(found.begin(), found.end(), isRefusal) ? refusedAits : aits;
    if (tables.count(key) == 0 && tables.size() == limits_.tables) {
        ++leftOut.tables;
        return;
    }
    tables.try_emplace(key, memory_).first->second.add(section, now);
}

// A table of which nothing is in force has to be looked at all the same: why that is so may stand
// in it.
void Survey::takeRefusedForWantOfBetter()
{
    for (auto entry = refusedAits.begin(); entry != refusedAits.end();) {
        const auto refused = entry++;
        if (aits.count(refused->first) == 0 && aits.size() < limits_.tables)
            aits.insert(refusedAits.extract(refused));
    }
}

void Survey::takeEvents(const SectionBytes& section, const std::optional<Moment>& now)
{
    const SectionHeader header = readSectionHeader(section);
    EventTables& tables = events[header.tableIdExtension];
    if (header.tableId != presentFollowingTable) {
        tables.hasSchedule = true;
        return;
    }
    tables.hasPresentFollowing = true;
    if (header.sectionNumber != 0 || !now)
        return;
    if (tables.lastPresent) {
        if (const auto gap = msBetween(*tables.lastPresent, *now))
            tables.longestPresentGap = std::max(tables.longestPresentGap.value_or(0), *gap);
    }
    tables.lastPresent = now;
}

void Survey::refuse(const std::optional<uint16_t>& pid, const VestaHbbTV::SectionFinding& finding,
                    uint8_t tableId, uint8_t sectionNumber, uint64_t count)
{
    const auto known = std::find_if(refusals.begin(), refusals.end(), [&](const Refusal& other) {
        return other.pid == pid && other.finding.fault == finding.fault &&
               other.tableId == tableId && other.finding.tag == finding.tag;
    });
    if (known != refusals.end())
        known->count += count;
    else if (refusals.size() == limits_.refusals)
        leftOut.refusals += count;
    else
        refusals.push_back({pid, finding, tableId, sectionNumber, count});
}

void Survey::finish(const std::optional<Moment>& now)
{
    const auto end = [&now](TableHistory& history) {
        history.finish(now);
        decode(history);
    };
    for (auto& [id, pat] : pats)
        end(pat);
    for (auto& [id, sdt] : sdts)
        end(sdt);
    for (auto& [id, service] : services)
        end(service.pmt);
    takeRefusedForWantOfBetter();
    for (auto& [key, ait] : aits)
        end(ait);
    for (auto& [key, ait] : refusedAits)
        end(ait);
}

bool Survey::isListed(const ServiceSurvey& service, const AITKey& key) const
{
    if (!key.first)
        return services.size() == 1;
    return std::any_of(
        service.map.streams.begin(), service.map.streams.end(), [&key](const auto& stream) {
            return stream.pid == *key.first &&
                   (stream.mayCarryApplicationInformation() || !stream.applicationTypes.empty());
        });
}

std::vector<const std::pair<const AITKey, TableHistory>*>
Survey::tablesOf(const ServiceSurvey& service) const
{
    std::vector<const std::pair<const AITKey, TableHistory>*> tables;
    for (const auto& entry : aits) {
        if (isListed(service, entry.first))
            tables.push_back(&entry);
    }
    return tables;
}

std::vector<const std::pair<const AITKey, TableHistory>*> Survey::tablesOfNobody() const
{
    std::vector<const std::pair<const AITKey, TableHistory>*> tables;
    for (const auto& entry : aits) {
        const bool isListedAnywhere =
            std::any_of(services.begin(), services.end(),
                        [&](const auto& service) { return isListed(service.second, entry.first); });
        if (!isListedAnywhere)
            tables.push_back(&entry);
    }
    return tables;
}

bool Survey::hasLasted(uint64_t ms) const
{
    constexpr uint64_t patIntervalMs = 100;
    if (streamMs)
        return *streamMs >= ms;
    return std::any_of(pats.begin(), pats.end(), [ms](const auto& pat) {
        return pat.second.sections() > ms / patIntervalMs;
    });
}

}  // namespace inspector
