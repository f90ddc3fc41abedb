// Why loads, files, keys, requests and natives come to nothing.

#include <functional>

#include "integration/key_set.h"
#include "tests/stories/reasons_fixture.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

const char page[] = "http://a.example/index.html";
char load;

class CallReasons : public ReasonsTest {
protected:
    void startLoading(const char* url, long windowId = 1)
    {
        TavoVestaEventData data = {};
        data.url = url;
        data.request_id = &load;
        notify(TAVO_VESTA_EVT_PROTOCOL_LOADING_START, windowId, data);
    }

    void request(const char* url, long windowId = 1)
    {
        TavoVestaEventData data = {};
        data.url = page;
        data.second_url = url;
        notify(TAVO_VESTA_EVT_XHR_PERMISSION, windowId, data);
    }

    static void press(int type, TAVO_VIRTUAL_KEY key, long windowId = 1)
    {
        TAVO_KeyboardEvent event = {type, key};
        vesta_hbbtv_key_input(browser().window(windowId), &event);
    }

    static void startURL(Window* shown)
    {
        send(E_START_BROADCAST_INDEPENDENT_APPLICATION, urlRecord(shown, page));
        tickAll();
    }

    /// Its browser window is still there, and shows nothing any more.
    void whileItEnds(const std::function<void()>& check)
    {
        bool isChecked = false;
        listener().onNotification[HBBTV_NOTIFICATION_STOP_APPLICATION] =
            [&](HBBTV_NotificationData*) {
                check();
                isChecked = true;
            };
        send(E_TERMINATE_APPLICATION, windowRecord(window()));
        tickAll();
        listener().onNotification.clear();
        EXPECT_TRUE(isChecked);
    }

    void begin(const AITEntry& entry)
    {
        startApplication(entry);
        forgetReasons();
    }

    void beginFromCarousel() { begin(AITEntry(1, 1).carousel(1, 4).location("i.html")); }
};

TEST_F(CallReasons, LoadsOfNoDVBURLOrOfNoApplication)
{
    beginFromCarousel();
    startLoading(page);
    expectReason(HBBTV_REASON_LOAD_NOT_DVB, "1.1", 0, 0, page);
    native_AppManNotifySetChannelCalled(1, "dvb://1.2.3.4/i.html", nullptr);
    ASSERT_FALSE(running()->isBroadcastRelated());
    startLoading("dvb://1.2.3.4/a");
    expectReason(HBBTV_REASON_LOAD_NOT_RELATED, "1.1", 0, 0, "dvb://1.2.3.4/a");
}

TEST_F(CallReasons, LoadsOfAWindowThatShowsNoApplication)
{
    beginFromCarousel();
    whileItEnds([this] {
        startLoading("dvb://1.2.3.4/a");
        expectReason(HBBTV_REASON_LOAD_NO_APPLICATION, "0.0", 0, 0, "dvb://1.2.3.4/a");
    });
}

TEST_F(CallReasons, AFailedLoadOfAWindowThatShowsNoApplicationHasNone)
{
    begin(httpApplication(1, 1));
    whileItEnds([this] {
        forgetReasons();
        EXPECT_EQ(failLoading(), -3);
        EXPECT_EQ(heard.lines(), Lines());
    });
}

TEST_F(CallReasons, FilesThatThePlatformRefusesOrCannotRead)
{
    beginFromCarousel();
    platform().files["1.2.3.4/a"].getFileResult = DSMCC_ERROR;
    startLoading("dvb://1.2.3.4/a");
    expectReason(HBBTV_REASON_FILE_REFUSED, "0.0", 0, DSMCC_ERROR, "1.2.3.4/a");
    platform().files["1.2.3.4/b"].readResult = DSMCC_ERROR;
    startLoading("dvb://1.2.3.4/b");
    expectReason(HBBTV_REASON_FILE_UNREADABLE, "0.0", 0, 0, "dsmcc_read != DSMCC_OK");
    platform().files["1.2.3.4/c"].mimeTypeResult = DSMCC_ERROR;
    startLoading("dvb://1.2.3.4/c");
    expectReason(HBBTV_REASON_FILE_UNREADABLE, "0.0", 0, 0, "dsmcc_get_mime_type != DSMCC_OK");
}

