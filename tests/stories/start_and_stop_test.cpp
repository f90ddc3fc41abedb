// Starts that are refused, fail or are repeated, and stops with and without a return.

#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "tests/support/library_test.h"
#include "tests/support/log_texts.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

class StartAndStopStory : public LibraryTest {
protected:
    StartAndStopStory()
    {
        native_ApplicationManagerSetListener([](int event, void* appId) {
            Journal::instance().write("event ", event, " of ", reinterpret_cast<uintptr_t>(appId));
        });
    }

    void forget()
    {
        forgetJournal();
        log().clear();
    }
};

TEST_F(StartAndStopStory, WhenTheFirstIsRefusedTheSecondStarts)
{
    journalLog({"Window"});
    sendAIT(AITSection()
                .add(httpApplication(1, 1, "first").priority(9).profiles({{0, 2, 0, 0}}))
                .add(httpApplication(1, 2, "second").priority(8)));
    EXPECT_EQ(tickAll(), 2);
    EXPECT_EQ(journal(),
              Lines({
                  "AIT broadcast [1.1 1.2]",
                  "hbbtv_ait_completed(0)",
                  starting,
                  "WARN Window: Attempt to start application with unsupported platform profile.",
                  "REJECT 1.1 related autostart",
                  starting,
                  "START 1.2 related autostart http://a.example/second",
                  "CHANGE 0.0 related trusted=1 http://a.example/second",
                  "LOG Window: First AUTOSTART application failed to start, started lower prio one "
                  "instead.",
                  "REQUEST w1",
                  "ve_clear_history(w1)",
                  "ve_open_url(w1, http://a.example/second)",
              }));
}

TEST_F(StartAndStopStory, FailingLoadsGoThroughTransportsParentAndOtherApplications)
{
    // The service's application is running and starts a child of the same table.
    const AITEntry child =
        AITEntry(1, 2, 2).http(1, "http://c.example/").carousel(2, 7).location("c").priority(5);
    sendAIT(AITSection()
                .add(httpApplication(1, 1, "main").priority(9))
                .add(child)
                .add(httpApplication(1, 3, "last").priority(1)));
    tickAll();
    void* id = nullptr;
    native_ApplicationCreateApplication("dvb://current.ait/1.2", 1, askForIdOf(running()), &id);
    tickAll();
    forget();
    journalLog({"Window", "StopApplicationEvent"});

    EXPECT_EQ(failLoading(2), 0);
    EXPECT_EQ(tickAll(), 2);
    EXPECT_EQ(journal(),
              Lines({
                  starting,
                  "START 1.2 related dvb://1.2.3.7/c",
                  "CHANGE 0.0 related trusted=1 dvb://1.2.3.7/c",
                  shutting,
                  delayed,
                  "ERR Window: Loading failed, loading on next available transport instead.",
                  "DEBUG Window: Allowing currently running application to live as fallback until "
                  "initial page of new application loaded.",
                  "REQUEST w3",
                  "ve_clear_history(w3)",
                  "ve_open_url(w3, dvb://1.2.3.7/c)",
                  "DEBUG StopApplicationEvent: StopApplicationEvent::execute()",
                  shutting,
                  "STOP 1.2 related reactivate=0 http://c.example/c",
                  "RELEASE w2",
              }));

    EXPECT_EQ(failLoading(3), 0);
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(journal(), Lines({
                             "event 3 of 3",
                             shutting,
                             delayed,
                             "ERR Window: Loading failed, parent application will not be killed.",
                             "DEBUG StopApplicationEvent: StopApplicationEvent::execute()",
                             shutting,
                             "STOP 1.2 related reactivate=0 dvb://1.2.3.7/c",
                             "RELEASE w3",
                         }));
    EXPECT_EQ(runningURL(), "http://a.example/main");

    EXPECT_EQ(failLoading(1), 0);
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(journal(),
              Lines({
                  starting,
                  "START 1.3 related autostart http://a.example/last",
                  "CHANGE 0.0 related trusted=1 http://a.example/last",
                  "ERR Window: Loading failed, trying to load next AUTOSTART application instead.",
                  "LOG Window: Shutting down existing application.",
                  shutting,
                  "STOP 1.1 related reactivate=0 http://a.example/main",
                  "RELEASE w1",
                  "REQUEST w1",
                  "ve_clear_history(w1)",
                  "ve_open_url(w1, http://a.example/last)",
              }));

    EXPECT_EQ(failLoading(1), 0);
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(journal(), Lines({
                             "ERR Window: Automatic load of AUTOSTART application failed.",
                             shutting,
                             delayed,
                             "DEBUG StopApplicationEvent: StopApplicationEvent::execute()",
                             shutting,
                             "STOP 1.3 related reactivate=0 http://a.example/last",
                             "RELEASE w1",
                         }));
    EXPECT_EQ(window()->getState(), Window::IDLE);
}

