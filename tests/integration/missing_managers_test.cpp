// What the browser and scripts are answered while the library lacks its queue, its downloads or its
// listeners, as between two sessions of a receiver.

#include "foundation/configuration_manager.h"
#include "foundation/threadsafe_event_queue.h"
#include "integration/application_events.h"
#include "integration/external_event.h"
#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "oipf/notifications/notification_manager.h"
#include "signalling/ait.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

const int untouched = 12345;

class MissingManagers : public LibraryTest {
protected:
    MissingManagers() { startApplication(AITEntry(1, 1).carousel(1, 4).location("index.html")); }

    /// From here on there is a configuration without queue and downloads.
    static void loseConfiguration() { delete ConfigurationManager::getInstance(); }

    unsigned int report(TAVO_VESTA_EVENT event)
    {
        data_ = {};
        data_.url = data_.second_url = "dvb://1.2.3.4/index.html";
        data_.request_id = this;
        result_ = untouched;
        return notify(event, 1, data_, &result_);
    }

    TavoVestaEventData data_ = {};
    int result_ = untouched;
};

TEST_F(MissingManagers, AFinishedLoadIsConsumedWithoutAQueue)
{
    loseConfiguration();
    EXPECT_EQ(report(TAVO_VESTA_EVT_LOADING_FINISHED), 1u);
    EXPECT_EQ(result_, 0);
    EXPECT_FALSE(vesta_hbbtv_tick());
    EXPECT_EQ(journal(), Lines());
}

TEST_F(MissingManagers, AProtocolLoadIsLeftToTheBrowserWithoutDownloads)
{
    loseConfiguration();
    EXPECT_EQ(report(TAVO_VESTA_EVT_PROTOCOL_LOADING_START), 0u);
    EXPECT_EQ(result_, untouched);
    EXPECT_EQ(log().leveledLines().size(), 3u) << "the event and its URL, twice";
    EXPECT_EQ(journal(), Lines());
}

TEST_F(MissingManagers, AProtocolLoadOfAnotherTypeIsRefusedEvenWithoutDownloads)
{
    loseConfiguration();
    data_ = {};
    data_.url = "http://a.example/";
    EXPECT_EQ(notify(TAVO_VESTA_EVT_PROTOCOL_LOADING_START, 1, data_, &result_), 1u);
    EXPECT_EQ(result_, -3);
    EXPECT_EQ(log().leveledLines().back(), "WARN vesta_hbbtv: Unsupported url protocol");
}

TEST_F(MissingManagers, FilesThatNobodyWaitsForAreForgottenWithoutDownloads)
{
    ExternalEvent ready(E_DSMCC_FILE_READY, downloadRecord(this));
    ExternalEvent error(E_DSMCC_FILE_ERROR, downloadRecord(this));
    loseConfiguration();
    ready.execute();
    error.execute();
    EXPECT_EQ(log().leveledLines(), Lines({"DEBUG ExternalEvent: E_DSMCC_FILE_READY",
                                           "DEBUG ExternalEvent: E_DSMCC_FILE_ERROR"}));
    EXPECT_EQ(journal(), Lines());
}

TEST_F(MissingManagers, ACancelledProtocolLoadIsLeftToTheBrowserWithoutDownloads)
{
    report(TAVO_VESTA_EVT_PROTOCOL_LOADING_START);
    forgetJournal();
    log().clear();
    loseConfiguration();
    EXPECT_EQ(report(TAVO_VESTA_EVT_PROTOCOL_LOADING_STOP), 0u);
    EXPECT_EQ(result_, untouched);
    EXPECT_EQ(log().leveledLines(),
              Lines({"DEBUG vesta_hbbtv: TAVO_VESTA_EVT_PROTOCOL_LOADING_STOP"}));
    EXPECT_EQ(journal(), Lines());
}

