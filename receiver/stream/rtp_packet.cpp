#include "receiver/stream/rtp_packet.h"

#include "foundation/byte_reader.h"

namespace receiver {

namespace {

constexpr unsigned transportStreamType = 33;

}  // namespace

bool isRtp(const unsigned char* bytes, size_t count)
{
    VestaHbbTV::ByteReader reader(bytes, count);
    const unsigned version = reader.u8() >> 6;
    const unsigned payloadType = reader.u8() & 0x7F;
    return reader.ok() && version == 2 && payloadType == transportStreamType;
}

std::optional<RtpPacket> readRtpPacket(const unsigned char* bytes, size_t count)
{
    VestaHbbTV::ByteReader reader(bytes, count);
    const unsigned flags = reader.u8();
    reader.skip(1);  // marker and payload type
    RtpPacket packet;
    packet.sequenceNumber = reader.u16();
    reader.skip(4);  // time stamp
    packet.source = reader.u32();
    reader.skip((flags & 0x0F) * size_t(4));  // contributing sources
    if ((flags & 0x10) != 0) {
        reader.skip(2);  // what kind of header extension
        reader.skip(reader.u16() * size_t(4));
    }
    // The last byte of the padding counts it, itself included.
    const size_t padding = (flags & 0x20) != 0 && !reader.empty() ? bytes[count - 1] : 0;
    const bool hasCount = (flags & 0x20) == 0 || padding != 0;
    if (!reader.ok() || !hasCount || padding > reader.remaining())
        return std::nullopt;
    packet.size = reader.remaining() - padding;
    packet.payload = bytes + (count - reader.remaining());
    return packet;
}

}  // namespace receiver
