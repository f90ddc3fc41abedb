// Applications that leave the broadcast, come from an XML table, or are created by others, and how
// a service's table adopts them.

#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

class IndependentApplicationStory : public LibraryTest {
protected:
    void forget()
    {
        forgetJournal();
        log().clear();
    }
};

TEST_F(IndependentApplicationStory, OneThatTunedAwayComesBackToItsService)
{
    startApplication(httpApplication(1, 2));
    finishLoading();
    // Its script stops the broadcast, so the table's end does not concern it.
    native_AppManNotifySetChannelCalled(1, "http://a.example/index.html", nullptr);
    send(E_CHANNEL_CHANGE);
    send(E_AIT_SECTION, noSectionRecord(0));
    tickAll();
    EXPECT_EQ(journal(),
              Lines({
                  "CHANGE 1.2 independent trusted=1 autostart http://a.example/index.html",
                  "dsmcc_clear_cache()",
                  "hbbtv_ait_invalidate()",
              }));
    ASSERT_NE(running(), nullptr);

    journalLog({"Window"});
    sendAIT(AITSection().version(1).add(httpApplication(1, 2).controlCode(2)));
    tickAll();
    EXPECT_EQ(journal(),
              Lines({
                  "AIT broadcast [1.2]",
                  "hbbtv_ait_completed(1)",
                  "LOG Window: Transferring state of running application from broadcast "
                  "independent (transitioned earlier from broadcast related) to broadcast related "
                  "at new AIT load.",
                  "CHANGE 1.2 related trusted=1 autostart http://a.example/index.html",
                  "LOG Window: Allowing running application to continue at new AIT load.",
              }));
}

TEST_F(IndependentApplicationStory, OneOfAnXMLTableIsAdoptedByTheServiceThatListsItsPage)
{
    sendXMLAIT({httpApplication(1, 2)});
    tickAll();
    finishLoading();
    EXPECT_EQ(journal(), Lines({
                             "AIT xml [1.2]",
                             "START 1.2 independent autostart http://a.example/index.html",
                             "REQUEST w1",
                             "ve_clear_history(w1)",
                             "ve_open_url(w1, http://a.example/index.html)",
                             "SHOW w1",
                         }));
    journalLog({"Window"});
    browser().loadingURL = "http://a.example/page2";
    sendAIT(AITSection().version(1).add(httpApplication(1, 2)));
    tickAll();
    EXPECT_EQ(journal(),
              Lines({
                  "AIT broadcast [1.2]",
                  "hbbtv_ait_completed(1)",
                  "ve_get_loading_url(w1)",
                  "LOG Window: Transferring state of running application from broadcast "
                  "independent to broadcast related at new AIT load",
                  "CHANGE 1.2 related trusted=1 autostart http://a.example/index.html",
                  "LOG Window: Allowing running application to continue at new AIT load.",
              }));
    EXPECT_TRUE(running()->isBroadcastRelated());
}

TEST_F(IndependentApplicationStory, OneOfAnXMLTableThatLeftItsOriginIsReplaced)
{
    sendXMLAIT({httpApplication(1, 2)});
    tickAll();
    forget();
    browser().loadingURL = "http://elsewhere.example/";
    sendAIT(AITSection().version(1).add(httpApplication(1, 2)));
    EXPECT_EQ(tickAll(), 2);
    EXPECT_EQ(journal(), Lines({
                             "AIT broadcast [1.2]",
                             "hbbtv_ait_completed(1)",
                             "ve_get_loading_url(w1)",
                             "START 1.2 related autostart http://a.example/index.html",
                             "CHANGE 0.0 related trusted=1 http://a.example/index.html",
                             "RELEASE w1",
                             "REQUEST w1",
                             "ve_clear_history(w1)",
                             "ve_open_url(w1, http://a.example/index.html)",
                         }));
}

