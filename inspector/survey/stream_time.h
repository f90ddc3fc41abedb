/// How much time passes in a stream, by its own clock.
#ifndef VESTA_INSPECTOR_SURVEY_STREAM_TIME_H
#define VESTA_INSPECTOR_SURVEY_STREAM_TIME_H

#include <cstdint>
#include <optional>

namespace inspector {

/// A moment of a stream. Moments of different time lines cannot be compared: the clock jumped
/// between them.
struct Moment {
    unsigned timeLine = 0;
    uint64_t ms = 0;  ///< since the time line began
};

/// @return nothing where they cannot be compared
inline std::optional<uint64_t> msBetween(const Moment& from, const Moment& to)
{
    return from.timeLine == to.timeLine ? std::optional(to.ms - from.ms) : std::nullopt;
}

/// Follows the clock (PCR; ISO/IEC 13818-1, 2.4.2.1) of the PID on which one comes first.
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

    std::optional<uint16_t> pid_;
    uint64_t last_ = 0;
    unsigned timeLine_ = 0;
    uint64_t elapsed_ = 0;  // of this time line, in ticks
    uint64_t before_ = 0;   // of those before
    bool jumped_ = false;
};

}  // namespace inspector

#endif
