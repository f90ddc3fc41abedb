#include "integration/key_set.h"
#include "lifecycle/application.h"
#include "lifecycle/call_scope.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "oipf/notifications/notification_manager.h"
#include "security/application_domain.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

/// Taken before any test runs.
const unsigned long firstIdOfTheProcess = Application::next_id;

class ApplicationTest : public LibraryTest {
protected:
    /// An application of the only entry of a table that lives as long as the test.
    std::unique_ptr<Application> make(const AITEntry& entry, const std::string& url = page)
    {
        table_ = broadcastTable(AITSection().add(entry));
        return std::make_unique<Application>(window(), HbbTVURL(url), table_->getAITApplication(0));
    }

    std::unique_ptr<Application> makeByURL(const std::string& url = page)
    {
        return std::make_unique<Application>(window(), HbbTVURL(url), nullptr);
    }

    static constexpr const char* page = "http://a.example/i";
    ref_ptr<AIT> table_;
};

TEST_F(ApplicationTest, TheFirstIdOfAProcessIsOne)
{
    EXPECT_EQ(firstIdOfTheProcess, 1u);
}

TEST_F(ApplicationTest, IdsCountUpAndAreNeverReused)
{
    EXPECT_EQ(makeByURL()->getID(), 1u);
    EXPECT_EQ(makeByURL()->getID(), 2u);
    EXPECT_EQ(Application::next_id, 3u);
}

TEST_F(ApplicationTest, StartedByURLItIsIndependentVisibleAndGetsEveryKeySilently)
{
    platform().supportedKeySets = 0x13;
    vesta_hbbtv_init(browser().handle());  // asks for the key sets again
    forgetJournal();
    const auto application = makeByURL("http://a.example/i?p=1#a");
    EXPECT_FALSE(application->isBroadcastRelated());
    EXPECT_TRUE(application->isVisible());
    EXPECT_EQ(application->getKeySet()->getValue(), 0x13);
    EXPECT_EQ(application->getOrganisationId(), 0u);
    EXPECT_EQ(application->getApplicationId(), 0u);
    EXPECT_EQ(application->getAITApplication(), nullptr);
    EXPECT_EQ(application->getURL().getFullUrl(), "http://a.example/i?p=1#a");
    EXPECT_EQ(journal(), Lines());
}

TEST_F(ApplicationTest, OfABroadcastTableItIsRelatedHiddenAndGetsNoKeys)
{
    const auto application = make(httpApplication(0x11, 0x22));
    EXPECT_TRUE(application->isBroadcastRelated());
    EXPECT_FALSE(application->isVisible());
    EXPECT_EQ(application->getKeySet()->getValue(), 0);
    EXPECT_EQ(application->getOrganisationId(), 0x11u);
    EXPECT_EQ(application->getApplicationId(), 0x22u);
}

TEST_F(ApplicationTest, OfAnXMLTableItIsIndependentButHasItsIds)
{
    table_ = xmlTable({httpApplication(0x11, 0x22)});
    const Application application(window(), HbbTVURL(page), table_->getAITApplication(0));
    EXPECT_FALSE(application.isBroadcastRelated());
    EXPECT_TRUE(application.isVisible());
    EXPECT_EQ(application.getOrganisationId(), 0x11u);
    EXPECT_EQ(journal(), Lines());
}

TEST_F(ApplicationTest, OtherFieldsBeginCleared)
{
    const auto application = makeByURL();
    EXPECT_EQ(application->getTavoWindow(), nullptr);
    EXPECT_EQ(application->getParent(), nullptr);
    EXPECT_EQ(application->getTransport(), nullptr);
    EXPECT_EQ(application->getWindow(), window());
    EXPECT_FALSE(application->isInitialPageLoaded());
    EXPECT_FALSE(application->isAutostarted());
    EXPECT_FALSE(application->isStartedOnRequest());
    EXPECT_FALSE(application->isTerminateOnLoad());
    EXPECT_TRUE(application->getKeys().empty());
}

