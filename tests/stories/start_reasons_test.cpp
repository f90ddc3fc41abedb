// Why an application does not start.

#include "tests/stories/reasons_fixture.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

const char page[] = "http://a.example/index.html";

class StartReasons : public ReasonsTest {
protected:
    /// Asks for an application of the table in force.
    void start(uint16_t applicationId)
    {
        send(E_START_APPLICATION, startRecord(window(), 1, applicationId));
        tickAll();
    }

    void startURL(const char* url)
    {
        send(E_START_BROADCAST_INDEPENDENT_APPLICATION, urlRecord(window(), url));
        tickAll();
    }

    /// A table with this entry, which does not start by itself; then it is asked for.
    void startEntry(AITEntry entry)
    {
        tune(AITSection().add(entry.controlCode(2)));
        forgetReasons();
        start(1);
    }
};

TEST_F(StartReasons, TheWindowIsUnknown)
{
    send(E_START_APPLICATION, startRecord(nullptr, 1, 2));
    tickAll();
    expectReason(HBBTV_REASON_START_UNKNOWN_WINDOW, "1.2");
    send(E_START_BROADCAST_INDEPENDENT_APPLICATION, urlRecord(this, page));
    tickAll();
    expectReason(HBBTV_REASON_START_UNKNOWN_WINDOW);
}

TEST_F(StartReasons, NoTableOrNotInIt)
{
    start(2);
    expectReason(HBBTV_REASON_START_NO_TABLE, "1.2");
    tune(AITSection().add(httpApplication(1, 1)));
    start(2);
    expectReason(HBBTV_REASON_START_NOT_LISTED, "1.2");
}

TEST_F(StartReasons, AScriptsApplicationIdIsTooLarge)
{
    startApplication(httpApplication(1, 1));
    forgetReasons();
    void* created = nullptr;
    native_ApplicationCreateApplication("dvb://current.ait/1.10000", 0, askForIdOf(running()),
                                        &created);
    expectReason(HBBTV_REASON_START_NOT_LISTED, "1.65536");
}

TEST_F(StartReasons, TheControlCodeForbidsIt)
{
    tune(AITSection().add(httpApplication(1, 1).controlCode(4)));
    start(1);
    expectReason(HBBTV_REASON_START_CONTROL_CODE, "1.1", 0, 4);
    tune(AITSection().version(1).add(httpApplication(1, 1).controlCode(7)));
    start(1);
    expectReason(HBBTV_REASON_START_CONTROL_CODE, "1.1", 0, 7);
}

TEST_F(StartReasons, NoProfile)
{
    startEntry(httpApplication(1, 1).profiles({}));
    expectReason(HBBTV_REASON_START_NO_PROFILE, "1.1");
    tune(AITSection().version(1).add(AITEntry(1, 1).withoutApplicationDescriptor()));
    forgetReasons();
    start(1);
    expectReason(HBBTV_REASON_START_NO_PROFILE, "1.1");
}

TEST_F(StartReasons, ProfilesAndVersionsWithTheNumbers)
{
    send(E_SUPPORTED_PROFILES, profilesRecord(0x0005));
    send(E_USER_AGENT_INFO, userAgentRecord(1, {}));
    startEntry(httpApplication(1, 1).profiles({{0x0003, 1, 1, 1}, {0x0001, 1, 2, 1}}));
    EXPECT_EQ(
        heard.lines(),
        Lines({HeardDecisions::describe(HBBTV_REASON_START_PROFILE, "1.1", 3, 5),
               HeardDecisions::describe(HBBTV_REASON_START_VERSION, "1.1", 0x10201, 0x10101)}));
}

TEST_F(StartReasons, NoTransport)
{
    startEntry(AITEntry(1, 1).location("index.html"));
    expectReason(HBBTV_REASON_START_NO_TRANSPORT, "1.1");
    tune(AITSection().version(1).add(AITEntry(1, 1).withoutApplicationDescriptor()));
    expectReason(HBBTV_REASON_START_NO_TRANSPORT, "1.1");
}

TEST_F(StartReasons, ALabelWithoutTransport)
{
    startEntry(AITEntry(1, 1).labels({7}).location("index.html"));
    expectReason(HBBTV_REASON_START_LABEL_WITHOUT_TRANSPORT, "1.1", 7);
}

TEST_F(StartReasons, BroadbandIsOff)
{
    send(E_HTTP_UNAVAILABLE);
    startEntry(httpApplication(1, 1));
    expectReason(HBBTV_REASON_START_BROADBAND_OFF, "1.1");
}

