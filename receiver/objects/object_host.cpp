#include "receiver/objects/object_host.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <set>
#include <utility>

#include "vesta_hbbtv_appman.h"

#include "receiver/browser/browser_engine.h"
#include "receiver/console/event_log.h"
#include "receiver/integration/integrator.h"

namespace receiver {

using Json = nlohmann::json;

namespace {

ObjectHost* current = nullptr;

/// More than any remote control has.
constexpr size_t mostOtherKeys = 256;
constexpr int mostKeyCode = 0xFFFF;

/// Whole numbers up to here are exact in a script.
constexpr uint64_t mostId = (uint64_t(1) << 53) - 1;

/// Ids are numbers; scripts keep them as such.
double numberOf(const void* id)
{
    return static_cast<double>(reinterpret_cast<uintptr_t>(id));
}

void* idArgument(const Json& arguments, size_t index)
{
    const uint64_t number = wholeNumberArgument(
        arguments, index, std::min<uint64_t>(mostId, std::numeric_limits<uintptr_t>::max()));
    // NOLINTNEXTLINE(performance-no-int-to-ptr): ids are numbers in pointers
    return reinterpret_cast<void*>(static_cast<uintptr_t>(number));
}

/// The application in whose window the document is; null for none.
void* ownApplication(const CallingDocument& document)
{
    void* id = nullptr;
    native_AppManGetApplicationId(document.window->id, nullptr, &id);
    return id;
}

/// An application that is gone takes no orders.
void expectSuccess(int result)
{
    if (result != VEIF_RETURN_OK)
        throw ScriptError{"InvalidStateError", "the application is not there any more"};
}

void tellOfEvent(int event, void* application)
{
    const int lowMemory = 0;
    if (current)
        current->send(nullptr,
                      {{"event", event == lowMemory ? "LowMemory" : "ApplicationLoadError"},
                       {"application", numberOf(application)}});
}

/// What the application manager says of a page's request.
VestaHbbTV::HBBTV_XHR_Permission permissionOf(const CallingDocument& document,
                                              const std::string& page, const std::string& target)
{
    TavoVestaEventData data = {};
    data.url = page.c_str();
    data.second_url = target.c_str();
    int result = 0;
    const unsigned isConsumed = VestaHbbTV::vesta_hbbtv_handle_notification(
        BrowserEngine::current->handle(), document.window, TAVO_VESTA_EVT_XHR_PERMISSION, &data,
        &result);
    if (isConsumed == 0)
        return VestaHbbTV::HBBTV_XHR_CORE_DECIDES;
    if (result != 0)
        return VestaHbbTV::HBBTV_XHR_DENY;
    return static_cast<VestaHbbTV::HBBTV_XHR_Permission>(
        reinterpret_cast<uintptr_t>(data.request_id));
}

}  // namespace

std::string textArgument(const Json& arguments, size_t index)
{
    if (index >= arguments.size() || !arguments[index].is_string())
        throw ScriptError{"TypeError", "a string is expected"};
    return arguments[index].get<std::string>();
}

double numberArgument(const Json& arguments, size_t index)
{
    if (index >= arguments.size() || !arguments[index].is_number())
        throw ScriptError{"TypeError", "a number is expected"};
    return arguments[index].get<double>();
}

uint64_t wholeNumberArgument(const Json& arguments, size_t index, uint64_t most)
{
    const double number = numberArgument(arguments, index);
    if (!(number >= 0 && number <= static_cast<double>(most)) || std::trunc(number) != number)
        throw ScriptError{"TypeError", "another number is expected"};
    return static_cast<uint64_t>(number);
}

bool flagArgument(const Json& arguments, size_t index)
{
    if (index >= arguments.size() || !arguments[index].is_boolean())
        throw ScriptError{"TypeError", "a boolean is expected"};
    return arguments[index].get<bool>();
}

ObjectHost::ObjectHost(EventLog& log, Integrator& integrator, ScriptedBrowser& browser)
    : log_(log), integrator_(integrator), browser_(browser)
{
    addApplicationFunctions();
    addKeySetFunctions();
    addOtherKeyFunctions();
    addRequestFunctions();
    addPageFunctions();
    current = this;
    native_ApplicationManagerSetListener(tellOfEvent);
    native_ApplicationManagerSetAppDestroyedListener(tellOfEnd);
    browser_.setScriptHost(this);
}

ObjectHost::~ObjectHost()
{
    browser_.setScriptHost(nullptr);
    native_ApplicationManagerSetListener(nullptr);
    native_ApplicationManagerSetAppDestroyedListener(nullptr);
    current = nullptr;
}

void ObjectHost::add(const std::string& name, Function function)
{
    functions_[name] = std::move(function);
}

void ObjectHost::send(const TAVO_VestaWindow* window, const Json& event)
{
    browser_.sendToPages(window, event.dump(-1, ' ', true, Json::error_handler_t::replace));
}

std::string ObjectHost::answer(const CallingDocument& document, const std::string& call)
{
    Json answer;
    try {
        const Json parsed = Json::parse(call);
        const auto found = functions_.find(parsed.at("call").get<std::string>());
        if (found == functions_.end())
            throw ScriptError{"NotSupportedError", "the receiver has no such function"};
        answer = {{"value", found->second(document, parsed.at("arguments"))}};
    } catch (const ScriptError& error) {
        answer = {{"error", error.name}, {"message", error.message}};
    } catch (const Json::exception& error) {
        answer = {{"error", "TypeError"}, {"message", error.what()}};
    }
    return answer.dump(-1, ' ', true, Json::error_handler_t::replace);
}

void ObjectHost::tellOfEnd(void* application)
{
    if (!current)
        return;
    current->creators_.erase(application);
    current->send(nullptr,
                  {{"event", "ApplicationDestroyed"}, {"application", numberOf(application)}});
}

void* ObjectHost::applicationArgument(const CallingDocument& document, const Json& arguments,
                                      size_t index) const
{
    void* const named = idArgument(arguments, index);
    void* const own = ownApplication(document);
    const auto created = creators_.find(named);
    if (named && (named == own || (created != creators_.end() && created->second == own)))
        return named;
    throw ScriptError{"SecurityError", "the application is another one's"};
}

void ObjectHost::addApplicationFunctions()
{
    add("application.own", [](const CallingDocument& document, const Json&) -> Json {
        return numberOf(ownApplication(document));
    });
    add("application.show", [this](const CallingDocument& document, const Json& arguments) -> Json {
        return native_ApplicationShow(applicationArgument(document, arguments, 0)) ==
               VEIF_RETURN_OK;
    });
    add("application.hide", [this](const CallingDocument& document, const Json& arguments) -> Json {
        return native_ApplicationHide(applicationArgument(document, arguments, 0)) ==
               VEIF_RETURN_OK;
    });
    add("application.destroy",
        [this](const CallingDocument& document, const Json& arguments) -> Json {
            expectSuccess(
                native_ApplicationDestroyApplication(applicationArgument(document, arguments, 0)));
            return nullptr;
        });
    add("application.create",
        [this](const CallingDocument& document, const Json& arguments) -> Json {
            const std::string url = textArgument(arguments, 0);
            void* const creator = applicationArgument(document, arguments, 2);
            void* created = nullptr;
            const int result = native_ApplicationCreateApplication(
                url.c_str(), flagArgument(arguments, 1) ? 1 : 0, creator, &created);
            log_.report(Source::Script, "create", "the script creates " + url,
                        {{"url", url}, {"result", result}});
            if (result != VEIF_RETURN_OK)
                return nullptr;
            creators_[created] = creator;
            return numberOf(created);
        });
    add("application.freeMemory", [](const CallingDocument& document, const Json&) -> Json {
        double bytes = 0;
        expectSuccess(native_AppPrivateDataGetFreeMem(document.window->id, &bytes));
        return bytes;
    });
    add("application.isRelated",
        [](const CallingDocument& document, const Json& arguments) -> Json {
            return native_PermissionsIsBroadcastRelated(
                       document.window->id, textArgument(arguments, 0).c_str()) == VEIF_RETURN_OK;
        });
    add("application.isTrusted",
        [](const CallingDocument& document, const Json& arguments) -> Json {
            return native_PermissionsIsTrusted(
                       document.window->id, textArgument(arguments, 0).c_str()) == VEIF_RETURN_OK;
        });
    add("application.isVisible",
        [this](const CallingDocument& document, const Json& arguments) -> Json {
            long id = 0;
            expectSuccess(native_AppManGetWindowOfApplication(
                applicationArgument(document, arguments, 0), &id));
            const auto* const running =
                integrator_.applicationOf(BrowserEngine::current->findWindow(id));
            return running && running->visible;
        });
}

void ObjectHost::addKeySetFunctions()
{
    add("keyset.value", [this](const CallingDocument& document, const Json& arguments) -> Json {
        double value = 0;
        expectSuccess(native_KeySetGetValue(applicationArgument(document, arguments, 0), &value));
        return value;
    });
    add("keyset.maximum", [](const CallingDocument& document, const Json&) -> Json {
        double value = 0;
        expectSuccess(native_KeySetGetMaximumValue(document.window->id, &value));
        return value;
    });
    add("keyset.set", [this](const CallingDocument& document, const Json& arguments) -> Json {
        double granted = 0;
        expectSuccess(native_KeySetSetValue(applicationArgument(document, arguments, 0),
                                            numberArgument(arguments, 1), &granted));
        return granted;
    });
}

/// Of what the key set itself has no list of.
void ObjectHost::addOtherKeyFunctions()
{
    const auto windowOf = [](void* application) -> const TAVO_VestaWindow* {
        long id = 0;
        expectSuccess(native_AppManGetWindowOfApplication(application, &id));
        return BrowserEngine::current->findWindow(id);
    };
    add("keyset.otherKeys",
        [this, windowOf](const CallingDocument& document, const Json& arguments) -> Json {
            return integrator_.otherKeysOf(windowOf(applicationArgument(document, arguments, 0)));
        });
    add("keyset.setOtherKeys",
        [this, windowOf](const CallingDocument& document, const Json& arguments) -> Json {
            std::set<int> codes;
            for (const Json& code : arguments.at(1)) {
                const bool isCode = code.is_number_integer() && code >= 0 && code <= mostKeyCode;
                if (isCode && codes.size() < mostOtherKeys)
                    codes.insert(code.get<int>());
            }
            integrator_.setOtherKeys(windowOf(applicationArgument(document, arguments, 0)), codes);
            return nullptr;
        });
}

void ObjectHost::addRequestFunctions()
{
    add("request.permission", [this](const CallingDocument& document, const Json& arguments) {
        return decideOnRequest(document, arguments);
    });
}

/// @return the answer, and the number of the event after which the browser acts on it; null where
///         it does already
ObjectHost::Json ObjectHost::decideOnRequest(const CallingDocument& document, const Json& arguments)
{
    const VestaHbbTV::HBBTV_XHR_Permission permission =
        permissionOf(document, textArgument(arguments, 0), textArgument(arguments, 1));
    Json event;
    if (arguments.size() > 2 && arguments[2].is_string() &&
        browser_.setReachable(document.window, textArgument(arguments, 2),
                              permission == VestaHbbTV::HBBTV_XHR_ALLOW)) {
        event = ++lastOriginsChange_;
        send(document.window, {{"event", "OriginsChanged"}, {"number", event}});
    }
    return Json::array({static_cast<int>(permission), event});
}

void ObjectHost::addPageFunctions()
{
    add("page.malformed", [this](const CallingDocument& document, const Json&) -> Json {
        log_.report(Source::Browser, "malformed", "the page is not well-formed");
        TavoVestaEventData data = {};
        VestaHbbTV::vesta_hbbtv_handle_notification(
            BrowserEngine::current->handle(), document.window, TAVO_VESTA_EVT_XML_PARSE_FAILED,
            &data, nullptr);
        return nullptr;
    });
    add("page.close", [](const CallingDocument& document, const Json&) -> Json {
        TavoVestaEventData data = {};
        VestaHbbTV::vesta_hbbtv_handle_notification(BrowserEngine::current->handle(),
                                                    document.window, TAVO_VESTA_EVT_WINDOW_CLOSE,
                                                    &data, nullptr);
        return nullptr;
    });
    add("page.log", [this](const CallingDocument&, const Json& arguments) -> Json {
        const std::string text = textArgument(arguments, 0);
        log_.report(Source::Script, "debug", text);
        if (hearDebug_)
            hearDebug_(text);
        return nullptr;
    });
}

void ObjectHost::startFromPage(TAVO_VestaWindow* window, const std::string& url)
{
    CallingDocument document;
    document.window = window;
    void* created = nullptr;
    const int result =
        native_ApplicationCreateApplication(url.c_str(), 0, ownApplication(document), &created);
    log_.report(Source::Script, "create", "the page goes to " + url,
                {{"url", url}, {"result", result}});
}

}  // namespace receiver
