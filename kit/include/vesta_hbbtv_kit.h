/// @file
/// The kit: what an integration of the HbbTV application manager needs beside it, for C and C++.
///
/// The feed's functions may be called on any thread, one at a time; everything else belongs to the
/// browser thread. Failures are return values, and nothing is thrown.
#ifndef VESTA_HBBTV_KIT_H
#define VESTA_HBBTV_KIT_H

#include <stddef.h>
#include <stdint.h>

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

/// What became of a document that was to be loaded.
enum HBBTV_KitXMLAITStatus {
    HBBTV_KIT_XML_AIT_OK = 0,               ///< its table comes in force on a later tick
    HBBTV_KIT_XML_AIT_NOT_INITIALISED = 1,  ///< the application manager does not run
    HBBTV_KIT_XML_AIT_UNKNOWN_WINDOW = 2,   ///< null, foreign, or the handle of a released window
    HBBTV_KIT_XML_AIT_NO_DOCUMENT = 3,      ///< null bytes
    HBBTV_KIT_XML_AIT_NOT_WELL_FORMED = 4,  ///< no XML, or with declarations of its own
    HBBTV_KIT_XML_AIT_INVALID = 5,          ///< XML, but something of it is wrong or missing
    HBBTV_KIT_XML_AIT_TOO_LARGE = 6,        ///< one of the limits below is exceeded
    HBBTV_KIT_XML_AIT_OUT_OF_MEMORY = 7
};

/// The answer to a document.
typedef struct HBBTV_KitXMLAITResult {
    int status;           ///< an HBBTV_KitXMLAITStatus
    unsigned int line;    ///< of the fault, from 1; 0 where the fault is not in the document
    unsigned int column;  ///< likewise, in characters
    /// What is wrong and what was expected, such as: controlCode "AUTOSTRAT": expected AUTOSTART,
    /// PRESENT, ... In printable ASCII, terminated, for log and developer; empty where nothing is.
    char text[244];
} HBBTV_KitXMLAITResult;

/// Reads an XML AIT (ETSI TS 102 809, 5.4, as ETSI TS 102 796, 7.2.3.2 uses it) and puts its table
/// in force in a window: on one of the next ticks listeners hear of it
/// (HBBTV_NOTIFICATION_AIT_UPDATE with isXML), and its application starts. Where anything is wrong,
/// nothing is put in force, and the table before it stays.
///
/// Limits: documents of 1 MiB, elements 32 deep, 256 applications; of each application 32 names,
/// 32 boundary extensions, 16 transports and 256 elements that count; texts of 4096 bytes, the
/// document's URL of 2048. Reading takes less than six times the document and 256 KiB.
/// @param window a handle of the application manager
/// @param bytes the document as it was fetched, in UTF-8, UTF-16, ISO-8859-1 or US-ASCII; borrowed
///        for the call
/// @param length its size in bytes
/// @param documentUrl where the document came from, percent-encoded, for its relative URLs; null
///        where that is not known: they are faults then
/// @return its status, and where a fault is
/// @thread{browser} @since 1.0
HBBTV_KitXMLAITResult hbbtv_kit_load_xml_ait(void* window, const void* bytes, size_t length,
                                             const char* documentUrl);

/// @name The AIT feed
/// Takes every section that the demultiplexer delivers, and gives the application manager whole,
/// clean tables.
/// @{

