// The entry functions under their C names.
#include "vesta_hbbtv_c.h"

namespace VestaHbbTV {

void vesta_hbbtv_c_init(TAVO_Vesta* browser)
{
    vesta_hbbtv_init(browser);
}

void vesta_hbbtv_c_shutdown()
{
    vesta_hbbtv_shutdown();
}

bool vesta_hbbtv_c_tick()
{
    return vesta_hbbtv_tick();
}

void vesta_hbbtv_c_send_event(HBBTV_EventType type, HBBTV_EventData* data)
{
    vesta_hbbtv_send_event(type, data);
}

void vesta_hbbtv_c_set_sendevent_condition(pthread_cond_t* condition, pthread_mutex_t* mutex)
{
    vesta_hbbtv_set_sendevent_condition(condition, mutex);
}

bool vesta_hbbtv_c_add_notification_listener(HBBTV_NotificationListener listener)
{
    return vesta_hbbtv_add_notification_listener(listener);
}

void* vesta_hbbtv_c_create_window()
{
    return vesta_hbbtv_create_window();
}

void vesta_hbbtv_c_release_window(void* window)
{
    vesta_hbbtv_release_window(window);
}

void* vesta_hbbtv_c_get_window_identifier(TAVO_VestaWindow* tavoWindow)
{
    return vesta_hbbtv_get_window_identifier(tavoWindow);
}

void vesta_hbbtv_c_set_broadcast_window(void* window)
{
    vesta_hbbtv_set_broadcast_window(window);
}

void* vesta_hbbtv_c_get_broadcast_window()
{
    return vesta_hbbtv_get_broadcast_window();
}

TAVO_VestaWindow* vesta_hbbtv_c_get_tavo_window(void* window)
{
    return vesta_hbbtv_get_tavo_window(window);
}

bool vesta_hbbtv_c_is_within_boundaries(void* window, const char* url)
{
    return vesta_hbbtv_is_within_boundaries(window, url);
}

unsigned int vesta_hbbtv_c_set_time_shifted(void* window, int timeShifted)
{
    return vesta_hbbtv_set_time_shifted(window, timeShifted);
}

bool vesta_hbbtv_c_is_hbbtv_window(TAVO_VestaWindow* tavoWindow)
{
    return vesta_hbbtv_is_hbbtv_window(tavoWindow);
}

unsigned int vesta_hbbtv_c_handle_notification(TAVO_Vesta* browser, TAVO_VestaWindow* tavoWindow,
                                               TAVO_VESTA_EVENT event, TavoVestaEventData* data,
                                               int* result)
{
    return vesta_hbbtv_handle_notification(browser, tavoWindow, event, data, result);
}

int vesta_hbbtv_c_key_input(TAVO_VestaWindow* tavoWindow, TAVO_KeyboardEvent* event)
{
    return vesta_hbbtv_key_input(tavoWindow, event);
}

}  // namespace VestaHbbTV
