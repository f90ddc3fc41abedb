/// The kit: what an integration of the HbbTV application manager needs beside it, for C and C++.
///
/// What stands in this file belongs to the browser thread; the feed has a thread of its own.
/// Failures are return values, and nothing is thrown.
#ifndef VESTA_HBBTV_KIT_H
#define VESTA_HBBTV_KIT_H

#include <stddef.h>

#include "vesta_hbbtv_kit_feed.h"

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
HBBTV_KitXMLAITResult hbbtv_kit_load_xml_ait(void* window, const void* bytes, size_t length,
                                             const char* documentUrl);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif
