// Which application a window without one starts by itself, and time shift.

#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "tests/support/library_test.h"
#include "tests/support/log_texts.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

const char* const lowerStarted =
    "LOG Window: First AUTOSTART application failed to start, started lower prio one instead.";
const char* const noneStarted = "WARN Window: AUTOSTART application failed to start.";
const char* const unsupported =
    "WARN Window: Attempt to start application with unsupported platform profile.";

const uint8_t timeShiftAware = 0x60;  // trick_mode_aware_flag and time_shift_flag

class WindowAutostart : public LibraryTest {
protected:
    bool activate(const AITSection& section)
    {
        window()->setAIT(broadcastTable(section));
        return window()->activateAIT();
    }

    static AITEntry unsupportedEntry(uint16_t applicationId)
    {
        return httpApplication(1, applicationId).profiles({{0, 9, 9, 9}});
    }

    std::string pendingURL() const
    {
        Application* const pending = window()->getPendingApplication();
        return pending ? pending->getURL().getFullUrl() : "";
    }
};

TEST_F(WindowAutostart, WithoutTableThereIsNothingToDo)
{
    EXPECT_FALSE(window()->activateAIT());
    EXPECT_EQ(takeLog(), Lines());
    EXPECT_EQ(window()->getState(), Window::IDLE);
}

TEST_F(WindowAutostart, AStaleTableStartsNothing)
{
    window()->setAIT(broadcastTable(AITSection().add(httpApplication(1, 2))));
    window()->setAIT(ref_ptr<AIT>());
    EXPECT_FALSE(window()->activateAIT());
    EXPECT_EQ(window()->getPendingApplication(), nullptr);
}

TEST_F(WindowAutostart, ATableWithoutAutostartApplicationIsActedOn)
{
    EXPECT_TRUE(activate(AITSection()));
    EXPECT_TRUE(activate(AITSection().add(httpApplication(1, 2).controlCode(2))));
    EXPECT_TRUE(activate(AITSection().add(AITEntry(1, 2))));  // no transport
    EXPECT_EQ(takeLog(), Lines());
    EXPECT_EQ(window()->getPendingApplication(), nullptr);
}

TEST_F(WindowAutostart, TheHighestPriorityStartsWhateverTheOrderOfSignalling)
{
    EXPECT_TRUE(activate(AITSection()
                             .add(httpApplication(1, 1, "low").priority(1))
                             .add(httpApplication(1, 2, "high").priority(9))
                             .add(httpApplication(1, 3, "middle").priority(5))));
    EXPECT_EQ(pendingURL(), "http://a.example/high");
    EXPECT_TRUE(window()->getPendingApplication()->isAutostarted());
    EXPECT_EQ(window()->getState(), Window::IDLE);
    EXPECT_EQ(takeLog(), Lines({starting}));
}

TEST_F(WindowAutostart, AmongEqualPrioritiesTheFirstSignalledStarts)
{
    EXPECT_TRUE(activate(
        AITSection().add(httpApplication(1, 1, "first")).add(httpApplication(1, 2, "second"))));
    EXPECT_EQ(pendingURL(), "http://a.example/first");
}

TEST_F(WindowAutostart, ApplicationsThatAreNotAutostartOrHaveNoTransportArePassedOver)
{
    EXPECT_TRUE(activate(AITSection()
                             .add(httpApplication(1, 1, "present").controlCode(2).priority(9))
                             .add(AITEntry(1, 2).location("unreachable").priority(8))
                             .add(httpApplication(1, 3, "chosen").priority(7))));
    EXPECT_EQ(pendingURL(), "http://a.example/chosen");
}

TEST_F(WindowAutostart, WithHttpOffApplicationsOverHttpArePassedOver)
{
    manager()->setHttpAvailable(false);
    EXPECT_TRUE(activate(AITSection()
                             .add(httpApplication(1, 1, "web").priority(9))
                             .add(AITEntry(1, 2).carousel(1, 7).location("i"))));
    EXPECT_EQ(pendingURL(), "dvb://1.2.3.7/i");
    EXPECT_EQ(takeLog(), Lines({starting}));
}

