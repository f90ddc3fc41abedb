/// A request of the browser's that is asked of the network.
#ifndef VESTA_RECEIVER_WPE_FORWARDED_REQUEST_H
#define VESTA_RECEIVER_WPE_FORWARDED_REQUEST_H

#include <libsoup/soup.h>

#include "receiver/glib/hang_up_watch.h"

namespace receiver {

/// Passes the answer on as it comes, a piece at a time: one that has no end takes no more memory
/// than any other. Ends itself with the request, or when the browser does not want it any more.
class ForwardedRequest {
public:
    /// @param session asks the network @param message of the browser; the answer is its own
    static void start(SoupSession* session, SoupServerMessage* message);

    ForwardedRequest(const ForwardedRequest&) = delete;
    ForwardedRequest& operator=(const ForwardedRequest&) = delete;

private:
    explicit ForwardedRequest(SoupServerMessage* asked);
    ~ForwardedRequest();

    static void answered(GObject* session, GAsyncResult* result, gpointer self);
    static void received(GObject* stream, GAsyncResult* result, gpointer self);
    static void wrotePiece(SoupServerMessage* message, gpointer self);
    static void finished(SoupServerMessage* message, gpointer self);

    void send(SoupSession* session);
    void watch();
    void begin();
    void read();
    void passOn(GBytes* piece);
    void fail();
    void end();

    SoupServerMessage* const asked_;
    SoupMessage* const sent_;
    GCancellable* const cancellable_;
    GInputStream* answer_ = nullptr;
    HangUpWatch hangUp_{[this] { fail(); }};  // of the browser, while its request is paused
    bool isWaiting_ = false;                  // for the network
    bool isOver_ = false;
};

}  // namespace receiver

#endif
