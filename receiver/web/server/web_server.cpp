#include "receiver/web/server/web_server.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "receiver/console/commands.h"
#include "receiver/web/page_files.h"
#include "receiver/web/request_check.h"
#include "receiver/web/server/answer.h"
#include "receiver/web/state_document.h"

namespace receiver {

namespace {

using Json = nlohmann::ordered_json;

constexpr char jsonType[] = "application/json; charset=utf-8";

// Whoever asks more often gets the same answer, unless a command was given or readers of events
// were told of something new.
constexpr std::chrono::milliseconds stateAge(100);

constexpr guint mostGoodbyeMs = 500;

// Of one answer: each connection may have one that nobody reads.
constexpr size_t mostHappeningsBytes = size_t(4) << 20;

std::optional<std::string> headerOf(SoupServerMessage* message, const char* name)
{
    const char* const value =
        soup_message_headers_get_one(soup_server_message_get_request_headers(message), name);
    return value ? std::optional<std::string>(value) : std::nullopt;
}

RequestHead headOf(SoupServerMessage* message)
{
    RequestHead head;
    head.method = soup_server_message_get_method(message);
    head.host = headerOf(message, "Host");
    head.origin = headerOf(message, "Origin");
    head.fetchSite = headerOf(message, "Sec-Fetch-Site");
    head.contentLength = headerOf(message, "Content-Length");
    head.hasTransferEncoding = headerOf(message, "Transfer-Encoding").has_value();
    return head;
}

std::string parameterOf(GHashTable* query, const char* name)
{
    const auto* const value =
        query ? static_cast<const char*>(g_hash_table_lookup(query, name)) : nullptr;
    return value ? value : "";
}

const char* typeOf(const std::string& name)
{
    static const struct {
        const char* ending;
        const char* type;
    } types[] = {{".html", "text/html; charset=utf-8"},
                 {".css", "text/css; charset=utf-8"},
                 {".js", "text/javascript; charset=utf-8"},
                 {".svg", "image/svg+xml"}};
    for (const auto& each : types) {
        const std::string ending = each.ending;
        if (name.size() > ending.size() &&
            name.compare(name.size() - ending.size(), ending.size(), ending) == 0)
            return each.type;
    }
    return "application/octet-stream";
}

/// They write and compare files of this machine; what is seen can be asked for.
bool isForThisMachineAlone(const std::string& line)
{
    const std::optional<Words> words = splitWords(line);
    return words && !words->empty() &&
           (words->front() == "picture" || words->front() == "expect-picture");
}

/// The line that the body is; without the end of the line.
std::string lineOf(SoupServerMessage* message)
{
    GBytes* const body = soup_message_body_flatten(soup_server_message_get_request_body(message));
    gsize count = 0;
    const auto* const bytes = static_cast<const char*>(g_bytes_get_data(body, &count));
    std::string line(bytes ? bytes : "", count);
    g_bytes_unref(body);
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r'))
        line.pop_back();
    return line;
}

void answerOutcome(SoupServerMessage* message, const Session::Answer& answer)
{
    static const struct {
        const char* word;
        unsigned status;
    } outcomes[] = {{"done", SOUP_STATUS_OK},
                    {"wrong usage", SOUP_STATUS_BAD_REQUEST},
                    {"failed", SOUP_STATUS_CONFLICT}};
    const auto& outcome = outcomes[static_cast<size_t>(answer.outcome.kind)];
    const Json document = {
        {"outcome", outcome.word}, {"text", answer.outcome.text}, {"lines", answer.lines}};
    answerWith(message, outcome.status, jsonType, textOf(document));
}

}  // namespace

WebServer::WebServer(Session& session, const Chronicle& chronicle)
    : session_(session), chronicle_(chronicle),
      server_(soup_server_new(nullptr, nullptr),
              [](SoupServer* server) { g_object_unref(server); }),
      connections_(server_.get()), pictures_(session.browser()), streams_(session, chronicle)
{
    soup_server_add_early_handler(server_.get(), nullptr, check, this, nullptr);
    soup_server_add_handler(server_.get(), nullptr, handle, this, nullptr);
}

/// Whoever waits for a picture iterates the main context: nothing may come in by it then.
WebServer::~WebServer()
{
    connections_.stop();
    soup_server_disconnect(server_.get());
}

std::string WebServer::listen(const WebAddress& address)
{
    address_ = address;
    const std::string problem = connections_.listen(address_);
    return problem.empty() ? "" : "--web " + urlOf(address) + ": " + problem;
}

void WebServer::end()
{
    isEnding_ = true;
    connections_.stop();
    streams_.end();
    bool isOver = false;
    const GSourceFunc giveUp = [](gpointer over) -> gboolean {
        *static_cast<bool*>(over) = true;
        return G_SOURCE_REMOVE;
    };
    const guint timer = g_timeout_add(mostGoodbyeMs, giveUp, &isOver);
    while (streams_.count() != 0 && !isOver)
        g_main_context_iteration(nullptr, TRUE);
    // Answers that are not sent yet, too, but connections may be kept open by the other side.
    while (!isOver && g_main_context_iteration(nullptr, FALSE)) {
    }
    if (!isOver)
        g_source_remove(timer);
}

/// Before the body has come.
void WebServer::check(SoupServer* /*server*/, SoupServerMessage* message, const char* /*path*/,
                      GHashTable* /*query*/, gpointer self)
{
    const auto* const server = static_cast<WebServer*>(self);
    if (const auto refusal = refusalOf(headOf(message), server->address_.port)) {
        soup_message_body_set_accumulate(soup_server_message_get_request_body(message), FALSE);
        answerWithText(message, refusal->status, refusal->reason);
        soup_message_headers_replace(soup_server_message_get_response_headers(message),
                                     "Connection", "close");
    }
}

void WebServer::handle(SoupServer* /*server*/, SoupServerMessage* message, const char* path,
                       GHashTable* query, gpointer self)
{
    static_cast<WebServer*>(self)->answer(message, path, query);
}

void WebServer::answer(SoupServerMessage* message, const std::string& path, GHashTable* query)
{
    const bool isPost = soup_server_message_get_method(message) == SOUP_METHOD_POST;
    if (isEnding_)
        answerWithText(message, SOUP_STATUS_SERVICE_UNAVAILABLE, "the receiver ends");
    else if (isPost != (path == "/command"))
        answerWithText(message, SOUP_STATUS_METHOD_NOT_ALLOWED, "POST goes to /command alone");
    else if (isPost)
        answerCommand(message);
    else if (!answerDocument(message, path, query) && !answerFile(message, path))
        answerWithText(message, SOUP_STATUS_NOT_FOUND, "there is nothing of this name");
}

/// @return whether there is one of this name
bool WebServer::answerDocument(SoupServerMessage* message, const std::string& path,
                               GHashTable* query)
{
    if (path == "/state.json")
        answerState(message);
    else if (path == "/screen.png")
        pictures_.answer(message);
    else if (path == "/page.json")
        answerPage(message, query);
    else if (path == "/happenings.json")
        answerHappenings(message, query);
    else if (path == "/events")
        streams_.answer(message,
                        headerOf(message, "Last-Event-ID").value_or(parameterOf(query, "after")));
    else
        return false;
    return true;
}

bool WebServer::answerFile(SoupServerMessage* message, const std::string& path)
{
    const std::string name = path == "/" ? "index.html" : path.substr(1);
    const std::string_view content = pageFile(name);
    if (content.empty())
        return false;
    answerWith(message, SOUP_STATUS_OK, typeOf(name), content);
    return true;
}

void WebServer::answerState(SoupServerMessage* message)
{
    const auto now = std::chrono::steady_clock::now();
    if (state_.empty() || stateChanges_ != streams_.changes() || now - stateTime_ >= stateAge) {
        state_ = textOf(stateOf(session_));
        stateTime_ = now;
        stateChanges_ = streams_.changes();
    }
    answerWith(message, SOUP_STATUS_OK, jsonType, state_);
}

void WebServer::answerPage(SoupServerMessage* message, GHashTable* query)
{
    const auto window = wholeNumber(parameterOf(query, "window"), 0x7FFFFFFF);
    const PageSource* const source =
        window ? session_.browser().sourceOf(static_cast<long>(*window)) : nullptr;
    if (!source)
        return answerWithText(message, SOUP_STATUS_NOT_FOUND,
                              "there is no source of a page in this window");
    answerWith(message, SOUP_STATUS_OK, jsonType,
               textOf(jsonOf(static_cast<long>(*window), *source)));
}

void WebServer::answerHappenings(SoupServerMessage* message, GHashTable* query)
{
    const uint64_t known = chronicle_.idIn(parameterOf(query, "after"));
    std::string document = "{\"run\":\"" + chronicle_.run() +
                           "\",\"omitted\":" + std::to_string(chronicle_.omitted()) +
                           ",\"happenings\":[";
    const char* separator = "\n";
    for (const Chronicle::Entry& entry : chronicle_.after(known, mostHappeningsBytes)) {
        document += separator + entry.json;
        separator = ",\n";
    }
    answerWith(message, SOUP_STATUS_OK, jsonType, document + "]}");
}

void WebServer::answerCommand(SoupServerMessage* message)
{
    const std::string line = lineOf(message);
    if (line.find('\n') != std::string::npos)
        return answerOutcome(message, {Outcome::wrongUsage("one line at a time"), {}});
    if (isForThisMachineAlone(line))
        return answerWithText(message, SOUP_STATUS_FORBIDDEN,
                              "no files of this machine are written or read from outside");
    const auto number = std::make_shared<uint64_t>(0);
    auto late = std::make_shared<LateAnswer>(
        message, [&session = session_, number] { session.forgetAsker(*number); });
    *number = session_.ask(line, [this, late](const Session::Answer& answer) {
        state_.clear();
        if (SoupServerMessage* const asked = late->message())
            answerOutcome(asked, answer);
    });
}

}  // namespace receiver
