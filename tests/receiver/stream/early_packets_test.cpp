#include <gtest/gtest.h>
#include <set>

#include "receiver/stream/early_packets.h"
#include "receiver/stream/packet_framer.h"
#include "tests/receiver/support/byte_writer.h"

namespace receiver {
namespace {

constexpr uint16_t pid = 0x100;
constexpr uint16_t otherPid = 0x101;
constexpr size_t mostPackets = EarlyPackets::mostBytes / PacketFramer::packetSize;

Bytes packet(size_t number)
{
    return ByteWriter().u32(uint32_t(number)).fill(PacketFramer::packetSize - 4, 0x47);
}

/// The packets of these PIDs, by their numbers.
std::vector<size_t> visited(EarlyPackets& packets, const std::set<uint16_t>& pids)
{
    std::vector<size_t> numbers;
    packets.visit(pids, [&numbers](const unsigned char* bytes) {
        numbers.push_back(size_t(bytes[0]) << 24 | size_t(bytes[1]) << 16 | size_t(bytes[2]) << 8 |
                          bytes[3]);
        const Bytes wanted = packet(numbers.back());
        EXPECT_TRUE(std::equal(wanted.begin(), wanted.end(), bytes));
    });
    return numbers;
}

TEST(EarlyPackets, AreVisitedInOrderAsOftenAsSomebodyAsks)
{
    EarlyPackets packets;
    packets.add(pid, packet(1).data());
    packets.add(otherPid, packet(2).data());
    packets.add(pid, packet(3).data());
    EXPECT_EQ(visited(packets, {pid}), (std::vector<size_t>{1, 3}));
    packets.add(pid, packet(4).data());
    EXPECT_EQ(visited(packets, {pid, otherPid, 0x102}), (std::vector<size_t>{1, 2, 3, 4}));
}

TEST(EarlyPackets, AreKeptFromTheBeginningUntilTheyAreForgotten)
{
    EarlyPackets packets;
    packets.add(pid, packet(1).data());
    packets.forget();
    packets.add(pid, packet(2).data());
    EXPECT_TRUE(visited(packets, {pid}).empty());
    packets.begin();
    packets.add(pid, packet(3).data());
    EXPECT_EQ(visited(packets, {pid}), std::vector<size_t>{3});
    packets.begin();
    EXPECT_EQ(visited(packets, {pid}), std::vector<size_t>{3}) << "nothing was forgotten";
}

TEST(EarlyPackets, TheLatestAreKeptWithinTheLimit)
{
    EarlyPackets packets;
    const size_t count = 2 * mostPackets;
    for (size_t number = 0; number < count; ++number)
        packets.add(number % 2 ? pid : otherPid, packet(number).data());
    const std::vector<size_t> kept = visited(packets, {pid, otherPid});
    EXPECT_LE(kept.size(), mostPackets);
    ASSERT_GE(kept.size(), mostPackets / 2);
    for (size_t index = 0; index < kept.size(); ++index)
        ASSERT_EQ(kept[index], count - kept.size() + index);
}

TEST(EarlyPackets, AreNotVisitedForEverWhateverTheTablesSay)
{
    EarlyPackets packets;
    for (size_t number = 0; number < mostPackets; ++number)
        packets.add(pid, packet(number).data());
    size_t count = 0;
    for (unsigned time = 0; time < 100; ++time)
        packets.visit({pid}, [&count](const unsigned char*) { ++count; });
    EXPECT_EQ(count, EarlyPackets::mostVisits);
    EXPECT_GE(count, 4 * mostPackets);
}

}  // namespace
}  // namespace receiver
