/// What the integrator calls: the entry functions, the natives, and the kit's XML reader.
///
/// Each class describes one function: its parameters in their order, then its result; what the
/// integrator says by calling it (asked()), and what it gets (answered()). Both take the `fields`
/// of recorder/boundary/records.h. `symbol` is the name that the dynamic linker knows it by.
#ifndef VESTA_RECORDER_BOUNDARY_CALLS_IN_H
#define VESTA_RECORDER_BOUNDARY_CALLS_IN_H

#include <pthread.h>

#include "vesta_browser.h"
#include "vesta_hbbtv_appman.h"

#include "recorder/boundary/choices.h"
#include "recorder/boundary/handles.h"
#include "recorder/boundary/records.h"
#include "vesta_hbbtv_kit.h"

namespace recorder {

#define VESTA_ENTRY(function, mangled)                                                             \
    using Function = decltype(VestaHbbTV::function);                                               \
    static constexpr const char* name = #function;                                                 \
    static constexpr const char* symbol = mangled;

#define VESTA_C_ENTRY(function)                                                                    \
    using Function = decltype(::function);                                                         \
    static constexpr const char* name = #function;                                                 \
    static constexpr const char* symbol = #function;

struct Init {
    VESTA_ENTRY(vesta_hbbtv_init, "_ZN10VestaHbbTV16vesta_hbbtv_initEP10TAVO_Vesta")
    TAVO_Vesta* browser;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("browser", Handle::browser, browser);
    }
    template <typename Fields>
    void answered(Fields&)
    {
    }
};

struct Shutdown {
    VESTA_ENTRY(vesta_hbbtv_shutdown, "_ZN10VestaHbbTV20vesta_hbbtv_shutdownEv")

    template <typename Fields>
    void asked(Fields&)
    {
    }
    template <typename Fields>
    void answered(Fields&)
    {
    }
};

struct Tick {
    VESTA_ENTRY(vesta_hbbtv_tick, "_ZN10VestaHbbTV16vesta_hbbtv_tickEv")
    bool result;

    template <typename Fields>
    void asked(Fields&)
    {
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
    }
};

struct SendEvent {
    VESTA_ENTRY(
        vesta_hbbtv_send_event,
        "_ZN10VestaHbbTV22vesta_hbbtv_send_eventENS_15HBBTV_EventTypeEPNS_15HBBTV_EventDataE")
    VestaHbbTV::HBBTV_EventType type;
    VestaHbbTV::HBBTV_EventData* data;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.choice("type", type, eventTypes);
        if (fields.mallocedRecord("data", data))
            visitEvent(fields, type, *data);
    }
    template <typename Fields>
    void answered(Fields&)
    {
    }
};

struct SetSendeventCondition {
    VESTA_ENTRY(
        vesta_hbbtv_set_sendevent_condition,
        "_ZN10VestaHbbTV35vesta_hbbtv_set_sendevent_conditionEP14pthread_cond_tP15pthread_mutex_t")
    pthread_cond_t* condition;
    pthread_mutex_t* mutex;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("condition", Handle::passed, condition);
        fields.handle("mutex", Handle::passed, mutex);
    }
    template <typename Fields>
    void answered(Fields&)
    {
    }
};

struct AddNotificationListener {
    VESTA_ENTRY(vesta_hbbtv_add_notification_listener,
                "_ZN10VestaHbbTV37vesta_hbbtv_add_notification_listenerEPFNS_12HBBTV_STATUSENS_"
                "22HBBTV_NotificationTypeEPNS_22HBBTV_NotificationDataEE")
    VestaHbbTV::HBBTV_NotificationListener listener;
    bool result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.listener("listener", listener);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
    }
};

struct CreateWindow {
    VESTA_ENTRY(vesta_hbbtv_create_window, "_ZN10VestaHbbTV25vesta_hbbtv_create_windowEv")
    void* result;

    template <typename Fields>
    void asked(Fields&)
    {
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.newHandle("result", Handle::window, result);
    }
};

struct ReleaseWindow {
    VESTA_ENTRY(vesta_hbbtv_release_window, "_ZN10VestaHbbTV26vesta_hbbtv_release_windowEPv")
    void* window;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("window", Handle::window, window);
    }
    template <typename Fields>
    void answered(Fields&)
    {
    }
};

