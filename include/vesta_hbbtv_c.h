/// @file
/// The entry functions of the HbbTV application manager under names that C can use. Each is the
/// function of vesta_hbbtv_appman.h of the same name without the "c_", whose description holds:
/// thread, ownership, null and errors. For C and C++.
#ifndef VESTA_HBBTV_C_H
#define VESTA_HBBTV_C_H

#include "vesta_hbbtv_appman.h"

#pragma GCC visibility push(default)
#ifdef __cplusplus
namespace VestaHbbTV {
extern "C" {
#endif

/// As vesta_hbbtv_init(). @copydetails VestaHbbTV::vesta_hbbtv_init
void vesta_hbbtv_c_init(TAVO_Vesta* browser);

/// As vesta_hbbtv_shutdown(). @copydetails VestaHbbTV::vesta_hbbtv_shutdown
void vesta_hbbtv_c_shutdown(void);

/// As vesta_hbbtv_tick(). @copydetails VestaHbbTV::vesta_hbbtv_tick
bool vesta_hbbtv_c_tick(void);

/// As vesta_hbbtv_send_event(): from any thread. @copydetails VestaHbbTV::vesta_hbbtv_send_event
void vesta_hbbtv_c_send_event(HBBTV_EventType type, HBBTV_EventData* data);

/// As vesta_hbbtv_set_sendevent_condition().
/// @copydetails VestaHbbTV::vesta_hbbtv_set_sendevent_condition
void vesta_hbbtv_c_set_sendevent_condition(pthread_cond_t* condition, pthread_mutex_t* mutex);

/// As vesta_hbbtv_add_notification_listener().
/// @copydetails VestaHbbTV::vesta_hbbtv_add_notification_listener
bool vesta_hbbtv_c_add_notification_listener(HBBTV_NotificationListener listener);

/// As vesta_hbbtv_create_window(). @copydetails VestaHbbTV::vesta_hbbtv_create_window
void* vesta_hbbtv_c_create_window(void);

/// As vesta_hbbtv_release_window(). @copydetails VestaHbbTV::vesta_hbbtv_release_window
void vesta_hbbtv_c_release_window(void* window);

/// As vesta_hbbtv_get_window_identifier().
/// @copydetails VestaHbbTV::vesta_hbbtv_get_window_identifier
void* vesta_hbbtv_c_get_window_identifier(TAVO_VestaWindow* tavoWindow);

/// As vesta_hbbtv_set_broadcast_window(). @copydetails VestaHbbTV::vesta_hbbtv_set_broadcast_window
void vesta_hbbtv_c_set_broadcast_window(void* window);

/// As vesta_hbbtv_get_broadcast_window(). @copydetails VestaHbbTV::vesta_hbbtv_get_broadcast_window
void* vesta_hbbtv_c_get_broadcast_window(void);

/// As vesta_hbbtv_get_tavo_window(). @copydetails VestaHbbTV::vesta_hbbtv_get_tavo_window
TAVO_VestaWindow* vesta_hbbtv_c_get_tavo_window(void* window);

/// As vesta_hbbtv_is_within_boundaries(). @copydetails VestaHbbTV::vesta_hbbtv_is_within_boundaries
bool vesta_hbbtv_c_is_within_boundaries(void* window, const char* url);

/// As vesta_hbbtv_set_time_shifted(). @copydetails VestaHbbTV::vesta_hbbtv_set_time_shifted
unsigned int vesta_hbbtv_c_set_time_shifted(void* window, int timeShifted);

/// As vesta_hbbtv_is_hbbtv_window(). @copydetails VestaHbbTV::vesta_hbbtv_is_hbbtv_window
bool vesta_hbbtv_c_is_hbbtv_window(TAVO_VestaWindow* tavoWindow);

/// As vesta_hbbtv_handle_notification(). @copydetails VestaHbbTV::vesta_hbbtv_handle_notification
unsigned int vesta_hbbtv_c_handle_notification(TAVO_Vesta* browser, TAVO_VestaWindow* tavoWindow,
                                               TAVO_VESTA_EVENT event, TavoVestaEventData* data,
                                               int* result);

/// As vesta_hbbtv_key_input(). @copydetails VestaHbbTV::vesta_hbbtv_key_input
int vesta_hbbtv_c_key_input(TAVO_VestaWindow* tavoWindow, TAVO_KeyboardEvent* event);

#ifdef __cplusplus
}  // extern "C"
}  // namespace VestaHbbTV
#endif
#pragma GCC visibility pop

#endif
