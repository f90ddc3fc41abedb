// Starts during which a listener, the browser or the scripts' plugin does something to the library.

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>

#include "foundation/configuration_manager.h"
#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "tests/support/library_test.h"
#include "tests/support/log_texts.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

const char* const notCreated =
    "DEBUG Window: createApplication(): Failed to create new application.";

std::function<void()> onLoadError;

class InterruptedStarts : public LibraryTest {
protected:
    InterruptedStarts()
    {
        native_ApplicationManagerSetListener([](int, void*) { onLoadError(); });
    }

    ~InterruptedStarts() override { onLoadError = nullptr; }

    static Application* pend(Window* window, const std::string& url)
    {
        return window->startBroadcastIndependentApplication(HbbTVURL(url));
    }

    /// Starts the only entry of a table that lives as long as the test.
    Application* startEntry(Window* window)
    {
        table_ = broadcastTable(AITSection().add(httpApplication(1, 2)));
        return window->startApplication(table_->getAITApplication(0u), HbbTVURL(""), nullptr);
    }

    /// An application creates another one, which is pending then.
    static void createChild(Application* parent, const std::string& url)
    {
        void* id = nullptr;
        EXPECT_EQ(native_ApplicationCreateApplication(url.c_str(), 1, idOf(parent), &id), 0);
    }

    /// Starts an application by its URL, with nothing to interrupt it.
    Application* run(const std::string& url)
    {
        pend(window(), url);
        tickAll();
        log().clear();
        forgetJournal();
        return running();
    }

    /// Does something in the first of these notifications only.
    static void once(HBBTV_NotificationType type, const std::function<void()>& action)
    {
        listener().onNotification[type] = [action, done = std::make_shared<bool>(false)](auto*) {
            if (!std::exchange(*done, true))
                action();
        };
    }

    ref_ptr<AIT> table_;
};

TEST_F(InterruptedStarts, AReleasedWindowAsksForNoStart)
{
    Window* const released = createWindow("B");
    const Window::Hold hold(released);
    vesta_hbbtv_release_window(released);
    EXPECT_EQ(pend(released, "http://a.example/"), nullptr);
    EXPECT_EQ(journal(), Lines());
}

TEST_F(InterruptedStarts, AWindowThatIsReleasedWhileTheStartIsAskedForHasNoApplication)
{
    for (const int answer : {0, 1, 2}) {
        Window* const released = createWindow("B");
        listener().startAction = answer;
        once(HBBTV_NOTIFICATION_START_APPLICATION, [&] { vesta_hbbtv_release_window(released); });
        EXPECT_EQ(startEntry(released), nullptr);
        EXPECT_EQ(journal(), Lines({"START 1.2 related autostart http://a.example/index.html @B"}));
        EXPECT_EQ(log().count(blocking), 0);
    }
}

TEST_F(InterruptedStarts, ATableThatDiesWhileTheBrowserResolvesItsURLStartsNothing)
{
    run("http://a.example/dir/i");
    auto table = std::make_unique<AIT>(1, 2, 3, nullptr);  // counted by nobody
    table->parse(AITSection().add(httpApplication(1, 2)).exactBlock().get());
    browser().whileIn["ve_resolve_relative_url"] = [&] { table.reset(); };
    EXPECT_EQ(window()->createApplication(HbbTVURL("next"), table->getAITApplication(0u)), nullptr);
    EXPECT_EQ(table, nullptr);
    EXPECT_EQ(journal(), Lines());
}

TEST_F(InterruptedStarts, TheAnswerCountsAlsoWhenTheTableDiesWhileListenersAreAsked)
{
    run("http://a.example/i");
    auto table = std::make_unique<AIT>(1, 2, 3, nullptr);  // counted by nobody
    table->parse(AITSection().add(httpApplication(1, 2)).exactBlock().get());
    listener().startAction = 1;
    listener().onNotification[HBBTV_NOTIFICATION_START_APPLICATION] = [&](auto*) { table.reset(); };
    EXPECT_EQ(window()->createApplication(HbbTVURL("next"), table->getAITApplication(0u)), nullptr);
    EXPECT_EQ(log().count(blocking), 1);
    tickAll();
    EXPECT_EQ(running(), nullptr);
}

