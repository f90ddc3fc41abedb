// Why an application ends, goes on, or becomes another.

#include "tests/stories/reasons_fixture.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

const char page[] = "http://a.example/index.html";

class EndReasons : public ReasonsTest {
protected:
    /// It runs, and nothing was heard yet.
    void begin(const AITEntry& entry)
    {
        startApplication(entry);
        forgetReasons();
    }

    void startURL()
    {
        send(E_START_BROADCAST_INDEPENDENT_APPLICATION, urlRecord(window(), page));
        tickAll();
    }

    static AITSection next() { return AITSection().version(1); }

    /// An application of an XML AIT runs.
    void beginXML()
    {
        sendXMLAIT({httpApplication(1, 1)});
        tickAll();
        finishLoading();
        forgetReasons();
    }
};

TEST_F(EndReasons, TheNewTableKillsIt)
{
    begin(httpApplication(1, 1));
    tune(next().add(httpApplication(1, 1).controlCode(4)));
    expectReason(HBBTV_REASON_END_KILLED, "1.1");
}

TEST_F(EndReasons, TheNewTableDoesNotListIt)
{
    begin(httpApplication(1, 1));
    tune(next());
    expectReason(HBBTV_REASON_END_NOT_LISTED, "1.1");
}

TEST_F(EndReasons, ItIsBoundToItsService)
{
    begin(httpApplication(1, 1).serviceBound());
    send(E_CHANNEL_CHANGE);
    tune(next().add(httpApplication(1, 1).serviceBound()));
    expectReason(HBBTV_REASON_END_SERVICE_BOUND, "1.1");
}

TEST_F(EndReasons, NoTableStartedIt)
{
    startURL();
    forgetReasons();
    tune(next());
    expectReason(HBBTV_REASON_END_WITHOUT_ENTRY);
}

TEST_F(EndReasons, AnotherOneTakesItsPlace)
{
    begin(httpApplication(1, 1));
    startURL();
    expectReason(HBBTV_REASON_END_REPLACED, "1.1");
}

TEST_F(EndReasons, AnotherOneIsGivenItsBrowserWindow)
{
    begin(httpApplication(1, 1));
    void* created = nullptr;
    listener().nextWindows = {1};
    native_ApplicationCreateApplication(page, 1, askForIdOf(running()), &created);
    tickAll();
    expectReason(HBBTV_REASON_END_REPLACED, "1.1");
}

TEST_F(EndReasons, ItGoesOnWithTheNewTable)
{
    begin(httpApplication(1, 1));
    tune(next().add(httpApplication(1, 1)));
    expectReason(HBBTV_REASON_KEPT, "1.1");
}

TEST_F(EndReasons, ItBecomesAPartOfTheService)
{
    beginXML();
    browser().loadingURL = page;
    tune(next().add(httpApplication(1, 1)));
    expectReason(HBBTV_REASON_ADOPTED, "1.1");
}

TEST_F(EndReasons, AnXMLTableMakesNothingBroadcastRelated)
{
    beginXML();
    sendXMLAIT({httpApplication(1, 1)});
    tickAll();
    EXPECT_THAT(heard.lines(),
                ::testing::Contains(HeardDecisions::describe(HBBTV_REASON_END_NOT_ADOPTED, "1.1")));
    expectReason(HBBTV_REASON_NOT_ADOPTED_XML, "1.1");
}

TEST_F(EndReasons, TheServicesControlCodeDoesNotLetItIn)
{
    beginXML();
    tune(next().add(httpApplication(1, 1).controlCode(5)));
    expectReason(HBBTV_REASON_NOT_ADOPTED_CONTROL_CODE, "1.1", 0, 5);
}

TEST_F(EndReasons, NoTransportOfTheServiceLeadsToIt)
{
    beginXML();
    tune(next().add(httpApplication(1, 1, "elsewhere.html")));
    expectReason(HBBTV_REASON_NOT_ADOPTED_TRANSPORT, "1.1", 0, 0, page);
}

TEST_F(EndReasons, ItsPageIsOutsideOfTheServicesBoundaries)
{
    beginXML();
    browser().loadingURL = "http://elsewhere.example/";
    tune(next().add(httpApplication(1, 1)));
    expectReason(HBBTV_REASON_NOT_ADOPTED_BOUNDARY, "1.1");
}

TEST_F(EndReasons, AFailedLoadTriesTheNextTransport)
{
    begin(AITEntry(1, 1)
              .http(1, "http://a.example/")
              .http(2, "http://b.example/")
              .location("index.html"));
    failLoading();
    expectReason(HBBTV_REASON_NEXT_TRANSPORT, "1.1", 0, 0, "http://b.example/index.html");
    tickAll();
    failLoading(browser().idOf(running()->getTavoWindow()));
    EXPECT_THAT(heard.lines(), ::testing::Contains(HeardDecisions::describe(
                                   HBBTV_REASON_NO_NEXT_TRANSPORT, "1.1")));
    expectReason(HBBTV_REASON_END_LOAD_FAILED, "1.1");
}

