// What the browser reports of its windows: which events are consumed, what they answer and do.

#include <climits>
#include <optional>

#include "integration/oc_download_manager.h"
#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

const int untouched = 12345;
const char closing[] = "DEBUG vesta_hbbtv: TAVO_VESTA_EVT_WINDOW_CLOSE";
const char finished[] = "DEBUG vesta_hbbtv: TAVO_VESTA_EVT_LOADING_FINISHED";
const char failed[] = "DEBUG vesta_hbbtv: TAVO_VESTA_EVT_LOADING_FAILED";

/// The browser window of the library's window that shows no application.
const long emptyWindow = 9;

class BrowserEvents : public LibraryTest {
protected:
    /// An application of the service over HTTP in w1, its page loading.
    void startRelated()
    {
        startApplication(httpApplication(1, 1));
        registerEmptyWindow();
    }

    /// One that was started by its URL alone, likewise.
    void startIndependent()
    {
        send(E_START_BROADCAST_INDEPENDENT_APPLICATION,
             urlRecord(window(), "http://b.example/index.html"));
        tickAll();
        registerEmptyWindow();
    }

    /// Makes w9 one of the library's browser windows.
    void registerEmptyWindow()
    {
        manager()->registerTavoWindow(browser().window(emptyWindow), window());
        forgetJournal();
        log().clear();
    }

    struct Answer {
        unsigned int consumed;
        int result;

        bool operator==(const Answer& other) const
        {
            return consumed == other.consumed && result == other.result;
        }
        friend std::ostream& operator<<(std::ostream& stream, const Answer& answer)
        {
            return stream << "{" << answer.consumed << ", " << answer.result << "}";
        }
    };

    Answer report(TAVO_VESTA_EVENT event, long windowId, TavoVestaEventData data = {})
    {
        Answer answer = {0, untouched};
        answer.consumed = notify(event, windowId, data, &answer.result);
        return answer;
    }

    Answer reportFinished(long windowId, int loadStatus, unsigned short httpStatus)
    {
        TavoVestaEventData data = {};
        data.load_status = loadStatus;
        data.http_status = httpStatus;
        return report(TAVO_VESTA_EVT_LOADING_FINISHED, windowId, data);
    }

    Answer reportURL(long windowId, const char* url)
    {
        TavoVestaEventData data = {};
        data.url = url;
        return report(TAVO_VESTA_EVT_URL_CHANGED, windowId, data);
    }
};

const TAVO_VESTA_EVENT listedEvents[] = {
    TAVO_VESTA_EVT_WINDOW_CLOSE,           TAVO_VESTA_EVT_URL_CHANGED,
    TAVO_VESTA_EVT_LOADING_FINISHED,       TAVO_VESTA_EVT_LOADING_FAILED,
    TAVO_VESTA_EVT_PROTOCOL_LOADING_START, TAVO_VESTA_EVT_PROTOCOL_LOADING_STOP,
    TAVO_VESTA_EVT_XML_PARSE_FAILED,       TAVO_VESTA_EVT_XHR_PERMISSION};

class EveryBrowserEvent : public BrowserEvents,
                          public ::testing::WithParamInterface<TAVO_VESTA_EVENT> {
protected:
    bool isStop() const { return GetParam() == TAVO_VESTA_EVT_PROTOCOL_LOADING_STOP; }
};

TEST_P(EveryBrowserEvent, ForAForeignWindowIsNotConsumedAndNotLogged)
{
    startRelated();
    TavoVestaEventData data = {};
    data.url = "dvb://1.2.3.4/a";
    char foreign;
    for (TAVO_VestaWindow* const handle :
         {static_cast<TAVO_VestaWindow*>(nullptr), browser().window(5),
          reinterpret_cast<TAVO_VestaWindow*>(&foreign)}) {
        int result = untouched;
        EXPECT_EQ(
            vesta_hbbtv_handle_notification(browser().handle(), handle, GetParam(), &data, &result),
            0u);
        EXPECT_EQ(result, untouched);
    }
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(log().lines().empty(), !isStop());
}

TEST_P(EveryBrowserEvent, WithoutARecordIsNotConsumed)
{
    startRelated();
    int result = untouched;
    for (const long windowId : {1L, emptyWindow, 5L})
        EXPECT_EQ(vesta_hbbtv_handle_notification(browser().handle(), browser().window(windowId),
                                                  GetParam(), nullptr, &result),
                  0u);
    EXPECT_EQ(result, untouched);
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(log().lines(), Lines());
}

