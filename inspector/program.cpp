#include "inspector/program.h"

#include <optional>
#include <ostream>

#include "inspector/check/checks.h"
#include "inspector/check/report.h"
#include "inspector/dump/document.h"
#include "inspector/dump/printers.h"
#include "inspector/input/input_reader.h"
#include "inspector/options.h"
#include "receiver/console/signal_watch.h"
#include "receiver/text/printable.h"

#ifndef VESTA_VERSION
#error "the build says which version it is"
#endif

namespace inspector {

namespace {

int complain(std::ostream& errors, const std::string& problem, ExitCode code)
{
    errors << "vesta_signalling: " << receiver::printable(problem) << "\n";
    return code;
}

void print(const Node& document, bool json, std::ostream& output)
{
    if (json)
        printJson(document, output);
    else
        printText(document, output);
}

int dump(const Survey& survey, const Options& options, std::ostream& output)
{
    print(documentOf(survey), options.json, output);
    return exitSuccess;
}

int checkAndReport(const Survey& survey, const Options& options, std::ostream& output)
{
    const Findings findings = check(survey);
    if (options.json)
        printJson(documentOf(survey, findings), output);
    else
        printReport(findings, output);
    if (findings.countOf(Severity::Error) > 0)
        return exitErrors;
    return options.strict && findings.countOf(Severity::Warning) > 0 ? exitWarnings : exitSuccess;
}

/// @return what is wrong, for people; empty for success
std::string readInputs(const Options& options, Survey& survey, std::ostream& errors)
{
    const auto say = [&errors](const std::string& remark) {
        errors << "vesta_signalling: " << receiver::printable(remark) << std::endl;
    };
    InputReader reader(survey,
                       {options.service, options.seconds, options.follow, options.url, say});
    const receiver::SignalWatch watch([&reader](const std::string&) { reader.stop(); });
    for (const std::string& path : options.inputs) {
        if (std::string problem = reader.read(path); !problem.empty())
            return problem;
    }
    reader.finish();
    return "";
}

/// Where neither a stream nor a PMT came there is nothing to choose from.
bool lacksService(const Survey& survey, const Options& options)
{
    return options.service && survey.services.count(*options.service) == 0 &&
           (survey.statistics || survey.pmtsNotWanted > 0);
}

int perform(const Options& options, std::ostream& output, std::ostream& errors)
{
    Survey survey;
    if (const std::string problem = readInputs(options, survey, errors); !problem.empty())
        return complain(errors, problem, exitUnreadable);
    if (lacksService(survey, options))
        return complain(errors, "no such service: " + std::to_string(*options.service), exitUsage);
    const int code = options.command == Command::Dump ? dump(survey, options, output)
                                                      : checkAndReport(survey, options, output);
    output.flush();
    return output ? code : complain(errors, "the output cannot be written", exitUnreadable);
}

}  // namespace

int run(const std::vector<std::string>& arguments, std::ostream& output, std::ostream& errors)
{
    std::string problem;
    const std::optional<Options> options = parseOptions(arguments, problem);
    if (!options)
        return complain(errors, problem, exitUsage);
    switch (options->command) {
    case Command::Help:
        output << usage;
        return exitSuccess;
    case Command::Version:
        output << "vesta_signalling " << VESTA_VERSION << "\n";
        return exitSuccess;
    default:
        return perform(*options, output, errors);
    }
}

}  // namespace inspector
