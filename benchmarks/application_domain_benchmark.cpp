/// The question that every page load and XMLHttpRequest asks, and forming a domain.
///
/// Beside it the floor: the copy of the URL that the interface takes, and comparing the bytes.
#include <benchmark/benchmark.h>
#include <cstring>
#include <string>

#include "security/application_domain.h"

namespace {

using namespace VestaHbbTV;

const std::string insideURL = "http://www.example.com:8080/app/page/index.html?channel=1";
const std::string outsideURL = "http://www.example.org/app/page/index.html?channel=1";

/// @param count dvb: origins that stand before the web host's
ApplicationDomain domainWith(int count)
{
    ApplicationDomain domain;
    for (int n = 0; n < count; ++n)
        domain.addBoundaryExtension("dvb://1.44d." + std::to_string(n) + "/");
    domain.addBoundaryExtension("http://www.example.com:8080/app");
    return domain;
}

void isWithinBoundaries(benchmark::State& state, const std::string& url)
{
    const ApplicationDomain domain = domainWith(static_cast<int>(state.range(0)));
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(domain.isWithinBoundaries(url));
}
BENCHMARK_CAPTURE(isWithinBoundaries, inside, insideURL)->Arg(0)->Arg(3)->Arg(20);
BENCHMARK_CAPTURE(isWithinBoundaries, outside, outsideURL)->Arg(0)->Arg(3)->Arg(20);

void copyAndCompareBytes(benchmark::State& state, const std::string& url)
{
    const ApplicationDomain domain = domainWith(static_cast<int>(state.range(0)));
    for ([[maybe_unused]] auto _ : state) {
        const std::string copy = url;
        bool inside = false;
        for (const std::string& entry : domain.getEntries())
            inside = inside || std::strncmp(copy.c_str(), entry.c_str(), entry.size()) == 0;
        benchmark::DoNotOptimize(inside);
    }
}
BENCHMARK_CAPTURE(copyAndCompareBytes, inside, insideURL)->Arg(0)->Arg(3)->Arg(20);
BENCHMARK_CAPTURE(copyAndCompareBytes, outside, outsideURL)->Arg(0)->Arg(3)->Arg(20);

void addBoundaryExtension(benchmark::State& state)
{
    for ([[maybe_unused]] auto _ : state) {
        ApplicationDomain domain = domainWith(static_cast<int>(state.range(0)));
        benchmark::DoNotOptimize(domain);
    }
}
BENCHMARK(addBoundaryExtension)->Arg(0)->Arg(3)->Arg(20);

/// As many empty extensions as an entry of a table has room for (4000), and a part of them.
void addEmptyExtensions(benchmark::State& state)
{
    for ([[maybe_unused]] auto _ : state) {
        ApplicationDomain domain;
        for (int64_t n = 0; n < state.range(0); ++n)
            domain.addBoundaryExtension("");
        benchmark::DoNotOptimize(domain);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(addEmptyExtensions)->Arg(40)->Arg(400)->Arg(4000);

}  // namespace
