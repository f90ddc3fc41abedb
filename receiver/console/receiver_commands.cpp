// Commands to the receiver itself, and to its middleware.

#include <algorithm>
#include <cstring>
#include <iterator>

#include "vesta_hbbtv_appman.h"

#include "receiver/console/commands.h"
#include "receiver/console/status_page.h"
#include "receiver/integration/event_records.h"
#include "receiver/session.h"

namespace receiver {

using namespace VestaHbbTV;

Outcome listServices(Session& session, const Words&)
{
    session.log().print(servicesPage(session));
    return Outcome::done();
}

Outcome zap(Session& session, const Words& words)
{
    const auto number = wholeNumber(words[1], 0xFFFF);
    for (const Service& service : session.middleware().services()) {
        if (words[1] != service.name && number != service.programNumber)
            continue;
        session.log().report(Source::User, "zap",
                             "zap to service " + std::to_string(service.programNumber),
                             {{"service", service.programNumber}});
        const unsigned before = session.middleware().tunes();
        const double enoughSeconds = 10;
        session.middleware().tune(service.programNumber);
        session.waitFor(
            "the zap", [&session, before] { return session.middleware().tunes() != before; },
            enoughSeconds);
        return Outcome::done();
    }
    return Outcome::failed("no such service: " + words[1] + "; services lists them");
}

Outcome switchHttp(Session& session, const Words& words)
{
    const std::optional<bool> on = switchFrom(words[1]);
    if (!on)
        return Outcome::wrongUsage("expected on or off, not " + words[1]);
    session.log().report(Source::User, "http", "broadband " + words[1]);
    session.integrator().hasBroadband = *on;
    send({*on ? E_HTTP_AVAILABLE : E_HTTP_UNAVAILABLE, nullptr});
    return Outcome::done();
}

Outcome switchTimeShift(Session& session, const Words& words)
{
    const std::optional<bool> on = switchFrom(words[1]);
    if (!on)
        return Outcome::wrongUsage("expected on or off, not " + words[1]);
    session.log().report(Source::User, "timeshift", "time shift " + words[1]);
    session.integrator().isTimeShifted = *on;
    if (vesta_hbbtv_set_time_shifted(session.window(), *on ? 1 : 0) != 0)
        session.log().report(Source::Library, "unchanged",
                             "time shift was " + words[1] + " already");
    return Outcome::done();
}

Outcome lowMemory(Session& session, const Words&)
{
    session.log().report(Source::User, "lowmemory", "memory is low");
    send({E_LOW_MEMORY, nullptr});
    return Outcome::done();
}

Outcome setProfiles(Session& session, const Words& words)
{
    const auto mask = wholeNumber(words[1], 0xFFFF);
    if (!mask)
        return Outcome::wrongUsage("expected a mask from 0 to 0xffff, not " + words[1]);
    session.log().report(Source::User, "profiles", "supported profiles " + words[1]);
    session.integrator().supportedProfiles = *mask;
    auto* const record = newRecord<HBBTV_ProfilesEventData>();
    record->supportedProfiles = static_cast<unsigned short>(*mask);
    send({E_SUPPORTED_PROFILES, record});
    return Outcome::done();
}

Outcome setUserAgent(Session& session, const Words& words)
{
    const auto selector = wholeNumber(words[1], 2);
    if (!selector || *selector == 0)
        return Outcome::wrongUsage("expected 1 for HbbTV 1.1.1 or 2 for HbbTV 1.2.1, not " +
                                   words[1]);
    session.log().report(Source::User, "useragent", "user-agent information");
    session.integrator().version = *selector == 1 ? "1.1.1" : "1.2.1";
    auto* const record = newRecord<HBBTV_UserAgentEventData>();
    record->versionSelector = static_cast<unsigned short>(*selector);
    char** const fields[] = {&record->capabilities,    &record->vendorName,      &record->modelName,
                             &record->softwareVersion, &record->hardwareVersion, &record->reserved};
    for (size_t index = 0; index < std::size(fields) && index + 2 < words.size(); ++index)
        *fields[index] = ::strdup(words[index + 2].c_str());
    send({E_USER_AGENT_INFO, record});
    return Outcome::done();
}

Outcome setAnswer(Session& session, const Words& words)
{
    const bool isStart = words[1] == "start";
    if (!isStart && words[1] != "request")
        return Outcome::wrongUsage("expected start or request, not " + words[1]);
    const auto& answers = isStart ? startAnswers : requestAnswers;
    const auto index = std::find(answers.begin(), answers.end(), words[2]) - answers.begin();
    if (index == static_cast<std::ptrdiff_t>(answers.size()))
        return Outcome::wrongUsage(std::string("expected ") + answers[0] + ", " + answers[1] +
                                   " or " + answers[2] + ", not " + words[2]);
    session.log().report(Source::User, "answer",
                         "from now on the answer to " + words[1] + " is " + words[2]);
    if (isStart)
        session.integrator().startAnswer = static_cast<HBBTV_ApplicationActionType>(index);
    else
        session.integrator().requestAnswer = static_cast<HBBTV_XHR_Permission>(index);
    return Outcome::done();
}

Outcome explainDecisions(Session& session, const Words& words)
{
    const std::string what = words.size() > 1 ? words[1] : "";
    auto sentences = session.decisions().sentencesAbout(what);
    if (!sentences)
        return Outcome::wrongUsage("expected ids such as a.1, or one of " +
                                   DecisionLog::subjects() + ", not " + what);
    if (sentences->empty())
        sentences->emplace_back("nothing was decided" + (what.empty() ? "" : " about " + what));
    session.log().print(*sentences);
    return Outcome::done();
}

Outcome showStatus(Session& session, const Words&)
{
    session.log().print(statusPage(session));
    return Outcome::done();
}

Outcome writePicture(Session& session, const Words& words)
{
    const std::string problem = session.browser().writePicture(words[1]);
    if (!problem.empty())
        return Outcome::failed(problem);
    session.log().report(Source::User, "picture", "a picture is in " + words[1]);
    return Outcome::done();
}

Outcome expectPicture(Session& session, const Words& words)
{
    const std::optional<uint32_t> tolerance = words.size() > 2 ? wholeNumber(words[2], 255) : 0;
    if (!tolerance)
        return Outcome::wrongUsage("expected a tolerance from 0 to 255, not " + words[2]);
    const std::string difference =
        session.browser().comparePicture(words[1], static_cast<int>(*tolerance));
    if (!difference.empty())
        return Outcome::failed(difference);
    session.log().report(Source::User, "picture", "the picture is as in " + words[1]);
    return Outcome::done();
}

Outcome say(Session& session, const Words& words)
{
    std::string text;
    for (size_t index = 1; index < words.size(); ++index)
        text += (index > 1 ? " " : "") + words[index];
    session.log().report(Source::User, "say", text);
    return Outcome::done();
}

Outcome quit(Session& session, const Words&)
{
    session.quit();
    return Outcome::done();
}

}  // namespace receiver
