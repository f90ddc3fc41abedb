// What a new table means for the application that runs.

#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "security/application_domain.h"
#include "tests/support/library_test.h"
#include "tests/support/log_texts.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

const char* const keep = "LOG Window: Allowing running application to continue at new AIT load.";
const char* const tearDown = "LOG Window: Tearing down running application at new AIT load";
const char* const fromXML =
    "LOG Window: Transferring state of running application from broadcast independent to broadcast "
    "related at new AIT load";
const char* const fromIndependent =
    "LOG Window: Transferring state of running application from broadcast independent "
    "(transitioned earlier from broadcast related) to broadcast related at new AIT load.";

/// No call leaves a window in RUNNING without an application; an explicit instantiation may name
/// the private state all the same.
Window::State& stateOf(Window& window);
template <auto State>
struct StateAccess {
    friend Window::State& stateOf(Window& window) { return window.*State; }
};
template struct StateAccess<&Window::state_>;

using Codes = std::vector<uint8_t>;

class WindowActivation : public LibraryTest {
protected:
    /// Puts a table in force and activates it, without a tick.
    bool activate(const AITSection& section)
    {
        window()->setAIT(broadcastTable(section));
        return window()->activateAIT();
    }

    static AITSection tableWith(const AITEntry& entry)
    {
        return AITSection().version(1).add(entry);
    }

    /// The running application's script tunes away.
    void makeIndependent()
    {
        running()->setBroadcastRelated(false);
        log().clear();
        forgetJournal();
    }

    void startFromXML(const AITEntry& entry)
    {
        sendXMLAIT({entry});
        tickAll();
        ASSERT_NE(running(), nullptr);
        ASSERT_FALSE(running()->isBroadcastRelated());
        log().clear();
        forgetJournal();
    }

    void expectTornDown(const AITSection& section, const char* why)
    {
        SCOPED_TRACE(why);
        log().clear();
        EXPECT_TRUE(activate(section));
        EXPECT_EQ(log().count(tearDown), 1);
        EXPECT_EQ(log().count(keep), 0);
        EXPECT_NE(window()->getState(), Window::RUNNING);
    }
};

TEST_F(WindowActivation, SettingATableShiftsTheOneInForce)
{
    const ref_ptr<AIT> first = broadcastTable(AITSection());
    const ref_ptr<AIT> xml = xmlTable({});
    EXPECT_TRUE(window()->setAIT(first));
    EXPECT_EQ(window()->getAIT(), first.get());
    EXPECT_EQ(window()->getPreviousAIT(), nullptr);
    EXPECT_EQ(window()->getBroadcastAIT(), first.get());

    EXPECT_TRUE(window()->setAIT(xml));
    EXPECT_EQ(window()->getAIT(), xml.get());
    EXPECT_EQ(window()->getPreviousAIT(), first.get());
    EXPECT_EQ(window()->getBroadcastAIT(), first.get());
    EXPECT_EQ(journal(), Lines());
}

TEST_F(WindowActivation, SettingNoTableMarksTheOneInForceStale)
{
    EXPECT_FALSE(window()->setAIT(ref_ptr<AIT>()));  // none in force
    const ref_ptr<AIT> table = broadcastTable(AITSection());
    window()->setAIT(table);
    EXPECT_FALSE(table->isStale());
    EXPECT_FALSE(window()->setAIT(ref_ptr<AIT>()));
    EXPECT_TRUE(table->isStale());
    EXPECT_EQ(window()->getAIT(), table.get());
    EXPECT_EQ(window()->getPreviousAIT(), nullptr);
}

TEST_F(WindowActivation, SettingTheTableInForceAgainMakesItItsOwnPredecessor)
{
    window()->setAIT(broadcastTable(AITSection()));
    const ref_ptr<AIT> same(window()->getAIT());
    EXPECT_TRUE(window()->setAIT(same));
    EXPECT_EQ(window()->getAIT(), same.get());
    EXPECT_EQ(window()->getPreviousAIT(), same.get());
}

