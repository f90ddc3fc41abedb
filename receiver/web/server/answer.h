/// How the web server answers.
#ifndef VESTA_RECEIVER_WEB_SERVER_ANSWER_H
#define VESTA_RECEIVER_WEB_SERVER_ANSWER_H

#include <functional>
#include <libsoup/soup.h>
#include <memory>
#include <string>
#include <string_view>

#include "receiver/glib/hang_up_watch.h"

namespace receiver {

/// Headers that keep every answer to its own origin, and out of caches.
void setCommonHeaders(SoupServerMessage* message);

void answerWith(SoupServerMessage* message, unsigned status, const char* type,
                std::string_view content);

/// A sentence.
void answerWithText(SoupServerMessage* message, unsigned status, const std::string& sentence);

/// The connection goes, and with it what is queued for the other side.
void closeConnectionOf(SoupServerMessage* message);

/// A request that is answered later; a move leaves the former one without. Whoever hangs up
/// meanwhile, even if only for what he sends, is not answered: the connection is closed.
class LateAnswer {
public:
    /// @param message is paused
    /// @param gone called once at most, when nobody waits for it any more; may destroy this
    explicit LateAnswer(SoupServerMessage* message, std::function<void()> gone = {});
    LateAnswer(LateAnswer&& other) noexcept;
    LateAnswer(const LateAnswer&) = delete;
    LateAnswer& operator=(const LateAnswer&) = delete;
    LateAnswer& operator=(LateAnswer&&) = delete;
    ~LateAnswer();

    /// To be answered now, if whoever asked is still there; it is sent when this goes. Else null.
    SoupServerMessage* message() const;

private:
    SoupServerMessage* message_;
    std::unique_ptr<HangUpWatch> hangUp_;
};

}  // namespace receiver

#endif
