#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "recorder/settings.h"

using recorder::readSettings;
using recorder::Settings;

namespace {

Settings settingsOf(const char* record, const char* limit, const char* leaveOut)
{
    const auto read = readSettings(record, limit, leaveOut);
    EXPECT_TRUE(std::holds_alternative<Settings>(read));
    return std::holds_alternative<Settings>(read) ? std::get<Settings>(read) : Settings();
}

bool isRefused(const char* limit, const char* leaveOut)
{
    return std::holds_alternative<std::string>(readSettings("record", limit, leaveOut));
}

}  // namespace

TEST(Settings, AskForNothingByThemselves)
{
    EXPECT_EQ(settingsOf(nullptr, nullptr, nullptr).path, "");
    EXPECT_EQ(settingsOf("", "nonsense", "nonsense").path, "");
    const Settings settings = settingsOf("record", "", "");
    EXPECT_EQ(settings.path, "record");
    EXPECT_EQ(settings.limit, UINT64_MAX);
    EXPECT_FALSE(settings.leavesOutBodies);
    EXPECT_FALSE(settings.leavesOutQueries);
}

TEST(Settings, HaveTheNumberOfTheProcessInThePath)
{
    const std::string number = std::to_string(getpid());
    EXPECT_EQ(settingsOf("%p", nullptr, nullptr).path, number);
    EXPECT_EQ(settingsOf("a%pb%%p%", nullptr, nullptr).path, "a" + number + "b%" + number + "%");
}

TEST(Settings, HaveALimitInBytesOrLargerUnits)
{
    EXPECT_EQ(settingsOf("record", "1", nullptr).limit, 1u);
    EXPECT_EQ(settingsOf("record", "3K", nullptr).limit, 3072u);
    EXPECT_EQ(settingsOf("record", "2M", nullptr).limit, 2097152u);
    EXPECT_EQ(settingsOf("record", "5G", nullptr).limit, 5368709120u);
    EXPECT_EQ(settingsOf("record", "17179869183G", nullptr).limit, 0xFFFFFFFFC0000000u);
}

TEST(Settings, RefuseLimitsThatAreNone)
{
    for (const char* const limit : {"0", "0K", "K", "-1", "+1", " 1", "1 ", "1k", "1KB", "1.5M",
                                    "17179869184G", "18446744073709551616", "0x10"})
        EXPECT_TRUE(isRefused(limit, nullptr)) << limit;
}

TEST(Settings, SayWhatIsLeftOut)
{
    EXPECT_TRUE(settingsOf("record", nullptr, "bodies").leavesOutBodies);
    EXPECT_FALSE(settingsOf("record", nullptr, "bodies").leavesOutQueries);
    EXPECT_TRUE(settingsOf("record", nullptr, "queries").leavesOutQueries);
    const Settings both = settingsOf("record", nullptr, "queries,bodies");
    EXPECT_TRUE(both.leavesOutBodies && both.leavesOutQueries);
    for (const char* const words : {"body", "bodies,", "bodies queries", ",", "bodies,,queries"})
        EXPECT_TRUE(isRefused(nullptr, words)) << words;
}
