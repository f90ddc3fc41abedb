// The entry functions under their C names: each does what its namesake does.

#include <type_traits>

#include "foundation/configuration_manager.h"
#include "integration/key_set.h"
#include "lifecycle/application.h"
#include "lifecycle/window_manager.h"
#include "tests/support/library_test.h"
#include "vesta_hbbtv_c.h"
#include "vesta_hbbtv_version.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

// C linkage carries no types: a caller compiled with another one would link all the same.
#define EXPECT_NAMESAKES(c, cpp) static_assert(std::is_same_v<decltype(&(c)), decltype(&(cpp))>)
EXPECT_NAMESAKES(vesta_hbbtv_c_init, vesta_hbbtv_init);
EXPECT_NAMESAKES(vesta_hbbtv_c_shutdown, vesta_hbbtv_shutdown);
EXPECT_NAMESAKES(vesta_hbbtv_c_tick, vesta_hbbtv_tick);
EXPECT_NAMESAKES(vesta_hbbtv_c_send_event, vesta_hbbtv_send_event);
EXPECT_NAMESAKES(vesta_hbbtv_c_set_sendevent_condition, vesta_hbbtv_set_sendevent_condition);
EXPECT_NAMESAKES(vesta_hbbtv_c_add_notification_listener, vesta_hbbtv_add_notification_listener);
EXPECT_NAMESAKES(vesta_hbbtv_c_create_window, vesta_hbbtv_create_window);
EXPECT_NAMESAKES(vesta_hbbtv_c_release_window, vesta_hbbtv_release_window);
EXPECT_NAMESAKES(vesta_hbbtv_c_get_window_identifier, vesta_hbbtv_get_window_identifier);
EXPECT_NAMESAKES(vesta_hbbtv_c_set_broadcast_window, vesta_hbbtv_set_broadcast_window);
EXPECT_NAMESAKES(vesta_hbbtv_c_get_broadcast_window, vesta_hbbtv_get_broadcast_window);
EXPECT_NAMESAKES(vesta_hbbtv_c_get_tavo_window, vesta_hbbtv_get_tavo_window);
EXPECT_NAMESAKES(vesta_hbbtv_c_is_within_boundaries, vesta_hbbtv_is_within_boundaries);
EXPECT_NAMESAKES(vesta_hbbtv_c_set_time_shifted, vesta_hbbtv_set_time_shifted);
EXPECT_NAMESAKES(vesta_hbbtv_c_is_hbbtv_window, vesta_hbbtv_is_hbbtv_window);
EXPECT_NAMESAKES(vesta_hbbtv_c_handle_notification, vesta_hbbtv_handle_notification);
EXPECT_NAMESAKES(vesta_hbbtv_c_key_input, vesta_hbbtv_key_input);

class CInterface : public LibraryTest {};

TEST_F(CInterface, StartsAndEndsTheLibrary)
{
    vesta_hbbtv_c_shutdown();
    EXPECT_EQ(ConfigurationManager::instance, nullptr);
    vesta_hbbtv_c_init(browser().handle());
    ASSERT_NE(ConfigurationManager::instance, nullptr);
    EXPECT_EQ(ConfigurationManager::instance->getBrowser(), browser().handle());
}

int heard = 0;

HBBTV_STATUS listen(HBBTV_NotificationType, HBBTV_NotificationData*)
{
    ++heard;
    return HBBTV_STATUS_OK;
}

TEST_F(CInterface, AddsListenersUnlessNull)
{
    heard = 0;
    EXPECT_FALSE(vesta_hbbtv_c_add_notification_listener(nullptr));
    EXPECT_TRUE(vesta_hbbtv_c_add_notification_listener(listen));
    startApplication(httpApplication(1, 1));
    EXPECT_GT(heard, 0);
}

TEST_F(CInterface, SendsEventsThatWakeAndTicksThem)
{
    pthread_cond_t condition = PTHREAD_COND_INITIALIZER;
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    EXPECT_FALSE(vesta_hbbtv_c_tick());
    pthread_mutex_lock(&mutex);
    vesta_hbbtv_c_set_sendevent_condition(&condition, nullptr);
    vesta_hbbtv_c_send_event(E_LOW_MEMORY, nullptr);  // would wait for the mutex, were it known
    pthread_mutex_unlock(&mutex);
    vesta_hbbtv_c_set_sendevent_condition(nullptr, nullptr);
    EXPECT_TRUE(vesta_hbbtv_c_tick());
    EXPECT_FALSE(vesta_hbbtv_c_tick());
}

