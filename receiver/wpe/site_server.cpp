#include "receiver/wpe/site_server.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include "receiver/text/mime_type.h"
#include "receiver/wpe/forwarded_request.h"

namespace receiver {

namespace {

// Answers that never come must not keep others from being asked for.
const int mostConnections = 256;
const int mostConnectionsOfHost = 64;

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

void handle(SoupServer* /*server*/, SoupServerMessage* message, const char* /*path*/,
            GHashTable* /*query*/, gpointer data)
{
    const auto* const folders = static_cast<const Folders*>(data);
    if (const auto path = fileOfURL(folders->sites, urlOf(message)))
        answerFromFile(message, *path);
    else
        ForwardedRequest::start(folders->session, message);
}

}  // namespace

SoupServer* startSiteServer(const std::vector<Site>& sites, std::string& address)
{
    SoupServer* const server = soup_server_new(nullptr, nullptr);
    auto* const folders = new Folders{
        sites, soup_session_new_with_options("max-conns", mostConnections, "max-conns-per-host",
                                             mostConnectionsOfHost, nullptr)};
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
