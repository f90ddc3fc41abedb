// Starting and stopping the library, sending and ticking, and waking the browser thread.

#include <cerrno>
#include <cstdlib>
#include <functional>
#include <pthread.h>
#include <thread>
#include <utility>

#include "foundation/configuration_manager.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "oipf/notifications/notification_manager.h"
#include "tests/support/counted_memory.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

/// The integrator's condition; the program is linked with --wrap=pthread_cond_signal.
pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
int signalCount = 0;  // guarded by the mutex, if the library keeps its word
bool isMutexHeld = true;
std::function<void()> whenSignalled;

}  // namespace

extern "C" {

int __real_pthread_cond_signal(pthread_cond_t* signalled);

int __wrap_pthread_cond_signal(pthread_cond_t* signalled)
{
    if (signalled == &condition) {
        ++signalCount;
        if (pthread_mutex_trylock(&mutex) != EBUSY) {
            isMutexHeld = false;
            pthread_mutex_unlock(&mutex);
        }
        if (whenSignalled)
            whenSignalled();
    }
    return __real_pthread_cond_signal(signalled);
}

}  // extern "C"

namespace {

Lines received;
std::function<void()> whenReceived;

void receive(const char* string1, uint32_t, const char*, const char*, const char*, uint32_t)
{
    received.push_back(string1 ? string1 : "(null)");
    const std::function<void()> action = whenReceived;
    if (action)
        action();
}

HBBTV_EventData* message(const char* text)
{
    return streamEventRecord(receive, 0, 0, {text, nullptr, nullptr, nullptr});
}

bool nothingExists()
{
    return !ConfigurationManager::instance && !WindowManager::instance &&
           !NotificationManager::instance;
}

class EntryPoints : public ::testing::Test {
protected:
    EntryPoints()
    {
        FakePlatform::instance().reset();
        Journal::instance().clear();
        received.clear();
        whenReceived = {};
        signalCount = 0;
        isMutexHeld = true;
        whenSignalled = {};
    }

    ~EntryPoints() override
    {
        vesta_hbbtv_set_sendevent_condition(nullptr, nullptr);
        FakePlatform::instance().reset();
        vesta_hbbtv_shutdown();
        EXPECT_EQ(outstandingBlocks(), 0u);
        Journal::instance().clear();
    }

