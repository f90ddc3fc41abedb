// The library's front door: starting and stopping it, feeding it events, asking about windows.

#include <pthread.h>

#include "vesta_hbbtv_appman.h"

#include "foundation/configuration_manager.h"
#include "foundation/logging.h"
#include "foundation/threadsafe_event_queue.h"
#include "integration/external_event.h"
#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "oipf/notifications/notification_manager.h"

namespace VestaHbbTV {

namespace {

// Registered before other threads send, and read by them.
pthread_cond_t* sendEventCondition = nullptr;
pthread_mutex_t* sendEventMutex = nullptr;

bool shuttingDown = false;

/// A handle that came from outside: only to be compared until it is known to be a window.
Window* asWindow(void* handle)
{
    return static_cast<Window*>(handle);
}

}  // namespace

void vesta_hbbtv_init(TAVO_Vesta* browser)
{
    Logging::getInstance();  // before other threads log
    if (!ConfigurationManager::getInstance()->init(browser))
        return;
    // The platform, too, may shut the library down in return.
    const unsigned long session = ConfigurationManager::getSession();
    WindowManager::getInstance()->init();
    hbbtv_ait_start();
    if (ConfigurationManager::getSession() != session)
        return;
    dsmcc_start();
    if (ConfigurationManager::getSession() != session)
        return;
    NotificationManager::getInstance()->init();
}

void vesta_hbbtv_shutdown()
{
    if (shuttingDown)
        return;  // a listener that hears of the shutdown may ask for it again
    shuttingDown = true;
    WindowManager::getInstance()->close();
    hbbtv_ait_stop();
    dsmcc_stop();
    if (NotificationManager::instance)
        NotificationManager::instance->shutdown();
    delete WindowManager::getInstance();
    delete ConfigurationManager::getInstance();
    shuttingDown = false;
}

bool vesta_hbbtv_tick()
{
    ThreadsafeEventQueue* const queue = ConfigurationManager::getInstance()->getEventQueue();
    return queue && queue->executeFirst();
}

void vesta_hbbtv_send_event(HBBTV_EventType type, HBBTV_EventData* data)
{
    if (ThreadsafeEventQueue* const queue = ConfigurationManager::getInstance()->getEventQueue())
        queue->add(new ExternalEvent(type, data));
    // Deliberate: the wake-up does not depend on the queue.
    pthread_mutex_t* const mutex = sendEventMutex;
    pthread_cond_t* const condition = sendEventCondition;
    if (!condition || !mutex)
        return;
    pthread_mutex_lock(mutex);
    pthread_cond_signal(condition);
    pthread_mutex_unlock(mutex);
}

void vesta_hbbtv_set_sendevent_condition(pthread_cond_t* condition, pthread_mutex_t* mutex)
{
    sendEventCondition = condition;
    sendEventMutex = mutex;
}

bool vesta_hbbtv_add_notification_listener(HBBTV_NotificationListener listener)
{
    if (!listener)
        return false;
    NotificationManager::getInstance()->addListener(listener);
    return true;
}

void* vesta_hbbtv_create_window()
{
    return WindowManager::getInstance()->createWindow();
}

void vesta_hbbtv_release_window(void* window)
{
    WindowManager::getInstance()->removeWindow(asWindow(window));
}

void* vesta_hbbtv_get_window_identifier(TAVO_VestaWindow* tavoWindow)
{
    return WindowManager::getInstance()->getWindow(tavoWindow);
}

void vesta_hbbtv_set_broadcast_window(void* window)
{
    WindowManager::getInstance()->setBroadcastWindow(asWindow(window));
}

void* vesta_hbbtv_get_broadcast_window()
{
    return WindowManager::getInstance()->getBroadcastWindow();
}

TAVO_VestaWindow* vesta_hbbtv_get_tavo_window(void* window)
{
    WindowManager* const manager = WindowManager::getInstance();
    return manager->handledWindow(asWindow(window)) ? manager->getTavoWindow(asWindow(window))
                                                    : nullptr;
}

bool vesta_hbbtv_is_within_boundaries(void* window, const char* url)
{
    if (!window || !url)
        return false;
    // Deliberate: the handle is not looked up.
    const Application* const running = asWindow(window)->getRunningApplication();
    return running && running->isWithinApplicationBoundaries(url);
}

unsigned int vesta_hbbtv_set_time_shifted(void* window, int timeShifted)
{
    if (!WindowManager::getInstance()->handledWindow(asWindow(window)))
        return 1;
    return asWindow(window)->setTimeShifted(timeShifted != 0) ? 0 : 1;
}

bool vesta_hbbtv_is_hbbtv_window(TAVO_VestaWindow* tavoWindow)
{
    return tavoWindow && WindowManager::getInstance()->getWindow(tavoWindow) != nullptr;
}

}  // namespace VestaHbbTV
