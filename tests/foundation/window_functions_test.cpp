// The entry functions about windows and listeners, with every kind of handle.

#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "oipf/notifications/notification_manager.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

class WindowFunctions : public LibraryTest {
protected:
    /// Handles that are no windows: null, one of a window that is gone, and any other address.
    std::vector<void*> strangers()
    {
        void* const released = vesta_hbbtv_create_window();
        vesta_hbbtv_release_window(released);
        return {nullptr, released, this, reinterpret_cast<void*>(1)};
    }
};

TEST_F(WindowFunctions, CreateAndReleaseWindows)
{
    void* const second = vesta_hbbtv_create_window();
    ASSERT_NE(second, nullptr);
    EXPECT_NE(second, window());
    EXPECT_EQ(manager()->getWindows().size(), 2u);
    vesta_hbbtv_release_window(second);
    EXPECT_EQ(manager()->getWindows().size(), 1u);
    for (void* handle : strangers())
        vesta_hbbtv_release_window(handle);
    EXPECT_EQ(manager()->getWindows().size(), 1u);
    EXPECT_TRUE(manager()->windowExists(window()));
}

TEST_F(WindowFunctions, BroadcastWindowIsOneThatIsHeld)
{
    EXPECT_EQ(vesta_hbbtv_get_broadcast_window(), window());
    for (void* handle : strangers()) {
        vesta_hbbtv_set_broadcast_window(handle);
        EXPECT_EQ(vesta_hbbtv_get_broadcast_window(), window());
    }
    void* const second = vesta_hbbtv_create_window();
    vesta_hbbtv_set_broadcast_window(second);
    EXPECT_EQ(vesta_hbbtv_get_broadcast_window(), second);
    vesta_hbbtv_release_window(second);
    EXPECT_EQ(vesta_hbbtv_get_broadcast_window(), nullptr);
}

TEST_F(WindowFunctions, BrowserWindowsLeadToTheirWindowsAndBack)
{
    TAVO_VestaWindow* const first = browser().window(1);
    EXPECT_EQ(vesta_hbbtv_get_tavo_window(window()), nullptr) << "no application, no window";
    EXPECT_EQ(vesta_hbbtv_get_window_identifier(first), nullptr);
    EXPECT_FALSE(vesta_hbbtv_is_hbbtv_window(first));

    startApplication(httpApplication(1, 2));
    EXPECT_EQ(vesta_hbbtv_get_tavo_window(window()), first);
    EXPECT_EQ(vesta_hbbtv_get_window_identifier(first), window());
    EXPECT_TRUE(vesta_hbbtv_is_hbbtv_window(first));
    for (TAVO_VestaWindow* other : {static_cast<TAVO_VestaWindow*>(nullptr), browser().window(2)}) {
        EXPECT_EQ(vesta_hbbtv_get_window_identifier(other), nullptr);
        EXPECT_FALSE(vesta_hbbtv_is_hbbtv_window(other));
    }
    for (void* handle : strangers())
        EXPECT_EQ(vesta_hbbtv_get_tavo_window(handle), nullptr);
    vesta_hbbtv_release_window(window());
    EXPECT_EQ(vesta_hbbtv_get_window_identifier(first), nullptr);
    EXPECT_FALSE(vesta_hbbtv_is_hbbtv_window(first));
}

TEST_F(WindowFunctions, BoundariesAreThoseOfTheRunningApplication)
{
    EXPECT_FALSE(vesta_hbbtv_is_within_boundaries(nullptr, "http://a.example/x"));
    EXPECT_FALSE(vesta_hbbtv_is_within_boundaries(window(), nullptr));
    EXPECT_FALSE(vesta_hbbtv_is_within_boundaries(nullptr, nullptr));
    EXPECT_FALSE(vesta_hbbtv_is_within_boundaries(window(), "http://a.example/x"))
        << "no application runs";
    startApplication(httpApplication(1, 2));
    EXPECT_TRUE(vesta_hbbtv_is_within_boundaries(window(), "http://a.example/x"));
    EXPECT_FALSE(vesta_hbbtv_is_within_boundaries(window(), "http://b.example/x"));
    EXPECT_FALSE(vesta_hbbtv_is_within_boundaries(window(), ""));
}

