#include "tests/shipped/small_browser.h"

namespace vesta::test {

namespace {

char browserPlace;
char windowPlace;

}  // namespace

std::vector<std::string> SmallBrowser::openedPages;
bool SmallBrowser::remembersPages = true;

TAVO_Vesta* SmallBrowser::handle()
{
    return reinterpret_cast<TAVO_Vesta*>(&browserPlace);
}

TAVO_VestaWindow* SmallBrowser::window()
{
    return reinterpret_cast<TAVO_VestaWindow*>(&windowPlace);
}

}  // namespace vesta::test

using vesta::test::SmallBrowser;

extern "C" {

int ve_open_url(TAVO_VestaWindow*, const char* url)
{
    if (SmallBrowser::remembersPages)
        SmallBrowser::openedPages.push_back(url);
    return 0;
}

int ve_clear_history(TAVO_VestaWindow*)
{
    return 0;
}

int ve_get_window(TAVO_Vesta*, long id, TAVO_VestaWindow** window)
{
    if (id != 1)
        return 1;
    *window = SmallBrowser::window();
    return 0;
}

int ve_get_window_identifier(TAVO_Vesta*, TAVO_VestaWindow*, long* id)
{
    *id = 1;
    return 0;
}

int ve_get_loading_url(TAVO_VestaWindow*, const char** url)
{
    *url = SmallBrowser::openedPages.empty() ? nullptr : SmallBrowser::openedPages.back().c_str();
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

int ve_protocol_set_mime_type(void*, const char*)
{
    return 0;
}

int ve_protocol_write(void*, const char*, unsigned int)
{
    return 0;
}

int ve_protocol_finished(void*, int)
{
    return 0;
}

int ve_protocol_failed(void*, int)
{
    return 0;
}

int tavo_keyboard_evt(TAVO_KeyboardEvent*)
{
    return 0;
}

}  // extern "C"
