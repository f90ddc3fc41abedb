// How an application of a window ends, and how a window does.

#include <utility>

#include "foundation/configuration_manager.h"
#include "foundation/threadsafe_event_queue.h"
#include "integration/application_events.h"
#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "oipf/notifications/notification_manager.h"
#include "tests/support/counted_table.h"
#include "tests/support/library_test.h"
#include "tests/support/log_texts.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

const char* const terminating = "DEBUG Window: terminateRunningApplication";
const char* const reactivating = "LOG Window: Reactivating AIT...";
const char* const stopOfIndex = "STOP 1.2 related reactivate=0 http://a.example/index.html";

class WindowShutdown : public LibraryTest {
protected:
    WindowShutdown()
    {
        native_ApplicationManagerSetAppDestroyedListener([](void* appId) {
            Journal::instance().write("destroyed ", reinterpret_cast<uintptr_t>(appId));
        });
    }

    void startByURL(const std::string& url)
    {
        window()->startBroadcastIndependentApplication(HbbTVURL(url));
        tickAll();
        forget();
    }

    void startChild(const std::string& url)
    {
        void* id = nullptr;
        native_ApplicationCreateApplication(url.c_str(), 1, idOf(running()), &id);
        tickAll();
        forget();
    }

    bool shutdownNow(Application* application, bool reactivate = false, bool notify = true)
    {
        return window()->shutdownApplication(application, true, reactivate, notify);
    }

    void forget()
    {
        log().clear();
        forgetJournal();
    }
};

TEST_F(WindowShutdown, NoOrAForeignApplicationIsRefusedSilently)
{
    Application foreign(window(), HbbTVURL("http://a.example/"), nullptr);
    EXPECT_FALSE(shutdownNow(nullptr));
    EXPECT_FALSE(shutdownNow(&foreign));
    EXPECT_FALSE(window()->shutdownApplication(&foreign, false, true, true));
    EXPECT_EQ(takeLog(), Lines({shutting, shutting, shutting}));
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(tickAll(), 0);
}

TEST_F(WindowShutdown, ThePendingApplicationIsRefusedToo)
{
    window()->startBroadcastIndependentApplication(HbbTVURL("http://a.example/"));
    EXPECT_FALSE(shutdownNow(window()->getPendingApplication()));
    EXPECT_NE(window()->getPendingApplication(), nullptr);
}

TEST_F(WindowShutdown, AtOnceItIsUnregisteredToldAndReleasedInThisOrder)
{
    startApplication(httpApplication(1, 2));
    const unsigned long id = running()->getID();
    listener().onNotification[HBBTV_NOTIFICATION_STOP_APPLICATION] = [&](auto*) {
        EXPECT_EQ(manager()->getApplication(id), nullptr);
        EXPECT_EQ(running(), nullptr);
        EXPECT_EQ(window()->getState(), Window::IDLE);
        EXPECT_EQ(window()->getApplication(browser().window(1)), nullptr);
        EXPECT_TRUE(vesta_hbbtv_is_hbbtv_window(browser().window(1)));
    };
    EXPECT_TRUE(shutdownNow(running()));
    EXPECT_EQ(takeLog(), Lines({shutting}));
    EXPECT_EQ(journal(), Lines({"destroyed 1", stopOfIndex, "RELEASE w1"}));
    EXPECT_FALSE(vesta_hbbtv_is_hbbtv_window(browser().window(1)));
    EXPECT_EQ(window()->getApplications().size(), 0u);
}

TEST_F(WindowShutdown, ItIsNotToldWhenNobodyIsToBeNotified)
{
    startApplication(httpApplication(1, 2));
    EXPECT_TRUE(shutdownNow(running(), true, false));
    EXPECT_EQ(takeLog(), Lines({shutting, reactivating, starting}));
}

