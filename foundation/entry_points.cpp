// The library's front door: starting and stopping it, feeding it events, asking about windows.

#include <pthread.h>

#include "vesta_hbbtv_appman.h"

#include "foundation/at_exit.h"
#include "foundation/configuration_manager.h"
#include "foundation/logging.h"
#include "foundation/out_of_memory.h"
#include "foundation/threadsafe_event_queue.h"
#include "integration/external_event.h"
#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "oipf/notifications/notification_manager.h"
#include "vesta_hbbtv_version.h"

namespace VestaHbbTV {

namespace {

// Registered before other threads send, and read by them.
pthread_cond_t* sendEventCondition = nullptr;
pthread_mutex_t* sendEventMutex = nullptr;

bool shuttingDown = false;

void* const none = nullptr;
TAVO_VestaWindow* const noTavoWindow = nullptr;

/// A handle that came from outside: only to be compared until it is known to be a window.
Window* asWindow(void* handle)
{
    return static_cast<Window*>(handle);
}

/// Each step that calls out may shut the library down in return, which ends the rest.
void start(TAVO_Vesta* browser)
{
    Logging::getInstance();  // before other threads log
    // Where there is no memory for the windows the library does not begin.
    const AtExit giveUp([] {
        if (!WindowManager::instance)
            delete ConfigurationManager::instance;  // NOLINT(clang-analyzer-cplusplus.*): not stale
    });
    if (!ConfigurationManager::getInstance()->init(browser))
        return;
    const Session session;
    WindowManager::getInstance()->init();
    hbbtv_ait_start();
    if (session.isOver())
        return;
    dsmcc_start();
    if (session.isOver())
        return;
    // Where there is none for the listeners, the platform stops again.
    const AtExit stop([] {
        if (!NotificationManager::instance)
            vesta_hbbtv_shutdown();
    });
    NotificationManager::getInstance()->init();
}

/// @return null where there is none, or no memory for who would have it
ThreadsafeEventQueue* eventQueue()
{
    // Straight to the instance, since this is asked for all the time.
    if (ConfigurationManager::instance)
        return ConfigurationManager::instance->getEventQueue();
    guarded([] { ConfigurationManager::getInstance(); });  // Deliberate: without a queue
    return nullptr;
}

void wakeUpBrowserThread()
{
    pthread_mutex_t* const mutex = sendEventMutex;
    pthread_cond_t* const condition = sendEventCondition;
    if (!condition || !mutex)
        return;
    pthread_mutex_lock(mutex);
    pthread_cond_signal(condition);
    pthread_mutex_unlock(mutex);
}

}  // namespace

void vesta_hbbtv_init(TAVO_Vesta* browser)
{
    guarded([browser] { start(browser); });
}

void vesta_hbbtv_shutdown()
{
    if (shuttingDown)
        return;  // a listener that hears of the shutdown may ask for it again
    shuttingDown = true;
    const AtExit done([] { shuttingDown = false; });
    guarded([] {
        if (WindowManager::instance)
            WindowManager::instance->close();
    });
    hbbtv_ait_stop();
    dsmcc_stop();
    if (NotificationManager::instance)
        NotificationManager::instance->shutdown();
    delete WindowManager::instance;
    delete ConfigurationManager::instance;
}

bool vesta_hbbtv_tick()
{
    // An event that was given up for want of memory has run, too.
    ThreadsafeEventQueue* const queue = eventQueue();
    return queue && guarded(true, [queue] { return queue->executeFirst(); });
}

void vesta_hbbtv_send_event(HBBTV_EventType type, HBBTV_EventData* data)
{
    if (ThreadsafeEventQueue* const queue = eventQueue())
        guarded([=] { queue->add(ExternalEvent::create(type, data)); });
    // Deliberate: the wake-up does not depend on the queue.
    wakeUpBrowserThread();
}

void vesta_hbbtv_set_sendevent_condition(pthread_cond_t* condition, pthread_mutex_t* mutex)
{
    sendEventCondition = condition;
    sendEventMutex = mutex;
}

bool vesta_hbbtv_add_notification_listener(HBBTV_NotificationListener listener)
{
    return listener && guarded(false, [listener] {
               NotificationManager::getInstance()->addListener(listener);
               return true;
           });
}

void* vesta_hbbtv_create_window()
{
    return guarded(none, [] { return WindowManager::getInstance()->createWindow(); });
}

void vesta_hbbtv_release_window(void* window)
{
    guarded([window] { WindowManager::getInstance()->removeWindow(asWindow(window)); });
}

void* vesta_hbbtv_get_window_identifier(TAVO_VestaWindow* tavoWindow)
{
    return guarded(none,
                   [tavoWindow] { return WindowManager::getInstance()->getWindow(tavoWindow); });
}

void vesta_hbbtv_set_broadcast_window(void* window)
{
    guarded([window] { WindowManager::getInstance()->setBroadcastWindow(asWindow(window)); });
}

void* vesta_hbbtv_get_broadcast_window()
{
    return guarded(none, [] { return WindowManager::getInstance()->getBroadcastWindow(); });
}

TAVO_VestaWindow* vesta_hbbtv_get_tavo_window(void* window)
{
    return guarded(noTavoWindow, [window] {
        WindowManager* const manager = WindowManager::getInstance();
        Window* const known = manager->knownWindow(window);
        return known ? manager->getTavoWindow(known) : noTavoWindow;
    });
}

bool vesta_hbbtv_is_within_boundaries(void* window, const char* url)
{
    // Deliberate: it need not be a window of the window manager's.
    if (!url || !Window::exists(window))
        return false;
    return guarded(false, [window, url] {
        const Application* const running = asWindow(window)->getRunningApplication();
        return running && running->isWithinApplicationBoundaries(url);
    });
}

unsigned int vesta_hbbtv_set_time_shifted(void* window, int timeShifted)
{
    const unsigned int failed = 1;
    return guarded(failed, [window, timeShifted] {
        Window* const known = WindowManager::getInstance()->knownWindow(window);
        return known && known->setTimeShifted(timeShifted != 0) ? 0 : failed;
    });
}

bool vesta_hbbtv_is_hbbtv_window(TAVO_VestaWindow* tavoWindow)
{
    return tavoWindow && guarded(false, [tavoWindow] {
               return WindowManager::getInstance()->getWindow(tavoWindow) != nullptr;
           });
}

}  // namespace VestaHbbTV

const char* vesta_hbbtv_version()
{
    return VESTA_HBBTV_VERSION;
}
