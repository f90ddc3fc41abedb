// Memory runs out in every allocation of every function that others call: nothing is thrown,
// nothing leaks, and the library works afterwards.

#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <vector>

#include "vesta_hbbtv_appman.h"

#include "foundation/configuration_manager.h"
#include "foundation/logging.h"
#include "foundation/threadsafe_event_queue.h"
#include "integration/application_events.h"
#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "lifecycle/window_storage.h"
#include "tests/memory/failing_memory.h"
#include "tests/support/counted_memory.h"
#include "tests/support/event_records.h"
#include "tests/support/fake_browser.h"
#include "tests/support/section_builder.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

FakeBrowser& browser()
{
    return FakeBrowser::instance();
}

// A platform with one file; dvb://1.2.3.7/later is pending, and everything else is there at once.
bool isFileRead = false;
char fileBytes[] = "bytes of the file";

// A listener that gives one browser window to everybody, unless a test wants one for each.
bool isWindowInUse = false;
bool windowsAreShared = true;
long windowsGiven = 0;

HBBTV_STATUS listen(HBBTV_NotificationType type, HBBTV_NotificationData* data)
{
    if (type == HBBTV_NOTIFICATION_REQUEST_WINDOW) {
        ++windowsGiven;
        *data->window.tavoWindow = browser().window(windowsAreShared ? 1 : 1 + windowsGiven % 8);
        data->window.success = 1;
        isWindowInUse = true;
    } else if (type == HBBTV_NOTIFICATION_RELEASE_WINDOW) {
        data->window.success = 1;
        isWindowInUse = false;
    } else if (type == HBBTV_NOTIFICATION_GET_FREE_MEMORY) {
        *data->memory.freeMemory = 4096;
    }
    return HBBTV_STATUS_OK;
}

/// Counts the lines that say that memory ran out.
class CountingOutput : public LoggingOutput {
public:
    CountingOutput() : LoggingOutput(DEBUG) {}
    void output(LogEntry& entry) override
    {
        const FailingMemory::Pause pause;
        if (entry.stream().str().find("[ vesta_hbbtv] Out of memory.\n") != std::string::npos &&
            entry.getLevel() == ERR)
            ++reports;
    }

    static inline int reports = 0;
};

AITEntry httpApplication(uint16_t applicationId)
{
    return AITEntry(1, applicationId)
        .http(1, "http://a.example/a/base/that/no/string/holds/in/place/")
        .location("a/location/that/no/string/holds/in/place.html")
        .name("a name that no string holds in place either")
        .boundary({"http://a.example/a/boundary/that/is/long", "dvb://1.2.3/another/long/one"});
}

AITSection section(uint8_t version, uint16_t applicationId)
{
    return AITSection()
        .version(version)
        .common(carouselTransport(2, 7))
        .add(httpApplication(applicationId).carousel(3, 8))
        .add(AITEntry(1, 99).profiles({{0, 9, 9, 9}}).carousel(1, 1).location("rejected"));
}

void tickAll()
{
    for (int ticks = 0; ticks < 1000 && vesta_hbbtv_tick(); ++ticks) {
    }
}

Window* broadcastWindow()
{
    return static_cast<Window*>(vesta_hbbtv_get_broadcast_window());
}

void start()
{
    vesta_hbbtv_init(browser().handle());
    vesta_hbbtv_set_broadcast_window(vesta_hbbtv_create_window());
    vesta_hbbtv_add_notification_listener(listen);
}

void sendTable(uint8_t version, uint16_t applicationId)
{
    vesta_hbbtv_send_event(E_AIT_SECTION, aitRecord(section(version, applicationId)));
}

Application* running()
{
    Window* const window = broadcastWindow();
    return window ? window->getRunningApplication() : nullptr;
}

void* runningId()
{
    return running() ? reinterpret_cast<void*>(static_cast<uintptr_t>(running()->getID()))
                     : nullptr;
}

