#include <memory>

#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "tests/lifecycle/private_members.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

Lines destroyedIds;

void recordDestroyed(void* appId)
{
    destroyedIds.push_back(std::to_string(reinterpret_cast<uintptr_t>(appId)));
}

class WindowManagerTest : public LibraryTest {
protected:
    WindowManagerTest()
    {
        destroyedIds.clear();
        native_ApplicationManagerSetAppDestroyedListener(recordDestroyed);
    }
};

TEST_F(WindowManagerTest, GetInstanceAlwaysYieldsTheSameOne)
{
    EXPECT_EQ(WindowManager::getInstance(), manager());
    EXPECT_EQ(WindowManager::instance, manager());
}

TEST_F(WindowManagerTest, CreatedWindowIsNeitherBroadcastWindowNorHasABrowserWindow)
{
    Window* const created = manager()->createWindow();
    ASSERT_NE(created, nullptr);
    EXPECT_EQ(takeLog("WindowManager"),
              Lines({"LOG WindowManager: WindowManager::createWindow()"}));
    EXPECT_TRUE(manager()->windowExists(created));
    EXPECT_TRUE(manager()->handledWindow(created));
    EXPECT_EQ(manager()->getBroadcastWindow(), window());
    EXPECT_EQ(manager()->getTavoWindow(created), nullptr);
    EXPECT_EQ(created->getState(), Window::IDLE);
    EXPECT_EQ(created->getManager(), manager());
}

TEST_F(WindowManagerTest, WindowsAreFoundByTheirIndexInOrderOfCreation)
{
    Window* const second = manager()->createWindow();
    EXPECT_EQ(manager()->getWindow(0u), window());
    EXPECT_EQ(manager()->getWindow(1u), second);
    EXPECT_EQ(manager()->getWindow(2u), nullptr);
    EXPECT_EQ(manager()->getWindow(0xFFFFFFFFu), nullptr);
}

TEST_F(WindowManagerTest, RemovingAWindowShiftsTheIndexesBehindIt)
{
    manager()->createWindow();
    Window* const third = manager()->createWindow();
    EXPECT_TRUE(manager()->removeWindow(window()));
    EXPECT_EQ(manager()->getWindow(1u), third);
    EXPECT_EQ(manager()->getWindow(2u), nullptr);
}

TEST_F(WindowManagerTest, AnEmptyManagerHasNoWindows)
{
    manager()->removeAllWindows();
    EXPECT_EQ(manager()->getWindow(0u), nullptr);
    EXPECT_TRUE(manager()->getWindows().empty());
}

/// A policy that writes what it is asked into the journal.
class StrictPolicy : public ApplicationPolicy {
public:
    explicit StrictPolicy(int windows) : left_(windows) {}

    bool requestNewWindow() override
    {
        Journal::instance().write(left_ > 0 ? "granted" : "refused");
        return left_ > 0 && left_-- > 0;
    }

    void releaseWindow() override
    {
        ++left_;
        Journal::instance().write("given back");
    }

private:
    int left_;
};

TEST_F(WindowManagerTest, AsksItsPolicyForEveryWindowAndGivesEachBackOnce)
{
    policyOf(*manager()) = std::make_unique<StrictPolicy>(2);
    Window* const second = manager()->createWindow();
    EXPECT_NE(manager()->createWindow(), nullptr);
    EXPECT_EQ(manager()->createWindow(), nullptr);
    EXPECT_EQ(manager()->getWindows().size(), 3u);
    EXPECT_EQ(journal(), Lines({"granted", "granted", "refused"}));

    EXPECT_TRUE(manager()->removeWindow(second));
    EXPECT_FALSE(manager()->removeWindow(second));
    EXPECT_EQ(journal(), Lines({"given back"}));
    EXPECT_NE(manager()->createWindow(), nullptr);
    EXPECT_EQ(journal(), Lines({"granted"}));

    manager()->removeAllWindows();
    EXPECT_EQ(journal(), Lines(3, "given back"));
}

TEST_F(WindowManagerTest, GivesAWindowBackBeforeItEnds)
{
    startApplication(httpApplication(1, 2));
    policyOf(*manager()) = std::make_unique<StrictPolicy>(1);
    const Lines ended = {"STOP 1.2 related reactivate=0 http://a.example/index.html", "RELEASE w1"};
    manager()->removeWindow(window());
    EXPECT_EQ(journal(), Lines({"given back", ended[0], ended[1]}));
}

TEST_F(WindowManagerTest, RemovingNullOnlyLogs)
{
    EXPECT_FALSE(manager()->removeWindow(nullptr));
    EXPECT_EQ(takeLog("WindowManager"),
              Lines({"LOG WindowManager: WindowManager::removeWindow()"}));
}

