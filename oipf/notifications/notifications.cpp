#include "oipf/notifications/notifications.h"

#include <algorithm>
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

unsigned int numberOfURLs(const AITApplication& application)
{
    return static_cast<unsigned int>(application.getNumTransports() % 256);
}

/// Without what stands after a NUL, which no listener would see.
char* addTo(TextStore& texts, const std::string& text)
{
    return texts.add(text.c_str());
}

/// Fills the slots from the last to the first: listeners rely on the preferred transport standing
/// in the last one. What follows a transport that comes again is what followed it before, so that
/// the addresses repeat from there on, and are not built again.
void fillURLs(HBBTV_AITApplicationInfo& info, const AITApplication& application, TextStore& texts)
{
    std::vector<const AITApplicationTransport*> walked;
    const AITApplicationTransport* transport = application.getFirstAvailableTransport(true);
    unsigned int slot = info.numUrls;
    for (; slot > 0 && transport; --slot) {
        const auto former = std::find(walked.begin(), walked.end(), transport);
        if (former != walked.end()) {
            const auto period = static_cast<unsigned int>(walked.end() - former);
            for (; slot > 0; --slot)
                info.urls[slot - 1] = info.urls[slot - 1 + period];
            return;
        }
        walked.push_back(transport);
        info.urls[slot - 1] = addTo(texts, transport->getURL(application.getApplicationLocation()));
        transport = application.getNextAvailableTransport(transport, true);
    }
}

void fillApplication(HBBTV_AITApplicationInfo& info, const AITApplication& application,
                     TextStore& texts)
{
    info.name = addTo(texts, application.getApplicationName());
    info.organisationId = application.getOrganisationId();
    info.applicationId = application.getApplicationId();
    info.usageType = application.getUsageType();
    info.controlCode = application.getApplicationDescriptor() ? application.getControlCode() : 0;
    info.hasHttpTransport =
        application.isTransportedOverProtocol(AITApplicationTransport::HTTP) ? 1 : 0;
    info.hasOCTransport =
        application.isTransportedOverProtocol(AITApplicationTransport::OBJECT_CAROUSEL) ? 1 : 0;
    fillURLs(info, application, texts);
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
    applications_.resize(ait->getNumApplications());
    size_t urlCount = 0;
    for (unsigned int index = 0; index < applications_.size(); ++index)
        urlCount += numberOfURLs(*ait->getAITApplication(index));
    urls_.resize(urlCount);
    char** urls = urls_.data();
    for (unsigned int index = 0; index < applications_.size(); ++index) {
        const AITApplication& application = *ait->getAITApplication(index);
        HBBTV_AITApplicationInfo& info = applications_[index];
        info.numUrls = numberOfURLs(application);
        info.urls = info.numUrls == 0 ? nullptr : urls;
        urls += info.numUrls;
        fillApplication(info, application, texts_);
    }
    HBBTV_AITNotificationData& record = getData()->ait;
    record.window = window;
    record.isXML = ait->isXMLBased();
    record.numApplications = static_cast<int>(applications_.size());
    record.applications = applications_.empty() ? nullptr : applications_.data();
}

AITUpdateNotification::~AITUpdateNotification() = default;

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

XHRNotification::XHRNotification(HBBTV_XHR_Permission* answer)
    : Notification(HBBTV_NOTIFICATION_XHR, zeroedRecord()), answer_(answer)
{
}

// Where there is no memory for the second text, the destructor frees the first: the object is
// complete by then.
XHRNotification::XHRNotification(const char* documentUrl, const char* requestUrl,
                                 HBBTV_XHR_Permission* answer)
    : XHRNotification(answer)
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
