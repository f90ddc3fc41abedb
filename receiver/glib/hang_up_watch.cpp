#include "receiver/glib/hang_up_watch.h"

#include <sys/socket.h>

namespace receiver {

namespace {

enum class Sign { Gone, Bytes, Nothing };

/// What the other end has last shown of itself.
Sign signOf(GSocket* socket)
{
    char next = 0;
    GInputVector place = {&next, 1};
    gint flags = MSG_PEEK;
    GError* problem = nullptr;
    const gssize count = g_socket_receive_message(socket, nullptr, &place, 1, nullptr, nullptr,
                                                  &flags, nullptr, &problem);
    // A socket with a time limit is woken when that is over: nothing was to be read all the same.
    const bool isQuiet = g_error_matches(problem, G_IO_ERROR, G_IO_ERROR_WOULD_BLOCK) != 0 ||
                         g_error_matches(problem, G_IO_ERROR, G_IO_ERROR_TIMED_OUT) != 0;
    g_clear_error(&problem);
    if (count > 0)
        return Sign::Bytes;
    return isQuiet ? Sign::Nothing : Sign::Gone;
}

}  // namespace

void HangUpWatch::start(GSocket* socket)
{
    stop();
    if (!socket)
        return;
    source_ = g_socket_create_source(socket, GIOCondition(G_IO_IN | G_IO_HUP | G_IO_ERR), nullptr);
    const GSocketSourceFunc function = look;
    g_source_set_callback(source_, G_SOURCE_FUNC(function), this, nullptr);
    g_source_attach(source_, nullptr);
}

void HangUpWatch::stop()
{
    if (!source_)
        return;
    g_source_destroy(source_);
    g_source_unref(source_);
    source_ = nullptr;
}

gboolean HangUpWatch::look(GSocket* socket, GIOCondition /*condition*/, gpointer self)
{
    const Sign sign = signOf(socket);
    if (sign == Sign::Nothing)
        return G_SOURCE_CONTINUE;
    auto* const watch = static_cast<HangUpWatch*>(self);
    watch->stop();
    const std::function<void()> gone = watch->gone_;  // the watch may go with it
    if (sign == Sign::Gone)
        gone();
    return G_SOURCE_REMOVE;
}

}  // namespace receiver
