#include "conversation.h"

#include <cstdlib>
#include <cstring>

#include "vesta_hbbtv_appman.h"

#include "tests/support/fake_browser.h"
#include "tests/support/journal.h"
#include "tests/support/section_builder.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

FakeBrowser& browser()
{
    return FakeBrowser::instance();
}

HBBTV_STATUS listen(HBBTV_NotificationType type, HBBTV_NotificationData* data)
{
    if (type == HBBTV_NOTIFICATION_REQUEST_WINDOW) {
        *data->window.tavoWindow = browser().window(1);
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

void loadPage(Outcome& outcome)
{
    TavoVestaEventData data = {};
    data.url = "dvb://1.2.3.4/index.html";
    data.request_id = &data;
    int result = 0;
    Journal::instance().clear();
    vesta_hbbtv_handle_notification(browser().handle(), browser().window(1),
                                    TAVO_VESTA_EVT_PROTOCOL_LOADING_START, &data, &result);
    outcome.page = browser().written[&data];
    for (const std::string& line : Journal::instance().take()) {
        if (line.rfind("ve_protocol_", 0) == 0)
            outcome.calls.push_back(line);
    }
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
    vesta_hbbtv_init(browser().handle());
    vesta_hbbtv_add_notification_listener(listen);
    vesta_hbbtv_set_broadcast_window(vesta_hbbtv_create_window());
    tuneIn();
    loadPage(*outcome);
    listenToStreamEvents();
    double keySets = 0;
    native_KeySetGetMaximumValue(1, &keySets);
    vesta_hbbtv_send_event(E_CHANNEL_CHANGE, nullptr);
    runEvents();
    vesta_hbbtv_shutdown();

    outcome->keySets = static_cast<int>(keySets);
    outcome->sameCarousel = true;
    dsmcc_same_carousel("1.2.3.4", "1.2.3.5", &outcome->sameCarousel);
}
