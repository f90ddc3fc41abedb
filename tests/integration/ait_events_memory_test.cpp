// What a table costs while nobody wants to hear of it.

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include "vesta_hbbtv_appman.h"

#include "lifecycle/window.h"
#include "signalling/ait.h"
#include "tests/support/fake_browser.h"
#include "tests/support/fake_platform.h"
#include "tests/support/hostile_tables.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

/// The most that this process ever used.
size_t peakBytes()
{
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<size_t>(usage.ru_maxrss) * 1024;
}

void send(const Bytes& section)
{
    auto* const data = static_cast<HBBTV_EventData*>(std::calloc(1, sizeof(HBBTV_EventData)));
    data->ait.section = static_cast<unsigned char*>(std::malloc(section.size()));
    std::memcpy(data->ait.section, section.data(), section.size());
    vesta_hbbtv_send_event(E_AIT_SECTION, data);
}

class AITEventsMemory : public ::testing::Test {
protected:
    AITEventsMemory()
    {
        FakeBrowser::instance().reset();
        FakePlatform::instance().reset();
        vesta_hbbtv_init(FakeBrowser::instance().handle());
        window_ = vesta_hbbtv_create_window();
        vesta_hbbtv_set_broadcast_window(window_);
    }

    ~AITEventsMemory() override { vesta_hbbtv_shutdown(); }

    void* window_ = nullptr;
};

TEST_F(AITEventsMemory, WithoutListenersNoRecordIsMadeOfATable)
{
    const HostileTable hostile = differentLongAddresses();
    const size_t before = peakBytes();
    for (const Bytes& section : hostile.sections)
        send(section);
    while (vesta_hbbtv_tick()) {
    }
    const auto* const window = static_cast<const Window*>(window_);
    ASSERT_NE(window->getAIT(), nullptr);
    EXPECT_EQ(window->getAIT()->getNumApplications(), 255u);
    EXPECT_LT(peakBytes() - before, 50000000u) << "the record would be five times as large";
}

}  // namespace
