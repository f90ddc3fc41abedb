#include "tests/memory/tight_library.h"

#include <cstring>
#include <string>

#include "foundation/configuration_manager.h"
#include "foundation/logging.h"
#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "tests/memory/failing_memory.h"
#include "tests/support/counted_memory.h"
#include "tests/support/event_records.h"

using namespace VestaHbbTV;

namespace vesta::test {

namespace {

// A platform with one file; dvb://1.2.3.7/later is pending, and everything else is there at once.
bool isFileRead = false;
char fileBytes[] = "bytes of the file";

long windowsGiven = 0;
int pluginCalls = 0;

/// Counts the lines that say that memory ran out.
class CountingOutput : public LoggingOutput {
public:
    CountingOutput() : LoggingOutput(DEBUG) {}
    void output(LogEntry& entry) override
    {
        const FailingMemory::Pause pause;
        if (entry.stream().str().find("[ vesta_hbbtv] Out of memory.\n") != std::string::npos &&
            entry.getLevel() == ERR)
            ++reports;
    }

    static inline int reports = 0;
};

}  // namespace

TightLibraryTest::TightLibraryTest()
{
    browser().journalling = false;
    isWindowInUse = false;
    pluginCalls = 0;
    native_ApplicationManagerSetListener([](int, void*) { ++pluginCalls; });
    native_ApplicationManagerSetAppDestroyedListener([](void*) { ++pluginCalls; });
}

TightLibraryTest::~TightLibraryTest()
{
    native_ApplicationManagerSetListener(nullptr);
    native_ApplicationManagerSetAppDestroyedListener(nullptr);
    delete Logging::instance;
}

void TightLibraryTest::countReports()
{
    Logging::getInstance()->addOutput(new CountingOutput);
    CountingOutput::reports = 0;
}

int TightLibraryTest::reports()
{
    return CountingOutput::reports;
}

void TightLibraryTest::expectUsable()
{
    vesta_hbbtv_shutdown();
    EXPECT_EQ(WindowManager::instance, nullptr);
    EXPECT_EQ(ConfigurationManager::instance, nullptr);
    runService();
    ASSERT_NE(running(), nullptr);
    EXPECT_TRUE(running()->isInitialPageLoaded());
    vesta_hbbtv_shutdown();
}

FakeBrowser& browser()
{
    return FakeBrowser::instance();
}

HBBTV_STATUS listen(HBBTV_NotificationType type, HBBTV_NotificationData* data)
{
    if (type == HBBTV_NOTIFICATION_REQUEST_WINDOW) {
        ++windowsGiven;
        *data->window.tavoWindow = browser().window(windowsAreShared ? 1 : 1 + windowsGiven % 8);
        data->window.success = 1;
        isWindowInUse = true;
    } else if (type == HBBTV_NOTIFICATION_RELEASE_WINDOW) {
        data->window.success = 1;
        isWindowInUse = false;
    } else if (type == HBBTV_NOTIFICATION_GET_FREE_MEMORY) {
        *data->memory.freeMemory = 4096;
    }
    return HBBTV_STATUS_OK;
}

AITEntry httpApplication(uint16_t applicationId)
{
    return AITEntry(1, applicationId)
        .http(1, "http://a.example/a/base/that/no/string/holds/in/place/")
        .location("a/location/that/no/string/holds/in/place.html")
        .name("a name that no string holds in place either")
        .boundary({"http://a.example/a/boundary/that/is/long", "dvb://1.2.3/another/long/one"});
}

AITSection section(uint8_t version, uint16_t applicationId)
{
    return AITSection()
        .version(version)
        .common(carouselTransport(2, 7))
        .common(httpTransport(4, "http://a.example/a/base/that/no/string/holds/in/place"))
        .add(httpApplication(applicationId).carousel(3, 8))
        .add(AITEntry(1, 99).profiles({{0, 9, 9, 9}}).carousel(1, 1).location("rejected"));
}

void tickAll()
{
    for (int ticks = 0; ticks < 1000 && vesta_hbbtv_tick(); ++ticks) {
    }
}

Window* broadcastWindow()
{
    return static_cast<Window*>(vesta_hbbtv_get_broadcast_window());
}

void start()
{
    vesta_hbbtv_init(browser().handle());
    vesta_hbbtv_set_broadcast_window(vesta_hbbtv_create_window());
    vesta_hbbtv_add_notification_listener(listen);
}

void sendTable(uint8_t version, uint16_t applicationId)
{
    vesta_hbbtv_send_event(E_AIT_SECTION, aitRecord(section(version, applicationId)));
}

Application* running()
{
    Window* const window = broadcastWindow();
    return window ? window->getRunningApplication() : nullptr;
}

void* runningId()
{
    return running() ? reinterpret_cast<void*>(static_cast<uintptr_t>(running()->getID()))
                     : nullptr;
}

unsigned int notify(TAVO_VESTA_EVENT event, const char* url, const char* second, int httpStatus)
{
    static char load;
    TavoVestaEventData data = {};
    data.url = url;
    data.second_url = second;
    data.http_status = static_cast<decltype(data.http_status)>(httpStatus);
    data.request_id = &load;
    int result = 0;
    return vesta_hbbtv_handle_notification(browser().handle(), browser().window(1), event, &data,
                                           &result);
}

void runService()
{
    start();
    sendTable(0, 1);
    tickAll();
    notify(TAVO_VESTA_EVT_LOADING_FINISHED);
    tickAll();
}

HBBTV_EventData* longUrl()
{
    return urlRecord(broadcastWindow(), "http://b.example/a/page/that/no/string/holds/in/place");
}

}  // namespace vesta::test

using namespace vesta::test;

extern "C" {

unsigned int dsmcc_get_file(const char* path, void*)
{
    isFileRead = false;
    return std::strcmp(path, "1.2.3.7/later") == 0 ? DSMCC_PENDING : DSMCC_OK;
}

unsigned int dsmcc_get_mime_type(void*, char** mimeType)
{
    const FailingMemory::Pause pause;
    *mimeType = countedString("text/html");
    return DSMCC_OK;
}

unsigned int dsmcc_read(void*, char** buffer, unsigned int* length)
{
    *buffer = fileBytes;
    *length = isFileRead ? 0 : sizeof(fileBytes);
    isFileRead = true;
    return DSMCC_OK;
}

}  // extern "C"
