/// Pictures of the screen for those who ask for them.
#ifndef VESTA_RECEIVER_WEB_SERVER_SCREEN_PICTURES_H
#define VESTA_RECEIVER_WEB_SERVER_SCREEN_PICTURES_H

#include <functional>
#include <libsoup/soup.h>
#include <string>
#include <vector>

#include "receiver/browser/browser_engine.h"
#include "receiver/web/server/answer.h"

namespace receiver {

/// One picture is made at a time, on a thread of its own, for everybody who waits. Browser thread,
/// in its default main context.
class ScreenPictures {
public:
    /// @param browser borrowed
    explicit ScreenPictures(BrowserEngine& browser) : browser_(browser) {}
    ~ScreenPictures();
    ScreenPictures(const ScreenPictures&) = delete;
    ScreenPictures& operator=(const ScreenPictures&) = delete;

    /// Answers with what is seen, now or soon.
    void answer(SoupServerMessage* message);

    /// Whether the main context has to be iterated until a picture is made.
    bool isBusy() const { return isBusy_; }

private:
    void begin();
    void end(GBytes* picture);
    void give(SoupServerMessage* message) const;

    BrowserEngine& browser_;
    bool isBusy_ = false;
    unsigned long long painting_ = 0;  // of the picture that is being made
    unsigned long long made_ = 0;      // of the last one
    GBytes* last_ = nullptr;
    std::vector<LateAnswer> waiting_;  // for the one that is being made
    std::vector<LateAnswer> late_;     // who want a newer one
};

}  // namespace receiver

#endif
