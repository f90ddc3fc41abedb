#include "receiver/web/server/answer.h"

#include <utility>

#include "receiver/web/server/connections.h"

namespace receiver {

namespace {

// A message that is over must not be gone on with, and libsoup says so once.
const char overKey[] = "vesta-over";

void markAsOver(SoupServerMessage* message, gpointer /*nothing*/)
{
    g_object_set_data(G_OBJECT(message), overKey, message);
}

}  // namespace

void setCommonHeaders(SoupServerMessage* message)
{
    static const struct {
        const char* name;
        const char* value;
    } headers[] = {
        {"Cache-Control", "no-store"},
        {"Content-Security-Policy",
         "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob: data:; "
         "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
        {"Cross-Origin-Opener-Policy", "same-origin"},
        {"Cross-Origin-Resource-Policy", "same-origin"},
        {"Referrer-Policy", "no-referrer"},
        {"X-Content-Type-Options", "nosniff"},
    };
    SoupMessageHeaders* const list = soup_server_message_get_response_headers(message);
    for (const auto& header : headers)
        soup_message_headers_replace(list, header.name, header.value);
}

void answerWith(SoupServerMessage* message, unsigned status, const char* type,
                std::string_view content)
{
    setCommonHeaders(message);
    soup_server_message_set_status(message, status, nullptr);
    soup_server_message_set_response(message, type, SOUP_MEMORY_COPY, content.data(),
                                     content.size());
}

void answerWithText(SoupServerMessage* message, unsigned status, const std::string& sentence)
{
    answerWith(message, status, "text/plain; charset=utf-8", sentence + "\n");
}

void closeConnectionOf(SoupServerMessage* message)
{
    GIOStream* const connection = soup_server_message_steal_connection(message);
    g_io_stream_close(connection, nullptr, nullptr);
    g_object_unref(connection);
}

LateAnswer::LateAnswer(SoupServerMessage* message, std::function<void()> gone)
    : message_(SOUP_SERVER_MESSAGE(g_object_ref(message)))
{
    g_signal_connect(message, "finished", G_CALLBACK(markAsOver), nullptr);
    g_signal_connect(message, "disconnected", G_CALLBACK(markAsOver), nullptr);
    soup_server_message_pause(message);
    // The server reads nothing while a message is paused, and would never hear of it.
    hangUp_ = std::make_unique<HangUpWatch>([message, gone = std::move(gone)] {
        if (g_object_get_data(G_OBJECT(message), overKey))
            return;
        markAsOver(message, nullptr);
        closeConnectionOf(message);
        if (gone)
            gone();
    });
    hangUp_->start(Connections::socketOf(message));
}

LateAnswer::LateAnswer(LateAnswer&& other) noexcept
    : message_(other.message_), hangUp_(std::move(other.hangUp_))
{
    other.message_ = nullptr;
}

LateAnswer::~LateAnswer()
{
    hangUp_.reset();  // the bytes of the connection are the server's again
    if (SoupServerMessage* const waiting = message())
        soup_server_message_unpause(waiting);
    if (message_)
        g_object_unref(message_);
}

SoupServerMessage* LateAnswer::message() const
{
    const bool isOver = !message_ || g_object_get_data(G_OBJECT(message_), overKey);
    return isOver ? nullptr : message_;
}

}  // namespace receiver
