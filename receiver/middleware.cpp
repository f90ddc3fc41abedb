#include "receiver/middleware.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <sys/stat.h>
#include <utility>

#include "signalling/byte_reader.h"
#include "signalling/pmt.h"

namespace receiver {

namespace {

using namespace VestaHbbTV;

const size_t chunkBytes = 32 * 188;
const uint8_t tableIdAIT = 0x74;
const uint16_t hbbtvApplicationType = 0x0010;
const double clockTicksPerSecond = 27e6;
// How long an AIT waits for the SDT, which names the network that carousel URLs begin with.
const unsigned mostHeldBackTables = 8;

template <typename Member>
Member* newRecord()
{
    return static_cast<Member*>(std::calloc(1, sizeof(Member)));
}

HBBTV_EventData* downloadRecord(void* id)
{
    auto* const record = newRecord<HBBTV_DownloadEventData>();
    record->downloadId = id;
    return reinterpret_cast<HBBTV_EventData*>(record);
}

/// The event record of a section: like every block in it, malloc'ed and freed by the library.
HBBTV_EventData* sectionRecord(const Service& service, const SectionBytes& section)
{
    auto* const record = newRecord<HBBTV_AITSectionEventData>();
    record->section = static_cast<unsigned char*>(std::malloc(section.size()));
    std::memcpy(record->section, section.data(), section.size());
    record->original_network_id = service.originalNetworkId.value_or(0);
    record->transport_stream_id = service.transportStreamId;
    record->service_id = service.programNumber;
    return reinterpret_cast<HBBTV_EventData*>(record);
}

std::string nameOf(const Service& service)
{
    return "service " + std::to_string(service.programNumber) +
           (service.name.empty() ? "" : " \"" + service.name + "\"");
}

/// Why a section is not one for the application manager; empty when it is.
std::string reasonAgainst(const SectionBytes& section)
{
    const SectionHeader header = readSectionHeader(section);
    if (header.tableId != tableIdAIT)
        return "a section of table " + std::to_string(header.tableId);
    if (!header.current)
        return "an AIT that is not in force yet";
    const unsigned type = header.tableIdExtension & 0x7FFFu;
    if (type != hbbtvApplicationType)
        return "an AIT of application type " + std::to_string(type);
    return "";
}

}  // namespace

Middleware::Middleware(MiddlewareOptions options, EventLog& log, Doorbell& doorbell)
    : options_(std::move(options)), log_(log), doorbell_(doorbell), stream_(*this),
      wanted_(options_.service), carousels_(options_.limits, log)
{
}

Middleware::~Middleware()
{
    stop();
    if (input_ && input_ != stdin)
        std::fclose(input_);
    for (const Outgoing& event : outgoing_)
        std::free(event.data);
}

std::string Middleware::start()
{
    if (options_.input == "-") {
        input_ = stdin;
    } else {
        struct stat status = {};
        input_ = std::fopen(options_.input.c_str(), "rb");
        if (!input_ || ::fstat(::fileno(input_), &status) != 0)
            return options_.input + ": " + std::strerror(errno);
        if (S_ISDIR(status.st_mode))
            return options_.input + ": is a directory";
        inputSize_ = static_cast<size_t>(status.st_size);
    }
    thread_ = std::thread([this] { run(); });
    return "";
}

void Middleware::stop()
{
    stopping_ = true;
    wake_.notify_all();
    if (thread_.joinable())
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
    return stream_.error();
}

StreamStatistics Middleware::statistics() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return stream_.statistics();
}

bool Middleware::hasApplicationSignalling() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return !tablePids_.empty();
}

void Middleware::run()
{
    while (!stopping_) {
        const std::optional<uint16_t> request = nextRequest();
        if (request)
            retune(*request);
        else if (!playChunk())
            endOfStream();
        sendOutgoing();
        if (request)
            ++tunes_;
        if (stopping_ || ended_)
            continue;
        if (options_.speed > 0)
            pace();
        // The air waits for the receiver: what it says never piles up, and plays alike every time.
        doorbell_.waitUntilSettled();
    }
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
    if (stopping_)
        return true;
    if (!waitForInput())
        return true;
    unsigned char chunk[chunkBytes];
    const size_t count = std::fread(chunk, 1, sizeof(chunk), input_);
    bytesRead_ += count;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (count == 0)
        return false;
    if (!stream_.feed(chunk, count))
        return false;
    reportFileAnswers();
    for (const uint16_t pid : carousels_.wantedPids())
        subscribe(pid);
    showProgress();
    return true;
}

