// The reference receiver: the smallest complete integration of the application manager.

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

#include "foundation/mutex.h"
#include "receiver/browser/console_browser.h"
#include "receiver/carousel/extraction.h"
#include "receiver/console/line_input.h"
#include "receiver/console/piped_input.h"
#include "receiver/console/signal_watch.h"
#include "receiver/integration/log_bridge.h"
#include "receiver/objects/broadcast_host.h"
#include "receiver/objects/object_host.h"
#include "receiver/objects/stream_event_host.h"
#include "receiver/options.h"
#include "receiver/outside.h"
#include "receiver/session.h"
#include "receiver/stream/stream_input.h"
#include "receiver/text/printable.h"
#ifdef VESTA_HAS_GLIB
#include "receiver/glib/glib_main_loop.h"
#endif
#ifdef VESTA_HAS_WPE
#include "receiver/wpe/wpe_browser.h"
#endif

namespace {

using namespace receiver;

bool usesColour()
{
    const char* const refusal = std::getenv("NO_COLOR");
    const char* const terminal = std::getenv("TERM");
    const bool isDumb = terminal && std::string(terminal) == "dumb";
    return ::isatty(STDOUT_FILENO) && !(refusal && *refusal) && !isDumb;
}

std::vector<std::string> readLines(std::istream& stream)
{
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

/// @param path "-" for standard input
std::optional<std::vector<std::string>> readScript(const std::string& path)
{
    if (path == "-")
        return readLines(std::cin);
    std::error_code problem;
    std::ifstream file;
    if (!std::filesystem::is_directory(path, problem))
        file.open(path);
    return file.is_open() ? std::optional(readLines(file)) : std::nullopt;
}

int complain(const std::string& problem, ExitCode code)
{
    std::cerr << "vesta_receiver: " << printable(problem) << "\n";
    return code;
}

/// A standard stream that the caller closed stays closed: no file may get its number.
void reserveStandardStreams()
{
    int lowest = ::open("/dev/null", O_RDONLY);
    while (lowest >= 0 && lowest <= STDERR_FILENO)
        lowest = ::open("/dev/null", O_RDONLY);
    if (lowest >= 0)
        ::close(lowest);
}

/// Text that was asked for on the command line.
int answer(const std::string& text)
{
    std::cout << text << std::flush;
    return std::cout
               ? exitSuccess
               : complain(std::string("standard output: ") + std::strerror(errno), exitUnreadable);
}

/// @return whether there is such a folder, or could be made
bool isWritable(const std::string& folder)
{
    std::error_code problem;
    std::filesystem::create_directories(folder, problem);
    return !problem && ::access(folder.c_str(), W_OK | X_OK) == 0;
}

/// @return why there can be no such file; empty if there can. It is not made, and none is emptied.
std::string problemOfFile(const std::string& path)
{
    std::error_code problem;
    if (std::filesystem::is_directory(path, problem))
        return std::strerror(EISDIR);
    std::string place = path;
    int rights = W_OK;
    if (!std::filesystem::exists(path, problem)) {
        place = (std::filesystem::path(path).parent_path() / ".").string();
        rights = W_OK | X_OK;
    }
    return ::access(place.c_str(), rights) == 0 ? "" : std::strerror(errno);
}

/// Nobody wants to hear at the end of a long stream that the output was never possible.
std::string problemOf(const Options& options)
{
    for (const Site& site : options.sites) {
        if (std::string problem = receiver::problemOf(site); !problem.empty())
            return "--site: " + problem;
    }
#ifdef VESTA_HAS_WPE
    if (options.browser == "wpe") {
        if (std::string problem = WpeBrowser::problemOf(options.sites); !problem.empty())
            return problem;
    }
#endif
    for (const std::string& folder : {options.extract, options.pictures}) {
        if (!folder.empty() && !isWritable(folder))
            return folder + ": cannot be written";
    }
    const std::string problem = options.report.empty() ? "" : problemOfFile(options.report);
    return problem.empty() ? "" : options.report + ": " + problem;
}

/// @return what standard input is, for a session without a script
Session::Commander commanderOf(const Options& options)
{
    if (!options.script.empty() || options.middleware.input == "-")
        return Session::Commander::None;
    return ::isatty(STDIN_FILENO) ? Session::Commander::Person : Session::Commander::Program;
}

/// @return what went wrong; empty for success
std::string extract(Middleware& middleware, const std::string& folder, EventLog& log)
{
    const bool hasPlayed = middleware.statistics().packets != 0;
    if (!hasPlayed || extractFiles(middleware.carousels(), folder, log))
        return "";
    return folder + ": not all files could be written";
}

/// The browser of the options, and what belongs to it.
struct Screen {
    std::unique_ptr<MainLoop> loop;  ///< null where it has none of its own
    std::unique_ptr<BrowserEngine> browser;
    ScriptedBrowser* scripts = nullptr;  ///< null where it runs none
};

Screen makeScreen(const Options& options, EventLog& log)
{
    Screen screen;
#ifdef VESTA_HAS_GLIB
    if (options.browser == "wpe" || options.web)
        screen.loop = std::make_unique<GLibMainLoop>();
#endif
#ifdef VESTA_HAS_WPE
    if (options.browser == "wpe") {
        auto browser = std::make_unique<WpeBrowser>(log, options.sites, options.scriptLimit);
        screen.scripts = browser.get();
        screen.browser = std::move(browser);
        return screen;
    }
#endif
    screen.browser = std::make_unique<ConsoleBrowser>(log, options.sites);
    return screen;
}

/// Passes on to the session that somebody wants the receiver to end; any thread.
class Ending {
public:
    explicit Ending(EventLog& log) : log_(log) {}

    void ask(const std::string& signal)
    {
        log_.report(Source::Receiver, "signal", signal + ": the receiver is to end");
        const VestaHbbTV::MutexLock lock(mutex_);
        isAsked_ = true;
        if (session_)
            session_->quit();
    }

    /// @param session borrowed until the next call; null for none
    void setSession(Session* session)
    {
        const VestaHbbTV::MutexLock lock(mutex_);
        session_ = session;
        if (session_ && isAsked_)
            session_->quit();
    }

private:
    EventLog& log_;
    VestaHbbTV::Mutex mutex_;
    Session* session_ VESTA_GUARDED_BY(mutex_) = nullptr;
    bool isAsked_ VESTA_GUARDED_BY(mutex_) = false;
};

int play(const Options& options, EventLog& log)
{
    // Before anything that makes threads: signals are to come to the watch alone.
    Ending ending(log);
    const SignalWatch signals([&ending](const std::string& name) { ending.ask(name); });
    Outside outside(options, log);
    const Screen screen = makeScreen(options, log);
    Doorbell doorbell(screen.loop.get());
    Middleware middleware(options.middleware, log, doorbell);
    BrowserEngine& browser = *screen.browser;
    Platform platform(middleware.carousels(), middleware.streamEvents(), log);
    Integrator integrator(log, browser, &middleware.tableBook());
    std::optional<ObjectHost> objects;
    if (screen.scripts)
        objects.emplace(log, integrator, *screen.scripts);
    Session session(log, middleware, doorbell, browser, integrator);
    std::optional<BroadcastHost> broadcast;
    std::optional<StreamEventHost> streamEvents;
    if (objects) {
        objects->setDebugListener([&session](const std::string& text) { session.hear(text); });
        broadcast.emplace(BroadcastHost::Parts{*objects, middleware, browser, platform, log,
                                               &middleware.information()});
        streamEvents.emplace(*objects, browser, middleware.streamEvents());
        session.addSettledListener([&broadcast] { broadcast->update(); });
    }
    session.setDuration(options.duration);
    if (options.why)
        session.decisions().showEach();
    if (!options.pictures.empty())
        session.setPictures(options.pictures);
    if (!options.extract.empty())
        session.setAfterwards([&] { return extract(middleware, options.extract, log); });
    if (!options.script.empty()) {
        const std::string name = options.script == "-" ? "standard input" : options.script;
        const auto lines = readScript(options.script);
        if (!lines)
            return complain(name + ": cannot be read", exitUnreadable);
        const std::string problem = session.setScript(name, *lines);
        if (!problem.empty())
            return complain(problem, exitUsage);
    }
    // From here on the session runs, and its end is that of the server, too.
    if (const std::string problem = outside.open(session); !problem.empty())
        return complain(problem, exitUnreadable);

    const Session::Commander commander = commanderOf(options);
    session.setCommander(commander);
    std::optional<LineInput> typed;
    std::optional<PipedInput> piped;
    if (commander == Session::Commander::Person)
        typed.emplace(session, log);
    else if (commander == Session::Commander::Program)
        piped.emplace(session, STDIN_FILENO);
    ending.setSession(&session);
    const int code = session.run();
    ending.setSession(nullptr);
    typed.reset();
    piped.reset();
    const std::string unwritten = outside.writeReport();
    if (code != exitSuccess)
        return complain(session.problem(), ExitCode(code));
    return unwritten.empty() ? code : complain(unwritten, exitUnreadable);
}

/// As far as it could be written.
int playAndLog(const Options& options)
{
    EventLog log(std::cout, usesColour());
    if (!options.trace.empty() && !log.openTrace(options.trace))
        return complain(options.trace + ": cannot be written", exitUnreadable);
    const bool isWitnessed = options.web || !options.report.empty();
    if (options.logLevel || isWitnessed)
        VestaHbbTV::Logging::getInstance()->addOutput(
            new LogBridge(options.logLevel, isWitnessed, log));
    const int code = play(options, log);
    delete VestaHbbTV::Logging::getInstance();
    const bool isUnwritten = code == exitSuccess && !log.problem().empty();
    return isUnwritten ? complain(log.problem(), exitUnreadable) : code;
}

}  // namespace

int main(int argc, char** argv)
{
    reserveStandardStreams();
    // Output that nobody reads any more is output that cannot be written.
    std::signal(SIGPIPE, SIG_IGN);
    std::string problem;
    std::optional<Options> options = parseOptions(argc, argv, problem);
    if (!options)
        return complain(problem + " (--help lists the options)", exitUsage);
    if (options->help)
        return answer(usage());
    if (options->version)
        return answer(versionText());
    problem = problemOf(*options);
    if (!problem.empty())
        return complain(problem, exitUnreadable);
    const bool isTyped = commanderOf(*options) == Session::Commander::Person;
    const bool hasOwnPace = isNetworkInput(options->middleware.input);
    const bool isWatched = options->browser != "console" || options->web;
    if (isWatched && options->middleware.speed == 0 && !hasOwnPace)
        options->middleware.speed = 1;  // a page needs its time, and so do eyes
    options->middleware.showProgress = ::isatty(STDOUT_FILENO) && !isTyped;
    return playAndLog(*options);
}
