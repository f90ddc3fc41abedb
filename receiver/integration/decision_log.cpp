#include "receiver/integration/decision_log.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "receiver/console/words.h"
#include "receiver/integration/decision_sentence.h"

namespace receiver {

namespace {

/// What the receiver refuses, or lacks, before the application manager could decide.
const struct {
    const char* event;
    HBBTV_DecisionSubject subject;
    bool isObstacle;
} remarks[] = {
    {"ait-problem", HBBTV_DECISION_SECTION, true},
    {"left-out", HBBTV_DECISION_SECTION, true},
    {"no-ait", HBBTV_DECISION_TABLE, true},
    {"ait-gone", HBBTV_DECISION_TABLE, false},
    {"carousel-problem", HBBTV_DECISION_LOAD, false},
    {"file-error", HBBTV_DECISION_LOAD, false},
    {"file-missing", HBBTV_DECISION_LOAD, false},
    {"load-failed", HBBTV_DECISION_LOAD, false},
    {"lack", HBBTV_DECISION_TABLE, true},
};

/// Whether it may be why no application runs.
bool isObstacle(const HBBTV_Decision& decision)
{
    return decision.verdict == 0 && decision.subject <= HBBTV_DECISION_START &&
           decision.reason != HBBTV_REASON_SECTION_REPEATED &&
           decision.reason != HBBTV_REASON_SECTION_VERSION_IN_FORCE;
}

/// Whether the same start may come to something when it is asked for next.
bool isPassing(int reason)
{
    return reason == HBBTV_REASON_START_LOWER_AUTOSTART ||
           reason == HBBTV_REASON_START_SUPERSEDED || reason == HBBTV_REASON_START_CLOSING ||
           reason == HBBTV_REASON_START_TABLE_CHANGED;
}

}  // namespace

DecisionLog::DecisionLog(EventLog& log) : log_(log)
{
    vesta_hbbtv_set_decision_listener(
        [](const HBBTV_Decision* decision, void* self) {
            static_cast<DecisionLog*>(self)->hear(*decision);
        },
        this);
    log_.addWitness(this);
}

DecisionLog::~DecisionLog()
{
    log_.removeWitness(this);
    vesta_hbbtv_set_decision_listener(nullptr, nullptr);
}

void DecisionLog::hear(const HBBTV_Decision& decision)
{
    const auto ids = idsOf(decision);
    const std::string sentence = sentenceOf(decision, vesta_hbbtv_reason_text(decision.reason));
    {
        const VestaHbbTV::MutexLock lock(mutex_);
        keep({decision.subject, ids, sentence, decision.verdict == 0, decision.reason});
        hasRun_ = hasRun_ || decision.reason == HBBTV_REASON_STARTED;
        if (isObstacle(decision))
            lastObstacle_ = sentence;
    }
    EventLog::Details details = {{"subject", subjectName(decision.subject)},
                                 {"verdict", decision.verdict != 0},
                                 {"reason", decision.reason}};
    if (ids)
        details["application"] = *ids;
    details["wanted"] = decision.wanted;
    details["had"] = decision.had;
    details["text"] = decision.text;
    if (isShown_)
        log_.report(Source::Decision, "decision", sentence, details);
    else
        log_.trace(Source::Decision, "decision", sentence, details);
}

void DecisionLog::see(const Happening& happening)
{
    const std::string& event = happening.event;
    const auto* const remark =
        std::find_if(std::begin(remarks), std::end(remarks),
                     [&event](const auto& each) { return event == each.event; });
    if (remark == std::end(remarks))
        return;
    const VestaHbbTV::MutexLock lock(mutex_);
    keep({remark->subject, std::nullopt,
          "the receiver, " + std::string(subjectName(remark->subject)) + ": " + happening.text,
          true, 0});
    // What came is said rather than that nothing came.
    if (remark->isObstacle && (lastObstacle_.empty() || event != "lack"))
        lastObstacle_ = kept_.back().sentence;
}

void DecisionLog::keep(Kept kept)
{
    kept_.push_back(std::move(kept));
    if (kept_.size() > most)
        kept_.pop_front();
}

std::optional<std::vector<std::string>> DecisionLog::sentencesAbout(const std::string& what) const
{
    const std::optional<int> subject = subjectNamed(what);
    if (!what.empty() && !subject && !idsFrom(what))
        return std::nullopt;
    const VestaHbbTV::MutexLock lock(mutex_);
    std::vector<std::string> sentences;
    for (const Kept& each : kept_) {
        if (what.empty() || (subject ? each.subject == *subject : each.ids == what))
            sentences.push_back(each.sentence);
    }
    return sentences;
}

std::optional<DecisionLog::AgainstStart> DecisionLog::againstStart(const std::string& ids) const
{
    const VestaHbbTV::MutexLock lock(mutex_);
    const auto last = std::find_if(kept_.rbegin(), kept_.rend(), [&ids](const Kept& each) {
        return each.subject == HBBTV_DECISION_START && each.ids == ids;
    });
    if (last == kept_.rend() || !last->isAgainst)
        return std::nullopt;
    return AgainstStart{last->sentence, !isPassing(last->reason)};
}

std::string DecisionLog::whyNothingRan() const
{
    const VestaHbbTV::MutexLock lock(mutex_);
    return hasRun_ ? "" : lastObstacle_;
}

std::string DecisionLog::subjects()
{
    return subjectNames();
}

}  // namespace receiver
