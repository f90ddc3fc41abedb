// Every event of the integrator but the sections: what it does, what it ignores, and that its
// record is freed on every path.

#include <climits>
#include <cstdlib>

#include "foundation/configuration_manager.h"
#include "integration/external_event.h"
#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "oipf/notifications/notification_manager.h"
#include "tests/support/counted_memory.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

char foreignPlace;

struct EventCase {
    const char* name;
    int type;
    HBBTV_EventData* (*makeRecord)();
    Lines journal;         ///< of a record that names nothing known
    Lines log;             ///< likewise
    Lines logWithoutData;  ///< the journal is the same
};

std::ostream& operator<<(std::ostream& stream, const EventCase& event)
{
    return stream << event.name;
}

HBBTV_EventData* unknownWindow()
{
    return windowRecord(&foreignPlace);
}

const EventCase eventCases[] = {
    {"AITSection",
     E_AIT_SECTION,
     [] { return aitRecord(AITSection().number(0, 1)); },
     {},
     {"DEBUG ExternalEvent: Retrieving AIT..."},
     {}},
    {"ChannelChange",
     E_CHANNEL_CHANGE,
     unknownWindow,
     {"dsmcc_clear_cache()", "hbbtv_ait_invalidate()"},
     {},
     {}},
    {"StartApplication",
     E_START_APPLICATION,
     [] { return startRecord(&foreignPlace, 1, 2); },
     {},
     {},
     {}},
    {"StartURL",
     E_START_BROADCAST_INDEPENDENT_APPLICATION,
     [] { return urlRecord(&foreignPlace, "http://b.example/"); },
     {},
     {},
     {}},
    {"Terminate", E_TERMINATE_APPLICATION, unknownWindow, {}, {}, {}},
    {"FileReady",
     E_DSMCC_FILE_READY,
     [] { return downloadRecord(&foreignPlace); },
     {},
     {"DEBUG ExternalEvent: E_DSMCC_FILE_READY",
      "WARN OCDownloadManager: Unknown id when reporting download success"},
     {"DEBUG ExternalEvent: E_DSMCC_FILE_READY"}},
    {"FileError",
     E_DSMCC_FILE_ERROR,
     [] { return downloadRecord(&foreignPlace); },
     {},
     {"DEBUG ExternalEvent: E_DSMCC_FILE_ERROR",
      "WARN OCDownloadManager: Unknown id when reporting download failed"},
     {"DEBUG ExternalEvent: E_DSMCC_FILE_ERROR"}},
    {"HTTPAvailable", E_HTTP_AVAILABLE, unknownWindow, {}, {}, {}},
    {"HTTPUnavailable", E_HTTP_UNAVAILABLE, unknownWindow, {}, {}, {}},
    {"StreamEvent",
     E_DSMCC_STREAM_EVENT,
     [] {
         return streamEventRecord(nullptr, 1, 2, {"a", "b", "c", "d"});
     },
     {},
     {"DEBUG ExternalEvent: E_DSMCC_STREAM_EVENT"},
     {"DEBUG ExternalEvent: E_DSMCC_STREAM_EVENT"}},
    {"LowMemory", E_LOW_MEMORY, unknownWindow, {}, {}, {}},
    {"UserAgent",
     E_USER_AGENT_INFO,
     [] {
         return userAgentRecord(2, {"a", "b", "c", "d", "e", "f"});
     },
     {"ve_set_uastring_extension(HbbTV/1.2.1 (a; b; c; d; e; f))"},
     {},
     {}},
    {"Profiles", E_SUPPORTED_PROFILES, [] { return profilesRecord(1); }, {}, {}, {}},
    {"Type13", 13, unknownWindow, {}, {}, {}},
    {"NegativeType", -1, unknownWindow, {}, {}, {}},
    {"HighestType", INT_MAX, unknownWindow, {}, {}, {}},
};

class EveryExternalEvent : public LibraryTest, public ::testing::WithParamInterface<EventCase> {
protected:
    void sendCase(HBBTV_EventData* data)
    {
        send(static_cast<HBBTV_EventType>(GetParam().type), data);
    }
};