TEST_F(StartAndStopStory, ABlockedStartKillsTheRunningApplicationOrLeavesIt)
{
    startApplication(httpApplication(1, 2));
    journalLog({"Window"});
    listener().startAction = 2;
    send(E_START_BROADCAST_INDEPENDENT_APPLICATION, urlRecord(window(), "http://b.example/"));
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(journal(), Lines({
                             "LOG Window: Starting broadcast independent application.",
                             "START 0.0 independent http://b.example/",
                             "DEBUG Window: Blocking application upon request from listener.",
                             "DEBUG Window: Leaving running application.",
                         }));

    listener().startAction = 1;
    send(E_START_BROADCAST_INDEPENDENT_APPLICATION, urlRecord(window(), "http://b.example/"));
    EXPECT_EQ(tickAll(), 2);
    EXPECT_EQ(journal(), Lines({
                             "LOG Window: Starting broadcast independent application.",
                             "START 0.0 independent http://b.example/",
                             "DEBUG Window: Blocking application upon request from listener.",
                             "DEBUG Window: Killing running application.",
                             shutting,
                             delayed,
                             shutting,
                             "STOP 1.2 related reactivate=0 http://a.example/index.html",
                             "RELEASE w1",
                         }));
}

TEST_F(StartAndStopStory, StartingTheRunningApplicationAgainIsNoStop)
{
    startApplication(httpApplication(1, 2));
    send(E_START_APPLICATION, startRecord(window(), 1, 2));
    EXPECT_EQ(tickAll(), 2);
    EXPECT_EQ(journal(), Lines({
                             "START 1.2 related autostart http://a.example/index.html",
                             "CHANGE 0.0 related trusted=1 http://a.example/index.html",
                             "RELEASE w1",
                             "REQUEST w1",
                             "ve_clear_history(w1)",
                             "ve_open_url(w1, http://a.example/index.html)",
                         }));
}

TEST_F(StartAndStopStory, TimeShiftStopsAnApplicationAndOnlyAnAwareOneStartsThere)
{
    startApplication(httpApplication(1, 2));
    EXPECT_EQ(vesta_hbbtv_set_time_shifted(window(), 1), 0u);
    EXPECT_EQ(tickAll(), 0);
    EXPECT_EQ(journal(),
              Lines({"STOP 1.2 related reactivate=1 http://a.example/index.html", "RELEASE w1"}));
    sendAIT(AITSection().version(1).add(httpApplication(1, 3, "aware").recording(0x60, {}, {})));
    EXPECT_EQ(tickAll(), 2);
    EXPECT_EQ(runningURL(), "http://a.example/aware");
    EXPECT_EQ(vesta_hbbtv_set_time_shifted(window(), 0), 0u);
    EXPECT_EQ(vesta_hbbtv_set_time_shifted(window(), 1), 0u);
    EXPECT_EQ(vesta_hbbtv_set_time_shifted(window(), 1), 1u);
    EXPECT_EQ(runningURL(), "http://a.example/aware");
}

TEST_F(StartAndStopStory, AfterAScriptsExitTheServicesApplicationReturnsUnlessAListenerVetoes)
{
    startApplication(httpApplication(1, 2));
    native_ApplicationDestroyApplication(askForIdOf(running()));
    EXPECT_EQ(tickAll(), 2);
    EXPECT_EQ(journal(), Lines({
                             "STOP 1.2 related reactivate=1 http://a.example/index.html",
                             "RELEASE w1",
                             "START 1.2 related autostart http://a.example/index.html",
                             "CHANGE 0.0 related trusted=1 http://a.example/index.html",
                             "REQUEST w1",
                             "ve_clear_history(w1)",
                             "ve_open_url(w1, http://a.example/index.html)",
                         }));
    listener().reactivateAIT = 0;
    native_ApplicationDestroyApplication(askForIdOf(running()));
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(journal(),
              Lines({"STOP 1.2 related reactivate=1 http://a.example/index.html", "RELEASE w1"}));
}

TEST_F(StartAndStopStory, ATerminationIsFinal)
{
    startApplication(httpApplication(1, 2));
    send(E_TERMINATE_APPLICATION, windowRecord(window()));
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(journal(),
              Lines({"STOP 1.2 related reactivate=0 http://a.example/index.html", "RELEASE w1"}));
}

}  // namespace
