#include "inspector/check/checks.h"

#include <algorithm>

#include "inspector/decode/tables.h"

namespace inspector {

namespace {

using receiver::hbbtvApplicationType;

/// The content of every AIT, once for each service that lists it.
void checkAllApplications(const Survey& survey, Findings& findings)
{
    const auto checkTable = [&](const std::pair<const AITKey, TableHistory>& entry,
                                const ServiceSurvey* service, std::optional<uint16_t> id) {
        if (entry.first.second == hbbtvApplicationType)
            checkApplications(survey, service, entry.second, placeOf(entry.first, id), findings);
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
    if (survey.statistics && survey.statistics->continuityErrors > 0)
        findings.add("continuity", {}, counted(survey.statistics->continuityErrors, "gap"));
    const auto limit = [&findings](uint64_t count, const char* what) {
        if (count > 0)
            findings.add("survey-limit", {}, std::to_string(count) + " " + what);
    };
    limit(survey.leftOut.services, "times a service more than are looked at");
    limit(survey.leftOut.tables, "sections of further AITs");
    limit(survey.leftOut.refusals, "refused sections of further kinds");
    limit(survey.leftOut.carousels,
          "times the carousels of a service were not read: --service reads them");
    for (const auto& [key, history] : survey.aits)
        limit(history.leftOut(), "sections of an AIT for which there was no memory");
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
    place.pid = key.first;
    place.table = nameOfTable(aitTable);
    return place;
}

}  // namespace inspector