TEST_F(CallReasons, FilesThatWillNotComeOrThatNobodyWaitsFor)
{
    beginFromCarousel();
    platform().files["1.2.3.4/a"].getFileResult = DSMCC_PENDING;
    startLoading("dvb://1.2.3.4/a");
    send(E_DSMCC_FILE_ERROR, downloadRecord(&load));
    tickAll();
    expectReason(HBBTV_REASON_FILE_FAILED);
    for (const HBBTV_EventType type : {E_DSMCC_FILE_READY, E_DSMCC_FILE_ERROR}) {
        send(type, downloadRecord(this));
        tickAll();
        expectReason(HBBTV_REASON_FILE_UNKNOWN);
    }
}

TEST_F(CallReasons, Keys)
{
    press(TAVO_KEY_DOWN, TAVO_VK_RED, 7);
    expectReason(HBBTV_REASON_KEY_NO_APPLICATION, "0.0", 0, TAVO_VK_RED);
    begin(httpApplication(1, 1));
    double granted = 0;
    native_KeySetSetValue(askForIdOf(running()), KeySet::GREEN, &granted);
    press(TAVO_KEY_DOWN, static_cast<TAVO_VIRTUAL_KEY>(1));
    expectReason(HBBTV_REASON_KEY_NOT_FOR_APPLICATIONS, "1.1", 0, 1);
    press(TAVO_KEY_DOWN, TAVO_VK_RED);
    expectReason(HBBTV_REASON_KEY_NOT_GRANTED, "1.1", KeySet::RED, KeySet::GREEN);
    press(TAVO_KEY_UP, TAVO_VK_GREEN);
    expectReason(HBBTV_REASON_KEY_UP_WITHOUT_DOWN, "1.1", 0, TAVO_VK_GREEN);
    press(TAVO_KEY_DOWN, TAVO_VK_GREEN);
    press(TAVO_KEY_UP, TAVO_VK_GREEN);
    EXPECT_EQ(vesta_hbbtv_key_input(browser().window(1), nullptr), 0) << "no key, no reason";
    EXPECT_EQ(heard.lines(), Lines());
}

TEST_F(CallReasons, AKeySetThatIsCut)
{
    platform().supportedKeySets = 0x11;
    vesta_hbbtv_shutdown();
    vesta_hbbtv_init(browser().handle());
    Window* const shown = createWindow("shown");
    vesta_hbbtv_add_notification_listener(RecordingListener::listen);
    startURL(shown);
    double granted = 0;
    native_KeySetSetValue(askForIdOf(shown->getRunningApplication()), 0x13, &granted);
    expectReason(HBBTV_REASON_KEYS_CUT, "0.0", 0x13, 0x11);
}

TEST_F(CallReasons, Requests)
{
    begin(httpApplication(1, 1));
    request("dvb://1.2.3.4/data");
    expectReason(HBBTV_REASON_REQUEST_OUTSIDE, "1.1", 0, 0, "dvb://1.2.3.4/data");
    request("http://elsewhere.example/");
    expectReason(HBBTV_REASON_REQUEST_LEFT_TO_BROWSER, "1.1", 0, 0, "http://elsewhere.example/");
    listener().xhrPermission = HBBTV_XHR_DENY;
    request("http://a.example/data");
    expectReason(HBBTV_REASON_REQUEST_DENIED, "1.1", 0, 0, "http://a.example/data");
    whileItEnds([this] {
        request(page);
        expectReason(HBBTV_REASON_REQUEST_NO_APPLICATION, "0.0", 0, 0, page);
    });
}

TEST_F(CallReasons, NativesWithoutAPlaceForTheAnswer)
{
    begin(httpApplication(1, 1));
    void* const id = askForIdOf(running());
    native_AppPrivateDataGetFreeMem(1, nullptr);
    expectReason(HBBTV_REASON_NATIVE_NULL);
    native_KeySetGetMaximumValue(1, nullptr);
    expectReason(HBBTV_REASON_NATIVE_NULL);
    native_KeySetSetValue(id, 1, nullptr);
    expectReason(HBBTV_REASON_NATIVE_NULL);
    native_KeySetGetValue(id, nullptr);
    expectReason(HBBTV_REASON_NATIVE_NULL);
    native_AppManGetWindowOfApplication(id, nullptr);
    expectReason(HBBTV_REASON_NATIVE_NULL);
    native_AppPrivateDataGetCurrentChannel(id, nullptr);
    expectReason(HBBTV_REASON_NATIVE_NULL);
    native_AppManGetApplicationId(1, nullptr, nullptr);
    expectReason(HBBTV_REASON_NATIVE_NULL);
    native_ApplicationCreateApplication(page, 0, id, nullptr);
    expectReason(HBBTV_REASON_NATIVE_NULL);
}