struct GetWindowOfPage {
    VESTA_ENTRY(vesta_hbbtv_get_window_identifier,
                "_ZN10VestaHbbTV33vesta_hbbtv_get_window_identifierEP16TAVO_VestaWindow")
    TAVO_VestaWindow* tavoWindow;
    void* result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("page", Handle::page, tavoWindow);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.handle("result", Handle::window, result);
    }
};

struct SetBroadcastWindow {
    VESTA_ENTRY(vesta_hbbtv_set_broadcast_window,
                "_ZN10VestaHbbTV32vesta_hbbtv_set_broadcast_windowEPv")
    void* window;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("window", Handle::window, window);
    }
    template <typename Fields>
    void answered(Fields&)
    {
    }
};

struct GetBroadcastWindow {
    VESTA_ENTRY(vesta_hbbtv_get_broadcast_window,
                "_ZN10VestaHbbTV32vesta_hbbtv_get_broadcast_windowEv")
    void* result;

    template <typename Fields>
    void asked(Fields&)
    {
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.handle("result", Handle::window, result);
    }
};

struct GetTavoWindow {
    VESTA_ENTRY(vesta_hbbtv_get_tavo_window, "_ZN10VestaHbbTV27vesta_hbbtv_get_tavo_windowEPv")
    void* window;
    TAVO_VestaWindow* result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("window", Handle::window, window);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.handle("result", Handle::page, result);
    }
};

struct IsWithinBoundaries {
    VESTA_ENTRY(vesta_hbbtv_is_within_boundaries,
                "_ZN10VestaHbbTV32vesta_hbbtv_is_within_boundariesEPvPKc")
    void* window;
    const char* url;
    bool result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("window", Handle::window, window);
        fields.url("url", url);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
    }
};

struct SetTimeShifted {
    VESTA_ENTRY(vesta_hbbtv_set_time_shifted, "_ZN10VestaHbbTV28vesta_hbbtv_set_time_shiftedEPvi")
    void* window;
    int timeShifted;
    unsigned int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("window", Handle::window, window);
        fields.number("timeShifted", timeShifted);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
    }
};

struct IsHbbtvWindow {
    VESTA_ENTRY(vesta_hbbtv_is_hbbtv_window,
                "_ZN10VestaHbbTV27vesta_hbbtv_is_hbbtv_windowEP16TAVO_VestaWindow")
    TAVO_VestaWindow* tavoWindow;
    bool result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("page", Handle::page, tavoWindow);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
    }
};

struct HandleNotification {
    VESTA_ENTRY(vesta_hbbtv_handle_notification,
                "_ZN10VestaHbbTV31vesta_hbbtv_handle_notificationEP10TAVO_VestaP16TAVO_"
                "VestaWindow16TAVO_VESTA_EVENTP18TavoVestaEventDataPi")
    TAVO_Vesta* browser;
    TAVO_VestaWindow* tavoWindow;
    TAVO_VESTA_EVENT event;
    TavoVestaEventData* data;
    int* handled;
    unsigned int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.laterHandle("browser", Handle::browser, browser);
        fields.handle("page", Handle::page, tavoWindow);
        fields.choice("event", event, browserEvents);
        if (fields.record("data", data)) {
            visitBrowserEvent(fields, event, *data);
            // The permission takes the place of the handle, as a number. Not every answer writes
            // it, nor the result.
            if (event == TAVO_VESTA_EVT_XHR_PERMISSION)
                fields.numberInPointer("permission", data->request_id);
        }
        if (fields.record("handled", handled))
            fields.number("handled", *handled);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
        if (handled)
            fields.number("handled", *handled);
        if (event == TAVO_VESTA_EVT_XHR_PERMISSION && data)
            fields.numberInPointer("permission", data->request_id);
    }
};

struct KeyInput {
    VESTA_ENTRY(vesta_hbbtv_key_input,
                "_ZN10VestaHbbTV21vesta_hbbtv_key_inputEP16TAVO_VestaWindowP18TAVO_KeyboardEvent")
    TAVO_VestaWindow* tavoWindow;
    TAVO_KeyboardEvent* event;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("page", Handle::page, tavoWindow);
        if (fields.record("event", event))
            visitKeyEvent(fields, *event);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
    }
};

