#include "foundation/threadsafe_event_queue.h"

#include <memory>

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
    const std::lock_guard<std::mutex> lock(mutex_);
    events_.push_back(event);
}

ThreadsafeEventQueue::Event* ThreadsafeEventQueue::getFirst()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (events_.empty())
        return nullptr;
    Event* const first = events_.front();
    events_.pop_front();
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
    std::deque<Event*> discarded;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        discarded.swap(events_);
    }
    for (Event* event : discarded)
        delete event;
}

bool ThreadsafeEventQueue::isEmpty()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return events_.empty();
}

}  // namespace VestaHbbTV
