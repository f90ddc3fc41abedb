#include "tests/support/counted_memory.h"

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <set>

namespace {

std::mutex mutex;

std::set<void*>& blocks()
{
    static auto* const outstanding = new std::set<void*>;  // outlives every static destructor
    return *outstanding;
}

}  // namespace

extern "C" {

// Only there in programs that are linked with --wrap=free; in others nothing is counted.
__attribute__((weak)) void __real_free(void* block);

void __wrap_free(void* block)
{
    if (block) {
        const std::lock_guard<std::mutex> lock(mutex);
        blocks().erase(block);
    }
    __real_free(block);
}

}  // extern "C"

namespace vesta::test {

void* counted(void* block)
{
    if (block && __real_free) {
        const std::lock_guard<std::mutex> lock(mutex);
        blocks().insert(block);
    }
    return block;
}

void* countedMalloc(size_t size)
{
    return counted(std::calloc(1, size ? size : 1));
}

char* countedString(const char* text)
{
    return text ? static_cast<char*>(counted(::strdup(text))) : nullptr;
}

size_t outstandingBlocks()
{
    const std::lock_guard<std::mutex> lock(mutex);
    return blocks().size();
}

}  // namespace vesta::test
