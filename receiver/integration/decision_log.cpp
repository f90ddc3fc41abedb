#include "receiver/integration/decision_log.h"

#include "receiver/console/words.h"
#include "receiver/integration/decision_sentence.h"

namespace receiver {

namespace {

/// Whether it may be why no application runs.
bool isObstacle(const HBBTV_Decision& decision)
{
    return decision.verdict == 0 && decision.subject <= HBBTV_DECISION_START &&
           decision.reason != HBBTV_REASON_SECTION_REPEATED &&
           decision.reason != HBBTV_REASON_SECTION_VERSION_IN_FORCE;
}

}  // namespace

DecisionLog::DecisionLog(EventLog& log) : log_(log)
{
    vesta_hbbtv_set_decision_listener(
        [](const HBBTV_Decision* decision, void* self) {
            static_cast<DecisionLog*>(self)->hear(*decision);
        },
        this);
}

DecisionLog::~DecisionLog()
{
    vesta_hbbtv_set_decision_listener(nullptr, nullptr);
}

void DecisionLog::hear(const HBBTV_Decision& decision)
{
    const auto ids = idsOf(decision);
    kept_.push_back(
        {decision.subject, ids, sentenceOf(decision, vesta_hbbtv_reason_text(decision.reason))});
    if (kept_.size() > most)
        kept_.pop_front();
    hasRun_ = hasRun_ || decision.reason == HBBTV_REASON_STARTED;
    if (isObstacle(decision))
        lastObstacle_ = kept_.back().sentence;
    EventLog::Details details = {{"subject", subjectName(decision.subject)},
                                 {"verdict", decision.verdict != 0},
                                 {"reason", decision.reason}};
    if (ids)
        details["application"] = *ids;
    details["wanted"] = decision.wanted;
    details["had"] = decision.had;
    details["text"] = decision.text;
    if (isShown_)
        log_.report(Source::Decision, "decision", kept_.back().sentence, details);
    else
        log_.trace(Source::Decision, "decision", kept_.back().sentence, details);
}

std::optional<std::vector<std::string>> DecisionLog::sentencesAbout(const std::string& what) const
{
    const std::optional<int> subject = subjectNamed(what);
    if (!what.empty() && !subject && !idsFrom(what))
        return std::nullopt;
    std::vector<std::string> sentences;
    for (const Kept& each : kept_) {
        if (what.empty() || (subject ? each.subject == *subject : each.ids == what))
            sentences.push_back(each.sentence);
    }
    return sentences;
}

std::string DecisionLog::whyNothingRan() const
{
    return hasRun_ ? "" : lastObstacle_;
}

std::string DecisionLog::subjects()
{
    return subjectNames();
}

}  // namespace receiver
