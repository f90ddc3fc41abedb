// From an entry of the table, or a URL, to a running application.

#include <memory>

#include "foundation/at_exit.h"
#include "foundation/configuration_manager.h"
#include "foundation/logging.h"
#include "foundation/threadsafe_event_queue.h"
#include "foundation/utilities.h"
#include "integration/application_events.h"
#include "lifecycle/application.h"
#include "lifecycle/decisions.h"
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

/// @param answer that blocks
HBBTV_Reason reasonOf(HBBTV_ApplicationActionType answer, bool isIdValid)
{
    if (answer == HBBTV_APPLICATION_ACTION_BLOCK_AND_KEEP)
        return HBBTV_REASON_START_BLOCKED_AND_KEPT;
    return isIdValid ? HBBTV_REASON_START_BLOCKED_AND_KILLED : HBBTV_REASON_START_APPLICATION_ID;
}

}  // namespace

Application* Window::startApplication(AITApplication* entry, HbbTVURL url,
                                      AITApplicationTransport* transport)
{
    log(LOG, module, "Starting application from AITApplication.");
    if (!mayStart(entry))
        return nullptr;
    const ref_ptr<AITApplicationTransport> chosen(
        transport ? transport : entry->getFirstAvailableTransport(isHttpAvailable()));
    if (!chosen) {
        if (areDecisionsHeard)
            explainTransports(about(this, entry), *entry);
        return nullptr;
    }
    if (timeShifted_ && !survivesTimeShift(entry)) {
        explain(HBBTV_REASON_START_TIME_SHIFT, about(this, entry));
        return nullptr;
    }
    if (chosen->getURL(entry->getApplicationLocation()).empty()) {
        // Not of a carousel, whose addresses are never empty.
        explain(chosen->getProtocol() == AITApplicationTransport::HTTP
                    ? HBBTV_REASON_START_NO_LOCATION
                    : HBBTV_REASON_START_PROTOCOL,
                about(this, entry));
        return nullptr;
    }

    Application* const application = createApplication(pageOn(*chosen, *entry, url), entry);
    if (application)
        application->setTransport(chosen.get());
    return application;
}

/// Whether the control code and the profiles of an entry allow it to run here.
bool Window::mayStart(const AITApplication* entry)
{
    if (!entry)
        return false;
    if (entry->isSignalledWith(AITApplication::KILL) ||
        entry->isSignalledWith(AITApplication::DISABLED)) {
        explain(HBBTV_REASON_START_CONTROL_CODE, about(this, entry), 0,
                static_cast<uint32_t>(entry->getControlCode()));
        return false;
    }
    if (entry->isPlatformProfileSupported())
        return true;
    if (areDecisionsHeard)
        explainProfiles(about(this, entry), *entry);
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
    if (entry)
        return startApplication(entry, url, nullptr);
    explain(ait_ ? HBBTV_REASON_START_NOT_LISTED : HBBTV_REASON_START_NO_TABLE,
            {this, static_cast<uint32_t>(organisationId), applicationId, nullptr});
    return nullptr;
}

Application* Window::startBroadcastIndependentApplication(HbbTVURL url)
{
    log(LOG, module, "Starting broadcast independent application.");
    if (!url.getFullUrl().empty())
        return createApplication(url, nullptr);
    explain(HBBTV_REASON_START_URL, about(this));
    return nullptr;
}

Application* Window::createApplication(HbbTVURL url, AITApplication* entry)
{
    if (!mayCreateApplications()) {
        explain(HBBTV_REASON_START_CLOSING, about(this, entry));
        return nullptr;
    }
    const Hold hold(this);
    const DecisionAbout whom = about(this, entry);  // who may be gone when it is decided
    const AITApplicationReference keptEntry(entry);
    const unsigned long tables = tableChanges_;
    // Whoever is called may release the window, and let an entry die whose table nobody counts, or
    // put another table in force: what the former one signals is started no more.
    const auto isOver = [&] {
        return !mayCreateApplications() || (entry && (!keptEntry || tables != tableChanges_));
    };
    if (runningApplication_)
        url.resolveRelativeUrl(HbbTVURL(runningApplication_->getURL()));
    const auto explainOver = [&] {
        explain(mayCreateApplications() ? HBBTV_REASON_START_TABLE_CHANGED
                                        : HBBTV_REASON_START_CLOSING,
                whom);
    };
    if (isOver()) {
        explainOver();
        return nullptr;
    }
    const bool isIdValid = !entry || entry->hasValidAppId();
    const HBBTV_ApplicationActionType answer = askForStart(url, entry);
    const bool isBlocked = answer == HBBTV_APPLICATION_ACTION_BLOCK_AND_KILL ||
                           answer == HBBTV_APPLICATION_ACTION_BLOCK_AND_KEEP;
    if (isBlocked && areDecisionsHeard)
        explain(reasonOf(answer, isIdValid), whom, 0, isIdValid ? 0 : whom.applicationId,
                url.getFullUrl().c_str());
    if (isBlocked && !released_ && (!entry || tables == tableChanges_))
        refuseStart(answer);
    if (isBlocked)
        return nullptr;
    if (!isOver())
        return makePending(url, entry, tables);
    explainOver();
    return nullptr;
}

