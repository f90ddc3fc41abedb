#include "receiver/wpe/wpe_browser.h"

#include <algorithm>
#include <libsoup/soup.h>
#include <set>
#include <utility>

#include "vesta_hbbtv_appman.h"

#include "receiver/console/key_names.h"
#include "receiver/integration/xml_tables.h"
#include "receiver/objects/boot_script.h"
#include "receiver/wpe/picture.h"
#include "receiver/wpe/site_server.h"

namespace receiver {

namespace {

const unsigned short httpNone = 0;
const unsigned httpOK = 200;
const unsigned looksPerLimit = 4;  // how often it is asked whether scripts still answer
const unsigned mostPageMebibytes = 768;
const int loadOK = 0;

std::string textOf(const char* text)
{
    return text ? text : "";
}

bool beginsWith(const std::string& text, const std::string& beginning)
{
    return text.compare(0, beginning.size(), beginning) == 0;
}

std::string windowName(const TAVO_VestaWindow& window)
{
    return "window " + std::to_string(window.id);
}

/// A load that gave way to another one, or was stopped on purpose: no failure.
bool isSuperseded(const GError& error)
{
    return g_error_matches(&error, WEBKIT_NETWORK_ERROR, WEBKIT_NETWORK_ERROR_CANCELLED) ||
           g_error_matches(&error, WEBKIT_POLICY_ERROR,
                           WEBKIT_POLICY_ERROR_FRAME_LOAD_INTERRUPTED_BY_POLICY_CHANGE) ||
           g_error_matches(&error, G_IO_ERROR, G_IO_ERROR_CANCELLED);
}

}  // namespace

/// A signal of a view, as a call for its window.
template <typename Answer, typename... Details,
          Answer (WpeBrowser::*function)(WpeWindow&, Details...)>
struct WpeBrowser::OfView<function> {
    static Answer call(WebKitWebView* view, Details... details, gpointer browser)
    {
        auto* const self = static_cast<WpeBrowser*>(browser);
        WpeWindow* const window = self->windowOf(view);
        return window ? (self->*function)(*window, details...) : Answer();
    }
};

/// A window and what is known of the page in its view.
struct WpeWindow : TAVO_VestaWindow {
    std::unique_ptr<View> view;
    std::vector<uint64_t> pages;  ///< WebKit's numbers of the pages that it had; the last is shown
    std::string expected;         ///< the page that is being opened; a load of it is the page's
    std::string committed;        ///< the page that is shown
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

std::string WpeBrowser::problemOf(const std::vector<Site>& sites)
{
    for (const Site& site : sites) {
        if (!beginsWith(site.prefix, "http://"))
            return "--site " + site.prefix + ": a real browser takes folders for http: alone";
    }
    return startWpe() ? "" : "WPE's backend (libWPEBackend-fdo-1.0) cannot be loaded";
}

WpeBrowser::WpeBrowser(EventLog& log, std::vector<Site> sites, double scriptSeconds)
    : log_(log), sites_(std::move(sites)),
      bridge_([this](const Caller& caller, const std::string& call) {
          return answerScript(caller, call);
      }),
      loads_(handle(), log,
             [this](TAVO_VestaWindow* window, const std::string& url) {
                 if (WpeWindow* const found = findOpen(window))
                     found->resources.insert(url);
             }),
      scriptSeconds_(scriptSeconds)
{
    makeContext();
    makeSettings();
    tables_ = std::make_unique<TableDownloads>(
        context_, [this](WebKitWebView* web, const std::string& url,
                         const std::optional<std::string>& document) {
            if (const WpeWindow* const window = windowOf(web))
                later(*window, [=](WpeWindow& opened) { takeTable(opened, url, document); });
        });
    startSites();
    watchdog_ = g_timeout_add(
        static_cast<guint>(scriptSeconds_ * 1000 / looksPerLimit),
        [](gpointer browser) -> gboolean {
            static_cast<WpeBrowser*>(browser)->lookForEndlessScripts();
            return G_SOURCE_CONTINUE;
        },
        this);
}

/// Nothing of a run stays on the machine, and a page that takes the memory of ten is ended.
void WpeBrowser::makeContext()
{
    WebKitMemoryPressureSettings* const memory = webkit_memory_pressure_settings_new();
    webkit_memory_pressure_settings_set_memory_limit(memory, mostPageMebibytes);
    webkit_memory_pressure_settings_set_kill_threshold(memory, 1.0);
    webkit_memory_pressure_settings_set_poll_interval(memory, 2.0);
    WebKitWebsiteDataManager* const data = webkit_website_data_manager_new_ephemeral();
    context_ = static_cast<WebKitWebContext*>(
        g_object_new(WEBKIT_TYPE_WEB_CONTEXT, "website-data-manager", data,
                     "memory-pressure-settings", memory, nullptr));
    g_object_unref(data);
    webkit_memory_pressure_settings_free(memory);
    webkit_web_context_set_cache_model(context_, WEBKIT_CACHE_MODEL_DOCUMENT_VIEWER);
    webkit_web_context_set_web_extensions_directory(context_, VESTA_PAGE_MODULE_FOLDER);
    webkit_web_context_set_web_extensions_initialization_user_data(
        context_, g_variant_new("(ss)", bridge_.path().c_str(), bootScript));
    webkit_web_context_register_uri_scheme(
        context_, "dvb",
        [](WebKitURISchemeRequest* request, gpointer browser) {
            static_cast<WpeBrowser*>(browser)->startLoad(request);
        },
        this, nullptr);
    // Pages that came by broadband may ask for a carousel's files; the application manager decides.
    WebKitSecurityManager* const security = webkit_web_context_get_security_manager(context_);
    webkit_security_manager_register_uri_scheme_as_cors_enabled(security, "dvb");
    webkit_security_manager_register_uri_scheme_as_secure(security, "dvb");
}

void WpeBrowser::makeSettings()
{
    settings_ = webkit_settings_new();
    webkit_settings_set_enable_page_cache(settings_, FALSE);
    // There is no decoder, and without one the engine's media elements end their process. Those of
    // the script objects take their place.
    webkit_settings_set_enable_media(settings_, FALSE);
    webkit_settings_set_enable_write_console_messages_to_stdout(settings_, FALSE);
    webkit_settings_set_javascript_can_open_windows_automatically(settings_, FALSE);
    ownUserAgent_ = textOf(webkit_settings_get_user_agent(settings_));
}

WpeBrowser::~WpeBrowser()
{
    g_source_remove(watchdog_);
    host_ = nullptr;
    while (!windows_.empty())
        closeWindow(windows_.begin()->second.get());
    while (runTask()) {
    }
    tables_.reset();
    g_object_unref(settings_);
    g_object_unref(context_);
    if (siteServer_)
        g_object_unref(siteServer_);
}

/// Folders answer as a proxy would. Otherwise there is none: one of the environment would take even
/// what is on this machine.
void WpeBrowser::startSites()
{
    WebKitWebsiteDataManager* const data = webkit_web_context_get_website_data_manager(context_);
    if (sites_.empty()) {
        webkit_website_data_manager_set_network_proxy_settings(
            data, WEBKIT_NETWORK_PROXY_MODE_NO_PROXY, nullptr);
        return;
    }
    std::string address;
    siteServer_ = startSiteServer(sites_, address);
    WebKitNetworkProxySettings* const proxy = webkit_network_proxy_settings_new(nullptr, nullptr);
    webkit_network_proxy_settings_add_proxy_for_scheme(proxy, "http", address.c_str());
    webkit_website_data_manager_set_network_proxy_settings(data, WEBKIT_NETWORK_PROXY_MODE_CUSTOM,
                                                           proxy);
    webkit_network_proxy_settings_free(proxy);
}

bool WpeBrowser::runTask()
{
    if (loads_.runTask())
        return true;
    if (tasks_.empty())
        return g_main_context_iteration(nullptr, FALSE) != 0;
    const std::function<void()> task = std::move(tasks_.front());
    tasks_.pop_front();
    task();
    return true;
}

bool WpeBrowser::isBusy() const
{
    return std::any_of(windows_.begin(), windows_.end(), [this](const auto& entry) {
        const WpeWindow& window = *entry.second;
        return !window.isFresh && !window.loaded && !loads_.isWaiting(&window);
    });
}

/// WebKit's calls come wherever its events are handled: what they ask of the application manager
/// waits until it is nobody's turn.
void WpeBrowser::later(std::function<void()> task)
{
    tasks_.push_back(std::move(task));
    g_main_context_wakeup(nullptr);
}

void WpeBrowser::later(const WpeWindow& window, std::function<void(WpeWindow&)> task)
{
    later([this, id = window.id, task = std::move(task)] {
        const auto found = windows_.find(id);
        if (found != windows_.end())
            task(*found->second);
    });
}

// ------------------------------------------------------------------------------------------------
// Windows
// ------------------------------------------------------------------------------------------------

std::vector<const TAVO_VestaWindow*> WpeBrowser::windows() const
{
    std::vector<const TAVO_VestaWindow*> list;
    for (const auto& entry : windows_)
        list.push_back(entry.second.get());
    return list;
}

WpeWindow* WpeBrowser::findOpen(const TAVO_VestaWindow* window) const
{
    const auto found = std::find_if(windows_.begin(), windows_.end(), [window](const auto& entry) {
        return entry.second.get() == window;
    });
    return found == windows_.end() ? nullptr : found->second.get();
}

WpeWindow* WpeBrowser::windowOf(const WebKitWebView* web) const
{
    for (const auto& entry : windows_) {
        if (entry.second->view && entry.second->view->web() == web)
            return entry.second.get();
    }
    return nullptr;
}

/// A document that is being left still calls when the next one has been there for a while.
WpeWindow* WpeBrowser::windowOfPage(uint64_t page) const
{
    for (const auto& entry : windows_) {
        const auto& pages = entry.second->pages;
        if (std::find(pages.begin(), pages.end(), page) != pages.end())
            return entry.second.get();
    }
    // A new process calls before its page is the view's: the number comes from the view then.
    for (const auto& entry : windows_) {
        if (entry.second->view && webkit_web_view_get_page_id(entry.second->view->web()) == page) {
            entry.second->pages.push_back(page);
            return entry.second.get();
        }
    }
    return nullptr;
}

TAVO_VestaWindow* WpeBrowser::createWindow()
{
    auto window = std::make_unique<WpeWindow>();
    window->id = nextId_++;
    makeView(*window);
    report("window-opened", windowName(*window) + " opened", {{"window", window->id}});
    return windows_.emplace(window->id, std::move(window)).first->second.get();
}

void WpeBrowser::makeView(WpeWindow& window)
{
    window.view = std::make_unique<View>(context_, settings_, [this] { ++paintings_; });
    window.isFresh = true;
    window.wantsFreshView = false;
    window.isTerminated = false;
    window.unanswered = 0;
    window.reachable.clear();
    WebKitWebView* const web = window.view->web();
    window.pages.push_back(webkit_web_view_get_page_id(web));
    // The browser outlives its views, whose signals end with them.
    const auto connect = [this, web](const char* signal, GCallback call) {
        g_signal_connect(web, signal, call, this);
    };
    connect("load-changed", G_CALLBACK(OfView<&WpeBrowser::loadChanged>::call));
    connect("load-failed", G_CALLBACK(OfView<&WpeBrowser::loadFailed>::call));
    connect("notify::uri", G_CALLBACK(OfView<&WpeBrowser::urlChanged>::call));
    connect("notify::page-id", G_CALLBACK(OfView<&WpeBrowser::pageChanged>::call));
    connect("decide-policy", G_CALLBACK(OfView<&WpeBrowser::decide>::call));
    connect("web-process-terminated", G_CALLBACK(OfView<&WpeBrowser::processEnded>::call));
    connect("close", G_CALLBACK(OfView<&WpeBrowser::closed>::call));
}

void WpeBrowser::dropView(WpeWindow& window)
{
    loads_.cancelOf(&window);
    tables_->forget(window.view->web());
    const std::unique_ptr<View> dropped = std::move(window.view);
    g_signal_handlers_disconnect_by_data(dropped->web(), this);
}

void WpeBrowser::closeWindow(TAVO_VestaWindow* closed)
{
    WpeWindow* const window = findOpen(closed);
    if (!window)
        return;
    report("window-closed", windowName(*window) + " closed", {{"window", window->id}});
    stack_.erase(std::remove(stack_.begin(), stack_.end(), window), stack_.end());
    dropView(*window);
    windows_.erase(window->id);
    ++paintings_;
}

void WpeBrowser::setVisible(TAVO_VestaWindow* changed, bool visible)
{
    WpeWindow* const window = findOpen(changed);
    if (!window)
        return;
    window->visible = visible;
    stack_.erase(std::remove(stack_.begin(), stack_.end(), window), stack_.end());
    if (visible)
        stack_.push_back(window);
    if (window->view)
        window->view->setVisible(visible);
    ++paintings_;
    report(visible ? "window-shown" : "window-hidden",
           windowName(*window) + (visible ? " shown" : " hidden"), {{"window", window->id}});
}

TAVO_VestaWindow* WpeBrowser::focusedWindow() const
{
    return stack_.empty() ? nullptr : stack_.back();
}

void WpeBrowser::setService(unsigned service, const std::string& name)
{
    video_.service = service;
    video_.name = name;
    ++paintings_;
}

void WpeBrowser::setVideoPlace(const std::optional<Rectangle>& place)
{
    video_.place = place;
    ++paintings_;
}

std::string WpeBrowser::writePicture(const std::string& path)
{
    return Picture(video_, frames()).writeTo(path);
}

std::string WpeBrowser::comparePicture(const std::string& path, int tolerance)
{
    return Picture(video_, frames()).differenceTo(path, tolerance);
}

/// What the visible windows show, the lowest first.
std::vector<const Frame*> WpeBrowser::frames() const
{
    std::vector<const Frame*> list;
    for (const WpeWindow* const window : stack_) {
        if (window->view && window->view->frame().number != 0)
            list.push_back(&window->view->frame());
    }
    return list;
}

TAVO_VestaWindow* WpeBrowser::findWindow(long id)
{
    const auto found = windows_.find(id);
    return found == windows_.end() ? nullptr : found->second.get();
}

long WpeBrowser::identifierOf(TAVO_VestaWindow* window)
{
    return findOpen(window) ? window->id : 0;
}

int WpeBrowser::deliverKey(const TAVO_KeyboardEvent& event)
{
    const bool isDown = event.type == TAVO_KEY_DOWN;
    const std::string name = keyName(event.key_code);
    report("key", "key " + name + (isDown ? " down" : " up") + " delivered",
           {{"key", name}, {"down", isDown}});
    if (!stack_.empty() && stack_.back()->view)
        stack_.back()->view->pressKey(event.key_code, isDown);
    return 0;
}

// ------------------------------------------------------------------------------------------------
// Pages
// ------------------------------------------------------------------------------------------------

int WpeBrowser::openURL(TAVO_VestaWindow* where, const std::string& url)
{
    WpeWindow* const window = findOpen(where);
    if (!window)
        return 1;
    window->url = url;
    window->loaded = false;
    report("open", windowName(*window) + " opens " + url, {{"window", window->id}, {"url", url}});
    // WebKit cannot forget where a view has been, and a view without its process shows nothing.
    if ((window->wantsFreshView && !window->isFresh) || window->isTerminated) {
        dropView(*window);
        makeView(*window);
        window->view->setVisible(window->visible);
    }
    window->isFresh = false;
    window->wantsFreshView = false;
    window->expected = url;
    window->resources.clear();
    webkit_web_view_load_uri(window->view->web(), url.c_str());
    return 0;
}

int WpeBrowser::clearHistory(TAVO_VestaWindow* where)
{
    WpeWindow* const window = findOpen(where);
    if (!window)
        return 1;
    window->wantsFreshView = true;
    return 0;
}

const char* WpeBrowser::loadingURL(TAVO_VestaWindow* where)
{
    const WpeWindow* const window = findOpen(where);
    if (!window)
        return nullptr;
    answer_ = textOf(webkit_web_view_get_uri(window->view->web()));
    return answer_.c_str();
}

const char* WpeBrowser::resolve(const std::string& base, const std::string& url)
{
    gchar* const resolved =
        g_uri_resolve_relative(base.c_str(), url.c_str(), G_URI_FLAGS_PARSE_RELAXED, nullptr);
    answer_ = textOf(resolved);
    g_free(resolved);
    return answer_.empty() ? nullptr : answer_.c_str();
}

int WpeBrowser::setUserAgentExtension(const std::string& extension)
{
    report("user-agent", "user agent: " + extension, {{"extension", extension}});
    webkit_settings_set_user_agent(settings_, (ownUserAgent_ + " " + extension).c_str());
    return 0;
}

bool WpeBrowser::loadResource(TAVO_VestaWindow* where, const std::string& url)
{
    const WpeWindow* const window = findOpen(where);
    if (!window || !window->view)
        return false;
    // As a page would: for its own use, and seen in the log when it has come.
    gchar* const escaped = g_uri_escape_string(url.c_str(), nullptr, FALSE);
    const std::string script = "new Image().src = decodeURIComponent('" + textOf(escaped) + "')";
    g_free(escaped);
    webkit_web_view_run_javascript(window->view->web(), script.c_str(), nullptr, nullptr, nullptr);
    return true;
}

bool WpeBrowser::hasLoaded(const TAVO_VestaWindow& which, const std::string& url) const
{
    const WpeWindow* const window = findOpen(&which);
    if (!window)
        return false;
    gchar* const absolute = g_uri_resolve_relative(window->committed.c_str(), url.c_str(),
                                                   G_URI_FLAGS_PARSE_RELAXED, nullptr);
    const std::string resolved = textOf(absolute);
    g_free(absolute);
    return window->resources.count(url) != 0 || window->resources.count(resolved) != 0;
}

unsigned WpeBrowser::notify(WpeWindow& window, TAVO_VESTA_EVENT event, TavoVestaEventData& data,
                            int* result)
{
    return VestaHbbTV::vesta_hbbtv_handle_notification(handle(), &window, event, &data, result);
}

void WpeBrowser::reportFinished(WpeWindow& window, int loadStatus, unsigned short httpStatus)
{
    const std::string url = window.committed.empty() ? window.url : window.committed;
    TavoVestaEventData data = {};
    data.url = url.c_str();
    data.load_status = loadStatus;
    data.http_status = httpStatus;
    notify(window, TAVO_VESTA_EVT_LOADING_FINISHED, data);
}

void WpeBrowser::reportFailed(WpeWindow& window, const std::string& url)
{
    TavoVestaEventData data = {};
    data.url = url.c_str();
    notify(window, TAVO_VESTA_EVT_LOADING_FAILED, data);
}

void WpeBrowser::loadChanged(WpeWindow& window, WebKitLoadEvent event)
{
    switch (event) {
    case WEBKIT_LOAD_STARTED:
        window.loaded = false;
        window.hasFailed = false;
        break;
    case WEBKIT_LOAD_REDIRECTED:
        window.expected = textOf(webkit_web_view_get_uri(window.view->web()));
        break;
    case WEBKIT_LOAD_COMMITTED:
        window.committed = textOf(webkit_web_view_get_uri(window.view->web()));
        window.expected.clear();
        ++window.question;  // the one before went to a page that is gone
        window.unanswered = 0;
        later(window, [this, url = window.committed](WpeWindow& shown) {
            TavoVestaEventData data = {};
            data.url = url.c_str();
            notify(shown, TAVO_VESTA_EVT_URL_CHANGED, data);
        });
        break;
    case WEBKIT_LOAD_FINISHED: {
        if (window.hasFailed)
            break;
        window.loaded = true;
        WebKitWebResource* const page = webkit_web_view_get_main_resource(window.view->web());
        WebKitURIResponse* const response = page ? webkit_web_resource_get_response(page) : nullptr;
        const auto status = static_cast<unsigned short>(
            response ? webkit_uri_response_get_status_code(response) : 0);
        window.resources.insert(window.committed);
        report("loaded", window.committed + ": " + std::to_string(status),
               {{"url", window.committed}, {"status", status}});
        later(window, [this, status](WpeWindow& shown) { reportFinished(shown, loadOK, status); });
        break;
    }
    }
}

/// @return TRUE: no page of the engine's own
gboolean WpeBrowser::loadFailed(WpeWindow& window, WebKitLoadEvent /*event*/, const char* failing,
                                const GError* error)
{
    window.hasFailed = true;
    if (isSuperseded(*error))
        return TRUE;
    window.loaded = true;
    const std::string url = textOf(failing);
    report("load-failed", url + ": " + error->message, {{"url", url}, {"status", nullptr}});
    later(window, [this, url](WpeWindow& shown) {
        if (beginsWith(url, "dvb:"))
            reportFailed(shown, url);
        else
            reportFinished(shown, TAVO_LOAD_CONNECTION_FAILED, httpNone);
    });
    return TRUE;
}

/// Of a step inside a page: a fragment, or a state that a script pushed. Pages are reported when
/// they are committed.
void WpeBrowser::urlChanged(WpeWindow& window, GParamSpec* /*property*/)
{
    const std::string url = textOf(webkit_web_view_get_uri(window.view->web()));
    if (webkit_web_view_is_loading(window.view->web()) || url.empty() || url == window.committed)
        return;
    window.committed = url;
    later(window, [this, url](WpeWindow& shown) {
        TavoVestaEventData data = {};
        data.url = url.c_str();
        notify(shown, TAVO_VESTA_EVT_URL_CHANGED, data);
    });
}

void WpeBrowser::pageChanged(WpeWindow& window, GParamSpec* /*property*/)
{
    window.pages.push_back(webkit_web_view_get_page_id(window.view->web()));
}

/// @return whether it is decided
gboolean WpeBrowser::decide(WpeWindow& window, WebKitPolicyDecision* decision,
                            WebKitPolicyDecisionType type)
{
    switch (type) {
    case WEBKIT_POLICY_DECISION_TYPE_NAVIGATION_ACTION:
        return decideNavigation(window, WEBKIT_NAVIGATION_POLICY_DECISION(decision));
    case WEBKIT_POLICY_DECISION_TYPE_NEW_WINDOW_ACTION:
        webkit_policy_decision_ignore(decision);  // an application has one window
        return TRUE;
    case WEBKIT_POLICY_DECISION_TYPE_RESPONSE:
        return decideResponse(window, WEBKIT_RESPONSE_POLICY_DECISION(decision));
    }
    return FALSE;
}

bool WpeBrowser::decideNavigation(WpeWindow& window, WebKitNavigationPolicyDecision* decision)
{
    WebKitNavigationAction* const action =
        webkit_navigation_policy_decision_get_navigation_action(decision);
    const std::string url =
        textOf(webkit_uri_request_get_uri(webkit_navigation_action_get_request(action)));
    if (beginsWith(url, "dvb://current.ait/")) {
        webkit_policy_decision_ignore(WEBKIT_POLICY_DECISION(decision));
        later(window, [this, url](WpeWindow& page) {
            if (host_)
                host_->startFromPage(&page, url);
        });
        return true;
    }
    if (!webkit_navigation_policy_decision_get_frame_name(decision))
        window.expected = url;
    return false;
}

/// HbbTV's name for XHTML is none that WebKit knows, and a table is no page.
bool WpeBrowser::decideResponse(WpeWindow& window, WebKitResponsePolicyDecision* decision)
{
    WebKitURIResponse* const response = webkit_response_policy_decision_get_response(decision);
    const std::string url = textOf(webkit_uri_response_get_uri(response));
    const std::string type = textOf(webkit_uri_response_get_mime_type(response));
    if (window.expected == url && isXMLTable(url, type)) {
        const auto status = webkit_uri_response_get_status_code(response);
        if (status == httpOK) {
            tables_->expect(window.view->web(), url);
            webkit_policy_decision_download(WEBKIT_POLICY_DECISION(decision));
        } else {
            webkit_policy_decision_ignore(WEBKIT_POLICY_DECISION(decision));
            later(window, [this, url, status](WpeWindow& opened) {
                failTable(opened, url, std::to_string(status));
            });
        }
        return true;
    }
    if (type != "application/vnd.hbbtv.xhtml+xml")
        return false;
    webkit_policy_decision_use(WEBKIT_POLICY_DECISION(decision));
    return true;
}

void WpeBrowser::takeTable(WpeWindow& window, const std::string& url,
                           const std::optional<std::string>& document)
{
    if (!document)
        return failTable(window, url, "the table did not come whole");
    window.loaded = true;
    if (!takeXMLTable(log_, &window, *document, url))
        reportFailed(window, url);
}

void WpeBrowser::failTable(WpeWindow& window, const std::string& url, const std::string& problem)
{
    window.loaded = true;
    report("load-failed", url + ": " + problem, {{"url", url}, {"status", nullptr}});
    reportFailed(window, url);
}

void WpeBrowser::processEnded(WpeWindow& window, WebKitWebProcessTerminationReason reason)
{
    const char* const why = reason == WEBKIT_WEB_PROCESS_EXCEEDED_MEMORY_LIMIT
                                ? "took too much memory"
                            : reason == WEBKIT_WEB_PROCESS_CRASHED ? "crashed"
                                                                   : "was ended";
    window.isTerminated = true;
    window.loaded = true;
    report("web-process",
           windowName(window) + ": its web process " + why + "; the application ends",
           {{"window", window.id}, {"reason", why}});
    loads_.cancelOf(&window);
    closed(window);
}

/// A script closes it, or it cannot go on.
void WpeBrowser::closed(WpeWindow& window)
{
    later(window, [this](WpeWindow& ended) {
        TavoVestaEventData data = {};
        notify(ended, TAVO_VESTA_EVT_WINDOW_CLOSE, data);
    });
}

/// The engine would let a script run for ever. A page's process answers when no script runs.
void WpeBrowser::lookForEndlessScripts()
{
    for (const auto& entry : windows_) {
        WpeWindow& window = *entry.second;
        if (!window.view || window.isTerminated || window.isFresh)
            continue;
        if (window.unanswered == looksPerLimit) {
            report("endless-script",
                   windowName(window) + ": a script does not come to its end; the page is ended",
                   {{"window", window.id}});
            webkit_web_view_terminate_web_process(window.view->web());
            continue;
        }
        if (window.unanswered++ > 0)
            continue;
        struct Question {
            WpeBrowser* browser;
            long window;
            unsigned number;
        };
        auto* const asked = new Question{this, window.id, ++window.question};
        webkit_web_view_send_message_to_page(
            window.view->web(), webkit_user_message_new("alive", nullptr), nullptr,
            [](GObject* view, GAsyncResult* result, gpointer data) {
                const std::unique_ptr<Question> question(static_cast<Question*>(data));
                WebKitUserMessage* const reply = webkit_web_view_send_message_to_page_finish(
                    WEBKIT_WEB_VIEW(view), result, nullptr);
                if (!reply)
                    return;  // the view may be gone, and the browser with it
                question->browser->scriptsAnswered(question->window, question->number);
                g_object_unref(reply);
            },
            asked);
    }
}

void WpeBrowser::scriptsAnswered(long id, unsigned question)
{
    const auto found = windows_.find(id);
    if (found != windows_.end() && found->second->question == question)
        found->second->unanswered = 0;
}

// ------------------------------------------------------------------------------------------------
// Carousel files
// ------------------------------------------------------------------------------------------------

void WpeBrowser::startLoad(WebKitURISchemeRequest* request)
{
    WpeWindow* const window = windowOf(webkit_uri_scheme_request_get_web_view(request));
    const std::string url = webkit_uri_scheme_request_get_uri(request);
    if (!window) {
        GError* const error = g_error_new(G_IO_ERROR, G_IO_ERROR_FAILED, "no window");
        webkit_uri_scheme_request_finish_error(request, error);
        g_error_free(error);
        return;
    }
    const bool isPage = window->expected == url;
    g_object_ref(request);
    later([this, id = window->id, request, isPage] {
        const auto found = windows_.find(id);
        if (found != windows_.end())
            loads_.start(request, found->second.get(), isPage);
        g_object_unref(request);
    });
}

int WpeBrowser::setMimeType(void* load, const std::string& type)
{
    return loads_.setMimeType(load, type);
}

int WpeBrowser::write(void* load, const char* bytes, size_t count)
{
    return loads_.write(load, bytes, count);
}

int WpeBrowser::finish(void* load, int status)
{
    return loads_.finish(load, status);
}

int WpeBrowser::fail(void* load, int status)
{
    return loads_.fail(load, status);
}

// ------------------------------------------------------------------------------------------------
// Scripts
// ------------------------------------------------------------------------------------------------

std::string WpeBrowser::answerScript(const Caller& caller, const std::string& call)
{
    WpeWindow* const window = windowOfPage(caller.page);
    if (!window || !host_)
        return R"({"error":"InvalidStateError","message":"the document has no window any more"})";
    CallingDocument document;
    document.window = window;
    document.number = caller.document;
    document.isMainFrame = caller.isMainFrame;
    return host_->answer(document, call);
}

void WpeBrowser::sendToPages(const TAVO_VestaWindow* window, const std::string& event)
{
    for (const auto& entry : windows_) {
        const WpeWindow& each = *entry.second;
        if ((window && window != &each) || !each.view || each.isTerminated)
            continue;
        WebKitUserMessage* const message =
            webkit_user_message_new("event", g_variant_new_string(event.c_str()));
        webkit_web_view_send_message_to_page(each.view->web(), message, nullptr, nullptr, nullptr);
    }
}

/// The engine's messages to a page's process, this one and events, come in the order in which they
/// were sent.
bool WpeBrowser::setReachable(const TAVO_VestaWindow* window, const std::string& origin,
                              bool isReachable)
{
    WpeWindow* const found = findOpen(window);
    if (!found || !found->view)
        return false;
    std::set<std::string>& patterns = found->reachable;
    const std::string pattern = origin + "/*";
    const bool changes =
        isReachable ? patterns.insert(pattern).second : patterns.erase(pattern) != 0;
    if (!changes)
        return false;
    std::vector<const char*> list;
    for (const std::string& each : patterns)
        list.push_back(each.c_str());
    list.push_back(nullptr);
    webkit_web_view_set_cors_allowlist(found->view->web(), list.data());
    return true;
}

void WpeBrowser::report(const std::string& event, const std::string& text,
                        const EventLog::Details& details)
{
    log_.report(Source::Browser, event, text, details);
}

}  // namespace receiver
