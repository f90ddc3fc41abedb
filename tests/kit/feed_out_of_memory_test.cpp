// Memory runs out in every allocation of the feed, and of the application manager behind it.

#include "kit/ait_section.h"
#include "lifecycle/window.h"
#include "tests/kit/pmt_bytes.h"
#include "tests/memory/failing_memory.h"
#include "tests/memory/tight_library.h"
#include "tests/support/counted_memory.h"
#include "vesta_hbbtv_kit.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

constexpr long endless = 5000;
constexpr uint16_t pid = 100;

class FeedOutOfMemory : public TightLibraryTest {
protected:
    FeedOutOfMemory()
    {
        first_ = section(1, 1).number(0, 1).bytes();
        second_ = section(1, 2).number(1, 1).bytes();
    }

    /// Everything that a service needs.
    void feedService()
    {
        feed_ = hbbtv_kit_feed_create(nullptr);
        tuneAndGive();
        hbbtv_kit_feed_destroy(feed_);
    }

    void tuneAndGive()
    {
        const uint32_t tuning = hbbtv_kit_feed_tune(feed_, 1, 2, 3, nullptr);
        hbbtv_kit_feed_pmt(feed_, tuning, pmt_.data(), pmt_.size(), 0);
        for (const Bytes* const part : {&first_, &second_})
            hbbtv_kit_feed_section(feed_, tuning, pid, part->data(), part->size(), 0);
        hbbtv_kit_feed_time(feed_, 60000);
    }

    const Bytes pmt_ = pmtBytes({{5, pid, signallingDescriptor({{0x10, 1}})}});
    Bytes first_;
    Bytes second_;
    HBBTV_KitAITFeed* feed_ = nullptr;
};

TEST_F(FeedOutOfMemory, LosesNoMemory)
{
    for (const bool fromThenOn : {false, true}) {
        long number = 1;
        for (long failures = 1; failures > 0; ++number) {
            ASSERT_LT(number, endless);
            start();
            FailingMemory::fail(number, fromThenOn);
            feedService();
            failures = FailingMemory::stop();
            tickAll();
            vesta_hbbtv_shutdown();
        }
        EXPECT_GT(number, 20) << "it is the feed that allocates";
    }
    expectUsable();
}

TEST_F(FeedOutOfMemory, IsOverWithTheNextTuning)
{
    start();
    feed_ = hbbtv_kit_feed_create(nullptr);
    for (long number = 1; number < 60; ++number) {
        FailingMemory::fail(number, false);
        tuneAndGive();
        FailingMemory::stop();
    }
    const uint32_t tuning = hbbtv_kit_feed_tune(feed_, 1, 2, 3, nullptr);
    hbbtv_kit_feed_pmt(feed_, tuning, pmt_.data(), pmt_.size(), 60000);
    hbbtv_kit_feed_section(feed_, tuning, pid, first_.data(), first_.size(), 60000);
    hbbtv_kit_feed_section(feed_, tuning, pid, second_.data(), second_.size(), 60000);
    tickAll();
    EXPECT_NE(running(), nullptr);
    hbbtv_kit_feed_destroy(feed_);
}

TEST_F(FeedOutOfMemory, ATableForWhichThereWasNoneIsSentWithItsRepetition)
{
    start();
    feed_ = hbbtv_kit_feed_create(nullptr);
    const uint32_t tuning = hbbtv_kit_feed_tune(feed_, 1, 2, 3, nullptr);
    hbbtv_kit_feed_pmt(feed_, tuning, pmt_.data(), pmt_.size(), 0);
    hbbtv_kit_feed_section(feed_, tuning, pid, first_.data(), first_.size(), 0);
    // The feed's own; what the application manager needs for its events comes after that.
    FailingMemory::fail(2, false);
    hbbtv_kit_feed_section(feed_, tuning, pid, second_.data(), second_.size(), 0);
    EXPECT_EQ(FailingMemory::stop(), 1);
    tickAll();
    EXPECT_EQ(running(), nullptr);
    for (const Bytes* const part : {&first_, &second_})
        hbbtv_kit_feed_section(feed_, tuning, pid, part->data(), part->size(), 0);
    tickAll();
    EXPECT_NE(running(), nullptr);
    hbbtv_kit_feed_destroy(feed_);
}

}  // namespace