/// A pipe may stay silent for long. @return false when the thread is to stop meanwhile
bool Middleware::waitForInput()
{
    const int pollMs = 100;
    pollfd waiting = {::fileno(input_), POLLIN, 0};
    while (input_ == stdin && !stopping_ && ::poll(&waiting, 1, pollMs) == 0) {
    }
    return !stopping_;
}

void Middleware::showProgress()
{
    const size_t interval = size_t(8) << 20;
    if (!options_.showProgress || bytesRead_ / interval == (bytesRead_ - chunkBytes) / interval)
        return;
    std::string text = withSeparators(bytesRead_ >> 20) + " MiB";
    if (inputSize_ != 0)
        text += " of " + withSeparators(inputSize_ >> 20) + " MiB";
    log_.progress(text + " read, " + withSeparators(stream_.statistics().sections) + " sections");
}

void Middleware::sendOutgoing()
{
    std::vector<Outgoing> events;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        events.swap(outgoing_);
    }
    for (const Outgoing& event : events)
        vesta_hbbtv_send_event(event.type, event.data);
}

void Middleware::pace()
{
    std::unique_lock<std::mutex> lock(mutex_);
    if (!firstClock_ || !lastClock_ || *lastClock_ < *firstClock_)
        return;
    const double streamSeconds =
        static_cast<double>(*lastClock_ - *firstClock_) / clockTicksPerSecond;
    const auto due =
        paceStart_ + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                         std::chrono::duration<double>(streamSeconds / options_.speed));
    wake_.wait_until(lock, due, [this] { return stopping_ || !requests_.empty(); });
}

void Middleware::endOfStream()
{
    if (options_.loop && !stopping_ && bytesRead_ > 0 && std::fseek(input_, 0, SEEK_SET) == 0) {
        const std::lock_guard<std::mutex> lock(mutex_);
        stream_.restart();
        firstClock_.reset();
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const bool isStream = stream_.finish();
        reportFileAnswers();
        for (void* const id : carousels_.giveUp())
            outgoing_.push_back({E_DSMCC_FILE_ERROR, downloadRecord(id)});
        if (isStream && stream_.error().empty())
            log_.report(Source::Air, "end",
                        "end of the stream: " + withSeparators(stream_.statistics().packets) +
                            " packets",
                        {{"packets", stream_.statistics().packets}});
    }
    sendOutgoing();
    ended_ = true;
    doorbell_.ring();
}

void Middleware::retune(uint16_t serviceId)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    leaveService();
    outgoing_.push_back({E_CHANNEL_CHANGE, nullptr});
    wanted_ = serviceId;
    if (options_.input != "-" && std::fseek(input_, 0, SEEK_SET) == 0) {
        std::clearerr(input_);
        bytesRead_ = 0;
        stream_.restart();
        firstClock_.reset();
    }
    ended_ = false;
    // Its PMT may be known from before, and is then not told again.
    stream_.forgetProgramMaps();
}

void Middleware::leaveService()
{
    for (const uint16_t pid : tablePids_)
        stream_.unsubscribe(pid);
    for (const uint16_t pid : carousels_.wantedPids())
        stream_.unsubscribe(pid);
    for (void* const id : carousels_.leave())
        outgoing_.push_back({E_DSMCC_FILE_ERROR, downloadRecord(id)});
    tuned_.reset();
    tablePids_.clear();
    tablePid_.reset();
    told_.clear();
    heldBackTables_ = 0;
}

