/// What a person, or a script, can tell the receiver to do.
#ifndef VESTA_RECEIVER_COMMANDS_H
#define VESTA_RECEIVER_COMMANDS_H

#include <string>
#include <vector>

namespace receiver {

class Session;

using Words = std::vector<std::string>;

/// A command by its name.
struct Command {
    const char* name;
    const char* arguments;  ///< as `help` shows them
    const char* help;
    size_t leastArguments;
    size_t mostArguments;
    /// @param words the command and its arguments @return an error for people; empty for success
    std::string (*run)(Session& session, const Words& words);
};

const std::vector<Command>& commands();

/// Splits a line at blanks; "double quotes" keep blanks together, # begins a comment.
Words splitWords(const std::string& line);

/// Runs one line. @return an error for people, which says what was expected; empty for success
std::string runCommand(Session& session, const std::string& line);

}  // namespace receiver

#endif
