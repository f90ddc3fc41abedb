#include "receiver/wpe/site_server.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include "receiver/text/mime_type.h"

namespace receiver {

namespace {

/// What the server knows; freed with it.
struct Folders {
    std::vector<Site> sites;
    SoupSession* session;
};

std::string urlOf(SoupServerMessage* message)
{
    gchar* const text = g_uri_to_string(soup_server_message_get_uri(message));
    std::string url = text;
    g_free(text);
    return url;
}

void answerFromFile(SoupServerMessage* message, const std::filesystem::path& path)
{
    std::ifstream file;
    std::error_code problem;  // a name may be too long for a file
    if (std::filesystem::is_regular_file(path, problem))
        file.open(path, std::ios::binary);
    if (!file.is_open()) {
        soup_server_message_set_status(message, SOUP_STATUS_NOT_FOUND, nullptr);
        return;
    }
    const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    const std::string type = mimeTypeOf(path.string());
    soup_server_message_set_status(message, SOUP_STATUS_OK, nullptr);
    soup_server_message_set_response(message,
                                     type.empty() ? "application/octet-stream" : type.c_str(),
                                     SOUP_MEMORY_COPY, bytes.data(), bytes.size());
}

/// A request of the browser's that is asked of the network.
struct Forwarded {
    SoupServerMessage* asked;
    SoupMessage* sent;
};

void copyHeader(const char* name, const char* value, gpointer headers)
{
    // Of this connection alone, or said anew by the server.
    static const char* const own[] = {"Connection",     "Proxy-Connection", "Transfer-Encoding",
                                      "Content-Length", "Content-Encoding", "Accept-Encoding",
                                      "Keep-Alive"};
    for (const char* const each : own) {
        if (g_ascii_strcasecmp(name, each) == 0)
            return;
    }
    soup_message_headers_append(static_cast<SoupMessageHeaders*>(headers), name, value);
}

void forwarded(GObject* session, GAsyncResult* result, gpointer data)
{
    auto* const request = static_cast<Forwarded*>(data);
    GBytes* const bytes = soup_session_send_and_read_finish(SOUP_SESSION(session), result, nullptr);
    if (bytes) {
        soup_server_message_set_status(request->asked, soup_message_get_status(request->sent),
                                       nullptr);
        soup_message_headers_foreach(soup_message_get_response_headers(request->sent), copyHeader,
                                     soup_server_message_get_response_headers(request->asked));
        soup_message_body_append_bytes(soup_server_message_get_response_body(request->asked),
                                       bytes);
        g_bytes_unref(bytes);
        soup_server_message_unpause(request->asked);
    } else {
        // For the browser, too, it is no answer but a connection that failed.
        GIOStream* const connection = soup_server_message_steal_connection(request->asked);
        g_io_stream_close(connection, nullptr, nullptr);
        g_object_unref(connection);
    }
    g_object_unref(request->sent);
    g_object_unref(request->asked);
    delete request;
}

void forward(SoupSession* session, SoupServerMessage* message)
{
    SoupMessage* const sent = soup_message_new_from_uri(soup_server_message_get_method(message),
                                                        soup_server_message_get_uri(message));
    soup_message_headers_foreach(soup_server_message_get_request_headers(message), copyHeader,
                                 soup_message_get_request_headers(sent));
    soup_message_add_flags(sent, SOUP_MESSAGE_NO_REDIRECT);
    SoupMessageBody* const body = soup_server_message_get_request_body(message);
    if (body->length > 0) {
        GBytes* const bytes = soup_message_body_flatten(body);
        soup_message_set_request_body_from_bytes(sent, nullptr, bytes);
        g_bytes_unref(bytes);
    }
    soup_server_message_pause(message);
    auto* const request = new Forwarded{SOUP_SERVER_MESSAGE(g_object_ref(message)), sent};
    soup_session_send_and_read_async(session, sent, G_PRIORITY_DEFAULT, nullptr, forwarded,
                                     request);
}

void handle(SoupServer* /*server*/, SoupServerMessage* message, const char* /*path*/,
            GHashTable* /*query*/, gpointer data)
{
    const auto* const folders = static_cast<const Folders*>(data);
    if (const auto path = fileOfURL(folders->sites, urlOf(message)))
        answerFromFile(message, *path);
    else
        forward(folders->session, message);
}

}  // namespace

SoupServer* startSiteServer(const std::vector<Site>& sites, std::string& address)
{
    SoupServer* const server = soup_server_new(nullptr, nullptr);
    auto* const folders = new Folders{sites, soup_session_new()};
    // No proxy of the environment's: it would take even what is on this machine.
    soup_session_set_proxy_resolver(folders->session, nullptr);
    soup_server_add_handler(server, nullptr, handle, folders, [](gpointer made) {
        auto* const dropped = static_cast<Folders*>(made);
        g_object_unref(dropped->session);
        delete dropped;
    });
    const guint anyPort = 0;
    if (!soup_server_listen_local(server, anyPort, SOUP_SERVER_LISTEN_IPV4_ONLY, nullptr)) {
        g_object_unref(server);
        return nullptr;
    }
    GSList* const addresses = soup_server_get_uris(server);
    gchar* const text = g_uri_to_string(static_cast<GUri*>(addresses->data));
    address = text;
    g_free(text);
    g_slist_free_full(addresses, reinterpret_cast<GDestroyNotify>(g_uri_unref));
    return server;
}

}  // namespace receiver
