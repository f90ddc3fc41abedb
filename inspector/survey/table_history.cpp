#include "inspector/survey/table_history.h"

#include <algorithm>
#include <iterator>

#include "kit/ait_section.h"
#include "kit/crc32.h"

namespace inspector {

namespace {

using receiver::readSectionHeader;
using receiver::SectionHeader;
namespace Layout = VestaHbbTV::AITLayout;  // the header is that of all tables

constexpr size_t sectionOverhead = 256;  // of the containers

/// Whether nothing but the version, and with it the checksum, differs.
bool isSameContent(const SectionBytes& left, const SectionBytes& right)
{
    if (left.size() != right.size())
        return false;
    for (size_t i = 0; i + VestaHbbTV::checksumSize < left.size(); ++i) {
        if (i != Layout::version && left[i] != right[i])
            return false;
    }
    return true;
}

/// @param versions const or not, as is what it answers
template <typename Versions>
auto latestOf(Versions& versions) -> decltype(&versions.back())
{
    const auto whole = std::find_if(versions.rbegin(), versions.rend(),
                                    [](const TableVersion& table) { return table.isWhole(); });
    if (whole != versions.rend())
        return &*whole;
    return versions.empty() ? nullptr : &versions.back();
}

bool isSameContent(const TableVersion& left, const TableVersion& right)
{
    return std::equal(left.sections.begin(), left.sections.end(), right.sections.begin(),
                      right.sections.end(), [](const auto& one, const auto& other) {
                          return isSameContent(one.second.bytes, other.second.bytes);
                      });
}

}  // namespace

void TableHistory::add(const SectionBytes& section, const std::optional<Moment>& now)
{
    const SectionHeader header = readSectionHeader(section);
    ++sections_;
    noteGap(header.sectionNumber, now);
    if (!isOfLatest(header, section))
        begin(header, now);
    if (insert(header.sectionNumber, section) && versions_.back().isWhole())
        noteChange(now);
    if (versions_.back().sections.empty())
        versions_.pop_back();
}

void TableHistory::begin(const SectionHeader& header, const std::optional<Moment>& now)
{
    if (!versions_.empty()) {
        ++changes_;
        expectedSince_ = now;  // of sections that there were not before
        lastTimes_.erase(lastTimes_.upper_bound(header.lastSectionNumber), lastTimes_.end());
    }
    if (versions_.size() == mostVersions)
        forgetOldest();
    versions_.push_back({header.version, header.lastSectionNumber, {}});
}

/// The newest version has become whole: that is a change where the one before it was another.
void TableHistory::noteChange(const std::optional<Moment>& now)
{
    const auto before = std::find_if(std::next(versions_.rbegin()), versions_.rend(),
                                     [](const TableVersion& table) { return table.isWhole(); });
    if (!now || before == versions_.rend() || isSameContent(*before, versions_.back()))
        return;
    changeTimes_.push_back(*now);
    while (changeTimes_.front().timeLine != now->timeLine ||
           msSince(changeTimes_.front(), *now) >= changesWithinMs)
        changeTimes_.pop_front();
    changesAtOnce_ = std::max(changesAtOnce_, changeTimes_.size());
}

bool TableHistory::isOfLatest(const SectionHeader& header, const SectionBytes& section)
{
    if (versions_.empty() || versions_.back().version != header.version)
        return false;
    const TableVersion& latest = versions_.back();
    const auto known = latest.sections.find(header.sectionNumber);
    const bool isOther = latest.lastSectionNumber != header.lastSectionNumber ||
                         (known != latest.sections.end() && known->second.bytes != section);
    if (isOther)
        changedWithinVersion_ = header.sectionNumber;
    return !isOther;
}

bool TableHistory::lacks(const SectionHeader& header) const
{
    if (versions_.empty())
        return false;
    const TableVersion& latest = versions_.back();
    return latest.version == header.version &&
           latest.lastSectionNumber == header.lastSectionNumber &&
           latest.sections.count(header.sectionNumber) == 0;
}

/// @return whether it is new
bool TableHistory::insert(uint8_t number, const SectionBytes& section)
{
    std::map<uint8_t, SeenSection>& sections = versions_.back().sections;
    const auto known = sections.find(number);
    if (known != sections.end()) {
        ++known->second.count;
        return false;
    }
    const size_t bytes = section.size() + sectionOverhead;
    while (!memory_->take(bytes)) {
        if (versions_.size() < 2) {
            ++leftOut_;
            return false;
        }
        forgetOldest();
    }
    sections.emplace(number, SeenSection{section, 1, {}});
    return true;
}

void TableHistory::forgetOldest()
{
    for (const auto& [number, section] : versions_.front().sections)
        memory_->giveBack(section.bytes.size() + sectionOverhead);
    versions_.pop_front();
}

void TableHistory::noteGap(uint8_t number, const std::optional<Moment>& now)
{
    if (!now)
        return;
    const auto last = lastTimes_.find(number);
    const std::optional<Moment> since =
        last == lastTimes_.end() ? expectedSince_ : std::optional(last->second);
    if (since)
        longestGap_ = std::max(longestGap_.value_or(0), msSince(*since, *now));
    lastTimes_[number] = *now;
}

// A section that never comes again has its gap, too.
void TableHistory::finish(const std::optional<Moment>& now)
{
    if (const TableVersion* const table = latest()) {
        for (const auto& [number, section] : table->sections)
            noteGap(number, now);
    }
}

TableVersion* TableHistory::latest()
{
    return latestOf(versions_);
}

const TableVersion* TableHistory::latest() const
{
    return latestOf(versions_);
}

bool TableHistory::isVersionAloneChanged() const
{
    const auto alike = [](const TableVersion& left, const TableVersion& right) {
        return left.version != right.version && left.isWhole() && isSameContent(left, right);
    };
    return std::adjacent_find(versions_.begin(), versions_.end(), alike) != versions_.end();
}

}  // namespace inspector