TEST_F(WindowShutdown, LaterNothingChangesUntilTheQueuedStopRuns)
{
    startApplication(httpApplication(1, 2));
    EXPECT_TRUE(window()->shutdownApplication(running(), false, false, true));
    EXPECT_EQ(takeLog(), Lines({shutting, delayed}));
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(window()->getState(), Window::RUNNING);
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(takeLog(), Lines({shutting}));
    EXPECT_EQ(journal(), Lines({"destroyed 1", stopOfIndex, "RELEASE w1"}));
}

TEST_F(WindowShutdown, TheQueuedStopKeepsItsFlags)
{
    startApplication(httpApplication(1, 2));
    window()->shutdownApplication(running(), false, true, false);
    tickAll();
    EXPECT_EQ(journal().front(), "destroyed 1");
    EXPECT_EQ(log().count(reactivating), 1);
    EXPECT_EQ(runningURL(), "http://a.example/index.html");
}

TEST_F(WindowShutdown, TwoQueuedStopsOfOneApplicationEndItOnce)
{
    startApplication(httpApplication(1, 2));
    window()->shutdownApplication(running(), false, false, true);
    window()->shutdownApplication(running(), false, false, true);
    EXPECT_EQ(tickAll(), 2);
    EXPECT_EQ(journal(), Lines({"destroyed 1", stopOfIndex, "RELEASE w1"}));
}

TEST_F(WindowShutdown, WithoutAQueueItCannotBeQueued)
{
    startApplication(httpApplication(1, 2));
    delete ConfigurationManager::getInstance();
    EXPECT_FALSE(window()->shutdownApplication(running(), false, false, true));
    EXPECT_EQ(ConfigurationManager::instance, nullptr);
    ConfigurationManager::getInstance();
    EXPECT_FALSE(window()->shutdownApplication(running(), false, false, true));
    EXPECT_NE(running(), nullptr);
}

TEST_F(WindowShutdown, WithoutListenersRegistryItEndsUnreported)
{
    startApplication(httpApplication(1, 2));
    NotificationManager::getInstance()->shutdown();
    EXPECT_TRUE(shutdownNow(running()));
    EXPECT_EQ(journal(), Lines({"destroyed 1"}));
    listener().windowsInUse.clear();  // nobody was there to be told
}

TEST_F(WindowShutdown, AnEndThatThePluginAsksForMeanwhileHappensOnce)
{
    startApplication(httpApplication(1, 2));
    native_ApplicationManagerSetAppDestroyedListener([](void*) {
        Journal::instance().write("destroyed");
        manager()->getBroadcastWindow()->terminateRunningApplication(true);
    });
    EXPECT_TRUE(shutdownNow(running()));
    EXPECT_EQ(journal(), Lines({"destroyed", stopOfIndex, "RELEASE w1"}));
    EXPECT_EQ(window()->getState(), Window::IDLE);
}

TEST_F(WindowShutdown, AChildsEndThatAListenerAsksForAtItsParentsHappensOnce)
{
    startByURL("http://a.example/parent");
    startChild("child");
    listener().onNotification[HBBTV_NOTIFICATION_STOP_APPLICATION] = [&](auto*) {
        window()->terminateRunningApplication(true);
    };
    EXPECT_TRUE(shutdownNow(running()));
    EXPECT_EQ(journal(),
              Lines({"destroyed 1", "STOP 0.0 independent reactivate=0 http://a.example/parent",
                     "RELEASE w1", "destroyed 2",
                     "STOP 0.0 independent reactivate=0 http://a.example/child", "RELEASE w2"}));
}

TEST_F(WindowShutdown, AParentEndsBeforeItsChild)
{
    startByURL("http://a.example/parent");
    startChild("child");
    EXPECT_TRUE(shutdownNow(running(), false, false));
    EXPECT_EQ(takeLog(), Lines({shutting, shutting}));
    EXPECT_EQ(journal(),
              Lines({"destroyed 1", "STOP 0.0 independent reactivate=0 http://a.example/parent",
                     "RELEASE w1", "destroyed 2", "RELEASE w2"}));
}