TEST_F(InterruptedStarts, AWindowThatIsReleasedWhileItsApplicationIsMadeHasNone)
{
    Window* const released = createWindow("B");
    pend(released, "http://a.example/pending");
    log().clear();
    forgetJournal();
    once(HBBTV_NOTIFICATION_BROADCAST_RELATED_CHANGE,
         [&] { vesta_hbbtv_release_window(released); });
    EXPECT_EQ(startEntry(released), nullptr);
    EXPECT_EQ(log().count(notCreated), 1);
    EXPECT_EQ(log().count("WARN Window: Pending application added when pending already existed."),
              0);
    EXPECT_EQ(journal(), Lines({
                             "START 1.2 related autostart http://a.example/index.html @B",
                             "CHANGE 0.0 related trusted=1 http://a.example/index.html @B",
                         }));
}

TEST_F(InterruptedStarts, AnApplicationThatIsMadeWhileTheQueueGoesIsFreed)
{
    once(HBBTV_NOTIFICATION_BROADCAST_RELATED_CHANGE,
         [] { delete ConfigurationManager::getInstance(); });
    EXPECT_EQ(startEntry(window()), nullptr);
    EXPECT_EQ(log().count(notCreated), 1);
    EXPECT_EQ(window()->getPendingApplication(), nullptr);
    EXPECT_TRUE(window()->getApplications().empty());
}

TEST_F(InterruptedStarts, TheOneThatIsStartedWhileABrowserWindowIsAskedForStays)
{
    startEntry(window());
    once(HBBTV_NOTIFICATION_REQUEST_WINDOW, [&] {
        pend(window(), "http://a.example/last");
        tickAll();
    });
    forgetJournal();
    tickAll();
    EXPECT_EQ(runningURL(), "http://a.example/last");
    EXPECT_EQ(window()->getApplications(), std::vector<Application*>({running()}));
    EXPECT_EQ(journal(), Lines({"REQUEST w1", "START 0.0 independent http://a.example/last",
                                "REQUEST w2", "ve_clear_history(w2)",
                                "ve_open_url(w2, http://a.example/last)", "RELEASE w1"}));
}

TEST_F(InterruptedStarts, TheOneThatIsStartedWhileTheFormerMakesRoomStays)
{
    run("http://a.example/former");
    pend(window(), "http://a.example/next");
    once(HBBTV_NOTIFICATION_RELEASE_WINDOW, [&] {
        pend(window(), "http://a.example/last");
        tickAll();
    });
    forgetJournal();
    tickAll();
    EXPECT_EQ(runningURL(), "http://a.example/last");
    EXPECT_EQ(window()->getApplications(), std::vector<Application*>({running()}));
    const Lines lines = journal();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "REQUEST w1"), 1);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "REQUEST w2"), 0);
}

TEST_F(InterruptedStarts, TheStopOfAnApplicationThatWasStartedInAReleasedWindowIsReported)
{
    Window* const released = createWindow("B");
    pend(released, "http://a.example/first");
    once(HBBTV_NOTIFICATION_REQUEST_WINDOW, [&] {
        pend(released, "http://a.example/second");
        tickAll();
        forgetJournal();
        vesta_hbbtv_release_window(released);
    });
    tickAll();
    EXPECT_EQ(journal(),
              Lines({"RELEASE w1", "STOP 0.0 independent reactivate=0 http://a.example/second @B",
                     "RELEASE w2"}));
    EXPECT_EQ(log().count("LOG Window: Shutting down existing application."), 0);
}

TEST_F(InterruptedStarts, AChildGivesWayToTheSiblingThatIsStartedMeanwhile)
{
    Application* const parent = run("http://a.example/parent");
    createChild(parent, "child");
    once(HBBTV_NOTIFICATION_REQUEST_WINDOW, [&] {
        createChild(parent, "sibling");
        tickAll();
    });
    tickAll();
    EXPECT_EQ(runningURL(), "http://a.example/sibling");
    EXPECT_EQ(running()->getParent(), parent);
    EXPECT_EQ(window()->getApplications().size(), 2u);
}

