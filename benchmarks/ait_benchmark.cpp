/// A table of about 1000 bytes with eight applications, from the section to its destruction, and
/// the questions to it.
///
/// Beside it, over the same bytes: a bare walk over the descriptor lengths; the allocations that
/// the table makes, replayed in their order without anything else (the floor of an owned tree); and
/// libdvbpsi, which copies the descriptors into a list without decoding them. libdvbpsi knows no
/// AIT, so it gets the same descriptors as those of the streams of a PMT, without the CRC's check.
#include <benchmark/benchmark.h>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <unordered_map>
#include <vector>

#ifdef VESTA_HAVE_DVBPSI
// libdvbpsi's headers do not include what they need.
#include <dvbpsi/descriptor.h>
#include <dvbpsi/dvbpsi.h>
#include <dvbpsi/pmt.h>
#include <dvbpsi/psi.h>
#endif

#include "signalling/ait.h"
#include "tests/support/section_builder.h"

namespace {

/// What happened to the heap: an allocation of `size` bytes, or (size 0) the release of the block
/// that the allocation number `block` gave.
struct HeapEvent {
    size_t size;
    size_t block;
};

/// Notes allocations and releases while it is told to.
struct HeapRecorder {
    bool isOn = false;
    size_t allocations = 0;
    std::vector<HeapEvent> events;
    std::unordered_map<void*, size_t> blocks;

    void allocated(void* block, size_t size)
    {
        isOn = false;  // what is noted allocates, too
        blocks[block] = allocations;
        events.push_back({size, allocations++});
        isOn = true;
    }

    void released(void* block)
    {
        const auto found = blocks.find(block);
        if (found == blocks.end())
            return;
        isOn = false;
        events.push_back({0, found->second});
        blocks.erase(found);
        isOn = true;
    }
};

HeapRecorder heap;

}  // namespace

void* operator new(size_t size)
{
    void* const block = std::malloc(size);
    if (!block)
        throw std::bad_alloc();
    if (heap.isOn)
        heap.allocated(block, size);
    return block;
}

void operator delete(void* block) noexcept
{
    if (heap.isOn && block)
        heap.released(block);
    std::free(block);
}

void operator delete(void* block, size_t) noexcept
{
    operator delete(block);
}

namespace {

using namespace VestaHbbTV;
using namespace vesta::test;

constexpr unsigned applicationCount = 8;

AITEntry entry(unsigned number)
{
    const std::string digit = std::to_string(number);
    return AITEntry(0x19, static_cast<uint16_t>(number))
        .priority(static_cast<uint8_t>(number))
        .name("Programme guide " + digit)
        .http(1, "http://portal.broadcaster.example/hbbtv/" + digit + "/")
        .location("index.html?lang=en&from=ait");
}

const Bytes& section()
{
    static const Bytes bytes = [] {
        AITSection section;
        for (unsigned number = 1; number <= applicationCount; ++number)
            section.add(entry(number));
        return section.bytes();
    }();
    return bytes;
}

void setBytes(benchmark::State& state)
{
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(section().size()));
}

void parseTable()
{
    AIT table(1, 2, 3, nullptr);
    if (!table.parse(section().data()) || table.getNumApplications() != applicationCount)
        std::abort();
    benchmark::DoNotOptimize(table);
}

void parseAndDestroy(benchmark::State& state)
{
    section();
    for ([[maybe_unused]] auto _ : state)
        parseTable();
    setBytes(state);
    state.counters["size"] = static_cast<double>(section().size());
}
BENCHMARK(parseAndDestroy);

void bareWalk(benchmark::State& state)
{
    const Bytes& bytes = section();
    for ([[maybe_unused]] auto _ : state) {
        const unsigned char* at = bytes.data() + 12;
        const unsigned char* const end = bytes.data() + bytes.size() - 4;
        unsigned count = 0;
        while (at < end) {
            const unsigned char* const loopEnd = at + 9 + ((at[7] & 0x0F) << 8 | at[8]);
            for (at += 9; at < loopEnd; at += 2 + at[1])
                ++count;
        }
        benchmark::DoNotOptimize(count);
    }
    setBytes(state);
}
BENCHMARK(bareWalk);

void allocateOnly(benchmark::State& state)
{
    section();
    heap.events.clear();
    heap.allocations = 0;
    heap.isOn = true;
    parseTable();
    heap.isOn = false;
    std::vector<void*> blocks(heap.allocations);
    for ([[maybe_unused]] auto _ : state) {
        for (const HeapEvent& event : heap.events) {
            if (event.size != 0) {
                blocks[event.block] = std::malloc(event.size);
                benchmark::DoNotOptimize(blocks[event.block]);
            } else {
                std::free(blocks[event.block]);
            }
        }
    }
    setBytes(state);
    state.counters["allocations"] = static_cast<double>(heap.allocations);
}
BENCHMARK(allocateOnly);

#ifdef VESTA_HAVE_DVBPSI

// Exported by libdvbpsi, but declared in none of its public headers.
extern "C" void dvbpsi_pmt_sections_decode(dvbpsi_pmt_t* pmt, dvbpsi_psi_section_t* section);

