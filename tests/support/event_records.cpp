#include "tests/support/event_records.h"

#include "tests/support/counted_memory.h"

using namespace VestaHbbTV;

namespace vesta::test {

namespace {

template <typename Member>
HBBTV_EventData* asData(Member* record)
{
    return reinterpret_cast<HBBTV_EventData*>(record);
}

}  // namespace

template <typename Member>
Member* newRecord()
{
    return static_cast<Member*>(countedMalloc(sizeof(Member)));
}

HBBTV_EventData* aitRecord(const AITSection& section, void* channelHandle)
{
    auto* const record = newRecord<HBBTV_AITSectionEventData>();
    record->section = static_cast<unsigned char*>(counted(section.mallocBlock()));
    record->original_network_id = 1;
    record->transport_stream_id = 2;
    record->service_id = 3;
    record->channelHandle = channelHandle;
    return asData(record);
}

HBBTV_EventData* noSectionRecord(uintptr_t keepApplication)
{
    auto* const record = newRecord<HBBTV_AITSectionEventData>();
    record->keepApplication = keepApplication;
    return asData(record);
}

HBBTV_EventData* startRecord(void* window, uint32_t organisationId, unsigned short applicationId)
{
    auto* const record = newRecord<HBBTV_StartApplicationEventData>();
    record->window = window;
    record->organisationId = organisationId;
    record->applicationId = applicationId;
    return asData(record);
}

HBBTV_EventData* urlRecord(void* window, const char* url)
{
    auto* const record = newRecord<HBBTV_StartURLEventData>();
    record->window = window;
    record->url = countedString(url);
    return asData(record);
}

HBBTV_EventData* windowRecord(void* window)
{
    auto* const record = newRecord<HBBTV_WindowEventData>();
    record->window = window;
    return asData(record);
}

HBBTV_EventData* downloadRecord(void* id)
{
    auto* const record = newRecord<HBBTV_DownloadEventData>();
    record->downloadId = id;
    return asData(record);
}

HBBTV_EventData* streamEventRecord(HBBTV_StreamEventCallback callback, uint32_t value1,
                                   uint32_t value2, const std::array<const char*, 4>& strings)
{
    auto* const record = newRecord<HBBTV_StreamEventData>();
    record->callback = callback;
    record->value1 = value1;
    record->string1 = countedString(strings[0]);
    record->string2 = countedString(strings[1]);
    record->string3 = countedString(strings[2]);
    record->string4 = countedString(strings[3]);
    record->value2 = value2;
    return asData(record);
}

HBBTV_EventData* userAgentRecord(unsigned short versionSelector,
                                 const std::array<const char*, 6>& strings)
{
    auto* const record = newRecord<HBBTV_UserAgentEventData>();
    record->versionSelector = versionSelector;
    record->capabilities = countedString(strings[0]);
    record->vendorName = countedString(strings[1]);
    record->modelName = countedString(strings[2]);
    record->softwareVersion = countedString(strings[3]);
    record->hardwareVersion = countedString(strings[4]);
    record->reserved = countedString(strings[5]);
    return asData(record);
}

HBBTV_EventData* profilesRecord(unsigned short profiles)
{
    auto* const record = newRecord<HBBTV_ProfilesEventData>();
    record->supportedProfiles = profiles;
    return asData(record);
}

}  // namespace vesta::test