TEST_F(WindowManagerTest, RemovingAStaleOrForeignWindowOnlyLogs)
{
    Window* const gone = manager()->createWindow();
    EXPECT_TRUE(manager()->removeWindow(gone));
    log().clear();
    EXPECT_FALSE(manager()->removeWindow(gone));
    EXPECT_EQ(takeLog("WindowManager"),
              Lines({"LOG WindowManager: WindowManager::removeWindow()"}));

    Window foreign(nullptr);
    EXPECT_FALSE(manager()->removeWindow(&foreign));
    EXPECT_EQ(manager()->getWindows().size(), 1u);
}

TEST_F(WindowManagerTest, OnlyAWindowOfTheListBecomesTheBroadcastWindow)
{
    Window* const other = manager()->createWindow();
    EXPECT_TRUE(manager()->setBroadcastWindow(other));
    EXPECT_EQ(manager()->getBroadcastWindow(), other);

    Window foreign(nullptr);
    EXPECT_FALSE(manager()->setBroadcastWindow(&foreign));
    EXPECT_FALSE(manager()->setBroadcastWindow(nullptr));
    Window* const gone = manager()->createWindow();
    manager()->removeWindow(gone);
    EXPECT_FALSE(manager()->setBroadcastWindow(gone));
    EXPECT_EQ(manager()->getBroadcastWindow(), other);
}

TEST_F(WindowManagerTest, RemovingTheBroadcastWindowLeavesNone)
{
    manager()->removeWindow(window());
    EXPECT_EQ(manager()->getBroadcastWindow(), nullptr);

    manager()->setBroadcastWindow(manager()->createWindow());
    manager()->removeAllWindows();
    EXPECT_EQ(manager()->getBroadcastWindow(), nullptr);
}

TEST_F(WindowManagerTest, RemovingAnotherWindowKeepsTheBroadcastWindow)
{
    manager()->removeWindow(manager()->createWindow());
    EXPECT_EQ(manager()->getBroadcastWindow(), window());
}

TEST_F(WindowManagerTest, ABrowserWindowLeadsToTheWindowRegisteredLast)
{
    Window* const other = manager()->createWindow();
    manager()->registerTavoWindow(browser().window(1), window());
    EXPECT_EQ(manager()->getWindow(browser().window(1)), window());
    manager()->registerTavoWindow(browser().window(1), other);
    EXPECT_EQ(manager()->getWindow(browser().window(1)), other);
    EXPECT_EQ(manager()->getTavoWindow(window()), nullptr);

    manager()->unregisterTavoWindow(browser().window(1));
    manager()->unregisterTavoWindow(browser().window(2));  // was never registered
    EXPECT_EQ(manager()->getWindow(browser().window(1)), nullptr);
}

TEST_F(WindowManagerTest, TheBrowserWindowOfAWindowIsTheFirstByAddress)
{
    manager()->registerTavoWindow(browser().window(5), window());
    manager()->registerTavoWindow(browser().window(3), window());
    manager()->registerTavoWindow(browser().window(2), manager()->createWindow());
    EXPECT_EQ(manager()->getTavoWindow(window()), browser().window(3));
    EXPECT_EQ(manager()->getTavoWindow(nullptr), nullptr);
}

TEST_F(WindowManagerTest, ApplicationsAreFoundByTheirIds)
{
    Application application(window(), HbbTVURL("http://a.example/"), nullptr);
    EXPECT_EQ(manager()->getApplication(application.getID()), nullptr);
    EXPECT_TRUE(manager()->registerApplication(&application));
    EXPECT_EQ(manager()->getApplication(application.getID()), &application);
    EXPECT_EQ(manager()->getApplication(0), nullptr);
    EXPECT_TRUE(manager()->unregisterApplication(&application));
    EXPECT_EQ(manager()->getApplication(application.getID()), nullptr);
}

TEST_F(WindowManagerTest, ASecondApplicationOfTheSameIdReplacesTheFirst)
{
    Application::next_id = 50;
    Application first(window(), HbbTVURL("http://a.example/"), nullptr);
    Application::next_id = 50;
    Application second(window(), HbbTVURL("http://b.example/"), nullptr);
    manager()->registerApplication(&first);
    manager()->registerApplication(&second);
    EXPECT_EQ(manager()->getApplication(50), &second);
    EXPECT_TRUE(manager()->unregisterApplication(&first));
    EXPECT_EQ(manager()->getApplication(50), nullptr);
}

TEST_F(WindowManagerTest, NoApplicationIsNeitherRegisteredNorUnregistered)
{
    EXPECT_FALSE(manager()->registerApplication(nullptr));
    EXPECT_FALSE(manager()->unregisterApplication(nullptr));
    EXPECT_EQ(destroyedIds, Lines());
}

