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
bool isRefusal(const GuardFinding& finding)
{
    return finding.fault != HBBTV_KIT_SECTION_EMPTY_DESCRIPTOR &&
           finding.fault != HBBTV_KIT_SECTION_NOT_CURRENT;
}

}  // namespace

void Survey::take(const SectionSource& source, const SectionBytes& section,
                  const std::optional<Moment>& now)
{
    const uint8_t tableId = section.empty() ? uint8_t(0xFF) : section[0];
    if (tableId == aitTable)
        return takeAit(source, section, now);
    if (!hasHeader(section)) {
        ++otherTables[tableId];
        return;
    }
    const size_t checksumPlace = section.size() - VestaHbbTV::checksumSize;
    if (!source.pid && VestaHbbTV::crc32(section.data(), section.size()) != 0)
        refuse({source,
                {{HBBTV_KIT_SECTION_CRC, checksumPlace, 0}, std::nullopt},
                tableId,
                readSectionHeader(section).sectionNumber});
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
    const bool isFirst = histories.empty();
    TableHistory& history = histories.try_emplace(id, memory_).first->second;
    if (isFirst)
        history.expect(Moment());
    history.add(section, now);
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

void Survey::takeAit(const SectionSource& source, const SectionBytes& section,
                     const std::optional<Moment>& now)
{
    const SectionHeader header = hasHeader(section) ? readSectionHeader(section) : SectionHeader();
    const auto number = hasHeader(section) ? std::optional(header.sectionNumber) : std::nullopt;
    const std::vector<GuardFinding> found = guard(section);
    for (const GuardFinding& finding : found)
        refuse({source, finding, aitTable, number});
    if (!hasHeader(section) || !header.current || header.sectionNumber > header.lastSectionNumber)
        return;
    std::map<AITKey, TableHistory>& tables =
        std::any_of(found.begin(), found.end(), isRefusal) ? refusedAits : aits;
    const AITKey key = keyOf(source, header);
    if (tables.count(key) == 0 && tables.size() == limits_.tables) {
        ++leftOut.tables;
        return;
    }
    const auto [entry, isNew] = tables.try_emplace(key, memory_);
    if (isNew && !source.pid)
        filesOfTypes_[key.second].insert(key.first);
    const auto expected = aitsExpected_.find(source.pid.value_or(0));
    if (isNew && expected != aitsExpected_.end() && key.second == receiver::hbbtvApplicationType)
        entry->second.expect(expected->second);
    entry->second.add(section, now);
}

// A table of which nothing is in force has to be looked at all the same: why that is so may stand
// in it.
void Survey::takeRefusedForWantOfBetter()
{
    for (auto entry = refusedAits.begin(); entry != refusedAits.end();) {
        const auto refused = entry++;
        if (aits.count(refused->first) != 0 || aits.size() == limits_.tables)
            continue;
        onlyRefused_.insert(refused->first);
        aits.insert(refusedAits.extract(refused));
    }
}

/// A file has tables of its own, but for one that lies in several files, a section in each.
AITKey Survey::keyOf(const SectionSource& source, const SectionHeader& header) const
{
    AITKey own(source, header.tableIdExtension & 0x7FFF);
    const auto files = filesOfTypes_.find(own.second);
    if (source.pid || files == filesOfTypes_.end() || files->second.count(source) != 0)
        return own;
    for (const auto* const tables : {&aits, &refusedAits}) {
        for (const SectionSource& file : files->second) {
            const auto begun = tables->find({file, own.second});
            if (begun != tables->end() && begun->second.lacks(header))
                return begun->first;
        }
    }
    return own;
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
    if (header.sectionNumber == 0 && now)
        tables.notePresent(*now);
}

void EventTables::notePresent(const Moment& now)
{
    const uint64_t gap = msSince(lastPresent.value_or(Moment()), now);
    longestPresentGap = std::max(longestPresentGap.value_or(0), gap);
    lastPresent = now;
}

void Survey::refuse(Refusal refusal)
{
    const auto known = refusalIndex_.find({refusal.source, refusal.finding.fault, refusal.tableId,
                                           refusal.sectionNumber, refusal.finding.tag,
                                           refusal.finding.application});
    if (known != refusalIndex_.end()) {
        ++refusals[known->second].count;
        return;
    }
    if (refusals.size() == limits_.refusals) {
        ++leftOut.refusals;
        return;
    }
    refusal.count = 1;
    refusalIndex_.emplace(RefusalKey(refusal.source, refusal.finding.fault, refusal.tableId,
                                     refusal.sectionNumber, refusal.finding.tag,
                                     refusal.finding.application),
                          refusals.size());
    refusals.push_back(std::move(refusal));
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
    for (auto& [id, tables] : events) {
        if (tables.lastPresent && now)
            tables.notePresent(*now);
    }
}

bool Survey::isListed(const ServiceSurvey& service, const SectionSource& source) const
{
    if (!source.pid)
        return services.size() == 1;
    return std::any_of(
        service.map.streams.begin(), service.map.streams.end(), [&source](const auto& stream) {
            return stream.pid == *source.pid &&
                   (stream.mayCarryApplicationInformation() || !stream.applicationTypes.empty());
        });
}

std::optional<uint16_t> Survey::serviceOf(const SectionSource& source) const
{
    std::optional<uint16_t> found;
    for (const auto& [id, service] : services) {
        const bool isOfPmt = service.service && service.service->pmtPid == source.pid;
        if (!isOfPmt && !isListed(service, source))
            continue;
        if (found)
            return std::nullopt;
        found = id;
    }
    return found;
}

std::vector<const std::pair<const AITKey, TableHistory>*>
Survey::tablesOf(const ServiceSurvey& service) const
{
    std::vector<const std::pair<const AITKey, TableHistory>*> tables;
    for (const auto& entry : aits) {
        if (isListed(service, entry.first.first))
            tables.push_back(&entry);
    }
    return tables;
}

std::vector<const std::pair<const AITKey, TableHistory>*> Survey::tablesOfNobody() const
{
    std::vector<const std::pair<const AITKey, TableHistory>*> tables;
    for (const auto& entry : aits) {
        const bool isListedAnywhere =
            std::any_of(services.begin(), services.end(), [&](const auto& service) {
                return isListed(service.second, entry.first.first);
            });
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