TEST_F(WindowActivation, AnApplicationStillSignalledContinuesForTheNewEntry)
{
    startApplication(httpApplication(1, 2));
    const Application* const before = running();
    const AITApplicationTransport* const formerTransport = before->getTransport();
    EXPECT_TRUE(activate(tableWith(httpApplication(1, 2, "other.html"))));
    EXPECT_EQ(takeLog(), Lines({keep}));
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(running(), before);
    EXPECT_EQ(window()->getState(), Window::RUNNING);
    EXPECT_EQ(running()->getAITApplication(), window()->getAIT()->getAITApplication(0u));
    EXPECT_NE(running()->getTransport(), formerTransport);
    EXPECT_EQ(running()->getTransport(), running()->getAITApplication()->getTransports()[0].get());
    EXPECT_EQ(runningURL(), "http://a.example/index.html");
}

TEST_F(WindowActivation, ARelatedApplicationContinuesWhateverItsCodeIsButKill)
{
    startApplication(httpApplication(1, 2));
    for (const uint8_t code : Codes({0, 1, 2, 3, 5, 6, 7, 255})) {
        EXPECT_TRUE(activate(tableWith(httpApplication(1, 2).controlCode(code))));
        EXPECT_EQ(takeLog(), Lines({keep})) << int(code);
    }
    expectTornDown(tableWith(httpApplication(1, 2).controlCode(4)), "KILL");
}

TEST_F(WindowActivation, AnApplicationNoLongerSignalledIsTornDown)
{
    startApplication(httpApplication(1, 2));
    EXPECT_TRUE(activate(tableWith(httpApplication(1, 3, "next"))));
    EXPECT_EQ(takeLog(), Lines({tearDown, starting}));
    EXPECT_EQ(window()->getState(), Window::TEARDOWN);  // it stays until its successor starts
    EXPECT_EQ(runningURL(), "http://a.example/index.html");

    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(window()->getState(), Window::RUNNING);
    EXPECT_EQ(runningURL(), "http://a.example/next");
    EXPECT_TRUE(running()->isAutostarted());
}

TEST_F(WindowActivation, OtherIdsAreOtherApplications)
{
    startApplication(httpApplication(1, 2));
    expectTornDown(tableWith(httpApplication(2, 2, "a")), "another organisation");
    tickAll();
    expectTornDown(tableWith(httpApplication(2, 3, "b")), "another application");
}

TEST_F(WindowActivation, ATableWithoutAutostartEndsTheTeardownWithNothing)
{
    startApplication(httpApplication(1, 2));
    EXPECT_TRUE(activate(tableWith(httpApplication(1, 3).controlCode(2))));
    EXPECT_EQ(takeLog(), Lines({tearDown, shutting}));
    EXPECT_EQ(journal(), Lines({
                             "STOP 1.2 related reactivate=0 http://a.example/index.html",
                             "RELEASE w1",
                         }));
    EXPECT_EQ(window()->getState(), Window::IDLE);
    EXPECT_EQ(tickAll(), 0);
}

TEST_F(WindowActivation, ATeardownEndsWhenNoAutostartApplicationStarts)
{
    startApplication(httpApplication(1, 2));
    EXPECT_TRUE(activate(tableWith(httpApplication(1, 3).profiles({{0, 9, 9, 9}}))));
    EXPECT_EQ(takeLog(),
              Lines({
                  tearDown,
                  starting,
                  "WARN Window: Attempt to start application with unsupported platform profile.",
                  "WARN Window: AUTOSTART application failed to start.",
                  shutting,
              }));
    EXPECT_EQ(window()->getState(), Window::IDLE);
    EXPECT_EQ(running(), nullptr);
}

TEST_F(WindowActivation, ATeardownEndsWhenTheTableIsStale)
{
    startApplication(httpApplication(1, 2));
    const ref_ptr<AIT> table = broadcastTable(tableWith(httpApplication(1, 3)));
    table->setStale();
    window()->setAIT(table);
    EXPECT_TRUE(window()->activateAIT());
    EXPECT_EQ(takeLog(), Lines({tearDown, shutting}));
    EXPECT_EQ(window()->getState(), Window::IDLE);
}

TEST_F(WindowActivation, ARunningWindowDoesNotLookWhetherItsTableIsStale)
{
    startApplication(httpApplication(1, 2));
    window()->setAIT(ref_ptr<AIT>());
    EXPECT_TRUE(window()->activateAIT());
    EXPECT_EQ(takeLog(), Lines({keep}));
}