TEST_F(ApplicationTest, TheChangeAnnouncedByItsCreationCarriesNoIds)
{
    HBBTV_ApplicationNotificationData record = {};
    std::string url;
    listener().onNotification[HBBTV_NOTIFICATION_BROADCAST_RELATED_CHANGE] =
        [&](HBBTV_NotificationData* data) {
            record = data->application;
            url = record.url;
        };
    const auto application = make(httpApplication(0x11, 0x22).usage(1), "http://a.example/i?x#y");
    EXPECT_EQ(record.window, window());
    EXPECT_EQ(record.broadcastRelated, 1);
    EXPECT_EQ(record.trusted, 1);
    EXPECT_EQ(record.autostart, 0);
    EXPECT_EQ(record.organisationId, 0u);
    EXPECT_EQ(record.applicationId, 0u);
    EXPECT_EQ(record.usageType, 1);
    EXPECT_EQ(url, "http://a.example/i?x#y");
}

TEST_F(ApplicationTest, LaterChangesCarryIdsAndTheAutostartMark)
{
    const auto application = make(httpApplication(0x11, 0x22));
    application->setAutostarted(true);
    forgetJournal();
    application->setBroadcastRelated(true);
    EXPECT_EQ(journal(), Lines());  // no change
    application->setBroadcastRelated(false);
    EXPECT_EQ(journal(),
              Lines({"CHANGE 11.22 independent trusted=1 autostart http://a.example/i"}));
    EXPECT_FALSE(application->isBroadcastRelated());
}

TEST_F(ApplicationTest, AChangeWithoutEntryHasNoUsageType)
{
    int usageType = -1;
    listener().onNotification[HBBTV_NOTIFICATION_BROADCAST_RELATED_CHANGE] =
        [&](HBBTV_NotificationData* data) { usageType = data->application.usageType; };
    makeByURL()->setBroadcastRelated(true);
    EXPECT_EQ(usageType, 0);
}

TEST_F(ApplicationTest, WithoutListenersRegistryItsFlagsStillChange)
{
    NotificationManager::getInstance()->shutdown();
    const auto application = make(httpApplication(1, 2));
    EXPECT_TRUE(application->isBroadcastRelated());
    application->setTavoWindow(browser().window(1));
    application->show();
    EXPECT_TRUE(application->isVisible());
    application->hide();
    EXPECT_FALSE(application->isVisible());
    EXPECT_EQ(NotificationManager::instance, nullptr);
}

TEST_F(ApplicationTest, ItsBoundaryIsItsStartURLsOrigin)
{
    const auto application = makeByURL("http://a.example:81/dir/i?q");
    EXPECT_EQ(application->getApplicationDomain()->getEntries(), Lines({"http://a.example:81"}));
    EXPECT_TRUE(application->isWithinApplicationBoundaries("http://a.example:81/other"));
    EXPECT_FALSE(application->isWithinApplicationBoundaries("https://a.example:81/other"));
    EXPECT_TRUE(application->isWithinApplicationBoundaries(HbbTVURL("http://a.example:81/?q#x")));
    EXPECT_FALSE(application->isWithinApplicationBoundaries(static_cast<const char*>(nullptr)));
}

TEST_F(ApplicationTest, ItsBoundaryIsExtendedByItsEntrys)
{
    const auto application =
        make(AITEntry(1, 2).carousel(1, 9).location("i").boundary({"http://b.example/"}),
             "dvb://1.2.3.9/i");
    EXPECT_EQ(application->getApplicationDomain()->getEntries(),
              Lines({"dvb://1.2.3.9", "http://b.example"}));
    EXPECT_TRUE(application->isWithinApplicationBoundaries("http://b.example/page"));
}

