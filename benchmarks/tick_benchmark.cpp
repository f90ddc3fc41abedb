/// Ticks of an empty and of a full queue, with and without a log sink, and events that one thread
/// sends while another ticks; beside plain queues that do the least.
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdlib>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

#include "vesta_hbbtv_appman.h"

#include "foundation/logging.h"
#include "tests/support/fake_browser.h"
#include "tests/support/fake_platform.h"

namespace {

using namespace VestaHbbTV;
using vesta::test::FakeBrowser;
using vesta::test::FakePlatform;

const int queued = 4096;

class DroppingSink : public LoggingOutput {
public:
    DroppingSink() : LoggingOutput(DEBUG) {}
    void output(LogEntry& entry) override { benchmark::DoNotOptimize(&entry.stream()); }
};

class Library {
public:
    explicit Library(bool hasSink)
    {
        FakeBrowser::instance().reset();
        FakePlatform::instance().reset();
        FakeBrowser::instance().journalling = FakePlatform::instance().journalling = false;
        if (hasSink)
            Logging::getInstance()->addOutput(new DroppingSink);
        vesta_hbbtv_init(FakeBrowser::instance().handle());
    }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    ~Library()
    {
        vesta_hbbtv_shutdown();
        delete Logging::getInstance();
    }
};

/// An event that says one line to the log and calls nobody.
void sendOne()
{
    vesta_hbbtv_send_event(E_DSMCC_STREAM_EVENT, static_cast<HBBTV_EventData*>(std::calloc(
                                                     1, sizeof(HBBTV_StreamEventData))));
}

class Work {
public:
    Work() : record_(std::calloc(1, sizeof(HBBTV_StreamEventData))) {}
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;
    virtual ~Work() { std::free(record_); }
    virtual void execute() { benchmark::DoNotOptimize(record_); }

private:
    void* record_;
};

/// A mutex and a double-ended queue of objects.
class PlainQueue {
public:
    void add()
    {
        auto work = std::make_unique<Work>();
        const std::lock_guard<std::mutex> lock(mutex_);
        work_.push_back(std::move(work));
    }

    bool executeFirst()
    {
        std::unique_ptr<Work> first;
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            if (work_.empty())
                return false;
            first = std::move(work_.front());
            work_.pop_front();
        }
        first->execute();
        return true;
    }

private:
    std::mutex mutex_;
    std::deque<std::unique_ptr<Work>> work_;
};

void plainEmpty(benchmark::State& state)
{
    PlainQueue queue;
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(queue.executeFirst());
}
BENCHMARK(plainEmpty);

void tickEmpty(benchmark::State& state, bool hasSink)
{
    const Library library(hasSink);
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(vesta_hbbtv_tick());
}
BENCHMARK_CAPTURE(tickEmpty, withoutSink, false);
BENCHMARK_CAPTURE(tickEmpty, withSink, true);

/// Times only the emptying of a queue of that many.
template <typename Fill, typename TakeOne>
void emptyAFullQueue(benchmark::State& state, Fill fill, TakeOne takeOne)
{
    for ([[maybe_unused]] auto _ : state) {
        for (int i = 0; i < queued; ++i)
            fill();
        const auto begin = std::chrono::steady_clock::now();
        while (takeOne())
            continue;
        const auto end = std::chrono::steady_clock::now();
        state.SetIterationTime(std::chrono::duration<double>(end - begin).count());
    }
    state.SetItemsProcessed(state.iterations() * queued);
}

void plainFull(benchmark::State& state)
{
    PlainQueue queue;
    emptyAFullQueue(
        state, [&] { queue.add(); }, [&] { return queue.executeFirst(); });
}
BENCHMARK(plainFull)->UseManualTime();

void tickFull(benchmark::State& state, bool hasSink)
{
    const Library library(hasSink);
    emptyAFullQueue(state, sendOne, vesta_hbbtv_tick);
}
BENCHMARK_CAPTURE(tickFull, withoutSink, false)->UseManualTime();
BENCHMARK_CAPTURE(tickFull, withSink, true)->UseManualTime();

/// One thread sends, this one takes, until all have arrived.
template <typename Send, typename TakeOne>
void sendWhileTaking(benchmark::State& state, Send sendNext, TakeOne takeOne)
{
    for ([[maybe_unused]] auto _ : state) {
        std::thread sender([&] {
            for (int i = 0; i < queued; ++i)
                sendNext();
        });
        for (int taken = 0; taken < queued;) {
            if (takeOne())
                ++taken;
            else
                std::this_thread::yield();
        }
        sender.join();
    }
    state.SetItemsProcessed(state.iterations() * queued);
}

void plainSendWhileTaking(benchmark::State& state)
{
    PlainQueue queue;
    sendWhileTaking(
        state, [&] { queue.add(); }, [&] { return queue.executeFirst(); });
}
BENCHMARK(plainSendWhileTaking)->UseRealTime()->MeasureProcessCPUTime();

void sendWhileTicking(benchmark::State& state)
{
    const Library library(false);
    sendWhileTaking(state, sendOne, vesta_hbbtv_tick);
}
BENCHMARK(sendWhileTicking)->UseRealTime()->MeasureProcessCPUTime();

}  // namespace
