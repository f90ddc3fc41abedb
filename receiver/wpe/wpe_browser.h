/// The browser of a television: WPE WebKit, without a display.
#ifndef VESTA_RECEIVER_WPE_WPE_BROWSER_H
#define VESTA_RECEIVER_WPE_WPE_BROWSER_H

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "receiver/browser/browser_engine.h"
#include "receiver/browser/script_host.h"
#include "receiver/browser/sites.h"
#include "receiver/console/event_log.h"
#include "receiver/wpe/protocol_loads.h"
#include "receiver/wpe/script_bridge.h"
#include "receiver/wpe/table_downloads.h"
#include "receiver/wpe/view.h"

namespace receiver {

enum class Opening;
struct WpeWindow;

/// Every browser window is a view of WebKit's; its page runs in a process of its own. Pages get
/// `dvb:` files through the application manager, everything else from the network or a site's
/// folder. Browser thread, in whose default main context WebKit calls back.
class WpeBrowser : public BrowserEngine, public ScriptedBrowser {
public:
    /// @param sites answered from folders; of http alone
    /// @return why there can be none, for people; empty for success
    static std::string problemOf(const std::vector<Site>& sites);

    /// @param scriptSeconds a page whose scripts take longer is ended
    WpeBrowser(EventLog& log, std::vector<Site> sites, double scriptSeconds);
    ~WpeBrowser() override;

    /// Who answers the script objects; borrowed until null is given.
    void setScriptHost(ScriptHost* host) override { host_ = host; }
    void sendToPages(const TAVO_VestaWindow* window, const std::string& event) override;
    bool setReachable(const TAVO_VestaWindow* window, const std::string& origin,
                      bool isReachable) override;

    bool runTask() override;
    bool isBusy() const override;
    std::vector<const TAVO_VestaWindow*> windows() const override;
    TAVO_VestaWindow* focusedWindow() const override;
    bool loadResource(TAVO_VestaWindow* window, const std::string& url) override;
    bool hasLoaded(const TAVO_VestaWindow& window, const std::string& url) const override;
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

    void setService(unsigned service, const std::string& name) override;
    void setVideoPlace(const std::optional<Rectangle>& place) override;
    bool paints() const override { return true; }
    unsigned long long paintings() const override { return paintings_; }
    std::optional<Rectangle> videoPlace() const override;
    std::function<std::string()> takePicture() override;
    std::string writePicture(const std::string& path) override;
    std::string comparePicture(const std::string& path, int tolerance) override;

private:
    friend struct WpeWindow;
    template <auto function>
    struct OfView;

    WpeWindow* findOpen(const TAVO_VestaWindow* window) const;
    WpeWindow* windowOf(const WebKitWebView* web) const;
    WpeWindow* windowOfPage(uint64_t page) const;
    std::vector<const Frame*> frames() const;
    void takeTable(WpeWindow& window, const std::string& url,
                   const std::optional<std::string>& document);
    void beginLoad(WpeWindow& window, Opening opening);
    static bool isBeingOpened(const WpeWindow& window, const std::string& url);
    void startFromPage(const WpeWindow& window, const std::string& url);
    void failOpening(WpeWindow& window, const std::string& url, const std::string& problem);
    void failLater(const WpeWindow& window, const std::string& url, const std::string& problem);
    void makeView(WpeWindow& window);
    void dropView(WpeWindow& window);
    unsigned notify(WpeWindow& window, TAVO_VESTA_EVENT event, TavoVestaEventData& data,
                    int* result = nullptr);
    void reportFinished(WpeWindow& window, int loadStatus, unsigned short httpStatus);
    void reportFailed(WpeWindow& window, const std::string& url);
    void later(std::function<void()> task);
    void later(const WpeWindow& window, std::function<void(WpeWindow&)> task);
    std::string answerScript(const Caller& caller, const std::string& call);
    void startSites();
    void makeContext();
    void makeSettings();
    void lookForEndlessScripts();

    /// @name What WebKit reports of a window's view
    /// @{
    void loadChanged(WpeWindow& window, WebKitLoadEvent event);
    gboolean loadFailed(WpeWindow& window, WebKitLoadEvent event, const char* url,
                        const GError* error);
    void urlChanged(WpeWindow& window, GParamSpec* property);
    void pageChanged(WpeWindow& window, GParamSpec* property);
    void scriptsAnswered(long id, unsigned question);
    gboolean decide(WpeWindow& window, WebKitPolicyDecision* decision,
                    WebKitPolicyDecisionType type);
    bool decideNavigation(WpeWindow& window, WebKitNavigationPolicyDecision* decision);
    bool decideResponse(WpeWindow& window, WebKitResponsePolicyDecision* decision);
    void decideTable(WpeWindow& window, WebKitResponsePolicyDecision* decision,
                     const std::string& url);
    void processEnded(WpeWindow& window, WebKitWebProcessTerminationReason reason);
    void closed(WpeWindow& window);
    void startLoad(WebKitURISchemeRequest* request);
    /// @}

    void report(const std::string& event, const std::string& text,
                const EventLog::Details& details = nullptr);

    EventLog& log_;
    std::vector<Site> sites_;
    ScriptHost* host_ = nullptr;
    ScriptBridge bridge_;
    ProtocolLoads loads_;
    const double scriptSeconds_;
    unsigned watchdog_ = 0;
    WebKitWebContext* context_ = nullptr;
    std::unique_ptr<TableDownloads> tables_;
    WebKitSettings* settings_ = nullptr;
    std::string ownUserAgent_;
    SoupServer* siteServer_ = nullptr;
    std::map<long, std::unique_ptr<WpeWindow>> windows_;
    std::vector<WpeWindow*> stack_;  // shown ones, the lowest first
    std::deque<std::function<void()>> tasks_;
    VideoPlane video_;
    unsigned long long paintings_ = 0;
    std::string answer_;
    long nextId_ = 1;
    unsigned starts_ = 0;  // how many pages the application manager opened
};

}  // namespace receiver

#endif