struct ManagerSetListener {
    VESTA_C_ENTRY(native_ApplicationManagerSetListener)
    VEIF_ApplicationManagerListener listener;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.plugin("listener", listener);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
    }
};

struct ManagerSetDestroyedListener {
    VESTA_C_ENTRY(native_ApplicationManagerSetAppDestroyedListener)
    VEIF_ApplicationDestroyedListener listener;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.plugin("listener", listener);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
    }
};

struct GetFreeMem {
    VESTA_C_ENTRY(native_AppPrivateDataGetFreeMem)
    long windowId;
    double* freeMemory;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.number("windowId", windowId);
        fields.room("freeMemory", freeMemory);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
        if (freeMemory && result == VEIF_RETURN_OK)
            fields.number("freeMemory", *freeMemory);
    }
};

struct KeySetGetMaximumValue {
    VESTA_C_ENTRY(native_KeySetGetMaximumValue)
    long windowId;
    double* maximum;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.number("windowId", windowId);
        fields.room("maximum", maximum);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
        if (maximum && result == VEIF_RETURN_OK)
            fields.number("maximum", *maximum);
    }
};

struct KeySetSetValue {
    VESTA_C_ENTRY(native_KeySetSetValue)
    void* appId;
    double value;
    double* granted;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("appId", Handle::application, appId);
        fields.number("value", value);
        fields.room("granted", granted);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
        if (granted && result == VEIF_RETURN_OK)
            fields.number("granted", *granted);
    }
};

struct KeySetGetValue {
    VESTA_C_ENTRY(native_KeySetGetValue)
    void* appId;
    double* value;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("appId", Handle::application, appId);
        fields.room("value", value);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
        if (value && result == VEIF_RETURN_OK)
            fields.number("value", *value);
    }
};

struct IsBroadcastRelated {
    VESTA_C_ENTRY(native_PermissionsIsBroadcastRelated)
    long windowId;
    const char* url;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.number("windowId", windowId);
        fields.url("url", url);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
    }
};

struct IsTrusted {
    VESTA_C_ENTRY(native_PermissionsIsTrusted)
    long windowId;
    const char* url;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.number("windowId", windowId);
        fields.url("url", url);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
    }
};

struct NotifySetChannelCalled {
    VESTA_C_ENTRY(native_AppManNotifySetChannelCalled)
    long windowId;
    const char* url;
    void* channel;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.number("windowId", windowId);
        fields.url("url", url);
        fields.handle("channel", Handle::channel, channel);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
    }
};

struct GetWindowOfApplication {
    VESTA_C_ENTRY(native_AppManGetWindowOfApplication)
    void* appId;
    long* windowId;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("appId", Handle::application, appId);
        fields.room("windowId", windowId);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
        if (windowId && result == VEIF_RETURN_OK)
            fields.number("windowId", *windowId);
    }
};

struct GetCurrentChannel {
    VESTA_C_ENTRY(native_AppPrivateDataGetCurrentChannel)
    void* appId;
    void** channel;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("appId", Handle::application, appId);
        fields.room("channel", channel);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
        if (channel && result == VEIF_RETURN_OK)
            fields.handle("channel", Handle::channel, *channel);
    }
};

struct DestroyApplication {
    VESTA_C_ENTRY(native_ApplicationDestroyApplication)
    void* appId;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("appId", Handle::application, appId);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
    }
};

struct HideApplication {
    VESTA_C_ENTRY(native_ApplicationHide)
    void* appId;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("appId", Handle::application, appId);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
    }
};

struct ShowApplication {
    VESTA_C_ENTRY(native_ApplicationShow)
    void* appId;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("appId", Handle::application, appId);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
    }
};

struct GetApplicationId {
    VESTA_C_ENTRY(native_AppManGetApplicationId)
    long windowId;
    void* reserved;
    void** appId;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.number("windowId", windowId);
        fields.laterHandle("reserved", Handle::passed, reserved);
        fields.room("appId", appId);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
        if (appId && result == VEIF_RETURN_OK)
            fields.handle("appId", Handle::application, *appId);
    }
};

