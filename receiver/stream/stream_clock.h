/// When a piece of the stream is due, by the stream's own clock.
#ifndef VESTA_RECEIVER_STREAM_STREAM_CLOCK_H
#define VESTA_RECEIVER_STREAM_STREAM_CLOCK_H

#include <chrono>
#include <cstdint>
#include <optional>

namespace receiver {

/// Compares the stream's clock (PCR; ISO/IEC 13818-1, 2.4.2.1) with ours. One thread.
class StreamClock {
public:
    using Time = std::chrono::steady_clock::time_point;

    /// @param ticks of 27 MHz. A clock that jumps, said or not, begins a new time line: back,
    ///        or by more than a second.
    /// @return whether it jumps
    bool note(uint64_t ticks, bool discontinuity, Time now);

    /// The stream begins again; what was noted counts no more.
    void restart() { first_.reset(); }

    /// When the last clock is due, in a second of the stream's at the most: what is due later
    /// begins a new time line then.
    /// @param speed times real time @return nothing without a clock
    std::optional<Time> due(double speed, Time now);

    /// Milliseconds that passed on it since the first clock, the jumps left out.
    uint64_t elapsed() const;

    /// Whether there ever was a clock.
    bool isKnown() const { return isKnown_; }

private:
    std::optional<uint64_t> first_;
    uint64_t last_ = 0;
    uint64_t elapsed_ = 0;  // ticks
    Time start_;
    bool isKnown_ = false;
};

}  // namespace receiver

#endif
