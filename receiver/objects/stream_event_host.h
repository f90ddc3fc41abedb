/// Stream events for scripts (ETSI TS 102 796, 8.2.1): what addStreamEventListener() comes to.
#ifndef VESTA_RECEIVER_OBJECTS_STREAM_EVENT_HOST_H
#define VESTA_RECEIVER_OBJECTS_STREAM_EVENT_HOST_H

#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <string>

#include "receiver/browser/browser_engine.h"
#include "receiver/browser/script_host.h"

namespace receiver {

class ObjectHost;
class StreamEventSubscriptions;

/// Every listener of a page has a number of its own, which the platform hands back with the events.
/// Browser thread.
class StreamEventHost {
public:
    /// @param objects, browser, subscriptions borrowed
    StreamEventHost(ObjectHost& objects, BrowserEngine& browser,
                    StreamEventSubscriptions& subscriptions);
    ~StreamEventHost();
    StreamEventHost(const StreamEventHost&) = delete;
    StreamEventHost& operator=(const StreamEventHost&) = delete;

private:
    using Json = nlohmann::json;

    static void hear(const char* name, uint32_t listener, const char* data, const char* text,
                     const char* status, uint32_t subscription);
    uint32_t newListener(const CallingDocument& document);
    Json listen(const CallingDocument& document, const Json& arguments);
    Json listenToComponent(const CallingDocument& document, const Json& arguments);
    void remove(uint32_t listener);
    void tell(uint32_t listener, const Json& event);

    ObjectHost& objects_;
    BrowserEngine& browser_;
    StreamEventSubscriptions& subscriptions_;
    std::map<uint32_t, long> windows_;  // of the listeners
    uint32_t lastListener_ = 0;

    static StreamEventHost* current;
};

}  // namespace receiver

#endif
