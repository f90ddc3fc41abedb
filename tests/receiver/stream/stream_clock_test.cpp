#include <gtest/gtest.h>

#include "receiver/stream/stream_clock.h"

namespace receiver {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr uint64_t second = 27000000;

class StreamClockTest : public ::testing::Test {
protected:
    milliseconds dueAfterStart(double speed) { return dueAfterStart(speed, start_ + seconds(3)); }
    milliseconds dueAfterStart(double speed, StreamClock::Time now)
    {
        return std::chrono::duration_cast<milliseconds>(*clock_.due(speed, now) - start_);
    }

    StreamClock clock_;
    const StreamClock::Time start_ = StreamClock::Time() + seconds(1000);
};

TEST_F(StreamClockTest, WithoutAClockNothingIsDue)
{
    EXPECT_FALSE(clock_.due(1, start_));
    EXPECT_FALSE(clock_.isKnown());
}

TEST_F(StreamClockTest, ABitOfStreamIsDueWhenItsTimeHasPassed)
{
    clock_.note(5 * second, false, start_);
    clock_.note(6 * second, false, start_ + milliseconds(1));
    clock_.note(7 * second, false, start_ + milliseconds(2));
    EXPECT_TRUE(clock_.isKnown());
    EXPECT_EQ(dueAfterStart(1), seconds(2));
    EXPECT_EQ(dueAfterStart(2), seconds(1));
    EXPECT_EQ(dueAfterStart(0.5), seconds(4));
}

TEST_F(StreamClockTest, AClockThatJumpsBeginsANewTimeLine)
{
    const std::tuple<const char*, uint64_t, bool> cases[] = {
        {"back", 3 * second, false},
        {"far ahead", 100 * second, false},
        {"more than a second ahead", 6 * second + 1, false},
        {"as it says itself", 6 * second, true},
    };
    for (const auto& [why, ticks, discontinuity] : cases) {
        clock_ = {};
        EXPECT_FALSE(clock_.note(5 * second, false, start_ - seconds(9))) << "the first of all";
        EXPECT_TRUE(clock_.note(ticks, discontinuity, start_)) << why;
        EXPECT_EQ(dueAfterStart(1), seconds(0)) << why;
        EXPECT_FALSE(clock_.note(ticks + second, false, start_));
        EXPECT_EQ(dueAfterStart(1), seconds(1)) << why;
    }
}

TEST_F(StreamClockTest, NobodyWaitsForMoreThanASecondOfStream)
{
    const uint64_t step = second * 9 / 10;
    uint64_t ticks = 0;
    clock_.note(ticks, false, start_);
    for (int count = 0; count < 30; ++count)
        clock_.note(ticks += step, false, start_);
    EXPECT_EQ(dueAfterStart(1, start_), seconds(1));
    EXPECT_EQ(dueAfterStart(1, start_ + seconds(1)), seconds(1)) << "it goes on from there";
    clock_.note(ticks += step, false, start_ + seconds(1));
    EXPECT_EQ(dueAfterStart(1, start_ + seconds(1)), milliseconds(1900));
    clock_.note(ticks += step, false, start_ + seconds(1));
    EXPECT_EQ(dueAfterStart(0.25, start_ + seconds(1)), seconds(5)) << "of stream, not of time";
}

TEST_F(StreamClockTest, AStreamThatBeginsAgainDoesToo)
{
    clock_.note(5 * second, false, start_ - seconds(9));
    clock_.restart();
    EXPECT_FALSE(clock_.due(1, start_));
    EXPECT_TRUE(clock_.isKnown());
    clock_.note(5 * second, false, start_);
    EXPECT_EQ(dueAfterStart(1), seconds(0));
}

TEST_F(StreamClockTest, WhatPassedIsKnownWithoutTheJumps)
{
    EXPECT_EQ(clock_.elapsed(), 0u);
    clock_.note(5 * second, false, start_);
    EXPECT_EQ(clock_.elapsed(), 0u);
    clock_.note(5 * second + second / 2, false, start_);
    clock_.note(6 * second + second / 4, false, start_);
    EXPECT_EQ(clock_.elapsed(), 1250u);
    clock_.note(100 * second, false, start_);
    clock_.note(3 * second, false, start_);
    clock_.note(3 * second + second / 2, true, start_);
    EXPECT_EQ(clock_.elapsed(), 1250u) << "ahead, back, and as the stream says";
    clock_.note(4 * second, false, start_);
    EXPECT_EQ(clock_.elapsed(), 1750u);
    clock_.restart();
    clock_.note(4 * second + second / 2, false, start_);
    EXPECT_EQ(clock_.elapsed(), 1750u);
    clock_.note(5 * second, false, start_);
    EXPECT_EQ(clock_.elapsed(), 2250u);
}

}  // namespace
}  // namespace receiver
