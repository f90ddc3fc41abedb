/// An event of the integrator on its way to the browser thread.
#ifndef VESTA_INTEGRATION_EXTERNAL_EVENT_H
#define VESTA_INTEGRATION_EXTERNAL_EVENT_H

#include "vesta_hbbtv_appman.h"

#include "foundation/threadsafe_event_queue.h"
#include "foundation/visibility.h"
#include "lifecycle/window_storage.h"

namespace VestaHbbTV {

/// Owns its record and everything that the record's type says is freed, whether it is executed or
/// deleted unexecuted.
class VESTA_EXPORTED ExternalEvent : public ThreadsafeEventQueue::Event {
public:
    /// @param data malloc'ed like every buffer in it; may be null
    ExternalEvent(HBBTV_EventType type, HBBTV_EventData* data);
    ~ExternalEvent() override;

    /// As the constructor; where there is no memory for the event, its record is freed.
    VESTA_HIDDEN static ExternalEvent* create(HBBTV_EventType type, HBBTV_EventData* data);

    void execute() override;

private:
    HBBTV_EventType type_;
    HBBTV_EventData* data_;
    const WindowStorage::Mention mention_;
};

}  // namespace VestaHbbTV

#endif