unsigned int notify(TAVO_VESTA_EVENT event, const char* url = nullptr, const char* second = nullptr,
                    int httpStatus = 200)
{
    static char load;
    TavoVestaEventData data = {};
    data.url = url;
    data.second_url = second;
    data.http_status = static_cast<decltype(data.http_status)>(httpStatus);
    data.request_id = &load;
    int result = 0;
    return vesta_hbbtv_handle_notification(browser().handle(), browser().window(1), event, &data,
                                           &result);
}

void nothing()
{
}

/// The service's application runs, its page loaded.
void runService()
{
    start();
    sendTable(0, 1);
    tickAll();
    notify(TAVO_VESTA_EVT_LOADING_FINISHED);
    tickAll();
}

/// And its carousel serves it.
void runOnCarousel()
{
    start();
    vesta_hbbtv_send_event(
        E_AIT_SECTION, aitRecord(AITSection().add(AITEntry(1, 1).carousel(2, 7).location("i"))));
    tickAll();
}

void queueAll()
{
    Window* const window = broadcastWindow();
    sendTable(1, 2);
    vesta_hbbtv_send_event(E_START_APPLICATION, startRecord(window, 1, 2));
    vesta_hbbtv_send_event(
        E_START_BROADCAST_INDEPENDENT_APPLICATION,
        urlRecord(window, "http://b.example/a/page/that/no/string/holds/in/place"));
    vesta_hbbtv_send_event(E_TERMINATE_APPLICATION, windowRecord(window));
}

/// What is prepared with memory enough, and what happens where it runs out.
struct Scenario {
    const char* name;
    std::function<void()> prepare;
    std::function<void()> act;
};

void PrintTo(const Scenario& scenario, std::ostream* out)
{
    *out << scenario.name;
}

using Record = std::function<HBBTV_EventData*()>;

/// Sending an event: only the queueing allocates; the record is freed in any case.
Scenario sending(const char* name, HBBTV_EventType type, const Record& record)
{
    static HBBTV_EventData* data;
    return {name,
            [record] {
                runService();
                data = record();
            },
            [type] { vesta_hbbtv_send_event(type, data); }};
}

/// Executing an event that was sent.
Scenario executing(const char* name, HBBTV_EventType type, const Record& record,
                   const std::function<void()>& before = runService)
{
    return {name,
            [type, record, before] {
                before();
                vesta_hbbtv_send_event(type, record());
            },
            tickAll};
}

HBBTV_EventData* longUrl()
{
    return urlRecord(broadcastWindow(), "http://b.example/a/page/that/no/string/holds/in/place");
}

char pendingLoad;

