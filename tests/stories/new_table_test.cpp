// What a service's next tables do to the application that runs.

#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

class NewTableStory : public LibraryTest {
protected:
    NewTableStory() { journalLog({"Window", "StartApplicationEvent", "StopApplicationEvent"}); }

    void tuneIn(const AITEntry& entry)
    {
        sendAIT(AITSection().add(entry));
        tickAll();
        finishLoading();
        forgetJournal();
    }

    static Lines replaced(const std::string& by)
    {
        return {
            "AIT broadcast [" + by + "]",
            "hbbtv_ait_completed(1)",
            "LOG Window: Tearing down running application at new AIT load",
            "LOG Window: Starting application from AITApplication.",
            "START " + by + " related autostart http://a.example/next",
            "CHANGE 0.0 related trusted=1 http://a.example/next",
            "DEBUG StartApplicationEvent: StartApplicationEvent::execute()",
            "LOG Window: Shutting down existing application.",
            "DEBUG Window: VestaHbbTV::Window::shutdownApplication()",
            "STOP 1.2 related reactivate=0 http://a.example/index.html",
            "RELEASE w1",
            "REQUEST w1",
            "ve_clear_history(w1)",
            "ve_open_url(w1, http://a.example/next)",
        };
    }
};

TEST_F(NewTableStory, TheSameVersionAgainChangesNothing)
{
    tuneIn(httpApplication(1, 2));
    sendAIT(AITSection().add(httpApplication(3, 4)));  // whatever it holds
    sendAIT(AITSection().number(0, 1).add(httpApplication(3, 4)));
    EXPECT_EQ(tickAll(), 2);
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(window()->getAssemblyAIT(), nullptr);
}

TEST_F(NewTableStory, ANewVersionKeepsAnApplicationThatItSignals)
{
    tuneIn(httpApplication(1, 2));
    sendAIT(AITSection().version(1).add(httpApplication(1, 2).controlCode(2)));
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(journal(),
              Lines({"AIT broadcast [1.2]", "hbbtv_ait_completed(1)",
                     "LOG Window: Allowing running application to continue at new AIT load."}));
}

TEST_F(NewTableStory, ANewVersionThatSignalsKillEndsIt)
{
    tuneIn(httpApplication(1, 2));
    sendAIT(AITSection().version(1).add(httpApplication(1, 2).controlCode(4)));
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(journal(),
              Lines({"AIT broadcast [1.2]", "hbbtv_ait_completed(1)",
                     "LOG Window: Tearing down running application at new AIT load",
                     "DEBUG Window: VestaHbbTV::Window::shutdownApplication()",
                     "STOP 1.2 related reactivate=0 http://a.example/index.html", "RELEASE w1"}));
    EXPECT_EQ(window()->getState(), Window::IDLE);
}

TEST_F(NewTableStory, ANewVersionReplacesItByAnother)
{
    tuneIn(httpApplication(1, 2));
    sendAIT(AITSection().version(1).add(httpApplication(1, 3, "next")));
    EXPECT_EQ(tickAll(), 2);
    EXPECT_EQ(journal(), replaced("1.3"));
}

TEST_F(NewTableStory, AServiceBoundApplicationDoesNotSurviveAChangeOfChannel)
{
    tuneIn(httpApplication(1, 2).serviceBound());
    send(E_CHANNEL_CHANGE);
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(journal(), Lines({"dsmcc_clear_cache()", "hbbtv_ait_invalidate()"}));
    EXPECT_EQ(runningURL(), "http://a.example/index.html");

    // The next service signals it too, but it is another instance there: a restart is no stop.
    sendAIT(AITSection().add(httpApplication(1, 2).serviceBound()));
    EXPECT_EQ(tickAll(), 2);
    EXPECT_EQ(journal(), Lines({
                             "AIT broadcast [1.2]",
                             "hbbtv_ait_completed(0)",
                             "LOG Window: Tearing down running application at new AIT load",
                             "LOG Window: Starting application from AITApplication.",
                             "START 1.2 related bound autostart http://a.example/index.html",
                             "CHANGE 0.0 related trusted=1 http://a.example/index.html",
                             "DEBUG StartApplicationEvent: StartApplicationEvent::execute()",
                             "LOG Window: Shutting down existing application.",
                             "DEBUG Window: VestaHbbTV::Window::shutdownApplication()",
                             "RELEASE w1",
                             "REQUEST w1",
                             "ve_clear_history(w1)",
                             "ve_open_url(w1, http://a.example/index.html)",
                         }));
}

TEST_F(NewTableStory, AnUnboundApplicationOfBothServicesContinues)
{
    tuneIn(httpApplication(1, 2));
    send(E_CHANNEL_CHANGE);
    sendAIT(AITSection().add(httpApplication(1, 2)));  // the same version number
    EXPECT_EQ(tickAll(), 2);
    EXPECT_EQ(journal(),
              Lines({"dsmcc_clear_cache()", "hbbtv_ait_invalidate()", "AIT broadcast [1.2]",
                     "hbbtv_ait_completed(0)",
                     "LOG Window: Allowing running application to continue at new AIT load."}));
}

TEST_F(NewTableStory, AnApplicationThatTheNextServiceDoesNotKnowEnds)
{
    tuneIn(httpApplication(1, 2));
    send(E_CHANNEL_CHANGE);
    tickAll();
    forgetJournal();
    sendAIT(AITSection().version(1).add(httpApplication(7, 8, "next")));
    EXPECT_EQ(tickAll(), 2);
    EXPECT_EQ(journal(), replaced("7.8"));
}

TEST_F(NewTableStory, TheEndOfTheTableEndsItsApplication)
{
    tuneIn(httpApplication(1, 2));
    send(E_AIT_SECTION, noSectionRecord(0));
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(journal(),
              Lines({"DEBUG Window: terminateRunningApplication",
                     "DEBUG Window: VestaHbbTV::Window::shutdownApplication()",
                     "STOP 1.2 related reactivate=0 http://a.example/index.html", "RELEASE w1"}));
}

}  // namespace
