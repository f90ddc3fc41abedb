/// @file
/// The HbbTV application manager's public interface: entry functions, the integrator's events,
/// notifications with their answers, the platform's hooks and the natives behind the OIPF objects.
/// For C++; in C everything of it but the entry functions, which vesta_hbbtv_c.h gives C names.
///
/// Threads: vesta_hbbtv_send_event() may be called from any thread between the return of
/// vesta_hbbtv_init() and the call of vesta_hbbtv_shutdown() (or of a second init): no other thread
/// may be sending while these run. Everything else belongs to the browser thread. Enumerations that
/// cross this boundary have a fixed underlying type, so that values outside the lists are well
/// defined: `int`, and `unsigned int` for what the platform's hooks answer.
///
/// Failures are return values. Where memory runs out, too, nothing is thrown: a function gives up
/// what it was doing, frees the event's record, writes the log line "Out of memory." (ERR, module
/// vesta_hbbtv) if it can, and answers its error; the library works on afterwards. Listeners, hooks
/// and browser functions are not to throw: the call that called them would be given up.
#ifndef VESTA_HBBTV_APPMAN_H
#define VESTA_HBBTV_APPMAN_H

#include <pthread.h>
#include <stdbool.h>
#include <stdint.h>

#include "vesta_browser.h"

// An executable built with hidden visibility that includes this header would otherwise hide its
// own definitions of the hooks, and silently lose to the library's defaults.
#pragma GCC visibility push(default)

