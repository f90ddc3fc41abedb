// The queue: order, ownership, and that nothing is called with its mutex held.

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "foundation/threadsafe_event_queue.h"

using namespace VestaHbbTV;

namespace {

int living = 0;

class TestEvent : public ThreadsafeEventQueue::Event {
public:
    explicit TestEvent(std::function<void()> work = {}, std::function<void()> atEnd = {})
        : work_(std::move(work)), atEnd_(std::move(atEnd))
    {
        ++living;
    }

    ~TestEvent() override
    {
        if (atEnd_)
            atEnd_();
        --living;
    }

    void execute() override
    {
        if (work_)
            work_();
    }

private:
    std::function<void()> work_;
    std::function<void()> atEnd_;
};

/// Waits for another thread's access to the queue; returns only when the mutex is free.
void addFromAnotherThread(ThreadsafeEventQueue& queue)
{
    std::thread([&queue] { queue.add(new TestEvent); }).join();
}

class ThreadsafeEventQueueTest : public ::testing::Test {
protected:
    ~ThreadsafeEventQueueTest() override
    {
        queue_.reset();
        EXPECT_EQ(living, 0);
    }

    TestEvent* event(int number)
    {
        return new TestEvent([this, number] { ran_.push_back(number); });
    }

    std::unique_ptr<ThreadsafeEventQueue> queue_ = std::make_unique<ThreadsafeEventQueue>();
    std::vector<int> ran_;
};

TEST_F(ThreadsafeEventQueueTest, EmptyGivesNothing)
{
    EXPECT_EQ(queue_->getFirst(), nullptr);
    EXPECT_FALSE(queue_->executeFirst());
    queue_->clear();
    EXPECT_FALSE(queue_->executeFirst());
}

TEST_F(ThreadsafeEventQueueTest, RunsOneEventACallInTheOrderOfAdding)
{
    for (int number : {1, 2, 3})
        queue_->add(event(number));
    EXPECT_TRUE(queue_->executeFirst());
    EXPECT_EQ(ran_, std::vector<int>({1}));
    EXPECT_EQ(living, 2) << "an event is deleted after it ran";
    EXPECT_TRUE(queue_->executeFirst());
    EXPECT_TRUE(queue_->executeFirst());
    EXPECT_EQ(ran_, std::vector<int>({1, 2, 3}));
    EXPECT_FALSE(queue_->executeFirst());
}

TEST_F(ThreadsafeEventQueueTest, FillsAndEmptiesAgainAndAgain)
{
    std::vector<int> expected;
    int added = 0;
    for (int round = 0; round < 100; ++round) {
        for (int n = 0; n < round % 4; ++n) {
            expected.push_back(added);
            queue_->add(event(added++));
        }
        queue_->executeFirst();
        queue_->executeFirst();
    }
    while (queue_->executeFirst()) {
    }
    EXPECT_EQ(ran_, expected);
}

TEST_F(ThreadsafeEventQueueTest, FirstIsTakenOutUnexecuted)
{
    TestEvent* const first = event(1);
    queue_->add(first);
    queue_->add(event(2));
    const std::unique_ptr<ThreadsafeEventQueue::Event> taken(queue_->getFirst());
    EXPECT_EQ(taken.get(), first);
    EXPECT_TRUE(queue_->executeFirst());
    EXPECT_EQ(ran_, std::vector<int>({2}));
}

TEST_F(ThreadsafeEventQueueTest, AnEventTakenOutCanBeAddedAgain)
{
    queue_->add(event(1));
    queue_->add(event(2));
    queue_->add(queue_->getFirst());
    while (queue_->executeFirst()) {
    }
    EXPECT_EQ(ran_, std::vector<int>({2, 1}));
}

TEST_F(ThreadsafeEventQueueTest, NullIsNotQueued)
{
    queue_->add(nullptr);
    EXPECT_FALSE(queue_->executeFirst());
    queue_->add(event(1));
    queue_->add(nullptr);
    queue_->add(event(2));
    while (queue_->executeFirst()) {
    }
    EXPECT_EQ(ran_, std::vector<int>({1, 2}));
}

TEST_F(ThreadsafeEventQueueTest, ExecutesWithTheMutexReleasedAndQueuesBehindTheRest)
{
    queue_->add(new TestEvent([this] {
        addFromAnotherThread(*queue_);
        queue_->add(event(3));
    }));
    queue_->add(event(2));
    EXPECT_TRUE(queue_->executeFirst());
    EXPECT_TRUE(ran_.empty()) << "what an event queues runs later";
    while (queue_->executeFirst()) {
    }
    EXPECT_EQ(ran_, std::vector<int>({2, 3}));
}

TEST_F(ThreadsafeEventQueueTest, DeletesAnExecutedEventWithTheMutexReleased)
{
    queue_->add(new TestEvent({}, [this] { addFromAnotherThread(*queue_); }));
    EXPECT_TRUE(queue_->executeFirst());
    EXPECT_TRUE(queue_->executeFirst());
    EXPECT_FALSE(queue_->executeFirst());
}

TEST_F(ThreadsafeEventQueueTest, NestedExecutionTakesTheNextEvent)
{
    queue_->add(new TestEvent([this] {
        EXPECT_TRUE(queue_->executeFirst());
        EXPECT_FALSE(queue_->executeFirst());
        ran_.push_back(1);
    }));
    queue_->add(event(2));
    EXPECT_TRUE(queue_->executeFirst());
    EXPECT_EQ(ran_, std::vector<int>({2, 1}));
}

TEST_F(ThreadsafeEventQueueTest, ClearDeletesWithoutExecuting)
{
    for (int number : {1, 2, 3})
        queue_->add(event(number));
    queue_->clear();
    EXPECT_EQ(living, 0);
    EXPECT_FALSE(queue_->executeFirst());
    EXPECT_TRUE(ran_.empty());
    queue_->add(event(4));
    EXPECT_TRUE(queue_->executeFirst());
    EXPECT_EQ(ran_, std::vector<int>({4}));
}

TEST_F(ThreadsafeEventQueueTest, ClearDeletesInOrderWithTheMutexReleased)
{
    for (int number : {1, 2})
        queue_->add(new TestEvent({}, [this, number] {
            ran_.push_back(number);
            addFromAnotherThread(*queue_);
        }));
    queue_->clear();
    EXPECT_EQ(ran_, std::vector<int>({1, 2}));
    EXPECT_EQ(living, 2) << "what the destructors queued stays";
    EXPECT_TRUE(queue_->executeFirst());
    EXPECT_TRUE(queue_->executeFirst());
    EXPECT_FALSE(queue_->executeFirst());
}

TEST_F(ThreadsafeEventQueueTest, ADestructorMayTakeFromAQueueThatIsCleared)
{
    queue_->add(new TestEvent({}, [this] { EXPECT_FALSE(queue_->executeFirst()); }));
    queue_->add(event(2));
    queue_->clear();
    EXPECT_TRUE(ran_.empty());
}

TEST_F(ThreadsafeEventQueueTest, DestructionDeletesWhatIsQueuedAndWhatThatQueues)
{
    ThreadsafeEventQueue* const queue = queue_.get();
    queue->add(new TestEvent({}, [this, queue] { queue->add(event(2)); }));
    queue->add(event(3));
    queue_.reset();
    EXPECT_EQ(living, 0);
    EXPECT_TRUE(ran_.empty());
}

TEST_F(ThreadsafeEventQueueTest, AnEventMayDeleteTheQueueThatRunsIt)
{
    bool isQueueGone = false;
    queue_->add(new TestEvent([this, &isQueueGone] {
        queue_.reset();
        isQueueGone = true;
    }));
    queue_->add(event(2));
    EXPECT_TRUE(queue_->executeFirst());
    EXPECT_TRUE(isQueueGone);
    EXPECT_EQ(living, 0);
    EXPECT_TRUE(ran_.empty());
}

}  // namespace
