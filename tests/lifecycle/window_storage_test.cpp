// Handles of released windows: for a long time nothing else stands at their addresses.

#include <functional>
#include <memory>
#include <set>
#include <thread>

#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "lifecycle/window_storage.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

class WindowStorageTest : public LibraryTest {
protected:
    static void* releasedWindow()
    {
        void* const handle = vesta_hbbtv_create_window();
        vesta_hbbtv_release_window(handle);
        return handle;
    }

    /// The addresses of as many windows as are created and released one after the other.
    static std::set<void*> addressesOf(unsigned windows)
    {
        std::set<void*> addresses;
        for (unsigned count = 0; count < windows; ++count)
            addresses.insert(releasedWindow());
        return addresses;
    }
};

TEST_F(WindowStorageTest, AreNotTheirSuccessors)
{
    void* const stale = releasedWindow();
    for (unsigned windows = 0; windows < WindowStorage::resting; ++windows)
        ASSERT_NE(releasedWindow(), stale) << windows;
    EXPECT_EQ(vesta_hbbtv_set_time_shifted(stale, 1), 1u);
    EXPECT_EQ(vesta_hbbtv_get_tavo_window(stale), nullptr);
    EXPECT_FALSE(vesta_hbbtv_is_within_boundaries(stale, "http://a.example/"));
}

TEST_F(WindowStorageTest, AreNotTheirSuccessorsWhileAnEventNamesThem)
{
    const std::function<HBBTV_EventData*(void*)> records[] = {
        [](void* window) { return startRecord(window, 1, 2); },
        [](void* window) { return urlRecord(window, "http://a.example/"); },
        [](void* window) { return windowRecord(window); },
    };
    int type = E_START_APPLICATION;
    for (const auto& record : records) {
        void* const stale = vesta_hbbtv_create_window();
        send(static_cast<HBBTV_EventType>(type++), record(stale));
        vesta_hbbtv_release_window(stale);
        EXPECT_EQ(addressesOf(20 * WindowStorage::resting).count(stale), 0u);
        tickAll();
        EXPECT_TRUE(window()->getApplications().empty());
    }
    EXPECT_EQ(journal(), Lines());
}

TEST_F(WindowStorageTest, DoNotRestForEver)
{
    send(E_TERMINATE_APPLICATION, windowRecord(nullptr));  // names none
    addressesOf(20 * WindowStorage::resting);
    EXPECT_EQ(WindowStorage::getResting(), WindowStorage::resting);
}

TEST_F(WindowStorageTest, AllRestWhileEventsNameSome)
{
    addressesOf(WindowStorage::resting);
    send(E_TERMINATE_APPLICATION, windowRecord(window()));
    const unsigned released = 20 * WindowStorage::resting;
    EXPECT_EQ(addressesOf(released).size(), released);
    EXPECT_EQ(WindowStorage::getResting(), WindowStorage::resting + released);
    tickAll();
    releasedWindow();
    EXPECT_EQ(WindowStorage::getResting(), WindowStorage::resting);
}

TEST_F(WindowStorageTest, OfNoneDoesNotRest)
{
    const unsigned resting = WindowStorage::getResting();
    WindowStorage::giveBack(nullptr, 1);
    EXPECT_EQ(WindowStorage::getResting(), resting);
}

TEST_F(WindowStorageTest, ExistNoMore)
{
    void* const stale = releasedWindow();
    EXPECT_FALSE(Window::exists(stale));
    EXPECT_FALSE(Window::exists(nullptr));
    EXPECT_FALSE(Window::exists(this));
    EXPECT_TRUE(Window::exists(window()));
    Window first(nullptr);
    auto second = std::make_unique<Window>(nullptr);
    Window third(nullptr);
    const void* const gone = second.get();
    second.reset();
    EXPECT_FALSE(Window::exists(gone));
    EXPECT_TRUE(Window::exists(&first));
    EXPECT_TRUE(Window::exists(&third));
    EXPECT_TRUE(Window::exists(window()));
}

TEST_F(WindowStorageTest, MayBeNamedFromAnyThread)
{
    std::thread middleware([this] {
        for (int events = 0; events < 200; ++events)
            send(E_TERMINATE_APPLICATION, windowRecord(window()));
    });
    for (int windows = 0; windows < 200; ++windows) {
        releasedWindow();
        vesta_hbbtv_tick();
    }
    middleware.join();
    tickAll();
}

}  // namespace