TEST_P(EveryBrowserEvent, AnswersTheSameWithoutAPlaceForTheResult)
{
    startRelated();
    for (const long windowId : {1L, emptyWindow}) {
        TavoVestaEventData data = {};
        EXPECT_EQ(notify(GetParam(), windowId, data, nullptr), isStop() ? 0u : 1u);
    }
}

TEST_P(EveryBrowserEvent, AfterTheWindowWasReleasedIsNotConsumed)
{
    startRelated();
    vesta_hbbtv_release_window(window());
    forgetJournal();
    EXPECT_EQ(report(GetParam(), 1), (Answer{0, untouched}));
    EXPECT_EQ(report(GetParam(), emptyWindow), (Answer{0, untouched}));
    EXPECT_EQ(journal(), Lines());
}

TEST_P(EveryBrowserEvent, OutsideTheLifeOfTheLibraryIsNotConsumedAndNotLoggedAsAnError)
{
    shutdown();
    log().clear();
    EXPECT_EQ(report(GetParam(), 1), (Answer{0, untouched}));
    const Lines stopping = {"DEBUG vesta_hbbtv: TAVO_VESTA_EVT_PROTOCOL_LOADING_STOP"};
    EXPECT_EQ(log().leveledLines(), isStop() ? stopping : Lines());
}

INSTANTIATE_TEST_SUITE_P(Events, EveryBrowserEvent, ::testing::ValuesIn(listedEvents),
                         [](const auto& suite) { return std::to_string(int{suite.param}); });

TEST_F(BrowserEvents, ThatAreNotListedAreNotConsumedAndTouchNothing)
{
    startRelated();
    for (const int event :
         {INT_MIN, -1, 0, 1, 3, 9, 11, 14, 50, 52, 119, 121, 127, 129, 161, 163, INT_MAX}) {
        EXPECT_EQ(report(static_cast<TAVO_VESTA_EVENT>(event), 1), (Answer{0, untouched})) << event;
    }
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(log().lines(), Lines());
}

TEST_F(BrowserEvents, WindowCloseQueuesTheEndOfTheRunningApplication)
{
    startRelated();
    EXPECT_EQ(report(TAVO_VESTA_EVT_WINDOW_CLOSE, 1), (Answer{1, untouched}));
    EXPECT_EQ(log().leveledLines().front(), closing);
    EXPECT_EQ(journal(), Lines());
    EXPECT_NE(running(), nullptr);
    tickAll();
    EXPECT_EQ(journal(),
              Lines({"STOP 1.1 related reactivate=0 http://a.example/index.html", "RELEASE w1"}));
}

TEST_F(BrowserEvents, WindowCloseWithoutARunningApplicationIsConsumed)
{
    registerEmptyWindow();
    EXPECT_EQ(report(TAVO_VESTA_EVT_WINDOW_CLOSE, emptyWindow), (Answer{1, untouched}));
    EXPECT_EQ(tickAll(), 0);
    EXPECT_EQ(journal(), Lines());
}

TEST_F(BrowserEvents, URLChangedReplacesTheCurrentURLOfTheApplication)
{
    startRelated();
    for (const char* const url : {"http://a.example/two.html?q=1#f", "http://other.example/", ""}) {
        EXPECT_EQ(reportURL(1, url), (Answer{1, 0}));
        EXPECT_EQ(running()->getCurrentURL().getFullUrl(), url);
    }
    EXPECT_EQ(reportURL(1, nullptr), (Answer{1, 0}));
    EXPECT_EQ(running()->getCurrentURL().getFullUrl(), "");
    EXPECT_EQ(runningURL(), "http://a.example/index.html");
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(log().lines(), Lines());
}

TEST_F(BrowserEvents, URLChangedWithoutAnApplicationIsConsumed)
{
    startRelated();
    EXPECT_EQ(reportURL(emptyWindow, "http://b.example/"), (Answer{1, 0}));
    EXPECT_EQ(running()->getCurrentURL().getFullUrl(), "http://a.example/index.html");
}

TEST_F(BrowserEvents, LoadingFinishedIsActedOnByALaterTick)
{
    startRelated();
    send(E_SUPPORTED_PROFILES, profilesRecord(1));
    EXPECT_EQ(reportFinished(1, 0, 200), (Answer{1, 0}));
    EXPECT_EQ(log().leveledLines(), Lines({finished}));
    EXPECT_FALSE(running()->isInitialPageLoaded());
    EXPECT_TRUE(vesta_hbbtv_tick());
    EXPECT_FALSE(running()->isInitialPageLoaded());  // after what was queued before
    EXPECT_TRUE(vesta_hbbtv_tick());
    EXPECT_TRUE(running()->isInitialPageLoaded());
}

TEST_F(BrowserEvents, LoadingFinishedSucceedsWithAnyOtherStatus)
{
    startRelated();
    const std::pair<int, unsigned short> loaded[] = {{0, 0},   {0, 200}, {0, 500}, {0, 403},
                                                     {2, 405}, {4, 200}, {-3, 0},  {404, 3}};
    for (const auto& [loadStatus, httpStatus] : loaded) {
        EXPECT_EQ(reportFinished(1, loadStatus, httpStatus), (Answer{1, 0}));
        EXPECT_EQ(tickAll(), 1);
    }
    EXPECT_EQ(log().count("ERR vesta_hbbtv: TAVO_LOAD_CONNECTION_FAILED"), 0);
}

TEST_F(BrowserEvents, LoadingFinishedWithAFailureIsALoadFailure)
{
    const std::pair<int, unsigned short> notLoaded[] = {{3, 0}, {3, 200}, {0, 404}, {3, 404}};
    for (const auto& [loadStatus, httpStatus] : notLoaded) {
        startRelated();
        EXPECT_EQ(reportFinished(1, loadStatus, httpStatus), (Answer{1, 0}));
        ASSERT_GE(log().leveledLines().size(), 2u);
        EXPECT_EQ(log().leveledLines()[0], finished);
        EXPECT_EQ(log().leveledLines()[1], "ERR vesta_hbbtv: TAVO_LOAD_CONNECTION_FAILED");
        EXPECT_EQ(log().count(failed), 0);
        EXPECT_EQ(log().count("ERR Window: Automatic load of AUTOSTART application failed."), 1);
        tickAll();
        EXPECT_EQ(log().count("DEBUG LoadSuccessEvent: LoadSuccessEvent::execute()"), 0);
        EXPECT_EQ(running(), nullptr);
        send(E_CHANNEL_CHANGE);
        tickAll();
    }
}

TEST_F(BrowserEvents, LoadingFailedReportsWhetherTheWindowHandledIt)
{
    startRelated();
    EXPECT_EQ(report(TAVO_VESTA_EVT_LOADING_FAILED, emptyWindow), (Answer{1, -3}));
    EXPECT_EQ(log().leveledLines(), Lines({failed}));
    EXPECT_EQ(reportFinished(emptyWindow, 0, 404), (Answer{1, -3}));
    EXPECT_EQ(report(TAVO_VESTA_EVT_LOADING_FAILED, 1), (Answer{1, 0}));
    tickAll();
    EXPECT_EQ(running(), nullptr);
}

TEST_F(BrowserEvents, LoadingFailedOfALoadedApplicationIsNotHandledFurther)
{
    startRelated();
    finishLoading();
    EXPECT_EQ(report(TAVO_VESTA_EVT_LOADING_FAILED, 1), (Answer{1, 0}));
    EXPECT_EQ(tickAll(), 0);
    EXPECT_NE(running(), nullptr);
}

TEST_F(BrowserEvents, XMLParseFailureMarksTheApplication)
{
    startRelated();
    EXPECT_EQ(report(TAVO_VESTA_EVT_XML_PARSE_FAILED, emptyWindow), (Answer{1, untouched}));
    EXPECT_FALSE(running()->isTerminateOnLoad());
    EXPECT_EQ(report(TAVO_VESTA_EVT_XML_PARSE_FAILED, 1), (Answer{1, untouched}));
    EXPECT_TRUE(running()->isTerminateOnLoad());
    EXPECT_EQ(log().leveledLines(),
              Lines({"LOG Window: Mark application for termination due to XML parsing error."}));
}

struct XHRCase {
    const char* name;
    const char* page;
    const char* target;
    std::optional<int> listenersAnswer;
    Lines journal;
    int permission;
    const char* log;  ///< null: nothing
};

std::ostream& operator<<(std::ostream& stream, const XHRCase& request)
{
    return stream << request.name;
}

class XHRPermission : public BrowserEvents, public ::testing::WithParamInterface<XHRCase> {};

const char core[] =
    "DEBUG vesta_hbbtv: Letting core decide on an out of bound http(s) XHR request.";
const char deny[] = "DEBUG vesta_hbbtv: Denying out of bound dvb XHR request.";
const char page[] = "dvb://1.2.3.4/dir/page.html";

