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
    void takeSection(uint32_t tuning, uint16_t pid, ByteReader bytes, uint64_t now);
    void takeTime(uint64_t now);

    uint64_t countOf(HBBTV_KitSectionFault fault) const { return counts_[fault]; }

private:
    struct Source {
        SignallingStream stream;
        TableCollector collector;
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
    };

    Source* sourceOf(uint16_t pid);
    void keepSourcesOf(const std::vector<SignallingStream>& streams);
    bool isAwaited(const Source& source) const;
    SectionFinding examine(ByteReader section) const;
    void refuse(uint16_t pid, const SectionFinding& finding);
    void count(HBBTV_KitSectionFault fault) { ++counts_[fault]; }

    void choose(const Source& source);
    void offer(const Source& source, bool isRepeated);
    bool waitsForPMT(const Source& source, bool isRepeated);
    Table tableOf(const Source& source) const;
    void append(Table& table, const WholeTable& sections) const;
    HBBTV_KitTableFault faultOf(Table& table) const;
    bool isAcceptedByApplicationManager(const Section& section) const;
    void takeEffect(Table table);
    void noteChange();
    void send(const Table& table);
    void sendPending();
    void withdraw();

    void report(HBBTV_KitFeedReport report) const;

    const HBBTV_KitFeedOptions options_;
    const CopyChanges changes_;
    std::array<uint64_t, HBBTV_KIT_SECTION_FAULTS> counts_{};

    uint64_t now_ = 0;
    uint32_t tuning_ = 0;
    uint8_t lastVersion_ = 0;  // of what was sent

    // Of the service:
    Service service_;
    std::vector<Source> sources_;  // in the order of the PMT
    std::optional<uint16_t> chosen_;
    std::set<std::pair<uint16_t, int>> told_;  // faults of PIDs
    std::optional<WholeTable> inForce_;        // what was sent last, versions 0; none: withdrawn
    std::optional<Table> pending_;             // held until it is quiet
    /// Whose whole table is to be offered once more: not announced yet, or there was no memory.
    std::optional<uint16_t> unsettled_;
    uint64_t lastSeen_ = 0;  // a section of the tables that count
    std::deque<uint64_t> changeTimes_;
    bool isFlapping_ = false;
};

}  // namespace VestaHbbTV

#endif
