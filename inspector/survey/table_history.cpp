#include "inspector/survey/table_history.h"

#include <algorithm>

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
    if (!isOfLatest(header, section)) {
        if (!versions_.empty())
            ++changes_;
        if (versions_.size() == mostVersions)
            forgetOldest();
        versions_.push_back({header.version, header.lastSectionNumber, {}});
    }
    insert(header.sectionNumber, section);
    if (versions_.back().sections.empty())
        versions_.pop_back();
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

void TableHistory::insert(uint8_t number, const SectionBytes& section)
{
    std::map<uint8_t, SeenSection>& sections = versions_.back().sections;
    const auto known = sections.find(number);
    if (known != sections.end()) {
        ++known->second.count;
        return;
    }
    const size_t bytes = section.size() + sectionOverhead;
    while (!memory_->take(bytes)) {
        if (versions_.size() < 2) {
            ++leftOut_;
            return;
        }
        forgetOldest();
    }
    sections.emplace(number, SeenSection{section, 1, {}});
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
    if (last == lastTimes_.end()) {
        lastTimes_.emplace(number, *now);
        return;
    }
    if (const std::optional<uint64_t> gap = msBetween(last->second, *now))
        longestGap_ = std::max(longestGap_.value_or(0), *gap);
    last->second = *now;
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
