// Load results, and tables that are activated, while a listener, the browser or the scripts' plugin
// does something to the library.

#include <algorithm>
#include <functional>

#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

std::function<void()> onLoadError;

class InterruptedLoads : public LibraryTest {
protected:
    InterruptedLoads()
    {
        native_ApplicationManagerSetListener([](int, void*) { onLoadError(); });
        onLoadError = [] {};
    }

    ~InterruptedLoads() override { onLoadError = nullptr; }

    /// An application with a child that is loading, both of the service.
    void startParentAndChild()
    {
        sendAIT(AITSection()
                    .add(httpApplication(1, 1, "parent"))
                    .add(httpApplication(1, 2, "child").controlCode(2)));
        tickAll();
        void* id = nullptr;
        native_ApplicationCreateApplication("dvb://current.ait/1.2", 1, idOf(running()), &id);
        tickAll();
        ASSERT_EQ(runningURL(), "http://a.example/child");
        log().clear();
        forgetJournal();
    }

    void endNow(Application* application)
    {
        EXPECT_TRUE(window()->shutdownApplication(application, true, false, true));
    }
};

TEST_F(InterruptedLoads, AFailedChildWhoseParentThePluginEndsGoesOn)
{
    startParentAndChild();
    running()->setBroadcastRelated(false);
    const Application* const child = running();
    onLoadError = [&] { endNow(running()->getParent()); };
    EXPECT_EQ(failLoading(2), 0);
    EXPECT_EQ(running(), child);
    EXPECT_EQ(log().count("ERR Window: Loading failed, parent application will not be killed."), 0);
    EXPECT_EQ(tickAll(), 0);
}

TEST_F(InterruptedLoads, AFailedChildsEndDoesNotBringTheServicesApplicationBack)
{
    startParentAndChild();
    EXPECT_EQ(failLoading(2), 0);
    window()->terminateRunningApplication(true);
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(journal(),
              Lines({"STOP 1.1 related reactivate=0 http://a.example/parent", "RELEASE w1",
                     "STOP 1.2 related reactivate=0 http://a.example/child", "RELEASE w2"}));
}

TEST_F(InterruptedLoads, AReplacedParentsEndDoesNotBringTheServicesApplicationBack)
{
    startParentAndChild();
    window()->reportLoadSuccess(browser().window(2));
    endNow(running());
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(journal(),
              Lines({"STOP 1.2 related reactivate=0 http://a.example/child", "RELEASE w2",
                     "STOP 1.1 related reactivate=0 http://a.example/parent", "RELEASE w1"}));
}

TEST_F(InterruptedLoads, AnApplicationThatAListenerEndsWhenAskedForItsRestartStaysEnded)
{
    startApplication(AITEntry(1, 2).http(1, "http://a.example/").carousel(2, 7).location("i"));
    listener().startAction = 2;
    listener().onNotification[HBBTV_NOTIFICATION_START_APPLICATION] = [&](auto*) {
        endNow(running());
    };
    EXPECT_EQ(failLoading(), 0);
    EXPECT_EQ(log().count("ERR Window: Automatic load of AUTOSTART application failed."), 0);
    EXPECT_EQ(tickAll(), 0);
    EXPECT_TRUE(window()->getApplications().empty());
}

TEST_F(InterruptedLoads, AFailedTransportsEndDoesNotBringTheServicesApplicationBack)
{
    startApplication(AITEntry(1, 2).http(1, "http://a.example/").carousel(2, 7).location("i"));
    EXPECT_EQ(failLoading(), 0);
    window()->destroyPendingApplication();
    forgetJournal();
    EXPECT_EQ(tickAll(), 2);
    EXPECT_EQ(journal(), Lines({"STOP 1.2 related reactivate=0 http://a.example/i", "RELEASE w1"}));
}

TEST_F(InterruptedLoads, AWindowThatIsReleasedWhenItsPageIsShownEndsAfterTheLoad)
{
    startParentAndChild();
    running()->show();  // is shown as soon as it is loaded
    listener().onNotification[HBBTV_NOTIFICATION_SHOW_WINDOW] = [&](auto*) {
        vesta_hbbtv_release_window(window());
        Journal::instance().write("released");
    };
    journalLog({"Window"});
    window()->reportLoadSuccess(browser().window(2));
    const Lines lines = journal();
    ASSERT_GE(lines.size(), 4u);
    EXPECT_EQ(Lines(lines.begin(), lines.begin() + 4),
              Lines({"LOG Window: Initial page of application successfully loaded.", "SHOW w2",
                     "released", "LOG Window: Shutting down parent application"}));
    EXPECT_EQ(std::count(lines.begin(), lines.end(),
                         "STOP 1.2 related reactivate=0 http://a.example/child"),
              1);
}

class InterruptedActivation : public LibraryTest {
protected:
    /// Puts a table in force that still signals the application, and activates it.
    bool activateNext()
    {
        window()->setAIT(broadcastTable(AITSection().version(1).add(httpApplication(1, 2))));
        return window()->activateAIT();
    }

    /// Whoever is asked for the page that loads ends its application.
    void startFromXMLAndEndWhenAsked(const std::string& loadingURL)
    {
        sendXMLAIT({httpApplication(1, 2)});
        tickAll();
        forgetJournal();
        log().clear();
        browser().loadingURL = loadingURL;
        browser().whileIn["ve_get_loading_url"] = [&] {
            window()->terminateRunningApplication(true);
            forgetJournal();
        };
    }

    void expectEnded()
    {
        EXPECT_TRUE(activateNext());
        EXPECT_EQ(running(), nullptr);
        EXPECT_EQ(window()->getState(), Window::IDLE);
        EXPECT_EQ(journal(), Lines());
        EXPECT_EQ(takeLog(), Lines({"DEBUG Window: terminateRunningApplication",
                                    "DEBUG Window: VestaHbbTV::Window::shutdownApplication()"}));
    }
};

TEST_F(InterruptedActivation, EndsWhenTheBrowserEndsAnApplicationThatMightStay)
{
    startFromXMLAndEndWhenAsked("http://a.example/index.html");
    expectEnded();
}

TEST_F(InterruptedActivation, EndsWhenTheBrowserEndsAnApplicationThatMayNotStay)
{
    startFromXMLAndEndWhenAsked("http://b.example/");
    expectEnded();
}

TEST_F(InterruptedActivation, EndsWhenAListenerReleasesTheWindow)
{
    startApplication(httpApplication(1, 2));
    running()->setBroadcastRelated(false);
    forgetJournal();
    listener().onNotification[HBBTV_NOTIFICATION_BROADCAST_RELATED_CHANGE] = [&](auto*) {
        vesta_hbbtv_release_window(window());
    };
    EXPECT_TRUE(activateNext());
    EXPECT_EQ(log().count("LOG Window: Allowing running application to continue at new AIT load."),
              0);
    EXPECT_EQ(journal(),
              Lines({"CHANGE 1.2 related trusted=1 autostart http://a.example/index.html",
                     "STOP 1.2 related reactivate=0 http://a.example/index.html", "RELEASE w1"}));
}

}  // namespace
