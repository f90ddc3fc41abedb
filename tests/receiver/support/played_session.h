/// A receiver that plays a script, in one piece.
#ifndef VESTA_TESTS_RECEIVER_SUPPORT_PLAYED_SESSION_H
#define VESTA_TESTS_RECEIVER_SUPPORT_PLAYED_SESSION_H

#include <sstream>
#include <string>
#include <vector>

#include "receiver/browser/console_browser.h"
#include "receiver/integration/integrator.h"
#include "receiver/integration/platform.h"
#include "receiver/service/middleware.h"
#include "receiver/session.h"

namespace receiver {

/// Plays samples/station.ts, or another stream.
class PlayedSession {
public:
    explicit PlayedSession(const std::string& stream = VESTA_SAMPLES "/station.ts",
                           bool follow = false)
        : middleware_({stream, {}, 0, false, false, false, {}, {}, {}, follow}, log_, doorbell_),
          browser_(log_, {}), platform_(middleware_.carousels(), middleware_.streamEvents(), log_),
          integrator_(log_, browser_, &middleware_.tableBook()),
          session_(log_, middleware_, doorbell_, browser_, integrator_)
    {
    }

    /// @return the exit code
    int play(const std::vector<std::string>& lines)
    {
        problem_ = session_.setScript("script", lines);
        if (!problem_.empty())
            return exitUsage;
        const int code = session_.run();
        problem_ = session_.problem();
        return code;
    }

    Session& session() { return session_; }
    const Doorbell& doorbell() const { return doorbell_; }
    const std::string& problem() const { return problem_; }
    std::string output() const { return out_.str(); }
    bool says(const std::string& text) const { return output().find(text) != std::string::npos; }

private:
    std::ostringstream out_;
    EventLog log_{out_, false};
    Doorbell doorbell_;
    Middleware middleware_;
    ConsoleBrowser browser_;
    Platform platform_;
    Integrator integrator_;
    Session session_;
    std::string problem_;
};

}  // namespace receiver

#endif
