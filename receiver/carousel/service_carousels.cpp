#include "receiver/carousel/service_carousels.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "vesta_hbbtv_appman.h"

#include "receiver/browser/page.h"

namespace receiver {

namespace {

const uint8_t carouselStreamType = 0x0B;  // ISO/IEC 13818-6 type B
const size_t readBytes = size_t(1) << 20;

std::string hex(unsigned number)
{
    char text[16];
    std::snprintf(text, sizeof(text), "0x%02x", number);
    return text;
}

}  // namespace

ServiceCarousels::ServiceCarousels(const CarouselLimits& limits, EventLog& log)
    : limits_(limits), budget_(std::make_shared<CarouselBudget>(limits)), log_(log)
{
}

std::vector<void*> ServiceCarousels::leave()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    service_.reset();
    tagsByPid_.clear();
    carousels_.clear();
    pids_.clear();
    hasEnded_ = false;
    std::vector<void*> ids;
    for (const auto& entry : pending_)
        ids.push_back(entry.first);
    pending_.clear();
    return ids;
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
    reception.tags.insert(tag);
    return reception;
}

void ServiceCarousels::join(const Service& service, const std::vector<StreamDescription>& streams)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    service_ = service;
    tagsByPid_.clear();
    std::map<uint8_t, Reception> before;
    before.swap(carousels_);
    for (const StreamDescription& stream : streams) {
        if (stream.streamType != carouselStreamType || !stream.componentTag)
            continue;
        const uint8_t tag = *stream.componentTag;
        tagsByPid_[stream.pid] = tag;
        if (!stream.carouselId)
            continue;
        const auto known = before.find(tag);
        carousels_.emplace(tag,
                           known == before.end() ? makeReception(tag) : std::move(known->second));
    }
    for (const StreamDescription& stream : streams) {
        for (const uint16_t association : stream.associationTags) {
            for (const auto& entry : carousels_) {
                if (stream.componentTag)
                    entry.second.carousel->mapAssociationTag(association, *stream.componentTag);
            }
        }
    }
    updatePids();
    toLookFor_ = pending_.size();
}

void ServiceCarousels::updatePids()
{
    pids_.clear();
    for (const auto& [pid, tag] : tagsByPid_) {
        for (const auto& entry : carousels_) {
            if (entry.second.tags.count(tag) != 0)
                pids_.insert(pid);
        }
    }
}

void ServiceCarousels::feed(uint16_t pid, const SectionBytes& section)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto tag = tagsByPid_.find(pid);
    if (tag == tagsByPid_.end())
        return;
    for (auto& [carouselTag, reception] : carousels_) {
        if (reception.tags.count(tag->second) == 0)
            continue;
        reception.carousel->feedSection(tag->second, section.data(), section.size());
        bool hasNewStreams = false;
        for (const uint16_t wanted : reception.carousel->takeNewReferences())
            hasNewStreams = reception.tags.insert(wanted).second || hasNewStreams;
        if (hasNewStreams)
            updatePids();
        reportNews(carouselTag, reception);
    }
}

void ServiceCarousels::reportNews(uint8_t tag, Reception& reception)
{
    if (reception.toldRevision == reception.carousel->revision())
        return;
    reception.toldRevision = reception.carousel->revision();
    toLookFor_ = pending_.size();
    const size_t complete = reception.carousel->modulesComplete();
    const size_t known = reception.carousel->modulesKnown();
    if (complete == reception.toldModules)
        return;
    reception.toldModules = complete;
    report("carousel",
           "carousel " + hex(tag) + ": " + std::to_string(complete) + " of " +
               std::to_string(known) + " modules",
           {{"component_tag", tag}, {"modules_complete", complete}, {"modules_known", known}});
}

std::vector<ServiceCarousels::Answer> ServiceCarousels::takeAnswers(size_t most)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<Answer> answers;
    toLookFor_ = std::min(toLookFor_, pending_.size());
    const bool isForAll = toLookFor_ <= most && toLookFor_ == pending_.size();
    auto entry = isForAll ? pending_.begin() : pending_.upper_bound(lastLookedFor_);
    for (size_t count = std::min(toLookFor_, most); count > 0; --count) {
        if (entry == pending_.end())
            entry = pending_.begin();
        lastLookedFor_ = entry->first;
        const bool isAnswered = answerIfThere(entry->first, entry->second, answers);
        entry = isAnswered ? pending_.erase(entry) : std::next(entry);
        --toLookFor_;
    }
    return answers;
}

