// How a pending application becomes the running one.

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <utility>

#include "foundation/configuration_manager.h"
#include "lifecycle/application.h"
#include "lifecycle/call_scope.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "tests/support/library_test.h"
#include "tests/support/log_texts.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

const char* const initFailed =
    "WARN Window: startPendingApplication(): Failed to initialize application.";
const char* const fallback =
    "DEBUG Window: Allowing currently running application to live as fallback until initial page "
    "of new application loaded.";

Lines pluginCalls;

void recordEvent(int event, void* appId)
{
    pluginCalls.push_back("event " + std::to_string(event) + " of " +
                          std::to_string(reinterpret_cast<uintptr_t>(appId)));
}

void recordDestroyed(void* appId)
{
    pluginCalls.push_back("destroyed " + std::to_string(reinterpret_cast<uintptr_t>(appId)));
}

class WindowPending : public LibraryTest {
protected:
    WindowPending()
    {
        pluginCalls.clear();
        native_ApplicationManagerSetListener(recordEvent);
        native_ApplicationManagerSetAppDestroyedListener(recordDestroyed);
    }

    Application* pend(const std::string& url)
    {
        return window()->startBroadcastIndependentApplication(HbbTVURL(url));
    }

    /// The running application creates another one.
    Application* createChild(const std::string& url)
    {
        void* id = nullptr;
        EXPECT_EQ(native_ApplicationCreateApplication(url.c_str(), 1, idOf(running()), &id), 0);
        return window()->getPendingApplication();
    }

    void run(const std::string& url)
    {
        pend(url);
        tickAll();
        forget();
    }

    void forget()
    {
        log().clear();
        forgetJournal();
    }
};

TEST_F(WindowPending, TheStartOpensItsPageAndMakesItTheRunningOne)
{
    Application* const application = pend("http://a.example/i");
    forget();
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(running(), application);
    EXPECT_EQ(window()->getPendingApplication(), nullptr);
    EXPECT_EQ(window()->getState(), Window::RUNNING);
    EXPECT_TRUE(window()->applicationExists(application));
    EXPECT_EQ(window()->getApplication(browser().window(1)), application);
    EXPECT_EQ(manager()->getWindow(browser().window(1)), window());
    EXPECT_EQ(manager()->getApplication(application->getID()), application);
    EXPECT_EQ(takeLog(), Lines());
    EXPECT_EQ(journal(),
              Lines({"REQUEST w1", "ve_clear_history(w1)", "ve_open_url(w1, http://a.example/i)"}));
}

TEST_F(WindowPending, ItIsRegisteredBeforeItsPageIsOpened)
{
    pend("http://a.example/i");
    browser().whileIn["ve_open_url"] = [&] {
        EXPECT_EQ(window()->getState(), Window::RUNNING);
        EXPECT_EQ(manager()->getWindow(browser().window(1)), window());
        EXPECT_EQ(manager()->getApplication(running()->getID()), running());
    };
    tickAll();
    EXPECT_EQ(lastLine(), "ve_open_url(w1, http://a.example/i)");
}

TEST_F(WindowPending, TheRunningApplicationIsShutDownBeforeABrowserWindowIsAskedFor)
{
    run("http://a.example/old");
    pend("http://a.example/new");
    forget();
    tickAll();
    EXPECT_EQ(takeLog(), Lines({"LOG Window: Shutting down existing application.", shutting}));
    // Without an entry both have the ids 0.0: that is a restart.
    EXPECT_EQ(journal(), Lines({"RELEASE w1", "REQUEST w1", "ve_clear_history(w1)",
                                "ve_open_url(w1, http://a.example/new)"}));
    EXPECT_EQ(pluginCalls, Lines({"destroyed 1"}));
}

TEST_F(WindowPending, AnotherApplicationsStopIsTold)
{
    startApplication(httpApplication(1, 2));
    pend("http://a.example/new");
    forget();
    tickAll();
    EXPECT_EQ(journal(), Lines({"STOP 1.2 related reactivate=0 http://a.example/index.html",
                                "RELEASE w1", "REQUEST w1", "ve_clear_history(w1)",
                                "ve_open_url(w1, http://a.example/new)"}));
}

