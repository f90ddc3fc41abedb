#include "receiver/integration/decision_log.h"

#include <algorithm>
#include <iterator>
#include <sstream>
#include <utility>

#include "receiver/console/words.h"

namespace receiver {

namespace {

const struct {
    HBBTV_DecisionSubject subject;
    const char* name;
} subjectNames[] = {
    {HBBTV_DECISION_SECTION, "section"}, {HBBTV_DECISION_TABLE, "table"},
    {HBBTV_DECISION_START, "start"},     {HBBTV_DECISION_END, "end"},
    {HBBTV_DECISION_LOAD, "load"},       {HBBTV_DECISION_KEY, "key"},
    {HBBTV_DECISION_REQUEST, "request"}, {HBBTV_DECISION_NATIVE, "native"},
};

const char* nameOf(int subject)
{
    const auto* const found =
        std::find_if(std::begin(subjectNames), std::end(subjectNames),
                     [subject](const auto& each) { return each.subject == subject; });
    return found == std::end(subjectNames) ? "decision" : found->name;
}

std::optional<int> subjectNamed(const std::string& name)
{
    for (const auto& each : subjectNames) {
        if (name == each.name)
            return each.subject;
    }
    return std::nullopt;
}

std::string versionText(uint32_t version)
{
    return std::to_string(version >> 16) + "." + std::to_string((version >> 8) & 0xFF) + "." +
           std::to_string(version & 0xFF);
}

std::string hexadecimal(uint32_t number)
{
    std::ostringstream text;
    text << "0x" << std::hex << number;
    return text.str();
}

/// What the two numbers of a decision say; empty where they say nothing.
std::string numbersOf(const HBBTV_Decision& decision)
{
    const uint32_t wanted = decision.wanted;
    const uint32_t had = decision.had;
    switch (decision.reason) {
    case HBBTV_REASON_START_VERSION:
        return "it wants " + versionText(wanted) + ", the terminal has " + versionText(had);
    case HBBTV_REASON_START_PROFILE:
        return "it wants " + hexadecimal(wanted) + ", the terminal has " + hexadecimal(had);
    case HBBTV_REASON_KEY_NOT_GRANTED:
        return "group " + hexadecimal(wanted) + ", key set " + hexadecimal(had);
    case HBBTV_REASON_KEYS_CUT:
        return "it wants " + hexadecimal(wanted) + " and has " + hexadecimal(had);
    case HBBTV_REASON_KEY_NO_APPLICATION:
    case HBBTV_REASON_KEY_NOT_FOR_APPLICATIONS:
    case HBBTV_REASON_KEY_UP_WITHOUT_DOWN:
        return "key " + std::to_string(had);
    case HBBTV_REASON_START_CONTROL_CODE:
    case HBBTV_REASON_NOT_ADOPTED_CONTROL_CODE:
        return "control code " + std::to_string(had);
    case HBBTV_REASON_TABLE_WITHOUT_AUTOSTART:
        return had == 1 ? "1 application" : std::to_string(had) + " applications";
    case HBBTV_REASON_FILE_REFUSED:
        return "answer " + std::to_string(had);
    case HBBTV_REASON_SECTION_DESCRIPTOR:
    case HBBTV_REASON_SECTION_EMPTY_DESCRIPTOR:
    case HBBTV_REASON_SECTION_NAME:
        return "offset " + std::to_string(wanted) + ", tag " + hexadecimal(had);
    case HBBTV_REASON_SECTION_COMMON_LOOP:
    case HBBTV_REASON_SECTION_APPLICATION_LOOP:
    case HBBTV_REASON_SECTION_APPLICATION:
        return "offset " + std::to_string(wanted) + ", length " + std::to_string(had);
    case HBBTV_REASON_SECTION_OTHER_VERSION:
    case HBBTV_REASON_SECTION_TABLE_CLOSED:
        return "version " + std::to_string(had) + ", while " + std::to_string(wanted) + " is begun";
    case HBBTV_REASON_TABLE_INCOMPLETE:
        return "section_number " + std::to_string(wanted) + " is missing, last_section_number " +
               std::to_string(had);
    case HBBTV_REASON_SECTION_VERSION_IN_FORCE:
    case HBBTV_REASON_TABLE_SUPERSEDED:
    case HBBTV_REASON_TABLE_IN_FORCE:
        return "version " + std::to_string(had);
    case HBBTV_REASON_START_LABEL_WITHOUT_TRANSPORT:
        return "label " + std::to_string(wanted);
    case HBBTV_REASON_PAGE_FAILED:
        return had == 0 ? "no HTTP answer" : "HTTP status " + std::to_string(had);
    default:
        return had == 0 ? "" : std::to_string(had);
    }
}

std::optional<std::string> idsOf(const HBBTV_Decision& decision)
{
    if (decision.organisationId == 0 && decision.applicationId == 0)
        return std::nullopt;
    std::ostringstream text;
    text << std::hex << decision.organisationId << "." << decision.applicationId;
    return text.str();
}

/// "no, start of a.1: There is no URL to start."
std::string sentenceOf(const HBBTV_Decision& decision)
{
    const auto ids = idsOf(decision);
    const std::string numbers = numbersOf(decision);
    return std::string(decision.verdict != 0 ? "yes, " : "no, ") + nameOf(decision.subject) +
           (ids ? " of " + *ids : "") + ": " + vesta_hbbtv_reason_text(decision.reason) +
           (numbers.empty() ? "" : " (" + numbers + ")") +
           (*decision.text ? std::string(" ") + decision.text : "");
}

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

}  // namespace

DecisionLog::DecisionLog(EventLog& log) : log_(log)
{
    vesta_hbbtv_set_decision_listener(
        [](const HBBTV_Decision* decision, void* self) {
            static_cast<DecisionLog*>(self)->hear(*decision);
        },
        this);
    log_.setWitness(this);
}

DecisionLog::~DecisionLog()
{
    log_.setWitness(nullptr);
    vesta_hbbtv_set_decision_listener(nullptr, nullptr);
}

void DecisionLog::hear(const HBBTV_Decision& decision)
{
    const auto ids = idsOf(decision);
    const std::string sentence = sentenceOf(decision);
    {
        const VestaHbbTV::MutexLock lock(mutex_);
        keep({decision.subject, ids, sentence});
        hasRun_ = hasRun_ || decision.reason == HBBTV_REASON_STARTED;
        if (isObstacle(decision))
            lastObstacle_ = sentence;
    }
    EventLog::Details details = {{"subject", nameOf(decision.subject)},
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

void DecisionLog::see(Source /*source*/, const std::string& event, const std::string& text)
{
    const auto* const remark =
        std::find_if(std::begin(remarks), std::end(remarks),
                     [&event](const auto& each) { return event == each.event; });
    if (remark == std::end(remarks))
        return;
    const VestaHbbTV::MutexLock lock(mutex_);
    keep({remark->subject, std::nullopt,
          "the receiver, " + std::string(nameOf(remark->subject)) + ": " + text});
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

std::string DecisionLog::whyNothingRan() const
{
    const VestaHbbTV::MutexLock lock(mutex_);
    return hasRun_ ? "" : lastObstacle_;
}

std::string DecisionLog::subjects()
{
    std::string list;
    for (const auto& each : subjectNames)
        list += (list.empty() ? "" : ", ") + std::string(each.name);
    return list;
}

}  // namespace receiver