TEST_F(WindowActivation, AServiceBoundApplicationEndsWithItsService)
{
    startApplication(httpApplication(1, 2).serviceBound());
    window()->setAIT(ref_ptr<AIT>());  // another channel
    expectTornDown(tableWith(httpApplication(1, 2).serviceBound()), "the former table is stale");
}

TEST_F(WindowActivation, AServiceBoundApplicationWithoutFormerTableEnds)
{
    startApplication(httpApplication(1, 2).serviceBound());
    EXPECT_TRUE(window()->activateAIT());
    EXPECT_EQ(log().count(tearDown), 1);
}

TEST_F(WindowActivation, AServiceBoundApplicationContinuesInItsService)
{
    startApplication(httpApplication(1, 2).serviceBound());
    EXPECT_TRUE(activate(tableWith(httpApplication(1, 2).serviceBound())));
    EXPECT_EQ(takeLog(), Lines({keep}));
}

TEST_F(WindowActivation, TheEntryInForceTellsWhetherAnApplicationIsServiceBound)
{
    startApplication(httpApplication(1, 2));
    window()->setAIT(ref_ptr<AIT>());
    EXPECT_TRUE(activate(tableWith(httpApplication(1, 2).serviceBound())));
    EXPECT_EQ(takeLog(), Lines({keep}));  // it was not bound to the former service
    window()->setAIT(ref_ptr<AIT>());
    expectTornDown(tableWith(httpApplication(1, 2)), "it became bound");
}

TEST_F(WindowActivation, AnApplicationWithoutEntryIsTornDown)
{
    window()->startBroadcastIndependentApplication(HbbTVURL("http://a.example/i"));
    tickAll();
    log().clear();
    expectTornDown(tableWith(httpApplication(0, 0)), "its ids are not signalled ones");
}

TEST_F(WindowActivation, AWindowWithoutTableTearsDown)
{
    startFromXML(httpApplication(1, 2));
    window()->scheduleReactivateAIT(true);  // there was no broadcast table
    EXPECT_EQ(window()->getAIT(), nullptr);
    EXPECT_EQ(takeLog(), Lines({tearDown, shutting}));
    EXPECT_EQ(window()->getState(), Window::IDLE);
}

TEST_F(WindowActivation, ARunningWindowWithoutApplicationWarnsAndActsAsIdle)
{
    stateOf(*window()) = Window::RUNNING;
    EXPECT_TRUE(activate(tableWith(httpApplication(1, 2))));
    EXPECT_EQ(takeLog(), Lines({"WARN Window: When activating AIT the manager state was RUNNING, "
                                "but no running application was found.",
                                starting}));
    EXPECT_EQ(window()->getState(), Window::IDLE);
    tickAll();
    EXPECT_EQ(window()->getState(), Window::RUNNING);
}

TEST_F(WindowActivation, AnIndependentApplicationIsNotAdoptedByAnXMLTable)
{
    startApplication(httpApplication(1, 2));
    makeIndependent();
    window()->setAIT(xmlTable({httpApplication(1, 2)}));
    EXPECT_TRUE(window()->activateAIT());
    EXPECT_EQ(takeLog(), Lines({tearDown, starting}));
}

TEST_F(WindowActivation, AnIndependentApplicationIsAdoptedOnlyWhenAutostartOrPresent)
{
    for (const uint8_t code : Codes({0, 3, 5, 6, 7})) {
        startApplication(httpApplication(1, 2));
        makeIndependent();
        expectTornDown(tableWith(httpApplication(1, 2).controlCode(code)), "not startable");
        EXPECT_EQ(running(), nullptr);
        window()->setAIT(ref_ptr<AIT>());
    }
}