#ifdef __cplusplus
/// What the application manager has in C++. In C the same names stand alone.
namespace VestaHbbTV {
#endif

// ------------------------------------------------------------------------------------------------
// Integrator events: what vesta_hbbtv_send_event() carries.
// ------------------------------------------------------------------------------------------------

/// What happened. The comments name the member of HBBTV_EventData that comes with it; the record of
/// an event without one is null or only freed.
typedef enum HBBTV_EventType VESTA_AS_INT {
    E_AIT_SECTION = 0,        ///< ait: of the broadcast window's service; dropped without one
    E_CHANNEL_CHANGE = 1,     ///< the broadcast window shows another service
    E_START_APPLICATION = 2,  ///< start
    E_START_BROADCAST_INDEPENDENT_APPLICATION = 3,  ///< url
    E_TERMINATE_APPLICATION = 4,                    ///< window
    E_DSMCC_FILE_READY = 5,                         ///< download
    E_DSMCC_FILE_ERROR = 6,                         ///< download
    E_HTTP_AVAILABLE = 7,      ///< broadband works: HTTP transports may be used
    E_HTTP_UNAVAILABLE = 8,    ///< broadband fails
    E_DSMCC_STREAM_EVENT = 9,  ///< streamEvent
    E_LOW_MEMORY = 10,         ///< passed on to the scripts' plugin
    E_USER_AGENT_INFO = 11,    ///< userAgent
    E_SUPPORTED_PROFILES = 12  ///< profiles
} HBBTV_EventType;

/// Type 0: one section of an application information table (ETSI TS 102 809, 5.3.4).
///
/// Whatever a table holds, it takes less than 32 times its bytes in memory; the largest one of 256
/// sections has a megabyte. A window keeps the table in force and the arriving one, and its
/// applications the tables from which they were started.
///
/// A table takes its ids and its channel from the record with which it begins: the first after the
/// table before it was completed or dropped, even if the section of that record is refused. Until
/// it is complete, or the channel changes, sections of another version are refused.
typedef struct HBBTV_AITSectionEventData {
    /// malloc'ed whole section from table_id on, freed; may be null. The block holds
    /// 3 + section_length bytes; no byte after them is read, and CRC_32 is not checked.
    unsigned char* section;
    uint32_t reserved;                   ///< not read
    unsigned short original_network_id;  ///< of the service that carries the table
    unsigned short transport_stream_id;  ///< likewise
    unsigned short service_id;           ///< likewise
    /// Only read when section is null: 0 means the table went away. Anything else stops nothing,
    /// but begins a table if none has begun.
    uintptr_t keepApplication;
    void* channelHandle;  ///< the integrator's channel reference, kept in the table
} HBBTV_AITSectionEventData;

/// Type 2: start an application of the table in force.
typedef struct HBBTV_StartApplicationEventData {
    void* window;                  ///< window handle of the library
    uint32_t reserved;             ///< not read
    uint32_t organisationId;       ///< as the table has it
    unsigned short applicationId;  ///< likewise
} HBBTV_StartApplicationEventData;

/// Type 3: start an application by its URL alone.
typedef struct HBBTV_StartURLEventData {
    void* window;  ///< window handle of the library
    char* url;     ///< malloc'ed, freed; null starts nothing
} HBBTV_StartURLEventData;

/// Type 4: stop the running application of a window.
typedef struct HBBTV_WindowEventData {
    void* window;  ///< window handle of the library
} HBBTV_WindowEventData;

/// Types 5 and 6: the platform finished, or gave up, a file that dsmcc_get_file() left pending.
typedef struct HBBTV_DownloadEventData {
    void* downloadId;  ///< the id that dsmcc_get_file() was given
} HBBTV_DownloadEventData;

/// The listener that a stream-event subscription handed to the platform; gets string1, value1,
/// string2, string3, string4, value2 of the event's record. Strings are valid for the call.
typedef void (*HBBTV_StreamEventCallback)(const char* string1, uint32_t value1, const char* string2,
                                          const char* string3, const char* string4,
                                          uint32_t value2);

/// Type 9: a DSM-CC stream event for a subscribed listener.
typedef struct HBBTV_StreamEventData {
    uint32_t reserved;                   ///< not read
    HBBTV_StreamEventCallback callback;  ///< may be null
    uint32_t value1;                     ///< passed on
    char* string1;                       ///< each string malloc'ed, freed; may be null
    char* string2;                       ///< likewise
    char* string3;                       ///< likewise
    char* string4;                       ///< likewise
    uint32_t value2;                     ///< passed on
} HBBTV_StreamEventData;

/// Type 11: what the terminal says of itself in its user-agent string (ETSI TS 102 796, 7.3.2.4).
typedef struct HBBTV_UserAgentEventData {
    unsigned short versionSelector;  ///< 1: HbbTV/1.1.1, anything else: HbbTV/1.2.1
    char* capabilities;              ///< each string malloc'ed, freed; null counts as empty
    char* vendorName;                ///< likewise
    char* modelName;                 ///< likewise
    char* softwareVersion;           ///< likewise
    char* hardwareVersion;           ///< likewise
    char* reserved;                  ///< the sixth text; used and freed as the others are
} HBBTV_UserAgentEventData;

/// Type 12: the application profiles that the terminal supports (ETSI TS 102 809, 5.2.5.1). None
/// until this event; applications that were rejected before are not started by it.
typedef struct HBBTV_ProfilesEventData {
    unsigned short supportedProfiles;  ///< a bit for each
} HBBTV_ProfilesEventData;

/// One event's record. An integrator may allocate just the member that its event uses: the
/// library never touches a byte beyond it.
typedef union HBBTV_EventData {
    HBBTV_AITSectionEventData ait;          ///< type 0
    HBBTV_StartApplicationEventData start;  ///< type 2
    HBBTV_StartURLEventData url;            ///< type 3
    HBBTV_WindowEventData window;           ///< type 4
    HBBTV_DownloadEventData download;       ///< types 5 and 6
    HBBTV_StreamEventData streamEvent;      ///< type 9
    HBBTV_UserAgentEventData userAgent;     ///< type 11
    HBBTV_ProfilesEventData profiles;       ///< type 12
} HBBTV_EventData;

// ------------------------------------------------------------------------------------------------
// Notifications: what the library reports to its listeners, and what it asks them.
// ------------------------------------------------------------------------------------------------

/// What the library reports or asks. The comments name the member of HBBTV_NotificationData.
typedef enum HBBTV_NotificationType VESTA_AS_INT {
    HBBTV_NOTIFICATION_START_APPLICATION = 0,  ///< application; asks
    HBBTV_NOTIFICATION_STOP_APPLICATION = 1,   ///< application; asks whether the table comes back
    /// application; window, serviceBound, trusted and usageType are not set
    HBBTV_NOTIFICATION_REJECT_APPLICATION = 2,
    HBBTV_NOTIFICATION_AIT_UPDATE = 3,                ///< ait
    HBBTV_NOTIFICATION_TRUSTED = 4,                   ///< application; asks
    HBBTV_NOTIFICATION_BROADCAST_RELATED_CHANGE = 5,  ///< application
    HBBTV_NOTIFICATION_XHR = 6,                       ///< xhr; asks
    HBBTV_NOTIFICATION_REQUEST_WINDOW = 7,            ///< window; asks
    HBBTV_NOTIFICATION_RELEASE_WINDOW = 8,            ///< window
    HBBTV_NOTIFICATION_SHOW_WINDOW = 9,               ///< window
    HBBTV_NOTIFICATION_HIDE_WINDOW = 10,              ///< window
    HBBTV_NOTIFICATION_KEYSET_CHANGED = 11,           ///< keyset
    HBBTV_NOTIFICATION_GET_FREE_MEMORY = 12           ///< memory; asks
} HBBTV_NotificationType;

/// A listener's answer to a start request; any other value counts as START. START is preset, but
/// for an entry of a broadcast table whose application id is 0 or above 0x7FFF: there it is
/// BLOCK_AND_KILL.
typedef enum HBBTV_ApplicationActionType VESTA_AS_INT {
    HBBTV_APPLICATION_ACTION_START = 0,           ///< let it start
    HBBTV_APPLICATION_ACTION_BLOCK_AND_KILL = 1,  ///< do not start it, stop the running one
    HBBTV_APPLICATION_ACTION_BLOCK_AND_KEEP = 2   ///< do not start it, leave the running one
} HBBTV_ApplicationActionType;

/// A listener's answer to an XMLHttpRequest inside the application's boundaries.
typedef enum HBBTV_XHR_Permission VESTA_AS_INT {
    HBBTV_XHR_ALLOW = 0,  ///< the default
    HBBTV_XHR_DENY = 1,
    HBBTV_XHR_CORE_DECIDES = 2  ///< the browser applies its own same-origin rules
} HBBTV_XHR_Permission;

/// What a listener returns. The library ignores it: a listener cannot stop a broadcast.
typedef enum HBBTV_STATUS VESTA_AS_INT { HBBTV_STATUS_OK = 0, HBBTV_STATUS_ERROR = 1 } HBBTV_STATUS;

/// Start, stop, reject, trusted and broadcast-related-change notifications.
///
/// An application of a broadcast table is reported as broadcast-related while it is created: that
/// change has the ids 0 and autostart 0, whatever the entry says.
typedef struct HBBTV_ApplicationNotificationData {
    void* window;          ///< the library's window handle
    int broadcastRelated;  ///< 1: signalled in a broadcast table
    int serviceBound;      ///< start only: service_bound_flag
    int trusted;           ///< trusted: in/out verdict; broadcast-related change: always 1
    int autostart;         ///< start, reject: AUTOSTART; trusted, change: was started as such
    unsigned long organisationId;  ///< 0, like the next one, for a start by URL
    unsigned short applicationId;  ///< of the entry
    /// Full URL, valid for the call; empty when there is none. Percent-decoded up to its query, and
    /// cut at "%00"; trusted: as the script gave it.
    char* url;
    /// Stop only, else null. Whether the service's table is activated again after this end, so that
    /// its AUTOSTART application comes back. 1 or 0 as the library decided; a listener may write
    /// another value, and anything but 0 counts as yes.
    int* reactivateAIT;
    unsigned char usageType;             ///< 1 is digital teletext; stop: 0, whatever it is
    HBBTV_ApplicationActionType action;  ///< start only: the answer
} HBBTV_ApplicationNotificationData;

/// One application of a new table.
typedef struct HBBTV_AITApplicationInfo {
    char* name;                    ///< as it came; never null
    unsigned long organisationId;  ///< of the entry
    unsigned short applicationId;  ///< of the entry
    unsigned int numUrls;          ///< number of transports, modulo 256
    /// One per transport, the preferred one in the LAST slot; slots may be null. To be read only:
    /// equal ones may be the same text.
    char** urls;
    int usageType;                   ///< 1 is digital teletext
    int controlCode;                 ///< 0 without an application descriptor
    unsigned char hasHttpTransport;  ///< 1: one of them is HTTP
    unsigned char hasOCTransport;    ///< 1: one of them is an object carousel
} HBBTV_AITApplicationInfo;

/// A new table was taken in.
///
/// The record is made only where there is a listener, and freed after the last one. Table and
/// record together take less than 32 times the table's bytes, but for texts that the record has to
/// hold whole: up to 250 times for addresses of different transports with one long location, up to
/// 85 times for names that overlap.
typedef struct HBBTV_AITNotificationData {
    void* window;                            ///< the library's window handle
    int isXML;                               ///< 1: built from an XML AIT
    int numApplications;                     ///< in `applications`
    HBBTV_AITApplicationInfo* applications;  ///< in the table's order; null when there are none
    int reserved;                            ///< 0
} HBBTV_AITNotificationData;

/// An XMLHttpRequest inside the application's boundaries wants permission. Both URLs are
/// percent-decoded up to their queries, and cut at "%00".
typedef struct HBBTV_XHRNotificationData {
    char* documentUrl;                ///< the page; valid for the call
    char* requestUrl;                 ///< its target, likewise
    HBBTV_XHR_Permission permission;  ///< the answer
} HBBTV_XHRNotificationData;

/// Request, release, show and hide of a browser window.
///
/// A listener answers a request with a browser window in the slot and `success` 1; if either is
/// missing, the application ends, and a browser window that is in the slot is released. A browser
/// window is meant for one application: given to a second one of the same window, it ends the first
/// (STOP, no RELEASE) as soon as the page of the second is opened, and is released once, when its
/// last application ends. It must not be given to applications of two windows.
typedef struct HBBTV_WindowNotificationData {
    /// The application's slot in the library: null at a request, which alone may write it, and the
    /// browser window in the others.
    TAVO_VestaWindow** tavoWindow;
    int success;   ///< request: the answer, preset to 0; release: not read; else without meaning
    void* window;  ///< request: the library's window handle; else null
} HBBTV_WindowNotificationData;

/// An application changed its key set.
typedef struct HBBTV_KeysetNotificationData {
    TAVO_VestaWindow* tavoWindow;  ///< the application's
    int keysetValue;               ///< OIPF key-set mask
} HBBTV_KeysetNotificationData;

/// A script asks for the free memory.
typedef struct HBBTV_MemoryNotificationData {
    long* freeMemory;  ///< the answer; -1 stays when nobody gives one
} HBBTV_MemoryNotificationData;

/// A notification's record: owned by the library and gone when the broadcast ends; a listener
/// copies what it keeps.
typedef union HBBTV_NotificationData {
    HBBTV_ApplicationNotificationData application;  ///< types 0 to 2, 4 and 5
    HBBTV_AITNotificationData ait;                  ///< type 3
    HBBTV_XHRNotificationData xhr;                  ///< type 6
    HBBTV_WindowNotificationData window;            ///< types 7 to 10
    HBBTV_KeysetNotificationData keyset;            ///< type 11
    HBBTV_MemoryNotificationData memory;            ///< type 12
} HBBTV_NotificationData;

/// A listener. Runs on the browser thread, synchronously; it may call back into the library, add
/// listeners (none can be removed), and release the very window that the library is working on.
/// @param type any of them, later ones too
/// @param data may be null (AIT update without a table)
/// @return ignored
typedef HBBTV_STATUS (*HBBTV_NotificationListener)(HBBTV_NotificationType type,
                                                   HBBTV_NotificationData* data);

#ifdef __cplusplus

// ------------------------------------------------------------------------------------------------
// Entry functions. A window handle (`void*`) is the library's own; it may be null, foreign or that
// of a window that was released, which names no other window until 64 more were released after it
// and no queued event names a window.
//
// Before vesta_hbbtv_init(), and after vesta_hbbtv_shutdown(), windows can be created, listeners
// added and the condition set, and init keeps them. Nothing starts, events are dropped, and
// whatever asks is answered as where there is nothing.
// ------------------------------------------------------------------------------------------------

/// Starts the library. Must return before any other thread calls in. A second call without a
/// shutdown replaces the event queue and the download manager and deletes what they held, pending
/// applications included; the rest stays. Where memory runs out, the library is initialised
/// afterwards or it is not: there is nothing in between.
/// @param browser passed to every call into the browser; stored as given. With null no script can
///        subscribe to stream events
/// @thread{browser} @since 1.0
void vesta_hbbtv_init(TAVO_Vesta* browser);

/// Stops every application, releases every window, forgets every listener and deletes the events
/// that are still queued, unexecuted. The scripts' plugin's listeners, the condition with its mutex
/// and the sinks of the log stay. May be called from inside a listener. A vesta_hbbtv_init() from
/// inside it is undone by it.
/// @thread{browser} @since 1.0
void vesta_hbbtv_shutdown();

/// Runs at most one queued event.
/// @return false when none ran; true also for one that was given up for want of memory
/// @thread{browser} @since 1.0
bool vesta_hbbtv_tick();

/// Queues a record for the browser thread and wakes it. Callable from any thread.
/// @param type any value; one that is not listed only frees the record
/// @param data malloc'ed like every buffer in it; may be null. The library frees it, except while
///        no queue exists (before init, after shutdown): then it is neither queued nor freed. A
///        record for which there is no memory in the queue is freed.
/// @thread{any} @since 1.0
void vesta_hbbtv_send_event(HBBTV_EventType type, HBBTV_EventData* data);

/// Registers what vesta_hbbtv_send_event() signals. The library locks the mutex around
/// pthread_cond_signal() and does nothing else with either. Call it before other threads send.
/// Whoever ticks with this mutex held must have made it recursive if a listener or hook may send an
/// event.
/// @param condition stays the integrator's; null switches the wake-up off
/// @param mutex likewise
/// @thread{browser} @since 1.0
void vesta_hbbtv_set_sendevent_condition(pthread_cond_t* condition, pthread_mutex_t* mutex);

/// Registers a listener until vesta_hbbtv_shutdown(); one that is registered twice is called twice.
/// @param listener called until vesta_hbbtv_shutdown(); null is refused
/// @return false for a null listener, and where memory runs out
/// @thread{browser} @since 1.0
bool vesta_hbbtv_add_notification_listener(HBBTV_NotificationListener listener);

/// Creates a window that can hold applications.
/// @return its handle, owned by the library; null where memory runs out
/// @thread{browser} @since 1.0
void* vesta_hbbtv_create_window();

/// Stops the window's running and pending application and destroys the window. Applications that
/// are left over (their end is queued, say) give their browser windows back (RELEASE, no STOP);
/// their ids are known, without a window, until vesta_hbbtv_shutdown(). From inside a call that
/// works on the window its end waits until that returns. A handle that is not held is ignored.
/// @param window a handle; null, foreign and stale ones are ignored
/// @thread{browser} @since 1.0
void vesta_hbbtv_release_window(void* window);

/// The window that holds a browser window; null if none does.
/// @param tavoWindow null belongs to none
/// @return a handle, owned by the library
/// @thread{browser} @since 1.0
void* vesta_hbbtv_get_window_identifier(TAVO_VestaWindow* tavoWindow);

/// Makes a window the one that shows the broadcast service; an unknown handle changes nothing.
/// @param window a handle; null, foreign and stale ones change nothing
/// @thread{browser} @since 1.0
void vesta_hbbtv_set_broadcast_window(void* window);

/// The window that shows the broadcast service; null if none does.
/// @return a handle, owned by the library
/// @thread{browser} @since 1.0
void* vesta_hbbtv_get_broadcast_window();

/// The browser window of a window; null for a null or unknown handle, or when it has none. Of
/// several (those of a child and of the parent that is hidden behind it) it is any one.
/// @param window a handle
/// @return the integrator's own
/// @thread{browser} @since 1.0
TAVO_VestaWindow* vesta_hbbtv_get_tavo_window(void* window);

/// Whether a URL lies inside the boundaries of the window's running application
/// (ETSI TS 102 796, 6.3): whether, percent-decoded, it begins with one of their origins. That is
/// all that is compared: "http://a.example" also admits "http://a.example.other/".
/// @param window a handle
/// @param url borrowed for the call
/// @return false for null arguments, the handle of no window, or without a running application
/// @thread{browser} @since 1.0
bool vesta_hbbtv_is_within_boundaries(void* window, const char* url);

/// Reports that the service of a window is shown time-shifted (nonzero) or live (zero). A running
/// application that is not signalled as time-shift aware is stopped.
/// @param window a handle
/// @param timeShifted nonzero: time-shifted
/// @return 0 when this changed something, 1 for an unknown handle or an unchanged value
/// @thread{browser} @since 1.0
unsigned int vesta_hbbtv_set_time_shifted(void* window, int timeShifted);

/// Whether some window of the library holds this browser window; false for null.
/// @param tavoWindow may be null
/// @return true for one between its request and its release
/// @thread{browser} @since 1.0
bool vesta_hbbtv_is_hbbtv_window(TAVO_VestaWindow* tavoWindow);

/// Hands a browser event to the library. Call it for every event, before acting on it. What is
/// read and answered is written at each TAVO_VESTA_EVENT.
/// @param browser not used
/// @param data the event's record; null answers 0
/// @param result receives 0 (success) or -3 (failure) for events that say so; may be null
/// @param tavoWindow where it happened; null and foreign ones are no application's
/// @param event any value; one that is not listed answers 0
/// @return 1 when the library consumed the event, 0 when it is to be handled as usual. Where memory
///         runs out: 1, with the result -3
/// @thread{browser} @since 1.0
unsigned int vesta_hbbtv_handle_notification(TAVO_Vesta* browser, TAVO_VestaWindow* tavoWindow,
                                             TAVO_VESTA_EVENT event, TavoVestaEventData* data,
                                             int* result);

/// Offers a key event of a browser window to its application, which gets it when its key set
/// admits the key.
/// @param tavoWindow null: the key is meant for no application
/// @param event likewise
/// @return 1 when the library dealt with the event (also by swallowing a key up whose key down the
///         application did not get), 0 when it is not meant for an application
/// @thread{browser} @since 1.0
int vesta_hbbtv_key_input(TAVO_VestaWindow* tavoWindow, TAVO_KeyboardEvent* event);

}  // namespace VestaHbbTV

