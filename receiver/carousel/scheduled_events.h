/// Stream events that happen at a time of the programme (NPT).
#ifndef VESTA_RECEIVER_CAROUSEL_SCHEDULED_EVENTS_H
#define VESTA_RECEIVER_CAROUSEL_SCHEDULED_EVENTS_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "foundation/byte_reader.h"
#include "receiver/carousel/stream_event.h"
#include "receiver/stream/section_assembler.h"

namespace receiver {

/// Holds the events that one stream announces until the programme's time reaches theirs. That time
/// follows from the stream's clock by the last NPT reference of the stream (ISO/IEC 13818-6, 8.1);
/// while either is not known, nothing happens.
///
/// An event happens when its time is reached, and again when the time was set back to before it.
/// One whose time had passed already when that became known does not happen. All times are counts
/// of 90 kHz with 33 bits, which begin anew. One thread.
class ScheduledEvents {
public:
    /// So many are held; past ones give way. A section with more than that leaves room for is left
    /// out.
    static constexpr size_t mostEvents = 128;

    /// Takes the descriptors of a section with NPT references or scheduled events. The events are
    /// there instead of those that the section's number, or another version, had before.
    /// @param header of a section of table 0x3D in force
    void take(const SectionHeader& header, VestaHbbTV::ByteReader descriptors);

    /// The stream's clock is there now.
    /// @param isNewTimeLine it jumped: references to the clock before count no more
    /// @return what happens, the earliest first
    std::vector<StreamEvent> advance(uint64_t clock, bool isNewTimeLine);

    /// Whether a section was left out.
    bool hasLeftOut() const { return hasLeftOut_; }

private:
    /// This clock is that time, from where the time goes on by the scale.
    struct Reference {
        uint64_t clock;
        uint64_t time;
        int64_t numerator;
        int64_t denominator;  // not 0

        uint64_t timeAt(uint64_t now) const;
    };
    struct Scheduled {
        uint64_t time;
        StreamEvent event;
        bool isAhead = false;  // the time is known, and has not reached it
    };
    struct Section {
        uint8_t version;
        std::vector<Scheduled> events;
    };
    using SectionKey = std::pair<uint16_t, uint8_t>;  // table_id_extension and section_number

    void takeReference(VestaHbbTV::ByteReader payload);
    void takeEvents(const SectionHeader& header, std::vector<Scheduled> events);
    void dropOtherVersions(const SectionHeader& header);
    void makeRoom(size_t wanted);

    std::optional<Reference> reference_;
    std::optional<Reference> nextReference_;  // from the clock's next jump on
    std::optional<uint64_t> time_;            // of the programme, when it was last known
    std::map<SectionKey, Section> sections_;  // with one event at least
    size_t count_ = 0;                        // of the events
    bool hasLeftOut_ = false;
};

}  // namespace receiver

#endif
