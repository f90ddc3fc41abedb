/// The object carousels of a service, and what came of their blocks.
#ifndef VESTA_INSPECTOR_SURVEY_CAROUSEL_SURVEY_H
#define VESTA_INSPECTOR_SURVEY_CAROUSEL_SURVEY_H

#include <cstdint>
#include <map>
#include <ostream>
#include <set>
#include <utility>
#include <vector>

#include "receiver/carousel/service_carousels.h"
#include "receiver/carousel/stream_event_sections.h"
#include "receiver/console/event_log.h"

namespace inspector {

/// Services with the same streams of carousels share one of these.
class CarouselSurvey {
public:
    static constexpr size_t mostTallies = 8192;
    static constexpr size_t mostLists = 256;
    static constexpr size_t mostEvents = 256;

    explicit CarouselSurvey(const receiver::CarouselLimits& limits);

    void join(const receiver::Service& service,
              const std::vector<receiver::StreamDescription>& streams);

    /// That carry carousels or stream descriptors.
    const std::set<uint16_t>& pids() const { return pids_; }
    const std::set<uint16_t>& pidsWithoutTag() const { return carousels_.pidsNotRead(); }

    /// @param section with a correct CRC_32, of one of these PIDs
    void feed(uint16_t pid, const receiver::SectionBytes& section);

    /// What came of a module's blocks since the version that counts is the one that it is: what the
    /// last list announced, or before there is a list, that of the last block.
    struct BlockTally {
        uint8_t version = 0;
        bool isAnnounced = false;
        uint64_t announcedAt = 0;    ///< how many lists there had been
        uint64_t allBlocks = 0;      ///< of all versions, ever
        uint64_t blocks = 0;         ///< of the version that counts
        uint16_t highestNumber = 0;  ///< of those
        uint64_t otherBlocks = 0;
        uint8_t otherVersion = 0;  ///< of the last of those
        uint16_t pid = 0;          ///< of the last block; 0 where none came
    };
    using ModuleKey = std::pair<uint32_t, uint16_t>;  ///< download id and module id
    const std::map<ModuleKey, BlockTally>& tallies() const { return tallies_; }
    /// How many lists of modules (DIIs) came, repetitions among them.
    uint64_t lists() const { return lists_; }

    struct HeardEvent {
        uint16_t pid = 0;
        receiver::StreamEvent event;
    };
    /// "Do it now" events, each version once, in order.
    const std::vector<HeardEvent>& events() const { return events_; }
    uint64_t eventsLeftOut() const { return eventsLeftOut_; }

    const receiver::ServiceCarousels& carousels() const { return carousels_; }

private:
    void tally(uint16_t pid, const receiver::SectionBytes& section);
    void tallyList(uint16_t pid, const receiver::SectionBytes& section);
    void announce(uint32_t downloadId, const receiver::ModuleAnnouncement& module);
    BlockTally* tallyOf(const ModuleKey& key);
    void takeEvent(uint16_t pid, const receiver::SectionBytes& section);

    std::ostream nowhere_{nullptr};
    receiver::EventLog log_{nowhere_, false};  // what it says is in the modules' problems, too
    receiver::ServiceCarousels carousels_;
    std::set<uint16_t> pids_;
    std::map<ModuleKey, BlockTally> tallies_;
    // By PID and transaction, to tell news from repetitions.
    std::map<std::pair<uint16_t, uint32_t>, receiver::SectionBytes> lastLists_;
    uint64_t lists_ = 0;
    std::map<uint16_t, receiver::StreamEventSections> eventSections_;  // by PID
    std::vector<HeardEvent> events_;
    uint64_t eventsLeftOut_ = 0;
};

}  // namespace inspector

#endif
