// Carousel files on their way from the platform to the browser.

#include "foundation/configuration_manager.h"
#include "integration/oc_download_manager.h"
#include "signalling/hbbtv_url.h"
#include "tests/support/counted_memory.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

const char reading[] = "DEBUG OCDownloadManager: Reading downloaded object...";
const char complete[] = "DEBUG OCDownloadManager: read complete";
const char mimeError[] = "DEBUG OCDownloadManager: dsmcc_get_mime_type != DSMCC_OK";
const char readError[] = "DEBUG OCDownloadManager: dsmcc_read != DSMCC_OK";

char load;
char otherLoad;

class OCDownloadManagerTest : public LibraryTest {
protected:
    static OCDownloadManager& downloads()
    {
        return *ConfigurationManager::getInstance()->getOCDownloadManager();
    }

    static FakePlatform::File& file() { return platform().files["1.2.3.4/f"]; }

    static unsigned int start(const std::string& text = "dvb://1.2.3.4/f")
    {
        HbbTVDVBURL url(text);
        return downloads().startDownload(&url, &load);
    }

    static void expectOneLoadEverywhere()
    {
        for (const void* id : platform().ids)
            EXPECT_EQ(id, &load);
        for (const void* id : browser().protocolIds)
            EXPECT_EQ(id, &load);
    }

    static std::string patternOf(size_t length)
    {
        std::string bytes(length, '\0');
        for (size_t i = 0; i < length; ++i)
            bytes[i] = static_cast<char>(i * 31 + i / 251);
        return bytes;
    }
};

TEST_F(OCDownloadManagerTest, IdsAreASet)
{
    OCDownloadManager manager;
    EXPECT_FALSE(manager.downloadExists(&load));
    EXPECT_FALSE(manager.stopDownload(&load));
    manager.removeDownload(&load);
    manager.addDownload(&load);
    manager.addDownload(&load);
    manager.addDownload(nullptr);
    EXPECT_TRUE(manager.downloadExists(&load));
    EXPECT_TRUE(manager.downloadExists(nullptr));
    EXPECT_FALSE(manager.downloadExists(&otherLoad));
    EXPECT_FALSE(manager.stopDownload(&otherLoad));
    EXPECT_TRUE(manager.downloadExists(&load));
    EXPECT_TRUE(manager.stopDownload(&load));
    EXPECT_FALSE(manager.downloadExists(&load));
    manager.removeDownload(nullptr);
    EXPECT_FALSE(manager.downloadExists(nullptr));
}

TEST_F(OCDownloadManagerTest, StartKnowsTheIdBeforeThePlatformIsAsked)
{
    bool known = false;
    platform().whileIn["dsmcc_get_file"] = [&] { known = downloads().downloadExists(&load); };
    start();
    EXPECT_TRUE(known);
}

TEST_F(OCDownloadManagerTest, PathIsTheFullURLWithoutItsFirstSixCharacters)
{
    const std::pair<const char*, const char*> paths[] = {
        {"dvb://1.2.3.4/a%20b?q=%20#f", "1.2.3.4/a b?q=%20#f"},
        {"dvb:/relative", "elative"},
        {"dvb://", ""},
        {"dvb:", ""},
        {"", ""},
    };
    for (const auto& [url, path] : paths) {
        start(url);
        EXPECT_EQ(journal().front(), "dsmcc_get_file(" + std::string(path) + ")");
    }
}

struct StartCase {
    const char* name;
    FakePlatform::File file;
    unsigned int result;
    Lines journal;
    Lines log;
};

std::ostream& operator<<(std::ostream& stream, const StartCase& start)
{
    return stream << start.name;
}

FakePlatform::File answering(unsigned int getFile, unsigned int mimeType,
                             std::optional<unsigned int> read, std::optional<std::string> type = {})
{
    FakePlatform::File file;
    file.bytes = "bytes";
    file.getFileResult = getFile;
    file.mimeTypeResult = mimeType;
    file.mimeType = type;
    file.readResult = read;
    return file;
}

