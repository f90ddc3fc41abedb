#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "receiver/stream/rtp_packet.h"
#include "tests/receiver/support/byte_writer.h"

namespace receiver {
namespace {

/// In a block of exactly its size, so that a sanitizer sees one byte too far.
class Datagram {
public:
    explicit Datagram(const Bytes& bytes)
        : bytes_(new unsigned char[bytes.size()]), size_(bytes.size())
    {
        std::copy(bytes.begin(), bytes.end(), bytes_.get());
    }

    bool isRtp() const { return receiver::isRtp(bytes_.get(), size_); }
    std::optional<RtpPacket> read() const { return readRtpPacket(bytes_.get(), size_); }

    /// The payload; "damaged" where the packet cannot be read.
    std::string payload() const
    {
        const std::optional<RtpPacket> packet = read();
        return packet ? std::string(packet->payload, packet->payload + packet->size) : "damaged";
    }

private:
    const std::unique_ptr<unsigned char[]> bytes_;
    const size_t size_;
};

/// A header, and what follows it.
Bytes packet(unsigned flags, const Bytes& rest, unsigned type = 33)
{
    Bytes bytes = {static_cast<unsigned char>(0x80 | flags),
                   static_cast<unsigned char>(type),
                   0x12,
                   0x34,
                   0,
                   0,
                   0,
                   1,
                   0xA,
                   0xB,
                   0xC,
                   0xD};
    bytes.insert(bytes.end(), rest.begin(), rest.end());
    return bytes;
}

TEST(RtpPacket, IsKnownByVersionAndPayloadType)
{
    EXPECT_TRUE(Datagram(packet(0, {})).isRtp());
    EXPECT_TRUE(Datagram(packet(0x3F, {}, 0x80 | 33)).isRtp()) << "marker, and every flag";
    EXPECT_FALSE(Datagram(packet(0, {}, 96)).isRtp());
    EXPECT_FALSE(Datagram(packet(0x40, {})).isRtp()) << "version 3";
    EXPECT_FALSE(Datagram({0x47, 33}).isRtp());
    EXPECT_FALSE(Datagram({0x80}).isRtp());
    EXPECT_FALSE(Datagram({}).isRtp());
}

TEST(RtpPacket, HeaderAndPayloadAreRead)
{
    const Datagram datagram(packet(0, {'a', 'b'}));
    const std::optional<RtpPacket> read = datagram.read();
    ASSERT_TRUE(read);
    EXPECT_EQ(read->sequenceNumber, 0x1234);
    EXPECT_EQ(read->source, 0x0A0B0C0Du);
    EXPECT_EQ(datagram.payload(), "ab");
}

TEST(RtpPacket, WhatIsNotPayloadIsSkippedAndWhatDoesNotFitIsRefused)
{
    const struct {
        const char* why;
        unsigned flags;
        Bytes rest;
        const char* payload;
    } cases[] = {
        {"nothing", 0, {}, ""},
        {"a contributing source", 1, {1, 2, 3, 4, 'a'}, "a"},
        {"a contributing source alone", 1, {1, 2, 3, 4}, ""},
        {"a contributing source, a byte short", 1, {1, 2, 3}, "damaged"},
        {"15 contributing sources that are not there", 15, Bytes(59), "damaged"},
        {"15 contributing sources", 15, Bytes(60), ""},
        {"an empty extension", 0x10, {0, 0, 0, 0, 'a'}, "a"},
        {"an extension", 0x10, {0, 0, 0, 1, 1, 2, 3, 4, 'a'}, "a"},
        {"an extension, a byte short", 0x10, {0, 0, 0, 1, 1, 2, 3}, "damaged"},
        {"an extension without a length", 0x10, {0, 0, 0}, "damaged"},
        {"the longest extension", 0x10, {0, 0, 0xFF, 0xFF, 1}, "damaged"},
        {"padding", 0x20, {'a', 'b', 0, 2}, "ab"},
        {"nothing but padding", 0x20, {0, 0, 3}, ""},
        {"padding of one byte", 0x20, {'a', 1}, "a"},
        {"padding that does not count itself", 0x20, {'a', 0}, "damaged"},
        {"padding longer than what is there", 0x20, {'a', 3}, "damaged"},
        {"padding without a byte", 0x20, {}, "damaged"},
        {"padding that reaches into the sources", 0x21, {1, 2, 3, 1}, "damaged"},
        {"all of it", 0x31, {1, 2, 3, 4, 0, 0, 0, 1, 1, 2, 3, 4, 'a', 0, 2}, "a"},
    };
    for (const auto& [why, flags, rest, payload] : cases)
        EXPECT_EQ(Datagram(packet(flags, rest)).payload(), payload) << why;
}

TEST(RtpPacket, AHeaderThatIsNotWholeIsRefused)
{
    const Bytes whole = packet(0, {});
    for (size_t size = 0; size < whole.size(); ++size) {
        const Datagram datagram(Bytes(whole.begin(), whole.begin() + std::ptrdiff_t(size)));
        EXPECT_EQ(datagram.payload(), "damaged") << size;
    }
}

}  // namespace
}  // namespace receiver
