/// A script that starts one application after the other before a tick: each start gives way to the
/// next one, and ends on its own tick or with the window.
#include <benchmark/benchmark.h>
#include <chrono>

#include "vesta_hbbtv_appman.h"

#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "tests/support/fake_browser.h"
#include "tests/support/fake_platform.h"
#include "tests/support/given_windows.h"

namespace {

using namespace VestaHbbTV;
using vesta::test::FakeBrowser;
using vesta::test::FakePlatform;
using vesta::test::giveWindows;
using vesta::test::tickAll;

/// A library whose only window runs an application.
class Library {
public:
    Library()
    {
        FakeBrowser::instance().reset();
        FakePlatform::instance().reset();
        FakeBrowser::instance().journalling = FakePlatform::instance().journalling = false;
        vesta_hbbtv_init(FakeBrowser::instance().handle());
        vesta_hbbtv_add_notification_listener(giveWindows);
        window_ = static_cast<Window*>(vesta_hbbtv_create_window());
        window_->startBroadcastIndependentApplication(HbbTVURL("http://a.example/"));
        tickAll();
    }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    ~Library() { vesta_hbbtv_shutdown(); }

    void startMany(int64_t count) const
    {
        auto* const script = reinterpret_cast<void*>(
            static_cast<uintptr_t>(window_->getRunningApplication()->getID()));
        for (int64_t n = 0; n < count; ++n) {
            void* application = nullptr;
            native_ApplicationCreateApplication("http://a.example/child", 1, script, &application);
        }
    }

    void release() const { vesta_hbbtv_release_window(window_); }

private:
    Window* window_ = nullptr;
};

template <typename Work>
void timeOnly(benchmark::State& state, Work work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    const auto end = std::chrono::steady_clock::now();
    state.SetIterationTime(std::chrono::duration<double>(end - begin).count());
}

void startMany(benchmark::State& state)
{
    for ([[maybe_unused]] auto _ : state) {
        const Library library;
        timeOnly(state, [&] { library.startMany(state.range(0)); });
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(startMany)->RangeMultiplier(4)->Range(1024, 65536)->UseManualTime();

void tickMany(benchmark::State& state)
{
    for ([[maybe_unused]] auto _ : state) {
        const Library library;
        library.startMany(state.range(0));
        timeOnly(state, tickAll);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(tickMany)->RangeMultiplier(4)->Range(1024, 65536)->UseManualTime();

void releaseMany(benchmark::State& state)
{
    for ([[maybe_unused]] auto _ : state) {
        const Library library;
        library.startMany(state.range(0));
        timeOnly(state, [&] { library.release(); });
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(releaseMany)->RangeMultiplier(4)->Range(1024, 65536)->UseManualTime();

}  // namespace
