/// @file
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
/// @thread{browser} @since 1.0
class ApplicationTarget {
public:
    /// Notes what tells both from all others, ever.
    /// @param window, application any pointers; what is not known by now is never found
    ApplicationTarget(Window* window, Application* application);

    /// The window, borrowed; null when it has gone.
    Window* findWindow() const;

    /// The application, borrowed; null when it has ended.
    /// @param window as findWindow() found it
    Application* findApplication(const Window& window) const;

    /// As Application::getID() gives it; 0 when the window had no such application.
    unsigned long getApplicationId() const { return applicationId_; }

private:
    Window* window_;
    unsigned long windowSerial_;
    unsigned long applicationId_;
};

/// Ends an application. Where the window has gone by then, it only logs.
/// @thread{browser} @since 1.0
class VESTA_EXPORTED StopApplicationEvent : public ThreadsafeEventQueue::Event {
public:
    /// Takes note of what is to end.
    /// @param window, application as ApplicationTarget takes them
    /// @param reactivate, notify as Window::shutdownApplication() takes them
    StopApplicationEvent(Window* window, Application* application, bool reactivate, bool notify);

    /// Calls Window::shutdownApplication(), for an end at once.
    void execute() override;

    /// Replaces the flags that the constructor was given, of an event that has not run.
    void setFlags(bool reactivate, bool notify);

private:
    ApplicationTarget target_;
    bool reactivate_;
    bool notify_;
};

/// Starts the pending application of a window. An application that did not start by it, because it
/// was superseded, memory ran out or the event was deleted unexecuted, ends with the event.
/// @thread{browser} @since 1.0
class VESTA_EXPORTED StartApplicationEvent : public ThreadsafeEventQueue::Event {
public:
    /// Takes note of what is to start.
    /// @param window, application as ApplicationTarget takes them
    StartApplicationEvent(Window* window, Application* application);

    /// Ends the application, unless it runs.
    ~StartApplicationEvent() override;

    /// Opens the application's page, where the window and its pending application are still there.
    void execute() override;

private:
    ApplicationTarget target_;
};

/// The browser loaded a page. Nothing but a line in the log comes of it where no window shows an
/// application there by then.
/// @thread{browser} @since 1.0
class VESTA_EXPORTED LoadSuccessEvent : public ThreadsafeEventQueue::Event {
public:
    /// Takes note of where the page was loaded.
    /// @param tavoWindow the browser's window, which is only compared
    explicit LoadSuccessEvent(TAVO_VestaWindow* tavoWindow);

    /// Calls Window::reportLoadSuccess().
    void execute() override;

private:
    TAVO_VestaWindow* tavoWindow_;
};

/// Hides an application when its countdown has run out, one queueing a step.
/// @thread{browser} @since 1.0
class VESTA_EXPORTED HideApplicationEvent : public ThreadsafeEventQueue::Event {
public:
    /// Takes note of what is to be hidden.
    /// @param applicationId as Application::getID() gives it; one that has ended by then is let be
    /// @param countdown how often the event queues itself again, after everything queued meanwhile
    HideApplicationEvent(unsigned long applicationId, int countdown);

    /// Queues the next step; with the last one it calls Application::hide().
    void execute() override;

private:
    unsigned long applicationId_;
    int32_t countdown_;
};

/// Puts a table in force that the integration built itself, from an XML AIT for example.
/// @thread{browser} @since 1.0
class VESTA_EXPORTED TAVOAITEvent : public ThreadsafeEventQueue::Event {
public:
    /// Takes note of the window and keeps the table.
    /// @param window left alone when the window manager does not hold it by then; a window that was
    ///        created later at its address is another one
    /// @param table the event holds a reference; null is announced as such
    TAVOAITEvent(Window* window, const ref_ptr<AIT>& table);

    /// Announces the table to the listeners, then activates it, unless one of them released the
    /// window or put a newer table in force.
    void execute() override;

private:
    ApplicationTarget target_;
    ref_ptr<AIT> table_;
};

}  // namespace VestaHbbTV

#endif
