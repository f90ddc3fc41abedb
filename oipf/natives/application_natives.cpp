// What scripts ask of the application manager, their application, its key set and its permissions.

#include "oipf/natives/application_natives.h"

#include <cstdint>
#include <string>

#include "vesta_hbbtv_appman.h"

#include "foundation/configuration_manager.h"
#include "foundation/decision.h"
#include "foundation/logging.h"
#include "foundation/out_of_memory.h"
#include "foundation/threadsafe_event_queue.h"
#include "foundation/utilities.h"
#include "integration/application_events.h"
#include "integration/key_set.h"
#include "lifecycle/application.h"
#include "lifecycle/decisions.h"
#include "lifecycle/script_plugin.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "oipf/notifications/notification_manager.h"
#include "oipf/notifications/notifications.h"

namespace VestaHbbTV {

namespace {

const char module[] = "ApplicationManager";

// What scripts get where memory runs out.
const int done = VEIF_RETURN_OK;
const int failed = VEIF_RETURN_ERROR;
const int refused = VEIF_RETURN_NOT_PERMITTED;

int asPermission(bool granted)
{
    return granted ? VEIF_RETURN_OK : VEIF_RETURN_NOT_PERMITTED;
}

/// Whether there is a place for an answer.
bool isThere(const void* place)
{
    if (!place)
        explain(HBBTV_REASON_NATIVE_NULL);
    return place != nullptr;
}

/// What the library itself thinks of a page of an application.
bool isTrusted(const Application& application, const char* url)
{
    const AITApplication* const entry = application.getAITApplication();
    return application.isBroadcastRelated() && entry && entry->isInSignedRange() &&
           application.isWithinApplicationBoundaries(url);
}

/// The script left the channel: its application is no longer part of a service.
void leaveBroadcast(Application& application, const char* url)
{
    if (application.getAITApplication() && application.isBroadcastRelated() &&
        application.isWithinApplicationBoundaries(url))
        application.setBroadcastRelated(false);
}

/// The script tuned in its own window: that one shows the service from now on, and the service's
/// application in the former one ends.
void takeOverBroadcast(Window* window)
{
    WindowManager* const manager = WindowManager::getInstance();
    Window* const former = manager->getBroadcastWindow();
    if (former == window || !manager->setBroadcastWindow(window))
        return;
    Application* const running = former ? former->getRunningApplication() : nullptr;
    if (!running || !running->isBroadcastRelated())
        return;
    explain(HBBTV_REASON_END_CHANNEL_TAKEN, about(running));
    former->terminateRunningApplication(true);
}

/// Starts what a script named by URL. @return null when it did not start
Application* startByURL(Window& window, const std::string& url)
{
    if (!WindowManager::getInstance()->isHttpAvailable()) {
        explain(HBBTV_REASON_NATIVE_BROADBAND_OFF, about(&window), 0, 0, url.c_str());
        return nullptr;
    }
    return window.startBroadcastIndependentApplication(HbbTVURL(url));
}

/// Starts what a script named by its ids in the table in force. @return as above
Application* startByIds(Window& window, const HbbTVCurrentAITDVBURL& url)
{
    const uint32_t highestApplicationId = 0xFFFF;
    if (url.getApplicationId() > highestApplicationId) {
        explain(HBBTV_REASON_START_NOT_LISTED,
                {&window, static_cast<uint32_t>(url.getOrganisationId()), url.getApplicationId(),
                 nullptr});
        return nullptr;
    }
    return window.startApplication(url.getOrganisationId(),
                                   static_cast<unsigned short>(url.getApplicationId()), url);
}

int createApplication(Window& window, const std::string& url, void* parentAppId, void** appId)
{
    log(DEBUG, module, "Creating application: ", url);
    *appId = nullptr;
    const Window::Hold hold(&window);
    Application* application = nullptr;
    if (HbbTVURL::getURLType(url) == HbbTVURL::currentAITDVBURL) {
        const HbbTVCurrentAITDVBURL currentAITURL(url);
        if (!currentAITURL.isValid()) {
            explain(HBBTV_REASON_NATIVE_URL, about(&window), 0, 0, url.c_str());
            return VEIF_RETURN_ERROR;
        }
        application = startByIds(window, currentAITURL);
    } else {
        application = startByURL(window, url);
    }
    if (!application) {
        log(ERR, module, "Create application failed");
        return VEIF_RETURN_VALUE_NULL;
    }
    // The listeners that were asked may have ended the parent.
    application->setParent(window.findApplication(reinterpret_cast<uintptr_t>(parentAppId)));
    application->setStartedOnRequest(true);
    *appId = get_id_from_application(application);
    return VEIF_RETURN_OK;
}

}  // namespace

Application* get_application_from_window(long windowId)
{
    TAVO_VestaWindow* tavoWindow = nullptr;
    if (ve_get_window(ConfigurationManager::getInstance()->getBrowser(), windowId, &tavoWindow)) {
        explain(HBBTV_REASON_NATIVE_UNKNOWN_WINDOW);
        return nullptr;
    }
    Window* const window = WindowManager::getInstance()->getWindow(tavoWindow);
    if (!window) {
        log(ERR, module, "No window found in native call");
        explain(HBBTV_REASON_NATIVE_UNKNOWN_WINDOW);
        return nullptr;
    }
    Application* const application = window->getApplication(tavoWindow);
    if (!application)
        explain(HBBTV_REASON_NATIVE_UNKNOWN_WINDOW, about(window));
    return application;
}

Application* get_application_from_id(void* appId)
{
    DecisionAbout whom;
    whom.scriptApplication = appId;
    if (!appId || !WindowManager::instance) {
        explain(HBBTV_REASON_NATIVE_UNKNOWN_APPLICATION, whom);
        return nullptr;
    }
    Application* const application =
        WindowManager::instance->getApplication(reinterpret_cast<uintptr_t>(appId));
    if (!application) {
        log(WARN, module, "Native application manager api called with invalid appId.");
        explain(HBBTV_REASON_NATIVE_UNKNOWN_APPLICATION, whom);
    }
    return application;
}

}  // namespace VestaHbbTV

