/* Every function that the library calls of a browser. One of them has something to say. */

#include "quiet_browser.h"

#include <stdio.h>

int ve_open_url(TAVO_VestaWindow* window, const char* url)
{
    printf("browser:  %s opens %s\n", window->name, url);
    return 0;
}

int ve_clear_history(TAVO_VestaWindow* window)
{
    (void)window;
    return 0;
}

int ve_get_window(TAVO_Vesta* browser, long id, TAVO_VestaWindow** window)
{
    (void)browser, (void)id, (void)window;
    return 1; /* no script asks by number here */
}

int ve_get_window_identifier(TAVO_Vesta* browser, TAVO_VestaWindow* window, long* id)
{
    (void)browser, (void)window, (void)id;
    return 1;
}

int ve_get_loading_url(TAVO_VestaWindow* window, const char** url)
{
    (void)window, (void)url;
    return 1;
}

int ve_resolve_relative_url(const char* base, const char* url, const char** result)
{
    (void)base, (void)url, (void)result;
    return 1; /* addresses stay as they are */
}

int ve_set_uastring_extension(TAVO_Vesta* browser, const char* extension)
{
    (void)browser, (void)extension;
    return 0;
}

int ve_protocol_set_mime_type(void* id, const char* mime_type)
{
    (void)id, (void)mime_type;
    return 0;
}

int ve_protocol_write(void* id, const char* bytes, unsigned int length)
{
    (void)id, (void)bytes, (void)length;
    return 0;
}

int ve_protocol_finished(void* id, int status)
{
    (void)id, (void)status;
    return 0;
}

int ve_protocol_failed(void* id, int status)
{
    (void)id, (void)status;
    return 0;
}

int tavo_keyboard_evt(TAVO_KeyboardEvent* event)
{
    (void)event;
    return 0;
}
