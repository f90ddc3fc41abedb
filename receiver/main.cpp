// The reference receiver: the smallest complete integration of the application manager.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

#include "receiver/carousel/extraction.h"
#include "receiver/console/line_input.h"
#include "receiver/integration/log_bridge.h"
#include "receiver/options.h"
#include "receiver/session.h"
#include "receiver/text/printable.h"

namespace {

using namespace receiver;

bool usesColour()
{
    const char* const refusal = std::getenv("NO_COLOR");
    const char* const terminal = std::getenv("TERM");
    const bool isDumb = terminal && std::string(terminal) == "dumb";
    return ::isatty(STDOUT_FILENO) && !(refusal && *refusal) && !isDumb;
}

std::optional<std::vector<std::string>> readLines(const std::string& path)
{
    std::error_code problem;
    std::ifstream file;
    if (!std::filesystem::is_directory(path, problem))
        file.open(path);
    if (!file.is_open())
        return std::nullopt;
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

int complain(const std::string& problem, ExitCode code)
{
    std::cerr << "vesta_receiver: " << printable(problem) << "\n";
    return code;
}

int play(const Options& options, EventLog& log)
{
    Doorbell doorbell;
    Middleware middleware(options.middleware, log, doorbell);
    ConsoleBrowser browser(log, options.sites);
    Platform platform(middleware.carousels(), log);
    Integrator integrator(log, browser);
    Session session(log, middleware, doorbell, browser, integrator);

    std::optional<LineInput> input;
    if (!options.script.empty()) {
        const auto lines = readLines(options.script);
        if (!lines)
            return complain(options.script + ": cannot be read", exitUnreadable);
        const std::string problem = session.setScript(options.script, *lines);
        if (!problem.empty())
            return complain(problem, exitUsage);
    } else if (options.middleware.input != "-" && ::isatty(STDIN_FILENO)) {
        session.setInteractive(true);
        input.emplace(session, log);
    }
    const int code = session.run();
    input.reset();
    if (code != exitSuccess)
        complain(session.problem(), ExitCode(code));
    if (options.extract.empty() || code == exitUnreadable)
        return code;
    if (extractFiles(middleware.carousels(), options.extract, log))
        return code;
    return complain(options.extract + ": not all files could be written", exitUnreadable);
}

}  // namespace

int main(int argc, char** argv)
{
    std::string problem;
    std::optional<Options> options = parseOptions(argc, argv, problem);
    if (!options)
        return complain(problem + " (--help lists the options)", exitUsage);
    if (options->help) {
        std::cout << usage();
        return exitSuccess;
    }
    const bool isTyped = options->script.empty() && ::isatty(STDIN_FILENO);
    options->middleware.showProgress = ::isatty(STDOUT_FILENO) && !isTyped;
    EventLog log(std::cout, usesColour());
    if (!options->trace.empty() && !log.openTrace(options->trace))
        return complain(options->trace + ": cannot be written", exitUnreadable);
    if (options->logLevel)
        VestaHbbTV::Logging::getInstance()->addOutput(new LogBridge(*options->logLevel, log));
    const int code = play(*options, log);
    delete VestaHbbTV::Logging::getInstance();
    return code;
}