TEST_F(WindowAutostart, WhenTheFirstIsRefusedTheNextInOrderStarts)
{
    EXPECT_TRUE(activate(AITSection()
                             .add(unsupportedEntry(1).priority(9))
                             .add(unsupportedEntry(2).priority(8))
                             .add(httpApplication(1, 3, "third").priority(7))
                             .add(httpApplication(1, 4, "fourth").priority(6))));
    EXPECT_EQ(pendingURL(), "http://a.example/third");
    EXPECT_TRUE(window()->getPendingApplication()->isAutostarted());
    EXPECT_EQ(takeLog(),
              Lines({starting, unsupported, starting, unsupported, starting, lowerStarted}));
}

TEST_F(WindowAutostart, WhenNoneStartsItIsWarnedOnce)
{
    EXPECT_TRUE(activate(AITSection().add(unsupportedEntry(1)).add(unsupportedEntry(2))));
    EXPECT_EQ(pendingURL(), "");
    EXPECT_EQ(takeLog(), Lines({starting, unsupported, starting, unsupported, noneStarted}));
    EXPECT_EQ(window()->getState(), Window::IDLE);
}

TEST_F(WindowAutostart, EveryAutostartApplicationThatIsBlockedIsAskedFor)
{
    listener().startAction = 1;
    EXPECT_TRUE(
        activate(AITSection().add(httpApplication(1, 1, "x")).add(httpApplication(1, 2, "y"))));
    EXPECT_EQ(journal(), Lines({
                             "START 1.1 related autostart http://a.example/x",
                             "START 1.2 related autostart http://a.example/y",
                         }));
    EXPECT_EQ(takeLog(), Lines({starting, blocking, starting, blocking, noneStarted}));
}

TEST_F(WindowAutostart, WhenTheListenerKeepsTheRunningApplicationTheWalkEnds)
{
    startApplication(httpApplication(1, 2));
    listener().startAction = 2;
    EXPECT_TRUE(activate(
        AITSection().version(1).add(httpApplication(1, 3, "x")).add(httpApplication(1, 4, "y"))));
    EXPECT_EQ(journal(), Lines({"START 1.3 related autostart http://a.example/x"}));
    EXPECT_EQ(window()->getState(), Window::RUNNING);
    EXPECT_EQ(runningURL(), "http://a.example/index.html");
    EXPECT_EQ(takeLog(), Lines({"LOG Window: Tearing down running application at new AIT load",
                                starting, blocking, "DEBUG Window: Leaving running application."}));
}

TEST_F(WindowAutostart, WhenTheListenerKillsTheRunningApplicationTheWalkGoesOn)
{
    startApplication(httpApplication(1, 2));
    listener().onNotification[HBBTV_NOTIFICATION_START_APPLICATION] =
        [](HBBTV_NotificationData* data) {
            if (data->application.applicationId == 3)
                data->application.action = HBBTV_APPLICATION_ACTION_BLOCK_AND_KILL;
        };
    EXPECT_TRUE(activate(
        AITSection().version(1).add(httpApplication(1, 3, "x")).add(httpApplication(1, 4, "y"))));
    EXPECT_EQ(pendingURL(), "http://a.example/y");
    EXPECT_EQ(window()->getState(), Window::TEARDOWN);
    EXPECT_EQ(tickAll(), 2);  // the queued stop, then the start
    EXPECT_EQ(runningURL(), "http://a.example/y");
}

TEST_F(WindowAutostart, TheRunningApplicationStaysWhenTheListenerKeepsItForALaterOne)
{
    startApplication(httpApplication(1, 2));
    listener().startAction = 2;
    EXPECT_TRUE(activate(AITSection()
                             .version(1)
                             .add(unsupportedEntry(3).priority(9))
                             .add(httpApplication(1, 4, "kept out"))));
    EXPECT_EQ(log().count(noneStarted), 1);
    EXPECT_EQ(log().count("DEBUG Window: Leaving running application."), 1);
    EXPECT_EQ(window()->getState(), Window::RUNNING);
    EXPECT_EQ(runningURL(), "http://a.example/index.html");
}

