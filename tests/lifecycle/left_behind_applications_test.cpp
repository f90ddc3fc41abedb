// Applications that are neither running nor pending when their window goes.

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
                     "RELEASE w1"}));
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
    EXPECT_EQ(journal(), Lines({"KEYSET w1 3", "HIDE w1", "SHOW w1"}));
    long windowId = 0;
    EXPECT_EQ(native_AppManGetWindowOfApplication(left_, &windowId), VEIF_RETURN_OK);
    EXPECT_EQ(windowId, 1);
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
    EXPECT_EQ(journal(), Lines({"destroyed 1", "RELEASE w1"}));
    EXPECT_EQ(manager()->getApplication(1), nullptr);
}

TEST_F(LeftBehindApplications, AreFreedWithTheManager)
{
    leaveOneBehind();
    delete manager();
    EXPECT_EQ(journal(), Lines({"destroyed 1", "RELEASE w1"}));
}

TEST_F(LeftBehindApplications, AreFreedBeforeTheHooksOfAShutdown)
{
    leaveOneBehind();
    shutdown();
    EXPECT_EQ(journal(), Lines({"destroyed 1", "RELEASE w1", "hbbtv_ait_stop()", "dsmcc_stop()"}));
}

TEST_F(LeftBehindApplications, OneThatLostItsBrowserWindowIsFreedWithItsWindow)
{
    window()->startBroadcastIndependentApplication(HbbTVURL("http://a.example/parent"));
    tickAll();
    void* child = nullptr;
    native_ApplicationCreateApplication("child", 1, idOf(running()), &child);
    listener().nextWindows = {1};
    tickAll();
    forgetJournal();
    vesta_hbbtv_release_window(window());
    EXPECT_EQ(journal(),
              Lines({"destroyed 2", "STOP 0.0 independent reactivate=0 http://a.example/child",
                     "RELEASE w1", "destroyed 1", "RELEASE w1"}));
    EXPECT_EQ(manager()->getApplication(1), nullptr);
}

TEST_F(LeftBehindApplications, ItsTableLivesAsLongAsIt)
{
    startApplication(httpApplication(1, 2).name("kept"));
    window()->setRunningApplication(nullptr);
    vesta_hbbtv_release_window(window());
    ASSERT_NE(manager()->getApplication(1), nullptr);
    EXPECT_EQ(manager()->getApplication(1)->getAITApplication()->getApplicationName(), "kept");
}

}  // namespace
