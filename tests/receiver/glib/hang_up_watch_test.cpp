#include <functional>
#include <gio/gio.h>
#include <gtest/gtest.h>
#include <memory>
#include <sys/socket.h>
#include <unistd.h>

#include "receiver/glib/hang_up_watch.h"

namespace receiver {
namespace {

/// Two ends of a connection, the watched one and the other.
class HangUpWatchTest : public ::testing::Test {
protected:
    HangUpWatchTest()
    {
        int ends[2] = {-1, -1};
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
        watched_ = g_socket_new_from_fd(ends[0], nullptr);
        g_socket_set_blocking(watched_, FALSE);
        other_ = ends[1];
    }

    ~HangUpWatchTest() override
    {
        g_object_unref(watched_);
        hangUp();
    }

    void hangUp()
    {
        if (other_ >= 0)
            ::close(other_);
        other_ = -1;
    }

    /// Lets the main context do all that it has to do.
    static void settle()
    {
        while (g_main_context_iteration(nullptr, FALSE)) {
        }
    }

    GSocket* watched_ = nullptr;
    int other_ = -1;
    int calls_ = 0;
};

TEST_F(HangUpWatchTest, HearsOnceThatTheOtherSideHasGone)
{
    HangUpWatch watch([this] { ++calls_; });
    watch.start(watched_);
    settle();
    EXPECT_EQ(calls_, 0);
    hangUp();
    settle();
    settle();
    EXPECT_EQ(calls_, 1);
}

TEST_F(HangUpWatchTest, WhatIsSentStaysToBeReadAndEndsTheLook)
{
    HangUpWatch watch([this] { ++calls_; });
    watch.start(watched_);
    ASSERT_EQ(::write(other_, "x", 1), 1);
    settle();
    EXPECT_EQ(calls_, 0);
    char next = 0;
    EXPECT_EQ(g_socket_receive(watched_, &next, 1, nullptr, nullptr), 1);
    EXPECT_EQ(next, 'x');
    hangUp();
    settle();
    EXPECT_EQ(calls_, 0);
    watch.start(watched_);
    settle();
    EXPECT_EQ(calls_, 1);
}

TEST_F(HangUpWatchTest, ATimeLimitOfTheSocketIsNoHangUp)
{
    HangUpWatch watch([this] { ++calls_; });
    g_socket_set_timeout(watched_, 1);
    watch.start(watched_);
    const gint64 start = g_get_monotonic_time();
    while (g_get_monotonic_time() - start < G_USEC_PER_SEC)  // until the limit is over
        g_main_context_iteration(nullptr, TRUE);
    EXPECT_EQ(calls_, 0);
    hangUp();
    settle();
    EXPECT_EQ(calls_, 1);
}

TEST_F(HangUpWatchTest, OneThatIsStoppedOrGoneHearsNothing)
{
    HangUpWatch watch([this] { ++calls_; });
    watch.start(watched_);
    watch.stop();
    watch.stop();
    {
        HangUpWatch shortLived([this] { ++calls_; });
        shortLived.start(watched_);
    }
    hangUp();
    settle();
    EXPECT_EQ(calls_, 0);
}

TEST_F(HangUpWatchTest, MayGoWhileItIsCalled)
{
    std::unique_ptr<HangUpWatch> watch;
    watch = std::make_unique<HangUpWatch>([this, &watch] {
        ++calls_;
        watch.reset();
    });
    watch->start(watched_);
    hangUp();
    settle();
    EXPECT_EQ(calls_, 1);
}

TEST_F(HangUpWatchTest, WithoutASocketThereIsNothingToHear)
{
    HangUpWatch watch([this] { ++calls_; });
    watch.start(watched_);
    watch.start(nullptr);
    hangUp();
    settle();
    EXPECT_EQ(calls_, 0);
}

}  // namespace
}  // namespace receiver