/// The payload of a PMT section with a stream for each application.
Bytes streamsPayload()
{
    Bytes payload = {0xE0, 0x64, 0xF0, 0x00};  // PCR_PID, no program_info
    for (unsigned number = 1; number <= applicationCount; ++number) {
        const Bytes whole = entry(number).bytes();
        payload =
            payload + Bytes{0x05, 0xE0, static_cast<unsigned char>(number), whole[7], whole[8]};
        payload.insert(payload.end(), whole.begin() + 9, whole.end());
    }
    return payload;
}

void dvbpsiDecode(benchmark::State& state)
{
    Bytes payload = streamsPayload();
    dvbpsi_psi_section_t psi = {};
    psi.i_table_id = 0x02;
    psi.b_syntax_indicator = true;
    psi.p_data = payload.data();
    psi.p_payload_start = payload.data();
    psi.p_payload_end = payload.data() + payload.size();
    for ([[maybe_unused]] auto _ : state) {
        dvbpsi_pmt_t pmt;
        dvbpsi_pmt_init(&pmt, 1, 0, true, 0x64);
        dvbpsi_pmt_sections_decode(&pmt, &psi);
        if (!pmt.p_first_es || !pmt.p_first_es->p_first_descriptor)
            std::abort();
        dvbpsi_pmt_empty(&pmt);
    }
    setBytes(state);
}
BENCHMARK(dvbpsiDecode);

#endif

void lookUp(benchmark::State& state, AITApplication* (*find)(const AIT&))
{
    AIT table(1, 2, 3, nullptr);
    if (!table.parse(section().data()))
        std::abort();
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(table);
        AITApplication* const found = find(table);
        benchmark::DoNotOptimize(found);
    }
}
BENCHMARK_CAPTURE(lookUp, byIdsTheFirst,
                  [](const AIT& table) { return table.getAITApplication(0x19UL, 8); });
BENCHMARK_CAPTURE(lookUp, byIdsTheLast,
                  [](const AIT& table) { return table.getAITApplication(0x19UL, 1); });
BENCHMARK_CAPTURE(lookUp, byIdsNone,
                  [](const AIT& table) { return table.getAITApplication(0x19UL, 99); });
BENCHMARK_CAPTURE(lookUp, byIndex, [](const AIT& table) { return table.getAITApplication(7U); });
BENCHMARK_CAPTURE(lookUp, autostart, [](const AIT& table) {
    return table.getAITApplication(AITApplication::AUTOSTART, true);
});
BENCHMARK_CAPTURE(lookUp, autostartWithoutHTTP, [](const AIT& table) {
    return table.getAITApplication(AITApplication::AUTOSTART, false);
});

void buildURL(benchmark::State& state)
{
    AIT table(1, 2, 3, nullptr);
    if (!table.parse(section().data()))
        std::abort();
    const AITApplication& application = *table.getAITApplication(0U);
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(
            application.getTransports()[0]->getURL(application.getApplicationLocation()));
}
BENCHMARK(buildURL);

/// The largest table that the air can bring, each section with one priority. The order of the
/// sections should not matter.
void largestTable(benchmark::State& state, bool rising)
{
    const unsigned int sectionCount = 256;
    const unsigned int entriesOfASection = 200;
    std::vector<vesta::test::Bytes> sections;
    for (unsigned int number = 0; number < sectionCount; ++number) {
        vesta::test::AITSection section;
        section.number(static_cast<uint8_t>(number), static_cast<uint8_t>(sectionCount - 1));
        const unsigned int priority = rising ? number : sectionCount - 1 - number;
        for (unsigned int entry = 0; entry < entriesOfASection; ++entry)
            section.add(vesta::test::AITEntry(1, static_cast<uint16_t>(entry))
                            .profiles({})
                            .priority(static_cast<uint8_t>(priority)));
        sections.push_back(section.bytes());
    }
    for ([[maybe_unused]] auto _ : state) {
        AIT table(1, 2, 3, nullptr);
        for (const vesta::test::Bytes& section : sections)
            if (!table.parse(section.data()))
                state.SkipWithError("a section was refused");
    }
}
/// Passing over one AUTOSTART application after the other, in a table of this many percent of the
/// largest.
void walkAutostart(benchmark::State& state)
{
    const unsigned int entriesOfAPercent = 512;
    AIT table;
    for (unsigned int entry = 0; entry < entriesOfAPercent * state.range(0); ++entry) {
        auto* const application = new AITApplication(&table);
        application->setControlCode(AITApplication::AUTOSTART);
        application->addTransport(ref_ptr<AITApplicationTransport>(new AITApplicationTransport));
        table.insertAITApplication(application);
    }
    for ([[maybe_unused]] auto _ : state) {
        const AITApplication* application =
            table.getAITApplication(AITApplication::AUTOSTART, true);
        while (application)
            application = table.getNextAITApplication(application, AITApplication::AUTOSTART, true);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * table.getNumApplications());
}
BENCHMARK(walkAutostart)->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond);

BENCHMARK_CAPTURE(largestTable, fallingPriorities, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(largestTable, risingPriorities, true)->Unit(benchmark::kMillisecond);

}  // namespace