TEST_F(WindowPending, ARestartOfTheSameApplicationIsNoStop)
{
    startApplication(httpApplication(1, 2));
    EXPECT_NE(window()->startApplication(1, 2, HbbTVURL("?again")), nullptr);
    forget();
    tickAll();
    EXPECT_EQ(journal(), Lines({"RELEASE w1", "REQUEST w1", "ve_clear_history(w1)",
                                "ve_open_url(w1, http://a.example/index.html?again)"}));
    EXPECT_EQ(takeLog(), Lines({"LOG Window: Shutting down existing application.", shutting}));
}

TEST_F(WindowPending, AChildLeavesItsParentAlive)
{
    run("http://a.example/parent");
    Application* const parent = running();
    Application* const child = createChild("child");
    forget();
    tickAll();
    EXPECT_EQ(running(), child);
    EXPECT_EQ(child->getParent(), parent);
    EXPECT_TRUE(window()->applicationExists(parent));
    EXPECT_EQ(takeLog(), Lines({fallback}));
    EXPECT_EQ(journal(), Lines({"REQUEST w2", "ve_clear_history(w2)",
                                "ve_open_url(w2, http://a.example/child)"}));
}

TEST_F(WindowPending, AChildWhoseParentEndedMeanwhileShutsDownWhatRunsNow)
{
    run("http://a.example/parent");
    createChild("child");
    window()->shutdownApplication(running(), true, false, true);
    EXPECT_EQ(window()->getPendingApplication()->getParent(), nullptr);
    forget();
    tickAll();
    EXPECT_EQ(runningURL(), "http://a.example/child");
    EXPECT_EQ(takeLog(), Lines());
}

TEST_F(WindowPending, AParentThatIsNotInTheMapIsForgottenAndTheRunningApplicationStays)
{
    run("http://a.example/running");
    Application* const before = running();
    Application stranger(window(), HbbTVURL("http://b.example/"), nullptr);
    pend("http://a.example/next")->setParent(&stranger);
    forget();
    tickAll();
    EXPECT_EQ(running()->getParent(), nullptr);
    EXPECT_TRUE(window()->applicationExists(before));
    EXPECT_EQ(takeLog(), Lines());
}

TEST_F(WindowPending, WithoutBrowserWindowItIsFreedSilently)
{
    startApplication(httpApplication(1, 2));
    listener().refuseWindows = true;
    window()->startApplication(1, 2, HbbTVURL(""));
    forget();
    tickAll();
    EXPECT_EQ(takeLog(), Lines({"LOG Window: Shutting down existing application.", shutting,
                                initFailed, shutting}));
    EXPECT_EQ(journal(), Lines({"RELEASE w1", "REQUEST null"}));
    EXPECT_EQ(window()->getApplications().size(), 0u);
    EXPECT_EQ(window()->getState(), Window::IDLE);
    EXPECT_EQ(pluginCalls, Lines({"destroyed 1"}));
}

TEST_F(WindowPending, ABrowserWindowThatCameWithoutSuccessIsGivenBack)
{
    listener().onNotification[HBBTV_NOTIFICATION_REQUEST_WINDOW] =
        [](HBBTV_NotificationData* data) { data->window.success = 0; };
    pend("http://a.example/i");
    forget();
    tickAll();
    EXPECT_EQ(journal(), Lines({"REQUEST w1", "RELEASE w1"}));
    EXPECT_EQ(running(), nullptr);
}

TEST_F(WindowPending, AChildWithoutBrowserWindowLeavesItsParentRunning)
{
    run("http://a.example/parent");
    Application* const parent = running();
    createChild("child");
    listener().refuseWindows = true;
    forget();
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(running(), parent);
    EXPECT_EQ(window()->getState(), Window::RUNNING);
    EXPECT_EQ(takeLog(), Lines({fallback, initFailed, shutting}));
    EXPECT_EQ(journal(), Lines({"REQUEST null"}));
    EXPECT_EQ(pluginCalls, Lines({"event 3 of 2"}));
    EXPECT_EQ(window()->getApplications().size(), 1u);
}

TEST_F(WindowPending, OneThatIsNoLongerPendingIsDestroyedByItsStart)
{
    Application* const first = pend("http://a.example/first");
    Application* const second = pend("http://a.example/second");
    EXPECT_EQ(takeLog(),
              Lines({"LOG Window: Starting broadcast independent application.",
                     "LOG Window: Starting broadcast independent application.",
                     "WARN Window: Pending application added when pending already existed."}));
    EXPECT_FALSE(window()->isPendingApplication(first));
    EXPECT_TRUE(window()->isPendingApplication(second));
    EXPECT_EQ(window()->getApplications().size(), 2u);
    forget();
    vesta_hbbtv_tick();
    EXPECT_EQ(takeLog(), Lines({noLongerPending}));
    EXPECT_EQ(window()->getApplications().size(), 1u);
    vesta_hbbtv_tick();
    EXPECT_EQ(runningURL(), "http://a.example/second");
}