// A page that starts a child before it has loaded may make a line of as many as get a browser
// window.
TEST_F(WindowShutdown, AncestorsEndFromTheEldest)
{
    const size_t children = 60;
    startByURL("http://a.example/parent");
    for (size_t child = 0; child < children; ++child)
        startChild("child");
    EXPECT_EQ(window()->getApplications().size(), children + 1);
    EXPECT_TRUE(shutdownNow(running()));
    EXPECT_EQ(window()->getApplications().size(), 0u);
    const Lines ends = journal();
    ASSERT_EQ(ends.size(),
              3 * (children + 1));  // the plugin hears of it, the listener, and a release
    for (size_t child = 0; child <= children; ++child)
        EXPECT_EQ(ends[3 * child], "destroyed " + std::to_string(child + 1));
}

TEST_F(WindowShutdown, AParentThatEndsAloneIsForgottenByItsChild)
{
    startByURL("http://a.example/parent");
    Application* const parent = running();
    startChild("child");
    EXPECT_TRUE(shutdownNow(parent));
    EXPECT_EQ(running()->getParent(), nullptr);
    EXPECT_EQ(window()->getState(), Window::RUNNING);
}

TEST_F(WindowShutdown, TheServicesApplicationComesBackAfterAnXMLOnesEnd)
{
    sendAIT(AITSection().add(httpApplication(1, 2)));
    sendXMLAIT({httpApplication(3, 4, "xml")});
    tickAll();
    ASSERT_EQ(runningURL(), "http://a.example/xml");
    running()->setBroadcastRelated(true);
    forget();
    EXPECT_TRUE(shutdownNow(running(), true));
    EXPECT_EQ(takeLog(), Lines({shutting, reactivating, starting}));
    EXPECT_FALSE(window()->getAIT()->isXMLBased());
    tickAll();
    EXPECT_EQ(runningURL(), "http://a.example/index.html");
}

TEST_F(WindowShutdown, NothingIsReactivatedForAnIndependentApplication)
{
    startApplication(httpApplication(1, 2));
    running()->setBroadcastRelated(false);
    forget();
    EXPECT_TRUE(shutdownNow(running(), true));
    EXPECT_EQ(journal(),
              Lines({"destroyed 1", "STOP 1.2 independent reactivate=0 http://a.example/index.html",
                     "RELEASE w1"}));
    EXPECT_EQ(takeLog(), Lines({shutting}));
}

TEST_F(WindowShutdown, NothingIsReactivatedWhileAnotherIsPending)
{
    startApplication(httpApplication(1, 2));
    window()->startBroadcastIndependentApplication(HbbTVURL("http://b.example/"));
    forget();
    EXPECT_TRUE(shutdownNow(running(), true));
    EXPECT_EQ(journal(), Lines({"destroyed 1", stopOfIndex, "RELEASE w1"}));
}

TEST_F(WindowShutdown, NothingIsReactivatedWhileAnotherRuns)
{
    startApplication(httpApplication(1, 2));
    Application* const parent = running();
    startChild("http://a.example/child");
    EXPECT_TRUE(shutdownNow(parent, true));
    EXPECT_EQ(journal(), Lines({"destroyed 1", stopOfIndex, "RELEASE w1"}));
}

TEST_F(WindowShutdown, AListenersVetoKeepsTheWindowEmpty)
{
    startApplication(httpApplication(1, 2));
    listener().reactivateAIT = 0;
    EXPECT_TRUE(shutdownNow(running(), true));
    EXPECT_EQ(journal(),
              Lines({"destroyed 1", "STOP 1.2 related reactivate=1 http://a.example/index.html",
                     "RELEASE w1"}));
    EXPECT_EQ(takeLog(), Lines({shutting}));
    EXPECT_EQ(window()->getPendingApplication(), nullptr);
}

