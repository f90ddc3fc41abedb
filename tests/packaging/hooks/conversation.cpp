#include "conversation.h"

#include <cstdlib>
#include <cstring>

#include "vesta_hbbtv_appman.h"

#include "tests/support/section_builder.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

// A handle's address is all that the library looks at.
char browser;
char browserWindow;

TAVO_Vesta* browserHandle()
{
    return reinterpret_cast<TAVO_Vesta*>(&browser);
}

TAVO_VestaWindow* tavoWindow()
{
    return reinterpret_cast<TAVO_VestaWindow*>(&browserWindow);
}

HBBTV_STATUS listen(HBBTV_NotificationType type, HBBTV_NotificationData* data)
{
    if (type == HBBTV_NOTIFICATION_REQUEST_WINDOW) {
        *data->window.tavoWindow = tavoWindow();
        data->window.success = 1;
    }
    return HBBTV_STATUS_OK;
}

void runEvents()
{
    while (vesta_hbbtv_tick())
        ;
}

void tuneIn()
{
    auto* const data = static_cast<HBBTV_EventData*>(std::calloc(1, sizeof(HBBTV_EventData)));
    const AITSection section = AITSection().version(5).add(
        AITEntry(1, 2).remoteCarousel(1, 1, 2, 3, 4).location("index.html"));
    data->ait.section = section.mallocBlock();
    vesta_hbbtv_send_event(E_AIT_SECTION, data);
    runEvents();
}

void loadPage()
{
    TavoVestaEventData data = {};
    data.url = "dvb://1.2.3.4/index.html";
    data.request_id = &data;
    int result = 0;
    vesta_hbbtv_handle_notification(browserHandle(), tavoWindow(),
                                    TAVO_VESTA_EVT_PROTOCOL_LOADING_START, &data, &result);
}

void listenToStreamEvents()
{
    native_BroadcastAddStreamEventListener("dvb://1.2.3.4/event", nullptr, nullptr, nullptr,
                                           nullptr, 1);
    native_BroadcastAddXMLStreamEventListener(nullptr, nullptr, 1, 2, nullptr, nullptr, nullptr, 1);
    native_BroadcastRemoveStreamEventListener("", nullptr, nullptr, nullptr, nullptr, 1);
    native_BroadcastRemoveAllStreamEventListeners(nullptr, 1);
}

}  // namespace

extern "C" void converse(Outcome* outcome)
{
    vesta_hbbtv_init(browserHandle());
    vesta_hbbtv_add_notification_listener(listen);
    vesta_hbbtv_set_broadcast_window(vesta_hbbtv_create_window());
    tuneIn();
    loadPage();
    listenToStreamEvents();
    double keySets = 0;
    native_KeySetGetMaximumValue(1, &keySets);
    vesta_hbbtv_send_event(E_CHANNEL_CHANGE, nullptr);
    runEvents();
    vesta_hbbtv_shutdown();

    *outcome = *browserOutcome();
    outcome->keySets = static_cast<int>(keySets);
    outcome->sameCarousel = true;
    dsmcc_same_carousel("1.2.3.4", "1.2.3.5", &outcome->sameCarousel);
}