TEST_F(WindowPending, NoApplicationIsNotStarted)
{
    window()->startPendingApplication(nullptr);
    EXPECT_EQ(takeLog(), Lines({noLongerPending}));
    EXPECT_FALSE(window()->isPendingApplication(nullptr));
}

TEST_F(WindowPending, ApplicationsAreFreedWithTheQueueThatWouldStartThem)
{
    pend("http://a.example/superseded");
    pend("http://a.example/pending");
    ConfigurationManager::getInstance()->init(browser().handle());
    EXPECT_TRUE(window()->getApplications().empty());
    EXPECT_EQ(window()->getPendingApplication(), nullptr);
}

TEST_F(WindowPending, ARunningApplicationOutlivesTheQueue)
{
    startApplication(httpApplication(1, 2));
    const Application* const kept = running();
    ConfigurationManager::getInstance()->init(browser().handle());
    EXPECT_EQ(running(), kept);
}

TEST_F(WindowPending, ASupersededApplicationIsFreedWithTheWindow)
{
    const ref_ptr<AIT> table = broadcastTable(AITSection().add(httpApplication(1, 2)));
    window()->startApplication(table->getAITApplication(0u), HbbTVURL(""), nullptr);
    window()->startApplication(table->getAITApplication(0u), HbbTVURL(""), nullptr);
    vesta_hbbtv_release_window(window());
    log().clear();
    EXPECT_EQ(tickAll(), 2);
    EXPECT_EQ(log().count("ERR StartApplicationEvent: Invalid setup or window do not exist."), 2);
}

TEST_F(WindowPending, DestroyingThePendingOneMakesItsStartFindNothing)
{
    pend("http://a.example/i");
    window()->destroyPendingApplication();
    window()->destroyPendingApplication();  // none
    EXPECT_EQ(window()->getPendingApplication(), nullptr);
    forget();
    tickAll();
    EXPECT_EQ(takeLog(), Lines({noLongerPending}));
    EXPECT_EQ(running(), nullptr);
}

TEST_F(WindowPending, ABrowserWindowThatComesAfterTheWindowWentIsGivenBack)
{
    listener().refuseWindows = true;
    for (const bool all : {false, true}) {
        Window* const asking = createWindow("B");
        listener().onNotification[HBBTV_NOTIFICATION_REQUEST_WINDOW] =
            [all](HBBTV_NotificationData* data) {
                if (all)
                    manager()->removeAllWindows();
                else
                    vesta_hbbtv_release_window(data->window.window);
                *data->window.tavoWindow = browser().window(4);
                data->window.success = 1;
            };
        asking->startBroadcastIndependentApplication(HbbTVURL("http://a.example/i"));
        forget();
        tickAll();
        EXPECT_EQ(journal(), Lines({"REQUEST null @B", "RELEASE w4"}));
    }
}

TEST_F(WindowPending, ABrowserWindowThatComesAfterAllWentIsGivenBackAtOnce)
{
    const CallScope scope;  // the tick is one of a listener
    listener().refuseWindows = true;
    listener().onNotification[HBBTV_NOTIFICATION_REQUEST_WINDOW] =
        [](HBBTV_NotificationData* data) {
            manager()->removeAllWindows();
            *data->window.tavoWindow = browser().window(4);
            data->window.success = 1;
        };
    pend("http://a.example/i");
    forget();
    tickAll();
    EXPECT_EQ(journal(), Lines({"REQUEST null", "RELEASE w4"}));
}

TEST_F(WindowPending, AnApplicationGivesWayToTheOneThatAListenerStartsMeanwhile)
{
    for (const int type :
         {HBBTV_NOTIFICATION_STOP_APPLICATION, HBBTV_NOTIFICATION_REQUEST_WINDOW}) {
        startApplication(httpApplication(1, 2));
        bool done = false;
        listener().onNotification[type] = [&](auto*) {
            if (std::exchange(done, true))
                return;
            pend("http://a.example/meanwhile");
            tickAll();
        };
        pend("http://a.example/next");
        tickAll();
        EXPECT_TRUE(done);
        EXPECT_EQ(runningURL(), "http://a.example/meanwhile");
        EXPECT_EQ(window()->getApplications(), std::vector<Application*>({running()}));
        listener().onNotification.clear();
        window()->terminateRunningApplication(true);
        window()->setAIT(ref_ptr<AIT>());
    }
}

