// The pages of WpeBrowser's windows: how they are opened, and what WebKit reports of them.

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

#include "vesta_hbbtv_appman.h"

#include "receiver/integration/xml_tables.h"
#include "receiver/wpe/wpe_browser.h"
#include "receiver/wpe/wpe_window.h"

namespace receiver {

namespace {

const unsigned short httpNone = 0;
const unsigned httpOK = 200;
const int loadOK = 0;

/// A load that gave way to another one, or was stopped on purpose: no failure.
bool isSuperseded(const GError& error)
{
    return g_error_matches(&error, WEBKIT_NETWORK_ERROR, WEBKIT_NETWORK_ERROR_CANCELLED) ||
           g_error_matches(&error, WEBKIT_POLICY_ERROR,
                           WEBKIT_POLICY_ERROR_FRAME_LOAD_INTERRUPTED_BY_POLICY_CHANGE) ||
           g_error_matches(&error, G_IO_ERROR, G_IO_ERROR_CANCELLED);
}

/// Whatever else the engine could open lies on this machine: nobody who can name an address, be it
/// a table, a page or somebody at another machine, is to see its files.
bool mayBeOpened(const std::string& url)
{
    const char* const scheme = g_uri_peek_scheme(url.c_str());  // in small letters
    const char* const schemes[] = {"dvb", "http", "https", "about", "data", "blob"};
    return scheme &&
           std::any_of(std::begin(schemes), std::end(schemes),
                       [scheme](const char* each) { return std::strcmp(scheme, each) == 0; });
}

}  // namespace

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
    ++starts_;
    if (!mayBeOpened(url)) {
        webkit_web_view_stop_loading(window->view->web());
        beginLoad(*window, Opening::No);
        failLater(*window, url, "this is no address that a page may have");
        return 0;
    }
    beginLoad(*window, Opening::Asked);
    window->resources.clear();
    webkit_web_view_load_uri(window->view->web(), url.c_str());
    return 0;
}

/// Whatever the window was to show instead comes too late.
void WpeBrowser::beginLoad(WpeWindow& window, Opening opening)
{
    ++window.load;
    window.start = starts_;
    window.opening = opening;
    tables_->forget(window.view->web());
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
        beginLoad(window, Opening::Begun);
        break;
    case WEBKIT_LOAD_REDIRECTED:
        break;
    case WEBKIT_LOAD_COMMITTED:
        window.committed = textOf(webkit_web_view_get_uri(window.view->web()));
        window.opening = Opening::No;
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
    const std::string url = textOf(failing);
    const bool isUnderWay = isBeingOpened(window, url);  // else another one is already
    if (isUnderWay)
        window.opening = Opening::No;
    if (isSuperseded(*error)) {
        window.loaded = window.loaded || isUnderWay;  // the page before it stays
        return TRUE;
    }
    window.loaded = true;
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

/// Frames and the page navigate alike, until they load: whose a navigation is shows when its main
/// resource does.
bool WpeBrowser::isBeingOpened(const WpeWindow& window, const std::string& url)
{
    WebKitWebResource* const page = window.opening == Opening::Begun
                                        ? webkit_web_view_get_main_resource(window.view->web())
                                        : nullptr;
    return page && url == webkit_web_resource_get_uri(page);
}

/// What leads to an application is let through as far as to its request, by which it is known
/// whether the page or one of its frames goes there. Where a server's answer leads to one, there is
/// no request; but then the page's address has changed, and that of a frame does not show there.
bool WpeBrowser::decideNavigation(WpeWindow& window, WebKitNavigationPolicyDecision* decision)
{
    WebKitNavigationAction* const action =
        webkit_navigation_policy_decision_get_navigation_action(decision);
    const std::string url =
        textOf(webkit_uri_request_get_uri(webkit_navigation_action_get_request(action)));
    if (!mayBeOpened(url)) {
        report("load-failed", url + ": this is no address that a page may have",
               {{"url", url}, {"status", nullptr}});
        webkit_policy_decision_ignore(WEBKIT_POLICY_DECISION(decision));
        return true;
    }
    if (!isOfTable(url) || !webkit_navigation_action_is_redirect(action))
        return false;
    webkit_policy_decision_ignore(WEBKIT_POLICY_DECISION(decision));
    if (url == textOf(webkit_web_view_get_uri(window.view->web())))
        startFromPage(window, url);
    return true;
}

void WpeBrowser::startFromPage(const WpeWindow& window, const std::string& url)
{
    later(window, [this, url](WpeWindow& page) {
        if (host_)
            host_->startFromPage(&page, url);
    });
}

/// HbbTV's name for XHTML is none that WebKit knows, and a table is no page.
bool WpeBrowser::decideResponse(WpeWindow& window, WebKitResponsePolicyDecision* decision)
{
    WebKitURIResponse* const response = webkit_response_policy_decision_get_response(decision);
    const std::string url = textOf(webkit_uri_response_get_uri(response));
    const std::string type = textOf(webkit_uri_response_get_mime_type(response));
    if (isXMLTable(url, type) && isBeingOpened(window, url)) {
        decideTable(window, decision, url);
        return true;
    }
    if (type != "application/vnd.hbbtv.xhtml+xml")
        return false;
    webkit_policy_decision_use(WEBKIT_POLICY_DECISION(decision));
    return true;
}

void WpeBrowser::decideTable(WpeWindow& window, WebKitResponsePolicyDecision* decision,
                             const std::string& url)
{
    if (!beginsWith(url, "http://") && !beginsWith(url, "https://")) {
        webkit_policy_decision_ignore(WEBKIT_POLICY_DECISION(decision));
        return failLater(window, url, "XML AITs are taken from the network alone");
    }
    const unsigned status =
        webkit_uri_response_get_status_code(webkit_response_policy_decision_get_response(decision));
    if (status == httpOK) {
        window.opening = Opening::No;  // the page stays until the table has come
        tables_->expect(window.view->web(), url);
        webkit_policy_decision_download(WEBKIT_POLICY_DECISION(decision));
        return;
    }
    webkit_policy_decision_ignore(WEBKIT_POLICY_DECISION(decision));
    failLater(window, url, std::to_string(status));
}

void WpeBrowser::failLater(const WpeWindow& window, const std::string& url,
                           const std::string& problem)
{
    later(window, [this, url, problem, load = window.load](WpeWindow& opened) {
        if (opened.load == load)
            failOpening(opened, url, problem);
    });
}

void WpeBrowser::takeTable(WpeWindow& window, const std::string& url,
                           const std::optional<std::string>& document)
{
    if (!document)
        return failOpening(window, url, "the table did not come whole");
    if (window.start != starts_)
        return failOpening(window, url, "another application was started meanwhile");
    window.loaded = true;
    if (!takeXMLTable(log_, &window, *document, url))
        reportFailed(window, url);
}

void WpeBrowser::failOpening(WpeWindow& window, const std::string& url, const std::string& problem)
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

}  // namespace receiver