TEST_F(WindowAutostart, AnXMLTablesApplicationTakesOverTheParentOfTheRunningOne)
{
    startApplication(httpApplication(1, 2));
    Application* const parent = running();
    void* childId = nullptr;
    EXPECT_EQ(native_ApplicationCreateApplication("http://a.example/list.aitx", 1, idOf(parent),
                                                  &childId),
              VEIF_RETURN_OK);
    tickAll();
    Application* const child = running();
    ASSERT_EQ(child->getParent(), parent);
    sendXMLAIT({httpApplication(5, 6)});
    EXPECT_EQ(tickAll(), 2);
    EXPECT_EQ(runningURL(), "http://a.example/index.html");
    EXPECT_EQ(running()->getOrganisationId(), 5u);
    EXPECT_EQ(running()->getParent(), parent);
    EXPECT_EQ(child->getParent(), nullptr);
}

TEST_F(WindowAutostart, ABroadcastTablesApplicationDoesNot)
{
    startApplication(httpApplication(1, 2));
    Application* const parent = running();
    void* childId = nullptr;
    native_ApplicationCreateApplication("http://a.example/child", 1, idOf(parent), &childId);
    tickAll();
    EXPECT_TRUE(activate(AITSection().version(1).add(httpApplication(5, 6))));
    EXPECT_EQ(window()->getPendingApplication()->getParent(), nullptr);
    EXPECT_EQ(running()->getParent(), parent);
}

TEST_F(WindowAutostart, NothingFollowsNoEntryOrWithoutTable)
{
    EXPECT_EQ(window()->startNextAutostartApplication(nullptr), nullptr);
    const ref_ptr<AIT> table = broadcastTable(AITSection().add(httpApplication(1, 2)));
    EXPECT_EQ(window()->startNextAutostartApplication(table->getAITApplication(0u)), nullptr);
    window()->setAIT(table);
    EXPECT_EQ(window()->startNextAutostartApplication(nullptr), nullptr);
    EXPECT_EQ(window()->startNextAutostartApplication(table->getAITApplication(0u)), nullptr);
    EXPECT_EQ(takeLog(), Lines());
}

TEST_F(WindowAutostart, TheNextIsSoughtBehindTheGivenEntryOnly)
{
    const ref_ptr<AIT> table = broadcastTable(AITSection()
                                                  .add(httpApplication(1, 1, "x"))
                                                  .add(httpApplication(1, 2, "y"))
                                                  .add(httpApplication(1, 3, "z")));
    window()->setAIT(table);
    Application* const started =
        window()->startNextAutostartApplication(table->getAITApplication(1u));
    ASSERT_NE(started, nullptr);
    EXPECT_EQ(started->getURL().getFullUrl(), "http://a.example/z");
    EXPECT_TRUE(started->isAutostarted());
}

TEST_F(WindowAutostart, ReactivationRestoresTheBroadcastTableAndActsAtOnce)
{
    const ref_ptr<AIT> service = broadcastTable(AITSection().add(httpApplication(1, 2, "service")));
    window()->setAIT(service);
    window()->setAIT(xmlTable({httpApplication(3, 4, "xml")}));
    window()->scheduleReactivateAIT(false);
    EXPECT_EQ(pendingURL(), "http://a.example/xml");
    window()->scheduleReactivateAIT(true);
    EXPECT_EQ(window()->getAIT(), service.get());
    EXPECT_EQ(pendingURL(), "http://a.example/service");
    EXPECT_EQ(tickAll(), 2);
}

TEST_F(WindowAutostart, ReactivationWithoutBroadcastTableLeavesNone)
{
    window()->setAIT(xmlTable({httpApplication(3, 4)}));
    window()->scheduleReactivateAIT(true);
    EXPECT_EQ(window()->getAIT(), nullptr);
    EXPECT_EQ(pendingURL(), "");
}

class WindowTimeShift : public WindowAutostart {};

TEST_F(WindowTimeShift, OnlyAChangeOfTheValueCounts)
{
    EXPECT_FALSE(window()->setTimeShifted(false));
    EXPECT_TRUE(window()->setTimeShifted(true));
    EXPECT_FALSE(window()->setTimeShifted(true));
    EXPECT_TRUE(window()->isTimeShifted());
    EXPECT_TRUE(window()->setTimeShifted(false));
    EXPECT_FALSE(window()->isTimeShifted());
    EXPECT_EQ(takeLog(), Lines());
}

