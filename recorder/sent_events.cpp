#include "recorder/sent_events.h"

#include <atomic>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include "recorder/crossing.h"
#include "recorder/listeners.h"
#include "recorder/next_function.h"

namespace recorder {

namespace {

using namespace VestaHbbTV;

struct Sent {
    HBBTV_EventType type;
    HBBTV_EventData* data;
    Moment moment;
};

std::atomic<unsigned> browserThread{0};
std::atomic<bool> hasQueue{false};
std::atomic<bool> someWait{false};
std::mutex waitingMutex;

std::vector<Sent>& waiting()
{
    static auto* const events = new std::vector<Sent>;  // threads may send while the program ends
    return *events;
}

void tellLibrary(const Sent& event)
{
    SendEvent call{event.type, event.data};
    Lines<SendEvent> lines(call, Direction::in, event.moment);
    // After the line was written, which names the program's own callback.
    if (hasQueue && event.type == E_DSMCC_STREAM_EVENT && event.data)
        event.data->streamEvent.callback = standInFor(event.data->streamEvent.callback);
    next<SendEvent>()(event.type, event.data);
    lines.returned();
}

/// @return false where there is no memory for it
bool keep(const Sent& event)
{
    const std::lock_guard<std::mutex> lock(waitingMutex);
    try {
        waiting().push_back(event);
    } catch (const std::bad_alloc&) {
        return false;
    }
    someWait = true;
    return true;
}

void handOverWaiting()
{
    if (!someWait)
        return;
    std::vector<Sent> events;
    {
        const std::lock_guard<std::mutex> lock(waitingMutex);
        events.swap(waiting());
        someWait = false;
    }
    for (const Sent& event : events)
        tellLibrary(event);
}

}  // namespace

void SentEvents::send(HBBTV_EventType type, HBBTV_EventData* data)
{
    const Sent event = {type, data, Moment::now()};
    if (hasQueue && event.moment.thread != browserThread) {
        if (!keep(event))
            next<SendEvent>()(type, data);
        return;
    }
    handOverWaiting();
    tellLibrary(event);
}

void SentEvents::handOver()
{
    const unsigned thread = thisThread().number;
    if (browserThread.load(std::memory_order_relaxed) != thread)
        browserThread = thread;
    handOverWaiting();
}

void SentEvents::setRunning(bool isRunning)
{
    hasQueue = isRunning;
    if (!isRunning)
        handOverWaiting();  // what came meanwhile stays its sender's, as without the recorder
}

}  // namespace recorder
