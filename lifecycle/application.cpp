#include "lifecycle/application.h"

#include <utility>

#include "foundation/configuration_manager.h"
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

Application::Application(Window* window, HbbTVURL url, AITApplication* entry)
    : id_(next_id++), window_(window), url_(std::move(url)),
      currentUrl_(std::make_unique<HbbTVURL>(url_)), entry_(entry),
      domain_(std::make_unique<ApplicationDomain>())
{
    if (window_)
        window_->adopt(this);
    domain_->addBoundaryExtension(url_.getFullUrl());
    extendDomainFromAITApplication();

    // Deliberate: the ids are set afterwards, so that the notification of this change carries none.
    setBroadcastRelated(entry && !entry->isXMLAITbased());
    visible_ = !broadcastRelated_;
    keySet_ = std::make_unique<KeySet>(
        broadcastRelated_ ? 0 : ConfigurationManager::getInstance()->getSupportedKeySetValues());
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
}

TAVO_VestaWindow* Application::getTavoWindow()
{
    return tavoWindow_;
}

bool Application::init()
{
    if (tavoWindow_)
        return false;
    const CallScope scope;
    bool success = false;
    NotificationManager::broadcastIfAny(
        new RequestWindowNotification(&tavoWindow_, &success, window_));
    if (ended_)
        releaseTavoWindow();  // it came after a listener had ended the application
    return success && tavoWindow_;
}

void Application::loadInitialPage()
{
    const CallScope scope;
    const std::string url = url_.getFullUrl();
    ve_clear_history(tavoWindow_);
    if (tavoWindow_)
        ve_open_url(tavoWindow_, url.c_str());
}

void Application::show()
{
    if (!tavoWindow_)
        return;
    visible_ = true;
    if (!initialPageLoaded_ && parent_)
        return;
    const CallScope scope;
    NotificationManager::broadcastIfAny(new ShowWindowNotification(&tavoWindow_));
}

void Application::hide()
{
    if (!tavoWindow_)
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
    const CallScope scope;
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

void Application::setCurrentURL(const HbbTVURL& url)
{
    currentUrl_ = std::make_unique<HbbTVURL>(url);
}

void Application::end()
{
    if (ended_)
        return;
    ended_ = true;
    const CallScope scope;
    Window* const window = window_;
    if (window) {
        window->releaseTavoWindow(this);
        window->forget(this);
        window_ = nullptr;
    }
    releaseTavoWindow();
    parent_ = nullptr;
}

void Application::loseWindow()
{
    window_ = nullptr;
    parent_ = nullptr;
}

void Application::releaseTavoWindow()
{
    if (!tavoWindow_)
        return;
    bool released = false;
    NotificationManager::broadcastIfAny(new ReleaseWindowNotification(&tavoWindow_, &released));
    tavoWindow_ = nullptr;
}

void Application::extendDomainFromAITApplication()
{
    AITApplication* const entry = entry_.get();
    if (entry)
        domain_->extendDomain(*entry->getApplicationDomain());
}

}  // namespace VestaHbbTV
