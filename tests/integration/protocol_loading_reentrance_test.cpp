// Loads that meet: whoever is called while a file is streamed does something to this load, or to
// another.

#include <algorithm>

#include "foundation/configuration_manager.h"
#include "integration/oc_download_manager.h"
#include "lifecycle/window.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

char load;
char otherLoad;

const char readA[] = "dsmcc_get_file(1.2.3.4/a)";
const char readB[] = "dsmcc_get_file(1.2.3.4/b)";
const char mime[] = "dsmcc_get_mime_type()";
const char read[] = "dsmcc_read()";
const char finished[] = "ve_protocol_finished(200)";
const char failed[] = "ve_protocol_failed(404)";
const char closed[] = "dsmcc_close_file()";
const char bigWrite[] = "ve_protocol_write(130048)";

/// The file a takes three writes, the file b one.
class ProtocolLoadingReentrance : public LibraryTest {
protected:
    ProtocolLoadingReentrance()
    {
        startApplication(AITEntry(1, 1).carousel(1, 4).location("dir/index.html"));
        platform().files["1.2.3.4/a"].bytes = std::string(300000, 'a');
        platform().files["1.2.3.4/b"].bytes = std::string(5, 'b');
    }

    static void onceIn(const std::string& function, const std::function<void()>& action)
    {
        auto& actions = function.rfind("ve_", 0) == 0 ? browser().whileIn : platform().whileIn;
        actions[function] = [&actions, function, action] {
            actions.erase(function);
            action();
        };
    }

    void start(const char* url, void* id = &load)
    {
        TavoVestaEventData data = {};
        data.url = url;
        data.request_id = id;
        EXPECT_EQ(notify(TAVO_VESTA_EVT_PROTOCOL_LOADING_START, 1, data), 1u);
    }

    void stop()
    {
        TavoVestaEventData data = {};
        data.request_id = &load;
        EXPECT_EQ(notify(TAVO_VESTA_EVT_PROTOCOL_LOADING_STOP, 1, data), 1u);
    }

    static void report(HBBTV_EventType type)
    {
        send(type, downloadRecord(&load));
        tickAll();
    }

    static FakePlatform::File& fileB() { return platform().files["1.2.3.4/b"]; }
};

TEST_F(ProtocolLoadingReentrance, AnotherLoadInTheMiddleLeavesThisOneAlone)
{
    onceIn("ve_protocol_write", [&] { start("dvb://1.2.3.4/b", &otherLoad); });
    start("dvb://1.2.3.4/a");
    EXPECT_EQ(browser().written[&load], std::string(300000, 'a'));
    EXPECT_EQ(browser().written[&otherLoad], "bbbbb");
    EXPECT_EQ(journal(), Lines({readA, mime, read, bigWrite, readB, mime, read,
                                "ve_protocol_write(5)", read, finished, closed, bigWrite,
                                "ve_protocol_write(39904)", read, finished, closed}));
}

TEST_F(ProtocolLoadingReentrance, ALoadThatIsStoppedAndStartedAnewGetsTheNewFileOnly)
{
    onceIn("ve_protocol_write", [&] {
        stop();
        start("dvb://1.2.3.4/b");
    });
    start("dvb://1.2.3.4/a");
    EXPECT_EQ(journal(), Lines({readA, mime, read, bigWrite, readB, mime, read,
                                "ve_protocol_write(5)", read, finished, closed}));
}

TEST_F(ProtocolLoadingReentrance, ALoadThatIsStartedAnewAndPendingAwaitsItsOwnFile)
{
    fileB().getFileResult = DSMCC_PENDING;
    onceIn("ve_protocol_write", [&] { start("dvb://1.2.3.4/b"); });
    start("dvb://1.2.3.4/a");
    EXPECT_EQ(journal(), Lines({readA, mime, read, bigWrite, readB}));
    report(E_DSMCC_FILE_READY);
    EXPECT_EQ(journal(), Lines({mime, read, "ve_protocol_write(5)", read, finished, closed}));
}

TEST_F(ProtocolLoadingReentrance, ALoadThatIsStartedAnewInItsLastAnswerKeepsItsNewFileOpen)
{
    fileB().getFileResult = DSMCC_PENDING;
    for (const char* const answer : {"ve_protocol_finished", "ve_protocol_failed"}) {
        platform().files["1.2.3.4/a"] = {"a", 0, 0, {}, 0, {}};
        if (answer == std::string("ve_protocol_failed"))
            platform().files["1.2.3.4/a"].readResult = DSMCC_ERROR;
        onceIn(answer, [&] {
            stop();
            start("dvb://1.2.3.4/b");
        });
        start("dvb://1.2.3.4/a");
        EXPECT_EQ(lastLine(), readB);
        EXPECT_EQ(platform().open[&load].path, "1.2.3.4/b");
    }
}

