// Applications that are neither running nor pending when their window goes.

#include <algorithm>

#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

class LeftBehindApplications : public LibraryTest {
protected:
    LeftBehindApplications()
    {
        native_ApplicationManagerSetAppDestroyedListener([](void* appId) {
            Journal::instance().write("destroyed ", reinterpret_cast<uintptr_t>(appId));
        });
    }

    /// Leaves the application with the id 1 behind: a failed child's parent runs again, and the
    /// child, whose end is queued, is neither running nor pending when its window goes.
    void leaveOneBehind()
    {
        window()->startBroadcastIndependentApplication(HbbTVURL("http://a.example/left"));
        tickAll();
        Application* const left = running();
        window()->setRunningApplication(nullptr);
        vesta_hbbtv_release_window(window());
        ASSERT_EQ(manager()->getApplication(1), left);
        log().clear();
        forgetJournal();
    }

    void* const left_ = reinterpret_cast<void*>(uintptr_t(1));
};

TEST_F(LeftBehindApplications, AFailedChildIsOneOfThem)
{
    window()->startBroadcastIndependentApplication(HbbTVURL("http://a.example/parent"));
    tickAll();
    void* child = nullptr;
    native_ApplicationCreateApplication("child", 1, idOf(running()), &child);
    tickAll();
    failLoading(2);
    forgetJournal();
    vesta_hbbtv_release_window(window());
    EXPECT_EQ(journal(),
              Lines({"destroyed 1", "STOP 0.0 independent reactivate=0 http://a.example/parent",
                     "RELEASE w1", "RELEASE w2"}));
    EXPECT_NE(manager()->getApplication(2), nullptr);
    log().clear();
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(log().count("ERR StopApplicationEvent: Invalid setup or window do not exist."), 1);
}

TEST_F(LeftBehindApplications, HaveNoWindowAndNoParent)
{
    leaveOneBehind();
    EXPECT_EQ(manager()->getApplication(1)->getWindow(), nullptr);
    EXPECT_EQ(manager()->getApplication(1)->getParent(), nullptr);
    EXPECT_EQ(manager()->getApplication(1)->getTavoWindow(), nullptr);
    EXPECT_FALSE(vesta_hbbtv_is_hbbtv_window(browser().window(1)));
}

TEST_F(LeftBehindApplications, AnswerScriptsLikeAnApplicationWithoutWindow)
{
    leaveOneBehind();
    EXPECT_EQ(native_ApplicationDestroyApplication(left_), VEIF_RETURN_ERROR);
    EXPECT_EQ(
        log().count("ERR ApplicationManager: No window found for application in native call."), 1);
    void* created = left_;
    EXPECT_EQ(native_ApplicationCreateApplication("http://a.example/", 1, left_, &created),
              VEIF_RETURN_ERROR);
    EXPECT_EQ(log().count("ERR ApplicationManager: No window found to create application in in "
                          "native call"),
              1);
    double keys = 0;
    EXPECT_EQ(native_KeySetSetValue(left_, 3, &keys), VEIF_RETURN_OK);
    EXPECT_EQ(native_ApplicationHide(left_), VEIF_RETURN_OK);
    tickAll();
    EXPECT_EQ(native_ApplicationShow(left_), VEIF_RETURN_OK);
    EXPECT_EQ(journal(), Lines({"KEYSET null 3"}));
    long windowId = 0;
    EXPECT_EQ(native_AppManGetWindowOfApplication(left_, &windowId), VEIF_RETURN_ERROR);
}

TEST_F(LeftBehindApplications, AreFoundByNoBrowserWindow)
{
    leaveOneBehind();
    void* found = nullptr;
    EXPECT_EQ(native_AppManGetApplicationId(1, nullptr, &found), VEIF_RETURN_ERROR);
    EXPECT_EQ(failLoading(1), 12345);  // not consumed, nothing written
}

TEST_F(LeftBehindApplications, AreFreedWithAllWindows)
{
    leaveOneBehind();
    manager()->removeAllWindows();
    EXPECT_EQ(journal(), Lines({"destroyed 1"}));
    EXPECT_EQ(manager()->getApplication(1), nullptr);
}

TEST_F(LeftBehindApplications, AreFreedWithTheManager)
{
    leaveOneBehind();
    delete manager();
    EXPECT_EQ(journal(), Lines({"destroyed 1"}));
}

TEST_F(LeftBehindApplications, AreFreedBeforeTheHooksOfAShutdown)
{
    leaveOneBehind();
    shutdown();
    EXPECT_EQ(journal(), Lines({"destroyed 1", "hbbtv_ait_stop()", "dsmcc_stop()"}));
}

TEST_F(LeftBehindApplications, GiveTheirBrowserWindowBackWithTheirWindow)
{
    window()->startBroadcastIndependentApplication(HbbTVURL("http://a.example/parent"));
    tickAll();
    void* child = nullptr;
    void* const parent = idOf(running());
    native_ApplicationCreateApplication("superseded", 1, parent, &child);
    tickAll();
    native_ApplicationCreateApplication("child", 1, parent, &child);
    tickAll();
    finishLoading(3);
    forgetJournal();
    vesta_hbbtv_release_window(window());
    EXPECT_EQ(journal(),
              Lines({"destroyed 3", "STOP 0.0 independent reactivate=0 http://a.example/child",
                     "RELEASE w3", "RELEASE w2"}));
}

