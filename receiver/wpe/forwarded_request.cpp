#include "receiver/wpe/forwarded_request.h"

namespace receiver {

namespace {

constexpr gsize mostPieceBytes = gsize(64) * 1024;

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

/// Whether an answer may have one.
bool hasBody(SoupMessage& answered)
{
    const guint status = soup_message_get_status(&answered);
    return status != SOUP_STATUS_NO_CONTENT && status != SOUP_STATUS_NOT_MODIFIED &&
           soup_message_get_method(&answered) != SOUP_METHOD_HEAD;
}

}  // namespace

void ForwardedRequest::start(SoupSession* session, SoupServerMessage* message)
{
    soup_server_message_pause(message);
    (new ForwardedRequest(message))->send(session);
}

ForwardedRequest::ForwardedRequest(SoupServerMessage* asked)
    : asked_(SOUP_SERVER_MESSAGE(g_object_ref(asked))),
      sent_(soup_message_new_from_uri(soup_server_message_get_method(asked),
                                      soup_server_message_get_uri(asked))),
      cancellable_(g_cancellable_new())
{
    g_signal_connect(asked_, "wrote-chunk", G_CALLBACK(wrotePiece), this);
    g_signal_connect(asked_, "finished", G_CALLBACK(finished), this);
    g_signal_connect(asked_, "disconnected", G_CALLBACK(finished), this);
}

ForwardedRequest::~ForwardedRequest()
{
    hangUp_.stop();
    g_signal_handlers_disconnect_by_data(asked_, this);
    if (answer_)
        g_object_unref(answer_);
    g_object_unref(cancellable_);
    g_object_unref(sent_);
    g_object_unref(asked_);
}

void ForwardedRequest::send(SoupSession* session)
{
    soup_message_headers_foreach(soup_server_message_get_request_headers(asked_), copyHeader,
                                 soup_message_get_request_headers(sent_));
    soup_message_add_flags(sent_, SOUP_MESSAGE_NO_REDIRECT);
    SoupMessageBody* const body = soup_server_message_get_request_body(asked_);
    if (body->length > 0) {
        GBytes* const bytes = soup_message_body_flatten(body);
        soup_message_set_request_body_from_bytes(sent_, nullptr, bytes);
        g_bytes_unref(bytes);
    }
    watch();
    isWaiting_ = true;
    soup_session_send_async(session, sent_, G_PRIORITY_DEFAULT, cancellable_, answered, this);
}

void ForwardedRequest::watch()
{
    hangUp_.start(soup_server_message_get_socket(asked_));
}

void ForwardedRequest::answered(GObject* session, GAsyncResult* result, gpointer self)
{
    auto* const request = static_cast<ForwardedRequest*>(self);
    GInputStream* const answer = soup_session_send_finish(SOUP_SESSION(session), result, nullptr);
    request->isWaiting_ = false;
    request->hangUp_.stop();
    request->answer_ = answer;
    if (request->isOver_)
        delete request;
    else if (answer)
        request->begin();
    else
        request->fail();
}

void ForwardedRequest::begin()
{
    soup_server_message_set_status(asked_, soup_message_get_status(sent_), nullptr);
    SoupMessageHeaders* const headers = soup_server_message_get_response_headers(asked_);
    soup_message_headers_foreach(soup_message_get_response_headers(sent_), copyHeader, headers);
    if (!hasBody(*sent_))
        return soup_server_message_unpause(asked_);
    SoupMessageHeaders* const received = soup_message_get_response_headers(sent_);
    const bool isDecoded = soup_message_headers_get_one(received, "Content-Encoding") != nullptr;
    if (!isDecoded && soup_message_headers_get_encoding(received) == SOUP_ENCODING_CONTENT_LENGTH)
        soup_message_headers_set_content_length(headers,
                                                soup_message_headers_get_content_length(received));
    else
        soup_message_headers_set_encoding(headers, SOUP_ENCODING_CHUNKED);
    soup_message_body_set_accumulate(soup_server_message_get_response_body(asked_), FALSE);
    read();
}

void ForwardedRequest::read()
{
    watch();
    isWaiting_ = true;
    g_input_stream_read_bytes_async(answer_, mostPieceBytes, G_PRIORITY_DEFAULT, cancellable_,
                                    received, this);
}

void ForwardedRequest::received(GObject* stream, GAsyncResult* result, gpointer self)
{
    auto* const request = static_cast<ForwardedRequest*>(self);
    GBytes* const piece = g_input_stream_read_bytes_finish(G_INPUT_STREAM(stream), result, nullptr);
    request->isWaiting_ = false;
    request->hangUp_.stop();
    if (request->isOver_)
        delete request;
    else if (piece)
        request->passOn(piece);
    else
        request->fail();
    if (piece)
        g_bytes_unref(piece);
}

/// @param piece an empty one is the end
void ForwardedRequest::passOn(GBytes* piece)
{
    SoupMessageBody* const body = soup_server_message_get_response_body(asked_);
    if (g_bytes_get_size(piece) == 0)
        soup_message_body_complete(body);
    else
        soup_message_body_append_bytes(body, piece);
    soup_server_message_unpause(asked_);
}

/// The next piece is not asked for before the browser has this one.
void ForwardedRequest::wrotePiece(SoupServerMessage* /*message*/, gpointer self)
{
    auto* const request = static_cast<ForwardedRequest*>(self);
    if (!request->isWaiting_ && !request->isOver_)
        request->read();
}

void ForwardedRequest::finished(SoupServerMessage* /*message*/, gpointer self)
{
    static_cast<ForwardedRequest*>(self)->end();
}

/// For the browser, too, it is no answer but a connection that failed.
void ForwardedRequest::fail()
{
    g_signal_handlers_disconnect_by_data(asked_, this);
    GIOStream* const connection = soup_server_message_steal_connection(asked_);
    g_io_stream_close(connection, nullptr, nullptr);
    g_object_unref(connection);
    end();
}

void ForwardedRequest::end()
{
    if (isOver_)
        return;
    isOver_ = true;
    hangUp_.stop();
    g_cancellable_cancel(cancellable_);
    if (!isWaiting_)
        delete this;
}

}  // namespace receiver
