// Whether an entry or a URL becomes a pending application.

#include <algorithm>

#include "foundation/configuration_manager.h"
#include "integration/external_event.h"
#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "oipf/notifications/notification_manager.h"
#include "tests/support/library_test.h"
#include "tests/support/log_texts.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

const char* const startingByURL = "LOG Window: Starting broadcast independent application.";

class WindowStarting : public LibraryTest {
protected:
    /// Starts the only entry of a table that lives as long as the test.
    Application* start(const AITEntry& entry, const std::string& url = "")
    {
        return start(broadcastTable(AITSection().add(entry)), url);
    }

    Application* start(const ref_ptr<AIT>& table, const std::string& url = "")
    {
        table_ = table;
        return window()->startApplication(table_->getAITApplication(0u), HbbTVURL(url), nullptr);
    }

    static std::string urlOf(Application* application)
    {
        return application ? application->getURL().getFullUrl() : "none";
    }

    /// What the listener is asked about a start.
    void recordQuestion()
    {
        listener().onNotification[HBBTV_NOTIFICATION_START_APPLICATION] =
            [this](HBBTV_NotificationData* data) { question_ = data->application; };
    }

    ref_ptr<AIT> table_;
    HBBTV_ApplicationNotificationData question_ = {};
};

TEST_F(WindowStarting, AnAcceptedEntryBecomesPendingAndItsStartIsQueued)
{
    Application* const started = start(httpApplication(0x1A, 0x2B));
    ASSERT_NE(started, nullptr);
    EXPECT_TRUE(window()->isPendingApplication(started));
    EXPECT_EQ(window()->getPendingApplication(), started);
    EXPECT_EQ(running(), nullptr);
    EXPECT_EQ(window()->getState(), Window::IDLE);
    EXPECT_EQ(started->getTransport(), table_->getAITApplication(0u)->getTransports()[0].get());
    EXPECT_EQ(started->getAITApplication(), table_->getAITApplication(0u));
    EXPECT_EQ(started->getWindow(), window());
    EXPECT_FALSE(started->isAutostarted());
    EXPECT_FALSE(window()->applicationExists(started));
    EXPECT_EQ(manager()->getApplication(started->getID()), nullptr);
    EXPECT_EQ(takeLog(), Lines({starting}));
    EXPECT_EQ(journal(), Lines({
                             "START 1a.2b related autostart http://a.example/index.html",
                             "CHANGE 0.0 related trusted=1 http://a.example/index.html",
                         }));
    EXPECT_EQ(tickAll(), 1);
}

TEST_F(WindowStarting, NoEntryStartsNothing)
{
    EXPECT_EQ(window()->startApplication(nullptr, HbbTVURL("http://a.example/"), nullptr), nullptr);
    EXPECT_EQ(takeLog(), Lines({starting}));
}

TEST_F(WindowStarting, AnEntrySignalledKillOrDisabledStartsNothingSilently)
{
    EXPECT_EQ(start(httpApplication(1, 2).controlCode(4).profiles({{0, 9, 9, 9}})), nullptr);
    EXPECT_EQ(start(httpApplication(1, 2).controlCode(7).profiles({{0, 9, 9, 9}})), nullptr);
    EXPECT_EQ(takeLog(), Lines({starting, starting}));
    EXPECT_EQ(journal(), Lines());
}

TEST_F(WindowStarting, EveryOtherControlCodeMayStart)
{
    for (const int code : {0, 1, 2, 3, 5, 6, 255})
        EXPECT_NE(start(httpApplication(1, 2).controlCode(static_cast<uint8_t>(code))), nullptr);
}

TEST_F(WindowStarting, AnUnsupportedProfileIsRejectedWithoutAQuestion)
{
    EXPECT_EQ(start(httpApplication(0x1A, 0x2B).profiles({{0, 9, 9, 9}})), nullptr);
    EXPECT_EQ(
        takeLog(),
        Lines({starting,
               "WARN Window: Attempt to start application with unsupported platform profile."}));
    EXPECT_EQ(journal(), Lines({"REJECT 1a.2b related autostart"}));
}

TEST_F(WindowStarting, TheRejectionTellsWhatWasRejected)
{
    start(httpApplication(1, 2).profiles({}).controlCode(2));
    start(xmlTable({httpApplication(3, 4).withoutApplicationDescriptor()}));
    EXPECT_EQ(journal(), Lines({"REJECT 1.2 related", "REJECT 3.4 independent autostart"}));
}

