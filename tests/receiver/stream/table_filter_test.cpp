#include <gtest/gtest.h>

#include "receiver/stream/table_filter.h"
#include "tests/receiver/support/stream_builder.h"

namespace receiver {
namespace {

const unsigned hbbtv = 0x0010;

SectionBytes table(unsigned type, unsigned version = 0, bool current = true)
{
    return makeSection({0x74, type, version, current}, {0xF0, 0, 0xF0, 0});
}

StreamDescription stream(uint16_t pid, std::vector<uint16_t> types = {}, uint8_t streamType = 5)
{
    StreamDescription description;
    description.streamType = streamType;
    description.pid = pid;
    description.hasApplicationSignalling = !types.empty();
    for (const uint16_t type : types)
        description.applicationTypes.push_back({type, 0});
    return description;
}

TEST(TableFilter, ListensToStreamsOfPrivateSectionsAlone)
{
    TableFilter filter;
    filter.setStreams({stream(1, {}, 0x1B), stream(2), stream(3, {hbbtv}), stream(4, {}, 0x0B)});
    EXPECT_EQ(filter.pids(), (std::vector<uint16_t>{2, 3}));
    EXPECT_TRUE(filter.isOnPid(3));
    EXPECT_FALSE(filter.isOnPid(4));
    filter.setStreams({});
    EXPECT_TRUE(filter.pids().empty());
}

TEST(TableFilter, ThereMayBeATableUnlessThePmtNamesOtherTypesAlone)
{
    TableFilter filter;
    EXPECT_FALSE(filter.mayHaveTable());
    filter.setStreams({stream(1)});
    EXPECT_TRUE(filter.mayHaveTable());
    filter.setStreams({stream(1, {1}), stream(2, {}, 0x1B)});
    EXPECT_FALSE(filter.mayHaveTable());
    filter.setStreams({stream(1, {1}), stream(2, {1, hbbtv})});
    EXPECT_TRUE(filter.mayHaveTable());
    filter.setStreams({stream(1, {1}), stream(2)});
    EXPECT_TRUE(filter.mayHaveTable());
    filter.setStreams({});
    EXPECT_FALSE(filter.mayHaveTable());
}

TEST(TableFilter, LetsHbbTVTablesInForceThroughAlone)
{
    TableFilter filter;
    filter.setStreams({stream(1, {hbbtv})});
    EXPECT_EQ(filter.reasonAgainst(1, table(hbbtv)), "");
    EXPECT_EQ(filter.reasonAgainst(1, table(0x8000 | hbbtv)), "");  // test_application_flag
    EXPECT_EQ(filter.reasonAgainst(1, table(1)), "an AIT of application type 1");
    EXPECT_EQ(filter.reasonAgainst(1, table(hbbtv, 0, false)), "an AIT that is not in force yet");
    EXPECT_EQ(filter.reasonAgainst(1, makeSection({0x4E, hbbtv}, {})), "a section of table 78");
}

TEST(TableFilter, TakesTheFirstPidThatThePmtNamesForHbbTV)
{
    TableFilter filter;
    filter.setStreams({stream(1, {1}), stream(2, {1, hbbtv}), stream(3, {hbbtv})});
    EXPECT_EQ(filter.reasonAgainst(3, table(hbbtv)), "a second AIT of the service");
    EXPECT_EQ(filter.reasonAgainst(1, table(hbbtv)), "a second AIT of the service");
    EXPECT_EQ(filter.reasonAgainst(2, table(hbbtv)), "");
}

TEST(TableFilter, ListensWhereThePmtDoesNotSay)
{
    TableFilter filter;
    filter.setStreams({stream(1), stream(2), stream(3)});
    EXPECT_EQ(filter.reasonAgainst(1, table(1)), "an AIT of application type 1");
    EXPECT_NE(filter.reasonAgainst(3, table(hbbtv, 7)), "");  // 1 and 2 get a chance first
    EXPECT_NE(filter.reasonAgainst(2, table(hbbtv, 1)), "");
    EXPECT_NE(filter.reasonAgainst(2, table(hbbtv, 2)), "");
    EXPECT_EQ(filter.reasonAgainst(2, table(hbbtv, 1)), "");  // it has come round
    EXPECT_EQ(filter.reasonAgainst(3, table(hbbtv, 7)), "a second AIT of the service");
    EXPECT_EQ(filter.reasonAgainst(1, table(hbbtv)), "a second AIT of the service");
}

TEST(TableFilter, TakesTheFirstOfThePmtAtOnce)
{
    TableFilter filter;
    filter.setStreams({stream(1), stream(2)});
    EXPECT_EQ(filter.reasonAgainst(1, table(hbbtv)), "");
}

TEST(TableFilter, APmtThatSaysNothingNewChangesNothing)
{
    TableFilter filter;
    filter.setStreams({stream(1), stream(2)});
    filter.reasonAgainst(2, table(hbbtv));
    EXPECT_EQ(filter.reasonAgainst(2, table(hbbtv)), "");
    filter.setStreams({stream(1), stream(2), stream(3)});
    EXPECT_EQ(filter.reasonAgainst(2, table(hbbtv)), "");
    filter.setStreams({stream(2), stream(3, {hbbtv})});
    EXPECT_EQ(filter.reasonAgainst(2, table(hbbtv)), "a second AIT of the service");
    filter.setStreams({stream(4)});
    EXPECT_EQ(filter.reasonAgainst(4, table(hbbtv)), "");
}

}  // namespace
}  // namespace receiver
