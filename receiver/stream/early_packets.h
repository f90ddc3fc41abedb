/// What came before it was known which PIDs matter.
#ifndef VESTA_RECEIVER_STREAM_EARLY_PACKETS_H
#define VESTA_RECEIVER_STREAM_EARLY_PACKETS_H

#include <cstddef>
#include <cstdint>
#include <deque>
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

    /// Who asks for what came before.
    enum class Visitor {
        Candidate,  ///< a service that may be tuned to
        Service     ///< the one that is tuned to
    };

    /// Each may ask so often for a PID: tables that change all the time would ask for ever.
    static constexpr unsigned mostVisits = 16;

    /// @param packet 188 bytes, copied
    void add(uint16_t pid, const unsigned char* packet);

    using Visit = std::function<void(const unsigned char* packet)>;
    /// Visits the packets of these PIDs, in order, but for PIDs that this visitor has asked for too
    /// often. No packet may be added meanwhile.
    void visit(const std::set<uint16_t>& pids, Visitor visitor, const Visit& visit);

    /// Nothing is kept from here on, until begin().
    void forget();

    /// Keeps what comes from here on, too.
    void begin();

private:
    /// The packets of a PID.
    struct Kept {
        std::deque<uint64_t> numbers;  // gives back its memory as the first ones go
        std::map<Visitor, unsigned> visits;
    };

    void dropHalf();

    std::vector<unsigned char> bytes_;
    std::map<uint16_t, Kept> kept_;  // by PID; none without a packet
    uint64_t firstNumber_ = 0;       // of the packets that are kept
    uint64_t nextNumber_ = 0;
    bool isKeeping_ = true;
};

}  // namespace receiver

#endif
