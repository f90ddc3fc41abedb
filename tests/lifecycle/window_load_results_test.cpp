// What a window does when the browser reports that a page loaded or failed.

#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "security/application_domain.h"
#include "tests/support/library_test.h"
#include "tests/support/log_texts.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

const char* const loaded = "LOG Window: Initial page of application successfully loaded.";
const char* const nextTransport =
    "ERR Window: Loading failed, loading on next available transport instead.";
const char* const parentStays =
    "ERR Window: Loading failed, parent application will not be killed.";
const char* const nextAutostart =
    "ERR Window: Loading failed, trying to load next AUTOSTART application instead.";
const char* const autostartFailed = "ERR Window: Automatic load of AUTOSTART application failed.";
const char* const shuttingParent = "LOG Window: Shutting down parent application";

const int success = 0;
const int failure = -3;

std::vector<uintptr_t> loadErrors;

class WindowLoadResults : public LibraryTest {
protected:
    WindowLoadResults()
    {
        loadErrors.clear();
        native_ApplicationManagerSetListener([](int event, void* appId) {
            EXPECT_EQ(event, 3);
            loadErrors.push_back(reinterpret_cast<uintptr_t>(appId));
        });
    }

    void startByURL(const std::string& url)
    {
        window()->startBroadcastIndependentApplication(HbbTVURL(url));
        tickAll();
        forget();
    }

    void startWithCommonTransports(const std::vector<uint8_t>& labels)
    {
        sendAIT(AITSection()
                    .common(httpTransport(1, "http://a.example/") + carouselTransport(2, 7))
                    .add(AITEntry(1, 2).labels(labels).location("i")));
        tickAll();
        ASSERT_EQ(runningURL(), "http://a.example/i");
        forget();
    }

    void startChild(const std::string& url)
    {
        void* id = nullptr;
        native_ApplicationCreateApplication(url.c_str(), 1, idOf(running()), &id);
        tickAll();
        forget();
    }

    void forget()
    {
        log().clear();
        forgetJournal();
    }

    TAVO_VestaWindow* w(long id) { return browser().window(id); }
};

TEST_F(WindowLoadResults, ForUnknownBrowserWindowsAreIgnoredSilently)
{
    window()->reportLoadSuccess(w(9));
    EXPECT_FALSE(window()->reportLoadFailed(w(9)));
    window()->reportXMLParseFailure(w(9));
    window()->reportLoadSuccess(nullptr);
    EXPECT_FALSE(window()->reportLoadFailed(nullptr));
    EXPECT_EQ(takeLog(), Lines());
}

TEST_F(WindowLoadResults, ALoadedVisibleApplicationIsShown)
{
    startByURL("http://a.example/i");
    running()->setStartedOnRequest(true);
    finishLoading();
    EXPECT_EQ(takeLog(), Lines({loaded}));
    EXPECT_EQ(journal(), Lines({"SHOW w1"}));
    EXPECT_TRUE(running()->isInitialPageLoaded());
    EXPECT_FALSE(running()->isStartedOnRequest());
}

TEST_F(WindowLoadResults, ALoadedHiddenApplicationIsNotShown)
{
    startApplication(httpApplication(1, 2));
    finishLoading();
    EXPECT_EQ(takeLog(), Lines({loaded}));
    EXPECT_EQ(journal(), Lines());
}

TEST_F(WindowLoadResults, OnlyTheFirstSuccessCounts)
{
    startByURL("http://a.example/i");
    finishLoading();
    forget();
    finishLoading();
    EXPECT_EQ(takeLog(), Lines());
    EXPECT_EQ(journal(), Lines());
}

TEST_F(WindowLoadResults, ALoadedChildEndsItsParentOnALaterTick)
{
    startByURL("http://a.example/parent");
    Application* const parent = running();
    startChild("child");
    window()->reportLoadSuccess(w(2));
    EXPECT_EQ(takeLog(), Lines({loaded, shuttingParent, shutting, delayed}));
    EXPECT_EQ(journal(), Lines({"SHOW w2"}));
    EXPECT_EQ(running()->getParent(), nullptr);
    EXPECT_TRUE(window()->applicationExists(parent));

    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(journal(),
              Lines({"STOP 0.0 independent reactivate=0 http://a.example/parent", "RELEASE w1"}));
    EXPECT_EQ(window()->getApplications().size(), 1u);
}

