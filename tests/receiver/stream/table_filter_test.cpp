#include <algorithm>
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
    for (const uint16_t type : types)
        description.applicationTypes.push_back({type, 0});
    return description;
}

/// Why the section is left out; empty when it alone is to be sent.
std::string reasonAgainst(TableFilter& filter, uint16_t pid, const SectionBytes& section)
{
    const TableFilter::Verdict verdict = filter.judge(pid, section);
    EXPECT_EQ(verdict.toSend, verdict.reason.empty() ? std::vector<SectionBytes>{section}
                                                     : std::vector<SectionBytes>());
    return verdict.reason;
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
    EXPECT_EQ(reasonAgainst(filter, 1, table(hbbtv)), "");
    EXPECT_EQ(reasonAgainst(filter, 1, table(0x8000 | hbbtv)), "");  // test_application_flag
    EXPECT_EQ(reasonAgainst(filter, 1, table(1)), "an AIT of application type 1");
    EXPECT_EQ(reasonAgainst(filter, 1, table(hbbtv, 0, false)), "an AIT that is not in force yet");
    EXPECT_EQ(reasonAgainst(filter, 1, makeSection({0x4E, hbbtv}, {})), "a section of table 78");
}

TEST(TableFilter, TakesTheFirstPidThatThePmtNamesForHbbTV)
{
    TableFilter filter;
    filter.setStreams({stream(1, {1}), stream(2, {1, hbbtv}), stream(3, {hbbtv})});
    EXPECT_EQ(reasonAgainst(filter, 3, table(hbbtv)), "a second AIT of the service");
    EXPECT_EQ(reasonAgainst(filter, 1, table(hbbtv)), "a second AIT of the service");
    EXPECT_EQ(reasonAgainst(filter, 2, table(hbbtv)), "");
}

TEST(TableFilter, ListensWhereThePmtDoesNotSay)
{
    TableFilter filter;
    filter.setStreams({stream(1), stream(2), stream(3)});
    EXPECT_EQ(reasonAgainst(filter, 1, table(1)), "an AIT of application type 1");
    EXPECT_NE(reasonAgainst(filter, 3, table(hbbtv, 7)), "");  // 1 and 2 get a chance first
    EXPECT_NE(reasonAgainst(filter, 2, table(hbbtv, 1)), "");
    EXPECT_EQ(reasonAgainst(filter, 2, table(hbbtv, 2)), "");  // it has come round
    EXPECT_EQ(reasonAgainst(filter, 3, table(hbbtv, 7)), "a second AIT of the service");
    EXPECT_EQ(reasonAgainst(filter, 1, table(hbbtv)), "a second AIT of the service");
}

SectionBytes part(unsigned number, unsigned version = 0, size_t size = 0)
{
    return makeSection({0x74, hbbtv, version, true, number, 255}, Bytes(size, 0));
}

TEST(TableFilter, WhatWasHeldIsSentWhenTheTableComesRound)
{
    TableFilter filter;
    filter.setStreams({stream(1), stream(2), stream(3)});
    for (const unsigned number : {2u, 0u, 1u})
        EXPECT_TRUE(filter.judge(3, part(number)).toSend.empty());
    EXPECT_EQ(filter.judge(3, part(2)).toSend,
              (std::vector<SectionBytes>{part(0), part(1), part(2)}));
    EXPECT_EQ(filter.judge(3, part(0)).toSend, std::vector<SectionBytes>{part(0)});
    EXPECT_EQ(filter.heldBytes(), 0u);
}

TEST(TableFilter, OfANewVersionTheOldSectionsAreNotHeld)
{
    TableFilter filter;
    filter.setStreams({stream(1), stream(2)});
    filter.judge(2, part(0));
    EXPECT_TRUE(filter.judge(2, part(1, 1)).toSend.empty());
    EXPECT_EQ(filter.giveUpWaiting(), std::vector<SectionBytes>{part(1, 1)});
}

TEST(TableFilter, AtTheEndTheFirstPidWithATableHasTheServices)
{
    TableFilter filter;
    filter.setStreams({stream(1, {1}), stream(2), stream(3), stream(4)});
    filter.judge(1, part(7));  // the PMT says something else of it
    filter.judge(4, part(4));
    filter.judge(3, part(1));
    filter.judge(3, part(0));
    EXPECT_EQ(filter.giveUpWaiting(), (std::vector<SectionBytes>{part(0), part(1)}));
    EXPECT_TRUE(filter.giveUpWaiting().empty());
    EXPECT_EQ(reasonAgainst(filter, 2, part(0)), "a second AIT of the service");
}

TEST(TableFilter, APmtThatKeepsThePidKeepsWhatIsHeld)
{
    TableFilter filter;
    filter.setStreams({stream(1), stream(2), stream(3)});
    filter.judge(2, part(0));
    filter.judge(3, part(0));
    filter.setStreams({stream(1), stream(2)});
    EXPECT_EQ(filter.heldBytes(), part(0).size());
    EXPECT_EQ(filter.giveUpWaiting(), std::vector<SectionBytes>{part(0)});
}

TEST(TableFilter, WaitingEndsWhereItWouldTakeTooMuchMemory)
{
    TableFilter filter;
    filter.setStreams({stream(1), stream(2), stream(3)});
    const size_t size = 1000;
    size_t sent = 0;
    for (unsigned number = 0; number < 256 && sent == 0; ++number) {
        for (const uint16_t pid : {uint16_t(2), uint16_t(3)})
            sent = std::max(sent, filter.judge(pid, part(number, 0, size)).toSend.size());
        EXPECT_LE(filter.heldBytes(), TableFilter::mostHeldBytes);
    }
    EXPECT_GT(sent, 100u);
    EXPECT_EQ(filter.heldBytes(), 0u);
}

TEST(TableFilter, TakesTheFirstOfThePmtAtOnce)
{
    TableFilter filter;
    filter.setStreams({stream(1), stream(2)});
    EXPECT_EQ(reasonAgainst(filter, 1, table(hbbtv)), "");
}

TEST(TableFilter, APmtThatSaysNothingNewChangesNothing)
{
    TableFilter filter;
    filter.setStreams({stream(1), stream(2)});
    reasonAgainst(filter, 2, table(hbbtv));
    EXPECT_EQ(reasonAgainst(filter, 2, table(hbbtv)), "");
    filter.setStreams({stream(1), stream(2), stream(3)});
    EXPECT_EQ(reasonAgainst(filter, 2, table(hbbtv)), "");
    filter.setStreams({stream(2), stream(3, {hbbtv})});
    EXPECT_EQ(reasonAgainst(filter, 2, table(hbbtv)), "a second AIT of the service");
    filter.setStreams({stream(4)});
    EXPECT_EQ(reasonAgainst(filter, 4, table(hbbtv)), "");
}

}  // namespace
}  // namespace receiver
