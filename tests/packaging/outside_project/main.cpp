// An integration in small: it starts an application by its URL and derives from the library's
// classes. Succeeds only if the page reaches the browser.

#include <cstdio>
#include <cstring>
#include <string>

#include "foundation/ref_ptr.h"           // this project's own
#include "installed_headers.h"            // every installed header, listed when the test runs
#include "security/application_domain.h"  // this project's own

using namespace VestaHbbTV;

extern std::string openedPage;

namespace {

static_assert(ownPointers == 1 && ownDomains == 1);

class CountingOutput : public LoggingOutput {
public:
    CountingOutput(int& lines) : LoggingOutput(DEBUG), lines_(lines) {}
    void output(LogEntry&) override { ++lines_; }

private:
    int& lines_;
};

HBBTV_STATUS listen(HBBTV_NotificationType type, HBBTV_NotificationData* data)
{
    if (type == HBBTV_NOTIFICATION_REQUEST_WINDOW) {
        static char browserWindow;  // an address is all that a handle needs here
        *data->window.tavoWindow = reinterpret_cast<TAVO_VestaWindow*>(&browserWindow);
        data->window.success = 1;
    }
    return HBBTV_STATUS_OK;
}

void startApplication(void* window, const char* url)
{
    auto* const data = static_cast<HBBTV_EventData*>(std::calloc(1, sizeof(HBBTV_EventData)));
    data->url.window = window;
    data->url.url = ::strdup(url);
    vesta_hbbtv_send_event(E_START_BROADCAST_INDEPENDENT_APPLICATION, data);
    while (vesta_hbbtv_tick())
        ;
}

bool hashes()
{
    SHA256 hash;
    hash << "abc";
    return hash.getResultString() ==
           "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
}

}  // namespace

int main()
{
    int lines = 0;
    Logging::getInstance()->addOutput(new CountingOutput(lines));
    vesta_hbbtv_init(nullptr);
    vesta_hbbtv_add_notification_listener(listen);
    void* const window = vesta_hbbtv_create_window();
    startApplication(window, "http://outside.example/index.html");
    log(LOG, "Outside", "opened ", openedPage);
    vesta_hbbtv_shutdown();
    delete Logging::getInstance();

    std::printf("opened %s, %d log lines\n", openedPage.c_str(), lines);
    return openedPage == "http://outside.example/index.html" && lines > 0 && hashes() ? 0 : 1;
}
