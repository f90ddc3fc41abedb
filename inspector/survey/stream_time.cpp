#include "inspector/survey/stream_time.h"

namespace inspector {

void StreamTime::note(uint16_t pid, uint64_t ticks, bool discontinuity)
{
    constexpr uint64_t clockEnd = (uint64_t(1) << 33) * 300;  // where it begins anew
    constexpr uint64_t second = 1'000 * ticksPerMs;
    if (!pid_) {
        pid_ = pid;
        last_ = ticks;
    }
    if (*pid_ != pid)
        return;
    const uint64_t step = (ticks + clockEnd - last_) % clockEnd;
    last_ = ticks;
    if (discontinuity || jumped_ || step > second) {
        before_ += elapsed_;
        elapsed_ = 0;
        ++timeLine_;
        jumped_ = false;
        return;
    }
    elapsed_ += step;
}

std::optional<Moment> StreamTime::now() const
{
    return pid_ ? std::optional(Moment{timeLine_, elapsed_ / ticksPerMs}) : std::nullopt;
}

}  // namespace inspector
