/// The command line.
#ifndef VESTA_REPLAY_OPTIONS_H
#define VESTA_REPLAY_OPTIONS_H

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace replay {

enum class Command { Play, Help, Version };

struct Options {
    Command command = Command::Play;
    std::string file;
    std::string library;  ///< empty: the one beside the program
    std::string kit;      ///< likewise
    uint64_t until = std::numeric_limits<uint64_t>::max();
    size_t steps = 10;
    bool decisions = false;
    bool whole = false;  ///< a record that is cut off is refused
    bool crash = false;  ///< the test is the record of a crash
    std::string test;    ///< the name of the test to write; empty for none
    std::string into;    ///< where it is written; empty: tests/records, here or in a folder above
    std::string shrunk;  ///< where the record that --shrink makes goes; empty for none
};

/// What --help shows.
extern const char* const usage;

/// @param problem receives what is wrong, for people @return nothing where anything is
std::optional<Options> parseOptions(const std::vector<std::string>& arguments,
                                    std::string& problem);

}  // namespace replay

#endif
