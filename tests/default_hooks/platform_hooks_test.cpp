// The library without a platform: what its own bodies of the hooks do. This program defines none of
// them.

#include <gtest/gtest.h>

#include "vesta_hbbtv_appman.h"

#include "foundation/configuration_manager.h"
#include "integration/oc_download_manager.h"
#include "lifecycle/window.h"
#include "signalling/hbbtv_url.h"
#include "tests/support/fake_browser.h"
#include "tests/support/journal.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

using Lines = std::vector<std::string>;

class PlatformHooks : public ::testing::Test {
protected:
    PlatformHooks()
    {
        FakeBrowser::instance().reset();
        vesta_hbbtv_init(FakeBrowser::instance().handle());
    }
    ~PlatformHooks() override
    {
        vesta_hbbtv_shutdown();
        Journal::instance().clear();
    }
};

TEST_F(PlatformHooks, TerminalHasEveryKeySet)
{
    EXPECT_EQ(hbbtv_keyset_get_supported_values(), 0x3FF);
    double maximum = 0;
    EXPECT_EQ(native_KeySetGetMaximumValue(1, &maximum), 0);
    EXPECT_EQ(maximum, 0x3FF);
}

TEST_F(PlatformHooks, StartingAndStoppingAsksNothingOfTheBrowserOrTheLibrary)
{
    hbbtv_ait_start();
    dsmcc_start();
    hbbtv_ait_invalidate();
    hbbtv_ait_completed(31);
    hbbtv_ait_stop();
    dsmcc_stop();
    EXPECT_EQ(Journal::instance().lines(), Lines());
    EXPECT_FALSE(vesta_hbbtv_tick());
}

TEST_F(PlatformHooks, FileHooksSucceedAndLeaveTheirResultsUntouched)
{
    char place = 'x';
    char* text = &place;
    unsigned int length = 5;
    EXPECT_EQ(dsmcc_get_file("1.2.3.4/a", &place), 0u);
    EXPECT_EQ(dsmcc_get_mime_type(&place, &text), 0u);
    EXPECT_EQ(dsmcc_read(&place, &text, &length), 0u);
    EXPECT_EQ(text, &place);
    EXPECT_EQ(length, 5u);
    EXPECT_EQ(dsmcc_close_file(&place), 0u);
    EXPECT_EQ(dsmcc_clear_cache(), 0u);
}

TEST_F(PlatformHooks, DownloadIsReadAtOnceAndEnds)
{
    HbbTVDVBURL url("dvb://1.2.3.4/a");
    char load;
    EXPECT_EQ(
        ConfigurationManager::getInstance()->getOCDownloadManager()->startDownload(&url, &load),
        1u);
    EXPECT_EQ(Journal::instance().take(), Lines({"ve_protocol_finished(200)"}));
}

TEST_F(PlatformHooks, SubscriptionsAreAcceptedAndForgotten)
{
    char place;
    EXPECT_EQ(dsmcc_stream_event_subscribe("1.2.3.4/ev", &place, nullptr, nullptr, nullptr), 0u);
    EXPECT_EQ(dsmcc_xml_stream_event_subscribe(&place, nullptr, 1, 2, 3, nullptr, nullptr, nullptr),
              0u);
    EXPECT_EQ(native_BroadcastRemoveStreamEventListener("ev", &place, nullptr, nullptr, nullptr, 1),
              0);
    EXPECT_EQ(dsmcc_stream_event_unsubscribe("ev", &place, nullptr, nullptr, nullptr, 1), 0u);
    EXPECT_EQ(native_BroadcastRemoveAllStreamEventListeners(&place, 1), 0);
    EXPECT_EQ(dsmcc_stream_event_unsubscribe_all(&place, 1), 0u);
}

TEST_F(PlatformHooks, QuestionAboutCarouselsIsLeftUnanswered)
{
    for (const bool before : {false, true}) {
        bool same = before;
        EXPECT_EQ(dsmcc_same_carousel("1.2.3.4", "1.2.3.4", &same), 0u);
        EXPECT_EQ(same, before);
    }
}

TEST_F(PlatformHooks, ChannelChangeRunsThroughThem)
{
    auto* const window = static_cast<Window*>(vesta_hbbtv_create_window());
    vesta_hbbtv_set_broadcast_window(window);
    window->setAIT(ref_ptr<AIT>(new AIT));
    vesta_hbbtv_send_event(E_CHANNEL_CHANGE, nullptr);
    EXPECT_TRUE(vesta_hbbtv_tick());
    EXPECT_FALSE(vesta_hbbtv_tick());
    EXPECT_TRUE(window->getAIT()->isStale());
}

}  // namespace
