/// The binary interface of the 32-bit receiver: the place and size of every field, checked where
/// this header is compiled. The library does so; an integration does it in one of its files, so
/// that options of its own that change layouts (packing, short enumerations) are noticed.
#ifndef VESTA_HBBTV_LAYOUT_H
#define VESTA_HBBTV_LAYOUT_H

#include <cstddef>
#include <cstdint>

#include "vesta_browser.h"
#include "vesta_hbbtv_appman.h"

#if UINTPTR_MAX == 0xFFFFFFFFu

namespace VestaHbbTV {

#define VESTA_CHECK_FIELD(record, field, offset, size)                                             \
    static_assert(offsetof(record, field) == (offset) && sizeof(record::field) == (size),          \
                  #record "." #field)
VESTA_CHECK_FIELD(TavoVestaEventData, url, 0, 4);
VESTA_CHECK_FIELD(TavoVestaEventData, second_url, 4, 4);
VESTA_CHECK_FIELD(TavoVestaEventData, request_id, 8, 4);
VESTA_CHECK_FIELD(TavoVestaEventData, load_status, 12, 4);
VESTA_CHECK_FIELD(TavoVestaEventData, http_status, 16, 2);
VESTA_CHECK_FIELD(TAVO_KeyboardEvent, type, 0, 4);
VESTA_CHECK_FIELD(TAVO_KeyboardEvent, key_code, 4, 4);
static_assert(sizeof(TavoVestaEventData) == 20, "TavoVestaEventData");
static_assert(sizeof(TAVO_KeyboardEvent) == 8, "TAVO_KeyboardEvent");

VESTA_CHECK_FIELD(HBBTV_AITSectionEventData, section, 0, 4);
VESTA_CHECK_FIELD(HBBTV_AITSectionEventData, reserved, 4, 4);
VESTA_CHECK_FIELD(HBBTV_AITSectionEventData, original_network_id, 8, 2);
VESTA_CHECK_FIELD(HBBTV_AITSectionEventData, transport_stream_id, 10, 2);
VESTA_CHECK_FIELD(HBBTV_AITSectionEventData, service_id, 12, 2);
VESTA_CHECK_FIELD(HBBTV_AITSectionEventData, keepApplication, 16, 4);
VESTA_CHECK_FIELD(HBBTV_AITSectionEventData, channelHandle, 20, 4);
VESTA_CHECK_FIELD(HBBTV_StartApplicationEventData, window, 0, 4);
VESTA_CHECK_FIELD(HBBTV_StartApplicationEventData, reserved, 4, 4);
VESTA_CHECK_FIELD(HBBTV_StartApplicationEventData, organisationId, 8, 4);
VESTA_CHECK_FIELD(HBBTV_StartApplicationEventData, applicationId, 12, 2);
VESTA_CHECK_FIELD(HBBTV_StartURLEventData, window, 0, 4);
VESTA_CHECK_FIELD(HBBTV_StartURLEventData, url, 4, 4);
VESTA_CHECK_FIELD(HBBTV_WindowEventData, window, 0, 4);
VESTA_CHECK_FIELD(HBBTV_DownloadEventData, downloadId, 0, 4);
VESTA_CHECK_FIELD(HBBTV_StreamEventData, reserved, 0, 4);
VESTA_CHECK_FIELD(HBBTV_StreamEventData, callback, 4, 4);
VESTA_CHECK_FIELD(HBBTV_StreamEventData, value1, 8, 4);
VESTA_CHECK_FIELD(HBBTV_StreamEventData, string1, 12, 4);
VESTA_CHECK_FIELD(HBBTV_StreamEventData, string2, 16, 4);
VESTA_CHECK_FIELD(HBBTV_StreamEventData, string3, 20, 4);
VESTA_CHECK_FIELD(HBBTV_StreamEventData, string4, 24, 4);
VESTA_CHECK_FIELD(HBBTV_StreamEventData, value2, 28, 4);
VESTA_CHECK_FIELD(HBBTV_UserAgentEventData, versionSelector, 0, 2);
VESTA_CHECK_FIELD(HBBTV_UserAgentEventData, capabilities, 4, 4);
VESTA_CHECK_FIELD(HBBTV_UserAgentEventData, vendorName, 8, 4);
VESTA_CHECK_FIELD(HBBTV_UserAgentEventData, modelName, 12, 4);
VESTA_CHECK_FIELD(HBBTV_UserAgentEventData, softwareVersion, 16, 4);
VESTA_CHECK_FIELD(HBBTV_UserAgentEventData, hardwareVersion, 20, 4);
VESTA_CHECK_FIELD(HBBTV_UserAgentEventData, reserved, 24, 4);
VESTA_CHECK_FIELD(HBBTV_ProfilesEventData, supportedProfiles, 0, 2);
static_assert(sizeof(HBBTV_AITSectionEventData) == 24, "HBBTV_AITSectionEventData");
static_assert(sizeof(HBBTV_StartApplicationEventData) == 16, "HBBTV_StartApplicationEventData");
static_assert(sizeof(HBBTV_StartURLEventData) == 8, "HBBTV_StartURLEventData");
static_assert(sizeof(HBBTV_WindowEventData) == 4, "HBBTV_WindowEventData");
static_assert(sizeof(HBBTV_DownloadEventData) == 4, "HBBTV_DownloadEventData");
static_assert(sizeof(HBBTV_StreamEventData) == 32, "HBBTV_StreamEventData");
static_assert(sizeof(HBBTV_UserAgentEventData) == 28, "HBBTV_UserAgentEventData");
static_assert(sizeof(HBBTV_ProfilesEventData) == 2, "HBBTV_ProfilesEventData");
static_assert(sizeof(HBBTV_EventData) == 32, "HBBTV_EventData");

VESTA_CHECK_FIELD(HBBTV_ApplicationNotificationData, window, 0, 4);
VESTA_CHECK_FIELD(HBBTV_ApplicationNotificationData, broadcastRelated, 4, 4);
VESTA_CHECK_FIELD(HBBTV_ApplicationNotificationData, serviceBound, 8, 4);
VESTA_CHECK_FIELD(HBBTV_ApplicationNotificationData, trusted, 12, 4);
VESTA_CHECK_FIELD(HBBTV_ApplicationNotificationData, autostart, 16, 4);
VESTA_CHECK_FIELD(HBBTV_ApplicationNotificationData, organisationId, 20, 4);
VESTA_CHECK_FIELD(HBBTV_ApplicationNotificationData, applicationId, 24, 2);
VESTA_CHECK_FIELD(HBBTV_ApplicationNotificationData, url, 28, 4);
VESTA_CHECK_FIELD(HBBTV_ApplicationNotificationData, reactivateAIT, 32, 4);
VESTA_CHECK_FIELD(HBBTV_ApplicationNotificationData, usageType, 36, 1);
VESTA_CHECK_FIELD(HBBTV_ApplicationNotificationData, action, 40, 4);
VESTA_CHECK_FIELD(HBBTV_AITApplicationInfo, name, 0, 4);
VESTA_CHECK_FIELD(HBBTV_AITApplicationInfo, organisationId, 4, 4);
VESTA_CHECK_FIELD(HBBTV_AITApplicationInfo, applicationId, 8, 2);
VESTA_CHECK_FIELD(HBBTV_AITApplicationInfo, numUrls, 12, 4);
VESTA_CHECK_FIELD(HBBTV_AITApplicationInfo, urls, 16, 4);
VESTA_CHECK_FIELD(HBBTV_AITApplicationInfo, usageType, 20, 4);
VESTA_CHECK_FIELD(HBBTV_AITApplicationInfo, controlCode, 24, 4);
VESTA_CHECK_FIELD(HBBTV_AITApplicationInfo, hasHttpTransport, 28, 1);
VESTA_CHECK_FIELD(HBBTV_AITApplicationInfo, hasOCTransport, 29, 1);
VESTA_CHECK_FIELD(HBBTV_AITNotificationData, window, 0, 4);
VESTA_CHECK_FIELD(HBBTV_AITNotificationData, isXML, 4, 4);
VESTA_CHECK_FIELD(HBBTV_AITNotificationData, numApplications, 8, 4);
VESTA_CHECK_FIELD(HBBTV_AITNotificationData, applications, 12, 4);
VESTA_CHECK_FIELD(HBBTV_AITNotificationData, reserved, 16, 4);
VESTA_CHECK_FIELD(HBBTV_XHRNotificationData, documentUrl, 0, 4);
VESTA_CHECK_FIELD(HBBTV_XHRNotificationData, requestUrl, 4, 4);
VESTA_CHECK_FIELD(HBBTV_XHRNotificationData, permission, 8, 4);
VESTA_CHECK_FIELD(HBBTV_WindowNotificationData, tavoWindow, 0, 4);
VESTA_CHECK_FIELD(HBBTV_WindowNotificationData, success, 4, 4);
VESTA_CHECK_FIELD(HBBTV_WindowNotificationData, window, 8, 4);
VESTA_CHECK_FIELD(HBBTV_KeysetNotificationData, tavoWindow, 0, 4);
VESTA_CHECK_FIELD(HBBTV_KeysetNotificationData, keysetValue, 4, 4);
VESTA_CHECK_FIELD(HBBTV_MemoryNotificationData, freeMemory, 0, 4);
static_assert(sizeof(HBBTV_ApplicationNotificationData) == 44, "application record");
static_assert(sizeof(HBBTV_AITApplicationInfo) == 32, "HBBTV_AITApplicationInfo");
static_assert(sizeof(HBBTV_AITNotificationData) == 20, "HBBTV_AITNotificationData");
static_assert(sizeof(HBBTV_XHRNotificationData) == 12, "HBBTV_XHRNotificationData");
static_assert(sizeof(HBBTV_WindowNotificationData) == 12, "HBBTV_WindowNotificationData");
static_assert(sizeof(HBBTV_KeysetNotificationData) == 8, "HBBTV_KeysetNotificationData");
static_assert(sizeof(HBBTV_MemoryNotificationData) == 4, "HBBTV_MemoryNotificationData");
static_assert(sizeof(HBBTV_NotificationData) == 44, "HBBTV_NotificationData");
#undef VESTA_CHECK_FIELD

}  // namespace VestaHbbTV

#endif

#endif
