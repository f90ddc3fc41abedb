/// The receiver's middleware thread: it plays the stream, and tells the application manager what
/// the tuned service says.
#ifndef VESTA_RECEIVER_MIDDLEWARE_H
#define VESTA_RECEIVER_MIDDLEWARE_H

#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "vesta_hbbtv_appman.h"

#include "receiver/doorbell.h"
#include "receiver/event_log.h"
#include "receiver/service_carousels.h"
#include "receiver/transport_stream.h"

namespace receiver {

struct MiddlewareOptions {
    std::string input;                ///< a file, or "-" for standard input
    std::optional<uint16_t> service;  ///< to tune to first; else the first with applications
    double speed = 0;      ///< times real time, by PCR; 0: as fast as the receiver takes it
    bool loop = false;     ///< play the file again and again
    bool verbose = false;  ///< also tell what is left out, and why
    bool showProgress = false;
    CarouselLimits limits;
};

/// Owns the thread. It talks to the application manager through vesta_hbbtv_send_event() alone, and
/// never with its own mutex held: the hooks that the browser thread runs take it too.
class Middleware : private TransportStreamListener {
public:
    /// @param log, doorbell borrowed
    Middleware(MiddlewareOptions options, EventLog& log, Doorbell& doorbell);
    ~Middleware() override;
    Middleware(const Middleware&) = delete;
    Middleware& operator=(const Middleware&) = delete;

    /// Opens the input and starts the thread. @return an error for people; empty for success
    std::string start();

    /// Ends the thread.
    void stop();

    /// Tunes to a service; a file is played from its beginning again.
    void tune(uint16_t serviceId);

    /// How many of these requests were carried out; callable from any thread.
    unsigned tunes() const { return tunes_; }

    /// @name What is known by now; callable from any thread
    /// @{
    std::vector<Service> services() const;
    std::optional<uint16_t> tunedService() const;
    bool hasEnded() const { return ended_; }
    std::string error() const;
    StreamStatistics statistics() const;
    /// Whether the tuned service signals applications.
    bool hasApplicationSignalling() const;
    /// @}

    /// The tuned service's carousels, for the hooks and the status page. Thread-safe.
    ServiceCarousels& carousels() { return carousels_; }

private:
    struct Outgoing {
        VestaHbbTV::HBBTV_EventType type;
        VestaHbbTV::HBBTV_EventData* data;
    };

    void servicesChanged(const std::vector<Service>& services) override;
    void pmtReceived(const Service& service, const SectionBytes& section) override;
    void sectionReceived(uint16_t pid, const SectionBytes& section) override;
    void clockReceived(uint16_t pid, uint64_t ticks, bool discontinuity) override;

    void run();
    bool playChunk();
    bool waitForInput();
    void sendOutgoing();
    void pace();
    void endOfStream();
    void retune(uint16_t serviceId);
    void joinService(const Service& service, const SectionBytes& pmt);
    void subscribe(uint16_t pid);
    void leaveService();
    void takeTableSection(uint16_t pid, const SectionBytes& section);
    void sendTableSection(const SectionBytes& section);
    void leaveOut(const std::string& why);
    void reportFileAnswers();
    void showProgress();
    std::optional<uint16_t> nextRequest();

    const MiddlewareOptions options_;
    EventLog& log_;
    Doorbell& doorbell_;
    std::FILE* input_ = nullptr;
    size_t inputSize_ = 0;
    size_t bytesRead_ = 0;
    std::thread thread_;

    mutable std::mutex mutex_;  // guards everything below but the atomics
    std::condition_variable wake_;
    std::deque<uint16_t> requests_;
    TransportStream stream_;
    std::vector<Outgoing> outgoing_;
    std::optional<Service> tuned_;
    std::optional<uint16_t> wanted_;
    std::vector<uint16_t> tablePids_;       // where AITs of the tuned service may be
    std::optional<uint16_t> tablePid_;      // where they are taken from
    std::map<uint8_t, SectionBytes> told_;  // the table's sections that were announced
    uint16_t clockPid_ = 0x1FFF;
    std::optional<uint64_t> firstClock_;
    std::optional<uint64_t> lastClock_;
    std::chrono::steady_clock::time_point paceStart_;
    std::string lastLeftOut_;
    unsigned heldBackTables_ = 0;
    std::map<uint16_t, std::string> toldServices_;  // names
    ServiceCarousels carousels_;
    std::atomic<bool> stopping_{false};
    std::atomic<bool> ended_{false};
    std::atomic<unsigned> tunes_{0};
};

}  // namespace receiver

#endif