TEST_F(CallReasons, NativesOfNobody)
{
    double value = 0;
    native_KeySetGetValue(&load, &value);
    EXPECT_EQ(heard.decisions.back().scriptApplication, &load);
    expectReason(HBBTV_REASON_NATIVE_UNKNOWN_APPLICATION);
    native_KeySetGetValue(nullptr, &value);
    expectReason(HBBTV_REASON_NATIVE_UNKNOWN_APPLICATION);
    native_PermissionsIsBroadcastRelated(99, page);
    expectReason(HBBTV_REASON_NATIVE_UNKNOWN_WINDOW);
    native_BroadcastAddStreamEventListener("e", nullptr, nullptr, nullptr, nullptr, 99);
    expectReason(HBBTV_REASON_NATIVE_UNKNOWN_WINDOW);
    browser().results["ve_get_window"] = 1;
    native_PermissionsIsBroadcastRelated(99, page);
    expectReason(HBBTV_REASON_NATIVE_UNKNOWN_WINDOW);
}

TEST_F(CallReasons, NativesOfAnApplicationWithoutEntryOrChannel)
{
    startURL(window());
    native_BroadcastAddStreamEventListener("e", nullptr, nullptr, nullptr, nullptr, 1);
    expectReason(HBBTV_REASON_NATIVE_NO_ENTRY);
    void* channel = nullptr;
    native_AppPrivateDataGetCurrentChannel(askForIdOf(running()), &channel);
    expectReason(HBBTV_REASON_NATIVE_NO_CHANNEL);
    native_PermissionsIsBroadcastRelated(1, page);
    expectReason(HBBTV_REASON_NATIVE_OUTSIDE, "0.0", 0, 0, page);
    native_PermissionsIsBroadcastRelated(1, nullptr);
    expectReason(HBBTV_REASON_NATIVE_OUTSIDE);
}

TEST_F(CallReasons, NativesOfAnApplicationWithoutTransport)
{
    begin(httpApplication(1, 1));
    running()->setTransport(nullptr);
    native_BroadcastAddStreamEventListener("e", nullptr, nullptr, nullptr, nullptr, 1);
    expectReason(HBBTV_REASON_NATIVE_NO_ENTRY, "1.1");
    native_BroadcastAddXMLStreamEventListener(nullptr, nullptr, 0, 0, nullptr, nullptr, nullptr, 1);
    expectReason(HBBTV_REASON_NATIVE_NO_ENTRY, "1.1");
}

TEST_F(CallReasons, NativesWithoutABrowser)
{
    vesta_hbbtv_shutdown();
    vesta_hbbtv_init(nullptr);
    vesta_hbbtv_add_notification_listener(RecordingListener::listen);
    native_BroadcastAddStreamEventListener("e", nullptr, nullptr, nullptr, nullptr, 1);
    expectReason(HBBTV_REASON_NATIVE_NO_BROWSER);
    Window* const shown = createWindow("shown");
    startURL(shown);
    long windowId = 0;
    native_AppManGetWindowOfApplication(askForIdOf(shown->getRunningApplication()), &windowId);
    expectReason(HBBTV_REASON_NATIVE_NO_BROWSER);
}

TEST_F(CallReasons, ANativeThatSucceedsHasNone)
{
    begin(httpApplication(1, 1));
    long windowId = 0;
    EXPECT_EQ(native_AppManGetWindowOfApplication(askForIdOf(running()), &windowId),
              VEIF_RETURN_OK);
    EXPECT_EQ(windowId, 1);
    EXPECT_EQ(heard.lines(), Lines());
}

TEST_F(CallReasons, CreatingByURL)
{
    begin(httpApplication(1, 1));
    void* created = nullptr;
    native_ApplicationCreateApplication("dvb://current.ait/", 0, askForIdOf(running()), &created);
    expectReason(HBBTV_REASON_NATIVE_URL, "0.0", 0, 0, "dvb://current.ait/");
    send(E_HTTP_UNAVAILABLE);
    tickAll();
    native_ApplicationCreateApplication(page, 0, askForIdOf(running()), &created);
    expectReason(HBBTV_REASON_NATIVE_BROADBAND_OFF, "0.0", 0, 0, page);
}

}  // namespace
