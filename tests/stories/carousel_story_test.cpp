// From the first section to the last notice: an application of the service that lives in the object
// carousel, its keys, its requests, its child, and its return.

#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "tests/support/carousel_story.h"
#include "tests/support/counted_memory.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

class CarouselStory : public LibraryTest {
protected:
    CarouselStory() { prepareCarousel(platform()); }

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
        return vesta_hbbtv_key_input(browser().window(windowId), &event);
    }

    void startFromTheCarousel()
    {
        sendAIT(carouselTable());
        EXPECT_EQ(tickAll(), 2);
        EXPECT_EQ(journal(), startConversation());
    }

    /// The browser finds that it cannot load the page itself, and the platform takes its time.
    void servePage()
    {
        EXPECT_EQ(startPageLoad(browser()), 1u);
        EXPECT_EQ(journal(), Lines({"dsmcc_get_file(1.2.3.a/app/index.html)"}));
        send(E_DSMCC_FILE_READY, downloadRecord(&pageLoad));
        EXPECT_EQ(tickAll(), 1);
        EXPECT_EQ(journal(), pageConversation());
        EXPECT_TRUE(browser().written[&pageLoad] == pageBytes());
    }

    void showByScript()
    {
        finishLoading();
        EXPECT_TRUE(running()->isInitialPageLoaded());
        EXPECT_EQ(journal(), Lines());  // a broadcast-related application shows itself
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

    void createChild()
    {
        EXPECT_EQ(native_ApplicationCreateApplication("dvb://current.ait/1a.2c?from=parent#top", 1,
                                                      parent_, &child_),
                  0);
        EXPECT_EQ(tickAll(), 1);
        EXPECT_EQ(journal(), childConversation());
        finishLoading(2);
        EXPECT_EQ(journal(), Lines({"STOP 1a.2b related reactivate=0 " + std::string(startURL),
                                    "RELEASE w1"}));
        EXPECT_EQ(native_ApplicationShow(parent_), 4);
        EXPECT_EQ(native_ApplicationShow(child_), 0);
        EXPECT_EQ(journal(), Lines({"SHOW w2"}));
    }

    void destroyChild()
    {
        EXPECT_EQ(native_ApplicationDestroyApplication(child_), 0);
        EXPECT_EQ(journal(), Lines());
        EXPECT_EQ(tickAll(), 2);
        Lines expected = {"STOP 1a.2c related reactivate=1 " + std::string(childURL), "RELEASE w2"};
        // The table comes back in force without being announced again.
        const Lines start = startConversation();
        expected.insert(expected.end(), start.begin() + 2, start.end());
        EXPECT_EQ(journal(), expected);
    }

    void* parent_ = nullptr;
    void* child_ = nullptr;
};

TEST_F(CarouselStory, FromTheFirstSectionToTheReturnOfTheService)
{
    startFromTheCarousel();
    servePage();
    showByScript();
    useKeys();
    requestInsideAndOutside();
    createChild();
    destroyChild();
    EXPECT_EQ(runningURL(), startURL);

    shutdown();
    EXPECT_EQ(journal(), Lines({
                             "STOP 1a.2b related reactivate=0 " + std::string(startURL),
                             "RELEASE w1",
                             "hbbtv_ait_stop()",
                             "dsmcc_stop()",
                         }));
    EXPECT_EQ(outstandingBlocks(), 0u);
}

TEST_F(CarouselStory, ListenerKeepsTheServiceFromComingBack)
{
    startFromTheCarousel();
    servePage();
    showByScript();
    listener().reactivateAIT = 0;
    EXPECT_EQ(native_ApplicationDestroyApplication(parent_), 0);
    tickAll();
    EXPECT_EQ(journal(),
              Lines({"STOP 1a.2b related reactivate=1 " + std::string(startURL), "RELEASE w1"}));
    EXPECT_EQ(running(), nullptr);
}

TEST_F(CarouselStory, PageThatThePlatformCannotDeliverEndsTheApplication)
{
    startFromTheCarousel();
    startPageLoad(browser());
    forgetJournal();
    send(E_DSMCC_FILE_ERROR, downloadRecord(&pageLoad));
    tickAll();
    EXPECT_EQ(journal(), Lines({"ve_protocol_failed(404)", "dsmcc_close_file()"}));
    EXPECT_EQ(failLoading(), 0);
    tickAll();
    EXPECT_EQ(journal(),
              Lines({"STOP 1a.2b related reactivate=0 " + std::string(startURL), "RELEASE w1"}));
}

TEST_F(CarouselStory, LoadThatTheBrowserCancelsIsNotAnswered)
{
    startFromTheCarousel();
    startPageLoad(browser());
    forgetJournal();
    TavoVestaEventData data = {};
    data.request_id = &pageLoad;
    int result = -1;
    EXPECT_EQ(notify(TAVO_VESTA_EVT_PROTOCOL_LOADING_STOP, 1, data, &result), 1u);
    EXPECT_EQ(result, 0);
    send(E_DSMCC_FILE_READY, downloadRecord(&pageLoad));
    tickAll();
    EXPECT_EQ(journal(), Lines());
}

TEST_F(CarouselStory, ChangeOfTheChannelLeavesTheApplicationUntilTheNextTable)
{
    startFromTheCarousel();
    servePage();
    send(E_CHANNEL_CHANGE);
    tickAll();
    EXPECT_EQ(journal(), Lines({"dsmcc_clear_cache()", "hbbtv_ait_invalidate()"}));
    EXPECT_EQ(runningURL(), startURL);
    sendAIT(AITSection().version(5));
    tickAll();
    EXPECT_EQ(journal(),
              Lines({"AIT broadcast []", "hbbtv_ait_completed(5)",
                     "STOP 1a.2b related reactivate=0 " + std::string(startURL), "RELEASE w1"}));
}

}  // namespace
