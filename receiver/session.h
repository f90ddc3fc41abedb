/// The browser thread: it runs the application manager, the browser and the commands.
#ifndef VESTA_RECEIVER_SESSION_H
#define VESTA_RECEIVER_SESSION_H

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "foundation/mutex.h"
#include "receiver/browser/browser_engine.h"
#include "receiver/console/commands.h"
#include "receiver/console/event_log.h"
#include "receiver/console/picture_series.h"
#include "receiver/integration/decision_log.h"
#include "receiver/integration/doorbell.h"
#include "receiver/integration/integrator.h"
#include "receiver/integration/platform.h"
#include "receiver/service/middleware.h"

namespace receiver {

/// The program's exit codes.
enum ExitCode : int {
    exitSuccess = 0,
    exitUsage = 1,
    exitUnreadable = 2,  ///< unreadable input or unwritable output
    exitExpectation = 3  ///< a script's expectation was not met
};

/// One run of the receiver, from tuning in to the clean end. Everything but postLine(),
/// endOfInput() and quit() belongs to the thread that calls run().
class Session {
public:
    /// @param log, middleware, doorbell, browser, integrator borrowed
    Session(EventLog& log, Middleware& middleware, Doorbell& doorbell, BrowserEngine& browser,
            Integrator& integrator);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Lines to run one after another; the first that fails ends the session. Nothing is taken
    /// from a script with a line that is no command.
    /// @return the first such line with its number; empty for success
    std::string setScript(std::string name, std::vector<std::string> lines);

    /// Who else tells the session what to do, by postLine(). It is waited for as long as it may.
    enum class Commander {
        None,
        Person,  ///< whose mistakes are said, and who ends the session with the input
        Program  ///< whose lines are a script's: the first that fails ends the session, so does the
                 ///< last; without any the stream is played to its end
    };
    void setCommander(Commander commander) { commander_ = commander; }

    /// The end of the stream does not end the session: somebody else may always command it.
    void stayOpen() { staysOpen_ = true; }

    /// What became of a line that somebody asked for.
    struct Answer {
        Outcome outcome;
        std::vector<std::string> lines;  ///< what the command wrote
    };
    using AnswerTaker = std::function<void(const Answer&)>;

    /// A line that would wait longer for its answer is refused.
    static constexpr double mostAskedSeconds = 300;

    /// Runs a line beside those of the script and the commander, which it neither ends nor waits
    /// for. To be called where the browser thread handles its main loop's events, which the browser
    /// may do between two of its tasks, too.
    /// @param taker is called once: now, or when what the line waits for is there, or will not be
    /// @return the asker's number for forgetAsker(), while the line is under way; 0 if it is
    ///         answered
    uint64_t ask(const std::string& line, AnswerTaker taker);

    /// Nobody waits for this answer any more: the taker is not called. Not from within a taker.
    void forgetAsker(uint64_t number);

    /// Any thread: a line of the commander's, and that no more will come.
    void postLine(std::string line);
    void endOfInput();

    /// A picture of everything that is seen goes there.
    void setPictures(const std::string& folder) { pictures_.emplace(folder, browser_); }

    /// Ends the session so long after its beginning, as quit() does.
    void setDuration(double seconds) { durationSeconds_ = seconds; }

    /// What is to be done after the session, before the end is reported.
    /// @param work returns what went wrong; empty for success
    void setAfterwards(std::function<std::string()> work) { afterwards_ = std::move(work); }

    /// @param end is called when run() is about to end, for whatever reason, while everything is
    ///        still there
    void setEnding(std::function<void()> end) { ending_ = std::move(end); }

    /// @param look is called whenever everything that was queued is done
    void addSettledListener(std::function<void()> look) { settled_.push_back(std::move(look)); }

    /// Runs until a command, the script's end or the end of the stream ends it.
    /// @return an ExitCode
    int run();

    /// Any thread: ends the session, a success if nothing has failed.
    void quit();

    /// Why run() did not return exitSuccess, for people.
    const std::string& problem() const { return problem_; }

    /// @name For the commands
    /// @{
    EventLog& log() { return log_; }
    Middleware& middleware() { return middleware_; }
    BrowserEngine& browser() { return browser_; }
    Integrator& integrator() { return integrator_; }
    DecisionLog& decisions() { return decisions_; }
    void* window() const { return window_; }

    /// The next command waits until the condition holds.
    /// @param what for the message when it does not in time
    /// @param lookAgain after so many seconds the condition is looked at again, even if nothing
    ///        happened; 0: never
    void waitFor(std::string what, std::function<bool()> condition, double seconds,
                 double lookAgain = 0);

    /// What pages have said (their debug()) since the session began.
    bool hasHeard(const std::string& text) const { return heard_.count(text) != 0; }
    void hear(const std::string& text) { heard_.insert(text); }

    /// The application that gets keys and commands without an id: the one that was shown last, or
    /// the one that started last; null without any.
    const Integrator::RunningApplication* currentApplication() const;

    /// The browser window's application id, as scripts carry it; null without one.
    static void* applicationIdOf(const Integrator::RunningApplication& application);
    /// @}

private:
    struct Wait {
        std::string what;
        std::function<bool()> condition;
        Doorbell::Clock::time_point deadline;
        size_t line;  ///< of the script or program; 0 for one that a person typed
        double lookAgain;
    };

    /// Somebody whose line is under way.
    struct Asker {
        uint64_t number;
        AnswerTaker taker;
        Answer answer;
        std::optional<Wait> wait;  ///< nothing: it is done
    };

    void startLibrary();
    void settle();
    void showService();
    bool runNextLine();
    bool runScriptLine();
    bool runPostedLine();
    std::optional<std::string> takePostedLine();
    bool mayHearMore();
    bool isWaiting();
    void answerAskers();
    bool isAnswered(Asker& asker);
    bool endWithStream();
    void giveUpWaiting(const std::string& why);
    void failAt(size_t line, const Outcome& outcome);
    void fail(ExitCode code, const std::string& problem);
    bool isDue();
    std::string placeOf(size_t line) const;
    std::optional<Doorbell::Clock::time_point> deadline() const;

    EventLog& log_;
    DecisionLog decisions_{log_};
    Middleware& middleware_;
    Doorbell& doorbell_;
    BrowserEngine& browser_;
    Integrator& integrator_;
    void* window_ = nullptr;
    std::string scriptName_;
    std::vector<std::string> script_;
    size_t nextLine_ = 0;
    std::optional<Wait> wait_;
    std::optional<PictureSeries> pictures_;
    std::set<std::string> heard_;
    std::pair<unsigned, std::string> shownService_;  // id and name
    Commander commander_ = Commander::None;
    double durationSeconds_ = 0;  // 0: as long as it takes
    std::optional<Doorbell::Clock::time_point> end_;
    std::function<void()> ending_;
    std::function<std::string()> afterwards_;
    std::vector<std::function<void()>> settled_;
    std::list<Asker> askers_;  // who wait
    uint64_t lastAsker_ = 0;
    Asker* asking_ = nullptr;  // whose line is being run
    bool staysOpen_ = false;
    std::atomic<bool> quit_{false};
    ExitCode exitCode_ = exitSuccess;
    std::string problem_;

    VestaHbbTV::Mutex postedMutex_;
    std::deque<std::string> posted_ VESTA_GUARDED_BY(postedMutex_);
    bool inputEnded_ VESTA_GUARDED_BY(postedMutex_) = false;
};

}  // namespace receiver

#endif
