// How an application of a window ends.

#include "foundation/configuration_manager.h"
#include "foundation/logging.h"
#include "foundation/threadsafe_event_queue.h"
#include "integration/application_events.h"
#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "oipf/notifications/notification_manager.h"
#include "oipf/notifications/notifications.h"

namespace VestaHbbTV {

namespace {

const char module[] = "Window";

}  // namespace

void Window::terminateRunningApplication(bool destroyNow)
{
    const Hold hold(this);
    log(DEBUG, module, "terminateRunningApplication");
    if (state_ == RUNNING || state_ == TEARDOWN)
        shutdownApplication(runningApplication_, destroyNow, false, true);
}

bool Window::shutdownApplication(Application* application, bool destroyNow, bool reactivate,
                                 bool notify)
{
    const Hold hold(this);
    log(DEBUG, module, "VestaHbbTV::Window::shutdownApplication()");
    if (!applicationExists(application) || application->isEnding())
        return false;
    if (!destroyNow)
        return queueShutdown(application, reactivate, notify);
    endNow(application, reactivate, notify);
    return true;
}

bool Window::queueShutdown(Application* application, bool reactivate, bool notify)
{
    log(LOG, module, "Delayed destroy of application");
    ThreadsafeEventQueue* const queue = ConfigurationManager::getCurrentQueue();
    if (!queue)
        return false;
    queue->add(new StopApplicationEvent(this, application, reactivate, notify));
    return true;
}

void Window::endNow(Application* application, bool reactivate, bool notify)
{
    application->setEnding();  // what is called below may ask for the same end
    if (applicationExists(application->getParent()))
        shutdownApplication(application->getParent(), true, false, true);
    if (!isMember(application))
        return;  // a listener shut the library down meanwhile
    tellPlugin(application);
    unregisterApplication(application);
    if (application == runningApplication_)
        setRunningApplication(nullptr);

    bool reactivateNow = reactivate && application->isBroadcastRelated() && !pendingApplication_ &&
                         !runningApplication_;
    if (notify)
        reactivateNow = notifyStop(application, reactivateNow);
    destroyApplication(application);
    if (reactivateNow && !released_) {
        log(LOG, module, "Reactivating AIT...");
        scheduleReactivateAIT(true);
    }
}

/// @return whether the table is to be activated again, after the listeners had their say
bool Window::notifyStop(Application* application, bool reactivateNow)
{
    int reactivateAIT = reactivateNow ? 1 : 0;
    const std::string url = application->getURL().getFullUrl();
    NotificationManager::broadcastIfAny(new StopApplicationNotification(
        this, application->isBroadcastRelated(), application->getOrganisationId(),
        application->getApplicationId(), url.c_str(), &reactivateAIT));
    return reactivateAIT != 0;
}

}  // namespace VestaHbbTV
