/// The command line.
#ifndef VESTA_RECEIVER_OPTIONS_H
#define VESTA_RECEIVER_OPTIONS_H

#include <optional>
#include <string>
#include <vector>

#include "foundation/logging.h"
#include "receiver/browser/console_browser.h"
#include "receiver/service/middleware.h"

namespace receiver {

struct Options {
    MiddlewareOptions middleware;
    std::vector<Site> sites;
    std::string script;   ///< empty: none
    std::string trace;    ///< empty: none
    std::string extract;  ///< empty: no
    std::optional<VestaHbbTV::LogLevel> logLevel;
    bool help = false;
};

/// @param problem receives an error for people @return nothing where there is one
std::optional<Options> parseOptions(int argc, char** argv, std::string& problem);

/// What --help shows.
std::string usage();

}  // namespace receiver

#endif