TEST_F(ApplicationTest, ANewEntryNeitherChangesItsBoundaryNorItsIds)
{
    const auto application = make(httpApplication(1, 2));
    const ref_ptr<AIT> next = broadcastTable(AITSection().version(1).add(
        AITEntry(1, 3).carousel(1, 9).location("i").boundary({"dvb://9.9.9.9"})));
    application->setAITApplication(next->getAITApplication(0));
    EXPECT_EQ(application->getAITApplication(), next->getAITApplication(0));
    EXPECT_EQ(application->getApplicationId(), 2u);
    EXPECT_EQ(application->getApplicationDomain()->getEntries(), Lines({"http://a.example"}));
}

TEST_F(ApplicationTest, InitAsksForABrowserWindowOnce)
{
    void* asking = nullptr;
    listener().onNotification[HBBTV_NOTIFICATION_REQUEST_WINDOW] =
        [&](HBBTV_NotificationData* data) { asking = data->window.window; };
    const auto application = makeByURL();
    EXPECT_TRUE(application->init());
    EXPECT_EQ(application->getTavoWindow(), browser().window(1));
    EXPECT_EQ(asking, window());
    EXPECT_EQ(journal(), Lines({"REQUEST w1"}));

    EXPECT_FALSE(application->init());
    EXPECT_EQ(journal(), Lines());
}

TEST_F(ApplicationTest, InitFailsWhenTheListenerSaysSo)
{
    listener().refuseWindows = true;
    EXPECT_FALSE(makeByURL()->init());
    EXPECT_EQ(journal(), Lines({"REQUEST null"}));
}

TEST_F(ApplicationTest, InitFailsWithoutTheListenersSuccess)
{
    listener().onNotification[HBBTV_NOTIFICATION_REQUEST_WINDOW] =
        [](HBBTV_NotificationData* data) { data->window.success = 0; };
    const auto application = makeByURL();
    EXPECT_FALSE(application->init());
    EXPECT_EQ(application->getTavoWindow(), browser().window(1));
}

TEST_F(ApplicationTest, InitFailsWithoutABrowserWindow)
{
    listener().refuseWindows = true;
    listener().onNotification[HBBTV_NOTIFICATION_REQUEST_WINDOW] =
        [](HBBTV_NotificationData* data) { data->window.success = 1; };
    EXPECT_FALSE(makeByURL()->init());
}

TEST_F(ApplicationTest, InitFailsWithNobodyListening)
{
    NotificationManager::getInstance()->removeListener(RecordingListener::listen);
    const auto application = makeByURL();
    EXPECT_FALSE(application->init());
    EXPECT_EQ(application->getTavoWindow(), nullptr);
}

TEST_F(ApplicationTest, TheInitialPageIsOpenedWithAnEmptyHistory)
{
    const auto application = makeByURL("http://a.example/i?p#a");
    application->setTavoWindow(browser().window(7));
    application->loadInitialPage();
    EXPECT_EQ(journal(),
              Lines({"ve_clear_history(w7)", "ve_open_url(w7, http://a.example/i?p#a)"}));
}

TEST_F(ApplicationTest, WithoutABrowserWindowTheInitialPageIsLeftToTheBrowserAllTheSame)
{
    makeByURL("http://a.example/i")->loadInitialPage();
    EXPECT_EQ(journal(),
              Lines({"ve_clear_history(null)", "ve_open_url(null, http://a.example/i)"}));
}

TEST_F(ApplicationTest, WithoutABrowserWindowNothingIsShownOrHidden)
{
    const auto application = makeByURL();
    application->hide();
    EXPECT_TRUE(application->isVisible());
    application->show();
    EXPECT_EQ(journal(), Lines());
    const auto hidden = make(httpApplication(1, 1));
    hidden->show();
    EXPECT_FALSE(hidden->isVisible());
}

TEST_F(ApplicationTest, ShowingAndHidingIsToldToListenersEachTime)
{
    const auto application = make(httpApplication(1, 2));
    application->setTavoWindow(browser().window(2));
    forgetJournal();
    application->show();
    EXPECT_TRUE(application->isVisible());
    application->show();
    application->hide();
    EXPECT_FALSE(application->isVisible());
    application->hide();
    EXPECT_FALSE(application->isVisible());
    EXPECT_EQ(journal(), Lines({"SHOW w2", "SHOW w2", "HIDE w2", "HIDE w2"}));
}

