#include "receiver/service/service_follower.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <iterator>
#include <utility>

namespace receiver {

namespace {

using namespace VestaHbbTV;

// Of 27 MHz in one of 90 kHz (ISO/IEC 13818-1, 2.4.2.2).
constexpr uint64_t ticksPerTime = 300;

// Pending files that are looked for at a time: pages may name thousands.
const size_t filesPerFeed = 64;

std::string nameOf(const Service& service)
{
    return "service " + std::to_string(service.programNumber) +
           (service.name.empty() ? "" : " \"" + service.name + "\"");
}

std::string streamCount(const ProgramMap& map)
{
    const size_t count = map.streams.size();
    return std::to_string(count) + (count == 1 ? " stream" : " streams");
}

/// "1 "First", 2": a long list is cut.
std::string listOf(const std::vector<Service>& services)
{
    const size_t most = 20;
    std::string list;
    for (size_t index = 0; index < std::min(services.size(), most); ++index) {
        const Service& service = services[index];
        list += (index == 0 ? "" : ", ") + std::to_string(service.programNumber) +
                (service.name.empty() ? "" : " \"" + service.name + "\"");
    }
    if (services.size() > most)
        list += " and " + withSeparators(services.size() - most) + " more";
    return list;
}

/// "1 gap, 2 gaps"; empty for none.
std::string countOf(uint64_t count, const char* one, const char* several)
{
    return count == 0 ? "" : withSeparators(count) + " " + (count == 1 ? one : several);
}

/// What was missing or left out of the stream; empty when it was whole.
std::string damageOf(const StreamStatistics& statistics)
{
    std::string text;
    const std::string parts[] = {
        countOf(statistics.continuityErrors, "gap", "gaps"),
        countOf(statistics.damagedPackets, "damaged packet", "damaged packets"),
        countOf(statistics.scrambledPackets, "scrambled packet", "scrambled packets"),
        countOf(statistics.crcErrors + statistics.cutSections, "damaged section",
                "damaged sections"),
        countOf(statistics.syncLosses, "loss of sync", "losses of sync"),
    };
    for (const std::string& part : parts)
        text += (text.empty() || part.empty() ? "" : ", ") + part;
    return text.empty() ? "" : "the stream was not whole: " + text;
}

/// @return empty for a section that is no table's
std::string faultOf(const LeftOutSection& section)
{
    switch (section.reason) {
    case LeftOutSection::Reason::WrongCrc:
        return "CRC_32 does not match";
    case LeftOutSection::Reason::TooLong:
        return "its section_length is more than a section can have";
    case LeftOutSection::Reason::CutShort:
        return "the next section begins before it ends";
    case LeftOutSection::Reason::Unchecked:
        break;
    }
    return "";
}

}  // namespace

ServiceFollower::ServiceFollower(const FollowerOptions& options, EventLog& log, StreamClock& clock)
    : isVerbose_(options.verbose), isLive_(options.isLive), log_(log), clock_(clock),
      stream_(*this), wanted_(options.service), choice_(stream_),
      feed_(options.hbbtv, log, book_,
            [this](const char* event, const std::string& text) { remark(event, text); }),
      carousels_(options.limits, log, options.carousels), streamEvents_(carousels_, log)
{
    updateSubscriptions();
}

ServiceFollower::~ServiceFollower()
{
    for (const Outgoing& event : outgoing_)
        discard(event);
}

bool ServiceFollower::feed(const unsigned char* bytes, size_t count)
{
    if (!stream_.feed(bytes, count))
        return false;
    if (isChoosing() && !tuned_ && stream_.haveProgramMapsComeRound())
        chooseService();
    if (tuned_ && !isChoosing())
        stream_.forgetEarlySections();
    reportFileAnswers(filesPerFeed);
    areSubscriptionsStale_ = streamEvents_.update() || areSubscriptionsStale_;
    takeStreamEvents();
    if (areSubscriptionsStale_)
        updateSubscriptions();
    return true;
}

std::vector<Outgoing> ServiceFollower::takeEvents()
{
    return std::exchange(outgoing_, {});
}

bool ServiceFollower::takeNews()
{
    return std::exchange(hasNews_, false);
}

void ServiceFollower::giveUpWaiting()
{
    reportFileAnswers(SIZE_MAX);
    chooseAtEnd();
    feed_.giveUpWaiting();
    for (void* const id : carousels_.giveUp())
        outgoing_.push_back(fileAnswer(id, false));
    streamEvents_.giveUp();
    takeStreamEvents();
}

void ServiceFollower::remarkAtEnd()
{
    if (const std::string text = lack(); !text.empty()) {
        remark("remark", text);
        log_.mention(Source::Receiver, "lack", text);
    }
    if (const std::string text = damageOf(stream_.statistics()); !text.empty())
        remark("remark", text);
}

std::string ServiceFollower::lack() const
{
    const std::vector<Service>& services = stream_.services();
    if (services.empty())
        return "no services: the stream lists none";
    if (tuned_)
        return feed_.hasSent() ? "" : lackOfTable();
    const auto hasNoMap = [this](const Service& service) {
        return signalling_.count(service.programNumber) == 0;
    };
    if (wanted_ == 0)
        return "";
    if (wanted_) {
        const bool isListed =
            std::any_of(services.begin(), services.end(),
                        [this](const auto& one) { return one.programNumber == *wanted_; });
        return isListed ? "no PMT of service " + std::to_string(*wanted_) + " came"
                        : "no such service: " + std::to_string(*wanted_) + "; the stream has " +
                              listOf(services);
    }
    std::vector<Service> withoutMap;
    std::copy_if(services.begin(), services.end(), std::back_inserter(withoutMap), hasNoMap);
    if (withoutMap.size() == services.size())
        return "no PMT of any service came: of " + listOf(services);
    return "no service of the stream signals HbbTV applications (no AIT)" +
           (withoutMap.empty() ? "" : "; no PMT came of " + listOf(withoutMap));
}

std::string ServiceFollower::lackOfTable() const
{
    if (tablePids_.empty())
        return nameOf(*tuned_) + " signals no HbbTV applications";
    if (const std::string problem = feed_.problem(); !problem.empty())
        return "no AIT for HbbTV is in force in " + nameOf(*tuned_) + ": " + problem;
    return (feed_.hasTaken() ? "no AIT for HbbTV became whole in " : "no AIT for HbbTV came in ") +
           nameOf(*tuned_);
}

void ServiceFollower::tune(uint16_t serviceId)
{
    feed_.leave(serviceOf(serviceId));
    choice_.clear();
    leave();
    wanted_ = serviceId;
    // Its PMT may be known from before, and is then not reported again.
    stream_.forgetProgramMaps();
    stream_.keepEarlySections();
}

void ServiceFollower::leave()
{
    for (void* const id : carousels_.leave())
        outgoing_.push_back(fileAnswer(id, false));
    streamEvents_.leave();
    tuned_.reset();
    tablePids_.clear();
    updateSubscriptions();
    remarks_.clear();
}

/// What is known of it.
Service ServiceFollower::serviceOf(uint16_t programNumber) const
{
    for (const Service& service : stream_.services()) {
        if (service.programNumber == programNumber)
            return service;
    }
    Service unknown;
    unknown.programNumber = programNumber;
    return unknown;
}

void ServiceFollower::servicesChanged(const std::vector<Service>& services)
{
    hasNews_ = true;
    std::map<uint16_t, ApplicationSignalling> signalling;
    for (const Service& service : services) {
        const auto known = signalling_.find(service.programNumber);
        if (known != signalling_.end())
            signalling.insert(*known);
        // The SDT may come after the PMT that was tuned to.
        if (tuned_ && tuned_->programNumber == service.programNumber)
            tuned_ = service;
        reportService(service);
    }
    reportServicesGone();
    information_.setServices(services);
    signalling_ = std::move(signalling);
    choice_.dropUnlisted();
    areSubscriptionsStale_ = true;
    if (tuned_)
        feed_.learn(*tuned_);
}

void ServiceFollower::reportService(const Service& service)
{
    const auto [reported, isNew] =
        reportedServices_.try_emplace(service.programNumber, service.name);
    if (!isNew && reported->second == service.name)
        return;
    reported->second = service.name;
    log_.report(Source::Air, "service",
                isNew ? nameOf(service) + " found"
                      : "service " + std::to_string(service.programNumber) + " is \"" +
                            service.name + "\"",
                {{"service", service.programNumber}, {"name", service.name}});
}

/// The PAT lists them no more. What is known of the one tuned to goes on to count.
void ServiceFollower::reportServicesGone()
{
    std::set<uint16_t> listed;
    for (const Service& service : stream_.services())
        listed.insert(service.programNumber);
    for (auto reported = reportedServices_.begin(); reported != reportedServices_.end();) {
        const auto& [number, name] = *reported;
        if (listed.count(number) != 0) {
            ++reported;
            continue;
        }
        const bool isTuned = tuned_ && tuned_->programNumber == number;
        log_.report(Source::Air, "service-gone",
                    "service " + std::to_string(number) +
                        (name.empty() ? "" : " \"" + name + "\"") + " is no longer listed" +
                        (isTuned ? ", and is the one tuned to" : ""),
                    {{"service", number}, {"name", name}});
        reported = reportedServices_.erase(reported);
    }
}

std::optional<ApplicationSignalling> ServiceFollower::signallingOf(uint16_t serviceId) const
{
    const auto known = signalling_.find(serviceId);
    return known == signalling_.end() ? std::nullopt : std::optional(known->second);
}

void ServiceFollower::pmtReceived(const Service& service, const SectionBytes& section)
{
    hasNews_ = true;
    areSubscriptionsStale_ = true;
    ProgramMap map = readProgramMap(section);
    signalling_[service.programNumber] = map.signalling();
    information_.setProgramMap(service.programNumber, section);
    if (tuned_ && tuned_->programNumber == service.programNumber)
        join(service, map);
    else if (!tuned_ && wanted_ == service.programNumber)
        tuneTo(service, choice_.listenTo(std::move(map)));
    else if (isChoosing())
        choice_.follow(service.programNumber, std::move(map));
    if (isChoosing() && !tuned_ && stream_.haveProgramMapsComeRound())
        chooseService();
}

bool ServiceFollower::isChoosing() const
{
    return !wanted_ && !(tuned_ && feed_.hasCome());
}

void ServiceFollower::chooseService()
{
    tuneToCandidate(choice_.best(false));
}

/// @param service null changes nothing
void ServiceFollower::tuneToCandidate(const Service* service)
{
    if (service)
        tuneTo(*service, choice_.take(service->programNumber));
}

void ServiceFollower::tuneTo(const Service& service, Candidate candidate)
{
    join(service, candidate.map);
    for (auto& [pid, table] : candidate.tables) {
        for (const SectionBytes& section : table.take())
            takeTableSection(pid, section);
    }
}

void ServiceFollower::goOnToNextService()
{
    const Service* const next = choice_.best(true);
    if (!next)
        return;
    log_.report(Source::Receiver, "moved-on",
                "no AIT for HbbTV came in " + nameOf(*tuned_) + ": on to the next service",
                {{"service", tuned_->programNumber}});
    feed_.leave(*next);
    leave();
    tuneToCandidate(next);
}

/// What came once will not come round any more.
void ServiceFollower::chooseAtEnd()
{
    if (!tuned_ && isChoosing())
        chooseService();
    if (tuned_ && isChoosing())
        goOnToNextService();
}

/// Follows the service's PMT: the first, or one that differs.
void ServiceFollower::join(const Service& service, const ProgramMap& map)
{
    const EventLog::Details details = {{"service", service.programNumber}};
    const bool isNew = !tuned_;
    if (isNew)
        log_.report(Source::Receiver, "tuned",
                    "tuned to " + nameOf(service) + ", " + streamCount(map), details);
    else
        log_.report(Source::Air, "streams",
                    nameOf(service) + " has other streams now: " + streamCount(map), details);
    tuned_ = service;
    clockPid_ = map.clockPid;
    const bool hadTable = !isNew && (!tablePids_.empty() || feed_.isInForce());
    tablePids_ = map.tablePids();
    feed_.join(service, map);
    if ((hadTable || isNew) && tablePids_.empty())
        sayThatThereIsNoTable(hadTable);
    carousels_.join(service, map.streams);
    streamEvents_.join(service, map.streams);
    for (const uint16_t pid : carousels_.pidsNotRead())
        remark("remark", "the carousel on PID " + std::to_string(pid) +
                             " is not read, as it has no component tag (--carousel-pid " +
                             std::to_string(pid) + " reads it)");
    updateSubscriptions();
    if (isNew)
        stream_.visitEarlySections(
            carousels_.pids(), EarlyPackets::Visitor::Service,
            [this](uint16_t pid, const SectionBytes& part) { carousels_.feed(pid, part); });
}

/// @param wasThere whether this service had one before
void ServiceFollower::sayThatThereIsNoTable(bool wasThere)
{
    log_.report(Source::Air, wasThere ? "ait-gone" : "no-ait",
                nameOf(*tuned_) + " signals no HbbTV applications" + (wasThere ? " any more" : ""),
                {{"service", tuned_->programNumber}});
}

/// Listens to what the service needs now, and to nothing else.
void ServiceFollower::updateSubscriptions()
{
    std::set<uint16_t> needed = carousels_.pids();
    needed.insert(tablePids_.begin(), tablePids_.end());
    needed.insert(streamEvents_.pids().begin(), streamEvents_.pids().end());
    needed.insert(std::begin(ServiceInformation::pids), std::end(ServiceInformation::pids));
    choice_.addPidsTo(needed);
    const std::set<uint16_t> subscribed = stream_.subscriptions();
    for (const uint16_t pid : subscribed) {
        if (needed.count(pid) == 0)
            stream_.unsubscribe(pid);
    }
    for (const uint16_t pid : needed)
        stream_.subscribe(pid);
    areSubscriptionsStale_ = false;
}

void ServiceFollower::sectionReceived(uint16_t pid, const SectionBytes& section)
{
    // EIT and NIT come all the time, and nobody waits for most of it.
    const bool isNews = !ServiceInformation::isOnPid(pid) || information_.feed(pid, section);
    hasNews_ = hasNews_ || isNews;
    if (isTablePid(pid))
        takeTableSection(pid, section);
    else
        carousels_.feed(pid, section);
    streamEvents_.feed(pid, section);
    // A table that comes round on another service while there is none on this one decides.
    if (isChoosing() && choice_.hear(pid, section) && tuned_)
        goOnToNextService();
}

void ServiceFollower::sectionLeftOut(uint16_t pid, const LeftOutSection& section)
{
    const std::string fault = faultOf(section);
    if (!fault.empty() && isTablePid(pid))
        remark("left-out", "left out: PID " + std::to_string(pid) + ", " + fault);
}

bool ServiceFollower::isTablePid(uint16_t pid) const
{
    return std::find(tablePids_.begin(), tablePids_.end(), pid) != tablePids_.end();
}

void ServiceFollower::takeTableSection(uint16_t pid, const SectionBytes& section)
{
    feed_.take(pid, section);
    if (!feed_.hasTaken())
        return;
    signalling_[tuned_->programNumber] = ApplicationSignalling::HbbTV;  // whatever the PMT says
    areSubscriptionsStale_ = areSubscriptionsStale_ || !choice_.empty();
    choice_.clear();
}

/// Something that is not for everybody, or that would be said again and again.
void ServiceFollower::remark(const char* event, const std::string& text)
{
    const size_t most = 1000;  // a broadcast has no end of texts
    const bool isForEverybody = std::string(event) != "left-out";
    if (remarks_.size() >= most || !remarks_.insert(text).second)
        return;
    if (isForEverybody || isVerbose_)
        log_.report(Source::Receiver, event, text);
    else
        log_.mention(Source::Receiver, event, text);
}

/// @param most how many files are looked for
void ServiceFollower::reportFileAnswers(size_t most)
{
    for (const ServiceCarousels::Answer& answer : carousels_.takeAnswers(most))
        outgoing_.push_back(fileAnswer(answer.id, answer.ready));
}

void ServiceFollower::takeStreamEvents()
{
    const std::vector<Outgoing> events = streamEvents_.takeEvents();
    outgoing_.insert(outgoing_.end(), events.begin(), events.end());
}

void ServiceFollower::clockReceived(uint16_t pid, uint64_t ticks, bool discontinuity)
{
    if (pid != clockPid_)
        return;
    const bool jumps = clock_.note(ticks, discontinuity, std::chrono::steady_clock::now());
    if (!isLive_)
        feed_.setTime(clock_.elapsed());
    streamEvents_.advance(ticks / ticksPerTime, jumps);
}

}  // namespace receiver
