/// @file
/// Why: what the application manager decided, and for what reason. For C and C++.
///
/// Nothing of it changes what the library does. Without a listener a decision costs the test of a
/// pointer.
#ifndef VESTA_HBBTV_DIAGNOSIS_H
#define VESTA_HBBTV_DIAGNOSIS_H

#include <stddef.h>
#include <stdint.h>

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

/// What was decided: a reason's number divided by 100.
enum HBBTV_DecisionSubject {
    HBBTV_DECISION_SECTION = 1,  ///< of an AIT
    HBBTV_DECISION_TABLE = 2,
    HBBTV_DECISION_START = 3,  ///< of an application
    HBBTV_DECISION_END = 4,    ///< of one, or a change of the one that runs
    HBBTV_DECISION_LOAD = 5,   ///< of a dvb: URL, or of a file of the carousel
    HBBTV_DECISION_KEY = 6,
    HBBTV_DECISION_REQUEST = 7,  ///< an XMLHttpRequest
    HBBTV_DECISION_NATIVE = 8
};

/// Why. The comments say what stands in the decision's numbers and its text. New reasons come with
/// new numbers; a number never changes its meaning.
enum HBBTV_Reason {
    HBBTV_REASON_SECTION_NO_BROADCAST_WINDOW = 101,
    HBBTV_REASON_SECTION_NOT_RUNNING = 102,
    HBBTV_REASON_SECTION_NOT_AIT = 103,           ///< `had` table_id
    HBBTV_REASON_SECTION_TOO_SHORT = 104,         ///< `had` section_length
    HBBTV_REASON_SECTION_COMMON_LOOP = 105,       ///< `wanted` offset, `had` length
    HBBTV_REASON_SECTION_APPLICATION_LOOP = 106,  ///< `wanted` offset, `had` length
    HBBTV_REASON_SECTION_APPLICATION = 107,       ///< `wanted` offset, `had` length
    HBBTV_REASON_SECTION_DESCRIPTOR = 108,        ///< `wanted` offset, `had` tag
    HBBTV_REASON_SECTION_EMPTY_DESCRIPTOR = 109,  ///< `wanted` offset, `had` tag
    HBBTV_REASON_SECTION_NAME = 110,              ///< `wanted` offset, `had` tag
    HBBTV_REASON_SECTION_OTHER_VERSION = 111,     ///< `wanted` the one begun, `had` the section's
    HBBTV_REASON_SECTION_TABLE_CLOSED = 112,      ///< `wanted` the version, `had` the section's
    HBBTV_REASON_SECTION_REPEATED = 113,          ///< `had` section_number
    HBBTV_REASON_SECTION_VERSION_IN_FORCE = 114,  ///< `had` the version
    HBBTV_REASON_TABLE_INCOMPLETE = 201,  ///< `wanted` the first missing, `had` the last number
    HBBTV_REASON_TABLE_SUPERSEDED = 202,  ///< `had` the version
    HBBTV_REASON_TABLE_NO_WINDOW = 203,
    HBBTV_REASON_TABLE_IN_FORCE = 204,  ///< `had` the version
    HBBTV_REASON_TABLE_VOID = 205,
    HBBTV_REASON_TABLE_GONE = 206,
    HBBTV_REASON_TABLE_WITHOUT_AUTOSTART = 207,  ///< `had` how many applications
    HBBTV_REASON_START_UNKNOWN_WINDOW = 301,
    HBBTV_REASON_START_NO_TABLE = 302,
    HBBTV_REASON_START_NOT_LISTED = 303,
    HBBTV_REASON_START_CONTROL_CODE = 304,  ///< `had` the control code
    HBBTV_REASON_START_NO_PROFILE = 305,
    HBBTV_REASON_START_PROFILE = 306,  ///< `wanted`, `had` the masks
    HBBTV_REASON_START_VERSION = 307,  ///< `wanted`, `had` as 0x10201 for 1.2.1
    HBBTV_REASON_START_NO_TRANSPORT = 308,
    HBBTV_REASON_START_LABEL_WITHOUT_TRANSPORT = 309,  ///< `wanted` the first label
    HBBTV_REASON_START_BROADBAND_OFF = 310,
    HBBTV_REASON_START_PROTOCOL = 311,
    HBBTV_REASON_START_NO_LOCATION = 312,
    HBBTV_REASON_START_TIME_SHIFT = 313,
    HBBTV_REASON_START_BLOCKED_AND_KILLED = 314,  ///< `text` the URL
    HBBTV_REASON_START_BLOCKED_AND_KEPT = 315,    ///< `text` the URL
    HBBTV_REASON_START_APPLICATION_ID = 316,      ///< `had` the id
    HBBTV_REASON_START_URL = 317,
    HBBTV_REASON_START_CLOSING = 318,
    HBBTV_REASON_START_TABLE_CHANGED = 319,
    HBBTV_REASON_START_NO_BROWSER_WINDOW = 320,
    HBBTV_REASON_START_SUPERSEDED = 321,
    HBBTV_REASON_START_LOWER_AUTOSTART = 322,
    HBBTV_REASON_STARTED = 323,  ///< `text` the URL
    HBBTV_REASON_END_KILLED = 401,
    HBBTV_REASON_END_NOT_LISTED = 402,
    HBBTV_REASON_END_SERVICE_BOUND = 403,
    HBBTV_REASON_END_WITHOUT_ENTRY = 404,
    HBBTV_REASON_END_NOT_ADOPTED = 405,
    HBBTV_REASON_END_REPLACED = 406,
    HBBTV_REASON_END_LOAD_FAILED = 407,
    HBBTV_REASON_END_CHILD_FAILED = 408,
    HBBTV_REASON_END_PARENT = 409,
    HBBTV_REASON_END_SCRIPT = 410,
    HBBTV_REASON_END_WINDOW_CLOSED = 411,
    HBBTV_REASON_END_TERMINATED = 412,
    HBBTV_REASON_END_TABLE_GONE = 413,
    HBBTV_REASON_END_BLOCKED = 414,
    HBBTV_REASON_END_TIME_SHIFT = 415,
    HBBTV_REASON_END_CHANNEL_TAKEN = 416,
    HBBTV_REASON_END_UNKNOWN_WINDOW = 417,
    HBBTV_REASON_KEPT = 420,
    HBBTV_REASON_ADOPTED = 421,
    HBBTV_REASON_NOT_ADOPTED_XML = 422,
    HBBTV_REASON_NOT_ADOPTED_CONTROL_CODE = 423,  ///< `had` the control code
    HBBTV_REASON_NOT_ADOPTED_TRANSPORT = 424,     ///< `text` that URL
    HBBTV_REASON_NOT_ADOPTED_BOUNDARY = 425,
    HBBTV_REASON_NEXT_TRANSPORT = 430,  ///< `text` the next URL
    HBBTV_REASON_NO_NEXT_TRANSPORT = 431,
    HBBTV_REASON_NEXT_AUTOSTART = 432,
    HBBTV_REASON_LATER_LOAD_FAILED = 433,
    HBBTV_REASON_REACTIVATED = 434,
    HBBTV_REASON_NOT_REACTIVATED = 435,
    HBBTV_REASON_PAGE_FAILED = 436,           ///< `had` the HTTP status, `text` the URL
    HBBTV_REASON_PAGE_NOT_WELL_FORMED = 437,  ///< `text` the URL
    HBBTV_REASON_LOAD_NOT_DVB = 501,          ///< `text` the URL
    HBBTV_REASON_LOAD_NO_APPLICATION = 502,   ///< `text` the URL
    HBBTV_REASON_LOAD_NOT_RELATED = 503,      ///< `text` the URL
    HBBTV_REASON_FILE_REFUSED = 504,          ///< `had` the answer, `text` the path
    HBBTV_REASON_FILE_UNREADABLE = 505,       ///< `text` the function
    HBBTV_REASON_FILE_FAILED = 506,
    HBBTV_REASON_FILE_UNKNOWN = 507,
    HBBTV_REASON_KEY_NO_APPLICATION = 601,        ///< `had` the key
    HBBTV_REASON_KEY_NOT_FOR_APPLICATIONS = 602,  ///< `had` the key
    HBBTV_REASON_KEY_NOT_GRANTED = 603,           ///< `wanted` the key's group, `had` the key set
    HBBTV_REASON_KEY_UP_WITHOUT_DOWN = 604,       ///< `had` the key
    HBBTV_REASON_KEYS_CUT = 605,                  ///< `wanted`, `had` the key sets
    HBBTV_REASON_REQUEST_NO_APPLICATION = 701,    ///< `text` the URL
    HBBTV_REASON_REQUEST_OUTSIDE = 702,           ///< `text` the URL
    HBBTV_REASON_REQUEST_LEFT_TO_BROWSER = 703,   ///< `text` the URL
    HBBTV_REASON_REQUEST_DENIED = 704,            ///< `text` the URL
    HBBTV_REASON_NATIVE_NULL = 801,
    HBBTV_REASON_NATIVE_UNKNOWN_APPLICATION = 802,
    HBBTV_REASON_NATIVE_UNKNOWN_WINDOW = 803,
    HBBTV_REASON_NATIVE_NO_BROWSER = 804,
    HBBTV_REASON_NATIVE_NO_ENTRY = 805,
    HBBTV_REASON_NATIVE_NO_CHANNEL = 806,
    HBBTV_REASON_NATIVE_URL = 807,            ///< `text` the URL
    HBBTV_REASON_NATIVE_BROADBAND_OFF = 808,  ///< `text` the URL
    HBBTV_REASON_NATIVE_OUTSIDE = 809         ///< `text` the URL
};