TEST_F(CInterface, MakesAndReleasesWindowsAndChoosesTheBroadcastWindow)
{
    void* const second = vesta_hbbtv_c_create_window();
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(vesta_hbbtv_c_get_broadcast_window(), window());
    vesta_hbbtv_c_set_broadcast_window(second);
    EXPECT_EQ(vesta_hbbtv_c_get_broadcast_window(), second);
    EXPECT_EQ(vesta_hbbtv_c_set_time_shifted(second, 1), 0u);
    EXPECT_EQ(vesta_hbbtv_c_set_time_shifted(second, 1), 1u);
    vesta_hbbtv_c_release_window(second);
    EXPECT_EQ(vesta_hbbtv_c_get_broadcast_window(), nullptr);
    EXPECT_EQ(manager()->getWindows().size(), 1u);
}

TEST_F(CInterface, KnowsWhatAWindowShows)
{
    startApplication(httpApplication(1, 2));
    TAVO_VestaWindow* const first = browser().window(1);
    EXPECT_EQ(vesta_hbbtv_c_get_tavo_window(window()), first);
    EXPECT_EQ(vesta_hbbtv_c_get_window_identifier(first), window());
    EXPECT_TRUE(vesta_hbbtv_c_is_hbbtv_window(first));
    EXPECT_FALSE(vesta_hbbtv_c_is_hbbtv_window(browser().window(2)));
    EXPECT_TRUE(vesta_hbbtv_c_is_within_boundaries(window(), runningURL().c_str()));
    EXPECT_FALSE(vesta_hbbtv_c_is_within_boundaries(window(), "http://foreign.example/"));
}

TEST_F(CInterface, TakesBrowserEventsAndKeys)
{
    startApplication(httpApplication(1, 2));
    TAVO_VestaWindow* const first = browser().window(1);
    TavoVestaEventData data = {};
    data.url = "http://a.example/second";
    int result = 7;
    EXPECT_EQ(vesta_hbbtv_c_handle_notification(browser().handle(), first,
                                                TAVO_VESTA_EVT_URL_CHANGED, &data, &result),
              1u);
    EXPECT_EQ(result, 0);
    running()->getKeySet()->setValue(KeySet::RED);
    TAVO_KeyboardEvent event = {TAVO_KEY_DOWN, TAVO_VK_RED};
    EXPECT_EQ(vesta_hbbtv_c_key_input(first, &event), 1);
    EXPECT_EQ(vesta_hbbtv_c_key_input(nullptr, &event), 0);
}

TEST(Version, OfTheLibraryIsThatOfItsHeaders)
{
    EXPECT_STREQ(vesta_hbbtv_version(), VESTA_HBBTV_VERSION);
    const std::string numbers = std::to_string(VESTA_HBBTV_VERSION_MAJOR) + "." +
                                std::to_string(VESTA_HBBTV_VERSION_MINOR) + "." +
                                std::to_string(VESTA_HBBTV_VERSION_PATCH);
    EXPECT_EQ(vesta_hbbtv_version(), numbers);
}

TEST(Version, IsComparedNumberByNumber)
{
    const int major = VESTA_HBBTV_VERSION_MAJOR;
    const int minor = VESTA_HBBTV_VERSION_MINOR;
    const int patch = VESTA_HBBTV_VERSION_PATCH;
    EXPECT_TRUE(VESTA_HBBTV_VERSION_AT_LEAST(major, minor, patch));
    EXPECT_TRUE(VESTA_HBBTV_VERSION_AT_LEAST(major - 1, minor + 1, patch + 1));
    EXPECT_TRUE(VESTA_HBBTV_VERSION_AT_LEAST(major, minor - 1, patch + 1));
    EXPECT_TRUE(VESTA_HBBTV_VERSION_AT_LEAST(major, minor, patch - 1));
    EXPECT_FALSE(VESTA_HBBTV_VERSION_AT_LEAST(major, minor, patch + 1));
    EXPECT_FALSE(VESTA_HBBTV_VERSION_AT_LEAST(major, minor + 1, patch));
    EXPECT_FALSE(VESTA_HBBTV_VERSION_AT_LEAST(major + 1, minor, patch));
}

}  // namespace