TEST_F(WindowLoadResults, AChildWhoseParentIsNotInTheMapJustForgetsIt)
{
    startByURL("http://a.example/i");
    Application stranger(window(), HbbTVURL("http://b.example/"), nullptr);
    running()->setParent(&stranger);
    finishLoading();
    EXPECT_EQ(running()->getParent(), nullptr);
    EXPECT_EQ(takeLog(), Lines({loaded}));
}

TEST_F(WindowLoadResults, ForAnApplicationThatDoesNotRunAreLoggedAndIgnored)
{
    startByURL("http://a.example/parent");
    Application* const parent = running();
    startChild("child");
    window()->reportLoadSuccess(w(1));
    EXPECT_EQ(takeLog(), Lines({"LOG Window: Application loaded received on not-running "
                                "application. Silently ignoring."}));
    EXPECT_FALSE(parent->isInitialPageLoaded());
    EXPECT_TRUE(window()->reportLoadFailed(w(1)));
    EXPECT_EQ(takeLog(), Lines({"WARN Window: Application failed received on not-running "
                                "application. Silently ignoring."}));
    EXPECT_EQ(journal(), Lines());
}

TEST_F(WindowLoadResults, AFailureAfterTheInitialPageOnlyLogs)
{
    startApplication(httpApplication(1, 2));
    finishLoading();
    forget();
    EXPECT_EQ(failLoading(), success);
    EXPECT_EQ(takeLog(), Lines({"ERR Window: Loading a page in a running application failed, no "
                                "error handling."}));
    EXPECT_EQ(tickAll(), 0);
    EXPECT_EQ(journal(), Lines());
}

TEST_F(WindowLoadResults, AFailedPageIsTriedOnTheNextTransport)
{
    startApplication(AITEntry(1, 2).http(1, "http://a.example/").carousel(2, 7).location("i"));
    const Application* const failed = running();
    EXPECT_EQ(failLoading(), success);
    EXPECT_EQ(takeLog(), Lines({starting, shutting, delayed, nextTransport}));
    Application* const next = window()->getPendingApplication();
    ASSERT_NE(next, nullptr);
    EXPECT_NE(next, failed);
    EXPECT_TRUE(next->isAutostarted());
    EXPECT_EQ(next->getTransport()->getLabel(), 2);

    EXPECT_EQ(tickAll(), 2);  // the start, then the stop of one that has ended by then
    EXPECT_EQ(runningURL(), "dvb://1.2.3.7/i");
    EXPECT_EQ(journal(), Lines({
                             "START 1.2 related autostart dvb://1.2.3.7/i",
                             "CHANGE 0.0 related trusted=1 dvb://1.2.3.7/i",
                             "RELEASE w1",
                             "REQUEST w1",
                             "ve_clear_history(w1)",
                             "ve_open_url(w1, dvb://1.2.3.7/i)",
                         }));
}

TEST_F(WindowLoadResults, ARestartInheritsTheParent)
{
    startApplication(AITEntry(1, 2).http(1, "http://a.example/").carousel(2, 7).location("i"));
    Application* const parent = running();
    startChild("dvb://current.ait/1.2");
    Application* const child = running();
    ASSERT_EQ(child->getParent(), parent);
    EXPECT_EQ(failLoading(2), success);
    EXPECT_EQ(window()->getPendingApplication()->getParent(), parent);
    EXPECT_FALSE(window()->getPendingApplication()->isAutostarted());
    EXPECT_EQ(child->getParent(), nullptr);
    EXPECT_EQ(tickAll(), 2);
    EXPECT_EQ(running()->getParent(), parent);
    EXPECT_TRUE(window()->applicationExists(parent));
    EXPECT_EQ(loadErrors.size(), 0u);
}

