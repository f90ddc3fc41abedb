/// A browser on the console: it loads what pages need, reports that, and shows nothing else.
#ifndef VESTA_RECEIVER_BROWSER_CONSOLE_BROWSER_H
#define VESTA_RECEIVER_BROWSER_CONSOLE_BROWSER_H

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "receiver/browser/browser_engine.h"
#include "receiver/browser/sites.h"
#include "receiver/console/event_log.h"

/// The browser; the application manager knows it by address alone.
struct TAVO_Vesta {};

/// The browser's windows; the application manager knows them by address alone.
struct TAVO_VestaWindow {
    long id = 0;
    std::string url;  ///< of the page, as it was opened
    bool visible = false;
    bool loaded = false;  ///< the page and all its subresources came or failed
    size_t openLoads = 0;
    unsigned pages = 0;               ///< how many were opened here
    std::set<std::string> resources;  ///< URLs that were loaded for the page, its own among them
};

namespace receiver {

/// `dvb:` pages and their subresources are loaded through the application manager, as a browser
/// does it; http(s) pages come from folders. Browser thread only. Nothing calls back into the
/// application manager from inside its own calls: pages are opened by runTask().
class ConsoleBrowser : public BrowserEngine {
public:
    ConsoleBrowser(EventLog& log, std::vector<Site> sites);
    ~ConsoleBrowser() override;

    /// What the application manager is given as the browser: without one it lets no script
    /// subscribe to stream events.
    TAVO_Vesta* handle() { return &handle_; }

    /// Does the next thing that the browser has to do. @return false when there is none
    bool runTask();

    std::vector<const TAVO_VestaWindow*> windows() const;

    /// The window that gets the keys: the visible one that was shown last; null without one.
    TAVO_VestaWindow* focusedWindow() const { return focused_; }

    /// A page asks for another file; one that is not in a carousel is left alone.
    /// @param url absolute or relative to the page @return whether it is loaded
    bool loadResource(TAVO_VestaWindow* window, const std::string& url);

    /// @param url absolute or relative to the page
    bool hasLoaded(const TAVO_VestaWindow& window, const std::string& url) const;

    TAVO_VestaWindow* createWindow() override;
    void closeWindow(TAVO_VestaWindow* window) override;
    void setVisible(TAVO_VestaWindow* window, bool visible) override;
    int openURL(TAVO_VestaWindow* window, const std::string& url) override;
    int clearHistory(TAVO_VestaWindow* window) override;
    TAVO_VestaWindow* findWindow(long id) override;
    long identifierOf(TAVO_VestaWindow* window) override;
    const char* loadingURL(TAVO_VestaWindow* window) override;
    const char* resolve(const std::string& base, const std::string& url) override;
    int setUserAgentExtension(const std::string& extension) override;
    int setMimeType(void* load, const std::string& type) override;
    int write(void* load, const char* bytes, size_t count) override;
    int finish(void* load, int status) override;
    int fail(void* load, int status) override;
    int deliverKey(const TAVO_KeyboardEvent& event) override;

private:
    /// One protocol load.
    struct Load {
        TAVO_VestaWindow* window;
        std::string url;
        bool isPage;
        std::string mimeType;
        std::string bytes;
    };

    using Task = std::function<void()>;

    void later(TAVO_VestaWindow* window, Task task);
    void openPage(TAVO_VestaWindow* window);
    void openSitePage(TAVO_VestaWindow* window);
    void startLoad(TAVO_VestaWindow* window, const std::string& url, bool isPage);
    void loadSubresources(const Load& page);
    void endLoad(TAVO_VestaWindow* window);
    void reportFinished(TAVO_VestaWindow* window, int loadStatus, unsigned short httpStatus);
    void cancelLoads(const TAVO_VestaWindow* window);
    void reportStopped(void* id);
    void cancel(void* id);
    unsigned int notify(TAVO_VestaWindow* window, TAVO_VESTA_EVENT event, TavoVestaEventData& data,
                        int* result = nullptr);
    void reportLoaded(TAVO_VestaWindow* window, const std::string& url, size_t size,
                      const std::string& mimeType, int status);
    std::optional<Load> takeLoad(void* id);
    Load* findLoad(void* id);
    bool isOpen(const TAVO_VestaWindow* window) const;
    void report(const std::string& event, const std::string& text,
                const EventLog::Details& details = nullptr);

    TAVO_Vesta handle_;
    EventLog& log_;
    std::vector<Site> sites_;
    std::map<long, std::unique_ptr<TAVO_VestaWindow>> windows_;
    std::map<void*, Load> loads_;  // by request id
    uintptr_t lastLoad_ = 0;
    std::deque<Task> tasks_;
    TAVO_VestaWindow* focused_ = nullptr;
    std::string answer_;
    long nextId_ = 1;
};

}  // namespace receiver

#endif
