// A complete host of the application manager: what an integrator writes on the first day. The
// browser is a pretended one, which loads pages but shows none, and the middleware knows one
// service with one table and one file. The integration guide walks through this file.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <functional>
#include <future>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vesta_hbbtv_appman.h>

using namespace VestaHbbTV;

// The library never looks into the browser's handles: they are whatever the browser has.
struct TAVO_Vesta {};

struct TAVO_VestaWindow {
    long number;
    std::string page;
};

namespace {

// Listeners, hooks and the browser's functions carry no pointer of their user's: what they work on
// is found from here. All of it is the browser thread's, but for what the middleware waits for.
TAVO_Vesta browser;
std::map<long, TAVO_VestaWindow> windows;
std::map<void*, long> loads;              // the number of the window that each is for
std::deque<std::function<void()>> tasks;  // what the engine's own main loop has to do
bool isRunning = true;
std::promise<void*> fileIsWanted;  // in a product, the middleware has a queue instead
std::promise<void> keyWasPressed;

// Every event goes to the library first, and is the browser's own matter if it answers 0.
bool isTaken(TAVO_VestaWindow& window, TAVO_VESTA_EVENT event, TavoVestaEventData& data)
{
    int result = 0;
    return vesta_hbbtv_handle_notification(&browser, &window, event, &data, &result) == 1 &&
           result == 0;
}

// The script asks for the red key, and to be seen; then the viewer presses that key.
void usePage(TAVO_VestaWindow& window)
{
    const double redKey = 1;
    double granted = 0;
    void* application = nullptr;
    native_AppManGetApplicationId(window.number, nullptr, &application);
    native_KeySetSetValue(application, redKey, &granted);
    native_ApplicationShow(application);
    for (const int type : {TAVO_KEY_DOWN, TAVO_KEY_UP}) {
        TAVO_KeyboardEvent event = {type, TAVO_VK_RED};
        vesta_hbbtv_key_input(&window, &event);
    }
    keyWasPressed.set_value();
}

// A load is over: the library hears of it, and then what became of the page.
void endLoad(void* id, unsigned short httpStatus)
{
    const auto found = loads.find(id);
    if (found == loads.end())
        return;  // a load can be answered with a failure twice
    const auto place = windows.find(found->second);
    loads.erase(found);
    if (place == windows.end())
        return;
    TAVO_VestaWindow& window = place->second;
    TavoVestaEventData data = {window.page.c_str(), nullptr, id, 0, httpStatus};
    isTaken(window, TAVO_VESTA_EVT_PROTOCOL_LOADING_STOP, data);
    isTaken(window, TAVO_VESTA_EVT_URL_CHANGED, data);
    isTaken(window, TAVO_VESTA_EVT_LOADING_FINISHED, data);
    if (httpStatus == 200)
        usePage(window);
}

void startLoad(TAVO_VestaWindow& window)
{
    // Never the same number twice: an answer that is under way must find its own load.
    static uintptr_t lastLoad = 0;
    void* const id = reinterpret_cast<void*>(++lastLoad);
    TavoVestaEventData data = {window.page.c_str(), nullptr, id, 0, 0};
    loads[id] = window.number;
    // Refused, and answered by nobody else: this browser has no other way to load a page.
    if (!isTaken(window, TAVO_VESTA_EVT_PROTOCOL_LOADING_START, data))
        endLoad(id, 404);
}

}  // namespace

extern "C" {

// Only notes what is to be loaded: the load begins when the main loop comes round.
int ve_open_url(TAVO_VestaWindow* window, const char* url)
{
    std::printf("browser:    window %ld opens %s\n", window->number, url);
    window->page = url;
    tasks.emplace_back([number = window->number] {
        const auto found = windows.find(number);
        if (found != windows.end())
            startLoad(found->second);
    });
    return 0;
}

int ve_clear_history(TAVO_VestaWindow*)
{
    return 0;
}

int ve_get_window(TAVO_Vesta*, long id, TAVO_VestaWindow** window)
{
    const auto found = windows.find(id);
    if (found == windows.end())
        return 1;
    *window = &found->second;
    return 0;
}

int ve_get_window_identifier(TAVO_Vesta*, TAVO_VestaWindow* window, long* id)
{
    *id = window->number;
    return 0;
}

int ve_get_loading_url(TAVO_VestaWindow* window, const char** url)
{
    *url = window->page.c_str();
    return 0;
}

// An engine resolves; this one is given absolute addresses alone.
int ve_resolve_relative_url(const char*, const char*, const char**)
{
    return 1;
}

int ve_set_uastring_extension(TAVO_Vesta*, const char* extension)
{
    std::printf("browser:    user agent %s\n", extension);
    return 0;
}

int ve_protocol_set_mime_type(void*, const char*)
{
    return 0;
}

int ve_protocol_write(void*, const char*, unsigned int length)
{
    std::printf("browser:    the page's next %u bytes\n", length);
    return 0;
}

int ve_protocol_finished(void* id, int)
{
    tasks.emplace_back([id] { endLoad(id, 200); });
    return 0;
}

int ve_protocol_failed(void* id, int)
{
    tasks.emplace_back([id] { endLoad(id, 404); });
    return 0;
}

int tavo_keyboard_evt(TAVO_KeyboardEvent* event)
{
    std::printf("browser:    the page gets key %d %s\n", event->key_code,
                event->type == TAVO_KEY_DOWN ? "down" : "up");
    return 0;
}

// The platform's hooks; those that are left out keep the library's harmless defaults.
unsigned int dsmcc_get_file(const char* path, void* id)
{
    std::printf("platform:   %s is wanted\n", path);
    fileIsWanted.set_value(id);
    return DSMCC_PENDING;
}

unsigned int dsmcc_read(void*, char** buffer, unsigned int* length)
{
    static bool isRead = false;
    static char file[] = "<html xmlns=\"http://www.w3.org/1999/xhtml\"/>";
    *buffer = file;  // stays the platform's
    *length = isRead ? 0 : sizeof(file) - 1;
    isRead = true;
    return DSMCC_OK;
}

}  // extern "C"

