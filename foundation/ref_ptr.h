/// @file
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
/// @thread{browser} @since 1.0
template <typename T>
class VESTA_EXPORTED RefCounted {
public:
    /// Counted by nobody.
    RefCounted() = default;
    RefCounted(const RefCounted&) = delete;
    RefCounted& operator=(const RefCounted&) = delete;

    /// Virtual, since countDown() deletes the whole object through this base.
    virtual ~RefCounted() = default;

    /// Adds a reference. ref_ptr does so.
    void countUp() { ++count_; }

    /// Takes a reference away, and deletes the object with the last one. ref_ptr does so.
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

/// Holds one reference on a counted object, or null. `T` derives from RefCounted.
/// @thread{browser} @since 1.0
template <typename T>
class VESTA_EXPORTED ref_ptr {
public:
    /// Holds no object.
    ref_ptr() = default;

    /// Counts the object up. One that was just created is owned from here on. A pointer is taken
    /// wherever a reference is wanted.
    /// @param object may be null
    // NOLINTNEXTLINE(hicpp-explicit-conversions): meant
    ref_ptr(T* object) { reset(object); }

    /// Holds a further reference on the other one's object.
    ref_ptr(const ref_ptr& other) { reset(other.object_); }

    /// Takes the reference over; the other one is null afterwards.
    ref_ptr(ref_ptr&& other) noexcept : object_(other.object_) { other.object_ = nullptr; }

    /// Counts the object down, which deletes it with its last reference.
    ~ref_ptr() { reset(nullptr); }

    /// Holds a further reference on the other one's object, in place of its own.
    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): reset() counts up first
    ref_ptr& operator=(const ref_ptr& other)
    {
        reset(other.object_);
        return *this;
    }

    /// Takes the reference over in place of its own; the other one is null afterwards.
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

    /// Holds another object, or null. The new one is counted up before the former one is counted
    /// down, so that resetting to the held object is harmless.
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

    /// The object, borrowed while a reference is held; or null.
    T* get() const { return object_; }

    /// The object; not to be asked for when null.
    T& operator*() const { return *object_; }

    /// Reaches into the object; not to be used when null.
    T* operator->() const { return object_; }
    // NOLINTEND(clang-analyzer-cplusplus.*)

    /// Whether an object is held.
    explicit operator bool() const { return object_ != nullptr; }

private:
    T* object_ = nullptr;
};

/// Whether both hold the same object, or both none.
/// @thread{browser} @since 1.0
template <typename T>
bool operator==(const ref_ptr<T>& left, const ref_ptr<T>& right)
{
    return left.get() == right.get();
}

/// Whether they hold different objects, or only one holds any.
/// @thread{browser} @since 1.0
template <typename T>
bool operator!=(const ref_ptr<T>& left, const ref_ptr<T>& right)
{
    return left.get() != right.get();
}

}  // namespace VestaHbbTV

#endif