/// Why a section goes no further.
enum HBBTV_KitSectionFault {
    HBBTV_KIT_SECTION_OK = 0,
    HBBTV_KIT_SECTION_INCOMPLETE = 1,    ///< fewer bytes than its section_length announces
    HBBTV_KIT_SECTION_NOT_AIT = 2,       ///< another table_id
    HBBTV_KIT_SECTION_LENGTH = 3,        ///< shorter than its fields, or longer than 1024 bytes
    HBBTV_KIT_SECTION_SYNTAX = 4,        ///< section_syntax_indicator is 0
    HBBTV_KIT_SECTION_CRC = 5,           ///< CRC_32 does not match
    HBBTV_KIT_SECTION_TYPE = 6,          ///< another application_type than the one that counts
    HBBTV_KIT_SECTION_TEST = 7,          ///< test_application_flag is set
    HBBTV_KIT_SECTION_NOT_CURRENT = 8,   ///< current_next_indicator is 0
    HBBTV_KIT_SECTION_NUMBER = 9,        ///< section_number above last_section_number
    HBBTV_KIT_SECTION_COMMON_LOOP = 10,  ///< the common loop leaves the section
    HBBTV_KIT_SECTION_APPLICATION_LOOP = 11,  ///< so does the application loop, or it is missing
    HBBTV_KIT_SECTION_APPLICATION = 12,       ///< an application leaves the application loop
    HBBTV_KIT_SECTION_DESCRIPTOR = 13,        ///< a descriptor leaves its loop
    HBBTV_KIT_SECTION_EMPTY_DESCRIPTOR = 14,  ///< one of length 0 that is not to be taken out
    HBBTV_KIT_SECTION_NAME = 15,              ///< an application name leaves its loop
    HBBTV_KIT_SECTION_REFUSED = 16,   ///< right, but the application manager's reader refuses it
    HBBTV_KIT_SECTION_UNLISTED = 17,  ///< from a PID that the PMT does not list, or not chosen
    HBBTV_KIT_SECTION_LATE = 18,      ///< of a service that was left
    HBBTV_KIT_SECTION_PMT = 19,       ///< a PMT that is damaged, or of another service
    HBBTV_KIT_SECTION_FAULTS = 20     ///< how many there are
};

/// Why a whole table goes no further.
enum HBBTV_KitTableFault {
    HBBTV_KIT_TABLE_OK = 0,
    HBBTV_KIT_TABLE_APPLICATIONS = 1,  ///< more applications than the feed's limit
    HBBTV_KIT_TABLE_TEXT = 2,          ///< names, URLs, locations and boundaries are too long
    HBBTV_KIT_TABLE_LABELS = 3,        ///< more transport protocol labels than the limit
    HBBTV_KIT_TABLE_SECTIONS = 4,      ///< the tables of all PIDs have more than 256 sections
    /// Tables of two PIDs, which are to be one, have different common transports of one label.
    HBBTV_KIT_TABLE_LABELS_CLASH = 5
};

/// What a feed reports.
enum HBBTV_KitFeedEvent {
    /// `pid`, `fault` (an HBBTV_KitSectionFault), `offset`, `tag`. Reported once for each fault on
    /// each PID of a service; all are counted.
    HBBTV_KIT_FEED_SECTION_REFUSED = 0,
    /// `pid`, `fault` (an HBBTV_KitTableFault), `version`.
    HBBTV_KIT_FEED_TABLE_REFUSED = 1,
    /// `pid`, `version`: the PMT announces another version. This table is sent when the PMT
    /// announces it, or when it is repeated. Reported once.
    HBBTV_KIT_FEED_TABLE_HELD_FOR_PMT = 2,
    /// `pid`, `version`, `sentVersion`, `sections`, `applications`: in the event queue.
    HBBTV_KIT_FEED_TABLE_SENT = 3,
    /// The application manager heard that there is no table, or none any more.
    HBBTV_KIT_FEED_WITHDRAWN = 4,
    /// `pid`: its tables are the service's. Reported with the first of them.
    HBBTV_KIT_FEED_PID_CHOSEN = 5,
    /// The table changes more often than the options allow; once until it is quiet again.
    HBBTV_KIT_FEED_FLAPPING = 6,
    /// `pid`, `version`, `sections`, `missing`: what came of a table comes again and again, and
    /// that section does not.
    HBBTV_KIT_FEED_TABLE_INCOMPLETE = 7
};

