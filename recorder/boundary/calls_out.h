/// What the library calls: the browser's functions, the platform's hooks, and listeners.
///
/// Each class describes one function: its parameters in their order, then its result; what the
/// library says by calling it (asked()), and what it gets (answered()). Both take the `fields` of
/// recorder/boundary/records.h.
#ifndef VESTA_RECORDER_BOUNDARY_CALLS_OUT_H
#define VESTA_RECORDER_BOUNDARY_CALLS_OUT_H

#include "vesta_browser.h"
#include "vesta_hbbtv_appman.h"

#include "recorder/boundary/handles.h"
#include "recorder/boundary/records.h"

namespace recorder {

#define VESTA_CALL_OUT(function)                                                                   \
    using Function = decltype(::function);                                                         \
    static constexpr const char* name = #function;

/// A function that says nothing but that it was called, and gets nothing.
#define VESTA_PLAIN_CALL_OUT(Call, function)                                                       \
    struct Call {                                                                                  \
        VESTA_CALL_OUT(function)                                                                   \
        template <typename Fields>                                                                 \
        void asked(Fields&)                                                                        \
        {                                                                                          \
        }                                                                                          \
        template <typename Fields>                                                                 \
        void answered(Fields&)                                                                     \
        {                                                                                          \
        }                                                                                          \
    };

struct OpenUrl {
    VESTA_CALL_OUT(ve_open_url)
    TAVO_VestaWindow* window;
    const char* url;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("page", Handle::page, window);
        fields.url("url", url);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
    }
};

struct ClearHistory {
    VESTA_CALL_OUT(ve_clear_history)
    TAVO_VestaWindow* window;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("page", Handle::page, window);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
    }
};

struct GetWindow {
    VESTA_CALL_OUT(ve_get_window)
    TAVO_Vesta* browser;
    long id;
    TAVO_VestaWindow** window;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("browser", Handle::browser, browser);
        fields.number("id", id);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
        fields.handle("page", Handle::page, *window);  // it counts whatever the result
    }
};

struct GetWindowIdentifier {
    VESTA_CALL_OUT(ve_get_window_identifier)
    TAVO_Vesta* browser;
    TAVO_VestaWindow* window;
    long* id;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("browser", Handle::browser, browser);
        fields.handle("page", Handle::page, window);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
        if (result == 0)
            fields.number("id", *id);
    }
};

struct GetLoadingUrl {
    VESTA_CALL_OUT(ve_get_loading_url)
    TAVO_VestaWindow* window;
    const char** url;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("page", Handle::page, window);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
        if (result == 0)
            fields.url("url", *url);
    }
};

struct ResolveRelativeUrl {
    VESTA_CALL_OUT(ve_resolve_relative_url)
    const char* base;
    const char* url;
    const char** resolved;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.url("base", base);
        fields.url("url", url);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
        if (result == 0)
            fields.url("url", *resolved);
    }
};

struct SetUaStringExtension {
    VESTA_CALL_OUT(ve_set_uastring_extension)
    TAVO_Vesta* browser;
    const char* extension;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("browser", Handle::browser, browser);
        fields.text("extension", extension);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
    }
};

struct ProtocolSetMimeType {
    VESTA_CALL_OUT(ve_protocol_set_mime_type)
    void* id;
    const char* mimeType;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("id", Handle::load, id);
        fields.text("mime_type", mimeType);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
    }
};

struct ProtocolWrite {
    VESTA_CALL_OUT(ve_protocol_write)
    void* id;
    const char* bytes;
    unsigned int length;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("id", Handle::load, id);
        fields.body("bytes", bytes, length);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
    }
};

/// The end of a protocol load.
#define VESTA_PROTOCOL_END(Call, function)                                                         \
    struct Call {                                                                                  \
        VESTA_CALL_OUT(function)                                                                   \
        void* id;                                                                                  \
        int status;                                                                                \
        int result;                                                                                \
        template <typename Fields>                                                                 \
        void asked(Fields& fields)                                                                 \
        {                                                                                          \
            fields.handle("id", Handle::load, id);                                                 \
            fields.number("status", status);                                                       \
        }                                                                                          \
        template <typename Fields>                                                                 \
        void answered(Fields& fields)                                                              \
        {                                                                                          \
            fields.number("result", result);                                                       \
        }                                                                                          \
    };

VESTA_PROTOCOL_END(ProtocolFinished, ve_protocol_finished)
VESTA_PROTOCOL_END(ProtocolFailed, ve_protocol_failed)

struct KeyboardEvent {
    VESTA_CALL_OUT(tavo_keyboard_evt)
    TAVO_KeyboardEvent* event;
    int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        visitKeyEvent(fields, *event);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
    }
};

struct KeysetGetSupportedValues {
    VESTA_CALL_OUT(hbbtv_keyset_get_supported_values)
    int result;

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

VESTA_PLAIN_CALL_OUT(DsmccStart, dsmcc_start)
VESTA_PLAIN_CALL_OUT(DsmccStop, dsmcc_stop)
VESTA_PLAIN_CALL_OUT(AitStart, hbbtv_ait_start)
VESTA_PLAIN_CALL_OUT(AitStop, hbbtv_ait_stop)
VESTA_PLAIN_CALL_OUT(AitInvalidate, hbbtv_ait_invalidate)

struct AitCompleted {
    VESTA_CALL_OUT(hbbtv_ait_completed)
    unsigned char version;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.number("version", version);
    }
    template <typename Fields>
    void answered(Fields&)
    {
    }
};

