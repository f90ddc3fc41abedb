#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <tuple>

#include "receiver/stream/packet_framer.h"
#include "tests/receiver/support/stream_builder.h"

namespace receiver {
namespace {

Bytes somePackets(size_t count)
{
    PacketWriter writer(0x100);
    Bytes bytes;
    for (size_t i = 0; i < count; ++i)
        bytes = bytes + writer.packet(false, {}, ByteWriter().fill(184, unsigned(i) & 0x3F));
    return bytes;
}

Bytes spread(const Bytes& packets, size_t before, size_t after)
{
    Bytes bytes;
    for (size_t at = 0; at < packets.size(); at += 188) {
        bytes.insert(bytes.end(), before, 0x11);
        bytes.insert(bytes.end(), packets.begin() + std::ptrdiff_t(at),
                     packets.begin() + std::ptrdiff_t(at + 188));
        bytes.insert(bytes.end(), after, 0x22);
    }
    return bytes;
}

Bytes framed(const Bytes& bytes, size_t pieceSize, PacketFramer::State* state = nullptr,
             uint64_t* skipped = nullptr)
{
    Bytes packets;
    PacketFramer framer([&packets](const unsigned char* packet) {
        packets.insert(packets.end(), packet, packet + 188);
    });
    for (size_t at = 0; at < bytes.size(); at += pieceSize)
        framer.feed(bytes.data() + at, std::min(pieceSize, bytes.size() - at));
    framer.finish();
    if (state)
        *state = framer.state();
    if (skipped)
        *skipped = framer.skippedBytes();
    return packets;
}

TEST(PacketFramer, FindsPacketsOfAllThreeKindsInPiecesOfAnySize)
{
    const Bytes packets = somePackets(12);
    const std::tuple<const char*, Bytes> cases[] = {
        {"188", packets}, {"192", spread(packets, 4, 0)}, {"204", spread(packets, 0, 16)}};
    for (const auto& [kind, bytes] : cases) {
        for (const size_t pieceSize : {size_t(1), size_t(187), size_t(1000), bytes.size()}) {
            uint64_t skipped = 1;
            EXPECT_EQ(framed(bytes, pieceSize, nullptr, &skipped), packets) << kind << pieceSize;
            EXPECT_EQ(skipped, 0u) << kind;
        }
    }
}

TEST(PacketFramer, ASinglePacketIsAStream)
{
    const Bytes packet = somePackets(1);
    EXPECT_EQ(framed(packet, 188), packet);
    EXPECT_EQ(framed(spread(packet, 0, 16), 204), packet);
}

TEST(PacketFramer, RubbishInFrontAndAHalfPacketAtTheEndAreDropped)
{
    const Bytes packets = somePackets(8);
    Bytes bytes = Bytes(77, 0x00) + packets + Bytes(packets.begin(), packets.begin() + 100);
    uint64_t skipped = 0;
    EXPECT_EQ(framed(bytes, 50, nullptr, &skipped), packets);
    EXPECT_EQ(skipped, 77u);
}

TEST(PacketFramer, FindsThePlaceAgainAfterLostBytes)
{
    const Bytes packets = somePackets(30);
    Bytes bytes = packets;
    bytes.erase(bytes.begin() + 10 * 188 + 20, bytes.begin() + 10 * 188 + 70);
    PacketFramer::State state;
    // The packet with the hole is filled from the next one, which is lost by that.
    const Bytes found = framed(bytes, 64, &state);
    ASSERT_EQ(found.size(), 29u * 188);
    EXPECT_TRUE(std::equal(found.end() - 18 * 188, found.end(), packets.end() - 18 * 188));
    EXPECT_NE(state, PacketFramer::State::NotATransportStream);
}

TEST(PacketFramer, ADestroyedSyncByteCostsOnePacket)
{
    const Bytes packets = somePackets(30);
    Bytes bytes = packets;
    bytes[10 * 188] = 0x00;
    Bytes expected = packets;
    expected.erase(expected.begin() + 10 * 188, expected.begin() + 11 * 188);
    EXPECT_EQ(framed(bytes, 188), expected);
}

TEST(PacketFramer, TextIsNoStreamEvenIfItBeginsWithTheSyncByte)
{
    PacketFramer::State state;
    EXPECT_TRUE(framed(Bytes{'G', 'o'} + Bytes(500, 'a'), 100, &state).empty());
    EXPECT_EQ(state, PacketFramer::State::NotATransportStream);
}

TEST(PacketFramer, APacketThatDoesNotGoOnIsDroppedWithoutHarmToThoseAfterIt)
{
    const Bytes packets = somePackets(12);
    for (const Bytes& bytes : {packets, spread(packets, 4, 0), spread(packets, 0, 16)}) {
        Bytes found;
        PacketFramer framer([&found](const unsigned char* packet) {
            found.insert(found.end(), packet, packet + 188);
        });
        framer.feed(bytes.data(), bytes.size() - 50);
        const size_t foundBefore = found.size();
        framer.restart();
        framer.feed(bytes.data(), bytes.size());
        framer.finish();
        EXPECT_EQ(found.size(), foundBefore + packets.size());
        EXPECT_EQ(framer.syncLosses(), 0u);
        EXPECT_EQ(framer.skippedBytes(), 0u);
    }
}

}  // namespace
}  // namespace receiver
