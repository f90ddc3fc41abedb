#include "receiver/stream/stream_clock.h"

namespace receiver {

namespace {

constexpr uint64_t ticksPerSecond = 27000000;
// Clock references come ten times a second; what is further on is another clock, and nobody waits
// for it.
constexpr uint64_t longestStep = ticksPerSecond;

}  // namespace

void StreamClock::note(uint64_t ticks, bool discontinuity, Time now)
{
    isKnown_ = true;
    const bool jumps = discontinuity || ticks < last_ || ticks - last_ > longestStep;
    if (!first_ || jumps) {
        first_ = ticks;
        start_ = now;
    }
    last_ = ticks;
}

std::optional<StreamClock::Time> StreamClock::due(double speed) const
{
    if (!first_)
        return std::nullopt;
    const std::chrono::duration<double> passed(static_cast<double>(last_ - *first_) /
                                               static_cast<double>(ticksPerSecond) / speed);
    return start_ + std::chrono::duration_cast<std::chrono::steady_clock::duration>(passed);
}

}  // namespace receiver