TEST_F(WindowActivation, AnApplicationThatBecameIndependentIsAdopted)
{
    for (const uint8_t code : Codes({1, 2})) {
        startApplication(httpApplication(1, 2));
        makeIndependent();
        EXPECT_TRUE(activate(tableWith(httpApplication(1, 2).controlCode(code))));
        EXPECT_EQ(takeLog(), Lines({fromIndependent, keep}));
        EXPECT_EQ(journal(),
                  Lines({"CHANGE 1.2 related trusted=1 autostart http://a.example/index.html"}));
        EXPECT_TRUE(running()->isBroadcastRelated());
        EXPECT_EQ(running()->getTransport(),
                  window()->getAIT()->getAITApplication(0u)->getTransports()[0].get());
        window()->terminateRunningApplication(true);
        window()->setAIT(ref_ptr<AIT>());
        log().clear();
    }
}

TEST_F(WindowActivation, AnAdoptionEndsWhenAListenerEndsTheApplication)
{
    startApplication(httpApplication(1, 2));
    makeIndependent();
    listener().onNotification[HBBTV_NOTIFICATION_BROADCAST_RELATED_CHANGE] = [&](auto*) {
        window()->terminateRunningApplication(true);
    };
    EXPECT_TRUE(activate(tableWith(httpApplication(1, 2))));
    EXPECT_EQ(log().count(keep), 0);
    EXPECT_EQ(window()->getState(), Window::IDLE);
}

TEST_F(WindowActivation, AnAdoptionEndsWhenAListenerPutsAnotherTableInForce)
{
    startApplication(httpApplication(1, 2));
    makeIndependent();
    const ref_ptr<AIT> next =
        broadcastTable(AITSection().version(2).add(httpApplication(1, 2).name("next")));
    listener().onNotification[HBBTV_NOTIFICATION_BROADCAST_RELATED_CHANGE] = [&](auto*) {
        window()->setAIT(next);
        window()->activateAIT();
    };
    EXPECT_TRUE(activate(tableWith(httpApplication(1, 2))));
    EXPECT_EQ(log().count(keep), 1);
    EXPECT_EQ(running()->getAITApplication(), next->getAITApplication(0u));
}

TEST_F(WindowActivation, AnApplicationOfAnXMLTableIsAdoptedOnItsMatchingTransport)
{
    startFromXML(httpApplication(1, 2));
    browser().loadingURL = "http://a.example/index.html#now";
    EXPECT_TRUE(activate(tableWith(
        AITEntry(1, 2).carousel(5, 9).http(6, "http://a.example/").location("index.html"))));
    EXPECT_EQ(takeLog(), Lines({fromXML, keep}));
    EXPECT_EQ(journal(), Lines({
                             "ve_get_loading_url(w1)",
                             "CHANGE 1.2 related trusted=1 autostart http://a.example/index.html",
                         }));
    EXPECT_EQ(running()->getTransport()->getLabel(), 6);
    EXPECT_EQ(running()->getAITApplication()->getApplicationDomain()->getEntries(),
              Lines({"http://a.example"}));
}

TEST_F(WindowActivation, AnApplicationOfAnXMLTableIsNotAdoptedOtherwise)
{
    const std::tuple<const char*, AITEntry, const char*> cases[] = {
        {"no transport leads to its page", httpApplication(1, 2, "other"), "http://a.example/"},
        {"none at all", AITEntry(1, 2).location("index.html"), "http://a.example/"},
        {"the page now loaded lies elsewhere", httpApplication(1, 2), "http://b.example/"},
        {"the browser loads nothing", httpApplication(1, 2), ""},
        {"the entry already has another host",
         AITEntry(1, 2)
             .http(1, "http://a.example/")
             .location("index.html")
             .boundary({"http://b.example"}),
         "http://a.example/"},
    };
    for (const auto& [why, entry, loading] : cases) {
        startFromXML(httpApplication(1, 2));
        browser().loadingURL = loading;
        expectTornDown(tableWith(entry), why);
        EXPECT_EQ(log().count(fromXML), 0) << why;
        window()->terminateRunningApplication(true);
        tickAll();
        window()->terminateRunningApplication(true);
        window()->setAIT(ref_ptr<AIT>());
    }
}

TEST_F(WindowActivation, ABrowserThatFailsToTellItsPagePreventsAdoption)
{
    startFromXML(httpApplication(1, 2));
    browser().loadingURL = "http://a.example/index.html";
    browser().results["ve_get_loading_url"] = 1;
    expectTornDown(tableWith(httpApplication(1, 2)), "ve_get_loading_url failed");
}

