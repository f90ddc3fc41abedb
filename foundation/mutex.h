/// @file
/// The one kind of lock of the library. clang++ checks (-Wthread-safety) that what is guarded by it
/// is touched only while it is held.
#ifndef VESTA_FOUNDATION_MUTEX_H
#define VESTA_FOUNDATION_MUTEX_H

#include <pthread.h>

/// An attribute of clang's analysis of threads; nothing for other compilers.
#ifdef __clang__
#define VESTA_THREAD_SAFETY(attribute) __attribute__((attribute))
#else
#define VESTA_THREAD_SAFETY(attribute)
#endif

/// Of a field that is touched only with the mutex held.
#define VESTA_GUARDED_BY(mutex) VESTA_THREAD_SAFETY(guarded_by(mutex))
/// Of a function that is called with the mutex held.
#define VESTA_REQUIRES(mutex) VESTA_THREAD_SAFETY(requires_capability(mutex))

namespace VestaHbbTV {

/// A mutex with default attributes. Should the system refuse to set one up, it stays as the
/// compiler did.
/// @thread{any} @since 1.0
class VESTA_THREAD_SAFETY(capability("mutex")) Mutex {
public:
    /// Not held by anybody.
    Mutex() : isSetUp_(pthread_mutex_init(&mutex_, nullptr) == 0) {}
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    /// To be called while nobody holds the mutex.
    ~Mutex() { pthread_mutex_destroy(&mutex_); }

    /// Waits until no thread holds it. Not recursive: the one that holds it must not ask.
    void lock() VESTA_THREAD_SAFETY(acquire_capability()) { pthread_mutex_lock(&mutex_); }

    /// Lets the next thread in. Only for the thread that holds it.
    void unlock() VESTA_THREAD_SAFETY(release_capability()) { pthread_mutex_unlock(&mutex_); }

    /// Whether the system set it up.
    bool isSetUp() const { return isSetUp_; }

private:
    pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
    const bool isSetUp_;
};

/// Holds a mutex while it lives, which ends on the thread where it began.
/// @thread{one at a time} @since 1.0
class VESTA_THREAD_SAFETY(scoped_lockable) MutexLock {
public:
    /// Waits for the mutex.
    /// @param mutex borrowed while this lives
    explicit MutexLock(Mutex& mutex) VESTA_THREAD_SAFETY(acquire_capability(mutex)) : mutex_(mutex)
    {
        mutex_.lock();
    }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

    /// Unlocks the mutex.
    ~MutexLock() VESTA_THREAD_SAFETY(release_capability()) { mutex_.unlock(); }

private:
    Mutex& mutex_;
};

}  // namespace VestaHbbTV

#endif
