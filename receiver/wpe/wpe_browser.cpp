#include "receiver/wpe/wpe_browser.h"

#include <algorithm>
#include <libsoup/soup.h>
#include <set>
#include <utility>

#include "vesta_hbbtv_appman.h"

#include "receiver/console/key_names.h"
#include "receiver/installation.h"
#include "receiver/objects/boot_script.h"
#include "receiver/wpe/picture.h"
#include "receiver/wpe/site_server.h"
#include "receiver/wpe/wpe_window.h"

namespace receiver {

namespace {

const unsigned mostPageMebibytes = 768;

void refuseLoad(WebKitURISchemeRequest* request, GIOErrorEnum code, const char* reason)
{
    GError* const error = g_error_new_literal(G_IO_ERROR, code, reason);
    webkit_uri_scheme_request_finish_error(request, error);
    g_error_free(error);
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
                later(*window, [=, load = window->load](WpeWindow& opened) {
                    if (opened.load == load)
                        takeTable(opened, url, document);
                });
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
    webkit_web_context_set_web_extensions_directory(context_,
                                                    privateFolder("receiver_pages").c_str());
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
    // There is no decoder, and without one the engine's media elements end their process. Without
    // media the parser makes none, but the constructor Audio still does: the script objects replace
    // both (media_elements.js).
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

std::optional<Rectangle> WpeBrowser::videoPlace() const
{
    if (video_.service == 0)
        return std::nullopt;
    return video_.place ? video_.place : Rectangle{0, 0, screenWidth, screenHeight};
}

std::function<std::string()> WpeBrowser::takePicture()
{
    std::vector<Frame> copies;
    for (const Frame* const frame : frames())
        copies.push_back(*frame);
    return [video = video_, copies = std::move(copies)] {
        std::vector<const Frame*> windows;
        windows.reserve(copies.size());
        for (const Frame& frame : copies)
            windows.push_back(&frame);
        return Picture(video, windows).toPng();
    };
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
// Carousel files
// ------------------------------------------------------------------------------------------------

void WpeBrowser::startLoad(WebKitURISchemeRequest* request)
{
    WpeWindow* const window = windowOf(webkit_uri_scheme_request_get_web_view(request));
    const std::string url = webkit_uri_scheme_request_get_uri(request);
    if (!window)
        return refuseLoad(request, G_IO_ERROR_FAILED, "no window");
    const bool isPage = isBeingOpened(*window, url);
    if (isPage && isOfTable(url)) {
        refuseLoad(request, G_IO_ERROR_CANCELLED, "no page");
        return startFromPage(*window, url);
    }
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
    list.reserve(patterns.size() + 1);
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