struct CreateApplication {
    VESTA_C_ENTRY(native_ApplicationCreateApplication)
    const char* url;
    int createChild;
    void* parentAppId;
    void** appId;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.url("url", url);
        fields.number("createChild", createChild);
        fields.handle("parentAppId", Handle::application, parentAppId);
        fields.room("appId", appId);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
        if (appId && result == VEIF_RETURN_OK)
            fields.handle("appId", Handle::application, *appId);
    }
};

struct AddStreamEventListener {
    VESTA_C_ENTRY(native_BroadcastAddStreamEventListener)
    const char* target;
    void* p1;
    void* p2;
    void* p3;
    void* p4;
    long windowId;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.url("target", target);
        fields.handle("p1", Handle::passed, p1);
        fields.handle("p2", Handle::passed, p2);
        fields.handle("p3", Handle::passed, p3);
        fields.handle("p4", Handle::passed, p4);
        fields.number("windowId", windowId);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
    }
};

struct AddXmlStreamEventListener {
    VESTA_C_ENTRY(native_BroadcastAddXMLStreamEventListener)
    void* x1;
    void* x2;
    double d1;
    double d2;
    void* x3;
    void* x4;
    void* x5;
    long windowId;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("x1", Handle::passed, x1);
        fields.handle("x2", Handle::passed, x2);
        fields.number("d1", d1);
        fields.number("d2", d2);
        fields.handle("x3", Handle::passed, x3);
        fields.handle("x4", Handle::passed, x4);
        fields.handle("x5", Handle::passed, x5);
        fields.number("windowId", windowId);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
    }
};

struct RemoveStreamEventListener {
    VESTA_C_ENTRY(native_BroadcastRemoveStreamEventListener)
    const char* target;
    void* p1;
    void* p2;
    void* p3;
    void* p4;
    long windowId;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.url("target", target);
        fields.handle("p1", Handle::passed, p1);
        fields.handle("p2", Handle::passed, p2);
        fields.handle("p3", Handle::passed, p3);
        fields.handle("p4", Handle::passed, p4);
        fields.number("windowId", windowId);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
    }
};

struct RemoveAllStreamEventListeners {
    VESTA_C_ENTRY(native_BroadcastRemoveAllStreamEventListeners)
    void* p1;
    long windowId;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("p1", Handle::passed, p1);
        fields.number("windowId", windowId);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
    }
};

// The kit hands its tables over inside the library, so that its own entry is the boundary.
struct LoadXmlAit {
    VESTA_C_ENTRY(hbbtv_kit_load_xml_ait)
    void* window;
    const void* bytes;
    size_t length;
    const char* documentUrl;
    HBBTV_KitXMLAITResult result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("window", Handle::window, window);
        fields.body("bytes", bytes, length);
        fields.url("documentUrl", documentUrl);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("status", result.status);
        fields.number("line", result.line);
        fields.number("column", result.column);
    }
};

template <template <typename...> class List>
using FunctionsIn =
    List<Init, Shutdown, Tick, SendEvent, SetSendeventCondition, AddNotificationListener,
         CreateWindow, ReleaseWindow, GetWindowOfPage, SetBroadcastWindow, GetBroadcastWindow,
         GetTavoWindow, IsWithinBoundaries, SetTimeShifted, IsHbbtvWindow, HandleNotification,
         KeyInput, ManagerSetListener, ManagerSetDestroyedListener, GetFreeMem,
         KeySetGetMaximumValue, KeySetSetValue, KeySetGetValue, IsBroadcastRelated, IsTrusted,
         NotifySetChannelCalled, GetWindowOfApplication, GetCurrentChannel, DestroyApplication,
         HideApplication, ShowApplication, GetApplicationId, CreateApplication,
         AddStreamEventListener, AddXmlStreamEventListener, RemoveStreamEventListener,
         RemoveAllStreamEventListeners, LoadXmlAit>;

#undef VESTA_ENTRY
#undef VESTA_C_ENTRY

}  // namespace recorder

#endif
