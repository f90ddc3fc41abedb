// From the first section to the last notice: an application of the service that lives in the object
// carousel, its keys, its requests, its child, and its return.

#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "tests/support/carousel_story.h"
#include "tests/support/counted_memory.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

class CarouselStory : public CarouselSession {
protected:
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
        askForItself();
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
