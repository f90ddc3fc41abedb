// The browser of the conversation: one window, and it collects what it is given to show.

#include "vesta_browser.h"

#include "conversation.h"

namespace {

Outcome collected;
TAVO_VestaWindow* shown = nullptr;

}  // namespace

extern "C" {

Outcome* browserOutcome()
{
    return &collected;
}

int ve_open_url(TAVO_VestaWindow* window, const char*)
{
    shown = window;
    return 0;
}

int ve_clear_history(TAVO_VestaWindow*)
{
    return 0;
}

int ve_get_window(TAVO_Vesta*, long id, TAVO_VestaWindow** window)
{
    if (id != 1 || !shown)
        return 1;
    *window = shown;
    return 0;
}

int ve_get_window_identifier(TAVO_Vesta*, TAVO_VestaWindow*, long* id)
{
    *id = 1;
    return 0;
}

int ve_get_loading_url(TAVO_VestaWindow*, const char** url)
{
    *url = "dvb://1.2.3.4/index.html";
    return 0;
}

int ve_resolve_relative_url(const char*, const char* url, const char** result)
{
    *result = url;
    return 0;
}

int ve_set_uastring_extension(TAVO_Vesta*, const char*)
{
    return 0;
}

int ve_protocol_set_mime_type(void*, const char* mimeType)
{
    collected.mimeType = mimeType;
    return 0;
}

int ve_protocol_write(void*, const char* bytes, unsigned int length)
{
    collected.page.append(bytes, length);
    return 0;
}

int ve_protocol_finished(void*, int status)
{
    collected.status = status;
    return 0;
}

int ve_protocol_failed(void*, int status)
{
    collected.status = status;
    return 0;
}

int tavo_keyboard_evt(TAVO_KeyboardEvent*)
{
    return 0;
}

}  // extern "C"
