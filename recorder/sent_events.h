/// Events on their way into the library.
#ifndef VESTA_RECORDER_SENT_EVENTS_H
#define VESTA_RECORDER_SENT_EVENTS_H

#include <pthread.h>

#include "vesta_hbbtv_appman.h"

namespace recorder {

/// Events reach the library in the order in which the record has them, which only the browser
/// thread can say: what other threads send waits for it. Who sends waits for nobody: neither for a
/// call that is under way nor, while there is a queue, for the record's file.
class SentEvents {
public:
    /// From any thread. Handed to the library at once if this is the browser thread, or if the
    /// library has no queue (the record then stays the sender's); else when that thread calls next.
    static void send(VestaHbbTV::HBBTV_EventType type, VestaHbbTV::HBBTV_EventData* data);

    /// The browser thread is about to call the library: hands over what waits.
    static void handOver();

    /// Whether the library has a queue, from the call that starts it until the one that ends it.
    static void setRunning(bool isRunning);

    /// Whom to wake up where something was sent, as vesta_hbbtv_set_sendevent_condition() has it.
    static void setCondition(pthread_cond_t* condition, pthread_mutex_t* mutex);
    static void wakeUp();
};

}  // namespace recorder

#endif
