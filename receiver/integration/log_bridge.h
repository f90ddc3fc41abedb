/// The application manager's log lines among the receiver's.
#ifndef VESTA_RECEIVER_INTEGRATION_LOG_BRIDGE_H
#define VESTA_RECEIVER_INTEGRATION_LOG_BRIDGE_H

#include "foundation/logging.h"
#include "receiver/console/event_log.h"

namespace receiver {

/// A sink that writes entries as lines of the event log. To be handed to Logging::addOutput().
class LogBridge : public VestaHbbTV::LoggingOutput {
public:
    /// @param log borrowed: remove the sink (delete the Logging instance) before it goes
    LogBridge(VestaHbbTV::LogLevel minimumLevel, EventLog& log);
    void output(VestaHbbTV::LogEntry& entry) override;

private:
    EventLog& log_;
};

}  // namespace receiver

#endif