TEST_F(WindowTimeShift, AnUnawareApplicationIsStoppedAndTheServicesOneMayReturn)
{
    for (const uint8_t flags : {uint8_t(0x00), uint8_t(0x40), uint8_t(0x20), uint8_t(0x80)}) {
        startApplication(httpApplication(1, 2).recording(flags, {}, {}));
        EXPECT_EQ(vesta_hbbtv_set_time_shifted(window(), 1), 0u);
        EXPECT_EQ(running(), nullptr) << int(flags);
        // Activated again, and refused again.
        EXPECT_EQ(journal(), Lines({
                                 "STOP 1.2 related reactivate=1 http://a.example/index.html",
                                 "RELEASE w1",
                             }));
        EXPECT_EQ(takeLog(), Lines({"DEBUG Window: VestaHbbTV::Window::shutdownApplication()",
                                    "LOG Window: Reactivating AIT...", starting, noneStarted}));
        EXPECT_EQ(vesta_hbbtv_set_time_shifted(window(), 0), 0u);
        window()->setAIT(ref_ptr<AIT>());
    }
}

TEST_F(WindowTimeShift, AnAwareApplicationContinues)
{
    startApplication(httpApplication(1, 2).recording(timeShiftAware, {}, {}));
    EXPECT_EQ(vesta_hbbtv_set_time_shifted(window(), 1), 0u);
    EXPECT_EQ(window()->getState(), Window::RUNNING);
    EXPECT_EQ(journal(), Lines());
}

TEST_F(WindowTimeShift, AnApplicationWithoutEntryOrRecordingDescriptorIsStopped)
{
    window()->startBroadcastIndependentApplication(HbbTVURL("http://a.example/"));
    tickAll();
    EXPECT_TRUE(window()->setTimeShifted(true));
    EXPECT_EQ(running(), nullptr);
    EXPECT_TRUE(window()->setTimeShifted(false));

    startApplication(httpApplication(1, 2));
    EXPECT_TRUE(window()->setTimeShifted(true));
    EXPECT_EQ(running(), nullptr);
}

TEST_F(WindowTimeShift, LeavingItStopsNothing)
{
    window()->setTimeShifted(true);
    startApplication(httpApplication(1, 2).recording(timeShiftAware, {}, {}));
    running()->setAITApplication(nullptr);  // would not survive entering it
    EXPECT_TRUE(window()->setTimeShifted(false));
    EXPECT_NE(running(), nullptr);
    EXPECT_EQ(journal(), Lines());
}

TEST_F(WindowTimeShift, AWindowThatDoesNotRunOnlyStoresIt)
{
    startApplication(httpApplication(1, 2));
    EXPECT_TRUE(activate(AITSection().version(1).add(httpApplication(1, 3))));
    ASSERT_EQ(window()->getState(), Window::TEARDOWN);
    EXPECT_TRUE(window()->setTimeShifted(true));
    EXPECT_NE(running(), nullptr);
}

TEST_F(WindowTimeShift, OfAnUnknownWindowIsRefused)
{
    EXPECT_EQ(vesta_hbbtv_set_time_shifted(nullptr, 1), 1u);
    Window foreign(nullptr);
    EXPECT_EQ(vesta_hbbtv_set_time_shifted(&foreign, 1), 1u);
    EXPECT_FALSE(foreign.isTimeShifted());
    EXPECT_EQ(vesta_hbbtv_set_time_shifted(window(), 0), 1u);
}

TEST_F(WindowTimeShift, AWindowThatNamesNoRunningApplicationStopsNone)
{
    class Silent : public Window {
    public:
        using Window::Window;
        Application* getRunningApplication() override { return nullptr; }
    };
    Silent silent(manager());
    silent.startPendingApplication(
        silent.startBroadcastIndependentApplication(HbbTVURL("http://a.example/")));
    forgetJournal();
    EXPECT_TRUE(silent.setTimeShifted(true));
    EXPECT_EQ(silent.getState(), Window::RUNNING);
    EXPECT_EQ(journal(), Lines());
}

}  // namespace
