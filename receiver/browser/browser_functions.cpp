// The browser's C interface, led to the engine in use.

#include "receiver/browser/browser_engine.h"

namespace receiver {

BrowserEngine* BrowserEngine::current = nullptr;

std::string BrowserEngine::writePicture(const std::string& /*path*/)
{
    return "this browser paints nothing";
}

std::string BrowserEngine::comparePicture(const std::string& /*path*/, int /*tolerance*/)
{
    return "this browser paints nothing";
}

namespace {

const int failed = 1;

std::string textOf(const char* text)
{
    return text ? text : "";
}

}  // namespace

}  // namespace receiver

using receiver::BrowserEngine;
using receiver::failed;
using receiver::textOf;

extern "C" {

int ve_open_url(TAVO_VestaWindow* window, const char* url)
{
    return BrowserEngine::current ? BrowserEngine::current->openURL(window, textOf(url)) : failed;
}

int ve_clear_history(TAVO_VestaWindow* window)
{
    return BrowserEngine::current ? BrowserEngine::current->clearHistory(window) : failed;
}

int ve_get_window(TAVO_Vesta*, long id, TAVO_VestaWindow** window)
{
    TAVO_VestaWindow* const found =
        BrowserEngine::current ? BrowserEngine::current->findWindow(id) : nullptr;
    if (!found)
        return failed;
    *window = found;
    return 0;
}

int ve_get_window_identifier(TAVO_Vesta*, TAVO_VestaWindow* window, long* id)
{
    const long found = BrowserEngine::current ? BrowserEngine::current->identifierOf(window) : 0;
    if (found == 0)
        return failed;
    *id = found;
    return 0;
}

int ve_get_loading_url(TAVO_VestaWindow* window, const char** url)
{
    *url = BrowserEngine::current ? BrowserEngine::current->loadingURL(window) : nullptr;
    return *url ? 0 : failed;
}

int ve_resolve_relative_url(const char* base, const char* url, const char** result)
{
    *result = BrowserEngine::current ? BrowserEngine::current->resolve(textOf(base), textOf(url))
                                     : nullptr;
    return *result ? 0 : failed;
}

int ve_set_uastring_extension(TAVO_Vesta*, const char* extension)
{
    return BrowserEngine::current ? BrowserEngine::current->setUserAgentExtension(textOf(extension))
                                  : failed;
}

int ve_protocol_set_mime_type(void* id, const char* mime_type)
{
    return BrowserEngine::current ? BrowserEngine::current->setMimeType(id, textOf(mime_type))
                                  : failed;
}

int ve_protocol_write(void* id, const char* bytes, unsigned int length)
{
    return BrowserEngine::current ? BrowserEngine::current->write(id, bytes, length) : failed;
}

int ve_protocol_finished(void* id, int status)
{
    return BrowserEngine::current ? BrowserEngine::current->finish(id, status) : failed;
}

int ve_protocol_failed(void* id, int status)
{
    return BrowserEngine::current ? BrowserEngine::current->fail(id, status) : failed;
}

int tavo_keyboard_evt(TAVO_KeyboardEvent* event)
{
    return BrowserEngine::current && event ? BrowserEngine::current->deliverKey(*event) : failed;
}

}  // extern "C"
