#include <gtest/gtest.h>
#include <sstream>

#include "vesta_hbbtv_appman.h"

#include "foundation/configuration_manager.h"
#include "foundation/logging.h"
#include "integration/oc_download_manager.h"
#include "receiver/browser/console_browser.h"
#include "tests/receiver/support/played_session.h"

namespace receiver {
namespace {

using namespace VestaHbbTV;

// The library is there, but runs no application: it refuses every load of a dvb: URL.
class ConsoleBrowserTest : public ::testing::Test {
protected:
    ConsoleBrowserTest() { vesta_hbbtv_init(nullptr); }
    ~ConsoleBrowserTest() override { vesta_hbbtv_shutdown(); }

    void runTasks()
    {
        while (browser_.runTask()) {
        }
    }
    bool says(const std::string& text) const { return out_.str().find(text) != std::string::npos; }

    std::ostringstream out_;
    EventLog log_{out_, false};
    ConsoleBrowser browser_{log_, {{"http://site.example", "."}}};
};

TEST_F(ConsoleBrowserTest, WindowsAreNumberedAndNoNumberComesTwice)
{
    TAVO_VestaWindow* const first = browser_.createWindow();
    EXPECT_EQ(browser_.identifierOf(first), 1);
    browser_.closeWindow(first);
    TAVO_VestaWindow* const second = browser_.createWindow();
    EXPECT_EQ(browser_.identifierOf(second), 2);
    EXPECT_EQ(browser_.findWindow(2), second);
    EXPECT_EQ(browser_.findWindow(1), nullptr);
    EXPECT_EQ(browser_.windows().size(), 1u);
}

TEST_F(ConsoleBrowserTest, StaleForeignAndNullWindowsAreRefused)
{
    TAVO_VestaWindow* const closed = browser_.createWindow();
    browser_.closeWindow(closed);
    TAVO_VestaWindow foreign;
    for (TAVO_VestaWindow* const window :
         {closed, &foreign, static_cast<TAVO_VestaWindow*>(nullptr)}) {
        EXPECT_NE(browser_.openURL(window, "http://a.example/"), 0);
        EXPECT_NE(browser_.clearHistory(window), 0);
        EXPECT_EQ(browser_.identifierOf(window), 0);
        EXPECT_EQ(browser_.loadingURL(window), nullptr);
        browser_.setVisible(window, true);
        browser_.closeWindow(window);
    }
    EXPECT_EQ(browser_.focusedWindow(), nullptr);
    EXPECT_FALSE(browser_.runTask());
}

TEST_F(ConsoleBrowserTest, AnswersToUnknownLoadsAreRefused)
{
    void* const id = &out_;
    EXPECT_NE(browser_.setMimeType(id, "text/html"), 0);
    EXPECT_NE(browser_.write(id, "x", 1), 0);
    EXPECT_NE(browser_.finish(id, 200), 0);
    EXPECT_NE(browser_.fail(id, 404), 0);
}

TEST_F(ConsoleBrowserTest, APageIsNotOpenedBeforeItsTurn)
{
    TAVO_VestaWindow* const window = browser_.createWindow();
    EXPECT_EQ(browser_.openURL(window, "http://a.example/"), 0);
    EXPECT_STREQ(browser_.loadingURL(window), "http://a.example/");
    EXPECT_FALSE(says("no connection"));
    runTasks();
    EXPECT_TRUE(says("http://a.example/: no connection"));
}

TEST_F(ConsoleBrowserTest, AUrlThatNoFileCanBearIsNotFound)
{
    for (const char* const end : {"", "/", "/x.html"}) {
        const std::string url = "http://site.example/" + std::string(5000, 'a') + end;
        browser_.openURL(browser_.createWindow(), url);
        runTasks();
        EXPECT_TRUE(says(url + ": 404")) << end;
    }
}

TEST_F(ConsoleBrowserTest, TasksOfAWindowThatIsClosedOrGoesElsewhereAreDropped)
{
    TAVO_VestaWindow* const closed = browser_.createWindow();
    TAVO_VestaWindow* const elsewhere = browser_.createWindow();
    browser_.openURL(closed, "http://closed.example/");
    browser_.openURL(elsewhere, "http://first.example/");
    browser_.openURL(elsewhere, "http://second.example/");
    browser_.closeWindow(closed);
    runTasks();
    EXPECT_FALSE(says("closed.example/: no connection"));
    EXPECT_FALSE(says("first.example/: no connection"));
    EXPECT_TRUE(says("second.example/: no connection"));
}

TEST_F(ConsoleBrowserTest, ALoadThatFailedIsOverForTheApplicationManagerToo)
{
    void* const firstLoad = reinterpret_cast<void*>(uintptr_t(1));
    OCDownloadManager* const downloads =
        ConfigurationManager::getInstance()->getOCDownloadManager();
    downloads->addDownload(firstLoad);
    browser_.openURL(browser_.createWindow(), "dvb://1.2.3.4/index.html");
    runTasks();
    EXPECT_FALSE(downloads->downloadExists(firstLoad));
}

TEST_F(ConsoleBrowserTest, AResourceThatIsRefusedEndsTheLoadOfItsPage)
{
    TAVO_VestaWindow* const window = browser_.createWindow();
    browser_.openURL(window, "dvb://1.2.3.4/index.html");
    runTasks();
    EXPECT_TRUE(says("dvb://1.2.3.4/index.html: 404"));
    EXPECT_TRUE(browser_.loadResource(window, "a.css"));
    EXPECT_FALSE(window->loaded);
    runTasks();
    EXPECT_TRUE(says("dvb://1.2.3.4/a.css: 404"));
    EXPECT_TRUE(window->loaded);
    EXPECT_FALSE(browser_.hasLoaded(*window, "a.css"));
    EXPECT_FALSE(browser_.loadResource(window, "http://a.example/"));
}

TEST_F(ConsoleBrowserTest, TheWindowShownLastHasTheKeysUntilItGoes)
{
    TAVO_VestaWindow* const first = browser_.createWindow();
    TAVO_VestaWindow* const second = browser_.createWindow();
    browser_.setVisible(first, true);
    browser_.setVisible(second, true);
    EXPECT_EQ(browser_.focusedWindow(), second);
    browser_.setVisible(first, false);
    EXPECT_EQ(browser_.focusedWindow(), second);
    browser_.closeWindow(second);
    EXPECT_EQ(browser_.focusedWindow(), nullptr);
}

TEST_F(ConsoleBrowserTest, TheBrowsersFunctionsLeadToIt)
{
    TAVO_VestaWindow* const window = browser_.createWindow();
    TAVO_VestaWindow* found = nullptr;
    long id = 0;
    const char* text = nullptr;
    EXPECT_EQ(ve_get_window(nullptr, 1, &found), 0);
    EXPECT_EQ(found, window);
    EXPECT_NE(ve_get_window(nullptr, 7, &found), 0);
    EXPECT_EQ(found, window);
    EXPECT_EQ(ve_get_window_identifier(nullptr, window, &id), 0);
    EXPECT_EQ(id, 1);
    EXPECT_EQ(ve_open_url(window, "http://a.example/x"), 0);
    EXPECT_EQ(ve_clear_history(window), 0);
    EXPECT_EQ(ve_get_loading_url(window, &text), 0);
    EXPECT_STREQ(text, "http://a.example/x");
    EXPECT_EQ(ve_resolve_relative_url("http://a.example/x", "y", &text), 0);
    EXPECT_STREQ(text, "http://a.example/y");
    EXPECT_EQ(ve_set_uastring_extension(nullptr, nullptr), 0);
    TAVO_KeyboardEvent event = {TAVO_KEY_DOWN, TAVO_VK_RED};
    EXPECT_EQ(tavo_keyboard_evt(&event), 0);
    EXPECT_NE(tavo_keyboard_evt(nullptr), 0);
    EXPECT_TRUE(says("key RED down delivered"));
}

// Counts the lines of the log that hold a text.
class LineCounter : public LoggingOutput {
public:
    LineCounter(std::string text, int& count)
        : LoggingOutput(DEBUG), text_(std::move(text)), count_(count)
    {
    }
    void output(LogEntry& entry) override
    {
        if (entry.stream().str().find(text_) != std::string::npos)
            ++count_;
    }

private:
    const std::string text_;
    int& count_;
};

TEST(ConsoleBrowser, EveryLoadIsStoppedOnceWhateverBecameOfIt)
{
    int starts = 0;
    int stops = 0;
    int unknown = 0;
    Logging::getInstance()->addOutput(
        new LineCounter("TAVO_VESTA_EVT_PROTOCOL_LOADING_START", starts));
    Logging::getInstance()->addOutput(
        new LineCounter("TAVO_VESTA_EVT_PROTOCOL_LOADING_STOP", stops));
    Logging::getInstance()->addOutput(new LineCounter("Unrecognized id", unknown));
    PlayedSession played;
    // The page comes, one resource comes, one does not; at last the page is left while it loads.
    EXPECT_EQ(
        played.play({"wait loaded", "load css/style.css", "load nowhere.css", "wait loaded",
                     "zap 28112", "wait window 2", "answer start keep", "destroy", "wait stopped"}),
        exitSuccess)
        << played.problem();
    delete Logging::getInstance();
    EXPECT_EQ(starts, 4);
    EXPECT_EQ(stops, starts);
    EXPECT_EQ(unknown, 0);
}

TEST(BrowserFunctions, FailWithoutABrowser)
{
    const char* text = "";
    TAVO_KeyboardEvent event = {TAVO_KEY_DOWN, TAVO_VK_RED};
    EXPECT_NE(ve_open_url(nullptr, "http://a.example/"), 0);
    EXPECT_NE(ve_get_loading_url(nullptr, &text), 0);
    EXPECT_NE(ve_resolve_relative_url("http://a.example/", "b", &text), 0);
    EXPECT_NE(ve_protocol_finished(nullptr, 200), 0);
    EXPECT_NE(tavo_keyboard_evt(&event), 0);
}

}  // namespace
}  // namespace receiver
