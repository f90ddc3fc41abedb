/// The packets of the real-time transport protocol, as far as they carry transport streams.
#ifndef VESTA_RECEIVER_STREAM_RTP_PACKET_H
#define VESTA_RECEIVER_STREAM_RTP_PACKET_H

#include <cstddef>
#include <cstdint>
#include <optional>

namespace receiver {

/// A packet of RTP (RFC 3550, 5.1), without what its header has besides.
struct RtpPacket {
    uint16_t sequenceNumber = 0;
    uint32_t source = 0;                     ///< SSRC
    const unsigned char* payload = nullptr;  ///< in the bytes that were read
    size_t size = 0;
};

/// Whether a datagram is RTP version 2 with payload type 33, a transport stream (RFC 2250, 2), and
/// not a transport stream by itself.
bool isRtp(const unsigned char* bytes, size_t count);

/// @return nothing where the header or the padding does not fit
std::optional<RtpPacket> readRtpPacket(const unsigned char* bytes, size_t count);

}  // namespace receiver

#endif
