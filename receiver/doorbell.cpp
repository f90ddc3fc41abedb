#include "receiver/doorbell.h"

#include <ctime>

namespace receiver {

namespace {

class Lock {
public:
    explicit Lock(pthread_mutex_t& mutex) : mutex_(mutex) { pthread_mutex_lock(&mutex_); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    ~Lock() { pthread_mutex_unlock(&mutex_); }

private:
    pthread_mutex_t& mutex_;
};

}  // namespace

Doorbell::Doorbell()
{
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_mutex_init(&mutex_, nullptr);
    pthread_cond_init(&condition_, &attributes);
    pthread_cond_init(&settledCondition_, nullptr);
    pthread_condattr_destroy(&attributes);
}

Doorbell::~Doorbell()
{
    pthread_cond_destroy(&settledCondition_);
    pthread_cond_destroy(&condition_);
    pthread_mutex_destroy(&mutex_);
}

void Doorbell::waitForWork(const std::function<bool()>& work,
                           const std::optional<Clock::time_point>& deadline)
{
    const Lock lock(mutex_);
    while (!closed_ && !rung_ && !work()) {
        settled_ = asked_;
        pthread_cond_broadcast(&settledCondition_);
        if (deadline && Clock::now() >= *deadline)
            break;
        waitUntil(deadline);
    }
    rung_ = false;
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
    const Lock lock(mutex_);
    rung_ = true;
    pthread_cond_signal(&condition_);
}

void Doorbell::waitUntilSettled()
{
    const Lock lock(mutex_);
    const uint64_t mine = ++asked_;
    pthread_cond_signal(&condition_);
    while (!closed_ && settled_ < mine)
        pthread_cond_wait(&settledCondition_, &mutex_);
}

void Doorbell::close()
{
    const Lock lock(mutex_);
    closed_ = true;
    pthread_cond_broadcast(&condition_);
    pthread_cond_broadcast(&settledCondition_);
}

}  // namespace receiver
