// Lets a program in C load an XML AIT. Succeeds only if its page reaches the browser.

#include <cstdio>
#include <string>
#include <vesta_hbbtv_appman.h>
#include <vesta_hbbtv_kit.h>
#include <vesta_hbbtv_kit_layout.h>

#include "consumer.h"

using namespace VestaHbbTV;

extern std::string openedPage;

namespace {

HBBTV_STATUS listen(HBBTV_NotificationType type, HBBTV_NotificationData* data)
{
    if (type == HBBTV_NOTIFICATION_REQUEST_WINDOW) {
        static char browserWindow;  // an address is all that a handle needs here
        *data->window.tavoWindow = reinterpret_cast<TAVO_VestaWindow*>(&browserWindow);
        data->window.success = 1;
    }
    return HBBTV_STATUS_OK;
}

}  // namespace

int main()
{
    int starts = 0;
    hear_decisions(&starts);
    bool succeeds = load_document(nullptr) == HBBTV_KIT_XML_AIT_NOT_INITIALISED;
    vesta_hbbtv_init(nullptr);
    vesta_hbbtv_add_notification_listener(listen);
    void* const window = vesta_hbbtv_create_window();
    succeeds = load_fault(window) != 0 && refused_sections() == 1 && succeeds;
    succeeds = load_document(window) == HBBTV_KIT_XML_AIT_OK && succeeds;
    while (vesta_hbbtv_tick()) {
    }
    vesta_hbbtv_shutdown();

    std::printf("opened %s\n", openedPage.c_str());
    return succeeds && starts == 1 && openedPage == "http://outside.example/app/index.html" ? 0 : 1;
}
