#include "integration/external_event.h"

#include <cstdlib>
#include <memory>
#include <utility>

#include "foundation/configuration_manager.h"
#include "foundation/logging.h"
#include "integration/oc_download_manager.h"
#include "integration/requests.h"
#include "integration/table_reception.h"
#include "lifecycle/script_plugin.h"
#include "lifecycle/window_manager.h"
#include "vesta_hbbtv_layout.h"

namespace VestaHbbTV {

namespace {

const char module[] = "ExternalEvent";

/// Frees a record, which is not null, with the strings and buffers that belong to it by its type.
void releaseRecord(HBBTV_EventType type, HBBTV_EventData* data)
{
    switch (type) {
    case E_AIT_SECTION:
        std::free(data->ait.section);
        break;
    case E_START_BROADCAST_INDEPENDENT_APPLICATION:
        std::free(data->url.url);
        break;
    case E_DSMCC_STREAM_EVENT:
        std::free(data->streamEvent.string1);
        std::free(data->streamEvent.string2);
        std::free(data->streamEvent.string3);
        std::free(data->streamEvent.string4);
        break;
    case E_USER_AGENT_INFO:
        std::free(data->userAgent.capabilities);
        std::free(data->userAgent.vendorName);
        std::free(data->userAgent.modelName);
        std::free(data->userAgent.softwareVersion);
        std::free(data->userAgent.hardwareVersion);
        std::free(data->userAgent.reserved);
        break;
    default:
        break;
    }
    std::free(data);
}

/// Frees the record of an event of this type.
struct RecordDeleter {
    HBBTV_EventType type;

    void operator()(HBBTV_EventData* data) const { releaseRecord(type, data); }
};

/// A record for the time of its execution; null where the integrator gave none.
using Record = std::unique_ptr<HBBTV_EventData, RecordDeleter>;

void executeAITSection(const Record& record)
{
    if (record)
        receiveSection(record->ait);
}

void executeStartApplication(const Record& record)
{
    if (record)
        startRequested(record->start);
}

void executeStartURL(const Record& record)
{
    if (record)
        startRequested(record->url);
}

void executeTerminate(const Record& record)
{
    if (record)
        endRequested(record->window);
}

void executeUserAgentInfo(const Record& record)
{
    if (record)
        describeTerminal(record->userAgent);
}

void executeFileReady(const Record& record)
{
    log(DEBUG, module, "E_DSMCC_FILE_READY");
    OCDownloadManager* const downloads = OCDownloadManager::getCurrent();
    if (record && downloads)
        downloads->reportDownloadSucceeded(record->download.downloadId);
}

void executeFileError(const Record& record)
{
    log(DEBUG, module, "E_DSMCC_FILE_ERROR");
    OCDownloadManager* const downloads = OCDownloadManager::getCurrent();
    if (record && downloads)
        downloads->reportDownloadFailed(record->download.downloadId);
}

void executeStreamEvent(const Record& record)
{
    log(DEBUG, module, "E_DSMCC_STREAM_EVENT");
    if (!record || !record->streamEvent.callback)
        return;
    const HBBTV_StreamEventData& event = record->streamEvent;
    event.callback(event.string1, event.value1, event.string2, event.string3, event.string4,
                   event.value2);
}

void executeSupportedProfiles(const Record& record)
{
    if (record)
        ConfigurationManager::getInstance()->setSupportedProfiles(
            record->profiles.supportedProfiles);
}

bool namesWindow(HBBTV_EventType type, const HBBTV_EventData* data)
{
    switch (type) {
    case E_START_APPLICATION:
        return data && data->start.window;
    case E_START_BROADCAST_INDEPENDENT_APPLICATION:
        return data && data->url.window;
    case E_TERMINATE_APPLICATION:
        return data && data->window.window;
    default:
        return false;
    }
}

}  // namespace

ExternalEvent::ExternalEvent(HBBTV_EventType type, HBBTV_EventData* data)
    : type_(type), data_(data), mention_(namesWindow(type, data))
{
}

ExternalEvent* ExternalEvent::create(HBBTV_EventType type, HBBTV_EventData* data)
{
    Record record(data, RecordDeleter{type});
    auto* const event = new ExternalEvent(type, data);
    static_cast<void>(record.release());  // it is the event's now
    return event;
}

ExternalEvent::~ExternalEvent()
{
    if (data_)
        releaseRecord(type_, data_);
}

void ExternalEvent::execute()
{
    const Record record(std::exchange(data_, nullptr), RecordDeleter{type_});
    switch (type_) {
    case E_AIT_SECTION:
        return executeAITSection(record);
    case E_CHANNEL_CHANGE:
        return leaveChannel();
    case E_START_APPLICATION:
        return executeStartApplication(record);
    case E_START_BROADCAST_INDEPENDENT_APPLICATION:
        return executeStartURL(record);
    case E_TERMINATE_APPLICATION:
        return executeTerminate(record);
    case E_DSMCC_FILE_READY:
        return executeFileReady(record);
    case E_DSMCC_FILE_ERROR:
        return executeFileError(record);
    case E_HTTP_AVAILABLE:
        return WindowManager::getInstance()->setHttpAvailable(true);
    case E_HTTP_UNAVAILABLE:
        return WindowManager::getInstance()->setHttpAvailable(false);
    case E_DSMCC_STREAM_EVENT:
        return executeStreamEvent(record);
    case E_LOW_MEMORY:
        return call_low_memory_listener();
    case E_USER_AGENT_INFO:
        return executeUserAgentInfo(record);
    case E_SUPPORTED_PROFILES:
        return executeSupportedProfiles(record);
    }
    // The record of any other type is only freed.
}

}  // namespace VestaHbbTV
