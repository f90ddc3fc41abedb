#include "inspector/check/checks.h"

#include <set>
#include <tuple>

#include "inspector/decode/tables.h"

namespace inspector {

namespace {

using receiver::hbbtvApplicationType;

/// Findings of a table that are about what else was on air with it.
bool isOfOtherTables(std::string_view id)
{
    static const std::set<std::string_view> ids = {"location-unresolved", "location-incomplete",
                                                   "transport-component",
                                                   "transport-other-service"};
    return ids.count(id) != 0;
}

std::tuple<std::string_view, std::string, std::string> keyOf(const Finding& finding)
{
    return {finding.kind->id, finding.place.application, finding.detail};
}

/// What was wrong with the tables before the one that is looked at, and is not any more.
/// @param first of the findings of that one
void checkOlderTables(const Survey& survey, const ServiceSurvey* service,
                      const TableHistory& history, const Place& place, size_t first,
                      Findings& findings)
{
    std::set<std::tuple<std::string_view, std::string, std::string>> said;
    for (size_t at = first; at < findings.all().size(); ++at)
        said.insert(keyOf(findings.all()[at]));
    for (const TableVersion& version : history.versions()) {
        if (!version.isWhole() || &version == history.latest())
            continue;
        TableVersion table = version;
        for (auto& [number, section] : table.sections)
            section.tree = decodeSection(section.bytes);
        Findings older;
        checkApplications(survey, service, table, place, older);
        for (const Finding& finding : older.all()) {
            if (!isOfOtherTables(finding.kind->id) && said.insert(keyOf(finding)).second)
                findings.add(finding.kind->id, finding.place,
                             finding.detail + ", in version " + std::to_string(table.version) +
                                 ", which was not the last");
        }
    }
}

/// The content of every AIT, once for each service that lists it, and of the tables that were there
/// before it once.
void checkAllApplications(const Survey& survey, Findings& findings)
{
    std::set<const TableHistory*> looked;
    const auto checkTable = [&](const std::pair<const AITKey, TableHistory>& entry,
                                const ServiceSurvey* service, std::optional<uint16_t> id) {
        const auto& [key, history] = entry;
        const TableVersion* const latest = history.latest();
        if (key.second != hbbtvApplicationType || !latest)
            return;
        const Place place = placeOf(key, id);
        const size_t first = findings.all().size();
        checkApplications(survey, service, *latest, place, findings);
        if (looked.insert(&history).second)
            checkOlderTables(survey, service, history, place, first, findings);
    };
    for (const auto& [id, service] : survey.services) {
        for (const auto* const entry : survey.tablesOf(service))
            checkTable(*entry, &service, id);
    }
    for (const auto* const entry : survey.tablesOfNobody())
        checkTable(*entry, nullptr, std::nullopt);
}

void checkStream(const Survey& survey, Findings& findings)
{
    for (const auto& [pid, gaps] : survey.continuityErrors) {
        Place place;
        place.service = survey.serviceOf(pid);
        place.pid = pid;
        findings.add("continuity", place, counted(gaps, "gap"));
    }
    const auto limit = [&findings](uint64_t count, const char* what) {
        if (count > 0)
            findings.add("survey-limit", {}, std::to_string(count) + " " + what);
    };
    limit(survey.leftOut.services, "times a service more than are looked at");
    limit(survey.leftOut.tables, "sections of further AITs");
    limit(survey.leftOut.refusals, "refused sections of further kinds");
    limit(survey.leftOut.carousels,
          "times the carousels of a service were not read: --service reads them");
    for (const auto* const tables : {&survey.aits, &survey.refusedAits}) {
        for (const auto& [key, history] : *tables)
            limit(history.leftOut(), "sections of an AIT for which there was no memory");
    }
}

}  // namespace

Findings check(const Survey& survey)
{
    Findings findings;
    checkSections(survey, findings);
    checkTables(survey, findings);
    checkServices(survey, findings);
    checkAllApplications(survey, findings);
    checkCarousels(survey, findings);
    checkXmlTables(survey, findings);
    checkStream(survey, findings);
    return findings;
}

Place placeOf(const AITKey& key, const std::optional<uint16_t>& service)
{
    Place place;
    place.service = service;
    place.pid = key.first.pid;
    place.file = key.first.file;
    place.table = nameOfTable(aitTable);
    return place;
}

}  // namespace inspector
