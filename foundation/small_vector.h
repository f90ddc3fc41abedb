/// A list that is mostly short.
#ifndef VESTA_FOUNDATION_SMALL_VECTOR_H
#define VESTA_FOUNDATION_SMALL_VECTOR_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <type_traits>
#include <vector>

namespace VestaHbbTV {

/// Holds up to `inPlace` elements without the heap, and any number with it.
template <typename T, size_t inPlace>
class SmallVector {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    using value_type = T;
    using const_iterator = const T*;

    SmallVector() = default;
    ~SmallVector() = default;

    // No moves: they copy, so that what was moved from holds what it says that it holds.
    SmallVector(const SmallVector&) = default;
    SmallVector& operator=(const SmallVector&) = default;

    void push_back(const T& element)
    {
        if (size_ >= inPlace) {
            if (size_ == inPlace)
                all_.assign(first_.begin(), first_.end());
            all_.push_back(element);
        } else {
            first_[size_] = element;
        }
        ++size_;
    }

    /// Replaces everything by `count` elements.
    void assign(const T* elements, size_t count)
    {
        if (count > inPlace)
            all_.assign(elements, elements + count);
        else
            std::copy_n(elements, count, first_.begin());
        size_ = count;
    }

    size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    const_iterator begin() const { return size_ > inPlace ? all_.data() : first_.data(); }
    const_iterator end() const { return begin() + size_; }
    const T& operator[](size_t index) const { return begin()[index]; }

private:
    size_t size_ = 0;
    std::array<T, inPlace> first_{};
    /// All elements, once they are too many.
    std::vector<T> all_;
};

}  // namespace VestaHbbTV

#endif