/// One report. What its event does not name is 0.
typedef struct HBBTV_KitFeedReport {
    size_t size;                ///< of this record, which may grow
    int event;                  ///< an HBBTV_KitFeedEvent, which says what is set besides
    int fault;                  ///< as the event says
    unsigned int pid;           ///< where it came from
    unsigned int version;       ///< as broadcast
    unsigned int sentVersion;   ///< as the application manager gets it
    unsigned int sections;      ///< of the table
    unsigned int applications;  ///< of the table
    unsigned int tag;           ///< of the descriptor
    size_t offset;              ///< in the section, from table_id
    unsigned int missing;       ///< the number of the first section that did not come
} HBBTV_KitFeedReport;

/// Called at the end of the function that brought it about. It may call the feed's functions, but
/// not hbbtv_kit_feed_destroy(); and it must not throw.
/// @param report valid for the call @param context as the options have it
typedef void (*HBBTV_KitFeedListener)(const HBBTV_KitFeedReport* report, void* context);

/// How a feed works. hbbtv_kit_feed_get_defaults() sets everything: call it first, and change what
/// is to be otherwise.
typedef struct HBBTV_KitFeedOptions {
    /// Of this record, which may grow, in bytes: so much of it counts, and what lies behind has its
    /// default. With 0, as in a record that was only zeroed, nothing of it counts, not even the
    /// listener.
    size_t size;

    /// @name Steps that can be left out: 0 leaves out
    /// @{
    int checksChecksum;            ///< 1: CRC_32 has to match
    int takesOutEmptyDescriptors;  ///< 1: of applications, where the application manager wants none
    /// 1: a table gets a new version exactly when its content changed. 0: it keeps its own, and one
    /// that comes back after it was withdrawn, or changes under it, takes no effect.
    int numbersVersions;
    int heedsAnnouncedVersion;  ///< 1: a table of another version than the PMT's is sent later
    /// @}

    int joinsPIDs;  ///< 1: the tables of all PIDs are one; 0: those of one PID count

    /// The version of HbbTV up to which this terminal carries applications: profiles up to it ask
    /// for 1.1.1 in what is sent. 0, 0, 0: they stay as they are.
    unsigned char carriedMajor;
    unsigned char carriedMinor;  ///< likewise
    unsigned char carriedMicro;  ///< likewise

    /// The application_type whose tables count: 0x0010, HbbTV; 0: every one.
    uint16_t applicationType;

    /// A table that was not repeated for so long, in milliseconds, is withdrawn, and a service of
    /// which none came for so long has none; 0: never. 20000: two of the longest intervals that
    /// ETSI TS 102 809, 5.3.4, allows.
    uint32_t withdrawnAfter;

    /// @name Limits of a table, of what the application manager makes of it
    /// @{
    uint32_t mostApplications;  ///< 256
    uint32_t mostTextBytes;  ///< 65536; of names, URLs, boundaries, and locations in each transport
    uint32_t mostLabels;     ///< 1024
    /// @}

    /// @name Tables that change too often
    /// @{
    uint32_t mostChanges;     ///< 8
    uint32_t changesWithin;   ///< 60000 ms; more changes than those in this time are reported
    uint32_t heldUntilQuiet;  ///< 0; ms without a change until a flapping table is sent; 0: at once
    /// @}

    HBBTV_KitFeedListener listener;  ///< null: nothing is reported
    void* context;                   ///< the listener's
} HBBTV_KitFeedOptions;

/// A feed; opaque.
typedef struct HBBTV_KitAITFeed HBBTV_KitAITFeed;

/// Sets everything to the values that the fields name.
/// @param options its `size` included; null is ignored
/// @thread{one at a time} @since 1.0
void hbbtv_kit_feed_get_defaults(HBBTV_KitFeedOptions* options);

/// A feed, for the time between vesta_hbbtv_init() and vesta_hbbtv_shutdown(): while the
/// application manager does not run, nothing is sent. All its functions are to be called on one
/// thread at a time, whichever it is; none of them waits for anything but what
/// vesta_hbbtv_send_event() locks.
/// @param options copied, as far as its `size` says; null for the defaults
/// @return to be destroyed; null where there is no memory
/// @thread{one at a time} @since 1.0
HBBTV_KitAITFeed* hbbtv_kit_feed_create(const HBBTV_KitFeedOptions* options);

