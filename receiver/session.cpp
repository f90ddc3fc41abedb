#include "receiver/session.h"

#include <cstring>
#include <utility>

#include "vesta_hbbtv_appman.h"

#include "receiver/console/commands.h"
#include "receiver/integration/event_records.h"

namespace receiver {

using namespace VestaHbbTV;

Session::Session(EventLog& log, Middleware& middleware, Doorbell& doorbell, ConsoleBrowser& browser,
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
        const std::lock_guard<std::mutex> lock(typedMutex_);
        typed_.push_back(std::move(line));
    }
    doorbell_.ring();
}

void Session::endOfInput()
{
    {
        const std::lock_guard<std::mutex> lock(typedMutex_);
        inputEnded_ = true;
    }
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
    if (!problem_.empty())
        return exitUnreadable;
    startLibrary();
    middleware_.start();
    while (!quit_) {
        settle();
        if (runNextLine())
            continue;
        if (quit_ || (middleware_.hasEnded() && endWithStream()))
            continue;
        doorbell_.waitForWork([] { return vesta_hbbtv_tick(); }, deadline());
    }
    middleware_.stop();
    vesta_hbbtv_shutdown();
    vesta_hbbtv_set_sendevent_condition(nullptr, nullptr);
    log_.report(Source::Receiver, "end", "the receiver has ended", {{"exit_code", int(exitCode_)}});
    return exitCode_;
}

/// What the end of the stream means; a person may still want to look around.
/// @return whether there is more to do than to wait for that person
bool Session::endWithStream()
{
    const std::string problem = middleware_.error();
    if (!problem.empty())
        fail(exitUnreadable, problem);
    else if (wait_)
        giveUpWaiting("the stream ended before " + wait_->what);
    else if (interactive_)
        return false;
    else if (middleware_.lacksWantedService())
        fail(exitUsage, "no such service in the stream");
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

/// @return whether there was a line to run
bool Session::runNextLine()
{
    return !isWaiting() && !quit_ && (runScriptLine() || runTypedLine());
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
        // A script is a whole session: nothing is left to do behind its last line.
        quit_ = quit_ || !scriptName_.empty();
        return false;
    }
    const size_t line = ++nextLine_;
    const Outcome outcome = runCommand(*this, script_[line - 1]);
    if (!outcome)
        fail(outcome.kind == Outcome::Kind::WrongUsage ? exitUsage : exitExpectation,
             placeOf(line) + outcome.text);
    return true;
}

bool Session::runTypedLine()
{
    std::string line;
    {
        const std::lock_guard<std::mutex> lock(typedMutex_);
        if (typed_.empty()) {
            quit_ = quit_ || inputEnded_;
            return false;
        }
        line = std::move(typed_.front());
        typed_.pop_front();
    }
    const Outcome outcome = runCommand(*this, line);
    if (!outcome)
        log_.print({outcome.text});
    return true;
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
    return scriptName_ + ":" + std::to_string(line) + ": ";
}

void Session::waitFor(std::string what, std::function<bool()> condition, double seconds)
{
    const auto patience = std::chrono::duration_cast<Doorbell::Clock::duration>(
        std::chrono::duration<double>(seconds));
    const size_t line = interactive_ ? 0 : nextLine_;
    wait_ = Wait{std::move(what), std::move(condition), Doorbell::Clock::now() + patience, line};
}

std::optional<Doorbell::Clock::time_point> Session::deadline() const
{
    return wait_ ? std::optional<Doorbell::Clock::time_point>(wait_->deadline) : std::nullopt;
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