TEST_F(WindowShutdown, AListenerMayAskForReactivationItself)
{
    for (const int value : {1, -1, 2}) {
        startApplication(httpApplication(1, 2));
        listener().reactivateAIT = value;
        EXPECT_TRUE(shutdownNow(running(), false));
        EXPECT_EQ(takeLog(), Lines({shutting, reactivating, starting}));
        tickAll();
        listener().reactivateAIT = 0;
        shutdownNow(running());
        window()->setAIT(ref_ptr<AIT>());
    }
}

TEST_F(WindowShutdown, ReactivationComesAfterTheBrowserWindowWasReleased)
{
    startApplication(httpApplication(1, 2));
    shutdownNow(running(), true);
    EXPECT_EQ(journal(), Lines({
                             "destroyed 1",
                             "STOP 1.2 related reactivate=1 http://a.example/index.html",
                             "RELEASE w1",
                             "START 1.2 related autostart http://a.example/index.html",
                             "CHANGE 0.0 related trusted=1 http://a.example/index.html",
                         }));
}

TEST_F(WindowShutdown, TerminatingHandsItsArgumentOnAsTheOneForAtOnce)
{
    startApplication(httpApplication(1, 2));
    window()->terminateRunningApplication(false);
    EXPECT_EQ(takeLog(), Lines({terminating, shutting, delayed}));
    window()->terminateRunningApplication(true);
    EXPECT_EQ(takeLog(), Lines({terminating, shutting}));  // nothing is reactivated
    EXPECT_EQ(journal(), Lines({"destroyed 1", stopOfIndex, "RELEASE w1"}));
    EXPECT_EQ(tickAll(), 1);  // the queued stop finds nothing
    EXPECT_EQ(takeLog(), Lines({shutting}));
    window()->terminateRunningApplication(true);
    EXPECT_EQ(takeLog(), Lines({terminating}));
    EXPECT_EQ(journal(), Lines());
}

TEST_F(WindowShutdown, TerminatingWorksInTeardownToo)
{
    startApplication(httpApplication(1, 2));
    window()->setAIT(broadcastTable(AITSection().version(1).add(httpApplication(1, 3))));
    window()->activateAIT();
    ASSERT_EQ(window()->getState(), Window::TEARDOWN);
    window()->terminateRunningApplication(true);
    EXPECT_EQ(window()->getState(), Window::IDLE);
    tickAll();
    EXPECT_EQ(window()->getState(), Window::RUNNING);
}

TEST_F(WindowShutdown, AWindowsEndStopsTheRunningAndFreesThePendingApplication)
{
    startApplication(httpApplication(1, 2));
    window()->startBroadcastIndependentApplication(HbbTVURL("http://b.example/"));
    forget();
    vesta_hbbtv_release_window(window());
    EXPECT_EQ(takeLog(), Lines({terminating, shutting}));
    EXPECT_EQ(journal(), Lines({"destroyed 1", stopOfIndex, "RELEASE w1"}));
}

TEST_F(WindowShutdown, AWindowsEndReactivatesNothingWhateverAListenerSays)
{
    startApplication(httpApplication(1, 2));
    listener().reactivateAIT = 1;
    vesta_hbbtv_release_window(window());
    EXPECT_EQ(journal(), Lines({"destroyed 1", stopOfIndex, "RELEASE w1"}));
    EXPECT_EQ(takeLog(), Lines({terminating, shutting}));
    EXPECT_EQ(tickAll(), 0);
}

TEST_F(WindowShutdown, AWindowsEndReleasesItsTables)
{
    int alive = 0;
    window()->setAIT(ref_ptr<AIT>(new CountedTable(alive)));
    window()->setAIT(ref_ptr<AIT>(new CountedTable(alive)));
    window()->setAssemblyAIT(new CountedTable(alive));
    EXPECT_EQ(alive, 3);
    vesta_hbbtv_release_window(window());
    EXPECT_EQ(alive, 0);
}

