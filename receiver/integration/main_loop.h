/// Where the browser thread waits when its engine has a main loop of its own.
#ifndef VESTA_RECEIVER_INTEGRATION_MAIN_LOOP_H
#define VESTA_RECEIVER_INTEGRATION_MAIN_LOOP_H

#include <chrono>
#include <optional>

namespace receiver {

/// All waiting is then done there: for what the engine hears of its own processes, and for wake().
class MainLoop {
public:
    virtual ~MainLoop() = default;

    /// Browser thread: sleeps until something of the engine's happened, wake() is called or was
    /// called since the last sleep, or the deadline is over.
    virtual void sleep(const std::optional<std::chrono::steady_clock::time_point>& deadline) = 0;

    /// Any thread.
    virtual void wake() = 0;
};

}  // namespace receiver

#endif