// The application's boundary: dvb://1.2.3.4 and http://b.example.
const XHRCase xhrCases[] = {
    {"InsideIsAllowed",
     page,
     "dvb://1.2.3.4/data?x#y",
     {},
     {"XHR? dvb://1.2.3.4/dir/page.html -> dvb://1.2.3.4/data?x#y"},
     0,
     nullptr},
    {"ListenerDeniesInside",
     page,
     "http://b.example/data",
     1,
     {"XHR? dvb://1.2.3.4/dir/page.html -> http://b.example/data"},
     1,
     nullptr},
    {"ListenerLeavesItToTheCore",
     page,
     "http://b.example/data",
     2,
     {"XHR? dvb://1.2.3.4/dir/page.html -> http://b.example/data"},
     2,
     nullptr},
    {"AnyAnswerOfAListenerIsPassedOn",
     page,
     "http://b.example/data",
     77,
     {"XHR? dvb://1.2.3.4/dir/page.html -> http://b.example/data"},
     77,
     nullptr},
    {"RelativeDVBIsResolvedAgainstThePage",
     page,
     "dvb:/data",
     {},
     {"XHR? dvb://1.2.3.4/dir/page.html -> dvb://1.2.3.4/dir/data"},
     0,
     nullptr},
    {"EscapedRelativeDVBIsResolvedToo",
     page,
     "dvb%3A/data",
     {},
     {"XHR? dvb://1.2.3.4/dir/page.html -> dvb://1.2.3.4/dir/data"},
     0,
     nullptr},
    {"EscapedCurrentAITIsNotResolved", page, "dvb://current%2Eait/1.1", 0, {}, 1, deny},
    {"RelativeDVBOfAnotherPageIsDenied", "dvb://9.9.9.9/p", "dvb:/data", 0, {}, 1, deny},
    {"RelativeDVBOfAForeignWebPageGoesToTheCore",
     "http://c.example/p",
     "dvb:/data",
     0,
     {},
     2,
     core},
    {"RelativeDVBOfAPageWithoutDirectoryIsDenied", "page", "dvb:/data", 0, {}, 1, deny},
    {"RelativeDVBOfNoPageIsDenied", nullptr, "dvb:/data", 0, {}, 1, deny},
    {"HTTPOutside", page, "http://c.example/", 1, {}, 2, core},
    {"HTTPSOutside", page, "https://c.example/", 1, {}, 2, core},
    {"DVBOutside", page, "dvb://1.2.9.4/", 0, {}, 1, deny},
    {"CurrentAITIsNotResolved", page, "dvb://current.ait/1.1", 0, {}, 1, deny},
    {"UpperCaseIsNotDVB", page, "DVB://1.2.3.4/", 0, {}, 2, core},
    {"NoTarget", page, nullptr, 0, {}, 2, core},
    {"NoPage",
     nullptr,
     "http://b.example/data",
     {},
     {"XHR?  -> http://b.example/data"},
     0,
     nullptr},
    {"NothingAtAll", nullptr, nullptr, 0, {}, 2, core},
};

TEST_P(XHRPermission, IsAnsweredInTheRecord)
{
    startApplication(AITEntry(1, 1).carousel(1, 4).location("i").boundary({"http://b.example"}));
    listener().xhrPermission = GetParam().listenersAnswer;
    browser().resolve = [](const std::string&, const std::string&) {
        return std::string("http://b.example/resolved-by-the-browser");  // it is not asked
    };
    TavoVestaEventData data = {};
    data.url = GetParam().page;
    data.second_url = GetParam().target;
    data.request_id = &data;
    int result = untouched;
    EXPECT_EQ(notify(TAVO_VESTA_EVT_XHR_PERMISSION, 1, data, &result), 1u);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(data.request_id),
              static_cast<uintptr_t>(GetParam().permission));
    EXPECT_EQ(journal(), GetParam().journal);
    EXPECT_EQ(log().leveledLines(), GetParam().log ? Lines({GetParam().log}) : Lines());
}

INSTANTIATE_TEST_SUITE_P(Requests, XHRPermission, ::testing::ValuesIn(xhrCases),
                         [](const auto& suite) { return suite.param.name; });

TEST_F(BrowserEvents, XHRListenersGetThePageDecodedWithItsQueryAndItsFragment)
{
    startRelated();
    TavoVestaEventData data = {};
    data.url = "http://a.example/%70age.html?a=%20b#c%20";
    data.second_url = "http://a.example/%64ata?d=%20e#f%20";
    EXPECT_EQ(report(TAVO_VESTA_EVT_XHR_PERMISSION, 1, data), (Answer{1, 0}));
    EXPECT_EQ(journal(), Lines({"XHR? http://a.example/page.html?a=%20b#c%20 -> "
                                "http://a.example/data?d=%20e#f%20"}));
}

