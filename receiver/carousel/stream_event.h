/// An event of a programme, for the scripts that listen to it.
#ifndef VESTA_RECEIVER_CAROUSEL_STREAM_EVENT_H
#define VESTA_RECEIVER_CAROUSEL_STREAM_EVENT_H

#include <cstdint>
#include <string>

namespace receiver {

struct StreamEvent {
    uint16_t id = 0;
    std::string data;  ///< private data, as broadcast
};

}  // namespace receiver

#endif
