/// Keys on their way to an application, beside the bookkeeping that pairs need at the least: two
/// look-ups, and a key that enters and leaves a set.
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>

#include "vesta_hbbtv_appman.h"

#include "tests/support/fake_browser.h"
#include "tests/support/fake_platform.h"

namespace {

using namespace VestaHbbTV;
using vesta::test::FakeBrowser;
using vesta::test::FakePlatform;

HBBTV_STATUS giveWindow(HBBTV_NotificationType type, HBBTV_NotificationData* data)
{
    if (type == HBBTV_NOTIFICATION_REQUEST_WINDOW) {
        *data->window.tavoWindow = FakeBrowser::instance().window(1);
        data->window.success = 1;
    }
    return HBBTV_STATUS_OK;
}

char* copyOf(const char* text)
{
    char* const copy = static_cast<char*>(std::malloc(std::strlen(text) + 1));
    return copy ? std::strcpy(copy, text) : nullptr;
}

void silenceFakes()
{
    FakeBrowser::instance().reset();
    FakePlatform::instance().reset();
    FakeBrowser::instance().journalling = FakePlatform::instance().journalling = false;
}

/// A library in whose browser window 1 an application runs that takes every key.
class RunningApplication {
public:
    RunningApplication()
    {
        silenceFakes();
        vesta_hbbtv_init(FakeBrowser::instance().handle());
        vesta_hbbtv_add_notification_listener(giveWindow);
        auto* const data = static_cast<HBBTV_EventData*>(std::calloc(1, sizeof(HBBTV_EventData)));
        data->url.window = vesta_hbbtv_create_window();
        data->url.url = copyOf("http://a.example/");
        vesta_hbbtv_send_event(E_START_BROADCAST_INDEPENDENT_APPLICATION, data);
        while (vesta_hbbtv_tick())
            continue;
    }
    RunningApplication(const RunningApplication&) = delete;
    RunningApplication& operator=(const RunningApplication&) = delete;
    ~RunningApplication() { vesta_hbbtv_shutdown(); }
};

void bookkeeping(benchmark::State& state)
{
    silenceFakes();
    int owner = 0;
    const std::map<TAVO_VestaWindow*, int*> windows = {{FakeBrowser::instance().window(1), &owner}};
    const std::map<TAVO_VestaWindow*, int*> applications = windows;
    std::set<TAVO_VIRTUAL_KEY> held;
    for ([[maybe_unused]] auto _ : state) {
        for (const bool isDown : {true, false}) {
            benchmark::DoNotOptimize(windows.find(FakeBrowser::instance().window(1)));
            benchmark::DoNotOptimize(applications.find(FakeBrowser::instance().window(1)));
            if (isDown)
                held.insert(TAVO_VK_RED);
            else
                held.erase(TAVO_VK_RED);
            TAVO_KeyboardEvent event = {isDown ? TAVO_KEY_DOWN : TAVO_KEY_UP, TAVO_VK_RED};
            tavo_keyboard_evt(&event);
        }
    }
}
BENCHMARK(bookkeeping);

void pressAndRelease(benchmark::State& state, long windowId, int key)
{
    const RunningApplication application;
    TAVO_VestaWindow* const window = FakeBrowser::instance().window(windowId);
    for ([[maybe_unused]] auto _ : state) {
        TAVO_KeyboardEvent event = {TAVO_KEY_DOWN, static_cast<TAVO_VIRTUAL_KEY>(key)};
        benchmark::DoNotOptimize(vesta_hbbtv_key_input(window, &event));
        event.type = TAVO_KEY_UP;
        benchmark::DoNotOptimize(vesta_hbbtv_key_input(window, &event));
    }
}
BENCHMARK_CAPTURE(pressAndRelease, forwarded, 1, int{TAVO_VK_RED});
BENCHMARK_CAPTURE(pressAndRelease, notAdmitted, 1, 500);
BENCHMARK_CAPTURE(pressAndRelease, foreignWindow, 2, int{TAVO_VK_RED});

}  // namespace
