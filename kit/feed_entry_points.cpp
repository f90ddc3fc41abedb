// The feed's functions in C. Nothing is thrown across them: what there is no memory for comes to
// nothing, and the next repetition begins anew.

#include <algorithm>
#include <cstring>

#include "foundation/out_of_memory.h"
#include "kit/ait_feed.h"
#include "vesta_hbbtv_kit.h"

struct HBBTV_KitAITFeed {
    VestaHbbTV::AITFeed feed;
};

namespace {

using VestaHbbTV::ByteReader;
using VestaHbbTV::guarded;

/// What a section's buffer may hold at most; whatever follows is none of its bytes.
constexpr size_t mostBytes = 4096 + 3;

ByteReader readerOf(const unsigned char* bytes, size_t size)
{
    return ByteReader(bytes, bytes ? std::min(size, mostBytes) : size_t{0});
}

}  // namespace

void hbbtv_kit_feed_get_defaults(HBBTV_KitFeedOptions* options)
{
    if (!options)
        return;
    *options = HBBTV_KitFeedOptions();
    options->size = sizeof(*options);
    options->checksChecksum = 1;
    options->takesOutEmptyDescriptors = 1;
    options->numbersVersions = 1;
    options->heedsAnnouncedVersion = 1;
    options->applicationType = 0x0010;
    options->withdrawnAfter = 20000;
    options->mostApplications = 256;
    options->mostTextBytes = 65536;
    options->mostLabels = 1024;
    options->mostChanges = 8;
    options->changesWithin = 60000;
}

HBBTV_KitAITFeed* hbbtv_kit_feed_create(const HBBTV_KitFeedOptions* options)
{
    HBBTV_KitFeedOptions chosen;
    hbbtv_kit_feed_get_defaults(&chosen);
    // A caller of an earlier version knows a shorter record, one of a later version a longer one.
    if (options)
        std::memcpy(&chosen, options, std::min(options->size, sizeof(chosen)));
    HBBTV_KitAITFeed* const none = nullptr;
    return guarded(none, [&chosen] { return new HBBTV_KitAITFeed{VestaHbbTV::AITFeed(chosen)}; });
}

void hbbtv_kit_feed_destroy(HBBTV_KitAITFeed* feed)
{
    delete feed;
}

uint32_t hbbtv_kit_feed_tune(HBBTV_KitAITFeed* feed, uint16_t originalNetworkId,
                             uint16_t transportStreamId, uint16_t serviceId, void* channel)
{
    return feed ? feed->feed.tune(originalNetworkId, transportStreamId, serviceId, channel) : 0;
}

void hbbtv_kit_feed_pmt(HBBTV_KitAITFeed* feed, uint32_t tuning, const unsigned char* section,
                        size_t size, uint64_t now)
{
    if (feed)
        guarded([=] { feed->feed.takePMT(tuning, readerOf(section, size), now); });
}

void hbbtv_kit_feed_section(HBBTV_KitAITFeed* feed, uint32_t tuning, unsigned int pid,
                            const unsigned char* section, size_t size, uint64_t now)
{
    if (feed)
        guarded([=] { feed->feed.takeSection(tuning, pid, readerOf(section, size), now); });
}

void hbbtv_kit_feed_time(HBBTV_KitAITFeed* feed, uint64_t now)
{
    if (feed)
        guarded([=] { feed->feed.takeTime(now); });
}

uint64_t hbbtv_kit_feed_get_count(const HBBTV_KitAITFeed* feed, int fault)
{
    return feed && fault >= 0 && fault < HBBTV_KIT_SECTION_FAULTS
               ? feed->feed.countOf(static_cast<HBBTV_KitSectionFault>(fault))
               : 0;
}