TEST_F(WindowLoadResults, NoTransportIsTriedTwice)
{
    // A label that is listed twice names the same common transport twice.
    startWithCommonTransports({1, 2, 1, 2});
    EXPECT_EQ(running()->getAITApplication()->getNumTransports(), 4u);
    EXPECT_EQ(failLoading(), success);
    tickAll();
    EXPECT_EQ(runningURL(), "dvb://1.2.3.7/i");
    forget();
    EXPECT_EQ(failLoading(), success);
    EXPECT_EQ(takeLog(), Lines({autostartFailed, shutting, delayed}));
}

TEST_F(WindowLoadResults, ALabelListedTwiceInARowIsNotRetried)
{
    startWithCommonTransports({1, 1, 2});
    EXPECT_EQ(failLoading(), success);
    tickAll();
    EXPECT_EQ(runningURL(), "dvb://1.2.3.7/i");
}

TEST_F(WindowLoadResults, TransportsThatAreNotAvailableArePassedOver)
{
    startApplication(
        AITEntry(1, 2).carousel(1, 7).http(2, "http://a.example/").carousel(3, 8).location("i"));
    manager()->setHttpAvailable(false);
    failLoading();
    tickAll();
    EXPECT_EQ(runningURL(), "dvb://1.2.3.8/i");
}

TEST_F(WindowLoadResults, OnlyTheRunningApplicationIsRestartedOnATransport)
{
    EXPECT_FALSE(window()->restartApplicationOnNextTransport(nullptr));
    startApplication(AITEntry(1, 2).http(1, "http://a.example/").carousel(2, 7).location("i"));
    Application* const parent = running();
    startChild("dvb://current.ait/1.2");
    EXPECT_FALSE(window()->restartApplicationOnNextTransport(parent));
    running()->setTransport(nullptr);
    EXPECT_FALSE(window()->restartApplicationOnNextTransport(running()));
    running()->setTransport(parent->getTransport());
    running()->setAITApplication(nullptr);
    EXPECT_FALSE(window()->restartApplicationOnNextTransport(running()));
    EXPECT_EQ(takeLog(), Lines());
}

TEST_F(WindowLoadResults, ARestartThatIsBlockedGoesOnWithTheOtherFallbacks)
{
    startApplication(AITEntry(1, 2).http(1, "http://a.example/").carousel(2, 7).location("i"));
    listener().startAction = 2;
    EXPECT_EQ(failLoading(), success);
    EXPECT_EQ(
        takeLog(),
        Lines({starting, "DEBUG Window: Blocking application upon request from listener.",
               "DEBUG Window: Leaving running application.", autostartFailed, shutting, delayed}));
}

TEST_F(WindowLoadResults, AFailedChildGivesWayToItsParent)
{
    startByURL("http://a.example/parent");
    Application* const parent = running();
    startChild("child");
    Application* const child = running();
    EXPECT_EQ(failLoading(2), success);
    EXPECT_EQ(running(), parent);
    EXPECT_EQ(child->getParent(), nullptr);
    EXPECT_EQ(loadErrors, std::vector<uintptr_t>({2}));
    EXPECT_EQ(takeLog(), Lines({shutting, delayed, parentStays}));
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(journal(),
              Lines({"STOP 0.0 independent reactivate=0 http://a.example/child", "RELEASE w2"}));
    EXPECT_EQ(running(), parent);
}

TEST_F(WindowLoadResults, AFailedAutostartApplicationGivesWayToTheNext)
{
    sendAIT(AITSection().add(httpApplication(1, 1, "x")).add(httpApplication(1, 2, "y")));
    tickAll();
    forget();
    EXPECT_EQ(failLoading(), success);
    EXPECT_EQ(takeLog(), Lines({starting, nextAutostart}));
    EXPECT_TRUE(window()->getPendingApplication()->isAutostarted());
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(runningURL(), "http://a.example/y");
    EXPECT_EQ(journal(), Lines({
                             "START 1.2 related autostart http://a.example/y",
                             "CHANGE 0.0 related trusted=1 http://a.example/y",
                             "STOP 1.1 related reactivate=0 http://a.example/x",
                             "RELEASE w1",
                             "REQUEST w1",
                             "ve_clear_history(w1)",
                             "ve_open_url(w1, http://a.example/y)",
                         }));
}