    static void init() { vesta_hbbtv_init(FakeBrowser::instance().handle()); }
};

TEST_F(EntryPoints, TickBeforeInitRunsNothingAndCreatesAConfigurationWithoutQueue)
{
    ASSERT_TRUE(nothingExists());
    EXPECT_FALSE(vesta_hbbtv_tick());
    ASSERT_NE(ConfigurationManager::instance, nullptr);
    EXPECT_EQ(ConfigurationManager::instance->getEventQueue(), nullptr);
}

TEST_F(EntryPoints, InitMakesTheSingletonsAroundTheHooks)
{
    FakePlatform& platform = FakePlatform::instance();
    platform.supportedKeySets = 0x21;
    const auto lookAround = [] {
        ASSERT_NE(ConfigurationManager::instance, nullptr);
        EXPECT_NE(ConfigurationManager::instance->getEventQueue(), nullptr);
        EXPECT_EQ(ConfigurationManager::instance->getSupportedKeySetValues(), 0x21);
        EXPECT_NE(WindowManager::instance, nullptr);
        EXPECT_EQ(NotificationManager::instance, nullptr);
    };
    platform.whileIn["hbbtv_ait_start"] = lookAround;
    platform.whileIn["dsmcc_start"] = lookAround;
    init();
    EXPECT_EQ(Journal::instance().take(), Lines({"hbbtv_ait_start()", "dsmcc_start()"}));
    EXPECT_NE(NotificationManager::instance, nullptr);
    EXPECT_EQ(ConfigurationManager::instance->getBrowser(), FakeBrowser::instance().handle());
}

TEST_F(EntryPoints, ShutdownStopsThePlatformAndDeletesEverything)
{
    init();
    vesta_hbbtv_create_window();
    Journal::instance().clear();
    FakePlatform& platform = FakePlatform::instance();
    const auto lookAround = [] {
        ASSERT_NE(WindowManager::instance, nullptr);
        EXPECT_TRUE(WindowManager::instance->getWindows().empty());
        EXPECT_NE(NotificationManager::instance, nullptr);
        EXPECT_NE(ConfigurationManager::instance, nullptr);
    };
    platform.whileIn["hbbtv_ait_stop"] = lookAround;
    platform.whileIn["dsmcc_stop"] = lookAround;
    vesta_hbbtv_shutdown();
    EXPECT_EQ(Journal::instance().take(), Lines({"hbbtv_ait_stop()", "dsmcc_stop()"}));
    EXPECT_TRUE(nothingExists());
}

TEST_F(EntryPoints, ShutdownWithoutInitStopsThePlatformAllTheSame)
{
    vesta_hbbtv_shutdown();
    EXPECT_EQ(Journal::instance().take(), Lines({"hbbtv_ait_stop()", "dsmcc_stop()"}));
    EXPECT_TRUE(nothingExists());
}

TEST_F(EntryPoints, ANullBrowserIsAccepted)
{
    vesta_hbbtv_init(nullptr);
    EXPECT_EQ(ConfigurationManager::instance->getBrowser(), nullptr);
    EXPECT_FALSE(vesta_hbbtv_tick());
}

TEST_F(EntryPoints, ThreeEventsTakeThreeTicksInTheirOrder)
{
    init();
    for (const char* text : {"first", "second", "third"})
        vesta_hbbtv_send_event(E_DSMCC_STREAM_EVENT, message(text));
    EXPECT_TRUE(received.empty());
    Lines expected;
    for (const char* text : {"first", "second", "third"}) {
        EXPECT_TRUE(vesta_hbbtv_tick());
        expected.push_back(text);
        EXPECT_EQ(received, expected);
    }
    EXPECT_FALSE(vesta_hbbtv_tick());
}

TEST_F(EntryPoints, AnEventMaySendFurtherEventsForLaterTicks)
{
    init();
    whenReceived = [] {
        whenReceived = {};
        vesta_hbbtv_send_event(E_DSMCC_STREAM_EVENT, message("third"));
    };
    vesta_hbbtv_send_event(E_DSMCC_STREAM_EVENT, message("first"));
    vesta_hbbtv_send_event(E_DSMCC_STREAM_EVENT, message("second"));
    while (vesta_hbbtv_tick()) {
    }
    EXPECT_EQ(received, Lines({"first", "second", "third"}));
}

TEST_F(EntryPoints, SendingWithoutAQueueDropsTheRecordAndLeavesItToTheSender)
{
    const auto sendInVain = [] {
        HBBTV_EventData* const data = message(nullptr);
        vesta_hbbtv_send_event(E_DSMCC_STREAM_EVENT, data);
        EXPECT_EQ(outstandingBlocks(), 1u);
        EXPECT_FALSE(vesta_hbbtv_tick());
        std::free(data);
    };
    sendInVain();
    EXPECT_NE(ConfigurationManager::instance, nullptr);
    init();
    EXPECT_FALSE(vesta_hbbtv_tick()) << "what was sent before is lost";
    vesta_hbbtv_shutdown();
    sendInVain();
    EXPECT_TRUE(received.empty());

    init();
    vesta_hbbtv_send_event(E_DSMCC_STREAM_EVENT, message("heard"));
    EXPECT_TRUE(vesta_hbbtv_tick());
    EXPECT_EQ(received, Lines({"heard"}));
}

/// A record of every event type with every buffer set, and one of no listed type.
void sendOneOfEach()
{
    const std::pair<int, HBBTV_EventData*> events[] = {
        {E_AIT_SECTION, aitRecord(AITSection())},
        {E_AIT_SECTION, noSectionRecord(0)},
        {E_CHANNEL_CHANGE, profilesRecord(0)},
        {E_START_APPLICATION, startRecord(nullptr, 1, 2)},
        {E_START_BROADCAST_INDEPENDENT_APPLICATION, urlRecord(nullptr, "http://a.example/")},
        {E_START_BROADCAST_INDEPENDENT_APPLICATION, urlRecord(nullptr, nullptr)},
        {E_TERMINATE_APPLICATION, windowRecord(nullptr)},
        {E_DSMCC_FILE_READY, downloadRecord(nullptr)},
        {E_DSMCC_FILE_ERROR, downloadRecord(nullptr)},
        {E_HTTP_AVAILABLE, windowRecord(nullptr)},
        {E_HTTP_UNAVAILABLE, windowRecord(nullptr)},
        {E_DSMCC_STREAM_EVENT, streamEventRecord(receive, 1, 2, {"a", "b", "c", "d"})},
        {E_DSMCC_STREAM_EVENT,
         streamEventRecord(nullptr, 1, 2, {nullptr, nullptr, nullptr, nullptr})},
        {E_LOW_MEMORY, windowRecord(nullptr)},
        {E_USER_AGENT_INFO, userAgentRecord(1, {"a", "b", "c", "d", "e", "f"})},
        {E_USER_AGENT_INFO,
         userAgentRecord(2, {nullptr, nullptr, nullptr, nullptr, nullptr, nullptr})},
        {E_SUPPORTED_PROFILES, profilesRecord(1)},
        {13, windowRecord(nullptr)},
        {-1, windowRecord(nullptr)},
    };
    for (const auto& [type, data] : events) {
        vesta_hbbtv_send_event(static_cast<HBBTV_EventType>(type), data);
        vesta_hbbtv_send_event(static_cast<HBBTV_EventType>(type), nullptr);
    }
    EXPECT_GT(outstandingBlocks(), 19u);
}

TEST_F(EntryPoints, ShutdownFreesQueuedEventsUnexecuted)
{
    init();
    sendOneOfEach();
    vesta_hbbtv_shutdown();
    EXPECT_EQ(outstandingBlocks(), 0u);
    EXPECT_TRUE(received.empty());
}

TEST_F(EntryPoints, ASecondInitFreesQueuedEventsUnexecuted)
{
    init();
    sendOneOfEach();
    init();
    EXPECT_EQ(outstandingBlocks(), 0u);
    EXPECT_FALSE(vesta_hbbtv_tick());
    EXPECT_TRUE(received.empty());
}

TEST_F(EntryPoints, ExecutedEventsAreFreedTheSame)
{
    init();
    sendOneOfEach();
    while (vesta_hbbtv_tick()) {
    }
    EXPECT_EQ(outstandingBlocks(), 0u);
    EXPECT_EQ(received, Lines({"a"}));
}

TEST_F(EntryPoints, EverySentEventSignalsTheConditionOnceUnderItsMutex)
{
    vesta_hbbtv_set_sendevent_condition(&condition, &mutex);
    vesta_hbbtv_send_event(E_LOW_MEMORY, nullptr);
    EXPECT_EQ(signalCount, 1) << "also before init";
    init();
    for (int sent = 2; sent < 5; ++sent) {
        vesta_hbbtv_send_event(E_LOW_MEMORY, nullptr);
        EXPECT_EQ(signalCount, sent);
    }
    while (vesta_hbbtv_tick()) {
    }
    EXPECT_EQ(signalCount, 4) << "ticks wake nobody";
    vesta_hbbtv_shutdown();
    vesta_hbbtv_send_event(E_LOW_MEMORY, nullptr);
    EXPECT_EQ(signalCount, 5) << "also after shutdown";
    EXPECT_TRUE(isMutexHeld);
    EXPECT_EQ(pthread_mutex_trylock(&mutex), 0) << "and the mutex is free again";
    pthread_mutex_unlock(&mutex);
}

TEST_F(EntryPoints, AnEventCanRunAsSoonAsItIsSignalled)
{
    init();
    vesta_hbbtv_set_sendevent_condition(&condition, &mutex);
    whenSignalled = [] { EXPECT_TRUE(vesta_hbbtv_tick()); };  // as by a thread that is awake
    vesta_hbbtv_send_event(E_DSMCC_STREAM_EVENT, message("first"));
    vesta_hbbtv_send_event(E_DSMCC_STREAM_EVENT, message("second"));
    EXPECT_EQ(received, Lines({"first", "second"}));
    whenSignalled = {};
}

TEST_F(EntryPoints, NullForConditionOrMutexSwitchesTheWakeUpOff)
{
    vesta_hbbtv_set_sendevent_condition(&condition, &mutex);
    const std::pair<pthread_cond_t*, pthread_mutex_t*> switchedOff[] = {
        {nullptr, &mutex}, {&condition, nullptr}, {nullptr, nullptr}};
    for (const auto& [newCondition, newMutex] : switchedOff) {
        vesta_hbbtv_set_sendevent_condition(newCondition, newMutex);
        vesta_hbbtv_send_event(E_LOW_MEMORY, nullptr);
    }
    EXPECT_EQ(signalCount, 0);
    vesta_hbbtv_set_sendevent_condition(&condition, &mutex);
    vesta_hbbtv_send_event(E_LOW_MEMORY, nullptr);
    EXPECT_EQ(signalCount, 1);
}

TEST_F(EntryPoints, SendingWakesAThreadThatWaits)
{
    init();
    vesta_hbbtv_set_sendevent_condition(&condition, &mutex);
    std::thread waiting([] {
        pthread_mutex_lock(&mutex);
        while (signalCount == 0)
            pthread_cond_wait(&condition, &mutex);
        pthread_mutex_unlock(&mutex);
    });
    vesta_hbbtv_send_event(E_LOW_MEMORY, nullptr);
    waiting.join();
    EXPECT_EQ(signalCount, 1);
}

TEST_F(EntryPoints, AnEventMayShutTheLibraryDown)
{
    init();
    whenReceived = vesta_hbbtv_shutdown;
    vesta_hbbtv_send_event(E_DSMCC_STREAM_EVENT, message("end"));
    vesta_hbbtv_send_event(E_DSMCC_STREAM_EVENT, message("never"));
    EXPECT_TRUE(vesta_hbbtv_tick());
    EXPECT_TRUE(nothingExists());
    EXPECT_EQ(received, Lines({"end"}));
    EXPECT_EQ(outstandingBlocks(), 0u);
    EXPECT_FALSE(vesta_hbbtv_tick());
}

TEST_F(EntryPoints, AnEventMayStartTheLibraryAnew)
{
    init();
    whenReceived = [] {
        whenReceived = {};
        vesta_hbbtv_shutdown();
        init();
        vesta_hbbtv_send_event(E_DSMCC_STREAM_EVENT, message("second"));
    };
    vesta_hbbtv_send_event(E_DSMCC_STREAM_EVENT, message("first"));
    EXPECT_TRUE(vesta_hbbtv_tick());
    EXPECT_TRUE(vesta_hbbtv_tick());
    EXPECT_EQ(received, Lines({"first", "second"}));
}

/// With applications that end.
class EntryPointsShutdown : public LibraryTest {};

TEST_F(EntryPointsShutdown, TellsListenersBeforeThePlatform)
{
    startApplication(httpApplication(1, 2));
    shutdown();
    EXPECT_EQ(journal(), Lines({
                             "STOP 1.2 related reactivate=0 http://a.example/index.html",
                             "RELEASE w1",
                             "hbbtv_ait_stop()",
                             "dsmcc_stop()",
                         }));
    EXPECT_TRUE(nothingExists());
}

TEST_F(EntryPointsShutdown, ARepeatedRequestFromAListenerOrHookIsIgnored)
{
    startApplication(httpApplication(1, 2));
    const auto again = [] { vesta_hbbtv_shutdown(); };
    listener().onNotification[HBBTV_NOTIFICATION_STOP_APPLICATION] = [](auto*) {
        vesta_hbbtv_shutdown();
    };
    platform().whileIn["hbbtv_ait_stop"] = again;
    platform().whileIn["dsmcc_stop"] = again;
    shutdown();
    EXPECT_EQ(journal(), Lines({
                             "STOP 1.2 related reactivate=0 http://a.example/index.html",
                             "RELEASE w1",
                             "hbbtv_ait_stop()",
                             "dsmcc_stop()",
                         }));
    EXPECT_TRUE(nothingExists());
}

TEST_F(EntryPointsShutdown, AListenerMayAskForItWhileAnApplicationStarts)
{
    listener().onNotification[HBBTV_NOTIFICATION_START_APPLICATION] = [](auto*) {
        vesta_hbbtv_shutdown();
    };
    sendAIT(AITSection().add(httpApplication(1, 2)));
    EXPECT_TRUE(vesta_hbbtv_tick());
    EXPECT_TRUE(nothingExists());
    EXPECT_FALSE(vesta_hbbtv_tick());
    EXPECT_EQ(journal(), Lines({
                             "AIT broadcast [1.2]",
                             "hbbtv_ait_completed(0)",
                             "START 1.2 related autostart http://a.example/index.html",
                             "hbbtv_ait_stop()",
                             "dsmcc_stop()",
                         }));
}

TEST_F(EntryPointsShutdown, AListenerMayAskForItWhenATableArrives)
{
    listener().onNotification[HBBTV_NOTIFICATION_AIT_UPDATE] = [](auto*) {
        vesta_hbbtv_shutdown();
    };
    sendAIT(AITSection().add(httpApplication(1, 2)));
    EXPECT_TRUE(vesta_hbbtv_tick());
    EXPECT_TRUE(nothingExists());
}

TEST_F(EntryPointsShutdown, EndsRegistrationsOfListeners)
{
    shutdown();
    forgetJournal();
    vesta_hbbtv_init(browser().handle());
    vesta_hbbtv_set_broadcast_window(vesta_hbbtv_create_window());
    sendAIT(AITSection().add(httpApplication(1, 2)));
    tickAll();
    EXPECT_EQ(journal(), Lines({"hbbtv_ait_start()", "dsmcc_start()", "hbbtv_ait_completed(0)"}));
}

}  // namespace
