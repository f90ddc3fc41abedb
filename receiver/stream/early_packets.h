/// What came before it was known which PIDs matter.
#ifndef VESTA_RECEIVER_STREAM_EARLY_PACKETS_H
#define VESTA_RECEIVER_STREAM_EARLY_PACKETS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <vector>

#include "receiver/stream/packet_framer.h"

namespace receiver {

/// Keeps the latest packets of a stream, so that a capture of one carousel cycle that begins with
/// blocks and not with tables comes out whole.
class EarlyPackets {
public:
    /// Tables come at least twice a second: so much is more than goes by meanwhile.
    static constexpr size_t mostBytes = size_t(8) << 20;

    /// So many packets are visited in all: tables that change all the time would ask for ever.
    static constexpr size_t mostVisits = 8 * (mostBytes / PacketFramer::packetSize);

    /// @param packet 188 bytes, copied
    void add(uint16_t pid, const unsigned char* packet);

    using Visitor = std::function<void(const unsigned char* packet)>;
    /// Visits the packets of these PIDs, in order. The visitor may not add packets.
    void visit(const std::set<uint16_t>& pids, const Visitor& visit);

    /// Nothing is kept from here on, until begin().
    void forget();

    /// Keeps what comes from here on, too.
    void begin();

private:
    void dropHalf();

    std::vector<unsigned char> bytes_;
    std::map<uint16_t, std::vector<uint64_t>> numbers_;  // of the packets, by PID
    uint64_t firstNumber_ = 0;                           // of the packets that are kept
    uint64_t nextNumber_ = 0;
    size_t visits_ = 0;
    bool isKeeping_ = true;
};

}  // namespace receiver

#endif
