#include <gtest/gtest.h>

#include "inspector/survey/stream_time.h"

namespace inspector::test {
namespace {

constexpr uint64_t ms = 27'000;
constexpr uint64_t clockEnd = (uint64_t(1) << 33) * 300;

TEST(StreamTime, IsUnknownWithoutAClock)
{
    EXPECT_FALSE(StreamTime().now());
}

TEST(StreamTime, FollowsTheFirstClockAlone)
{
    StreamTime time;
    time.note(100, 5 * ms, false);
    time.note(200, 900'000 * ms, false);
    time.note(100, 45 * ms, false);
    ASSERT_TRUE(time.now());
    EXPECT_EQ(time.now()->ms, 40U);
    EXPECT_EQ(time.now()->timeLine, 0U);
}

TEST(StreamTime, GoesOnWhereTheClockBeginsAnew)
{
    StreamTime time;
    time.note(1, clockEnd - 10 * ms, false);
    time.note(1, 30 * ms, false);
    EXPECT_EQ(time.now()->ms, 40U);
}

TEST(StreamTime, BeginsATimeLineAtAJump)
{
    const auto after = [](uint64_t ticks, bool isSaid, bool restarts) {
        StreamTime time;
        time.note(1, 5'000 * ms, false);
        time.note(1, 5'500 * ms, false);
        if (restarts)
            time.restart();
        time.note(1, ticks, isSaid);
        EXPECT_EQ(time.totalMs(), time.now()->timeLine == 0 ? 600U : 500U);
        return time.now()->timeLine;
    };
    EXPECT_EQ(after(5'600 * ms, false, false), 0U);
    EXPECT_EQ(after(5'600 * ms, true, false), 1U) << "the stream says so";
    EXPECT_EQ(after(5'600 * ms, false, true), 1U) << "the input begins anew";
    EXPECT_EQ(after(5'400 * ms, false, false), 1U) << "back";
    EXPECT_EQ(after(6'600 * ms, false, false), 1U) << "more than a second";
}

TEST(StreamTime, KnowsOfWhatIsAfterAJumpTheTimeSinceIt)
{
    EXPECT_EQ(msSince({0, 100}, {0, 350}), 250U);
    EXPECT_EQ(msSince({0, 100}, {1, 350}), 350U);
}

TEST(StreamTime, FollowsAnotherClockWhereTheFirstEnds)
{
    StreamTime time;
    for (uint64_t at = 0; at <= 5'000; at += 40) {
        time.note(1, at * ms, false);
        time.note(2, (70'000 + at) * ms, false);
    }
    EXPECT_EQ(time.now()->ms, 5'000U);
    for (uint64_t at = 5'040; at <= 20'000; at += 40) {
        time.note(2, (70'000 + at) * ms, false);
        EXPECT_NEAR(double(time.now()->ms), double(at), 100) << "it does not stand still";
    }
    EXPECT_EQ(time.now()->timeLine, 0U) << "what was measured before goes on";
    for (uint64_t at = 40; at <= 2'000; at += 40) {
        time.note(1, at * ms, false);
        time.note(2, (90'000 + at) * ms, false);
        EXPECT_NEAR(double(time.now()->ms), double(20'000 + at), 100) << "the first is back";
    }
}

}  // namespace
}  // namespace inspector::test
