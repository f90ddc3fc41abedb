#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "receiver/stream/rtp_reorder.h"

namespace receiver {
namespace {

using Numbers = std::vector<unsigned>;

class RtpReorderTest : public ::testing::Test {
protected:
    void add(unsigned number, uint32_t source = 1)
    {
        const std::string payload = std::to_string(number);
        RtpPacket packet;
        packet.sequenceNumber = static_cast<uint16_t>(number);
        packet.source = source;
        packet.payload = reinterpret_cast<const unsigned char*>(payload.data());
        packet.size = payload.size();
        reorder_.add(packet, now_);
    }

    void addAll(const Numbers& numbers, uint32_t source = 1)
    {
        for (const unsigned number : numbers)
            add(number, source);
    }

    Numbers takeHandedOn() { return std::exchange(handedOn_, {}); }

    /// Lost, out of order, duplicates and late ones.
    std::vector<uint64_t> counted() const
    {
        const RtpReorder::Statistics& counts = reorder_.statistics();
        return {counts.lost, counts.reordered, counts.duplicates, counts.late};
    }

    Numbers handedOn_;
    RtpReorder reorder_{[this](const unsigned char* payload, size_t size) {
        const std::string text(payload, payload + size);
        handedOn_.push_back(static_cast<unsigned>(std::stoul(text)));
    }};
    RtpReorder::Clock::time_point now_;
};

using Counts = std::vector<uint64_t>;

TEST_F(RtpReorderTest, WhatComesInOrderIsHandedOnAtOnce)
{
    addAll({7, 8, 9});
    EXPECT_EQ(takeHandedOn(), (Numbers{7, 8, 9}));
    EXPECT_EQ(counted(), (Counts{0, 0, 0, 0}));
    EXPECT_FALSE(reorder_.due());
}

TEST_F(RtpReorderTest, WhatComesEarlyWaitsForWhatIsMissing)
{
    addAll({1, 4, 3});
    EXPECT_EQ(takeHandedOn(), (Numbers{1}));
    add(2);
    EXPECT_EQ(takeHandedOn(), (Numbers{2, 3, 4}));
    EXPECT_EQ(counted(), (Counts{0, 2, 0, 0}));
    EXPECT_FALSE(reorder_.due());
}

TEST_F(RtpReorderTest, ItWaitsNoLongerThanSaid)
{
    addAll({1, 3});
    now_ += RtpReorder::longestWait / 2;
    add(5);
    ASSERT_TRUE(reorder_.due());
    EXPECT_EQ(*reorder_.due(), now_ + RtpReorder::longestWait / 2);
    reorder_.giveUpGaps(now_);
    EXPECT_EQ(takeHandedOn(), (Numbers{1}));
    now_ += RtpReorder::longestWait / 2;
    reorder_.giveUpGaps(now_);
    EXPECT_EQ(takeHandedOn(), (Numbers{3}));
    now_ += RtpReorder::longestWait / 2;
    reorder_.giveUpGaps(now_);
    EXPECT_EQ(takeHandedOn(), (Numbers{5}));
    EXPECT_FALSE(reorder_.due());
    EXPECT_EQ(counted(), (Counts{2, 0, 0, 0}));
}

TEST_F(RtpReorderTest, TheOneThatHasWaitedLongestDecidesWhereverItStands)
{
    addAll({1, 4});
    now_ += RtpReorder::longestWait / 2;
    add(3);
    now_ += RtpReorder::longestWait / 2;
    reorder_.giveUpGaps(now_);
    EXPECT_EQ(takeHandedOn(), (Numbers{1, 3, 4}));
}

TEST_F(RtpReorderTest, NoMoreWaitThanTheWindowHolds)
{
    const unsigned window = RtpReorder::window;
    add(0);
    for (unsigned number = 2; number <= window; ++number)
        add(number);
    EXPECT_EQ(takeHandedOn(), (Numbers{0}));
    add(window + 1);
    const Numbers handedOn = takeHandedOn();
    ASSERT_EQ(handedOn.size(), window);
    EXPECT_EQ(handedOn.front(), 2u);
    EXPECT_EQ(handedOn.back(), window + 1);
    EXPECT_EQ(counted(), (Counts{1, 0, 0, 0}));
}

TEST_F(RtpReorderTest, ALongLossIsCountedAndLeavesOnlyTheWindowToWaitFor)
{
    addAll({0, 2, 1000});
    EXPECT_EQ(takeHandedOn(), (Numbers{0, 2}));
    EXPECT_EQ(counted(), (Counts{1000 - RtpReorder::window - 1, 0, 0, 0}));
    now_ += RtpReorder::longestWait;
    reorder_.giveUpGaps(now_);
    EXPECT_EQ(takeHandedOn(), (Numbers{1000}));
    EXPECT_EQ(counted(), (Counts{998, 0, 0, 0}));
}

TEST_F(RtpReorderTest, WhatComesTooLateIsDroppedAndSoIsWhatComesTwice)
{
    addAll({1, 3, 3, 1});
    now_ += RtpReorder::longestWait;
    reorder_.giveUpGaps(now_);
    addAll({2, 3, 4, 4});
    EXPECT_EQ(takeHandedOn(), (Numbers{1, 3, 4}));
    EXPECT_EQ(counted(), (Counts{1, 0, 4, 1}));
}

TEST_F(RtpReorderTest, WhatCameBeforeTheFirstIsLate)
{
    addAll({0, 65535, 1});
    EXPECT_EQ(takeHandedOn(), (Numbers{0, 1}));
    EXPECT_EQ(counted(), (Counts{0, 0, 0, 1}));
}

TEST_F(RtpReorderTest, NumbersWrapAround)
{
    addAll({65533, 65534, 0, 1, 65535, 2});
    EXPECT_EQ(takeHandedOn(), (Numbers{65533, 65534, 65535, 0, 1, 2}));
    EXPECT_EQ(counted(), (Counts{0, 1, 0, 0}));
}

TEST_F(RtpReorderTest, NumbersWrapAroundAgainAndAgain)
{
    for (unsigned number = 0; number < 3 * 65536; ++number)
        add(number);
    EXPECT_EQ(handedOn_.size(), 3u * 65536);
    EXPECT_EQ(counted(), (Counts{0, 0, 0, 0}));
}

TEST_F(RtpReorderTest, AStrayPacketMovesNothing)
{
    addAll({1, 2});
    add(30000);
    add(3);
    add(30001);
    add(900, 2);
    add(4);
    add(901, 2);
    add(5);
    EXPECT_EQ(takeHandedOn(), (Numbers{1, 2, 3, 4, 5}));
    EXPECT_EQ(counted(), (Counts{0, 0, 0, 4}));
}

TEST_F(RtpReorderTest, ASenderThatBeginsAnewIsFollowedFromItsSecondPacketOn)
{
    addAll({20000, 20001, 20003});
    addAll({5, 6, 8, 7});
    EXPECT_EQ(takeHandedOn(), (Numbers{20000, 20001, 20003, 6, 7, 8}));
    EXPECT_EQ(counted(), (Counts{1, 1, 0, 1}));
}

TEST_F(RtpReorderTest, AnotherSenderIsFollowedOnceTheFirstIsSilent)
{
    addAll({10, 11}, 1);
    addAll({11, 12, 13}, 2);
    EXPECT_EQ(takeHandedOn(), (Numbers{10, 11, 12, 13}));
    add(12, 1);
    EXPECT_EQ(takeHandedOn(), Numbers{});
}

TEST_F(RtpReorderTest, AnySequenceOfNumbersEndsInOrderAndInBounds)
{
    unsigned random = 1;
    for (unsigned count = 0; count < 100000; ++count) {
        random = random * 1664525 + 1013904223;
        add((count + ((random >> 16) % 40)) & 0xFFFF);
        now_ += std::chrono::milliseconds(random >> 27);
        reorder_.giveUpGaps(now_);
    }
    const RtpReorder::Statistics& counts = reorder_.statistics();
    EXPECT_GT(handedOn_.size(), 1000u);
    EXPECT_GT(counts.lost, 0u);
    EXPECT_GT(counts.reordered, 0u);
    EXPECT_GT(counts.duplicates, 0u);
    EXPECT_GT(counts.late, 0u);
    for (size_t at = 1; at < handedOn_.size(); ++at)
        ASSERT_LT(uint16_t(handedOn_[at] - handedOn_[at - 1] - 1), 0x8000) << at;
}

}  // namespace
}  // namespace receiver