/// Frees a feed. Nothing is sent.
/// @param feed null is ignored
/// @thread{one at a time} @since 1.0
void hbbtv_kit_feed_destroy(HBBTV_KitAITFeed* feed);

/// The receiver tunes to a service: sends E_CHANNEL_CHANGE, and forgets the former one. Where the
/// service has no table, or none comes within `withdrawnAfter`, the application manager hears of
/// that. To be called after vesta_hbbtv_init(): what is sent before it is lost, E_CHANNEL_CHANGE
/// too. And to be called again, for the same service, where the application manager was started
/// anew or was given another broadcast window: what was sent before that is not sent again.
/// @param channel the integrator's, for the table's applications (HBBTV_AITSectionEventData); may
///        be null. It is handed on and never followed or freed, by neither library: it must mean
///        something as long as an application may be asked for its channel
/// @param feed null is ignored: the answer is 0 then
/// @param originalNetworkId of the service
/// @param transportStreamId of the service
/// @param serviceId its program_number
/// @return what tells the service's sections from those of services that were left: to be given
///         with each; never 0
/// @thread{one at a time} @since 1.0
uint32_t hbbtv_kit_feed_tune(HBBTV_KitAITFeed* feed, uint16_t originalNetworkId,
                             uint16_t transportStreamId, uint16_t serviceId, void* channel);

/// The service's PMT, at every change or at every repetition. The first eight streams that it names
/// for tables, and the first eight of which it says nothing, are looked at.
/// @param tuning as hbbtv_kit_feed_tune() answered
/// @param section of program_number `serviceId`; borrowed for the call; null counts as a damaged
///        PMT (HBBTV_KIT_SECTION_PMT), unlike in hbbtv_kit_feed_section()
/// @param size of what is there; only the section's own bytes are read
/// @param now a time that does not go back, in milliseconds
/// @param feed null is ignored
/// @thread{one at a time} @since 1.0
void hbbtv_kit_feed_pmt(HBBTV_KitAITFeed* feed, uint32_t tuning, const unsigned char* section,
                        size_t size, uint64_t now);

/// A section of one of the PIDs that the PMT lists.
/// @param size of what is there; only the section's own bytes are read
/// @param feed null is ignored
/// @param tuning as hbbtv_kit_feed_tune() answered
/// @param pid where it came from
/// @param section borrowed for the call; null counts as an incomplete one
///        (HBBTV_KIT_SECTION_INCOMPLETE)
/// @param now a time that does not go back, in milliseconds
/// @thread{one at a time} @since 1.0
void hbbtv_kit_feed_section(HBBTV_KitAITFeed* feed, uint32_t tuning, unsigned int pid,
                            const unsigned char* section, size_t size, uint64_t now);

/// Time goes on though no section comes; once a second is often enough.
/// @param feed null is ignored
/// @param now a time that does not go back, in milliseconds
/// @thread{one at a time} @since 1.0
void hbbtv_kit_feed_time(HBBTV_KitAITFeed* feed, uint64_t now);

/// @param fault an HBBTV_KitSectionFault
/// @param feed null has none
/// @return how many sections had it since the feed was made; 0 for any other number
/// @thread{one at a time} @since 1.0
uint64_t hbbtv_kit_feed_get_count(const HBBTV_KitAITFeed* feed, int fault);

/// For log and developer, such as "a descriptor leaves its loop".
/// @param fault an HBBTV_KitSectionFault
/// @return static; empty for HBBTV_KIT_SECTION_OK, and for any other number
/// @thread{any} @since 1.0
const char* hbbtv_kit_section_fault_text(int fault);

/// Likewise, such as "more applications than the limit".
/// @param fault an HBBTV_KitTableFault
/// @return static; empty for HBBTV_KIT_TABLE_OK, and for any other number
/// @thread{any} @since 1.0
const char* hbbtv_kit_table_fault_text(int fault);
/// @}

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif
