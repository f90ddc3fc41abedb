// Sections of the service's table, and the change of the channel.

#include <algorithm>

#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "oipf/notifications/notification_manager.h"
#include "tests/support/counted_memory.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

const char retrieving[] = "DEBUG ExternalEvent: Retrieving AIT...";

class AITEvents : public LibraryTest {
protected:
    static AITEntry presentApplication(uint16_t applicationId)
    {
        return httpApplication(1, applicationId).controlCode(2);
    }

    /// Sends a section and lets everything run. @return what was said about it
    static Lines conversation(const AITSection& section)
    {
        sendAIT(section);
        tickAll();
        return journal();
    }

    static Lines announced(const char* applications, int version)
    {
        return {"AIT broadcast [" + std::string(applications) + "]",
                "hbbtv_ait_completed(" + std::to_string(version) + ")"};
    }

    void sendChannelChange()
    {
        send(E_CHANNEL_CHANGE);
        tickAll();
        EXPECT_EQ(journal(), Lines({"dsmcc_clear_cache()", "hbbtv_ait_invalidate()"}));
    }

    static void sendNoSection(uintptr_t keepApplication)
    {
        send(E_AIT_SECTION, noSectionRecord(keepApplication));
        tickAll();
    }

    void startIndependentApplication()
    {
        send(E_START_BROADCAST_INDEPENDENT_APPLICATION, urlRecord(window(), "http://b.example/"));
        tickAll();
        forgetJournal();
    }
};

TEST_F(AITEvents, TwoSectionsMakeOneTableAfterTheSecond)
{
    EXPECT_EQ(conversation(AITSection().version(5).number(0, 1).add(presentApplication(1))),
              Lines());
    EXPECT_EQ(window()->getAIT(), nullptr);
    EXPECT_NE(window()->getAssemblyAIT(), nullptr);
    EXPECT_EQ(conversation(AITSection().version(5).number(1, 1).add(presentApplication(2))),
              announced("1.1 1.2", 5));
    EXPECT_NE(window()->getAIT(), nullptr);
    EXPECT_EQ(window()->getAssemblyAIT(), nullptr);
    EXPECT_EQ(log().count(retrieving), 2);
}

TEST_F(AITEvents, SectionsMayComeInAnyOrderAndTwice)
{
    const AITSection sections[] = {AITSection().number(0, 2).add(presentApplication(1)),
                                   AITSection().number(1, 2).add(presentApplication(2)),
                                   AITSection().number(2, 2).add(presentApplication(3))};
    for (const int number : {2, 0, 2, 0})
        EXPECT_EQ(conversation(sections[number]), Lines());
    EXPECT_EQ(conversation(sections[1]), announced("1.3 1.1 1.2", 0));
}

TEST_F(AITEvents, TableCarriesItsServiceAndChannel)
{
    char channel;
    sendAIT(AITSection().add(presentApplication(1)), &channel);
    tickAll();
    const AIT& table = *window()->getAIT();
    EXPECT_EQ(table.getOriginalNetworkId(), 1);
    EXPECT_EQ(table.getTransportStreamId(), 2);
    EXPECT_EQ(table.getServiceId(), 3);
    EXPECT_EQ(table.getChannelHandle(), &channel);
}

TEST_F(AITEvents, TableIsAnnouncedBeforeItIsInForceAndPrintedLast)
{
    AIT* inForceWhenAnnounced = nullptr;
    AIT* underAssemblyWhenAnnounced = nullptr;
    conversation(AITSection().version(1).add(presentApplication(1)));
    AIT* const former = window()->getAIT();
    listener().onNotification[HBBTV_NOTIFICATION_AIT_UPDATE] = [&](HBBTV_NotificationData*) {
        inForceWhenAnnounced = window()->getAIT();
        underAssemblyWhenAnnounced = window()->getAssemblyAIT();
    };
    bool startedWhenCompleted = true;
    platform().whileIn["hbbtv_ait_completed"] = [&] {
        startedWhenCompleted = window()->getPendingApplication() != nullptr;
    };
    log().clear();
    sendAIT(AITSection().version(2).add(httpApplication(1, 1)));
    EXPECT_TRUE(vesta_hbbtv_tick());
    EXPECT_EQ(inForceWhenAnnounced, former);
    EXPECT_EQ(underAssemblyWhenAnnounced, nullptr);
    EXPECT_FALSE(startedWhenCompleted);
    EXPECT_NE(window()->getPendingApplication(), nullptr);

    const Lines lines = log().leveledLines();
    const auto starting = std::find(lines.begin(), lines.end(),
                                    "LOG Window: Starting application from AITApplication.");
    const auto printed = std::find(lines.begin(), lines.end(), "DEBUG AIT: --- Outputing AIT ---");
    ASSERT_NE(starting, lines.end());
    ASSERT_NE(printed, lines.end());
    EXPECT_LT(starting, printed);
}

TEST_F(AITEvents, TableOfTheVersionInForceIsDroppedAtItsFirstSection)
{
    conversation(AITSection().version(3).add(presentApplication(1)));
    const AIT* const inForce = window()->getAIT();
    EXPECT_EQ(conversation(AITSection().version(3).number(0, 4).add(presentApplication(2))),
              Lines());
    EXPECT_EQ(window()->getAssemblyAIT(), nullptr);
    EXPECT_EQ(window()->getAIT(), inForce);
    EXPECT_EQ(conversation(AITSection().version(4).add(presentApplication(2))),
              announced("1.2", 4));
}

TEST_F(AITEvents, VersionInForceIsAppliedAgainAfterAChannelChange)
{
    conversation(AITSection().version(3).add(presentApplication(1)));
    sendChannelChange();
    EXPECT_TRUE(window()->getAIT()->isStale());
    EXPECT_EQ(conversation(AITSection().version(3).add(presentApplication(2))),
              announced("1.2", 3));
    EXPECT_FALSE(window()->getAIT()->isStale());
    EXPECT_EQ(conversation(AITSection().version(3).add(presentApplication(2))), Lines());
}

TEST_F(AITEvents, SectionThatIsRefusedLeavesTheTableUnderAssembly)
{
    conversation(AITSection().version(1).number(0, 1).add(presentApplication(1)));
    const AIT* const assembly = window()->getAssemblyAIT();
    const AITSection refused[] = {
        AITSection().version(2).number(1, 1).add(presentApplication(9)),
        AITSection().version(1).tableId(0x75).number(1, 1),
        AITSection().sectionLength(0),
        AITSection().sectionLength(4),
    };
    for (const AITSection& section : refused) {
        EXPECT_EQ(conversation(section), Lines());
        EXPECT_EQ(window()->getAssemblyAIT(), assembly);
    }
    sendNoSection(1);
    EXPECT_EQ(window()->getAssemblyAIT(), assembly);
    EXPECT_EQ(conversation(AITSection().version(1).number(1, 1).add(presentApplication(2))),
              announced("1.1 1.2", 1));
}

TEST_F(AITEvents, TableThatCanNoLongerCompleteStaysUntilTheChannelChange)
{
    conversation(AITSection().version(1).number(0, 0).applicationLoopLength(0x0FFF));
    const AIT* const spoilt = window()->getAssemblyAIT();
    ASSERT_NE(spoilt, nullptr);
    EXPECT_EQ(conversation(AITSection().version(1).add(presentApplication(1))), Lines());
    EXPECT_EQ(conversation(AITSection().version(2).add(presentApplication(1))), Lines());
    EXPECT_EQ(window()->getAssemblyAIT(), spoilt);
    sendChannelChange();
    EXPECT_EQ(window()->getAssemblyAIT(), nullptr);
    EXPECT_EQ(conversation(AITSection().version(2).add(presentApplication(1))),
              announced("1.1", 2));
}

TEST_F(AITEvents, NoSectionAndNothingToKeepStopsABroadcastRelatedApplication)
{
    startApplication(httpApplication(1, 1));
    send(E_AIT_SECTION, noSectionRecord(0));
    EXPECT_TRUE(vesta_hbbtv_tick());  // at once, without a further event
    EXPECT_EQ(journal(),
              Lines({"STOP 1.1 related reactivate=0 http://a.example/index.html", "RELEASE w1"}));
    EXPECT_EQ(running(), nullptr);
    sendNoSection(0);
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(log().count(retrieving), 2);
    EXPECT_EQ(window()->getAssemblyAIT(), nullptr);
}

TEST_F(AITEvents, NoSectionAndNothingToKeepLeavesABroadcastIndependentApplication)
{
    startIndependentApplication();
    sendNoSection(0);
    EXPECT_EQ(journal(), Lines());
    EXPECT_NE(running(), nullptr);
}

TEST_F(AITEvents, NoSectionWithAnApplicationToKeepDoesNothing)
{
    startApplication(httpApplication(1, 1));
    for (const uintptr_t keep : {uintptr_t{1}, ~uintptr_t{0}})
        sendNoSection(keep);
    EXPECT_EQ(journal(), Lines());
    EXPECT_NE(running(), nullptr);
    EXPECT_EQ(log().count(retrieving), 2);
}

TEST_F(AITEvents, NoSectionWithAnApplicationToKeepBeginsATableOfItsService)
{
    HBBTV_EventData* const record = noSectionRecord(1);
    record->ait.original_network_id = 9;
    record->ait.transport_stream_id = 8;
    record->ait.service_id = 7;
    send(E_AIT_SECTION, record);
    sendAIT(AITSection().add(AITEntry(1, 1).carousel(1, 4).location("i")));
    tickAll();
    EXPECT_EQ(runningURL(), "dvb://9.8.7.4/i");
}

TEST_F(AITEvents, TheVersionOfATableThatIsNotFromTheBroadcastCounts)
{
    sendXMLAIT({presentApplication(1)});
    tickAll();
    forgetJournal();
    EXPECT_EQ(conversation(AITSection().version(0).add(presentApplication(2))), Lines());
    EXPECT_EQ(conversation(AITSection().version(1).add(presentApplication(2))),
              announced("1.2", 1));
}

TEST_F(AITEvents, ThePlatformHearsOfAChannelChangeBeforeTheTableIsStale)
{
    startApplication(httpApplication(1, 1));
    int looked = 0;
    const auto lookAround = [&] {
        ++looked;
        EXPECT_FALSE(window()->getAIT()->isStale());
    };
    platform().whileIn["dsmcc_clear_cache"] = lookAround;
    platform().whileIn["hbbtv_ait_invalidate"] = lookAround;
    sendChannelChange();
    EXPECT_EQ(looked, 2);
    EXPECT_TRUE(window()->getAIT()->isStale());
}

/// Shuts the library down, and goes on in different ways.
struct End {
    const char* name;
    void (*end)();
    const char* lastLine;
};

const End ends[] = {
    {"Shutdown", [] { vesta_hbbtv_shutdown(); }, "dsmcc_stop()"},
    {"ShutdownAndAQuestion",
     [] {
         vesta_hbbtv_shutdown();
         vesta_hbbtv_get_broadcast_window();
     },
     "dsmcc_stop()"},
    {"ShutdownAndInit",
     [] {
         vesta_hbbtv_shutdown();
         vesta_hbbtv_init(FakeBrowser::instance().handle());
         vesta_hbbtv_set_broadcast_window(vesta_hbbtv_create_window());
     },
     "dsmcc_start()"},
};

class EndedLibrary : public AITEvents, public ::testing::WithParamInterface<End> {};

TEST_P(EndedLibrary, HearsNothingMoreOfAChannelChange)
{
    for (const char* const hook : {"dsmcc_clear_cache", "hbbtv_ait_invalidate"}) {
        platform().whileIn[hook] = [] { GetParam().end(); };
        send(E_CHANNEL_CHANGE);
        tickAll();
        EXPECT_EQ(lastLine(), GetParam().lastLine);
        platform().whileIn.clear();
        vesta_hbbtv_shutdown();
        vesta_hbbtv_init(browser().handle());
    }
}