std::vector<Scenario> scenarios()
{
    void* const none = nullptr;
    const auto script = [](const char* name, const std::function<void()>& call) {
        return Scenario{name, runService, call};
    };
    return {
        {"Init", nothing, [] { vesta_hbbtv_init(browser().handle()); }},
        {"InitAgain", runService, [] { vesta_hbbtv_init(browser().handle()); }},
        {"InitWhileAStartIsPending",
         [] {
             runService();
             sendTable(1, 2);
             vesta_hbbtv_tick();
         },
         [] { vesta_hbbtv_init(browser().handle()); }},
        {"Shutdown", runService, [] { vesta_hbbtv_shutdown(); }},
        {"ShutdownBeforeInit", nothing, [] { vesta_hbbtv_shutdown(); }},
        {"ShutdownWithAFullQueue",
         [] {
             runService();
             queueAll();
         },
         [] { vesta_hbbtv_shutdown(); }},
        {"TickBeforeInit", nothing, [] { vesta_hbbtv_tick(); }},
        {"SendBeforeInit", nothing, [] { vesta_hbbtv_send_event(E_LOW_MEMORY, nullptr); }},
        {"AddListener", start, [] { vesta_hbbtv_add_notification_listener(listen); }},
        {"AddListenerBeforeInit", nothing, [] { vesta_hbbtv_add_notification_listener(listen); }},
        {"CreateWindow", start, [] { vesta_hbbtv_create_window(); }},
        {"CreateWindowBeforeInit", nothing, [] { vesta_hbbtv_create_window(); }},
        {"ReleaseWindow", runService, [] { vesta_hbbtv_release_window(broadcastWindow()); }},
        {"ReleaseWindowWithAPendingApplication",
         [] {
             runService();
             sendTable(1, 2);
             vesta_hbbtv_tick();
         },
         [] { vesta_hbbtv_release_window(broadcastWindow()); }},
        {"ReleaseWindowWithOneLeftBehind",
         [] {
             runService();
             broadcastWindow()->setRunningApplication(nullptr);
         },
         [] { vesta_hbbtv_release_window(broadcastWindow()); }},
        {"WindowQuestions", runService,
         [none] {
             vesta_hbbtv_get_window_identifier(browser().window(1));
             vesta_hbbtv_set_broadcast_window(none);
             vesta_hbbtv_get_tavo_window(vesta_hbbtv_get_broadcast_window());
             vesta_hbbtv_is_hbbtv_window(browser().window(1));
         }},
        {"WindowQuestionsBeforeInit", nothing,
         [] {
             vesta_hbbtv_get_window_identifier(browser().window(1));
             vesta_hbbtv_set_broadcast_window(nullptr);
             vesta_hbbtv_get_tavo_window(vesta_hbbtv_get_broadcast_window());
             vesta_hbbtv_is_hbbtv_window(browser().window(1));
             vesta_hbbtv_release_window(nullptr);
             vesta_hbbtv_set_time_shifted(nullptr, 1);
         }},
        {"IsWithinBoundaries", runService,
         [] {
             vesta_hbbtv_is_within_boundaries(vesta_hbbtv_get_broadcast_window(),
                                              "http://a.example/a/page/that/is/long/enough");
         }},
        {"SetTimeShifted", runService,
         [] { vesta_hbbtv_set_time_shifted(vesta_hbbtv_get_broadcast_window(), 1); }},

        sending("SendAITSection", E_AIT_SECTION, [] { return aitRecord(section(1, 2)); }),
        sending("SendURL", E_START_BROADCAST_INDEPENDENT_APPLICATION, longUrl),
        sending("SendUserAgent", E_USER_AGENT_INFO,
                [] {
                    return userAgentRecord(1, {"a", "b", "c", "d", "e", "f"});
                }),
        sending("SendStreamEvent", E_DSMCC_STREAM_EVENT,
                [] {
                    return streamEventRecord(nullptr, 1, 2, {"a", "b", "c", "d"});
                }),
        sending("SendTerminate", E_TERMINATE_APPLICATION,
                [] { return windowRecord(broadcastWindow()); }),

        executing(
            "FirstTable", E_AIT_SECTION, [] { return aitRecord(section(0, 1)); }, start),
        executing("TableThatKeepsTheApplication", E_AIT_SECTION,
                  [] { return aitRecord(section(1, 1)); }),
        executing("TableThatForbidsTheApplication", E_AIT_SECTION,
                  [] { return aitRecord(section(1, 2)); }),
        executing("TableThatForbidsTheApplicationWithoutSuccessor", E_AIT_SECTION,
                  [] { return aitRecord(AITSection().version(1)); }),
        executing("TableWentAway", E_AIT_SECTION, [] { return noSectionRecord(0); }),
        executing("ChannelChange", E_CHANNEL_CHANGE, []() -> HBBTV_EventData* { return nullptr; }),
        executing("StartApplication", E_START_APPLICATION,
                  [] { return startRecord(broadcastWindow(), 1, 1); }),
        executing("StartURL", E_START_BROADCAST_INDEPENDENT_APPLICATION, longUrl),
        executing("Terminate", E_TERMINATE_APPLICATION,
                  [] { return windowRecord(broadcastWindow()); }),
        executing(
            "FileReady", E_DSMCC_FILE_READY, [] { return downloadRecord(&pendingLoad); },
            [] {
                runOnCarousel();
                TavoVestaEventData data = {};
                data.url = "dvb://1.2.3.7/later";
                data.request_id = &pendingLoad;
                vesta_hbbtv_handle_notification(browser().handle(), browser().window(1),
                                                TAVO_VESTA_EVT_PROTOCOL_LOADING_START, &data,
                                                nullptr);
            }),
        executing("FileError", E_DSMCC_FILE_ERROR, [] { return downloadRecord(&pendingLoad); }),
        executing("HttpUnavailable", E_HTTP_UNAVAILABLE,
                  []() -> HBBTV_EventData* { return nullptr; }),
        executing("HttpAvailable", E_HTTP_AVAILABLE, []() -> HBBTV_EventData* { return nullptr; }),
        executing("StreamEvent", E_DSMCC_STREAM_EVENT,
                  [] {
                      return streamEventRecord(nullptr, 1, 2, {"a", "b", "c", "d"});
                  }),
        executing("LowMemory", E_LOW_MEMORY, []() -> HBBTV_EventData* { return nullptr; }),
        executing("UserAgent", E_USER_AGENT_INFO,
                  [] {
                      return userAgentRecord(1, {"+DL", "a vendor with a long name", "a model",
                                                 "a version", "another version", "reserved"});
                  }),
        executing("SupportedProfiles", E_SUPPORTED_PROFILES, [] { return profilesRecord(1); }),
        {"XMLTable",
         [] {
             runService();
             const ref_ptr<AIT> table(new AIT);
             auto application = std::make_unique<AITApplication>(table.get());
             application->parse(httpApplication(5).exactBlock().get());
             table->insertAITApplication(application.release());
             ConfigurationManager::getInstance()->getEventQueue()->add(
                 new TAVOAITEvent(broadcastWindow(), table));
         },
         tickAll},

        script("WindowClose",
               [] {
                   notify(TAVO_VESTA_EVT_WINDOW_CLOSE);
                   tickAll();
               }),
        script("URLChanged",
               [] {
                   notify(TAVO_VESTA_EVT_URL_CHANGED,
                          "http://a.example/a/page/that/no/string/holds/in/place");
               }),
        {"LoadingFinished",
         [] {
             start();
             sendTable(0, 1);
             tickAll();
         },
         [] {
             notify(TAVO_VESTA_EVT_LOADING_FINISHED);
             tickAll();
         }},
        {"LoadingFailed",
         [] {
             start();
             sendTable(0, 1);
             tickAll();
         },
         [] {
             notify(TAVO_VESTA_EVT_LOADING_FAILED);
             tickAll();
         }},
        {"LastLoadingFailed",
         [] {
             start();
             sendTable(0, 1);
             tickAll();
             for (int transports = 0; transports < 3; ++transports) {
                 notify(TAVO_VESTA_EVT_LOADING_FAILED);
                 tickAll();
             }
         },
         [] {
             notify(TAVO_VESTA_EVT_LOADING_FAILED);
             tickAll();
         }},
        {"ProtocolLoading", runOnCarousel,
         [] {
             notify(TAVO_VESTA_EVT_PROTOCOL_LOADING_START,
                    "dvb://1.2.3.7/a/file/that/is/there/at/once");
             notify(TAVO_VESTA_EVT_PROTOCOL_LOADING_STOP);
         }},
        script("XMLParseFailed", [] { notify(TAVO_VESTA_EVT_XML_PARSE_FAILED); }),
        script("XHRPermission",
               [] {
                   notify(TAVO_VESTA_EVT_XHR_PERMISSION, "http://a.example/a/page/that/is/long",
                          "http://a.example/the/data/that/it/wants/to/have");
               }),
        script("EventOfAnUnknownWindow",
               [] {
                   TavoVestaEventData data = {};
                   vesta_hbbtv_handle_notification(browser().handle(), nullptr,
                                                   TAVO_VESTA_EVT_WINDOW_CLOSE, &data, nullptr);
               }),
        script("KeyInput",
               [] {
                   double granted = 0;
                   native_KeySetSetValue(runningId(), 0x3FF, &granted);
                   for (const int type : {TAVO_KEY_DOWN, TAVO_KEY_UP}) {
                       TAVO_KeyboardEvent event = {type, TAVO_VK_RED};
                       vesta_hbbtv_key_input(browser().window(1), &event);
                   }
               }),

        script("FreeMemory",
               [] {
                   double bytes = 0;
                   native_AppPrivateDataGetFreeMem(1, &bytes);
               }),
        script("KeySets",
               [] {
                   double value = 0;
                   native_KeySetGetMaximumValue(1, &value);
                   native_KeySetGetValue(runningId(), &value);
               }),
        script("Permissions",
               [] {
                   native_PermissionsIsBroadcastRelated(1, "http://a.example/a/page/that/is/long");
                   native_PermissionsIsTrusted(1, "http://a.example/a/page/that/is/long");
               }),
        script("SetChannel",
               [] {
                   native_AppManNotifySetChannelCalled(1, "http://a.example/a/page/that/is/long",
                                                       nullptr);
               }),
        script("Questions",
               [] {
                   void* pointer = nullptr;
                   long windowId = 0;
                   native_AppManGetWindowOfApplication(runningId(), &windowId);
                   native_AppPrivateDataGetCurrentChannel(runningId(), &pointer);
                   native_AppManGetApplicationId(1, nullptr, &pointer);
               }),
        script("HideAndShow",
               [] {
                   native_ApplicationHide(runningId());
                   tickAll();
                   native_ApplicationShow(runningId());
               }),
        script("DestroyApplication",
               [] {
                   native_ApplicationDestroyApplication(runningId());
                   tickAll();
               }),
        script("CreateApplicationByURL",
               [] {
                   void* created = nullptr;
                   native_ApplicationCreateApplication(
                       "http://a.example/a/child/that/no/string/holds/in/place", 1, runningId(),
                       &created);
                   tickAll();
               }),
        script("CreateApplicationByIds",
               [] {
                   void* created = nullptr;
                   native_ApplicationCreateApplication("dvb://current.ait/1.1", 1, runningId(),
                                                       &created);
                   tickAll();
               }),
        {"StreamEvents", runOnCarousel,
         [] {
             native_BroadcastAddStreamEventListener("an/event/object/that/is/long/enough", nullptr,
                                                    nullptr, nullptr, nullptr, 1);
             native_BroadcastAddXMLStreamEventListener(nullptr, nullptr, 1, 2, nullptr, nullptr,
                                                       nullptr, 1);
             native_BroadcastRemoveStreamEventListener("an/event", nullptr, nullptr, nullptr,
                                                       nullptr, 1);
             native_BroadcastRemoveAllStreamEventListeners(nullptr, 1);
         }},
    };
}

