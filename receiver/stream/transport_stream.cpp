#include "receiver/stream/transport_stream.h"

#include <algorithm>
#include <cstring>
#include <tuple>
#include <utility>

#include "foundation/byte_reader.h"

namespace receiver {

using VestaHbbTV::ByteReader;

namespace {

constexpr uint16_t patPid = 0x0000;
constexpr uint16_t sdtPid = 0x0011;
constexpr uint16_t nullPid = 0x1FFF;
constexpr uint8_t patTable = 0x00;
constexpr uint8_t pmtTable = 0x02;
constexpr uint8_t sdtOfThisStreamTable = 0x42;  // 0x46 describes other streams
constexpr uint8_t noCounter = 0xFF;
constexpr size_t headerSize = 4;
constexpr size_t mostServices = 8192;  // as many as there are PIDs for their PMTs

}  // namespace

// A packet's header and adaptation field: ISO/IEC 13818-1, 2.4.3.2 and 2.4.3.4.
struct TransportStream::Packet {
    explicit Packet(const unsigned char* packet);

    const unsigned char* bytes;
    bool damaged = false;
    uint16_t pid = 0;
    bool scrambled = false;
    bool hasPayload = false;
    uint8_t continuityCounter = 0;
    size_t payloadOffset = headerSize;
    bool discontinuity = false;
    std::optional<uint64_t> clock;

private:
    void readAdaptationField(ByteReader field);
};

TransportStream::Packet::Packet(const unsigned char* packet) : bytes(packet)
{
    ByteReader reader(packet, PacketFramer::packetSize);
    reader.skip(1);
    const uint16_t flagsAndPid = reader.u16();
    damaged = (flagsAndPid & 0x8000) != 0;
    pid = flagsAndPid & 0x1FFF;
    const uint8_t control = reader.u8();
    scrambled = (control & 0xC0) != 0;
    const bool hasAdaptationField = (control & 0x20) != 0;
    hasPayload = (control & 0x10) != 0;
    continuityCounter = control & 0x0F;
    if (hasAdaptationField) {
        const uint8_t length = reader.u8();
        payloadOffset = headerSize + 1 + length;
        readAdaptationField(reader.take(length));
    }
    damaged = damaged || !reader.ok();
    hasPayload = hasPayload && payloadOffset < PacketFramer::packetSize;
}

void TransportStream::Packet::readAdaptationField(ByteReader field)
{
    if (field.empty())
        return;
    const uint8_t flags = field.u8();
    discontinuity = (flags & 0x80) != 0;
    const bool hasClock = (flags & 0x10) != 0;
    if (!hasClock || field.remaining() < 6)
        return;
    const uint64_t upper = field.u32();
    const unsigned lower = field.u16();
    const uint64_t base = (upper << 1) | (lower >> 15);  // of 90 kHz
    clock = base * 300 + (lower & 0x01FF);
}

// A PID whose sections are wanted.
struct TransportStream::SectionPid {
    bool repeats(const Packet& packet);