TEST_P(EndedLibrary, HearsNothingMoreOfATable)
{
    listener().onNotification[HBBTV_NOTIFICATION_AIT_UPDATE] = [](auto*) { GetParam().end(); };
    const Lines lines = conversation(AITSection().version(9).add(httpApplication(1, 1)));
    EXPECT_EQ(lines.back(), GetParam().lastLine);
    EXPECT_EQ(outstandingBlocks(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Ends, EndedLibrary, ::testing::ValuesIn(ends),
                         [](const auto& suite) { return std::string(suite.param.name); });

TEST_F(AITEvents, SectionsAreDiscardedWithoutABroadcastWindow)
{
    vesta_hbbtv_release_window(window());
    void* const other = vesta_hbbtv_create_window();
    EXPECT_EQ(conversation(AITSection().add(httpApplication(1, 1))), Lines());
    sendNoSection(0);
    EXPECT_EQ(log().count(retrieving), 2);
    EXPECT_EQ(outstandingBlocks(), 0u);
    EXPECT_EQ(static_cast<Window*>(other)->getAssemblyAIT(), nullptr);
    sendChannelChange();

    vesta_hbbtv_set_broadcast_window(other);
    EXPECT_EQ(conversation(AITSection().add(presentApplication(1))), announced("1.1", 0));
}

TEST_F(AITEvents, SectionsAreDiscardedWithoutANotificationManager)
{
    NotificationManager::getInstance()->shutdown();
    EXPECT_EQ(conversation(AITSection().add(httpApplication(1, 1))), Lines());
    EXPECT_EQ(window()->getAIT(), nullptr);
    EXPECT_EQ(window()->getAssemblyAIT(), nullptr);
    EXPECT_EQ(log().leveledLines(), Lines({retrieving}));
}

TEST_F(AITEvents, ListenerMayReleaseTheWindowWhenATableIsAnnounced)
{
    listener().onNotification[HBBTV_NOTIFICATION_AIT_UPDATE] = [&](HBBTV_NotificationData*) {
        vesta_hbbtv_release_window(window());
    };
    EXPECT_EQ(conversation(AITSection().version(9).add(httpApplication(1, 1))),
              announced("1.1", 9));
    EXPECT_FALSE(manager()->windowExists(window()));
    EXPECT_EQ(log().count("LOG Window: Starting application from AITApplication."), 0);
    EXPECT_EQ(log().count("DEBUG AIT: --- Outputing AIT ---"), 1);
    EXPECT_EQ(outstandingBlocks(), 0u);
}

TEST_F(AITEvents, AWindowThatIsReleasedWhenATableIsAnnouncedEndsAfterTheTable)
{
    startApplication(httpApplication(1, 1));
    const auto release = [&] {
        vesta_hbbtv_release_window(window());
        Journal::instance().write("released");
    };
    const Lines ended = {"STOP 1.1 related reactivate=0 http://a.example/index.html", "RELEASE w1"};
    journalLog({"AIT"});
    listener().onNotification[HBBTV_NOTIFICATION_AIT_UPDATE] = [&](auto*) { release(); };
    sendAIT(AITSection().version(1));
    tickAll();
    EXPECT_EQ(journal(), Lines({"AIT broadcast []", "released", "hbbtv_ait_completed(1)",
                                "DEBUG AIT: --- Outputing AIT ---", "DEBUG AIT: --- Done ---",
                                ended[0], ended[1]}));
}

/// A newer table comes while an older one is announced or completed.
class MeetingTables : public AITEvents {
protected:
    void sendNewer()
    {
        listener().onNotification.clear();
        platform().whileIn.clear();
        sendAIT(AITSection().version(2).add(httpApplication(1, 2, "newer")));
        tickAll();
    }

    void expectNewerAfter(Lines lines)
    {
        sendAIT(AITSection().version(1).add(httpApplication(1, 1, "older")));
        tickAll();
        lines.insert(lines.end(),
                     {"AIT broadcast [1.2]", "hbbtv_ait_completed(2)",
                      "START 1.2 related autostart http://a.example/newer",
                      "CHANGE 0.0 related trusted=1 http://a.example/newer", "REQUEST w1",
                      "ve_clear_history(w1)", "ve_open_url(w1, http://a.example/newer)"});
        EXPECT_EQ(journal(), lines);
        EXPECT_EQ(window()->getAIT()->getVersion(), 2);
        EXPECT_EQ(runningURL(), "http://a.example/newer");
    }
};

TEST_F(MeetingTables, TheOneThatAListenerLetsInStays)
{
    listener().onNotification[HBBTV_NOTIFICATION_AIT_UPDATE] = [this](auto*) { sendNewer(); };
    expectNewerAfter({"AIT broadcast [1.1]"});
    EXPECT_EQ(log().count("DEBUG AIT: --- Done ---"), 1) << "the platform heard of one table only";
}

TEST_F(MeetingTables, TheOneThatThePlatformLetsInStays)
{
    platform().whileIn["hbbtv_ait_completed"] = [this] { sendNewer(); };
    expectNewerAfter({"AIT broadcast [1.1]", "hbbtv_ait_completed(1)"});
    EXPECT_EQ(log().count("DEBUG AIT: --- Done ---"), 2) << "it was complete all the same";
}

// The application is still being made then and belongs to nobody else: it must not be forgotten.
TEST_F(AITEvents, ListenerMayShutTheLibraryDownWhenAnApplicationBecomesBroadcastRelated)
{
    listener().onNotification[HBBTV_NOTIFICATION_BROADCAST_RELATED_CHANGE] =
        [](HBBTV_NotificationData*) { vesta_hbbtv_shutdown(); };
    const Lines lines = conversation(AITSection().add(httpApplication(1, 1)));
    EXPECT_EQ(lines.back(), "dsmcc_stop()");
    EXPECT_FALSE(vesta_hbbtv_tick());
}

TEST_F(AITEvents, PlatformMayReleaseTheWindowWhenATableIsComplete)
{
    platform().whileIn["hbbtv_ait_completed"] = [&] { vesta_hbbtv_release_window(window()); };
    EXPECT_EQ(conversation(AITSection().add(httpApplication(1, 1))), announced("1.1", 0));
}

TEST_F(AITEvents, ChannelChangeLeavesTheRunningApplicationAlone)
{
    startApplication(httpApplication(1, 1));
    conversation(AITSection().version(1).number(0, 1));
    sendChannelChange();
    EXPECT_NE(running(), nullptr);
    EXPECT_TRUE(window()->getAIT()->isStale());
    EXPECT_EQ(window()->getAssemblyAIT(), nullptr);
    sendChannelChange();
}

}  // namespace
