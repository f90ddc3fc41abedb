// Commands that stand for what applications, and people in front of them, do.

#include <cstdint>
#include <cstring>

#include "vesta_hbbtv_appman.h"

#include "receiver/browser/page.h"
#include "receiver/console/commands.h"
#include "receiver/console/key_names.h"
#include "receiver/integration/event_records.h"
#include "receiver/session.h"

namespace receiver {

using namespace VestaHbbTV;

namespace {

using Application = Integrator::RunningApplication;

Outcome noApplication()
{
    return Outcome::failed("no application is running");
}

const Application* findApplication(Session& session, const std::string& ids)
{
    for (const Application& application : session.integrator().applications()) {
        if (application.ids == ids || application.url == ids)
            return &application;
    }
    return nullptr;
}

/// Runs a native for the application that a command names, or for the current one.
Outcome callNative(Session& session, const Words& words, const char* event, const char* text,
                   int (*native)(void*))
{
    const bool isNamed = words.size() > 1;
    const Application* const application =
        isNamed ? findApplication(session, words[1]) : session.currentApplication();
    if (!application)
        return isNamed ? Outcome::failed("no such application runs: " + words[1]) : noApplication();
    session.log().report(Source::User, event, std::string("the script ") + text,
                         {{"application", application->ids}});
    const int result = native(Session::applicationIdOf(*application));
    if (result != VEIF_RETURN_OK)
        return Outcome::failed("the application manager answered " + std::to_string(result));
    return Outcome::done();
}

/// A key that the application wants beside its key set. @return whether it is one
bool deliverOtherKey(Session& session, const TAVO_VestaWindow* window,
                     const TAVO_KeyboardEvent& event)
{
    const bool isWanted = window && window == session.browser().focusedWindow() &&
                          session.integrator().otherKeysOf(window).count(event.key_code) != 0;
    if (isWanted)
        session.browser().deliverKey(event);
    return isWanted;
}

void offerKey(Session& session, TAVO_VestaWindow* window, int type, int code)
{
    TAVO_KeyboardEvent event = {type, static_cast<TAVO_VIRTUAL_KEY>(code)};
    const bool isConsumed = vesta_hbbtv_key_input(window, &event) == 1;
    const bool isDelivered = isConsumed || deliverOtherKey(session, window, event);
    session.log().report(Source::User, "key",
                         "key " + keyName(code) + (type == TAVO_KEY_DOWN ? " down" : " up") +
                             (isDelivered ? ", for the application" : ", for the receiver"),
                         {{"key", keyName(code)}, {"consumed", isDelivered}});
}

}  // namespace

Outcome pressKey(Session& session, const Words& words)
{
    const int code = keyCode(words[1]);
    if (code == 0)
        return Outcome::wrongUsage(
            "no such key: " + words[1] +
            "; expected RED, GREEN, YELLOW, BLUE, OK, LEFT, UP, RIGHT, DOWN, BACK, PLAY, PAUSE, "
            "STOP, REWIND, FORWARD, PLAYPAUSE, PAGEUP, PAGEDOWN, INFO, 0 to 9 or A to Z");
    const std::string half = words.size() > 2 ? words[2] : "";
    if (!half.empty() && half != "down" && half != "up")
        return Outcome::wrongUsage("expected down or up, not " + half);
    const Application* const application = session.currentApplication();
    TAVO_VestaWindow* const window = application ? application->window : nullptr;
    if (half != "up")
        offerKey(session, window, TAVO_KEY_DOWN, code);
    if (half != "down")
        offerKey(session, window, TAVO_KEY_UP, code);
    return Outcome::done();
}

Outcome startApplication(Session& session, const Words& words)
{
    const std::optional<Ids> ids = idsFrom(words[1]);
    if (!ids && words[1].find(':') == std::string::npos)
        return Outcome::wrongUsage("expected a URL or ids such as a.2a01 (hexadecimal), not " +
                                   words[1]);
    session.log().report(Source::User, "start", "start " + words[1]);
    session.integrator().expectStart(ids ? idsOf(ids->organisationId, ids->applicationId)
                                         : words[1]);
    if (ids) {
        auto* const record = newRecord<HBBTV_StartApplicationEventData>();
        record->window = session.window();
        record->organisationId = ids->organisationId;
        record->applicationId = ids->applicationId;
        send({E_START_APPLICATION, record});
    } else {
        auto* const record = newRecord<HBBTV_StartURLEventData>();
        record->window = session.window();
        record->url = ::strdup(words[1].c_str());
        send({E_START_BROADCAST_INDEPENDENT_APPLICATION, record});
    }
    return Outcome::done();
}

Outcome terminateApplication(Session& session, const Words&)
{
    session.log().report(Source::User, "terminate", "terminate the running application");
    auto* const record = newRecord<HBBTV_WindowEventData>();
    record->window = session.window();
    send({E_TERMINATE_APPLICATION, record});
    return Outcome::done();
}

Outcome createApplication(Session& session, const Words& words)
{
    const Application* const parent = session.currentApplication();
    if (!parent)
        return noApplication();
    session.log().report(Source::User, "create",
                         "the script of " + parent->ids + " creates " + words[1],
                         {{"parent", parent->ids}, {"url", words[1]}});
    session.integrator().setNextParent(parent->ids);
    void* created = nullptr;
    const int result = native_ApplicationCreateApplication(
        words[1].c_str(), 1, Session::applicationIdOf(*parent), &created);
    session.integrator().setNextParent("");
    if (result != VEIF_RETURN_OK)
        session.log().report(Source::Library, "create-failed", "no application was created",
                             {{"result", result}});
    return Outcome::done();
}

Outcome destroyApplication(Session& session, const Words& words)
{
    return callNative(session, words, "destroy", "ends its application",
                      native_ApplicationDestroyApplication);
}

Outcome showApplication(Session& session, const Words& words)
{
    return callNative(session, words, "show", "shows its application", native_ApplicationShow);
}

Outcome hideApplication(Session& session, const Words& words)
{
    return callNative(session, words, "hide", "hides its application", native_ApplicationHide);
}

Outcome setKeySet(Session& session, const Words& words)
{
    const std::optional<uint32_t> mask = keySetFrom(words[1]);
    if (!mask)
        return Outcome::wrongUsage(
            "expected a number or names joined with + (RED, GREEN, YELLOW, BLUE, NAVIGATION, VCR, "
            "SCROLL, INFO, NUMERIC, ALPHA), not " +
            words[1]);
    const Application* const application = session.currentApplication();
    if (!application)
        return noApplication();
    session.log().report(Source::User, "keyset", "the script asks for the keys " + words[1]);
    double granted = 0;
    const int result =
        native_KeySetSetValue(Session::applicationIdOf(*application), *mask, &granted);
    if (result != VEIF_RETURN_OK)
        return Outcome::failed("the application manager answered " + std::to_string(result));
    return Outcome::done();
}

Outcome checkRequest(Session& session, const Words& words)
{
    const Application* const application = session.currentApplication();
    if (!application)
        return noApplication();
    const std::string resolved = resolveURL(application->url, words[1]);
    const std::string target = resolved.empty() ? words[1] : resolved;
    TavoVestaEventData data = {};
    data.url = application->url.c_str();
    data.second_url = target.c_str();
    int result = 0;
    session.log().report(Source::User, "xhr", "the page asks for " + words[1]);
    vesta_hbbtv_handle_notification(session.browser().handle(), application->window,
                                    TAVO_VESTA_EVT_XHR_PERMISSION, &data, &result);
    // The answer comes in the slot of the request id.
    static const char* const answers[] = {"allowed", "denied", "left to the browser"};
    const auto answer = reinterpret_cast<uintptr_t>(data.request_id);
    const std::string text = result != 0 || answer > 2 ? "refused" : answers[answer];
    session.log().report(Source::Library, "request-answer", target + ": " + text,
                         {{"url", target}, {"permission", answer}, {"result", result}});
    return Outcome::done();
}

Outcome subscribe(Session& session, const Words& words)
{
    const Application* const application = session.currentApplication();
    if (!application)
        return noApplication();
    session.log().report(Source::User, "subscribe", "the script listens to " + words[1]);
    std::string event = words.size() > 2 ? words[2] : "";
    const int result = native_BroadcastAddStreamEventListener(
        words[1].c_str(), nullptr, event.data(), nullptr, nullptr, application->window->id);
    if (result != VEIF_RETURN_OK)
        return Outcome::failed("the application manager answered " + std::to_string(result));
    return Outcome::done();
}

Outcome loadResource(Session& session, const Words& words)
{
    const Application* const application = session.currentApplication();
    if (!application)
        return noApplication();
    session.log().report(Source::User, "load", "the page loads " + words[1]);
    if (!session.browser().loadResource(application->window, words[1]))
        return Outcome::failed("this browser loads dvb: resources alone, not " + words[1]);
    return Outcome::done();
}

}  // namespace receiver
