/// Looks at a survey for all that findingKinds() lists.
#ifndef VESTA_INSPECTOR_CHECK_CHECKS_H
#define VESTA_INSPECTOR_CHECK_CHECKS_H

#include "inspector/check/finding.h"
#include "inspector/survey/addresses.h"
#include "inspector/survey/survey.h"

namespace inspector {

/// @param survey finished
Findings check(const Survey& survey);

/// @name Its parts
/// @{
void checkSections(const Survey& survey, Findings& findings);
void checkTables(const Survey& survey, Findings& findings);
void checkServices(const Survey& survey, Findings& findings);
/// Of a table that the feed takes. @param service null where it is not known @param table decoded
/// @param place of the table
void checkApplications(const Survey& survey, const ServiceSurvey* service,
                       const TableVersion& table, const Place& place, Findings& findings);
/// Of a table of which that is known already, or whose size is bounded otherwise.
void checkApplications(const TableVersion& table, const std::vector<Address>& addresses,
                       const Place& place, Findings& findings);
void checkCarousels(const Survey& survey, Findings& findings);
void checkXmlTables(const Survey& survey, Findings& findings);
/// @}

/// Where an AIT is.
Place placeOf(const AITKey& key, const std::optional<uint16_t>& service);

}  // namespace inspector

#endif
