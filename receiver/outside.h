/// What outsiders see of a session: in a browser's tab, and in a report.
#ifndef VESTA_RECEIVER_OUTSIDE_H
#define VESTA_RECEIVER_OUTSIDE_H

#include <memory>
#include <optional>
#include <string>

#include "receiver/console/event_log.h"
#include "receiver/options.h"
#include "receiver/web/chronicle.h"

namespace receiver {

class Session;
class WebServer;

/// Browser thread.
class Outside {
public:
    /// @param options, log borrowed
    Outside(const Options& options, EventLog& log);
    ~Outside();
    Outside(const Outside&) = delete;
    Outside& operator=(const Outside&) = delete;

    /// @param session borrowed; not run yet @return what went wrong, for people; empty for success
    std::string open(Session& session);

    /// After the session. @return what went wrong, for people; empty for success
    std::string writeReport() const;

private:
    std::string serve(Session& session);
    void close(Session& session);

    const Options& options_;
    EventLog& log_;
    std::optional<Chronicle> chronicle_;
    std::string state_;  // at the end of the session
    std::unique_ptr<WebServer> server_;
};

}  // namespace receiver

#endif
