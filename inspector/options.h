/// The command line.
#ifndef VESTA_INSPECTOR_OPTIONS_H
#define VESTA_INSPECTOR_OPTIONS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace inspector {

enum class Command { Dump, Check, Help, Version };

struct Options {
    Command command = Command::Help;
    bool json = false;
    bool strict = false;
    bool follow = false;  ///< wait at the end of a file for more
    std::optional<uint16_t> service;
    std::optional<double> seconds;
    std::string url;  ///< of XML AITs
    std::vector<std::string> inputs;
};

/// What --help shows.
extern const char* const usage;

/// @param problem receives what is wrong, for people @return nothing where anything is
std::optional<Options> parseOptions(const std::vector<std::string>& arguments,
                                    std::string& problem);

}  // namespace inspector

#endif
