#include <csignal>
#include <cstdlib>
#include <future>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

#include "receiver/console/signal_watch.h"

namespace receiver {
namespace {

sigset_t blockedSignals()
{
    sigset_t blocked;
    ::pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    return blocked;
}

class SignalWatchFor : public ::testing::TestWithParam<std::pair<int, const char*>> {};

TEST_P(SignalWatchFor, TheFirstOneIsReportedInsteadOfEndingTheProcess)
{
    const auto [number, name] = GetParam();
    std::signal(number, SIG_DFL);  // a job in the background may ignore it
    std::promise<std::string> heard;
    {
        const SignalWatch watch([&heard](const std::string& what) { heard.set_value(what); });
        ::kill(::getpid(), number);
        EXPECT_EQ(heard.get_future().get(), name);
    }
    const sigset_t blocked = blockedSignals();
    EXPECT_EQ(::sigismember(&blocked, number), 0);  // all is as before
}

INSTANTIATE_TEST_SUITE_P(Signals, SignalWatchFor,
                         ::testing::Values(std::pair(SIGINT, "SIGINT"),
                                           std::pair(SIGTERM, "SIGTERM"),
                                           std::pair(SIGHUP, "SIGHUP")),
                         [](const auto& signal) { return std::string(signal.param.second); });

TEST(SignalWatchDeathTest, TheSecondOneEndsTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            std::signal(SIGINT, SIG_DFL);
            std::promise<void> heard;
            const SignalWatch watch([&heard](const std::string&) { heard.set_value(); });
            ::kill(::getpid(), SIGINT);
            heard.get_future().wait();
            ::kill(::getpid(), SIGTERM);
            for (;;)
                ::pause();
        },
        ::testing::KilledBySignal(SIGTERM), "");
}

TEST(SignalWatchDeathTest, TheSecondOneEndsTheProcessWhileTheFirstIsStillBeingReported)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            std::signal(SIGINT, SIG_DFL);  // a job in the background may ignore it
            const SignalWatch watch([](const std::string&) {
                ::kill(::getpid(), SIGTERM);
                std::_Exit(0);  // not reached
            });
            ::kill(::getpid(), SIGINT);
            for (;;)
                ::pause();
        },
        ::testing::KilledBySignal(SIGTERM), "");
}

TEST(SignalWatch, WhatIsIgnoredStaysSo)
{
    const auto before = std::signal(SIGHUP, SIG_IGN);
    int count = 0;
    {
        std::promise<void> heard;
        const SignalWatch watch([&](const std::string& name) {
            EXPECT_EQ(name, "SIGTERM");
            ++count;
            heard.set_value();
        });
        ::kill(::getpid(), SIGHUP);
        ::kill(::getpid(), SIGTERM);
        heard.get_future().wait();
    }
    EXPECT_EQ(count, 1);
    std::signal(SIGHUP, before);
}

TEST(SignalWatch, WithoutASignalNothingIsReported)
{
    const SignalWatch watch([](const std::string&) { FAIL(); });
}

}  // namespace
}  // namespace receiver
