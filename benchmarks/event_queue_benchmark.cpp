/// Sending an event and running it on the next tick, beside the least that a queue for two threads
/// can do: two locks, and a new object that is called and deleted.
#include <benchmark/benchmark.h>
#include <memory>
#include <mutex>

#include "vesta_hbbtv_appman.h"

#include "foundation/threadsafe_event_queue.h"
#include "tests/support/fake_browser.h"
#include "tests/support/fake_platform.h"

namespace {

using namespace VestaHbbTV;

class Work {
public:
    explicit Work(int* counter) : counter_(counter) {}
    virtual ~Work() = default;
    virtual void execute() { ++*counter_; }

private:
    int* counter_;
};

void twoLocksAndOneObject(benchmark::State& state)
{
    std::mutex mutex;
    int counter = 0;
    Work* shared = nullptr;
    for ([[maybe_unused]] auto _ : state) {
        {
            auto* const made = new Work(&counter);
            const std::lock_guard<std::mutex> lock(mutex);
            shared = made;
        }
        benchmark::DoNotOptimize(shared);
        std::unique_ptr<Work> taken;
        {
            const std::lock_guard<std::mutex> lock(mutex);
            taken.reset(shared);
        }
        taken->execute();
    }
    benchmark::DoNotOptimize(counter);
}
BENCHMARK(twoLocksAndOneObject);

/// The queue alone, with an event that does as little as above.
class QueuedWork : public ThreadsafeEventQueue::Event {
public:
    explicit QueuedWork(int* counter) : counter_(counter) {}
    void execute() override { ++*counter_; }

private:
    int* counter_;
};

void addAndExecute(benchmark::State& state)
{
    ThreadsafeEventQueue queue;
    int counter = 0;
    for ([[maybe_unused]] auto _ : state) {
        queue.add(new QueuedWork(&counter));
        queue.executeFirst();
    }
    benchmark::DoNotOptimize(counter);
}
BENCHMARK(addAndExecute);

void sendAndTick(benchmark::State& state, HBBTV_EventType type)
{
    vesta::test::FakePlatform::instance().journalling = false;
    vesta_hbbtv_init(vesta::test::FakeBrowser::instance().handle());
    for ([[maybe_unused]] auto _ : state) {
        vesta_hbbtv_send_event(type, nullptr);
        if (!vesta_hbbtv_tick())
            state.SkipWithError("the event was lost");
    }
    vesta_hbbtv_shutdown();
}
BENCHMARK_CAPTURE(sendAndTick, HttpAvailable, E_HTTP_AVAILABLE);
BENCHMARK_CAPTURE(sendAndTick, ProfilesWithoutRecord, E_SUPPORTED_PROFILES);

}  // namespace
