// Several windows, windows that go too early, and one event a tick.

#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

class WindowsAndTicksStory : public LibraryTest {
protected:
    WindowsAndTicksStory() { listener().windowNames[window()] = "A"; }
};

TEST_F(WindowsAndTicksStory, TwoWindowsDoNotConcernEachOther)
{
    Window* const other = createWindow("B");
    sendAIT(AITSection().add(httpApplication(1, 2)));
    send(E_START_BROADCAST_INDEPENDENT_APPLICATION, urlRecord(other, "http://b.example/"));
    EXPECT_EQ(tickAll(), 4);
    EXPECT_EQ(journal(), Lines({
                             "AIT broadcast [1.2] @A",
                             "hbbtv_ait_completed(0)",
                             "START 1.2 related autostart http://a.example/index.html @A",
                             "CHANGE 0.0 related trusted=1 http://a.example/index.html @A",
                             "START 0.0 independent http://b.example/ @B",
                             "REQUEST w1 @A",
                             "ve_clear_history(w1)",
                             "ve_open_url(w1, http://a.example/index.html)",
                             "REQUEST w2 @B",
                             "ve_clear_history(w2)",
                             "ve_open_url(w2, http://b.example/)",
                         }));
    EXPECT_EQ(vesta_hbbtv_get_window_identifier(browser().window(1)), window());
    EXPECT_EQ(vesta_hbbtv_get_window_identifier(browser().window(2)), other);

    // A failing page of one and a change of channel do not touch the other.
    failLoading(1);
    send(E_CHANNEL_CHANGE);
    tickAll();
    EXPECT_EQ(journal(), Lines({
                             "STOP 1.2 related reactivate=0 http://a.example/index.html @A",
                             "RELEASE w1",
                             "dsmcc_clear_cache()",
                             "hbbtv_ait_invalidate()",
                         }));
    EXPECT_EQ(other->getState(), Window::RUNNING);

    vesta_hbbtv_release_window(other);
    EXPECT_EQ(journal(),
              Lines({"STOP 0.0 independent reactivate=0 http://b.example/ @B", "RELEASE w2"}));
    EXPECT_EQ(vesta_hbbtv_get_broadcast_window(), window());
}

TEST_F(WindowsAndTicksStory, AScriptThatTunesInAnotherWindowTakesTheBroadcastThere)
{
    Window* const other = createWindow("B");
    // An application of the broadcast runs there, which was there before.
    vesta_hbbtv_set_broadcast_window(other);
    sendAIT(AITSection().add(httpApplication(3, 4, "other")));
    tickAll();
    vesta_hbbtv_set_broadcast_window(window());
    send(E_CHANNEL_CHANGE);
    tickAll();
    startApplication(httpApplication(1, 2));
    char channel = 0;
    native_AppManNotifySetChannelCalled(1, "http://a.example/", &channel);
    EXPECT_EQ(journal(), Lines({"STOP 1.2 related reactivate=0 http://a.example/index.html @A",
                                "RELEASE w2"}));
    EXPECT_EQ(vesta_hbbtv_get_broadcast_window(), other);
    sendAIT(AITSection().version(1).add(httpApplication(3, 4, "other")));
    tickAll();
    EXPECT_EQ(journal(), Lines({"AIT broadcast [3.4] @B", "hbbtv_ait_completed(1)"}));
}

TEST_F(WindowsAndTicksStory, EventsOfReleasedWindowsFindNothing)
{
    Window* const other = createWindow("B");
    send(E_START_BROADCAST_INDEPENDENT_APPLICATION, urlRecord(other, "http://b.example/"));
    tickAll();
    void* const application = askForIdOf(other->getRunningApplication());
    finishLoading(1);
    send(E_START_BROADCAST_INDEPENDENT_APPLICATION, urlRecord(other, "http://d.example/"));
    EXPECT_TRUE(vesta_hbbtv_tick());  // its start is queued
    native_ApplicationHide(application);
    native_ApplicationDestroyApplication(application);
    send(E_START_APPLICATION, startRecord(other, 1, 2));
    send(E_START_BROADCAST_INDEPENDENT_APPLICATION, urlRecord(other, "http://c.example/"));
    send(E_TERMINATE_APPLICATION, windowRecord(other));
    sendXMLAIT({httpApplication(5, 6)}, other);
    forgetJournal();
    vesta_hbbtv_release_window(other);
    EXPECT_EQ(journal(),
              Lines({"STOP 0.0 independent reactivate=0 http://b.example/ @B", "RELEASE w1"}));
    log().clear();
    EXPECT_EQ(tickAll(), 9);
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(log().count("ERR StopApplicationEvent: Invalid setup or window do not exist."), 1);
    EXPECT_EQ(log().count("ERR StartApplicationEvent: Invalid setup or window do not exist."), 1);
}

TEST_F(WindowsAndTicksStory, WithoutBroadcastWindowTablesAreDiscarded)
{
    vesta_hbbtv_release_window(window());
    sendAIT(AITSection().add(httpApplication(1, 2)));
    send(E_AIT_SECTION, noSectionRecord(0));
    EXPECT_EQ(tickAll(), 2);
    EXPECT_EQ(journal(), Lines());
}

TEST_F(WindowsAndTicksStory, EveryTickRunsOneEvent)
{
    const int events = 25;
    for (int event = 0; event < events; ++event)
        send(event % 2 ? E_HTTP_AVAILABLE : E_HTTP_UNAVAILABLE);
    for (int event = 0; event < events; ++event) {
        EXPECT_TRUE(vesta_hbbtv_tick());
        EXPECT_EQ(manager()->isHttpAvailable(), event % 2 == 1) << event;
    }
    EXPECT_FALSE(vesta_hbbtv_tick());
}

TEST_F(WindowsAndTicksStory, WhatAnEventQueuesRunsBehindWhatIsQueuedAlready)
{
    sendAIT(AITSection().add(httpApplication(1, 2)));
    send(E_HTTP_UNAVAILABLE);
    EXPECT_TRUE(vesta_hbbtv_tick());
    EXPECT_EQ(running(), nullptr);
    EXPECT_TRUE(vesta_hbbtv_tick());
    EXPECT_FALSE(manager()->isHttpAvailable());
    EXPECT_EQ(running(), nullptr);
    EXPECT_TRUE(vesta_hbbtv_tick());
    EXPECT_NE(running(), nullptr);
    EXPECT_FALSE(vesta_hbbtv_tick());
}

}  // namespace
