#include "inspector/survey/stream_time.h"

#include <algorithm>

namespace inspector {

namespace {

constexpr uint64_t ticksPerSecond = 27'000'000;

uint64_t stepBetween(uint64_t from, uint64_t to)
{
    constexpr uint64_t clockEnd = (uint64_t(1) << 33) * 300;  // where it begins anew
    return (to + clockEnd - from) % clockEnd;
}

}  // namespace

void StreamTime::note(uint16_t pid, uint64_t ticks, bool discontinuity)
{
    if (!pid_) {
        pid_ = pid;
        last_ = ticks;
    }
    if (*pid_ != pid) {
        if (!isEnded(pid, ticks)) {
            // Until it is clear that the clock has ended, time goes on with the other one.
            shown_ = std::max(shown_, elapsed_ + stepBetween(others_[pid].first, ticks));
            return;
        }
        // What passed by the other clock since this one came last.
        advance(stepBetween(others_[pid].first, ticks), jumped_);
        others_.erase(pid);
        pid_ = pid;
    } else {
        const uint64_t step = stepBetween(last_, ticks);
        advance(step, discontinuity || jumped_ || step > ticksPerSecond);
    }
    last_ = ticks;
    ++round_;
}

// A clock comes at least ten times a second.
bool StreamTime::isEnded(uint16_t otherPid, uint64_t ticks)
{
    OtherClock& other = others_[otherPid];
    if (other.round != round_ || stepBetween(other.last, ticks) > ticksPerSecond)
        other = {round_, ticks, ticks};
    other.last = ticks;
    return stepBetween(other.first, ticks) > ticksPerSecond;
}

void StreamTime::advance(uint64_t step, bool isJump)
{
    jumped_ = false;
    if (!isJump) {
        elapsed_ += step;
        shown_ = std::max(shown_, elapsed_);
        return;
    }
    before_ += elapsed_;
    elapsed_ = shown_ = 0;
    ++timeLine_;
}

std::optional<Moment> StreamTime::now() const
{
    return pid_ ? std::optional(Moment{timeLine_, shown_ / ticksPerMs}) : std::nullopt;
}

}  // namespace inspector