TEST_F(EndReasons, AFailedLoadTriesTheNextAutostartApplication)
{
    tune(
        AITSection().add(httpApplication(1, 1).priority(9)).add(httpApplication(1, 2).priority(5)));
    failLoading();
    expectReason(HBBTV_REASON_NEXT_AUTOSTART, "1.1");
}

TEST_F(EndReasons, ALaterPageCouldNotBeLoaded)
{
    begin(httpApplication(1, 1));
    finishLoading();
    failLoading();
    expectReason(HBBTV_REASON_LATER_LOAD_FAILED, "1.1");
}

TEST_F(EndReasons, APageThatFailsIsNamedWithTheServersStatus)
{
    begin(httpApplication(1, 1));
    TavoVestaEventData data = {};
    data.http_status = 404;
    notify(TAVO_VESTA_EVT_LOADING_FINISHED, 1, data);
    expectReason(HBBTV_REASON_PAGE_FAILED, "1.1", 0, 404, "http://a.example/index.html");
}

TEST_F(EndReasons, APageThatFailsWithoutAnAnswerHasNoStatus)
{
    begin(httpApplication(1, 1));
    failLoading();
    expectReason(HBBTV_REASON_PAGE_FAILED, "1.1", 0, 0, "http://a.example/index.html");
}

TEST_F(EndReasons, APageThatIsNotWellFormedIsNamed)
{
    begin(httpApplication(1, 1));
    TavoVestaEventData data = {};
    notify(TAVO_VESTA_EVT_XML_PARSE_FAILED, 1, data);
    expectReason(HBBTV_REASON_PAGE_NOT_WELL_FORMED, "1.1", 0, 0, "http://a.example/index.html");
}

TEST_F(EndReasons, AChildTakesOverOrItsParentGoesOn)
{
    begin(httpApplication(1, 1));
    finishLoading();
    void* child = nullptr;
    native_ApplicationCreateApplication(page, 1, askForIdOf(running()), &child);
    tickAll();
    failLoading(2);
    expectReason(HBBTV_REASON_END_CHILD_FAILED);
    tickAll();
    native_ApplicationCreateApplication(page, 1, askForIdOf(running()), &child);
    tickAll();
    finishLoading(2);
    expectReason(HBBTV_REASON_END_PARENT, "1.1");
}

TEST_F(EndReasons, AScriptEndsItAndTheServicesOwnComesBackOrNot)
{
    begin(httpApplication(1, 1));
    native_ApplicationDestroyApplication(askForIdOf(running()));
    expectReason(HBBTV_REASON_END_SCRIPT, "1.1");
    tickAll();
    expectReason(HBBTV_REASON_REACTIVATED, "1.1");
    listener().reactivateAIT = 0;
    native_ApplicationDestroyApplication(askForIdOf(running()));
    tickAll();
    expectReason(HBBTV_REASON_NOT_REACTIVATED, "1.1");
}

TEST_F(EndReasons, ItsPageClosesItsWindow)
{
    begin(httpApplication(1, 1));
    TavoVestaEventData data = {};
    notify(TAVO_VESTA_EVT_WINDOW_CLOSE, 1, data);
    expectReason(HBBTV_REASON_END_WINDOW_CLOSED, "1.1");
}

TEST_F(EndReasons, TheMiddlewareTerminatesIt)
{
    begin(httpApplication(1, 1));
    send(E_TERMINATE_APPLICATION, windowRecord(this));
    tickAll();
    expectReason(HBBTV_REASON_END_UNKNOWN_WINDOW);
    send(E_TERMINATE_APPLICATION, windowRecord(window()));
    tickAll();
    expectReason(HBBTV_REASON_END_TERMINATED, "1.1");
}

TEST_F(EndReasons, TheServiceHasNoTableAnyMore)
{
    begin(httpApplication(1, 1));
    send(E_AIT_SECTION, noSectionRecord(0));
    tickAll();
    expectReason(HBBTV_REASON_END_TABLE_GONE, "1.1");
}

TEST_F(EndReasons, TheServiceIsTimeShifted)
{
    begin(httpApplication(1, 1));
    vesta_hbbtv_set_time_shifted(window(), 1);
    expectReason(HBBTV_REASON_END_TIME_SHIFT, "1.1");
}

TEST_F(EndReasons, AScriptInAnotherWindowTakesTheChannel)
{
    begin(httpApplication(1, 1));
    Window* const other = createWindow("other");
    sendXMLAIT({httpApplication(1, 2)}, other);
    tickAll();
    forgetReasons();
    native_AppManNotifySetChannelCalled(2, page, this);
    expectReason(HBBTV_REASON_END_CHANNEL_TAKEN, "1.1");
}

}  // namespace
