/// Intrusive reference counting for what tables and applications share.
///
/// Counts are plain integers: everything that is counted belongs to the browser thread.
#ifndef VESTA_FOUNDATION_REF_PTR_H
#define VESTA_FOUNDATION_REF_PTR_H

#include <cstdint>

#include "foundation/visibility.h"

namespace VestaHbbTV {

/// Base of a counted class `T`. The count starts at 0: an object that nobody counts (on the stack,
/// or held by a plain pointer) never deletes itself.
template <typename T>
class VESTA_EXPORTED RefCounted {
public:
    RefCounted() = default;
    RefCounted(const RefCounted&) = delete;
    RefCounted& operator=(const RefCounted&) = delete;
    virtual ~RefCounted() = default;

    void countUp() { ++count_; }

    /// Deletes the object when its last reference goes.
    void countDown()
    {
        if (--count_ == 0)
            delete this;
    }

    /// Whether some ref_ptr holds the object.
    bool isCounted() const { return count_ > 0; }

private:
    int32_t count_ = 0;
};

/// Holds one reference on a counted object, or null.
template <typename T>
class VESTA_EXPORTED ref_ptr {
public:
    ref_ptr() = default;
    explicit ref_ptr(T* object) { reset(object); }
    ref_ptr(const ref_ptr& other) { reset(other.object_); }
    ref_ptr(ref_ptr&& other) noexcept : object_(other.object_) { other.object_ = nullptr; }
    ~ref_ptr() { reset(nullptr); }

    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): reset() counts up first
    ref_ptr& operator=(const ref_ptr& other)
    {
        reset(other.object_);
        return *this;
    }

    ref_ptr& operator=(ref_ptr&& other) noexcept
    {
        T* const taken = other.object_;
        other.object_ = nullptr;
        T* const former = object_;
        object_ = taken;
        if (former)
            former->countDown();
        return *this;
    }

    /// Counts the new object up before it counts the held one down, so that resetting to the held
    /// object is harmless.
    // NOLINTBEGIN(clang-analyzer-cplusplus.*): the analyzer does not follow counts
    void reset(T* object = nullptr)
    {
        if (object)
            object->countUp();
        T* const former = object_;
        object_ = object;
        if (former)
            former->countDown();
    }

    T* get() const { return object_; }
    T& operator*() const { return *object_; }
    T* operator->() const { return object_; }
    // NOLINTEND(clang-analyzer-cplusplus.*)
    explicit operator bool() const { return object_ != nullptr; }

private:
    T* object_ = nullptr;
};

template <typename T>
bool operator==(const ref_ptr<T>& left, const ref_ptr<T>& right)
{
    return left.get() == right.get();
}

template <typename T>
bool operator!=(const ref_ptr<T>& left, const ref_ptr<T>& right)
{
    return left.get() != right.get();
}

}  // namespace VestaHbbTV

#endif
