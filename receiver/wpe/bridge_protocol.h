/// What goes over the socket between a web process and the receiver: a message's length as four
/// bytes, low one first, then so many bytes. A call begins with a line of three numbers: page,
/// document, and 1 for the main frame; the rest is the script's, and so is the answer.
#ifndef VESTA_RECEIVER_WPE_BRIDGE_PROTOCOL_H
#define VESTA_RECEIVER_WPE_BRIDGE_PROTOCOL_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace receiver {

constexpr size_t bridgeLengthBytes = 4;

/// A call may not be longer, its first line with it: the receiver ends the connection.
constexpr uint32_t mostCallBytes = uint32_t(16) << 20;

inline std::array<unsigned char, bridgeLengthBytes> bridgeLength(size_t length)
{
    return {static_cast<unsigned char>(length & 0xFF),
            static_cast<unsigned char>(length >> 8 & 0xFF),
            static_cast<unsigned char>(length >> 16 & 0xFF),
            static_cast<unsigned char>(length >> 24 & 0xFF)};
}

inline uint32_t bridgeLength(const unsigned char* bytes)
{
    return static_cast<uint32_t>(bytes[0]) | static_cast<uint32_t>(bytes[1]) << 8 |
           static_cast<uint32_t>(bytes[2]) << 16 | static_cast<uint32_t>(bytes[3]) << 24;
}

}  // namespace receiver

#endif