const char asked[] = "dsmcc_get_file(1.2.3.4/f)";
const char failed[] = "ve_protocol_failed(404)";
const char closed[] = "dsmcc_close_file()";
const char mime[] = "dsmcc_get_mime_type()";
const char read[] = "dsmcc_read()";

const StartCase startCases[] = {
    {"Pending", answering(2, 0, {}), 0, {asked}, {}},
    {"Error", answering(1, 0, {}), 2, {asked, failed, closed}, {}},
    {"UnknownId",
     answering(3, 0, {}),
     2,
     {asked, failed, closed},
     {"WARN OCDownloadManager: Unexpected return code from dsmcc_get_file: DSMCC_UNKNOWN_ID"}},
    {"ReadyAtOnce",
     answering(0, 0, {}, "text/html"),
     1,
     {asked, mime, "ve_protocol_set_mime_type(text/html)", read, "ve_protocol_write(5)", read,
      "ve_protocol_finished(200)", closed},
     {reading, complete}},
    {"AnyOtherAnswerCountsAsReady",
     answering(4, 0, {}),
     1,
     {asked, mime, read, "ve_protocol_write(5)", read, "ve_protocol_finished(200)", closed},
     {reading, complete}},
    {"NoMimeTypeAnswerFailsTwice",
     answering(0, 1, {}),
     2,
     {asked, mime, failed, closed, failed, closed},
     {reading, mimeError}},
    {"MimeTypeOfAFailureIsFreedAndNotUsed",
     answering(0, 3, {}, "text/html"),
     2,
     {asked, mime, failed, closed, failed, closed},
     {reading, mimeError}},
    {"ReadErrorFailsTwice",
     answering(0, 0, 1, "text/html"),
     2,
     {asked, mime, "ve_protocol_set_mime_type(text/html)", read, failed, closed, failed, closed},
     {reading, readError}},
    {"AnyOtherReadAnswerIsAnError",
     answering(0, 0, 2),
     2,
     {asked, mime, read, failed, closed, failed, closed},
     {reading, readError}},
};

class StartedDownloads : public OCDownloadManagerTest,
                         public ::testing::WithParamInterface<StartCase> {};

TEST_P(StartedDownloads, FollowThePlatformsAnswers)
{
    file() = GetParam().file;
    EXPECT_EQ(start(), GetParam().result);
    EXPECT_EQ(journal(), GetParam().journal);
    EXPECT_EQ(log().leveledLines(), GetParam().log);
    EXPECT_TRUE(downloads().downloadExists(&load));  // whatever became of it
    EXPECT_EQ(outstandingBlocks(), 0u);
    EXPECT_TRUE(platform().readsBeginEmpty);
    expectOneLoadEverywhere();
}

INSTANTIATE_TEST_SUITE_P(Answers, StartedDownloads, ::testing::ValuesIn(startCases),
                         [](const auto& suite) { return suite.param.name; });

using Sizes = std::vector<unsigned int>;

struct WriteCase {
    size_t length;
    size_t readSize;
    Sizes writes;
};

TEST_F(OCDownloadManagerTest, LargeReadsAreWrittenInPieces)
{
    const WriteCase cases[] = {
        {0, 0, {}},
        {1, 0, {1}},
        {130047, 0, {130047}},
        {130048, 0, {130048}},
        {130049, 0, {130048, 1}},
        {260096, 0, {130048, 130048}},  // no empty write after a whole multiple
        {300000, 0, {130048, 130048, 39904}},
        {300000, 130048, {130048, 130048, 39904}},
        {300000, 200000, {130048, 69952, 100000}},
        {10, 4, {4, 4, 2}},
    };
    for (const WriteCase& expected : cases) {
        file().bytes = patternOf(expected.length);
        file().readSize = expected.readSize;
        browser().written.clear();
        browser().writeSizes.clear();
        EXPECT_EQ(start(), 1u);
        EXPECT_EQ(browser().writeSizes[&load], expected.writes) << expected.length;
        EXPECT_TRUE(browser().written[&load] == file().bytes) << expected.length;
    }
    EXPECT_TRUE(platform().readsBeginEmpty);
}

