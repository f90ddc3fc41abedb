/// What stands between the demultiplexer and the application manager: whole, clean tables come out
/// of it, and nothing else.
#ifndef VESTA_KIT_AIT_FEED_H
#define VESTA_KIT_AIT_FEED_H

#include <array>
#include <cstdint>
#include <deque>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "vesta_hbbtv_appman.h"

#include "kit/section_copy.h"
#include "kit/signalling_streams.h"
#include "kit/table_collector.h"
#include "vesta_hbbtv_kit.h"

namespace VestaHbbTV {

/// The functions of vesta_hbbtv_kit.h, which describes them.
class AITFeed {
public:
    explicit AITFeed(const HBBTV_KitFeedOptions& options);

    uint32_t tune(uint16_t originalNetworkId, uint16_t transportStreamId, uint16_t serviceId,
                  void* channel);
    void takePMT(uint32_t tuning, ByteReader bytes, uint64_t now);
    void takeSection(uint32_t tuning, unsigned pid, ByteReader bytes, uint64_t now);
    void takeTime(uint64_t now);

    uint64_t countOf(HBBTV_KitSectionFault fault) const { return counts_[fault]; }

private:
    struct Source {
        SignallingStream stream;
        TableCollector collector;
        std::optional<uint16_t> type;  ///< of its sections, where every type counts
        uint64_t lastSeen = 0;         ///< a section of its last whole table
        /// Its whole table is to be offered once more: another PID may have the service's, the PMT
        /// does not announce it yet, or there was no memory for it, or no application manager.
        bool isUnsettled = false;
        bool isRefused = false;  ///< its whole table is: it keeps no other one in force
        WholeTable accepted;     ///< where tables are joined, the last one that was not held back
        size_t repetitions = 0;  ///< of sections of its whole table
        std::optional<uint8_t> heldVersion;  ///< of the table that was told as held
    };
    struct Service {
        uint16_t originalNetworkId = 0;
        uint16_t transportStreamId = 0;
        uint16_t serviceId = 0;
        void* channel = nullptr;
    };
    /// A table as it could be sent, but for its version.
    struct Table {
        WholeTable sections;
        TableCost cost;
        uint16_t pid = 0;
        uint8_t version = 0;
        bool hasTooManySections = false;
        bool doLabelsClash = false;
    };

    bool joins() const { return options_.joinsPIDs != 0; }
    Source* sourceOf(unsigned pid);
    bool mayHaveTable(unsigned pid) const { return !chosen_ || *chosen_ == pid; }
    bool isOfService(ByteReader section) const;
    void takeStreams(const std::vector<SignallingStream>& streams);
    bool keepSourcesOf(const std::vector<SignallingStream>& streams);
    void takeWholeSection(Source& source, ByteReader section);
    void reportIncomplete(const Source& source, ByteReader section);
    SectionFinding examine(ByteReader section) const;
    bool isOfType(Source& source, ByteReader section) const;
    bool isAcceptedByApplicationManager(const Section& section) const;
    void refuse(unsigned pid, const SectionFinding& finding);
    void count(HBBTV_KitSectionFault fault) { ++counts_[fault]; }

    void advance(uint64_t now);
    void lookAtTime();
    bool isGone(uint64_t lastSeen) const;
    void dropSilentSources();

    bool mayBeAnothers(const Source& source) const;
    void choose(const Source& source);
    void forgetTable(Source& source) const;
    void offer(Source& source, bool isRepeated);
    void offerWhatIsLeft();
    bool waitsForPMT(Source& source, bool isRepeated);
    Table tableOf(const Source& source) const;
    void append(Table& table, const WholeTable& sections) const;
    HBBTV_KitTableFault faultOf(Table& table) const;
    void takeEffect(Table table);
    void noteChange();
    void nameService(HBBTV_EventData& record) const;
    void send(const Table& table);
    void sendPending();
    void withdraw();

    void report(const HBBTV_KitFeedReport& report);
    void tellReports();

    const HBBTV_KitFeedOptions options_;
    const CopyChanges changes_;
    std::array<uint64_t, HBBTV_KIT_SECTION_FAULTS> counts_{};
    std::deque<HBBTV_KitFeedReport> reports_;  // to be told

    uint64_t clock_ = 0;  // as it was given last
    uint64_t now_ = 0;    // milliseconds that have passed
    uint32_t tuning_ = 0;
    uint8_t lastVersion_ = 0;  // of what was sent
    /// The application manager was not told yet that there is no table; an application of the
    /// service before may run, or one that no table of a broadcast started.
    bool mayHaveTable_ = false;

    // Of the service:
    Service service_;
    std::vector<Source> sources_;  // in the order of the PMT
    std::optional<uint16_t> chosen_;
    std::set<std::pair<unsigned, int>> told_;  // faults of PIDs
    std::optional<WholeTable> inForce_;        // what was sent last of this service
    std::optional<Table> pending_;             // held until it is quiet
    uint64_t lastSeen_ = 0;                    // a section of the table in force; or the tuning
    uint64_t tunedAt_ = 0;
    bool waitsForTime_ = false;  // for the first call after the tuning, which tells when that was
    std::deque<uint64_t> changeTimes_;
    uint64_t lastChange_ = 0;
    bool isFlapping_ = false;
};

}  // namespace VestaHbbTV

#endif
