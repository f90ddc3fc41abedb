// What lines of the log cost in memory. This program's operator new counts.

#include <atomic>
#include <cstdlib>
#include <gtest/gtest.h>
#include <malloc.h>
#include <new>
#include <string>

#include "foundation/logging.h"

using namespace VestaHbbTV;

namespace {

std::atomic<size_t> allocations{0};
std::atomic<size_t> heldBytes{0};

}  // namespace

// The program is linked with --wrap=free, which is of no interest here.
extern "C" void __real_free(void* block);

// Not inlined: the compiler would miss the pairs.
__attribute__((noinline)) void* operator new(size_t size)
{
    void* const block = std::malloc(size ? size : 1);
    if (!block)
        throw std::bad_alloc();
    ++allocations;
    heldBytes += malloc_usable_size(block);
    return block;
}

__attribute__((noinline)) void operator delete(void* block) noexcept
{
    if (block)
        heldBytes -= malloc_usable_size(block);
    __real_free(block);
}

__attribute__((noinline)) void operator delete(void* block, size_t) noexcept
{
    operator delete(block);
}

namespace {

/// Takes lines and leaves them alone.
class SilentOutput : public LoggingOutput {
public:
    SilentOutput() : LoggingOutput(DEBUG) {}
    void output(LogEntry&) override {}
};

class LoggingMemory : public ::testing::Test {
protected:
    LoggingMemory()
    {
        Logging::getInstance()->addOutput(new SilentOutput);
        write(0);  // and the standard library has what it keeps for good
    }
    ~LoggingMemory() override { delete Logging::getInstance(); }

    static void write(size_t length)
    {
        static const std::string text(100000, 'x');
        LogEntry entry(LOG, "Window");
        entry.stream().write(text.data(), static_cast<std::streamsize>(length));
    }
};

TEST_F(LoggingMemory, LinesAreBuiltInTheMemoryOfThoseBefore)
{
    write(900);
    const size_t before = allocations;
    for (const size_t length : {900u, 0u, 20u, 899u, 900u})
        write(length);
    EXPECT_EQ(allocations, before);
}

TEST_F(LoggingMemory, OfAVeryLongLineNothingIsKept)
{
    write(900);
    const size_t before = heldBytes;
    for (const size_t length : {3000u, 100000u}) {
        write(length);
        EXPECT_LE(heldBytes, before) << length;
    }
}

TEST_F(LoggingMemory, ALineAfterAVeryLongOneIsKeptAgain)
{
    write(100000);
    write(20);
    const size_t before = allocations;
    write(20);
    EXPECT_EQ(allocations, before);
}

TEST_F(LoggingMemory, OfLinesThatLiveAtTheSameTimeOneIsKept)
{
    write(20);
    const size_t before = heldBytes;
    {
        LogEntry first(LOG, "Window");
        LogEntry second(LOG, "Window");
        LogEntry third(LOG, "Window");
    }
    EXPECT_LE(heldBytes, before);
}

TEST_F(LoggingMemory, TheEndOfTheLogKeepsNone)
{
    delete Logging::getInstance();
    const size_t before = heldBytes;
    Logging::getInstance()->addOutput(new SilentOutput);
    write(900);
    EXPECT_GT(heldBytes, before);
    delete Logging::getInstance();
    EXPECT_EQ(heldBytes, before);
}

TEST(LoggingMemoryWithoutSinks, TheLibrarysOwnLinesAllocateNothing)
{
    const std::string text(100, 'x');
    const size_t before = allocations;
    log(WARN, "Window", text, 5);
    EXPECT_EQ(allocations, before);
}

}  // namespace
