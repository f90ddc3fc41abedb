// What the browser reports of its windows, and the keys that it offers.

#include <string>

#include "vesta_hbbtv_appman.h"

#include "foundation/configuration_manager.h"
#include "foundation/decision.h"
#include "foundation/logging.h"
#include "foundation/out_of_memory.h"
#include "foundation/threadsafe_event_queue.h"
#include "foundation/url_prefixes.h"
#include "integration/application_events.h"
#include "integration/key_groups.h"
#include "integration/key_set.h"
#include "integration/oc_download_manager.h"
#include "lifecycle/application.h"
#include "lifecycle/decisions.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "oipf/notifications/notification_manager.h"
#include "oipf/notifications/notifications.h"

namespace VestaHbbTV {

namespace {

const char module[] = "vesta_hbbtv";

const unsigned int notConsumed = 0;
const unsigned int consumed = 1;
const unsigned int outOfMemory = 2;  // no answer of the interface
const int success = 0;
const int failure = -3;
const int statusNotFound = 404;

/// One browser event of a window, with the places where its answers go.
struct BrowserEvent {
    TAVO_VestaWindow* tavoWindow;
    TavoVestaEventData* data;
    int* result;

    unsigned int consume(int value) const
    {
        if (result)
            *result = value;
        return consumed;
    }