bool ServiceCarousels::answerIfThere(void* id, const PendingFile& file,
                                     std::vector<Answer>& answers)
{
    ++lookups_;
    const auto [lookup, path] = find(file.path);
    if (lookup.result == Lookup::Result::Pending)
        return false;
    const bool ready = lookup.result == Lookup::Result::Ready;
    if (ready)
        open_[id] = {path, lookup.file, 0};
    report(ready ? "file-ready" : "file-error",
           file.name + ": " + (ready ? "it has come" : lookup.reason), {{"path", file.name}});
    answers.push_back({id, ready});
    return true;
}

uint64_t ServiceCarousels::lookups() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return lookups_;
}

std::vector<void*> ServiceCarousels::giveUp()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<void*> ids;
    for (const auto& [id, file] : pending_) {
        report("file-missing", file.name + ": the stream ended before it came",
               {{"path", file.name}});
        ids.push_back(id);
    }
    pending_.clear();
    hasEnded_ = true;
    return ids;
}

const ObjectCarousel* ServiceCarousels::carouselOf(uint8_t componentTag) const
{
    const auto found = carousels_.find(componentTag);
    return found == carousels_.end() ? nullptr : found->second.carousel.get();
}

ServiceCarousels::Search ServiceCarousels::find(const CarouselPath& path) const
{
    Search search = {{}, path.path};
    const bool isOfService =
        service_ && service_->programNumber == path.serviceId &&
        (!path.transportStreamId || *path.transportStreamId == service_->transportStreamId) &&
        (path.originalNetworkId == 0 ||  // it was not known when the table came
         path.originalNetworkId == service_->originalNetworkId.value_or(path.originalNetworkId));
    const ObjectCarousel* const carousel = isOfService ? carouselOf(path.componentTag) : nullptr;
    if (!carousel) {
        search.lookup.reason = isOfService
                                   ? "no carousel with component tag " + hex(path.componentTag)
                                   : "not a carousel of the tuned service";
        return search;
    }
    search.lookup = carousel->find(search.path);
    // A "?" that was escaped belongs to a name and looks like the one before a query by now.
    const std::string beforeQuery = withoutQuery(path.path);
    if (search.lookup.result == Lookup::Result::Error && beforeQuery != path.path)
        search = {carousel->find(beforeQuery), beforeQuery};
    return search;
}

unsigned int ServiceCarousels::getFile(const std::string& text, void* id)
{
    const std::lock_guard<std::mutex> lock(mutex_);
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
    forget(id);  // a browser may use an id again
    const EventLog::Details details = {{"path", text}};
    switch (lookup.result) {
    case Lookup::Result::Ready:
        open_[id] = {search.path, lookup.file, 0};
        report("file-ready", text + ": ready", details);
        return DSMCC_OK;
    case Lookup::Result::Pending:
        pending_[id] = {*path, text};
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
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto file = open_.find(id);
    if (file == open_.end())
        return DSMCC_UNKNOWN_ID;
    type = file->second.view.contentType.empty() ? mimeTypeOf(file->second.path)
                                                 : file->second.view.contentType;
    return DSMCC_OK;
}

unsigned int ServiceCarousels::read(void* id, char** bytes, unsigned int* count)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto file = open_.find(id);
    if (file == open_.end())
        return DSMCC_UNKNOWN_ID;
    const FileView& view = file->second.view;
    size_t& position = file->second.position;
    const size_t length = std::min(readBytes, view.size - position);
    // The interface has no const; the application manager only reads.
    *bytes =
        length ? const_cast<char*>(reinterpret_cast<const char*>(view.data + position)) : nullptr;
    *count = static_cast<unsigned int>(length);
    position += length;
    return DSMCC_OK;
}

unsigned int ServiceCarousels::close(void* id)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return forget(id) ? DSMCC_OK : DSMCC_UNKNOWN_ID;
}

bool ServiceCarousels::forget(void* id)
{
    const bool wasPending = pending_.erase(id) != 0;
    return open_.erase(id) != 0 || wasPending;
}

std::vector<ServiceCarousels::Status> ServiceCarousels::status() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<Status> list;
    for (const auto& [tag, reception] : carousels_) {
        const ObjectCarousel& carousel = *reception.carousel;
        list.push_back({tag, carousel.progress(), carousel.files(), carousel.streamEvents()});
    }
    return list;
}

bool ServiceCarousels::hasFile(const std::string& path) const
{
    const std::lock_guard<std::mutex> lock(mutex_);
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
