// The smallest browser engine that the library links with: it remembers the last page.

#include <string>
#include <vesta_browser.h>

std::string openedPage;

extern "C" {

int ve_open_url(TAVO_VestaWindow*, const char* url)
{
    openedPage = url;
    return 0;
}

int ve_clear_history(TAVO_VestaWindow*)
{
    return 0;
}

int ve_get_window(TAVO_Vesta*, long, TAVO_VestaWindow**)
{
    return 1;
}

int ve_get_window_identifier(TAVO_Vesta*, TAVO_VestaWindow*, long* id)
{
    *id = 1;
    return 0;
}

int ve_get_loading_url(TAVO_VestaWindow*, const char** url)
{
    *url = openedPage.c_str();
    return 0;
}

int ve_resolve_relative_url(const char*, const char*, const char**)
{
    return 1;
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
