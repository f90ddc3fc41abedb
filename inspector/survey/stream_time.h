/// How much time passes in a stream, by its own clock.
#ifndef VESTA_INSPECTOR_SURVEY_STREAM_TIME_H
#define VESTA_INSPECTOR_SURVEY_STREAM_TIME_H

#include <cstdint>
#include <map>
#include <optional>

namespace inspector {

/// A moment of a stream. Moments of different time lines cannot be compared: the clock jumped
/// between them.
struct Moment {
    unsigned timeLine = 0;
    uint64_t ms = 0;  ///< since the time line began
};

/// As much of the time from one moment to a later one as is known: after a jump, what passed since.
inline uint64_t msSince(const Moment& from, const Moment& to)
{
    return from.timeLine == to.timeLine ? to.ms - from.ms : to.ms;
}

/// Follows the clock (PCR; ISO/IEC 13818-1, 2.4.2.1) of the PID on which one comes first, and where
/// it ends, of another one.
class StreamTime {
public:
    /// @param ticks of 27 MHz. A clock that goes back, or by more than a second, jumps, whether the
    ///        stream says so or not.
    void note(uint16_t pid, uint64_t ticks, bool discontinuity);

    /// What comes next does not go on where it was.
    void restart() { jumped_ = true; }

    /// As of the last clock; nothing before there was one.
    std::optional<Moment> now() const;

    /// In all time lines together.
    uint64_t totalMs() const { return (before_ + elapsed_) / ticksPerMs; }

private:
    static constexpr uint64_t ticksPerMs = 27'000;

    /// A clock that is not followed, since the one that is came last.
    struct OtherClock {
        unsigned round = 0;
        uint64_t first = 0;
        uint64_t last = 0;
    };

    bool isEnded(uint16_t otherPid, uint64_t ticks);
    void advance(uint64_t step, bool isJump);

    std::optional<uint16_t> pid_;
    uint64_t last_ = 0;
    unsigned round_ = 1;  // which changes whenever the clock comes
    std::map<uint16_t, OtherClock> others_;
    unsigned timeLine_ = 0;
    uint64_t elapsed_ = 0;  // of this time line, in ticks
    uint64_t shown_ = 0;    // what now() says of it, in which another clock may be ahead
    uint64_t before_ = 0;   // of those before
    bool jumped_ = false;
};

}  // namespace inspector

#endif