TEST_F(WindowStarting, WithoutAvailableTransportNothingStarts)
{
    EXPECT_EQ(start(AITEntry(1, 2).location("i")), nullptr);
    manager()->setHttpAvailable(false);
    EXPECT_EQ(start(httpApplication(1, 2)), nullptr);
    EXPECT_EQ(journal(), Lines());
}

TEST_F(WindowStarting, TheFirstAvailableTransportIsTaken)
{
    const AITEntry entry = AITEntry(1, 2).http(1, "http://a.example/").carousel(2, 7).location("i");
    EXPECT_EQ(urlOf(start(entry)), "http://a.example/i");
    manager()->setHttpAvailable(false);
    EXPECT_EQ(urlOf(start(entry)), "dvb://1.2.3.7/i");
}

TEST_F(WindowStarting, AGivenTransportIsTakenWhateverIsAvailable)
{
    table_ = broadcastTable(
        AITSection().add(AITEntry(1, 2).carousel(1, 7).http(2, "http://a.example/").location("i")));
    manager()->setHttpAvailable(false);
    AITApplication* const entry = table_->getAITApplication(0u);
    Application* const started =
        window()->startApplication(entry, HbbTVURL(""), entry->getTransports()[1].get());
    EXPECT_EQ(urlOf(started), "http://a.example/i");
    EXPECT_EQ(started->getTransport()->getLabel(), 2);
}

TEST_F(WindowStarting, ATransportWithoutAddressStartsNothing)
{
    EXPECT_EQ(start(AITEntry(1, 2).raw(otherTransport(4, 0x0002, {1, 2, 3})).labels({4})), nullptr);
    EXPECT_EQ(start(AITEntry(1, 2).http(1, "")), nullptr);
    EXPECT_EQ(journal(), Lines());
}

TEST_F(WindowStarting, InTimeShiftOnlyAnAwareEntryStarts)
{
    window()->setTimeShifted(true);
    EXPECT_EQ(start(httpApplication(1, 2)), nullptr);
    EXPECT_EQ(start(httpApplication(1, 2).recording(0x40, {}, {})), nullptr);
    EXPECT_EQ(start(httpApplication(1, 2).recording(0x20, {}, {})), nullptr);
    EXPECT_EQ(journal(), Lines());
    EXPECT_NE(start(httpApplication(1, 2).recording(0x60, {}, {})), nullptr);
}

TEST_F(WindowStarting, ParametersAndAnchorOfTheGivenURLAreAdded)
{
    const AITEntry entry = httpApplication(1, 2, "i?own=1#own");
    EXPECT_EQ(urlOf(start(entry)), "http://a.example/i?own=1#own");
    EXPECT_EQ(urlOf(start(entry, "http://ignored.example/?p=2")),
              "http://a.example/i?own=1&p=2#own");
    EXPECT_EQ(urlOf(start(entry, "#given")), "http://a.example/i?own=1#given");
    EXPECT_EQ(urlOf(start(entry, "?p=2#given")), "http://a.example/i?own=1&p=2#given");
}

TEST_F(WindowStarting, ByIdsTheTableInForceIsSearched)
{
    EXPECT_EQ(window()->startApplication(26, 43, HbbTVURL("")), nullptr);  // no table
    window()->setAIT(broadcastTable(AITSection().add(httpApplication(26, 43))));
    EXPECT_EQ(window()->startApplication(26, 44, HbbTVURL("")), nullptr);
    EXPECT_EQ(urlOf(window()->startApplication(26, 43, HbbTVURL("?p"))),
              "http://a.example/index.html?p");
    EXPECT_EQ(takeLog(), Lines({"DEBUG Window: Starting application from orgID (26) and appID (43)",
                                "DEBUG Window: Starting application from orgID (26) and appID (44)",
                                "DEBUG Window: Starting application from orgID (26) and appID (43)",
                                starting}));
}

TEST_F(WindowStarting, AURLAloneStartsAnIndependentApplication)
{
    recordQuestion();
    Application* const started =
        window()->startBroadcastIndependentApplication(HbbTVURL("http://a.example/i?p#a"));
    EXPECT_EQ(urlOf(started), "http://a.example/i?p#a");
    EXPECT_EQ(started->getAITApplication(), nullptr);
    EXPECT_EQ(started->getTransport(), nullptr);
    EXPECT_EQ(takeLog(), Lines({startingByURL}));
    EXPECT_EQ(journal(), Lines({"START 0.0 independent http://a.example/i?p#a"}));
    EXPECT_EQ(question_.window, window());
    EXPECT_EQ(question_.usageType, 0);
    EXPECT_EQ(question_.trusted, 0);
    EXPECT_EQ(question_.reactivateAIT, nullptr);
    EXPECT_EQ(question_.action, HBBTV_APPLICATION_ACTION_START);
}