TEST_P(EveryExternalEvent, FreesItsRecordWhenItRuns)
{
    sendCase(GetParam().makeRecord());
    EXPECT_GT(outstandingBlocks(), 0u);
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(outstandingBlocks(), 0u);
    EXPECT_EQ(journal(), GetParam().journal);
    EXPECT_EQ(log().leveledLines(), GetParam().log);
}

TEST_P(EveryExternalEvent, FreesItsRecordWhenItIsDeletedUnexecuted)
{
    sendCase(GetParam().makeRecord());
    shutdown();
    EXPECT_EQ(outstandingBlocks(), 0u);
    EXPECT_EQ(journal(), Lines({"hbbtv_ait_stop()", "dsmcc_stop()"}));
}

TEST_P(EveryExternalEvent, FreesItsRecordWhenThereAreNoWindowsAndNoListeners)
{
    vesta_hbbtv_release_window(window());
    NotificationManager::getInstance()->shutdown();
    sendCase(GetParam().makeRecord());
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(outstandingBlocks(), 0u);
}

TEST_P(EveryExternalEvent, LeavesTheRecordToTheSenderWithoutAQueue)
{
    shutdown();
    HBBTV_EventData* const record = windowRecord(nullptr);
    sendCase(record);
    EXPECT_FALSE(vesta_hbbtv_tick());
    EXPECT_EQ(outstandingBlocks(), 1u);
    std::free(record);
}

TEST_P(EveryExternalEvent, WithoutARecordIsAcceptedAndRuns)
{
    sendCase(nullptr);
    EXPECT_EQ(tickAll(), 1);
    const bool needsNoRecord = GetParam().type == E_CHANNEL_CHANGE;
    EXPECT_EQ(journal(), needsNoRecord ? GetParam().journal : Lines());
    EXPECT_EQ(log().leveledLines(), GetParam().logWithoutData);
}

INSTANTIATE_TEST_SUITE_P(Types, EveryExternalEvent, ::testing::ValuesIn(eventCases),
                         [](const auto& suite) { return suite.param.name; });

class ExternalEvents : public LibraryTest {
protected:
    void startURL(void* window, const char* url)
    {
        send(E_START_BROADCAST_INDEPENDENT_APPLICATION, urlRecord(window, url));
        tickAll();
    }

    /// A handle that was valid once.
    static void* staleWindow()
    {
        void* const window = vesta_hbbtv_create_window();
        vesta_hbbtv_release_window(window);
        return window;
    }
};

TEST_F(ExternalEvents, RunInSendingOrderOneATick)
{
    send(E_SUPPORTED_PROFILES, profilesRecord(1));
    send(E_SUPPORTED_PROFILES, profilesRecord(2));
    send(E_SUPPORTED_PROFILES, profilesRecord(3));
    for (const int profiles : {1, 2, 3}) {
        EXPECT_TRUE(vesta_hbbtv_tick());
        EXPECT_EQ(ConfigurationManager::getInstance()->getSupportedProfiles(), profiles);
    }
    EXPECT_FALSE(vesta_hbbtv_tick());
}

TEST_F(ExternalEvents, StartApplicationStartsTheEntryOfTheTableInForce)
{
    sendAIT(AITSection().add(httpApplication(0x1A, 0x2B).controlCode(2)));
    tickAll();
    forgetJournal();
    send(E_START_APPLICATION, startRecord(window(), 0x1A, 0x2B));
    tickAll();
    EXPECT_EQ(journal(), Lines({
                             "START 1a.2b related http://a.example/index.html",
                             "CHANGE 0.0 related trusted=1 http://a.example/index.html",
                             "REQUEST w1",
                             "ve_clear_history(w1)",
                             "ve_open_url(w1, http://a.example/index.html)",
                         }));
    EXPECT_FALSE(running()->isStartedOnRequest());
}

TEST_F(ExternalEvents, StartApplicationTakesAllBitsOfBothIds)
{
    sendAIT(AITSection().add(httpApplication(0xFEDCBA98, 0x7EDC).controlCode(2)));
    send(E_START_APPLICATION, startRecord(window(), 0xFEDCBA98, 0x7EDC));
    tickAll();
    ASSERT_NE(running(), nullptr);
    EXPECT_EQ(running()->getOrganisationId(), 0xFEDCBA98u);
    EXPECT_EQ(running()->getApplicationId(), 0x7EDCu);
}