TEST_F(WindowShutdown, ThePluginIsToldBeforeTheWindowForgetsTheApplication)
{
    startApplication(httpApplication(1, 2));
    native_ApplicationManagerSetAppDestroyedListener([](void*) {
        Window* const window = manager()->getBroadcastWindow();
        Application* const ending = window->getApplication(browser().window(1));
        Journal::instance().write(ending ? ending->getURL().getFullUrl() : "none");
        EXPECT_EQ(window->getRunningApplication(), ending);
    });
    EXPECT_TRUE(shutdownNow(running()));
    EXPECT_EQ(journal(), Lines({"http://a.example/index.html", stopOfIndex, "RELEASE w1"}));
}

TEST_F(WindowShutdown, AChildThatGoesWithAllWindowsInItsParentsEndIsToldOnce)
{
    startByURL("http://a.example/parent");
    startChild("child");
    listener().onNotification[HBBTV_NOTIFICATION_STOP_APPLICATION] = [](auto*) {
        manager()->removeAllWindows();
    };
    EXPECT_TRUE(shutdownNow(running()));
    EXPECT_EQ(journal(),
              Lines({"destroyed 1", "STOP 0.0 independent reactivate=0 http://a.example/parent",
                     "STOP 0.0 independent reactivate=0 http://a.example/child", "RELEASE w2",
                     "RELEASE w1", "destroyed 2"}));
}

TEST_F(WindowShutdown, AParentThatEndsWithItsChildBringsNothingBack)
{
    startApplication(httpApplication(1, 2));
    Application* const parent = running();
    startChild("http://a.example/child");
    Application* const child = running();
    window()->setRunningApplication(parent);  // as after the failure of another child
    EXPECT_TRUE(shutdownNow(child, true));
    EXPECT_EQ(journal(),
              Lines({"destroyed 1", stopOfIndex, "RELEASE w1", "destroyed 2",
                     "STOP 0.0 independent reactivate=0 http://a.example/child", "RELEASE w2"}));
}

TEST_F(WindowShutdown, AChildThatTakesItsSiblingsBrowserWindowMeanwhileKeepsIt)
{
    startByURL("http://a.example/parent");
    Application* const parent = running();
    startChild("child");
    static Application* front;
    front = running();
    native_ApplicationManagerSetAppDestroyedListener([](void*) {
        void* id = nullptr;
        native_ApplicationCreateApplication("grandchild", 1, idOf(front), &id);
        listener().nextWindows = {1};
        tickAll();
    });
    EXPECT_TRUE(shutdownNow(parent));
    EXPECT_EQ(runningURL(), "http://a.example/grandchild");
    EXPECT_EQ(window()->getApplication(browser().window(1)), running());
    native_ApplicationManagerSetAppDestroyedListener(nullptr);
}

TEST_F(WindowShutdown, AQueuedStopOfAForeignApplicationEndsNone)
{
    startApplication(httpApplication(1, 2));
    Application foreign(nullptr, HbbTVURL("http://a.example/"), nullptr);
    ConfigurationManager::getCurrentQueue()->add(
        new StopApplicationEvent(window(), &foreign, false, true));
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(journal(), Lines());
    EXPECT_NE(running(), nullptr);
}

TEST_F(WindowShutdown, AWindowThatGoesWithAllOthersEndsItsApplicationsOnce)
{
    startApplication(httpApplication(1, 2));
    manager()->removeAllWindows();
    EXPECT_EQ(takeLog(), Lines({terminating, shutting}));
}

TEST_F(WindowShutdown, AWindowWhoseEndRemovesAllOthersEndsItsApplicationsOnce)
{
    startApplication(httpApplication(1, 2));
    listener().onNotification[HBBTV_NOTIFICATION_STOP_APPLICATION] = [](auto*) {
        manager()->removeAllWindows();
    };
    vesta_hbbtv_release_window(window());
    EXPECT_EQ(takeLog(), Lines({terminating, shutting}));
    EXPECT_EQ(journal(), Lines({"destroyed 1", stopOfIndex, "RELEASE w1"}));
}

