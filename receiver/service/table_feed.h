/// The receiver's use of the AIT feed: the tuned service's sections go in, and the application
/// manager gets its tables.
#ifndef VESTA_RECEIVER_SERVICE_TABLE_FEED_H
#define VESTA_RECEIVER_SERVICE_TABLE_FEED_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "receiver/console/event_log.h"
#include "receiver/service/service_tables.h"
#include "receiver/service/table_book.h"
#include "receiver/stream/held_table.h"
#include "receiver/stream/transport_stream.h"
#include "vesta_hbbtv_kit.h"

namespace receiver {

/// A version of HbbTV, as profiles name it; all zero: none.
struct HbbTVVersion {
    uint8_t major = 0;
    uint8_t minor = 0;
    uint8_t micro = 0;
};

/// Carousel URLs begin with the network's id, which the SDT tells: sections that come before it are
/// held back, for a while. One thread.
class TableFeed {
public:
    /// Says something to whoever watches, once a service. @param event as the trace names it
    using Remark = std::function<void(const char* event, const std::string& text)>;

    /// Bytes of the sections that are held back; with more than that the waiting ends.
    static constexpr size_t mostHeldBytes = size_t(256) * 1024;

    /// @param carried up to which version the terminal carries applications; none: what the
    ///        application manager claims @param log, book borrowed
    TableFeed(const HbbTVVersion& carried, EventLog& log, TableBook& book, Remark remark);
    TableFeed(const TableFeed&) = delete;
    TableFeed& operator=(const TableFeed&) = delete;

    /// The service is left: tells the application manager, at once.
    /// @param next the service to come, as far as it is known
    void leave(const Service& next);

    /// The service that is tuned to, and its PMT; again for each that differs.
    void join(const Service& service, const ProgramMap& map);

    /// More is known of the service that is tuned to.
    void learn(const Service& service);

    /// A section from one of the PIDs that the PMT lists for tables. @param section with a correct
    /// CRC_32
    void take(uint16_t pid, const SectionBytes& section);

    /// The stream's clock goes on. @param milliseconds since whenever
    void setTime(uint64_t milliseconds);

    /// What is not known of the service by now will not come.
    void giveUpWaiting();

    /// Whether a section of a table came from this service.
    bool hasCome() const;
    /// Whether a whole table was sent.
    bool hasSent() const { return hasSent_; }
    /// Whether one is in force.
    bool isInForce() const { return isInForce_; }

private:
    struct Destroy {
        void operator()(HBBTV_KitAITFeed* feed) const { hbbtv_kit_feed_destroy(feed); }
    };

    void forget();
    void tune(const Service& service);
    void begin();
    void givePMT();
    void give(uint16_t pid, const SectionBytes& section);
    void hold(uint16_t pid, const SectionBytes& section);
    void note(uint16_t pid, const SectionBytes& section);
    void hear(const HBBTV_KitFeedReport& report);
    void hearOfSection(const HBBTV_KitFeedReport& report);
    uint64_t taken() const { return hbbtv_kit_feed_get_count(feed_.get(), HBBTV_KIT_SECTION_OK); }

    EventLog& log_;
    TableBook& book_;
    const Remark remark_;
    std::unique_ptr<HBBTV_KitAITFeed, Destroy> feed_;
    uint64_t now_ = 0;

    // What the feed was told last.
    std::optional<Service> tuned_;
    uint32_t tuning_ = 0;
    uint64_t takenBefore_ = 0;

    // Of the service:
    bool hasBegun_ = false;  ///< nothing is held back any more
    std::optional<Service> service_;
    SectionBytes pmt_;
    std::map<uint16_t, HeldTable> held_;  // by PID
    unsigned rounds_ = 0;                 // so often a held table came again
    std::optional<uint16_t> chosen_;      // the PID whose tables count
    std::map<std::pair<uint16_t, uint8_t>, uint32_t> announced_;  // checksums, by PID and number
    bool hasSent_ = false;
    bool isInForce_ = false;
};

}  // namespace receiver

#endif