using namespace VestaHbbTV;

int native_ApplicationManagerSetListener(VEIF_ApplicationManagerListener listener)
{
    veif_applicationManagerListener = listener;
    return VEIF_RETURN_OK;
}

int native_ApplicationManagerSetAppDestroyedListener(VEIF_ApplicationDestroyedListener listener)
{
    veif_applicationDestroyedListener = listener;
    return VEIF_RETURN_OK;
}

int native_AppPrivateDataGetFreeMem(long /*windowId*/, double* freeMemory)
{
    return guarded(failed, [&]() -> int {
        log(DEBUG, module, "native_AppPrivateDataGetFreeMem");
        if (!isThere(freeMemory))
            return VEIF_RETURN_ERROR;
        long answer = -1;
        NotificationManager::broadcastIfAny(new GetFreeMemoryNotification(&answer));
        *freeMemory = static_cast<double>(answer);
        return VEIF_RETURN_OK;
    });
}

int native_KeySetGetMaximumValue(long /*windowId*/, double* maximum)
{
    return guarded(failed, [&]() -> int {
        log(DEBUG, module, "native_KeySetGetMaximumValue");
        if (!isThere(maximum))
            return VEIF_RETURN_ERROR;
        *maximum = ConfigurationManager::getInstance()->getSupportedKeySetValues();
        return VEIF_RETURN_OK;
    });
}

int native_KeySetSetValue(void* appId, double value, double* granted)
{
    return guarded(failed, [&]() -> int {
        log(DEBUG, module, "native_KeySetSetValue");
        Application* const application =
            isThere(granted) ? get_application_from_id(appId) : nullptr;
        if (!application)
            return VEIF_RETURN_ERROR;
        const int wanted = toInt(value);
        const int stored = application->getKeySet()->setValue(wanted);
        *granted = stored;
        if (stored != wanted)
            explain(HBBTV_REASON_KEYS_CUT, about(application), static_cast<uint32_t>(wanted),
                    static_cast<uint32_t>(stored));
        NotificationManager::broadcastIfAny(
            new KeysetChangedNotification(application->getTavoWindow(), stored));
        return VEIF_RETURN_OK;
    });
}

int native_KeySetGetValue(void* appId, double* value)
{
    return guarded(failed, [&]() -> int {
        log(DEBUG, module, "native_KeySetGetValue");
        const Application* const application =
            isThere(value) ? get_application_from_id(appId) : nullptr;
        if (!application)
            return VEIF_RETURN_ERROR;
        *value = application->getKeySet()->getValue();
        return VEIF_RETURN_OK;
    });
}

int native_PermissionsIsBroadcastRelated(long windowId, const char* url)
{
    return guarded(refused, [&]() -> int {
        log(DEBUG, module, "native_PermissionsIsBroadcastRelated()");
        Application* const application = get_application_from_window(windowId);
        if (!application)
            return VEIF_RETURN_NOT_PERMITTED;
        const bool isPermitted =
            application->isWithinApplicationBoundaries(url) && application->isBroadcastRelated();
        if (!isPermitted)
            explain(HBBTV_REASON_NATIVE_OUTSIDE, about(application), 0, 0, url ? url : "");
        return asPermission(isPermitted);
    });
}

int native_PermissionsIsTrusted(long windowId, const char* url)
{
    return guarded(refused, [&]() -> int {
        log(DEBUG, module, "native_PermissionIsTrusted()");
        Application* const application = get_application_from_window(windowId);
        if (!application)
            return VEIF_RETURN_NOT_PERMITTED;
        bool trusted = isTrusted(*application, url);
        const AITApplication* const entry = application->getAITApplication();
        NotificationManager::broadcastIfAny(new TrustedNotification(
            application->getWindow(), url, &trusted, application->isBroadcastRelated(),
            entry ? entry->getOrganisationId() : 0, entry ? entry->getApplicationId() : uint16_t(0),
            entry ? static_cast<unsigned char>(entry->getUsageType()) : uint8_t(0),
            application->isAutostarted()));
        return asPermission(trusted);
    });
}

