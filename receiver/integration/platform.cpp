// The platform's hooks: the application manager's weak defaults give way to these.

#include "receiver/integration/platform.h"

#include <cstdint>
#include <cstring>
#include <string>

#include "vesta_hbbtv_appman.h"

#include "receiver/carousel/carousel_path.h"
#include "receiver/carousel/service_carousels.h"
#include "receiver/console/event_log.h"
#include "receiver/integration/integrator.h"
#include "receiver/integration/stream_event_subscriptions.h"

namespace receiver {

Platform* Platform::current = nullptr;

Platform::Platform(ServiceCarousels& carousels, StreamEventSubscriptions& streamEvents,
                   EventLog& log)
    : carousels_(carousels), streamEvents_(streamEvents), log_(log)
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

namespace {

void report(const char* hook, const std::string& text)
{
    if (Platform::current)
        Platform::current->report(hook, text);
}

uint32_t listenerIn(const void* pointer)
{
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(pointer));
}

/// @param text a const char*, or null
std::string textIn(const void* text)
{
    return text ? static_cast<const char*>(text) : "";
}

}  // namespace

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
    report("clear-cache", "carousel cache cleared");
    return DSMCC_OK;
}

void dsmcc_start(void)
{
    report("dsmcc-start", "carousels can be asked for files");
}

void dsmcc_stop(void)
{
    report("dsmcc-stop", "carousels are not asked any more");
}

// What the pointers carry: see StreamEventSubscriptions.

unsigned int dsmcc_stream_event_subscribe(const char* path, void* p1, void* p2, void*, void*)
{
    const bool isKept = Platform::current && Platform::current->streamEvents().subscribe(
                                                 textIn(path), listenerIn(p1), textIn(p2));
    return isKept ? DSMCC_OK : DSMCC_ERROR;
}

unsigned int dsmcc_xml_stream_event_subscribe(void* x1, void* x2, unsigned short d1,
                                              unsigned short serviceId, unsigned short d2, void*,
                                              void*, void*)
{
    const bool isKept = Platform::current && Platform::current->streamEvents().subscribe(
                                                 serviceId, d1, d2, listenerIn(x1), textIn(x2));
    return isKept ? DSMCC_OK : DSMCC_ERROR;
}

unsigned int dsmcc_stream_event_unsubscribe(const char*, void* p1, void* p2, void*, void*, long)
{
    if (Platform::current)
        Platform::current->streamEvents().unsubscribe(listenerIn(p1), textIn(p2));
    return DSMCC_OK;
}

unsigned int dsmcc_stream_event_unsubscribe_all(void* p1, long)
{
    if (Platform::current)
        Platform::current->streamEvents().unsubscribeAll(listenerIn(p1));
    return DSMCC_OK;
}

unsigned int dsmcc_same_carousel(const char* first, const char* second, bool* same)
{
    const auto one = receiver::parseCarouselPath(first);
    const auto other = receiver::parseCarouselPath(second);
    if (!one || !other)
        return DSMCC_ERROR;
    *same = one->originalNetworkId == other->originalNetworkId &&
            one->transportStreamId == other->transportStreamId &&
            one->serviceId == other->serviceId && one->componentTag == other->componentTag;
    return DSMCC_OK;
}

void hbbtv_ait_start(void)
{
    report("ait-start", "tables are wanted");
}

void hbbtv_ait_stop(void)
{
    report("ait-stop", "tables are not wanted any more");
}

void hbbtv_ait_invalidate(void)
{
    receiver::Integrator::forgetTable();
    if (Platform::current) {
        ++Platform::current->channelChanges;
        Platform::current->hasTable = false;
    }
    report("invalidate", "tables of the former service are void");
}

void hbbtv_ait_completed(unsigned char version)
{
    if (Platform::current)
        Platform::current->hasTable = true;
    report("completed", "AIT version " + std::to_string(version) + " is complete");
}

}  // extern "C"
