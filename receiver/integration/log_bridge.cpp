#include "receiver/integration/log_bridge.h"

#include <string>

namespace receiver {

namespace {

using namespace VestaHbbTV;

const char* nameOf(LogLevel level)
{
    switch (level) {
    case DEBUG:
        return "debug ";
    case LOG:
        return "log   ";
    case WARN:
        return "warn  ";
    case ERR:
        return "err   ";
    }
    return "";
}

}  // namespace

LogBridge::LogBridge(std::optional<VestaHbbTV::LogLevel> shown, bool isWitnessed, EventLog& log)
    : LoggingOutput(isWitnessed ? DEBUG : shown.value_or(ERR)), shown_(shown), log_(log)
{
}

void LogBridge::output(VestaHbbTV::LogEntry& entry)
{
    if (!accepts(entry))
        return;
    // Date, time and level stand in front; the event log has a time of its own, and the options'
    // names for the levels.
    std::string text = entry.stream().str();
    const size_t module = text.find('[');
    text.erase(0, module == std::string::npos ? 0 : module);
    text.insert(0, nameOf(entry.getLevel()));
    if (!text.empty() && text.back() == '\n')
        text.pop_back();
    const EventLog::Details details = {{"level", static_cast<int>(entry.getLevel())}};
    if (shown_ && entry.getLevel() >= *shown_)
        log_.report(Source::Log, "log", text, details);
    else
        log_.mention(Source::Log, "log", text, details);
}

}  // namespace receiver
