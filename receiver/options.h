/// The command line.
#ifndef VESTA_RECEIVER_OPTIONS_H
#define VESTA_RECEIVER_OPTIONS_H

#include <optional>
#include <string>
#include <vector>

#include "foundation/logging.h"
#include "receiver/browser/sites.h"
#include "receiver/service/middleware.h"
#include "receiver/web/web_address.h"

namespace receiver {

struct Options {
    MiddlewareOptions middleware;
    std::vector<Site> sites;
    std::string script;   ///< empty: none; "-" for standard input
    std::string trace;    ///< empty: none
    std::string extract;  ///< empty: no
    std::optional<VestaHbbTV::LogLevel> logLevel;
    std::string browser = "console";  ///< or "wpe"
    double scriptLimit = 20;          ///< seconds that a script of a page may take
    std::string pictures;             ///< a folder for pictures; empty: none
    double duration = 0;              ///< seconds; 0: as long as it takes
    bool why = false;                 ///< show each decision
    std::optional<WebAddress> web;    ///< where the page is served; nothing: nowhere
    std::string report;               ///< a file for it; empty: none
    bool help = false;
    bool version = false;
};

/// @param problem receives an error for people @return nothing where there is one
std::optional<Options> parseOptions(int argc, char** argv, std::string& problem);

/// What --help and --version show.
std::string usage();
std::string versionText();

}  // namespace receiver

#endif
