/// @file
/// The browser engine's C interface, as far as the application manager uses it. For C and C++.
///
/// The browser engine defines every function declared here; the library only calls them. All of
/// them are called on the browser thread, and none may throw. Results are 0 for success and
/// anything else for failure.
/// A handle (`TAVO_Vesta`, `TAVO_VestaWindow`) is opaque and passed through unchanged.
#ifndef VESTA_BROWSER_H
#define VESTA_BROWSER_H

// Enumerations that cross the boundary are as wide as an int: C++ is told so, and in C they are,
// unless the compiler was asked for short ones, which vesta_hbbtv_layout.h notices.
/// @cond
#ifdef __cplusplus
#define VESTA_AS_INT : int
#define VESTA_AS_UNSIGNED_INT : unsigned int
#else
#define VESTA_AS_INT
#define VESTA_AS_UNSIGNED_INT
#endif
/// @endcond

// The browser may live in an executable that is built with hidden visibility; its functions must
// stay visible to the library all the same.
#pragma GCC visibility push(default)

/// The browser instance.
typedef struct TAVO_Vesta TAVO_Vesta;

/// One window (page view) of the browser.
typedef struct TAVO_VestaWindow TAVO_VestaWindow;

/// What happened in a browser window; values that are not listed may occur and answer 0.
///
/// The comments name the fields of TavoVestaEventData that are read, what
/// vesta_hbbtv_handle_notification() answers (1: consumed, 0: to be handled as usual) and what it
/// writes as the result; where none is named, the result stays as it was. A browser window that
/// shows no application of the library answers 0, but for PROTOCOL_LOADING_STOP.
typedef enum TAVO_VESTA_EVENT VESTA_AS_INT {
    /// No field. Ends the running application of the library's window on a later tick. 1.
    TAVO_VESTA_EVT_WINDOW_CLOSE = 2,
    /// `url`: the page that is shown from now on. 1, result 0.
    TAVO_VESTA_EVT_URL_CHANGED = 10,
    /// `load_status`, `http_status`. TAVO_LOAD_CONNECTION_FAILED and HTTP status 404 are a failed
    /// load, as below. Anything else, 500 too, is a loaded page, which counts from a later tick on:
    /// 1, result 0.
    TAVO_VESTA_EVT_LOADING_FINISHED = 12,
    /// No field. 1, result 0 when the library dealt with the failure, -3 when it can do nothing.
    TAVO_VESTA_EVT_LOADING_FAILED = 13,
    /// `url`, `request_id`. 1, result 0: the load is answered with ve_protocol_*(), perhaps inside
    /// this call; with 404 where no broadcast-related application is shown. 1, result -3 and no
    /// answer for a `url` that, once percent-decoded, does not begin with "dvb:", or begins with
    /// "dvb://current.ait/".
    TAVO_VESTA_EVT_PROTOCOL_LOADING_START = 51,
    /// `request_id`, in any browser window: the load is over and wants no (further) answer. 1,
    /// result 0; 0 for an id that is not known.
    TAVO_VESTA_EVT_PROTOCOL_LOADING_STOP = 120,
    /// No field. The page is not well-formed: its load result, which follows, is a failure. 1.
    TAVO_VESTA_EVT_XML_PARSE_FAILED = 128,
    /// `url` (the page), `second_url` (the target). 1, result 0 and the HBBTV_XHR_Permission in
    /// `request_id`; result -3 and no permission when the application is gone.
    TAVO_VESTA_EVT_XHR_PERMISSION = 162
} TAVO_VESTA_EVENT;

/// `TavoVestaEventData::load_status` of a page whose connection failed.
typedef enum TAVO_LOAD_STATUS VESTA_AS_INT { TAVO_LOAD_CONNECTION_FAILED = 3 } TAVO_LOAD_STATUS;

/// The record that comes with a browser event. Strings are the browser's and valid for the call;
/// null counts as empty.
typedef struct TavoVestaEventData {
    const char* url;             ///< the URL concerned
    const char* second_url;      ///< the target of an XMLHttpRequest
    void* request_id;            ///< protocol load handle; for an XMLHttpRequest the answer's slot
    int load_status;             ///< load finished: a TAVO_LOAD_STATUS
    unsigned short http_status;  ///< load finished: the HTTP status, 0 where there is none
} TavoVestaEventData;

/// Key codes as HbbTV applications see them in their key events (ETSI TS 102 796, 10.2.2).
/// Any other code may be carried too.
typedef enum TAVO_VIRTUAL_KEY VESTA_AS_INT {
    TAVO_VK_ENTER = 13,
    TAVO_VK_PAUSE = 19,
    TAVO_VK_PAGE_UP = 33,
    TAVO_VK_PAGE_DOWN = 34,
    TAVO_VK_LEFT = 37,
    TAVO_VK_UP = 38,
    TAVO_VK_RIGHT = 39,
    TAVO_VK_DOWN = 40,
    TAVO_VK_0 = 48,
    TAVO_VK_9 = 57,
    TAVO_VK_A = 65,
    TAVO_VK_Z = 90,
    TAVO_VK_RED = 403,
    TAVO_VK_GREEN = 404,
    TAVO_VK_YELLOW = 405,
    TAVO_VK_BLUE = 406,
    TAVO_VK_REWIND = 412,
    TAVO_VK_STOP = 413,
    TAVO_VK_PLAY = 415,
    TAVO_VK_FAST_FORWARD = 417,
    TAVO_VK_INFO = 457,
    TAVO_VK_BACK = 461,
    TAVO_VK_PLAY_PAUSE = 463
} TAVO_VIRTUAL_KEY;