TEST_F(ApplicationTest, AChildWhosePageHasNotLoadedStaysBehindItsParent)
{
    const auto parent = makeByURL();
    const auto child = makeByURL();
    child->setTavoWindow(browser().window(2));
    child->setParent(parent.get());
    child->hide();
    forgetJournal();
    child->show();
    EXPECT_TRUE(child->isVisible());
    EXPECT_EQ(journal(), Lines());

    child->setInitialPageLoaded();
    child->show();
    EXPECT_EQ(journal(), Lines({"SHOW w2"}));
}

TEST_F(ApplicationTest, LoadingTheInitialPageEndsTheMarkOfARequestedStart)
{
    const auto application = makeByURL();
    application->setStartedOnRequest(true);
    application->setInitialPageLoaded();
    EXPECT_TRUE(application->isInitialPageLoaded());
    EXPECT_FALSE(application->isStartedOnRequest());
}

TEST_F(ApplicationTest, ItsCurrentURLChangesAndItsStartURLStays)
{
    const auto application = makeByURL();
    EXPECT_EQ(application->getCurrentURL().getFullUrl(), page);
    application->setCurrentURL(HbbTVURL("http://a.example/next"));
    EXPECT_EQ(application->getCurrentURL().getFullUrl(), "http://a.example/next");
    EXPECT_EQ(application->getURL().getFullUrl(), page);
}

TEST_F(ApplicationTest, OfNoWindowItUnregistersItsBrowserWindowWithItsEnd)
{
    TAVO_VestaWindow* const tavoWindow = browser().window(4);
    manager()->registerTavoWindow(tavoWindow, window());
    auto application = std::make_unique<Application>(nullptr, HbbTVURL(page), nullptr);
    application->setTavoWindow(tavoWindow);
    forgetJournal();
    application.reset();
    EXPECT_EQ(manager()->getWindow(tavoWindow), nullptr);
    EXPECT_EQ(journal(), Lines({"RELEASE w4"}));
}

TEST_F(ApplicationTest, OfNoWindowItLeavesTheEntryToAnotherOneThatIsShownThere)
{
    startApplication(httpApplication(1, 1));
    TAVO_VestaWindow* const shared = running()->getTavoWindow();
    auto application = std::make_unique<Application>(nullptr, HbbTVURL(page), nullptr);
    application->setTavoWindow(shared);
    application.reset();
    EXPECT_EQ(manager()->getWindow(shared), window());
}

TEST_F(ApplicationTest, OfNoWindowItUnregistersItsBrowserWindowFromOneThatIsNoneAnyMore)
{
    int stale = 0;
    TAVO_VestaWindow* const tavoWindow = browser().window(4);
    manager()->registerTavoWindow(tavoWindow, reinterpret_cast<Window*>(&stale));
    auto application = std::make_unique<Application>(nullptr, HbbTVURL(page), nullptr);
    application->setTavoWindow(tavoWindow);
    application.reset();
    EXPECT_EQ(manager()->getWindow(tavoWindow), nullptr);
}

TEST_F(ApplicationTest, OfNoWindowItEndsWithoutAWindowManager)
{
    auto application = std::make_unique<Application>(nullptr, HbbTVURL(page), nullptr);
    application->setTavoWindow(browser().window(4));
    delete manager();
    application.reset();
    EXPECT_EQ(journal(), Lines({"RELEASE w4"}));
    EXPECT_EQ(WindowManager::instance, nullptr);
}