extern "C" {

#endif

// ------------------------------------------------------------------------------------------------
// Platform hooks. The library exports weak defaults; definitions of the same names by the platform
// take their place. All are called on the browser thread.
// ------------------------------------------------------------------------------------------------

/// Results of the dsmcc_* hooks.
typedef enum DSMCC_RESULT VESTA_AS_UNSIGNED_INT {
    DSMCC_OK = 0,         ///< success; dsmcc_get_file(): the file can be read now
    DSMCC_ERROR = 1,      ///< failure
    DSMCC_PENDING = 2,    ///< dsmcc_get_file() only: a file-ready or file-error event follows
    DSMCC_UNKNOWN_ID = 3  ///< the platform does not know the id
} DSMCC_RESULT;

/// The terminal's OIPF key-set groups (OIPF DAE, KeySet). Asked within vesta_hbbtv_init, before any
/// other hook is called, and not again. Default: every group, 0x3FF.
/// @return an OIPF key-set mask
/// @thread{browser} @since 1.0
int hbbtv_keyset_get_supported_values(void);

/// The library starts (within vesta_hbbtv_init).
/// @thread{browser} @since 1.0
void dsmcc_start(void);

/// The library stops (within vesta_hbbtv_shutdown).
/// @thread{browser} @since 1.0
void dsmcc_stop(void);

/// Asks for a carousel file.
/// @param path what follows "dvb://" in a URL that a page chose, percent-decoded, with "?query" and
///        "#anchor", possibly empty; as applications are signalled "onid.tsid.sid.tag/path" with
///        the ids in hexadecimal. Valid for the call.
/// @param id identifies the file until dsmcc_close_file()
/// @return a DSMCC_RESULT; OK: the file is read at once. ERROR, UNKNOWN_ID: the load has failed and
///         dsmcc_close_file() follows.
/// @thread{browser} @since 1.0
unsigned int dsmcc_get_file(const char* path, void* id);

/// The first question about a file that is ready.
/// @param mimeType null before; receives a malloc'ed string that the library frees, or stays null
/// @param id of the file
/// @return anything but OK fails the load (a string is freed all the same)
/// @thread{browser} @since 1.0
unsigned int dsmcc_get_mime_type(void* id, char** mimeType);

/// Reads on.
/// @param buffer null before; receives the platform's buffer, valid until this id is read or closed
///        next
/// @param length 0 before; receives the number of bytes; 0 ends the file
/// @param id of the file
/// @return anything but OK fails the load, as bytes without a buffer do
/// @thread{browser} @since 1.0
unsigned int dsmcc_read(void* id, char** buffer, unsigned int* length);

/// The library has done with the file, or could not get it. May come twice: for a file of which
/// dsmcc_get_file() said that it can be read, and which could not be. The result is ignored.
/// @param id of the file; closing one that is closed or unknown must be harmless
/// @return ignored
/// @thread{browser} @since 1.0
unsigned int dsmcc_close_file(void* id);

/// The service changed: its files are void. The result is ignored.
/// @return ignored
/// @thread{browser} @since 1.0
unsigned int dsmcc_clear_cache(void);

/// Stream events subscribed by scripts. Pass-through values, here and below, are those of the
/// plugin that called the native of the same purpose.
/// @param path of the stream event object, as for dsmcc_get_file()
/// @param p1 passed through
/// @param p2 passed through
/// @param p3 passed through
/// @param p4 passed through
/// @return ignored
/// @thread{browser} @since 1.0
unsigned int dsmcc_stream_event_subscribe(const char* path, void* p1, void* p2, void* p3, void* p4);

/// Stream events that an XML document describes, subscribed by scripts.
/// @param x1 passed through
/// @param x2 passed through
/// @param d1 passed through
/// @param serviceId of the application's transport
/// @param d2 passed through
/// @param x3 passed through
/// @param x4 passed through
/// @param x5 passed through
/// @return ignored
/// @thread{browser} @since 1.0
unsigned int dsmcc_xml_stream_event_subscribe(void* x1, void* x2, unsigned short d1,
                                              unsigned short serviceId, unsigned short d2, void* x3,
                                              void* x4, void* x5);

/// A subscription ends.
/// @param target as the script gave it, unchanged; may be null
/// @param p1 passed through
/// @param p2 passed through
/// @param p3 passed through
/// @param p4 passed through
/// @param windowId the browser's number of the script's window
/// @return ignored
/// @thread{browser} @since 1.0
unsigned int dsmcc_stream_event_unsubscribe(const char* target, void* p1, void* p2, void* p3,
                                            void* p4, long windowId);

/// All subscriptions of a window end.
/// @param p1 passed through
/// @param windowId the browser's number of the script's window
/// @return ignored
/// @thread{browser} @since 1.0
unsigned int dsmcc_stream_event_unsubscribe_all(void* p1, long windowId);

/// Whether two carousel references name the same carousel. Default: leaves the answer untouched.
/// Part of the platform's interface for the integration; the library itself does not call it.
/// @param first a reference
/// @param second another
/// @param same the answer
/// @return a DSMCC_RESULT
/// @thread{browser} @since 1.0
unsigned int dsmcc_same_carousel(const char* first, const char* second, bool* same);

/// The library starts to take tables (within vesta_hbbtv_init, before dsmcc_start).
/// @thread{browser} @since 1.0
void hbbtv_ait_start(void);

/// The library stops to take tables (within vesta_hbbtv_shutdown, before dsmcc_stop).
/// @thread{browser} @since 1.0
void hbbtv_ait_stop(void);

/// The service changed: tables of the former service are void.
/// @thread{browser} @since 1.0
void hbbtv_ait_invalidate(void);

/// A complete table is being applied.
/// @param version its version_number
/// @thread{browser} @since 1.0
void hbbtv_ait_completed(unsigned char version);

// ------------------------------------------------------------------------------------------------
// Natives: what the browser's OIPF object plugin calls for the scripts. An application id is a
// number carried in a pointer, 0 means none; a window id is the browser's own number. Null strings
// count as empty, but for what is passed on unchanged.
// ------------------------------------------------------------------------------------------------

/// What every native answers. A native whose result pointer is null does nothing and answers ERROR;
/// so does one whose application id is 0 or unknown (the latter is logged), unless it says
/// otherwise. An id is known from the tick on in which its application's first page is opened,
/// until the application ends. Where memory runs out, the answer is ERROR, and that of permission
/// queries NOT_PERMITTED.
typedef enum VEIF_RETURN VESTA_AS_INT {
    VEIF_RETURN_OK = 0,            ///< success; permission queries: yes
    VEIF_RETURN_VALUE_NULL = 1,    ///< it worked, but there is no value
    VEIF_RETURN_ERROR = 4,         ///< bad id, no window, no manager
    VEIF_RETURN_NOT_PERMITTED = 7  ///< permission queries: no
} VEIF_RETURN;

/// @param event 0 low memory (appId null); 3 the application failed to load, and its parent runs
///        again
/// @param appId of that application
typedef void (*VEIF_ApplicationManagerListener)(int event, void* appId);
/// @param appId of the application that ended
typedef void (*VEIF_ApplicationDestroyedListener)(void* appId);

/// The plugin's listeners; null until set.
extern VEIF_ApplicationManagerListener veif_applicationManagerListener;
/// As native_ApplicationManagerSetAppDestroyedListener() sets it.
extern VEIF_ApplicationDestroyedListener veif_applicationDestroyedListener;

/// Sets who hears of low memory, and of applications that failed to load and gave way to their
/// parents. Stays set after vesta_hbbtv_shutdown().
/// @param listener null for none
/// @return always OK
/// @thread{browser} @since 1.0
int native_ApplicationManagerSetListener(VEIF_ApplicationManagerListener listener);

/// Sets who hears that an application ended: once for each whose first page was opened. The end of
/// any other, such as one that got no browser window, is not reported. Stays set after
/// vesta_hbbtv_shutdown().
/// @param listener null for none
/// @return always OK
/// @thread{browser} @since 1.0
int native_ApplicationManagerSetAppDestroyedListener(VEIF_ApplicationDestroyedListener listener);

/// Asks the integrator's listeners how much memory is free.
/// @param windowId not used
/// @param freeMemory receives their answer, in the integrator's unit; -1 without one
/// @return OK
/// @thread{browser} @since 1.0
int native_AppPrivateDataGetFreeMem(long windowId, double* freeMemory);

/// What a script may ask for at all.
/// @param windowId not used
/// @param maximum receives the terminal's key-set mask
/// @return OK
/// @thread{browser} @since 1.0
int native_KeySetGetMaximumValue(long windowId, double* maximum);

/// Asks for key groups; the new set is reported to the listeners.
/// @param value truncated toward zero, held at the limits of an int; 0 for what is not a number
/// @param granted receives the mask that the terminal can grant
/// @param appId of the script's application
/// @return OK or ERROR
/// @thread{browser} @since 1.0
int native_KeySetSetValue(void* appId, double value, double* granted);

/// What a script has been granted.
/// @param appId of the script's application
/// @param value receives the application's key-set mask
/// @return OK or ERROR
/// @thread{browser} @since 1.0
int native_KeySetGetValue(void* appId, double* value);

/// Whether the window's application is broadcast-related and the URL inside its boundaries.
/// @param windowId the browser's number
/// @param url null counts as empty
/// @return OK for yes; NOT_PERMITTED, also without an application
/// @thread{browser} @since 1.0
int native_PermissionsIsBroadcastRelated(long windowId, const char* url);

/// Whether the URL is a page of a trusted application (ETSI TS 102 796, 11.1); listeners decide.
/// @param windowId the browser's number
/// @param url null counts as empty
/// @return OK for yes; NOT_PERMITTED, also without an application
/// @thread{browser} @since 1.0
int native_PermissionsIsTrusted(long windowId, const char* url);

/// The script changed the channel of its video/broadcast object. Its window becomes the broadcast
/// window, and the service's application in the former one ends.
/// @param url the script's page
/// @param channel the integrator's channel reference, kept with the application's table entry; null
///        for no channel: if the page lies inside its boundaries, the application is
///        broadcast-independent from now on
/// @param windowId the browser's number of the script's window
/// @return always OK, also where memory runs out
/// @thread{browser} @since 1.0
int native_AppManNotifySetChannelCalled(long windowId, const char* url, void* channel);

/// The window that shows an application.
/// @param appId of the application
/// @param windowId receives the browser's number of the application's window
/// @return OK; ERROR also without a browser, for an application that has lost its browser window
///         with its window, and when the browser does not know the browser window
/// @thread{browser} @since 1.0
int native_AppManGetWindowOfApplication(void* appId, long* windowId);

/// The channel of the service that an application belongs to.
/// @param appId of the application
/// @param channel receives the channel reference of a broadcast-related application, else null
/// @return OK; VALUE_NULL without a channel; ERROR
/// @thread{browser} @since 1.0
int native_AppPrivateDataGetCurrentChannel(void* appId, void** channel);

/// Ends an application on a later tick; its service's table may be activated again then.
/// @param appId 0 is nothing to do (OK)
/// @return OK; ERROR also when it has lost its window
/// @thread{browser} @since 1.0
int native_ApplicationDestroyApplication(void* appId);

/// Hides an application three ticks later at the earliest.
/// @param appId 0 is nothing to do (OK)
/// @return OK or ERROR
/// @thread{browser} @since 1.0
int native_ApplicationHide(void* appId);

/// Shows an application at once.
/// @param appId 0 is an error, unlike above
/// @return OK or ERROR
/// @thread{browser} @since 1.0
int native_ApplicationShow(void* appId);

/// The application that a window shows.
/// @param windowId the browser's number
/// @param reserved not used
/// @param appId receives the id of the window's application
/// @return OK; ERROR without an application
/// @thread{browser} @since 1.0
int native_AppManGetApplicationId(long windowId, void* reserved, void** appId);

/// Starts an application, by URL or as "dvb://current.ait/<organisation>.<application>".
/// @param createChild not used
/// @param parentAppId the calling application, which stays until the new one's page has loaded. A
///        second call before that leaves the application of the first, if its page was opened
///        already, in the window, unseen, until it is destroyed or the window is released
/// @param appId receives the new application's id, null if none. The natives know it only from a
///        later tick on, and never if the application gets no browser window
/// @param url absolute or relative to the running application's; null counts as empty
/// @return OK; VALUE_NULL when it did not start; ERROR for an unknown parent, a parent without
///         window or a malformed current-AIT URL
/// @thread{browser} @since 1.0
int native_ApplicationCreateApplication(const char* url, int createChild, void* parentAppId,
                                        void** appId);

/// Subscribes to DSM-CC stream events; p1..p4 are passed on to the platform unchanged.
/// @param target "dvb://..." or relative to the carousel of the application's transport
/// @param p1 passed on
/// @param p2 passed on
/// @param p3 passed on
/// @param p4 passed on
/// @param windowId the browser's number of the script's window
/// @return OK once the platform was asked, whatever it answered; ERROR for an application that is
///         of no table, or has no transport for a relative target to lie in, and always for a null
///         browser handle
/// @thread{browser} @since 1.0
int native_BroadcastAddStreamEventListener(const char* target, void* p1, void* p2, void* p3,
                                           void* p4, long windowId);

/// Subscribes to stream events that an XML document describes; x1..x5 are passed on unchanged, with
/// the service id of the application's transport.
/// @param x1 passed on
/// @param x2 passed on
/// @param d1 its low 16 bits are passed on; 0 for what no 64-bit integer holds
/// @param d2 likewise
/// @param x3 passed on
/// @param x4 passed on
/// @param x5 passed on
/// @param windowId the browser's number of the script's window
/// @return as above; every application needs a transport
/// @thread{browser} @since 1.0
int native_BroadcastAddXMLStreamEventListener(void* x1, void* x2, double d1, double d2, void* x3,
                                              void* x4, void* x5, long windowId);

/// Ends a subscription: everything is passed on to the platform unchanged.
/// @param target may be null
/// @param p1 passed on
/// @param p2 passed on
/// @param p3 passed on
/// @param p4 passed on
/// @param windowId the browser's number of the script's window
/// @return always OK
/// @thread{browser} @since 1.0
int native_BroadcastRemoveStreamEventListener(const char* target, void* p1, void* p2, void* p3,
                                              void* p4, long windowId);

/// Ends all subscriptions, likewise.
/// @param p1 passed on
/// @param windowId the browser's number of the script's window
/// @return always OK
/// @thread{browser} @since 1.0
int native_BroadcastRemoveAllStreamEventListeners(void* p1, long windowId);

#ifdef __cplusplus
}  // extern "C"
#endif

#pragma GCC visibility pop

#endif
