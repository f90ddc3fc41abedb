#include "receiver/service/service_follower.h"

#include <chrono>
#include <utility>

namespace receiver {

namespace {

using namespace VestaHbbTV;

// How long an AIT waits for the SDT, which names the network that carousel URLs begin with.
const unsigned mostHeldBackTables = 8;

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

}  // namespace

ServiceFollower::ServiceFollower(const FollowerOptions& options, EventLog& log, StreamClock& clock)
    : isVerbose_(options.verbose), log_(log), clock_(clock), stream_(*this),
      wanted_(options.service), carousels_(options.limits, log)
{
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
    reportFileAnswers();
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
    reportFileAnswers();
    // The network that they waited for will not be told.
    for (const auto& [number, section] : std::exchange(heldBack_, {}))
        sendTableSection(section);
    for (void* const id : carousels_.giveUp())
        outgoing_.push_back(fileAnswer(id, false));
}

void ServiceFollower::remarkAtEnd()
{
    const std::string text = lackAtEnd();
    if (!text.empty())
        remark("remark", text);
}

/// Empty when it was all there.
std::string ServiceFollower::lackAtEnd() const
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

void ServiceFollower::tune(uint16_t serviceId)
{
    outgoing_.push_back({E_CHANNEL_CHANGE, nullptr});
    leave();
    wanted_ = serviceId;
    // Its PMT may be known from before, and is then not told again.
    stream_.forgetProgramMaps();
}

void ServiceFollower::leave()
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

void ServiceFollower::servicesChanged(const std::vector<Service>& services)
{
    hasNews_ = true;
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

void ServiceFollower::pmtReceived(const Service& service, const SectionBytes& section)
{
    hasNews_ = true;
    const bool isTuned = tuned_ && tuned_->programNumber == service.programNumber;
    if (tuned_ && !isTuned)
        return;
    const ProgramMap map = readProgramMap(section);
    const bool isWanted =
        wanted_ ? *wanted_ == service.programNumber : map.mayCarryApplicationInformation();
    if (isTuned || isWanted)
        join(service, map);
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
    wanted_ = service.programNumber;
    clockPid_ = map.clockPid;
    const bool hadTable = filter_.mayHaveTable() || hasTable_;
    filter_.setStreams(map.streams);
    if ((hadTable || isNew) && !filter_.mayHaveTable())
        sayThatThereIsNoTable(hadTable);
    carousels_.join(service, map.streams);
    updateSubscriptions();
}

/// The application of a table that has gone, or of the service before, is to stop: no table will
/// say so. @param wasThere whether this service had one before
void ServiceFollower::sayThatThereIsNoTable(bool wasThere)
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
void ServiceFollower::updateSubscriptions()
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

void ServiceFollower::sectionReceived(uint16_t pid, const SectionBytes& section)
{
    hasNews_ = true;
    if (filter_.isOnPid(pid))
        takeTableSection(pid, section);
    else
        carousels_.feed(pid, section);
}

void ServiceFollower::takeTableSection(uint16_t pid, const SectionBytes& section)
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

void ServiceFollower::sendTableSection(const SectionBytes& section)
{
    reportTableSection(section);
    hasSentTable_ = hasTable_ = true;
    outgoing_.push_back(tableSection(section.data(), section.size(),
                                     tuned_->originalNetworkId.value_or(0),
                                     tuned_->transportStreamId, tuned_->programNumber));
}

/// Tells of a section that was not there before; the air repeats them all the time.
void ServiceFollower::reportTableSection(const SectionBytes& section)
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
void ServiceFollower::remark(const char* event, const std::string& text)
{
    const bool isForEverybody = std::string(event) != "left-out";
    if ((isForEverybody || isVerbose_) && remarks_.insert(text).second)
        log_.report(Source::Receiver, event, text);
}

void ServiceFollower::reportFileAnswers()
{
    for (const ServiceCarousels::Answer& answer : carousels_.takeAnswers())
        outgoing_.push_back(fileAnswer(answer.id, answer.ready));
}

void ServiceFollower::clockReceived(uint16_t pid, uint64_t ticks, bool discontinuity)
{
    if (pid == clockPid_)
        clock_.note(ticks, discontinuity, std::chrono::steady_clock::now());
}

}  // namespace receiver
