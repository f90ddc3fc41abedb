#include "lifecycle/window.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "foundation/logging.h"
#include "lifecycle/application.h"
#include "lifecycle/script_plugin.h"
#include "lifecycle/window_manager.h"
#include "lifecycle/window_storage.h"

namespace VestaHbbTV {

namespace {

unsigned long nextSerial = 1;
Window* firstWindow = nullptr;

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

void* Window::operator new(size_t size)
{
    return WindowStorage::take(size);
}

void Window::operator delete(void* storage, size_t size)
{
    WindowStorage::giveBack(storage, size);
}

Window::Window(WindowManager* manager)
    : manager_(manager), serial_(nextSerial++), next_(std::exchange(firstWindow, this))
{
}

Window::~Window()
{
    ++holds_;  // no hold taken from here on may destroy the window again
    released_ = true;
    endApplications();
    if (manager_)
        manager_->forgetWindow(this);
    Window** link = &firstWindow;
    while (*link != this)
        link = &(*link)->next_;
    *link = next_;
    broadcastAIT_.reset();
    assemblyAIT_.reset();
    previousAIT_.reset();
    ait_.reset();
}

bool Window::exists(const void* window)
{
    const Window* each = firstWindow;
    while (each && each != window)
        each = each->next_;
    return each != nullptr;
}

void Window::release()
{
    released_ = true;
    if (holds_ == 0)
        delete this;
}

void Window::endApplications()
{
    const CallScope scope;
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
    enter(application ? RUNNING : IDLE);
}

/// An application that was replaced, or was to be, is the running one for good.
void Window::runAgain(Application* application)
{
    setRunningApplication(application);
    enter(RUNNING);
}

/// TEARDOWN waits for a successor: without one the forbidden application goes on.
void Window::leaveTeardownWithoutSuccessor()
{
    if (state_ == TEARDOWN && !pendingApplication_)
        enter(RUNNING);
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

void Window::unsetPendingApplication()
{
    pendingApplication_ = nullptr;
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
    shown_[application->getTavoWindow()] = application;
    application->setOwnedByWindow();
}

void Window::unregisterApplication(Application* application)
{
    const auto entry = shown_.find(application->getTavoWindow());
    if (entry != shown_.end() && entry->second == application)
        shown_.erase(entry);
}

bool Window::applicationExists(const Application* application) const
{
    return application &&
           std::any_of(shown_.begin(), shown_.end(),
                       [application](const auto& entry) { return entry.second == application; });
}

Application* Window::getApplication(TAVO_VestaWindow* tavoWindow)
{
    // Deliberate: asking for an unknown browser window leaves an empty entry for it.
    return shown_[tavoWindow];
}

unsigned long Window::getApplicationId(const Application* application) const
{
    return applications_.idOf(application);
}

Application* Window::findApplication(unsigned long id) const
{
    return applications_.find(id);
}

void Window::adopt(Application* application)
{
    applications_.add(application);
}

void Window::forget(Application* application)
{
    dropFromBooks(application);
    if (manager_)
        manager_->forgetApplication(application);
}

void Window::dropFromBooks(Application* application)
{
    applications_.remove(application);
    if (application->hasBeenParent())
        applications_.forgetParent(application);
    for (auto entry = shown_.begin(); entry != shown_.end();)
        entry = entry->second == application ? shown_.erase(entry) : std::next(entry);
    if (pendingApplication_ == application)
        unsetPendingApplication();
    if (runningApplication_ == application)
        setRunningApplication(nullptr);
}

bool Window::unlinkTavoWindow(Application* application)
{
    TAVO_VestaWindow* const tavoWindow = application->getTavoWindow();
    const auto entry = shown_.find(tavoWindow);
    if (entry != shown_.end() && entry->second && entry->second != application)
        return false;
    if (tavoWindow && manager_ && manager_->getWindow(tavoWindow) == this)
        manager_->unregisterTavoWindow(tavoWindow);
    return true;
}

void Window::abandonStart(unsigned long id)
{
    const Hold hold(this);
    Application* const application = findApplication(id);
    if (isPendingApplication(application))
        destroyPendingApplication();
    else if (application && !applicationExists(application))
        destroyApplication(application);
    leaveTeardownWithoutSuccessor();
}

void Window::destroyApplication(Application* application)
{
    // One that has ended is retired already: a listener may have been faster.
    if (applications_.contains(application))
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
    while (!applications_.empty()) {
        Application* const application = applications_.newest();
        if (!application->isOwnedByWindow()) {
            applications_.remove(application);
            application->loseWindow();
        } else if (application->isStopNoticeWanted()) {
            notifyStop(application, false);  // its end does not come so far any more
        } else if (manager_ && applicationExists(application)) {
            leaveBehind(application);
        } else {
            // One that waits for its start, or is just ending. The id of one whose end was reported
            // already leads nowhere.
            if (manager_ && manager_->getApplication(application->getID()) == application)
                manager_->unregisterApplication(application);
            destroyApplication(application);
        }
    }
}

/// Hands an application to the window manager; its browser window is not wanted any more.
void Window::leaveBehind(Application* application)
{
    unlinkTavoWindow(application);
    dropFromBooks(application);
    application->loseWindow();
    manager_->adoptOrphan(application);
    application->releaseTavoWindow();
}

bool Window::isHttpAvailable() const
{
    return manager_ && manager_->isHttpAvailable();
}

}  // namespace VestaHbbTV
