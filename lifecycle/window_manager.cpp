#include "lifecycle/window_manager.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "foundation/at_exit.h"
#include "foundation/logging.h"
#include "lifecycle/application.h"
#include "lifecycle/application_policy.h"
#include "lifecycle/call_scope.h"
#include "lifecycle/script_plugin.h"
#include "lifecycle/window.h"

namespace VestaHbbTV {

namespace {

const char module[] = "WindowManager";

}  // namespace

WindowManager* WindowManager::instance = nullptr;

WindowManager* WindowManager::getInstance()
{
    if (!instance)
        instance = new WindowManager;
    return instance;
}

WindowManager::WindowManager()
    : policy_(std::make_unique<ApplicationPolicyHbbTV>()), life_(std::make_shared<const Life>())
{
}

WindowManager::~WindowManager()
{
    instance = nullptr;
    removeAllWindows();
    // Windows that are still being worked on end later, on their own.
    for (Window* window : departing_)
        window->loseManager();
}

Application* WindowManager::getApplication(unsigned long id)
{
    const auto found = applications_.find(id);
    return found == applications_.end() ? nullptr : found->second;
}

void WindowManager::init()
{
}

Window* WindowManager::createWindow()
{
    log(LOG, module, "WindowManager::createWindow()");
    if (!policy_->requestNewWindow())
        return nullptr;
    const AtFailure release([this] { policy_->releaseWindow(); });
    auto window = std::make_unique<Window>(this);
    windows_.push_back(window.get());
    return window.release();
}

bool WindowManager::removeWindow(Window* window)
{
    log(LOG, module, "WindowManager::removeWindow()");
    if (!windowExists(window))
        return false;
    destroyWindow(window);
    return true;
}

void WindowManager::removeAllWindows()
{
    const CallScope scope;
    // Listeners hear of ending applications here and may create or release windows, in which
    // nothing starts any more; or shut the library down, which removes what is left.
    const std::weak_ptr<const Life> life(life_);
    const bool wasClosing = std::exchange(closing_, true);
    while (!life.expired() && !windows_.empty()) {
        Window* const window = windows_.front();
        const Window::Hold hold(window);
        destroyWindow(window);
        window->endApplications();
    }
    // Whoever is working on a window that was removed before may outlive the listeners.
    const auto isWaiting = [](Window* window) { return window->hasApplications(); };
    while (!life.expired()) {
        const auto waiting = std::find_if(departing_.begin(), departing_.end(), isWaiting);
        if (waiting == departing_.end())
            break;
        (*waiting)->endApplications();
    }
    if (life.expired())
        return;
    freeOrphans();
    if (!life.expired())
        closing_ = wasClosing;
}

void WindowManager::close()
{
    closing_ = true;
    removeAllWindows();
}

/// Takes a window out of the list; it is destroyed now, or when nobody holds it any more.
void WindowManager::destroyWindow(Window* window)
{
    policy_->releaseWindow();
    departing_.splice(departing_.end(), windows_,
                      std::find(windows_.begin(), windows_.end(), window));
    if (broadcastWindow_ == window)
        broadcastWindow_ = nullptr;
    window->release();
}

void WindowManager::freeOrphans()
{
    const std::weak_ptr<const Life> life(life_);
    while (!life.expired() && !orphans_.empty()) {
        Application* const application = orphans_.pop().release();
        if (getApplication(application->getID()) == application)
            unregisterApplication(application);
        CallScope::retire(application);
    }
}

Window* WindowManager::knownWindow(void* handle) const
{
    Window* const window = static_cast<Window*>(handle);
    return windowExists(window) ? window : nullptr;
}

bool WindowManager::windowExists(const Window* window) const
{
    return window && std::find(windows_.begin(), windows_.end(), window) != windows_.end();
}

bool WindowManager::handledWindow(const Window* window) const
{
    return windowExists(window);
}

unsigned long WindowManager::getSerial(const Window* window) const
{
    return windowExists(window) ? window->getSerial() : 0;
}

Window* WindowManager::getWindow(unsigned int index) const
{
    if (index >= windows_.size())
        return nullptr;
    return *std::next(windows_.begin(), static_cast<std::ptrdiff_t>(index));
}

bool WindowManager::setBroadcastWindow(Window* window)
{
    if (!windowExists(window))
        return false;
    broadcastWindow_ = window;
    return true;
}

TAVO_VestaWindow* WindowManager::getTavoWindow(const Window* window) const
{
    for (const auto& [tavoWindow, owner] : tavoWindows_) {
        if (owner == window)
            return tavoWindow;
    }
    return nullptr;
}

Window* WindowManager::getWindow(TAVO_VestaWindow* tavoWindow) const
{
    const auto found = tavoWindows_.find(tavoWindow);
    return found == tavoWindows_.end() ? nullptr : found->second;
}

Application* WindowManager::findApplication(TAVO_VestaWindow* tavoWindow) const
{
    Window* const window = getWindow(tavoWindow);
    return window ? window->getApplication(tavoWindow) : nullptr;
}

void WindowManager::registerTavoWindow(TAVO_VestaWindow* tavoWindow, Window* window)
{
    tavoWindows_[tavoWindow] = window;
}

void WindowManager::unregisterTavoWindow(TAVO_VestaWindow* tavoWindow)
{
    tavoWindows_.erase(tavoWindow);
}

bool WindowManager::registerApplication(Application* application)
{
    if (!application)
        return false;
    applications_[application->getID()] = application;
    return true;
}

bool WindowManager::unregisterApplication(Application* application)
{
    if (!application)
        return false;
    applications_.erase(application->getID());
    call_application_destroyed_listener(application);
    return true;
}

void WindowManager::forgetApplication(Application* application)
{
    const auto found = applications_.find(application->getID());
    if (found != applications_.end() && found->second == application)
        applications_.erase(found);
}

void WindowManager::adoptOrphan(Application* application)
{
    orphans_.push(std::unique_ptr<Application>(application));
}

void WindowManager::forgetWindow(Window* window)
{
    for (auto entry = tavoWindows_.begin(); entry != tavoWindows_.end();)
        entry = entry->second == window ? tavoWindows_.erase(entry) : std::next(entry);
    departing_.remove(window);
}

}  // namespace VestaHbbTV
