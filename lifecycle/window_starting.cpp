// From an entry of the table, or a URL, to a running application.

#include "foundation/configuration_manager.h"
#include "foundation/logging.h"
#include "foundation/threadsafe_event_queue.h"
#include "foundation/utilities.h"
#include "integration/application_events.h"
#include "lifecycle/application.h"
#include "lifecycle/script_plugin.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "oipf/notifications/notification_manager.h"
#include "oipf/notifications/notifications.h"

namespace VestaHbbTV {

namespace {

const char module[] = "Window";

/// The page of an entry on a transport, with what the caller adds to it.
HbbTVURL pageOn(const AITApplicationTransport& transport, const AITApplication& entry,
                const HbbTVURL& additions)
{
    HbbTVURL page(transport.getURL(entry.getApplicationLocation()));
    if (!additions.getParameters().empty() || !additions.getAnchor().empty()) {
        page.addParameters(additions.getParameters());
        page.addAnchor(additions.getAnchor(), true);
    }
    return page;
}

}  // namespace

Application* Window::startApplication(AITApplication* entry, HbbTVURL url,
                                      AITApplicationTransport* transport)
{
    const Hold hold(this);
    log(LOG, module, "Starting application from AITApplication.");
    const AITApplicationReference keepsTable(entry);
    if (!mayStart(entry))
        return nullptr;
    const ref_ptr<AITApplicationTransport> chosen(
        transport ? transport : entry->getFirstAvailableTransport(isHttpAvailable()));
    if (!chosen)
        return nullptr;
    if (timeShifted_ && !survivesTimeShift(entry))
        return nullptr;
    if (chosen->getURL(entry->getApplicationLocation()).empty())
        return nullptr;

    Application* const application = createApplication(pageOn(*chosen, *entry, url), entry);
    if (application)
        application->setTransport(chosen.get());
    return application;
}

/// Whether the control code and the profiles of an entry allow it to run here.
bool Window::mayStart(const AITApplication* entry)
{
    if (!entry || entry->isSignalledWith(AITApplication::KILL) ||
        entry->isSignalledWith(AITApplication::DISABLED))
        return false;
    if (entry->isPlatformProfileSupported())
        return true;
    log(WARN, module, "Attempt to start application with unsupported platform profile.");
    NotificationManager::broadcastIfAny(new RejectApplicationNotification(
        !entry->isXMLAITbased(), entry->getOrganisationId(), entry->getApplicationId(),
        entry->isSignalledWith(AITApplication::AUTOSTART)));
    return false;
}

Application* Window::startApplication(unsigned long organisationId, unsigned short applicationId,
                                      HbbTVURL url)
{
    log(DEBUG, module, "Starting application from orgID (", organisationId, ") and appID (",
        applicationId, ")");
    AITApplication* const entry =
        ait_ ? ait_->getAITApplication(organisationId, applicationId) : nullptr;
    return entry ? startApplication(entry, url, nullptr) : nullptr;
}

Application* Window::startBroadcastIndependentApplication(HbbTVURL url)
{
    log(LOG, module, "Starting broadcast independent application.");
    return url.getFullUrl().empty() ? nullptr : createApplication(url, nullptr);
}

Application* Window::createApplication(HbbTVURL url, AITApplication* entry)
{
    if (released_ || (manager_ && manager_->isClosing()) || !NotificationManager::instance ||
        !ConfigurationManager::getCurrentQueue())
        return nullptr;
    const Hold hold(this);
    const AITApplicationReference keptEntry(entry);
    if (runningApplication_)
        url.resolveRelativeUrl(HbbTVURL(runningApplication_->getURL()));

    if (entry && !keptEntry)
        return nullptr;
    const HBBTV_ApplicationActionType answer = askForStart(url, entry);
    if (released_)
        return nullptr;
    if (answer == HBBTV_APPLICATION_ACTION_BLOCK_AND_KILL ||
        answer == HBBTV_APPLICATION_ACTION_BLOCK_AND_KEEP) {
        refuseStart(answer);
        return nullptr;
    }
    if (entry && !keptEntry)
        return nullptr;  // a table that nobody counts died while the listeners were asked
    return makePending(url, entry);
}

/// Asks the listeners whether an application may start.
HBBTV_ApplicationActionType Window::askForStart(const HbbTVURL& url, const AITApplication* entry)
{
    HBBTV_ApplicationActionType answer = HBBTV_APPLICATION_ACTION_START;
    // An XML AIT document is no application: it is loaded to learn which ones there are.
    if (!entry && endsWith(url.getURL(), ".aitx"))
        return answer;
    const std::string text = url.getFullUrl();
    StartApplicationNotification* question = nullptr;
    if (entry) {
        const auto* const descriptor = entry->getApplicationDescriptor();
        question = new StartApplicationNotification(
            this, !entry->isXMLAITbased(), descriptor && descriptor->isServiceBound(),
            entry->getOrganisationId(), entry->getApplicationId(), text.c_str(),
            static_cast<unsigned char>(entry->getUsageType()),
            entry->isSignalledWith(AITApplication::AUTOSTART), &answer);
        if (!entry->hasValidAppId())
            question->presetAction(HBBTV_APPLICATION_ACTION_BLOCK_AND_KILL);
    } else {
        question = new StartApplicationNotification(this, false, false, 0, 0, text.c_str(), 0,
                                                    false, &answer);
    }
    NotificationManager::broadcastIfAny(question);
    return answer;
}

void Window::refuseStart(HBBTV_ApplicationActionType answer)
{
    log(DEBUG, module, "Blocking application upon request from listener.");
    if (!runningApplication_)
        return;
    if (answer == HBBTV_APPLICATION_ACTION_BLOCK_AND_KILL) {
        log(DEBUG, module, "Killing running application.");
        shutdownApplication(runningApplication_, false, false, true);
    } else {
        log(DEBUG, module, "Leaving running application.");
        state_ = RUNNING;
    }
}

Application* Window::makePending(const HbbTVURL& url, AITApplication* entry)
{
    // Its creation already tells listeners something.
    Application* const application = new Application(this, url, entry);
    ThreadsafeEventQueue* const queue = ConfigurationManager::getCurrentQueue();
    if (released_ || !queue || !isMember(application)) {
        log(DEBUG, module, "createApplication(): Failed to create new application.");
        CallScope::retire(application);  // no window's yet, whatever the listeners did
        return nullptr;
    }
    setPendingApplication(application);
    queue->add(new StartApplicationEvent(this, application));
    return application;
}

void Window::startPendingApplication(Application* application)
{
    const Hold hold(this);
    if (!isPendingApplication(application)) {
        log(WARN, module,
            "startPendingApplication: application does not matching pending application, "
            "aborting.");
        destroyApplication(application);
        return;
    }
    unsetPendingApplication();
    const bool replacesRunning = !application->getParent();
    settleRunningApplication(application);
    const Application* const kept = replacesRunning ? nullptr : runningApplication_;
    if (released_)
        return;  // the application goes with the window
    if (!application->init() || !application->getTavoWindow()) {
        log(WARN, module, "startPendingApplication(): Failed to initialize application.");
        abortStart(application);
        return;
    }
    if (isReplacedBy(application, kept))
        settleRunningApplication(application);  // a listener has started one meanwhile
    if (isReplacedBy(application, kept))
        destroyApplication(application);  // and another one at once: that one stays
    else if (!released_)
        run(application);
}

/// Whether the start of an application would drop a running one that nobody expects.
/// @param kept the one that may run on behind it
bool Window::isReplacedBy(const Application* application, const Application* kept) const
{
    return !released_ && !application->getParent() && runningApplication_ &&
           runningApplication_ != kept;
}

/// A running application makes room for its successor, or stays behind it as its parent.
void Window::settleRunningApplication(Application* successor)
{
    if (Application* const parent = successor->getParent()) {
        if (applicationExists(parent))
            log(DEBUG, module,
                "Allowing currently running application to live as fallback until initial page of "
                "new application loaded.");
        else
            successor->setParent(nullptr);
        return;
    }
    Application* const running = runningApplication_;
    if (!running)
        return;
    log(LOG, module, "Shutting down existing application.");
    const bool isRestart = running->getOrganisationId() == successor->getOrganisationId() &&
                           running->getApplicationId() == successor->getApplicationId();
    shutdownApplication(running, true, false, !isRestart);
}

/// An application that got no browser window is in no map: it is freed here, silently.
void Window::abortStart(Application* application)
{
    if (!tryRestoreParentApplication(application))
        shutdownApplication(application, true, false, true);
    destroyApplication(application);
}

void Window::run(Application* application)
{
    registerApplication(application);
    if (manager_)
        manager_->registerTavoWindow(application->getTavoWindow(), this);
    setRunningApplication(application);
    if (manager_)
        manager_->registerApplication(application);
    application->loadInitialPage();
}

bool Window::tryRestoreParentApplication(Application* application)
{
    const Hold hold(this);
    Application* const parent = application ? application->getParent() : nullptr;
    if (!applicationExists(parent))
        return false;
    const Application* const formerlyRunning = runningApplication_;
    call_application_load_error_listener(application);
    if (!applicationExists(parent))
        return false;                            // the scripts' plugin ended it in return
    if (runningApplication_ == formerlyRunning)  // else it started another in return
        setRunningApplication(parent);
    application->setParent(nullptr);
    shutdownApplication(application, false, false, true);
    return true;
}

}  // namespace VestaHbbTV
