#include <atomic>
#include <glib.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <thread>

#include "receiver/glib/glib_main_loop.h"
#include "receiver/integration/doorbell.h"

namespace receiver {
namespace {

using Clock = Doorbell::Clock;

const auto never = std::optional<Clock::time_point>();

bool noWork()
{
    return false;
}

TEST(GLibMainLoop, ASleepEndsAtItsDeadline)
{
    GLibMainLoop loop;
    const auto deadline = Clock::now() + std::chrono::milliseconds(1);
    while (Clock::now() < deadline)
        loop.sleep(deadline);
    loop.sleep(Clock::now() - std::chrono::hours(1));  // returns
}

TEST(GLibMainLoop, AWakeUpBeforeTheSleepIsNotLost)
{
    GLibMainLoop loop;
    loop.wake();
    loop.sleep(never);  // returns
}

TEST(GLibMainLoop, WhatTheEngineWantsIsDoneInASleep)
{
    GLibMainLoop loop;
    bool isDone = false;
    g_idle_add(
        [](gpointer done) -> gboolean {
            *static_cast<bool*>(done) = true;
            return G_SOURCE_REMOVE;
        },
        &isDone);
    while (!isDone)
        loop.sleep(never);
}

TEST(GLibMainLoop, ADoorbellRingsInIt)
{
    GLibMainLoop loop;
    Doorbell doorbell(&loop);
    doorbell.ring();
    doorbell.waitForWork(noWork, never);  // returns
}

// As vesta_hbbtv_send_event() does it: what was sent is found, however the threads meet.
TEST(GLibMainLoop, ASignalOfTheConditionIsNeverLost)
{
    GLibMainLoop loop;
    Doorbell doorbell(&loop);
    const int all = 2000;
    std::atomic<int> sent{0};
    int done = 0;
    std::thread sender([&] {
        for (int count = 0; count < all; ++count) {
            ++sent;
            pthread_mutex_lock(doorbell.mutex());
            pthread_cond_signal(doorbell.condition());
            pthread_mutex_unlock(doorbell.mutex());
            doorbell.waitUntilSettled();
        }
    });
    while (done < all)
        doorbell.waitForWork(
            [&] {
                const bool isMore = done < sent;
                done += isMore ? 1 : 0;
                return isMore;
            },
            never);
    doorbell.close();
    sender.join();
    EXPECT_EQ(done, all);
}

TEST(GLibMainLoop, NothingHasSettledWhileTheBrowserIsBusy)
{
    GLibMainLoop loop;
    Doorbell doorbell(&loop);
    std::atomic<bool> isBusy{true};
    std::atomic<bool> hasSettled{false};
    std::thread sender([&] {
        doorbell.waitUntilSettled();
        hasSettled = true;
        doorbell.ring();
    });
    while (doorbell.waits() == 0)
        std::this_thread::yield();
    for (int look = 0; look < 10; ++look) {
        doorbell.ring();
        doorbell.waitForWork(noWork, never, [&] { return isBusy.load(); });
        EXPECT_FALSE(hasSettled);
    }
    isBusy = false;
    while (!hasSettled)
        doorbell.waitForWork(noWork, Clock::now() + std::chrono::milliseconds(1),
                             [&] { return isBusy.load(); });
    sender.join();
}

}  // namespace
}  // namespace receiver
