#include "receiver/outside.h"

#include <cerrno>
#include <cstring>
#include <fstream>

#include "receiver/session.h"
#include "receiver/web/report.h"
#include "receiver/web/state_document.h"
#ifdef VESTA_HAS_WEB
#include "receiver/web/server/web_server.h"
#endif

namespace receiver {

#ifndef VESTA_HAS_WEB
class WebServer {};  // without libsoup there is none, but the pointer wants a destructor
#endif

namespace {

// A report is read once, and may be of a long run.
constexpr Chronicle::Limits forReports = {50000, 20000, size_t(32) << 20};

}  // namespace

Outside::Outside(const Options& options, EventLog& log) : options_(options), log_(log)
{
    if (!options.report.empty())
        chronicle_.emplace(log, forReports);
    else if (options.web)
        chronicle_.emplace(log);
}

Outside::~Outside() = default;

std::string Outside::open(Session& session)
{
    if (!chronicle_)
        return "";
    session.setEnding([this, &session] { close(session); });
    return options_.web ? serve(session) : "";
}

#ifdef VESTA_HAS_WEB

std::string Outside::serve(Session& session)
{
    server_ = std::make_unique<WebServer>(session, *chronicle_);
    const std::string problem = server_->listen(*options_.web);
    if (!problem.empty()) {
        server_.reset();
        return problem;
    }
    session.stayOpen();
    log_.report(Source::Receiver, "web", "the television is at " + server_->url(),
                {{"url", server_->url()}});
    return "";
}

void Outside::close(Session& session)
{
    state_ = textOf(stateOf(session));
    if (server_)
        server_->end();
    server_.reset();
}

#else

std::string Outside::serve(Session& /*session*/)
{
    return "";  // the options do not ask for it
}

void Outside::close(Session& session)
{
    state_ = textOf(stateOf(session));
}

#endif

std::string Outside::writeReport() const
{
    if (options_.report.empty())
        return "";
    std::ofstream file(options_.report, std::ios::binary);
    file << reportOf(*chronicle_, {options_.middleware.input, log_.secondsSinceStart(), state_})
         << std::flush;
    return file ? "" : options_.report + ": " + std::strerror(errno);
}

}  // namespace receiver
