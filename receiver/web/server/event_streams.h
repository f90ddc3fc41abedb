/// Those who hear of everything as it happens (Server-Sent Events).
#ifndef VESTA_RECEIVER_WEB_SERVER_EVENT_STREAMS_H
#define VESTA_RECEIVER_WEB_SERVER_EVENT_STREAMS_H

#include <chrono>
#include <cstdint>
#include <libsoup/soup.h>
#include <list>
#include <map>
#include <memory>
#include <string>

#include "receiver/glib/hang_up_watch.h"
#include "receiver/session.h"
#include "receiver/web/chronicle.h"

namespace receiver {

/// While somebody listens, it looks 25 times a second at what is new; else never. A reader who does
/// not keep up is dropped. Browser thread, in its default main context.
class EventStreams {
public:
    /// Further ones are refused.
    static constexpr size_t most = 24;

    /// @param session, chronicle borrowed
    EventStreams(Session& session, const Chronicle& chronicle);
    ~EventStreams();
    EventStreams(const EventStreams&) = delete;
    EventStreams& operator=(const EventStreams&) = delete;

    /// Answers with a stream of events. @param after "RUN.ID" of the last happening that is known
    void answer(SoupServerMessage* message, const std::string& after);

    /// Says goodbye; nothing is sent afterwards.
    void end();

    size_t count() const { return streams_.size(); }

    /// How often readers were told that the state has changed.
    uint64_t changes() const { return changes_; }

private:
    using Clock = std::chrono::steady_clock;

    struct Stream {
        EventStreams* owner;
        SoupServerMessage* message;
        uint64_t sent = 0;   // the last happening
        size_t pending = 0;  // bytes that are not written yet
        std::list<Stream>::iterator place;
        std::unique_ptr<HangUpWatch> hangUp;
    };

    /// Events, and the last happening that is among them.
    struct Piece {
        std::string text;
        uint64_t last;
    };

    static void wrote(SoupServerMessage* message, guint count, gpointer stream);
    static void finished(SoupServerMessage* message, gpointer stream);
    static gboolean look(gpointer self);
    void begin(SoupServerMessage* message, const std::string& after);
    bool send(Stream& stream, const std::string& text);
    void sendToAll(const std::string& text);
    void stopLooking();
    void sendHappenings();
    Piece happeningsAfter(uint64_t id) const;
    void tellOfScreen();
    void tellOfState();
    void keepAlive();
    void drop(Stream& stream);
    void forget(Stream& stream);

    Session& session_;
    const Chronicle& chronicle_;
    std::list<Stream> streams_;
    guint timer_ = 0;
    unsigned long long painting_ = 0;
    uint64_t revision_ = 0;
    uint64_t changes_ = 0;
    uint64_t toldHappening_ = 0;  // with the last revision
    uint64_t toldPackets_ = 0;    // likewise
    Clock::time_point toldState_;
    Clock::time_point lastSign_;
};

}  // namespace receiver

#endif
