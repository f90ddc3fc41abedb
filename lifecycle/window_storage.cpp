#include "lifecycle/window_storage.h"

#include <atomic>
#include <new>

#include "foundation/sanitizers.h"

#if VESTA_ADDRESS_SANITIZER
#include <sanitizer/asan_interface.h>
#define VESTA_POISON(address, size) __asan_poison_memory_region(address, size)
#define VESTA_UNPOISON(address, size) __asan_unpoison_memory_region(address, size)
#else
#define VESTA_POISON(address, size) static_cast<void>(0)
#define VESTA_UNPOISON(address, size) static_cast<void>(0)
#endif

namespace VestaHbbTV {

namespace {

std::atomic<unsigned> mentions{0};

/// What rests is linked through itself, the oldest first.
struct Rest {
    Rest* next;
    size_t size;
};

class RestingPlace {
public:
    RestingPlace() = default;
    RestingPlace(const RestingPlace&) = delete;
    RestingPlace& operator=(const RestingPlace&) = delete;
    ~RestingPlace()
    {
        while (first_)
            freeOldest();
    }

    void add(void* storage, size_t size)
    {
        Rest* const rest = new (storage) Rest{nullptr, size};
        *end_ = rest;
        end_ = &rest->next;
        ++count_;
        VESTA_POISON(rest + 1, size - sizeof(Rest));
    }

    /// Frees the oldest while there are too many and nobody can mean one of them.
    void trim()
    {
        while (count_ > WindowStorage::resting && mentions == 0)
            freeOldest();
    }

    unsigned count() const { return count_; }

private:
    void freeOldest()
    {
        Rest* const oldest = first_;
        first_ = oldest->next;
        if (!first_)
            end_ = &first_;
        --count_;
        VESTA_UNPOISON(oldest, oldest->size);
        ::operator delete(oldest);
    }

    Rest* first_ = nullptr;
    Rest** end_ = &first_;
    unsigned count_ = 0;
};

RestingPlace restingPlace;

}  // namespace

void WindowStorage::countMention()
{
    ++mentions;
}

void WindowStorage::forgetMention()
{
    --mentions;
}

void* WindowStorage::take(size_t size)
{
    return ::operator new(size);
}

unsigned WindowStorage::getResting()
{
    return restingPlace.count();
}

void WindowStorage::giveBack(void* storage, size_t size)
{
    if (!storage)
        return;
    restingPlace.add(storage, size);
    restingPlace.trim();
}

}  // namespace VestaHbbTV
