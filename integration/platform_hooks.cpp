// The default bodies of what the platform and the integrator supply. Weak, visible and in a file of
// their own, so that a definition elsewhere takes their place: at link time, from an executable
// that links the shared library, or from a program that exports its symbols and loads it.

#include "vesta_hbbtv_appman.h"

#define VESTA_DEFAULT __attribute__((weak, visibility("default")))

extern "C" {

VESTA_DEFAULT int hbbtv_keyset_get_supported_values(void)
{
    return 0x3FF;
}

VESTA_DEFAULT void dsmcc_start(void)
{
}

VESTA_DEFAULT void dsmcc_stop(void)
{
}

VESTA_DEFAULT unsigned int dsmcc_get_file(const char* /*path*/, void* /*id*/)
{
    return DSMCC_OK;
}

VESTA_DEFAULT unsigned int dsmcc_get_mime_type(void* /*id*/, char** /*mimeType*/)
{
    return DSMCC_OK;
}

VESTA_DEFAULT unsigned int dsmcc_read(void* /*id*/, char** /*buffer*/, unsigned int* /*length*/)
{
    return DSMCC_OK;
}

VESTA_DEFAULT unsigned int dsmcc_close_file(void* /*id*/)
{
    return DSMCC_OK;
}

VESTA_DEFAULT unsigned int dsmcc_clear_cache(void)
{
    return DSMCC_OK;
}

VESTA_DEFAULT unsigned int dsmcc_stream_event_subscribe(const char* /*path*/, void* /*p1*/,
                                                        void* /*p2*/, void* /*p3*/, void* /*p4*/)
{
    return DSMCC_OK;
}

VESTA_DEFAULT unsigned int dsmcc_xml_stream_event_subscribe(void* /*x1*/, void* /*x2*/,
                                                            unsigned short /*d1*/,
                                                            unsigned short /*serviceId*/,
                                                            unsigned short /*d2*/, void* /*x3*/,
                                                            void* /*x4*/, void* /*x5*/)
{
    return DSMCC_OK;
}

VESTA_DEFAULT unsigned int dsmcc_stream_event_unsubscribe(const char* /*target*/, void* /*p1*/,
                                                          void* /*p2*/, void* /*p3*/, void* /*p4*/,
                                                          long /*windowId*/)
{
    return DSMCC_OK;
}

VESTA_DEFAULT unsigned int dsmcc_stream_event_unsubscribe_all(void* /*p1*/, long /*windowId*/)
{
    return DSMCC_OK;
}

VESTA_DEFAULT unsigned int dsmcc_same_carousel(const char* /*first*/, const char* /*second*/,
                                               bool* /*same*/)
{
    return DSMCC_OK;
}

VESTA_DEFAULT void hbbtv_ait_start(void)
{
}

VESTA_DEFAULT void hbbtv_ait_stop(void)
{
}

VESTA_DEFAULT void hbbtv_ait_invalidate(void)
{
}

VESTA_DEFAULT void hbbtv_ait_completed(unsigned char /*version*/)
{
}

}  // extern "C"
