/* A host in C alone: it starts an application by its URL. Succeeds only if the page reaches the
   browser. */

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <vesta_browser.h>
#include <vesta_hbbtv_appman.h>
#include <vesta_hbbtv_c.h>
#include <vesta_hbbtv_diagnosis.h>
#include <vesta_hbbtv_layout.h>
#include <vesta_hbbtv_version.h>

static char opened[64];

int ve_open_url(TAVO_VestaWindow* window, const char* url)
{
    (void)window;
    strncpy(opened, url, sizeof(opened) - 1);
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
    return 1;
}

int ve_get_window_identifier(TAVO_Vesta* browser, TAVO_VestaWindow* window, long* id)
{
    (void)browser, (void)window;
    *id = 1;
    return 0;
}

int ve_get_loading_url(TAVO_VestaWindow* window, const char** url)
{
    (void)window;
    *url = opened;
    return 0;
}

int ve_resolve_relative_url(const char* base, const char* url, const char** result)
{
    (void)base, (void)url, (void)result;
    return 1;
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

/* One of the platform's hooks: takes the place of the library's default. */
static int tables_wanted;

void hbbtv_ait_start(void)
{
    tables_wanted = 1;
}

static HBBTV_STATUS listen(HBBTV_NotificationType type, HBBTV_NotificationData* data)
{
    static char browser_window; /* an address is all that a handle needs here */
    if (type == HBBTV_NOTIFICATION_REQUEST_WINDOW) {
        *data->window.tavoWindow = (TAVO_VestaWindow*)(void*)&browser_window;
        data->window.success = 1;
    }
    return HBBTV_STATUS_OK;
}

static void start(void* window, const char* url)
{
    HBBTV_EventData* const data = (HBBTV_EventData*)calloc(1, sizeof(HBBTV_EventData));
    char* const copy = (char*)malloc(strlen(url) + 1);
    if (!data || !copy)
        exit(1);
    data->url.window = window;
    data->url.url = strcpy(copy, url);
    vesta_hbbtv_c_send_event(E_START_BROADCAST_INDEPENDENT_APPLICATION, data);
    while (vesta_hbbtv_c_tick()) {
    }
}

int main(void)
{
    void* window;
    vesta_hbbtv_c_init(NULL);
    vesta_hbbtv_c_add_notification_listener(listen);
    window = vesta_hbbtv_c_create_window();
    start(window, "http://outside.example/c.html");
    vesta_hbbtv_c_shutdown();
    printf("version %s opened %s\n", vesta_hbbtv_version(), opened);
    return tables_wanted && strcmp(opened, "http://outside.example/c.html") == 0 &&
                   strcmp(vesta_hbbtv_version(), VESTA_HBBTV_VERSION) == 0
               ? 0
               : 1;
}
