#include "lifecycle/decisions.h"

#include "foundation/configuration_manager.h"
#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "signalling/ait.h"

namespace VestaHbbTV {

namespace {

uint32_t versionNumber(unsigned major, unsigned minor, unsigned micro)
{
    return (major << 16) | (minor << 8) | micro;
}

void explainProfile(const DecisionAbout& about, const AITApplication::PlatformProfile& profile)
{
    const ConfigurationManager& terminal = *ConfigurationManager::getInstance();
    const uint32_t wanted = profile.getApplicationProfile();
    const uint32_t had = terminal.getSupportedProfiles();
    if ((wanted & ~had) != 0)
        return explain(HBBTV_REASON_START_PROFILE, about, wanted, had);
    explain(HBBTV_REASON_START_VERSION, about,
            versionNumber(profile.getVersionMajor(), profile.getVersionMinor(),
                          profile.getVersionMicro()),
            versionNumber(terminal.getHbbTVVersionMajor(), terminal.getHbbTVVersionMinor(),
                          terminal.getHbbTVVersionMicro()));
}

}  // namespace

DecisionAbout about(Window* window, const AITApplication* entry)
{
    DecisionAbout whom;
    if (!areDecisionsHeard)
        return whom;
    whom.window = window;
    if (entry) {
        whom.organisationId = static_cast<uint32_t>(entry->getOrganisationId());
        whom.applicationId = entry->getApplicationId();
    }
    return whom;
}

DecisionAbout about(Application* application)
{
    DecisionAbout whom;
    if (!areDecisionsHeard || !application)
        return whom;
    whom.window = application->getWindow();
    whom.organisationId = static_cast<uint32_t>(application->getOrganisationId());
    whom.applicationId = application->getApplicationId();
    // NOLINTNEXTLINE(performance-no-int-to-ptr): that is how scripts have it
    whom.scriptApplication = reinterpret_cast<void*>(uintptr_t{application->getID()});
    return whom;
}

void explainProfiles(const DecisionAbout& about, const AITApplication& entry)
{
    const AITApplication::ApplicationDescriptor* const descriptor =
        entry.getApplicationDescriptor();
    if (!descriptor || descriptor->getPlatformProfiles().empty())
        return explain(HBBTV_REASON_START_NO_PROFILE, about);
    for (const AITApplication::PlatformProfile& profile : descriptor->getPlatformProfiles())
        explainProfile(about, profile);
}

void explainTransports(const DecisionAbout& about, const AITApplication& entry)
{
    const AITApplication::ApplicationDescriptor* const descriptor =
        entry.getApplicationDescriptor();
    if (!entry.getTransports().empty())
        return explain(HBBTV_REASON_START_BROADBAND_OFF, about);
    if (!descriptor || descriptor->getTransportProtocolLabels().empty())
        return explain(HBBTV_REASON_START_NO_TRANSPORT, about);
    explain(HBBTV_REASON_START_LABEL_WITHOUT_TRANSPORT, about,
            *descriptor->getTransportProtocolLabels().begin());
}

void explainAutostart(Window* window, const AIT& table)
{
    for (unsigned index = 0; index < table.getNumApplications(); ++index) {
        const AITApplication& entry = *table.getAITApplication(index);
        if (entry.isSignalledWith(AITApplication::AUTOSTART))
            explainTransports(about(window, &entry), entry);
    }
    explain(HBBTV_REASON_TABLE_WITHOUT_AUTOSTART, about(window), 0, table.getNumApplications());
}

}  // namespace VestaHbbTV
