/// The receiver's middleware thread: it plays the stream, and tells the application manager what
/// the tuned service says.
#ifndef VESTA_RECEIVER_SERVICE_MIDDLEWARE_H
#define VESTA_RECEIVER_SERVICE_MIDDLEWARE_H

#include <atomic>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "receiver/carousel/service_carousels.h"
#include "receiver/console/event_log.h"
#include "receiver/integration/doorbell.h"
#include "receiver/integration/event_records.h"
#include "receiver/stream/stream_clock.h"
#include "receiver/stream/stream_input.h"
#include "receiver/stream/table_filter.h"
#include "receiver/stream/transport_stream.h"

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
/// never with its own mutex held: commands that the browser thread runs take it too.
class Middleware : private TransportStreamListener {
public:
    /// @param log, doorbell borrowed
    Middleware(MiddlewareOptions options, EventLog& log, Doorbell& doorbell);
    ~Middleware() override;
    Middleware(const Middleware&) = delete;
    Middleware& operator=(const Middleware&) = delete;

    /// Opens the input. @return an error for people; empty for success
    std::string open() { return input_.open(); }

    /// Starts the thread.
    void start();

    /// Ends the thread, and closes the doorbell.
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
    /// Why the input could not be read (to its end); empty when it could.
    std::string error() const;
    /// Whether the stream ended without a sign of the service of the options.
    bool lacksWantedService() const;
    StreamStatistics statistics() const;
    /// @}

    /// The tuned service's carousels, for the hooks and the status page. Thread-safe.
    ServiceCarousels& carousels() { return carousels_; }

private:
    enum class Progress { Playing, Tuned, Ended };

    void servicesChanged(const std::vector<Service>& services) override;
    void pmtReceived(const Service& service, const SectionBytes& section) override;
    void sectionReceived(uint16_t pid, const SectionBytes& section) override;
    void clockReceived(uint16_t pid, uint64_t ticks, bool discontinuity) override;

    void run();
    Progress step();
    bool playChunk();
    void send(Progress progress);
    void pace();
    bool endOfStream();
    void finishStream();
    std::string remarkAtEnd() const;
    void retune(uint16_t serviceId);
    void joinService(const Service& service, const SectionBytes& pmt);
    void sayThatThereIsNoTable(bool wasThere);
    void updateSubscriptions();
    void leaveService();
    void takeTableSection(uint16_t pid, const SectionBytes& section);
    void sendTableSection(const SectionBytes& section);
    void reportTableSection(const SectionBytes& section);
    void remark(const char* event, const std::string& text);
    void reportFileAnswers();
    void showProgress();
    std::optional<uint16_t> nextRequest();

    const MiddlewareOptions options_;
    EventLog& log_;
    Doorbell& doorbell_;
    StreamInput input_;
    std::thread thread_;

    mutable std::mutex mutex_;  // guards everything below but the atomics and the carousels
    std::condition_variable wake_;
    std::deque<uint16_t> requests_;
    TransportStream stream_;
    StreamClock clock_;
    uint16_t clockPid_ = 0x1FFF;
    TableFilter filter_;
    std::vector<Outgoing> outgoing_;
    std::optional<Service> tuned_;
    std::optional<uint16_t> wanted_;
    std::set<uint16_t> subscribed_;
    bool hasSentTable_ = false;             ///< of this service
    bool hasTable_ = false;                 ///< and it has not gone since, whatever the PMT says
    std::map<uint8_t, SectionBytes> told_;  // the table's sections that were announced
    std::map<uint8_t, SectionBytes> heldBack_;  // until the network is known
    unsigned heldBackCount_ = 0;
    std::set<std::string> remarks_;                 // each is made once a service
    std::map<uint16_t, std::string> toldServices_;  // names
    std::string error_;
    ServiceCarousels carousels_;
    std::atomic<bool> stopping_{false};
    std::atomic<bool> ended_{false};
    std::atomic<unsigned> tunes_{0};
};

}  // namespace receiver

#endif
