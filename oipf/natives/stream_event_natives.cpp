// Subscriptions of scripts to DSM-CC stream events (ETSI TS 102 796, 8.2.1). The platform keeps
// them; the library finds out which carousel the script means.

#include <cmath>
#include <cstdint>
#include <string>

#include "vesta_hbbtv_appman.h"

#include "foundation/configuration_manager.h"
#include "foundation/decision.h"
#include "foundation/out_of_memory.h"
#include "foundation/url_prefixes.h"
#include "lifecycle/application.h"
#include "lifecycle/decisions.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "signalling/ait_application.h"

using namespace VestaHbbTV;

namespace {

const int failed = VEIF_RETURN_ERROR;  // also where memory runs out

/// The application of an entry of the table that is shown in the window; null when there is none.
Application* findSubscriber(long windowId)
{
    TAVO_Vesta* const browser = ConfigurationManager::getInstance()->getBrowser();
    if (!browser) {
        explain(HBBTV_REASON_NATIVE_NO_BROWSER);
        return nullptr;
    }
    TAVO_VestaWindow* tavoWindow = nullptr;
    ve_get_window(browser, windowId, &tavoWindow);  // the handle tells, not the status
    Application* const application =
        tavoWindow ? WindowManager::getInstance()->findApplication(tavoWindow) : nullptr;
    if (application && application->getAITApplication())
        return application;
    explain(application ? HBBTV_REASON_NATIVE_NO_ENTRY : HBBTV_REASON_NATIVE_UNKNOWN_WINDOW,
            about(application));
    return nullptr;
}

bool isAbsolute(const std::string& target)
{
    return target.size() > absoluteDVBPrefix.size() &&
           target.find(absoluteDVBPrefix) != std::string::npos;
}

/// The low 16 bits of a script's number; 0 for what no 64-bit integer holds.
unsigned short low16(double number)
{
    const double limit = 9223372036854775808.0;  // 2^63
    if (!(number >= -limit && number < limit))
        return 0;
    return static_cast<unsigned short>(static_cast<uint64_t>(static_cast<int64_t>(number)) &
                                       0xFFFFu);
}

}  // namespace

int native_BroadcastAddStreamEventListener(const char* target, void* p1, void* p2, void* p3,
                                           void* p4, long windowId)
{
    return guarded(failed, [&]() -> int {
        Application* const application = findSubscriber(windowId);
        if (!application)
            return VEIF_RETURN_ERROR;
        std::string path = target ? target : "";
        if (isAbsolute(path)) {
            path.erase(0, absoluteDVBPrefix.size());
        } else {
            const AITApplicationTransport* const transport = application->getTransport();
            if (!transport) {
                explain(HBBTV_REASON_NATIVE_NO_ENTRY, about(application));
                return VEIF_RETURN_ERROR;
            }
            path = transport->getHostname() + "/" + path;
        }
        dsmcc_stream_event_subscribe(path.c_str(), p1, p2, p3, p4);
        return VEIF_RETURN_OK;
    });
}

int native_BroadcastAddXMLStreamEventListener(void* x1, void* x2, double d1, double d2, void* x3,
                                              void* x4, void* x5, long windowId)
{
    return guarded(failed, [&]() -> int {
        Application* const application = findSubscriber(windowId);
        const AITApplicationTransport* const transport =
            application ? application->getTransport() : nullptr;
        if (application && !transport)
            explain(HBBTV_REASON_NATIVE_NO_ENTRY, about(application));
        if (!transport)
            return VEIF_RETURN_ERROR;
        dsmcc_xml_stream_event_subscribe(x1, x2, low16(d1), transport->getServiceId(), low16(d2),
                                         x3, x4, x5);
        return VEIF_RETURN_OK;
    });
}

int native_BroadcastRemoveStreamEventListener(const char* target, void* p1, void* p2, void* p3,
                                              void* p4, long windowId)
{
    dsmcc_stream_event_unsubscribe(target, p1, p2, p3, p4, windowId);
    return VEIF_RETURN_OK;
}

int native_BroadcastRemoveAllStreamEventListeners(void* p1, long windowId)
{
    dsmcc_stream_event_unsubscribe_all(p1, windowId);
    return VEIF_RETURN_OK;
}
