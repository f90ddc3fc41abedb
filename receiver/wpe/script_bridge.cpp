#include "receiver/wpe/script_bridge.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <gio/gunixsocketaddress.h>
#include <unistd.h>
#include <utility>

#include "receiver/wpe/bridge_protocol.h"

namespace receiver {

struct ScriptBridge::Connection {
    ScriptBridge* bridge = nullptr;
    GSocketConnection* connection = nullptr;  // owned
    GSource* source = nullptr;                // owned
    std::string received;

    Connection() = default;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection()
    {
        g_source_destroy(source);
        g_source_unref(source);
        g_io_stream_close(G_IO_STREAM(connection), nullptr, nullptr);
        g_object_unref(connection);
    }
};

ScriptBridge::ScriptBridge(Handler handler) : handler_(std::move(handler))
{
    gchar* const folder = g_dir_make_tmp("vesta-XXXXXX", nullptr);
    if (!folder)
        return;
    folder_ = folder;
    g_free(folder);
    const std::string path = folder_ + "/scripts";
    service_ = g_socket_service_new();
    GSocketAddress* const address = g_unix_socket_address_new(path.c_str());
    if (g_socket_listener_add_address(G_SOCKET_LISTENER(service_), address, G_SOCKET_TYPE_STREAM,
                                      G_SOCKET_PROTOCOL_DEFAULT, nullptr, nullptr, nullptr))
        path_ = path;
    g_object_unref(address);
    g_signal_connect(service_, "incoming", G_CALLBACK(accept), this);
}

ScriptBridge::~ScriptBridge()
{
    connections_.clear();
    if (service_) {
        g_socket_service_stop(service_);
        g_socket_listener_close(G_SOCKET_LISTENER(service_));
        g_object_unref(service_);
    }
    ::unlink(path_.c_str());
    ::rmdir(folder_.c_str());
}

gboolean ScriptBridge::accept(GSocketService* /*service*/, GSocketConnection* connection,
                              GObject* /*source*/, gpointer data)
{
    auto* const bridge = static_cast<ScriptBridge*>(data);
    auto made = std::make_unique<Connection>();
    made->bridge = bridge;
    made->connection = G_SOCKET_CONNECTION(g_object_ref(connection));
    GSocket* const socket = g_socket_connection_get_socket(connection);
    g_socket_set_blocking(socket, FALSE);
    made->source = g_socket_create_source(socket, G_IO_IN, nullptr);
    // GLib's own way to set the callback of a source of another type.
    g_source_set_callback(made->source,
                          reinterpret_cast<GSourceFunc>(reinterpret_cast<void (*)()>(readable)),
                          made.get(), nullptr);
    g_source_attach(made->source, nullptr);
    bridge->connections_.insert(std::move(made));
    return TRUE;
}

gboolean ScriptBridge::readable(GSocket* /*socket*/, GIOCondition /*condition*/, gpointer data)
{
    auto* const connection = static_cast<Connection*>(data);
    ScriptBridge* const bridge = connection->bridge;
    if (bridge->read(*connection))
        return G_SOURCE_CONTINUE;
    const auto found =
        std::find_if(bridge->connections_.begin(), bridge->connections_.end(),
                     [connection](const auto& each) { return each.get() == connection; });
    if (found != bridge->connections_.end())
        bridge->connections_.erase(found);
    return G_SOURCE_REMOVE;
}

/// @return false when the connection is over
bool ScriptBridge::read(Connection& connection)
{
    GSocket* const socket = g_socket_connection_get_socket(connection.connection);
    char bytes[16384];
    GError* error = nullptr;
    const gssize count = g_socket_receive(socket, bytes, sizeof bytes, nullptr, &error);
    if (count < 0) {
        const bool isNothingYet = g_error_matches(error, G_IO_ERROR, G_IO_ERROR_WOULD_BLOCK) != 0;
        g_error_free(error);
        return isNothingYet;
    }
    if (count == 0)
        return false;
    connection.received.append(bytes, static_cast<size_t>(count));
    while (connection.received.size() >= bridgeLengthBytes) {
        const uint32_t length =
            bridgeLength(reinterpret_cast<const unsigned char*>(connection.received.data()));
        if (length > mostCallBytes)
            return false;
        if (connection.received.size() < bridgeLengthBytes + length)
            return true;
        if (!answer(connection))
            return false;
    }
    return true;
}

bool ScriptBridge::answer(Connection& connection)
{
    const uint32_t length =
        bridgeLength(reinterpret_cast<const unsigned char*>(connection.received.data()));
    const std::string message = connection.received.substr(bridgeLengthBytes, length);
    connection.received.erase(0, bridgeLengthBytes + length);
    const size_t lineEnd = message.find('\n');
    Caller caller;
    unsigned long long page = 0;
    unsigned long long document = 0;
    int isMain = 0;
    if (lineEnd == std::string::npos ||
        std::sscanf(message.c_str(), "%llu %llu %d", &page, &document, &isMain) != 3)
        return false;
    caller.page = page;
    caller.document = document;
    caller.isMainFrame = isMain != 0;
    const std::string text = handler_(caller, message.substr(lineEnd + 1));
    const auto head = bridgeLength(text.size());
    const std::string reply = std::string(head.begin(), head.end()) + text;
    GSocket* const socket = g_socket_connection_get_socket(connection.connection);
    g_socket_set_blocking(socket, TRUE);  // the web process waits for nothing else
    size_t sent = 0;
    while (sent < reply.size()) {
        const gssize count =
            g_socket_send(socket, reply.data() + sent, reply.size() - sent, nullptr, nullptr);
        if (count <= 0)
            return false;
        sent += static_cast<size_t>(count);
    }
    g_socket_set_blocking(socket, FALSE);
    return true;
}

}  // namespace receiver
