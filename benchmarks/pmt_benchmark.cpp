/// Parsing and destroying a PMT of ten streams, beside libdvbpsi decoding the same section.
#include <benchmark/benchmark.h>
#include <cstdint>
#include <vector>

#ifdef VESTA_HAVE_DVBPSI
#include <dvbpsi/dvbpsi.h>
#include <dvbpsi/psi.h>
// These need the two above.
#include <dvbpsi/descriptor.h>
#include <dvbpsi/pmt.h>
#endif

#include "signalling/pmt.h"
#include "tests/support/crc32.h"

namespace {

using namespace VestaHbbTV;
using Bytes = std::vector<unsigned char>;

constexpr size_t streamCount = 10;

void append(Bytes& to, const Bytes& bytes)
{
    to.insert(to.end(), bytes.begin(), bytes.end());
}

/// A stream's entry; what its descriptors are follows real services.
void appendStream(Bytes& section, unsigned char type, unsigned char pid, const Bytes& descriptors)
{
    append(section, {type, 0xE1, pid, 0xF0, static_cast<unsigned char>(descriptors.size())});
    append(section, descriptors);
}

/// A service with video, five audio tracks, teletext, subtitles, application signalling and a
/// carousel.
Bytes makeSection(unsigned char version)
{
    Bytes section = {0x02, 0xB0, 0,    0x6D, 0xD0, static_cast<unsigned char>(0xC1 | version << 1),
                     0,    0,    0xE1, 0x00, 0xF0, 0};
    appendStream(section, 0x1B, 0, {0x52, 1, 1});
    for (unsigned char n = 1; n <= 5; ++n)
        appendStream(section, 0x04, n,
                     {0x52, 1, static_cast<unsigned char>(n + 1), 0x0A, 4, 'd', 'e', 'u', 0});
    appendStream(section, 0x06, 6, {0x52, 1, 7, 0x56, 5, 'd', 'e', 'u', 0x09, 0x00});
    appendStream(section, 0x06, 7, {0x52, 1, 8, 0x59, 8, 'd', 'e', 'u', 0x10, 0, 1, 0, 1});
    appendStream(section, 0x05, 8, {0x6F, 3, 0x00, 0x10, 0xE1});
    appendStream(section, 0x0B, 9,
                 {0x52, 1,    10,   0x14, 13, 0, 1, 0, 0, 8,    0x80, 0, 0, 2, 0xFF, 0xFF,
                  0xFF, 0xFF, 0x13, 5,    0,  0, 0, 1, 0, 0x66, 4,    1, 6, 1, 1});
    section[2] = static_cast<unsigned char>(section.size() + 4 - 3);
    const uint32_t crc = vesta::test::crc32(section);
    for (int shift = 24; shift >= 0; shift -= 8)
        section.push_back(static_cast<unsigned char>(crc >> shift));
    return section;
}

void parsePMT(benchmark::State& state)
{
    Bytes section = makeSection(0);
    for ([[maybe_unused]] auto _ : state) {
        PMT table(section.data());
        benchmark::DoNotOptimize(table);
        if (table.getElementaryStreams().size() != streamCount)
            state.SkipWithError("streams are missing");
    }
}
BENCHMARK(parsePMT);

void lookUpByComponentTag(benchmark::State& state)
{
    Bytes section = makeSection(0);
    PMT table(section.data());
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(table.getElementaryStream(10));
}
BENCHMARK(lookUpByComponentTag);

#ifdef VESTA_HAVE_DVBPSI
constexpr size_t packetSize = 188;

/// The section in transport packets of PID 0x100. The decoder takes sections in no other form.
std::vector<Bytes> makePackets(const Bytes& section)
{
    std::vector<Bytes> packets;
    for (size_t at = 0; at < section.size();) {
        const bool first = at == 0;
        Bytes packet = {0x47, static_cast<unsigned char>(first ? 0x41 : 0x01), 0x00, 0x10};
        if (first)
            packet.push_back(0);  // pointer_field
        for (; packet.size() < packetSize && at < section.size(); ++at)
            packet.push_back(section[at]);
        packet.resize(packetSize, 0xFF);
        packets.push_back(packet);
    }
    return packets;
}

/// Counts the streams of a decoded table and frees it.
void takePMT(void* streams, dvbpsi_pmt_t* table)
{
    for (const dvbpsi_pmt_es_t* stream = table->p_first_es; stream; stream = stream->p_next)
        ++*static_cast<size_t*>(streams);
    dvbpsi_pmt_delete(table);
}

/// A decoder that has the table already ignores it: the version changes every time.
void decodePMTWithDvbpsi(benchmark::State& state)
{
    std::vector<Bytes> versions[] = {makePackets(makeSection(0)), makePackets(makeSection(1))};
    size_t streams = 0;
    dvbpsi_t* const decoder = dvbpsi_new(nullptr, DVBPSI_MSG_NONE);
    dvbpsi_pmt_attach(decoder, 0x6DD0, takePMT, &streams);
    unsigned continuity = 0;
    size_t next = 0;
    for ([[maybe_unused]] auto _ : state) {
        for (Bytes& packet : versions[next]) {
            packet[3] = static_cast<unsigned char>(0x10 | (continuity++ & 0x0F));
            dvbpsi_packet_push(decoder, packet.data());
        }
        next = 1 - next;
    }
    if (streams != streamCount * static_cast<size_t>(state.iterations()))
        state.SkipWithError("the decoder did not give every table");
    dvbpsi_pmt_detach(decoder);
    dvbpsi_delete(decoder);
}
BENCHMARK(decodePMTWithDvbpsi);
#endif

}  // namespace