TEST_F(StartReasons, TheProtocolIsUnknown)
{
    startEntry(AITEntry(1, 1).labels({1}).raw(otherTransport(1, 4)).location("index.html"));
    expectReason(HBBTV_REASON_START_PROTOCOL, "1.1");
}

TEST_F(StartReasons, NoLocation)
{
    startEntry(AITEntry(1, 1).http(1, ""));
    expectReason(HBBTV_REASON_START_NO_LOCATION, "1.1");
}

TEST_F(StartReasons, TheServiceIsTimeShifted)
{
    vesta_hbbtv_set_time_shifted(window(), 1);
    startEntry(httpApplication(1, 1));
    expectReason(HBBTV_REASON_START_TIME_SHIFT, "1.1");
}

TEST_F(StartReasons, AListenerBlockedIt)
{
    startApplication(httpApplication(1, 1));
    listener().startAction = HBBTV_APPLICATION_ACTION_BLOCK_AND_KEEP;
    startURL(page);
    expectReason(HBBTV_REASON_START_BLOCKED_AND_KEPT, "0.0", 0, 0, page);
    listener().startAction = HBBTV_APPLICATION_ACTION_BLOCK_AND_KILL;
    startURL(page);
    EXPECT_THAT(heard.lines(),
                ::testing::Contains(HeardDecisions::describe(HBBTV_REASON_END_BLOCKED, "1.1")));
    expectReason(HBBTV_REASON_START_BLOCKED_AND_KILLED, "0.0", 0, 0, page);
}

TEST_F(StartReasons, TheApplicationIdIsInvalid)
{
    startEntry(AITEntry(1, 0x8001).http(1, "http://a.example/").location("index.html"));
    start(0x8001);
    expectReason(HBBTV_REASON_START_APPLICATION_ID, "1.32769", 0, 0x8001, page);
}

TEST_F(StartReasons, NoURL)
{
    startURL("");
    expectReason(HBBTV_REASON_START_URL);
    startURL(nullptr);
    expectReason(HBBTV_REASON_START_URL);
}

TEST_F(StartReasons, TheWindowIsClosing)
{
    startApplication(httpApplication(1, 1));
    listener().onNotification[HBBTV_NOTIFICATION_STOP_APPLICATION] =
        [this](HBBTV_NotificationData*) {
            window()->startBroadcastIndependentApplication(HbbTVURL(page));
        };
    vesta_hbbtv_shutdown();
    expectReason(HBBTV_REASON_START_CLOSING);
}

TEST_F(StartReasons, AnotherTableCameWhileItWasAskedFor)
{
    listener().onNotification[HBBTV_NOTIFICATION_START_APPLICATION] = [](HBBTV_NotificationData*) {
        listener().onNotification.clear();
        sendAIT(AITSection().version(9));
        vesta_hbbtv_tick();
    };
    tune(AITSection().add(httpApplication(1, 1)));
    expectReason(HBBTV_REASON_START_TABLE_CHANGED, "1.1");
}

TEST_F(StartReasons, NobodyGaveABrowserWindow)
{
    listener().refuseWindows = true;
    tune(AITSection().add(httpApplication(1, 1)));
    expectReason(HBBTV_REASON_START_NO_BROWSER_WINDOW, "1.1");
}

TEST_F(StartReasons, AnotherOneWasStartedAfterIt)
{
    send(E_START_BROADCAST_INDEPENDENT_APPLICATION, urlRecord(window(), "http://a.example/first"));
    startURL(page);
    expectReason(HBBTV_REASON_START_SUPERSEDED);
}

TEST_F(StartReasons, TheNextAutostartApplicationStarts)
{
    tune(AITSection()
             .add(httpApplication(1, 1).priority(9).profiles({{0, 9, 9, 9}}))
             .add(httpApplication(1, 2).priority(5)));
    EXPECT_THAT(heard.lines(), ::testing::Contains(HeardDecisions::describe(HBBTV_REASON_STARTED,
                                                                            "1.2", 0, 0, page)));
    expectReason(HBBTV_REASON_START_LOWER_AUTOSTART, "1.2");
}

TEST_F(StartReasons, WhoStartedIsSaidWithWindowAndId)
{
    tune(AITSection().add(httpApplication(1, 1)));
    const HeardDecisions::Decision& last = heard.decisions.back();
    EXPECT_EQ(last.reason, HBBTV_REASON_STARTED);
    EXPECT_EQ(last.verdict, 1);
    EXPECT_EQ(last.window, window());
    EXPECT_EQ(last.scriptApplication, askForIdOf(running()));
}

}  // namespace