TEST_F(ApplicationTest, ItsEndReleasesTheBrowserWindowAndUnregistersIt)
{
    auto application = makeByURL();
    application->setTavoWindow(browser().window(3));
    manager()->registerTavoWindow(browser().window(3), window());
    listener().onNotification[HBBTV_NOTIFICATION_RELEASE_WINDOW] = [](auto*) {
        EXPECT_FALSE(vesta_hbbtv_is_hbbtv_window(browser().window(3)));
    };
    application.reset();
    EXPECT_EQ(journal(), Lines({"RELEASE w3"}));
    EXPECT_EQ(manager()->getWindow(browser().window(3)), nullptr);
}

TEST_F(ApplicationTest, ItsEndWithoutABrowserWindowIsSilent)
{
    makeByURL();
    EXPECT_EQ(journal(), Lines());
}

TEST_F(ApplicationTest, OfNoWindowItLivesAndEnds)
{
    const auto application = std::make_unique<Application>(nullptr, HbbTVURL(page), nullptr);
    EXPECT_EQ(application->getWindow(), nullptr);
    EXPECT_TRUE(application->isWithinApplicationBoundaries(page));
}

TEST_F(ApplicationTest, DeletedWhileItRunsItIsFoundNowhere)
{
    startApplication(httpApplication(1, 1));
    const unsigned long id = running()->getID();
    delete running();
    EXPECT_EQ(running(), nullptr);
    EXPECT_EQ(manager()->getApplication(id), nullptr);
    EXPECT_EQ(manager()->getWindow(browser().window(1)), nullptr);
    EXPECT_EQ(window()->getApplication(browser().window(1)), nullptr);
}

TEST_F(ApplicationTest, DeletedWhileItIsPendingItsWindowAwaitsNone)
{
    delete window()->startBroadcastIndependentApplication(HbbTVURL(page));
    EXPECT_NE(window()->startBroadcastIndependentApplication(HbbTVURL(page)), nullptr);
    EXPECT_EQ(log().count("WARN Window: Pending application added when pending already existed."),
              0);
}

TEST_F(ApplicationTest, AHoldOfNoWindowHoldsNothing)
{
    const Window::Hold hold(nullptr);
    EXPECT_EQ(journal(), Lines());
}

TEST_F(ApplicationTest, ATableThatNobodyCountsMayDieBeforeIt)
{
    auto table = std::make_unique<AIT>(1, 2, 3, nullptr);
    table->parse(AITSection().add(httpApplication(1, 2)).exactBlock().get());
    const Application application(window(), HbbTVURL(page), table->getAITApplication(0));
    ASSERT_NE(application.getAITApplication(), nullptr);
    table.reset();
    EXPECT_EQ(application.getAITApplication(), nullptr);
    EXPECT_EQ(application.getApplicationId(), 2u);
}

TEST_F(ApplicationTest, ATableThatIsCountedLivesAsLongAsIt)
{
    const auto application = make(httpApplication(1, 2).name("kept"));
    table_.reset();
    ASSERT_NE(application->getAITApplication(), nullptr);
    EXPECT_EQ(application->getAITApplication()->getApplicationName(), "kept");
}

TEST_F(ApplicationTest, OnceEndedItHasNoWindowAndNoParent)
{
    const auto parent = makeByURL();
    const auto application = makeByURL();
    application->setParent(parent.get());
    application->setTavoWindow(browser().window(3));
    application->end();
    EXPECT_EQ(application->getWindow(), nullptr);
    EXPECT_EQ(application->getParent(), nullptr);
    EXPECT_EQ(application->getTavoWindow(), nullptr);
    application->end();
    EXPECT_EQ(journal(), Lines({"RELEASE w3"}));
}

TEST_F(ApplicationTest, OnceEndedItDoesNotBeginToEndAgain)
{
    const auto application = makeByURL();
    application->setTavoWindow(browser().window(1));
    application->end();
    forgetJournal();
    application->setEnding();
    application->end();
    EXPECT_TRUE(application->isEnding());
    EXPECT_EQ(journal(), Lines()) << "its end was complete";
}

TEST_F(ApplicationTest, RetiringNoneDoesNothing)
{
    CallScope::retire(nullptr);
    EXPECT_EQ(journal(), Lines());
}

}  // namespace
