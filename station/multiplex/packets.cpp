#include "station/multiplex/packets.h"

#include <algorithm>

namespace station {

namespace {

constexpr unsigned syncByte = 0x47;
constexpr unsigned unitStart = 0x4000;
constexpr unsigned hasAdaptation = 0x20;
constexpr unsigned hasPayload = 0x10;
constexpr unsigned discontinuity = 0x80;
constexpr unsigned hasClock = 0x10;
constexpr size_t headerSize = 4;

Packet stuffed(const ByteWriter& bytes)
{
    Packet packet;
    packet.fill(0xFF);
    std::copy(bytes.bytes().begin(), bytes.bytes().end(), packet.begin());
    return packet;
}

}  // namespace

bool PacketMaker::takeMark()
{
    const bool isFirst = !isMarked_;
    isMarked_ = true;
    return isFirst;
}

Packet PacketMaker::section(const Bytes& section, size_t& at)
{
    const bool begins = at == 0;
    const bool isFirst = takeMark();
    ByteWriter packet;
    packet.u8(syncByte).u16((begins ? unitStart : 0U) | pid_);
    packet.u8((isFirst ? hasAdaptation : 0U) | hasPayload | (counter_++ & 0x0F));
    if (isFirst)
        packet.u8(1).u8(discontinuity);
    if (begins)
        packet.u8(0);  // pointer_field
    const size_t size = std::min(packetSize - packet.size(), section.size() - at);
    const auto from = section.begin() + std::ptrdiff_t(at);
    packet.add(Bytes(from, from + std::ptrdiff_t(size)));
    at += size;
    return stuffed(packet);
}

// program_clock_reference: 2.4.3.5. Such a packet does not count: it has no payload.
Packet PacketMaker::clock(uint64_t ticks)
{
    const uint64_t base = ticks / 300 & 0x1FFFFFFFF;
    const auto extension = static_cast<unsigned>(ticks % 300);
    ByteWriter packet;
    packet.u8(syncByte).u16(pid_).u8(hasAdaptation | ((counter_ - 1) & 0x0F));
    packet.u8(packetSize - headerSize - 1).u8((takeMark() ? discontinuity : 0U) | hasClock);
    packet.u32(static_cast<uint32_t>(base >> 1));
    packet.u16((static_cast<unsigned>(base & 1) << 15) | 0x7E00 | extension);
    return stuffed(packet);
}

Packet nullPacket()
{
    return stuffed(ByteWriter().u8(syncByte).u16(nullPid).u8(hasPayload));
}

}  // namespace station
