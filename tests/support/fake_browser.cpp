#include "tests/support/fake_browser.h"

#include <cstring>

#include "tests/support/journal.h"

namespace vesta::test {

namespace {

const long windowCount = 64;
char browserPlace;
char windowPlaces[windowCount];

const char* quoted(const char* text)
{
    return text ? text : "(null)";
}

bool isAbsolute(const char* url)
{
    return !*url || std::strstr(url, "://");
}

/// How a browser joins a base and a relative URL, as far as tests need it.
std::string join(const std::string& base, const char* url)
{
    return base.substr(0, base.rfind('/') + 1) + url;
}

}  // namespace

FakeBrowser& FakeBrowser::instance()
{
    static FakeBrowser browser;
    return browser;
}

void FakeBrowser::reset()
{
    *this = FakeBrowser();
}

TAVO_Vesta* FakeBrowser::handle()
{
    return reinterpret_cast<TAVO_Vesta*>(&browserPlace);
}

TAVO_VestaWindow* FakeBrowser::window(long id)
{
    return id > 0 && id < windowCount ? reinterpret_cast<TAVO_VestaWindow*>(&windowPlaces[id])
                                      : nullptr;
}

long FakeBrowser::idOf(TAVO_VestaWindow* handle)
{
    for (long id = 1; id < windowCount; ++id) {
        if (window(id) == handle)
            return id;
    }
    return 0;
}

std::string FakeBrowser::nameOf(TAVO_VestaWindow* handle)
{
    if (!handle)
        return "null";
    const long id = idOf(handle);
    return id ? "w" + std::to_string(id) : "?";
}

template <typename Part>
int FakeBrowser::callForLoad(const char* function, void* id, const Part& part)
{
    if (journalling)
        protocolIds.push_back(id);
    return call(function, part);
}

template <typename... Parts>
int FakeBrowser::call(const char* function, const Parts&... parts)
{
    if (journalling)
        Journal::instance().write(function, "(", parts..., ")");
    return answer(function, 0);
}

int FakeBrowser::answer(const char* function, int usually)
{
    if (whileIn.empty() && results.empty())
        return usually;
    const auto action = whileIn.find(function);
    if (action != whileIn.end())
        std::function<void()>(action->second)();
    const auto result = results.find(function);
    return result == results.end() ? usually : result->second;
}

}  // namespace vesta::test

using vesta::test::FakeBrowser;
using vesta::test::Journal;
using vesta::test::quoted;

extern "C" {

int ve_open_url(TAVO_VestaWindow* window, const char* url)
{
    FakeBrowser& browser = FakeBrowser::instance();
    return browser.call("ve_open_url", browser.nameOf(window), ", ", quoted(url));
}

int ve_clear_history(TAVO_VestaWindow* window)
{
    FakeBrowser& browser = FakeBrowser::instance();
    return browser.call("ve_clear_history", browser.nameOf(window));
}

int ve_get_window(TAVO_Vesta* handle, long id, TAVO_VestaWindow** window)
{
    FakeBrowser& browser = FakeBrowser::instance();
    browser.askedBrowser = handle;
    TAVO_VestaWindow* const found = browser.window(id);
    if (found)
        *window = found;
    return browser.answer("ve_get_window", found ? 0 : 1);
}

int ve_get_window_identifier(TAVO_Vesta* handle, TAVO_VestaWindow* window, long* id)
{
    FakeBrowser& browser = FakeBrowser::instance();
    browser.askedBrowser = handle;
    *id = browser.idOf(window);
    return browser.answer("ve_get_window_identifier", *id ? 0 : 1);
}

int ve_get_loading_url(TAVO_VestaWindow* window, const char** url)
{
    FakeBrowser& browser = FakeBrowser::instance();
    *url = browser.loadingURL.empty() ? nullptr : browser.loadingURL.c_str();
    return browser.call("ve_get_loading_url", browser.nameOf(window));
}

int ve_resolve_relative_url(const char* base, const char* url, const char** result)
{
    FakeBrowser& browser = FakeBrowser::instance();
    if (browser.journalResolving && browser.journalling)
        Journal::instance().write("ve_resolve_relative_url(", quoted(base), ", ", quoted(url), ")");
    const int status = browser.answer("ve_resolve_relative_url", 0);
    *result = url;
    if (browser.resolve || !vesta::test::isAbsolute(url)) {
        browser.resolved =
            browser.resolve ? browser.resolve(base, url) : vesta::test::join(base, url);
        *result = browser.resolved.c_str();
    }
    if (browser.resolveToNull)
        *result = nullptr;
    return status;
}

int ve_set_uastring_extension(TAVO_Vesta* handle, const char* extension)
{
    FakeBrowser& browser = FakeBrowser::instance();
    browser.askedBrowser = handle;
    return browser.call("ve_set_uastring_extension", quoted(extension));
}

int ve_protocol_set_mime_type(void* id, const char* mime_type)
{
    return FakeBrowser::instance().callForLoad("ve_protocol_set_mime_type", id, quoted(mime_type));
}

int ve_protocol_write(void* id, const char* bytes, unsigned int length)
{
    FakeBrowser& browser = FakeBrowser::instance();
    if (!browser.journalling) {
        if (browser.sink)
            browser.sink(bytes, length);
        return browser.answer("ve_protocol_write", 0);
    }
    browser.written[id].append(bytes, length);
    browser.writeSizes[id].push_back(length);
    return browser.callForLoad("ve_protocol_write", id, length);
}

int ve_protocol_finished(void* id, int status)
{
    return FakeBrowser::instance().callForLoad("ve_protocol_finished", id, status);
}

int ve_protocol_failed(void* id, int status)
{
    return FakeBrowser::instance().callForLoad("ve_protocol_failed", id, status);
}

int tavo_keyboard_evt(TAVO_KeyboardEvent* event)
{
    FakeBrowser& browser = FakeBrowser::instance();
    if (!browser.journalling)
        return browser.answer("tavo_keyboard_evt", 0);
    const std::string line =
        (event->type == TAVO_KEY_DOWN ? "down " : "up ") + std::to_string(event->key_code);
    browser.keys.push_back(line);
    browser.lastKeyEvent = event;
    return browser.call("tavo_keyboard_evt", line);
}

}  // extern "C"
