#include "receiver/service/middleware.h"

#include <algorithm>
#include <utility>

#include "signalling/pmt.h"

namespace receiver {

namespace {

using namespace VestaHbbTV;

const size_t chunkBytes = 32 * 188;
// How long an AIT waits for the SDT, which names the network that carousel URLs begin with.
const unsigned mostHeldBackTables = 8;

std::string nameOf(const Service& service)
{
    return "service " + std::to_string(service.programNumber) +
           (service.name.empty() ? "" : " \"" + service.name + "\"");
}

std::string streamCount(const SectionBytes& section)
{
    SectionBytes bytes = section;
    const size_t count = PMT(bytes.data()).getElementaryStreams().size();
    return std::to_string(count) + (count == 1 ? " stream" : " streams");
}

}  // namespace

Middleware::Middleware(MiddlewareOptions options, EventLog& log, Doorbell& doorbell)
    : options_(std::move(options)), log_(log), doorbell_(doorbell), input_(options_.input),
      stream_(*this), wanted_(options_.service), carousels_(options_.limits, log)
{
}

Middleware::~Middleware()
{
    stop();
    for (const Outgoing& event : outgoing_)
        discard(event);
}

void Middleware::start()
{
    thread_ = std::thread([this] { run(); });
}

void Middleware::stop()
{
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    if (!thread_.joinable())
        return;
    // The flag first: a thread that is let go must not take another step.
    doorbell_.close();
    wake_.notify_all();
    input_.wake();
    thread_.join();
}

void Middleware::tune(uint16_t serviceId)
{
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        requests_.push_back(serviceId);
        ended_ = false;
    }
    wake_.notify_all();
    input_.wake();
}

std::vector<Service> Middleware::services() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return stream_.services();
}

std::optional<uint16_t> Middleware::tunedService() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return tuned_ ? std::optional<uint16_t>(tuned_->programNumber) : std::nullopt;
}

std::string Middleware::error() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return error_;
}

bool Middleware::lacksWantedService() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return ended_ && wanted_ && !tuned_;
}

StreamStatistics Middleware::statistics() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return stream_.statistics();
}

void Middleware::run()
{
    while (!stopping_) {
        // The air waits for the receiver: what it says never piles up, and plays alike every time.
        doorbell_.waitUntilSettled();
        if (stopping_)
            return;
        send(step());
        pace();
    }
}

Middleware::Progress Middleware::step()
{
    const std::optional<uint16_t> request = nextRequest();
    if (request) {
        retune(*request);
        return Progress::Tuned;
    }
    if (stopping_ || playChunk() || !endOfStream())
        return Progress::Playing;
    return Progress::Ended;
}

/// The next request to tune; waits for one while the stream has ended.
std::optional<uint16_t> Middleware::nextRequest()
{
    std::unique_lock<std::mutex> lock(mutex_);
    wake_.wait(lock, [this] { return stopping_ || !ended_ || !requests_.empty(); });
    if (requests_.empty())
        return std::nullopt;
    const uint16_t request = requests_.front();
    requests_.pop_front();
    return request;
}

/// @return false at the end of the stream
bool Middleware::playChunk()
{
    unsigned char chunk[chunkBytes];
    const std::optional<size_t> count = input_.read(chunk, sizeof(chunk));
    if (!count)
        return true;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (*count == 0 || !stream_.feed(chunk, *count))
        return false;
    reportFileAnswers();
    updateSubscriptions();
    showProgress();
    return true;
}

void Middleware::showProgress()
{
    const size_t interval = size_t(8) << 20;
    const size_t read = input_.bytesRead();
    if (!options_.showProgress || read < interval || read % interval >= chunkBytes)
        return;
    std::string text = withSeparators(read >> 20) + " MiB";
    if (input_.size() != 0)
        text += " of " + withSeparators(input_.size() >> 20) + " MiB";
    log_.progress(text + " read, " + withSeparators(stream_.statistics().sections) + " sections");
}

/// The browser thread sees the whole step at once, the events and how far it went.
void Middleware::send(Progress progress)
{
    const Doorbell::Hold hold(doorbell_);
    std::vector<Outgoing> events;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        events.swap(outgoing_);
        ended_ = progress == Progress::Ended && requests_.empty();
    }
    for (const Outgoing& event : events)
        receiver::send(event);
    if (progress == Progress::Tuned)
        ++tunes_;
}

void Middleware::pace()
{
    if (options_.speed <= 0)
        return;
    std::unique_lock<std::mutex> lock(mutex_);
    if (const std::optional<StreamClock::Time> due = clock_.due(options_.speed))
        wake_.wait_until(lock, *due, [this] { return stopping_ || !requests_.empty(); });
}

