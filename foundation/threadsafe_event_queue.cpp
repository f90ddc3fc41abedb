#include "foundation/threadsafe_event_queue.h"

#include <memory>
#include <utility>

namespace VestaHbbTV {

ThreadsafeEventQueue::Event::~Event() = default;

ThreadsafeEventQueue::~ThreadsafeEventQueue()
{
    while (!isEmpty())
        clear();
}

void ThreadsafeEventQueue::add(Event* event)
{
    if (!event)
        return;
    const MutexLock lock(mutex_);
    *end_ = event;
    end_ = &event->next_;
}

ThreadsafeEventQueue::Event* ThreadsafeEventQueue::getFirst()
{
    const MutexLock lock(mutex_);
    Event* const first = first_;
    if (!first)
        return nullptr;
    first_ = std::exchange(first->next_, nullptr);
    if (!first_)
        end_ = &first_;
    return first;
}

bool ThreadsafeEventQueue::executeFirst()
{
    const std::unique_ptr<Event> event(getFirst());
    if (!event)
        return false;
    event->execute();  // may delete this queue: no member is touched from here on
    return true;
}

void ThreadsafeEventQueue::clear()
{
    Event* discarded = nullptr;
    {
        const MutexLock lock(mutex_);
        discarded = std::exchange(first_, nullptr);
        end_ = &first_;
    }
    while (discarded) {
        Event* const next = discarded->next_;
        delete discarded;
        discarded = next;
    }
}

bool ThreadsafeEventQueue::isEmpty()
{
    const MutexLock lock(mutex_);
    return !first_;
}

}  // namespace VestaHbbTV
