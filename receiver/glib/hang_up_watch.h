/// Hears that the other side of a connection has gone.
#ifndef VESTA_RECEIVER_GLIB_HANG_UP_WATCH_H
#define VESTA_RECEIVER_GLIB_HANG_UP_WATCH_H

#include <functional>
#include <gio/gio.h>

namespace receiver {

/// A server reads nothing of the connection of a request that it is answering or has paused, and
/// hears of no end. In the default main context.
class HangUpWatch {
public:
    /// @param gone called once at most; it may destroy the watch
    explicit HangUpWatch(std::function<void()> gone) : gone_(std::move(gone)) {}
    ~HangUpWatch() { stop(); }
    HangUpWatch(const HangUpWatch&) = delete;
    HangUpWatch& operator=(const HangUpWatch&) = delete;

    /// Looks until the end, stop(), or the next bytes: what is sent is the server's to read.
    /// @param socket may be null: then it does nothing
    void start(GSocket* socket);
    void stop();

private:
    static gboolean look(GSocket* socket, GIOCondition condition, gpointer self);

    const std::function<void()> gone_;
    GSource* source_ = nullptr;
};

}  // namespace receiver

#endif
