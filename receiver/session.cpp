#include "receiver/session.h"

#include <utility>

#include "vesta_hbbtv_appman.h"

#include "receiver/commands.h"

namespace receiver {

using namespace VestaHbbTV;

Session::Session(EventLog& log, Middleware& middleware, Doorbell& doorbell, ConsoleBrowser& browser,
                 Integrator& integrator)
    : log_(log), middleware_(middleware), doorbell_(doorbell), browser_(browser),
      integrator_(integrator)
{
}

void Session::setScript(std::string name, std::vector<std::string> lines)
{
    scriptName_ = std::move(name);
    script_ = std::move(lines);
    hasScript_ = true;
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
    vesta_hbbtv_init(nullptr);
    vesta_hbbtv_add_notification_listener(Integrator::listen);
    window_ = vesta_hbbtv_create_window();
    vesta_hbbtv_set_broadcast_window(window_);
}

int Session::run()
{
    startLibrary();
    const std::string problem = middleware_.start();
    if (!problem.empty()) {
        log_.print("vesta_receiver: " + problem + "\n");
        exitCode_ = exitUnreadable;
        quit_ = true;
    }
    while (!quit_) {
        const bool streamHasEnded = middleware_.hasEnded();
        settle();
        if (!middleware_.error().empty()) {
            log_.print("vesta_receiver: " + middleware_.error() + "\n");
            exitCode_ = exitUnreadable;
            break;
        }
        if (runNextLine())
            continue;
        if (streamHasEnded && middleware_.hasEnded()) {
            if (wait_)
                failScript(wait_->line, "the stream ended before " + wait_->what);
            if (isDone())
                break;
        }
        doorbell_.waitForWork([] { return vesta_hbbtv_tick(); }, deadline());
    }
    doorbell_.close();
    middleware_.stop();
    vesta_hbbtv_shutdown();
    vesta_hbbtv_set_sendevent_condition(nullptr, nullptr);
    log_.report(Source::Receiver, "end", "the receiver has ended");
    return exitCode_;
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
        failScript(wait_->line, "waited in vain for " + wait_->what);
        return false;
    }
    return true;
}

bool Session::runScriptLine()
{
    if (nextLine_ >= script_.size()) {
        // A script is a whole session: nothing is left to do behind its last line.
        if (hasScript_ && !interactive_)
            quit_ = true;
        return false;
    }
    const size_t line = ++nextLine_;
    const std::string problem = runCommand(*this, script_[line - 1]);
    if (!problem.empty()) {
        log_.print(scriptName_ + ":" + std::to_string(line) + ": " + problem + "\n");
        exitCode_ = exitUsage;
        quit_ = true;
    }
    return true;
}

bool Session::hasTypedLine()
{
    const std::lock_guard<std::mutex> lock(typedMutex_);
    return !typed_.empty();
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
    const std::string problem = runCommand(*this, line);
    if (!problem.empty())
        log_.print(problem + "\n");
    return true;
}

/// Whether nothing more can happen, now that the stream has ended.
bool Session::isDone()
{
    return quit_ || (!interactive_ && nextLine_ >= script_.size());
}

void Session::failScript(size_t line, const std::string& why)
{
    wait_.reset();
    const std::string where = line ? scriptName_ + ":" + std::to_string(line) + ": " : "";
    log_.print(where + why + "\n");
    if (!interactive_ || line) {
        exitCode_ = exitExpectation;
        quit_ = true;
    }
}

void Session::waitFor(std::string what, std::function<bool()> condition, double seconds)
{
    const auto patience = std::chrono::duration_cast<Doorbell::Clock::duration>(
        std::chrono::duration<double>(seconds));
    // 0 stands for a line that a person typed.
    const size_t line = hasScript_ && !interactive_ ? nextLine_ : 0;
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
