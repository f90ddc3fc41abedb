// A platform's own hooks: they take the place of the library's defaults, and their answers differ
// from those.

#include <cstring>

#include "vesta_hbbtv_appman.h"

#include "conversation.h"

namespace {

unsigned int note(const char* hook)
{
    platformJournal()->push_back(hook);
    return DSMCC_OK;
}

bool pageWasRead = false;

}  // namespace

extern "C" {

std::vector<std::string>* platformJournal()
{
    static std::vector<std::string> journal;
    return &journal;
}

int hbbtv_keyset_get_supported_values(void)
{
    note("hbbtv_keyset_get_supported_values");
    return 0x15;
}

void dsmcc_start(void)
{
    note("dsmcc_start");
}

void dsmcc_stop(void)
{
    note("dsmcc_stop");
}

unsigned int dsmcc_get_file(const char*, void*)
{
    return note("dsmcc_get_file");
}

unsigned int dsmcc_get_mime_type(void*, char** mimeType)
{
    *mimeType = ::strdup("text/plain");
    return note("dsmcc_get_mime_type");
}

unsigned int dsmcc_read(void*, char** buffer, unsigned int* length)
{
    static char page[] = "page";
    *buffer = page;
    *length = pageWasRead ? 0 : 4;
    pageWasRead = true;
    return note("dsmcc_read");
}

unsigned int dsmcc_close_file(void*)
{
    return note("dsmcc_close_file");
}

unsigned int dsmcc_clear_cache(void)
{
    return note("dsmcc_clear_cache");
}

unsigned int dsmcc_stream_event_subscribe(const char*, void*, void*, void*, void*)
{
    return note("dsmcc_stream_event_subscribe");
}

unsigned int dsmcc_xml_stream_event_subscribe(void*, void*, unsigned short, unsigned short,
                                              unsigned short, void*, void*, void*)
{
    return note("dsmcc_xml_stream_event_subscribe");
}

unsigned int dsmcc_stream_event_unsubscribe(const char*, void*, void*, void*, void*, long)
{
    return note("dsmcc_stream_event_unsubscribe");
}

unsigned int dsmcc_stream_event_unsubscribe_all(void*, long)
{
    return note("dsmcc_stream_event_unsubscribe_all");
}

unsigned int dsmcc_same_carousel(const char*, const char*, bool* same)
{
    *same = false;
    return note("dsmcc_same_carousel");
}

void hbbtv_ait_start(void)
{
    note("hbbtv_ait_start");
}

void hbbtv_ait_stop(void)
{
    note("hbbtv_ait_stop");
}

void hbbtv_ait_invalidate(void)
{
    note("hbbtv_ait_invalidate");
}

void hbbtv_ait_completed(unsigned char)
{
    note("hbbtv_ait_completed");
}

}  // extern "C"
