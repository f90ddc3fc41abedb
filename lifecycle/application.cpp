#include "lifecycle/application.h"

#include <utility>

#include "foundation/configuration_manager.h"
#include "foundation/out_of_memory.h"
#include "integration/application_events.h"
#include "integration/key_set.h"
#include "lifecycle/call_scope.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "oipf/notifications/notification_manager.h"
#include "oipf/notifications/notifications.h"
#include "security/application_domain.h"
#include "signalling/ait_application.h"

namespace VestaHbbTV {

unsigned long Application::next_id = 1;

Application::Application(Window* window, HbbTVURL url, AITApplication* entry, NotYetAdopted)
    : id_(next_id++), window_(window), url_(std::move(url)),
      currentUrl_(std::make_unique<HbbTVURL>(url_)), entry_(entry),
      domain_(std::make_unique<ApplicationDomain>()), keySet_(std::make_unique<KeySet>(0))
{
    domain_->addBoundaryExtension(url_.getFullUrl());
    extendDomainFromAITApplication();
}

// Where memory runs out in the body, the destructor undoes it: the object is complete by then.
Application::Application(Window* window, HbbTVURL url, AITApplication* entry)
    : Application(window, std::move(url), entry, NotYetAdopted())
{
    if (window_)
        window_->adopt(this);

    // Deliberate: the ids are set afterwards, so that the notification of this change carries none.
    setBroadcastRelated(entry && !entry->isXMLAITbased());
    visible_ = !broadcastRelated_;
    if (!broadcastRelated_)
        *keySet_ = KeySet(ConfigurationManager::getInstance()->getSupportedKeySetValues());
    if (AITApplication* const current = entry_.get()) {
        organisationId_ = current->getOrganisationId();
        applicationId_ = current->getApplicationId();
    }
}

Application::~Application()
{
    const CallScope scope;
    end();
}

unsigned long Application::getID()
{
    return id_;
}

Window* Application::getWindow()
{
    return window_;
}

void Application::setTavoWindow(TAVO_VestaWindow* tavoWindow)
{
    tavoWindow_ = tavoWindow;
    tavoWindowReleased_ = false;
}

TAVO_VestaWindow* Application::getTavoWindow()
{
    return tavoWindowReleased_ ? nullptr : tavoWindow_;
}

bool Application::init()
{
    if (tavoWindow_)
        return false;
    releaseNotice_ = std::make_unique<ReleaseWindowNotification>(&tavoWindow_, &releaseAnswer_);
    bool success = false;
    NotificationManager::broadcastIfAny(
        new RequestWindowNotification(&tavoWindow_, &success, window_));
    if (stage_ == ENDED)
        releaseTavoWindow();  // it came after a listener had ended the application
    return success && getTavoWindow();
}

void Application::loadInitialPage()
{
    const std::string url = url_.getFullUrl();
    TAVO_VestaWindow* const tavoWindow = getTavoWindow();
    ve_clear_history(tavoWindow);
    if (getTavoWindow() == tavoWindow)  // else it was given back meanwhile
        ve_open_url(tavoWindow, url.c_str());
}

void Application::show()
{
    if (!getTavoWindow())
        return;
    visible_ = true;
    if (!initialPageLoaded_ && parent_)
        return;
    const CallScope scope;
    NotificationManager::broadcastIfAny(new ShowWindowNotification(&tavoWindow_));
}

void Application::hide()
{
    if (!getTavoWindow())
        return;
    visible_ = false;
    const CallScope scope;
    NotificationManager::broadcastIfAny(new HideWindowNotification(&tavoWindow_));
}

void Application::setBroadcastRelated(bool broadcastRelated)
{
    if (broadcastRelated_ == broadcastRelated)
        return;
    broadcastRelated_ = broadcastRelated;
    const AITApplication* const entry = entry_.get();
    NotificationManager::broadcastIfAny(new BroadcastRelatedChangeNotification(
        window_, broadcastRelated_, trusted_, autostarted_, organisationId_, applicationId_,
        url_.getFullUrl().c_str(),
        entry ? static_cast<unsigned char>(entry->getUsageType()) : uint8_t(0)));
}

void Application::setInitialPageLoaded()
{
    initialPageLoaded_ = true;
    startedOnRequest_ = false;
}

bool Application::isWithinApplicationBoundaries(const HbbTVURL& url) const
{
    return domain_->isWithinBoundaries(url.getFullUrl());
}

bool Application::isWithinApplicationBoundaries(const char* url) const
{
    return isWithinApplicationBoundaries(HbbTVURL(url ? url : ""));
}

ApplicationDomain* Application::getApplicationDomain() const
{
    return domain_.get();
}

void Application::setAITApplication(AITApplication* entry)
{
    entry_.reset(entry);
}

void Application::setCurrentURL(const HbbTVURL& url)
{
    currentUrl_ = std::make_unique<HbbTVURL>(url);
}

void Application::end()
{
    if (stage_ == ENDED)
        return;
    stage_ = ENDED;
    parent_ = nullptr;
    // One browser window may show several applications: the last of them gives it back.
    bool isLast = true;
    if (Window* const window = std::exchange(window_, nullptr)) {
        isLast = window->unlinkTavoWindow(this);
        window->forget(this);
    } else {
        unregisterTavoWindow();
    }
    if (isLast)
        releaseTavoWindow();
    else
        tavoWindowReleased_ = true;
}

void Application::setParent(Application* parent)
{
    parent_ = parent;
    if (parent)
        parent->hasBeenParent_ = true;
}

void Application::setOwnedByWindow()
{
    if (stage_ == NEW)
        stage_ = OWNED;
}

void Application::setEnding()
{
    if (stage_ < ENDING)
        stage_ = ENDING;
}

void Application::forfeitTavoWindow()
{
    tavoWindowReleased_ = true;
}

void Application::prepareStop(std::unique_ptr<StopApplicationEvent> stop)
{
    stop_ = std::move(stop);
}

std::unique_ptr<StopApplicationEvent> Application::takePreparedStop()
{
    return std::move(stop_);
}

void Application::loseWindow()
{
    window_ = nullptr;
    parent_ = nullptr;
}

/// For an application that no window keeps. Another one that is shown there keeps the entry.
void Application::unregisterTavoWindow()
{
    // Not virtually: the destructor asks, too.
    TAVO_VestaWindow* const tavoWindow = Application::getTavoWindow();
    WindowManager* const manager = WindowManager::instance;
    if (!tavoWindow || !manager)
        return;
    Window* const holder = manager->getWindow(tavoWindow);  // which may be stale
    if (!manager->windowExists(holder) || !holder->getApplication(tavoWindow))
        manager->unregisterTavoWindow(tavoWindow);
}

void Application::releaseTavoWindow()
{
    if (!tavoWindow_ || tavoWindowReleased_)
        return;
    // The slot keeps its value for those listeners who are just reading it.
    tavoWindowReleased_ = true;
    guarded([this] {
        if (!releaseNotice_)  // nobody was asked for the browser window
            releaseNotice_ =
                std::make_unique<ReleaseWindowNotification>(&tavoWindow_, &releaseAnswer_);
        NotificationManager::broadcastIfAny(releaseNotice_.release());
    });
}

void Application::extendDomainFromAITApplication()
{
    AITApplication* const entry = entry_.get();
    if (entry)
        domain_->extendDomain(*entry->getApplicationDomain());
}

}  // namespace VestaHbbTV
