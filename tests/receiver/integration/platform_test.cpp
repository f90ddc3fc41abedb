// The hooks, as the library calls them.

#include <cstdlib>
#include <gtest/gtest.h>
#include <sstream>

#include "vesta_hbbtv_appman.h"

#include "receiver/carousel/service_carousels.h"
#include "receiver/integration/platform.h"
#include "receiver/integration/stream_event_subscriptions.h"

namespace receiver {
namespace {

class PlatformTest : public ::testing::Test {
protected:
    static void* id() { return reinterpret_cast<void*>(1); }

    std::ostringstream out_;
    EventLog log_{out_, false};
    ServiceCarousels carousels_{{}, log_};
    StreamEventSubscriptions streamEvents_{carousels_, log_};
    Platform platform_{carousels_, streamEvents_, log_};
};

TEST_F(PlatformTest, HooksLeadToTheCarousels)
{
    char* type = nullptr;
    char* bytes = nullptr;
    unsigned int count = 7;
    EXPECT_EQ(dsmcc_get_file("1.2.3.4/a", id()), DSMCC_ERROR);
    EXPECT_NE(out_.str().find("1.2.3.4/a: not a carousel of the tuned service"), std::string::npos);
    EXPECT_EQ(dsmcc_get_mime_type(id(), &type), DSMCC_UNKNOWN_ID);
    EXPECT_EQ(type, nullptr);
    EXPECT_EQ(dsmcc_read(id(), &bytes, &count), DSMCC_UNKNOWN_ID);
    EXPECT_EQ(dsmcc_close_file(id()), DSMCC_UNKNOWN_ID);
    EXPECT_EQ(dsmcc_clear_cache(), DSMCC_OK);
}

TEST_F(PlatformTest, ATableCountsUntilTheChannelChanges)
{
    EXPECT_FALSE(platform_.hasTable);
    hbbtv_ait_completed(1);
    EXPECT_TRUE(platform_.hasTable);
    hbbtv_ait_invalidate();
    EXPECT_FALSE(platform_.hasTable);
    EXPECT_EQ(platform_.channelChanges, 1u);
}

TEST_F(PlatformTest, KeyGroupsAreThoseOfTheRemoteControl)
{
    platform_.supportedKeySets = 0x13;
    EXPECT_EQ(hbbtv_keyset_get_supported_values(), 0x13);
}

TEST_F(PlatformTest, CarouselsAreTheSameWhenAllTheirIdsAre)
{
    bool same = false;
    EXPECT_EQ(dsmcc_same_carousel("1.2.3.4/a", "1.2.3.04/b", &same), DSMCC_OK);
    EXPECT_TRUE(same);
    for (const char* const other : {"2.2.3.4/a", "1.3.3.4/a", "1.2.4.4/a", "1.2.3.5/a"}) {
        EXPECT_EQ(dsmcc_same_carousel("1.2.3.4/a", other, &same), DSMCC_OK);
        EXPECT_FALSE(same) << other;
    }
    EXPECT_EQ(dsmcc_same_carousel("1.2.3.4/a", "a", &same), DSMCC_ERROR);
}

TEST_F(PlatformTest, HooksLeadToTheStreamEvents)
{
    char name[] = "go";
    EXPECT_EQ(dsmcc_stream_event_subscribe("1.2.3.4/e", id(), name, nullptr, nullptr), DSMCC_OK);
    EXPECT_NE(out_.str().find("stream event \"go\" of 1.2.3.4/e for listener 1"),
              std::string::npos);
    EXPECT_EQ(dsmcc_xml_stream_event_subscribe(id(), name, 0x2B, 7, 3, nullptr, nullptr, nullptr),
              DSMCC_OK);
    EXPECT_NE(out_.str().find("stream event \"go\" of component 43 for listener 1"),
              std::string::npos);
    EXPECT_EQ(dsmcc_stream_event_unsubscribe("1.2.3.4/e", id(), name, nullptr, nullptr, 1),
              DSMCC_OK);
    EXPECT_EQ(dsmcc_stream_event_unsubscribe_all(nullptr, 1), DSMCC_OK);
}

TEST_F(PlatformTest, ASubscriptionWithoutANameIsOneOfAnEventWithoutName)
{
    EXPECT_EQ(dsmcc_stream_event_subscribe(nullptr, nullptr, nullptr, nullptr, nullptr), DSMCC_OK);
    EXPECT_NE(out_.str().find("stream event \"\" of  for listener 0"), std::string::npos);
}

TEST(PlatformHooks, AnswerOutsideARunToo)
{
    char* bytes = nullptr;
    unsigned int count = 0;
    EXPECT_EQ(dsmcc_get_file("1.2.3.4/a", nullptr), DSMCC_ERROR);
    EXPECT_EQ(dsmcc_read(nullptr, &bytes, &count), DSMCC_UNKNOWN_ID);
    EXPECT_EQ(dsmcc_close_file(nullptr), DSMCC_UNKNOWN_ID);
    EXPECT_EQ(dsmcc_clear_cache(), DSMCC_OK);
    EXPECT_EQ(dsmcc_stream_event_subscribe("1.2.3.4/a", nullptr, nullptr, nullptr, nullptr),
              DSMCC_ERROR);
    EXPECT_EQ(
        dsmcc_xml_stream_event_subscribe(nullptr, nullptr, 1, 1, 1, nullptr, nullptr, nullptr),
        DSMCC_ERROR);
    EXPECT_EQ(dsmcc_stream_event_unsubscribe("", nullptr, nullptr, nullptr, nullptr, 1), DSMCC_OK);
    EXPECT_EQ(dsmcc_stream_event_unsubscribe_all(nullptr, 1), DSMCC_OK);
    EXPECT_EQ(hbbtv_keyset_get_supported_values(), 0x3FF);
    dsmcc_start();
    dsmcc_stop();
    hbbtv_ait_start();
    hbbtv_ait_stop();
    hbbtv_ait_invalidate();
    hbbtv_ait_completed(7);
}

}  // namespace
}  // namespace receiver