TEST_F(OCDownloadManagerTest, ReadThatLeavesItsResultsAloneEndsTheFile)
{
    file().bytes = "bytes";
    file().endsUntouched = true;
    EXPECT_EQ(start(), 1u);
    EXPECT_EQ(browser().written[&load], "bytes");
    EXPECT_TRUE(platform().readsBeginEmpty);
}

TEST_F(OCDownloadManagerTest, ReadThatFailsOnTheWayFailsTheLoadBehindWhatWasWritten)
{
    file().bytes = std::string(10, 'x');
    file().readSize = 4;
    file().failReadAfter = 8;
    file().getFileResult = DSMCC_PENDING;
    EXPECT_EQ(start(), 0u);
    EXPECT_FALSE(downloads().reportDownloadSucceeded(&load));
    EXPECT_EQ(journal(), Lines({asked, mime, read, "ve_protocol_write(4)", read,
                                "ve_protocol_write(4)", read, failed, closed}));
}

TEST_F(OCDownloadManagerTest, ReadThatGivesALengthWithoutBytesFailsTheLoad)
{
    file().bytes = "x";
    file().lendsNothing = true;
    file().getFileResult = DSMCC_PENDING;
    EXPECT_EQ(start(), 0u);
    EXPECT_FALSE(downloads().reportDownloadSucceeded(&load));
    EXPECT_EQ(journal(), Lines({asked, mime, read, failed, closed}));
    EXPECT_EQ(log().leveledLines(), Lines({reading, readError}));
}

TEST_F(OCDownloadManagerTest, AManagerOfOnesOwnServesItsLoadsWhateverBecomesOfTheLibrary)
{
    OCDownloadManager own;
    HbbTVDVBURL url("dvb://1.2.3.4/f");
    file() = answering(0, 0, {});
    browser().whileIn["ve_protocol_write"] = [] { vesta_hbbtv_shutdown(); };
    EXPECT_EQ(own.startDownload(&url, &load), 1u);
    EXPECT_EQ(journal(), Lines({asked, mime, read, "ve_protocol_write(5)", "hbbtv_ait_stop()",
                                "dsmcc_stop()", read, "ve_protocol_finished(200)", closed}));
    expectOneLoadEverywhere();
}

TEST_F(OCDownloadManagerTest, LinesStandInTheLogBeforeTheBrowserIsAnswered)
{
    journalLog({"OCDownloadManager"});
    file() = answering(DSMCC_PENDING, 0, {});
    start();
    forgetJournal();
    EXPECT_TRUE(downloads().reportDownloadSucceeded(&load));
    EXPECT_EQ(journal(), Lines({reading, mime, read, "ve_protocol_write(5)", read, complete,
                                "ve_protocol_finished(200)", closed}));
    EXPECT_FALSE(downloads().reportDownloadSucceeded(&load)) << "the platform has closed it";
    EXPECT_EQ(journal(), Lines({reading, mime, mimeError, failed, closed}));
}

TEST_F(OCDownloadManagerTest, WhatTheBrowserAndTheClosingHookAnswerMakesNoDifference)
{
    for (const char* const function : {"ve_protocol_set_mime_type", "ve_protocol_write",
                                       "ve_protocol_finished", "ve_protocol_failed"})
        browser().results[function] = -1;
    platform().results["dsmcc_close_file"] = DSMCC_ERROR;

    file() = answering(0, 0, {}, "text/html");
    file().bytes = patternOf(300000);
    EXPECT_EQ(start(), 1u);
    EXPECT_EQ(journal(),
              Lines({asked, mime, "ve_protocol_set_mime_type(text/html)", read,
                     "ve_protocol_write(130048)", "ve_protocol_write(130048)",
                     "ve_protocol_write(39904)", read, "ve_protocol_finished(200)", closed}));
    file() = answering(0, 0, DSMCC_ERROR);
    EXPECT_EQ(start(), 2u);
    EXPECT_EQ(journal(), Lines({asked, mime, read, failed, closed, failed, closed}));
    EXPECT_TRUE(downloads().reportDownloadFailed(&load));
    EXPECT_EQ(journal(), Lines({failed, closed}));
}

