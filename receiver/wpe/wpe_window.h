/// What the parts of WpeBrowser share: its windows, and how they are called.
#ifndef VESTA_RECEIVER_WPE_WPE_WINDOW_H
#define VESTA_RECEIVER_WPE_WPE_WINDOW_H

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "receiver/browser/browser_engine.h"
#include "receiver/wpe/view.h"

namespace receiver {

/// How often in the time that a script may take it is asked whether scripts still answer.
constexpr unsigned looksPerLimit = 4;

/// Whether another page is being opened: not, WebKit was asked to, or it does.
enum class Opening { No, Asked, Begun };

/// A window and what is known of the page in its view.
struct WpeWindow : TAVO_VestaWindow {
    std::unique_ptr<View> view;
    std::vector<uint64_t> pages;  ///< WebKit's numbers of the pages that it had; the last is shown
    Opening opening = Opening::No;
    unsigned load = 0;      ///< counts what is opened; what comes of one before is void
    unsigned start = 0;     ///< of all windows' applications, the last one when this load began
    std::string committed;  ///< the page that is shown
    std::set<std::string>
        resources;  ///< URLs of files that came for it from carousels, and its own
    std::set<std::string> reachable;  ///< patterns of the URLs that CORS does not count for
    bool isFresh = true;              ///< nothing was loaded in the view
    bool wantsFreshView = false;
    bool hasFailed = false;     ///< the load that is under way
    bool isTerminated = false;  ///< its web process is gone
    unsigned question = 0;      ///< the last one whether its scripts still answer
    unsigned unanswered = 0;    ///< looks since then
};

/// @param text may be null
inline std::string textOf(const char* text)
{
    return text ? text : "";
}

inline bool beginsWith(const std::string& text, const std::string& beginning)
{
    return text.compare(0, beginning.size(), beginning) == 0;
}

/// Whether a URL names an application of the table in force: a page that goes there stays.
inline bool isOfTable(const std::string& url)
{
    return beginsWith(url, "dvb://current.ait/");
}

inline std::string windowName(const TAVO_VestaWindow& window)
{
    return "window " + std::to_string(window.id);
}

}  // namespace receiver

#endif
