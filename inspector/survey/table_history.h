/// What came of one table: its versions, and how often.
#ifndef VESTA_INSPECTOR_SURVEY_TABLE_HISTORY_H
#define VESTA_INSPECTOR_SURVEY_TABLE_HISTORY_H

#include <cstdint>
#include <deque>
#include <list>
#include <map>
#include <optional>

#include "inspector/decode/node.h"
#include "inspector/survey/stream_time.h"
#include "receiver/carousel/carousel_module.h"
#include "receiver/stream/section_assembler.h"

namespace inspector {

using receiver::SectionBytes;

struct SeenSection {
    SectionBytes bytes;
    uint64_t count = 0;
    Node tree;  ///< decoded when the survey ends
};

/// The sections of one version that came after each other.
struct TableVersion {
    uint8_t version = 0;
    uint8_t lastSectionNumber = 0;
    std::map<uint8_t, SeenSection> sections;  ///< by number; one at least

    bool isWhole() const { return sections.size() == lastSectionNumber + size_t{1}; }
};

/// Takes the sections of one table that are in force.
class TableHistory {
public:
    /// Of so many versions the sections are kept.
    static constexpr size_t mostVersions = 8;
    /// More changes of the content in so many ms are too many: what the feed has by default.
    static constexpr uint64_t changesWithinMs = 60'000;
    static constexpr size_t mostChanges = 8;

    /// @param memory for the sections, borrowed for the object's life
    explicit TableHistory(receiver::Budget& memory) : memory_(&memory) {}

    /// From then on sections should come; until the first one comes is a gap.
    void expect(const Moment& since) { expectedSince_ = since; }

    /// @param section with the header of a table @param now by the stream's clock, where it has one
    void add(const SectionBytes& section, const std::optional<Moment>& now);

    /// No more sections come.
    void finish(const std::optional<Moment>& now);

    /// The newest last; each at least once where a table came back to an older one.
    const std::list<TableVersion>& versions() const { return versions_; }
    bool empty() const { return versions_.empty(); }

    /// The newest one that is whole, or else the newest; null where there is none.
    const TableVersion* latest() const;
    TableVersion* latest();

    /// Whether a section would be one more of the newest version.
    bool lacks(const receiver::SectionHeader& header) const;

    /// How often a version followed another one, or the same with other content.
    uint64_t changes() const { return changes_; }
    uint64_t sections() const { return sections_; }
    /// Sections for which there was no memory.
    uint64_t leftOut() const { return leftOut_; }

    /// The number of a section whose content changed while the version stayed; nothing where none
    /// did.
    std::optional<uint8_t> changedWithinVersion() const { return changedWithinVersion_; }

    /// Whether a whole version has just what the one before it had.
    bool isVersionAloneChanged() const;

    /// How many changes of the content came at the most within changesWithinMs, by the stream's
    /// clock.
    size_t changesAtOnce() const { return changesAtOnce_; }

    /// The longest time in which a section of a number did not come, or not again, in ms; nothing
    /// where the stream has no clock or no section of the table had time to come again.
    std::optional<uint64_t> longestGap() const { return longestGap_; }

private:
    bool isOfLatest(const receiver::SectionHeader& header, const SectionBytes& section);
    void begin(const receiver::SectionHeader& header, const std::optional<Moment>& now);
    bool insert(uint8_t number, const SectionBytes& section);
    void noteChange(const std::optional<Moment>& now);
    void noteGap(uint8_t number, const std::optional<Moment>& now);
    void forgetOldest();

    receiver::Budget* memory_;
    std::list<TableVersion> versions_;
    uint64_t changes_ = 0;
    uint64_t sections_ = 0;
    uint64_t leftOut_ = 0;
    std::optional<uint8_t> changedWithinVersion_;
    std::optional<Moment> expectedSince_;
    std::map<uint8_t, Moment> lastTimes_;  // by number
    std::deque<Moment> changeTimes_;
    size_t changesAtOnce_ = 0;
    std::optional<uint64_t> longestGap_;
};

}  // namespace inspector

#endif
