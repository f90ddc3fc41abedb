/// How the middleware thread wakes the browser thread, and how it waits for it.
#ifndef VESTA_RECEIVER_INTEGRATION_DOORBELL_H
#define VESTA_RECEIVER_INTEGRATION_DOORBELL_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <pthread.h>
#include <thread>

#include "receiver/integration/main_loop.h"

namespace receiver {

/// The condition and mutex that are registered with vesta_hbbtv_set_sendevent_condition(). The
/// browser thread takes its last look at the library's queue with the mutex held: what is queued
/// afterwards finds it waiting, so that no wake-up is lost.
///
/// The mutex is recursive, so that a listener or hook that runs within that last look may send
/// events itself, and so that several events can be sent as one (Hold).
class Doorbell {
public:
    using Clock = std::chrono::steady_clock;

    /// @param loop where the browser thread waits instead of on the condition; borrowed. A thread
    /// of
    ///        the doorbell's own then hears the condition, and wakes the loop.
    explicit Doorbell(MainLoop* loop = nullptr);
    ~Doorbell();
    Doorbell(const Doorbell&) = delete;
    Doorbell& operator=(const Doorbell&) = delete;

    /// While one lives, the browser thread is not woken: it finds everything that its owner sent
    /// meanwhile at once. For the calling thread's stack.
    class Hold {
    public:
        explicit Hold(Doorbell& doorbell);
        ~Hold();
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;

    private:
        Doorbell& doorbell_;
    };

    pthread_cond_t* condition() { return &condition_; }
    pthread_mutex_t* mutex() { return &mutex_; }

    /// Browser thread: sleeps until there is something to do, or something new to look at.
    /// @param work does one piece of work, called with the mutex held; false when there is none
    /// @param deadline when to return all the same
    /// @param isBusy whether something is under way all the same: then nothing has settled
    void waitForWork(
        const std::function<bool()>& work, const std::optional<Clock::time_point>& deadline,
        const std::function<bool()>& isBusy = [] { return false; });

    /// Any thread: wakes the browser thread for something that is not in the library's queue.
    void ring();

    /// Middleware thread: sleeps until the browser thread has looked at everything that happened
    /// before this call, and waits for more, with nothing else under way.
    /// @param isPressed whether what is under way shall not be waited for; called with the mutex
    ///        held, whenever the browser thread waits for more
    void waitUntilSettled(const std::function<bool()>& isPressed = [] { return false; });

    /// How often it was waited for so; callable from any thread.
    uint64_t waits() const;

    /// Nobody waits from now on.
    void close();

private:
    void waitUntil(const std::optional<Clock::time_point>& deadline);
    void sleepInLoop(const std::optional<Clock::time_point>& deadline);
    void startHearing();
    void hear();

    mutable pthread_mutex_t mutex_;
    pthread_cond_t condition_;         // the browser thread waits on it
    pthread_cond_t settledCondition_;  // the middleware thread waits on it
    uint64_t asked_ = 0;               // how often the middleware thread waited
    uint64_t seen_ = 0;                // as far as the browser thread has heard of it
    uint64_t handled_ = 0;             // as far as it has looked at everything since
    uint64_t settled_ = 0;             // as far as nothing was under way then
    bool rung_ = false;
    bool closed_ = false;
    MainLoop* const loop_;
    bool hearing_ = false;
    std::thread ear_;  // where there is a loop
};

}  // namespace receiver

#endif
