#include "receiver/web/server/connections.h"

namespace receiver {

namespace {

// Of one that neither sends nor takes anything.
constexpr guint mostIdleSeconds = 60;

// Who comes while the application manager is busy waits here; beyond that a system only seems to
// connect them.
constexpr int backlog = 128;

// The server knows the socket only of a connection that it has accepted itself; the address of the
// other side it keeps.
const char socketKey[] = "vesta-socket";

GSocketAddress* socketAddressOf(const WebAddress& address)
{
    return g_inet_socket_address_new_from_string(address.host.c_str(), address.port);
}

}  // namespace

Connections::Connections(SoupServer* server)
    : server_(server), service_(g_socket_service_new()), count_(std::make_shared<unsigned>(0))
{
    g_socket_listener_set_backlog(G_SOCKET_LISTENER(service_), backlog);
    g_signal_connect(service_, "incoming", G_CALLBACK(accept), this);
}

Connections::~Connections()
{
    stop();
    g_object_unref(service_);
}

void Connections::stop()
{
    g_socket_service_stop(service_);
    g_socket_listener_close(G_SOCKET_LISTENER(service_));
    g_signal_handlers_disconnect_by_data(service_, this);
}

std::string Connections::listen(WebAddress& address)
{
    GSocketAddress* const wanted = socketAddressOf(address);
    GSocketAddress* found = nullptr;
    GError* problem = nullptr;
    g_socket_listener_add_address(G_SOCKET_LISTENER(service_), wanted, G_SOCKET_TYPE_STREAM,
                                  G_SOCKET_PROTOCOL_TCP, nullptr, &found, &problem);
    g_object_unref(wanted);
    if (problem) {
        const std::string reason = problem->message;
        g_error_free(problem);
        return reason;
    }
    address.port = g_inet_socket_address_get_port(G_INET_SOCKET_ADDRESS(found));
    g_object_unref(found);
    return "";
}

gboolean Connections::accept(GSocketService* /*service*/, GSocketConnection* connection,
                             GObject* /*source*/, gpointer self)
{
    auto* const connections = static_cast<Connections*>(self);
    if (connections->count() < most)
        connections->take(connection);
    return TRUE;  // nobody else is asked; one that was not taken is closed
}

void Connections::take(GSocketConnection* connection)
{
    ++*count_;
    const GWeakNotify forget = [](gpointer count, GObject*) {
        auto* const shared = static_cast<std::shared_ptr<unsigned>*>(count);
        --**shared;
        delete shared;
    };
    g_object_weak_ref(G_OBJECT(connection), forget, new std::shared_ptr<unsigned>(count_));
    g_socket_set_timeout(g_socket_connection_get_socket(connection), mostIdleSeconds);
    GSocketAddress* local = g_socket_connection_get_local_address(connection, nullptr);
    GSocketAddress* remote = g_socket_connection_get_remote_address(connection, nullptr);
    if (remote)
        g_object_set_data_full(G_OBJECT(remote), socketKey,
                               g_object_ref(g_socket_connection_get_socket(connection)),
                               g_object_unref);
    soup_server_accept_iostream(server_, G_IO_STREAM(connection), local, remote, nullptr);
    g_clear_object(&local);
    g_clear_object(&remote);
}

GSocket* Connections::socketOf(SoupServerMessage* message)
{
    GSocketAddress* const remote = soup_server_message_get_remote_address(message);
    return remote ? static_cast<GSocket*>(g_object_get_data(G_OBJECT(remote), socketKey)) : nullptr;
}

}  // namespace receiver
