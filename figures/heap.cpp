// What the library keeps on the heap, and what it allocates where it runs often, a line each:
// "name: bytes allocations". Bytes are what the work leaves in use, with what the allocator needs
// for it; allocations are how many blocks were asked for on the way. Work that was not done costs
// little: where something did not happen the program says what, and fails.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <string>
#include <vector>

#include "vesta_hbbtv_appman.h"

#include "tests/support/fake_browser.h"
#include "tests/support/fake_platform.h"
#include "tests/support/given_windows.h"
#include "tests/support/heap_use.h"
#include "tests/support/section_builder.h"

namespace {

uint64_t allocations = 0;

}  // namespace

extern "C" void* __libc_malloc(size_t size);

extern "C" void* malloc(size_t size)
{
    ++allocations;
    return __libc_malloc(size);
}

namespace {

using namespace VestaHbbTV;
using namespace vesta::test;

/// What the library told its listener; it is cleared before each measurement.
struct Heard {
    int tables = 0;
    int applications = 0;  ///< of the last table
    int windows = 0;       ///< that were asked for
};

Heard heard;

HBBTV_STATUS hearAndGiveWindows(HBBTV_NotificationType type, HBBTV_NotificationData* data)
{
    if (type == HBBTV_NOTIFICATION_AIT_UPDATE) {
        ++heard.tables;
        heard.applications = data->ait.numApplications;
    }
    if (type == HBBTV_NOTIFICATION_REQUEST_WINDOW)
        ++heard.windows;
    return giveWindows(type, data);
}

/// Ends the program where what was to be measured did not happen.
void expect(bool happened, const char* what)
{
    if (happened)
        return;
    std::fprintf(stderr, "not what was to be measured: %s\n", what);
    std::exit(1);
}

/// Prints what the work left on the heap, with what the allocator needs for it, and how many
/// blocks it asked for.
template <typename Work>
void measure(const std::string& name, const Work& work)
{
    heard = Heard();
    const size_t inUse = heapInUse();
    const uint64_t allocationsBefore = allocations;
    work();
    const uint64_t asked = allocations - allocationsBefore;
    std::printf("%s: %lld %llu\n", name.c_str(), static_cast<long long>(heapInUse() - inUse),
                static_cast<unsigned long long>(asked));
}

void send(const Bytes& section)
{
    auto* const record = static_cast<HBBTV_EventData*>(std::calloc(1, sizeof(HBBTV_EventData)));
    record->ait.section = static_cast<unsigned char*>(std::malloc(section.size()));
    std::memcpy(record->ait.section, section.data(), section.size());
    vesta_hbbtv_send_event(E_AIT_SECTION, record);
}

/// A table of PRESENT applications, as many as a section holds in each.
std::vector<Bytes> tableOf(unsigned int applications)
{
    const unsigned int inSection = 10;
    const uint8_t last = static_cast<uint8_t>((applications - 1) / inSection);
    std::vector<Bytes> sections;
    for (unsigned int first = 0; first < applications; first += inSection) {
        AITSection section;
        section.version(1).number(static_cast<uint8_t>(first / inSection), last);
        for (unsigned int each = first; each < std::min(first + inSection, applications); ++each) {
            section.add(AITEntry(1, static_cast<uint16_t>(each + 1))
                            .controlCode(2)
                            .http(1, "http://a.example/application/")
                            .location("index.html"));
        }
        sections.push_back(section.bytes());
    }
    return sections;
}

class Library {
public:
    Library()
    {
        vesta_hbbtv_init(FakeBrowser::instance().handle());
        expect(vesta_hbbtv_add_notification_listener(hearAndGiveWindows), "a listener is heard");
        window_ = vesta_hbbtv_create_window();
        vesta_hbbtv_set_broadcast_window(window_);
        expect(window_ && vesta_hbbtv_get_broadcast_window() == window_,
               "a window shows the service");
    }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    ~Library() { vesta_hbbtv_shutdown(); }

    /// Without the event's record, which is the sender's to allocate.
    void receive(const std::vector<Bytes>& table) const
    {
        for (const Bytes& section : table)
            send(section);
        tickAll();
    }

    void start(unsigned short applicationId) const
    {
        auto* const record = static_cast<HBBTV_EventData*>(std::calloc(1, sizeof(HBBTV_EventData)));
        record->start.window = window_;
        record->start.organisationId = 1;
        record->start.applicationId = applicationId;
        vesta_hbbtv_send_event(E_START_APPLICATION, record);
        tickAll();
    }

    bool shows(const char* url) const
    {
        return vesta_hbbtv_get_tavo_window(window_) == FakeBrowser::instance().window(1) &&
               vesta_hbbtv_is_within_boundaries(window_, url);
    }

private:
    void* window_ = nullptr;
};

void measureTables()
{
    for (const unsigned int applications : {1U, 10U, 100U}) {
        const std::vector<Bytes> table = tableOf(applications);
        const Library library;
        measure("a table of " + std::to_string(applications) +
                    (applications == 1 ? " application" : " applications"),
                [&] { library.receive(table); });
        expect(heard.tables == 1 && heard.applications == static_cast<int>(applications),
               "one table is taken in, whole");
    }
}

/// Whether the library keeps a key from everybody else.
bool isForTheApplication(TAVO_VIRTUAL_KEY key)
{
    TAVO_KeyboardEvent event = {TAVO_KEY_DOWN, key};
    return vesta_hbbtv_key_input(FakeBrowser::instance().window(1), &event) != 0;
}

/// The red button, before the application asks for it and then.
void measureKey()
{
    void* application = nullptr;
    double granted = 0;
    bool taken = true;
    measure("a key that is not for the application",
            [&] { taken = isForTheApplication(TAVO_VK_RED); });
    expect(!taken, "the key is not for the application");
    expect(native_AppManGetApplicationId(1, nullptr, &application) == VEIF_RETURN_OK &&
               native_KeySetSetValue(application, 1, &granted) == VEIF_RETURN_OK &&
               isForTheApplication(TAVO_VK_RED),
           "it would be, had the application asked for it");
}

void measureRunning()
{
    const std::vector<Bytes> table = tableOf(1);
    bool ticked = true;
    const Library library;
    library.receive(table);
    measure("an application that runs", [&] { library.start(1); });
    expect(heard.windows == 1 && library.shows("http://a.example/application/index.html"),
           "the application runs in the browser's window");
    measure("a tick without an event", [&] { ticked = vesta_hbbtv_tick(); });
    expect(!ticked, "nothing was queued");
    measure("an event without a record and its tick", [&] {
        vesta_hbbtv_send_event(E_HTTP_AVAILABLE, nullptr);
        ticked = vesta_hbbtv_tick();
    });
    expect(ticked && !vesta_hbbtv_tick(), "one event was queued");
    measureKey();
    measure("a repeated section, its record and its tick", [&] {
        send(table.front());
        ticked = vesta_hbbtv_tick();
    });
    expect(ticked && heard.tables == 0, "the section was read, and nothing is new");
}

}  // namespace

int main()
{
    ::mallopt(M_MXFAST, 0);  // what is freed counts as free
    FakeBrowser::instance().reset();
    FakePlatform::instance().reset();
    FakeBrowser::instance().journalling = FakePlatform::instance().journalling = false;
    {
        const Library first;  // what is made once and stays, of the C library too
    }
    measure("the library with a window and a listener", [] { new Library; });
    vesta_hbbtv_shutdown();
    measureTables();
    measureRunning();
}