TEST_F(WindowStarting, AnEmptyURLStartsNothing)
{
    EXPECT_EQ(window()->startBroadcastIndependentApplication(HbbTVURL("")), nullptr);
    EXPECT_EQ(takeLog(), Lines({startingByURL}));
    // Only the whole text counts: parameters alone are a URL, too.
    EXPECT_NE(window()->startBroadcastIndependentApplication(HbbTVURL("?p")), nullptr);
}

TEST_F(WindowStarting, AnXMLTableDocumentStartsUnasked)
{
    listener().startAction = 1;
    EXPECT_NE(window()->startBroadcastIndependentApplication(HbbTVURL("http://a.example/l.aitx")),
              nullptr);
    EXPECT_NE(
        window()->startBroadcastIndependentApplication(HbbTVURL("http://a.example/l.aitx?p#a")),
        nullptr);
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(window()->startBroadcastIndependentApplication(HbbTVURL("http://a.example/?l=.aitx")),
              nullptr);
}

TEST_F(WindowStarting, AnEntryWhosePageLooksLikeOneIsAskedFor)
{
    start(httpApplication(1, 2, "l.aitx"));
    EXPECT_EQ(journal().front(), "START 1.2 related autostart http://a.example/l.aitx");
}

TEST_F(WindowStarting, TheQuestionTellsWhatTheEntrySignals)
{
    recordQuestion();
    start(httpApplication(1, 2).serviceBound().usage(1).controlCode(2), "?p");
    EXPECT_EQ(journal().front(), "START 1.2 related bound http://a.example/index.html?p");
    EXPECT_EQ(question_.window, window());
    EXPECT_EQ(question_.usageType, 1);
    EXPECT_EQ(question_.trusted, 0);
    EXPECT_EQ(question_.reactivateAIT, nullptr);

    start(xmlTable({httpApplication(3, 4)}));
    EXPECT_EQ(journal().front(), "START 3.4 independent autostart http://a.example/index.html");
}

TEST_F(WindowStarting, TheAnswerIsPresetByWhetherTheApplicationIdIsValid)
{
    recordQuestion();
    const std::pair<uint16_t, int> cases[] = {
        {0, 1}, {1, 0}, {0x7FFF, 0}, {0x8000, 1}, {0xFFFF, 1}};
    for (const auto& [applicationId, preset] : cases) {
        Application* const started = start(httpApplication(1, applicationId));
        EXPECT_EQ(question_.action, preset) << applicationId;
        EXPECT_EQ(started == nullptr, preset == 1) << applicationId;
    }
    EXPECT_NE(start(xmlTable({httpApplication(1, 0x8000)})), nullptr);
    EXPECT_EQ(question_.action, 0);
}

TEST_F(WindowStarting, AnEntryWithoutValidIdKillsTheRunningApplication)
{
    startApplication(httpApplication(1, 2));
    EXPECT_EQ(start(httpApplication(1, 0)), nullptr);
    EXPECT_EQ(takeLog(), Lines({starting, blocking, "DEBUG Window: Killing running application.",
                                "DEBUG Window: VestaHbbTV::Window::shutdownApplication()",
                                "LOG Window: Delayed destroy of application"}));
    forgetJournal();
    tickAll();
    EXPECT_EQ(journal(),
              Lines({"STOP 1.2 related reactivate=0 http://a.example/index.html", "RELEASE w1"}));
    EXPECT_EQ(running(), nullptr);
}

TEST_F(WindowStarting, AnEntryWithoutValidIdStartsWhenTheListenerAllowsIt)
{
    listener().startAction = 0;
    EXPECT_NE(start(httpApplication(1, 0)), nullptr);
}

TEST_F(WindowStarting, WithNobodyListeningTheRecordsAnswerStands)
{
    NotificationManager::getInstance()->removeListener(RecordingListener::listen);
    EXPECT_NE(start(httpApplication(1, 1)), nullptr);
    EXPECT_EQ(start(httpApplication(1, 0)), nullptr);
}

TEST_F(WindowStarting, AnyOtherAnswerAllowsTheStart)
{
    for (const int answer : {0, 3, -1, 0x7FFFFFFF}) {
        listener().startAction = answer;
        EXPECT_NE(start(httpApplication(1, 2)), nullptr) << answer;
    }
}