class OutOfMemory : public ::testing::TestWithParam<Scenario> {
protected:
    OutOfMemory()
    {
        browser().journalling = false;
        isWindowInUse = false;
        pluginCalls = 0;
        native_ApplicationManagerSetListener([](int, void*) { ++pluginCalls; });
        native_ApplicationManagerSetAppDestroyedListener([](void*) { ++pluginCalls; });
    }

    ~OutOfMemory() override
    {
        native_ApplicationManagerSetListener(nullptr);
        native_ApplicationManagerSetAppDestroyedListener(nullptr);
        delete Logging::instance;
    }

    static void expectUsable()
    {
        vesta_hbbtv_shutdown();
        EXPECT_EQ(WindowManager::instance, nullptr);
        EXPECT_EQ(ConfigurationManager::instance, nullptr);
        runService();
        ASSERT_NE(running(), nullptr);
        EXPECT_TRUE(running()->isInitialPageLoaded());
        vesta_hbbtv_shutdown();
    }

    /// Windows that were released rest: after that many their number stays the same.
    static void letWindowsRest()
    {
        for (unsigned windows = 0; windows <= WindowStorage::resting; ++windows)
            vesta_hbbtv_release_window(vesta_hbbtv_create_window());
        vesta_hbbtv_shutdown();
    }

