// The small helpers.

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <limits>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "foundation/utilities.h"
#include "tests/foundation/local_time_zone.h"
#include "tests/foundation/time_functions.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

// The program is linked with --wrap=clock_gettime.
std::optional<timespec> clockStandsAt;

}  // namespace

extern "C" {

int VESTA_TIME_FUNCTION(__real_, clock_gettime)(clockid_t clock, timespec* moment);

int VESTA_TIME_FUNCTION(__wrap_, clock_gettime)(clockid_t clock, timespec* moment)
{
    if (!clockStandsAt || clock != CLOCK_REALTIME)
        return VESTA_TIME_FUNCTION(__real_, clock_gettime)(clock, moment);
    *moment = *clockStandsAt;
    return 0;
}

}  // extern "C"

namespace {

/// The moment as getFormattedTime() writes it, without the microseconds.
std::string timeOfDay(const timespec& moment)
{
    std::tm local = {};
    localtime_r(&moment.tv_sec, &local);
    char text[16] = "";
    std::strftime(text, sizeof(text), "%H:%M:%S", &local);
    return text;
}

std::string withMicroseconds(const timespec& moment)
{
    std::string microseconds = std::to_string(moment.tv_nsec / 1000);
    microseconds.insert(0, 6 - microseconds.size(), '0');
    return timeOfDay(moment) + ":" + microseconds;
}

TEST(Utilities, FormattedTimeLiesBetweenTheTimesBeforeAndAfterTheCall)
{
    timespec before = {};
    timespec after = {};
    clock_gettime(CLOCK_REALTIME, &before);
    const std::string text = getFormattedTime();
    clock_gettime(CLOCK_REALTIME, &after);

    ASSERT_EQ(text.size(), 15u);
    if (timeOfDay(before) <= timeOfDay(after)) {  // not across midnight
        EXPECT_GE(text, withMicroseconds(before));
        EXPECT_LE(text, withMicroseconds(after));
    }
    for (size_t place = 0; place < text.size(); ++place) {
        if (place == 2 || place == 5 || place == 8)
            EXPECT_EQ(text[place], ':') << text;
        else
            EXPECT_TRUE(text[place] >= '0' && text[place] <= '9') << text;
    }
}

TEST(Utilities, FormattedTimeTruncatesNanosecondsAndPadsWithZeros)
{
    for (const long nanoseconds : {0L, 999L, 1000L, 1999L, 123456789L, 999999999L}) {
        timespec moment = {};
        moment.tv_sec = 1700000000;
        moment.tv_nsec = nanoseconds;
        clockStandsAt = moment;
        EXPECT_EQ(getFormattedTime(), withMicroseconds(moment)) << nanoseconds;
    }
    clockStandsAt.reset();
}

TEST(Utilities, FormattedTimeIsTheLocalOne)
{
    const LocalTimeZone zone("XXX-05:45");
    timespec moment = {};
    moment.tv_sec = 1000000000;  // 2001-09-09, 01:46:40 UTC
    moment.tv_nsec = 123456000;
    clockStandsAt = moment;
    EXPECT_STREQ(getFormattedTime(), "07:31:40:123456");
    clockStandsAt.reset();
}

TEST(Utilities, FormattedTimeFollowsTheTimeZoneWithinTheSameSecond)
{
    timespec moment = {};
    moment.tv_sec = 1000000000;  // 2001-09-09, 01:46:40 UTC
    clockStandsAt = moment;
    const std::pair<const char*, const char*> zones[] = {
        {"UTC0", "01:46:40:000000"},
        {"XXX-05:45", "07:31:40:000000"},
        {"XXX-06:45", "08:31:40:000000"},
    };
    for (const auto& [name, time] : zones) {
        const LocalTimeZone zone(name);
        EXPECT_STREQ(getFormattedTime(), time);
    }
    clockStandsAt.reset();
}

TEST(Utilities, FormattedTimeIsInOneBufferThatEveryCallOfEveryThreadOverwrites)
{
    const void* const first = getFormattedTime();
    EXPECT_EQ(static_cast<const void*>(getFormattedTime()), first);
    const void* ofAnotherThread = nullptr;
    std::thread([&ofAnotherThread] { ofAnotherThread = getFormattedTime(); }).join();
    EXPECT_EQ(ofAnotherThread, first);
}

TEST(Utilities, MicrosecondIncreaseNormalisesByTruncatingDivision)
{
    const struct {
        const char* why;
        long seconds;
        long microseconds;
        int increase;
        long newSeconds;
        long newMicroseconds;
    } cases[] = {
        {"nothing", 5, 10, 0, 5, 10},
        {"no carry", 5, 10, 20, 5, 30},
        {"one short of a second", 5, 0, 999999, 5, 999999},
        {"exactly a second", 5, 1, 999999, 6, 0},
        {"one beyond a second", 5, 999999, 2, 6, 1},
        {"many seconds", 5, 500000, 12600000, 18, 100000},
        {"a negative sum stays negative", 5, 10, -20, 5, -10},
        {"a negative sum of more than a second", 5, 0, -2500000, 3, -500000},
        {"back to nothing", 5, 700000, -700000, 5, 0},
        {"the largest increase", 0, 0, std::numeric_limits<int>::max(), 2147, 483647},
        {"a sum beyond 32 bits wraps", 0, 999999, std::numeric_limits<int>::max(), -2146, -483650},
    };
    for (const auto& each : cases) {
        timeval time = {};
        time.tv_sec = static_cast<time_t>(each.seconds);
        time.tv_usec = static_cast<suseconds_t>(each.microseconds);
        usec_increase(time, each.increase);
        EXPECT_EQ(static_cast<long>(time.tv_sec), each.newSeconds) << each.why;
        EXPECT_EQ(static_cast<long>(time.tv_usec), each.newMicroseconds) << each.why;
    }
}

TEST(Utilities, HexadecimalNumberStringIsOneDigitOrMoreAndNothingElse)
{
    for (const char* text : {"0", "9", "a", "f", "A", "F", "00aF", "0123456789abcdefABCDEF"})
        EXPECT_TRUE(isHexadecimalNumberString(text)) << text;
    for (const char* text : {"", "0x1", "x", "g", "G", "/", ":", "@", "`", " 1", "1 ", "-1", "+1",
                             "1.0", "1\n", "\xC3\xA4"})
        EXPECT_FALSE(isHexadecimalNumberString(text)) << text;
    EXPECT_FALSE(isHexadecimalNumberString(std::string("1\0", 2)));
}

TEST(Utilities, EndsWithComparesTheLastCharacters)
{
    const struct {
        std::string text;
        std::string suffix;
        bool matches;
    } cases[] = {
        {"index.aitx", ".aitx", true},
        {"x", ".aitx", false},
        {".aitx", ".aitx", true},
        {"aitx", ".aitx", false},
        {"index.AITX", ".aitx", false},
        {"index.aitx", "", true},
        {"", "", true},
        {"", "x", false},
        {"index.aitx?", ".aitx", false},
        {"a.aitx.aitx", ".aitx", true},
    };
    for (const auto& each : cases)
        EXPECT_EQ(endsWith(each.text, each.suffix), each.matches)
            << '"' << each.text << "\" \"" << each.suffix << '"';
    EXPECT_TRUE(endsWith(std::string("a\0b", 3), std::string("\0b", 2)));
}

TEST(Utilities, ToIntTruncatesAndKeepsToTheLimits)
{
    const int lowest = std::numeric_limits<int>::min();
    const int highest = std::numeric_limits<int>::max();
    const std::pair<double, int> cases[] = {
        {0.0, 0},
        {-0.0, 0},
        {1.9, 1},
        {-1.9, -1},
        {2147483646.5, highest - 1},
        {2147483647.0, highest},
        {2147483648.0, highest},
        {-2147483648.0, lowest},
        {-2147483648.5, lowest},
        {1e300, highest},
        {-1e300, lowest},
        {HUGE_VAL, highest},
        {-HUGE_VAL, lowest},
        {std::numeric_limits<double>::quiet_NaN(), 0},
    };
    for (const auto& [number, expected] : cases)
        EXPECT_EQ(toInt(number), expected) << number;
}

}  // namespace
