/// The engine's `dvb:` loads, which the application manager answers.
#ifndef VESTA_RECEIVER_WPE_PROTOCOL_LOADS_H
#define VESTA_RECEIVER_WPE_PROTOCOL_LOADS_H

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <wpe/webkit.h>

#include "receiver/browser/browser_engine.h"
#include "receiver/console/event_log.h"

namespace receiver {

/// One load for each request that WebKit makes, from its start to its end or cancellation. Browser
/// thread.
class ProtocolLoads {
public:
    /// Hears which files came for a window's page.
    using Listener = std::function<void(TAVO_VestaWindow* window, const std::string& url)>;

    /// @param browser what the application manager knows as the browser @param log borrowed
    ProtocolLoads(TAVO_Vesta* browser, EventLog& log, Listener loaded);
    ~ProtocolLoads();
    ProtocolLoads(const ProtocolLoads&) = delete;
    ProtocolLoads& operator=(const ProtocolLoads&) = delete;

    /// @param isPage whether it is the page of its window: then a failure is a network error, else
    /// an
    ///        answer with status 404
    void start(WebKitURISchemeRequest* request, TAVO_VestaWindow* window, bool isPage);

    /// Ends the loads of a window that is closed, or whose view is replaced.
    void cancelOf(const TAVO_VestaWindow* window);

    /// Whether a file of the window's page has not come.
    bool isWaiting(const TAVO_VestaWindow* window) const;

    /// Does the next thing that waits for the application manager to return. @return false when
    /// there is none
    bool runTask();

    /// @name What the application manager answers; 0 is success
    /// @{
    int setMimeType(void* id, const std::string& type);
    int write(void* id, const char* bytes, size_t count);
    int finish(void* id, int status);
    int fail(void* id, int status);
    /// @}

private:
    struct Load {
        TAVO_VestaWindow* window;
        WebKitURISchemeRequest* request;  // owned
        GInputStream* stream;  // owned; null until the first bytes, or the end, are there
        std::string url;
        std::string mimeType;
        size_t size;
        bool isPage;
    };

    Load* find(void* id);
    GInputStream* streamOf(void* id, Load& load, int status);
    void end(void* id);
    void stopped(void* id);
    void reportStopped(void* id);

    TAVO_Vesta* const browser_;
    EventLog& log_;
    const Listener loaded_;
    std::map<void*, Load> loads_;
    uintptr_t last_ = 0;
    std::deque<std::function<void()>> tasks_;
};

}  // namespace receiver

#endif