TEST_F(ExternalEvents, StartApplicationNeedsAKnownWindowAndAnEntry)
{
    sendAIT(AITSection().add(httpApplication(0x1A, 0x2B).controlCode(2)));
    tickAll();
    forgetJournal();
    void* const stale = staleWindow();
    for (void* const handle :
         {static_cast<void*>(nullptr), stale, static_cast<void*>(&foreignPlace)}) {
        send(E_START_APPLICATION, startRecord(handle, 0x1A, 0x2B));
        tickAll();
    }
    send(E_START_APPLICATION, startRecord(window(), 0x1A, 0x2C));
    send(E_START_APPLICATION, startRecord(window(), 0x1B, 0x2B));
    tickAll();
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(running(), nullptr);
}

TEST_F(ExternalEvents, StartURLStartsABroadcastIndependentApplicationOnRequest)
{
    send(E_START_BROADCAST_INDEPENDENT_APPLICATION, urlRecord(window(), "http://b.example/p?q#f"));
    EXPECT_TRUE(vesta_hbbtv_tick());
    ASSERT_NE(window()->getPendingApplication(), nullptr);
    EXPECT_TRUE(window()->getPendingApplication()->isStartedOnRequest());
    tickAll();
    EXPECT_EQ(journal(), Lines({
                             "START 0.0 independent http://b.example/p?q#f",
                             "REQUEST w1",
                             "ve_clear_history(w1)",
                             "ve_open_url(w1, http://b.example/p?q#f)",
                         }));
    EXPECT_FALSE(running()->isBroadcastRelated());
}

TEST_F(ExternalEvents, StartURLDoesNotAskForHTTP)
{
    send(E_HTTP_UNAVAILABLE);
    startURL(window(), "http://b.example/");
    EXPECT_EQ(runningURL(), "http://b.example/");
}

TEST_F(ExternalEvents, StartURLThatIsBlockedMarksNothing)
{
    listener().startAction = HBBTV_APPLICATION_ACTION_BLOCK_AND_KEEP;
    startURL(window(), "http://b.example/");
    EXPECT_EQ(journal(), Lines({"START 0.0 independent http://b.example/"}));
    EXPECT_EQ(running(), nullptr);
}

TEST_F(ExternalEvents, StartURLNeedsAKnownWindowAndAURL)
{
    startURL(window(), nullptr);
    startURL(window(), "");
    startURL(nullptr, "http://b.example/");
    startURL(staleWindow(), "http://b.example/");
    startURL(&foreignPlace, "http://b.example/");
    startURL(nullptr, nullptr);
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(running(), nullptr);
}

TEST_F(ExternalEvents, TerminateStopsTheRunningApplicationAtOnce)
{
    startURL(window(), "http://b.example/");
    forgetJournal();
    log().clear();
    send(E_TERMINATE_APPLICATION, windowRecord(window()));
    EXPECT_TRUE(vesta_hbbtv_tick());
    EXPECT_EQ(journal(),
              Lines({"STOP 0.0 independent reactivate=0 http://b.example/", "RELEASE w1"}));
    EXPECT_EQ(log().leveledLines().front(), "LOG ExternalEvent: Terminate app!");
    EXPECT_EQ(running(), nullptr);
    EXPECT_FALSE(vesta_hbbtv_tick());
}

TEST_F(ExternalEvents, TerminateLogsForAKnownWindowOnly)
{
    send(E_TERMINATE_APPLICATION, windowRecord(window()));
    tickAll();
    EXPECT_EQ(log().count("LOG ExternalEvent: Terminate app!"), 1);

    startURL(window(), "http://b.example/");
    forgetJournal();
    send(E_TERMINATE_APPLICATION, windowRecord(nullptr));
    send(E_TERMINATE_APPLICATION, windowRecord(staleWindow()));
    send(E_TERMINATE_APPLICATION, windowRecord(&foreignPlace));
    tickAll();
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(log().count("LOG ExternalEvent: Terminate app!"), 1);
    EXPECT_NE(running(), nullptr);
}

TEST_F(ExternalEvents, HTTPSwitchIsSetAtTheStartAndFollowsTheEvents)
{
    EXPECT_TRUE(manager()->isHttpAvailable());
    send(E_HTTP_UNAVAILABLE);
    EXPECT_TRUE(manager()->isHttpAvailable());  // not before the tick
    tickAll();
    EXPECT_FALSE(manager()->isHttpAvailable());
    send(E_HTTP_AVAILABLE);
    tickAll();
    EXPECT_TRUE(manager()->isHttpAvailable());
}