/// One decision. `wanted`, `had` and `text` belong to the reason; 0 and empty where it has none.
typedef struct HBBTV_Decision {
    size_t size;              ///< of this record, which may grow
    int subject;              ///< an HBBTV_DecisionSubject
    int verdict;              ///< 1: yes; 0: no
    int reason;               ///< an HBBTV_Reason
    uint32_t organisationId;  ///< of the application; 0 where there is none
    uint32_t applicationId;   ///< likewise
    uint32_t wanted;          ///< the reason's
    uint32_t had;             ///< the reason's
    void* window;             ///< the library's window handle; null where there is none
    void* scriptApplication;  ///< the application's id as scripts have it; null likewise
    const char* text;         ///< valid for the call; never null
} HBBTV_Decision;

/// Called synchronously, on the browser thread, where the decision falls. It may read and store,
/// and must neither call the library nor throw.
/// @param decision valid for the call @param context as it was set
typedef void (*HBBTV_DecisionListener)(const HBBTV_Decision* decision, void* context);

/// One listener, in place of the one before; browser thread, at any time, before vesta_hbbtv_init()
/// too. It stays over a shutdown.
/// @param listener null for none
/// @param context the listener's own; may be null
/// @thread{browser} @since 1.0
void vesta_hbbtv_set_decision_listener(HBBTV_DecisionListener listener, void* context);

/// What a reason means and what to do about it, in a sentence of English; any thread.
/// @param reason an HBBTV_Reason, or any other number
/// @return static; empty for a number that is no reason
/// @thread{any} @since 1.0
const char* vesta_hbbtv_reason_text(int reason);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif
