// A class derived from Window sees every call of a virtual function, also those that the library
// makes itself: an integrator's window may act differently in each of them.

#include <memory>
#include <utility>

#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "tests/lifecycle/private_members.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

Lines calls;

/// Writes down which of its virtual functions are called.
class WatchedWindow : public Window {
public:
    using Window::startApplication;
    using Window::Window;

    bool setAIT(const ref_ptr<AIT>& ait) override
    {
        calls.emplace_back("setAIT");
        return Window::setAIT(ait);
    }
    bool activateAIT() override
    {
        calls.emplace_back("activateAIT");
        return Window::activateAIT();
    }
    Application* createApplication(HbbTVURL url, AITApplication* entry) override
    {
        calls.emplace_back("createApplication");
        return Window::createApplication(std::move(url), entry);
    }
    Application* startApplication(unsigned long organisationId, unsigned short applicationId,
                                  HbbTVURL url) override
    {
        calls.emplace_back("startApplication");
        return Window::startApplication(organisationId, applicationId, std::move(url));
    }
    void startPendingApplication(Application* application) override
    {
        calls.emplace_back("startPendingApplication");
        Window::startPendingApplication(application);
    }
    bool shutdownApplication(Application* application, bool destroyNow, bool reactivate,
                             bool notify) override
    {
        calls.emplace_back("shutdownApplication");
        return Window::shutdownApplication(application, destroyNow, reactivate, notify);
    }
    Application* getRunningApplication() override
    {
        calls.emplace_back("getRunningApplication");
        return Window::getRunningApplication();
    }
    Application* getApplication(TAVO_VestaWindow* tavoWindow) override
    {
        calls.emplace_back("getApplication");
        return Window::getApplication(tavoWindow);
    }
};

class WindowVirtualSlots : public LibraryTest {
protected:
    WindowVirtualSlots()
    {
        windowsOf(*manager()).push_back(&watched_);
        manager()->setBroadcastWindow(&watched_);
        calls.clear();
    }

    static Lines takeCalls()
    {
        tickAll();
        return std::exchange(calls, {});
    }

    Application* runningOne() { return watched_.Window::getRunningApplication(); }

    /// The service's application, in w1.
    void runRelated(const AITEntry& entry = httpApplication(1, 2, "i"))
    {
        sendAIT(AITSection().add(entry).add(httpApplication(1, 3, "other").controlCode(2)));
        takeCalls();
        ASSERT_NE(runningOne(), nullptr);
    }

    /// One by its URL, in w1.
    void runIndependent()
    {
        watched_.startBroadcastIndependentApplication(HbbTVURL("http://a.example/i"));
        takeCalls();
        ASSERT_NE(runningOne(), nullptr);
    }

    /// A child of the application in w1, in w2, its page loading.
    void runChild()
    {
        void* id = nullptr;
        native_ApplicationCreateApplication("dvb://current.ait/1.3", 1, idOf(runningOne()), &id);
        takeCalls();
        ASSERT_NE(runningOne()->getParent(), nullptr);
    }

    void reportURL(long windowId)
    {
        TavoVestaEventData data = {};
        data.url = "http://a.example/next";
        notify(TAVO_VESTA_EVT_URL_CHANGED, windowId, data);
    }

    WatchedWindow& watched_ = *new WatchedWindow(manager());  // the manager's from here on
};

// From a table to a running application.

TEST_F(WindowVirtualSlots, ATableOfTheServiceIsSetActivatedAndItsApplicationStarted)
{
    sendAIT(AITSection().add(httpApplication(1, 2)));
    EXPECT_EQ(takeCalls(),
              Lines({"setAIT", "activateAIT", "createApplication", "startPendingApplication"}));
}

TEST_F(WindowVirtualSlots, ATableThatDoesNotComeFromSectionsIsSetAndActivated)
{
    sendXMLAIT({}, &watched_);
    EXPECT_EQ(takeCalls(), Lines({"setAIT", "activateAIT"}));
}

TEST_F(WindowVirtualSlots, AChannelChangeSetsNoTable)
{
    send(E_CHANNEL_CHANGE);
    EXPECT_EQ(takeCalls(), Lines({"setAIT"}));
}

