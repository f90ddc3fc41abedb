/// @file
/// The binary interface: the place and size of every field, for receivers of 32 and of 64 bits,
/// checked where this header is compiled, as C or as C++. The library does so; an integration does
/// it in one of its files, so that options of its own that change layouts (packing, short
/// enumerations) are noticed.
#ifndef VESTA_HBBTV_LAYOUT_H
#define VESTA_HBBTV_LAYOUT_H

#include <assert.h>
#include <stddef.h>
#include <stdint.h>

#include "vesta_browser.h"
#include "vesta_hbbtv_appman.h"

#include "vesta_hbbtv_diagnosis.h"

/// @cond
#ifdef __cplusplus
#define VESTA_SIZE_OF_FIELD(record, field) sizeof(decltype(record::field))
namespace VestaHbbTV {
#else
#define VESTA_SIZE_OF_FIELD(record, field) sizeof(((record*)0)->field)
#endif

#if UINTPTR_MAX == 0xFFFFFFFFu
#define VESTA_OF_WIDTH(with32, with64) (with32)
#else
#define VESTA_OF_WIDTH(with32, with64) (with64)
#endif
#define VESTA_CHECK_FIELD(record, field, offset32, size32, offset64, size64)                       \
    static_assert(offsetof(record, field) == VESTA_OF_WIDTH(offset32, offset64) &&                 \
                      VESTA_SIZE_OF_FIELD(record, field) == VESTA_OF_WIDTH(size32, size64),        \
                  #record "." #field)
#define VESTA_CHECK_SIZE(type, size32, size64)                                                     \
    static_assert(sizeof(type) == VESTA_OF_WIDTH(size32, size64), #type)

VESTA_CHECK_SIZE(TAVO_VESTA_EVENT, 4, 4);
VESTA_CHECK_SIZE(TAVO_VIRTUAL_KEY, 4, 4);
VESTA_CHECK_SIZE(HBBTV_EventType, 4, 4);
VESTA_CHECK_SIZE(HBBTV_NotificationType, 4, 4);
VESTA_CHECK_SIZE(HBBTV_ApplicationActionType, 4, 4);
VESTA_CHECK_SIZE(HBBTV_XHR_Permission, 4, 4);
VESTA_CHECK_SIZE(HBBTV_STATUS, 4, 4);

VESTA_CHECK_FIELD(TavoVestaEventData, url, 0, 4, 0, 8);
VESTA_CHECK_FIELD(TavoVestaEventData, second_url, 4, 4, 8, 8);
VESTA_CHECK_FIELD(TavoVestaEventData, request_id, 8, 4, 16, 8);
VESTA_CHECK_FIELD(TavoVestaEventData, load_status, 12, 4, 24, 4);
VESTA_CHECK_FIELD(TavoVestaEventData, http_status, 16, 2, 28, 2);
VESTA_CHECK_SIZE(TavoVestaEventData, 20, 32);

VESTA_CHECK_FIELD(TAVO_KeyboardEvent, type, 0, 4, 0, 4);
VESTA_CHECK_FIELD(TAVO_KeyboardEvent, key_code, 4, 4, 4, 4);
VESTA_CHECK_SIZE(TAVO_KeyboardEvent, 8, 8);

VESTA_CHECK_FIELD(HBBTV_AITSectionEventData, section, 0, 4, 0, 8);
VESTA_CHECK_FIELD(HBBTV_AITSectionEventData, reserved, 4, 4, 8, 4);
VESTA_CHECK_FIELD(HBBTV_AITSectionEventData, original_network_id, 8, 2, 12, 2);
VESTA_CHECK_FIELD(HBBTV_AITSectionEventData, transport_stream_id, 10, 2, 14, 2);
VESTA_CHECK_FIELD(HBBTV_AITSectionEventData, service_id, 12, 2, 16, 2);
VESTA_CHECK_FIELD(HBBTV_AITSectionEventData, keepApplication, 16, 4, 24, 8);
VESTA_CHECK_FIELD(HBBTV_AITSectionEventData, channelHandle, 20, 4, 32, 8);
VESTA_CHECK_SIZE(HBBTV_AITSectionEventData, 24, 40);

VESTA_CHECK_FIELD(HBBTV_StartApplicationEventData, window, 0, 4, 0, 8);
VESTA_CHECK_FIELD(HBBTV_StartApplicationEventData, reserved, 4, 4, 8, 4);
VESTA_CHECK_FIELD(HBBTV_StartApplicationEventData, organisationId, 8, 4, 12, 4);
VESTA_CHECK_FIELD(HBBTV_StartApplicationEventData, applicationId, 12, 2, 16, 2);
VESTA_CHECK_SIZE(HBBTV_StartApplicationEventData, 16, 24);

VESTA_CHECK_FIELD(HBBTV_StartURLEventData, window, 0, 4, 0, 8);
VESTA_CHECK_FIELD(HBBTV_StartURLEventData, url, 4, 4, 8, 8);
VESTA_CHECK_SIZE(HBBTV_StartURLEventData, 8, 16);

VESTA_CHECK_FIELD(HBBTV_WindowEventData, window, 0, 4, 0, 8);
VESTA_CHECK_SIZE(HBBTV_WindowEventData, 4, 8);

VESTA_CHECK_FIELD(HBBTV_DownloadEventData, downloadId, 0, 4, 0, 8);
VESTA_CHECK_SIZE(HBBTV_DownloadEventData, 4, 8);

VESTA_CHECK_FIELD(HBBTV_StreamEventData, reserved, 0, 4, 0, 4);
VESTA_CHECK_FIELD(HBBTV_StreamEventData, callback, 4, 4, 8, 8);
VESTA_CHECK_FIELD(HBBTV_StreamEventData, value1, 8, 4, 16, 4);
VESTA_CHECK_FIELD(HBBTV_StreamEventData, string1, 12, 4, 24, 8);
VESTA_CHECK_FIELD(HBBTV_StreamEventData, string2, 16, 4, 32, 8);
VESTA_CHECK_FIELD(HBBTV_StreamEventData, string3, 20, 4, 40, 8);
VESTA_CHECK_FIELD(HBBTV_StreamEventData, string4, 24, 4, 48, 8);
VESTA_CHECK_FIELD(HBBTV_StreamEventData, value2, 28, 4, 56, 4);
VESTA_CHECK_SIZE(HBBTV_StreamEventData, 32, 64);

VESTA_CHECK_FIELD(HBBTV_UserAgentEventData, versionSelector, 0, 2, 0, 2);
VESTA_CHECK_FIELD(HBBTV_UserAgentEventData, capabilities, 4, 4, 8, 8);
VESTA_CHECK_FIELD(HBBTV_UserAgentEventData, vendorName, 8, 4, 16, 8);
VESTA_CHECK_FIELD(HBBTV_UserAgentEventData, modelName, 12, 4, 24, 8);
VESTA_CHECK_FIELD(HBBTV_UserAgentEventData, softwareVersion, 16, 4, 32, 8);
VESTA_CHECK_FIELD(HBBTV_UserAgentEventData, hardwareVersion, 20, 4, 40, 8);
VESTA_CHECK_FIELD(HBBTV_UserAgentEventData, reserved, 24, 4, 48, 8);
VESTA_CHECK_SIZE(HBBTV_UserAgentEventData, 28, 56);

VESTA_CHECK_FIELD(HBBTV_ProfilesEventData, supportedProfiles, 0, 2, 0, 2);
VESTA_CHECK_SIZE(HBBTV_ProfilesEventData, 2, 2);

VESTA_CHECK_FIELD(HBBTV_ApplicationNotificationData, window, 0, 4, 0, 8);
VESTA_CHECK_FIELD(HBBTV_ApplicationNotificationData, broadcastRelated, 4, 4, 8, 4);
VESTA_CHECK_FIELD(HBBTV_ApplicationNotificationData, serviceBound, 8, 4, 12, 4);
VESTA_CHECK_FIELD(HBBTV_ApplicationNotificationData, trusted, 12, 4, 16, 4);
VESTA_CHECK_FIELD(HBBTV_ApplicationNotificationData, autostart, 16, 4, 20, 4);
VESTA_CHECK_FIELD(HBBTV_ApplicationNotificationData, organisationId, 20, 4, 24, 8);
VESTA_CHECK_FIELD(HBBTV_ApplicationNotificationData, applicationId, 24, 2, 32, 2);
VESTA_CHECK_FIELD(HBBTV_ApplicationNotificationData, url, 28, 4, 40, 8);
VESTA_CHECK_FIELD(HBBTV_ApplicationNotificationData, reactivateAIT, 32, 4, 48, 8);
VESTA_CHECK_FIELD(HBBTV_ApplicationNotificationData, usageType, 36, 1, 56, 1);
VESTA_CHECK_FIELD(HBBTV_ApplicationNotificationData, action, 40, 4, 60, 4);
VESTA_CHECK_SIZE(HBBTV_ApplicationNotificationData, 44, 64);

VESTA_CHECK_FIELD(HBBTV_AITApplicationInfo, name, 0, 4, 0, 8);
VESTA_CHECK_FIELD(HBBTV_AITApplicationInfo, organisationId, 4, 4, 8, 8);
VESTA_CHECK_FIELD(HBBTV_AITApplicationInfo, applicationId, 8, 2, 16, 2);
VESTA_CHECK_FIELD(HBBTV_AITApplicationInfo, numUrls, 12, 4, 20, 4);
VESTA_CHECK_FIELD(HBBTV_AITApplicationInfo, urls, 16, 4, 24, 8);
VESTA_CHECK_FIELD(HBBTV_AITApplicationInfo, usageType, 20, 4, 32, 4);
VESTA_CHECK_FIELD(HBBTV_AITApplicationInfo, controlCode, 24, 4, 36, 4);
VESTA_CHECK_FIELD(HBBTV_AITApplicationInfo, hasHttpTransport, 28, 1, 40, 1);
VESTA_CHECK_FIELD(HBBTV_AITApplicationInfo, hasOCTransport, 29, 1, 41, 1);
VESTA_CHECK_SIZE(HBBTV_AITApplicationInfo, 32, 48);

VESTA_CHECK_FIELD(HBBTV_AITNotificationData, window, 0, 4, 0, 8);
VESTA_CHECK_FIELD(HBBTV_AITNotificationData, isXML, 4, 4, 8, 4);
VESTA_CHECK_FIELD(HBBTV_AITNotificationData, numApplications, 8, 4, 12, 4);
VESTA_CHECK_FIELD(HBBTV_AITNotificationData, applications, 12, 4, 16, 8);
VESTA_CHECK_FIELD(HBBTV_AITNotificationData, reserved, 16, 4, 24, 4);
VESTA_CHECK_SIZE(HBBTV_AITNotificationData, 20, 32);

VESTA_CHECK_FIELD(HBBTV_XHRNotificationData, documentUrl, 0, 4, 0, 8);
VESTA_CHECK_FIELD(HBBTV_XHRNotificationData, requestUrl, 4, 4, 8, 8);
VESTA_CHECK_FIELD(HBBTV_XHRNotificationData, permission, 8, 4, 16, 4);
VESTA_CHECK_SIZE(HBBTV_XHRNotificationData, 12, 24);

VESTA_CHECK_FIELD(HBBTV_WindowNotificationData, tavoWindow, 0, 4, 0, 8);
VESTA_CHECK_FIELD(HBBTV_WindowNotificationData, success, 4, 4, 8, 4);
VESTA_CHECK_FIELD(HBBTV_WindowNotificationData, window, 8, 4, 16, 8);
VESTA_CHECK_SIZE(HBBTV_WindowNotificationData, 12, 24);

VESTA_CHECK_FIELD(HBBTV_KeysetNotificationData, tavoWindow, 0, 4, 0, 8);
VESTA_CHECK_FIELD(HBBTV_KeysetNotificationData, keysetValue, 4, 4, 8, 4);
VESTA_CHECK_SIZE(HBBTV_KeysetNotificationData, 8, 16);

VESTA_CHECK_FIELD(HBBTV_MemoryNotificationData, freeMemory, 0, 4, 0, 8);
VESTA_CHECK_SIZE(HBBTV_MemoryNotificationData, 4, 8);
VESTA_CHECK_SIZE(HBBTV_EventData, 32, 64);
VESTA_CHECK_SIZE(HBBTV_NotificationData, 44, 64);

// May grow, which its size tells.
VESTA_CHECK_FIELD(HBBTV_Decision, size, 0, 4, 0, 8);
VESTA_CHECK_FIELD(HBBTV_Decision, subject, 4, 4, 8, 4);
VESTA_CHECK_FIELD(HBBTV_Decision, verdict, 8, 4, 12, 4);
VESTA_CHECK_FIELD(HBBTV_Decision, reason, 12, 4, 16, 4);
VESTA_CHECK_FIELD(HBBTV_Decision, organisationId, 16, 4, 20, 4);
VESTA_CHECK_FIELD(HBBTV_Decision, applicationId, 20, 4, 24, 4);
VESTA_CHECK_FIELD(HBBTV_Decision, wanted, 24, 4, 28, 4);
VESTA_CHECK_FIELD(HBBTV_Decision, had, 28, 4, 32, 4);
VESTA_CHECK_FIELD(HBBTV_Decision, window, 32, 4, 40, 8);
VESTA_CHECK_FIELD(HBBTV_Decision, scriptApplication, 36, 4, 48, 8);
VESTA_CHECK_FIELD(HBBTV_Decision, text, 40, 4, 56, 8);

#ifdef __cplusplus
}  // namespace VestaHbbTV
#endif
/// @endcond

#endif
