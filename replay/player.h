/// Plays a record into the library and compares what the library calls with it.
#ifndef VESTA_REPLAY_PLAYER_H
#define VESTA_REPLAY_PLAYER_H

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "replay/calls.h"
#include "replay/expecting_stand.h"
#include "replay/library.h"
#include "replay/reader.h"
#include "replay/record.h"
#include "vesta_hbbtv_diagnosis.h"

namespace replay {

/// The program's exit codes.
enum ExitCode {
    exitSame = 0,
    exitUsage = 1,
    exitUnreadable = 2,
    exitDifferent = 3,
    exitCannotGoOn = 4,
    exitSkipped = 77
};

/// How a replay ended.
struct Outcome {
    ExitCode code = exitSame;
    std::string text;  ///< for people, with its line breaks
    /// Of a difference: the function and both sides; where the record is cut off: the innermost
    /// call. Without steps and times.
    std::string signature;
    size_t line = 0;  ///< place in the record's lines where it ended
};

struct PlayerOptions {
    uint64_t until = std::numeric_limits<uint64_t>::max();  ///< the step to stop before
    size_t steps = 10;                                      ///< how many lines a report shows
    /// Called with each decision of the library's; null for nobody.
    std::function<void(uint64_t step, const HBBTV_Decision&, const char* reason)> decided;
};

/// One at a time in a process, and once: the library is not loaded anew.
class Player {
public:
    /// @param leave called where the replay ends inside a call, from which there is no return; must
    ///        not come back
    Player(const Record& record, Library& library, PlayerOptions options,
           std::function<void(const Outcome&)> leave);
    ~Player();
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    /// Plays all of it. @return where that was possible: the rest leaves
    Outcome play();

    void answer(CallOut& call);

private:
    using Kind = Line::Kind;

    void listenToDecisions();
    void playNext();
    void playIn(const Line& line);
    void endIn(const Line& line, CallIn& call);
    void playIdle(const Line& line);

    void answerInState(CallOut& call);
    void playAnswer(const Line& line, CallOut& call);
    bool skipUnaskedInState();

    const Line* next() const;
    void enter(const Line& line, bool isIn);
    void leaveCall();
    void stopBefore(const Line& line);
    [[noreturn]] void stop(ExitCode code, const std::string& what,
                           const std::string& signature = "");
    [[noreturn]] void stopAtTheEnd(const char* remark);
    [[noreturn]] void complain(const Line& line, const std::string& problem);
    /// @param members of the library's side
    [[noreturn]] void differ(const Line& line, const char* function, const Json& members);
    [[noreturn]] void differ(const std::string& headline, const std::string& recordSide,
                             const std::string& librarySide);
    std::string stackText() const;
    std::string latestText() const;
    uint64_t currentStep() const { return open_.empty() ? 0 : open_.back()->step; }

    const std::vector<Line>& lines_;
    const bool isFull_;
    Library& library_;
    PlayerOptions options_;
    std::function<void(const Outcome&)> leave_;
    Meaning meaning_;
    ExpectingStand stand_;
    size_t place_ = 0;               ///< in lines_: what comes next
    std::vector<const Line*> open_;  ///< the calls that have not ended
    bool isInState_ = false;
    bool isIdle_ = false;
    size_t callsIn_ = 0;
    size_t callsOut_ = 0;
};

}  // namespace replay

#endif
