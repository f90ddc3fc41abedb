/// What the recorder costs: the same work without it, with it loaded and not recording, and
/// recorded. Each measurement is a process of its own, which this program starts of itself; `ratio`
/// is to the work without the recorder in the same run.
#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <map>
#include <string>
#include <unistd.h>
#include <vector>

#include "vesta_hbbtv_appman.h"

#include "tests/support/fake_browser.h"
#include "tests/support/fake_platform.h"
#include "tests/support/section_builder.h"

namespace {

using namespace VestaHbbTV;
using vesta::test::AITEntry;
using vesta::test::AITSection;
using vesta::test::FakeBrowser;
using vesta::test::FakePlatform;

const size_t fileSize = size_t{64} << 20;
const int ticks = 1000000;
const int events = 100000;

/// Bytes that do not repeat, so that each block is recorded.
std::string fileBytes()
{
    std::string bytes(fileSize, '\0');
    uint64_t state = 1;
    for (size_t place = 0; place < fileSize; place += sizeof(state)) {
        state = state * 6364136223846793005u + 1442695040888963407u;
        std::memcpy(&bytes[place], &state, sizeof(state));
    }
    return bytes;
}

HBBTV_STATUS listen(HBBTV_NotificationType type, HBBTV_NotificationData* data)
{
    if (type == HBBTV_NOTIFICATION_REQUEST_WINDOW) {
        *data->window.tavoWindow = FakeBrowser::instance().window(1);
        data->window.success = 1;
    }
    return HBBTV_STATUS_OK;
}

HBBTV_EventData* newRecord()
{
    return static_cast<HBBTV_EventData*>(std::calloc(1, sizeof(HBBTV_EventData)));
}

void startApplication()
{
    HBBTV_EventData* const record = newRecord();
    record->ait.section =
        AITSection()
            .add(AITEntry(1, 1).http(1, "http://a.example/").location("index.html"))
            .mallocBlock();
    vesta_hbbtv_add_notification_listener(listen);
    vesta_hbbtv_set_broadcast_window(vesta_hbbtv_create_window());
    vesta_hbbtv_send_event(E_HTTP_AVAILABLE, nullptr);
    HBBTV_EventData* const profiles = newRecord();
    profiles->profiles.supportedProfiles = 1;
    vesta_hbbtv_send_event(E_SUPPORTED_PROFILES, profiles);
    vesta_hbbtv_send_event(E_AIT_SECTION, record);
    while (vesta_hbbtv_tick())
        continue;
}

void tickIdly()
{
    for (int tick = 0; tick < ticks; ++tick)
        vesta_hbbtv_tick();
}

/// One event that calls nobody, and the tick that runs it.
void runEvents()
{
    for (int event = 0; event < events; ++event) {
        vesta_hbbtv_send_event(E_DSMCC_STREAM_EVENT, newRecord());
        vesta_hbbtv_tick();
    }
}

void loadFile()
{
    char load;
    TavoVestaEventData data = {};
    data.url = "dvb://1.2.3.4/file";
    data.request_id = &load;
    vesta_hbbtv_handle_notification(FakeBrowser::instance().handle(),
                                    FakeBrowser::instance().window(1),
                                    TAVO_VESTA_EVT_PROTOCOL_LOADING_START, &data, nullptr);
}

struct Subject {
    const char* name;
    void (*work)();
    int times;
    size_t readSize;  ///< of the platform's file; 0: there is none
};
const Subject subjects[] = {{"idleTick", tickIdly, ticks, 0},
                            {"eventAndItsTick", runEvents, events, 0},
                            {"fileOf64MiBIn127KiB", loadFile, 1, 130048},
                            {"fileOf64MiBIn1MiB", loadFile, 1, size_t{1} << 20}};

/// Of this process and of the system for it, so that others on the machine do not count.
double processorNanoseconds()
{
    timespec time;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return 1e9 * static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec);
}

/// In a process of its own: writes the nanoseconds that the work takes once.
void measure(const Subject& subject)
{
    FakeBrowser& browser = FakeBrowser::instance();
    FakePlatform& platform = FakePlatform::instance();
    browser.journalling = platform.journalling = platform.copiesReads = false;
    size_t received = 0;
    std::vector<char> buffer(fileSize);
    browser.sink = [&](const char* bytes, unsigned int length) {
        std::memcpy(&buffer[received], bytes, length);
        received += length;
    };
    if (subject.readSize > 0) {
        platform.files["1.2.3.4/file"].bytes = fileBytes();
        platform.files["1.2.3.4/file"].readSize = subject.readSize;
    }
    vesta_hbbtv_init(browser.handle());
    startApplication();
    const double begin = processorNanoseconds();
    subject.work();
    const double taken = processorNanoseconds() - begin;
    vesta_hbbtv_shutdown();
    const bool isWhole = subject.readSize == 0 || received == fileSize;
    std::printf("%.3f\n", isWhole ? taken / subject.times : -1.0);
}

struct Way {
    const char* name;
    const char* environment;
};
const Way ways[] = {
    {"without", ""},
    {"loaded", "LD_PRELOAD='" VESTA_RECORDER "' "},
    {"recorded", "LD_PRELOAD='" VESTA_RECORDER "' VESTA_RECORD=recorder_benchmark.vesta "},
    {"recordedWithoutBodies",
     "LD_PRELOAD='" VESTA_RECORDER
     "' VESTA_RECORD=recorder_benchmark.vesta VESTA_RECORD_LEAVE_OUT=bodies "}};

double runMeasurement(const std::string& program, const Subject& subject, const Way& way)
{
    const std::string command = way.environment + ("'" + program + "' --measure ") + subject.name;
    double nanoseconds = -1;
    if (FILE* const output = popen(command.c_str(), "r")) {
        if (std::fscanf(output, "%lf", &nanoseconds) != 1)
            nanoseconds = -1;
        pclose(output);
    }
    return nanoseconds;
}

void compare(benchmark::State& state, const std::string& program, const Subject& subject,
             const Way& way)
{
    static std::map<std::string, double> without;
    double sum = 0;
    for ([[maybe_unused]] auto _ : state) {
        const double nanoseconds = runMeasurement(program, subject, way);
        if (nanoseconds < 0)
            state.SkipWithError("the measurement failed");
        state.SetIterationTime(nanoseconds / 1e9);
        sum += nanoseconds;
    }
    const double mean = sum / static_cast<double>(state.iterations());
    if (std::strcmp(way.name, "without") == 0)
        without[subject.name] = mean;
    if (without[subject.name] > 0)
        state.counters["ratio"] = mean / without[subject.name];
    std::remove("recorder_benchmark.vesta");
}

}  // namespace

int main(int count, char** arguments)
{
    for (const Subject& subject : subjects) {
        if (count == 3 && std::strcmp(arguments[1], "--measure") == 0 &&
            std::strcmp(arguments[2], subject.name) == 0) {
            measure(subject);
            return 0;
        }
    }
    char program[4096];
    const ssize_t length = readlink("/proc/self/exe", program, sizeof(program));
    if (length <= 0)
        return 1;
    const std::string self(program, static_cast<size_t>(length));
    const int measurements = 7;
    for (const Subject& subject : subjects) {
        for (const Way& way : ways) {
            const std::string name = std::string(subject.name) + '/' + way.name;
            benchmark::RegisterBenchmark(name.c_str(),
                                         [self, &subject, &way](benchmark::State& state) {
                                             compare(state, self, subject, way);
                                         })
                ->Iterations(measurements)
                ->UseManualTime();
        }
    }
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
