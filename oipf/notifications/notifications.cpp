#include "oipf/notifications/notifications.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "foundation/out_of_memory.h"
#include "signalling/ait.h"

namespace VestaHbbTV {

namespace {

HBBTV_NotificationData* zeroedRecord()
{
    return allocated(
        static_cast<HBBTV_NotificationData*>(std::calloc(1, sizeof(HBBTV_NotificationData))));
}

/// Deliberate: a reject record is not zeroed; listeners must not read what is not set.
HBBTV_NotificationData* rawRecord()
{
    return allocated(
        static_cast<HBBTV_NotificationData*>(std::malloc(sizeof(HBBTV_NotificationData))));
}

char* copyOf(const char* text)
{
    return allocated(::strdup(text ? text : ""));
}

/// What every record about one application says.
void identify(HBBTV_ApplicationNotificationData& record, void* window, bool broadcastRelated,
              unsigned long orgId, unsigned short appId, const char* url)
{
    record.window = window;
    record.broadcastRelated = broadcastRelated;
    record.organisationId = orgId;
    record.applicationId = appId;
    record.url = copyOf(url);
}

template <typename Element>
Element* zeroedArray(size_t count)
{
    return count ? allocated(static_cast<Element*>(std::calloc(count, sizeof(Element)))) : nullptr;
}

/// Fills the slots from the last to the first: listeners rely on the preferred transport standing
/// in the last one.
void fillURLs(HBBTV_AITApplicationInfo& info, const AITApplication& application)
{
    info.numUrls = static_cast<unsigned int>(application.getNumTransports() % 256);
    info.urls = zeroedArray<char*>(info.numUrls);
    const AITApplicationTransport* transport = application.getFirstAvailableTransport(true);
    for (unsigned int slot = info.numUrls; slot-- > 0;) {
        if (!transport)
            continue;
        const std::string url = transport->getURL(application.getApplicationLocation());
        info.urls[slot] = copyOf(url.c_str());
        transport = application.getNextAvailableTransport(transport, true);
    }
}

void fillApplication(HBBTV_AITApplicationInfo& info, const AITApplication& application)
{
    info.name = copyOf(application.getApplicationName().c_str());
    info.organisationId = application.getOrganisationId();
    info.applicationId = application.getApplicationId();
    info.usageType = application.getUsageType();
    info.controlCode = application.getApplicationDescriptor() ? application.getControlCode() : 0;
    info.hasHttpTransport =
        application.isTransportedOverProtocol(AITApplicationTransport::HTTP) ? 1 : 0;
    info.hasOCTransport =
        application.isTransportedOverProtocol(AITApplicationTransport::OBJECT_CAROUSEL) ? 1 : 0;
    fillURLs(info, application);
}

void freeApplication(HBBTV_AITApplicationInfo& info)
{
    std::free(info.name);
    for (unsigned int slot = 0; slot < info.numUrls; ++slot)
        std::free(info.urls[slot]);
    std::free(info.urls);
}

}  // namespace

Notification::Notification(HBBTV_NotificationType type, HBBTV_NotificationData* data)
    : type_(type), data_(data)
{
}

Notification::~Notification()
{
    std::free(data_);
}

StartApplicationNotification::StartApplicationNotification(void* window, bool broadcastRelated,
                                                           bool serviceBound, unsigned long orgId,
                                                           unsigned short appId, const char* url,
                                                           unsigned char usageType, bool autostart,
                                                           HBBTV_ApplicationActionType* answer)
    : Notification(HBBTV_NOTIFICATION_START_APPLICATION, zeroedRecord()), answer_(answer)
{
    HBBTV_ApplicationNotificationData& record = getData()->application;
    identify(record, window, broadcastRelated, orgId, appId, url);
    record.serviceBound = serviceBound;
    record.autostart = autostart;
    record.usageType = usageType;
}

StartApplicationNotification::~StartApplicationNotification()
{
    if (answer_)
        *answer_ = getData()->application.action;
    std::free(getData()->application.url);
}

void StartApplicationNotification::presetAction(HBBTV_ApplicationActionType action)
{
    getData()->application.action = action;
}

StopApplicationNotification::StopApplicationNotification(void* window, bool broadcastRelated,
                                                         unsigned long orgId, unsigned short appId,
                                                         const char* url, int* reactivateAIT)
    : Notification(HBBTV_NOTIFICATION_STOP_APPLICATION, zeroedRecord())
{
    HBBTV_ApplicationNotificationData& record = getData()->application;
    identify(record, window, broadcastRelated, orgId, appId, url);
    record.reactivateAIT = reactivateAIT;
}

StopApplicationNotification::~StopApplicationNotification()
{
    std::free(getData()->application.url);
}

RejectApplicationNotification::RejectApplicationNotification(bool broadcastRelated,
                                                             unsigned long orgId,
                                                             unsigned short appId, bool autostart)
    : Notification(HBBTV_NOTIFICATION_REJECT_APPLICATION, rawRecord())
{
    static char noURL[] = "";
    HBBTV_ApplicationNotificationData& record = getData()->application;
    record.broadcastRelated = broadcastRelated;
    record.autostart = autostart;
    record.organisationId = orgId;
    record.applicationId = appId;
    record.url = noURL;
    record.reactivateAIT = nullptr;
    record.action = HBBTV_APPLICATION_ACTION_START;
}

AITUpdateNotification::AITUpdateNotification(void* window, AIT* ait)
    : Notification(HBBTV_NOTIFICATION_AIT_UPDATE, ait ? zeroedRecord() : nullptr)
{
    if (!ait)
        return;
    HBBTV_AITNotificationData& record = getData()->ait;
    record.window = window;
    record.isXML = ait->isXMLBased();
    const unsigned int count = ait->getNumApplications();
    record.numApplications = static_cast<int>(count);
    record.applications = zeroedArray<HBBTV_AITApplicationInfo>(count);
    for (unsigned int index = 0; index < count; ++index)
        fillApplication(record.applications[index], *ait->getAITApplication(index));
}

AITUpdateNotification::~AITUpdateNotification()
{
    if (!getData())
        return;
    HBBTV_AITNotificationData& record = getData()->ait;
    for (int index = 0; index < record.numApplications; ++index)
        freeApplication(record.applications[index]);
    std::free(record.applications);
}

TrustedNotification::TrustedNotification(void* window, const char* url, bool* answer,
                                         bool broadcastRelated, unsigned long orgId,
                                         unsigned short appId, unsigned char usageType,
                                         bool autostart)
    : Notification(HBBTV_NOTIFICATION_TRUSTED, zeroedRecord()), answer_(answer)
{
    HBBTV_ApplicationNotificationData& record = getData()->application;
    identify(record, window, broadcastRelated, orgId, appId, url);
    record.trusted = answer_ && *answer_;
    record.autostart = autostart;
    record.usageType = usageType;
}

TrustedNotification::~TrustedNotification()
{
    if (answer_)
        *answer_ = getData()->application.trusted != 0;
    std::free(getData()->application.url);
}

BroadcastRelatedChangeNotification::BroadcastRelatedChangeNotification(
    void* window, bool broadcastRelated, bool trusted, bool autostart, unsigned long orgId,
    unsigned short appId, const char* url, unsigned char usageType)
    : Notification(HBBTV_NOTIFICATION_BROADCAST_RELATED_CHANGE, zeroedRecord())
{
    HBBTV_ApplicationNotificationData& record = getData()->application;
    identify(record, window, broadcastRelated, orgId, appId, url);
    record.trusted = trusted;
    record.autostart = autostart;
    record.usageType = usageType;
}

BroadcastRelatedChangeNotification::~BroadcastRelatedChangeNotification()
{
    std::free(getData()->application.url);
}

XHRNotification::XHRNotification(const char* documentUrl, const char* requestUrl,
                                 HBBTV_XHR_Permission* answer)
    : Notification(HBBTV_NOTIFICATION_XHR, zeroedRecord()), answer_(answer)
{
    getData()->xhr.documentUrl = copyOf(documentUrl);
    getData()->xhr.requestUrl = copyOf(requestUrl);
}

XHRNotification::~XHRNotification()
{
    if (answer_)
        *answer_ = getData()->xhr.permission;
    std::free(getData()->xhr.documentUrl);
    std::free(getData()->xhr.requestUrl);
}

RequestWindowNotification::RequestWindowNotification(TAVO_VestaWindow** tavoWindow, bool* answer,
                                                     void* window)
    : Notification(HBBTV_NOTIFICATION_REQUEST_WINDOW, zeroedRecord()), answer_(answer)
{
    getData()->window.tavoWindow = tavoWindow;
    getData()->window.window = window;
}

RequestWindowNotification::~RequestWindowNotification()
{
    if (answer_)
        *answer_ = getData()->window.success != 0;
}

ReleaseWindowNotification::ReleaseWindowNotification(TAVO_VestaWindow** tavoWindow, bool* answer)
    : Notification(HBBTV_NOTIFICATION_RELEASE_WINDOW, zeroedRecord()), answer_(answer)
{
    getData()->window.tavoWindow = tavoWindow;
}

ReleaseWindowNotification::~ReleaseWindowNotification()
{
    if (answer_)
        *answer_ = getData()->window.success != 0;
}

ShowWindowNotification::ShowWindowNotification(TAVO_VestaWindow** tavoWindow)
    : Notification(HBBTV_NOTIFICATION_SHOW_WINDOW, zeroedRecord())
{
    getData()->window.tavoWindow = tavoWindow;
}

HideWindowNotification::HideWindowNotification(TAVO_VestaWindow** tavoWindow)
    : Notification(HBBTV_NOTIFICATION_HIDE_WINDOW, zeroedRecord())
{
    getData()->window.tavoWindow = tavoWindow;
}

KeysetChangedNotification::KeysetChangedNotification(TAVO_VestaWindow* tavoWindow, int keysetValue)
    : Notification(HBBTV_NOTIFICATION_KEYSET_CHANGED, zeroedRecord())
{
    getData()->keyset.tavoWindow = tavoWindow;
    getData()->keyset.keysetValue = keysetValue;
}

GetFreeMemoryNotification::GetFreeMemoryNotification(long* freeMemory)
    : Notification(HBBTV_NOTIFICATION_GET_FREE_MEMORY, zeroedRecord())
{
    getData()->memory.freeMemory = freeMemory;
}

}  // namespace VestaHbbTV
