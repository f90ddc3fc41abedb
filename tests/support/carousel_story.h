/// What the stories of an application in the object carousel share: the service's table, its
/// carousel, and what is said when it starts.
#ifndef VESTA_TESTS_SUPPORT_CAROUSEL_STORY_H
#define VESTA_TESTS_SUPPORT_CAROUSEL_STORY_H

#include <string>

#include "tests/support/library_test.h"

namespace vesta::test {

inline const char startURL[] = "dvb://1.2.3.a/app/index.html";
inline const char childURL[] = "dvb://1.2.3.a/app/child.html?from=parent#top";

/// The browser's handle of the load of the start page.
inline char pageLoad;

/// Two writes of 130048 bytes and one of 39904.
inline std::string pageBytes()
{
    std::string bytes(300000, '\0');
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(i * 31 + i / 251);
    return bytes;
}

/// The carousel needs its time for the start page.
inline void prepareCarousel(FakePlatform& platform)
{
    FakePlatform::File& page = platform.files["1.2.3.a/app/index.html"];
    page.bytes = pageBytes();
    page.getFileResult = DSMCC_PENDING;
    page.mimeType = "application/vnd.hbbtv.xhtml+xml";
}

/// The service's own application 1a.2b, and 1a.2c that it may start; version 7.
inline AITSection carouselTable()
{
    return AITSection()
        .version(7)
        .add(AITEntry(0x1A, 0x2B).carousel(1, 0x0A).location("app/index.html"))
        .add(AITEntry(0x1A, 0x2C, 2).carousel(1, 0x0A).location("app/child.html"));
}

inline Lines startConversation()
{
    const std::string url = startURL;
    return {"AIT broadcast [1a.2b 1a.2c]",
            "hbbtv_ait_completed(7)",
            "START 1a.2b related autostart " + url,
            "CHANGE 0.0 related trusted=1 " + url,
            "REQUEST w1",
            "ve_clear_history(w1)",
            "ve_open_url(w1, " + url + ")"};
}

/// The start page goes from the platform to the browser.
inline Lines pageConversation()
{
    return {"dsmcc_get_mime_type()",
            "ve_protocol_set_mime_type(application/vnd.hbbtv.xhtml+xml)",
            "dsmcc_read()",
            "ve_protocol_write(130048)",
            "ve_protocol_write(130048)",
            "ve_protocol_write(39904)",
            "dsmcc_read()",
            "ve_protocol_finished(200)",
            "dsmcc_close_file()"};
}

inline Lines childConversation()
{
    const std::string url = childURL;
    return {"START 1a.2c related " + url, "CHANGE 0.0 related trusted=1 " + url, "REQUEST w2",
            "ve_clear_history(w2)", "ve_open_url(w2, " + url + ")"};
}

/// The browser asks for the start page. @return whether the library consumed the event
inline unsigned int startPageLoad(FakeBrowser& browser)
{
    TavoVestaEventData data = {};
    data.url = startURL;
    data.request_id = &pageLoad;
    int result = -1;
    const unsigned int consumed = VestaHbbTV::vesta_hbbtv_handle_notification(
        browser.handle(), browser.window(1), TAVO_VESTA_EVT_PROTOCOL_LOADING_START, &data, &result);
    EXPECT_EQ(result, 0);
    return consumed;
}

}  // namespace vesta::test

#endif