TEST_F(BrowserEvents, XHRWithoutAnApplicationIsInvalid)
{
    startRelated();
    TavoVestaEventData data = {};
    data.url = data.second_url = "http://a.example/";
    data.request_id = &data;
    int result = untouched;
    EXPECT_EQ(notify(TAVO_VESTA_EVT_XHR_PERMISSION, emptyWindow, data, &result), 1u);
    EXPECT_EQ(result, -3);
    EXPECT_EQ(data.request_id, &data);
    EXPECT_EQ(log().leveledLines(),
              Lines({"WARN vesta_hbbtv: XHR request received when no running application. "
                     "Rejecting as invalid."}));
}

TEST_F(BrowserEvents, XHRListenerMayReleaseTheWindow)
{
    startRelated();
    listener().onNotification[HBBTV_NOTIFICATION_XHR] = [&](HBBTV_NotificationData*) {
        vesta_hbbtv_release_window(window());
    };
    TavoVestaEventData data = {};
    data.second_url = "http://a.example/data";
    EXPECT_EQ(report(TAVO_VESTA_EVT_XHR_PERMISSION, 1, data), (Answer{1, 0}));
    EXPECT_FALSE(vesta_hbbtv_is_hbbtv_window(browser().window(1)));
}

/// What ends the window while its event is handled, and what the browser and the integrator hear of
/// that event afterwards: the window ends after all of it.
class WindowReleasedInsideAnEvent : public BrowserEvents {
protected:
    void release()
    {
        vesta_hbbtv_release_window(window());
        Journal::instance().write("released");
    }

    void releaseWhenNotified(HBBTV_NotificationType type)
    {
        listener().onNotification[type] = [this](auto*) {
            listener().onNotification.clear();
            release();
        };
    }
};

TEST_F(WindowReleasedInsideAnEvent, EndsAfterTheAnswerToARequest)
{
    startRelated();
    releaseWhenNotified(HBBTV_NOTIFICATION_XHR);
    TavoVestaEventData data = {};
    data.second_url = "http://a.example/data";
    EXPECT_EQ(report(TAVO_VESTA_EVT_XHR_PERMISSION, 1, data), (Answer{1, 0}));
    EXPECT_EQ(journal(),
              Lines({"XHR?  -> http://a.example/data", "released",
                     "STOP 1.1 related reactivate=0 http://a.example/index.html", "RELEASE w1"}));
}

TEST_F(WindowReleasedInsideAnEvent, EndsAfterTheFileThatWasAskedFor)
{
    startApplication(AITEntry(1, 1).carousel(1, 4).location("i"));
    platform().files["1.2.3.4/a"].bytes = "bytes";
    platform().whileIn["dsmcc_get_file"] = [this] { release(); };
    TavoVestaEventData data = {};
    data.url = "dvb://1.2.3.4/a";
    EXPECT_EQ(report(TAVO_VESTA_EVT_PROTOCOL_LOADING_START, 1, data), (Answer{1, 0}));
    EXPECT_EQ(journal(), Lines({"dsmcc_get_file(1.2.3.4/a)", "released", "dsmcc_get_mime_type()",
                                "dsmcc_read()", "ve_protocol_write(5)", "dsmcc_read()",
                                "ve_protocol_finished(200)", "dsmcc_close_file()",
                                "STOP 1.1 related reactivate=0 dvb://1.2.3.4/i", "RELEASE w1"}));
}

TEST_F(WindowReleasedInsideAnEvent, EndsAfterTheAttemptToLoadFromElsewhere)
{
    startApplication(AITEntry(1, 1).http(1, "http://a.example/").carousel(2, 4).location("i"));
    releaseWhenNotified(HBBTV_NOTIFICATION_START_APPLICATION);
    EXPECT_EQ(report(TAVO_VESTA_EVT_LOADING_FAILED, 1), (Answer{1, 0}));
    EXPECT_EQ(journal(), Lines({"START 1.1 related autostart dvb://1.2.3.4/i", "released",
                                "STOP 1.1 related reactivate=0 http://a.example/i", "RELEASE w1"}));
    tickAll();
    EXPECT_EQ(journal(), Lines());
}

TEST_F(BrowserEvents, ScriptMayShutTheLibraryDownWhenItsPageFailsToLoad)
{
    startRelated();
    native_ApplicationManagerSetAppDestroyedListener([](void*) { vesta_hbbtv_shutdown(); });
    EXPECT_EQ(report(TAVO_VESTA_EVT_LOADING_FAILED, 1), (Answer{1, 0}));
    tickAll();
    EXPECT_EQ(journal(), Lines({"STOP 1.1 related reactivate=0 http://a.example/index.html",
                                "RELEASE w1", "hbbtv_ait_stop()", "dsmcc_stop()"}));
}

}  // namespace
