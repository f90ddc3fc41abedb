/// What tables hold, as texts: a test compares the whole of it at once.
#ifndef VESTA_TESTS_SUPPORT_PRINTED_TABLES_H
#define VESTA_TESTS_SUPPORT_PRINTED_TABLES_H

#include <sstream>
#include <string>

#include "vesta_hbbtv_appman.h"

#include "security/application_domain.h"
#include "signalling/ait_application.h"

namespace vesta::test {

/// "profile/major.minor.micro" of each profile, then flags and numbers, then the labels.
inline std::string print(const VestaHbbTV::AITApplication::ApplicationDescriptor& descriptor)
{
    std::ostringstream text;
    for (const VestaHbbTV::AITApplication::PlatformProfile& profile :
         descriptor.getPlatformProfiles())
        text << profile.getApplicationProfile() << "/" << int{profile.getVersionMajor()} << "."
             << int{profile.getVersionMinor()} << "." << int{profile.getVersionMicro()} << " ";
    text << (descriptor.isServiceBound() ? "bound" : "unbound") << " visibility "
         << descriptor.getVisibility() << " priority " << int{descriptor.getApplicationPriority()}
         << " labels";
    for (const uint8_t label : descriptor.getTransportProtocolLabels())
        text << " " << int{label};
    return text.str();
}

/// The set flags' letters in the order of signalling, then the component tags.
inline std::string
print(const VestaHbbTV::AITApplication::ApplicationRecordingDescriptor& descriptor)
{
    std::ostringstream text;
    text << (descriptor.isScheduledRecording() ? "S" : "")
         << (descriptor.isTrickModeAware() ? "T" : "") << (descriptor.isTimeShift() ? "H" : "")
         << (descriptor.isDynamic() ? "D" : "") << (descriptor.isAVSynced() ? "A" : "")
         << (descriptor.isInitiatingReplay() ? "I" : "");
    for (const uint8_t tag : descriptor.getComponentTags())
        text << " " << int{tag};
    return text.str();
}

/// "2: protocol 3 of 1.2.3 tag 0 at http://a.example/"
inline std::string print(const VestaHbbTV::AITApplicationTransport& transport)
{
    std::ostringstream text;
    text << int{transport.getLabel()} << ": protocol " << transport.getProtocol() << " of "
         << transport.getOriginalNetworkId() << "." << transport.getTransportStreamId() << "."
         << transport.getServiceId() << (transport.isRemote() ? " remote" : "") << " tag "
         << int{transport.getComponentTag()} << " at " << transport.getURLBase();
    return text.str();
}

/// Ids, control code, usage, name and location; then a line for each thing that it has.
inline std::string print(const VestaHbbTV::AITApplication& application)
{
    std::ostringstream text;
    text << application.getOrganisationId() << "." << application.getApplicationId() << " code "
         << application.getControlCode() << " usage " << application.getUsageType() << " '"
         << application.getApplicationName() << "' at '" << application.getApplicationLocation()
         << "'";
    if (const auto* const descriptor = application.getApplicationDescriptor())
        text << "\n" << print(*descriptor);
    if (const auto* const recording = application.getApplicationRecordingDescriptor())
        text << "\nrecording " << print(*recording);
    for (const std::string& entry : application.getApplicationDomain()->getEntries())
        text << "\nboundary " << entry;
    for (const auto& transport : application.getTransports())
        text << "\ntransport " << print(*transport);
    return text.str();
}

/// A line for the table and one for each application, with its addresses in the order of the slots.
inline std::string print(const VestaHbbTV::HBBTV_AITNotificationData& record)
{
    const auto orNull = [](const char* string) { return string ? string : "(null)"; };
    std::ostringstream text;
    text << (record.isXML ? "XML " : "broadcast ") << record.isXML << ", "
         << int{record.numApplications} << (record.applications ? " in an array" : " in none");
    for (int number = 0; record.applications && number < record.numApplications; ++number) {
        const auto& info = record.applications[number];
        text << "\n"
             << info.organisationId << "." << info.applicationId << " '" << orNull(info.name)
             << "' usage " << info.usageType << " code " << info.controlCode << " http "
             << int{info.hasHttpTransport} << " carousel " << int{info.hasOCTransport};
        for (unsigned slot = 0; slot < info.numUrls; ++slot)
            text << " " << orNull(info.urls[slot]);
    }
    return text.str();
}

}  // namespace vesta::test

#endif
