#include "receiver/stream/held_table.h"

#include <utility>

namespace receiver {

bool HeldTable::add(const SectionBytes& section)
{
    const SectionHeader header = readSectionHeader(section);
    const bool hasComeRound = sections_.count(header.sectionNumber) != 0;
    if (header.version != version_)
        take();
    version_ = header.version;
    SectionBytes& place = sections_[header.sectionNumber];
    bytes_ += section.size() - place.size();
    place = section;
    return hasComeRound;
}

std::vector<SectionBytes> HeldTable::take()
{
    std::vector<SectionBytes> sections;
    for (auto& entry : std::exchange(sections_, {}))
        sections.push_back(std::move(entry.second));
    bytes_ = 0;
    return sections;
}

}  // namespace receiver