TEST_F(WindowPending, RestoringNeedsAParentThatIsStillThere)
{
    run("http://a.example/parent");
    EXPECT_FALSE(window()->tryRestoreParentApplication(nullptr));
    EXPECT_FALSE(window()->tryRestoreParentApplication(running()));
    Application stranger(window(), HbbTVURL("http://b.example/"), nullptr);
    Application* const child = createChild("child");
    child->setParent(&stranger);
    EXPECT_FALSE(window()->tryRestoreParentApplication(child));
    EXPECT_EQ(pluginCalls, Lines());
}

TEST_F(WindowPending, AParentThatThePluginEndsWhenToldOfTheErrorIsNotRestored)
{
    static Window* theWindow;
    theWindow = window();
    run("http://a.example/parent");
    createChild("child");
    listener().refuseWindows = true;
    native_ApplicationManagerSetListener([](int, void*) {
        Application* const parent = theWindow->getRunningApplication();
        theWindow->shutdownApplication(parent, true, false, true);
    });
    tickAll();
    EXPECT_EQ(running(), nullptr);
    EXPECT_EQ(window()->getApplications().size(), 0u);
}

TEST_F(WindowPending, AParentWhoseEndThePluginBreaksOffIsNotRestored)
{
    static Application* parent;
    run("http://a.example/parent");
    parent = running();
    createChild("child");
    tickAll();
    native_ApplicationManagerSetAppDestroyedListener(
        [](void*) { throw std::runtime_error("the plugin's"); });
    native_ApplicationManagerSetListener([](int, void*) {
        EXPECT_THROW(parent->getWindow()->shutdownApplication(parent, true, false, true),
                     std::runtime_error);
        native_ApplicationManagerSetAppDestroyedListener(nullptr);
    });
    failLoading(2);
    tickAll();
    EXPECT_TRUE(parent->isEnding());
    EXPECT_TRUE(window()->applicationExists(parent));
    EXPECT_EQ(runningURL(), "http://a.example/child");
    shutdown();
    EXPECT_TRUE(listener().windowsInUse.empty()) << "both go with their window";
}

TEST_F(WindowPending, AnUnknownBrowserWindowHasNoApplicationEvenWhenAskedTwice)
{
    EXPECT_EQ(window()->getApplication(browser().window(5)), nullptr);
    EXPECT_EQ(window()->getApplication(browser().window(5)), nullptr);
    EXPECT_EQ(window()->getApplication(nullptr), nullptr);
    EXPECT_FALSE(window()->applicationExists(nullptr));
}

TEST_F(WindowPending, ABrowserWindowThatIsGivenOnceMoreEndsWhoWasShownThere)
{
    run("http://a.example/parent");
    createChild("child");
    listener().nextWindows = {1};
    forget();
    tickAll();
    Application* const child = running();
    EXPECT_EQ(window()->getApplication(browser().window(1)), child);
    EXPECT_EQ(child->getParent(), nullptr);
    EXPECT_EQ(window()->getApplications(), std::vector<Application*>({child}));
    EXPECT_EQ(journal(),
              Lines({"REQUEST w1", "STOP 0.0 independent reactivate=0 http://a.example/parent",
                     "ve_clear_history(w1)", "ve_open_url(w1, http://a.example/child)"}));

    finishLoading();
    forget();
    window()->shutdownApplication(child, true, false, true);
    EXPECT_FALSE(vesta_hbbtv_is_hbbtv_window(browser().window(1)));
    EXPECT_EQ(journal(),
              Lines({"STOP 0.0 independent reactivate=0 http://a.example/child", "RELEASE w1"}));
}

TEST_F(WindowPending, TheEndOfOneThatLostItsBrowserWindowLeavesTheOthersEntry)
{
    run("http://a.example/former");
    Application* const former = running();
    auto* const latter = new Application(window(), HbbTVURL("http://a.example/latter"), nullptr);
    latter->setTavoWindow(browser().window(1));
    window()->registerApplication(latter);
    EXPECT_FALSE(window()->shutdownApplication(former, true, false, true));
    forget();
    delete former;
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(manager()->getWindow(browser().window(1)), window());
    EXPECT_EQ(window()->getApplication(browser().window(1)), latter);
}

