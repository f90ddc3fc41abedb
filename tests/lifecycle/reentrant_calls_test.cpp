// Listeners, the browser, the platform and the scripts' plugin may call back into the library from
// every place where it calls them: whatever they do there, the library survives, frees everything,
// and goes on working.

#include "tests/lifecycle/reentrant_session.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

/// The places from which the library calls out. A number is a notification's type.
const std::vector<std::string> places = {"0",
                                         "1",
                                         "2",
                                         "3",
                                         "4",
                                         "5",
                                         "6",
                                         "7",
                                         "8",
                                         "9",
                                         "10",
                                         "11",
                                         "12",
                                         "ve_clear_history",
                                         "ve_get_loading_url",
                                         "ve_get_window",
                                         "ve_get_window_identifier",
                                         "ve_open_url",
                                         "ve_protocol_failed",
                                         "ve_protocol_finished",
                                         "ve_protocol_set_mime_type",
                                         "ve_protocol_write",
                                         "ve_resolve_relative_url",
                                         "ve_set_uastring_extension",
                                         "tavo_keyboard_evt",
                                         "hbbtv_ait_completed",
                                         "hbbtv_ait_invalidate",
                                         "hbbtv_ait_start",
                                         "hbbtv_ait_stop",
                                         "hbbtv_keyset_get_supported_values",
                                         "dsmcc_clear_cache",
                                         "dsmcc_close_file",
                                         "dsmcc_get_file",
                                         "dsmcc_get_mime_type",
                                         "dsmcc_read",
                                         "dsmcc_start",
                                         "dsmcc_stop",
                                         "dsmcc_stream_event_subscribe",
                                         "dsmcc_stream_event_unsubscribe",
                                         "dsmcc_stream_event_unsubscribe_all",
                                         "dsmcc_xml_stream_event_subscribe",
                                         "plugin",
                                         "destroyed",
                                         "stream event"};

const std::vector<std::string> actions = {"release the window",
                                          "release it twice",
                                          "release all windows",
                                          "shut down",
                                          "shut down and init",
                                          "init again",
                                          "tick",
                                          "send another AIT",
                                          "start another application",
                                          "create a child",
                                          "destroy an application",
                                          "terminate",
                                          "remove the listener",
                                          "add the listener again",
                                          "shift time",
                                          "change the channel",
                                          "report load results",
                                          "delete the window manager",
                                          "take over the broadcast",
                                          "cancel the loads",
                                          "start the loads anew",
                                          "report the files"};

class ReentrantCalls : public ReentrantSession,
                       public ::testing::WithParamInterface<std::tuple<std::string, std::string>> {
};

TEST_P(ReentrantCalls, AreSurvived)
{
    const auto& [place, action] = GetParam();
    arm(place, action);
    session();
    EXPECT_GT(fired_, 0) << "the session does not come past " << place;
    expectUsable();
}

std::string nameOf(const ::testing::TestParamInfo<std::tuple<std::string, std::string>>& info)
{
    std::string name = std::get<0>(info.param) + "_" + std::get<1>(info.param);
    for (char& letter : name) {
        if (!std::isalnum(static_cast<unsigned char>(letter)))
            letter = '_';
    }
    return name;
}

INSTANTIATE_TEST_SUITE_P(Everywhere, ReentrantCalls,
                         ::testing::Combine(::testing::ValuesIn(places),
                                            ::testing::ValuesIn(actions)),
                         nameOf);

/// The listener shuts the library down and starts it again, without registering itself anew.
TEST_F(ReentrantCalls, AShutdownFromInsideEndsTheApplicationsBeforeThePlatformStops)
{
    startApplication(httpApplication(0x1A, 0x2B));
    listener().onNotification[HBBTV_NOTIFICATION_AIT_UPDATE] = [](HBBTV_NotificationData*) {
        vesta_hbbtv_shutdown();
        vesta_hbbtv_init(FakeBrowser::instance().handle());
    };
    sendAIT(AITSection().version(1).add(httpApplication(0x1A, 0x2B)));
    tickAll();
    EXPECT_EQ(journal(), Lines({
                             "AIT broadcast [1a.2b]",
                             "STOP 1a.2b related reactivate=0 http://a.example/index.html",
                             "RELEASE w1",
                             "hbbtv_ait_stop()",
                             "dsmcc_stop()",
                             "hbbtv_ait_start()",
                             "dsmcc_start()",
                         }));
    EXPECT_TRUE(listener().windowsInUse.empty());
}

TEST_F(ReentrantCalls, AShutdownFromTheStopOfAReleasedWindowStillReleasesTheBrowserWindow)
{
    startApplication(httpApplication(0x1A, 0x2B));
    listener().onNotification[HBBTV_NOTIFICATION_STOP_APPLICATION] = [](HBBTV_NotificationData*) {
        vesta_hbbtv_shutdown();
    };
    vesta_hbbtv_release_window(window());
    EXPECT_EQ(journal(), Lines({
                             "STOP 1a.2b related reactivate=0 http://a.example/index.html",
                             "RELEASE w1",
                             "hbbtv_ait_stop()",
                             "dsmcc_stop()",
                         }));
}

int endsTold = 0;

TEST_F(ReentrantCalls, ThePluginHearsOnceOfAnEndThatBecomesAShutdown)
{
    endsTold = 0;
    native_ApplicationManagerSetAppDestroyedListener([](void*) { ++endsTold; });
    startApplication(httpApplication(0x1A, 0x2B));
    listener().onNotification[HBBTV_NOTIFICATION_STOP_APPLICATION] = [](HBBTV_NotificationData*) {
        vesta_hbbtv_shutdown();
    };
    window()->shutdownApplication(running(), false, false, true);
    tickAll();
    EXPECT_EQ(endsTold, 1);
}

TEST_F(ReentrantCalls, NothingStartsWhileEverythingEnds)
{
    startApplication(httpApplication(0x1A, 0x2B));
    listener().onNotification[HBBTV_NOTIFICATION_STOP_APPLICATION] = [](HBBTV_NotificationData*) {
        vesta_hbbtv_send_event(E_START_BROADCAST_INDEPENDENT_APPLICATION,
                               urlRecord(vesta_hbbtv_create_window(), "http://b.example/"));
        tickAll();
    };
    shutdown();
    EXPECT_EQ(journal(), Lines({
                             "STOP 1a.2b related reactivate=0 http://a.example/index.html",
                             "RELEASE w1",
                             "hbbtv_ait_stop()",
                             "dsmcc_stop()",
                         }));
}

TEST_F(ReentrantCalls, AWindowThatIsReleasedInTheStopOfItsFormerApplicationStartsNothing)
{
    startApplication(httpApplication(0x1A, 0x2B));
    listener().onNotification[HBBTV_NOTIFICATION_STOP_APPLICATION] = [this](auto*) {
        vesta_hbbtv_release_window(window());
    };
    send(E_START_BROADCAST_INDEPENDENT_APPLICATION, urlRecord(window(), "http://b.example/"));
    tickAll();
    EXPECT_EQ(journal(), Lines({
                             "START 0.0 independent http://b.example/",
                             "STOP 1a.2b related reactivate=0 http://a.example/index.html",
                             "RELEASE w1",
                         }));
}

}  // namespace
