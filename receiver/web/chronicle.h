/// The latest happenings, for whoever looks at the receiver from outside.
#ifndef VESTA_RECEIVER_WEB_CHRONICLE_H
#define VESTA_RECEIVER_WEB_CHRONICLE_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "foundation/mutex.h"
#include "receiver/console/event_log.h"

namespace receiver {

/// Listens to the log while it lives. What is too old goes; lines of the application manager's log,
/// of which there are many, push out each other alone. Callable from any thread.
class Chronicle : private Witness {
public:
    struct Limits {
        size_t happenings = 5000;
        size_t logLines = 2000;
        size_t bytes = size_t(4) << 20;  ///< of each of the two
    };

    struct Entry {
        uint64_t id;       ///< 1 is the first happening of the run
        std::string json;  ///< an object in a line: jsonOf() with the id
    };

    /// @param log borrowed
    explicit Chronicle(EventLog& log) : Chronicle(log, Limits()) {}
    Chronicle(EventLog& log, Limits limits);
    ~Chronicle() override;
    Chronicle(const Chronicle&) = delete;
    Chronicle& operator=(const Chronicle&) = delete;

    /// Another one with each run of the receiver, so that ids of another run can be told.
    const std::string& run() const { return run_; }

    /// The id of the last happening; 0 without one.
    uint64_t last() const;

    /// @param place "RUN.ID" @return its id; 0 of another run, and of what is no place
    uint64_t idIn(const std::string& place) const;

    /// How many of the happenings and lines are not kept any more.
    uint64_t omitted() const;

    /// What is kept of the happenings after this one, in their order.
    /// @param mostBytes of JSON: the latest that are no more than that, together
    std::vector<Entry> after(uint64_t id, size_t mostBytes = SIZE_MAX) const;

private:
    /// Those that push out each other.
    struct Line {
        size_t most;
        std::deque<Entry> entries;
        size_t bytes = 0;
    };

    void see(const Happening& happening) override;
    void shorten(Line& line) VESTA_REQUIRES(mutex_);

    EventLog& log_;
    const size_t mostBytes_;
    const std::string run_;
    mutable VestaHbbTV::Mutex mutex_;
    uint64_t last_ VESTA_GUARDED_BY(mutex_) = 0;
    uint64_t omitted_ VESTA_GUARDED_BY(mutex_) = 0;
    Line happenings_ VESTA_GUARDED_BY(mutex_);
    Line logLines_ VESTA_GUARDED_BY(mutex_);
};

}  // namespace receiver

#endif
