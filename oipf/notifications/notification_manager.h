/// The registry of the integrator's listeners.
#ifndef VESTA_OIPF_NOTIFICATIONS_NOTIFICATION_MANAGER_H
#define VESTA_OIPF_NOTIFICATIONS_NOTIFICATION_MANAGER_H

#include <vector>

#include "vesta_hbbtv_appman.h"

#include "foundation/visibility.h"

namespace VestaHbbTV {

class Notification;

/// Singleton of the browser thread.
class VESTA_EXPORTED NotificationManager {
public:
    /// The one instance, created without listeners on first use.
    static NotificationManager* getInstance();

    /// Broadcasts through the existing instance; without one nobody hears of it, and the
    /// caller's answers become the record's initial values. @param notification ownership passes
    VESTA_HIDDEN static void broadcastIfAny(Notification* notification);

    /// Whether a broadcast would reach anybody: a record that is large need not be built else.
    static bool hasListeners() { return instance && !instance->listeners_.empty(); }

    NotificationManager(const NotificationManager&) = delete;
    NotificationManager& operator=(const NotificationManager&) = delete;
    ~NotificationManager();

    /// Does nothing.
    void init();

    /// Forgets every listener and deletes the instance. From inside a listener this ends the
    /// broadcast, and the deletion waits for its return.
    void shutdown();

    /// Appends a listener; null is ignored, and one added twice is called twice.
    void addListener(HBBTV_NotificationListener listener);

    /// Removes the first registration of a listener; one that is not registered is ignored.
    void removeListener(HBBTV_NotificationListener listener);

    /// Calls every listener in order of registration, then deletes the notification, which brings
    /// the answers to the caller. Listeners may add and remove listeners.
    /// @param notification ownership passes; null calls nobody
    void broadcast(Notification* notification);

    static NotificationManager* instance;

private:
    NotificationManager();

    std::vector<HBBTV_NotificationListener> listeners_;
    unsigned broadcasts_ = 0;
    bool shutDown_ = false;
};

}  // namespace VestaHbbTV

#endif
