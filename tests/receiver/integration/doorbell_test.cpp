#include <atomic>
#include <gtest/gtest.h>
#include <thread>

#include "receiver/integration/doorbell.h"

namespace receiver {
namespace {

const auto never = std::optional<Doorbell::Clock::time_point>();

bool noWork()
{
    return false;
}

TEST(Doorbell, AWaitEndsAfterOnePieceOfWork)
{
    Doorbell doorbell;
    int pieces = 2;
    doorbell.waitForWork([&pieces] { return pieces-- > 0; }, never);
    EXPECT_EQ(pieces, 1);
}

TEST(Doorbell, ARingBeforeTheWaitIsNotLost)
{
    Doorbell doorbell;
    doorbell.ring();
    doorbell.waitForWork(noWork, never);  // returns
}

TEST(Doorbell, AWaitEndsAtItsDeadline)
{
    Doorbell doorbell;
    doorbell.waitForWork(noWork, Doorbell::Clock::now());  // returns
}

TEST(Doorbell, AClosedOneLetsNobodyWait)
{
    Doorbell doorbell;
    doorbell.close();
    doorbell.waitForWork(noWork, never);
    doorbell.waitUntilSettled();  // both return
}

TEST(Doorbell, WorkMayRingAndHoldTheDoorbellItself)
{
    Doorbell doorbell;
    doorbell.waitForWork(
        [&doorbell] {
            const Doorbell::Hold hold(doorbell);
            doorbell.ring();
            return true;
        },
        never);
}

// Whoever has sent work and signalled finds it done when the waiting thread has settled: no wake-up
// is lost, however the two threads meet.
TEST(Doorbell, EverythingSentIsDoneWhenTheOtherThreadHasSettled)
{
    const int rounds = 2000;
    Doorbell doorbell;
    std::atomic<int> queued{0};
    std::atomic<bool> isOver{false};
    int done = 0;
    std::thread worker([&] {
        auto work = [&] {
            if (queued == 0)
                return false;
            --queued;
            ++done;
            return true;
        };
        while (!isOver)
            doorbell.waitForWork(work, never);
    });
    for (int round = 1; round <= rounds; ++round) {
        ++queued;  // as the library does: into the queue first, then the signal
        pthread_mutex_lock(doorbell.mutex());
        pthread_cond_signal(doorbell.condition());
        pthread_mutex_unlock(doorbell.mutex());
        doorbell.waitUntilSettled();
        ASSERT_EQ(done, round);
    }
    isOver = true;
    doorbell.close();
    worker.join();
}

// What a thread waits for may have changed without an event: it gets to look before it settles.
TEST(Doorbell, AThreadLooksAtItsConditionsBeforeItSettles)
{
    Doorbell doorbell;
    std::atomic<bool> hasChanged{false};
    bool wasSeen = false;
    std::thread waiting([&] {
        while (!wasSeen) {
            doorbell.waitForWork(noWork, never);
            wasSeen = hasChanged;
        }
        doorbell.waitForWork(noWork, never);
    });
    doorbell.waitUntilSettled();
    hasChanged = true;
    doorbell.waitUntilSettled();
    EXPECT_TRUE(wasSeen);
    doorbell.close();
    waiting.join();
}

// Whoever is pressed waits for work, but for nothing else that is under way.
TEST(Doorbell, WhoIsPressedWaitsForWorkAlone)
{
    Doorbell doorbell;
    const auto isBusy = [] { return true; };
    std::atomic<bool> isPressed{false};
    std::atomic<bool> isOver{false};
    int done = 0;
    std::thread worker([&] {
        const auto work = [&] { return done < 3 && ++done != 0; };
        while (!isOver)
            doorbell.waitForWork(work, never, isBusy);
    });
    std::thread presser([&] {
        while (doorbell.waits() == 0)
            std::this_thread::yield();
        isPressed = true;
        doorbell.ring();
    });
    doorbell.waitUntilSettled([&] { return isPressed.load(); });
    EXPECT_TRUE(isPressed);
    EXPECT_EQ(done, 3);
    isOver = true;
    doorbell.close();
    worker.join();
    presser.join();
}

// While a hold lives, the waiting thread sees nothing of what is sent.
TEST(Doorbell, WhatIsSentUnderAHoldIsFoundAtOnce)
{
    Doorbell doorbell;
    std::atomic<int> queued{0};
    int found = 0;
    std::thread waiting([&] {
        auto look = [&] {
            found = queued;
            return found != 0;
        };
        while (found == 0)
            doorbell.waitForWork(look, never);
    });
    doorbell.waitUntilSettled();
    {
        const Doorbell::Hold hold(doorbell);
        for (int count = 0; count < 3; ++count) {
            ++queued;
            pthread_mutex_lock(doorbell.mutex());  // as the library does for each event
            pthread_cond_signal(doorbell.condition());
            pthread_mutex_unlock(doorbell.mutex());
        }
    }
    waiting.join();
    EXPECT_EQ(found, 3);
}

}  // namespace
}  // namespace receiver