    HbbTVURL url() const { return HbbTVURL(data->url ? data->url : ""); }
    HbbTVURL secondURL() const { return HbbTVURL(data->second_url ? data->second_url : ""); }
};

Window* windowOf(const BrowserEvent& event)
{
    return WindowManager::getInstance()->getWindow(event.tavoWindow);
}

Application* applicationOf(const BrowserEvent& event)
{
    return WindowManager::getInstance()->findApplication(event.tavoWindow);
}

unsigned int handleWindowClose(const BrowserEvent& event)
{
    log(DEBUG, module, "TAVO_VESTA_EVT_WINDOW_CLOSE");
    if (areDecisionsHeard)
        explain(HBBTV_REASON_END_WINDOW_CLOSED, about(windowOf(event)->getRunningApplication()));
    windowOf(event)->terminateRunningApplication(false);
    return consumed;
}

unsigned int handleURLChanged(const BrowserEvent& event)
{
    if (Application* const application = applicationOf(event))
        application->setCurrentURL(event.url());
    return event.consume(success);
}

/// @param httpStatus of the server's answer; 0 without one
void explainPage(HBBTV_Reason reason, const BrowserEvent& event, uint32_t httpStatus = 0)
{
    if (!areDecisionsHeard)
        return;
    if (Application* const application = applicationOf(event))
        explain(reason, about(application), 0, httpStatus,
                application->getCurrentURL().getFullUrl().c_str());
}

unsigned int reportLoadFailed(const BrowserEvent& event, uint32_t httpStatus = 0)
{
    explainPage(HBBTV_REASON_PAGE_FAILED, event, httpStatus);
    return event.consume(windowOf(event)->reportLoadFailed(event.tavoWindow) ? success : failure);
}

unsigned int handleLoadingFinished(const BrowserEvent& event)
{
    log(DEBUG, module, "TAVO_VESTA_EVT_LOADING_FINISHED");
    // Deliberate: a page that the server did not find is a failed load.
    if (event.data->load_status == TAVO_LOAD_CONNECTION_FAILED ||
        event.data->http_status == statusNotFound) {
        log(ERR, module, "TAVO_LOAD_CONNECTION_FAILED");
        return reportLoadFailed(event, event.data->http_status);
    }
    if (ThreadsafeEventQueue* const queue = ConfigurationManager::getCurrentQueue())
        queue->add(new LoadSuccessEvent(event.tavoWindow));
    return event.consume(success);
}

unsigned int handleLoadingFailed(const BrowserEvent& event)
{
    log(DEBUG, module, "TAVO_VESTA_EVT_LOADING_FAILED");
    return reportLoadFailed(event);
}

unsigned int handleProtocolLoadingStart(const BrowserEvent& event)
{
    const std::string text = event.data->url ? event.data->url : "";
    log(DEBUG, module, "TAVO_VESTA_EVT_PROTOCOL_LOADING_START");
    log(DEBUG, module,
        text.size() > absoluteDVBPrefix.size() ? text.c_str() + absoluteDVBPrefix.size() : "");
    log(DEBUG, module, text);

    HbbTVDVBURL url(text);
    if (HbbTVURL::getURLType(url.getURL()) != HbbTVURL::dvbURL) {
        log(WARN, module, "Unsupported url protocol");
        if (areDecisionsHeard)
            explain(HBBTV_REASON_LOAD_NOT_DVB, about(applicationOf(event)), 0, 0, text.c_str());
        return event.consume(failure);
    }
    OCDownloadManager* const downloads = OCDownloadManager::getCurrent();
    if (!downloads)
        return notConsumed;
    Application* const application = applicationOf(event);
    if (!application || !application->isBroadcastRelated()) {
        explain(application ? HBBTV_REASON_LOAD_NOT_RELATED : HBBTV_REASON_LOAD_NO_APPLICATION,
                about(application), 0, 0, text.c_str());
        ve_protocol_failed(event.data->request_id, statusNotFound);
        return event.consume(success);
    }
    url.resolveRelativeUrl(application->getCurrentURL());
    const unsigned int downloadFailed = 2;
    if (downloads->startDownload(&url, event.data->request_id) == downloadFailed)
        log(ERR, module, "Failed to load dvb url.");
    return event.consume(success);
}

unsigned int handleProtocolLoadingStop(const BrowserEvent& event)
{
    log(DEBUG, module, "TAVO_VESTA_EVT_PROTOCOL_LOADING_STOP");
    OCDownloadManager* const downloads = OCDownloadManager::getCurrent();
    if (!downloads)
        return notConsumed;
    if (downloads->stopDownload(event.data->request_id))
        return event.consume(success);
    log(ERR, module, "Unrecognized id, releasing to platform");
    return notConsumed;
}

unsigned int handleXMLParseFailed(const BrowserEvent& event)
{
    explainPage(HBBTV_REASON_PAGE_NOT_WELL_FORMED, event);
    windowOf(event)->reportXMLParseFailure(event.tavoWindow);
    return consumed;
}

HBBTV_XHR_Permission askForPermission(const HbbTVURL& page, const HbbTVURL& target)
{
    HBBTV_XHR_Permission permission = HBBTV_XHR_ALLOW;
    NotificationManager::broadcastIfAny(
        new XHRNotification(page.getFullUrl().c_str(), target.getFullUrl().c_str(), &permission));
    return permission;
}

HBBTV_XHR_Permission decideOnRequest(Application& application, const HbbTVURL& page,
                                     const HbbTVURL& target)
{
    const DecisionAbout whom = about(&application);  // who is asked may end it
    const auto explainIt = [&](HBBTV_Reason reason) {
        if (areDecisionsHeard)
            explain(reason, whom, 0, 0, target.getFullUrl().c_str());
    };
    if (application.isWithinApplicationBoundaries(target)) {
        const HBBTV_XHR_Permission permission = askForPermission(page, target);
        if (permission == HBBTV_XHR_DENY)
            explainIt(HBBTV_REASON_REQUEST_DENIED);
        return permission;
    }
    if (HbbTVURL::getURLType(target.getURL()) == HbbTVURL::otherURL) {
        log(DEBUG, module, "Letting core decide on an out of bound http(s) XHR request.");
        explainIt(HBBTV_REASON_REQUEST_LEFT_TO_BROWSER);
        return HBBTV_XHR_CORE_DECIDES;
    }
    log(DEBUG, module, "Denying out of bound dvb XHR request.");
    explainIt(HBBTV_REASON_REQUEST_OUTSIDE);
    return HBBTV_XHR_DENY;
}

unsigned int handleXHRPermission(const BrowserEvent& event)
{
    const HbbTVURL page = event.url();
    HbbTVURL target = event.secondURL();
    if (target.getType() == HbbTVURL::dvbURL)
        target.resolveRelativeUrl(page);

    Application* const application = applicationOf(event);
    if (!application) {
        log(WARN, module,
            "XHR request received when no running application. Rejecting as invalid.");
        explain(HBBTV_REASON_REQUEST_NO_APPLICATION, {}, 0, 0, target.getFullUrl().c_str());
        return event.consume(failure);
    }
    const HBBTV_XHR_Permission answer = decideOnRequest(*application, page, target);
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the browser reads the answer from that slot
    event.data->request_id = reinterpret_cast<void*>(static_cast<uintptr_t>(answer));
    return event.consume(success);
}

/// Why a key is no application's. @param application null for none
void explainKey(Application* application, TAVO_VIRTUAL_KEY key)
{
    const DecisionAbout whom = about(application);
    const auto code = static_cast<uint32_t>(key);
    const auto group = static_cast<uint32_t>(keyGroupOf(key));
    if (!application)
        explain(HBBTV_REASON_KEY_NO_APPLICATION, whom, 0, code);
    else if (group == 0)
        explain(HBBTV_REASON_KEY_NOT_FOR_APPLICATIONS, whom, 0, code);
    else
        explain(HBBTV_REASON_KEY_NOT_GRANTED, whom, group,
                static_cast<uint32_t>(application->getKeySet()->getValue()));
}

unsigned int handle(TAVO_VESTA_EVENT type, const BrowserEvent& event)
{
    if (type == TAVO_VESTA_EVT_PROTOCOL_LOADING_STOP)
        return handleProtocolLoadingStop(event);
    if (!vesta_hbbtv_is_hbbtv_window(event.tavoWindow))
        return notConsumed;
    const Window::Hold hold(windowOf(event));
    switch (type) {
    case TAVO_VESTA_EVT_WINDOW_CLOSE:
        return handleWindowClose(event);
    case TAVO_VESTA_EVT_URL_CHANGED:
        return handleURLChanged(event);
    case TAVO_VESTA_EVT_LOADING_FINISHED:
        return handleLoadingFinished(event);
    case TAVO_VESTA_EVT_LOADING_FAILED:
        return handleLoadingFailed(event);
    case TAVO_VESTA_EVT_PROTOCOL_LOADING_START:
        return handleProtocolLoadingStart(event);
    case TAVO_VESTA_EVT_XML_PARSE_FAILED:
        return handleXMLParseFailed(event);
    case TAVO_VESTA_EVT_XHR_PERMISSION:
        return handleXHRPermission(event);
    default:
        return notConsumed;
    }
}

}  // namespace

unsigned int
vesta_hbbtv_handle_notification(TAVO_Vesta* /*browser*/, TAVO_VestaWindow* tavoWindow,
                                TAVO_VESTA_EVENT type, TavoVestaEventData* data,
                                int* result)  // NOLINT(readability-non-const-parameter)
{
    if (!data)
        return notConsumed;
    const BrowserEvent event = {tavoWindow, data, result};
    const unsigned int answer =
        guarded(outOfMemory, [type, &event] { return handle(type, event); });
    return answer == outOfMemory ? event.consume(failure) : answer;
}

int vesta_hbbtv_key_input(TAVO_VestaWindow* tavoWindow, TAVO_KeyboardEvent* event)
{
    const int meantForNobody = 0;
    const int dealtWith = 1;
    return guarded(meantForNobody, [&] {
        Application* const application = WindowManager::getInstance()->findApplication(tavoWindow);
        if (!application || !event || !application->getKeySet()->matchesKey(event->key_code)) {
            if (areDecisionsHeard && event)
                explainKey(application, event->key_code);
            return meantForNobody;
        }
        if (event->type == TAVO_KEY_DOWN) {
            application->getKeys().insert(event->key_code);
            tavo_keyboard_evt(event);
        } else if (event->type == TAVO_KEY_UP) {
            // An application never gets the end of a key press whose beginning it did not get.
            if (application->getKeys().erase(event->key_code) != 0)
                tavo_keyboard_evt(event);
            else
                explain(HBBTV_REASON_KEY_UP_WITHOUT_DOWN, about(application), 0,
                        static_cast<uint32_t>(event->key_code));
        }
        return dealtWith;
    });
}

}  // namespace VestaHbbTV
