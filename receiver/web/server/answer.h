/// How the web server answers.
#ifndef VESTA_RECEIVER_WEB_SERVER_ANSWER_H
#define VESTA_RECEIVER_WEB_SERVER_ANSWER_H

#include <libsoup/soup.h>
#include <string>
#include <string_view>

namespace receiver {

/// Headers that keep every answer to its own origin, and out of caches.
void setCommonHeaders(SoupServerMessage* message);

void answerWith(SoupServerMessage* message, unsigned status, const char* type,
                std::string_view content);

/// A sentence.
void answerWithText(SoupServerMessage* message, unsigned status, const std::string& sentence);

/// A request that is answered later; a move leaves the former one without.
class LateAnswer {
public:
    /// @param message is paused
    explicit LateAnswer(SoupServerMessage* message);
    LateAnswer(LateAnswer&& other) noexcept;
    LateAnswer(const LateAnswer&) = delete;
    LateAnswer& operator=(const LateAnswer&) = delete;
    LateAnswer& operator=(LateAnswer&&) = delete;
    ~LateAnswer();

    /// To be answered now, if whoever asked is still there; it is sent when this goes. Else null.
    SoupServerMessage* message() const;

private:
    SoupServerMessage* message_;
};

}  // namespace receiver

#endif
