#include "receiver/integration/event_records.h"

#include <cstring>

#include "receiver/integration/channel_reference.h"

namespace receiver {

using namespace VestaHbbTV;

Outgoing tableSection(const unsigned char* section, size_t size, unsigned originalNetworkId,
                      unsigned transportStreamId, unsigned serviceId)
{
    auto* const record = newRecord<HBBTV_AITSectionEventData>();
    record->section = static_cast<unsigned char*>(std::malloc(size));
    std::memcpy(record->section, section, size);
    record->original_network_id = static_cast<unsigned short>(originalNetworkId);
    record->transport_stream_id = static_cast<unsigned short>(transportStreamId);
    record->service_id = static_cast<unsigned short>(serviceId);
    record->channelHandle = channelReference(transportStreamId, serviceId);
    return {E_AIT_SECTION, record};
}

Outgoing tableGone()
{
    // Without a section, and with keepApplication zero.
    return {E_AIT_SECTION, newRecord<HBBTV_AITSectionEventData>()};
}

Outgoing fileAnswer(void* id, bool ready)
{
    auto* const record = newRecord<HBBTV_DownloadEventData>();
    record->downloadId = id;
    return {ready ? E_DSMCC_FILE_READY : E_DSMCC_FILE_ERROR, record};
}

Outgoing streamEvent(HBBTV_StreamEventCallback callback, const StreamEventTexts& texts,
                     uint32_t value1, uint32_t value2)
{
    auto* const record = newRecord<HBBTV_StreamEventData>();
    record->callback = callback;
    record->value1 = value1;
    record->string1 = ::strdup(texts.name.c_str());
    record->string2 = ::strdup(texts.data.c_str());
    record->string3 = ::strdup(texts.text.c_str());
    record->string4 = ::strdup(texts.status.c_str());
    record->value2 = value2;
    return {E_DSMCC_STREAM_EVENT, record};
}

void discard(const Outgoing& event)
{
    if (event.type == E_DSMCC_STREAM_EVENT) {
        const auto& record = *static_cast<HBBTV_StreamEventData*>(event.record);
        for (char* const text : {record.string1, record.string2, record.string3, record.string4})
            std::free(text);
    }
    if (event.type == E_AIT_SECTION)
        std::free(static_cast<HBBTV_AITSectionEventData*>(event.record)->section);
    std::free(event.record);
}

}  // namespace receiver
