// A window of no manager: that of a test, or one that outlives its manager.

#include <memory>

#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

class WindowWithoutManager : public LibraryTest {
protected:
    WindowWithoutManager()
    {
        native_ApplicationManagerSetAppDestroyedListener([](void* appId) {
            Journal::instance().write("destroyed ", reinterpret_cast<uintptr_t>(appId));
        });
        listener().windowNames[&alone_] = "alone";
    }

    void startByURL()
    {
        alone_.startPendingApplication(
            alone_.startBroadcastIndependentApplication(HbbTVURL("http://a.example/i")));
        ASSERT_NE(alone_.getRunningApplication(), nullptr);
    }

    Window alone_{nullptr};
};

TEST_F(WindowWithoutManager, RunsAnApplicationThatTheManagerDoesNotKnow)
{
    startByURL();
    EXPECT_EQ(journal(),
              Lines({"START 0.0 independent http://a.example/i @alone", "REQUEST w1 @alone",
                     "ve_clear_history(w1)", "ve_open_url(w1, http://a.example/i)"}));
    EXPECT_EQ(manager()->getApplication(1), nullptr);
    EXPECT_FALSE(vesta_hbbtv_is_hbbtv_window(browser().window(1)));
    alone_.terminateRunningApplication(true);
}

TEST_F(WindowWithoutManager, TellsThePluginOfAnEnd)
{
    startByURL();
    forgetJournal();
    alone_.terminateRunningApplication(true);
    EXPECT_EQ(journal(),
              Lines({"destroyed 1", "STOP 0.0 independent reactivate=0 http://a.example/i @alone",
                     "RELEASE w1"}));
    EXPECT_TRUE(alone_.getApplications().empty());
}

TEST_F(WindowWithoutManager, FreesWhatIsNeitherRunningNorPending)
{
    startByURL();
    alone_.setRunningApplication(nullptr);
    forgetJournal();
    alone_.endApplications();
    EXPECT_EQ(journal(), Lines({"RELEASE w1"}));
    EXPECT_TRUE(alone_.getApplications().empty());
}

TEST_F(WindowWithoutManager, HasNoHttpTransports)
{
    const ref_ptr<AIT> table =
        broadcastTable(AITSection().add(httpApplication(1, 2).carousel(2, 7)));
    Application* const started =
        alone_.startApplication(table->getAITApplication(0u), HbbTVURL(""), nullptr);
    ASSERT_NE(started, nullptr);
    EXPECT_EQ(started->getTransport()->getLabel(), 2);
}

TEST_F(WindowWithoutManager, StartsNothingInItsEnd)
{
    auto dying = std::make_unique<Window>(nullptr);
    dying->setAIT(broadcastTable(AITSection().add(AITEntry(1, 2).carousel(1, 7).location("i"))));
    dying->activateAIT();
    dying->startPendingApplication(dying->getPendingApplication());
    ASSERT_NE(dying->getRunningApplication(), nullptr);
    forgetJournal();
    listener().reactivateAIT = 1;
    dying.reset();
    EXPECT_EQ(journal(), Lines({"destroyed 1", "STOP 1.2 related reactivate=0 dvb://1.2.3.7/i",
                                "RELEASE w1"}));
    EXPECT_EQ(log().count("LOG Window: Reactivating AIT..."), 0);
}

}  // namespace
