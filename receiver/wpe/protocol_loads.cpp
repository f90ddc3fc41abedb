#include "receiver/wpe/protocol_loads.h"

#include <algorithm>
#include <libsoup/soup.h>
#include <utility>

#include "vesta_hbbtv_appman.h"

#include "receiver/text/mime_type.h"
#include "receiver/wpe/load_stream.h"

namespace receiver {

namespace {

const int httpOK = 200;
const int httpNotFound = 404;
const int noError = 0;

/// The type that makes WebKit parse what HbbTV calls its XHTML, and what carousels often do not
/// name at all.
std::string engineTypeOf(const std::string& mimeType, const std::string& url, bool isPage)
{
    const std::string type = mimeType.empty() ? mimeTypeOf(url) : mimeType;
    const bool isHbbtvPage = type.find("vnd.hbbtv.xhtml") != std::string::npos;
    if (isHbbtvPage || (type.empty() && isPage))
        return "application/xhtml+xml";
    return type.empty() ? "application/octet-stream" : type;
}

}  // namespace

ProtocolLoads::ProtocolLoads(TAVO_Vesta* browser, EventLog& log, Listener loaded)
    : browser_(browser), log_(log), loaded_(std::move(loaded))
{
}

ProtocolLoads::~ProtocolLoads()
{
    while (!loads_.empty())
        end(loads_.begin()->first);
}

void ProtocolLoads::start(WebKitURISchemeRequest* request, TAVO_VestaWindow* window, bool isPage)
{
    // Never the same number twice: an answer that is still under way must find its own load.
    void* const id = reinterpret_cast<void*>(++last_);
    const std::string url = webkit_uri_scheme_request_get_uri(request);
    loads_[id] = {window, WEBKIT_URI_SCHEME_REQUEST(g_object_ref(request)), nullptr, url, "", 0,
                  isPage};
    TavoVestaEventData data = {};
    data.url = url.c_str();
    data.request_id = id;
    int result = noError;
    const unsigned int isConsumed = VestaHbbTV::vesta_hbbtv_handle_notification(
        browser_, window, TAVO_VESTA_EVT_PROTOCOL_LOADING_START, &data, &result);
    if (isConsumed == 0 || result != noError)
        fail(id, httpNotFound);
}

ProtocolLoads::Load* ProtocolLoads::find(void* id)
{
    const auto found = loads_.find(id);
    return found == loads_.end() ? nullptr : &found->second;
}

/// WebKit gets its answer with the first bytes, when the type is known.
GInputStream* ProtocolLoads::streamOf(void* id, Load& load, int status)
{
    if (load.stream)
        return load.stream;
    load.stream = newLoadStream([this, id] { stopped(id); });
    WebKitURISchemeResponse* const response = webkit_uri_scheme_response_new(load.stream, -1);
    const std::string type = engineTypeOf(load.mimeType, load.url, load.isPage);
    webkit_uri_scheme_response_set_content_type(response, type.c_str());
    webkit_uri_scheme_response_set_status(response, static_cast<guint>(status), nullptr);
    // Pages that came by broadband may read their application's carousel: whether they may ask for
    // a file at all, the application manager decided before.
    SoupMessageHeaders* const headers = soup_message_headers_new(SOUP_MESSAGE_HEADERS_RESPONSE);
    soup_message_headers_append(headers, "Access-Control-Allow-Origin", "*");
    webkit_uri_scheme_response_set_http_headers(response, headers);
    webkit_uri_scheme_request_finish_with_response(load.request, response);
    g_object_unref(response);
    return load.stream;
}

int ProtocolLoads::setMimeType(void* id, const std::string& type)
{
    Load* const load = find(id);
    if (!load)
        return 1;
    load->mimeType = type;
    return 0;
}

int ProtocolLoads::write(void* id, const char* bytes, size_t count)
{
    Load* const load = find(id);
    if (!load)
        return 1;
    load->size += count;
    writeTo(streamOf(id, *load, httpOK), bytes, count);
    return 0;
}

int ProtocolLoads::finish(void* id, int status)
{
    Load* const load = find(id);
    if (!load)
        return 1;
    receiver::finish(streamOf(id, *load, status));
    log_.report(
        Source::Browser, "loaded",
        load->url + ": " + withSeparators(load->size) + " bytes" +
            (load->mimeType.empty() ? "" : ", " + load->mimeType),
        {{"url", load->url}, {"size", load->size}, {"type", load->mimeType}, {"status", status}});
    end(id);
    return 0;
}

int ProtocolLoads::fail(void* id, int status)
{
    Load* const load = find(id);
    if (!load)
        return 1;  // a load can be answered with a failure twice
    log_.report(Source::Browser, "load-failed", load->url + ": " + std::to_string(status),
                {{"url", load->url}, {"status", status}});
    if (load->stream) {
        receiver::fail(load->stream);
    } else if (load->isPage) {
        GError* const error =
            g_error_new(G_IO_ERROR, G_IO_ERROR_NOT_FOUND, "%s: %d", load->url.c_str(), status);
        webkit_uri_scheme_request_finish_error(load->request, error);
        g_error_free(error);
    } else {
        receiver::finish(streamOf(id, *load, status));
    }
    end(id);
    return 0;
}

/// The application manager knows a load, a finished one too, until it hears that it is over.
void ProtocolLoads::end(void* id)
{
    auto ended = loads_.extract(id);
    if (!ended)
        return;
    if (GInputStream* const stream = ended.mapped().stream) {
        forgetStopped(stream);
        g_object_unref(stream);
    }
    g_object_unref(ended.mapped().request);
    tasks_.push_back([this, id] { reportStopped(id); });
}

/// WebKit wants no more of a load.
void ProtocolLoads::stopped(void* id)
{
    if (const Load* const load = find(id))
        log_.report(Source::Browser, "load-stopped", load->url + ": stopped", {{"url", load->url}});
    // Not now: the stream itself is what calls.
    tasks_.push_back([this, id] {
        if (!find(id))
            return;
        end(id);
        dsmcc_close_file(id);
    });
}

void ProtocolLoads::reportStopped(void* id)
{
    TavoVestaEventData data = {};
    data.request_id = id;
    int result = noError;
    VestaHbbTV::vesta_hbbtv_handle_notification(
        browser_, nullptr, TAVO_VESTA_EVT_PROTOCOL_LOADING_STOP, &data, &result);
}

void ProtocolLoads::cancelOf(const TAVO_VestaWindow* window)
{
    for (auto load = loads_.begin(); load != loads_.end();) {
        void* const id = load->first;
        const bool isOfWindow = load->second.window == window;
        ++load;
        if (!isOfWindow)
            continue;
        if (!find(id)->stream) {
            GError* const error = g_error_new(G_IO_ERROR, G_IO_ERROR_CANCELLED, "cancelled");
            webkit_uri_scheme_request_finish_error(find(id)->request, error);
            g_error_free(error);
        } else {
            receiver::fail(find(id)->stream);
        }
        end(id);
        tasks_.push_back([id] { dsmcc_close_file(id); });
    }
}

bool ProtocolLoads::isWaiting(const TAVO_VestaWindow* window) const
{
    return std::any_of(loads_.begin(), loads_.end(),
                       [window](const auto& load) { return load.second.window == window; });
}

bool ProtocolLoads::runTask()
{
    if (tasks_.empty())
        return false;
    const std::function<void()> task = std::move(tasks_.front());
    tasks_.pop_front();
    task();
    return true;
}

}  // namespace receiver