namespace {

HBBTV_STATUS listen(HBBTV_NotificationType type, HBBTV_NotificationData* data)
{
    static long lastWindow = 0;
    if (type == HBBTV_NOTIFICATION_START_APPLICATION) {
        std::printf("listener:   %s may start\n", data->application.url);  // the answer is preset
    } else if (type == HBBTV_NOTIFICATION_REQUEST_WINDOW) {
        const long number = ++lastWindow;
        *data->window.tavoWindow = &(windows[number] = {number, ""});
        data->window.success = 1;
    } else if (type == HBBTV_NOTIFICATION_SHOW_WINDOW) {
        std::printf("listener:   window %ld is shown\n", (*data->window.tavoWindow)->number);
    } else if (type == HBBTV_NOTIFICATION_RELEASE_WINDOW) {
        const long number = (*data->window.tavoWindow)->number;
        std::printf("listener:   window %ld is closed\n", number);
        windows.erase(number);
        isRunning = false;  // what was to be shown was shown
    }
    return HBBTV_STATUS_OK;
}

// The service's table: one application, in the carousel of the component 42.
const unsigned char table[] = {
    0x74, 0xB0, 52,  0,   0x10, 0xC1, 0,   0,    0xF0, 0,     // version 0, section 0 of 0
    0xF0, 39,   0,   0,   0,    10,   0,   1,    1,    0xF0,  // application a.1, AUTOSTART
    30,   0,    9,   5,   0,    0,    1,   1,    1,    0x7F,  // for any terminal of HbbTV 1.1.1
    1,    1,    2,   5,   0,    1,    1,   0x7F, 42,          // its transport: the carousel
    0x15, 10,   'i', 'n', 'd',  'e',  'x', '.',  'h',         // its first page
    't',  'm',  'l', 0,   0,    0,    0};  // CRC_32: the library does not check it

// What an event carries is malloc'ed, its record without a byte more: the library frees it.
void* copyOf(const void* bytes, size_t size)
{
    void* const copy = std::malloc(size);
    return copy ? std::memcpy(copy, bytes, size) : nullptr;
}

template <typename Record>
void send(HBBTV_EventType type, const Record& record)
{
    vesta_hbbtv_send_event(type, static_cast<HBBTV_EventData*>(copyOf(&record, sizeof(record))));
}

void sendTable(bool isThere)
{
    HBBTV_AITSectionEventData record = {};
    if (isThere)
        record.section = static_cast<unsigned char*>(copyOf(table, sizeof(table)));
    record.original_network_id = 0x20FA;
    record.transport_stream_id = 0x441;
    record.service_id = 0x6DD0;
    send(E_AIT_SECTION, record);
}

void runMiddleware()
{
    HBBTV_UserAgentEventData terminal = {};
    terminal.vendorName = ::strdup("example");
    send(E_USER_AGENT_INFO, terminal);
    send(E_SUPPORTED_PROFILES, HBBTV_ProfilesEventData{0x0000});
    vesta_hbbtv_send_event(E_CHANNEL_CHANGE, nullptr);
    sendTable(true);
    send(E_DSMCC_FILE_READY, HBBTV_DownloadEventData{fileIsWanted.get_future().get()});
    keyWasPressed.get_future().get();
    sendTable(false);
}

bool runTask()
{
    if (tasks.empty())
        return false;
    tasks.front()();  // it may add further ones
    tasks.pop_front();
    return true;
}

}  // namespace

int main()
{
    std::recursive_mutex mutex;  // what runs in the last look below may send an event itself
    pthread_cond_t condition = PTHREAD_COND_INITIALIZER;

    vesta_hbbtv_set_sendevent_condition(&condition, mutex.native_handle());
    vesta_hbbtv_init(&browser);                     // before any other thread calls in
    vesta_hbbtv_add_notification_listener(listen);  // windows, permissions, what stopped
    vesta_hbbtv_set_broadcast_window(vesta_hbbtv_create_window());
    std::thread middleware(runMiddleware);
    while (isRunning) {
        while (vesta_hbbtv_tick() || runTask()) {
        }
        const std::lock_guard<std::recursive_mutex> lock(mutex);
        while (isRunning && !vesta_hbbtv_tick())  // the last look, with the mutex held
            pthread_cond_wait(&condition, mutex.native_handle());
    }
    middleware.join();
    vesta_hbbtv_shutdown();
    vesta_hbbtv_set_sendevent_condition(nullptr, nullptr);
}