TEST_F(IndependentApplicationStory, OneStartedByURLAloneIsNotAdopted)
{
    send(E_START_BROADCAST_INDEPENDENT_APPLICATION, urlRecord(window(), "http://a.example/portal"));
    tickAll();
    EXPECT_TRUE(running()->isStartedOnRequest());
    finishLoading();
    EXPECT_FALSE(running()->isStartedOnRequest());
    forget();
    sendAIT(AITSection().add(httpApplication(1, 2, "portal")));
    EXPECT_EQ(tickAll(), 2);
    EXPECT_EQ(journal(), Lines({
                             "AIT broadcast [1.2]",
                             "hbbtv_ait_completed(0)",
                             "START 1.2 related autostart http://a.example/portal",
                             "CHANGE 0.0 related trusted=1 http://a.example/portal",
                             "STOP 0.0 independent reactivate=0 http://a.example/portal",
                             "RELEASE w1",
                             "REQUEST w1",
                             "ve_clear_history(w1)",
                             "ve_open_url(w1, http://a.example/portal)",
                         }));
}

TEST_F(IndependentApplicationStory, AnXMLTablesApplicationReplacesThePageThatAskedForItWhenLoaded)
{
    startApplication(httpApplication(1, 2, "portal"));
    finishLoading();
    Application* const portal = running();
    // The portal opens an XML table: nobody is asked for a document that is no application.
    void* id = nullptr;
    EXPECT_EQ(
        native_ApplicationCreateApplication("http://x.example/l.aitx", 0, askForIdOf(portal), &id),
        VEIF_RETURN_OK);
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(journal(), Lines({"REQUEST w2", "ve_clear_history(w2)",
                                "ve_open_url(w2, http://x.example/l.aitx)"}));

    sendXMLAIT({AITEntry(5, 6).http(1, "http://x.example/").location("app")});
    EXPECT_EQ(tickAll(), 2);
    EXPECT_EQ(
        journal(),
        Lines({"AIT xml [5.6]", "START 5.6 independent autostart http://x.example/app",
               "REQUEST w3", "ve_clear_history(w3)", "ve_open_url(w3, http://x.example/app)"}));
    EXPECT_EQ(running()->getParent(), portal);

    finishLoading(3);
    EXPECT_EQ(journal(), Lines({"SHOW w3", "STOP 1.2 related reactivate=0 http://a.example/portal",
                                "RELEASE w1"}));
    EXPECT_EQ(running()->getParent(), nullptr);
}

TEST_F(IndependentApplicationStory, WhenAnXMLTablesApplicationFailsThePortalIsStillThere)
{
    startApplication(httpApplication(1, 2, "portal"));
    finishLoading();
    void* id = nullptr;
    native_ApplicationCreateApplication("http://x.example/l.aitx", 0, askForIdOf(running()), &id);
    sendXMLAIT({AITEntry(5, 6).http(1, "http://x.example/").location("app")});
    tickAll();
    forget();
    EXPECT_EQ(failLoading(3), 0);
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(journal(),
              Lines({"STOP 5.6 independent reactivate=0 http://x.example/app", "RELEASE w3"}));
    EXPECT_EQ(runningURL(), "http://a.example/portal");
}

TEST_F(IndependentApplicationStory, AfterItsEndTheServicesApplicationReturns)
{
    sendAIT(AITSection().add(httpApplication(1, 2)));
    tickAll();
    sendXMLAIT({httpApplication(5, 6, "xml")});
    tickAll();
    sendAIT(AITSection()
                .version(1)
                .add(httpApplication(5, 6, "xml").controlCode(2))
                .add(httpApplication(1, 2)));
    browser().loadingURL = "http://a.example/xml";
    tickAll();
    ASSERT_TRUE(running()->isBroadcastRelated());
    forget();
    EXPECT_EQ(native_ApplicationDestroyApplication(askForIdOf(running())), VEIF_RETURN_OK);
    EXPECT_EQ(tickAll(), 2);
    EXPECT_EQ(journal(), Lines({
                             "STOP 5.6 related reactivate=1 http://a.example/xml",
                             "RELEASE w1",
                             "START 1.2 related autostart http://a.example/index.html",
                             "CHANGE 0.0 related trusted=1 http://a.example/index.html",
                             "REQUEST w1",
                             "ve_clear_history(w1)",
                             "ve_open_url(w1, http://a.example/index.html)",
                         }));
}

}  // namespace
