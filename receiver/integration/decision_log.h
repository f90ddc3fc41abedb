/// What the application manager decided, and why: for a person, and for the trace.
#ifndef VESTA_RECEIVER_INTEGRATION_DECISION_LOG_H
#define VESTA_RECEIVER_INTEGRATION_DECISION_LOG_H

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "receiver/console/event_log.h"
#include "vesta_hbbtv_diagnosis.h"

namespace receiver {

/// Listens while it lives. One at a time; browser thread.
class DecisionLog {
public:
    /// @param log borrowed
    explicit DecisionLog(EventLog& log);
    ~DecisionLog();
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
    };

    EventLog& log_;
    bool isShown_ = false;
    bool hasRun_ = false;
    std::deque<Kept> kept_;
    std::string lastObstacle_;
};

}  // namespace receiver

#endif