/// `TAVO_KeyboardEvent::type`. Other values occur and are never forwarded.
typedef enum TAVO_KEYBOARD_EVENT_TYPE VESTA_AS_INT {
    TAVO_KEY_DOWN = 0,
    TAVO_KEY_UP = 1
} TAVO_KEYBOARD_EVENT_TYPE;

/// One key event.
typedef struct TAVO_KeyboardEvent {
    int type;                   ///< a TAVO_KEYBOARD_EVENT_TYPE
    TAVO_VIRTUAL_KEY key_code;  ///< listed or not
} TAVO_KeyboardEvent;

#ifdef __cplusplus
extern "C" {
#endif

/// Starts loading an application's first page.
/// @param window the window to load it in
/// @param url borrowed for the call; percent-decoded up to its query. It is as relative as whoever
///        started the application gave it, where no application ran whose start URL could serve as
///        the base, or ve_resolve_relative_url() failed
/// @return ignored
/// @thread{browser} @since 1.0
int ve_open_url(TAVO_VestaWindow* window, const char* url);

/// Forgets the window's history, so that the next page is its first.
/// @param window opaque, as the listener gave it
/// @return ignored
/// @thread{browser} @since 1.0
int ve_clear_history(TAVO_VestaWindow* window);

/// Finds a window by the browser's own window number.
/// @param window receives the window; written only on success
/// @param browser as vesta_hbbtv_init() got it
/// @param id of a window, perhaps of none
/// @return 0 for success; anything else: there is none
/// @thread{browser} @since 1.0
int ve_get_window(TAVO_Vesta* browser, long id, TAVO_VestaWindow** window);

/// The reverse of ve_get_window().
/// @param browser as vesta_hbbtv_init() got it
/// @param window as the listener gave it
/// @param id receives the number; written only on success
/// @return 0 for success
/// @thread{browser} @since 1.0
int ve_get_window_identifier(TAVO_Vesta* browser, TAVO_VestaWindow* window, long* id);

/// The URL that the window is loading or shows.
/// @param url receives a string that stays the browser's, valid until its next call
/// @param window as the listener gave it
/// @return 0 for success
/// @thread{browser} @since 1.0
int ve_get_loading_url(TAVO_VestaWindow* window, const char** url);

/// Makes the URL of a start absolute.
/// @param base the address that the running application was started with, without query
/// @param url the address to resolve, without query; both percent-decoded
/// @param result receives a string that stays the browser's, valid until its next call; may be
///        left null, the URL then stays as it was
/// @return 0 for success
/// @thread{browser} @since 1.0
int ve_resolve_relative_url(const char* base, const char* url, const char** result);

/// Sets the text that the browser appends to its user-agent string.
/// @param browser as vesta_hbbtv_init() got it
/// @param extension borrowed for the call; such as "HbbTV/1.2.1 (; vendor; model; ; ; )"
/// @return ignored
/// @thread{browser} @since 1.0
int ve_set_uastring_extension(TAVO_Vesta* browser, const char* extension);

/// @name Answers to a protocol load: first the type (optional), then the bytes, then the end
/// `id` is the `request_id` of TAVO_VESTA_EVT_PROTOCOL_LOADING_START. The library ignores the
/// results.
/// @{

/// What the load's bytes are.
/// @param id of the load
/// @param mime_type borrowed for the call
/// @return ignored
/// @thread{browser} @since 1.0
int ve_protocol_set_mime_type(void* id, const char* mime_type);

/// The load's next bytes.
/// @param id of the load
/// @param bytes borrowed for the call
/// @param length in bytes, never 0
/// @return ignored
/// @thread{browser} @since 1.0
int ve_protocol_write(void* id, const char* bytes, unsigned int length);

/// The load is complete.
/// @param id of the load
/// @param status an HTTP status, always 200
/// @return ignored
/// @thread{browser} @since 1.0
int ve_protocol_finished(void* id, int status);

/// A load may be answered with this twice: if dsmcc_get_file() said that the file can be read, and
/// reading it fails.
/// @param status an HTTP status, always 404
/// @param id of the load
/// @return ignored
/// @thread{browser} @since 1.0
int ve_protocol_failed(void* id, int status);
/// @}

/// Delivers a key event to the focused window.
/// @param event borrowed for the call
/// @return ignored
/// @thread{browser} @since 1.0
int tavo_keyboard_evt(TAVO_KeyboardEvent* event);

#ifdef __cplusplus
}  // extern "C"
#endif

#pragma GCC visibility pop

#endif
