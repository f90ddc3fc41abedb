#include "receiver/integration/event_records.h"

#include <cstring>

namespace receiver {

using namespace VestaHbbTV;

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
    std::free(event.record);
}

}  // namespace receiver
