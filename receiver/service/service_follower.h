/// Follows one service of a transport stream: which one is tuned to, which PIDs it needs, and what
/// the application manager is to hear of it.
#ifndef VESTA_RECEIVER_SERVICE_SERVICE_FOLLOWER_H
#define VESTA_RECEIVER_SERVICE_SERVICE_FOLLOWER_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "receiver/carousel/service_carousels.h"
#include "receiver/console/event_log.h"
#include "receiver/integration/event_records.h"
#include "receiver/integration/stream_event_subscriptions.h"
#include "receiver/service/service_choice.h"
#include "receiver/service/service_information.h"
#include "receiver/service/table_book.h"
#include "receiver/service/table_feed.h"
#include "receiver/stream/stream_clock.h"
#include "receiver/stream/transport_stream.h"

namespace receiver {

struct FollowerOptions {
    std::optional<uint16_t> service;  ///< to tune to first; else one with HbbTV applications
    bool verbose = false;             ///< also report what is left out, and why
    CarouselLimits limits;
    std::vector<CarouselPid> carousels;  ///< to read whatever the tables say
    HbbTVVersion hbbtv;                  ///< up to which the terminal carries applications
    bool isLive = false;                 ///< time is passTime()'s to say, not the stream's
};

/// Until a service is asked for, it tunes to one that signals HbbTV applications: one whose PMT
/// says so before one whose PMT does not say, in the order of the PAT, and on to the next while no
/// table comes. It knows which is first when every PMT has come, or one of them twice.
///
/// The tables go to the application manager at once; what it has to say else piles up until
/// takeEvents(). One thread at a time, carousels() and tableBook() aside.
class ServiceFollower : private TransportStreamListener {
public:
    /// @param clock hears the clock references of the tuned service @param log, clock borrowed
    ServiceFollower(const FollowerOptions& options, EventLog& log, StreamClock& clock);
    ~ServiceFollower() override;
    ServiceFollower(const ServiceFollower&) = delete;
    ServiceFollower& operator=(const ServiceFollower&) = delete;

    /// @name What comes from the air
    /// @{
    /// @return false once it is clear that this is not a transport stream (error() says so)
    bool feed(const unsigned char* bytes, size_t count);
    /// No more bytes follow. @return false when there never was a transport stream
    bool finish() { return stream_.finish(); }
    /// Time goes on, whatever comes. For a stream that is live. @param milliseconds since whenever
    void passTime(uint64_t milliseconds) { feed_.setTime(milliseconds); }
    /// The stream is played again from its beginning.
    void restart() { stream_.restart(); }
    std::string error() const { return stream_.error(); }
    /// @}

    /// Leaves the service and waits for this one. @param serviceId 0: for none
    void tune(uint16_t serviceId);

    /// Nothing comes any more: what was waited for will not be there.
    void giveUpWaiting();

    /// Says what a person might have expected of the stream and was not there, or not whole.
    void remarkAtEnd();

    /// Something that is not for everybody, or that would be said again and again.
    void remark(const char* event, const std::string& text);

    /// @return what is to be sent since the last call, in order; the events are the caller's
    std::vector<Outgoing> takeEvents();

    /// @return whether a table or a section came since the last call: what is known may have
    /// changed
    bool takeNews();

    const std::vector<Service>& services() const { return stream_.services(); }
    const std::optional<Service>& tuned() const { return tuned_; }
    /// What the service's PMT says of applications; nothing without a PMT.
    std::optional<ApplicationSignalling> signallingOf(uint16_t serviceId) const;
    /// Whether a service was asked for of which no table is there yet.
    bool isArriving() const { return wanted_.value_or(0) != 0 && !feed_.hasSent(); }
    /// Whether there is no sign of the service that was asked for.
    bool lacksWantedService() const { return wanted_.value_or(0) != 0 && !tuned_; }
    /// Bytes of tables of services that may still be tuned to.
    size_t heldBytes() const { return choice_.heldBytes(); }
    const StreamStatistics& statistics() const { return stream_.statistics(); }
    ServiceCarousels& carousels() { return carousels_; }
    StreamEventSubscriptions& streamEvents() { return streamEvents_; }
    const ServiceInformation& information() const { return information_; }
    const TableBook& tableBook() const { return book_; }

    /// What a person might have expected of the stream and was not there; empty when it was.
    std::string lack() const;

private:
    void servicesChanged(const std::vector<Service>& services) override;
    void pmtReceived(const Service& service, const SectionBytes& section) override;
    void sectionReceived(uint16_t pid, const SectionBytes& section) override;
    void sectionLeftOut(uint16_t pid, const LeftOutSection& section) override;
    void clockReceived(uint16_t pid, uint64_t ticks, bool discontinuity) override;

    void reportService(const Service& service);
    void reportServicesGone();
    void join(const Service& service, const ProgramMap& map);
    void leave();
    void sayThatThereIsNoTable(bool wasThere);
    Service serviceOf(uint16_t programNumber) const;
    void updateSubscriptions();

    /// @name Choice of a service; none of it once one was asked for or a section of a table came
    /// @{
    bool isChoosing() const;
    void tuneTo(const Service& service, Candidate candidate);
    void tuneToCandidate(const Service* service);
    void chooseService();
    void goOnToNextService();
    void chooseAtEnd();
    /// @}

    bool isTablePid(uint16_t pid) const;
    void takeTableSection(uint16_t pid, const SectionBytes& section);
    void reportFileAnswers(size_t most);
    void takeStreamEvents();
    std::string lackOfTable() const;

    const bool isVerbose_;
    const bool isLive_;
    EventLog& log_;
    StreamClock& clock_;
    TransportStream stream_;
    uint16_t clockPid_ = 0x1FFF;
    std::vector<uint16_t> tablePids_;
    std::vector<Outgoing> outgoing_;
    bool hasNews_ = false;
    std::optional<Service> tuned_;
    std::optional<uint16_t> wanted_;                        // asked for
    std::map<uint16_t, ApplicationSignalling> signalling_;  // of the services with a PMT
    ServiceChoice choice_;                                  // but for the one tuned to
    bool areSubscriptionsStale_ = true;                     ///< some may not be needed any more
    std::set<std::string> remarks_;                         // each is made once a service
    std::map<uint16_t, std::string> reportedServices_;      // names
    TableBook book_;
    TableFeed feed_;
    ServiceCarousels carousels_;
    StreamEventSubscriptions streamEvents_;
    ServiceInformation information_;
};

}  // namespace receiver

#endif
