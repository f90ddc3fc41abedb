#include "receiver/integration/doorbell.h"

#include <ctime>

namespace receiver {

Doorbell::Doorbell(MainLoop* loop) : loop_(loop)
{
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_mutexattr_t recursive;
    pthread_mutexattr_init(&recursive);
    pthread_mutexattr_settype(&recursive, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&mutex_, &recursive);
    pthread_mutexattr_destroy(&recursive);
    pthread_cond_init(&condition_, &attributes);
    pthread_cond_init(&settledCondition_, nullptr);
    pthread_condattr_destroy(&attributes);
    if (loop_)
        startHearing();
}

Doorbell::~Doorbell()
{
    if (ear_.joinable()) {
        close();
        ear_.join();
    }
    pthread_cond_destroy(&settledCondition_);
    pthread_cond_destroy(&condition_);
    pthread_mutex_destroy(&mutex_);
}

Doorbell::Hold::Hold(Doorbell& doorbell) : doorbell_(doorbell)
{
    pthread_mutex_lock(&doorbell_.mutex_);
}

Doorbell::Hold::~Hold()
{
    pthread_mutex_unlock(&doorbell_.mutex_);
}

void Doorbell::waitForWork(const std::function<bool()>& work,
                           const std::optional<Clock::time_point>& deadline,
                           const std::function<bool()>& isBusy)
{
    const Hold lock(*this);
    while (!closed_ && !rung_ && !work()) {
        if (seen_ != asked_) {
            // The caller's conditions may have changed without an event: it looks at them first.
            seen_ = asked_;
            break;
        }
        handled_ = seen_;
        if (!isBusy())
            settled_ = seen_;
        pthread_cond_broadcast(&settledCondition_);
        if (deadline && Clock::now() >= *deadline)
            break;
        if (loop_) {
            // Whatever the engine did there may have changed what the caller waits for.
            sleepInLoop(deadline);
            break;
        }
        waitUntil(deadline);
    }
    rung_ = false;
}

void Doorbell::sleepInLoop(const std::optional<Clock::time_point>& deadline)
{
    pthread_mutex_unlock(&mutex_);
    loop_->sleep(deadline);
    pthread_mutex_lock(&mutex_);
}

/// Returns once no signal can be missed: whoever sends one needs the mutex, which is free again
/// only when the ear waits.
void Doorbell::startHearing()
{
    const Hold lock(*this);
    ear_ = std::thread([this] { hear(); });
    while (!hearing_)
        pthread_cond_wait(&settledCondition_, &mutex_);
}

void Doorbell::hear()
{
    const Hold lock(*this);
    hearing_ = true;
    pthread_cond_broadcast(&settledCondition_);
    while (!closed_) {
        pthread_cond_wait(&condition_, &mutex_);
        loop_->wake();
    }
}

void Doorbell::waitUntil(const std::optional<Clock::time_point>& deadline)
{
    if (!deadline) {
        pthread_cond_wait(&condition_, &mutex_);
        return;
    }
    // The steady clock is CLOCK_MONOTONIC, on which the condition waits.
    const auto sinceStart =
        std::chrono::duration_cast<std::chrono::nanoseconds>(deadline->time_since_epoch()).count();
    const long nanosecondsPerSecond = 1000000000;
    timespec until = {};
    until.tv_sec = static_cast<std::time_t>(sinceStart / nanosecondsPerSecond);
    until.tv_nsec = static_cast<long>(sinceStart % nanosecondsPerSecond);
    pthread_cond_timedwait(&condition_, &mutex_, &until);
}

void Doorbell::ring()
{
    const Hold lock(*this);
    rung_ = true;
    pthread_cond_signal(&condition_);
}

void Doorbell::waitUntilSettled(const std::function<bool()>& isPressed)
{
    const Hold lock(*this);
    const uint64_t mine = ++asked_;
    pthread_cond_signal(&condition_);
    while (!closed_ && settled_ < mine && !(handled_ >= mine && isPressed()))
        pthread_cond_wait(&settledCondition_, &mutex_);
}

uint64_t Doorbell::waits() const
{
    pthread_mutex_lock(&mutex_);
    const uint64_t count = asked_;
    pthread_mutex_unlock(&mutex_);
    return count;
}

void Doorbell::close()
{
    const Hold lock(*this);
    closed_ = true;
    pthread_cond_broadcast(&condition_);
    pthread_cond_broadcast(&settledCondition_);
}

}  // namespace receiver
