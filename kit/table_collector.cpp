#include "kit/table_collector.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace VestaHbbTV {

namespace {

/// Who mixes more tables than these on one PID loses the oldest.
constexpr size_t mostCollections = 4;

/// So often does a table come round until what has not come of it is missing for good. Sections
/// are repeated at different rates.
constexpr unsigned enoughRounds = 3;

bool isSame(const Section& section, ByteReader bytes)
{
    return section.size() == bytes.remaining() &&
           std::memcmp(section.data(), bytes.data(), section.size()) == 0;
}

uint8_t numberOf(ByteReader section)
{
    return section.data()[AITLayout::sectionNumber];
}

size_t countOf(ByteReader section)
{
    return section.data()[AITLayout::lastSectionNumber] + size_t{1};
}

}  // namespace

const TableCollector::Collection* TableCollector::findCollection(ByteReader section) const
{
    const auto found = std::find_if(collections_.begin(), collections_.end(),
                                    [section](const Collection& collection) {
                                        return collection.type == typeOf(section.data()) &&
                                               collection.version == versionOf(section.data()) &&
                                               collection.sections.size() == countOf(section);
                                    });
    return found == collections_.end() ? nullptr : &*found;
}

bool TableCollector::holds(ByteReader section) const
{
    if (section.remaining() < AITLayout::leastSize)
        return false;
    const uint8_t number = numberOf(section);
    if (const Collection* const begun = findCollection(section))
        return number < begun->sections.size() && isSame(begun->sections[number], section);
    return number < whole_.size() && isSame(whole_[number], section);
}

TableCollector::Collection& TableCollector::collectionOf(ByteReader section, uint64_t now)
{
    if (const Collection* const begun = findCollection(section)) {
        // It becomes the one that was begun last.
        const auto place = collections_.begin() + (begun - collections_.data());
        std::rotate(place, place + 1, collections_.end());
        return collections_.back();
    }
    if (collections_.size() == mostCollections)
        collections_.erase(collections_.begin());
    const size_t count = countOf(section);
    collections_.push_back(
        {typeOf(section.data()), versionOf(section.data()), now, WholeTable(count), count});
    return collections_.back();
}

void TableCollector::forgetOld(uint64_t now)
{
    const auto isOld = [now](const Collection& collection) {
        return now - collection.lastTime >= patience;
    };
    collections_.erase(std::remove_if(collections_.begin(), collections_.end(), isOld),
                       collections_.end());
}

TableCollector::Result TableCollector::add(ByteReader section, uint64_t now)
{
    forgetOld(now);
    const bool isHeld = holds(section);
    if (isHeld && !findCollection(section))
        return Result::Repeated;
    Collection& collection = collectionOf(section, now);
    collection.lastTime = now;
    const uint8_t number = numberOf(section);
    if (isHeld) {
        const bool comesRound = number == collection.first && ++collection.rounds == enoughRounds;
        return comesRound ? Result::Stuck : Result::Collected;
    }
    if (!collection.sections[number].empty()) {
        // Another content under the same version: what came before may be the former table's.
        collection.missing = collection.sections.size();
        collection.sections.assign(collection.missing, Section());
    }
    if (collection.missing == collection.sections.size())
        collection.first = number;
    collection.sections[number].assign(section.data(), section.data() + section.remaining());
    // What was missing so far may be on its way after all.
    collection.rounds = 0;
    if (--collection.missing > 0)
        return Result::Collected;
    whole_ = std::move(collection.sections);
    collections_.clear();
    return Result::Completed;
}

uint8_t TableCollector::firstMissing() const
{
    const WholeTable& begun = collections_.back().sections;
    const auto missing = std::find_if(begun.begin(), begun.end(),
                                      [](const Section& section) { return section.empty(); });
    return static_cast<uint8_t>(missing - begun.begin());
}

}  // namespace VestaHbbTV
