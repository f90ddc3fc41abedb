/// Records of integrator events, as the library wants to get them.
#ifndef VESTA_RECEIVER_INTEGRATION_EVENT_RECORDS_H
#define VESTA_RECEIVER_INTEGRATION_EVENT_RECORDS_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "vesta_hbbtv_appman.h"

namespace receiver {

/// A record of one event type, all zero. The library frees it, and every buffer in it, with
/// free(): they come from malloc(), strdup() and the like, never from new.
template <typename Record>
Record* newRecord()
{
    return static_cast<Record*>(std::calloc(1, sizeof(Record)));
}

/// An event that is not sent yet.
struct Outgoing {
    VestaHbbTV::HBBTV_EventType type;
    void* record;  ///< owned; may be null
};

/// Hands the event over: its record belongs to the library from here on.
inline void send(const Outgoing& event)
{
    VestaHbbTV::vesta_hbbtv_send_event(event.type,
                                       static_cast<VestaHbbTV::HBBTV_EventData*>(event.record));
}

/// A file that was pending is there now, or will not come.
Outgoing fileAnswer(void* id, bool ready);

/// What a listener to stream events hears; every text is copied, up to its first NUL.
struct StreamEventTexts {
    std::string name;
    std::string data;  ///< hexadecimal
    std::string text;
    std::string status;
};
/// A stream event for one subscription. @param value1, value2 handed over with the texts
Outgoing streamEvent(VestaHbbTV::HBBTV_StreamEventCallback callback, const StreamEventTexts& texts,
                     uint32_t value1, uint32_t value2);

/// Frees an event that is never sent.
void discard(const Outgoing& event);

}  // namespace receiver

#endif
