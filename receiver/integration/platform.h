/// What the platform's hooks lead to.
#ifndef VESTA_RECEIVER_INTEGRATION_PLATFORM_H
#define VESTA_RECEIVER_INTEGRATION_PLATFORM_H

#include <string>

namespace receiver {

class EventLog;
class ServiceCarousels;
class StreamEventSubscriptions;

/// Browser thread.
class Platform {
public:
    /// @param carousels, streamEvents, log borrowed
    Platform(ServiceCarousels& carousels, StreamEventSubscriptions& streamEvents, EventLog& log);
    ~Platform();
    Platform(const Platform&) = delete;
    Platform& operator=(const Platform&) = delete;

    ServiceCarousels& carousels() { return carousels_; }
    StreamEventSubscriptions& streamEvents() { return streamEvents_; }
    void report(const char* hook, const std::string& text);

    /// The key groups of the receiver's remote control: all of them.
    int supportedKeySets = 0x3FF;

    /// @name What the application manager has come to know of the air
    /// @{
    unsigned channelChanges = 0;  ///< how often the service was changed
    bool hasTable = false;        ///< a table of the service was complete, and is acted on
    /// @}

    /// The one that the hooks lead to; null outside a run.
    static Platform* current;

private:
    ServiceCarousels& carousels_;
    StreamEventSubscriptions& streamEvents_;
    EventLog& log_;
};

}  // namespace receiver

#endif
