#include "receiver/service/middleware.h"

#include <utility>

namespace receiver {

namespace {

const size_t chunkBytes = size_t(32) * 188;

FollowerOptions followerOptions(const MiddlewareOptions& options, bool isLive)
{
    return {options.service,   options.verbose, options.limits,
            options.carousels, options.hbbtv,   isLive};
}

uint64_t millisecondsNow()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<uint64_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

/// "3 lost"
std::string part(uint64_t count, const char* what)
{
    return ", " + withSeparators(count) + " " + what;
}

}  // namespace

std::string summaryOf(const NetworkStatistics& statistics)
{
    std::string text = "network: " + withSeparators(statistics.datagrams) + " datagrams" +
                       part(statistics.overflows, "dropped by the system");
    if (statistics.rtpPackets == 0)
        return text;
    return text + "; RTP" + part(statistics.rtpPackets, "packets") + part(statistics.lost, "lost") +
           part(statistics.reordered, "out of order") + part(statistics.duplicates, "duplicates") +
           part(statistics.late, "too late") + part(statistics.damaged, "damaged");
}

/// What came of the input. Nothing: it was woken; none: its end.
struct Middleware::Chunk {
    unsigned char bytes[chunkBytes];
    std::optional<size_t> count;
};

Middleware::Middleware(MiddlewareOptions options, EventLog& log, Doorbell& doorbell)
    : options_(std::move(options)), log_(log), doorbell_(doorbell),
      input_(makeStreamInput(options_.input, options_.follow)),
      follower_(followerOptions(options_, input_->isEndless()), log, clock_)
{
}

Middleware::~Middleware()
{
    stop();
}

std::string Middleware::open()
{
    std::string problem = input_->open();
    const std::lock_guard<std::mutex> lock(mutex_);
    listenToInput();
    return problem;
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
    input_->wake();
    thread_.join();
    if (input_->isEndless())
        sumUpEndlessStream();
}

void Middleware::tune(uint16_t serviceId)
{
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        requests_.push_back(serviceId);
        ended_ = false;
    }
    doorbell_.ring();
    wake_.notify_all();
    input_->wake();
}

std::vector<Service> Middleware::services() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return follower_.services();
}

std::optional<uint16_t> Middleware::tunedService() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    const std::optional<Service>& tuned = follower_.tuned();
    return tuned ? std::optional<uint16_t>(tuned->programNumber) : std::nullopt;
}

std::optional<ApplicationSignalling> Middleware::signallingOf(uint16_t serviceId) const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return follower_.signallingOf(serviceId);
}

std::string Middleware::error() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return error_;
}

bool Middleware::lacksWantedService() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return ended_ && follower_.lacksWantedService();
}

std::string Middleware::lack() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return follower_.lack();
}

StreamStatistics Middleware::statistics() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return follower_.statistics();
}

std::optional<NetworkStatistics> Middleware::networkStatistics() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return network_;
}

void Middleware::run()
{
    bool hasNews = true;
    while (!stopping_) {
        // The air waits for the receiver: what it says never piles up, and plays alike every time.
        // Where nothing was said the receiver waits already.
        if (hasNews)
            doorbell_.waitUntilSettled([this] { return isPressed(); });
        if (stopping_)
            return;
        hasNews = step();
        pace();
    }
}

/// Whether pages are not waited for: they may take as long as they like. A viewer zaps at once and
/// gets what the new service has, and a broadcast that comes in its own time goes on.
bool Middleware::isPressed() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    const bool hasOwnTime = input_->isEndless() || (options_.speed > 0 && clock_.isKnown());
    return hasOwnTime || !requests_.empty() || follower_.isArriving();
}