TEST_F(WindowVirtualSlots, ATableIsActivatedAgain)
{
    watched_.scheduleReactivateAIT(true);
    EXPECT_EQ(takeCalls(), Lines({"activateAIT"}));
}

TEST_F(WindowVirtualSlots, ATableThatForbidsTheRunningApplicationEndsIt)
{
    runRelated();
    sendAIT(AITSection().version(1));
    EXPECT_EQ(takeCalls(), Lines({"setAIT", "activateAIT", "activateAIT", "shutdownApplication"}));
}

TEST_F(WindowVirtualSlots, AnApplicationIsStartedByItsURL)
{
    watched_.startBroadcastIndependentApplication(HbbTVURL("http://a.example/i"));
    EXPECT_EQ(takeCalls(), Lines({"createApplication", "startPendingApplication"}));
}

TEST_F(WindowVirtualSlots, AnApplicationIsStartedByItsIds)
{
    runRelated();
    const Lines started = {"startApplication", "createApplication", "startPendingApplication",
                           "shutdownApplication"};
    send(E_START_APPLICATION, startRecord(&watched_, 1, 3));
    EXPECT_EQ(takeCalls(), started);
    void* id = nullptr;
    native_ApplicationCreateApplication("dvb://current.ait/1.2", 1, idOf(runningOne()), &id);
    EXPECT_EQ(takeCalls(),
              Lines({"startApplication", "createApplication", "startPendingApplication"}));
}

TEST_F(WindowVirtualSlots, AListenerWhoBlocksAStartMayEndTheRunningApplication)
{
    runIndependent();
    listener().startAction = HBBTV_APPLICATION_ACTION_BLOCK_AND_KILL;
    watched_.startBroadcastIndependentApplication(HbbTVURL("http://b.example/i"));
    EXPECT_EQ(std::exchange(calls, {}), Lines({"createApplication", "shutdownApplication"}));
    EXPECT_EQ(takeCalls(), Lines({"shutdownApplication"})) << "the end that was queued";
}

TEST_F(WindowVirtualSlots, ASuccessorEndsTheRunningApplication)
{
    runIndependent();
    watched_.startBroadcastIndependentApplication(HbbTVURL("http://b.example/i"));
    EXPECT_EQ(takeCalls(),
              Lines({"createApplication", "startPendingApplication", "shutdownApplication"}));
}

TEST_F(WindowVirtualSlots, AStartWithoutBrowserWindowIsEnded)
{
    listener().refuseWindows = true;
    watched_.startBroadcastIndependentApplication(HbbTVURL("http://b.example/i"));
    EXPECT_EQ(takeCalls(),
              Lines({"createApplication", "startPendingApplication", "shutdownApplication"}));
}

// What the browser reports.

TEST_F(WindowVirtualSlots, ALoadedChildEndsItsParent)
{
    runRelated();
    runChild();
    watched_.reportLoadSuccess(browser().window(2));
    EXPECT_EQ(std::exchange(calls, {}), Lines({"getApplication", "shutdownApplication"}));
}

TEST_F(WindowVirtualSlots, APageThatIsNotWellFormedIsALoadThatFailed)
{
    runRelated();
    watched_.reportXMLParseFailure(browser().window(1));
    EXPECT_EQ(std::exchange(calls, {}), Lines({"getApplication"}));
    watched_.reportLoadSuccess(browser().window(1));
    EXPECT_EQ(std::exchange(calls, {}),
              Lines({"getApplication", "getApplication", "shutdownApplication"}));
}

TEST_F(WindowVirtualSlots, AFailedLoadEndsAnApplicationThatNothingFollows)
{
    runRelated();
    watched_.reportLoadFailed(browser().window(1));
    EXPECT_EQ(std::exchange(calls, {}), Lines({"getApplication", "shutdownApplication"}));
}

TEST_F(WindowVirtualSlots, AFailedLoadStartsTheApplicationOnItsNextTransport)
{
    runRelated(AITEntry(1, 2).http(1, "http://a.example/").carousel(2, 7).location("i"));
    watched_.reportLoadFailed(browser().window(1));
    EXPECT_EQ(std::exchange(calls, {}),
              Lines({"getApplication", "createApplication", "shutdownApplication"}));
}

