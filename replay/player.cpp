#include "replay/player.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "recorder/boundary/calls_in.h"
#include "replay/progress.h"
#include "replay/texts.h"

namespace replay {

namespace {

Player* current = nullptr;

/// One that finds nothing to do changes nothing: more of them would be the same.
const uint64_t mostIdleTicks = 1000000;

bool isOfTheKit(const char* symbol)
{
    return std::string(symbol).rfind("hbbtv_kit_", 0) == 0;
}

std::string stepText(const Line& line)
{
    return "step " + std::to_string(line.step) + " (line " + std::to_string(line.number) + ")";
}

}  // namespace

void answer(CallOut& call)
{
    if (current)
        current->answer(call);
}

Player::Player(const Record& record, Library& library, PlayerOptions options,
               std::function<void(const Outcome&)> leave)
    : lines_(record.lines), isFull_(record.isFull), library_(library), options_(std::move(options)),
      leave_(std::move(leave)), meaning_(record.bodies), stand_(meaning_, record.leavesOutQueries)
{
    current = this;
}

Player::~Player()
{
    current = nullptr;
}

Outcome Player::play()
{
    listenToDecisions();
    while (next())
        playNext();
    Outcome outcome;
    outcome.text = "the same: " + std::to_string(callsIn_) + " calls of the library, " +
                   std::to_string(callsOut_) + " calls out of it\n";
    outcome.line = place_;
    return outcome;
}

void Player::listenToDecisions()
{
    using Set = decltype(vesta_hbbtv_set_decision_listener);
    using Text = decltype(vesta_hbbtv_reason_text);
    if (!options_.decided)
        return;
    static Text* reasonText = nullptr;
    auto* const set = reinterpret_cast<Set*>(library_.find("vesta_hbbtv_set_decision_listener"));
    reasonText = reinterpret_cast<Text*>(library_.find("vesta_hbbtv_reason_text"));
    if (!set || !reasonText)
        stop(exitUnreadable, "this library says nothing of its decisions\n");
    set(
        [](const HBBTV_Decision* decision, void* self) {
            const auto* const player = static_cast<Player*>(self);
            player->options_.decided(player->currentStep(), *decision,
                                     reasonText(decision->reason));
        },
        this);
}

/// What the integrator does next, outside of the library.
void Player::playNext()
{
    const Line& line = lines_[place_];
    switch (line.kind) {
    case Kind::In:
        stopBefore(line);
        playIn(line);
        break;
    case Kind::Idle:
        place_++;
        playIdle(line);
        break;
    case Kind::StateBegin:
    case Kind::StateEnd:
        isInState_ = line.kind == Kind::StateBegin;
        place_++;
        break;
    case Kind::Out:
    case Kind::End:
        place_++;
        break;
    }
}

void Player::playIn(const Line& line)
{
    const std::unique_ptr<CallIn> call = makeCallIn(line.name);
    const bool ofTheKit = isOfTheKit(call->symbol());
    Reader reader(line.members, meaning_);
    call->read(reader);
    if (!reader.problem().empty())
        complain(line, reader.problem());
    if (ofTheKit && reader.hasReadLeftOutBody())
        stop(exitCannotGoOn,
             "cannot be played: " + stepText(line) + " reads a document that was left out\n");
    std::string problem;
    void* const function =
        ofTheKit ? library_.findInKit(call->symbol(), problem) : library_.find(call->symbol());
    if (!problem.empty())
        stop(exitUnreadable, problem + "\n");
    if (!function)
        stop(ofTheKit ? exitSkipped : exitUnreadable,
             (ofTheKit ? "skipped: there is no kit with " : "the library has no ") + line.name +
                 ", which " + stepText(line) + " calls\n");
    callsIn_++;
    enter(line, true);
    call->perform(function);
    endIn(line, *call);
    if (open_.empty())
        meaning_.arena.clear();
}

/// The library has come back from a call.
void Player::endIn(const Line& line, CallIn& call)
{
    while (isInState_ && skipUnaskedInState()) {
    }
    const Line* const end = next();
    if (!end)
        stopAtTheEnd(", but the library comes back,");
    if (end->threw)
        stop(exitCannotGoOn,
             "cannot be played: an exception left " + line.name + ", " + stepText(line) + "\n");
    stand_.expect(end->kind == Kind::End ? end->members : Json::object());
    const Json given = Json::parse(call.answer(stand_), nullptr, false);
    if (end->kind != Kind::End)
        differ("difference at " + stepText(*end), end->name + " " + shortText(end->members),
               "returns from " + line.name + " " + shortText(given));
    if (!isInState_ && !agrees(given, end->members))
        differ(*end, line.name.c_str(), given);
    place_++;
    leaveCall();
}

void Player::playIdle(const Line& line)
{
    const auto tick =
        reinterpret_cast<recorder::Tick::Function*>(library_.find(recorder::Tick::symbol));
    if (!tick)
        stop(exitUnreadable, "the library has no vesta_hbbtv_tick\n");
    const bool wasIdle = std::exchange(isIdle_, true);
    progress->isIdle = true;
    for (uint64_t ticks = std::min(line.count, mostIdleTicks); ticks > 0; --ticks) {
        if (tick())
            differ("difference in the idle ticks of line " + std::to_string(line.number),
                   "vesta_hbbtv_tick finds nothing to do", "vesta_hbbtv_tick runs an event");
    }
    isIdle_ = wasIdle;
    progress->isIdle = wasIdle;
}

void Player::answer(CallOut& call)
{
    if (open_.empty() && !isIdle_)
        return;  // the library is being loaded, or the process ends
    if (isInState_) {
        answerInState(call);
        return;
    }
    const Line* const line = next();
    if (isIdle_ || (line && (line->kind != Kind::Out || line->name != call.name()))) {
        stand_.expect(Json::object());
        const Json asked = Json::parse(call.question(stand_), nullptr, false);
        const std::string recordSide = isIdle_ ? "vesta_hbbtv_tick finds nothing to do"
                                               : (line->kind == Kind::Out ? "" : "returns from ") +
                                                     line->name + " " + shortText(line->members);
        differ(isIdle_ ? "difference in idle ticks" : "difference at " + stepText(*line),
               recordSide, std::string(call.name()) + " " + shortText(asked));
    }
    if (!line)
        stopAtTheEnd("");
    stopBefore(*line);
    stand_.expect(line->members);
    const Json asked = Json::parse(call.question(stand_), nullptr, false);
    if (!agrees(asked, line->members))
        differ(*line, call.name(), asked);
    playAnswer(*line, call);
}

/// What a call of the library's leads to, and its answer.
void Player::playAnswer(const Line& line, CallOut& call)
{
    callsOut_++;
    enter(line, false);
    while (next() && next()->kind != Kind::End)
        playNext();
    const Line* const end = next();
    if (!end)
        stopAtTheEnd("");
    if (end->threw)
        stop(exitCannotGoOn,
             "cannot be played: " + line.name + " threw an exception in " + stepText(line) + "\n");
    Reader reader(end->members, meaning_);
    call.answer(reader);
    if (!reader.problem().empty())
        complain(*end, reader.problem());
    place_++;
    leaveCall();
}

/// A state has few answers, or none: only what is in it brings the library there.
void Player::answerInState(CallOut& call)
{
    const Line* const line = next();
    if (!line || line->kind != Kind::Out || line->name != call.name() || isIdle_)
        return;
    stand_.expect(line->members);
    call.question(stand_);  // binds the handles that are new
    playAnswer(*line, call);
}

/// @return whether there was a call out of the library that this one did not make
bool Player::skipUnaskedInState()
{
    const Line* const line = next();
    if (!line || line->kind != Kind::Out)
        return false;
    while (next() && (next()->kind != Kind::End || next()->step != line->step))
        place_++;
    if (next())
        place_++;
    return true;
}

const Line* Player::next() const
{
    return place_ < lines_.size() ? &lines_[place_] : nullptr;
}

void Player::enter(const Line& line, bool isIn)
{
    open_.push_back(&line);
    progress->line = place_;
    place_++;
    progress->begin(line.step, isIn, line.name.c_str());
}

void Player::leaveCall()
{
    open_.pop_back();
    progress->end();
}

void Player::stopBefore(const Line& line)
{
    if (line.step >= options_.until)
        stop(exitSame, "stopped before " + stepText(line) + ":\n" + lineText(line) + "\n" +
                           stackText() + latestText());
}

void Player::stop(ExitCode code, const std::string& what, const std::string& signature)
{
    leave_({code, what, signature, place_});
    std::abort();  // leave_ does not come back
}

void Player::stopAtTheEnd(const char* remark)
{
    const Line& innermost = *open_.back();
    stop(exitSame,
         std::string("the same, and the record ") + (isFull_ ? "is full and " : "") + "ends here" +
             remark + " " + stackText(),
         innermost.name + "\n" + shortText(innermost.members));
}

void Player::complain(const Line& line, const std::string& problem)
{
    stop(exitUnreadable,
         "line " + std::to_string(line.number) + ", " + line.name + ": " + problem + "\n");
}

void Player::differ(const Line& line, const char* function, const Json& members)
{
    const char* const returns = line.kind == Kind::End ? "returns from " : "";
    differ("difference at " + stepText(line),
           returns + line.name + " " + markedText(line.members, members),
           returns + std::string(function) + " " + markedText(members, line.members));
}

void Player::differ(const std::string& headline, const std::string& recordSide,
                    const std::string& librarySide)
{
    stop(exitDifferent,
         headline + "\n  the record:  " + recordSide + "\n  the library: " + librarySide + "\n" +
             stackText() + latestText(),
         std::string(progress->function()) + "\n  the record:  " + recordSide +
             "\n  the library: " + librarySide);
}

std::string Player::stackText() const
{
    std::string text = open_.empty() ? "" : "inside:\n";
    for (const Line* const line : open_)
        text += lineText(*line) + "\n";
    return text;
}

std::string Player::latestText() const
{
    if (place_ == 0 || options_.steps == 0)
        return "";
    std::string text = "before it:\n";
    for (size_t place = place_ - std::min(place_, options_.steps); place < place_; ++place)
        text += lineText(lines_[place]) + "\n";
    return text;
}

}  // namespace replay
