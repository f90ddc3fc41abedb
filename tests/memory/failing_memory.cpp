#include "tests/memory/failing_memory.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "tests/support/counted_memory.h"

namespace {

bool armed = false;
long untilFailure = 0;
bool failsFromThenOn = false;
long failures = 0;
long blocks = 0;

bool fails()
{
    if (!armed || untilFailure == 0)
        return false;
    if (--untilFailure > 0)
        return false;
    untilFailure = failsFromThenOn ? 1 : 0;
    ++failures;
    return true;
}

void* countedInPeace(void* block)
{
    const vesta::test::FailingMemory::Pause pause;
    return vesta::test::counted(block);
}

}  // namespace

extern "C" {

void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
char* __real_strdup(const char* text);
void __real_free(void* block);

void* __wrap_malloc(size_t size)
{
    return fails() ? nullptr : countedInPeace(__real_malloc(size));
}

void* __wrap_calloc(size_t count, size_t size)
{
    return fails() ? nullptr : countedInPeace(__real_calloc(count, size));
}

char* __wrap_strdup(const char* text)
{
    return fails() ? nullptr : static_cast<char*>(countedInPeace(__real_strdup(text)));
}

}  // extern "C"

// Not inlined: the compiler would miss the pairs.
__attribute__((noinline)) void* operator new(size_t size)
{
    void* const block = fails() ? nullptr : __real_malloc(size ? size : 1);
    if (!block)
        throw std::bad_alloc();
    ++blocks;
    return block;
}

__attribute__((noinline)) void* operator new(size_t size, const std::nothrow_t&) noexcept
{
    void* const block = fails() ? nullptr : __real_malloc(size ? size : 1);
    if (block)
        ++blocks;
    return block;
}

// A sanitizer has forms of its own for arrays.
__attribute__((noinline)) void* operator new[](size_t size)
{
    return operator new(size);
}

__attribute__((noinline)) void* operator new[](size_t size, const std::nothrow_t& what) noexcept
{
    return operator new(size, what);
}

__attribute__((noinline)) void operator delete(void* block) noexcept
{
    if (block)
        --blocks;
    __real_free(block);
}

__attribute__((noinline)) void operator delete(void* block, size_t) noexcept
{
    operator delete(block);
}

__attribute__((noinline)) void operator delete[](void* block) noexcept
{
    operator delete(block);
}

__attribute__((noinline)) void operator delete[](void* block, size_t) noexcept
{
    operator delete(block);
}

namespace vesta::test {

void FailingMemory::fail(long number, bool fromThenOn)
{
    untilFailure = number;
    failsFromThenOn = fromThenOn;
    failures = 0;
    armed = true;
}

long FailingMemory::stop()
{
    armed = false;
    return failures;
}

long FailingMemory::blocksInUse()
{
    return blocks;
}

FailingMemory::Pause::Pause() : wasArmed_(std::exchange(armed, false))
{
}

FailingMemory::Pause::~Pause()
{
    armed = wasArmed_;
}

}  // namespace vesta::test
