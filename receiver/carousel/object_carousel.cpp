#include "receiver/carousel/object_carousel.h"

#include <algorithm>
#include <cstring>

namespace receiver {

using VestaHbbTV::ByteReader;

namespace {

constexpr size_t earlyBlockOverhead = 128;  // of the map and the heap

// Bit 0 is toggled and the upper half counted up when a DII changes: ETSI TR 101 202, 4.7.9.
uint16_t identificationOf(uint32_t transactionId)
{
    return static_cast<uint16_t>(transactionId & 0xFFFE);
}

uint16_t streamOf(const AssociationTags& streamTags, uint16_t associationTag)
{
    const auto found = streamTags.find(associationTag);
    return found == streamTags.end() ? associationTag : found->second;
}

bool isSameReference(const ObjectReference& left, const ObjectReference& right)
{
    return left.unresolvableReason == right.unresolvableReason &&
           left.associationTag == right.associationTag &&
           left.transactionId == right.transactionId && left.carouselId == right.carouselId &&
           left.moduleId == right.moduleId && left.objectKey == right.objectKey;
}

}  // namespace

ObjectCarousel::ObjectCarousel(const CarouselLimits& limits, MessageHandler handler,
                               std::shared_ptr<CarouselBudget> budget)
    : limits_(limits), handler_(std::move(handler)),
      budget_(budget ? std::move(budget) : std::make_shared<CarouselBudget>(limits)),
      streamTags_(std::make_shared<const AssociationTags>())
{
}

ObjectCarousel::~ObjectCarousel()
{
    forgetIndications();
    forgetEarlyBlocks();
}

bool ObjectCarousel::feedSection(uint16_t associationTag, const unsigned char* section, size_t size)
{
    const uint16_t tag = streamOf(associationTag);
    fedTags_.insert(tag);
    const std::optional<DownloadMessage> message = openDownloadSection(section, size);
    if (!message)
        return false;
    switch (message->kind) {
    case DownloadMessageKind::ServerInitiate:
        return feedServerInitiate(tag, *message);
    case DownloadMessageKind::InfoIndication:
        return feedInfoIndication({tag, identificationOf(message->id)}, *message,
                                  {section, section + size});
    case DownloadMessageKind::DataBlock:
        return feedDataBlock(tag, *message);
    }
    return false;
}

void ObjectCarousel::mapAssociationTags(std::shared_ptr<const AssociationTags> streamTags)
{
    const auto before = std::exchange(streamTags_, std::move(streamTags));
    if (*before == *streamTags_)
        return;
    ++revision_;
    AssociationTags either = *streamTags_;
    either.insert(before->begin(), before->end());
    for (const auto& entry : either) {
        const uint16_t associationTag = entry.first;
        if (references_[associationTag] &&
            receiver::streamOf(*before, associationTag) != streamOf(associationTag))
            newReferences_.push_back(associationTag);  // it leads elsewhere now
    }
}

uint16_t ObjectCarousel::streamOf(uint16_t associationTag) const
{
    return receiver::streamOf(*streamTags_, associationTag);
}

bool ObjectCarousel::feedServerInitiate(uint16_t tag, const DownloadMessage& message)
{
    const std::optional<ServerInitiate> news = readServerInitiate(message);
    if (!news)
        return false;
    const bool isOtherCarousel = gatewayTag_ && *gatewayTag_ != tag;
    if (isOtherCarousel || (gateway_ && isSameReference(*gateway_, news->serviceGateway)))
        return true;
    if (gateway_ && gateway_->carouselId != news->serviceGateway.carouselId)
        clear();  // nothing of the old carousel can be reached any more
    fedTags_.insert(tag);
    gatewayTag_ = tag;
    gateway_ = news->serviceGateway;
    ++revision_;
    noteReference(*gateway_);
    if (!gateway_->isResolvable())
        report("carousel refused: of its service gateway, " + gateway_->unresolvableReason);
    return true;
}

bool ObjectCarousel::feedInfoIndication(const IndicationKey& key, const DownloadMessage& message,
                                        std::vector<unsigned char> section)
{
    const auto known = indications_.find(key);
    if (known != indications_.end() && known->second.section == section)
        return true;
    const std::optional<InfoIndication> news = readInfoIndication(message);
    if (!news)
        return false;
    if (admits(key, *news)) {
        replaceIndication(key, *news, std::move(section));
    } else if (!reportedTooManyModules_) {
        reportedTooManyModules_ = true;
        report("carousel " + std::to_string(news->downloadId) + ": modules refused, more than " +
               std::to_string(limits_.modules) + " modules or " +
               std::to_string(limits_.infoIndications) + " lists of modules announced");
    }
    return true;
}

bool ObjectCarousel::admits(const IndicationKey& key, const InfoIndication& indication) const
{
    const auto known = indications_.find(key);
    const bool isNew = known == indications_.end();
    const size_t own = isNew ? 0 : known->second.modules.size();
    return (!isNew || budget_->infoIndications.available() > 0) &&
           indication.modules.size() <= budget_->modules.available() + own;
}

// Modules that stay as they were keep what they have received.
void ObjectCarousel::replaceIndication(const IndicationKey& key, const InfoIndication& news,
                                       std::vector<unsigned char> section)
{
    const auto [place, isNew] = indications_.try_emplace(key);
    if (isNew)
        budget_->infoIndications.take(1);
    Indication& indication = place->second;
    const bool sameDownload = indication.downloadId == news.downloadId;
    auto old = std::exchange(indication.modules, {});
    countModules(old, false);
    std::vector<const ModuleAnnouncement*> changed;
    for (const ModuleAnnouncement& announcement : news.modules) {
        const auto known = old.find(announcement.moduleId);
        if (known != old.end() && known->second && sameDownload &&
            known->second->blockSize() == news.blockSize &&
            known->second->announcement() == announcement)
            indication.modules.emplace(announcement.moduleId, std::move(known->second));
        else
            changed.push_back(&announcement);
    }
    old.clear();  // before new modules may need the memory
    for (const ModuleAnnouncement* announcement : changed) {
        if (indication.modules.count(announcement->moduleId) == 0)
            indication.modules.emplace(announcement->moduleId, newModule(*announcement, news));
    }
    countModules(indication.modules, true);
    indication.downloadId = news.downloadId;
    indication.section = std::move(section);
    ++revision_;
    useEarlyBlocks(key, indication);
}

// Modules come and go with their list.
void ObjectCarousel::countModules(const Modules& modules, bool come)
{
    size_t complete = 0;
    for (const auto& [id, module] : modules)
        complete += module->state() == CarouselModule::State::Complete ? 1U : 0U;
    if (come) {
        budget_->modules.take(modules.size());
        moduleCount_ += modules.size();
        completeCount_ += complete;
    } else {
        budget_->modules.giveBack(modules.size());
        moduleCount_ -= modules.size();
        completeCount_ -= complete;
    }
}

void ObjectCarousel::forgetIndications()
{
    for (const auto& [key, indication] : indications_)
        countModules(indication.modules, false);
    budget_->infoIndications.giveBack(indications_.size());
    indications_.clear();
}

std::unique_ptr<CarouselModule> ObjectCarousel::newModule(const ModuleAnnouncement& announcement,
                                                          const InfoIndication& indication)
{
    auto module = std::make_unique<CarouselModule>(announcement, indication.downloadId,
                                                   indication.blockSize, limits_, budget_->memory);
    if (announcement.associationTag)
        noteReference(*announcement.associationTag);
    reportProblem(*module);
    return module;
}

bool ObjectCarousel::feedDataBlock(uint16_t tag, const DownloadMessage& message)
{
    const std::optional<DataBlock> block = readDataBlock(message);
    if (!block)
        return false;
    bool isAnnounced = false;
    for (auto& [key, indication] : indications_) {
        if (indication.downloadId != block->downloadId)
            continue;
        const auto found = indication.modules.find(block->moduleId);
        if (found == indication.modules.end() || !carriesBlocks(tag, key, *found->second))
            continue;
        isAnnounced = true;
        addBlock(*found->second, *block);
    }
    if (!isAnnounced)
        keepEarlyBlock(tag, *block);
    return true;
}

void ObjectCarousel::addBlock(CarouselModule& module, const DataBlock& block)
{
    // What may never be announced gives way to what is.
    const ModuleAnnouncement& announcement = module.announcement();
    const size_t needed = 2 * size_t(announcement.size) + announcement.originalSize;
    const bool begins =
        module.state() == CarouselModule::State::Incomplete && module.blocksReceived() == 0;
    if (begins && budget_->memory.available() < needed) {
        dropEarlyBlocks();
        if (budget_->makeRoom)
            budget_->makeRoom(needed);
    }
    if (module.addBlock(block))
        moduleChanged(module);
}

void ObjectCarousel::keepEarlyBlock(uint16_t tag, const DataBlock& block)
{
    const EarlyBlockKey key(block.downloadId, block.moduleId, tag, block.moduleVersion,
                            block.blockNumber);
    const size_t bytes = block.data.remaining() + earlyBlockOverhead;
    if (block.data.empty() || earlyBlocks_.count(key) != 0)
        return;
    if (budget_->earlyBlocks.available() < bytes || !budget_->memory.take(bytes)) {
        ++blocksDropped_;
        return;
    }
    budget_->earlyBlocks.take(bytes);
    earlyBytes_ += bytes;
    const unsigned char* const data = block.data.data();
    earlyBlocks_.emplace(key, std::vector<unsigned char>(data, data + block.data.remaining()));
}

// Of the modules that a list announces, in the order of the modules.
void ObjectCarousel::useEarlyBlocks(const IndicationKey& key, const Indication& indication)
{
    for (const auto& [id, module] : indication.modules) {
        auto entry = earlyBlocks_.lower_bound({indication.downloadId, id, 0, 0, 0});
        std::vector<std::pair<EarlyBlockKey, std::vector<unsigned char>>> blocks;
        while (entry != earlyBlocks_.end() && std::get<0>(entry->first) == indication.downloadId &&
               std::get<1>(entry->first) == id) {
            const size_t bytes = entry->second.size() + earlyBlockOverhead;
            earlyBytes_ -= bytes;
            budget_->earlyBlocks.giveBack(bytes);
            budget_->memory.giveBack(bytes);
            blocks.emplace_back(entry->first, std::move(entry->second));
            entry = earlyBlocks_.erase(entry);
        }
        for (const auto& [place, bytes] : blocks) {
            DataBlock block;
            block.downloadId = indication.downloadId;
            block.moduleId = id;
            block.moduleVersion = std::get<3>(place);
            block.blockNumber = std::get<4>(place);
            block.data = ByteReader(bytes.data(), bytes.size());
            if (carriesBlocks(std::get<2>(place), key, *module))
                addBlock(*module, block);
        }
    }
}

void ObjectCarousel::dropEarlyBlocks()
{
    blocksDropped_ += earlyBlocks_.size();
    forgetEarlyBlocks();
}

void ObjectCarousel::forgetEarlyBlocks()
{
    budget_->earlyBlocks.giveBack(earlyBytes_);
    budget_->memory.giveBack(earlyBytes_);
    earlyBytes_ = 0;
    earlyBlocks_.clear();
}

void ObjectCarousel::moduleChanged(const CarouselModule& module)
{
    ++revision_;
    if (module.state() == CarouselModule::State::Complete) {
        ++completeCount_;
        noteReferences(module);
    }
    reportProblem(module);
}

// Module infos name the stream of the blocks; without them it is that of the DII.
bool ObjectCarousel::carriesBlocks(uint16_t tag, const IndicationKey& key,
                                   const CarouselModule& module) const
{
    const std::optional<uint16_t> named = module.announcement().associationTag;
    return tag == (named ? streamOf(*named) : key.first);
}

void ObjectCarousel::reportProblem(const CarouselModule& module)
{
    if (module.problem().empty())
        return;
    const bool refused = module.state() == CarouselModule::State::Refused;
    report("carousel " + std::to_string(module.downloadId()) + ", module " +
           std::to_string(module.announcement().moduleId) + " version " +
           std::to_string(module.announcement().version) +
           (refused ? " refused: " : " is damaged: ") + module.problem());
}

void ObjectCarousel::report(const std::string& message)
{
    if (handler_)
        handler_(message);
}

std::optional<uint32_t> ObjectCarousel::carouselId() const
{
    return gateway_ ? std::optional<uint32_t>(gateway_->carouselId) : std::nullopt;
}

CarouselProgress ObjectCarousel::progress() const
{
    CarouselProgress progress;
    progress.modulesKnown = moduleCount_;
    progress.blocksDropped = blocksDropped_;
    progress.memoryUsed = budget_->memory.used();
    for (const auto& [key, indication] : indications_) {
        for (const auto& [id, module] : indication.modules) {
            if (module->state() == CarouselModule::State::Refused) {
                ++progress.modulesRefused;
                continue;
            }
            if (module->state() == CarouselModule::State::Complete)
                ++progress.modulesComplete;
            progress.blocksNeeded += module->blocksNeeded();
            progress.blocksReceived += module->blocksReceived();
        }
    }
    return progress;
}

void ObjectCarousel::clear()
{
    fedTags_.clear();
    gatewayTag_.reset();
    gateway_.reset();
    references_.reset();
    newReferences_.clear();
    forgetIndications();
    forgetEarlyBlocks();
    reportedTooManyModules_ = false;
    ++revision_;
}

}  // namespace receiver
