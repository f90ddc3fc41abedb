#include <gtest/gtest.h>

#include "recorder/starting_state.h"

using namespace recorder;
using namespace VestaHbbTV;

namespace {

void* const window = reinterpret_cast<void*>(0x100);
TAVO_VestaWindow* const page = reinterpret_cast<TAVO_VestaWindow*>(0x200);
void* const file = reinterpret_cast<void*>(0x300);

class Plain : public Stand {
public:
    std::string nameOf(const char*, Handle, uintptr_t, bool) override { return {}; }
    std::string hashOf(const void*, size_t) override { return {}; }
    std::string urlFor(const char*, std::string_view url) override { return std::string(url); }
    std::string textFor(const char*, std::string_view text) override { return std::string(text); }
};
Plain plain;

template <typename Call>
void happens(StartingState& state, Call call)
{
    state.asked(call);
    state.answered(call);
}

void send(StartingState& state, HBBTV_EventType type)
{
    happens(state, SendEvent{type, nullptr});
}

void notify(StartingState& state, HBBTV_NotificationType type, TAVO_VestaWindow* given, int success)
{
    HBBTV_NotificationData data = {};
    data.window.tavoWindow = &given;
    data.window.success = success;
    happens(state, Notify{nullptr, type, &data, HBBTV_STATUS_OK});
}

std::vector<std::string> callsOf(const StartingState& state, void* broadcastWindow)
{
    std::vector<std::string> calls;
    state.forEachCall(broadcastWindow, nullptr, nullptr,
                      [&calls](const auto& call, const char* says) {
                          calls.push_back(says ? std::string(call.name) + says : call.name);
                      });
    return calls;
}

}  // namespace

TEST(StartingState, IsNotReachedWhileThereMayBeATable)
{
    StartingState state(plain);
    EXPECT_TRUE(state.isReached());
    for (const HBBTV_EventType type :
         {E_AIT_SECTION, E_START_APPLICATION, E_START_BROADCAST_INDEPENDENT_APPLICATION}) {
        send(state, type);
        EXPECT_FALSE(state.isReached()) << type;
        send(state, E_LOW_MEMORY);
        EXPECT_FALSE(state.isReached()) << type;
        send(state, E_CHANNEL_CHANGE);
        EXPECT_TRUE(state.isReached()) << type;
    }
    happens(state, CreateApplication{"http://a/", 1, nullptr, nullptr, 0});
    EXPECT_FALSE(state.isReached());
}

TEST(StartingState, IsNotReachedWhileAWindowHasADocumentsTable)
{
    StartingState state(plain);
    happens(state, LoadXmlAit{window, nullptr, 0, nullptr, {}});
    send(state, E_CHANNEL_CHANGE);
    EXPECT_FALSE(state.isReached());
    happens(state, ReleaseWindow{window});
    EXPECT_TRUE(state.isReached());
}

TEST(StartingState, IsNotReachedWhileABrowserWindowIsLent)
{
    StartingState state(plain);
    notify(state, HBBTV_NOTIFICATION_REQUEST_WINDOW, page, 0);
    notify(state, HBBTV_NOTIFICATION_REQUEST_WINDOW, nullptr, 1);
    notify(state, HBBTV_NOTIFICATION_SHOW_WINDOW, page, 1);
    EXPECT_TRUE(state.isReached());
    notify(state, HBBTV_NOTIFICATION_REQUEST_WINDOW, page, 1);
    notify(state, HBBTV_NOTIFICATION_REQUEST_WINDOW, page, 1);
    EXPECT_FALSE(state.isReached());
    notify(state, HBBTV_NOTIFICATION_RELEASE_WINDOW, page, 0);
    EXPECT_TRUE(state.isReached());
}

TEST(StartingState, IsNotReachedWhileAFileIsLoaded)
{
    StartingState state(plain);
    happens(state, DsmccGetFile{"file", file, DSMCC_PENDING});
    EXPECT_FALSE(state.isReached());
    happens(state, DsmccCloseFile{file, DSMCC_OK});
    EXPECT_TRUE(state.isReached());
    happens(state, DsmccGetFile{"file", file, DSMCC_PENDING});
    happens(state, Init{nullptr});
    EXPECT_TRUE(state.isReached());
}

TEST(StartingState, HasWhatLastsInAnOrderThatBringsItBack)
{
    StartingState state(plain);
    EXPECT_EQ(callsOf(state, nullptr), std::vector<std::string>());
    void* const other = reinterpret_cast<void*>(0x101);
    happens(state, CreateWindow{window});
    happens(state, Init{nullptr});
    happens(state, AddNotificationListener{nullptr, false});
    happens(state, AddNotificationListener{nullptr, true});
    happens(state, CreateWindow{other});
    happens(state, SetTimeShifted{window, 1, 0});
    happens(state, SetTimeShifted{other, 1, 0});
    happens(state, SetTimeShifted{other, 0, 0});
    happens(state, SetTimeShifted{nullptr, 1, 1});
    send(state, E_HTTP_AVAILABLE);
    send(state, E_HTTP_UNAVAILABLE);
    happens(state, ReleaseWindow{other});
    EXPECT_EQ(callsOf(state, window),
              (std::vector<std::string>{
                  "vesta_hbbtv_init", "vesta_hbbtv_add_notification_listener",
                  "vesta_hbbtv_create_window", "vesta_hbbtv_set_broadcast_window",
                  "vesta_hbbtv_set_time_shifted",
                  "vesta_hbbtv_send_event{\"type\":\"E_HTTP_UNAVAILABLE\",\"data\":null}",
                  "vesta_hbbtv_tick"}));
}

TEST(StartingState, IsAlmostEmptyAfterAShutdown)
{
    StartingState state(plain);
    pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
    happens(state, SetSendeventCondition{&condition, nullptr});
    happens(state, Init{nullptr});
    happens(state, CreateWindow{window});
    send(state, E_HTTP_AVAILABLE);
    send(state, E_AIT_SECTION);
    happens(state, Shutdown{});
    EXPECT_TRUE(state.isReached());
    send(state, E_HTTP_AVAILABLE);  // dropped
    EXPECT_EQ(callsOf(state, nullptr),
              std::vector<std::string>{"vesta_hbbtv_set_sendevent_condition"});
}
