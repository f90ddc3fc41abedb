// The part of the receiver that WebKit loads into its web processes: it gives every document the
// script objects, a synchronous call to the receiver, and the receiver's events.

#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <wpe/webkit-web-extension.h>

#include "receiver/wpe/bridge_protocol.h"

namespace {

using namespace receiver;

/// The socket to the receiver, and the script that begins every document.
struct Connection {
    int socket = -1;
    std::string script;
    unsigned long documents = 0;
};

Connection connection;

bool sendAll(const char* bytes, size_t count)
{
    while (count > 0) {
        const ssize_t sent = ::send(connection.socket, bytes, count, MSG_NOSIGNAL);
        if (sent <= 0)
            return false;
        bytes += sent;
        count -= static_cast<size_t>(sent);
    }
    return true;
}

bool receiveAll(char* bytes, size_t count)
{
    while (count > 0) {
        const ssize_t received = ::recv(connection.socket, bytes, count, 0);
        if (received <= 0)
            return false;
        bytes += received;
        count -= static_cast<size_t>(received);
    }
    return true;
}

/// Waits for the answer. @return empty when there is no receiver any more
std::string call(const std::string& message)
{
    const auto head = bridgeLength(message.size());
    unsigned char length[bridgeLengthBytes] = {};
    if (!sendAll(reinterpret_cast<const char*>(head.data()), head.size()) ||
        !sendAll(message.data(), message.size()) ||
        !receiveAll(reinterpret_cast<char*>(length), sizeof length))
        return "";
    std::string answer(bridgeLength(length), '\0');
    return receiveAll(answer.data(), answer.size()) ? answer : "";
}

/// What the native function of a document knows.
struct Document {
    guint64 page;
    unsigned long number;
    bool isMainFrame;
};

/// The answer to a call that would end the connection, and so all later ones.
const char* const tooLong = R"({"error":"QuotaExceededError","message":"the call is too long"})";

char* callFromScript(const char* text, gpointer data)
{
    const auto* const document = static_cast<const Document*>(data);
    const std::string message = std::to_string(document->page) + " " +
                                std::to_string(document->number) +
                                (document->isMainFrame ? " 1\n" : " 0\n") + (text ? text : "");
    if (message.size() > mostCallBytes)
        return g_strdup(tooLong);
    return g_strdup(call(message).c_str());
}

/// The functions that take the receiver's events, by page and frame.
using Dispatchers = std::map<WebKitFrame*, JSCValue*>;
std::map<guint64, Dispatchers> dispatchers;

/// A new document in the main frame takes all frames of the page with it.
void forgetFrames(guint64 page)
{
    for (const auto& entry : dispatchers[page])
        g_object_unref(entry.second);
    dispatchers.erase(page);
}

void setDispatcher(guint64 page, WebKitFrame* frame, JSCValue* function)
{
    if (webkit_frame_is_main_frame(frame))
        forgetFrames(page);
    JSCValue*& kept = dispatchers[page][frame];
    if (kept)
        g_object_unref(kept);
    kept = function;
}

void windowObjectCleared(WebKitScriptWorld* world, WebKitWebPage* page, WebKitFrame* frame,
                         gpointer /*data*/)
{
    JSCContext* const context = webkit_frame_get_js_context_for_script_world(frame, world);
    auto* const document = new Document{webkit_web_page_get_id(page), ++connection.documents,
                                        webkit_frame_is_main_frame(frame) != 0};
    JSCValue* const native = jsc_value_new_function(
        context, "native", G_CALLBACK(callFromScript), document,
        [](gpointer made) { delete static_cast<Document*>(made); }, G_TYPE_STRING, 1,
        G_TYPE_STRING);
    JSCValue* const boot = jsc_context_evaluate(context, connection.script.c_str(),
                                                static_cast<gssize>(connection.script.size()));
    JSCValue* const function = jsc_value_function_call(
        boot, JSC_TYPE_VALUE, native, G_TYPE_BOOLEAN, gboolean(document->isMainFrame), G_TYPE_NONE);
    if (JSCException* const exception = jsc_context_get_exception(context)) {
        g_printerr("vesta_receiver: the script objects: %s\n",
                   jsc_exception_get_message(exception));
        jsc_context_clear_exception(context);
    }
    setDispatcher(document->page, frame, function);
    g_object_unref(boot);
    g_object_unref(native);
    g_object_unref(context);
}

gboolean messageReceived(WebKitWebPage* page, WebKitUserMessage* message, gpointer /*data*/)
{
    if (std::strcmp(webkit_user_message_get_name(message), "alive") == 0) {
        webkit_user_message_send_reply(message, webkit_user_message_new("alive", nullptr));
        return TRUE;
    }
    GVariant* const parameters = webkit_user_message_get_parameters(message);
    const char* const event = parameters ? g_variant_get_string(parameters, nullptr) : "";
    const Dispatchers listening = dispatchers[webkit_web_page_get_id(page)];
    for (const auto& [frame, function] : listening) {
        if (!function || !jsc_value_is_function(function))
            continue;
        g_object_ref(function);
        JSCValue* const nothing =
            jsc_value_function_call(function, G_TYPE_STRING, event, G_TYPE_NONE);
        if (nothing)
            g_object_unref(nothing);
        jsc_context_clear_exception(jsc_value_get_context(function));
        g_object_unref(function);
    }
    return TRUE;
}

void pageCreated(WebKitWebExtension* /*extension*/, WebKitWebPage* page, gpointer /*data*/)
{
    g_signal_connect(page, "user-message-received", G_CALLBACK(messageReceived), nullptr);
}

int connectTo(const char* path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (std::strlen(path) >= sizeof address.sun_path)
        return -1;
    std::strcpy(address.sun_path, path);
    const int made = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (made >= 0 &&
        ::connect(made, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        ::close(made);
        return -1;
    }
    return made;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void
webkit_web_extension_initialize_with_user_data(WebKitWebExtension* extension, GVariant* data)
{
    const char* path = nullptr;
    const char* script = nullptr;
    g_variant_get(data, "(&s&s)", &path, &script);
    connection.socket = connectTo(path);
    connection.script = script;
    if (connection.socket < 0)
        g_printerr("vesta_receiver: a web process cannot reach the receiver\n");
    g_signal_connect(webkit_script_world_get_default(), "window-object-cleared",
                     G_CALLBACK(windowObjectCleared), nullptr);
    g_signal_connect(extension, "page-created", G_CALLBACK(pageCreated), nullptr);
}