/// A child that nobody signalled runs in front of an application that the table does not start by
/// itself: a table that is activated again finds neither.
class EndInsideAnEnd : public WindowShutdown {
protected:
    EndInsideAnEnd()
    {
        sendAIT(AITSection().add(httpApplication(1, 2).controlCode(AITApplication::PRESENT)));
        send(E_START_APPLICATION, startRecord(window(), 1, 2));
        tickAll();
        startChild("http://a.example/child");
        child_ = running();
    }

    Application* child_ = nullptr;
};

TEST_F(EndInsideAnEnd, IsOneEndWithTheNoticeThatTheReactivationWants)
{
    listener().onNotification[HBBTV_NOTIFICATION_STOP_APPLICATION] = [](auto* data) {
        if (data->application.organisationId != 0)  // the parent's
            *data->application.reactivateAIT = 1;
    };
    EXPECT_TRUE(shutdownNow(child_, false, false));
    EXPECT_EQ(journal(),
              Lines({"destroyed 1", stopOfIndex, "RELEASE w1", "destroyed 2",
                     "STOP 0.0 independent reactivate=0 http://a.example/child", "RELEASE w2"}));
    EXPECT_EQ(tickAll(), 0);
    EXPECT_EQ(window()->getState(), Window::IDLE);
}

TEST_F(EndInsideAnEnd, GetsItsNoticeAlsoWhenThatIsAskedForBeforeTheParentIsGone)
{
    for (const bool destroyNow : {true, false}) {
        bool isInner = false;
        listener().onNotification[HBBTV_NOTIFICATION_STOP_APPLICATION] = [&](auto*) {
            if (!std::exchange(isInner, true)) {
                EXPECT_FALSE(window()->shutdownApplication(child_, destroyNow, false, true));
                EXPECT_FALSE(window()->shutdownApplication(child_, destroyNow, false, true));
            }
        };
        EXPECT_TRUE(shutdownNow(child_, false, false));
        EXPECT_EQ(journal(), Lines({"destroyed 1", stopOfIndex, "RELEASE w1", "destroyed 2",
                                    "STOP 0.0 independent reactivate=0 http://a.example/child",
                                    "RELEASE w2"}));
        EXPECT_EQ(tickAll(), 0);
        if (!destroyNow)
            break;
        listener().onNotification.clear();
        Application::next_id = 1;
        send(E_START_APPLICATION, startRecord(window(), 1, 2));
        tickAll();
        startChild("http://a.example/child");
        child_ = running();
    }
}

TEST_F(EndInsideAnEnd, StaysSilentWhenNobodyWantsANotice)
{
    bool isInner = false;
    listener().onNotification[HBBTV_NOTIFICATION_STOP_APPLICATION] = [&](auto*) {
        isInner = true;
        EXPECT_FALSE(window()->shutdownApplication(child_, true, false, false));
    };
    EXPECT_TRUE(shutdownNow(child_, false, false));
    EXPECT_TRUE(isInner);
    EXPECT_EQ(journal(),
              Lines({"destroyed 1", stopOfIndex, "RELEASE w1", "destroyed 2", "RELEASE w2"}));
}

TEST_F(WindowShutdown, ThePluginMayBeginANewLifeInWhichNobodyHearsOfTheOldOnes)
{
    startApplication(httpApplication(1, 2));
    native_ApplicationManagerSetAppDestroyedListener([](void*) {
        vesta_hbbtv_shutdown();
        vesta_hbbtv_init(browser().handle());
        vesta_hbbtv_add_notification_listener(RecordingListener::listen);
        forgetJournal();
    });
    send(E_TERMINATE_APPLICATION, windowRecord(window()));
    vesta_hbbtv_tick();
    EXPECT_EQ(journal(), Lines());
    EXPECT_TRUE(listener().windowsInUse.empty());
}

}  // namespace
