// The platform's hooks: the application manager's weak defaults give way to these.

#include "receiver/platform.h"

#include <cstring>

#include "vesta_hbbtv_appman.h"

#include "receiver/event_log.h"
#include "receiver/service_carousels.h"

namespace receiver {

Platform* Platform::current = nullptr;

Platform::Platform(ServiceCarousels& carousels, EventLog& log) : carousels_(carousels), log_(log)
{
    current = this;
}

Platform::~Platform()
{
    current = nullptr;
}

void Platform::report(const char* hook, const std::string& text)
{
    log_.report(Source::Platform, hook, text);
}

}  // namespace receiver

using receiver::Platform;

extern "C" {

int hbbtv_keyset_get_supported_values(void)
{
    return Platform::current ? Platform::current->supportedKeySets : 0x3FF;
}

unsigned int dsmcc_get_file(const char* path, void* id)
{
    return Platform::current ? Platform::current->carousels().getFile(path, id) : DSMCC_ERROR;
}

unsigned int dsmcc_get_mime_type(void* id, char** mimeType)
{
    if (!Platform::current)
        return DSMCC_UNKNOWN_ID;
    std::string type;
    const unsigned int result = Platform::current->carousels().mimeType(id, type);
    if (result == DSMCC_OK && !type.empty())
        *mimeType = ::strdup(type.c_str());
    return result;
}

unsigned int dsmcc_read(void* id, char** buffer, unsigned int* length)
{
    return Platform::current ? Platform::current->carousels().read(id, buffer, length)
                             : DSMCC_UNKNOWN_ID;
}

unsigned int dsmcc_close_file(void* id)
{
    return Platform::current ? Platform::current->carousels().close(id) : DSMCC_UNKNOWN_ID;
}

unsigned int dsmcc_clear_cache(void)
{
    // The middleware left the former service's carousels when it tuned away.
    if (Platform::current)
        Platform::current->report("clear-cache", "carousel cache cleared");
    return DSMCC_OK;
}

unsigned int dsmcc_stream_event_subscribe(const char* path, void*, void*, void*, void*)
{
    if (Platform::current)
        Platform::current->report("subscribe", std::string("stream events of ") + path);
    return DSMCC_OK;
}

void hbbtv_ait_invalidate(void)
{
    if (Platform::current)
        Platform::current->report("invalidate", "tables of the former service are void");
}

void hbbtv_ait_completed(unsigned char version)
{
    if (Platform::current)
        Platform::current->report("completed",
                                  "AIT version " + std::to_string(version) + " is complete");
}

}  // extern "C"
