#include "recorder/recorder.h"

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <new>
#include <unistd.h>
#include <utility>
#include <variant>

#include "recorder/boundary/base64.h"
#include "recorder/boundary/hash.h"
#include "recorder/functions_out.h"
#include "recorder/next_function.h"
#include "recorder/plugin_listeners.h"
#include "recorder/relocation_slots.h"

namespace recorder {

namespace {

int64_t microseconds(clockid_t clock)
{
    timespec time = {};
    clock_gettime(clock, &time);
    return int64_t{time.tv_sec} * 1000000 + time.tv_nsec / 1000;
}

/// The time of day in UTC, as ISO 8601 writes it.
std::string timeOfDay()
{
    const time_t seconds = time(nullptr);
    tm parts = {};
    char text[sizeof("2026-11-22T12:00:00Z") + 16];
    gmtime_r(&seconds, &parts);
    return {text, strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

class ErrnoKept {
public:
    ErrnoKept() = default;
    ErrnoKept(const ErrnoKept&) = delete;
    ErrnoKept& operator=(const ErrnoKept&) = delete;
    ~ErrnoKept() { errno = error_; }

private:
    const int error_ = errno;
};

void emptyButKeepSome(std::string& text)
{
    const size_t kept = 1 << 20;
    if (text.capacity() > kept)
        std::string().swap(text);
    else
        text.clear();
}

// While the recorder is loaded; its end is the program's.
__attribute__((constructor)) void prepareRecorder()
{
    Recorder::instance().prepare();
}

__attribute__((destructor)) void finishRecorder()
{
    Recorder::instance().finish();
}

}  // namespace

std::atomic<Recorder::State> Recorder::state_{State::undecided};

Thread& thisThread()
{
    static std::atomic<unsigned> last{0};
    thread_local Thread thread;
    if (thread.number == 0)
        thread.number = ++last;
    return thread;
}

Moment Moment::now()
{
    return {microseconds(CLOCK_MONOTONIC), thisThread().number};
}

Recorder& Recorder::instance()
{
    // Deliberate: never deleted, since the program may call the library while it ends.
    static Recorder* const recorder = new Recorder;
    return *recorder;
}

void Recorder::prepare()
{
    const ErrnoKept errnoKept;
    process_ = getpid();
    const void* const library = findInLibraries(Init::symbol);
    if (!library || isPrepared_)
        return;
    isPrepared_ = true;
    auto read = readSettings(secure_getenv("VESTA_RECORD"), secure_getenv("VESTA_RECORD_LIMIT"),
                             secure_getenv("VESTA_RECORD_LEAVE_OUT"));
    if (const std::string* const complaint = std::get_if<std::string>(&read))
        complain(*complaint + "; nothing is recorded");
    else
        settings_ = std::get<Settings>(std::move(read));
    if (settings_.path.empty())
        state_.store(State::off, std::memory_order_release);
    else if (!replaceInSlots(library, replacementsFor(library)))
        complain("what the library calls cannot be recorded");
}

bool Recorder::decide()
{
    const ErrnoKept errnoKept;
    const std::lock_guard<std::mutex> lock(mutex_);
    prepare();
    if (isPrepared_ && state_.load(std::memory_order_relaxed) == State::undecided)
        state_.store(open() ? State::on : State::off, std::memory_order_release);
    return state_.load(std::memory_order_relaxed) == State::on;
}

bool Recorder::open()
{
    if (!file_.open(settings_.path, settings_.limit))
        return false;
    appendHead();
    writeLines();
    return true;
}

void Recorder::appendHead()
{
    start_ = microseconds(CLOCK_MONOTONIC);
    line_ += "{\"vesta_recording\":1,\"pointer_bits\":";
    appendNumber(line_, 8 * sizeof(void*));
    line_ += ",\"started\":";
    appendString(line_, timeOfDay());
    line_ += ",\"left_out\":[";
    if (settings_.leavesOutBodies)
        line_ += settings_.leavesOutQueries ? "\"bodies\"," : "\"bodies\"";
    if (settings_.leavesOutQueries)
        line_ += "\"queries\"";
    line_ += "]}\n";
}

/// Runs what writes lines, if there is still a record.
template <typename Write>
void Recorder::safely(const Write& write)
{
    const ErrnoKept errnoKept;
    // A child has the record of the process that began it, and perhaps a lock that nobody releases.
    if (process_.load(std::memory_order_relaxed) != getpid())
        return;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!file_.isOpen())
        return;
    try {
        write();
    } catch (const std::bad_alloc&) {
        file_.giveUp("memory ran out, the record ends");
    }
}

uint64_t Recorder::begin(Direction direction, const char* name, bool keepsBytes, Moment moment,
                         void* call, Say asked)
{
    uint64_t number = 0;
    safely([&] {
        if (!keepsBytes)
            bytes_ = nullptr;
        isQuiet_ = false;
        isNewPartRefused_ = false;
        direction_ = direction;
        appendPendingTicks();
        appendBegin(direction, moment, name);
        number = calls_;
        appendFields(asked, call);
        openCalls_.push_back(direction);
        writeLines();
        writeSent();
    });
    return number;
}

void Recorder::end(uint64_t number, void* call, Say answered)
{
    if (number == 0)
        return;
    safely([&] {
        direction_ = Direction::out;
        appendPendingTicks();
        appendEnd(number);
        line_ += ",\"gave\":";
        appendFields(answered, call);
        openCalls_.pop_back();
        writeLines();
        writeSent();
    });
}

void Recorder::endByException(uint64_t number)
{
    if (number == 0)
        return;
    safely([&] {
        appendPendingTicks();
        appendEnd(number);
        line_ += ",\"threw\":true}\n";
        openCalls_.pop_back();
        writeLines();
        writeSent();
    });
}

void Recorder::addSent(SendEvent event, Moment moment)
{
    safely([&] {
        startingState_.asked(event);
        if (file_.isFull())
            return;
        isQuiet_ = false;
        isNewPartRefused_ = false;
        sent_.push_back({moment, askedText(event, *this)});
        writeSent();
    });
}

void Recorder::writeSent()
{
    const bool isInsideLibrary =
        tick_ || (!openCalls_.empty() && openCalls_.back() == Direction::in);
    if (sent_.empty() || isInsideLibrary)
        return;
    appendPendingTicks();
    for (const SentToNobody& event : sent_)
        appendWhole(SendEvent{}, event.says.c_str(), event.moment);
    sent_.clear();
    writeLines();
}

void Recorder::beginTick(uint64_t* number)
{
    safely([&] {
        bytes_ = nullptr;
        if (tick_)  // another thread's, which the integrator must not have ticking
            appendPendingTicks();
        tick_ = number;
        tickMoment_ = Moment::now();
        if (isQuiet_)
            return;
        appendPendingTicks();
        writeLines();
    });
}

void Recorder::endTick(const uint64_t* number, bool didSomething)
{
    safely([&] {
        isQuiet_ = !didSomething;
        if (tick_ == number && !didSomething) {
            tick_ = nullptr;
            ++idleTicks_;
        } else {
            appendPendingTicks();
            appendEnd(*number);
            line_ +=
                didSomething ? ",\"gave\":{\"result\":true}}\n" : ",\"gave\":{\"result\":false}}\n";
            openCalls_.pop_back();
            writeLines();
        }
        writeSent();
        isNewPartDue_ = !didSomething && openCalls_.empty() && !isNewPartRefused_ &&
                        file_.wantsNewPart() && startingState_.isReached();
    });
}

void Recorder::endTickByException(const uint64_t* number)
{
    safely([&] { appendPendingTicks(); });
    endByException(*number);
}

void Recorder::beginNewPart(void* broadcastWindow)
{
    isNewPartDue_ = false;
    safely([&] {
        appendPendingTicks();
        writeLines();
        const uint64_t calls = std::exchange(calls_, 0);
        const int64_t start = start_;
        Names names = std::exchange(names_, Names());
        auto bodies = std::exchange(bodies_, {});
        appendHead();
        line_ += "{\"state\":\"begin\"}\n";
        startingState_.forEachCall(
            broadcastWindow, PluginListeners::manager(), PluginListeners::destroyed(),
            [this](const auto& call, const char* says) { appendWhole(call, says, Moment::now()); });
        line_ += "{\"state\":\"end\"}\n";
        if (!file_.beginNewPart(line_)) {  // the part that is there goes on as it was
            isNewPartRefused_ = true;
            calls_ = calls;
            start_ = start;
            names_ = std::move(names);
            bodies_ = std::move(bodies);
        }
        line_.clear();
    });
}

void Recorder::finish()
{
    const char* const path = secure_getenv("VESTA_RECORD");
    if (!isPrepared_ && process_ == getpid() && path && *path && findInLibraries(Init::symbol))
        complain(
            "the library was never called through the recorder, but for a plugin alone; nothing "
            "is recorded");
    safely([&] {
        appendPendingTicks();
        writeLines();
    });
}

/// What comes before the next line: ticks are written down no earlier.
void Recorder::appendPendingTicks()
{
    if (idleTicks_ > 0) {
        line_ += "{\"idle\":";
        appendNumber(line_, std::exchange(idleTicks_, 0));
        line_ += "}\n";
    }
    if (tick_) {
        appendBegin(Direction::in, tickMoment_, Tick::name);
        line_ += "{}}\n";
        *std::exchange(tick_, nullptr) = calls_;
        openCalls_.push_back(Direction::in);
    }
    line_.swap(before_);
}

void Recorder::appendBegin(Direction direction, Moment moment, const char* name)
{
    line_ += "{\"n\":";
    appendNumber(line_, ++calls_);
    line_ += ",\"at\":";
    appendNumber(line_, moment.at - start_);
    line_ += ",\"thread\":";
    appendNumber(line_, moment.thread);
    line_ += direction == Direction::in ? ",\"in\":\"" : ",\"out\":\"";
    line_ += name;
    line_ += "\",\"with\":";
}

void Recorder::appendEnd(uint64_t number)
{
    line_ += "{\"end\":";
    appendNumber(line_, number);
    line_ += ",\"at\":";
    appendNumber(line_, microseconds(CLOCK_MONOTONIC) - start_);
}

/// And the line's end. Where lines are dropped, nothing is named and hashed for them.
void Recorder::appendFields(Say say, void* call)
{
    if (file_.isFull()) {
        say(call, nullptr, startingState_);
        return;
    }
    Writer fields(line_, *this);
    say(call, &fields, startingState_);
    fields.end();
    line_ += "}\n";
}

/// @param says what the call says; null: its fields do
template <typename Call>
void Recorder::appendWhole(Call call, const char* says, Moment moment)
{
    appendBegin(Direction::in, moment, Call::name);
    line_ += says ? says : askedText(call, *this);
    line_ += "}\n";
    appendEnd(calls_);
    line_ += ",\"gave\":" + answeredText(call, *this) + "}\n";
}

void Recorder::writeLines()
{
    if (!before_.empty() || !line_.empty())
        file_.write(before_, line_);
    emptyButKeepSome(before_);
    emptyButKeepSome(line_);
}

std::string Recorder::nameOf(const char*, Handle kind, uintptr_t value, bool isNew)
{
    return names_.nameOf(kind, value, isNew);
}

std::string Recorder::hashOf(const void* bytes, size_t length)
{
    // What the integrator hands in is a document; the carousel's files come as answers.
    const bool isLeftOut = settings_.leavesOutBodies && direction_ == Direction::out;
    // What the platform gave is most often handed to the browser as it is.
    if (bytes != bytes_ || length != bytesLength_) {
        bytesHash_ = recorder::hashOf(bytes, length);
        bytes_ = bytes;
        bytesLength_ = length;
        const auto [body, isNew] = bodies_.emplace(bytesHash_, isLeftOut);
        if (isNew || (body->second && !isLeftOut))
            appendBody(bytesHash_, bytes, length, isLeftOut);
        body->second = body->second && isLeftOut;
    }
    return bytesHash_;
}

/// A line of its own before the one that names the bytes.
void Recorder::appendBody(const std::string& hash, const void* bytes, size_t length, bool isLeftOut)
{
    before_ += "{\"body\":\"" + hash;
    if (isLeftOut) {
        before_ += "\",\"length\":";
        appendNumber(before_, length);
        before_ += "}\n";
    } else {
        before_ += "\",\"base64\":\"";
        appendBase64(before_, bytes, length);
        before_ += "\"}\n";
    }
}

std::string Recorder::urlFor(const char*, std::string_view url)
{
    return settings_.leavesOutQueries ? queries_.without(url, partsOfUrl) : std::string(url);
}

std::string Recorder::textFor(const char*, std::string_view text)
{
    return settings_.leavesOutQueries ? queries_.without(text, partsOfText) : std::string(text);
}

}  // namespace recorder
