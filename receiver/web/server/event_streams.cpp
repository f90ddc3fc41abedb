#include "receiver/web/server/event_streams.h"

#include <algorithm>
#include <vector>

#include "receiver/web/server/answer.h"
#include "receiver/web/server/connections.h"

namespace receiver {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr guint lookMs = 40;
constexpr milliseconds betweenStates(250);
constexpr seconds betweenQuietStates(1);  // while nothing happens but that blocks of files come
constexpr seconds betweenSigns(15);       // a reader who has gone is noticed when nothing is new

// What is replayed at the beginning, and what may wait to be written: a reader who is slow for a
// while is not one who never reads.
constexpr size_t mostReplayBytes = size_t(2) << 20;
constexpr size_t mostPendingBytes = size_t(8) << 20;

std::string eventOf(const char* name, const std::string& data)
{
    return std::string("event: ") + name + "\ndata: " + data + "\n\n";
}

}  // namespace

EventStreams::EventStreams(Session& session, const Chronicle& chronicle)
    : session_(session), chronicle_(chronicle)
{
}

EventStreams::~EventStreams()
{
    while (!streams_.empty()) {
        g_signal_handlers_disconnect_by_data(streams_.front().message, &streams_.front());
        forget(streams_.front());
    }
    stopLooking();
}

void EventStreams::stopLooking()
{
    if (timer_ != 0)
        g_source_remove(timer_);
    timer_ = 0;
}

void EventStreams::answer(SoupServerMessage* message, const std::string& after)
{
    if (streams_.size() >= most)
        return answerWithText(message, SOUP_STATUS_SERVICE_UNAVAILABLE, "too many listen already");
    setCommonHeaders(message);
    soup_server_message_set_status(message, SOUP_STATUS_OK, nullptr);
    SoupMessageHeaders* const headers = soup_server_message_get_response_headers(message);
    soup_message_headers_set_content_type(headers, "text/event-stream", nullptr);
    soup_message_headers_set_encoding(headers, SOUP_ENCODING_CHUNKED);
    soup_message_body_set_accumulate(soup_server_message_get_response_body(message), FALSE);
    if (soup_server_message_get_method(message) != SOUP_METHOD_HEAD)
        begin(message, after);
}

void EventStreams::begin(SoupServerMessage* message, const std::string& after)
{
    const auto place = streams_.emplace(streams_.end());
    Stream& stream = *place;
    stream.owner = this;
    stream.message = SOUP_SERVER_MESSAGE(g_object_ref(message));
    stream.place = place;
    stream.sent = chronicle_.idIn(after);
    g_signal_connect(message, "wrote-body-data", G_CALLBACK(wrote), &stream);
    g_signal_connect(message, "finished", G_CALLBACK(finished), &stream);
    g_signal_connect(message, "disconnected", G_CALLBACK(finished), &stream);
    stream.hangUp = std::make_unique<HangUpWatch>([this, &stream] { drop(stream); });
    stream.hangUp->start(Connections::socketOf(message));
    if (timer_ == 0)
        timer_ = g_timeout_add(lookMs, look, this);
    if (!send(stream, eventOf("hello", R"({"run":")" + chronicle_.run() + R"(","version":")" +
                                           VESTA_VERSION + "\"}")))
        return;
    const Piece piece = happeningsAfter(stream.sent);
    stream.sent = piece.last;
    if (send(stream, piece.text))
        send(stream, eventOf("state", "{\"revision\":" + std::to_string(++revision_) + "}"));
}

void EventStreams::wrote(SoupServerMessage* /*message*/, guint count, gpointer stream)
{
    size_t& pending = static_cast<Stream*>(stream)->pending;
    pending -= std::min<size_t>(pending, count);
}

void EventStreams::finished(SoupServerMessage* message, gpointer stream)
{
    auto* const gone = static_cast<Stream*>(stream);
    g_signal_handlers_disconnect_by_data(message, gone);
    gone->owner->forget(*gone);
}

