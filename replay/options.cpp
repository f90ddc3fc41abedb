#include "replay/options.h"

#include <charconv>

namespace replay {

const char* const usage =
    R"(usage: vesta_replay [--library FILE] [--kit FILE] [--until N] [--steps N] [--decisions]
                    [--whole] [--test NAME [--into FOLDER] [--crash] | --shrink OUT] RECORD

Plays a record of libvesta_hbbtv_recorder.so into the library, and stops at the first call out of it
that the record does not have.

  --library FILE  the library; else the one beside the program, or the system's
  --kit FILE      the kit, for records that read XML AITs; likewise
  --until N       stops before step N and says where that is; with --test, keeps what is before it
  --steps N       so many lines before a difference, a stop or a crash are shown (10)
  --decisions     says what the library decides on the way, and why
  --whole         refuses a record that is cut off, unless it is kept as that of a crash
  --test NAME     where the replay agrees, writes the record, which has to be whole, as the test NAME
  --into FOLDER   where to; else tests/records, in this folder or one above it
  --crash         the test is the record of a crash, and ends inside the call that crashed
  --shrink OUT    where the replay crashes or differs, or comes where the record is cut off: writes the
                  least record that does the same
  -h, --help      this text
  --version       the program's version

Exit codes: 0 the same, 1 wrong usage, 2 a record or a library that cannot be read, 3 a difference,
4 a record that cannot be played any further, or is not whole, 77 a record that needs what is not
there (the kit). A crash of the library stays one.
docs/recording.md explains the rest.
)";

namespace {

template <typename Number>
bool readNumber(const std::string& text, Number& number)
{
    const char* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number);
    return read.ec == std::errc() && read.ptr == end;
}

/// Of a file that the shell need not quote.
bool isPlainName(const std::string& name)
{
    return !name.empty() && name.front() != '.' && name.front() != '-' &&
           name.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                  "0123456789._-") == std::string::npos;
}

/// @return nothing for an option without a value
std::optional<bool> takeValue(const std::string& option, const std::string& value, Options& options)
{
    const struct {
        const char* option;
        std::string& text;
    } texts[] = {{"--library", options.library},
                 {"--kit", options.kit},
                 {"--into", options.into},
                 {"--shrink", options.shrunk}};
    for (const auto& each : texts) {
        if (option == each.option) {
            each.text = value;
            return !value.empty();
        }
    }
    if (option == "--until")
        return readNumber(value, options.until);
    if (option == "--steps")
        return readNumber(value, options.steps);
    if (option == "--test") {
        options.test = value;
        return isPlainName(value);
    }
    return std::nullopt;
}

bool wantsValue(const std::string& word)
{
    Options ignored;
    return takeValue(word, "", ignored).has_value();
}

bool takeWord(const std::string& word, Options& options)
{
    if (word == "--help" || word == "-h")
        options.command = Command::Help;
    else if (word == "--version")
        options.command = Command::Version;
    else if (word == "--decisions")
        options.decisions = true;
    else if (word == "--whole")
        options.whole = true;
    else if (word == "--crash")
        options.crash = true;
    else if (word.empty() || word.front() == '-' || !options.file.empty())
        return false;
    else
        options.file = word;
    return true;
}

std::string whatDoesNotFit(const Options& options)
{
    if (options.command != Command::Play)
        return "";
    if (options.file.empty())
        return "which record?";
    if (!options.test.empty() && !options.shrunk.empty())
        return "--test is for a record that agrees, --shrink for one that does not";
    const bool isUntil = options.until != Options().until;
    if (isUntil && !options.shrunk.empty())
        return "--until stops before the end, and --shrink needs to come there";
    if (!options.into.empty() && options.test.empty())
        return "--into says where --test writes";
    if (options.crash && options.test.empty())
        return "--crash says of which kind --test writes";
    if (options.crash && isUntil)
        return "--crash keeps the record to its end, --until to a step before it";
    return "";
}

}  // namespace

std::optional<Options> parseOptions(const std::vector<std::string>& arguments, std::string& problem)
{
    Options options;
    for (size_t place = 0; place < arguments.size(); ++place) {
        const std::string& word = arguments[place];
        if (wantsValue(word)) {
            const std::string value = place + 1 < arguments.size() ? arguments[++place] : "";
            if (!*takeValue(word, value, options))
                problem = "what does " + word + " mean by \"" + value + "\"?";
        } else if (!takeWord(word, options)) {
            problem = word.rfind('-', 0) == 0 ? "no such option: " + word
                                              : "one record at a time: " + word;
        }
        if (!problem.empty())
            return std::nullopt;
    }
    problem = whatDoesNotFit(options);
    return problem.empty() ? std::optional(options) : std::nullopt;
}

}  // namespace replay