TEST_F(InterruptedStarts, AChildRunsAlthoughItsParentEndsMeanwhile)
{
    Application* const parent = run("http://a.example/parent");
    createChild(parent, "child");
    once(HBBTV_NOTIFICATION_REQUEST_WINDOW,
         [&] { window()->shutdownApplication(parent, true, false, true); });
    tickAll();
    EXPECT_EQ(runningURL(), "http://a.example/child");
    EXPECT_EQ(running()->getParent(), nullptr);
    EXPECT_EQ(window()->getApplications().size(), 1u);
}

TEST_F(InterruptedStarts, AChildThatThePluginStartsWhenToldOfTheErrorStaysInFrontOfTheParent)
{
    Application* const parent = run("http://a.example/parent");
    createChild(parent, "failing");
    listener().refuseWindows = true;
    onLoadError = [&] {
        listener().refuseWindows = false;
        createChild(parent, "instead");
        tickAll();
    };
    tickAll();
    EXPECT_EQ(runningURL(), "http://a.example/instead");
    EXPECT_EQ(running()->getParent(), parent);
    EXPECT_EQ(window()->getApplications().size(), 2u);
}

TEST_F(InterruptedStarts, AnApplicationThatEndsWhileItsHistoryIsClearedOpensNoPage)
{
    pend(window(), "http://a.example/i");
    forgetJournal();
    browser().whileIn["ve_clear_history"] = [&] { window()->terminateRunningApplication(true); };
    tickAll();
    EXPECT_EQ(journal(),
              Lines({"REQUEST w1", "ve_clear_history(w1)",
                     "STOP 0.0 independent reactivate=0 http://a.example/i", "RELEASE w1"}));
}

TEST_F(InterruptedStarts, AWindowThatIsReleasedWhileTheBrowserResolvesAURLAsksForNoStart)
{
    Window* const released = createWindow("B");
    pend(released, "http://a.example/dir/i");
    tickAll();
    forgetJournal();
    browser().whileIn["ve_resolve_relative_url"] = [&] { vesta_hbbtv_release_window(released); };
    EXPECT_EQ(pend(released, "next"), nullptr);
    const Lines lines = journal();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "START 0.0 independent http://a.example/next"),
              0);
}

std::vector<TAVO_VestaWindow**> slots;
std::vector<TAVO_VestaWindow*> shown;

HBBTV_STATUS watchSlots(HBBTV_NotificationType type, HBBTV_NotificationData* data)
{
    if (type == HBBTV_NOTIFICATION_SHOW_WINDOW || type == HBBTV_NOTIFICATION_HIDE_WINDOW) {
        slots.push_back(data->window.tavoWindow);
        shown.push_back(*data->window.tavoWindow);
    }
    return HBBTV_STATUS_OK;
}

TEST_F(InterruptedStarts, EveryListenerSeesTheSameSlotAlsoWhenOneOfThemEndsTheApplication)
{
    slots.clear();
    shown.clear();
    vesta_hbbtv_add_notification_listener(watchSlots);
    for (const int type : {HBBTV_NOTIFICATION_SHOW_WINDOW, HBBTV_NOTIFICATION_HIDE_WINDOW}) {
        Application* const application = run("http://a.example/i");
        listener().onNotification[type] = [this](auto* data) {
            slots.push_back(data->window.tavoWindow);
            shown.push_back(*data->window.tavoWindow);
            window()->terminateRunningApplication(true);
        };
        if (type == HBBTV_NOTIFICATION_SHOW_WINDOW)
            application->show();
        else
            application->hide();
        listener().onNotification.clear();
    }
    ASSERT_EQ(slots.size(), 4u);
    EXPECT_EQ(slots[0], slots[1]);
    EXPECT_EQ(slots[2], slots[3]);
    EXPECT_EQ(shown, std::vector<TAVO_VestaWindow*>(4, browser().window(1)));
}

}  // namespace
