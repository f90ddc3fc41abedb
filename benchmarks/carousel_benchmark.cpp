/// A carousel file of 64 MiB from the platform's buffer into the browser's, beside a plain copy of
/// the same chunks.
#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstring>
#include <string>
#include <vector>

#include "vesta_hbbtv_appman.h"

#include "foundation/configuration_manager.h"
#include "integration/oc_download_manager.h"
#include "signalling/hbbtv_url.h"
#include "tests/support/fake_browser.h"
#include "tests/support/fake_platform.h"

namespace {

using namespace VestaHbbTV;
using vesta::test::FakeBrowser;
using vesta::test::FakePlatform;

const size_t fileSize = size_t{64} << 20;
const size_t chunkSize = 130048;

const std::string& fileBytes()
{
    static const std::string bytes(fileSize, 'x');
    return bytes;
}

std::vector<char>& browserBuffer()
{
    static std::vector<char> buffer(chunkSize);
    return buffer;
}

void countBytes(benchmark::State& state)
{
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(fileSize));
}

/// @param state its argument is how much the platform gives at once
void plainCopies(benchmark::State& state)
{
    const size_t readSize = static_cast<size_t>(state.range(0));
    const std::string& bytes = fileBytes();
    char* const buffer = browserBuffer().data();
    for ([[maybe_unused]] auto _ : state) {
        for (size_t read = 0; read < fileSize; read += readSize) {
            const size_t end = std::min(fileSize, read + readSize);
            for (size_t at = read; at < end; at += chunkSize) {
                std::memcpy(buffer, bytes.data() + at, std::min(chunkSize, end - at));
                benchmark::ClobberMemory();
            }
        }
    }
    countBytes(state);
}

void download(benchmark::State& state)
{
    FakeBrowser& browser = FakeBrowser::instance();
    FakePlatform& platform = FakePlatform::instance();
    browser.reset();
    platform.reset();
    browser.journalling = platform.journalling = platform.copiesReads = false;
    browser.sink = [buffer = browserBuffer().data()](const char* bytes, unsigned int length) {
        std::memcpy(buffer, bytes, length);
        benchmark::ClobberMemory();
    };
    FakePlatform::File& file = platform.files["1.2.3.4/file"];
    file.bytes = fileBytes();
    file.readSize = static_cast<size_t>(state.range(0));

    vesta_hbbtv_init(browser.handle());
    HbbTVDVBURL url("dvb://1.2.3.4/file");
    char load;
    for ([[maybe_unused]] auto _ : state) {
        if (ConfigurationManager::getInstance()->getOCDownloadManager()->startDownload(&url,
                                                                                       &load) != 1)
            state.SkipWithError("the file was not delivered");
    }
    vesta_hbbtv_shutdown();
    platform.reset();
    countBytes(state);
}

void readSizes(benchmark::internal::Benchmark* benchmark)
{
    for (const size_t size : {fileSize, size_t{1} << 20, chunkSize, size_t{4096}})
        benchmark->Arg(static_cast<int64_t>(size));
    benchmark->Unit(benchmark::kMillisecond);
}

BENCHMARK(plainCopies)->Apply(readSizes);
BENCHMARK(download)->Apply(readSizes);

}  // namespace