/// @return false when the stream is played again
bool Middleware::endOfStream()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    const bool isEmpty = input_.bytesRead() == 0 && stream_.statistics().packets == 0;
    if (!input_.error().empty())
        error_ = input_.error();
    else if (isEmpty)
        error_ = options_.input + ": is empty";
    else if (!stream_.finish())
        error_ = options_.input + ": " + stream_.error();
    if (error_.empty() && options_.loop && input_.rewind()) {
        stream_.restart();
        clock_.restart();
        return false;
    }
    finishStream();
    return true;
}

void Middleware::finishStream()
{
    reportFileAnswers();
    // The network that they waited for will not be told.
    for (const auto& [number, section] : std::exchange(heldBack_, {}))
        sendTableSection(section);
    for (void* const id : carousels_.giveUp())
        outgoing_.push_back(fileAnswer(id, false));
    if (!error_.empty())
        return;
    const uint64_t packets = stream_.statistics().packets;
    log_.report(Source::Air, "end", "end of the stream: " + withSeparators(packets) + " packets",
                {{"packets", packets}});
    const std::string text = remarkAtEnd();
    if (!text.empty())
        remark("remark", text);
    if (options_.speed > 0 && !clock_.isKnown())
        remark("remark", "no clock in the stream: --speed had nothing to go by");
}

/// What a person might have expected of the stream; empty when it was all there.
std::string Middleware::remarkAtEnd() const
{
    if (stream_.services().empty())
        return "no services: the stream lists none";
    if (!tuned_ && !wanted_)
        return "no service of the stream signals applications (no AIT)";
    if (!tuned_) {
        std::string list;
        for (const Service& service : stream_.services())
            list += (list.empty() ? "" : ", ") + std::to_string(service.programNumber);
        return "no such service: " + std::to_string(*wanted_) + "; the stream has " + list;
    }
    if (hasSentTable_)
        return "";
    return filter_.pids().empty() ? nameOf(*tuned_) + " signals no applications (no AIT)"
                                  : "no AIT for HbbTV came in " + nameOf(*tuned_);
}

void Middleware::retune(uint16_t serviceId)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    outgoing_.push_back({E_CHANNEL_CHANGE, nullptr});
    leaveService();
    wanted_ = serviceId;
    if (input_.rewind()) {
        stream_.restart();
        clock_.restart();
    }
    // Its PMT may be known from before, and is then not told again.
    stream_.forgetProgramMaps();
}

void Middleware::leaveService()
{
    for (void* const id : carousels_.leave())
        outgoing_.push_back(fileAnswer(id, false));
    tuned_.reset();
    filter_.setStreams({});
    updateSubscriptions();
    hasSentTable_ = hasTable_ = false;
    told_.clear();
    heldBack_.clear();
    heldBackCount_ = 0;
    remarks_.clear();
}

void Middleware::servicesChanged(const std::vector<Service>& services)
{
    for (const Service& service : services) {
        // The SDT may come after the PMT that was tuned to.
        if (tuned_ && tuned_->programNumber == service.programNumber)
            tuned_ = service;
        const auto [told, isNew] = toldServices_.try_emplace(service.programNumber, service.name);
        if (!isNew && told->second == service.name)
            continue;
        told->second = service.name;
        log_.report(Source::Air, "service",
                    isNew ? nameOf(service) + " found"
                          : "service " + std::to_string(service.programNumber) + " is \"" +
                                service.name + "\"",
                    {{"service", service.programNumber}, {"name", service.name}});
    }
}

void Middleware::pmtReceived(const Service& service, const SectionBytes& section)
{
    const bool isTuned = tuned_ && tuned_->programNumber == service.programNumber;
    if (tuned_ && !isTuned)
        return;
    const std::vector<StreamDescription> streams = readStreamDescriptions(section);
    const bool hasTables = std::any_of(streams.begin(), streams.end(), [](const auto& stream) {
        return stream.mayCarryApplicationInformation();
    });
    const bool isWanted = wanted_ ? *wanted_ == service.programNumber : hasTables;
    if (isTuned || isWanted)
        joinService(service, section);
}