    SectionAssembler assembler;
    bool hasBegun = false;  // a packet of it has come
    std::array<unsigned char, PacketFramer::packetSize> lastPacket{};
};

// Sixteen lost packets leave the counter where it was; only equal bytes make a repetition.
bool TransportStream::SectionPid::repeats(const Packet& packet)
{
    const unsigned char* payload = packet.bytes + packet.payloadOffset;
    const size_t size = PacketFramer::packetSize - packet.payloadOffset;
    return std::memcmp(payload, lastPacket.data() + packet.payloadOffset, size) == 0;
}

bool Service::operator==(const Service& other) const
{
    return std::tie(programNumber, pmtPid, transportStreamId, originalNetworkId, name, type) ==
           std::tie(other.programNumber, other.pmtPid, other.transportStreamId,
                    other.originalNetworkId, other.name, other.type);
}

TransportStream::TransportStream(TransportStreamListener& listener)
    : listener_(listener), framer_([this](const unsigned char* packet) { handlePacket(packet); })
{
    continuityCounters_.fill(noCounter);
    need(patPid);
    need(sdtPid);
}

TransportStream::~TransportStream() = default;

bool TransportStream::feed(const unsigned char* bytes, size_t count)
{
    hasReadNames_ = false;
    framer_.feed(bytes, count);
    if (areNamesStale_)
        readServiceNames();
    countFraming();
    return framer_.state() != PacketFramer::State::NotATransportStream;
}

bool TransportStream::finish()
{
    framer_.finish();
    countFraming();
    return framer_.state() != PacketFramer::State::NotATransportStream;
}

void TransportStream::countFraming()
{
    statistics_.syncLosses = framer_.syncLosses();
    statistics_.skippedBytes = framer_.skippedBytes();
}

void TransportStream::restart()
{
    framer_.restart();
    continuityCounters_.fill(noCounter);
    for (auto& [pid, entry] : sectionPids_)
        entry = std::make_unique<SectionPid>();
}

std::string TransportStream::error() const
{
    if (framer_.state() == PacketFramer::State::NotATransportStream)
        return "not a transport stream: no packets of 188, 192 or 204 bytes found";
    return "";
}

void TransportStream::subscribe(uint16_t pid)
{
    if (pid >= nullPid)
        return;
    subscribed_.insert(pid);
    need(pid);
}

void TransportStream::unsubscribe(uint16_t pid)
{
    subscribed_.erase(pid);
    releaseIfUnused(pid);
}

void TransportStream::handlePacket(const unsigned char* bytes)
{
    ++statistics_.packets;
    const Packet packet(bytes);
    if (packet.damaged) {
        ++statistics_.damagedPackets;
        return;
    }
    if (packet.pid == nullPid)
        return;
    reportClock(packet);
    if (!packet.hasPayload || !continues(packet))
        return;
    if (packet.scrambled) {
        ++statistics_.scrambledPackets;
        return;
    }
    assemble(packet);
    earlyPackets_.add(packet.pid, bytes);  // the listener has what it brought
}

// False for a repetition of the packet before. A gap is only counted: the assembler sees it too.
bool TransportStream::continues(const Packet& packet)
{
    const uint8_t last = std::exchange(continuityCounters_[packet.pid], packet.continuityCounter);
    const auto entry = sectionPids_.find(packet.pid);
    if (last == packet.continuityCounter && !packet.discontinuity &&
        (entry == sectionPids_.end() || entry->second->repeats(packet))) {
        ++statistics_.duplicatePackets;
        return false;
    }
    if (entry != sectionPids_.end())
        std::copy_n(packet.bytes, PacketFramer::packetSize, entry->second->lastPacket.begin());
    const uint8_t expected = (last + 1) & 0x0F;
    if (last != noCounter && packet.continuityCounter != expected && !packet.discontinuity) {
        ++statistics_.continuityErrors;
        ++continuityErrors_[packet.pid];
    }
    return true;
}

void TransportStream::reportClock(const Packet& packet)
{
    if (packet.clock)
        listener_.clockReceived(packet.pid, *packet.clock, packet.discontinuity);
}

void TransportStream::assemble(const Packet& packet)
{
    const auto found = sectionPids_.find(packet.pid);
    if (found == sectionPids_.end())
        return;
    found->second->hasBegun = true;
    SectionAssembler& assembler = found->second->assembler;
    if (!assembler.push(packet.bytes, packet.payloadOffset))
        ++statistics_.damagedPackets;

    // The listener may unsubscribe the PID, so nothing of it is touched from here on.
    const std::vector<SectionBytes> sections = assembler.takeSections();
    const std::vector<LeftOutSection> leftOut = assembler.takeLeftOut();
    for (const LeftOutSection& section : leftOut) {
        countLeftOut(section);
        listener_.sectionLeftOut(packet.pid, section);
    }
    for (const SectionBytes& section : sections)
        handleSection(packet.pid, section);
}

void TransportStream::countLeftOut(const LeftOutSection& section)
{
    switch (section.reason) {
    case LeftOutSection::Reason::WrongCrc:
        ++statistics_.crcErrors;
        break;
    case LeftOutSection::Reason::Unchecked:
        ++statistics_.uncheckedSections;
        break;
    case LeftOutSection::Reason::TooLong:
    case LeftOutSection::Reason::CutShort:
        ++statistics_.cutSections;
        break;
    }
}

void TransportStream::visitEarlySections(const std::set<uint16_t>& pids,
                                         EarlyPackets::Visitor visitor, const SectionVisitor& visit)
{
    std::map<uint16_t, std::unique_ptr<SectionPid>> assembled;
    earlyPackets_.visit(pids, visitor, [this, &assembled, &visit](const unsigned char* bytes) {
        const Packet packet(bytes);
        if (!isSubscribed(packet.pid))
            return;
        std::unique_ptr<SectionPid>& entry = assembled[packet.pid];
        if (!entry)
            entry = std::make_unique<SectionPid>();
        entry->hasBegun = true;
        entry->assembler.push(packet.bytes, packet.payloadOffset);
        std::copy_n(packet.bytes, PacketFramer::packetSize, entry->lastPacket.begin());
        for (const SectionBytes& section : entry->assembler.takeSections())
            visit(packet.pid, section);
        entry->assembler.takeLeftOut();  // as with the statistics: they do not count
    });
    for (auto& [pid, entry] : assembled) {
        const auto live = sectionPids_.find(pid);
        if (live != sectionPids_.end() && !live->second->hasBegun)
            live->second = std::move(entry);
    }
}

void TransportStream::handleSection(uint16_t pid, const SectionBytes& section)
{
    ++statistics_.sections;
    const SectionHeader header = readSectionHeader(section);
    if (header.current) {
        if (pid == patPid && header.tableId == patTable)
            handleProgramAssociation(section);
        else if (pid == sdtPid && header.tableId == sdtOfThisStreamTable)
            handleServiceDescription(section);
        else if (header.tableId == pmtTable && pmtPids_.count(pid) != 0)
            handleProgramMap(pid, section);
    }
    if (isSubscribed(pid))
        listener_.sectionReceived(pid, section);
}

void TransportStream::handleProgramAssociation(const SectionBytes& section)
{
    if (pat_.add(section))
        updateServices();
}

void TransportStream::handleServiceDescription(const SectionBytes& section)
{
    if (!sdt_.add(section))
        return;
    if (hasReadNames_)
        areNamesStale_ = true;
    else
        readServiceNames();
}

void TransportStream::readServiceNames()
{
    hasReadNames_ = true;
    areNamesStale_ = false;
    networks_.clear();
    descriptions_.clear();
    for (const ServiceDescription& description : readServiceDescriptions(sdt_.sections())) {
        networks_[description.transportStreamId] = description.originalNetworkId;
        descriptions_[{description.transportStreamId, description.serviceId}] = description;
    }
    updateServices();
}

Service TransportStream::describe(const ProgramAssociation& program) const
{
    Service service;
    service.programNumber = program.programNumber;
    service.pmtPid = program.pmtPid;
    service.transportStreamId = program.transportStreamId;
    const auto network = networks_.find(program.transportStreamId);
    if (network != networks_.end())
        service.originalNetworkId = network->second;
    const auto described = descriptions_.find({program.transportStreamId, program.programNumber});
    if (described != descriptions_.end()) {
        service.name = described->second.name;
        service.type = described->second.type;
    }
    return service;
}

void TransportStream::updateServices()
{
    std::vector<Service> services;
    for (const ProgramAssociation& program : readProgramAssociations(pat_.sections())) {
        if (services.size() == mostServices)
            break;
        services.push_back(describe(program));
    }
    if (services == services_)
        return;
    services_ = std::move(services);
    followProgramMaps();
    listener_.servicesChanged(services_);
}

// Keeps the PMTs of programs that stay; a program that went and returns is reported anew.
void TransportStream::followProgramMaps()
{
    const std::set<uint16_t> before = std::exchange(pmtPids_, {});
    const size_t programsBefore = serviceIndex_.size();
    std::map<uint16_t, SectionBytes> kept;
    serviceIndex_.clear();
    for (size_t index = 0; index < services_.size(); ++index) {
        const Service& service = services_[index];
        if (service.pmtPid >= nullPid)
            continue;
        serviceIndex_.emplace(std::pair(service.programNumber, service.pmtPid), index);
        pmtPids_.insert(service.pmtPid);
        need(service.pmtPid);
        const auto known = pmts_.find(service.programNumber);
        if (known != pmts_.end())
            kept.insert(*known);
    }
    if (kept.size() != pmts_.size() || serviceIndex_.size() != programsBefore)
        isProgramMapRepeated_ = false;
    pmts_ = std::move(kept);
    for (const uint16_t pid : before)
        releaseIfUnused(pid);
}

void TransportStream::handleProgramMap(uint16_t pid, const SectionBytes& section)
{
    const uint16_t programNumber = readSectionHeader(section).tableIdExtension;
    const auto found = serviceIndex_.find({programNumber, pid});
    if (found == serviceIndex_.end())
        return;
    SectionBytes& known = pmts_[programNumber];
    if (known == section) {
        isProgramMapRepeated_ = true;
        return;
    }
    known = section;
    // The listener may not feed, but let it keep what is reported to it.
    const Service service = services_[found->second];
    listener_.pmtReceived(service, section);
}

void TransportStream::forgetProgramMaps()
{
    pmts_.clear();
    isProgramMapRepeated_ = false;
}

bool TransportStream::haveProgramMapsComeRound() const
{
    return !services_.empty() && (isProgramMapRepeated_ || pmts_.size() >= serviceIndex_.size());
}

void TransportStream::need(uint16_t pid)
{
    std::unique_ptr<SectionPid>& entry = sectionPids_[pid];
    if (!entry)
        entry = std::make_unique<SectionPid>();
}

void TransportStream::releaseIfUnused(uint16_t pid)
{
    if (!isNeeded(pid))
        sectionPids_.erase(pid);
}

bool TransportStream::isNeeded(uint16_t pid) const
{
    return pid == patPid || pid == sdtPid || subscribed_.count(pid) != 0 ||
           pmtPids_.count(pid) != 0;
}

}  // namespace receiver