TEST_F(OCDownloadManagerTest, AnEmptyMIMETypeIsPassedOnAndFreed)
{
    file() = answering(0, 0, {}, "");
    EXPECT_EQ(start(), 1u);
    EXPECT_EQ(journal(),
              Lines({asked, mime, "ve_protocol_set_mime_type()", read, "ve_protocol_write(5)", read,
                     "ve_protocol_finished(200)", closed}));
    EXPECT_EQ(outstandingBlocks(), 0u);
}

TEST_F(OCDownloadManagerTest, ReportsOfUnknownIdsAreLoggedAndDropped)
{
    EXPECT_FALSE(downloads().reportDownloadSucceeded(&load));
    EXPECT_FALSE(downloads().reportDownloadFailed(nullptr));
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(log().leveledLines(),
              Lines({"WARN OCDownloadManager: Unknown id when reporting download success",
                     "WARN OCDownloadManager: Unknown id when reporting download failed"}));
}

TEST_F(OCDownloadManagerTest, ReadyEventDeliversAPendingFile)
{
    file() = answering(DSMCC_PENDING, 0, {}, "text/html");
    start();
    journal();
    send(E_DSMCC_FILE_READY, downloadRecord(&load));
    tickAll();
    EXPECT_EQ(journal(),
              Lines({mime, "ve_protocol_set_mime_type(text/html)", read, "ve_protocol_write(5)",
                     read, "ve_protocol_finished(200)", closed}));
    EXPECT_EQ(log().leveledLines(),
              Lines({"DEBUG ExternalEvent: E_DSMCC_FILE_READY", reading, complete}));
    expectOneLoadEverywhere();
}

TEST_F(OCDownloadManagerTest, ReadyEventThatCannotBeReadFailsTheLoadOnce)
{
    file() = answering(DSMCC_PENDING, 0, 1);
    start();
    journal();
    send(E_DSMCC_FILE_READY, downloadRecord(&load));
    tickAll();
    EXPECT_EQ(journal(), Lines({mime, read, failed, closed}));
}

TEST_F(OCDownloadManagerTest, ErrorEventFailsAPendingFileOnce)
{
    file().getFileResult = DSMCC_PENDING;
    start();
    journal();
    send(E_DSMCC_FILE_ERROR, downloadRecord(&load));
    tickAll();
    EXPECT_EQ(journal(), Lines({failed, closed}));
    EXPECT_TRUE(downloads().reportDownloadFailed(&load));
    EXPECT_EQ(journal(), Lines({failed, closed}));
}

TEST_F(OCDownloadManagerTest, LateReadyEventOfAFinishedFileIsReadAgain)
{
    file() = answering(0, 0, {});
    EXPECT_EQ(start(), 1u);
    journal();
    send(E_DSMCC_FILE_READY, downloadRecord(&load));
    tickAll();
    // The platform has closed the file by now and answers so.
    EXPECT_EQ(journal(), Lines({mime, failed, closed}));
}

TEST_F(OCDownloadManagerTest, FailureIsAnsweredForAnyId)
{
    downloads().handleDownloadFailed(nullptr);
    EXPECT_EQ(journal(), Lines({failed, closed}));
    EXPECT_EQ(browser().protocolIds, std::vector<void*>({nullptr}));
    EXPECT_FALSE(downloads().handleDownloaded(nullptr));
    EXPECT_EQ(journal(), Lines({mime, failed, closed}));
}

}  // namespace