TEST_F(WindowVirtualSlots, AFailedLoadStartsTheNextApplication)
{
    sendAIT(AITSection().add(httpApplication(1, 2)).add(httpApplication(1, 3)));
    takeCalls();
    watched_.reportLoadFailed(browser().window(1));
    EXPECT_EQ(std::exchange(calls, {}), Lines({"getApplication", "createApplication"}));
}

TEST_F(WindowVirtualSlots, AFailedChildEnds)
{
    runRelated();
    runChild();
    EXPECT_TRUE(watched_.tryRestoreParentApplication(runningOne()));
    EXPECT_EQ(std::exchange(calls, {}), Lines({"shutdownApplication"}));
}

TEST_F(WindowVirtualSlots, ApplicationsAreLookedUpForTheBrowser)
{
    runIndependent();
    reportURL(1);
    EXPECT_EQ(takeCalls(), Lines({"getApplication"}));
    TAVO_KeyboardEvent key = {};
    vesta_hbbtv_key_input(browser().window(1), &key);
    EXPECT_EQ(takeCalls(), Lines({"getApplication"}));
}

// Ends.

TEST_F(WindowVirtualSlots, AnEndByTheIntegratorEndsTheRunningApplication)
{
    runIndependent();
    send(E_TERMINATE_APPLICATION, windowRecord(&watched_));
    EXPECT_EQ(takeCalls(), Lines({"shutdownApplication"}));
}

TEST_F(WindowVirtualSlots, AnEndOfTheServiceEndsItsApplication)
{
    runRelated();
    send(E_AIT_SECTION, noSectionRecord(0));
    EXPECT_EQ(takeCalls(), Lines({"getRunningApplication", "shutdownApplication"}));
}

TEST_F(WindowVirtualSlots, ATimeShiftEndsAnApplicationThatIsNotMadeForIt)
{
    runRelated();
    vesta_hbbtv_set_time_shifted(&watched_, 1);
    EXPECT_EQ(takeCalls(), Lines({"getRunningApplication", "shutdownApplication", "activateAIT"}));
}

TEST_F(WindowVirtualSlots, AChildEndsItsParentFirst)
{
    runRelated();
    runChild();
    watched_.Window::shutdownApplication(runningOne(), true, false, true);
    EXPECT_EQ(std::exchange(calls, {}), Lines({"shutdownApplication"}));
}

// Scripts.

TEST_F(WindowVirtualSlots, AScriptEndsItsApplication)
{
    runIndependent();
    native_ApplicationDestroyApplication(idOf(runningOne()));
    EXPECT_EQ(std::exchange(calls, {}), Lines({"shutdownApplication"}));
    EXPECT_EQ(takeCalls(), Lines({"shutdownApplication"})) << "the end that was queued";
}

TEST_F(WindowVirtualSlots, ApplicationsAreLookedUpForScripts)
{
    runIndependent();
    void* id = nullptr;
    native_AppManGetApplicationId(1, nullptr, &id);
    EXPECT_EQ(takeCalls(), Lines({"getApplication"}));
    EXPECT_NE(id, nullptr);
    native_BroadcastAddStreamEventListener("a", nullptr, nullptr, nullptr, nullptr, 1);
    EXPECT_EQ(takeCalls(), Lines({"getApplication"}));
}

TEST_F(WindowVirtualSlots, AScriptOfAnotherWindowThatTunesEndsTheServicesApplication)
{
    runRelated();
    sendXMLAIT({httpApplication(1, 9)}, window());
    takeCalls();
    native_AppManNotifySetChannelCalled(2, "http://a.example/", &calls);
    EXPECT_EQ(takeCalls(), Lines({"getRunningApplication", "shutdownApplication"}));
}

TEST_F(WindowVirtualSlots, TheBoundariesAreThoseOfTheRunningApplication)
{
    runIndependent();
    EXPECT_TRUE(vesta_hbbtv_is_within_boundaries(&watched_, "http://a.example/x"));
    EXPECT_EQ(takeCalls(), Lines({"getRunningApplication"}));
}

}  // namespace
