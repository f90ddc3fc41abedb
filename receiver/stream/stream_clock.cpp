#include "receiver/stream/stream_clock.h"

namespace receiver {

namespace {

constexpr uint64_t ticksPerSecond = 27000000;
constexpr uint64_t ticksPerMillisecond = 27000;
// Clock references come ten times a second; what is further on is another clock, and nobody waits
// for it.
constexpr uint64_t longestStep = ticksPerSecond;

std::chrono::steady_clock::duration timeOf(uint64_t ticks, double speed)
{
    const std::chrono::duration<double> time(static_cast<double>(ticks) /
                                             static_cast<double>(ticksPerSecond) / speed);
    return std::chrono::duration_cast<std::chrono::steady_clock::duration>(time);
}

}  // namespace

bool StreamClock::note(uint64_t ticks, bool discontinuity, Time now)
{
    const bool jumps = isKnown_ && (discontinuity || ticks < last_ || ticks - last_ > longestStep);
    if (first_ && !jumps)
        elapsed_ += ticks - last_;
    isKnown_ = true;
    if (!first_ || jumps) {
        first_ = ticks;
        start_ = now;
    }
    last_ = ticks;
    return jumps;
}

uint64_t StreamClock::elapsed() const
{
    return elapsed_ / ticksPerMillisecond;
}

std::optional<StreamClock::Time> StreamClock::due(double speed, Time now)
{
    if (!first_)
        return std::nullopt;
    const Time latest = now + timeOf(longestStep, speed);
    const Time due = start_ + timeOf(last_ - *first_, speed);
    if (due <= latest)
        return due;
    // Many steps, none too long by itself, may add up between two waits.
    first_ = last_;
    start_ = latest;
    return latest;
}

}  // namespace receiver
