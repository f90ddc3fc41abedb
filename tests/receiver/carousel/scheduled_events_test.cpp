#include <cstddef>
#include <gtest/gtest.h>
#include <string>

#include "receiver/carousel/scheduled_events.h"
#include "tests/receiver/support/carousel_builder.h"
#include "tests/receiver/support/stream_builder.h"

namespace receiver {
namespace {

constexpr uint64_t second = 90000;
constexpr uint64_t beginsAnew = uint64_t(1) << 33;

class ScheduledEventsTest : public ::testing::Test {
protected:
    void take(const SectionFields& fields, const Bytes& descriptors)
    {
        const Bytes section = makeSection(fields, descriptors);
        events_.take(readSectionHeader(section), sectionBody(section));
    }

    /// At this clock the programme's time is that one.
    void refer(uint64_t clock, uint64_t time, unsigned numerator = 1, unsigned denominator = 1,
               bool isOfNextTimeLine = false)
    {
        take({0x3D, 0x4000},
             makeTimeReference(clock, time, numerator, denominator, isOfNextTimeLine));
    }

    void schedule(unsigned id, uint64_t time, unsigned version = 0)
    {
        take({0x3D, 0x8000, version}, makeStreamEventDescriptor(id, std::to_string(time), time));
    }

    /// "7 8" of the events that happen.
    std::string at(uint64_t clock, bool isNewTimeLine = false)
    {
        std::string ids;
        for (const StreamEvent& event : events_.advance(clock, isNewTimeLine))
            ids += (ids.empty() ? "" : " ") + std::to_string(event.id);
        return ids;
    }

    ScheduledEvents events_;
};

TEST_F(ScheduledEventsTest, HappenOnceWhenTheTimeReachesTheirs)
{
    refer(1000 * second, 5 * second);
    schedule(7, 8 * second);
    EXPECT_EQ(at(1000 * second), "");
    EXPECT_EQ(at(1003 * second - 1), "");
    EXPECT_EQ(at(1003 * second), "7");
    EXPECT_EQ(at(1004 * second), "");
    schedule(7, 8 * second);
    refer(1004 * second, 9 * second);
    EXPECT_EQ(at(1005 * second), "") << "repetitions on air";
}

TEST_F(ScheduledEventsTest, BringTheirData)
{
    refer(0, 0);
    take({0x3D, 0x8000}, makeStreamEventDescriptor(0x8001, "data", 5));
    EXPECT_EQ(at(4), "");
    const std::vector<StreamEvent> events = events_.advance(5, false);
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].id, 0x8001);
    EXPECT_EQ(events[0].data, "data");
}

TEST_F(ScheduledEventsTest, WaitUntilTheTimeIsKnown)
{
    schedule(7, 8 * second);
    EXPECT_EQ(at(100 * second), "");
    refer(100 * second, 7 * second);
    EXPECT_EQ(at(100 * second), "");
    EXPECT_EQ(at(101 * second), "7");
}

TEST_F(ScheduledEventsTest, WhatHadPassedWhenTheTimeBecameKnownDoesNotHappen)
{
    schedule(7, 8 * second);
    refer(0, 9 * second);
    schedule(8, 8 * second, 1);
    EXPECT_EQ(at(0), "");
    EXPECT_EQ(at(second), "");
}

TEST_F(ScheduledEventsTest, HappenAgainWhenTheTimeWasSetBack)
{
    refer(0, 0);
    schedule(7, 2 * second);
    EXPECT_EQ(at(0), "");
    EXPECT_EQ(at(2 * second), "7");
    refer(3 * second, 0);
    EXPECT_EQ(at(3 * second), "");
    EXPECT_EQ(at(5 * second), "7");
}

TEST_F(ScheduledEventsTest, TheEarliestIsFirst)
{
    refer(0, 0);
    take({0x3D, 0x8000}, makeStreamEventDescriptor(1, "", 300) +
                             makeStreamEventDescriptor(2, "", 100) +
                             makeStreamEventDescriptor(3, "", 200));
    EXPECT_EQ(at(0), "");
    EXPECT_EQ(at(second), "2 3 1");
}

TEST_F(ScheduledEventsTest, TheTimeMayRunSlowerOrFasterOrStandStill)
{
    const std::tuple<const char*, unsigned, unsigned, uint64_t> cases[] = {
        {"half as fast", 1, 2, 20}, {"twice as fast", 2, 1, 5}, {"one third", 1, 3, 30}};
    for (const auto& [why, numerator, denominator, reached] : cases) {
        events_ = {};
        refer(0, 0, numerator, denominator);
        schedule(7, 10);
        EXPECT_EQ(at(reached - 1), "") << why;
        EXPECT_EQ(at(reached), "7") << why;
    }
    refer(0, 0, 0, 1);
    schedule(8, 1, 1);
    EXPECT_EQ(at(0), "");
    EXPECT_EQ(at(1000 * second), "") << "it stands still";
}

TEST_F(ScheduledEventsTest, ClockAndTimeBeginAnewAfterThirtyThreeBits)
{
    refer(beginsAnew - second, beginsAnew - 2 * second);
    schedule(7, second);
    EXPECT_EQ(at(beginsAnew - second), "");
    EXPECT_EQ(at(0), "");
    EXPECT_EQ(at(2 * second - 1), "");
    EXPECT_EQ(at(2 * second), "7");
}

