/// The television in a browser tab: the receiver's page, and what programs can ask and tell it.
#ifndef VESTA_RECEIVER_WEB_SERVER_WEB_SERVER_H
#define VESTA_RECEIVER_WEB_SERVER_WEB_SERVER_H

#include <chrono>
#include <cstdint>
#include <libsoup/soup.h>
#include <memory>
#include <string>

#include "receiver/session.h"
#include "receiver/web/chronicle.h"
#include "receiver/web/server/connections.h"
#include "receiver/web/server/event_streams.h"
#include "receiver/web/server/screen_pictures.h"
#include "receiver/web/web_address.h"

namespace receiver {

/// Works where the browser thread sleeps in its main loop: it takes no time from the application
/// manager but that of its answers, and waits for no reader. Browser thread.
class WebServer {
public:
    /// @param session, chronicle borrowed
    WebServer(Session& session, const Chronicle& chronicle);
    ~WebServer();
    WebServer(const WebServer&) = delete;
    WebServer& operator=(const WebServer&) = delete;

    /// @return why not, for people; empty for success
    std::string listen(const WebAddress& address);

    /// "http://127.0.0.1:8080/"
    std::string url() const { return urlOf(address_); }

    /// Before the session's end: nobody is let in any more; says goodbye, and waits for a moment
    /// until that is sent.
    void end();

private:
    static void check(SoupServer* server, SoupServerMessage* message, const char* path,
                      GHashTable* query, gpointer self);
    static void handle(SoupServer* server, SoupServerMessage* message, const char* path,
                       GHashTable* query, gpointer self);
    void answer(SoupServerMessage* message, const std::string& path, GHashTable* query);
    bool answerDocument(SoupServerMessage* message, const std::string& path, GHashTable* query);
    static bool answerFile(SoupServerMessage* message, const std::string& path);
    void answerState(SoupServerMessage* message);
    void answerPage(SoupServerMessage* message, GHashTable* query);
    void answerHappenings(SoupServerMessage* message, GHashTable* query);
    void answerCommand(SoupServerMessage* message);

    Session& session_;
    const Chronicle& chronicle_;
    WebAddress address_;
    const std::unique_ptr<SoupServer, void (*)(SoupServer*)> server_;  // all others' until the end
    Connections connections_;
    ScreenPictures pictures_;
    EventStreams streams_;
    std::string state_;  // of the time and the change below; empty: to be made anew
    std::chrono::steady_clock::time_point stateTime_;
    uint64_t stateChanges_ = 0;
    bool isEnding_ = false;
};

}  // namespace receiver

#endif
