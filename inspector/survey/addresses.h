/// What the URLs of an AIT lead to, made as the application manager makes them.
#ifndef VESTA_INSPECTOR_SURVEY_ADDRESSES_H
#define VESTA_INSPECTOR_SURVEY_ADDRESSES_H

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/ref_ptr.h"
#include "inspector/survey/survey.h"
#include "signalling/ait.h"

namespace inspector {

enum class LeadsTo {
    File,          ///< of a carousel, and whole
    Incomplete,    ///< something on the way to it did not come
    Nothing,       ///< no such file
    NoCarousel,    ///< the service has no carousel with that component tag
    Network,       ///< HTTP, which nobody looks at here
    OtherService,  ///< a carousel of a service that is not of this stream, or was not asked for
    Unknown        ///< a protocol that the application manager does not know, or no PMT
};

/// "file", "incomplete", ... as in the JSON.
std::string nameOf(LeadsTo leadsTo);

/// The page of an application on one of its transports.
struct Address {
    uint32_t organisationId = 0;
    uint16_t applicationId = 0;
    uint8_t label = 0;
    std::string url;
    LeadsTo leadsTo = LeadsTo::Unknown;
    size_t size = 0;          ///< of a file
    std::string contentType;  ///< of a file; empty where it is not signalled
    std::string reason;       ///< for people, where there is no file
};

/// The table as the application manager has it.
/// @param service null where it is not known
VestaHbbTV::ref_ptr<VestaHbbTV::AIT> readTable(const ServiceSurvey* service,
                                               const TableVersion& table);

/// What a table costs the application manager.
VestaHbbTV::TableCost costOf(const TableVersion& table);

/// Whether the feed takes a table of that size, as far as it is not told otherwise.
bool isTakenByFeed(const VestaHbbTV::TableCost& cost);

/// In the order in which the applications are tried, and their transports.
/// @param service null where it is not known
/// @return none for a table that the feed does not take
std::vector<Address> addressesOf(const Survey& survey, const ServiceSurvey* service,
                                 const TableVersion& table);

/// "a.1"
std::string nameOfApplication(uint32_t organisationId, uint32_t applicationId);

}  // namespace inspector

#endif
