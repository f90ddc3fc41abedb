// The browser asks the library to serve a URL, or no longer wants it.

#include <algorithm>

#include "foundation/configuration_manager.h"
#include "integration/oc_download_manager.h"
#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

const int untouched = 12345;
const char start[] = "DEBUG vesta_hbbtv: TAVO_VESTA_EVT_PROTOCOL_LOADING_START";
const char stop[] = "DEBUG vesta_hbbtv: TAVO_VESTA_EVT_PROTOCOL_LOADING_STOP";

char load;

class ProtocolLoading : public LibraryTest {
protected:
    unsigned int report(TAVO_VESTA_EVENT event, const char* url, void* id, long windowId = 1)
    {
        TavoVestaEventData data = {};
        data.url = url;
        data.request_id = id;
        result_ = untouched;
        return notify(event, windowId, data, &result_);
    }

    unsigned int startLoading(const char* url, long windowId = 1)
    {
        return report(TAVO_VESTA_EVT_PROTOCOL_LOADING_START, url, &load, windowId);
    }

    unsigned int stopLoading(void* id = &load, long windowId = 1)
    {
        return report(TAVO_VESTA_EVT_PROTOCOL_LOADING_STOP, nullptr, id, windowId);
    }

    /// The service's application in w1, whose page is dvb://1.2.3.4/dir/index.html.
    void startCarouselApplication()
    {
        startApplication(AITEntry(1, 1).carousel(1, 4).location("dir/index.html"));
    }

    static OCDownloadManager& downloads()
    {
        return *ConfigurationManager::getInstance()->getOCDownloadManager();
    }

    int result_ = untouched;
};

TEST_F(ProtocolLoading, StartAsksThePlatformForTheFile)
{
    startCarouselApplication();
    platform().files["1.2.3.4/other.html?a=1#b"].getFileResult = DSMCC_PENDING;
    EXPECT_EQ(startLoading("dvb://1.2.3.4/other.html?a=1#b"), 1u);
    EXPECT_EQ(result_, 0);
    EXPECT_EQ(journal(), Lines({"dsmcc_get_file(1.2.3.4/other.html?a=1#b)"}));
    EXPECT_EQ(platform().ids, std::vector<void*>({&load}));
    EXPECT_EQ(log().leveledLines(), Lines({start, "DEBUG vesta_hbbtv: 1.2.3.4/other.html?a=1#b",
                                           "DEBUG vesta_hbbtv: dvb://1.2.3.4/other.html?a=1#b"}));
    EXPECT_TRUE(downloads().downloadExists(&load));
}

TEST_F(ProtocolLoading, StartResolvesAgainstThePageThatIsShown)
{
    startCarouselApplication();
    startLoading("dvb:/image.png");
    EXPECT_EQ(journal().front(), "dsmcc_get_file(1.2.3.4/dir/image.png)");

    TavoVestaEventData data = {};
    data.url = "dvb://1.2.3.4/deep/er/page.html?q";
    notify(TAVO_VESTA_EVT_URL_CHANGED, 1, data);
    startLoading("dvb:/image.png");
    EXPECT_EQ(journal().front(), "dsmcc_get_file(1.2.3.4/deep/er/image.png)");
}

TEST_F(ProtocolLoading, StartThatFailsAtOnceIsConsumedAllTheSame)
{
    startCarouselApplication();
    EXPECT_EQ(startLoading("dvb://1.2.3.4/missing"), 1u);
    EXPECT_EQ(result_, 0);
    EXPECT_EQ(journal(), Lines({"dsmcc_get_file(1.2.3.4/missing)", "ve_protocol_failed(404)",
                                "dsmcc_close_file()"}));
    EXPECT_EQ(log().leveledLines().back(), "ERR vesta_hbbtv: Failed to load dvb url.");
}

TEST_F(ProtocolLoading, StartThatSucceedsAtOnceLogsNoFailure)
{
    startCarouselApplication();
    platform().files["1.2.3.4/here"].bytes = "x";
    EXPECT_EQ(startLoading("dvb://1.2.3.4/here"), 1u);
    EXPECT_EQ(result_, 0);
    EXPECT_EQ(log().count("ERR vesta_hbbtv: Failed to load dvb url."), 0);
}

