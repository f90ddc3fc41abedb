/// Between the script objects inside a browser's pages and the receiver.
#ifndef VESTA_RECEIVER_BROWSER_SCRIPT_HOST_H
#define VESTA_RECEIVER_BROWSER_SCRIPT_HOST_H

#include <string>

#include "receiver/browser/browser_engine.h"

namespace receiver {

/// A document whose scripts call.
struct CallingDocument {
    TAVO_VestaWindow* window = nullptr;
    unsigned long long number = 0;  ///< of this document, in its window
    bool isMainFrame = false;
};

/// Answers the script objects. Browser thread; while a call is answered its page waits.
class ScriptHost {
public:
    virtual ~ScriptHost() = default;

    /// @param call JSON: {"call": NAME, "arguments": [...]}
    /// @return JSON: {"value": ...}, or {"error": NAME, "message": TEXT} for what the script is to
    ///         be thrown
    virtual std::string answer(const CallingDocument& document, const std::string& call) = 0;

    /// A page asked for an application, by a link or by its location. @param url
    /// "dvb://current.ait/..."
    virtual void startFromPage(TAVO_VestaWindow* window, const std::string& url) = 0;
};

/// A browser whose pages have script objects.
class ScriptedBrowser {
public:
    virtual ~ScriptedBrowser() = default;

    /// Who answers the script objects; borrowed until null is given.
    virtual void setScriptHost(ScriptHost* host) = 0;

    /// @param window null for the pages of all windows @param event JSON
    virtual void sendToPages(const TAVO_VestaWindow* window, const std::string& event) = 0;

    /// Whether pages of the window get answers of another origin, whatever its server says of them
    /// (CORS). Scripts find it so when they hear the next event that is sent to them.
    /// @param origin "http://host", on every port @return whether it was otherwise before
    virtual bool setReachable(const TAVO_VestaWindow* window, const std::string& origin,
                              bool isReachable) = 0;
};

}  // namespace receiver

#endif