TEST_F(WindowManagerTest, UnregisteringTellsThePluginEvenOfAnUnknownApplication)
{
    Application application(window(), HbbTVURL("http://a.example/"), nullptr);
    EXPECT_TRUE(manager()->unregisterApplication(&application));
    EXPECT_EQ(destroyedIds, Lines({std::to_string(application.getID())}));
}

TEST_F(WindowManagerTest, HttpIsAvailableUntilTheIntegratorSaysOtherwise)
{
    EXPECT_TRUE(manager()->isHttpAvailable());
    send(E_HTTP_UNAVAILABLE);
    tickAll();
    EXPECT_FALSE(manager()->isHttpAvailable());
    send(E_HTTP_AVAILABLE);
    tickAll();
    EXPECT_TRUE(manager()->isHttpAvailable());
}

TEST_F(WindowManagerTest, ARemovedWindowsBrowserWindowLeadsNowhere)
{
    startApplication(httpApplication(1, 2));
    manager()->registerTavoWindow(browser().window(9), window());
    manager()->removeWindow(window());
    EXPECT_EQ(manager()->getWindow(browser().window(1)), nullptr);
    EXPECT_EQ(manager()->getWindow(browser().window(9)), nullptr);
    EXPECT_FALSE(vesta_hbbtv_is_hbbtv_window(browser().window(1)));
}

TEST_F(WindowManagerTest, AllWindowsAreRemovedInOrder)
{
    listener().windowNames[window()] = "A";
    Window* const second = createWindow("B");
    for (Window* each : {second, window()}) {
        each->startBroadcastIndependentApplication(HbbTVURL("http://a.example/"));
        tickAll();
    }
    forgetJournal();
    manager()->removeAllWindows();
    EXPECT_EQ(journal(), Lines({
                             "STOP 0.0 independent reactivate=0 http://a.example/ @A",
                             "RELEASE w2",
                             "STOP 0.0 independent reactivate=0 http://a.example/ @B",
                             "RELEASE w1",
                         }));
    EXPECT_TRUE(manager()->getWindows().empty());
}

TEST_F(WindowManagerTest, AWindowCreatedWhileAllAreRemovedIsRemovedToo)
{
    startApplication(httpApplication(1, 2));
    Window* created = nullptr;
    listener().onNotification[HBBTV_NOTIFICATION_STOP_APPLICATION] = [&](auto*) {
        EXPECT_FALSE(manager()->windowExists(window()));
        created = manager()->createWindow();
    };
    manager()->removeAllWindows();
    ASSERT_NE(created, nullptr);
    EXPECT_FALSE(manager()->windowExists(created));
}

TEST_F(WindowManagerTest, ItsDestructionEndsEverythingAndCreatesNoOther)
{
    startApplication(httpApplication(1, 2));
    window()->startBroadcastIndependentApplication(HbbTVURL("http://a.example/pending"));
    listener().onNotification[HBBTV_NOTIFICATION_STOP_APPLICATION] = [](auto*) {
        EXPECT_EQ(WindowManager::instance, nullptr);
    };
    forgetJournal();
    delete manager();
    EXPECT_EQ(WindowManager::instance, nullptr);
    EXPECT_EQ(journal(), Lines({
                             "STOP 1.2 related reactivate=0 http://a.example/index.html",
                             "RELEASE w1",
                         }));
    EXPECT_EQ(destroyedIds, Lines({"1"}));
}

TEST_F(WindowManagerTest, EventsOfADestroyedManagersWindowsFindNoWindow)
{
    window()->startBroadcastIndependentApplication(HbbTVURL("http://a.example/"));
    delete manager();
    log().clear();
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(WindowManager::instance, nullptr);
    EXPECT_EQ(log().count("ERR StartApplicationEvent: Invalid setup or window do not exist."), 1);
}

TEST_F(WindowManagerTest, WindowsMadeAfterAllWereRemovedStartApplications)
{
    manager()->removeAllWindows();
    Window* const created = static_cast<Window*>(vesta_hbbtv_create_window());
    EXPECT_NE(created->startBroadcastIndependentApplication(HbbTVURL("http://a.example/")),
              nullptr);
}

TEST_F(WindowManagerTest, AllWindowsEndInOrderEvenWhenOneOfThemIsBeingWorkedOn)
{
    listener().windowNames[window()] = "A";
    Window* const second = createWindow("B");
    for (Window* each : {window(), second}) {
        each->startBroadcastIndependentApplication(HbbTVURL("http://a.example/"));
        tickAll();
    }
    forgetJournal();
    listener().onNotification[HBBTV_NOTIFICATION_START_APPLICATION] = [](auto*) {
        manager()->removeAllWindows();
    };
    EXPECT_EQ(window()->startBroadcastIndependentApplication(HbbTVURL("http://b.example/")),
              nullptr);
    EXPECT_EQ(journal(), Lines({
                             "START 0.0 independent http://b.example/ @A",
                             "STOP 0.0 independent reactivate=0 http://a.example/ @A",
                             "RELEASE w1",
                             "STOP 0.0 independent reactivate=0 http://a.example/ @B",
                             "RELEASE w2",
                         }));
}

