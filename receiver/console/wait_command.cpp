// The command that waits until something is as it should be.

#include <algorithm>
#include <functional>

#include "receiver/console/commands.h"
#include "receiver/console/picture_series.h"
#include "receiver/session.h"

namespace receiver {

namespace {

using Test = std::function<bool()>;

Test tunedIn(Session& session, const std::string&)
{
    return [&session] { return session.middleware().tunedService().has_value(); };
}

Test tableInForce(Session& session, const std::string&)
{
    return [&session] { return !session.integrator().table().empty(); };
}

Test running(Session& session, const std::string& ids)
{
    return [&session, ids] {
        const auto* const current = session.currentApplication();
        return current && (ids.empty() || current->ids == ids);
    };
}

Test windowOpen(Session& session, const std::string& number)
{
    const long id = static_cast<long>(wholeNumber(number).value_or(0));
    return [&session, id] {
        const TAVO_VestaWindow* const window = session.browser().findWindow(id);
        return window && session.integrator().applicationOf(window);
    };
}

Test loaded(Session& session, const std::string& url)
{
    return [&session, url] {
        const auto* const current = session.currentApplication();
        if (!current)
            return false;
        return url.empty() ? current->window->loaded
                           : session.browser().hasLoaded(*current->window, url);
    };
}

Test fileComplete(Session& session, const std::string& path)
{
    return [&session, path] { return session.middleware().carousels().hasFile(path); };
}

Test shown(Session& session, const std::string&)
{
    return [&session] { return session.browser().focusedWindow() != nullptr; };
}

Test stopped(Session& session, const std::string&)
{
    return [&session] { return session.integrator().applications().empty(); };
}

Test streamEnded(Session& session, const std::string&)
{
    return [&session] { return session.middleware().hasEnded(); };
}

Test said(Session& session, const std::string& text)
{
    return [&session, text] { return session.hasHeard(text); };
}

Test painted(Session& session, const std::string&)
{
    return [rest = PictureRest(session.browser())]() mutable {
        return rest.isAtRest(PictureRest::Clock::now());
    };
}

struct Condition {
    const char* name;
    size_t leastArguments;
    size_t mostArguments;
    Test (*test)(Session& session, const std::string& argument);
};

const Condition conditions[] = {
    {"service", 0, 0, tunedIn},   {"table", 0, 0, tableInForce}, {"running", 0, 1, running},
    {"window", 1, 1, windowOpen}, {"loaded", 0, 1, loaded},      {"file", 1, 1, fileComplete},
    {"shown", 0, 0, shown},       {"stopped", 0, 0, stopped},    {"end", 0, 0, streamEnded},
    {"said", 1, 1, said},         {"painted", 0, 0, painted},
};

const char expectation[] = "expected service, table, running [IDS], window NUMBER, loaded [URL], "
                           "file PATH, shown, stopped, said TEXT, painted or end, and perhaps "
                           "within SECONDS";

}  // namespace

Outcome wait(Session& session, const Words& words)
{
    Words rest(words.begin() + 1, words.end());
    double seconds = 10;
    if (rest.size() > 2 && rest[rest.size() - 2] == "within") {
        const auto number = positiveNumber(rest.back());
        if (!number)
            return Outcome::wrongUsage("expected seconds after within, not " + rest.back());
        seconds = *number;
        rest.resize(rest.size() - 2);
    }
    const auto* const condition = std::find_if(
        std::begin(conditions), std::end(conditions),
        [&rest](const Condition& candidate) { return rest.front() == candidate.name; });
    const size_t count = rest.size() - 1;
    if (condition == std::end(conditions) || count < condition->leastArguments ||
        count > condition->mostArguments)
        return Outcome::wrongUsage(expectation);
    const std::string argument = count > 0 ? rest[1] : "";
    if (rest[0] == "window" && !wholeNumber(argument))
        return Outcome::wrongUsage("expected the number of a window, not " + argument);
    session.waitFor(rest[0] + (argument.empty() ? "" : " " + argument),
                    condition->test(session, argument), seconds,
                    rest[0] == "painted" ? pictureRestSeconds : 0);
    return Outcome::done();
}

}  // namespace receiver
