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

void discard(const Outgoing& event)
{
    if (event.type == E_AIT_SECTION)
        std::free(static_cast<HBBTV_AITSectionEventData*>(event.record)->section);
    std::free(event.record);
}

}  // namespace receiver
