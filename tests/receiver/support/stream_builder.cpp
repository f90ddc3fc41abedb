#include "tests/receiver/support/stream_builder.h"

#include <algorithm>
#include <cstddef>

#include "tests/support/crc32.h"

namespace receiver {

namespace {

constexpr size_t packetPayload = 184;

}  // namespace

Bytes makeSection(const SectionFields& fields, const Bytes& body)
{
    ByteWriter writer;
    writer.u8(fields.tableId).u16(0xB000 | unsigned(body.size() + 9)).u16(fields.tableIdExtension);
    writer.u8(0xC0 | (fields.version << 1) | (fields.current ? 1U : 0U));
    writer.u8(fields.sectionNumber).u8(fields.lastSectionNumber).add(body);
    const uint32_t crc = vesta::test::crc32(writer.bytes());
    return writer.u32(crc);
}

Bytes makePat(unsigned transportStreamId, unsigned version, const std::vector<PatEntry>& programs)
{
    ByteWriter body;
    for (const PatEntry& program : programs)
        body.u16(program.programNumber).u16(0xE000 | program.pid);
    return makeSection({0x00, transportStreamId, version}, body);
}

Bytes makePmt(unsigned programNumber, unsigned version, const std::vector<PmtStream>& streams)
{
    ByteWriter body;
    body.u16(0xE100).u16(0xF000);
    for (const PmtStream& stream : streams) {
        body.u8(stream.streamType).u16(0xE000 | stream.pid);
        body.u16(0xF000 | unsigned(stream.descriptors.size())).add(stream.descriptors);
    }
    return makeSection({0x02, programNumber, version}, body);
}

Bytes makeSdt(unsigned transportStreamId, unsigned originalNetworkId,
              const std::vector<std::pair<unsigned, std::string>>& names, unsigned tableId)
{
    ByteWriter body;
    body.u16(originalNetworkId).u8(0xFF);
    for (const auto& [serviceId, name] : names) {
        const ByteWriter service = ByteWriter().u8(1).with8(std::string("maker")).with8(name);
        const Bytes descriptor = makeDescriptor(0x48, service);
        body.u16(serviceId).u8(0xFC).u16(0x8000 | unsigned(descriptor.size())).add(descriptor);
    }
    return makeSection({tableId, transportStreamId}, body);
}

Bytes makeDescriptor(unsigned tag, const Bytes& payload)
{
    return ByteWriter().u8(tag).with8(payload);
}

Bytes PacketWriter::section(const Bytes& section)
{
    Bytes rest = ByteWriter().u8(0).add(section);  // pointer_field
    Bytes packets;
    for (bool first = true; !rest.empty(); first = false) {
        const size_t size = std::min(rest.size(), packetPayload);
        ByteWriter payload;
        payload.add(Bytes(rest.begin(), rest.begin() + std::ptrdiff_t(size)));
        payload.fill(packetPayload - size, 0xFF);
        packets = packets + packet(first, {}, payload);
        rest.erase(rest.begin(), rest.begin() + std::ptrdiff_t(size));
    }
    return packets;
}

Bytes PacketWriter::packet(bool unitStart, const Bytes& adaptationField, const Bytes& payload)
{
    ByteWriter writer;
    writer.u8(0x47).u16((unitStart ? 0x4000U : 0U) | pid_);
    const unsigned control =
        (adaptationField.empty() ? 0U : 0x20U) | (payload.empty() ? 0U : 0x10U);
    writer.u8(control | (counter_ & 0x0F));
    if (!payload.empty())
        ++counter_;
    if (!adaptationField.empty())
        writer.with8(adaptationField);
    return writer.add(payload);
}

StreamWriter& StreamWriter::add(unsigned pid, const Bytes& section)
{
    const Bytes packets = writers_.try_emplace(pid, pid).first->second.section(section);
    bytes_.insert(bytes_.end(), packets.begin(), packets.end());
    return *this;
}

StreamWriter& StreamWriter::addClock(unsigned pid, uint64_t time)
{
    const unsigned lastBit = unsigned(time & 1) << 7;
    const Bytes clock = ByteWriter().u8(0x10).u32(uint32_t(time >> 1)).u8(lastBit | 0x7E).u8(0);
    const Bytes packet =
        writers_.try_emplace(pid, pid).first->second.packet(false, clock + Bytes(176, 0xFF), {});
    bytes_.insert(bytes_.end(), packet.begin(), packet.end());
    return *this;
}

StreamWriter& StreamWriter::pause()
{
    const size_t packets = 64;
    for (size_t count = 0; count < packets; ++count) {
        const Bytes null = PacketWriter(0x1FFF).packet(false, {}, Bytes(184, 0xFF));
        bytes_.insert(bytes_.end(), null.begin(), null.end());
    }
    return *this;
}

Bytes operator+(Bytes left, const Bytes& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

}  // namespace receiver
