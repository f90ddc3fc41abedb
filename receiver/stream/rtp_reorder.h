/// Puts the packets of the real-time transport protocol back in order.
#ifndef VESTA_RECEIVER_STREAM_RTP_REORDER_H
#define VESTA_RECEIVER_STREAM_RTP_REORDER_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <vector>

#include "receiver/stream/rtp_packet.h"

namespace receiver {

/// Hands on at once what comes in order. What comes early waits for what is missing before it,
/// until `longestWait` has passed or a packet `window` numbers later has come; what comes after
/// that is dropped. A sender that begins anew, or another one, is followed once two packets of it
/// came in a row, and none of the one before between them: a stray packet moves nothing. One
/// thread.
class RtpReorder {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr size_t window = 32;
    static constexpr std::chrono::milliseconds longestWait{100};

    struct Statistics {
        uint64_t lost = 0;        ///< given up, those that came too late after all included
        uint64_t reordered = 0;   ///< came after a later one, but in time
        uint64_t duplicates = 0;  ///< came a second time
        uint64_t late = 0;        ///< came after they were given up, or belong to no sequence
    };

    /// Called for every payload, in order, within add() and giveUpGaps(); the bytes are borrowed
    /// for the call. Must not call the object.
    using PayloadHandler = std::function<void(const unsigned char* payload, size_t size)>;

    explicit RtpReorder(PayloadHandler handler);

    /// @param packet its payload is copied if it has to wait
    void add(const RtpPacket& packet, Clock::time_point now);

    /// Waits no longer for what has been waited for long enough.
    void giveUpGaps(Clock::time_point now);

    /// When giveUpGaps() has something to do; nothing while nothing waits.
    std::optional<Clock::time_point> due() const;

    const Statistics& statistics() const { return statistics_; }

private:
    struct Early {
        Clock::time_point since;
        std::vector<unsigned char> payload;
    };
    struct Stray {
        uint32_t source;
        uint16_t sequenceNumber;
    };

    void begin(const RtpPacket& packet);
    bool isOfThisSequence(const RtpPacket& packet) const;
    bool isSecondOfAnotherSequence(const RtpPacket& packet) const;
    void take(const RtpPacket& packet, Clock::time_point now);
    void drop(uint64_t number);
    void step();
    void skipGap();
    void handOnWhatIsNext();
    uint64_t numberOf(uint16_t sequenceNumber) const;

    PayloadHandler handler_;
    Statistics statistics_;
    bool hasBegun_ = false;
    uint32_t source_ = 0;
    uint64_t next_ = 0;      // the number that is handed on next; its low 16 bits are sent
    uint64_t end_ = 0;       // after the latest that came
    uint64_t handedOn_ = 0;  // of the 64 numbers before next_, the last one's bit is lowest
    std::map<uint64_t, Early> early_;  // by number, from next_ + 1 to next_ + window - 1
    std::optional<Stray> stray_;
};

}  // namespace receiver

#endif
