#include <gtest/gtest.h>

#include "receiver/stream/early_packets.h"
#include "receiver/stream/packet_framer.h"
#include "tests/receiver/support/byte_writer.h"

namespace receiver {
namespace {

Bytes packet(size_t number)
{
    return ByteWriter().u32(uint32_t(number)).fill(PacketFramer::packetSize - 4, 0x47);
}

TEST(EarlyPackets, AreKeptInOrderUntilTheyAreTaken)
{
    EarlyPackets packets;
    packets.add(packet(1).data());
    packets.add(packet(2).data());
    Bytes wanted = packet(1);
    const Bytes second = packet(2);
    wanted.insert(wanted.end(), second.begin(), second.end());
    EXPECT_EQ(packets.takeAll(), wanted);
    packets.add(packet(3).data());
    EXPECT_TRUE(packets.takeAll().empty()) << "nobody asks for later ones";
}

TEST(EarlyPackets, TheLatestAreKeptWithinTheLimit)
{
    EarlyPackets packets;
    const size_t count = 2 * EarlyPackets::mostBytes / PacketFramer::packetSize;
    for (size_t number = 0; number < count; ++number)
        packets.add(packet(number).data());
    const Bytes kept = packets.takeAll();
    EXPECT_LE(kept.size(), EarlyPackets::mostBytes);
    EXPECT_GE(kept.size(), EarlyPackets::mostBytes / 2);
    const Bytes last(kept.end() - std::ptrdiff_t(PacketFramer::packetSize), kept.end());
    EXPECT_EQ(last, packet(count - 1));
}

}  // namespace
}  // namespace receiver
