#include "receiver/commands.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <sstream>

#include "vesta_hbbtv_appman.h"

#include "receiver/session.h"
#include "receiver/status_page.h"

namespace receiver {

using namespace VestaHbbTV;

namespace {

using Application = Integrator::RunningApplication;

const char noApplication[] = "no application is running";

/// A whole number, decimal or with 0x; nothing for anything else.
std::optional<unsigned long> numberOf(const std::string& text)
{
    char* end = nullptr;
    const unsigned long number = std::strtoul(text.c_str(), &end, 0);
    const bool isNumber = !text.empty() && *end == '\0' && text[0] != '-' && text[0] != '+';
    return isNumber ? std::optional<unsigned long>(number) : std::nullopt;
}

struct Ids {
    uint32_t organisationId;
    uint16_t applicationId;
};

/// "a.2a01": organisation and application id in hexadecimal.
std::optional<Ids> idsFrom(const std::string& text)
{
    const size_t dot = text.find('.');
    if (dot == std::string::npos)
        return std::nullopt;
    const std::string parts[] = {text.substr(0, dot), text.substr(dot + 1)};
    for (const std::string& part : parts) {
        if (part.empty() || part.size() > 8 ||
            part.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
            return std::nullopt;
    }
    const unsigned long application = std::strtoul(parts[1].c_str(), nullptr, 16);
    if (application > 0xFFFF)
        return std::nullopt;
    return Ids{static_cast<uint32_t>(std::strtoul(parts[0].c_str(), nullptr, 16)),
               static_cast<uint16_t>(application)};
}

template <typename Member>
Member* newRecord()
{
    return static_cast<Member*>(std::calloc(1, sizeof(Member)));
}

void send(HBBTV_EventType type, void* record = nullptr)
{
    vesta_hbbtv_send_event(type, static_cast<HBBTV_EventData*>(record));
}

/// The application of a command's optional ids; the current one without them.
const Application* applicationFrom(Session& session, const Words& words, size_t index)
{
    if (words.size() <= index)
        return session.currentApplication();
    for (const Application& application : session.integrator().applications()) {
        if (application.ids == words[index] || application.url == words[index])
            return &application;
    }
    return nullptr;
}

/// Runs a native for the application that a command names.
std::string callNative(Session& session, const Words& words, int (*native)(void*))
{
    const Application* const application = applicationFrom(session, words, 1);
    if (!application)
        return noApplication;
    const int result = native(Session::applicationIdOf(*application));
    return result == VEIF_RETURN_OK ? ""
                                    : "the application manager answered " + std::to_string(result);
}

std::string help(Session& session, const Words& words)
{
    std::ostringstream text;
    bool isFound = false;
    for (const Command& command : commands()) {
        if (words.size() > 1 && words[1] != command.name)
            continue;
        isFound = true;
        std::string usage = std::string(command.name) + " " + command.arguments;
        usage.resize(std::max<size_t>(usage.size() + 2, 34), ' ');
        text << "  " << usage << command.help << "\n";
    }
    if (!isFound)
        return "there is no command " + words[1] + "; help lists them";
    session.log().print(text.str());
    return "";
}

std::string listServices(Session& session, const Words&)
{
    session.log().print(servicesPage(session));
    return "";
}

std::string zap(Session& session, const Words& words)
{
    const std::vector<Service> services = session.middleware().services();
    for (const Service& service : services) {
        if (words[1] != service.name && numberOf(words[1]) != service.programNumber)
            continue;
        session.log().report(Source::User, "zap",
                             "zap to service " + std::to_string(service.programNumber));
        const unsigned before = session.middleware().tunes();
        const double enoughSeconds = 10;
        session.middleware().tune(service.programNumber);
        session.waitFor(
            "the zap", [&session, before] { return session.middleware().tunes() != before; },
            enoughSeconds);
        return "";
    }
    return "no such service: " + words[1] + "; services lists them";
}

std::string pressKey(Session& session, const Words& words)
{
    const int code = keyCode(words[1]);
    if (code == 0)
        return "no such key: " + words[1] +
               "; expected RED, GREEN, YELLOW, BLUE, OK, LEFT, UP, RIGHT, DOWN, BACK, PLAY, "
               "PAUSE, STOP, REWIND, FORWARD, PLAYPAUSE, PAGEUP, PAGEDOWN, INFO, 0 to 9 or A to Z";
    if (words.size() > 2 && words[2] != "down" && words[2] != "up")
        return "expected down or up, not " + words[2];
    const Application* const application = session.currentApplication();
    TAVO_VestaWindow* const window = application ? application->window : nullptr;
    for (const int type : {TAVO_KEY_DOWN, TAVO_KEY_UP}) {
        if (words.size() > 2 && (words[2] == "down") != (type == TAVO_KEY_DOWN))
            continue;
        TAVO_KeyboardEvent event = {type, static_cast<TAVO_VIRTUAL_KEY>(code)};
        const bool isConsumed = vesta_hbbtv_key_input(window, &event) == 1;
        session.log().report(Source::User, "key",
                             "key " + keyName(code) + (type == TAVO_KEY_DOWN ? " down" : " up") +
                                 (isConsumed ? ", for the application" : ", for the receiver"),
                             {{"key", keyName(code)}, {"consumed", isConsumed}});
    }
    return "";
}

std::string startApplication(Session& session, const Words& words)
{
    session.log().report(Source::User, "start", "start " + words[1]);
    if (const std::optional<Ids> ids = idsFrom(words[1])) {
        auto* const record = newRecord<HBBTV_StartApplicationEventData>();
        record->window = session.window();
        record->organisationId = ids->organisationId;
        record->applicationId = ids->applicationId;
        send(E_START_APPLICATION, record);
        return "";
    }
    if (words[1].find(':') == std::string::npos)
        return "expected a URL or ids such as a.2a01 (hexadecimal), not " + words[1];
    auto* const record = newRecord<HBBTV_StartURLEventData>();
    record->window = session.window();
    record->url = ::strdup(words[1].c_str());
    send(E_START_BROADCAST_INDEPENDENT_APPLICATION, record);
    return "";
}

std::string createApplication(Session& session, const Words& words)
{
    const Application* const parent = session.currentApplication();
    if (!parent)
        return noApplication;
    session.log().report(Source::User, "create",
                         "the script of " + parent->ids + " creates " + words[1]);
    session.integrator().setNextParent(parent->ids);
    void* created = nullptr;
    const int result = native_ApplicationCreateApplication(
        words[1].c_str(), 1, Session::applicationIdOf(*parent), &created);
    if (result != VEIF_RETURN_OK)
        session.log().report(Source::Library, "create-failed",
                             "no application was created (" + std::to_string(result) + ")");
    return "";
}

std::string destroyApplication(Session& session, const Words& words)
{
    session.log().report(Source::User, "destroy", "the script ends its application");
    return callNative(session, words, native_ApplicationDestroyApplication);
}

std::string showApplication(Session& session, const Words& words)
{
    session.log().report(Source::User, "show", "the script shows its application");
    return callNative(session, words, native_ApplicationShow);
}

std::string hideApplication(Session& session, const Words& words)
{
    session.log().report(Source::User, "hide", "the script hides its application");
    return callNative(session, words, native_ApplicationHide);
}

std::string terminateApplication(Session& session, const Words&)
{
    session.log().report(Source::User, "terminate", "terminate the running application");
    auto* const record = newRecord<HBBTV_WindowEventData>();
    record->window = session.window();
    send(E_TERMINATE_APPLICATION, record);
    return "";
}

/// The mask of "RED+GREEN+NAVIGATION" or of a number.
std::optional<unsigned long> keySetFrom(const std::string& text)
{
    static const char* const groups[] = {"RED", "GREEN",  "YELLOW", "BLUE",    "NAVIGATION",
                                         "VCR", "SCROLL", "INFO",   "NUMERIC", "ALPHA"};
    if (const auto number = numberOf(text))
        return number;
    unsigned long mask = 0;
    std::istringstream names(text);
    for (std::string name; std::getline(names, name, '+');) {
        const auto* const group = std::find(std::begin(groups), std::end(groups), name);
        if (group == std::end(groups))
            return std::nullopt;
        mask |= 1UL << (group - std::begin(groups));
    }
    return mask;
}

std::string setKeySet(Session& session, const Words& words)
{
    const Application* const application = session.currentApplication();
    if (!application)
        return noApplication;
    const auto mask = keySetFrom(words[1]);
    if (!mask)
        return "expected a number or names joined with + (RED, GREEN, YELLOW, BLUE, NAVIGATION, "
               "VCR, SCROLL, INFO, NUMERIC, ALPHA), not " +
               words[1];
    session.log().report(Source::User, "key-set", "the script asks for the keys " + words[1]);
    double granted = 0;
    native_KeySetSetValue(Session::applicationIdOf(*application), static_cast<double>(*mask),
                          &granted);
    return "";
}

std::string checkRequest(Session& session, const Words& words)
{
    const Application* const application = session.currentApplication();
    if (!application)
        return noApplication;
    TavoVestaEventData data = {};
    data.url = application->url.c_str();
    data.second_url = words[1].c_str();
    int result = 0;
    session.log().report(Source::User, "request", "the page asks for " + words[1]);
    vesta_hbbtv_handle_notification(nullptr, application->window, TAVO_VESTA_EVT_XHR_PERMISSION,
                                    &data, &result);
    const char* const answers[] = {"allowed", "denied", "left to the browser"};
    const auto answer = reinterpret_cast<uintptr_t>(data.request_id);
    session.log().report(Source::Library, "request-answer",
                         words[1] + ": " + (answer < 3 ? answers[answer] : "unknown"),
                         {{"url", words[1]}, {"permission", answer}});
    return "";
}

std::string loadResource(Session& session, const Words& words)
{
    const Application* const application = session.currentApplication();
    if (!application)
        return noApplication;
    session.log().report(Source::User, "load", "the page loads " + words[1]);
    session.browser().loadResource(application->window, words[1]);
    return "";
}

/// "on" or "off". @return an error for anything else
std::string switchFrom(const Words& words, bool& on)
{
    on = words[1] == "on";
    return on || words[1] == "off" ? "" : "expected on or off, not " + words[1];
}

std::string switchHttp(Session& session, const Words& words)
{
    bool on = false;
    const std::string problem = switchFrom(words, on);
    if (!problem.empty())
        return problem;
    session.log().report(Source::User, "http", std::string("broadband ") + words[1]);
    send(on ? E_HTTP_AVAILABLE : E_HTTP_UNAVAILABLE);
    return "";
}

std::string switchTimeShift(Session& session, const Words& words)
{
    bool on = false;
    const std::string problem = switchFrom(words, on);
    if (!problem.empty())
        return problem;
    session.log().report(Source::User, "timeshift", std::string("time shift ") + words[1]);
    vesta_hbbtv_set_time_shifted(session.window(), on ? 1 : 0);
    return "";
}

std::string lowMemory(Session& session, const Words&)
{
    session.log().report(Source::User, "low-memory", "memory is low");
    send(E_LOW_MEMORY);
    return "";
}

std::string setProfiles(Session& session, const Words& words)
{
    const auto mask = numberOf(words[1]);
    if (!mask || *mask > 0xFFFF)
        return "expected a mask from 0 to 0xffff, not " + words[1];
    session.log().report(Source::User, "profiles", "supported profiles " + words[1]);
    auto* const record = newRecord<HBBTV_ProfilesEventData>();
    record->supportedProfiles = static_cast<unsigned short>(*mask);
    send(E_SUPPORTED_PROFILES, record);
    return "";
}

std::string setUserAgent(Session& session, const Words& words)
{
    const auto selector = numberOf(words[1]);
    if (!selector || *selector > 0xFFFF)
        return "expected 1 for HbbTV 1.1.1 or 2 for HbbTV 1.2.1, not " + words[1];
    session.log().report(Source::User, "user-agent", "user-agent information");
    auto* const record = newRecord<HBBTV_UserAgentEventData>();
    record->versionSelector = static_cast<unsigned short>(*selector);
    char** const fields[] = {&record->capabilities,    &record->vendorName,      &record->modelName,
                             &record->softwareVersion, &record->hardwareVersion, &record->reserved};
    for (size_t index = 0; index < 6 && index + 2 < words.size(); ++index)
        *fields[index] = ::strdup(words[index + 2].c_str());
    send(E_USER_AGENT_INFO, record);
    return "";
}

std::string setAnswer(Session& session, const Words& words)
{
    if (words[1] == "start") {
        const char* const answers[] = {"allow", "kill", "keep"};
        const auto* const found = std::find(std::begin(answers), std::end(answers), words[2]);
        if (found == std::end(answers))
            return "expected allow, kill or keep, not " + words[2];
        session.integrator().startAnswer =
            static_cast<HBBTV_ApplicationActionType>(found - std::begin(answers));
        return "";
    }
    if (words[1] != "request")
        return "expected start or request, not " + words[1];
    const char* const answers[] = {"allow", "deny", "core"};
    const auto* const found = std::find(std::begin(answers), std::end(answers), words[2]);
    if (found == std::end(answers))
        return "expected allow, deny or core, not " + words[2];
    session.integrator().requestAnswer =
        static_cast<HBBTV_XHR_Permission>(found - std::begin(answers));
    return "";
}

std::string showStatus(Session& session, const Words&)
{
    session.log().print(statusPage(session));
    return "";
}

/// The condition of a wait; none for an unknown one.
std::function<bool()> conditionFrom(Session& session, const Words& words)
{
    const std::string what = words[1];
    const std::string argument = words.size() > 2 ? words[2] : "";
    if (what == "service")
        return [&session] { return session.middleware().tunedService().has_value(); };
    if (what == "running")
        return [&session, argument] {
            const Application* const current = session.currentApplication();
            return current && (argument.empty() || current->ids == argument);
        };
    if (what == "loaded")
        return [&session, argument] {
            const Application* const current = session.currentApplication();
            return argument.empty() ? current && current->window->loaded
                                    : session.browser().hasLoaded(argument);
        };
    if (what == "window")
        return [&session, argument] {
            TAVO_VestaWindow* const window =
                session.browser().findWindow(std::atol(argument.c_str()));
            return window && session.integrator().applicationOf(window);
        };
    if (what == "file")
        return [&session, argument] { return session.middleware().carousels().hasFile(argument); };
    if (what == "shown")
        return [&session] { return session.browser().focusedWindow() != nullptr; };
    if (what == "stopped")
        return [&session] { return session.integrator().applications().empty(); };
    if (what == "end")
        return [&session] { return session.middleware().hasEnded(); };
    return nullptr;
}

std::string wait(Session& session, const Words& words)
{
    const double defaultSeconds = 10;
    Words condition = words;
    double seconds = defaultSeconds;
    const size_t within = condition.size() > 3 ? condition.size() - 2 : 2;
    if (condition.size() > 3 && condition[within] == "within") {
        const auto number = numberOf(condition.back());
        if (!number)
            return "expected seconds behind within, not " + condition.back();
        seconds = static_cast<double>(*number);
        condition.resize(within);
    }
    std::function<bool()> holds = conditionFrom(session, condition);
    if (!holds || condition.size() > 3)
        return "expected service, running [IDS], window NUMBER, loaded [URL], file PATH, shown, "
               "stopped "
               "or end, and perhaps within SECONDS";
    std::string what = condition[1];
    if (condition.size() > 2)
        what += " " + condition[2];
    session.waitFor(what, std::move(holds), seconds);
    return "";
}

std::string say(Session& session, const Words& words)
{
    std::string text;
    for (size_t index = 1; index < words.size(); ++index)
        text += (index > 1 ? " " : "") + words[index];
    session.log().report(Source::User, "say", text);
    return "";
}

std::string quit(Session& session, const Words&)
{
    session.quit();
    return "";
}

}  // namespace

const std::vector<Command>& commands()
{
    static const std::vector<Command> table = {
        {"services", "", "list the services of the stream", 0, 0, listServices},
        {"zap", "SERVICE", "tune to a service by number or name; a file begins again", 1, 1, zap},
        {"key", "NAME [down|up]", "press a key: RED, OK, BACK, 5, ...", 1, 2, pressKey},
        {"start", "URL|ORG.APP", "start an application by URL or ids (hexadecimal)", 1, 1,
         startApplication},
        {"create", "URL", "create an application as the current one's script", 1, 1,
         createApplication},
        {"destroy", "[ORG.APP]", "end an application as its script", 0, 1, destroyApplication},
        {"terminate", "", "end the running application as the middleware", 0, 0,
         terminateApplication},
        {"show", "[ORG.APP]", "show an application as its script", 0, 1, showApplication},
        {"hide", "[ORG.APP]", "hide an application as its script", 0, 1, hideApplication},
        {"keyset", "MASK|RED+GREEN...", "ask for keys as the current application's script", 1, 1,
         setKeySet},
        {"xhr", "URL", "check an XMLHttpRequest of the current page", 1, 1, checkRequest},
        {"load", "URL", "load another file from the carousel as the current page", 1, 1,
         loadResource},
        {"http", "on|off", "switch broadband on or off", 1, 1, switchHttp},
        {"timeshift", "on|off", "switch time shift on or off", 1, 1, switchTimeShift},
        {"lowmemory", "", "tell that memory is low", 0, 0, lowMemory},
        {"profiles", "MASK", "set the supported application profiles", 1, 1, setProfiles},
        {"useragent", "1|2 [TEXT...]", "set the user-agent information, up to six texts", 1, 7,
         setUserAgent},
        {"answer", "start|request WORD", "answer allow, kill, keep or allow, deny, core", 2, 2,
         setAnswer},
        {"status", "", "show windows, applications, table and carousel files", 0, 0, showStatus},
        {"wait", "CONDITION [within SECONDS]",
         "service, running [IDS], window NUMBER, loaded [URL], file PATH, shown, stopped, end", 1,
         5, wait},
        {"say", "TEXT", "write a line", 1, 99, say},
        {"help", "[COMMAND]", "explain the commands", 0, 1, help},
        {"quit", "", "end the receiver", 0, 0, quit},
    };
    return table;
}

Words splitWords(const std::string& line)
{
    Words words;
    bool isQuoted = false;
    bool isInWord = false;
    for (const char character : line) {
        if (!isQuoted && !isInWord && character == '#')
            break;
        if (character == '"') {
            isQuoted = !isQuoted;
            if (!isInWord)
                words.emplace_back();
            isInWord = true;
        } else if (!isQuoted && (character == ' ' || character == '\t' || character == '\r')) {
            isInWord = false;
        } else {
            if (!isInWord)
                words.emplace_back();
            isInWord = true;
            words.back() += character;
        }
    }
    return words;
}

std::string runCommand(Session& session, const std::string& line)
{
    const Words words = splitWords(line);
    if (words.empty())
        return "";
    for (const Command& command : commands()) {
        if (words[0] != command.name)
            continue;
        const size_t count = words.size() - 1;
        if (count < command.leastArguments || count > command.mostArguments)
            return std::string("expected: ") + command.name + " " + command.arguments;
        return command.run(session, words);
    }
    return "there is no command " + words[0] + "; help lists them";
}

}  // namespace receiver