TEST_F(WindowPending, AnotherWindowMayTakeOverABrowserWindow)
{
    run("http://a.example/i");
    Window* const other = createWindow("B");
    listener().nextWindows = {1};
    other->startBroadcastIndependentApplication(HbbTVURL("http://b.example/"));
    tickAll();
    EXPECT_EQ(manager()->getWindow(browser().window(1)), other);
    vesta_hbbtv_release_window(window());
    EXPECT_EQ(manager()->getWindow(browser().window(1)), other);
    vesta_hbbtv_release_window(other);
    EXPECT_EQ(manager()->getWindow(browser().window(1)), nullptr);
}

TEST_F(WindowPending, OneOfAnotherWindowIsLeftAlone)
{
    run("http://a.example/i");
    Window* const other = createWindow("B");
    Application* const pending =
        other->startBroadcastIndependentApplication(HbbTVURL("http://b.example/"));
    log().clear();
    window()->startPendingApplication(pending);
    EXPECT_EQ(takeLog(), Lines({noLongerPending}));
    tickAll();
    EXPECT_EQ(other->getRunningApplication(), pending);
}

TEST_F(WindowPending, TheStartOfADestroyedOneMayGoWithItsQueue)
{
    pend("http://a.example/i");
    window()->destroyPendingApplication();
    ConfigurationManager::getInstance()->init(browser().handle());
    EXPECT_TRUE(window()->getApplications().empty());
}

TEST_F(WindowPending, AWindowMayBeToldToAwaitNone)
{
    Application* const superseded = pend("http://a.example/i");
    window()->setPendingApplication(nullptr);
    EXPECT_FALSE(window()->isPendingApplication(superseded));
    tickAll();
    EXPECT_TRUE(window()->getApplications().empty());
}

TEST_F(WindowPending, ARunningApplicationThatIsSetAgainChangesNoState)
{
    startApplication(httpApplication(1, 2));
    window()->setAIT(broadcastTable(AITSection().version(1).add(httpApplication(1, 3))));
    window()->activateAIT();
    ASSERT_EQ(window()->getState(), Window::TEARDOWN);
    window()->setRunningApplication(running());
    EXPECT_EQ(window()->getState(), Window::TEARDOWN);
}

TEST_F(WindowPending, AForbiddenApplicationRunsAgainWhenTheChildThatCameBetweenGetsNoBrowserWindow)
{
    startApplication(httpApplication(1, 2));
    Application* const parent = running();
    window()->setAIT(broadcastTable(AITSection().version(1).add(httpApplication(1, 3))));
    window()->activateAIT();
    ASSERT_EQ(window()->getState(), Window::TEARDOWN);
    createChild("child");
    listener().refuseWindows = true;
    tickAll();
    EXPECT_EQ(running(), parent);
    EXPECT_EQ(window()->getState(), Window::RUNNING);
    EXPECT_EQ(window()->getApplications(), std::vector<Application*>({parent}));
}

TEST_F(WindowPending, AForbiddenApplicationRunsAgainWhenTheQueueGoesWithTheStartOfItsSuccessor)
{
    startApplication(httpApplication(1, 2));
    Application* const forbidden = running();
    window()->setAIT(broadcastTable(AITSection().version(1).add(httpApplication(1, 3))));
    window()->activateAIT();
    ASSERT_EQ(window()->getState(), Window::TEARDOWN);
    vesta_hbbtv_init(browser().handle());
    EXPECT_EQ(window()->getPendingApplication(), nullptr);
    EXPECT_EQ(running(), forbidden);
    EXPECT_EQ(window()->getState(), Window::RUNNING);
}

int ends;

TEST_F(WindowPending, NothingIsKeptOfManyThatShareOneBrowserWindow)
{
    ends = 0;
    native_ApplicationManagerSetAppDestroyedListener([](void*) { ++ends; });
    run("http://a.example/0");
    const int children = 1000;
    for (int child = 0; child < children; ++child) {
        createChild("child");
        listener().nextWindows = {1};
        tickAll();
        finishLoading();
        ASSERT_EQ(window()->getApplications().size(), 1u);
    }
    EXPECT_EQ(ends, children);
    forget();
    window()->terminateRunningApplication(true);
    EXPECT_EQ(journal(),
              Lines({"STOP 0.0 independent reactivate=0 http://a.example/child", "RELEASE w1"}));
}