TEST_F(ProtocolLoading, StartOfAnotherTypeIsRefused)
{
    startCarouselApplication();
    const std::pair<const char*, const char*> unsupported[] = {
        {"dvb://current.ait/1.1", "current.ait/1.1"},
        {"http://a.example/", "/a.example/"},
        {"DVB://1.2.3.4/a", "1.2.3.4/a"},
        {"dvb", ""},
        {"httpss", ""},
        {"", ""},
        {nullptr, ""},
        {"dvb://current%2Eait/1.1", "current%2Eait/1.1"},
        {"%44vb://1.2.3.4/a", "//1.2.3.4/a"},
        {"?dvb://1.2.3.4/a", "/1.2.3.4/a"},
    };
    for (const auto& [url, rest] : unsupported) {
        log().clear();
        EXPECT_EQ(startLoading(url), 1u);
        EXPECT_EQ(result_, -3);
        EXPECT_EQ(log().leveledLines(), Lines({start, "DEBUG vesta_hbbtv: " + std::string(rest),
                                               "DEBUG vesta_hbbtv: " + std::string(url ? url : ""),
                                               "WARN vesta_hbbtv: Unsupported url protocol"}));
    }
    EXPECT_EQ(journal(), Lines());
    EXPECT_FALSE(downloads().downloadExists(&load));
}

TEST_F(ProtocolLoading, StartIsServedByTheDecodedURL)
{
    startCarouselApplication();
    const std::pair<const char*, const char*> spellings[] = {
        {"d%76b://1.2.3.4/a", "1.2.3.4/a"},
        {"%64vb://1.2.3.4/b%20c", "1.2.3.4/b c"},
        {"dvb%3A/d", "1.2.3.4/dir/d"},
        {"dvb:%2F%2F1.2.3.4/e", "1.2.3.4/e"},
    };
    for (const auto& [url, path] : spellings) {
        platform().files[path].getFileResult = DSMCC_PENDING;
        forgetJournal();
        EXPECT_EQ(startLoading(url), 1u);
        EXPECT_EQ(result_, 0) << url;
        EXPECT_EQ(journal(), Lines({"dsmcc_get_file(" + std::string(path) + ")"}));
    }
}

TEST_F(ProtocolLoading, StartOfAShortURLLogsAnEmptyRest)
{
    startCarouselApplication();
    for (const char* const url : {"dvb:", "dvb:/", "dvb://"}) {
        log().clear();
        EXPECT_EQ(startLoading(url), 1u);
        EXPECT_EQ(log().leveledLines()[1], "DEBUG vesta_hbbtv: ");
        EXPECT_EQ(log().leveledLines()[2], "DEBUG vesta_hbbtv: " + std::string(url));
    }
}

TEST_F(ProtocolLoading, StartWithoutAnApplicationFailsTheLoad)
{
    manager()->registerTavoWindow(browser().window(9), window());
    EXPECT_EQ(startLoading("dvb://1.2.3.4/a", 9), 1u);
    EXPECT_EQ(result_, 0);
    EXPECT_EQ(journal(), Lines({"ve_protocol_failed(404)"}));
    EXPECT_EQ(browser().protocolIds, std::vector<void*>({&load}));
    EXPECT_FALSE(downloads().downloadExists(&load));
    EXPECT_EQ(log().count("ERR vesta_hbbtv: Failed to load dvb url."), 0);
}

TEST_F(ProtocolLoading, StartByABroadcastIndependentApplicationFailsTheLoad)
{
    send(E_START_BROADCAST_INDEPENDENT_APPLICATION, urlRecord(window(), "http://b.example/"));
    tickAll();
    forgetJournal();
    EXPECT_EQ(startLoading("dvb://1.2.3.4/a"), 1u);
    EXPECT_EQ(result_, 0);
    EXPECT_EQ(journal(), Lines({"ve_protocol_failed(404)"}));
    EXPECT_FALSE(downloads().downloadExists(&load));
}