struct DsmccGetFile {
    VESTA_CALL_OUT(dsmcc_get_file)
    const char* path;
    void* id;
    unsigned int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.url("path", path);
        fields.newHandle("id", Handle::file, id);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
    }
};

struct DsmccGetMimeType {
    VESTA_CALL_OUT(dsmcc_get_mime_type)
    void* id;
    char** mimeType;
    unsigned int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("id", Handle::file, id);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
        fields.text("mimeType", *mimeType);
    }
};

struct DsmccRead {
    VESTA_CALL_OUT(dsmcc_read)
    void* id;
    char** buffer;
    unsigned int* length;
    unsigned int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("id", Handle::file, id);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
        if (result == DSMCC_OK)
            fields.body("bytes", *buffer, *length);
    }
};

struct DsmccCloseFile {
    VESTA_CALL_OUT(dsmcc_close_file)
    void* id;
    unsigned int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("id", Handle::file, id);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
    }
};

struct DsmccClearCache {
    VESTA_CALL_OUT(dsmcc_clear_cache)
    unsigned int result;

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

struct StreamEventSubscribe {
    VESTA_CALL_OUT(dsmcc_stream_event_subscribe)
    const char* path;
    void* p1;
    void* p2;
    void* p3;
    void* p4;
    unsigned int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.url("path", path);
        fields.handle("p1", Handle::passed, p1);
        fields.handle("p2", Handle::passed, p2);
        fields.handle("p3", Handle::passed, p3);
        fields.handle("p4", Handle::passed, p4);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
    }
};

struct XmlStreamEventSubscribe {
    VESTA_CALL_OUT(dsmcc_xml_stream_event_subscribe)
    void* x1;
    void* x2;
    unsigned short d1;
    unsigned short serviceId;
    unsigned short d2;
    void* x3;
    void* x4;
    void* x5;
    unsigned int result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("x1", Handle::passed, x1);
        fields.handle("x2", Handle::passed, x2);
        fields.number("d1", d1);
        fields.number("serviceId", serviceId);
        fields.number("d2", d2);
        fields.handle("x3", Handle::passed, x3);
        fields.handle("x4", Handle::passed, x4);
        fields.handle("x5", Handle::passed, x5);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
    }
};

struct StreamEventUnsubscribe {
    VESTA_CALL_OUT(dsmcc_stream_event_unsubscribe)
    const char* target;
    void* p1;
    void* p2;
    void* p3;
    void* p4;
    long windowId;
    unsigned int result;

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

struct StreamEventUnsubscribeAll {
    VESTA_CALL_OUT(dsmcc_stream_event_unsubscribe_all)
    void* p1;
    long windowId;
    unsigned int result;

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

/// Every function that the library looks up by its name.
template <template <typename...> class List>
using FunctionsOut =
    List<OpenUrl, ClearHistory, GetWindow, GetWindowIdentifier, GetLoadingUrl, ResolveRelativeUrl,
         SetUaStringExtension, ProtocolSetMimeType, ProtocolWrite, ProtocolFinished, ProtocolFailed,
         KeyboardEvent, KeysetGetSupportedValues, DsmccStart, DsmccStop, AitStart, AitStop,
         AitInvalidate, AitCompleted, DsmccGetFile, DsmccGetMimeType, DsmccRead, DsmccCloseFile,
         DsmccClearCache, StreamEventSubscribe, XmlStreamEventSubscribe, StreamEventUnsubscribe,
         StreamEventUnsubscribeAll>;

// Listeners are addresses that the library was given.

/// A notification, told to one listener.
struct Notify {
    static constexpr const char* name = "HBBTV_NotificationListener";
    VestaHbbTV::HBBTV_NotificationListener listener;
    VestaHbbTV::HBBTV_NotificationType type;
    VestaHbbTV::HBBTV_NotificationData* data;
    VestaHbbTV::HBBTV_STATUS result;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.listener("listener", listener);
        fields.choice("type", type, notificationTypes);
        if (fields.record("data", data))
            visitNotification(fields, type, *data);
    }
    template <typename Fields>
    void answered(Fields& fields)
    {
        fields.number("result", result);
        if (data)
            visitNotificationAnswer(fields, type, *data);
    }
};

/// A call of veif_applicationManagerListener.
struct TellManagerListener {
    static constexpr const char* name = "VEIF_ApplicationManagerListener";
    int event;
    void* appId;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.number("event", event);
        fields.handle("appId", Handle::application, appId);
    }
    template <typename Fields>
    void answered(Fields&)
    {
    }
};

/// A call of veif_applicationDestroyedListener.
struct TellDestroyedListener {
    static constexpr const char* name = "VEIF_ApplicationDestroyedListener";
    void* appId;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.handle("appId", Handle::application, appId);
    }
    template <typename Fields>
    void answered(Fields&)
    {
    }
};

/// A stream event's listener is called.
struct TellStreamEvent {
    static constexpr const char* name = "HBBTV_StreamEventCallback";
    VestaHbbTV::HBBTV_StreamEventCallback callback;
    const char* string1;
    uint32_t value1;
    const char* string2;
    const char* string3;
    const char* string4;
    uint32_t value2;

    template <typename Fields>
    void asked(Fields& fields)
    {
        fields.callback("callback", callback);
        fields.text("string1", string1);
        fields.number("value1", value1);
        fields.text("string2", string2);
        fields.text("string3", string3);
        fields.text("string4", string4);
        fields.number("value2", value2);
    }
    template <typename Fields>
    void answered(Fields&)
    {
    }
};

#undef VESTA_PROTOCOL_END
#undef VESTA_PLAIN_CALL_OUT
#undef VESTA_CALL_OUT

}  // namespace recorder

#endif