    /// @return how many allocations failed
    static long run(const Scenario& scenario, long number, bool fromThenOn)
    {
        scenario.prepare();
        FailingMemory::fail(number, fromThenOn);
        scenario.act();
        const long failed = FailingMemory::stop();
        // Also what was begun comes to an end.
        tickAll();
        notify(TAVO_VESTA_EVT_LOADING_FINISHED);
        tickAll();
        expectUsable();
        return failed;
    }

    static inline int pluginCalls = 0;
};

TEST_P(OutOfMemory, IsSurvivedWhereverItHappens)
{
    const long endless = 2000;
    for (const bool isLogged : {false, true}) {
        if (isLogged)
            Logging::getInstance()->addOutput(new CountingOutput);
        letWindowsRest();
        run(GetParam(), endless, false);  // whatever is made once is there now
        const long blocks = FailingMemory::blocksInUse();
        for (const bool fromThenOn : {false, true}) {
            long number = 1;
            while (number < endless && run(GetParam(), number, fromThenOn) > 0) {
                ASSERT_EQ(FailingMemory::blocksInUse(), blocks) << "allocation " << number;
                ASSERT_EQ(outstandingBlocks(), 0u) << "allocation " << number;
                ASSERT_FALSE(isWindowInUse) << "allocation " << number;
                ++number;
            }
            ASSERT_LT(number, endless);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Everywhere, OutOfMemory, ::testing::ValuesIn(scenarios()),
                         [](const auto& each) { return std::string(each.param.name); });

class OutOfMemoryReport : public OutOfMemory {};

TEST_F(OutOfMemoryReport, IsAnErrLine)
{
    Logging::getInstance()->addOutput(new CountingOutput);
    CountingOutput::reports = 0;
    start();
    sendTable(0, 1);
    FailingMemory::fail(1, false);
    EXPECT_TRUE(vesta_hbbtv_tick()) << "the event is over";
    EXPECT_EQ(FailingMemory::stop(), 1);
    EXPECT_EQ(CountingOutput::reports, 1);
    EXPECT_FALSE(vesta_hbbtv_tick());
    expectUsable();
}

TEST_F(OutOfMemoryReport, ATableIsTakenWhenItComesAgainAndItsApplicationRuns)
{
    const long endless = 2000;
    for (const int ticks : {1, 2}) {
        long failures = 1;
        for (long number = 1; number < endless && failures > 0; ++number) {
            start();
            sendTable(0, 1);
            FailingMemory::fail(number, false);
            for (int tick = 0; tick < ticks; ++tick)
                vesta_hbbtv_tick();
            failures = FailingMemory::stop();
            sendTable(0, 1);
            tickAll();
            ASSERT_NE(broadcastWindow()->getAIT(), nullptr) << "allocation " << number;
            EXPECT_EQ(broadcastWindow()->getAIT()->getNumApplications(), 2u)
                << "allocation " << number;
            EXPECT_NE(running(), nullptr) << "allocation " << number;
            EXPECT_EQ(broadcastWindow()->getApplications().size(), 1u) << "allocation " << number;
            vesta_hbbtv_shutdown();
        }
    }
}

TEST_F(OutOfMemoryReport, AParentEndsAlsoWhereThereIsNoneWhenItsChildHasLoaded)
{
    const long endless = 2000;
    long failures = 1;
    for (long number = 1; number < endless && failures > 0; ++number) {
        start();
        windowsAreShared = false;
        vesta_hbbtv_send_event(E_START_BROADCAST_INDEPENDENT_APPLICATION, longUrl());
        tickAll();
        void* created = nullptr;
        native_ApplicationCreateApplication("http://b.example/child", 1, runningId(), &created);
        tickAll();
        Window* const window = broadcastWindow();
        ASSERT_EQ(window->getApplications().size(), 2u);
        FailingMemory::fail(number, false);
        window->reportLoadSuccess(running()->getTavoWindow());
        failures = FailingMemory::stop();
        tickAll();
        EXPECT_EQ(window->getApplications().size(), 1u) << "allocation " << number;
        vesta_hbbtv_shutdown();
        windowsAreShared = true;
    }
}

TEST_F(OutOfMemoryReport, EveryFunctionAnswersItsError)
{
    runService();
    void* const id = runningId();
    const auto failing = [](auto call) {
        FailingMemory::fail(1, true);
        const auto answer = call();
        EXPECT_GT(FailingMemory::stop(), 0);
        return answer;
    };
    double number = 0;
    void* created = nullptr;
    EXPECT_EQ(failing([&] { return native_AppPrivateDataGetFreeMem(1, &number); }),
              VEIF_RETURN_ERROR);
    EXPECT_EQ(failing([&] { return native_KeySetSetValue(id, 1, &number); }), VEIF_RETURN_ERROR);
    EXPECT_EQ(failing([&] { return native_ApplicationHide(id); }), VEIF_RETURN_ERROR);
    EXPECT_EQ(failing([&] { return native_ApplicationShow(id); }), VEIF_RETURN_ERROR);
    FailingMemory::fail(1, true);
    EXPECT_EQ(native_ApplicationDestroyApplication(id), VEIF_RETURN_OK) << "the end is prepared";
    EXPECT_EQ(FailingMemory::stop(), 0);
    EXPECT_EQ(failing([&] { return native_ApplicationDestroyApplication(id); }), VEIF_RETURN_ERROR);
    const char* const page = "http://a.example/a/page/that/no/string/holds/in/place";
    EXPECT_EQ(failing([&] { return native_ApplicationCreateApplication(page, 1, id, &created); }),
              VEIF_RETURN_ERROR);
    EXPECT_EQ(failing([&] { return native_PermissionsIsTrusted(1, page); }),
              VEIF_RETURN_NOT_PERMITTED);
    EXPECT_EQ(failing([&] { return native_PermissionsIsBroadcastRelated(1, page); }),
              VEIF_RETURN_NOT_PERMITTED);
    EXPECT_EQ(failing([&] { return native_AppManNotifySetChannelCalled(1, page, nullptr); }),
              VEIF_RETURN_OK);
    EXPECT_FALSE(failing([&] {
        return vesta_hbbtv_is_within_boundaries(vesta_hbbtv_get_broadcast_window(), page);
    }));
    EXPECT_EQ(failing([&] { return vesta_hbbtv_create_window(); }), nullptr);
    int result = 0;
    TavoVestaEventData data = {};
    data.url = page;
    EXPECT_EQ(failing([&] {
                  return vesta_hbbtv_handle_notification(browser().handle(), browser().window(1),
                                                         TAVO_VESTA_EVT_URL_CHANGED, &data,
                                                         &result);
              }),
              1u);
    EXPECT_EQ(result, -3);
    vesta_hbbtv_shutdown();
    EXPECT_FALSE(failing([] { return vesta_hbbtv_add_notification_listener(listen); }));
    EXPECT_FALSE(failing([] { return vesta_hbbtv_tick(); }));
    EXPECT_EQ(failing([] { return vesta_hbbtv_set_time_shifted(nullptr, 1); }), 1u);
    vesta_hbbtv_shutdown();
}

}  // namespace

extern "C" {

unsigned int dsmcc_get_file(const char* path, void*)
{
    isFileRead = false;
    return std::strcmp(path, "1.2.3.7/later") == 0 ? DSMCC_PENDING : DSMCC_OK;
}

unsigned int dsmcc_get_mime_type(void*, char** mimeType)
{
    const FailingMemory::Pause pause;
    *mimeType = countedString("text/html");
    return DSMCC_OK;
}

unsigned int dsmcc_read(void*, char** buffer, unsigned int* length)
{
    *buffer = fileBytes;
    *length = isFileRead ? 0 : sizeof(fileBytes);
    isFileRead = true;
    return DSMCC_OK;
}

}  // extern "C"
