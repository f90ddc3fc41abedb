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

/// What the start page's script does once it is loaded, in browser window 1.
class CarouselSession : public LibraryTest {
protected:
    CarouselSession() { prepareCarousel(platform()); }

    unsigned int requestData(const char* target, uintptr_t* permission)
    {
        TavoVestaEventData data = {};
        data.url = startURL;
        data.second_url = target;
        int result = -1;
        const unsigned int consumed = notify(TAVO_VESTA_EVT_XHR_PERMISSION, 1, data, &result);
        EXPECT_EQ(result, 0);
        *permission = reinterpret_cast<uintptr_t>(data.request_id);
        return consumed;
    }

    static int press(int type, TAVO_VIRTUAL_KEY key, long windowId)
    {
        TAVO_KeyboardEvent event = {type, key};
        return VestaHbbTV::vesta_hbbtv_key_input(browser().window(windowId), &event);
    }

    void askForItself()
    {
        EXPECT_EQ(native_AppManGetApplicationId(1, nullptr, &parent_), 0);
        EXPECT_EQ(native_ApplicationShow(parent_), 0);
        EXPECT_EQ(journal(), Lines({"SHOW w1"}));
    }

    void useKeys()
    {
        EXPECT_EQ(press(TAVO_KEY_DOWN, TAVO_VK_RED, 1), 0);
        double granted = 0;
        EXPECT_EQ(native_KeySetSetValue(parent_, 0x11, &granted), 0);
        EXPECT_EQ(granted, 0x11);
        EXPECT_EQ(press(TAVO_KEY_UP, TAVO_VK_RED, 1), 1);
        EXPECT_EQ(press(TAVO_KEY_DOWN, TAVO_VK_RED, 1), 1);
        EXPECT_EQ(press(TAVO_KEY_UP, TAVO_VK_RED, 1), 1);
        EXPECT_EQ(press(TAVO_KEY_DOWN, TAVO_VK_INFO, 1), 0);
        EXPECT_EQ(journal(), Lines({"KEYSET w1 17", "tavo_keyboard_evt(down 403)",
                                    "tavo_keyboard_evt(up 403)"}));
    }

    void requestInsideAndOutside()
    {
        uintptr_t permission = 99;
        EXPECT_EQ(requestData("dvb:/data.xml", &permission), 1u);
        EXPECT_EQ(permission, 0u);
        EXPECT_EQ(requestData("http://c.example/data.json", &permission), 1u);
        EXPECT_EQ(permission, 2u);
        EXPECT_EQ(requestData("dvb://1.2.4.a/data.xml", &permission), 1u);
        EXPECT_EQ(permission, 1u);
        EXPECT_EQ(journal(), Lines({"XHR? dvb://1.2.3.a/app/index.html -> "
                                    "dvb://1.2.3.a/app/data.xml"}));
    }

    void* parent_ = nullptr;
};

}  // namespace vesta::test

#endif
