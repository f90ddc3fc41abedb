#include "tests/kit/ait_feed_test.h"

namespace VestaHbbTV {
namespace {

TEST_F(AITFeedTest, NullsAreIgnored)
{
    const Bytes section = table(1, 1).bytes();
    EXPECT_EQ(hbbtv_kit_feed_tune(nullptr, 1, 2, 3, nullptr), 0U);
    hbbtv_kit_feed_pmt(nullptr, 1, section.data(), section.size(), 0);
    hbbtv_kit_feed_section(nullptr, 1, pid, section.data(), section.size(), 0);
    hbbtv_kit_feed_time(nullptr, 0);
    hbbtv_kit_feed_destroy(nullptr);
    hbbtv_kit_feed_get_defaults(nullptr);
    EXPECT_EQ(hbbtv_kit_feed_get_count(nullptr, 0), 0U);
    hbbtv_kit_feed_section(feed, tuning, pid, nullptr, 100, now);
    hbbtv_kit_feed_pmt(feed, tuning, nullptr, 100, now);
    EXPECT_EQ(countOf(HBBTV_KIT_SECTION_INCOMPLETE), 1U);
    EXPECT_EQ(countOf(HBBTV_KIT_SECTION_PMT), 1U);
}

TEST_F(AITFeedTest, UnknownFaultsAreCountedAs0)
{
    give(table(1, 1));
    EXPECT_EQ(hbbtv_kit_feed_get_count(feed, -1), 0U);
    EXPECT_EQ(hbbtv_kit_feed_get_count(feed, HBBTV_KIT_SECTION_FAULTS), 0U);
}

TEST_F(AITFeedTest, WithoutOptionsTheDefaultsCount)
{
    hbbtv_kit_feed_destroy(feed);
    feed = hbbtv_kit_feed_create(nullptr);
    tune();
    givePMT({{5, pid, {}}});
    give(AITSection().add(entry(1).raw(descriptor(0x77, {}))));
    EXPECT_EQ(inForce(), "1");
}

TEST_F(AITFeedTest, AShorterRecordOfOptionsKeepsTheDefaultsOfTheRest)
{
    options.size = offsetof(HBBTV_KitFeedOptions, takesOutEmptyDescriptors);
    options.checksChecksum = 0;
    options.takesOutEmptyDescriptors = 0;
    make();
    Bytes section = AITSection().add(entry(1).raw(descriptor(0x77, {}))).bytes();
    section.back() ^= 1;
    give(section);
    EXPECT_EQ(inForce(), "1");
}

TEST_F(AITFeedTest, BeforeItIsTunedEverythingIsLate)
{
    hbbtv_kit_feed_destroy(feed);
    feed = hbbtv_kit_feed_create(&options);
    tuning = 0;
    givePMT({{5, pid, {}}});
    give(table(1, 1));
    EXPECT_EQ(countOf(HBBTV_KIT_SECTION_LATE), 2U);
}

TEST_F(AITFeedTest, ALongerRecordOfOptionsCountsAsFarAsItIsKnown)
{
    struct {
        HBBTV_KitFeedOptions known;
        int later;
    } longer = {options, 1};
    longer.known.size = sizeof(longer);
    longer.known.checksChecksum = 0;
    hbbtv_kit_feed_destroy(feed);
    feed = hbbtv_kit_feed_create(&longer.known);
    tune();
    givePMT({{5, pid, {}}});
    Bytes section = table(1, 1).bytes();
    section.back() ^= 1;
    give(section);
    EXPECT_EQ(inForce(), "1");
}

TEST_F(AITFeedTest, TheListenerMayCallTheFeed)
{
    options.listener = [](const HBBTV_KitFeedReport* report, void* self) {
        auto* const test = static_cast<AITFeedTest*>(self);
        if (report->event == HBBTV_KIT_FEED_PID_CHOSEN)
            test->tuning = hbbtv_kit_feed_tune(test->feed, 1, 2, 3, nullptr);
    };
    make();
    const uint32_t former = tuning;
    give(table(1, 1));
    EXPECT_NE(tuning, former);
}

TEST_F(AITFeedTest, WithoutAnApplicationManagerNothingIsSentAndNothingIsLost)
{
    shutdown();
    give(table(1, 1));
    pass(20000);
    vesta_hbbtv_init(browser().handle());
    void* const anew = vesta_hbbtv_create_window();
    vesta_hbbtv_set_broadcast_window(anew);
    give(table(1, 1));
    EXPECT_NE(static_cast<Window*>(anew)->getAIT(), nullptr);
}

}  // namespace
}  // namespace VestaHbbTV