TEST_F(ScheduledEventsTest, AnotherVersionReplacesThemAndAnotherTableDoesNot)
{
    refer(0, 0);
    schedule(7, 10);
    take({0x3D, 0x8001, 5}, makeStreamEventDescriptor(8, "", 10));
    EXPECT_EQ(at(0), "");
    take({0x3D, 0x8000, 1, true, 0, 1}, makeStreamEventDescriptor(9, "", 20));
    take({0x3D, 0x8000, 1, true, 1, 1}, makeStreamEventDescriptor(10, "", 20));
    EXPECT_EQ(at(10), "8");
    EXPECT_EQ(at(20), "9 10");
    take({0x3D, 0x8001, 6}, {});
    refer(20, 0);
    EXPECT_EQ(at(20), "");
    EXPECT_EQ(at(40), "9 10") << "the one of the empty version is gone";
}

TEST_F(ScheduledEventsTest, AReferenceEndsWithItsTimeLine)
{
    refer(0, 0);
    schedule(7, 10);
    EXPECT_EQ(at(0), "");
    EXPECT_EQ(at(1000 * second, true), "");
    EXPECT_EQ(at(1001 * second), "") << "nothing says what time it is";
    refer(1002 * second, 9);
    EXPECT_EQ(at(1002 * second), "");
    EXPECT_EQ(at(1002 * second + 1), "7");
}

TEST_F(ScheduledEventsTest, AReferenceMayBeOfTheNextTimeLine)
{
    refer(0, 0);
    schedule(7, 10);
    refer(5000, 5, 1, 1, true);
    EXPECT_EQ(at(1), "");
    EXPECT_EQ(at(5000, true), "");
    EXPECT_EQ(at(5005), "7");
    EXPECT_EQ(at(0, true), "") << "it was of that one alone";
}

TEST_F(ScheduledEventsTest, WhatIsNoReferenceChangesNothing)
{
    refer(0, 0);
    schedule(7, 10);
    EXPECT_EQ(at(0), "");
    refer(0, 100, 1, 0);
    refer(0, 100, 0, 0);
    const Bytes whole = makeTimeReference(0, 100);
    for (size_t size = 2; size < whole.size(); ++size) {
        Bytes cut(whole.begin(), whole.begin() + std::ptrdiff_t(size));
        cut[1] = static_cast<unsigned char>(size - 2);
        take({0x3D, 0x4000}, cut);
    }
    EXPECT_EQ(at(9), "");
    EXPECT_EQ(at(10), "7");
}

TEST_F(ScheduledEventsTest, CutDescriptorsAreNoEvents)
{
    refer(0, 0);
    const Bytes whole = makeStreamEventDescriptor(7, "", 10);
    for (size_t size = 0; size < whole.size(); ++size)
        take({0x3D, unsigned(0x8000 + size)},
             Bytes(whole.begin(), whole.begin() + std::ptrdiff_t(size)));
    take({0x3D, 0x8100}, makeDescriptor(0x1A, Bytes(9, 0)));
    EXPECT_EQ(at(0), "");
    EXPECT_EQ(at(10), "");
}

TEST_F(ScheduledEventsTest, ThereIsALimitAndRoomComesBack)
{
    refer(0, 0);
    for (unsigned index = 0; index <= ScheduledEvents::mostEvents; ++index) {
        EXPECT_EQ(events_.hasLeftOut(), false);
        take({0x3D, 0x8000 + index}, makeStreamEventDescriptor(index, "", 10));
    }
    EXPECT_TRUE(events_.hasLeftOut());
    EXPECT_EQ(at(0), "");
    EXPECT_EQ(events_.advance(10, false).size(), ScheduledEvents::mostEvents);
    take({0x3D, 0x8000, 1}, {});
    take({0x3D, 0x8FFF}, makeStreamEventDescriptor(0xFFF, "", 20));
    EXPECT_EQ(at(11), "");
    EXPECT_EQ(at(20), "4095");
}

TEST_F(ScheduledEventsTest, PastOnesGiveWay)
{
    refer(0, 0);
    EXPECT_EQ(at(0), "");
    for (unsigned index = 0; index < ScheduledEvents::mostEvents; ++index)
        take({0x3D, 0x8000 + index}, makeStreamEventDescriptor(index, "", 10 + index % 2));
    EXPECT_EQ(at(1), "");
    EXPECT_EQ(events_.advance(10, false).size(), ScheduledEvents::mostEvents / 2);
    for (unsigned index = 0; index < ScheduledEvents::mostEvents / 2; ++index)
        take({0x3D, 0x9000 + index}, makeStreamEventDescriptor(index, "", 20));
    EXPECT_FALSE(events_.hasLeftOut());
    take({0x3D, 0xA000}, makeStreamEventDescriptor(1, "", 20));
    EXPECT_TRUE(events_.hasLeftOut()) << "all of them are ahead";
    EXPECT_EQ(events_.advance(11, false).size(), ScheduledEvents::mostEvents / 2);
    EXPECT_EQ(events_.advance(20, false).size(), ScheduledEvents::mostEvents / 2);
}

}  // namespace
}  // namespace receiver