TEST_F(WindowActivation, AMatchingCarouselTransportDoesNotAdopt)
{
    const AITEntry entry = AITEntry(1, 2).remoteCarousel(1, 1, 2, 3, 9).location("i");
    startFromXML(entry);
    browser().loadingURL = runningURL();
    expectTornDown(tableWith(entry), "only HTTP is adopted");
    EXPECT_EQ(journal().front().find("ve_get_loading_url"), std::string::npos);
}

TEST_F(WindowActivation, WithoutTransportTheApplicationContinuesAllTheSame)
{
    startApplication(httpApplication(1, 2));
    const AITApplicationTransport* const former = running()->getTransport();
    EXPECT_FALSE(activate(tableWith(AITEntry(1, 2))));
    EXPECT_EQ(takeLog(), Lines({keep, "ERR Window: Something really funky is going on! No "
                                      "transport found for the application in newly loaded AIT!"}));
    EXPECT_EQ(window()->getState(), Window::RUNNING);
    EXPECT_EQ(running()->getAITApplication(), window()->getAIT()->getAITApplication(0u));
    EXPECT_EQ(running()->getTransport(), former);
}

TEST_F(WindowActivation, HttpTransportsDoNotCountWhileHttpIsOff)
{
    startApplication(httpApplication(1, 2));
    manager()->setHttpAvailable(false);
    EXPECT_FALSE(activate(tableWith(httpApplication(1, 2))));
    EXPECT_TRUE(activate(tableWith(httpApplication(1, 2).carousel(7, 9))));
    EXPECT_EQ(running()->getTransport()->getLabel(), 7);
}

TEST_F(WindowActivation, ATableReplacedTwiceLivesWhileItsApplicationRuns)
{
    startFromXML(httpApplication(1, 2).name("kept"));
    // Two more tables that are put in force without being activated.
    window()->setAIT(broadcastTable(AITSection().version(1)));
    window()->setAIT(broadcastTable(AITSection().version(2)));
    ASSERT_NE(running()->getAITApplication(), nullptr);
    EXPECT_EQ(running()->getAITApplication()->getApplicationName(), "kept");
    expectTornDown(AITSection().version(3), "still compared by its entry");
}

TEST_F(WindowActivation, ATableOnTheStackMayDieWhileItsApplicationRuns)
{
    {
        AIT table(1, 2, 3, nullptr);
        table.parse(AITSection().add(httpApplication(1, 2)).exactBlock().get());
        window()->startApplication(table.getAITApplication(0u), HbbTVURL(""), nullptr);
        tickAll();
        ASSERT_NE(running(), nullptr);
        EXPECT_EQ(running()->getAITApplication(), table.getAITApplication(0u));
    }
    EXPECT_EQ(running()->getAITApplication(), nullptr);
    log().clear();
    expectTornDown(tableWith(httpApplication(1, 2)), "its entry is gone");
}

TEST_F(WindowActivation, AChannelHandleStoredByAScriptLivesWithTheEntry)
{
    char storedByScript = 0;
    char ofNextTable = 0;
    startApplication(httpApplication(1, 2));
    EXPECT_EQ(native_AppManNotifySetChannelCalled(1, "http://a.example/", &storedByScript), 0);
    void* channel = nullptr;
    EXPECT_EQ(native_AppPrivateDataGetCurrentChannel(idOf(running()), &channel), VEIF_RETURN_OK);
    EXPECT_EQ(channel, &storedByScript);

    sendAIT(tableWith(httpApplication(1, 2)), &ofNextTable);
    tickAll();
    EXPECT_EQ(native_AppPrivateDataGetCurrentChannel(idOf(running()), &channel), VEIF_RETURN_OK);
    EXPECT_EQ(channel, &ofNextTable);
}

TEST_F(WindowActivation, AnApplicationWhoseEntryLostItsDescriptorContinues)
{
    startApplication(httpApplication(1, 2));
    for (uint8_t version = 1; version < 3; ++version) {
        activate(AITSection().version(version).add(
            httpApplication(1, 2).withoutApplicationDescriptor()));
        EXPECT_EQ(log().count(keep), version);
    }
}

}  // namespace
