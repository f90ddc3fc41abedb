/// @file
/// A list that is mostly short.
#ifndef VESTA_FOUNDATION_SMALL_VECTOR_H
#define VESTA_FOUNDATION_SMALL_VECTOR_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <vector>

namespace VestaHbbTV {

/// Holds up to `inPlace` elements without the heap, and any number with it. It is as large as a
/// vector, but the lists of most applications of a table need no blocks of their own. What it gives
/// of its elements is valid until the list changes or dies.
/// @thread{one at a time} @since 1.0
template <typename T, uint8_t inPlace>
class SmallVector {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    using value_type = T;             ///< trivially copyable
    using const_iterator = const T*;  ///< all elements stand in a row

    /// An empty list, without the heap.
    SmallVector() = default;
    ~SmallVector() = default;

    // No moves: they copy, so that what was moved from holds what it says that it holds.
    /// A list of the same elements, independent of the other one.
    SmallVector(const SmallVector& other) { assign(other.begin(), other.size()); }

    /// Replaces everything by the other list's elements.
    SmallVector& operator=(const SmallVector& other)
    {
        if (this != &other)
            assign(other.begin(), other.size());
        return *this;
    }

    /// Appends a copy of the element. The one past `inPlace` moves all to the heap.
    void push_back(const T& element)
    {
        if (!all_ && size_ < inPlace) {
            first_[size_++] = element;
            return;
        }
        if (!all_)
            all_ = std::make_unique<std::vector<T>>(first_.begin(), first_.end());
        all_->push_back(element);
    }

    /// Replaces everything by `count` elements of somebody else.
    /// @param elements borrowed for the call; none of this list's own
    void assign(const T* elements, size_t count)
    {
        all_.reset();
        size_ = 0;
        if (count > inPlace) {
            all_ = std::make_unique<std::vector<T>>(elements, elements + count);
        } else {
            std::copy_n(elements, count, first_.begin());
            size_ = static_cast<uint8_t>(count);
        }
    }

    /// How many elements there are.
    size_t size() const { return all_ ? all_->size() : size_; }

    /// Whether there are none.
    bool empty() const { return size() == 0; }

    /// The first element; end() in an empty list.
    const_iterator begin() const { return all_ ? all_->data() : first_.data(); }

    /// Behind the last element.
    const_iterator end() const { return begin() + size(); }

    /// The element at a place of the list.
    /// @param index from 0; below size(), which is not checked
    const T& operator[](size_t index) const { return begin()[index]; }

private:
    std::array<T, inPlace> first_{};
    uint8_t size_ = 0;  ///< of the first ones, while they are all
    std::unique_ptr<std::vector<T>> all_;
};

}  // namespace VestaHbbTV

#endif