gboolean EventStreams::look(gpointer self)
{
    auto* const streams = static_cast<EventStreams*>(self);
    if (streams->streams_.empty()) {
        streams->timer_ = 0;
        return G_SOURCE_REMOVE;
    }
    streams->sendHappenings();
    streams->tellOfScreen();
    streams->tellOfState();
    streams->keepAlive();
    return G_SOURCE_CONTINUE;
}

/// @return whether it still exists: a reader who is too slow is dropped
bool EventStreams::send(Stream& stream, const std::string& text)
{
    if (text.empty())
        return true;
    if (stream.pending + text.size() > mostPendingBytes) {
        drop(stream);
        return false;
    }
    stream.pending += text.size();
    soup_message_body_append(soup_server_message_get_response_body(stream.message),
                             SOUP_MEMORY_COPY, text.data(), text.size());
    soup_server_message_unpause(stream.message);
    lastSign_ = Clock::now();
    return true;
}

/// What is queued goes with the connection.
void EventStreams::drop(Stream& stream)
{
    g_signal_handlers_disconnect_by_data(stream.message, &stream);
    closeConnectionOf(stream.message);
    forget(stream);
}

void EventStreams::forget(Stream& stream)
{
    SoupServerMessage* const message = stream.message;
    streams_.erase(stream.place);
    g_object_unref(message);
}

void EventStreams::sendToAll(const std::string& text)
{
    for (auto stream = streams_.begin(); stream != streams_.end();) {
        Stream& next = *stream++;  // sending may be the end of one
        send(next, text);
    }
}

void EventStreams::sendHappenings()
{
    const uint64_t last = chronicle_.last();
    std::map<uint64_t, Piece> pieces;  // most readers are equally far
    for (auto stream = streams_.begin(); stream != streams_.end();) {
        Stream& next = *stream++;
        if (next.sent >= last)
            continue;
        auto found = pieces.find(next.sent);
        if (found == pieces.end())
            found = pieces.emplace(next.sent, happeningsAfter(next.sent)).first;
        next.sent = found->second.last;
        send(next, found->second.text);
    }
}

/// As much of the latest as anybody reads at once; ids that are left out tell of the others.
/// Deliberate: how far it goes is read from the entries alone, since other threads report more at
/// any time.
EventStreams::Piece EventStreams::happeningsAfter(uint64_t id) const
{
    Piece piece = {"", id};
    for (const Chronicle::Entry& entry : chronicle_.after(id, mostReplayBytes)) {
        piece.text += "id: " + chronicle_.run() + "." + std::to_string(entry.id) + "\n" +
                      eventOf("happening", entry.json);
        piece.last = entry.id;
    }
    return piece;
}

void EventStreams::tellOfScreen()
{
    const unsigned long long painting = session_.browser().paintings();
    if (painting == painting_)
        return;
    painting_ = painting;
    sendToAll(eventOf("screen", "{\"painting\":" + std::to_string(painting) + "}"));
}

void EventStreams::tellOfState()
{
    const Clock::time_point now = Clock::now();
    if (now - toldState_ < betweenStates)
        return;
    const uint64_t last = chronicle_.last();
    bool isNew = last != toldHappening_;
    if (!isNew && now - toldState_ >= betweenQuietStates)
        isNew = session_.middleware().statistics().packets != toldPackets_;
    if (!isNew)
        return;
    toldState_ = now;
    ++changes_;
    toldHappening_ = last;
    toldPackets_ = session_.middleware().statistics().packets;
    sendToAll(eventOf("state", "{\"revision\":" + std::to_string(++revision_) + "}"));
}

void EventStreams::keepAlive()
{
    if (Clock::now() - lastSign_ >= betweenSigns)
        sendToAll(":\n\n");
}

void EventStreams::end()
{
    stopLooking();
    sendHappenings();
    const std::string goodbye = eventOf("end", "{}");
    for (auto stream = streams_.begin(); stream != streams_.end();) {
        Stream& next = *stream++;
        if (!send(next, goodbye))
            continue;
        soup_message_body_complete(soup_server_message_get_response_body(next.message));
        soup_server_message_unpause(next.message);
    }
}

}  // namespace receiver
