#include <algorithm>
#include <cstdio>

#include "conversation.h"

namespace {

const char* const everyHook[] = {
    "hbbtv_keyset_get_supported_values",
    "hbbtv_ait_start",
    "dsmcc_start",
    "hbbtv_ait_completed",
    "dsmcc_get_file",
    "dsmcc_get_mime_type",
    "dsmcc_read",
    "dsmcc_close_file",
    "dsmcc_stream_event_subscribe",
    "dsmcc_xml_stream_event_subscribe",
    "dsmcc_stream_event_unsubscribe",
    "dsmcc_stream_event_unsubscribe_all",
    "dsmcc_clear_cache",
    "hbbtv_ait_invalidate",
    "hbbtv_ait_stop",
    "dsmcc_stop",
    "dsmcc_same_carousel",
};

bool wereAllCalled(const std::vector<std::string>& journal)
{
    bool all = true;
    for (const char* const hook : everyHook) {
        if (std::find(journal.begin(), journal.end(), hook) == journal.end()) {
            std::printf("the library's own %s was called\n", hook);
            all = false;
        }
    }
    return all;
}

}  // namespace

bool isPlatforms(const Outcome& outcome, const std::vector<std::string>& journal)
{
    std::printf("key sets 0x%x, page \"%s\", same carousel: %d\n",
                static_cast<unsigned>(outcome.keySets), outcome.page.c_str(), outcome.sameCarousel);
    for (const std::string& call : outcome.calls)
        std::printf("%s\n", call.c_str());
    const std::vector<std::string> calls = {"ve_protocol_set_mime_type(text/plain)",
                                            "ve_protocol_write(4)", "ve_protocol_finished(200)"};
    return wereAllCalled(journal) && outcome.keySets == 0x15 && outcome.page == "page" &&
           outcome.calls == calls && !outcome.sameCarousel;
}
