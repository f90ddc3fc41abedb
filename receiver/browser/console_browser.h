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

namespace receiver {

/// A window of the console browser.
struct ConsoleWindow : TAVO_VestaWindow {
    size_t openLoads = 0;
    unsigned pages = 0;               ///< how many were opened here
    std::set<std::string> resources;  ///< URLs that were loaded for the page, its own among them
    PageSource source;
};

/// `dvb:` pages and their subresources are loaded through the application manager, as a browser
/// does it; http(s) pages come from folders. Browser thread only. Nothing calls back into the
/// application manager from inside its own calls: pages are opened by runTask().
class ConsoleBrowser : public BrowserEngine {
public:
    ConsoleBrowser(EventLog& log, std::vector<Site> sites);

    bool runTask() override;
    std::vector<const TAVO_VestaWindow*> windows() const override;
    TAVO_VestaWindow* focusedWindow() const override { return focused_; }
    /// One that is not in a carousel is left alone.
    bool loadResource(TAVO_VestaWindow* window, const std::string& url) override;
    bool hasLoaded(const TAVO_VestaWindow& window, const std::string& url) const override;
    const PageSource* sourceOf(long window) const override;
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
        ConsoleWindow* window;
        std::string url;
        bool isPage;
        std::string mimeType;
        std::string bytes;
    };

    using Task = std::function<void()>;

    void later(ConsoleWindow* window, Task task);
    void openPage(ConsoleWindow* window);
    void openSitePage(ConsoleWindow* window);
    void reportFailed(ConsoleWindow* window);
    void startLoad(ConsoleWindow* window, const std::string& url, bool isPage);
    void loadSubresources(const Load& page);
    void endLoad(ConsoleWindow* window);
    void reportFinished(ConsoleWindow* window, int loadStatus, unsigned short httpStatus);
    void cancelLoads(const ConsoleWindow* window);
    void reportStopped(void* id);
    void cancel(void* id);
    unsigned int notify(ConsoleWindow* window, TAVO_VESTA_EVENT event, TavoVestaEventData& data,
                        int* result = nullptr);
    void reportLoaded(ConsoleWindow* window, const std::string& url, size_t size,
                      const std::string& mimeType, int status);
    void reportLoadFailed(ConsoleWindow* window, const std::string& url, int status,
                          const std::string& reason);
    std::optional<Load> takeLoad(void* id);
    Load* findLoad(void* id);
    ConsoleWindow* findOpen(const TAVO_VestaWindow* window) const;
    void report(const std::string& event, const std::string& text,
                const EventLog::Details& details = nullptr);

    EventLog& log_;
    std::vector<Site> sites_;
    std::map<long, std::unique_ptr<ConsoleWindow>> windows_;
    std::map<void*, Load> loads_;  // by request id
    uintptr_t lastLoad_ = 0;
    std::deque<Task> tasks_;
    ConsoleWindow* focused_ = nullptr;
    std::string answer_;
    long nextId_ = 1;
};

}  // namespace receiver

#endif
