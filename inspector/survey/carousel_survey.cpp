#include "inspector/survey/carousel_survey.h"

#include <algorithm>

#include "receiver/carousel/dsmcc_sections.h"

namespace inspector {

namespace {

using namespace receiver;

constexpr uint8_t dataMessagesTable = 0x3C;
constexpr uint8_t streamDescriptorTable = 0x3D;
constexpr uint8_t streamDescriptorType = 0x0C;  // of a stream: ISO/IEC 13818-1, table 2-34

/// What was counted of another version is of no use.
void beginVersion(CarouselSurvey::BlockTally& counts, uint8_t version)
{
    CarouselSurvey::BlockTally fresh;
    fresh.version = version;
    fresh.allBlocks = counts.allBlocks;
    fresh.pid = counts.pid;
    counts = fresh;
}

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
    else
        tallyList(pid, section);
    carousels_.feed(pid, section);
}

void CarouselSurvey::tally(uint16_t pid, const SectionBytes& section)
{
    const auto message = openDownloadSection(section.data(), section.size());
    const auto block = message ? readDataBlock(*message) : std::nullopt;
    if (!block)
        return;
    BlockTally* const known = tallyOf({block->downloadId, block->moduleId});
    if (!known)
        return;
    BlockTally& counts = *known;
    ++counts.allBlocks;
    counts.pid = pid;
    if (counts.version != block->moduleVersion && !counts.isAnnounced)
        beginVersion(counts, block->moduleVersion);
    if (counts.version == block->moduleVersion) {
        ++counts.blocks;
        counts.highestNumber = std::max(counts.highestNumber, block->blockNumber);
    } else {
        ++counts.otherBlocks;
        counts.otherVersion = block->moduleVersion;
    }
}

void CarouselSurvey::tallyList(uint16_t pid, const SectionBytes& section)
{
    const auto message = openDownloadSection(section.data(), section.size());
    if (!message || message->kind != DownloadMessageKind::InfoIndication)
        return;
    ++lists_;
    const std::pair<uint16_t, uint32_t> key(pid, message->id);
    const auto known = lastLists_.find(key);
    if (known != lastLists_.end() && known->second == section)
        return;
    const auto list = readInfoIndication(*message);
    if (!list)
        return;
    if (known == lastLists_.end() && lastLists_.size() == mostLists)
        lastLists_.clear();
    lastLists_[key] = section;
    for (const ModuleAnnouncement& module : list->modules)
        announce(list->downloadId, module);
}

void CarouselSurvey::announce(uint32_t downloadId, const ModuleAnnouncement& module)
{
    BlockTally* const counts = tallyOf({downloadId, module.moduleId});
    if (!counts)
        return;
    if (counts->version != module.version)
        beginVersion(*counts, module.version);
    if (!counts->isAnnounced)
        counts->announcedAt = lists_;
    counts->isAnnounced = true;
}

/// @return null where there are too many
CarouselSurvey::BlockTally* CarouselSurvey::tallyOf(const ModuleKey& key)
{
    const auto known = tallies_.find(key);
    if (known != tallies_.end())
        return &known->second;
    return tallies_.size() == mostTallies ? nullptr : &tallies_[key];
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