/// A browser thread that sleeps sees the whole step at once, the events and how far it went.
/// @return whether there was anything to see
bool Middleware::step()
{
    const std::optional<uint16_t> request = nextRequest();
    Chunk chunk;
    if (!request && !stopping_)
        chunk.count = input_->read(chunk.bytes, sizeof(chunk.bytes));
    const Doorbell::Hold hold(doorbell_);
    const std::lock_guard<std::mutex> lock(mutex_);
    if (request) {
        retune(*request);
        return send(Progress::Tuned);
    }
    return send(stopping_ ? Progress::Playing : play(chunk));
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

Middleware::Progress Middleware::play(const Chunk& chunk)
{
    listenToInput();
    if (input_->isEndless())
        follower_.passTime(millisecondsNow());
    if (!chunk.count)
        return Progress::Playing;
    if (*chunk.count == 0 || !follower_.feed(chunk.bytes, *chunk.count))
        return endOfStream() ? Progress::Ended : Progress::Playing;
    showProgress();
    return Progress::Playing;
}

/// What the input has to say besides its bytes.
void Middleware::listenToInput()
{
    for (const StreamInput::Remark& remark : input_->takeRemarks())
        log_.report(Source::Receiver, remark.event, remark.text);
    network_ = input_->networkStatistics();
    if (!input_->takeNewBeginning())
        return;
    follower_.restart();
    clock_.restart();
}

void Middleware::showProgress()
{
    const uint64_t interval = 8 << 20;
    const uint64_t read = input_->bytesRead();
    if (!options_.showProgress || read < interval || read % interval >= chunkBytes)
        return;
    std::string text = withSeparators(read >> 20) + " MiB";
    if (input_->size() != 0)
        text += " of " + withSeparators(input_->size() >> 20) + " MiB";
    log_.progress(text + " read, " + withSeparators(follower_.statistics().sections) + " sections");
}

/// @return whether there was anything to see
bool Middleware::send(Progress progress)
{
    const std::vector<Outgoing> events = follower_.takeEvents();
    for (const Outgoing& event : events)
        receiver::send(event);
    ended_ = progress == Progress::Ended && requests_.empty();
    if (progress == Progress::Tuned)
        ++tunes_;
    return follower_.takeNews() || !events.empty() || progress != Progress::Playing;
}

void Middleware::pace()
{
    if (options_.speed <= 0)
        return;
    std::unique_lock<std::mutex> lock(mutex_);
    const std::optional<StreamClock::Time> due =
        clock_.due(options_.speed, std::chrono::steady_clock::now());
    if (due)
        wake_.wait_until(lock, *due, [this] { return stopping_ || !requests_.empty(); });
}

/// @return false when the stream is played again
bool Middleware::endOfStream()
{
    const bool isEmpty = input_->bytesRead() == 0 && follower_.statistics().packets == 0;
    if (!input_->error().empty())
        error_ = input_->error();
    else if (isEmpty)
        error_ = options_.input + ": is empty";
    else if (!follower_.finish())
        error_ = options_.input + ": " + follower_.error();
    if (error_.empty() && options_.loop && input_->rewind()) {
        follower_.restart();
        clock_.restart();
        return false;
    }
    finishStream();
    return true;
}

void Middleware::finishStream()
{
    follower_.giveUpWaiting();
    if (!error_.empty())
        return;
    const uint64_t packets = follower_.statistics().packets;
    log_.report(Source::Air, "end", "end of the stream: " + withSeparators(packets) + " packets",
                {{"packets", packets}});
    follower_.remarkAtEnd();
    if (options_.speed > 0 && !clock_.isKnown())
        follower_.remark("remark", "no clock in the stream: --speed had nothing to go by");
}

/// It did not end: the receiver does.
void Middleware::sumUpEndlessStream()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!ended_)
        follower_.remarkAtEnd();
    if (network_)
        log_.report(Source::Receiver, "network", summaryOf(*network_),
                    {{"datagrams", network_->datagrams},
                     {"dropped", network_->overflows},
                     {"rtp_packets", network_->rtpPackets},
                     {"lost", network_->lost},
                     {"reordered", network_->reordered},
                     {"duplicates", network_->duplicates},
                     {"late", network_->late},
                     {"damaged", network_->damaged}});
}

void Middleware::retune(uint16_t serviceId)
{
    follower_.tune(serviceId);
    if (input_->rewind()) {
        follower_.restart();
        clock_.restart();
    }
}

}  // namespace receiver
