#include "inspector/survey/carousel_survey.h"

#include <algorithm>

#include "receiver/carousel/dsmcc_sections.h"

namespace inspector {

namespace {

using namespace receiver;

constexpr uint8_t dataMessagesTable = 0x3C;
constexpr uint8_t streamDescriptorTable = 0x3D;
constexpr uint8_t streamDescriptorType = 0x0C;  // of a stream: ISO/IEC 13818-1, table 2-34

}  // namespace

CarouselSurvey::CarouselSurvey(const CarouselLimits& limits) : carousels_(limits, log_)
{
}

void CarouselSurvey::join(const Service& service, const std::vector<StreamDescription>& streams)
{
    carousels_.join(service, streams);
    pids_ = carousels_.pids();
    for (const StreamDescription& stream : streams) {
        if (stream.streamType == streamDescriptorType)
            pids_.insert(stream.pid);
    }
}

void CarouselSurvey::feed(uint16_t pid, const SectionBytes& section)
{
    const uint8_t tableId = section.empty() ? uint8_t(0) : section[0];
    if (tableId == streamDescriptorTable)
        return takeEvent(pid, section);
    if (carousels_.pids().count(pid) == 0)
        return;
    if (tableId == dataMessagesTable)
        tally(pid, section);
    carousels_.feed(pid, section);
}

void CarouselSurvey::tally(uint16_t pid, const SectionBytes& section)
{
    const auto message = openDownloadSection(section.data(), section.size());
    const auto block = message ? readDataBlock(*message) : std::nullopt;
    if (!block)
        return;
    const ModuleKey key(block->downloadId, block->moduleId);
    auto known = tallies_.find(key);
    if (known == tallies_.end()) {
        if (tallies_.size() == mostTallies)
            return;
        known = tallies_.emplace(key, BlockTally()).first;
    }
    BlockTally& counts = known->second;
    if (counts.lastVersion != block->moduleVersion)
        counts.highestNumber = 0;
    ++counts.blocks;
    counts.pid = pid;
    counts.lastVersion = block->moduleVersion;
    counts.highestNumber = std::max(counts.highestNumber, block->blockNumber);
}

void CarouselSurvey::takeEvent(uint16_t pid, const SectionBytes& section)
{
    const auto event = eventSections_[pid].take(section);
    if (!event)
        return;
    if (events_.size() == mostEvents)
        ++eventsLeftOut_;
    else
        events_.push_back({pid, *event});
}

}  // namespace inspector
