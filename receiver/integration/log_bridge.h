/// The application manager's log lines among the receiver's.
#ifndef VESTA_RECEIVER_INTEGRATION_LOG_BRIDGE_H
#define VESTA_RECEIVER_INTEGRATION_LOG_BRIDGE_H

#include <optional>

#include "foundation/logging.h"
#include "receiver/console/event_log.h"

namespace receiver {

/// A sink that writes entries as lines of the event log: all of them for its witnesses, those from
/// a level on for everybody. To be handed to Logging::addOutput().
class LogBridge : public VestaHbbTV::LoggingOutput {
public:
    /// @param shown for everybody from this level on; nothing: none
    /// @param isWitnessed whether somebody hears of the others
    /// @param log borrowed: remove the sink (delete the Logging instance) before it goes
    LogBridge(std::optional<VestaHbbTV::LogLevel> shown, bool isWitnessed, EventLog& log);
    void output(VestaHbbTV::LogEntry& entry) override;

private:
    const std::optional<VestaHbbTV::LogLevel> shown_;
    EventLog& log_;
};

}  // namespace receiver

#endif