TEST_F(ProtocolLoading, StopOfAKnownLoadIsConsumedOnce)
{
    startCarouselApplication();
    platform().files["1.2.3.4/a"].getFileResult = DSMCC_PENDING;
    startLoading("dvb://1.2.3.4/a");
    forgetJournal();
    log().clear();
    EXPECT_EQ(stopLoading(), 1u);
    EXPECT_EQ(result_, 0);
    EXPECT_EQ(log().leveledLines(), Lines({stop}));
    EXPECT_EQ(journal(), Lines());  // the platform is not told
    EXPECT_FALSE(downloads().downloadExists(&load));

    EXPECT_EQ(stopLoading(), 0u);
    EXPECT_EQ(result_, untouched);
    EXPECT_EQ(log().leveledLines(),
              Lines({stop, stop, "ERR vesta_hbbtv: Unrecognized id, releasing to platform"}));
}

TEST_F(ProtocolLoading, StopIsLookedUpByTheLoadAlone)
{
    startCarouselApplication();
    for (const long windowId : {1L, 5L, 0L}) {
        downloads().addDownload(&load);
        EXPECT_EQ(stopLoading(&load, windowId), 1u);
        EXPECT_EQ(result_, 0);
    }
    downloads().addDownload(nullptr);
    EXPECT_EQ(stopLoading(nullptr, 0), 1u);
}

TEST_F(ProtocolLoading, FileThatBecomesReadyAfterTheStopIsUnknown)
{
    startCarouselApplication();
    platform().files["1.2.3.4/a"].getFileResult = DSMCC_PENDING;
    startLoading("dvb://1.2.3.4/a");
    stopLoading();
    forgetJournal();
    send(E_DSMCC_FILE_READY, downloadRecord(&load));
    tickAll();
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(log().leveledLines().back(),
              "WARN OCDownloadManager: Unknown id when reporting download success");
}

TEST_F(ProtocolLoading, BrowserMayReleaseTheWindowWhileItIsAnswered)
{
    startCarouselApplication();
    platform().files["1.2.3.4/a"] = {"some bytes", 0, 0, "text/html", 3, {}};
    browser().whileIn["ve_protocol_set_mime_type"] = [&] { vesta_hbbtv_release_window(window()); };
    EXPECT_EQ(startLoading("dvb://1.2.3.4/a"), 1u);
    EXPECT_EQ(browser().written[&load], "some bytes");
}

/// Each function that is called while a file goes from the platform to the browser.
class AnsweredFrom : public ProtocolLoading, public ::testing::WithParamInterface<const char*> {
protected:
    AnsweredFrom()
    {
        startCarouselApplication();
        platform().files["1.2.3.4/a"] = {std::string(300000, 'x'), 0, 0, "text/html", 200000, {}};
    }

    void doWithin(const std::function<void()>& action)
    {
        browser().whileIn[GetParam()] = action;
        platform().whileIn[GetParam()] = action;
    }

    /// What was called after the function, in order.
    Lines linesAfter() const
    {
        const std::string function = GetParam();
        Lines lines = journal();
        const auto isIt = [&](const std::string& line) { return line.rfind(function, 0) == 0; };
        const auto found = std::find_if(lines.begin(), lines.end(), isIt);
        EXPECT_NE(found, lines.end()) << function << " was not called";
        lines.erase(lines.begin(), found == lines.end() ? found : found + 1);
        return lines;
    }
};

TEST_P(AnsweredFrom, ACancelledLoadGetsNoFurtherAnswerAndItsFileIsClosed)
{
    doWithin([&] { stopLoading(); });
    EXPECT_EQ(startLoading("dvb://1.2.3.4/a"), 1u);
    EXPECT_EQ(linesAfter(), Lines({"dsmcc_close_file()"}));
    EXPECT_EQ(log().count("ERR vesta_hbbtv: Failed to load dvb url."), 0);
}

TEST_P(AnsweredFrom, AShutdownIsTheLastThatThePlatformHears)
{
    doWithin([] { vesta_hbbtv_shutdown(); });
    EXPECT_EQ(startLoading("dvb://1.2.3.4/a"), 1u);
    EXPECT_EQ(linesAfter(), Lines({"STOP 1.1 related reactivate=0 dvb://1.2.3.4/dir/index.html",
                                   "RELEASE w1", "hbbtv_ait_stop()", "dsmcc_stop()"}));
    EXPECT_FALSE(vesta_hbbtv_tick());
}

