/// The browser engine's C interface, as far as the application manager uses it.
///
/// The browser engine defines every function declared here; the library only calls them. All of
/// them are called on the browser thread. Results are 0 for success and anything else for failure.
/// A handle (`TAVO_Vesta`, `TAVO_VestaWindow`) is opaque and passed through unchanged.
#ifndef VESTA_BROWSER_H
#define VESTA_BROWSER_H

// The browser may live in an executable that is built with hidden visibility; its functions must
// stay visible to the library all the same.
#pragma GCC visibility push(default)

/// The browser instance.
typedef struct TAVO_Vesta TAVO_Vesta;

/// One window (page view) of the browser.
typedef struct TAVO_VestaWindow TAVO_VestaWindow;

/// What happened in a browser window. Values that are not listed may occur and are not the
/// library's business.
enum TAVO_VESTA_EVENT : int {
    TAVO_VESTA_EVT_WINDOW_CLOSE = 2,
    TAVO_VESTA_EVT_URL_CHANGED = 10,
    TAVO_VESTA_EVT_LOADING_FINISHED = 12,
    TAVO_VESTA_EVT_LOADING_FAILED = 13,
    TAVO_VESTA_EVT_PROTOCOL_LOADING_START = 51,
    TAVO_VESTA_EVT_PROTOCOL_LOADING_STOP = 120,
    TAVO_VESTA_EVT_XML_PARSE_FAILED = 128,
    TAVO_VESTA_EVT_XHR_PERMISSION = 162
};

/// `TavoVestaEventData::load_status` of a page whose connection failed.
enum TAVO_LOAD_STATUS : int { TAVO_LOAD_CONNECTION_FAILED = 3 };

/// The record that comes with a browser event. Strings are the browser's and valid for the call.
struct TavoVestaEventData {
    const char* url;             ///< the URL concerned; may be null
    const char* second_url;      ///< the target of an XMLHttpRequest; may be null
    void* request_id;            ///< protocol load handle; for an XMLHttpRequest the answer's slot
    int load_status;             ///< load finished: a TAVO_LOAD_STATUS
    unsigned short http_status;  ///< load finished: the HTTP status, 0 where there is none
};

/// Key codes as HbbTV applications see them in their key events (ETSI TS 102 796, 10.2.2).
/// Any other code may be carried too.
enum TAVO_VIRTUAL_KEY : int {
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
};

/// `TAVO_KeyboardEvent::type`. Other values occur and are never forwarded.
enum TAVO_KEYBOARD_EVENT_TYPE : int { TAVO_KEY_DOWN = 0, TAVO_KEY_UP = 1 };

/// One key event.
struct TAVO_KeyboardEvent {
    int type;  ///< a TAVO_KEYBOARD_EVENT_TYPE
    TAVO_VIRTUAL_KEY key_code;
};

extern "C" {

/// Starts loading a page.
/// @param window the window to load it in @param url absolute, borrowed for the call
int ve_open_url(TAVO_VestaWindow* window, const char* url);

/// Forgets the window's history, so that the next page is its first.
int ve_clear_history(TAVO_VestaWindow* window);

/// Finds a window by the browser's own window number.
/// @param window receives the window; written only on success
int ve_get_window(TAVO_Vesta* browser, long id, TAVO_VestaWindow** window);

/// The reverse of ve_get_window(). @param id receives the number; written only on success
int ve_get_window_identifier(TAVO_Vesta* browser, TAVO_VestaWindow* window, long* id);

/// The URL that the window is loading or shows.
/// @param url receives a string that stays the browser's, valid until its next call
int ve_get_loading_url(TAVO_VestaWindow* window, const char** url);

/// Makes a URL absolute.
/// @param base absolute URL @param url the URL to resolve
/// @param result receives a string that stays the browser's, valid until its next call; may be
///        left null, the URL then stays as it was
int ve_resolve_relative_url(const char* base, const char* url, const char** result);

/// Sets the text that the browser appends to its user-agent string.
int ve_set_uastring_extension(TAVO_Vesta* browser, const char* extension);

/// @name Answers to a protocol load: first the type (optional), then the bytes, then the end
/// `id` is the `request_id` of TAVO_VESTA_EVT_PROTOCOL_LOADING_START. The library ignores the
/// results.
/// @{

/// @param mime_type borrowed for the call
int ve_protocol_set_mime_type(void* id, const char* mime_type);

/// @param bytes borrowed for the call @param length in bytes, never 0
int ve_protocol_write(void* id, const char* bytes, unsigned int length);

/// @param status an HTTP status, always 200
int ve_protocol_finished(void* id, int status);

/// @param status an HTTP status, always 404
int ve_protocol_failed(void* id, int status);
/// @}

/// Delivers a key event to the focused window. @param event borrowed for the call
int tavo_keyboard_evt(TAVO_KeyboardEvent* event);

}  // extern "C"

#pragma GCC visibility pop

#endif
