#include "inspector/input/xml_tree.h"

#include "inspector/decode/descriptors.h"
#include "inspector/survey/addresses.h"

namespace inspector {

namespace {

using namespace VestaHbbTV;

void addDescriptor(const AITApplication::ApplicationDescriptor& descriptor, Node& into)
{
    Node& profiles = into.addList("profiles");
    for (const AITApplication::PlatformProfile& profile : descriptor.getPlatformProfiles()) {
        Node& node = profiles.addObject("", "profile");
        node.addHexadecimal("application_profile", profile.getApplicationProfile());
        node.addNumber("version_major", profile.getVersionMajor());
        node.addNumber("version_minor", profile.getVersionMinor());
        node.addNumber("version_micro", profile.getVersionMicro());
    }
    into.addFlag("service_bound_flag", descriptor.isServiceBound());
    into.addNumber("visibility", static_cast<uint64_t>(descriptor.getVisibility()));
    into.addNumber("application_priority", descriptor.getApplicationPriority());
}

void addApplication(const AITApplication& application, Node& list)
{
    const auto code = static_cast<uint64_t>(application.getControlCode());
    Node& node =
        list.addObject("", "application " + nameOfApplication(application.getOrganisationId(),
                                                              application.getApplicationId()));
    node.addHexadecimal("organisation_id", application.getOrganisationId());
    node.addHexadecimal("application_id", application.getApplicationId());
    node.addNumber("application_control_code", code, nameOfControlCode(code));
    node.addText("application_name", application.getApplicationName());
    node.addNumber("usage_type", static_cast<uint64_t>(application.getUsageType()));
    if (const AITApplication::ApplicationDescriptor* const descriptor =
            application.getApplicationDescriptor())
        addDescriptor(*descriptor, node);
    Node& boundaries = node.addList("boundary_extensions");
    for (const std::string& entry : application.getApplicationDomain()->getEntries())
        boundaries.addText("", entry);
    Node& urls = node.addList("urls");
    for (const ref_ptr<AITApplicationTransport>& transport : application.getTransports())
        urls.addText("", transport->getURL(application.getApplicationLocation()));
}

}  // namespace

Node treeOf(const AIT& table)
{
    Node tree;
    Node& applications = tree.addList("applications");
    for (unsigned index = 0; index < table.getNumApplications(); ++index)
        addApplication(*table.getAITApplication(index), applications);
    return tree;
}

}  // namespace inspector