TEST_F(WindowManagerTest, AWindowIsNoBroadcastWindowAnyMoreWhenItsApplicationsEnd)
{
    startApplication(httpApplication(1, 2));
    listener().onNotification[HBBTV_NOTIFICATION_STOP_APPLICATION] = [&](auto*) {
        EXPECT_EQ(manager()->getBroadcastWindow(), nullptr);
        EXPECT_TRUE(window()->isReleased());
    };
    manager()->removeAllWindows();
    EXPECT_EQ(journal().size(), 2u);
}

TEST_F(WindowManagerTest, ThePluginIsToldOfAnIdThatLeadsNowhere)
{
    static Application* found;
    Application application(window(), HbbTVURL("http://a.example/"), nullptr);
    manager()->registerApplication(&application);
    found = &application;
    native_ApplicationManagerSetAppDestroyedListener(
        [](void* appId) { found = manager()->getApplication(reinterpret_cast<uintptr_t>(appId)); });
    EXPECT_TRUE(manager()->unregisterApplication(&application));
    EXPECT_EQ(found, nullptr);
}

TEST_F(WindowManagerTest, TheEndOfAReplacedApplicationLeavesTheIdToTheOther)
{
    Application::next_id = 50;
    auto first = std::make_unique<Application>(window(), HbbTVURL("http://a.example/"), nullptr);
    Application::next_id = 50;
    Application second(window(), HbbTVURL("http://b.example/"), nullptr);
    manager()->registerApplication(first.get());
    manager()->registerApplication(&second);
    first.reset();
    EXPECT_EQ(manager()->getApplication(50), &second);
}

class RemoveAllWindows : public LibraryTest {};

TEST_F(RemoveAllWindows, SurvivesAListenerThatShutsTheLibraryDown)
{
    for (const int type :
         {HBBTV_NOTIFICATION_STOP_APPLICATION, HBBTV_NOTIFICATION_RELEASE_WINDOW}) {
        for (const int windows : {1, 3}) {
            vesta_hbbtv_shutdown();
            vesta_hbbtv_init(browser().handle());
            vesta_hbbtv_add_notification_listener(RecordingListener::listen);
            for (int count = 0; count < windows; ++count)
                createWindow("A")->startBroadcastIndependentApplication(
                    HbbTVURL("http://a.example/"));
            tickAll();
            listener().onNotification[type] = [](auto*) { vesta_hbbtv_shutdown(); };
            manager()->removeAllWindows();
            listener().onNotification.clear();
            EXPECT_EQ(WindowManager::instance, nullptr);
            EXPECT_TRUE(listener().windowsInUse.empty());
        }
    }
}

TEST_F(RemoveAllWindows, SurvivesAListenerThatShutsTheLibraryDownForOneLeftBehind)
{
    window()->startBroadcastIndependentApplication(HbbTVURL("http://a.example/"));
    tickAll();
    window()->setRunningApplication(nullptr);
    vesta_hbbtv_release_window(window());
    native_ApplicationManagerSetAppDestroyedListener([](void*) { vesta_hbbtv_shutdown(); });
    manager()->removeAllWindows();
    EXPECT_EQ(WindowManager::instance, nullptr);
}

TEST_F(RemoveAllWindows, SurvivesAListenerThatDeletesTheManagerWhileAWindowIsHeld)
{
    Window* const held = window();
    held->startBroadcastIndependentApplication(HbbTVURL("http://a.example/"));
    tickAll();
    {
        const Window::Hold hold(held);
        vesta_hbbtv_release_window(held);
        listener().onNotification[HBBTV_NOTIFICATION_STOP_APPLICATION] = [](auto*) {
            vesta_hbbtv_shutdown();
        };
        manager()->removeAllWindows();
    }
    EXPECT_EQ(WindowManager::instance, nullptr);
}

TEST_F(RemoveAllWindows, LetsNothingStartForGoodWhenTheLibraryShutsDown)
{
    for (const char* const hook : {"hbbtv_ait_stop", "dsmcc_stop"}) {
        vesta_hbbtv_init(browser().handle());
        vesta_hbbtv_add_notification_listener(RecordingListener::listen);
        forgetJournal();
        Application* started = nullptr;
        platform().whileIn[hook] = [&started] {
            started = static_cast<Window*>(vesta_hbbtv_create_window())
                          ->startBroadcastIndependentApplication(HbbTVURL("http://a.example/"));
        };
        vesta_hbbtv_shutdown();
        platform().whileIn.clear();
        EXPECT_EQ(started, nullptr);
        EXPECT_EQ(journal(), Lines({"hbbtv_ait_stop()", "dsmcc_stop()"}));
    }
}

}  // namespace
