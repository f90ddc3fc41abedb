/// Transport packets (ISO/IEC 13818-1, 2.4.3).
#ifndef VESTA_STATION_MULTIPLEX_PACKETS_H
#define VESTA_STATION_MULTIPLEX_PACKETS_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "station/bytes/byte_writer.h"

namespace station {

constexpr size_t packetSize = 188;
constexpr size_t packetPayload = 184;
constexpr int64_t clockIntervalMs = 40;
constexpr unsigned nullPid = 0x1FFF;
constexpr uint64_t clockFrequency = 27'000'000;

using Packet = std::array<unsigned char, packetSize>;

/// How many packets a section takes, with the byte that says where it begins. @param isMarked
/// whether the mark of a discontinuity takes room in the first one, too
inline size_t packetsFor(const Bytes& section, bool isMarked = false)
{
    constexpr size_t pointer = 1;
    constexpr size_t mark = 2;
    const size_t size = section.size() + pointer + (isMarked ? mark : 0);
    return (size + packetPayload - 1) / packetPayload;
}

/// Makes the packets of one PID. The first one is marked as a discontinuity: where the stream is
/// played in a loop, counter and clock jump there.
class PacketMaker {
public:
    explicit PacketMaker(unsigned pid) : pid_(pid) {}

    /// Takes as much of the section as fits. @param at how much of it went before; moves on
    Packet section(const Bytes& section, size_t& at);

    /// A packet with nothing but the clock. @param ticks of 27 MHz
    Packet clock(uint64_t ticks);

private:
    bool takeMark();

    unsigned pid_;
    unsigned counter_ = 0;
    bool isMarked_ = false;
};

Packet nullPacket();

}  // namespace station

#endif
