/// What the application manager decided, and why: for a person, and for the trace. What the
/// receiver itself refused of the broadcast stands between the decisions, since nobody asks who was
/// it.
#ifndef VESTA_RECEIVER_INTEGRATION_DECISION_LOG_H
#define VESTA_RECEIVER_INTEGRATION_DECISION_LOG_H

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "foundation/mutex.h"
#include "receiver/console/event_log.h"
#include "vesta_hbbtv_diagnosis.h"

namespace receiver {

/// Listens while it lives. One at a time; browser thread, but for what the log tells it.
class DecisionLog : private Witness {
public:
    /// @param log borrowed
    explicit DecisionLog(EventLog& log);
    ~DecisionLog() override;
    DecisionLog(const DecisionLog&) = delete;
    DecisionLog& operator=(const DecisionLog&) = delete;

    /// A decision, as the application manager tells it.
    void hear(const HBBTV_Decision& decision);

    /// From now on each is shown when it falls. The trace has them anyway.
    void showEach() { isShown_ = true; }

    /// The latest decisions in sentences, the oldest first.
    /// @param what ids of an application ("a.1"), or what was decided ("start"); empty: all
    /// @return nothing for a word that is neither
    std::optional<std::vector<std::string>> sentencesAbout(const std::string& what) const;

    struct AgainstStart {
        std::string sentence;
        bool isLasting;  ///< not one that had its time, or for which another one was preferred
    };
    /// The last decision about the start of an application, if it was against it. @param ids "a.1"
    std::optional<AgainstStart> againstStart(const std::string& ids) const;

    /// @return the last reason against a section, a table or a start, in a sentence; empty where an
    ///         application ran, and where nothing was decided
    std::string whyNothingRan() const;

    /// The words that sentencesAbout() knows besides ids, for people: "section, table, ..."
    static std::string subjects();

private:
    /// How many are kept.
    static constexpr size_t most = 200;

    struct Kept {
        int subject;
        std::optional<std::string> ids;  ///< nothing for no application
        std::string sentence;
        bool isAgainst;
        int reason;  ///< an HBBTV_Reason; 0 of the receiver's own
    };

    void see(const Happening& happening) override;
    void keep(Kept kept) VESTA_REQUIRES(mutex_);

    EventLog& log_;
    bool isShown_ = false;
    mutable VestaHbbTV::Mutex mutex_;
    bool hasRun_ VESTA_GUARDED_BY(mutex_) = false;
    std::deque<Kept> kept_ VESTA_GUARDED_BY(mutex_);
    std::string lastObstacle_ VESTA_GUARDED_BY(mutex_);
};

}  // namespace receiver

#endif