void Middleware::servicesChanged(const std::vector<Service>& services)
{
    for (const Service& service : services) {
        // The SDT may come after the PMT that was tuned to.
        if (tuned_ && tuned_->programNumber == service.programNumber)
            tuned_ = service;
        std::string& told = toldServices_[service.programNumber];
        if (told == service.name)
            continue;
        told = service.name;
        log_.report(Source::Air, "service", nameOf(service) + " found",
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

void Middleware::joinService(const Service& service, const SectionBytes& section)
{
    const std::vector<StreamDescription> streams = readStreamDescriptions(section);
    SectionBytes bytes = section;
    const PMT pmt(bytes.data());
    if (!tuned_)
        log_.report(
            Source::Receiver, "tuned",
            "tuned to " + nameOf(service) + ", " +
                std::to_string(pmt.getElementaryStreams().size()) + " streams",
            {{"service", service.programNumber}, {"streams", pmt.getElementaryStreams().size()}});
    tuned_ = service;
    wanted_ = service.programNumber;
    clockPid_ = readClockPid(section);
    tablePids_.clear();
    tablePid_.reset();
    for (const StreamDescription& stream : streams) {
        if (!stream.mayCarryApplicationInformation())
            continue;
        tablePids_.push_back(stream.pid);
        subscribe(stream.pid);
        const bool carriesHbbTV = std::any_of(
            stream.applicationTypes.begin(), stream.applicationTypes.end(),
            [](const auto& type) { return type.applicationType == hbbtvApplicationType; });
        if (carriesHbbTV && !tablePid_)
            tablePid_ = stream.pid;
    }
    carousels_.join(service, streams);
    for (const uint16_t pid : carousels_.wantedPids())
        subscribe(pid);
}

void Middleware::subscribe(uint16_t pid)
{
    if (!stream_.isSubscribed(pid))
        stream_.subscribe(pid);
}

void Middleware::sectionReceived(uint16_t pid, const SectionBytes& section)
{
    if (std::find(tablePids_.begin(), tablePids_.end(), pid) != tablePids_.end())
        takeTableSection(pid, section);
    else
        carousels_.feed(pid, section);
}

void Middleware::takeTableSection(uint16_t pid, const SectionBytes& section)
{
    const std::string reason = reasonAgainst(section);
    if (!reason.empty()) {
        leaveOut("PID " + std::to_string(pid) + ": " + reason);
        return;
    }
    // Tables of several PIDs would look like one that changes all the time.
    if (!tablePid_)
        tablePid_ = pid;
    if (*tablePid_ != pid)
        leaveOut("PID " + std::to_string(pid) + ": a second AIT of the service");
    else if (!tuned_->originalNetworkId && heldBackTables_ < mostHeldBackTables) {
        ++heldBackTables_;
        leaveOut("PID " + std::to_string(pid) + ": an AIT before the network is known");
    } else
        sendTableSection(section);
}

void Middleware::sendTableSection(const SectionBytes& section)
{
    const SectionHeader header = readSectionHeader(section);
    SectionBytes& told = told_[header.sectionNumber];
    if (told != section) {
        told = section;
        log_.report(Source::Air, "ait",
                    "AIT version " + std::to_string(header.version) + ", section " +
                        std::to_string(header.sectionNumber) + " of " +
                        std::to_string(header.lastSectionNumber) + ", " +
                        withSeparators(section.size()) + " bytes",
                    {{"version", header.version},
                     {"section", header.sectionNumber},
                     {"last_section", header.lastSectionNumber},
                     {"size", section.size()}});
    }
    outgoing_.push_back({E_AIT_SECTION, sectionRecord(*tuned_, section)});
}

void Middleware::leaveOut(const std::string& why)
{
    if (!options_.verbose || lastLeftOut_ == why)
        return;
    lastLeftOut_ = why;
    log_.report(Source::Receiver, "left-out", "left out: " + why);
}

void Middleware::reportFileAnswers()
{
    for (const ServiceCarousels::Answer& answer : carousels_.takeAnswers())
        outgoing_.push_back(
            {answer.ready ? E_DSMCC_FILE_READY : E_DSMCC_FILE_ERROR, downloadRecord(answer.id)});
}

void Middleware::clockReceived(uint16_t pid, uint64_t ticks, bool discontinuity)
{
    if (pid != clockPid_)
        return;
    if (!firstClock_ || discontinuity) {
        firstClock_ = ticks;
        paceStart_ = std::chrono::steady_clock::now();
    }
    lastClock_ = ticks;
}

}  // namespace receiver
