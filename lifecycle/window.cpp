#include "lifecycle/window.h"

#include <algorithm>
#include <iterator>

#include "foundation/logging.h"
#include "lifecycle/application.h"
#include "lifecycle/script_plugin.h"
#include "lifecycle/window_manager.h"

namespace VestaHbbTV {

namespace {

unsigned long nextSerial = 1;

}  // namespace

Window::Hold::Hold(Window* window) : window_(window)
{
    if (window_)
        ++window_->holds_;
}

Window::Hold::~Hold()
{
    if (window_ && --window_->holds_ == 0 && window_->released_)
        delete window_;
}

Window::Window(WindowManager* manager) : manager_(manager), serial_(nextSerial++)
{
}

Window::~Window()
{
    const CallScope scope;
    ++holds_;  // no hold taken from here on may destroy the window again
    released_ = true;
    endApplications();
    if (manager_)
        manager_->forgetWindow(this);
    broadcastAIT_.reset();
    assemblyAIT_.reset();
    previousAIT_.reset();
    ait_.reset();
}

void Window::release()
{
    released_ = true;
    if (holds_ == 0)
        delete this;
}

void Window::endApplications()
{
    // A listener that hears of an end may shut the library down: the second time ends what is left.
    if (!applicationsEnded_) {
        applicationsEnded_ = true;
        terminateRunningApplication(true);
    }
    destroyPendingApplication();
    leaveApplicationsBehind();
}

void Window::setRunningApplication(Application* application)
{
    if (application == runningApplication_)
        return;
    runningApplication_ = application;
    state_ = application ? RUNNING : IDLE;
}

Application* Window::getRunningApplication()
{
    return runningApplication_;
}

void Window::setPendingApplication(Application* application)
{
    // The earlier one is ended by the start that is queued for it.
    if (pendingApplication_)
        log(WARN, "Window", "Pending application added when pending already existed.");
    pendingApplication_ = application;
    if (application)
        application->setOwnedByWindow();
}

void Window::destroyPendingApplication()
{
    Application* const pending = pendingApplication_;
    unsetPendingApplication();
    destroyApplication(pending);
}

bool Window::isPendingApplication(const Application* application) const
{
    return pendingApplication_ && pendingApplication_ == application;
}

void Window::registerApplication(Application* application)
{
    applications_[application->getTavoWindow()] = application;
    application->setOwnedByWindow();
}

void Window::unregisterApplication(Application* application)
{
    const auto entry = applications_.find(application->getTavoWindow());
    if (entry != applications_.end() && entry->second == application)
        applications_.erase(entry);
}

bool Window::applicationExists(const Application* application) const
{
    return application &&
           std::any_of(applications_.begin(), applications_.end(),
                       [application](const auto& entry) { return entry.second == application; });
}

Application* Window::getApplication(TAVO_VestaWindow* tavoWindow)
{
    // Deliberate: asking for an unknown browser window leaves an empty entry for it.
    return applications_[tavoWindow];
}

unsigned long Window::getApplicationId(const Application* application) const
{
    const auto found = std::find(members_.begin(), members_.end(), application);
    return found == members_.end() ? 0 : (*found)->getID();
}

Application* Window::findApplication(unsigned long id) const
{
    const auto found =
        std::find_if(members_.begin(), members_.end(),
                     [id](Application* application) { return application->getID() == id; });
    return found == members_.end() ? nullptr : *found;
}

bool Window::isMember(const Application* application) const
{
    return std::find(members_.begin(), members_.end(), application) != members_.end();
}

void Window::adopt(Application* application)
{
    members_.push_back(application);
}

void Window::forget(Application* application)
{
    dropFromBooks(application);
    if (manager_)
        manager_->forgetApplication(application);
}

void Window::dropFromBooks(Application* application)
{
    members_.erase(std::remove(members_.begin(), members_.end(), application), members_.end());
    for (Application* other : members_) {
        if (other->getParent() == application)
            other->setParent(nullptr);
    }
    for (auto entry = applications_.begin(); entry != applications_.end();)
        entry = entry->second == application ? applications_.erase(entry) : std::next(entry);
    if (pendingApplication_ == application)
        unsetPendingApplication();
    if (runningApplication_ == application)
        setRunningApplication(nullptr);
}

void Window::releaseTavoWindow(Application* application)
{
    TAVO_VestaWindow* const tavoWindow = application->getTavoWindow();
    if (!tavoWindow || !manager_ || manager_->getWindow(tavoWindow) != this)
        return;
    const auto entry = applications_.find(tavoWindow);
    if (entry == applications_.end() || !entry->second || entry->second == application)
        manager_->unregisterTavoWindow(tavoWindow);
}

void Window::abandonStart(unsigned long id)
{
    Application* const application = findApplication(id);
    if (isPendingApplication(application))
        destroyPendingApplication();
    else if (application && !applicationExists(application) && application->isOwnedByWindow())
        destroyApplication(application);
}

void Window::destroyApplication(Application* application)
{
    // One that has ended is retired already: a listener may have been faster.
    if (isMember(application))
        CallScope::retire(application);
}

/// An application that was started ends: its id leads nowhere, and the scripts' plugin hears of it.
void Window::tellPlugin(Application* application)
{
    if (manager_)
        manager_->unregisterApplication(application);
    else
        call_application_destroyed_listener(application);
}

void Window::leaveApplicationsBehind()
{
    while (!members_.empty()) {
        Application* const application = members_.back();
        if (!application->isOwnedByWindow()) {
            members_.pop_back();
            application->loseWindow();
        } else if (manager_ && applicationExists(application)) {
            releaseTavoWindow(application);
            dropFromBooks(application);
            application->loseWindow();
            manager_->adoptOrphan(application);
        } else {
            // One that another took the browser window from, or one that is just ending. The id of
            // one whose end was told already leads nowhere.
            if (manager_ && manager_->getApplication(application->getID()) == application)
                manager_->unregisterApplication(application);
            destroyApplication(application);
        }
    }
}

bool Window::isHttpAvailable() const
{
    return manager_ && manager_->isHttpAvailable();
}

}  // namespace VestaHbbTV