bool Window::mayCreateApplications() const
{
    return !released_ && !(manager_ && manager_->isClosing()) && NotificationManager::instance &&
           ConfigurationManager::getCurrentQueue();
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
        explain(HBBTV_REASON_END_BLOCKED, about(runningApplication_));
        shutdown(runningApplication_, onALaterTick);
    } else {
        log(DEBUG, module, "Leaving running application.");
        enter(RUNNING);
    }
}

/// @param tables how often the table had changed when the start began
Application* Window::makePending(const HbbTVURL& url, AITApplication* entry, unsigned long tables)
{
    // Its creation already tells listeners something.
    auto application = std::make_unique<Application>(this, url, entry);
    ThreadsafeEventQueue* const queue = ConfigurationManager::getCurrentQueue();
    if (released_ || !queue || (entry && tables != tableChanges_)) {
        log(DEBUG, module, "createApplication(): Failed to create new application.");
        explain(released_ || !queue ? HBBTV_REASON_START_CLOSING : HBBTV_REASON_START_TABLE_CHANGED,
                about(application.get()));
        CallScope::retire(application.release());  // no window's yet, whatever the listeners did
        return nullptr;
    }
    application->prepareStop(
        std::make_unique<StopApplicationEvent>(this, application.get(), false, true));
    // From here on nothing fails: the event of a start ends its application when it goes.
    auto start = std::make_unique<StartApplicationEvent>(this, application.get());
    setPendingApplication(application.get());
    queue->add(start.release());
    return application.release();
}

void Window::startPendingApplication(Application* application)
{
    const Hold hold(this);
    const AtFailure remember([this] { tableActedOn_ = false; });
    if (!isPendingApplication(application)) {
        log(WARN, module,
            "startPendingApplication: application does not matching pending application, "
            "aborting.");
        explain(HBBTV_REASON_START_SUPERSEDED, about(application));
        destroyApplication(application);
        return;
    }
    unsetPendingApplication();
    // Whoever started last stays: a listener may start another one wherever it is called.
    const Application* const former = runningApplication_;
    const auto isSuperseded = [&] { return runningApplication_ && runningApplication_ != former; };
    settleRunningApplication(application);
    if (released_)
        return;  // the application goes with the window
    if (isSuperseded()) {
        explain(HBBTV_REASON_START_SUPERSEDED, about(application));
        destroyApplication(application);
        return;
    }
    const bool isInitialized = application->init() && application->getTavoWindow();
    if (isSuperseded()) {
        explain(HBBTV_REASON_START_SUPERSEDED, about(application));
        destroyApplication(application);
    } else if (!isInitialized) {
        explain(HBBTV_REASON_START_NO_BROWSER_WINDOW, about(application));
        log(WARN, module, "startPendingApplication(): Failed to initialize application.");
        abortStart(application);
    } else if (!released_) {
        run(application);
    }
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
    explain(HBBTV_REASON_END_REPLACED, about(running));
    const bool isRestart = running->getOrganisationId() == successor->getOrganisationId() &&
                           running->getApplicationId() == successor->getApplicationId();
    shutdown(running, isRestart ? atOnceInSilence : atOnce);
}

/// An application that got no browser window is in no map: it is freed here, silently.
void Window::abortStart(Application* application)
{
    if (!tryRestoreParentApplication(application))
        shutdown(application, atOnce);
    destroyApplication(application);
}

void Window::run(Application* application)
{
    const AtFailure giveUp([this, application] { destroyApplication(application); });
    Application* const displaced = displace(application->getTavoWindow());
    registerApplication(application);
    if (manager_)
        manager_->registerTavoWindow(application->getTavoWindow(), this);
    setRunningApplication(application);
    if (manager_)
        manager_->registerApplication(application);
    if (displaced) {
        explain(HBBTV_REASON_END_REPLACED, about(displaced));
        endNow(displaced, false, true);
    }
    if (application != runningApplication_ || released_)
        return;
    if (areDecisionsHeard)
        explain(HBBTV_REASON_STARTED, about(application), 0, 0,
                application->getURL().getFullUrl().c_str());
    application->loadInitialPage();
}

/// A listener gave a browser window in which another application is shown: what it shows ends, and
/// the newcomer will give the browser window back.
/// @return the one that is to end; null when there is none
Application* Window::displace(TAVO_VestaWindow* tavoWindow)
{
    const auto shown = shown_.find(tavoWindow);
    Application* const displaced = shown == shown_.end() ? nullptr : shown->second;
    if (!displaced)
        return nullptr;
    displaced->forfeitTavoWindow();
    return displaced->isEnding() ? nullptr : displaced;
}

bool Window::tryRestoreParentApplication(Application* application)
{
    const Hold hold(this);
    Application* const parent = application ? application->getParent() : nullptr;
    if (!applicationExists(parent) || parent->isEnding())
        return false;
    const Application* const formerlyRunning = runningApplication_;
    call_application_load_error_listener(application);
    if (!applicationExists(parent) || parent->isEnding())
        return false;                            // the scripts' plugin ended it in return
    if (runningApplication_ == formerlyRunning)  // else it started another in return
        runAgain(parent);
    application->setParent(nullptr);
    explain(HBBTV_REASON_END_CHILD_FAILED, about(application));
    shutdown(application, onALaterTick);
    return true;
}

}  // namespace VestaHbbTV