TEST_F(ProtocolLoadingReentrance, AFileThatIsReportedOnceMoreIsFinishedOnce)
{
    onceIn("ve_protocol_write", [] { report(E_DSMCC_FILE_READY); });
    platform().files["1.2.3.4/a"].readSize = 150000;
    start("dvb://1.2.3.4/a");
    EXPECT_EQ(journal(), Lines({readA, mime, read, bigWrite, mime, read, bigWrite,
                                "ve_protocol_write(19952)", read, finished, closed}));
}

TEST_F(ProtocolLoadingReentrance, AFileThatIsGivenUpInTheMiddleIsFailedOnce)
{
    onceIn("ve_protocol_write", [] { report(E_DSMCC_FILE_ERROR); });
    start("dvb://1.2.3.4/a");
    EXPECT_EQ(journal(), Lines({readA, mime, read, bigWrite, failed, closed}));
}

/// What the browser does while the answer that began last is given.
struct Stop {
    const char* name;
    const char* function;
};

class StoppedInTheInnerAnswer : public ProtocolLoadingReentrance,
                                public ::testing::WithParamInterface<Stop> {};

TEST_P(StoppedInTheInnerAnswer, TheFileIsClosedOnce)
{
    onceIn("ve_protocol_write", [&] {
        onceIn(GetParam().function, [&] { stop(); });
        report(E_DSMCC_FILE_READY);
    });
    platform().files["1.2.3.4/a"].readSize = 150000;
    start("dvb://1.2.3.4/a");
    const Lines lines = journal();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), closed), 1);
    EXPECT_EQ(lines.back(), closed);
}

INSTANTIATE_TEST_SUITE_P(Functions, StoppedInTheInnerAnswer,
                         ::testing::Values(Stop{"Write", "ve_protocol_write"},
                                           Stop{"Finished", "ve_protocol_finished"},
                                           Stop{"Read", "dsmcc_read"}),
                         [](const auto& suite) { return std::string(suite.param.name); });

TEST_F(ProtocolLoadingReentrance, ALoadThatIsStartedAnewAndStoppedAgainClosesEachFileOnce)
{
    onceIn("ve_protocol_write", [&] {
        stop();
        start("dvb://1.2.3.4/b");
        stop();
    });
    start("dvb://1.2.3.4/a");
    EXPECT_EQ(journal(), Lines({readA, mime, read, bigWrite, readB, mime, read,
                                "ve_protocol_write(5)", read, finished, closed}));
}

TEST_F(ProtocolLoadingReentrance, AnIdThatIsMadeKnownInTheMiddleIsAnsweredAllTheSame)
{
    OCDownloadManager& downloads = *ConfigurationManager::getInstance()->getOCDownloadManager();
    platform().open[&load] = {"1.2.3.4/b", 0, nullptr};
    onceIn("dsmcc_get_mime_type", [&] { downloads.addDownload(&load); });
    EXPECT_TRUE(downloads.handleDownloaded(&load));
    EXPECT_EQ(journal(), Lines({mime, read, "ve_protocol_write(5)", read, finished, closed}));
}

TEST_F(ProtocolLoadingReentrance, ALoadThatIsStoppedInTheMiddleOfAnotherEndsAlone)
{
    onceIn("ve_protocol_write", [&] {
        onceIn("ve_protocol_write", [&] { stop(); });
        start("dvb://1.2.3.4/b", &otherLoad);
    });
    start("dvb://1.2.3.4/a");
    EXPECT_EQ(journal(), Lines({readA, mime, read, bigWrite, readB, mime, read,
                                "ve_protocol_write(5)", read, finished, closed, closed}));
    EXPECT_EQ(platform().ids.back(), &load);
}

TEST_F(ProtocolLoadingReentrance, AnAnswerThatNobodyAskedForIsNotStopped)
{
    OCDownloadManager& downloads = *ConfigurationManager::getInstance()->getOCDownloadManager();
    platform().open[&load] = {"1.2.3.4/b", 0, nullptr};
    onceIn("ve_protocol_write", [&] { EXPECT_FALSE(downloads.stopDownload(&load)); });
    EXPECT_TRUE(downloads.handleDownloaded(&load));
    EXPECT_EQ(journal(), Lines({mime, read, "ve_protocol_write(5)", read, finished, closed}));
}

TEST_F(ProtocolLoadingReentrance, ASecondInitTakesTheRestOfAFileAway)
{
    for (const char* const function :
         {"dsmcc_get_file", "dsmcc_get_mime_type", "dsmcc_read", "ve_protocol_write"}) {
        onceIn(function, [] { vesta_hbbtv_init(browser().handle()); });
        start("dvb://1.2.3.4/a");
        EXPECT_EQ(lastLine(), "dsmcc_start()") << function;
    }
}

TEST_F(ProtocolLoadingReentrance, AnotherSessionOfTheLibraryDoesNotGetTheRestOfAFile)
{
    onceIn("ve_protocol_write", [] {
        vesta_hbbtv_shutdown();
        vesta_hbbtv_init(browser().handle());
    });
    start("dvb://1.2.3.4/a");
    EXPECT_EQ(browser().writeSizes[&load], std::vector<unsigned int>({130048}));
    EXPECT_EQ(lastLine(), "dsmcc_start()");
}

}  // namespace