TEST_F(WindowLoadResults, WithoutAnotherTheFailedAutostartApplicationEnds)
{
    startApplication(httpApplication(1, 2));
    EXPECT_EQ(failLoading(), success);
    EXPECT_EQ(takeLog(), Lines({autostartFailed, shutting, delayed}));
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(journal(),
              Lines({"STOP 1.2 related reactivate=0 http://a.example/index.html", "RELEASE w1"}));
    EXPECT_EQ(window()->getState(), Window::IDLE);
}

TEST_F(WindowLoadResults, AFailedAutostartApplicationWithoutEntryEnds)
{
    startApplication(httpApplication(1, 2));
    running()->setAITApplication(nullptr);
    EXPECT_EQ(failLoading(), success);
    EXPECT_EQ(takeLog(), Lines({autostartFailed, shutting, delayed}));
}

TEST_F(WindowLoadResults, AFailedRelatedApplicationThatWasNotAutostartedIsTheBrowsersMatter)
{
    sendAIT(AITSection().add(httpApplication(1, 2).controlCode(2)));
    send(E_START_APPLICATION, startRecord(window(), 1, 2));
    tickAll();
    forget();
    EXPECT_EQ(failLoading(), failure);
    EXPECT_EQ(takeLog(), Lines());
    EXPECT_EQ(tickAll(), 0);
    EXPECT_EQ(window()->getState(), Window::RUNNING);
}

TEST_F(WindowLoadResults, AFailedIndependentApplicationIsLeftAsItIs)
{
    startByURL("http://a.example/i");
    EXPECT_EQ(failLoading(), success);
    EXPECT_EQ(takeLog(), Lines());
    EXPECT_EQ(tickAll(), 0);
    EXPECT_NE(running(), nullptr);
}

TEST_F(WindowLoadResults, AnXMLFaultIsOnlyMarkedUntilTheNextResult)
{
    startByURL("http://a.example/i");
    TavoVestaEventData data = {};
    EXPECT_EQ(notify(TAVO_VESTA_EVT_XML_PARSE_FAILED, 1, data), 1u);
    EXPECT_EQ(takeLog(),
              Lines({"LOG Window: Mark application for termination due to XML parsing error."}));
    EXPECT_TRUE(running()->isTerminateOnLoad());
    EXPECT_EQ(tickAll(), 0);
}

TEST_F(WindowLoadResults, AfterAnXMLFaultThePageFailsAndThenCountsAsLoaded)
{
    startByURL("http://a.example/i");
    window()->reportXMLParseFailure(w(1));
    log().clear();
    finishLoading();
    EXPECT_EQ(takeLog(), Lines({loaded}));  // nothing to fall back to
    EXPECT_EQ(journal(), Lines({"SHOW w1"}));
}

TEST_F(WindowLoadResults, AfterAnXMLFaultTheParentIsRestored)
{
    startByURL("http://a.example/parent");
    startChild("child");
    window()->reportXMLParseFailure(w(2));
    log().clear();
    window()->reportLoadSuccess(w(2));
    EXPECT_EQ(takeLog(), Lines({shutting, delayed, parentStays,
                                "LOG Window: Application loaded received on not-running "
                                "application. Silently ignoring."}));
    EXPECT_EQ(runningURL(), "http://a.example/parent");
}

TEST_F(WindowLoadResults, AfterAnXMLFaultAnAutostartApplicationEndsAllTheSame)
{
    startApplication(httpApplication(1, 2));
    window()->reportXMLParseFailure(w(1));
    log().clear();
    finishLoading();
    EXPECT_EQ(takeLog(), Lines({autostartFailed, shutting, delayed, loaded, shutting}));
    EXPECT_EQ(running(), nullptr);
}

