/// Any datagrams into the demultiplexer, as they come from a network: packets of RTP are put in
/// order, everything else is a piece of a transport stream. A datagram is given as a byte with the
/// milliseconds since the last one, 16-bit size and bytes, and lies in a heap block of its size, so
/// that one byte too far is seen.
#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <set>
#include <vector>

#include "foundation/byte_reader.h"
#include "receiver/service/service_tables.h"
#include "receiver/stream/rtp_packet.h"
#include "receiver/stream/rtp_reorder.h"
#include "receiver/stream/transport_stream.h"

using receiver::RtpReorder;
using receiver::SectionBytes;
using receiver::TransportStream;

namespace {

void require(bool condition)
{
    if (!condition)
        std::abort();
}

/// Wants the sections of every stream that a PMT lists, those that came before it included, and
/// none of a PID any more after a section of it was left out.
class Viewer : private receiver::TransportStreamListener {
public:
    void take(const unsigned char* bytes, size_t size) { stream_.feed(bytes, size); }
    void restart() { stream_.restart(); }
    void finish()
    {
        stream_.finish();
        const receiver::StreamStatistics& all = stream_.statistics();
        require(all.damagedPackets + all.duplicatePackets + all.scrambledPackets <= all.packets);
        stream_.haveProgramMapsComeRound();
    }

private:
    void servicesChanged(const std::vector<receiver::Service>& services) override
    {
        require(services == stream_.services());
    }

    void pmtReceived(const receiver::Service& service, const SectionBytes& section) override
    {
        require(receiver::readSectionHeader(section).tableIdExtension == service.programNumber);
        std::set<uint16_t> pids;
        for (const receiver::StreamDescription& part : receiver::readProgramMap(section).streams)
            pids.insert(part.pid);
        for (const uint16_t pid : pids)
            stream_.subscribe(pid);
        const auto visit = [this](uint16_t pid, const SectionBytes& early) {
            sectionReceived(pid, early);
        };
        stream_.visitEarlySections(pids, receiver::EarlyPackets::Visitor::Service, visit);
    }

    void sectionReceived(uint16_t pid, const SectionBytes& section) override
    {
        constexpr size_t shortest = 8 + 4;  // the common header and the CRC_32
        constexpr size_t longest = 4096;    // ISO/IEC 13818-1, 2.4.4.11
        require(stream_.isSubscribed(pid));
        require(section.size() >= shortest && section.size() <= longest);
        require(receiver::sectionBody(section).remaining() == section.size() - shortest);
    }

    void clockReceived(uint16_t pid, uint64_t ticks, bool /*discontinuity*/) override
    {
        constexpr uint64_t basesOf33Bits = uint64_t{1} << 33;
        require(pid < 0x1FFF && ticks < basesOf33Bits * 300 + 0x200);
    }

    void sectionLeftOut(uint16_t pid, const receiver::LeftOutSection& section) override
    {
        require(section.header.size() <= 8);
        stream_.unsubscribe(pid);
    }

    TransportStream stream_{*this};
};

void takeDatagram(Viewer& viewer, RtpReorder& reorder, RtpReorder::Clock::time_point now,
                  VestaHbbTV::ByteReader bytes)
{
    const size_t size = bytes.remaining();
    const std::unique_ptr<unsigned char[]> block(new unsigned char[size]);
    if (size == 0)
        viewer.restart();
    else
        std::copy_n(bytes.data(), size, block.get());
    if (!receiver::isRtp(block.get(), size))
        return viewer.take(block.get(), size);
    if (const auto packet = receiver::readRtpPacket(block.get(), size))
        reorder.add(*packet, now);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Viewer viewer;
    size_t handedOn = 0;
    RtpReorder reorder([&viewer, &handedOn](const unsigned char* bytes, size_t count) {
        handedOn += count;
        viewer.take(bytes, count);
    });
    RtpReorder::Clock::time_point now;
    VestaHbbTV::ByteReader input(data, size);
    while (!input.empty()) {
        now += std::chrono::milliseconds(input.u8());
        const size_t datagramSize = std::min<size_t>(input.u16(), input.remaining());
        takeDatagram(viewer, reorder, now, input.take(datagramSize));
        reorder.giveUpGaps(now);
        require(!reorder.due() || *reorder.due() > now);
    }
    require(handedOn <= size);  // nothing twice
    viewer.finish();
    return 0;
}
