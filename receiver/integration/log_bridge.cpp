#include "receiver/integration/log_bridge.h"

#include <string>

namespace receiver {

LogBridge::LogBridge(VestaHbbTV::LogLevel minimumLevel, EventLog& log)
    : LoggingOutput(minimumLevel), log_(log)
{
}

void LogBridge::output(VestaHbbTV::LogEntry& entry)
{
    if (!accepts(entry))
        return;
    // Date and time stand in front; the event log has its own.
    std::string text = entry.stream().str();
    const size_t module = text.find('[');
    text.erase(0, module == std::string::npos ? 0 : module);
    if (!text.empty() && text.back() == '\n')
        text.pop_back();
    log_.report(Source::Log, "log", text, {{"level", static_cast<int>(entry.getLevel())}});
}

}  // namespace receiver