TEST_F(ExternalEvents, HTTPSwitchDoesNotAskForARecord)
{
    for (HBBTV_EventData* (*const makeRecord)() :
         {+[]() -> HBBTV_EventData* { return nullptr; }, unknownWindow}) {
        send(E_HTTP_UNAVAILABLE, makeRecord());
        tickAll();
        EXPECT_FALSE(manager()->isHttpAvailable());
        send(E_HTTP_AVAILABLE, makeRecord());
        tickAll();
        EXPECT_TRUE(manager()->isHttpAvailable());
    }
}

TEST_F(ExternalEvents, HTTPUnavailablePassesOverHTTPTransports)
{
    send(E_HTTP_UNAVAILABLE);
    sendAIT(AITSection()
                .add(httpApplication(1, 1))
                .add(AITEntry(1, 2).carousel(1, 9).location("index.html")));
    tickAll();
    EXPECT_EQ(runningURL(), "dvb://1.2.3.9/index.html");
}

std::string lastStreamEvent;

void recordStreamEvent(const char* string1, uint32_t value1, const char* string2,
                       const char* string3, const char* string4, uint32_t value2)
{
    std::ostringstream text;
    const auto shown = [](const char* string) { return string ? string : "(null)"; };
    text << shown(string1) << "," << value1 << "," << shown(string2) << "," << shown(string3) << ","
         << shown(string4) << "," << value2;
    lastStreamEvent = text.str();
}

TEST_F(ExternalEvents, StreamEventCallsItsListenerWithItsSixValues)
{
    send(E_DSMCC_STREAM_EVENT,
         streamEventRecord(recordStreamEvent, 0xFFFFFFFF, 7, {"one", "two", "three", "four"}));
    tickAll();
    EXPECT_EQ(lastStreamEvent, "one,4294967295,two,three,four,7");
    send(E_DSMCC_STREAM_EVENT,
         streamEventRecord(recordStreamEvent, 0, 1, {nullptr, "two", nullptr, nullptr}));
    tickAll();
    EXPECT_EQ(lastStreamEvent, "(null),0,two,(null),(null),1");
    EXPECT_EQ(log().leveledLines(), Lines(2, "DEBUG ExternalEvent: E_DSMCC_STREAM_EVENT"));
    EXPECT_EQ(outstandingBlocks(), 0u);
}

TEST_F(ExternalEvents, StreamEventMayShutTheLibraryDown)
{
    send(E_DSMCC_STREAM_EVENT,
         streamEventRecord([](const char*, uint32_t, const char*, const char*, const char*,
                              uint32_t) { vesta_hbbtv_shutdown(); },
                           0, 0, {"a", "b", "c", "d"}));
    send(E_SUPPORTED_PROFILES, profilesRecord(1));
    EXPECT_TRUE(vesta_hbbtv_tick());
    EXPECT_FALSE(vesta_hbbtv_tick());
    EXPECT_EQ(outstandingBlocks(), 0u);
}

TEST_F(ExternalEvents, LowMemoryTellsTheScriptsListener)
{
    static std::vector<std::pair<int, void*>> calls;
    calls.clear();
    send(E_LOW_MEMORY);
    tickAll();  // nobody listens yet
    native_ApplicationManagerSetListener(
        [](int event, void* appId) { calls.emplace_back(event, appId); });
    send(E_LOW_MEMORY);
    tickAll();
    EXPECT_EQ(calls, (decltype(calls){{0, nullptr}}));
    send(E_LOW_MEMORY, unknownWindow());
    tickAll();
    EXPECT_EQ(calls, (decltype(calls){{0, nullptr}, {0, nullptr}}));
}

struct UserAgentCase {
    unsigned short selector;
    std::array<const char*, 6> strings;
    const char* extension;
    int minorVersion;
};

