/// Steps of the lifecycle that must not run inside the call that decides them: each is queued and
/// runs on a later tick. They are made on the browser thread, unlike other events, since they look
/// at windows and tables already then.
#ifndef VESTA_INTEGRATION_APPLICATION_EVENTS_H
#define VESTA_INTEGRATION_APPLICATION_EVENTS_H

#include <cstdint>

#include "vesta_browser.h"

#include "foundation/ref_ptr.h"
#include "foundation/threadsafe_event_queue.h"
#include "foundation/visibility.h"
#include "signalling/ait.h"

namespace VestaHbbTV {

class Application;
class Window;

/// Names an application of a window without relying on either to live: a window or an application
/// that was created later at the same address is another one.
class ApplicationTarget {
public:
    /// @param window, application any pointers; what is not known by now is never found
    ApplicationTarget(Window* window, Application* application);

    /// @return null when the window has gone
    Window* findWindow() const;

    /// @param window as found @return null when the application has ended
    Application* findApplication(const Window& window) const;

    unsigned long getApplicationId() const { return applicationId_; }

private:
    Window* window_;
    unsigned long windowSerial_;
    unsigned long applicationId_;
};

/// Ends an application.
class VESTA_EXPORTED StopApplicationEvent : public ThreadsafeEventQueue::Event {
public:
    /// @param reactivate, notify as Window::shutdownApplication() takes them
    StopApplicationEvent(Window* window, Application* application, bool reactivate, bool notify);
    void execute() override;

    void setFlags(bool reactivate, bool notify);

private:
    ApplicationTarget target_;
    bool reactivate_;
    bool notify_;
};

/// Starts the pending application of a window. An application that did not start by it, because it
/// was superseded, memory ran out or the event was deleted unexecuted, ends with the event.
class VESTA_EXPORTED StartApplicationEvent : public ThreadsafeEventQueue::Event {
public:
    StartApplicationEvent(Window* window, Application* application);
    ~StartApplicationEvent() override;
    void execute() override;

private:
    ApplicationTarget target_;
};

/// The browser loaded a page.
class VESTA_EXPORTED LoadSuccessEvent : public ThreadsafeEventQueue::Event {
public:
    explicit LoadSuccessEvent(TAVO_VestaWindow* tavoWindow);
    void execute() override;

private:
    TAVO_VestaWindow* tavoWindow_;
};

/// Hides an application when its countdown has run out, one queueing a step.
class VESTA_EXPORTED HideApplicationEvent : public ThreadsafeEventQueue::Event {
public:
    /// @param applicationId as Application::getID() gives it
    /// @param countdown how often the event queues itself again, after everything queued meanwhile
    HideApplicationEvent(unsigned long applicationId, int countdown);
    void execute() override;

private:
    unsigned long applicationId_;
    int32_t countdown_;
};

/// Puts a table in force that the integration built itself, from an XML AIT for example.
class VESTA_EXPORTED TAVOAITEvent : public ThreadsafeEventQueue::Event {
public:
    /// @param window left alone when the window manager does not hold it by then; a window that was
    ///        created later at its address is another one
    /// @param table the event holds a reference; null is announced as such
    TAVOAITEvent(Window* window, const ref_ptr<AIT>& table);
    void execute() override;

private:
    ApplicationTarget target_;
    ref_ptr<AIT> table_;
};

}  // namespace VestaHbbTV

#endif
