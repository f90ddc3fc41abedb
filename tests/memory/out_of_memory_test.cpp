// Memory runs out in every allocation of every function that others call: nothing is thrown,
// nothing leaks, and the library works afterwards.

#include <functional>
#include <new>
#include <ostream>
#include <string>
#include <vector>

#include "foundation/configuration_manager.h"
#include "foundation/threadsafe_event_queue.h"
#include "integration/application_events.h"
#include "lifecycle/window.h"
#include "lifecycle/window_storage.h"
#include "signalling/ait.h"
#include "tests/memory/failing_memory.h"
#include "tests/memory/tight_library.h"
#include "tests/support/counted_memory.h"
#include "tests/support/event_records.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

void nothing()
{
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
        script("CreateApplicationByIdsThatNoStringHoldsInPlace",
               [] {
                   void* created = nullptr;
                   native_ApplicationCreateApplication(
                       "dvb://current.ait/00000000000000001.00000000000000001", 1, runningId(),
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

class OutOfMemory : public TightLibraryTest, public ::testing::WithParamInterface<Scenario> {
protected:
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
};

TEST_P(OutOfMemory, IsSurvivedWhereverItHappens)
{
    const long endless = 2000;
    for (const bool isLogged : {false, true}) {
        if (isLogged)
            countReports();
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

AITSection sectionOf(uint8_t number, const std::vector<uint8_t>& priorities)
{
    AITSection section;
    auto id = static_cast<uint16_t>(10 * number);
    for (const uint8_t priority : priorities)
        section.add(AITEntry(1, id++).priority(priority));
    return section.number(number, 1);
}

// An allocation that fails is refused or not needed: then the order is that of the priorities.
TEST(OutOfMemoryInATable, ASectionComesIntoItsOrderWithoutMemoryToMerge)
{
    const auto first = sectionOf(0, {5, 3, 1}).exactBlock();
    const auto second = sectionOf(1, {4, 3, 5}).exactBlock();
    int survived = 0;
    for (long number = 1, failed = 1; failed > 0; ++number) {
        AIT table(1, 2, 3, nullptr);
        ASSERT_TRUE(table.parse(first.get()));
        FailingMemory::fail(number, false);
        bool isParsed = false;
        try {
            isParsed = table.parse(second.get());
        } catch (const std::bad_alloc&) {  // whoever called the library does not see it
        }
        failed = FailingMemory::stop();
        if (!isParsed)
            continue;
        survived += failed > 0 ? 1 : 0;
        std::vector<unsigned> ids;
        for (unsigned index = 0; index < table.getNumApplications(); ++index)
            ids.push_back(table.getAITApplication(index)->getApplicationId());
        EXPECT_EQ(ids, std::vector<unsigned>({0, 12, 10, 1, 11, 2}));
    }
    EXPECT_EQ(survived, 1);
}

}  // namespace