TEST_F(ExternalEvents, UserAgentJoinsSixStringsBehindTheVersion)
{
    const UserAgentCase cases[] = {
        {1, {"a", nullptr, "c", "d", "e", "f"}, "HbbTV/1.1.1 (a; ; c; d; e; f)", 1},
        {2, {"a", "b", "c", "d", "e", "f"}, "HbbTV/1.2.1 (a; b; c; d; e; f)", 2},
        {1, {"a", "b", "c", "d", "e", nullptr}, "HbbTV/1.1.1 (a; b; c; d; e; )", 1},
        {0, {}, "HbbTV/1.2.1 (; ; ; ; ; )", 2},
        {0xFFFF, {"", "", "", "", "", ""}, "HbbTV/1.2.1 (; ; ; ; ; )", 2},
    };
    for (const UserAgentCase& expected : cases) {
        send(E_USER_AGENT_INFO, userAgentRecord(expected.selector, expected.strings));
        tickAll();
        EXPECT_EQ(journal(),
                  Lines({"ve_set_uastring_extension(" + std::string(expected.extension) + ")"}));
        const ConfigurationManager& configuration = *ConfigurationManager::getInstance();
        EXPECT_EQ(configuration.getHbbTVVersionMajor(), 1);
        EXPECT_EQ(configuration.getHbbTVVersionMinor(), expected.minorVersion);
        EXPECT_EQ(configuration.getHbbTVVersionMicro(), 1);
        EXPECT_EQ(browser().askedBrowser, browser().handle());
        EXPECT_EQ(outstandingBlocks(), 0u);
    }
}

TEST_F(ExternalEvents, UserAgentSetsTheVersionBeforeItCallsTheBrowser)
{
    int version = 0;
    browser().whileIn["ve_set_uastring_extension"] = [&version] {
        version = ConfigurationManager::getInstance()->getHbbTVVersionMinor();
    };
    for (const unsigned short selector : {uint16_t{1}, uint16_t{2}}) {
        send(E_USER_AGENT_INFO, userAgentRecord(selector, {}));
        tickAll();
        EXPECT_EQ(version, selector);
    }
}

TEST_F(ExternalEvents, ChannelChangeMarksNothingWhenThePlatformStartsTheLibraryAnew)
{
    for (const char* const hook : {"dsmcc_clear_cache", "hbbtv_ait_invalidate"}) {
        platform().whileIn[hook] = [] {
            vesta_hbbtv_shutdown();
            vesta_hbbtv_init(browser().handle());
            Window* const later = manager()->createWindow();
            manager()->setBroadcastWindow(later);
            later->setAIT(broadcastTable(AITSection()));
            later->setAssemblyAIT(new AIT(1, 2, 3, nullptr));
        };
        send(E_CHANNEL_CHANGE);
        tickAll();
        ASSERT_NE(manager()->getBroadcastWindow(), nullptr) << hook;
        EXPECT_FALSE(manager()->getBroadcastWindow()->getAIT()->isStale()) << hook;
        EXPECT_NE(manager()->getBroadcastWindow()->getAssemblyAIT(), nullptr) << hook;
    }
}

TEST_F(ExternalEvents, ChannelChangeEndsWhereThePlatformShutsTheLibraryDown)
{
    platform().whileIn["hbbtv_ait_invalidate"] = vesta_hbbtv_shutdown;
    send(E_CHANNEL_CHANGE);
    EXPECT_TRUE(vesta_hbbtv_tick());
    EXPECT_EQ(WindowManager::instance, nullptr) << "nobody asked for one any more";
    EXPECT_EQ(lastLine(), "dsmcc_stop()");
}

TEST_F(ExternalEvents, UserAgentWithoutARecordKeepsTheVersion)
{
    send(E_USER_AGENT_INFO, userAgentRecord(1, {}));
    send(E_USER_AGENT_INFO);
    tickAll();
    EXPECT_EQ(ConfigurationManager::getInstance()->getHbbTVVersionMinor(), 1);
}

TEST_F(ExternalEvents, ProfilesAreStoredWithAllSixteenBits)
{
    send(E_SUPPORTED_PROFILES, profilesRecord(0xFFFF));
    send(E_SUPPORTED_PROFILES);
    tickAll();
    EXPECT_EQ(ConfigurationManager::getInstance()->getSupportedProfiles(), 0xFFFF);
    send(E_SUPPORTED_PROFILES, profilesRecord(0));
    tickAll();
    EXPECT_EQ(ConfigurationManager::getInstance()->getSupportedProfiles(), 0);
}

}  // namespace
