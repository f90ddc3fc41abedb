/// The receiver's middleware thread: it plays the stream, and reports to the application manager
/// what the follower of the tuned service has to say.
#ifndef VESTA_RECEIVER_SERVICE_MIDDLEWARE_H
#define VESTA_RECEIVER_SERVICE_MIDDLEWARE_H

#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "receiver/console/event_log.h"
#include "receiver/integration/doorbell.h"
#include "receiver/service/service_follower.h"
#include "receiver/stream/stream_clock.h"
#include "receiver/stream/stream_input.h"

namespace receiver {

struct MiddlewareOptions {
    std::string input;                ///< a file, "-" for standard input, or an address
    std::optional<uint16_t> service;  ///< to tune to first; else one with HbbTV applications
    double speed = 0;      ///< times real time, by PCR; 0: as fast as the receiver takes it
    bool loop = false;     ///< play the file again and again
    bool verbose = false;  ///< also report what is left out, and why
    bool showProgress = false;
    CarouselLimits limits;
    std::vector<CarouselPid> carousels;  ///< to read whatever the tables say
    HbbTVVersion hbbtv;                  ///< up to which the terminal carries applications
    bool follow = false;                 ///< wait at the end of the file for more
};

/// For people.
std::string summaryOf(const NetworkStatistics& statistics);

/// Owns the thread. It talks to the application manager through vesta_hbbtv_send_event() alone, its
/// own and that of the feed. That takes the doorbell's mutex, and commands that the browser thread
/// runs with that one held take this one: the doorbell's comes first.
class Middleware {
public:
    /// @param log, doorbell borrowed
    Middleware(MiddlewareOptions options, EventLog& log, Doorbell& doorbell);
    ~Middleware();
    Middleware(const Middleware&) = delete;
    Middleware& operator=(const Middleware&) = delete;

    /// As the options have it.
    const std::string& input() const { return options_.input; }

    /// Opens the input. @return an error for people; empty for success
    std::string open();

    /// Starts the thread.
    void start();

    /// Ends the thread, and closes the doorbell. What an input that has no end had is summed up.
    void stop();

    /// Tunes to a service; a file is played from its beginning again.
    /// @param serviceId noService: the service is left, and none is tuned to
    void tune(uint16_t serviceId);
    static constexpr uint16_t noService = 0;  ///< the number of the network in a PAT

    /// How many of these requests were carried out; callable from any thread.
    unsigned tunes() const { return tunes_; }

    /// @name What is known by now; callable from any thread
    /// @{
    std::vector<Service> services() const;
    std::optional<uint16_t> tunedService() const;
    /// What the service's PMT says of applications; nothing without a PMT.
    std::optional<ApplicationSignalling> signallingOf(uint16_t serviceId) const;
    bool hasEnded() const { return ended_; }
    /// Why the input could not be read (to its end); empty when it could.
    std::string error() const;
    /// Whether the stream ended without a sign of the service of the options.
    bool lacksWantedService() const;
    /// What the stream did not have, for people; empty when it had all.
    std::string lack() const;
    StreamStatistics statistics() const;
    /// Nothing where the input is not the network.
    std::optional<NetworkStatistics> networkStatistics() const;
    /// @}

    /// The tuned service's carousels, for the hooks and the status page. Thread-safe.
    ServiceCarousels& carousels() { return follower_.carousels(); }
    /// What scripts listen to, for the hooks. Thread-safe.
    StreamEventSubscriptions& streamEvents() { return follower_.streamEvents(); }
    /// Programmes, components and the network, for the scripts. Thread-safe.
    const ServiceInformationSource& information() const { return follower_.information(); }
    /// The tuned service's table, for the notifications. Thread-safe.
    const TableBook& tableBook() const { return follower_.tableBook(); }

private:
    enum class Progress { Playing, Tuned, Ended };
    struct Chunk;

    void run();
    bool isPressed() const;
    bool step();
    Progress play(const Chunk& chunk);
    bool send(Progress progress);
    void pace();
    bool endOfStream();
    void finishStream();
    void listenToInput();
    void sumUpEndlessStream();
    void retune(uint16_t serviceId);
    void showProgress();
    std::optional<uint16_t> nextRequest();

    const MiddlewareOptions options_;
    EventLog& log_;
    Doorbell& doorbell_;
    const std::unique_ptr<StreamInput> input_;
    std::thread thread_;

    // Guards everything below but the atomics and what the follower hands out as thread-safe. A
    // std::mutex, as the condition variable waits with no other: clang++ does not check the guard.
    mutable std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<uint16_t> requests_;
    StreamClock clock_;
    ServiceFollower follower_;
    std::optional<NetworkStatistics> network_;
    std::string error_;
    std::atomic<bool> stopping_{false};
    std::atomic<bool> ended_{false};
    std::atomic<unsigned> tunes_{0};
};

}  // namespace receiver

#endif