TEST_F(WindowLoadResults, TheLoadedURLIsComparedWithTheGivenDomain)
{
    ApplicationDomain domain;
    domain.addBoundaryExtension("http://a.example/");
    EXPECT_FALSE(window()->isLoadedUrlWithinBoundaries(&domain));  // nothing runs
    EXPECT_EQ(journal(), Lines());

    startByURL("http://a.example/i");
    browser().loadingURL = "http://a.example/other";
    EXPECT_TRUE(window()->isLoadedUrlWithinBoundaries(&domain));
    EXPECT_EQ(journal(), Lines({"ve_get_loading_url(w1)"}));
    EXPECT_FALSE(window()->isLoadedUrlWithinBoundaries(nullptr));
    browser().loadingURL = "http://b.example/";
    EXPECT_FALSE(window()->isLoadedUrlWithinBoundaries(&domain));
    browser().loadingURL = "";
    EXPECT_FALSE(window()->isLoadedUrlWithinBoundaries(&domain));
    browser().loadingURL = "http://a.example/";
    browser().results["ve_get_loading_url"] = -1;
    EXPECT_FALSE(window()->isLoadedUrlWithinBoundaries(&domain));
}

TEST_F(WindowLoadResults, AFailedCarouselIsFollowedByHTTP)
{
    startApplication(AITEntry(1, 1).carousel(1, 4).http(2, "http://a.example/").location("i"));
    EXPECT_EQ(runningURL(), "dvb://1.2.3.4/i");
    EXPECT_EQ(failLoading(), 0);
    tickAll();
    EXPECT_EQ(runningURL(), "http://a.example/i");
}

TEST_F(WindowLoadResults, AnXMLApplicationThatFailsIsNotTriedOnItsNextTransport)
{
    sendXMLAIT(
        {AITEntry(1, 1).http(1, "http://a.example/").http(2, "http://b.example/").location("i")});
    tickAll();
    EXPECT_EQ(failLoading(), 0);
    EXPECT_EQ(tickAll(), 0);
    EXPECT_EQ(runningURL(), "http://a.example/i");
}

TEST_F(WindowLoadResults, AFailedApplicationThatWasAskedForIsNotFollowedByAnAutostartOne)
{
    sendAIT(AITSection()
                .add(httpApplication(1, 2, "asked").priority(9).controlCode(2))
                .add(httpApplication(1, 1)));
    tickAll();
    send(E_START_APPLICATION, startRecord(window(), 1, 2));
    tickAll();
    EXPECT_EQ(runningURL(), "http://a.example/asked");
    EXPECT_EQ(failLoading(browser().idOf(running()->getTavoWindow())), -3);
    EXPECT_EQ(tickAll(), 0);
    EXPECT_EQ(runningURL(), "http://a.example/asked");
}

TEST_F(WindowLoadResults, ALoadedParentBehindItsChildFailsUnnoticed)
{
    startApplication(httpApplication(1, 1));
    finishLoading();
    void* child = nullptr;
    native_ApplicationCreateApplication("http://a.example/c", 1, idOf(running()), &child);
    tickAll();
    log().clear();
    EXPECT_EQ(failLoading(1), 0);
    EXPECT_EQ(takeLog(),
              Lines({"WARN Window: Application failed received on not-running application. "
                     "Silently ignoring."}));
}

TEST_F(WindowLoadResults, ATransportOfAnotherEntryHasNoNextOne)
{
    startApplication(
        AITEntry(1, 1).http(1, "http://a.example/").http(2, "http://b.example/").location("i"));
    const ref_ptr<AIT> other = broadcastTable(AITSection().add(httpApplication(1, 1)));
    running()->setTransport(other->getAITApplication(0)->getFirstAvailableTransport(true));
    EXPECT_EQ(failLoading(), 0);
    tickAll();
    EXPECT_EQ(running(), nullptr);
}

TEST_F(WindowLoadResults, AnApplicationWithoutBrowserWindowLoadsNothing)
{
    startByURL("http://a.example/i");
    browser().loadingURL = "http://a.example/i";
    TAVO_VestaWindow* const shown = running()->getTavoWindow();
    running()->setTavoWindow(nullptr);
    EXPECT_FALSE(window()->isLoadedUrlWithinBoundaries(running()->getApplicationDomain()));
    EXPECT_EQ(journal(), Lines());
    running()->setTavoWindow(shown);
}

}  // namespace
