/// How the middleware thread wakes the browser thread, and how it waits for it.
#ifndef VESTA_RECEIVER_DOORBELL_H
#define VESTA_RECEIVER_DOORBELL_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <pthread.h>

namespace receiver {

/// The condition and mutex that are registered with vesta_hbbtv_set_sendevent_condition(). The
/// browser thread takes its last look at the library's queue with the mutex held: what is queued
/// afterwards finds it waiting, so that no wake-up is lost.
class Doorbell {
public:
    using Clock = std::chrono::steady_clock;

    Doorbell();
    ~Doorbell();
    Doorbell(const Doorbell&) = delete;
    Doorbell& operator=(const Doorbell&) = delete;

    pthread_cond_t* condition() { return &condition_; }
    pthread_mutex_t* mutex() { return &mutex_; }

    /// Browser thread: sleeps until there is something to do.
    /// @param work does one piece of work, called with the mutex held; false when there is none
    /// @param deadline when to return all the same
    void waitForWork(const std::function<bool()>& work,
                     const std::optional<Clock::time_point>& deadline);

    /// Any thread: wakes the browser thread for something that is not in the library's queue.
    void ring();

    /// Middleware thread: sleeps until the browser thread has done everything that was queued
    /// before this call and waits for more.
    void waitUntilSettled();

    /// Nobody waits from now on.
    void close();

private:
    void waitUntil(const std::optional<Clock::time_point>& deadline);

    pthread_mutex_t mutex_;
    pthread_cond_t condition_;         // the browser thread waits on it
    pthread_cond_t settledCondition_;  // the middleware thread waits on it
    uint64_t asked_ = 0;
    uint64_t settled_ = 0;
    bool rung_ = false;
    bool closed_ = false;
};

}  // namespace receiver

#endif
