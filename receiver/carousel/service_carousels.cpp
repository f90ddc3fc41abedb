#include "receiver/carousel/service_carousels.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "vesta_hbbtv_appman.h"

#include "receiver/text/url.h"

namespace receiver {

using VestaHbbTV::MutexLock;

namespace {

const uint8_t carouselStreamType = 0x0B;  // ISO/IEC 13818-6 type B
const size_t heldSectionOverhead = 128;   // of the set and the heap

bool isCarouselStream(const StreamDescription& stream)
{
    return stream.streamType == carouselStreamType && stream.componentTag;
}

std::string hex(unsigned number)
{
    char text[16];
    std::snprintf(text, sizeof(text), "0x%02x", number);
    return text;
}

}  // namespace

ServiceCarousels::ServiceCarousels(const CarouselLimits& limits, EventLog& log,
                                   std::vector<CarouselPid> alwaysRead)
    : limits_(limits), budget_(std::make_shared<CarouselBudget>(limits)), log_(log),
      alwaysRead_(std::move(alwaysRead)), associations_(std::make_shared<const AssociationTags>())
{
    budget_->makeRoom = [this](size_t bytes) VESTA_REQUIRES(mutex_) { makeRoom(bytes); };
    listenTo(std::vector<StreamDescription>());
}

std::vector<void*> ServiceCarousels::leave()
{
    const MutexLock lock(mutex_);
    service_.reset();
    listenTo(std::vector<StreamDescription>());
    hasEnded_ = false;
    std::vector<void*> ids;
    for (const auto& entry : files_.takePending())
        ids.push_back(entry.first);
    return ids;
}

void ServiceCarousels::join(const Service& service, const std::vector<StreamDescription>& streams)
{
    const MutexLock lock(mutex_);
    service_ = service;
    listenTo(streams);
}

ServiceCarousels::Reception ServiceCarousels::makeReception(uint8_t tag)
{
    Reception reception;
    reception.carousel = std::make_unique<ObjectCarousel>(
        limits_,
        [this, tag](const std::string& message) {
            report("carousel-problem", "carousel " + hex(tag) + ": " + message,
                   {{"component_tag", tag}});
        },
        budget_);
    reception.carousel->mapAssociationTags(associations_);
    reception.tags.insert(tag);
    return reception;
}

std::vector<StreamDescription>
ServiceCarousels::withThoseAlwaysRead(std::vector<StreamDescription> streams) const
{
    for (const CarouselPid& wanted : alwaysRead_) {
        const bool isListed =
            std::any_of(streams.begin(), streams.end(), [&wanted](const auto& stream) {
                return stream.pid == wanted.pid && isCarouselStream(stream);
            });
        if (isListed)
            continue;
        const auto isSamePid = [&wanted](const auto& other) { return other.pid == wanted.pid; };
        streams.erase(std::remove_if(streams.begin(), streams.end(), isSamePid), streams.end());
        StreamDescription stream;
        stream.streamType = carouselStreamType;
        stream.pid = wanted.pid;
        stream.componentTag = wanted.componentTag;
        streams.push_back(std::move(stream));
    }
    return streams;
}

/// Carousels and sections of streams that stay are kept.
void ServiceCarousels::listenTo(const std::vector<StreamDescription>& listed)
{
    std::map<uint8_t, Reception> carousels = std::exchange(carousels_, {});
    std::map<uint16_t, Unclaimed> unclaimed = std::exchange(unclaimed_, {});
    const std::map<uint16_t, uint8_t> tagsBefore = std::exchange(tagsByPid_, {});
    pids_.clear();
    pidsNotRead_.clear();
    AssociationTags associations;
    std::vector<StreamDescription> streams = withThoseAlwaysRead(listed);
    for (StreamDescription& stream : streams) {
        const auto tagBefore = tagsBefore.find(stream.pid);
        if (!stream.componentTag && tagBefore != tagsBefore.end())
            stream.componentTag = tagBefore->second;  // as the carousel itself called it
        if (!stream.componentTag)
            continue;
        for (const uint16_t association : stream.associationTags)
            associations[association] = *stream.componentTag;
    }
    for (const StreamDescription& stream : streams) {
        if (stream.streamType == carouselStreamType)
            listenTo(stream, carousels, unclaimed);
    }
    for (auto& entry : unclaimed)
        takeHeld(entry.second);  // of streams that are not there any more
    for (const auto& [tag, reception] : carousels_) {
        if (reception.ownName)
            associations.emplace(*reception.ownName, tag);
    }
    associations_ = std::make_shared<const AssociationTags>(std::move(associations));
    for (auto& [tag, reception] : carousels_) {
        reception.carousel->mapAssociationTags(associations_);
        followReferences(reception);
    }
    files_.lookAgain();
    ++revision_;
}

void ServiceCarousels::listenTo(const StreamDescription& stream,
                                std::map<uint8_t, Reception>& carousels,
                                std::map<uint16_t, Unclaimed>& unclaimed)
{
    if (!stream.componentTag && !isAlwaysRead(stream.pid)) {
        pidsNotRead_.insert(stream.pid);
        return;
    }
    pids_.insert(stream.pid);
    if (stream.componentTag) {
        const uint8_t tag = *stream.componentTag;
        tagsByPid_[stream.pid] = tag;
        const auto known = carousels.find(tag);
        if (known != carousels.end())
            carousels_.emplace(tag, std::move(known->second));
        else if (stream.carouselId && carousels_.count(tag) == 0)
            carousels_.emplace(tag, makeReception(tag));
        if (carousels_.count(tag) != 0)
            return;
    }
    Unclaimed& place = unclaimed_[stream.pid];
    const auto known = unclaimed.find(stream.pid);
    if (known != unclaimed.end())
        std::swap(place, known->second);
    place.tag = stream.componentTag;
    place.isReferredTo = false;
    for (const auto& entry : carousels_)
        place.isReferredTo =
            place.isReferredTo || (place.tag && entry.second.tags.count(*place.tag) != 0);
}

bool ServiceCarousels::isAlwaysRead(uint16_t pid) const
{
    return std::any_of(alwaysRead_.begin(), alwaysRead_.end(),
                       [pid](const CarouselPid& wanted) { return wanted.pid == pid; });
}

bool ServiceCarousels::isComponentTag(uint16_t tag) const
{
    const bool isKnown = std::any_of(tagsByPid_.begin(), tagsByPid_.end(),
                                     [tag](const auto& entry) { return entry.second == tag; });
    return isKnown || (tag <= UINT8_MAX && isWaitedFor(static_cast<uint8_t>(tag)));
}

void ServiceCarousels::feed(uint16_t pid, const SectionBytes& section)
{
    const MutexLock lock(mutex_);
    if (budget_->memory.available() < limits_.memory / 4)
        dropHeld();
    hold(pid, section);
    const auto tag = tagsByPid_.find(pid);
    if (tag == tagsByPid_.end())
        return;
    for (auto& [carouselTag, reception] : carousels_) {
        if (reception.tags.count(tag->second) == 0)
            continue;
        reception.carousel->feedSection(tag->second, section.data(), section.size());
        followReferences(reception);
        reportNews(carouselTag, reception);
    }
}

/// Looks whether a carousel begins on a stream that is nobody's yet, and else keeps the section.
void ServiceCarousels::hold(uint16_t pid, const SectionBytes& section)
{
    const auto stream = unclaimed_.find(pid);
    if (stream == unclaimed_.end())
        return;
    const auto message = openDownloadSection(section.data(), section.size());
    if (!message)
        return;
    if (message->kind != DownloadMessageKind::ServerInitiate)
        return keep(stream->second, section);
    const std::optional<ServerInitiate> gateway = readServerInitiate(*message);
    if (gateway && (stream->second.tag || gateway->serviceGateway.isResolvable()))
        beginCarousel(pid, gateway->serviceGateway, section);
}

void ServiceCarousels::keep(Unclaimed& stream, const SectionBytes& section)
{
    const size_t bytes = section.size() + heldSectionOverhead;
    if (stream.isReferredTo || stream.sections.count(section) != 0)
        return;
    if (heldBytes_ + bytes > limits_.memory / 4 || !budget_->memory.take(bytes)) {
        ++sectionsDropped_;
        return;
    }
    heldBytes_ += bytes;
    stream.sections.insert(section);
}

void ServiceCarousels::beginCarousel(uint16_t pid, const ObjectReference& gateway,
                                     const SectionBytes& section)
{
    Unclaimed stream = std::move(unclaimed_.at(pid));
    unclaimed_.erase(pid);
    const uint8_t tag = stream.tag.value_or(static_cast<uint8_t>(gateway.associationTag));
    tagsByPid_[pid] = tag;
    // No table tells how the carousel calls the stream: as its gateway does.
    const bool isCalledOtherwise = isAlwaysRead(pid) && tag != gateway.associationTag &&
                                   !isComponentTag(gateway.associationTag);
    auto place = carousels_.find(tag);
    if (place == carousels_.end())
        place = carousels_.emplace(tag, makeReception(tag)).first;
    ObjectCarousel& carousel = *place->second.carousel;
    if (isCalledOtherwise) {
        place->second.ownName = gateway.associationTag;
        AssociationTags associations = *associations_;
        associations[gateway.associationTag] = tag;
        associations_ = std::make_shared<const AssociationTags>(std::move(associations));
        for (auto& entry : carousels_)
            entry.second.carousel->mapAssociationTags(associations_);
    }
    carousel.feedSection(tag, section.data(), section.size());
    for (const SectionBytes& held : takeHeld(stream))
        carousel.feedSection(tag, held.data(), held.size());
    followReferences(place->second);
    reportNews(tag, place->second);
}

/// Feeds a carousel from the streams that it refers to, beginning with what they carried before.
void ServiceCarousels::followReferences(Reception& reception)
{
    for (auto wanted = reception.carousel->takeNewReferences(); !wanted.empty();
         wanted = reception.carousel->takeNewReferences()) {
        for (const uint16_t tag : wanted) {
            const auto componentTag = static_cast<uint8_t>(tag);
            if (componentTag != tag || !reception.tags.insert(componentTag).second)
                continue;  // no stream of the service, or one that is followed
            for (auto& entry : unclaimed_) {
                if (entry.second.tag != tag)
                    continue;
                entry.second.isReferredTo = true;
                for (const SectionBytes& held : takeHeld(entry.second))
                    reception.carousel->feedSection(tag, held.data(), held.size());
            }
        }
    }
}

/// The stream's sections, which take no memory of the carousels any more.
std::set<SectionBytes> ServiceCarousels::takeHeld(Unclaimed& stream)
{
    size_t bytes = 0;
    for (const SectionBytes& section : stream.sections)
        bytes += section.size() + heldSectionOverhead;
    heldBytes_ -= bytes;
    budget_->memory.giveBack(bytes);
    return std::exchange(stream.sections, {});
}

/// What may never be announced gives way to modules, and so does what may belong to no carousel.
void ServiceCarousels::makeRoom(size_t bytes)
{
    for (auto& entry : carousels_) {
        if (budget_->memory.available() < bytes)
            entry.second.carousel->dropEarlyBlocks();
    }
    if (budget_->memory.available() < bytes)
        dropHeld();
}

void ServiceCarousels::dropHeld()
{
    for (auto& entry : unclaimed_)
        sectionsDropped_ += takeHeld(entry.second).size();
}

void ServiceCarousels::reportNews(uint8_t tag, Reception& reception)
{
    if (reception.reportedRevision == reception.carousel->revision())
        return;
    reception.reportedRevision = reception.carousel->revision();
    files_.lookAgain();
    ++revision_;
    const size_t complete = reception.carousel->modulesComplete();
    const size_t known = reception.carousel->modulesKnown();
    if (complete == reception.reportedModules)
        return;
    reception.reportedModules = complete;
    report("carousel",
           "carousel " + hex(tag) + ": " + std::to_string(complete) + " of " +
               std::to_string(known) + " modules",
           {{"component_tag", tag}, {"modules_complete", complete}, {"modules_known", known}});
}

std::vector<ServiceCarousels::Answer> ServiceCarousels::takeAnswers(size_t most)
{
    const MutexLock lock(mutex_);
    std::vector<Answer> answers;
    files_.lookForPending(most,
                          [this, &answers](void* id, const FileRequests::PendingFile& file)
                              VESTA_REQUIRES(mutex_) { return answerIfThere(id, file, answers); });
    return answers;
}

bool ServiceCarousels::answerIfThere(void* id, const FileRequests::PendingFile& file,
                                     std::vector<Answer>& answers)
{
    ++lookups_;
    const auto [lookup, path] = find(file.path);
    if (lookup.result == Lookup::Result::Pending)
        return false;
    const bool ready = lookup.result == Lookup::Result::Ready;
    if (ready)
        files_.open(id, path, lookup.file);
    report(ready ? "file-ready" : "file-error",
           file.name + ": " + (ready ? "it has come" : lookup.reason), {{"path", file.name}});
    answers.push_back({id, ready});
    return true;
}

uint64_t ServiceCarousels::lookups() const
{
    const MutexLock lock(mutex_);
    return lookups_;
}

std::vector<void*> ServiceCarousels::giveUp()
{
    const MutexLock lock(mutex_);
    std::vector<void*> ids;
    for (const auto& [id, file] : files_.takePending()) {
        report("file-missing", file.name + ": the stream ended before it came",
               {{"path", file.name}});
        ids.push_back(id);
    }
    hasEnded_ = true;
    return ids;
}

const ObjectCarousel* ServiceCarousels::carouselOf(uint8_t componentTag) const
{
    const auto found = carousels_.find(componentTag);
    return found == carousels_.end() ? nullptr : found->second.carousel.get();
}

bool ServiceCarousels::isOfService(const CarouselPath& path) const
{
    return service_ && service_->programNumber == path.serviceId &&
           (!path.transportStreamId || *path.transportStreamId == service_->transportStreamId) &&
           (path.originalNetworkId == 0 ||  // it was not known when the table came
            path.originalNetworkId == service_->originalNetworkId.value_or(path.originalNetworkId));
}

/// @param result, reason say why there is none, and whether one may come
const ObjectCarousel* ServiceCarousels::carouselOf(const CarouselPath& path, Lookup::Result& result,
                                                   std::string& reason) const
{
    const bool isHere = isOfService(path);
    const ObjectCarousel* const carousel = isHere ? carouselOf(path.componentTag) : nullptr;
    if (carousel)
        return carousel;
    const bool mayCome = isHere && isWaitedFor(path.componentTag);
    result = mayCome ? Lookup::Result::Pending : Lookup::Result::Error;
    if (mayCome)
        reason = "the carousel with component tag " + hex(path.componentTag) + " has not begun";
    else if (isHere)
        reason = "no carousel with component tag " + hex(path.componentTag);
    else
        reason = "not a carousel of the tuned service";
    return nullptr;
}

/// Whether the service has a stream on which this carousel may begin.
bool ServiceCarousels::isWaitedFor(uint8_t componentTag) const
{
    return std::any_of(unclaimed_.begin(), unclaimed_.end(), [componentTag](const auto& entry) {
        return entry.second.tag == componentTag;
    });
}

ServiceCarousels::Search ServiceCarousels::find(const CarouselPath& path) const
{
    Search search = {{}, path.path};
    const ObjectCarousel* const carousel =
        carouselOf(path, search.lookup.result, search.lookup.reason);
    if (!carousel)
        return search;
    search.lookup = carousel->find(search.path);
    // A "?" that was escaped belongs to a name and looks like the one before a query by now.
    const std::string beforeQuery = withoutQuery(path.path);
    if (search.lookup.result == Lookup::Result::Error && beforeQuery != path.path)
        search = {carousel->find(beforeQuery), beforeQuery};
    return search;
}

StreamEventLookup ServiceCarousels::findStreamEvents(const CarouselPath& path) const
{
    const MutexLock lock(mutex_);
    StreamEventLookup lookup;
    const ObjectCarousel* const carousel = carouselOf(path, lookup.result, lookup.reason);
    return carousel ? carousel->findStreamEvents(path.path) : lookup;
}

uint64_t ServiceCarousels::revision() const
{
    const MutexLock lock(mutex_);
    return revision_;
}

unsigned int ServiceCarousels::getFile(const std::string& text, void* id)
{
    const MutexLock lock(mutex_);
    const std::optional<CarouselPath> path = parseCarouselPath(text);
    Search search;
    if (path)
        search = find(*path);
    else
        search.lookup.reason = "not a carousel path";
    Lookup& lookup = search.lookup;
    if (lookup.result == Lookup::Result::Pending && hasEnded_) {
        lookup.result = Lookup::Result::Error;
        lookup.reason += ", and the stream has ended";
    }
    files_.forget(id);  // a browser may use an id again
    const EventLog::Details details = {{"path", text}};
    switch (lookup.result) {
    case Lookup::Result::Ready:
        files_.open(id, search.path, lookup.file);
        report("file-ready", text + ": ready", details);
        return DSMCC_OK;
    case Lookup::Result::Pending:
        files_.wait(id, {*path, text});
        report("file-pending", text + ": pending, " + lookup.reason, details);
        return DSMCC_PENDING;
    case Lookup::Result::Error:
        break;
    }
    report("file-error", text + ": " + lookup.reason, details);
    return DSMCC_ERROR;
}

unsigned int ServiceCarousels::mimeType(void* id, std::string& type) const
{
    const MutexLock lock(mutex_);
    return files_.mimeType(id, type);
}

unsigned int ServiceCarousels::read(void* id, char** bytes, unsigned int* count)
{
    const MutexLock lock(mutex_);
    return files_.read(id, bytes, count);
}

unsigned int ServiceCarousels::close(void* id)
{
    const MutexLock lock(mutex_);
    return files_.forget(id) ? DSMCC_OK : DSMCC_UNKNOWN_ID;
}

std::vector<std::string> ServiceCarousels::pendingFiles() const
{
    const MutexLock lock(mutex_);
    return files_.pendingNames();
}

std::vector<ServiceCarousels::Status> ServiceCarousels::status() const
{
    const MutexLock lock(mutex_);
    std::vector<Status> list;
    for (const auto& [tag, reception] : carousels_) {
        const ObjectCarousel& carousel = *reception.carousel;
        list.push_back(
            {tag, carousel.progress(), carousel.list(), carousel.carouselId().has_value()});
    }
    return list;
}

void ServiceCarousels::visit(const CarouselVisitor& visitor) const
{
    const MutexLock lock(mutex_);
    for (const auto& [tag, reception] : carousels_)
        visitor(tag, *reception.carousel);
}

size_t ServiceCarousels::sectionsDropped() const
{
    const MutexLock lock(mutex_);
    return sectionsDropped_;
}

std::vector<uint16_t> ServiceCarousels::pidsWithoutCarousel() const
{
    const MutexLock lock(mutex_);
    std::vector<uint16_t> pids;
    for (const auto& [pid, stream] : unclaimed_) {
        if (!stream.isReferredTo)
            pids.push_back(pid);
    }
    return pids;
}

bool ServiceCarousels::hasFile(const std::string& path) const
{
    const MutexLock lock(mutex_);
    return std::any_of(carousels_.begin(), carousels_.end(), [&path](const auto& entry) {
        return entry.second.carousel->find(path).result == Lookup::Result::Ready;
    });
}

void ServiceCarousels::report(const std::string& event, const std::string& text,
                              const EventLog::Details& details)
{
    const bool isFromAir = event.compare(0, 8, "carousel") == 0;
    log_.report(isFromAir ? Source::Air : Source::Platform, event, text, details);
}

}  // namespace receiver
