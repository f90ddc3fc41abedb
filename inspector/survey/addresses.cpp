#include "inspector/survey/addresses.h"

#include "inspector/decode/node.h"
#include "kit/section_copy.h"
#include "receiver/carousel/carousel_path.h"
#include "signalling/hbbtv_url.h"

namespace inspector {

using namespace VestaHbbTV;

namespace {

using receiver::Lookup;

constexpr size_t dvbPrefixSize = 6;  // "dvb://"

/// The service of a carousel; null where it is not of the stream.
const ServiceSurvey* serviceOf(const Survey& survey, const ServiceSurvey* own,
                               const AITApplicationTransport& transport)
{
    if (!transport.isRemote())
        return own;
    const auto found = survey.services.find(transport.getServiceId());
    if (found == survey.services.end() || !found->second.service)
        return nullptr;
    const bool isHere =
        found->second.service->transportStreamId == transport.getTransportStreamId();
    return isHere ? &found->second : nullptr;
}

void takeAnswer(const Lookup& lookup, Address& address)
{
    switch (lookup.result) {
    case Lookup::Result::Ready:
        address.leadsTo = LeadsTo::File;
        address.size = lookup.file.size;
        address.contentType = lookup.file.contentType;
        return;
    case Lookup::Result::Pending:
        address.leadsTo = LeadsTo::Incomplete;
        break;
    case Lookup::Result::Error:
        address.leadsTo = LeadsTo::Nothing;
        break;
    }
    address.reason = lookup.reason;
}

bool hasStream(const ServiceSurvey& service, uint8_t componentTag)
{
    for (const receiver::StreamDescription& stream : service.map.streams) {
        if (stream.componentTag == componentTag)
            return true;
    }
    return false;
}

/// @param url as the application manager gives it to the browser
void lookIntoCarousel(const ServiceSurvey& service, uint8_t componentTag, const std::string& url,
                      Address& address)
{
    const std::string plain = HbbTVURL(url).getURL();  // decoded, without query and fragment
    const auto path = receiver::parseCarouselPath(plain.substr(dvbPrefixSize));
    address.leadsTo = LeadsTo::NoCarousel;
    address.reason = hasStream(service, componentTag)
                         ? "no carousel began on the stream with component tag "
                         : "the PMT has no stream with component tag ";
    address.reason += hexadecimal(componentTag, 2);
    if (!path || !service.carousels)
        return;
    service.carousels->carousels().visit(
        [&](uint8_t tag, const receiver::ObjectCarousel& carousel) {
            if (tag != componentTag)
                return;
            address.reason.clear();
            takeAnswer(carousel.find(path->path), address);
        });
}

Address addressOf(const Survey& survey, const ServiceSurvey* own, const AITApplication& application,
                  const AITApplicationTransport& transport)
{
    Address address;
    address.organisationId = application.getOrganisationId();
    address.applicationId = application.getApplicationId();
    address.label = transport.getLabel();
    address.url = transport.getURL(application.getApplicationLocation());
    if (transport.getProtocol() == AITApplicationTransport::HTTP) {
        address.leadsTo = LeadsTo::Network;
    } else if (transport.getProtocol() == AITApplicationTransport::OBJECT_CAROUSEL) {
        const ServiceSurvey* const service = serviceOf(survey, own, transport);
        if (service && service->service)
            lookIntoCarousel(*service, transport.getComponentTag(), address.url, address);
        else
            address.leadsTo = transport.isRemote() ? LeadsTo::OtherService : LeadsTo::Unknown;
    } else {
        address.reason = "the application manager does not know the protocol";
    }
    return address;
}

}  // namespace

std::string nameOf(LeadsTo leadsTo)
{
    switch (leadsTo) {
    case LeadsTo::File:
        return "file";
    case LeadsTo::Incomplete:
        return "incomplete";
    case LeadsTo::Nothing:
        return "nothing";
    case LeadsTo::NoCarousel:
        return "no carousel";
    case LeadsTo::Network:
        return "network";
    case LeadsTo::OtherService:
        return "other service";
    case LeadsTo::Unknown:
        break;
    }
    return "unknown";
}

std::string nameOfApplication(uint32_t organisationId, uint32_t applicationId)
{
    constexpr size_t prefix = 2;  // "0x"
    return hexadecimal(organisationId).substr(prefix) + "." +
           hexadecimal(applicationId).substr(prefix);
}

ref_ptr<AIT> readTable(const ServiceSurvey* owner, const TableVersion& table)
{
    const receiver::Service service =
        owner && owner->service ? *owner->service : receiver::Service();
    ref_ptr<AIT> ait(new AIT(service.originalNetworkId.value_or(0), service.transportStreamId,
                             service.programNumber, nullptr));
    for (const auto& [number, section] : table.sections) {
        TableCost cost;
        const ByteReader bytes(section.bytes.data(), section.bytes.size());
        if (examineSection(bytes, anyApplicationType, false, cost).fault == HBBTV_KIT_SECTION_OK)
            ait->parse(copySection(bytes, {}).data());
    }
    return ait;
}

TableCost costOf(const TableVersion& table)
{
    TableCost cost;
    for (const auto& [number, section] : table.sections)
        examineSection({section.bytes.data(), section.bytes.size()}, anyApplicationType, false,
                       cost);
    return cost;
}

bool isTakenByFeed(const TableCost& cost)
{
    HBBTV_KitFeedOptions limits;
    hbbtv_kit_feed_get_defaults(&limits);
    return cost.applications <= limits.mostApplications && cost.textBytes <= limits.mostTextBytes &&
           cost.labels <= limits.mostLabels;
}

std::vector<Address> addressesOf(const Survey& survey, const ServiceSurvey* service,
                                 const TableVersion& table)
{
    std::vector<Address> addresses;
    if (!isTakenByFeed(costOf(table)))
        return addresses;
    const ref_ptr<AIT> ait = readTable(service, table);
    for (unsigned index = 0; index < ait->getNumApplications(); ++index) {
        const AITApplication& application = *ait->getAITApplication(index);
        for (const ref_ptr<AITApplicationTransport>& transport : application.getTransports())
            addresses.push_back(addressOf(survey, service, application, *transport));
    }
    return addresses;
}

}  // namespace inspector
