#include "integration/requests.h"

#include <string>

#include "foundation/configuration_manager.h"
#include "foundation/logging.h"
#include "lifecycle/application.h"
#include "lifecycle/decisions.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"

namespace VestaHbbTV {

void startRequested(const HBBTV_StartApplicationEventData& request)
{
    Window* const window = WindowManager::getInstance()->knownWindow(request.window);
    if (window)
        window->startApplication(request.organisationId, request.applicationId, HbbTVURL(""));
    else
        explain(HBBTV_REASON_START_UNKNOWN_WINDOW,
                {nullptr, static_cast<uint32_t>(request.organisationId), request.applicationId,
                 nullptr});
}

void startRequested(const HBBTV_StartURLEventData& request)
{
    Window* const window = WindowManager::getInstance()->knownWindow(request.window);
    if (!window || !request.url)
        return explain(window ? HBBTV_REASON_START_URL : HBBTV_REASON_START_UNKNOWN_WINDOW,
                       about(window));
    Application* const application =
        window->startBroadcastIndependentApplication(HbbTVURL(request.url));
    if (application)
        application->setStartedOnRequest(true);
}

void endRequested(const HBBTV_WindowEventData& request)
{
    Window* const window = WindowManager::getInstance()->knownWindow(request.window);
    if (!window)
        return explain(HBBTV_REASON_END_UNKNOWN_WINDOW);
    log(LOG, "ExternalEvent", "Terminate app!");
    if (areDecisionsHeard)
        explain(HBBTV_REASON_END_TERMINATED, about(window->getRunningApplication()));
    window->terminateRunningApplication(true);
}

// ETSI TS 102 796, 7.3.2.4
void describeTerminal(const HBBTV_UserAgentEventData& terminal)
{
    ConfigurationManager* const configuration = ConfigurationManager::getInstance();
    const bool isFirstVersion = terminal.versionSelector == 1;
    configuration->setHbbTVVersion(1, isFirstVersion ? 1 : 2, 1);

    std::string text = isFirstVersion ? "HbbTV/1.1.1 (" : "HbbTV/1.2.1 (";
    const char* separator = "";
    for (const char* field :
         {terminal.capabilities, terminal.vendorName, terminal.modelName, terminal.softwareVersion,
          terminal.hardwareVersion, terminal.reserved}) {
        text += separator;
        text += field ? field : "";
        separator = "; ";
    }
    text += ")";
    ve_set_uastring_extension(configuration->getBrowser(), text.c_str());
}

}  // namespace VestaHbbTV
