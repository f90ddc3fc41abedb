#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <vector>

#include "station/multiplex/multiplexer.h"

namespace station {

namespace {

struct Stream {
    std::vector<Packet> packets;
    StreamReport report;
};

Stream play(const Schedule& schedule)
{
    Stream stream;
    stream.report =
        multiplex(schedule, [&](const Packet& packet) { stream.packets.push_back(packet); });
    return stream;
}

unsigned pidOf(const Packet& packet)
{
    return (packet[1] & 0x1FU) << 8 | packet[2];
}

std::optional<uint64_t> clockOf(const Packet& packet)
{
    if ((packet[3] & 0x20) == 0 || packet[4] < 7 || (packet[5] & 0x10) == 0)
        return std::nullopt;
    uint64_t base = 0;
    for (size_t at = 6; at < 10; ++at)
        base = base << 8 | packet[at];
    base = base << 1 | packet[10] >> 7;
    return base * 300 + (packet[10] & 1U) * 256U + packet[11];
}

/// One table of 100 bytes, one second of 1504 kbit/s: a thousand packets, one a millisecond.
Schedule second()
{
    Schedule schedule;
    schedule.bitrate = 1'504'000;
    schedule.durationMs = 1'000;
    schedule.clockPids = {0x100};
    schedule.tables.push_back({0, 100, [](int64_t) { return std::vector<Bytes>{Bytes(100, 1)}; }});
    return schedule;
}

TEST(Multiplexer, KeepsTheBitrateWithEmptyPackets)
{
    const Stream stream = play(second());
    EXPECT_EQ(stream.packets.size(), 1000U);
    std::map<unsigned, size_t> packets;
    for (const Packet& packet : stream.packets) {
        EXPECT_EQ(packet[0], 0x47);
        ++packets[pidOf(packet)];
    }
    EXPECT_EQ(packets[0], 10U) << "every 100 ms";
    EXPECT_EQ(packets[0x100], 25U) << "every 40 ms";
    EXPECT_EQ(packets[0x1FFF], 965U);
    EXPECT_EQ(stream.report.nullPackets, 965U);
}

TEST(Multiplexer, TheClockSaysWhenItsPacketComes)
{
    const Stream stream = play(second());
    for (size_t i = 0; i < stream.packets.size(); ++i) {
        if (const auto clock = clockOf(stream.packets[i])) {
            EXPECT_EQ(*clock, i * 27'000);
        }
    }
}

TEST(Multiplexer, ABitrateThatDividesNothingDoesNotDrift)
{
    Schedule schedule = second();
    schedule.bitrate = 1'999'993;
    schedule.durationMs = 600'000;
    uint64_t packets = 0;
    multiplex(schedule, [&](const Packet& packet) {
        if (const auto clock = clockOf(packet)) {
            const double exact = static_cast<double>(packets) * 1504 * 27e6 / 1'999'993;
            ASSERT_NEAR(static_cast<double>(*clock), exact, 1.5);
        }
        ++packets;
    });
}

TEST(Multiplexer, MarksTheFirstPacketOfEachPidAlone)
{
    const Stream stream = play(second());
    std::map<unsigned, unsigned> packets, marks;
    for (const Packet& packet : stream.packets) {
        if (pidOf(packet) == 0x1FFF)
            continue;
        const bool isMarked = (packet[3] & 0x20) != 0 && (packet[5] & 0x80) != 0;
        EXPECT_EQ(isMarked, packets[pidOf(packet)]++ == 0) << pidOf(packet);
        marks[pidOf(packet)] += isMarked ? 1 : 0;
    }
    EXPECT_EQ(marks[0], 1U);
    EXPECT_EQ(marks[0x100], 1U);
}

TEST(Multiplexer, CountsPacketsWithPayloadAndNoOthers)
{
    Schedule schedule = second();
    schedule.rotations.push_back({0x200, 0, {Bytes(1000, 2)}, {}, "", 1, 1});
    std::map<unsigned, unsigned> counters;
    for (const Packet& packet : play(schedule).packets) {
        const bool hasPayload = (packet[3] & 0x10) != 0;
        if (pidOf(packet) == 0x1FFF)
            continue;
        const unsigned expected = hasPayload ? counters[pidOf(packet)]++ % 16 : 15;
        EXPECT_EQ(packet[3] & 0x0F, expected) << pidOf(packet);
    }
}

/// The sections of a PID, put together again; the last one may be cut.
std::vector<Bytes> sectionsOf(const Stream& stream, unsigned pid)
{
    std::vector<Bytes> sections;
    for (const Packet& packet : stream.packets) {
        if (pidOf(packet) != pid || (packet[3] & 0x10) == 0)
            continue;
        size_t at = (packet[3] & 0x20) != 0 ? 5U + packet[4] : 4;
        if ((packet[1] & 0x40) != 0) {
            EXPECT_EQ(packet[at], 0) << "pointer_field";
            ++at;
            sections.emplace_back();
        }
        sections.back().insert(sections.back().end(), packet.begin() + std::ptrdiff_t(at),
                               packet.end());
    }
    return sections;
}

TEST(Multiplexer, CarouselsTakeTurnsInTheRoomThatIsLeft)
{
    Schedule schedule = second();
    schedule.rotations.push_back({0x200, 0, {Bytes(900, 1), Bytes(900, 2)}, {}, "a", 1, 1});
    schedule.rotations.push_back({0x201, 0, {Bytes(900, 3)}, {}, "b", 1, 1});
    const Stream stream = play(schedule);
    EXPECT_LT(stream.report.nullPackets, 10U) << "only at the end";
    const auto first = sectionsOf(stream, 0x200);
    ASSERT_EQ(first.size(), 96U);
    EXPECT_EQ(sectionsOf(stream, 0x201).size(), 96U);
    for (size_t i = 0; i < first.size(); ++i)
        EXPECT_EQ(first[i][0], 1 + i % 2);
    ASSERT_EQ(stream.report.rotations.size(), 2U);
    EXPECT_EQ(stream.report.rotations[0].title, "a");
    EXPECT_EQ(stream.report.rotations[0].cycleMs, 17) << "clock, table, a, b, a";
}

TEST(Multiplexer, NoSectionIsCutByTheEnd)
{
    for (const size_t size : {size_t(900), size_t(4000)}) {
        Schedule schedule = second();
        schedule.rotations.push_back({0x200, 0, {Bytes(size, 1)}, {}, "", 1, 1});
        for (const Bytes& section : sectionsOf(play(schedule), 0x200)) {
            ASSERT_GE(section.size(), size);
            EXPECT_EQ(section[size - 1], 1);
        }
    }
}

TEST(Multiplexer, ACycleTakesTheTimeThatItIsGiven)
{
    Schedule schedule = second();
    schedule.rotations.push_back(
        {0x200, 500, {Bytes(100, 1), Bytes(100, 2), Bytes(100, 3), Bytes(100, 4)}, {}, "", 1, 1});
    std::vector<size_t> places;
    const Stream stream = play(schedule);
    for (size_t i = 0; i < stream.packets.size(); ++i) {
        if (pidOf(stream.packets[i]) == 0x200)
            places.push_back(i);
    }
    ASSERT_EQ(places.size(), 8U);
    for (size_t i = 0; i < places.size(); ++i)
        EXPECT_NEAR(static_cast<double>(places[i]), static_cast<double>(i) * 125, 3) << i;
}

TEST(Multiplexer, ACarouselThatDoesNotComeRoundIsReported)
{
    Schedule schedule = second();
    schedule.rotations.push_back({0x200, 0, std::vector<Bytes>(50, Bytes(4000, 1)), {}, "", 1, 1});
    EXPECT_EQ(play(schedule).report.rotations[0].cycleMs, std::nullopt);
}

TEST(Multiplexer, SectionsComeOnceAtTheirTime)
{
    Schedule schedule = second();
    schedule.timed.push_back({0x300, 250, Bytes(20, 7)});
    schedule.timed.push_back({0x300, 600, Bytes(20, 8)});
    const Stream stream = play(schedule);
    const auto sections = sectionsOf(stream, 0x300);
    ASSERT_EQ(sections.size(), 2U);
    EXPECT_EQ(sections[0][0], 7);
    EXPECT_EQ(sections[1][0], 8);
    for (size_t i = 0; i < 250; ++i)
        EXPECT_NE(pidOf(stream.packets[i]), 0x300U);
    EXPECT_EQ(pidOf(stream.packets[250]), 0x300U);
}

}  // namespace

}  // namespace station
