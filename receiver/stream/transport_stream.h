/// The demultiplexer: from the bytes of a transport stream to services and sections.
#ifndef VESTA_RECEIVER_STREAM_TRANSPORT_STREAM_H
#define VESTA_RECEIVER_STREAM_TRANSPORT_STREAM_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "receiver/service/service_tables.h"
#include "receiver/stream/early_packets.h"
#include "receiver/stream/packet_framer.h"
#include "receiver/stream/section_assembler.h"

namespace receiver {

/// A service of the stream, as far as it is known.
struct Service {
    uint16_t programNumber = 0;  ///< the service id
    uint16_t pmtPid = 0;         ///< several services may share it
    uint16_t transportStreamId = 0;
    std::optional<uint16_t> originalNetworkId;  ///< unknown until the SDT is there
    std::string name;                           ///< UTF-8; empty until the SDT is there
    uint8_t type = 0;  ///< service_type of the service descriptor; 0 until the SDT is there

    bool operator==(const Service& other) const;
};

/// What went by. Everything counts from the beginning, restarts included.
struct StreamStatistics {
    uint64_t packets = 0;
    uint64_t continuityErrors = 0;   ///< gaps in a PID's continuity counter
    uint64_t duplicatePackets = 0;   ///< allowed once each, and left out
    uint64_t scrambledPackets = 0;   ///< left out
    uint64_t damagedPackets = 0;     ///< marked so by the tuner, or contradictory; left out
    uint64_t crcErrors = 0;          ///< sections with a wrong CRC_32; left out
    uint64_t uncheckedSections = 0;  ///< sections that have no CRC_32; left out
    uint64_t cutSections = 0;        ///< sections that lack bytes, or cannot have all; left out
    uint64_t sections = 0;           ///< sections with a correct CRC_32
    uint64_t syncLosses = 0;         ///< how often a packet did not begin where it had to
    uint64_t skippedBytes = 0;       ///< that belonged to no packet
};

/// Hears what a TransportStream finds, within the calls that feed it. May subscribe and
/// unsubscribe meanwhile, but not feed.
class TransportStreamListener {
public:
    virtual ~TransportStreamListener() = default;

    /// The list of services changed, or what is known of one of them.
    virtual void servicesChanged(const std::vector<Service>& services) = 0;

    /// A service's PMT came, or one that differs from the last.
    /// @param section current and with a correct CRC_32, from table_id to CRC_32
    virtual void pmtReceived(const Service& service, const SectionBytes& section) = 0;

    /// A section of a subscribed PID, repetitions included. Its CRC_32 is correct; whether it is
    /// current is for the listener to ask (readSectionHeader).
    virtual void sectionReceived(uint16_t pid, const SectionBytes& section) = 0;

    /// A clock reference. Every PID's are reported; a PMT names the one that counts for its
    /// service.
    /// @param ticks of 27 MHz; wraps around after some 26 hours
    /// @param discontinuity whether the stream itself says that its clock jumps here
    virtual void clockReceived(uint16_t pid, uint64_t ticks, bool discontinuity) = 0;

    /// A section of a PID that is needed was left out.
    virtual void sectionLeftOut(uint16_t /*pid*/, const LeftOutSection& /*section*/) {}
};

/// Demultiplexes a transport stream. It follows PAT, SDT and all PMTs on its own; which further
/// PIDs matter is the listener's affair. One thread.
class TransportStream {
public:
    /// @param listener borrowed for the object's life
    explicit TransportStream(TransportStreamListener& listener);
    ~TransportStream();

    /// Takes the next bytes, in pieces of any size. An SDT that changes again and again is read at
    /// once the first time, and for the rest of it when the bytes are taken.
    /// @return false once it is clear that this is not a transport stream (error() says so)
    bool feed(const unsigned char* bytes, size_t count);

    /// Says that no more bytes follow.
    /// @return false when there never was a transport stream
    bool finish();

    /// Forgets half-received sections and continuity, not tables and subscriptions: the stream
    /// is played again from its beginning.
    void restart();

    /// Forgets which PMTs were reported: each is reported again when it comes.
    void forgetProgramMaps();

    /// Whether every program's PMT has come, or one of them twice: those that have not come
    /// meanwhile are not on air.
    bool haveProgramMapsComeRound() const;

    /// @return a clear sentence; empty while nothing is wrong
    std::string error() const;

    /// From now on the listener gets the sections of this PID. Does nothing for a PID above 0x1FFE
    /// or one that is subscribed already.
    void subscribe(uint16_t pid);
    void unsubscribe(uint16_t pid);
    const std::set<uint16_t>& subscriptions() const { return subscribed_; }
    bool isSubscribed(uint16_t pid) const { return subscribed_.count(pid) != 0; }

    using SectionVisitor = std::function<void(uint16_t pid, const SectionBytes& section)>;
    /// Visits the sections of subscribed PIDs that came before, with what EarlyPackets kept. They
    /// do not count in the statistics. One that has begun goes to the listener when it is whole.
    void visitEarlySections(const std::set<uint16_t>& pids, EarlyPackets::Visitor visitor,
                            const SectionVisitor& visit);

    /// Nobody asks any more for what came before.
    void forgetEarlySections() { earlyPackets_.forget(); }

    /// What comes from here on may be asked for, as at the beginning.
    void keepEarlySections() { earlyPackets_.begin(); }

    const std::vector<Service>& services() const { return services_; }
    const StreamStatistics& statistics() const { return statistics_; }
    const PacketFramer& framer() const { return framer_; }
    /// Gaps in the continuity counters, by PID; none without one.
    const std::map<uint16_t, uint64_t>& continuityErrors() const { return continuityErrors_; }

private:
    struct Packet;
    struct SectionPid;

    void countFraming();
    void handlePacket(const unsigned char* packet);
    bool continues(const Packet& packet);
    void reportClock(const Packet& packet);
    void assemble(const Packet& packet);
    void countLeftOut(const LeftOutSection& section);
    void handleSection(uint16_t pid, const SectionBytes& section);
    void handleProgramAssociation(const SectionBytes& section);
    void handleServiceDescription(const SectionBytes& section);
    void readServiceNames();
    void handleProgramMap(uint16_t pid, const SectionBytes& section);
    void updateServices();
    Service describe(const ProgramAssociation& program) const;
    void followProgramMaps();
    void need(uint16_t pid);
    void releaseIfUnused(uint16_t pid);
    bool isNeeded(uint16_t pid) const;

    TransportStreamListener& listener_;
    PacketFramer framer_;
    EarlyPackets earlyPackets_;
    StreamStatistics statistics_;
    std::array<uint8_t, 8192> continuityCounters_{};  // of the last packet with a payload, by PID
    std::map<uint16_t, uint64_t> continuityErrors_;
    std::map<uint16_t, std::unique_ptr<SectionPid>> sectionPids_;
    std::set<uint16_t> subscribed_;
    std::set<uint16_t> pmtPids_;
    TableCollector pat_;
    TableCollector sdt_;
    std::map<uint16_t, uint16_t> networks_;  // by transport stream
    std::map<std::pair<uint16_t, uint16_t>, ServiceDescription>
        descriptions_;                       // by transport stream and id
    std::map<uint16_t, SectionBytes> pmts_;  // the last of each program in the PAT
    std::map<std::pair<uint16_t, uint16_t>, size_t> serviceIndex_;  // by program and PMT PID
    bool isProgramMapRepeated_ = false;
    bool hasReadNames_ = false;  // since the last bytes came
    bool areNamesStale_ = false;
    std::vector<Service> services_;
};

}  // namespace receiver

#endif
