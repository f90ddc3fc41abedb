#include "receiver/integration/decision_sentence.h"

#include <algorithm>
#include <iterator>
#include <sstream>

namespace receiver {

namespace {

const struct {
    HBBTV_DecisionSubject subject;
    const char* name;
} names[] = {
    {HBBTV_DECISION_SECTION, "section"}, {HBBTV_DECISION_TABLE, "table"},
    {HBBTV_DECISION_START, "start"},     {HBBTV_DECISION_END, "end"},
    {HBBTV_DECISION_LOAD, "load"},       {HBBTV_DECISION_KEY, "key"},
    {HBBTV_DECISION_REQUEST, "request"}, {HBBTV_DECISION_NATIVE, "native"},
};

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

}  // namespace

const char* subjectName(int subject)
{
    const auto* const found =
        std::find_if(std::begin(names), std::end(names),
                     [subject](const auto& each) { return each.subject == subject; });
    return found == std::end(names) ? "decision" : found->name;
}

std::optional<int> subjectNamed(const std::string& name)
{
    for (const auto& each : names) {
        if (name == each.name)
            return each.subject;
    }
    return std::nullopt;
}

std::string subjectNames()
{
    std::string list;
    for (const auto& each : names)
        list += (list.empty() ? "" : ", ") + std::string(each.name);
    return list;
}

std::optional<std::string> idsOf(const HBBTV_Decision& decision)
{
    if (decision.organisationId == 0 && decision.applicationId == 0)
        return std::nullopt;
    std::ostringstream text;
    text << std::hex << decision.organisationId << "." << decision.applicationId;
    return text.str();
}

std::string sentenceOf(const HBBTV_Decision& decision, const char* reason)
{
    const auto ids = idsOf(decision);
    const std::string numbers = numbersOf(decision);
    return std::string(decision.verdict != 0 ? "yes, " : "no, ") + subjectName(decision.subject) +
           (ids ? " of " + *ids : "") + ": " + reason +
           (numbers.empty() ? "" : " (" + numbers + ")") +
           (*decision.text ? std::string(" ") + decision.text : "");
}

}  // namespace receiver
