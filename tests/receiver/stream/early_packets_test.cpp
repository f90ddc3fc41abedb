#include <gtest/gtest.h>
#include <set>

#include "receiver/stream/early_packets.h"
#include "receiver/stream/packet_framer.h"
#include "tests/receiver/support/byte_writer.h"
#include "tests/support/heap_use.h"

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
    packets.visit(pids, EarlyPackets::Visitor::Service, [&numbers](const unsigned char* bytes) {
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

// Every PID that ever filled the window would keep its room otherwise.
TEST(EarlyPackets, TakeNoMoreMemoryWhateverPidsComeInTurn)
{
    EarlyPackets packets;
    const size_t before = vesta::test::heapInUse();
    size_t number = 0;
    for (uint16_t each = 0; each < 40; ++each) {
        for (size_t count = 0; count < mostPackets; ++count)
            packets.add(each, packet(number++).data());
    }
    EXPECT_LT(vesta::test::heapInUse() - before, 3 * EarlyPackets::mostBytes);
}

size_t visitsOf(EarlyPackets& packets, uint16_t which, EarlyPackets::Visitor visitor)
{
    size_t count = 0;
    for (unsigned time = 0; time < 100; ++time)
        packets.visit({which}, visitor, [&count](const unsigned char*) { ++count; });
    return count;
}

TEST(EarlyPackets, AreNotVisitedForEverWhateverTheTablesSay)
{
    EarlyPackets packets;
    packets.add(pid, packet(1).data());
    packets.add(pid, packet(2).data());
    EXPECT_EQ(visitsOf(packets, pid, EarlyPackets::Visitor::Candidate),
              2 * EarlyPackets::mostVisits);
}

TEST(EarlyPackets, WhoHasVisitedTooOftenTakesNothingFromOthers)
{
    EarlyPackets packets;
    packets.add(pid, packet(1).data());
    packets.add(otherPid, packet(2).data());
    visitsOf(packets, pid, EarlyPackets::Visitor::Candidate);
    EXPECT_EQ(visitsOf(packets, pid, EarlyPackets::Visitor::Service), EarlyPackets::mostVisits);
    EXPECT_EQ(visitsOf(packets, otherPid, EarlyPackets::Visitor::Candidate),
              EarlyPackets::mostVisits);
}

TEST(EarlyPackets, AreVisitedAnewAfterANewBeginning)
{
    EarlyPackets packets;
    packets.add(pid, packet(1).data());
    visitsOf(packets, pid, EarlyPackets::Visitor::Service);
    packets.begin();
    EXPECT_EQ(visited(packets, {pid}), std::vector<size_t>{1});
}

}  // namespace
}  // namespace receiver
