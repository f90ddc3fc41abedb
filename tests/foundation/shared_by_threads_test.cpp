// What one thread does to the queue or the log while another uses it. Meant to run under
// ThreadSanitizer: the flags between the threads order nothing else, so that whatever the library
// does not order itself is seen.

#include <atomic>
#include <gtest/gtest.h>
#include <string>
#include <thread>

#include "foundation/logging.h"
#include "foundation/threadsafe_event_queue.h"

using namespace VestaHbbTV;

namespace {

/// A flag or number that is seen by other threads, some time, and orders nothing.
template <typename Value>
class Unordered {
public:
    Unordered& operator=(Value value)
    {
        value_.store(value, std::memory_order_relaxed);
        return *this;
    }
    void increase() { value_.fetch_add(1, std::memory_order_relaxed); }
    Value get() const { return value_.load(std::memory_order_relaxed); }

private:
    std::atomic<Value> value_{};
};

template <typename Condition>
void waitUntil(const Condition& isMet)
{
    while (!isMet())
        std::this_thread::yield();
}

Unordered<int> deletedEvents;

class CountedEvent : public ThreadsafeEventQueue::Event {
public:
    ~CountedEvent() override { deletedEvents.increase(); }
    void execute() override {}
};

/// Counts its lines without any order of its own.
class CountingOutput : public LoggingOutput {
public:
    CountingOutput(Unordered<int>& seen, int& countAtEnd)
        : LoggingOutput(DEBUG), seen_(seen), countAtEnd_(countAtEnd)
    {
    }
    ~CountingOutput() override { countAtEnd_ = count_; }

    void output(LogEntry&) override
    {
        ++count_;
        seen_.increase();
    }

private:
    Unordered<int>& seen_;
    int& countAtEnd_;
    int count_ = 0;  // under the log's mutex
};

class SharedByThreads : public ::testing::Test {
protected:
    SharedByThreads() { Logging::getInstance(); }  // before other threads log
    ~SharedByThreads() override { delete Logging::getInstance(); }

    /// A sink that counts into `seen_` and, when it ends, into `countsAtEnd_`.
    void addOutput(size_t number)
    {
        Logging::getInstance()->addOutput(new CountingOutput(seen_[number], countsAtEnd_[number]));
    }

    Unordered<int> seen_[3];
    int countsAtEnd_[3] = {};
};

TEST_F(SharedByThreads, TheQueueIsClearedWhileAnotherThreadAdds)
{
    const int count = 20000;
    deletedEvents = 0;
    {
        ThreadsafeEventQueue queue;
        Unordered<bool> isDone;
        std::thread adding([&queue, &isDone] {
            for (int number = 0; number < count; ++number)
                queue.add(new CountedEvent);
            isDone = true;
        });
        while (!isDone.get())
            queue.clear();
        adding.join();
    }
    EXPECT_EQ(deletedEvents.get(), count) << "each once";
}

TEST_F(SharedByThreads, TheLogGetsSinksWhileAnotherThreadLogs)
{
    Unordered<bool> isDone;
    std::thread logging([&isDone] {
        for (int number = 0; !isDone.get(); ++number)
            log(WARN, "Thread", number);
    });
    for (size_t number = 0; number < 3; ++number) {
        addOutput(number);
        waitUntil([this, number] { return seen_[number].get() > 0; });
    }
    isDone = true;
    logging.join();
    delete Logging::getInstance();
    EXPECT_EQ(countsAtEnd_[0], seen_[0].get());
    EXPECT_GE(countsAtEnd_[0], countsAtEnd_[1]);
    EXPECT_GE(countsAtEnd_[1], countsAtEnd_[2]);
}

TEST_F(SharedByThreads, TheLogEndsAfterTheLastLineOfAnotherThread)
{
    const int count = 10;
    addOutput(0);
    Unordered<bool> isDone;
    std::thread logging([&isDone] {
        for (int number = 0; number < count; ++number)
            LogEntry(LOG, "Thread") << number;
        isDone = true;
    });
    waitUntil([&isDone] { return isDone.get(); });
    delete Logging::getInstance();
    logging.join();
    EXPECT_EQ(countsAtEnd_[0], count);
}

}  // namespace