TEST_F(WindowStarting, BlockedWithNothingRunningNothingHappens)
{
    for (const int answer : {1, 2}) {
        listener().startAction = answer;
        EXPECT_EQ(start(httpApplication(1, 2)), nullptr);
        EXPECT_EQ(takeLog(), Lines({starting, blocking}));
        EXPECT_EQ(window()->getState(), Window::IDLE);
    }
    EXPECT_EQ(tickAll(), 0);
}

TEST_F(WindowStarting, BlockedWithKeepTheRunningApplicationStays)
{
    startApplication(httpApplication(1, 2));
    listener().startAction = 2;
    EXPECT_EQ(start(httpApplication(1, 3)), nullptr);
    EXPECT_EQ(takeLog(), Lines({starting, blocking, "DEBUG Window: Leaving running application."}));
    EXPECT_EQ(tickAll(), 0);
    EXPECT_EQ(window()->getState(), Window::RUNNING);
}

TEST_F(WindowStarting, ARelativeURLIsResolvedAgainstTheRunningApplication)
{
    browser().journalResolving = true;
    window()->startBroadcastIndependentApplication(HbbTVURL("http://a.example/dir/i?p#a"));
    EXPECT_EQ(journal(), Lines({"START 0.0 independent http://a.example/dir/i?p#a"}));
    tickAll();
    running()->setCurrentURL(HbbTVURL("http://a.example/elsewhere/page"));
    forgetJournal();
    EXPECT_EQ(urlOf(window()->startBroadcastIndependentApplication(HbbTVURL("next?q"))),
              "http://a.example/dir/next?q");
    EXPECT_EQ(journal(), Lines({"ve_resolve_relative_url(http://a.example/dir/i, next)",
                                "START 0.0 independent http://a.example/dir/next?q"}));
}

TEST_F(WindowStarting, WithoutQueueOrListenersRegistryNothingStarts)
{
    delete ConfigurationManager::getInstance();
    EXPECT_EQ(window()->createApplication(HbbTVURL("http://a.example/"), nullptr), nullptr);
    EXPECT_EQ(ConfigurationManager::instance, nullptr);
    ConfigurationManager::getInstance();  // exists, but has no queue
    EXPECT_EQ(start(httpApplication(1, 2)), nullptr);
    ConfigurationManager::getInstance()->init(browser().handle());
    NotificationManager::getInstance()->shutdown();
    EXPECT_EQ(start(httpApplication(1, 2)), nullptr);
    EXPECT_EQ(NotificationManager::instance, nullptr);
    EXPECT_EQ(journal(), Lines());
}

TEST_F(WindowStarting, ATableThatDiesWhileListenersAreAskedStartsNothing)
{
    auto table = std::make_unique<AIT>(1, 2, 3, nullptr);  // counted by nobody
    table->parse(AITSection().add(httpApplication(1, 2)).exactBlock().get());
    listener().onNotification[HBBTV_NOTIFICATION_START_APPLICATION] = [&](auto*) { table.reset(); };
    EXPECT_EQ(window()->startApplication(table->getAITApplication(0u), HbbTVURL(""), nullptr),
              nullptr);
    EXPECT_EQ(window()->getPendingApplication(), nullptr);
}

TEST_F(WindowStarting, AnApplicationOfAnotherOrganisationIsNoRestart)
{
    startApplication(httpApplication(1, 5));
    sendAIT(AITSection().version(1).add(httpApplication(1, 5)).add(httpApplication(2, 5, "other")));
    tickAll();
    forgetJournal();
    send(E_START_APPLICATION, startRecord(window(), 2, 5));
    tickAll();
    EXPECT_EQ(runningURL(), "http://a.example/other");
    const Lines lines = journal();
    EXPECT_EQ(std::count(lines.begin(), lines.end(),
                         "STOP 1.5 related reactivate=0 http://a.example/index.html"),
              1);
}

TEST_F(WindowStarting, AnEntryWithoutDescriptorIsAskedForAsNotServiceBound)
{
    table_ = broadcastTable(AITSection().add(AITEntry(1, 2).withoutApplicationDescriptor()));
    EXPECT_NE(
        window()->createApplication(HbbTVURL("http://a.example/i"), table_->getAITApplication(0u)),
        nullptr);
    EXPECT_EQ(journal().front(), "START 1.2 related autostart http://a.example/i");
}

}  // namespace