INSTANTIATE_TEST_SUITE_P(Functions, AnsweredFrom,
                         ::testing::Values("dsmcc_get_file", "dsmcc_get_mime_type", "dsmcc_read",
                                           "ve_protocol_set_mime_type", "ve_protocol_write",
                                           "ve_protocol_finished"),
                         [](const auto& suite) { return std::string(suite.param); });

TEST_F(ProtocolLoading, ALoadThatIsCancelledInItsFailureIsNotFailedAgain)
{
    startCarouselApplication();
    platform().files["1.2.3.4/broken"] = {"bytes", 0, 0, {}, 0, DSMCC_ERROR};
    browser().whileIn["ve_protocol_failed"] = [&] { stopLoading(); };
    EXPECT_EQ(startLoading("dvb://1.2.3.4/broken"), 1u);
    EXPECT_EQ(journal(), Lines({"dsmcc_get_file(1.2.3.4/broken)", "dsmcc_get_mime_type()",
                                "dsmcc_read()", "ve_protocol_failed(404)", "dsmcc_close_file()"}));
}

TEST_F(ProtocolLoading, ALoadThatIsCancelledWhileThePlatformRefusesItIsNotFailed)
{
    startCarouselApplication();
    platform().whileIn["dsmcc_get_file"] = [&] { stopLoading(); };
    EXPECT_EQ(startLoading("dvb://1.2.3.4/missing"), 1u);
    EXPECT_EQ(journal(), Lines({"dsmcc_get_file(1.2.3.4/missing)", "dsmcc_close_file()"}));
    EXPECT_EQ(log().count("ERR vesta_hbbtv: Failed to load dvb url."), 0);
}

TEST_F(ProtocolLoading, ALoadThatIsCancelledInAReadThatFailsIsNotFailed)
{
    startCarouselApplication();
    platform().files["1.2.3.4/broken"] = {"bytes", 0, 0, {}, 0, DSMCC_ERROR};
    platform().whileIn["dsmcc_read"] = [&] { stopLoading(); };
    EXPECT_EQ(startLoading("dvb://1.2.3.4/broken"), 1u);
    EXPECT_EQ(journal(), Lines({"dsmcc_get_file(1.2.3.4/broken)", "dsmcc_get_mime_type()",
                                "dsmcc_read()", "dsmcc_close_file()"}));
}

TEST_F(ProtocolLoading, AnUnexpectedAnswerToACancelledLoadIsNotLogged)
{
    startCarouselApplication();
    platform().files["1.2.3.4/a"].getFileResult = DSMCC_UNKNOWN_ID;
    platform().whileIn["dsmcc_get_file"] = [&] { stopLoading(); };
    EXPECT_EQ(startLoading("dvb://1.2.3.4/a"), 1u);
    EXPECT_EQ(journal(), Lines({"dsmcc_get_file(1.2.3.4/a)", "dsmcc_close_file()"}));
    EXPECT_EQ(takeLog("OCDownloadManager"), Lines());
}

TEST_F(ProtocolLoading, AShutdownInAFailureIsTheLastThatThePlatformHears)
{
    startCarouselApplication();
    browser().whileIn["ve_protocol_failed"] = [] { vesta_hbbtv_shutdown(); };
    EXPECT_EQ(startLoading("dvb://1.2.3.4/missing"), 1u);
    EXPECT_EQ(lastLine(), "dsmcc_stop()");
}

TEST_F(ProtocolLoading, AFileThatIsPendingAndCancelledAtOnceIsLeftToThePlatform)
{
    startCarouselApplication();
    platform().files["1.2.3.4/a"].getFileResult = DSMCC_PENDING;
    platform().whileIn["dsmcc_get_file"] = [&] { stopLoading(); };
    EXPECT_EQ(startLoading("dvb://1.2.3.4/a"), 1u);
    EXPECT_EQ(journal(), Lines({"dsmcc_get_file(1.2.3.4/a)"}));
}

}  // namespace
