// What each notification tells its listeners, and how their answers come back.

#include <cstring>
#include <string>

#include "oipf/notifications/notifications.h"
#include "tests/oipf/notifications/notification_recorder.h"

using namespace VestaHbbTV;
using vesta::test::NotificationTest;

namespace {

int windowPlace;
void* const window = &windowPlace;
char tavoPlace;
TAVO_VestaWindow* const tavoWindow = reinterpret_cast<TAVO_VestaWindow*>(&tavoPlace);

/// Ids that fill their fields.
const unsigned long organisationId = 0xFEDCBA98;
const unsigned short applicationId = 0xFEDC;

class Notifications : public NotificationTest {};

/// Every field, in the order of the record.
void expectRecord(const HBBTV_ApplicationNotificationData& record, void* expectedWindow,
                  int broadcastRelated, int serviceBound, int trusted, int autostart,
                  const char* url, int usageType)
{
    EXPECT_EQ(record.window, expectedWindow);
    EXPECT_EQ(record.broadcastRelated, broadcastRelated);
    EXPECT_EQ(record.serviceBound, serviceBound);
    EXPECT_EQ(record.trusted, trusted);
    EXPECT_EQ(record.autostart, autostart);
    EXPECT_EQ(record.organisationId, organisationId);
    EXPECT_EQ(record.applicationId, applicationId);
    EXPECT_STREQ(record.url, url);
    EXPECT_EQ(record.usageType, usageType);
    EXPECT_EQ(record.action, HBBTV_APPLICATION_ACTION_START);
}

TEST_F(Notifications, NumbersAreThoseOfTheInterface)
{
    const HBBTV_NotificationType types[] = {
        HBBTV_NOTIFICATION_START_APPLICATION,
        HBBTV_NOTIFICATION_STOP_APPLICATION,
        HBBTV_NOTIFICATION_REJECT_APPLICATION,
        HBBTV_NOTIFICATION_AIT_UPDATE,
        HBBTV_NOTIFICATION_TRUSTED,
        HBBTV_NOTIFICATION_BROADCAST_RELATED_CHANGE,
        HBBTV_NOTIFICATION_XHR,
        HBBTV_NOTIFICATION_REQUEST_WINDOW,
        HBBTV_NOTIFICATION_RELEASE_WINDOW,
        HBBTV_NOTIFICATION_SHOW_WINDOW,
        HBBTV_NOTIFICATION_HIDE_WINDOW,
        HBBTV_NOTIFICATION_KEYSET_CHANGED,
        HBBTV_NOTIFICATION_GET_FREE_MEMORY,
    };
    int number = 0;
    for (const HBBTV_NotificationType type : types)
        EXPECT_EQ(type, number++);
    EXPECT_EQ(HBBTV_APPLICATION_ACTION_BLOCK_AND_KILL, 1);
    EXPECT_EQ(HBBTV_APPLICATION_ACTION_BLOCK_AND_KEEP, 2);
    EXPECT_EQ(HBBTV_XHR_ALLOW, 0);
    EXPECT_EQ(HBBTV_XHR_DENY, 1);
    EXPECT_EQ(HBBTV_XHR_CORE_DECIDES, 2);
}

Notification* start(HBBTV_ApplicationActionType* answer, const char* url = "http://a.example/")
{
    return new StartApplicationNotification(window, true, true, organisationId, applicationId, url,
                                            255, true, answer);
}

TEST_F(Notifications, StartTellsEverythingAboutTheEntry)
{
    broadcast(HBBTV_NOTIFICATION_START_APPLICATION, start(nullptr), [](auto* data) {
        expectRecord(data->application, window, 1, 1, 0, 1, "http://a.example/", 255);
        EXPECT_EQ(data->application.reactivateAIT, nullptr);
    });
    broadcast(HBBTV_NOTIFICATION_START_APPLICATION,
              new StartApplicationNotification(nullptr, false, false, organisationId, applicationId,
                                               nullptr, 0, false, nullptr),
              [](auto* data) { expectRecord(data->application, nullptr, 0, 0, 0, 0, "", 0); });
}

TEST_F(Notifications, StartFlagsAreToldApart)
{
    for (int only = 0; only < 3; ++only) {
        broadcast(HBBTV_NOTIFICATION_START_APPLICATION,
                  new StartApplicationNotification(window, only == 0, only == 1, organisationId,
                                                   applicationId, "u", 1, only == 2, nullptr),
                  [only](auto* data) {
                      expectRecord(data->application, window, only == 0, only == 1, 0, only == 2,
                                   "u", 1);
                  });
    }
}

TEST_F(Notifications, StartAnswersAsTheListenerWrote)
{
    for (const int action : {0, 1, 2, 3, -1}) {
        auto answer = static_cast<HBBTV_ApplicationActionType>(77);
        broadcast(HBBTV_NOTIFICATION_START_APPLICATION, start(&answer), [action](auto* data) {
            data->application.action = static_cast<HBBTV_ApplicationActionType>(action);
        });
        EXPECT_EQ(answer, action);
    }
}

TEST_F(Notifications, StartAnswersStartWhenNobodyListens)
{
    auto answer = HBBTV_APPLICATION_ACTION_BLOCK_AND_KEEP;
    broadcastUnheard(start(&answer));
    EXPECT_EQ(answer, HBBTV_APPLICATION_ACTION_START);
    broadcastUnheard(start(nullptr));
}

TEST_F(Notifications, StartMayHaveAnotherAnswerToBeginWith)
{
    auto answer = HBBTV_APPLICATION_ACTION_START;
    auto* const notification = new StartApplicationNotification(
        window, true, true, organisationId, applicationId, "u", 1, true, &answer);
    notification->presetAction(HBBTV_APPLICATION_ACTION_BLOCK_AND_KEEP);
    broadcastUnheard(notification);
    EXPECT_EQ(answer, HBBTV_APPLICATION_ACTION_BLOCK_AND_KEEP);
}

TEST_F(Notifications, StopHandsTheReactivationFlagToTheListener)
{
    int reactivateAIT = 1;
    broadcast(HBBTV_NOTIFICATION_STOP_APPLICATION,
              new StopApplicationNotification(window, true, organisationId, applicationId, "u",
                                              &reactivateAIT),
              [&reactivateAIT](auto* data) {
                  expectRecord(data->application, window, 1, 0, 0, 0, "u", 0);
                  EXPECT_EQ(data->application.reactivateAIT, &reactivateAIT);
                  *data->application.reactivateAIT = 0;
              });
    EXPECT_EQ(reactivateAIT, 0);
    broadcast(HBBTV_NOTIFICATION_STOP_APPLICATION,
              new StopApplicationNotification(window, false, organisationId, applicationId, nullptr,
                                              nullptr),
              [](auto* data) {
                  expectRecord(data->application, window, 0, 0, 0, 0, "", 0);
                  EXPECT_EQ(data->application.reactivateAIT, nullptr);
              });
}

TEST_F(Notifications, RejectTellsWhoAndPointsToTheLibrarysEmptyString)
{
    char* url = nullptr;
    for (const bool flag : {true, false}) {
        broadcast(HBBTV_NOTIFICATION_REJECT_APPLICATION,
                  new RejectApplicationNotification(flag, organisationId, applicationId, !flag),
                  [flag, &url](auto* data) {
                      const HBBTV_ApplicationNotificationData& record = data->application;
                      EXPECT_EQ(record.broadcastRelated, flag);
                      EXPECT_EQ(record.autostart, !flag);
                      EXPECT_EQ(record.organisationId, organisationId);
                      EXPECT_EQ(record.applicationId, applicationId);
                      EXPECT_EQ(record.reactivateAIT, nullptr);
                      EXPECT_EQ(record.action, HBBTV_APPLICATION_ACTION_START);
                      EXPECT_STREQ(record.url, "");
                      EXPECT_TRUE(!url || url == record.url) << "a constant";
                      url = record.url;
                  });
        EXPECT_STREQ(url, "") << "it outlives the record";
    }
}

Notification* trusted(bool* answer, const char* url = "u")
{
    return new TrustedNotification(window, url, answer, true, organisationId, applicationId, 3,
                                   false);
}

TEST_F(Notifications, TrustedShowsTheVerdictAndTakesTheListeners)
{
    const struct {
        bool verdict;
        int listener;
        bool result;
    } cases[] = {{false, 0, false}, {false, 1, true},  {true, 0, false},
                 {true, 1, true},   {false, -5, true}, {true, 256, true}};
    for (const auto& each : cases) {
        bool answer = each.verdict;
        broadcast(HBBTV_NOTIFICATION_TRUSTED, trusted(&answer), [&each](auto* data) {
            expectRecord(data->application, window, 1, 0, each.verdict, 0, "u", 3);
            EXPECT_EQ(data->application.reactivateAIT, nullptr);
            data->application.trusted = each.listener;
        });
        EXPECT_EQ(answer, each.result) << each.verdict << ' ' << each.listener;
    }
}

TEST_F(Notifications, TrustedKeepsTheVerdictWhenNobodyListens)
{
    for (const bool verdict : {false, true}) {
        bool answer = verdict;
        broadcastUnheard(trusted(&answer));
        EXPECT_EQ(answer, verdict);
    }
}

TEST_F(Notifications, TrustedWithoutAnswerOrURL)
{
    broadcast(HBBTV_NOTIFICATION_TRUSTED,
              new TrustedNotification(nullptr, nullptr, nullptr, false, organisationId,
                                      applicationId, 0, true),
              [](auto* data) { expectRecord(data->application, nullptr, 0, 0, 0, 1, "", 0); });
}

TEST_F(Notifications, BroadcastRelatedChangeTellsTheNewValue)
{
    for (int only = 0; only < 3; ++only) {
        broadcast(HBBTV_NOTIFICATION_BROADCAST_RELATED_CHANGE,
                  new BroadcastRelatedChangeNotification(window, only == 0, only == 1, only == 2,
                                                         organisationId, applicationId, "u", 9),
                  [only](auto* data) {
                      expectRecord(data->application, window, only == 0, 0, only == 1, only == 2,
                                   "u", 9);
                      EXPECT_EQ(data->application.reactivateAIT, nullptr);
                  });
    }
    broadcast(HBBTV_NOTIFICATION_BROADCAST_RELATED_CHANGE,
              new BroadcastRelatedChangeNotification(nullptr, true, true, true, organisationId,
                                                     applicationId, nullptr, 0),
              [](auto* data) { expectRecord(data->application, nullptr, 1, 0, 1, 1, "", 0); });
}

TEST_F(Notifications, StringsAreCopies)
{
    char url[] = "http://a.example/";
    Notification* const notification = start(nullptr, url);
    std::memset(url, 'x', sizeof(url) - 1);
    broadcast(HBBTV_NOTIFICATION_START_APPLICATION, notification, [](auto* data) {
        EXPECT_STREQ(data->application.url, "http://a.example/");
        data->application.url[0] = 'H';  // a listener may even write into it
    });
    EXPECT_EQ(url[0], 'x');
}

TEST_F(Notifications, XHRAsksAboutBothURLs)
{
    for (const int permission : {0, 1, 2, 7}) {
        auto answer = HBBTV_XHR_CORE_DECIDES;
        broadcast(HBBTV_NOTIFICATION_XHR, new XHRNotification("document", "request", &answer),
                  [permission](auto* data) {
                      EXPECT_STREQ(data->xhr.documentUrl, "document");
                      EXPECT_STREQ(data->xhr.requestUrl, "request");
                      EXPECT_EQ(data->xhr.permission, HBBTV_XHR_ALLOW);
                      EXPECT_TRUE(isZeroBehind(*data, data->xhr));
                      data->xhr.permission = static_cast<HBBTV_XHR_Permission>(permission);
                  });
        EXPECT_EQ(answer, permission);
    }
}

TEST_F(Notifications, XHRAllowsWhenNobodyListens)
{
    auto answer = HBBTV_XHR_DENY;
    broadcastUnheard(new XHRNotification("document", "request", &answer));
    EXPECT_EQ(answer, HBBTV_XHR_ALLOW);
    broadcast(HBBTV_NOTIFICATION_XHR, new XHRNotification(nullptr, nullptr, nullptr),
              [](auto* data) {
                  EXPECT_STREQ(data->xhr.documentUrl, "");
                  EXPECT_STREQ(data->xhr.requestUrl, "");
                  EXPECT_NE(data->xhr.documentUrl, data->xhr.requestUrl);
              });
}

TEST_F(Notifications, RequestWindowLetsTheListenerFillTheSlot)
{
    for (const int success : {1, -1, 0}) {
        TAVO_VestaWindow* slot = nullptr;
        bool answer = success == 0;
        broadcast(HBBTV_NOTIFICATION_REQUEST_WINDOW,
                  new RequestWindowNotification(&slot, &answer, window),
                  [&slot, success](auto* data) {
                      EXPECT_EQ(data->window.tavoWindow, &slot);
                      EXPECT_EQ(data->window.success, 0);
                      EXPECT_EQ(data->window.window, window);
                      EXPECT_TRUE(isZeroBehind(*data, data->window));
                      *data->window.tavoWindow = tavoWindow;
                      data->window.success = success;
                  });
        EXPECT_EQ(slot, tavoWindow);
        EXPECT_EQ(answer, success != 0);
    }
}

TEST_F(Notifications, RequestWindowFailsWhenNobodyListens)
{
    TAVO_VestaWindow* slot = tavoWindow;
    bool answer = true;
    broadcastUnheard(new RequestWindowNotification(&slot, &answer, window));
    EXPECT_FALSE(answer);
    EXPECT_EQ(slot, tavoWindow);
    broadcastUnheard(new RequestWindowNotification(&slot, nullptr, window));
    broadcastUnheard(new RequestWindowNotification(nullptr, &answer, nullptr));
}

TEST_F(Notifications, ReleaseWindowAnswersWhetherItWasReleased)
{
    TAVO_VestaWindow* slot = tavoWindow;
    for (const int success : {1, 2, 0}) {
        bool answer = success == 0;
        broadcast(HBBTV_NOTIFICATION_RELEASE_WINDOW, new ReleaseWindowNotification(&slot, &answer),
                  [&slot, success](auto* data) {
                      EXPECT_EQ(data->window.tavoWindow, &slot);
                      EXPECT_EQ(data->window.success, 0);
                      EXPECT_EQ(data->window.window, nullptr);
                      EXPECT_TRUE(isZeroBehind(*data, data->window));
                      data->window.success = success;
                  });
        EXPECT_EQ(answer, success != 0);
    }
    bool answer = true;
    broadcastUnheard(new ReleaseWindowNotification(&slot, &answer));
    EXPECT_FALSE(answer);
    broadcastUnheard(new ReleaseWindowNotification(&slot, nullptr));
}

TEST_F(Notifications, ShowAndHideWindowNameTheSlot)
{
    TAVO_VestaWindow* slot = tavoWindow;
    const auto look = [&slot](auto* data) {
        EXPECT_EQ(data->window.tavoWindow, &slot);
        EXPECT_EQ(data->window.success, 0);
        EXPECT_EQ(data->window.window, nullptr);
        EXPECT_TRUE(isZeroBehind(*data, data->window));
    };
    broadcast(HBBTV_NOTIFICATION_SHOW_WINDOW, new ShowWindowNotification(&slot), look);
    broadcast(HBBTV_NOTIFICATION_HIDE_WINDOW, new HideWindowNotification(&slot), look);
    broadcastUnheard(new ShowWindowNotification(nullptr));
    broadcastUnheard(new HideWindowNotification(nullptr));
    EXPECT_EQ(slot, tavoWindow);
}

TEST_F(Notifications, KeysetChangedTellsTheMask)
{
    for (const int mask : {0, 0x3FF, -1}) {
        broadcast(HBBTV_NOTIFICATION_KEYSET_CHANGED,
                  new KeysetChangedNotification(tavoWindow, mask), [mask](auto* data) {
                      EXPECT_EQ(data->keyset.tavoWindow, tavoWindow);
                      EXPECT_EQ(data->keyset.keysetValue, mask);
                      EXPECT_TRUE(isZeroBehind(*data, data->keyset));
                  });
    }
}

TEST_F(Notifications, FreeMemoryIsWrittenThroughTheCallersPointer)
{
    long freeMemory = -1;
    broadcastUnheard(new GetFreeMemoryNotification(&freeMemory));
    EXPECT_EQ(freeMemory, -1);
    broadcast(HBBTV_NOTIFICATION_GET_FREE_MEMORY, new GetFreeMemoryNotification(&freeMemory),
              [&freeMemory](auto* data) {
                  EXPECT_EQ(data->memory.freeMemory, &freeMemory);
                  EXPECT_TRUE(isZeroBehind(*data, data->memory));
                  *data->memory.freeMemory = 123456;
              });
    EXPECT_EQ(freeMemory, 123456);
    broadcastUnheard(new GetFreeMemoryNotification(nullptr));
}

}  // namespace
