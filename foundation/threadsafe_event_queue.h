/// @file
/// Carries work from any thread onto the browser thread.
#ifndef VESTA_FOUNDATION_THREADSAFE_EVENT_QUEUE_H
#define VESTA_FOUNDATION_THREADSAFE_EVENT_QUEUE_H

#include "foundation/mutex.h"
#include "foundation/visibility.h"

namespace VestaHbbTV {

/// First in, first out. Adding is for any thread; everything else is the browser thread's.
/// @thread{browser} @since 1.0
class VESTA_EXPORTED ThreadsafeEventQueue {
public:
    /// Something to be done on the browser thread. Created with `new` by whoever queues it, on any
    /// thread; deleted by the queue after it ran or when it is discarded.
    /// @thread{browser} @since 1.0
    class Event {
    public:
        Event() = default;
        Event(const Event&) = delete;
        Event& operator=(const Event&) = delete;

        /// Runs with the queue's mutex released, too. It may queue further events.
        virtual ~Event();

        /// Does what is to be done, with the queue's mutex released: it may queue further events,
        /// which run on later ticks, and it may even end the library.
        virtual void execute() = 0;

    private:
        friend class ThreadsafeEventQueue;

        Event* next_ = nullptr;  ///< after this one in its queue
    };

    /// Empty.
    ThreadsafeEventQueue() = default;
    ThreadsafeEventQueue(const ThreadsafeEventQueue&) = delete;
    ThreadsafeEventQueue& operator=(const ThreadsafeEventQueue&) = delete;

    /// Deletes what is still queued, without executing it.
    ~ThreadsafeEventQueue();

    /// Appends an event, without waking the browser thread: vesta_hbbtv_send_event() does that.
    /// @param event ownership passes to the queue; null is ignored
    /// @thread{any} @since 1.0
    void add(Event* event);

    /// Takes the front event out. @return owned by the caller; null when the queue is empty
    Event* getFirst();

    /// Takes the front event out, runs it and deletes it. @return false when the queue is empty
    bool executeFirst();

    /// Deletes every queued event without executing it. Events that their destructors queue stay.
    void clear();

private:
    VESTA_HIDDEN bool isEmpty();

    // Linked through the events: adding allocates nothing.
    Event* first_ VESTA_GUARDED_BY(mutex_) = nullptr;
    Event** end_ VESTA_GUARDED_BY(mutex_) = &first_;  ///< where the next event is linked in
    Mutex mutex_;
};

}  // namespace VestaHbbTV

#endif
