// The exact types of every function and datum of the published interface. C linkage does not carry
// them: a caller compiled with another type would link all the same.

#include <gtest/gtest.h>
#include <type_traits>

#include "vesta_hbbtv_appman.h"

using namespace VestaHbbTV;

namespace {

/// Whether a function has exactly this type, and may throw.
template <typename Expected, typename Actual>
constexpr bool isA = std::is_same_v<Actual, Expected*>;

using Window = TAVO_VestaWindow;

// The records of events and notifications that entry functions and listeners take.
static_assert(
    isA<HBBTV_STATUS(HBBTV_NotificationType, HBBTV_NotificationData*), HBBTV_NotificationListener>);
static_assert(isA<void(const char*, uint32_t, const char*, const char*, const char*, uint32_t),
                  HBBTV_StreamEventCallback>);

// Entry functions.
static_assert(isA<void(TAVO_Vesta*), decltype(&vesta_hbbtv_init)>);
static_assert(isA<void(), decltype(&vesta_hbbtv_shutdown)>);
static_assert(isA<bool(), decltype(&vesta_hbbtv_tick)>);
static_assert(isA<void(HBBTV_EventType, HBBTV_EventData*), decltype(&vesta_hbbtv_send_event)>);
static_assert(
    isA<void(pthread_cond_t*, pthread_mutex_t*), decltype(&vesta_hbbtv_set_sendevent_condition)>);
static_assert(
    isA<bool(HBBTV_NotificationListener), decltype(&vesta_hbbtv_add_notification_listener)>);
static_assert(isA<void*(), decltype(&vesta_hbbtv_create_window)>);
static_assert(isA<void(void*), decltype(&vesta_hbbtv_release_window)>);
static_assert(isA<void*(Window*), decltype(&vesta_hbbtv_get_window_identifier)>);
static_assert(isA<void(void*), decltype(&vesta_hbbtv_set_broadcast_window)>);
static_assert(isA<void*(), decltype(&vesta_hbbtv_get_broadcast_window)>);
static_assert(isA<Window*(void*), decltype(&vesta_hbbtv_get_tavo_window)>);
static_assert(isA<bool(void*, const char*), decltype(&vesta_hbbtv_is_within_boundaries)>);
static_assert(isA<unsigned int(void*, int), decltype(&vesta_hbbtv_set_time_shifted)>);
static_assert(isA<bool(Window*), decltype(&vesta_hbbtv_is_hbbtv_window)>);
static_assert(isA<unsigned int(TAVO_Vesta*, Window*, TAVO_VESTA_EVENT, TavoVestaEventData*, int*),
                  decltype(&vesta_hbbtv_handle_notification)>);
static_assert(isA<int(Window*, TAVO_KeyboardEvent*), decltype(&vesta_hbbtv_key_input)>);

// What the platform may replace.
static_assert(isA<int(), decltype(&hbbtv_keyset_get_supported_values)>);
static_assert(isA<void(), decltype(&dsmcc_start)>);
static_assert(isA<void(), decltype(&dsmcc_stop)>);
static_assert(isA<unsigned int(const char*, void*), decltype(&dsmcc_get_file)>);
static_assert(isA<unsigned int(void*, char**), decltype(&dsmcc_get_mime_type)>);
static_assert(isA<unsigned int(void*, char**, unsigned int*), decltype(&dsmcc_read)>);
static_assert(isA<unsigned int(void*), decltype(&dsmcc_close_file)>);
static_assert(isA<unsigned int(), decltype(&dsmcc_clear_cache)>);
static_assert(isA<unsigned int(const char*, void*, void*, void*, void*),
                  decltype(&dsmcc_stream_event_subscribe)>);
static_assert(isA<unsigned int(void*, void*, unsigned short, unsigned short, unsigned short, void*,
                               void*, void*),
                  decltype(&dsmcc_xml_stream_event_subscribe)>);
static_assert(isA<unsigned int(const char*, void*, void*, void*, void*, long),
                  decltype(&dsmcc_stream_event_unsubscribe)>);
static_assert(isA<unsigned int(void*, long), decltype(&dsmcc_stream_event_unsubscribe_all)>);
static_assert(isA<unsigned int(const char*, const char*, bool*), decltype(&dsmcc_same_carousel)>);
static_assert(isA<void(), decltype(&hbbtv_ait_start)>);
static_assert(isA<void(), decltype(&hbbtv_ait_stop)>);
static_assert(isA<void(), decltype(&hbbtv_ait_invalidate)>);
static_assert(isA<void(unsigned char), decltype(&hbbtv_ait_completed)>);

// The plugin's listeners and the natives that it calls.
static_assert(isA<void(int, void*), decltype(veif_applicationManagerListener)>);
static_assert(isA<void(void*), decltype(veif_applicationDestroyedListener)>);
static_assert(isA<int(void (*)(int, void*)), decltype(&native_ApplicationManagerSetListener)>);
static_assert(
    isA<int(void (*)(void*)), decltype(&native_ApplicationManagerSetAppDestroyedListener)>);
static_assert(isA<int(long, double*), decltype(&native_AppPrivateDataGetFreeMem)>);
static_assert(isA<int(long, double*), decltype(&native_KeySetGetMaximumValue)>);
static_assert(isA<int(void*, double, double*), decltype(&native_KeySetSetValue)>);
static_assert(isA<int(void*, double*), decltype(&native_KeySetGetValue)>);
static_assert(isA<int(long, const char*), decltype(&native_PermissionsIsBroadcastRelated)>);
static_assert(isA<int(long, const char*), decltype(&native_PermissionsIsTrusted)>);
static_assert(isA<int(long, const char*, void*), decltype(&native_AppManNotifySetChannelCalled)>);
static_assert(isA<int(void*, long*), decltype(&native_AppManGetWindowOfApplication)>);
static_assert(isA<int(void*, void**), decltype(&native_AppPrivateDataGetCurrentChannel)>);
static_assert(isA<int(void*), decltype(&native_ApplicationDestroyApplication)>);
static_assert(isA<int(void*), decltype(&native_ApplicationHide)>);
static_assert(isA<int(void*), decltype(&native_ApplicationShow)>);
static_assert(isA<int(long, void*, void**), decltype(&native_AppManGetApplicationId)>);
static_assert(
    isA<int(const char*, int, void*, void**), decltype(&native_ApplicationCreateApplication)>);
static_assert(isA<int(const char*, void*, void*, void*, void*, long),
                  decltype(&native_BroadcastAddStreamEventListener)>);
static_assert(isA<int(void*, void*, double, double, void*, void*, void*, long),
                  decltype(&native_BroadcastAddXMLStreamEventListener)>);
static_assert(isA<int(const char*, void*, void*, void*, void*, long),
                  decltype(&native_BroadcastRemoveStreamEventListener)>);
static_assert(isA<int(void*, long), decltype(&native_BroadcastRemoveAllStreamEventListeners)>);

// What the browser brings.
static_assert(isA<int(Window*, const char*), decltype(&ve_open_url)>);
static_assert(isA<int(Window*), decltype(&ve_clear_history)>);
static_assert(isA<int(TAVO_Vesta*, long, Window**), decltype(&ve_get_window)>);
static_assert(isA<int(TAVO_Vesta*, Window*, long*), decltype(&ve_get_window_identifier)>);
static_assert(isA<int(Window*, const char**), decltype(&ve_get_loading_url)>);
static_assert(isA<int(const char*, const char*, const char**), decltype(&ve_resolve_relative_url)>);
static_assert(isA<int(TAVO_Vesta*, const char*), decltype(&ve_set_uastring_extension)>);
static_assert(isA<int(void*, const char*), decltype(&ve_protocol_set_mime_type)>);
static_assert(isA<int(void*, const char*, unsigned int), decltype(&ve_protocol_write)>);
static_assert(isA<int(void*, int), decltype(&ve_protocol_finished)>);
static_assert(isA<int(void*, int), decltype(&ve_protocol_failed)>);
static_assert(isA<int(TAVO_KeyboardEvent*), decltype(&tavo_keyboard_evt)>);

TEST(InterfaceSignatures, AreThoseThatCallersWereCompiledWith)
{
    SUCCEED() << "the compiler has compared them";
}

}  // namespace