TEST_F(WindowFunctions, NoURLIsWithinABoundaryThatHoldsEverything)
{
    startApplication(AITEntry(1, 2).carousel(1, 7).location("i").boundary({""}));
    EXPECT_TRUE(vesta_hbbtv_is_within_boundaries(window(), ""));
    EXPECT_TRUE(vesta_hbbtv_is_within_boundaries(window(), "http://b.example/x"));
    EXPECT_FALSE(vesta_hbbtv_is_within_boundaries(window(), nullptr));
}

TEST_F(WindowFunctions, TimeShiftAnswersWhetherItChanged)
{
    for (void* handle : strangers()) {
        EXPECT_EQ(vesta_hbbtv_set_time_shifted(handle, 1), 1u);
        EXPECT_EQ(vesta_hbbtv_set_time_shifted(handle, 0), 1u);
    }
    const std::pair<int, unsigned int> steps[] = {{0, 1}, {5, 0}, {1, 1}, {-1, 1},
                                                  {0, 0}, {0, 1}, {-1, 0}};
    for (const auto& [flag, result] : steps)
        EXPECT_EQ(vesta_hbbtv_set_time_shifted(window(), flag), result) << flag;
}

TEST_F(WindowFunctions, BrowserWindowOfAWindowThatIsJustReleasedIsNotTold)
{
    startApplication(httpApplication(1, 1));
    Window* const released = window();
    EXPECT_EQ(vesta_hbbtv_get_tavo_window(released), browser().window(1));
    int asked = 0;
    listener().onNotification[HBBTV_NOTIFICATION_STOP_APPLICATION] = [&](HBBTV_NotificationData*) {
        ++asked;
        manager()->registerTavoWindow(browser().window(7), released);
        EXPECT_EQ(vesta_hbbtv_get_tavo_window(released), nullptr);
    };
    vesta_hbbtv_release_window(released);
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(vesta_hbbtv_get_window_identifier(browser().window(7)), nullptr);
}

TEST_F(WindowFunctions, AnswerAlsoWithoutInit)
{
    shutdown();
    EXPECT_EQ(vesta_hbbtv_get_broadcast_window(), nullptr);
    EXPECT_EQ(vesta_hbbtv_get_window_identifier(browser().window(1)), nullptr);
    EXPECT_EQ(vesta_hbbtv_get_tavo_window(this), nullptr);
    EXPECT_EQ(vesta_hbbtv_get_tavo_window(nullptr), nullptr);
    EXPECT_FALSE(vesta_hbbtv_is_hbbtv_window(browser().window(1)));
    EXPECT_FALSE(vesta_hbbtv_is_hbbtv_window(nullptr));
    EXPECT_FALSE(vesta_hbbtv_is_within_boundaries(nullptr, "http://a.example/"));
    EXPECT_EQ(vesta_hbbtv_set_time_shifted(this, 1), 1u);
    vesta_hbbtv_set_broadcast_window(this);
    vesta_hbbtv_release_window(this);
    EXPECT_EQ(vesta_hbbtv_get_broadcast_window(), nullptr);
}

int heard = 0;

HBBTV_STATUS hear(HBBTV_NotificationType, HBBTV_NotificationData*)
{
    ++heard;
    return HBBTV_STATUS_OK;
}

TEST_F(WindowFunctions, ListenersAreAddedUnlessNull)
{
    EXPECT_FALSE(vesta_hbbtv_add_notification_listener(nullptr));
    EXPECT_TRUE(vesta_hbbtv_add_notification_listener(hear));
    EXPECT_TRUE(vesta_hbbtv_add_notification_listener(hear));
    heard = 0;
    sendAIT(AITSection());
    tickAll();
    EXPECT_EQ(heard, 2) << "a listener added twice is called twice";
}

TEST_F(WindowFunctions, ListenersMayBeAddedBeforeInit)
{
    shutdown();
    EXPECT_FALSE(vesta_hbbtv_add_notification_listener(nullptr));
    EXPECT_EQ(NotificationManager::instance, nullptr);
    EXPECT_TRUE(vesta_hbbtv_add_notification_listener(hear));
    vesta_hbbtv_init(browser().handle());
    vesta_hbbtv_set_broadcast_window(vesta_hbbtv_create_window());
    heard = 0;
    sendAIT(AITSection());
    tickAll();
    EXPECT_EQ(heard, 1);
}

}  // namespace
