// What the browser reports of an application's pages.

#include "foundation/logging.h"
#include "foundation/out_of_memory.h"
#include "lifecycle/application.h"
#include "lifecycle/decisions.h"
#include "lifecycle/window.h"
#include "security/application_domain.h"

namespace VestaHbbTV {

namespace {

const char module[] = "Window";

/// The transport after `current` in the order of preference. A label listed twice yields the same
/// transport again: none is ever tried a second time.
AITApplicationTransport* nextUntriedTransport(const AITApplication& entry,
                                              const AITApplicationTransport* current,
                                              bool httpAvailable)
{
    const auto& transports = entry.getTransports();
    size_t place = 0;
    while (place < transports.size() && transports[place].get() != current)
        ++place;
    for (size_t next = place + 1; next < transports.size(); ++next) {
        AITApplicationTransport* const candidate = transports[next].get();
        bool tried = false;
        for (size_t earlier = 0; earlier <= place; ++earlier)
            tried = tried || transports[earlier].get() == candidate;
        if (!tried && candidate->isAvailable(httpAvailable))
            return candidate;
    }
    return nullptr;
}

}  // namespace

void Window::reportXMLParseFailure(TAVO_VestaWindow* tavoWindow)
{
    Application* const application = getApplication(tavoWindow);
    if (!application)
        return;
    log(LOG, module, "Mark application for termination due to XML parsing error.");
    application->setTerminateOnLoad(true);
}

void Window::reportLoadSuccess(TAVO_VestaWindow* tavoWindow)
{
    const Hold hold(this);
    Application* const application = getApplication(tavoWindow);
    if (!application)
        return;
    // Deliberate: a failed application that still runs afterwards goes on as a loaded one.
    if (application->isTerminateOnLoad())
        reportLoadFailed(tavoWindow);
    if (application != runningApplication_) {
        log(LOG, module,
            "Application loaded received on not-running application. Silently ignoring.");
        return;
    }
    if (!application->isInitialPageLoaded())
        showLoadedApplication(application);
}

void Window::showLoadedApplication(Application* application)
{
    log(LOG, module, "Initial page of application successfully loaded.");
    application->setInitialPageLoaded();
    if (application->isVisible())
        guarded([application] { application->show(); });
    Application* const parent = application->getParent();
    if (applicationExists(parent)) {
        log(LOG, module, "Shutting down parent application");
        explain(HBBTV_REASON_END_PARENT, about(parent));
        shutdown(parent, onALaterTick);
    }
    application->setParent(nullptr);
}

bool Window::reportLoadFailed(TAVO_VestaWindow* tavoWindow)
{
    const Hold hold(this);
    Application* const application = getApplication(tavoWindow);
    if (!application)
        return false;
    if (application != runningApplication_) {
        log(WARN, module,
            "Application failed received on not-running application. Silently ignoring.");
        return true;
    }
    if (application->isInitialPageLoaded()) {
        log(ERR, module, "Loading a page in a running application failed, no error handling.");
        explain(HBBTV_REASON_LATER_LOAD_FAILED, about(application));
        return true;
    }
    return handleFailedStart(application);
}

bool Window::handleFailedStart(Application* application)
{
    if (application->isBroadcastRelated() && restartApplicationOnNextTransport(application)) {
        log(ERR, module, "Loading failed, loading on next available transport instead.");
        return true;
    }
    if (application != runningApplication_)
        return true;  // a listener that was asked for the restart ended it
    if (tryRestoreParentApplication(application)) {
        log(ERR, module, "Loading failed, parent application will not be killed.");
        return true;
    }
    if (!application->isBroadcastRelated())
        return true;
    if (!application->isAutostarted())
        return false;
    if (startNextAutostartApplication(application->getAITApplication())) {
        log(ERR, module, "Loading failed, trying to load next AUTOSTART application instead.");
        explain(HBBTV_REASON_NEXT_AUTOSTART, about(application));
        return true;
    }
    log(ERR, module, "Automatic load of AUTOSTART application failed.");
    explain(HBBTV_REASON_END_LOAD_FAILED, about(application));
    shutdown(application, onALaterTick);
    return true;
}

bool Window::restartApplicationOnNextTransport(Application* application)
{
    const Hold hold(this);
    if (!application || application != runningApplication_)
        return false;
    AITApplication* const entry = application->getAITApplication();
    const ref_ptr<AITApplicationTransport> current(application->getTransport());
    if (!entry || !current)
        return false;
    AITApplicationTransport* const next =
        nextUntriedTransport(*entry, current.get(), isHttpAvailable());
    if (!next) {
        explain(HBBTV_REASON_NO_NEXT_TRANSPORT, about(application));
        return false;
    }
    if (areDecisionsHeard)
        explain(HBBTV_REASON_NEXT_TRANSPORT, about(application), 0, 0,
                next->getURL(entry->getApplicationLocation()).c_str());
    Application* const restarted = startApplication(entry, HbbTVURL(""), next);
    if (!restarted)
        return false;
    restarted->setParent(application->getParent());
    restarted->setAutostarted(application->isAutostarted());
    application->setParent(nullptr);
    shutdown(application, onALaterTick);
    return true;
}

bool Window::isLoadedUrlWithinBoundaries(ApplicationDomain* domain)
{
    if (!domain || !runningApplication_ || !runningApplication_->getTavoWindow())
        return false;
    const char* url = nullptr;
    if (ve_get_loading_url(runningApplication_->getTavoWindow(), &url) != 0 || !url)
        return false;
    return domain->isWithinBoundaries(url);
}

}  // namespace VestaHbbTV