TEST_F(LeftBehindApplications, AListenerMayFreeThemWhenItGetsTheirBrowserWindowBack)
{
    window()->startBroadcastIndependentApplication(HbbTVURL("http://a.example/left"));
    tickAll();
    window()->setRunningApplication(nullptr);
    forgetJournal();
    listener().onNotification[HBBTV_NOTIFICATION_RELEASE_WINDOW] = [](auto*) {
        manager()->removeAllWindows();
    };
    vesta_hbbtv_release_window(window());
    EXPECT_EQ(journal(), Lines({"RELEASE w1", "destroyed 1"}));
}

TEST_F(LeftBehindApplications, ItsTableLivesAsLongAsIt)
{
    startApplication(httpApplication(1, 2).name("kept"));
    window()->setRunningApplication(nullptr);
    vesta_hbbtv_release_window(window());
    ASSERT_NE(manager()->getApplication(1), nullptr);
    EXPECT_EQ(manager()->getApplication(1)->getAITApplication()->getApplicationName(), "kept");
}

TEST_F(LeftBehindApplications, ThePluginHearsOnceOfAnEndInWhichItRemovesAllWindows)
{
    native_ApplicationManagerSetAppDestroyedListener([](void*) {
        Journal::instance().write("destroyed");
        manager()->removeAllWindows();
    });
    startApplication(httpApplication(1, 2));
    window()->terminateRunningApplication(true);
    const Lines lines = journal();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "destroyed"), 1);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "RELEASE w1"), 1);
}

TEST_F(LeftBehindApplications, ThePluginMayRemoveAllWindowsWhenToldOfTheirEnd)
{
    leaveOneBehind();
    native_ApplicationManagerSetAppDestroyedListener([](void*) {
        Journal::instance().write("destroyed");
        manager()->removeAllWindows();
    });
    manager()->removeAllWindows();
    EXPECT_EQ(journal(), Lines({"destroyed"}));
}

TEST_F(LeftBehindApplications, NothingStartsWhileTheyAreFreed)
{
    leaveOneBehind();
    static Application* started;
    started = nullptr;
    native_ApplicationManagerSetAppDestroyedListener([](void*) {
        started = manager()->createWindow()->startBroadcastIndependentApplication(
            HbbTVURL("http://a.example/"));
    });
    manager()->removeAllWindows();
    EXPECT_EQ(started, nullptr);
    EXPECT_EQ(journal(), Lines());
}

TEST_F(LeftBehindApplications, LeadToNoWindowWhenTheyAreFreedInACallOfTheirs)
{
    window()->startBroadcastIndependentApplication(HbbTVURL("http://a.example/left"));
    tickAll();
    window()->setRunningApplication(nullptr);
    forgetJournal();
    listener().onNotification[HBBTV_NOTIFICATION_START_APPLICATION] = [](auto*) {
        manager()->removeAllWindows();
    };
    listener().onNotification[HBBTV_NOTIFICATION_RELEASE_WINDOW] = [](auto*) {
        EXPECT_FALSE(vesta_hbbtv_is_hbbtv_window(browser().window(1)));
    };
    window()->startBroadcastIndependentApplication(HbbTVURL("http://a.example/next"));
    EXPECT_EQ(journal(),
              Lines({"START 0.0 independent http://a.example/next", "RELEASE w1", "destroyed 1"}));
}

TEST_F(LeftBehindApplications, AChildNoLongerWaitsForItsParent)
{
    window()->startBroadcastIndependentApplication(HbbTVURL("http://a.example/parent"));
    tickAll();
    void* child = nullptr;
    native_ApplicationCreateApplication("child", 1, idOf(running()), &child);
    tickAll();
    window()->setRunningApplication(nullptr);
    vesta_hbbtv_release_window(window());
    ASSERT_NE(manager()->getApplication(2), nullptr);
    EXPECT_EQ(manager()->getApplication(2)->getParent(), nullptr);
}

TEST_F(LeftBehindApplications, OneThatWasRegisteredByHandIsOneOfThem)
{
    auto* const registered = new Application(window(), HbbTVURL("http://a.example/"), nullptr);
    registered->setTavoWindow(browser().window(9));
    window()->registerApplication(registered);
    vesta_hbbtv_release_window(window());
    EXPECT_EQ(registered->getWindow(), nullptr);
    manager()->removeAllWindows();
    EXPECT_EQ(journal(), Lines({"RELEASE w9"}));
}

TEST_F(LeftBehindApplications, OneThatBelongsToItselfJustLosesItsWindow)
{
    Application own(window(), HbbTVURL("http://a.example/"), nullptr);
    vesta_hbbtv_release_window(window());
    EXPECT_EQ(own.getWindow(), nullptr);
    manager()->removeAllWindows();
    EXPECT_EQ(own.getURL().getFullUrl(), "http://a.example/");
}

}  // namespace