TEST_F(WindowPending, AListenerMayEndTheNewcomerWhenItHearsThatTheFormerOneEnded)
{
    run("http://a.example/parent");
    createChild("child");
    listener().nextWindows = {1};
    listener().onNotification[HBBTV_NOTIFICATION_STOP_APPLICATION] = [this](auto*) {
        window()->terminateRunningApplication(true);
    };
    tickAll();
    EXPECT_EQ(running(), nullptr);
    EXPECT_TRUE(window()->getApplications().empty());
    EXPECT_TRUE(listener().windowsInUse.empty());
}

TEST_F(WindowPending, AListenerMayReleaseTheNewcomersWindowWhenItHearsThatTheFormerOneEnded)
{
    run("http://a.example/parent");
    createChild("child");
    listener().nextWindows = {1};
    listener().onNotification[HBBTV_NOTIFICATION_STOP_APPLICATION] = [this](auto*) {
        listener().onNotification.clear();
        vesta_hbbtv_release_window(window());
    };
    forget();
    tickAll();
    EXPECT_EQ(journal(),
              Lines({"REQUEST w1", "STOP 0.0 independent reactivate=0 http://a.example/parent",
                     "STOP 0.0 independent reactivate=0 http://a.example/child", "RELEASE w1"}))
        << "no page is opened";
    EXPECT_FALSE(Window::exists(window()));
    EXPECT_TRUE(listener().windowsInUse.empty());
}

TEST_F(WindowPending, ABrowserWindowIsGivenBackOnceWhateverTheBrowserDoesWhenItOpensThePage)
{
    const std::function<void()> endings[] = {
        [this] { window()->terminateRunningApplication(true); },
        [] { vesta_hbbtv_shutdown(); },
    };
    for (const auto& end : endings) {
        run("http://a.example/parent");
        createChild("child");
        listener().nextWindows = {1};
        browser().whileIn["ve_open_url"] = [&end] { end(); };
        forget();
        tickAll();
        browser().whileIn.clear();
        const Lines lines = journal();
        EXPECT_EQ(std::count(lines.begin(), lines.end(), "RELEASE w1"), 1);
        EXPECT_EQ(std::count(lines.begin(), lines.end(),
                             "STOP 0.0 independent reactivate=0 http://a.example/parent"),
                  1);
        EXPECT_EQ(std::count(lines.begin(), lines.end(),
                             "STOP 0.0 independent reactivate=0 http://a.example/child"),
                  1);
    }
}

TEST_F(WindowPending, AStartThatIsDeclinedLeavesTheOneThatWasStartedMeanwhileAlone)
{
    run("http://a.example/parent");
    Application* const parent = running();
    createChild("declined");
    bool isFirst = true;
    listener().onNotification[HBBTV_NOTIFICATION_REQUEST_WINDOW] = [&](auto* data) {
        if (!std::exchange(isFirst, false))
            return;
        void* id = nullptr;
        native_ApplicationCreateApplication("last", 1, idOf(parent), &id);
        tickAll();
        data->window.success = 0;
    };
    tickAll();
    EXPECT_EQ(runningURL(), "http://a.example/last");
    EXPECT_EQ(running()->getParent(), parent);
    EXPECT_EQ(window()->getApplications().size(), 2u);
}

TEST_F(WindowPending, ThousandsThatWereSupersededEndWithoutRecursion)
{
    run("http://a.example/parent");
    const int children = 5000;
    for (int child = 0; child < children; ++child)
        createChild("child");
    vesta_hbbtv_release_window(window());
    EXPECT_TRUE(listener().windowsInUse.empty());
}

TEST_F(WindowPending, AParentThatIsEndingIsNotRestored)
{
    run("http://a.example/parent");
    createChild("child");
    tickAll();
    static bool isFirst;
    isFirst = true;
    native_ApplicationManagerSetAppDestroyedListener([](void*) {
        if (!std::exchange(isFirst, false))
            return;
        TavoVestaEventData data = {};
        vesta_hbbtv_handle_notification(browser().handle(), browser().window(2),
                                        TAVO_VESTA_EVT_LOADING_FAILED, &data, nullptr);
    });
    window()->shutdownApplication(window()->getApplication(browser().window(1)), true, false, true);
    EXPECT_EQ(runningURL(), "http://a.example/child");
    tickAll();
    EXPECT_EQ(runningURL(), "http://a.example/child");
}

}  // namespace