int native_AppManNotifySetChannelCalled(long windowId, const char* url, void* channel)
{
    return guarded(done, [&]() -> int {
        log(DEBUG, module, "native_AppManNotifySetChannelCalled()");
        Application* const application = get_application_from_window(windowId);
        if (!application)
            return VEIF_RETURN_OK;
        const Window::Hold hold(application->getWindow());
        if (!channel)
            leaveBroadcast(*application, url);
        if (!application->getAITApplication() || !application->getWindow())
            return VEIF_RETURN_OK;
        application->getAITApplication()->setChannelHandle(channel);
        takeOverBroadcast(application->getWindow());
        return VEIF_RETURN_OK;
    });
}

int native_AppManGetWindowOfApplication(void* appId, long* windowId)
{
    return guarded(failed, [&]() -> int {
        Application* const application =
            isThere(windowId) ? get_application_from_id(appId) : nullptr;
        TAVO_Vesta* const browser = ConfigurationManager::getInstance()->getBrowser();
        if (areDecisionsHeard && application && !browser)
            explain(HBBTV_REASON_NATIVE_NO_BROWSER, about(application));
        if (!application || !application->getTavoWindow() || !browser)
            return VEIF_RETURN_ERROR;
        const int result =
            ve_get_window_identifier(browser, application->getTavoWindow(), windowId);
        return result == 0 ? VEIF_RETURN_OK : VEIF_RETURN_ERROR;
    });
}

int native_AppPrivateDataGetCurrentChannel(void* appId, void** channel)
{
    return guarded(failed, [&]() -> int {
        log(DEBUG, module, "native_AppPrivateDataGetCurrentChannel");
        if (!isThere(channel))
            return VEIF_RETURN_ERROR;
        *channel = nullptr;
        Application* const application = get_application_from_id(appId);
        if (!application)
            return VEIF_RETURN_ERROR;
        const AITApplication* const entry = application->getAITApplication();
        if (entry && application->isBroadcastRelated())
            *channel = entry->getChannelHandle();
        if (*channel)
            return VEIF_RETURN_OK;
        explain(HBBTV_REASON_NATIVE_NO_CHANNEL, about(application));
        return VEIF_RETURN_VALUE_NULL;
    });
}

int native_ApplicationDestroyApplication(void* appId)
{
    return guarded(failed, [&]() -> int {
        log(DEBUG, module, "native_ApplicationDestroyApplication");
        if (!appId)
            return VEIF_RETURN_OK;
        Application* const application = get_application_from_id(appId);
        if (!application)
            return VEIF_RETURN_ERROR;
        log(DEBUG, module, application->getURL());
        explain(HBBTV_REASON_END_SCRIPT, about(application));
        Window* const window = application->getWindow();
        if (!window) {
            log(ERR, module, "No window found for application in native call.");
            return VEIF_RETURN_ERROR;
        }
        window->shutdownApplication(application, false, true, true);
        return VEIF_RETURN_OK;
    });
}

// Hide and Show differ on purpose: one is queued and takes a null id for nothing to do, the other
// acts at once and takes it for an error.
int native_ApplicationHide(void* appId)
{
    return guarded(failed, [&]() -> int {
        log(DEBUG, module, "native_ApplicationHide");
        if (!appId)
            return VEIF_RETURN_OK;
        Application* const application = get_application_from_id(appId);
        if (!application)
            return VEIF_RETURN_ERROR;
        const int requeuings = 2;
        if (ThreadsafeEventQueue* const queue = ConfigurationManager::getCurrentQueue())
            queue->add(new HideApplicationEvent(application->getID(), requeuings));
        return VEIF_RETURN_OK;
    });
}

int native_ApplicationShow(void* appId)
{
    return guarded(failed, [&]() -> int {
        log(DEBUG, module, "native_ApplicationShow");
        Application* const application = get_application_from_id(appId);
        if (!application)
            return VEIF_RETURN_ERROR;
        application->show();
        return VEIF_RETURN_OK;
    });
}

int native_AppManGetApplicationId(long windowId, void* /*reserved*/, void** appId)
{
    return guarded(failed, [&]() -> int {
        log(DEBUG, module, "native_AppManGetApplicationId");
        Application* const application =
            isThere(appId) ? get_application_from_window(windowId) : nullptr;
        if (!application)
            return VEIF_RETURN_ERROR;
        *appId = get_id_from_application(application);
        return VEIF_RETURN_OK;
    });
}

int native_ApplicationCreateApplication(const char* url, int /*createChild*/, void* parentAppId,
                                        void** appId)
{
    return guarded(failed, [&]() -> int {
        log(DEBUG, module, "native_ApplicationCreateApplication");
        if (!isThere(appId) || !WindowManager::instance)
            return VEIF_RETURN_ERROR;
        Application* const parent = get_application_from_id(parentAppId);
        if (!parent) {
            log(ERR, module, "Invalid parent application id in native application create call");
            return VEIF_RETURN_ERROR;
        }
        if (!parent->getWindow()) {
            log(ERR, module, "No window found to create application in in native call");
            return VEIF_RETURN_ERROR;
        }
        return createApplication(*parent->getWindow(), url ? url : "", parentAppId, appId);
    });
}
