// How an application of a window ends.

#include <memory>

#include "foundation/configuration_manager.h"
#include "foundation/logging.h"
#include "foundation/out_of_memory.h"
#include "foundation/threadsafe_event_queue.h"
#include "integration/application_events.h"
#include "lifecycle/application.h"
#include "lifecycle/decisions.h"
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
    log(DEBUG, module, "terminateRunningApplication");
    if (state_ == RUNNING || state_ == TEARDOWN)
        shutdown(runningApplication_, destroyNow ? atOnce : onALaterTick);
}

bool Window::shutdown(Application* application, const Ending& ending)
{
    return shutdownApplication(application, ending.destroyNow, ending.reactivate, ending.notify);
}

bool Window::shutdownApplication(Application* application, bool destroyNow, bool reactivate,
                                 bool notify)
{
    const Hold hold(this);
    log(DEBUG, module, "VestaHbbTV::Window::shutdownApplication()");
    if (!applicationExists(application))
        return false;
    if (application->isEnding()) {
        // Asked for once more from inside its end, which goes on and reports what was wanted.
        if (notify)
            application->wantStopNotice();
        return false;
    }
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
    auto stop = application->takePreparedStop();
    if (!stop)
        stop = std::make_unique<StopApplicationEvent>(this, application, reactivate, notify);
    stop->setFlags(reactivate, notify);
    queue->add(stop.release());
    return true;
}

void Window::endNow(Application* application, bool reactivate, bool notify)
{
    application->setEnding();  // what is called below may ask for the same end
    if (notify)
        application->wantStopNotice();
    if (applicationExists(application->getParent()))
        shutdown(application->getParent(), atOnce);
    if (!applications_.contains(application))
        return;  // a listener shut the library down meanwhile
    tellPlugin(application);
    if (!applications_.contains(application))
        return;  // so did the plugin
    unregisterApplication(application);
    if (application == runningApplication_)
        setRunningApplication(nullptr);

    const unsigned long tables = tableChanges_;
    bool reactivateNow = reactivate && application->isBroadcastRelated() && !pendingApplication_ &&
                         !runningApplication_;
    const DecisionAbout whom = about(application);
    if (application->isStopNoticeWanted()) {
        const bool isMeant = reactivateNow;
        reactivateNow = notifyStop(application, reactivateNow);
        if (isMeant && !reactivateNow)
            explain(HBBTV_REASON_NOT_REACTIVATED, whom);
    }
    destroyApplication(application);
    // A listener may have put another table in force, which was activated then.
    if (reactivateNow && !released_ && tables == tableChanges_) {
        log(LOG, module, "Reactivating AIT...");
        explain(HBBTV_REASON_REACTIVATED, whom);
        scheduleReactivateAIT(true);
    }
}

/// An end goes on also where there is no memory to report it.
/// @return whether the table is to be activated again, after the listeners had their say
bool Window::notifyStop(Application* application, bool reactivateNow)
{
    application->wantStopNotice(false);
    int reactivateAIT = reactivateNow ? 1 : 0;
    guarded([&] {
        const std::string url = application->getURL().getFullUrl();
        NotificationManager::broadcastIfAny(new StopApplicationNotification(
            this, application->isBroadcastRelated(), application->getOrganisationId(),
            application->getApplicationId(), url.c_str(), &reactivateAIT));
    });
    return reactivateAIT != 0;
}

}  // namespace VestaHbbTV
