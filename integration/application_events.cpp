#include "integration/application_events.h"

#include "foundation/configuration_manager.h"
#include "foundation/logging.h"
#include "lifecycle/application.h"
#include "lifecycle/decisions.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "oipf/notifications/notification_manager.h"
#include "oipf/notifications/notifications.h"

namespace VestaHbbTV {

ApplicationTarget::ApplicationTarget(Window* window, Application* application)
    : window_(window),
      windowSerial_(WindowManager::instance ? WindowManager::instance->getSerial(window) : 0),
      applicationId_(windowSerial_ ? window->getApplicationId(application) : 0)
{
}

Window* ApplicationTarget::findWindow() const
{
    const WindowManager* const manager = WindowManager::instance;
    const bool lives = manager && windowSerial_ && manager->getSerial(window_) == windowSerial_;
    return lives ? window_ : nullptr;
}

Application* ApplicationTarget::findApplication(const Window& window) const
{
    return applicationId_ ? window.findApplication(applicationId_) : nullptr;
}

StopApplicationEvent::StopApplicationEvent(Window* window, Application* application,
                                           bool reactivate, bool notify)
    : target_(window, application), reactivate_(reactivate), notify_(notify)
{
}

void StopApplicationEvent::setFlags(bool reactivate, bool notify)
{
    reactivate_ = reactivate;
    notify_ = notify;
}

void StopApplicationEvent::execute()
{
    log(DEBUG, "StopApplicationEvent", "StopApplicationEvent::execute()");
    if (Window* const window = target_.findWindow())
        window->shutdownApplication(target_.findApplication(*window), true, reactivate_, notify_);
    else
        log(ERR, "StopApplicationEvent", "Invalid setup or window do not exist.");
}

StartApplicationEvent::StartApplicationEvent(Window* window, Application* application)
    : target_(window, application)
{
}

StartApplicationEvent::~StartApplicationEvent()
{
    if (Window* const window = target_.findWindow())
        window->abandonStart(target_.getApplicationId());
}

void StartApplicationEvent::execute()
{
    log(DEBUG, "StartApplicationEvent", "StartApplicationEvent::execute()");
    if (Window* const window = target_.findWindow())
        window->startPendingApplication(target_.findApplication(*window));
    else
        log(ERR, "StartApplicationEvent", "Invalid setup or window do not exist.");
}

LoadSuccessEvent::LoadSuccessEvent(TAVO_VestaWindow* tavoWindow) : tavoWindow_(tavoWindow)
{
}

void LoadSuccessEvent::execute()
{
    log(DEBUG, "LoadSuccessEvent", "LoadSuccessEvent::execute()");
    const WindowManager* const manager = WindowManager::instance;
    if (!manager) {
        log(ERR, "LoadSuccessEvent", "Could not get WindowManager instance.");
        return;
    }
    Window* const window = manager->getWindow(tavoWindow_);
    if (!window) {
        log(ERR, "LoadSuccessEvent", "Could not get Window for given vesta window.");
        return;
    }
    window->reportLoadSuccess(tavoWindow_);
}

HideApplicationEvent::HideApplicationEvent(unsigned long applicationId, int countdown)
    : applicationId_(applicationId), countdown_(countdown)
{
}

void HideApplicationEvent::execute()
{
    if (countdown_ >= 1) {
        if (ThreadsafeEventQueue* const queue = ConfigurationManager::getCurrentQueue())
            queue->add(new HideApplicationEvent(applicationId_, countdown_ - 1));
        return;
    }
    WindowManager* const manager = WindowManager::instance;
    Application* const application = manager ? manager->getApplication(applicationId_) : nullptr;
    if (application)
        application->hide();
}

TAVOAITEvent::TAVOAITEvent(Window* window, const ref_ptr<AIT>& table)
    : target_(window, nullptr), table_(table)
{
}

void TAVOAITEvent::execute()
{
    Window* const window = target_.findWindow();
    if (!window)
        return explain(HBBTV_REASON_TABLE_NO_WINDOW);
    const Window::Hold hold(window);
    const unsigned long tables = window->getTablesSet();
    if (NotificationManager::hasListeners())
        NotificationManager::broadcastIfAny(new AITUpdateNotification(window, table_.get()));
    // Deliberate: of these tables the platform hears nothing but the announcement, so that each one
    // that was announced is in the log, whether it comes in force or not.
    if (table_)
        table_->printAIT();
    // A listener may have released the window, or put a newer table in force.
    if (window->isReleased() || window->getTablesSet() != tables)
        return explain(HBBTV_REASON_TABLE_SUPERSEDED, about(window));
    explain(HBBTV_REASON_TABLE_IN_FORCE, about(window));
    window->setAIT(table_);
    window->activateAIT();
}

}  // namespace VestaHbbTV
