// What the kit's guard refuses, and tables that do not become whole or change in odd ways.
#include <algorithm>
#include <set>

#include "inspector/check/checks.h"
#include "inspector/decode/tables.h"
#include "inspector/survey/addresses.h"

namespace inspector {

namespace {

/// The finding of a fault; null for one that no section here can have.
const char* findingOf(int fault)
{
    switch (fault) {
    case HBBTV_KIT_SECTION_INCOMPLETE:
        return "section-incomplete";
    case HBBTV_KIT_SECTION_NOT_AIT:
        return "section-not-ait";
    case HBBTV_KIT_SECTION_LENGTH:
        return "section-length";
    case HBBTV_KIT_SECTION_SYNTAX:
        return "section-syntax";
    case HBBTV_KIT_SECTION_CRC:
        return "section-crc";
    case HBBTV_KIT_SECTION_TEST:
        return "section-test";
    case HBBTV_KIT_SECTION_NOT_CURRENT:
        return "section-not-current";
    case HBBTV_KIT_SECTION_NUMBER:
        return "section-number";
    case HBBTV_KIT_SECTION_COMMON_LOOP:
        return "section-common-loop";
    case HBBTV_KIT_SECTION_APPLICATION_LOOP:
        return "section-application-loop";
    case HBBTV_KIT_SECTION_APPLICATION:
        return "section-application";
    case HBBTV_KIT_SECTION_DESCRIPTOR:
        return "section-descriptor";
    case HBBTV_KIT_SECTION_EMPTY_DESCRIPTOR:
        return "section-empty-descriptor";
    case HBBTV_KIT_SECTION_NAME:
        return "section-name";
    case HBBTV_KIT_SECTION_REFUSED:
        return "section-refused";
    default:
        return nullptr;
    }
}

std::string detailOf(const Refusal& refusal)
{
    const bool isOfDescriptor = refusal.finding.fault == HBBTV_KIT_SECTION_DESCRIPTOR ||
                                refusal.finding.fault == HBBTV_KIT_SECTION_EMPTY_DESCRIPTOR ||
                                refusal.finding.fault == HBBTV_KIT_SECTION_NAME;
    std::string detail = counted(refusal.count, "section");
    if (refusal.tableId != Refusal::unknownTable)
        detail += " of " + nameOfTable(refusal.tableId);
    if (isOfDescriptor)
        detail += ", descriptor " + hexadecimal(refusal.finding.tag, 2);
    return detail + ": " + hbbtv_kit_section_fault_text(refusal.finding.fault);
}

/// More than the feed takes.
void checkLimits(const TableVersion& table, const Place& place, Findings& findings)
{
    const VestaHbbTV::TableCost cost = costOf(table);
    if (!isTakenByFeed(cost))
        findings.add("table-limits", place,
                     counted(cost.applications, "application") + ", " +
                         std::to_string(cost.textBytes) + " bytes of names, URLs and boundaries, " +
                         counted(cost.labels, "label"));
}

/// Where a section is the table itself, the time of its repetition is the table's.
void checkGap(const std::optional<uint64_t>& gap, uint64_t mostMs, const char* finding,
              const Place& place, Findings& findings)
{
    constexpr uint64_t precisionMs = 100;  // of the clock's packets
    if (gap && *gap > mostMs + precisionMs)
        findings.add(finding, place, "no section for " + std::to_string(*gap) + " ms");
}

/// What is said of a table of a kind.
struct TableKind {
    uint64_t mostMs;
    const char* repetition;
    const char* incomplete;
    const char* versionKept;
    const char* versionAlone;
};

constexpr TableKind patKind = {500, "repetition-pat", "pat-incomplete", "psi-version-kept",
                               "psi-version-alone"};
constexpr TableKind pmtKind = {500, "repetition-pmt", "pmt-sections", "psi-version-kept",
                               "psi-version-alone"};
constexpr TableKind sdtKind = {2'000, "repetition-sdt", "sdt-incomplete", "psi-version-kept",
                               "psi-version-alone"};
constexpr TableKind aitKind = {10'000, "repetition-ait", "table-incomplete", "version-kept",
                               "version-alone"};

/// After a section came so often, the others have had their turn, but for lost ones.
constexpr uint64_t roundsUntilWhole = 3;

/// Whether it would have become whole: a section of it came again and again.
bool hasComeRound(const TableVersion& table)
{
    return std::any_of(table.sections.begin(), table.sections.end(),
                       [](const auto& entry) { return entry.second.count >= roundsUntilWhole; });
}

/// The table that is looked at, and those that followed each other before and after it.
void checkWholeness(const TableHistory& history, const TableKind& kind, const Place& place,
                    Findings& findings)
{
    std::set<uint8_t> said;
    for (const TableVersion& table : history.versions()) {
        const bool isLatest = &table == history.latest();
        if (table.isWhole() || (!isLatest && !hasComeRound(table)) ||
            !said.insert(table.version).second)
            continue;
        findings.add(kind.incomplete, place,
                     "version " + std::to_string(table.version) + ": " +
                         std::to_string(table.sections.size()) + " of " +
                         counted(table.lastSectionNumber + 1U, "section"));
    }
}

void checkHistory(const TableHistory& history, const TableKind& kind, const Place& place,
                  Findings& findings)
{
    checkGap(history.longestGap(), kind.mostMs, kind.repetition, place, findings);
    checkWholeness(history, kind, place, findings);
    if (const std::optional<uint8_t> number = history.changedWithinVersion()) {
        Place changed = place;
        changed.section = *number;
        findings.add(kind.versionKept, changed,
                     "section " + std::to_string(*number) + " changed within a version");
    }
    if (history.isVersionAloneChanged())
        findings.add(kind.versionAlone, place, "two versions that follow each other are alike");
}

Place placeOfTable(uint8_t tableId, uint16_t pid, std::optional<uint16_t> service = std::nullopt)
{
    Place place;
    place.service = service;
    place.pid = pid;
    place.table = nameOfTable(tableId);
    return place;
}

void checkEvents(const Survey& survey, Findings& findings)
{
    constexpr uint64_t mostEitMs = 2'000;
    constexpr uint16_t eitPid = 0x0012;
    for (const auto& [id, tables] : survey.events) {
        if (survey.services.count(id) != 0)
            checkGap(tables.longestPresentGap, mostEitMs, "repetition-eit",
                     placeOfTable(presentFollowingTable, eitPid, id), findings);
    }
}

}  // namespace

void checkSections(const Survey& survey, Findings& findings)
{
    for (const Refusal& refusal : survey.refusals) {
        const bool isTestBeside =
            refusal.finding.fault == HBBTV_KIT_SECTION_TEST &&
            survey.isInForce({refusal.source, receiver::hbbtvApplicationType});
        const char* const finding =
            isTestBeside ? "section-test-beside" : findingOf(refusal.finding.fault);
        if (!finding)
            continue;
        Place place;
        place.service = survey.serviceOf(refusal.source);
        place.pid = refusal.source.pid;
        place.file = refusal.source.file;
        if (refusal.tableId != Refusal::unknownTable) {
            place.table = nameOfTable(refusal.tableId);
            place.section = refusal.sectionNumber;
            place.offset = refusal.finding.offset;
        }
        if (const auto& id = refusal.finding.application)
            place.application = nameOfApplication(id->first, id->second);
        findings.add(finding, place, detailOf(refusal));
    }
}

void checkTables(const Survey& survey, Findings& findings)
{
    constexpr uint16_t patPid = 0x0000;
    constexpr uint16_t sdtPid = 0x0011;
    for (const auto& [id, history] : survey.pats)
        checkHistory(history, patKind, placeOfTable(patTable, patPid), findings);
    for (const auto& [id, history] : survey.sdts)
        checkHistory(history, sdtKind, placeOfTable(sdtTable, sdtPid), findings);
    for (const auto& [id, service] : survey.services) {
        Place place = placeOfTable(pmtTable, 0, id);
        place.pid = service.service ? std::optional(service.service->pmtPid) : std::nullopt;
        checkHistory(service.pmt, pmtKind, place, findings);
    }
    for (const auto& [key, history] : survey.aits) {
        const Place place = placeOf(key, survey.serviceOf(key.first));
        checkHistory(history, aitKind, place, findings);
        if (history.changesAtOnce() > TableHistory::mostChanges)
            findings.add("table-flapping", place,
                         std::to_string(history.changesAtOnce()) + " changes within " +
                             std::to_string(TableHistory::changesWithinMs) + " ms");
        if (const TableVersion* const latest = history.latest())
            checkLimits(*latest, place, findings);
    }
    checkEvents(survey, findings);
}

}  // namespace inspector
