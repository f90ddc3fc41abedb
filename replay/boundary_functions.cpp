// The browser and the platform, as the library finds them: the record answers.

#include "vesta_browser.h"
#include "vesta_hbbtv_appman.h"

#include "recorder/boundary/calls_out.h"
#include "replay/calls.h"

using namespace recorder;
using replay::answerTo;

int ve_open_url(TAVO_VestaWindow* window, const char* url)
{
    return answerTo<OpenUrl>(window, url);
}

int ve_clear_history(TAVO_VestaWindow* window)
{
    return answerTo<ClearHistory>(window);
}

int ve_get_window(TAVO_Vesta* browser, long id, TAVO_VestaWindow** window)
{
    return answerTo<GetWindow>(browser, id, window);
}

int ve_get_window_identifier(TAVO_Vesta* browser, TAVO_VestaWindow* window, long* id)
{
    return answerTo<GetWindowIdentifier>(browser, window, id);
}

int ve_get_loading_url(TAVO_VestaWindow* window, const char** url)
{
    return answerTo<GetLoadingUrl>(window, url);
}

int ve_resolve_relative_url(const char* base, const char* url, const char** result)
{
    return answerTo<ResolveRelativeUrl>(base, url, result);
}

int ve_set_uastring_extension(TAVO_Vesta* browser, const char* extension)
{
    return answerTo<SetUaStringExtension>(browser, extension);
}

int ve_protocol_set_mime_type(void* id, const char* mime_type)
{
    return answerTo<ProtocolSetMimeType>(id, mime_type);
}

int ve_protocol_write(void* id, const char* bytes, unsigned int length)
{
    return answerTo<ProtocolWrite>(id, bytes, length);
}

int ve_protocol_finished(void* id, int status)
{
    return answerTo<ProtocolFinished>(id, status);
}

int ve_protocol_failed(void* id, int status)
{
    return answerTo<ProtocolFailed>(id, status);
}

int tavo_keyboard_evt(TAVO_KeyboardEvent* event)
{
    return answerTo<KeyboardEvent>(event);
}

int hbbtv_keyset_get_supported_values(void)
{
    return answerTo<KeysetGetSupportedValues>();
}

void dsmcc_start(void)
{
    answerTo<DsmccStart>();
}

void dsmcc_stop(void)
{
    answerTo<DsmccStop>();
}

void hbbtv_ait_start(void)
{
    answerTo<AitStart>();
}

void hbbtv_ait_stop(void)
{
    answerTo<AitStop>();
}

void hbbtv_ait_invalidate(void)
{
    answerTo<AitInvalidate>();
}

void hbbtv_ait_completed(unsigned char version)
{
    answerTo<AitCompleted>(version);
}

unsigned int dsmcc_get_file(const char* path, void* id)
{
    return answerTo<DsmccGetFile>(path, id);
}

unsigned int dsmcc_get_mime_type(void* id, char** mimeType)
{
    return answerTo<DsmccGetMimeType>(id, mimeType);
}

unsigned int dsmcc_read(void* id, char** buffer, unsigned int* length)
{
    return answerTo<DsmccRead>(id, buffer, length);
}

unsigned int dsmcc_close_file(void* id)
{
    return answerTo<DsmccCloseFile>(id);
}

unsigned int dsmcc_clear_cache(void)
{
    return answerTo<DsmccClearCache>();
}

unsigned int dsmcc_stream_event_subscribe(const char* path, void* p1, void* p2, void* p3, void* p4)
{
    return answerTo<StreamEventSubscribe>(path, p1, p2, p3, p4);
}

unsigned int dsmcc_xml_stream_event_subscribe(void* x1, void* x2, unsigned short d1,
                                              unsigned short serviceId, unsigned short d2, void* x3,
                                              void* x4, void* x5)
{
    return answerTo<XmlStreamEventSubscribe>(x1, x2, d1, serviceId, d2, x3, x4, x5);
}

unsigned int dsmcc_stream_event_unsubscribe(const char* target, void* p1, void* p2, void* p3,
                                            void* p4, long windowId)
{
    return answerTo<StreamEventUnsubscribe>(target, p1, p2, p3, p4, windowId);
}

unsigned int dsmcc_stream_event_unsubscribe_all(void* p1, long windowId)
{
    return answerTo<StreamEventUnsubscribeAll>(p1, windowId);
}
