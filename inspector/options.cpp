#include "inspector/options.h"

#include <charconv>
#include <cmath>
#include <cstdlib>

namespace inspector {

const char* const usage =
    R"(usage: vesta_signalling dump|check [--json] [--service ID] [--seconds N] [--follow]
                        [--url URL] [--strict] INPUT...

dump    says what is signalled: PAT, PMT, SDT, AITs, carousels, and where the URLs lead
check   says what is wrong with it, what the standards want, and what terminals do

INPUT is a transport stream (a file, "-", udp://ADDRESS:PORT or rtp://ADDRESS:PORT), of which there
may be one, and any number of files with sections, with sections in hexadecimal, or with an XML AIT.

  --json         a JSON object, for programs
  --service ID   one service of the stream, and not all of them
  --seconds N    reading ends after so many seconds; else with the input, or with Ctrl-C
  --follow       at the end of a file waits for more: it is being written
  --url URL      where XML AITs come from, for the relative URLs in them
  --strict       the exit code tells of warnings, too
  -h, --help     this text
  --version      the program's version

Exit codes: 0 success, 1 wrong usage, 2 an input that cannot be read, 3 findings of severity error,
4 with --strict findings of severity warning.
docs/signalling.md explains the output.
)";

namespace {

std::optional<uint16_t> readService(const std::string& text)
{
    const bool isHexadecimal = text.rfind("0x", 0) == 0;
    const char* const begin = text.data() + (isHexadecimal ? 2 : 0);
    const char* const end = text.data() + text.size();
    uint16_t id = 0;
    const auto read = std::from_chars(begin, end, id, isHexadecimal ? 16 : 10);
    return read.ec == std::errc() && read.ptr == end ? std::optional(id) : std::nullopt;
}

std::optional<double> readSeconds(const std::string& text)
{
    constexpr double most = 1e9;
    char* end = nullptr;
    const double seconds = std::strtod(text.c_str(), &end);
    const bool isNumber = end != text.c_str() && *end == '\0';
    return isNumber && seconds > 0 && seconds <= most ? std::optional(seconds) : std::nullopt;
}

/// @return whether the option and its value are right
bool takeValue(const std::string& option, const std::string& value, Options& options)
{
    if (option == "--url") {
        options.url = value;
        return !value.empty();
    }
    if (option == "--service") {
        options.service = readService(value);
        return options.service.has_value();
    }
    options.seconds = readSeconds(value);
    return options.seconds.has_value();
}

bool wantsValue(const std::string& word)
{
    return word == "--service" || word == "--seconds" || word == "--url";
}

std::optional<Command> readCommand(const std::string& word)
{
    if (word == "dump")
        return Command::Dump;
    if (word == "check")
        return Command::Check;
    if (word == "--help" || word == "-h")
        return Command::Help;
    if (word == "--version")
        return Command::Version;
    return std::nullopt;
}

}  // namespace

std::optional<Options> parseOptions(const std::vector<std::string>& arguments, std::string& problem)
{
    Options options;
    const auto command = arguments.empty() ? std::nullopt : readCommand(arguments.front());
    if (!command) {
        problem = arguments.empty() ? "dump or check? (--help says more)"
                                    : arguments.front() + ": no such command (--help lists them)";
        return std::nullopt;
    }
    options.command = *command;
    for (size_t i = 1; i < arguments.size(); ++i) {
        const std::string& word = arguments[i];
        if (wantsValue(word)) {
            const std::string value = i + 1 < arguments.size() ? arguments[++i] : "";
            if (!takeValue(word, value, options)) {
                problem = word + ": \"" + value + "\" will not do (--help says more)";
                return std::nullopt;
            }
        } else if (word == "--follow") {
            options.follow = true;
        } else if (word == "--json") {
            options.json = true;
        } else if (word == "--strict" && options.command == Command::Check) {
            options.strict = true;
        } else if (word.size() > 1 && word[0] == '-') {
            problem = word + ": no such option (--help lists them)";
            return std::nullopt;
        } else {
            options.inputs.push_back(word);
        }
    }
    const bool readsInputs = options.command == Command::Dump || options.command == Command::Check;
    if (readsInputs && options.inputs.empty()) {
        problem = "which input? (--help says more)";
        return std::nullopt;
    }
    return options;
}

}  // namespace inspector
