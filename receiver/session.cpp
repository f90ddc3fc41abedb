#include "receiver/session.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "vesta_hbbtv_appman.h"

#include "receiver/integration/event_records.h"

namespace receiver {

using namespace VestaHbbTV;

namespace {

Doorbell::Clock::duration clockTime(double seconds)
{
    return std::chrono::duration_cast<Doorbell::Clock::duration>(
        std::chrono::duration<double>(seconds));
}

}  // namespace

Session::Session(EventLog& log, Middleware& middleware, Doorbell& doorbell, BrowserEngine& browser,
                 Integrator& integrator)
    : log_(log), middleware_(middleware), doorbell_(doorbell), browser_(browser),
      integrator_(integrator)
{
}

std::string Session::setScript(std::string name, std::vector<std::string> lines)
{
    scriptName_ = std::move(name);
    for (size_t index = 0; index < lines.size(); ++index) {
        if (const Outcome outcome = checkCommand(lines[index]); !outcome)
            return placeOf(index + 1) + outcome.text;
    }
    script_ = std::move(lines);
    return "";
}

void Session::postLine(std::string line)
{
    {
        const MutexLock lock(postedMutex_);
        posted_.push_back(std::move(line));
    }
    doorbell_.ring();
}

void Session::endOfInput()
{
    {
        const MutexLock lock(postedMutex_);
        inputEnded_ = true;
    }
    doorbell_.ring();
}

void Session::quit()
{
    quit_ = true;
    doorbell_.ring();
}

void Session::startLibrary()
{
    // The order matters: the condition before any other thread sends, the window before any table.
    vesta_hbbtv_set_sendevent_condition(doorbell_.condition(), doorbell_.mutex());
    vesta_hbbtv_init(browser_.handle());
    vesta_hbbtv_add_notification_listener(Integrator::listen);
    window_ = vesta_hbbtv_create_window();
    vesta_hbbtv_set_broadcast_window(window_);
    auto* const terminal = newRecord<HBBTV_UserAgentEventData>();
    terminal->versionSelector = 2;  // HbbTV 1.2.1
    terminal->vendorName = ::strdup("vesta");
    terminal->modelName = ::strdup("receiver");
    send({E_USER_AGENT_INFO, terminal});
}

int Session::run()
{
    problem_ = middleware_.open();
    if (!problem_.empty()) {
        if (ending_)
            ending_();
        return exitUnreadable;
    }
    startLibrary();
    if (durationSeconds_ > 0)
        end_ = Doorbell::Clock::now() + clockTime(durationSeconds_);
    middleware_.start();
    while (!quit_) {
        settle();
        showService();
        for (const auto& look : settled_)
            look();
        integrator_.reportStartsThatCameToNothing();
        answerAskers();
        if (isDue() || runNextLine())
            continue;
        if (quit_ || (middleware_.hasEnded() && endWithStream()))
            continue;
        doorbell_.waitForWork([] { return vesta_hbbtv_tick(); }, deadline(),
                              [this] { return browser_.isBusy(); });
    }
    answerAskers();
    if (ending_)
        ending_();
    const std::string why = decisions_.whyNothingRan();
    middleware_.stop();
    vesta_hbbtv_shutdown();
    vesta_hbbtv_set_sendevent_condition(nullptr, nullptr);
    if (!why.empty())
        log_.report(Source::Receiver, "nothing-ran", "no application ran: " + why);
    const std::string problem = afterwards_ ? afterwards_() : "";
    if (!problem.empty() && exitCode_ == exitSuccess)
        fail(exitUnreadable, problem);
    log_.report(Source::Receiver, "end", "the receiver has ended", {{"exit_code", int(exitCode_)}});
    return exitCode_;
}

/// Whether there is no more to do: the time is up, or nobody can see what is done.
bool Session::isDue()
{
    std::string problem = log_.problem();
    if (problem.empty() && pictures_)
        problem = pictures_->look();
    if (!problem.empty())
        fail(exitUnreadable, problem);
    else if (end_ && Doorbell::Clock::now() >= *end_)
        quit_ = true;
    return quit_;
}

/// What the end of the stream means; whoever gives commands may still want to look around.
/// @return whether there is more to do than to wait for that commander
bool Session::endWithStream()
{
    const std::string problem = middleware_.error();
    if (!problem.empty())
        fail(exitUnreadable, problem);
    else if (browser_.isBusy())
        return false;
    else if (wait_)
        giveUpWaiting("the stream ended before " + wait_->what);
    else if (mayHearMore())
        return false;
    else if (middleware_.lacksWantedService())
        fail(exitUsage, middleware_.lack());
    else
        quit_ = true;
    return true;
}

/// Runs everything that is queued and everything that the browser has to do about it.
void Session::settle()
{
    while (vesta_hbbtv_tick() || browser_.runTask()) {
    }
}

/// The video plane shows whatever is tuned to.
void Session::showService()
{
    const std::optional<uint16_t> tuned = middleware_.tunedService();
    std::pair<unsigned, std::string> service(tuned.value_or(0), "");
    for (const Service& each : middleware_.services()) {
        if (tuned == each.programNumber)
            service.second = each.name;
    }
    if (service == shownService_)
        return;
    browser_.setService(service.first, service.second);
    shownService_ = std::move(service);
}

/// @return whether there was a line to run
bool Session::runNextLine()
{
    return !isWaiting() && !quit_ && (runScriptLine() || runPostedLine());
}

bool Session::isWaiting()
{
    if (!wait_)
        return false;
    if (wait_->condition()) {
        wait_.reset();
        return false;
    }
    if (Doorbell::Clock::now() >= wait_->deadline) {
        giveUpWaiting("waited in vain for " + wait_->what);
        return false;
    }
    return true;
}

bool Session::runScriptLine()
{
    if (nextLine_ >= script_.size()) {
        // A script is a whole session: nothing is left to do after its last line.
        quit_ = quit_ || !scriptName_.empty();
        return false;
    }
    const size_t line = ++nextLine_;
    if (const Outcome outcome = runCommand(*this, script_[line - 1]); !outcome)
        failAt(line, outcome);
    return true;
}

bool Session::runPostedLine()
{
    const std::optional<std::string> line = takePostedLine();
    if (!line)
        return false;
    const Outcome outcome = runCommand(*this, *line);
    if (!outcome && commander_ == Commander::Program)
        failAt(nextLine_, outcome);
    else if (!outcome)
        log_.print({outcome.text});
    return true;
}

/// Nothing when there is none; then the end of the input may be the session's, too.
std::optional<std::string> Session::takePostedLine()
{
    const MutexLock lock(postedMutex_);
    if (posted_.empty()) {
        const bool wasCommanded = commander_ == Commander::Person || nextLine_ > 0;
        quit_ = quit_ || (inputEnded_ && wasCommanded);
        return std::nullopt;
    }
    std::string line = std::move(posted_.front());
    posted_.pop_front();
    ++nextLine_;
    return line;
}

/// Whether commands may still come.
bool Session::mayHearMore()
{
    if (staysOpen_)
        return true;
    const MutexLock lock(postedMutex_);
    return commander_ != Commander::None && !(inputEnded_ && posted_.empty());
}

void Session::failAt(size_t line, const Outcome& outcome)
{
    fail(outcome.kind == Outcome::Kind::WrongUsage ? exitUsage : exitExpectation,
         placeOf(line) + outcome.text);
}

void Session::giveUpWaiting(const std::string& why)
{
    const size_t line = wait_->line;
    wait_.reset();
    if (line != 0)
        fail(exitExpectation, placeOf(line) + why);
    else
        log_.print({why});
}

/// Ends the session.
void Session::fail(ExitCode code, const std::string& problem)
{
    exitCode_ = code;
    problem_ = problem;
    quit_ = true;
    log_.report(Source::Receiver, "failed", problem);
}

std::string Session::placeOf(size_t line) const
{
    const std::string name = scriptName_.empty() ? "standard input" : scriptName_;
    return name + ":" + std::to_string(line) + ": ";
}

void Session::waitFor(std::string what, std::function<bool()> condition, double seconds,
                      double lookAgain)
{
    const size_t line = commander_ == Commander::Person ? 0 : nextLine_;
    std::optional<Wait>& wait = asking_ ? asking_->wait : wait_;
    wait = Wait{std::move(what), std::move(condition), Doorbell::Clock::now() + clockTime(seconds),
                line, lookAgain};
}

uint64_t Session::ask(const std::string& line, AnswerTaker taker)
{
    Asker asker = {++lastAsker_, std::move(taker), {}, std::nullopt};
    asking_ = &asker;
    log_.setAnswers(&asker.answer.lines);
    asker.answer.outcome = runCommand(*this, line);
    log_.setAnswers(nullptr);
    asking_ = nullptr;
    const auto latest = Doorbell::Clock::now() + clockTime(mostAskedSeconds);
    if (asker.wait && asker.wait->deadline > latest) {
        asker.answer.outcome = Outcome::wrongUsage("whoever asks may wait for 300 seconds at most");
        asker.wait.reset();
    }
    if (!asker.wait) {
        asker.taker(asker.answer);
        return 0;
    }
    askers_.push_back(std::move(asker));
    return askers_.back().number;
}

void Session::forgetAsker(uint64_t number)
{
    askers_.remove_if([number](const Asker& asker) { return asker.number == number; });
}

void Session::answerAskers()
{
    for (auto asker = askers_.begin(); asker != askers_.end();) {
        if (!isAnswered(*asker)) {
            ++asker;
            continue;
        }
        const Asker answered = std::move(*asker);
        asker = askers_.erase(asker);
        answered.taker(answered.answer);
    }
}

/// Whether the wait is over, for good or ill.
bool Session::isAnswered(Asker& asker)
{
    if (asker.wait->condition())
        return true;
    std::string problem;
    if (quit_)
        problem = "the receiver ended before ";
    else if (Doorbell::Clock::now() >= asker.wait->deadline)
        problem = "waited in vain for ";
    else if (middleware_.hasEnded() && !browser_.isBusy())
        problem = "the stream ended before ";
    if (problem.empty())
        return false;
    asker.answer.outcome = Outcome::failed(problem + asker.wait->what);
    return true;
}

std::optional<Doorbell::Clock::time_point> Session::deadline() const
{
    std::optional<Doorbell::Clock::time_point> next = end_;
    const auto atTheLatest = [&next](Doorbell::Clock::time_point time) {
        next = next ? std::min(*next, time) : time;
    };
    const auto asFor = [&atTheLatest](const Wait& wait) {
        atTheLatest(wait.deadline);
        if (wait.lookAgain > 0)
            atTheLatest(Doorbell::Clock::now() + clockTime(wait.lookAgain));
    };
    if (wait_)
        asFor(*wait_);
    for (const Asker& asker : askers_)
        asFor(*asker.wait);
    if (pictures_ && pictures_->nextLook())
        atTheLatest(*pictures_->nextLook());
    return next;
}

const Integrator::RunningApplication* Session::currentApplication() const
{
    if (const auto* const shown = integrator_.applicationOf(browser_.focusedWindow()))
        return shown;
    return integrator_.applications().empty() ? nullptr : &integrator_.applications().back();
}

void* Session::applicationIdOf(const Integrator::RunningApplication& application)
{
    void* id = nullptr;
    native_AppManGetApplicationId(application.window->id, nullptr, &id);
    return id;
}

}  // namespace receiver