TEST_F(MissingManagers, ARequestWithinTheBoundariesIsAllowedWithoutListeners)
{
    NotificationManager::getInstance()->shutdown();
    EXPECT_EQ(report(TAVO_VESTA_EVT_XHR_PERMISSION), 1u);
    EXPECT_EQ(result_, 0);
    EXPECT_EQ(data_.request_id, nullptr);
    EXPECT_EQ(NotificationManager::instance, nullptr);
    vesta_hbbtv_add_notification_listener(RecordingListener::listen);
}

TEST_F(MissingManagers, AScriptsHideIsForgottenWithoutAQueue)
{
    loseConfiguration();
    EXPECT_EQ(native_ApplicationHide(idOf(running())), VEIF_RETURN_OK);
    EXPECT_EQ(journal(), Lines());
    vesta_hbbtv_init(browser().handle());
    EXPECT_EQ(tickAll(), 0);
}

TEST_F(MissingManagers, AScriptsEndIsAcceptedAndForgottenWithoutAQueue)
{
    loseConfiguration();
    EXPECT_EQ(native_ApplicationDestroyApplication(idOf(running())), VEIF_RETURN_OK);
    EXPECT_NE(running(), nullptr);
    EXPECT_EQ(journal(), Lines());
}

TEST_F(MissingManagers, AKeySetIsGrantedWithoutListeners)
{
    NotificationManager::getInstance()->shutdown();
    double granted = 0;
    EXPECT_EQ(native_KeySetSetValue(idOf(running()), 3, &granted), VEIF_RETURN_OK);
    EXPECT_EQ(granted, 3);
    vesta_hbbtv_add_notification_listener(RecordingListener::listen);
}

TEST_F(MissingManagers, AnXMLTableIsActivatedWithoutListeners)
{
    NotificationManager::getInstance()->shutdown();
    sendXMLAIT({});
    tickAll();
    EXPECT_TRUE(window()->getAIT()->isXMLBased());
    EXPECT_EQ(running(), nullptr) << "the table no longer has the application";
    listener().windowsInUse.clear();  // nobody was told
    vesta_hbbtv_add_notification_listener(RecordingListener::listen);
}

TEST_F(MissingManagers, AHideThatStillCountsIsForgottenWithoutAQueue)
{
    HideApplicationEvent counting(running()->getID(), 1);
    loseConfiguration();
    counting.execute();
    EXPECT_EQ(journal(), Lines());
    vesta_hbbtv_init(browser().handle());
    EXPECT_EQ(tickAll(), 0);
}

TEST_F(MissingManagers, AStopThatIsMadeWithoutWindowsEndsNone)
{
    Window* const gone = window();
    Application* const ended = running();
    shutdown();
    forgetJournal();
    ASSERT_EQ(WindowManager::instance, nullptr);
    StopApplicationEvent(gone, ended, false, true).execute();
    EXPECT_EQ(WindowManager::instance, nullptr);
    EXPECT_EQ(journal(), Lines());
}

TEST_F(MissingManagers, WithoutABrowserNoWindowHasANumber)
{
    loseConfiguration();
    browser().askedBrowser = browser().handle();
    long windowId = untouched;
    EXPECT_EQ(native_AppManGetWindowOfApplication(idOf(running()), &windowId), VEIF_RETURN_ERROR);
    EXPECT_EQ(windowId, untouched);
    EXPECT_EQ(browser().askedBrowser, browser().handle()) << "no browser is asked";
    vesta_hbbtv_init(browser().handle());
    EXPECT_EQ(native_AppManGetWindowOfApplication(idOf(running()), &windowId), VEIF_RETURN_OK);
}

TEST_F(MissingManagers, AnApplicationWithoutBrowserWindowHasNoWindowNumber)
{
    long windowId = untouched;
    TAVO_VestaWindow* const tavoWindow = running()->getTavoWindow();
    running()->setTavoWindow(nullptr);
    EXPECT_EQ(native_AppManGetWindowOfApplication(idOf(running()), &windowId), VEIF_RETURN_ERROR);
    EXPECT_EQ(windowId, untouched);
    running()->setTavoWindow(tavoWindow);
    EXPECT_EQ(native_AppManGetWindowOfApplication(idOf(running()), &windowId), VEIF_RETURN_OK);
}

}  // namespace
