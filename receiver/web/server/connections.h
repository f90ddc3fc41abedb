/// The connections of the web server: so many, and none that idles for ever.
#ifndef VESTA_RECEIVER_WEB_SERVER_CONNECTIONS_H
#define VESTA_RECEIVER_WEB_SERVER_CONNECTIONS_H

#include <libsoup/soup.h>
#include <memory>
#include <string>

#include "receiver/web/web_address.h"

namespace receiver {

/// Accepts them while it lives, for a server. In the default main context.
class Connections {
public:
    /// Further ones are closed as they come.
    static constexpr unsigned most = 64;

    /// @param server borrowed
    explicit Connections(SoupServer* server);
    ~Connections();
    Connections(const Connections&) = delete;
    Connections& operator=(const Connections&) = delete;

    /// @param address its port is known afterwards @return why not, for people; empty for success
    std::string listen(WebAddress& address);

    /// Accepts no more.
    void stop();

    unsigned count() const { return *count_; }

    /// Of a message that came by one of them, borrowed; null where there is none any more.
    static GSocket* socketOf(SoupServerMessage* message);

private:
    static gboolean accept(GSocketService* service, GSocketConnection* connection, GObject* source,
                           gpointer self);
    void take(GSocketConnection* connection);

    SoupServer* const server_;
    GSocketService* const service_;
    std::shared_ptr<unsigned> count_;  // connections may live longer
};

}  // namespace receiver

#endif
