/// What a person, or a script, can tell the receiver to do.
#ifndef VESTA_RECEIVER_CONSOLE_COMMANDS_H
#define VESTA_RECEIVER_CONSOLE_COMMANDS_H

#include <cstddef>
#include <string>
#include <vector>

#include "receiver/console/words.h"

namespace receiver {

class Session;

/// What became of a command.
struct Outcome {
    enum class Kind {
        Done,
        WrongUsage,  ///< it was not understood: the text says what was expected
        Failed       ///< it was understood, but could not be done: the text says why
    };
    Kind kind = Kind::Done;
    std::string text;

    static Outcome done() { return {}; }
    static Outcome wrongUsage(std::string text) { return {Kind::WrongUsage, std::move(text)}; }
    static Outcome failed(std::string text) { return {Kind::Failed, std::move(text)}; }
    explicit operator bool() const { return kind == Kind::Done; }
};

/// A command by its name.
struct Command {
    const char* name;
    const char* arguments;  ///< as `help` shows them
    const char* help;
    size_t leastArguments;
    size_t mostArguments;
    /// @param words the command and its arguments
    Outcome (*run)(Session& session, const Words& words);
};

const std::vector<Command>& commands();

/// Longer lines are refused.
constexpr size_t mostLineBytes = size_t(64) << 10;

/// Whether a line is empty, or a command with so many arguments as it takes.
Outcome checkCommand(const std::string& line);

/// Runs one line.
Outcome runCommand(Session& session, const std::string& line);

/// @name The commands
/// @{
Outcome help(Session& session, const Words& words);
Outcome listServices(Session& session, const Words& words);
Outcome zap(Session& session, const Words& words);
Outcome switchHttp(Session& session, const Words& words);
Outcome switchTimeShift(Session& session, const Words& words);
Outcome lowMemory(Session& session, const Words& words);
Outcome setProfiles(Session& session, const Words& words);
Outcome setUserAgent(Session& session, const Words& words);
Outcome setAnswer(Session& session, const Words& words);
Outcome explainDecisions(Session& session, const Words& words);
Outcome showStatus(Session& session, const Words& words);
Outcome wait(Session& session, const Words& words);
Outcome say(Session& session, const Words& words);
Outcome quit(Session& session, const Words& words);
Outcome startApplication(Session& session, const Words& words);
Outcome terminateApplication(Session& session, const Words& words);
Outcome createApplication(Session& session, const Words& words);
Outcome destroyApplication(Session& session, const Words& words);
Outcome showApplication(Session& session, const Words& words);
Outcome hideApplication(Session& session, const Words& words);
Outcome pressKey(Session& session, const Words& words);
Outcome setKeySet(Session& session, const Words& words);
Outcome checkRequest(Session& session, const Words& words);
Outcome subscribe(Session& session, const Words& words);
Outcome loadResource(Session& session, const Words& words);
Outcome writePicture(Session& session, const Words& words);
Outcome expectPicture(Session& session, const Words& words);
/// @}

}  // namespace receiver

#endif
