// XML AITs: whether they can be read, and what they say of their applications.
#include <algorithm>
#include <set>

#include "inspector/check/checks.h"
#include "inspector/decode/descriptors.h"

namespace inspector {

namespace {

using VestaHbbTV::XMLAITNotes;
using VestaHbbTV::XMLPlace;

constexpr uint64_t applicationTag = 0x00;
constexpr uint64_t transportTag = 0x02;
constexpr uint64_t locationTag = 0x15;
constexpr uint64_t boundaryTag = 0x17;
constexpr uint64_t carouselProtocol = 1;
constexpr uint64_t httpProtocol = 3;

/// Of a section and not of a document, which comes over the network itself, and in which the
/// application manager takes every id for valid.
const std::set<std::string> notOfDocuments = {"autostart-http-only", "application-id-range"};

bool isWebPage(const std::string& url)
{
    return url.rfind("http", 0) == 0;
}

Node& addDescriptor(Node& list, uint64_t tag)
{
    Node& descriptor = list.addObject("");
    descriptor.addNumber("tag", tag);
    return descriptor;
}

void addTransport(const std::string& url, uint64_t label, Node& descriptors)
{
    Node& transport = addDescriptor(descriptors, transportTag);
    transport.addNumber("transport_protocol_label", label);
    transport.addNumber("protocol_id", isWebPage(url) ? httpProtocol : carouselProtocol);
    transport.addList("urls").addObject("").addText("URL_base", url);
}

/// What a section would say of the application.
Node asInASection(const Node& application)
{
    Node node;
    for (const char* const name : {"organisation_id", "application_id", "application_control_code"})
        node.addNumber(name, application.numberOf(name));
    Node& descriptors = node.addList("descriptors");
    Node& descriptor = addDescriptor(descriptors, applicationTag);
    descriptor.addList("profiles").children = application.listOf("profiles");
    descriptor.addNumber("visibility", application.numberOf("visibility"));
    descriptor.addNumber("application_priority", application.numberOf("application_priority"));
    Node& labels = descriptor.addList("transport_protocol_labels");
    for (const Node& url : application.listOf("urls")) {
        const uint64_t label = labels.children.size();
        labels.addNumber("", label);
        addTransport(url.text, label, descriptors);
    }
    addDescriptor(descriptors, locationTag).addText("initial_path", "");
    addDescriptor(descriptors, boundaryTag).addList("boundary_extensions").children =
        application.listOf("boundary_extensions");
    return node;
}

void addAddresses(const Node& application, std::vector<Address>& addresses)
{
    for (const Node& url : application.listOf("urls")) {
        Address address;
        address.organisationId = static_cast<uint32_t>(application.numberOf("organisation_id"));
        address.applicationId = static_cast<uint16_t>(application.numberOf("application_id"));
        address.url = url.text;
        address.leadsTo = isWebPage(url.text) ? LeadsTo::Network : LeadsTo::Unknown;
        addresses.push_back(address);
    }
}

Place placeIn(const XmlTable& table, const XMLPlace& at)
{
    Place place;
    place.table = table.path;
    place.line = at.line;
    place.column = at.column;
    return place;
}

Place placeOf(const XmlTable& table, const std::string& application)
{
    const auto& applications = table.notes.applications;
    const auto known =
        std::find_if(applications.begin(), applications.end(), [&](const auto& candidate) {
            return nameOfApplication(candidate.organisationId, candidate.applicationId) ==
                   application;
        });
    Place place = placeIn(table, known == applications.end() ? XMLPlace() : known->place);
    place.application = application;
    return place;
}

void checkContent(const XmlTable& table, Findings& findings)
{
    TableVersion asSection;
    std::vector<Address> addresses;
    Node& applications = asSection.sections[0].tree.addList("applications");
    for (const Node& application : table.tree.listOf("applications")) {
        applications.children.push_back(asInASection(application));
        addAddresses(application, addresses);
    }
    Findings found;
    checkApplications(asSection, addresses, Place(), found);
    for (const Finding& finding : found.all()) {
        if (notOfDocuments.count(finding.kind->id) == 0)
            findings.add(finding.kind->id, placeOf(table, finding.place.application),
                         finding.detail);
    }
}

}  // namespace

void checkXmlTables(const Survey& survey, Findings& findings)
{
    for (const XmlTable& table : survey.xmlTables) {
        if (table.status == HBBTV_KIT_XML_AIT_OK)
            checkContent(table, findings);
        else
            findings.add("xml-ait", placeIn(table, {table.line, table.column}), table.text);
        for (const XMLAITNotes::Skipped& skipped : table.notes.skipped)
            findings.add("xml-skipped", placeIn(table, skipped.place), skipped.text);
    }
}

}  // namespace inspector