/// Follows the service's PMT: the first, or one that differs.
void Middleware::joinService(const Service& service, const SectionBytes& section)
{
    const EventLog::Details details = {{"service", service.programNumber}};
    const bool isNew = !tuned_;
    if (isNew)
        log_.report(Source::Receiver, "tuned",
                    "tuned to " + nameOf(service) + ", " + streamCount(section), details);
    else
        log_.report(Source::Air, "streams",
                    nameOf(service) + " has other streams now: " + streamCount(section), details);
    tuned_ = service;
    wanted_ = service.programNumber;
    clockPid_ = readClockPid(section);
    const std::vector<StreamDescription> streams = readStreamDescriptions(section);
    const bool hadTable = filter_.mayHaveTable() || hasTable_;
    filter_.setStreams(streams);
    if ((hadTable || isNew) && !filter_.mayHaveTable())
        sayThatThereIsNoTable(hadTable);
    carousels_.join(service, streams);
    updateSubscriptions();
}

/// The application of a table that has gone, or of the service before, is to stop: no table will
/// say so. @param wasThere whether this service had one before
void Middleware::sayThatThereIsNoTable(bool wasThere)
{
    const char* const what = filter_.pids().empty() ? "applications" : "HbbTV applications";
    log_.report(Source::Air, wasThere ? "ait-gone" : "no-ait",
                nameOf(*tuned_) + " signals no " + what + (wasThere ? " any more" : ""),
                {{"service", tuned_->programNumber}});
    outgoing_.push_back(tableGone());
    hasTable_ = false;
    told_.clear();
    heldBack_.clear();
}

/// Listens to what the service needs now, and to nothing else.
void Middleware::updateSubscriptions()
{
    std::set<uint16_t> needed = carousels_.pids();
    needed.insert(filter_.pids().begin(), filter_.pids().end());
    for (const uint16_t pid : subscribed_) {
        if (needed.count(pid) == 0)
            stream_.unsubscribe(pid);
    }
    for (const uint16_t pid : needed)
        stream_.subscribe(pid);
    subscribed_ = std::move(needed);
}

void Middleware::sectionReceived(uint16_t pid, const SectionBytes& section)
{
    if (filter_.isOnPid(pid))
        takeTableSection(pid, section);
    else
        carousels_.feed(pid, section);
}

void Middleware::takeTableSection(uint16_t pid, const SectionBytes& section)
{
    std::string reason = filter_.reasonAgainst(pid, section);
    if (!reason.empty()) {
        remark("left-out", "left out: PID " + std::to_string(pid) + ", " + reason);
        return;
    }
    if (!tuned_->originalNetworkId && heldBackCount_ < mostHeldBackTables) {
        ++heldBackCount_;
        heldBack_[readSectionHeader(section).sectionNumber] = section;
        remark("left-out", "held back: an AIT before the network is known");
        return;
    }
    heldBack_.clear();
    sendTableSection(section);
}

void Middleware::sendTableSection(const SectionBytes& section)
{
    reportTableSection(section);
    hasSentTable_ = hasTable_ = true;
    outgoing_.push_back(tableSection(section.data(), section.size(),
                                     tuned_->originalNetworkId.value_or(0),
                                     tuned_->transportStreamId, tuned_->programNumber));
}

/// Tells of a section that was not there before; the air repeats them all the time.
void Middleware::reportTableSection(const SectionBytes& section)
{
    const SectionHeader header = readSectionHeader(section);
    SectionBytes& told = told_[header.sectionNumber];
    if (told == section)
        return;
    told = section;
    const std::string place = header.lastSectionNumber == 0
                                  ? ""
                                  : ", section " + std::to_string(header.sectionNumber + 1) +
                                        " of " + std::to_string(header.lastSectionNumber + 1);
    log_.report(Source::Air, "ait",
                "AIT version " + std::to_string(header.version) + place + ", " +
                    withSeparators(section.size()) + " bytes",
                {{"version", header.version},
                 {"section", header.sectionNumber},
                 {"last_section", header.lastSectionNumber},
                 {"size", section.size()}});
}

/// Something that is not for everybody, or that would be said again and again.
void Middleware::remark(const char* event, const std::string& text)
{
    const bool isForEverybody = std::string(event) != "left-out";
    if ((isForEverybody || options_.verbose) && remarks_.insert(text).second)
        log_.report(Source::Receiver, event, text);
}

void Middleware::reportFileAnswers()
{
    for (const ServiceCarousels::Answer& answer : carousels_.takeAnswers())
        outgoing_.push_back(fileAnswer(answer.id, answer.ready));
}

void Middleware::clockReceived(uint16_t pid, uint64_t ticks, bool discontinuity)
{
    if (pid == clockPid_)
        clock_.note(ticks, discontinuity, std::chrono::steady_clock::now());
}

}  // namespace receiver
