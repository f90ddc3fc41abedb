/// A section on its way through the feed, beside a checksum of it and a copy: what any
/// demultiplexer does with it at the least. Nearly all sections are repetitions.
#include <benchmark/benchmark.h>
#include <string>
#include <vector>

#include "vesta_hbbtv_appman.h"

#include "kit/crc32.h"
#include "tests/kit/pmt_bytes.h"
#include "tests/support/fake_browser.h"
#include "tests/support/section_builder.h"
#include "vesta_hbbtv_kit.h"

namespace {

using namespace vesta::test;

Bytes table(uint16_t applications)
{
    AITSection section;
    for (uint16_t id = 1; id <= applications; ++id)
        section.add(AITEntry(0x0A, id)
                        .name("An application")
                        .http(1, "http://application.example/folder/")
                        .location("index.html"));
    return section.bytes();
}

void checksumAndCopy(benchmark::State& state)
{
    const Bytes section = table(static_cast<uint16_t>(state.range(0)));
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(VestaHbbTV::crc32(section.data(), section.size()));
        std::vector<unsigned char> copy(section);
        benchmark::DoNotOptimize(copy.data());
    }
}
BENCHMARK(checksumAndCopy)->Arg(1)->Arg(8);

void repetition(benchmark::State& state)
{
    const Bytes section = table(static_cast<uint16_t>(state.range(0)));
    const Bytes pmt = pmtBytes({{5, 100, {}}});
    VestaHbbTV::vesta_hbbtv_init(FakeBrowser::instance().handle());
    HBBTV_KitAITFeed* const feed = hbbtv_kit_feed_create(nullptr);
    const uint32_t tuning = hbbtv_kit_feed_tune(feed, 1, 2, 3, nullptr);
    hbbtv_kit_feed_pmt(feed, tuning, pmt.data(), pmt.size(), 0);
    for ([[maybe_unused]] auto _ : state)
        hbbtv_kit_feed_section(feed, tuning, 100, section.data(), section.size(), 1);
    if (hbbtv_kit_feed_get_count(feed, HBBTV_KIT_SECTION_OK) == 0)
        state.SkipWithError("the sections were not taken");
    hbbtv_kit_feed_destroy(feed);
    VestaHbbTV::vesta_hbbtv_shutdown();
}
BENCHMARK(repetition)->Arg(1)->Arg(8);

}  // namespace
