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
pthread_cond_t* condition = nullptr;
pthread_mutex_t* conditionMutex = nullptr;
std::mutex mutex;  // of these and of what waits; nothing is called or written with it held

std::vector<Sent>& waiting()
{
    static auto* const events = new std::vector<Sent>;  // threads may send while the program ends
    return *events;
}

// A child has what waited and the condition, as without the recorder.
__attribute__((constructor)) void keepMutexOfForks()
{
    pthread_atfork([] { mutex.lock(); }, [] { mutex.unlock(); }, [] { mutex.unlock(); });
}

void tellNobody(const Sent& event)
{
    Recorder::instance().addSent({event.type, event.data}, event.moment);
    next<SendEvent>()(event.type, event.data);
}

void tellLibrary(const Sent& event)
{
    SendEvent call{event.type, event.data};
    Lines<SendEvent> lines(call, Direction::in, event.moment);
    // After the line was written, which names the program's own callback.
    if (event.type == E_DSMCC_STREAM_EVENT && event.data)
        event.data->streamEvent.callback = standInFor(event.data->streamEvent.callback);
    next<SendEvent>()(event.type, event.data);
    lines.returned();
}

/// @return false where there is no memory for it
bool keep(const Sent& event)
{
    const std::lock_guard<std::mutex> lock(mutex);
    try {
        waiting().push_back(event);
    } catch (const std::bad_alloc&) {
        return false;
    }
    someWait = true;
    return true;
}

void handOverWaiting(void (*tell)(const Sent&))
{
    if (!someWait)
        return;
    std::vector<Sent> events;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        events.swap(waiting());
        someWait = false;
    }
    for (const Sent& event : events)
        tell(event);
}

}  // namespace

void SentEvents::send(HBBTV_EventType type, HBBTV_EventData* data)
{
    const Sent event = {type, data, Moment::now()};
    if (!hasQueue) {
        tellNobody(event);
    } else if (event.moment.thread != browserThread) {
        if (!keep(event))
            next<SendEvent>()(type, data);
    } else {
        handOverWaiting(tellLibrary);
        tellLibrary(event);
    }
}

void SentEvents::handOver()
{
    const unsigned thread = thisThread().number;
    if (browserThread.load(std::memory_order_relaxed) != thread)
        browserThread = thread;
    handOverWaiting(hasQueue ? tellLibrary : tellNobody);
}

void SentEvents::setRunning(bool isRunning)
{
    hasQueue = isRunning;
    if (!isRunning)
        handOverWaiting(tellNobody);  // stays its sender's, as without the recorder
}

void SentEvents::setCondition(pthread_cond_t* newCondition, pthread_mutex_t* newMutex)
{
    const std::lock_guard<std::mutex> lock(mutex);
    condition = newCondition;
    conditionMutex = newMutex;
}

void SentEvents::wakeUp()
{
    pthread_cond_t* toSignal;
    pthread_mutex_t* toLock;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        toSignal = condition;
        toLock = conditionMutex;
    }
    if (!toSignal || !toLock)
        return;
    pthread_mutex_lock(toLock);
    pthread_cond_signal(toSignal);
    pthread_mutex_unlock(toLock);
}

}  // namespace recorder
