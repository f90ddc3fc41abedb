/// What a log line costs: without a sink, and formatted for one, beside spdlog.
///
/// Both loggers build the same line (date, time, level, padded module, text with two numbers) for a
/// sink that takes the whole text and writes it nowhere, so neither flushes anything. spdlog's own
/// null sink does not even format: its place is taken by a sink that does, as its stdout sink
/// would.
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <new>
#include <string>

#ifdef VESTA_HAVE_SPDLOG
#include <spdlog/logger.h>
#include <spdlog/sinks/base_sink.h>
#endif

#include "foundation/logging.h"

namespace {

size_t allocations = 0;

}  // namespace

// Not inlined: GCC would otherwise see malloc() and free() behind new and delete, and warn.
__attribute__((noinline)) void* operator new(size_t size)
{
    ++allocations;
    if (void* const block = std::malloc(size ? size : 1))
        return block;
    throw std::bad_alloc();
}

__attribute__((noinline)) void operator delete(void* block) noexcept
{
    std::free(block);
}

__attribute__((noinline)) void operator delete(void* block, size_t) noexcept
{
    std::free(block);
}

namespace {

using namespace VestaHbbTV;

/// Takes the text as every sink does, and drops it.
class NullOutput : public LoggingOutput {
public:
    NullOutput() : LoggingOutput(DEBUG) {}

    void output(LogEntry& entry) override
    {
        const std::string line = entry.stream().str();
        benchmark::DoNotOptimize(line.data());
        length += line.size();
    }

    size_t length = 0;
};

void countAllocations(benchmark::State& state, size_t before)
{
    state.counters["allocations"] = benchmark::Counter(static_cast<double>(allocations - before),
                                                       benchmark::Counter::kAvgIterations);
}

void libraryLine(benchmark::State& state)
{
    int id = 12345;
    benchmark::DoNotOptimize(id);
    const size_t before = allocations;
    for ([[maybe_unused]] auto _ : state) {
        log(WARN, "Window", "Starting application ", id, " of ", 77);
        benchmark::ClobberMemory();
    }
    countAllocations(state, before);
}

void lineWithoutSink(benchmark::State& state)
{
    libraryLine(state);
}
BENCHMARK(lineWithoutSink);

void formattedLine(benchmark::State& state)
{
    Logging::getInstance()->addOutput(new NullOutput);
    libraryLine(state);
    delete Logging::getInstance();
}
BENCHMARK(formattedLine);

#ifdef VESTA_HAVE_SPDLOG
class FormattingNullSink : public spdlog::sinks::base_sink<std::mutex> {
public:
    size_t length = 0;

protected:
    void sink_it_(const spdlog::details::log_msg& message) override
    {
        spdlog::memory_buf_t line;
        formatter_->format(message, line);
        benchmark::DoNotOptimize(line.data());
        length += line.size();
    }

    void flush_() override {}
};

void formattedLineOfSpdlog(benchmark::State& state)
{
    spdlog::logger logger("Window", std::make_shared<FormattingNullSink>());
    logger.set_pattern("%D %T %7l [%12n] %v");
    int id = 12345;
    benchmark::DoNotOptimize(id);
    const size_t before = allocations;
    for ([[maybe_unused]] auto _ : state) {
        logger.warn("Starting application {} of {}", id, 77);
        benchmark::ClobberMemory();
    }
    countAllocations(state, before);
}
BENCHMARK(formattedLineOfSpdlog);
#endif

}  // namespace
