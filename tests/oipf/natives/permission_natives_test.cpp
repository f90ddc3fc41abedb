// Whether a page is part of the service, whether it is trusted, and what a change of the channel by
// a script makes of both.

#include "lifecycle/application.h"
#include "oipf/notifications/notification_manager.h"
#include "tests/oipf/natives/natives_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

const char inside[] = "http://a.example/other";
const char outside[] = "http://c.example/";
const uint16_t signedId = 0x4000;

class PermissionNatives : public NativesTest {};

TEST_F(PermissionNatives, BroadcastRelatedNeedsBothTheApplicationAndTheBoundary)
{
    start(httpApplication(1, 1));
    EXPECT_EQ(native_PermissionsIsBroadcastRelated(1, inside), 0);
    EXPECT_EQ(native_PermissionsIsBroadcastRelated(1, outside), 7);
    EXPECT_EQ(native_PermissionsIsBroadcastRelated(1, ""), 7);
    EXPECT_EQ(native_PermissionsIsBroadcastRelated(1, nullptr), 7);
    running()->setBroadcastRelated(false);
    forgetJournal();
    EXPECT_EQ(native_PermissionsIsBroadcastRelated(1, inside), 7);
    registerEmptyWindow(9);
    EXPECT_EQ(native_PermissionsIsBroadcastRelated(9, inside), 7);
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(log().leveledLines(),
              Lines(6, "DEBUG ApplicationManager: native_PermissionsIsBroadcastRelated()"));
}

TEST_F(PermissionNatives, TrustedNeedsASignedBroadcastRelatedApplicationAndTheBoundary)
{
    const std::pair<uint16_t, int> ids[] = {{0x0001, 7}, {0x3FFF, 7}, {0x4000, 0}, {0x7FFF, 0}};
    for (const auto& [applicationId, answer] : ids) {
        start(httpApplication(1, applicationId));
        EXPECT_EQ(native_PermissionsIsTrusted(1, inside), answer) << applicationId;
        EXPECT_EQ(native_PermissionsIsTrusted(1, outside), 7) << applicationId;
        EXPECT_EQ(native_PermissionsIsTrusted(1, nullptr), 7) << applicationId;
    }
    running()->setBroadcastRelated(false);
    EXPECT_EQ(native_PermissionsIsTrusted(1, inside), 7);
}

TEST_F(PermissionNatives, TrustedTellsListenersWhatItKnows)
{
    start(httpApplication(0x1A, signedId).usage(1));
    std::optional<HBBTV_ApplicationNotificationData> seen;
    listener().onNotification[HBBTV_NOTIFICATION_TRUSTED] = [&](HBBTV_NotificationData* data) {
        seen = data->application;
    };
    EXPECT_EQ(native_PermissionsIsTrusted(1, "http://a.example/x?y#z"), 0);
    EXPECT_EQ(journal(),
              Lines({"TRUSTED? 1a.4000 related trusted=1 autostart http://a.example/x?y#z"}));
    ASSERT_TRUE(seen);
    EXPECT_EQ(seen->window, window());
    EXPECT_EQ(seen->usageType, 1);
    EXPECT_EQ(log().leveledLines(),
              Lines({"DEBUG ApplicationManager: native_PermissionIsTrusted()"}));
    EXPECT_EQ(native_PermissionsIsTrusted(1, nullptr), 7);
    EXPECT_EQ(journal(), Lines({"TRUSTED? 1a.4000 related trusted=0 autostart "}));
}

TEST_F(PermissionNatives, TrustedIsTheListenersDecisionInEitherDirection)
{
    start(httpApplication(1, signedId));
    listener().trusted = 0;
    EXPECT_EQ(native_PermissionsIsTrusted(1, inside), 7);
    start(httpApplication(1, 1));
    listener().trusted = 77;
    EXPECT_EQ(native_PermissionsIsTrusted(1, outside), 0);
}

TEST_F(PermissionNatives, TrustedOfAnApplicationByURLIsNoUnlessAListenerSaysSo)
{
    startByURL("http://b.example/");
    int usageType = -1;
    listener().onNotification[HBBTV_NOTIFICATION_TRUSTED] = [&](HBBTV_NotificationData* data) {
        usageType = data->application.usageType;
    };
    EXPECT_EQ(native_PermissionsIsTrusted(1, "http://b.example/"), 7);
    EXPECT_EQ(journal(), Lines({"TRUSTED? 0.0 independent trusted=0 http://b.example/"}));
    EXPECT_EQ(usageType, 0);
    listener().trusted = 1;
    EXPECT_EQ(native_PermissionsIsTrusted(1, "http://b.example/"), 0);
}

TEST_F(PermissionNatives, OfAnApplicationThatLostItsEntryAreThoseOfNone)
{
    start(httpApplication(1, signedId).usage(1));
    running()->setAITApplication(nullptr);
    std::optional<HBBTV_ApplicationNotificationData> seen;
    listener().onNotification[HBBTV_NOTIFICATION_TRUSTED] = [&](HBBTV_NotificationData* data) {
        seen = data->application;
    };
    EXPECT_EQ(native_PermissionsIsTrusted(1, inside), 7);
    EXPECT_EQ(journal(),
              Lines({"TRUSTED? 0.0 related trusted=0 autostart http://a.example/other"}));
    ASSERT_TRUE(seen);
    EXPECT_EQ(seen->usageType, 0);
    void* channel = &seen;
    EXPECT_EQ(native_AppPrivateDataGetCurrentChannel(id(), &channel), 1);
    EXPECT_EQ(channel, nullptr);
    EXPECT_EQ(native_AppManNotifySetChannelCalled(1, inside, nullptr), 0);
    EXPECT_TRUE(running()->isBroadcastRelated());
    EXPECT_EQ(journal(), Lines());
}

TEST_F(PermissionNatives, TrustedSurvivesAListenerThatShutsTheLibraryDown)
{
    start(httpApplication(1, signedId));
    listener().onNotification[HBBTV_NOTIFICATION_TRUSTED] = [](HBBTV_NotificationData*) {
        vesta_hbbtv_shutdown();
    };
    EXPECT_EQ(native_PermissionsIsTrusted(1, inside), 0);
}

TEST_F(PermissionNatives, TrustedIsTheLibrarysOwnDecisionWithoutListeners)
{
    start(httpApplication(1, signedId));
    NotificationManager::getInstance()->shutdown();
    EXPECT_EQ(native_PermissionsIsTrusted(1, inside), 0);
    EXPECT_EQ(native_PermissionsIsTrusted(1, outside), 7);
    vesta_hbbtv_add_notification_listener(RecordingListener::listen);
}

class SetChannel : public NativesTest {
protected:
    int setChannel(const char* url, void* channel)
    {
        return native_AppManNotifySetChannelCalled(1, url, channel);
    }

    void* storedChannel() const { return running()->getAITApplication()->getChannelHandle(); }

    char channel_ = 0;
};

const char becameIndependent[] = "CHANGE 1.1 independent trusted=1 autostart "
                                 "http://a.example/index.html";

TEST_F(SetChannel, ListenersHearOfTheChangeBeforeTheFormerChannelIsForgotten)
{
    sendAIT(AITSection().add(httpApplication(1, 1)), &channel_);
    tickAll();
    void* seen = nullptr;
    listener().onNotification[HBBTV_NOTIFICATION_BROADCAST_RELATED_CHANGE] = [&](auto*) {
        seen = storedChannel();
    };
    EXPECT_EQ(setChannel(inside, nullptr), 0);
    EXPECT_EQ(seen, &channel_);
    EXPECT_EQ(storedChannel(), nullptr);
}

TEST_F(SetChannel, NoChannelInsideTheBoundaryMakesTheApplicationIndependent)
{
    start(httpApplication(1, 1));
    EXPECT_EQ(setChannel(inside, nullptr), 0);
    EXPECT_EQ(journal(), Lines({becameIndependent}));
    EXPECT_FALSE(running()->isBroadcastRelated());
    EXPECT_EQ(log().leveledLines(),
              Lines({"DEBUG ApplicationManager: native_AppManNotifySetChannelCalled()"}));
    EXPECT_EQ(setChannel(inside, nullptr), 0);
    EXPECT_EQ(journal(), Lines());
}

TEST_F(SetChannel, NoChannelOutsideTheBoundaryOnlyForgetsTheHandle)
{
    for (const char* const url : {outside, "", static_cast<const char*>(nullptr)}) {
        start(httpApplication(1, 1));
        setChannel(outside, &channel_);
        EXPECT_EQ(setChannel(url, nullptr), 0);
        EXPECT_EQ(storedChannel(), nullptr);
        EXPECT_TRUE(running()->isBroadcastRelated());
        EXPECT_EQ(journal(), Lines());
    }
}

TEST_F(SetChannel, ChannelIsStoredInTheEntryWhereverThePageIs)
{
    start(httpApplication(1, 1));
    for (const char* const url : {inside, outside, static_cast<const char*>(nullptr)}) {
        running()->getAITApplication()->setChannelHandle(nullptr);
        EXPECT_EQ(setChannel(url, &channel_), 0);
        EXPECT_EQ(storedChannel(), &channel_);
        EXPECT_TRUE(running()->isBroadcastRelated());
    }
    EXPECT_EQ(journal(), Lines());
    void* found = nullptr;
    EXPECT_EQ(native_AppPrivateDataGetCurrentChannel(id(), &found), 0);
    EXPECT_EQ(found, &channel_);
}

TEST_F(SetChannel, ApplicationByURLChangesNothing)
{
    startByURL("http://b.example/");
    void* const other = vesta_hbbtv_create_window();
    vesta_hbbtv_set_broadcast_window(other);
    EXPECT_EQ(setChannel("http://b.example/", nullptr), 0);
    EXPECT_EQ(setChannel("http://b.example/", &channel_), 0);
    EXPECT_EQ(vesta_hbbtv_get_broadcast_window(), other);
    EXPECT_EQ(journal(), Lines());
}

TEST_F(SetChannel, UnknownWindowsAreNoFailure)
{
    EXPECT_EQ(setChannel(inside, nullptr), 0);
    EXPECT_EQ(native_AppManNotifySetChannelCalled(0, nullptr, nullptr), 0);
    registerEmptyWindow(1);
    EXPECT_EQ(setChannel(inside, nullptr), 0);
    EXPECT_EQ(journal(), Lines());
}

/// Two windows with an application of the table each: the first in w1 and the second, which shows
/// the broadcast, in w2.
class SetChannelOfTwo : public SetChannel {
protected:
    void startTwo()
    {
        start(httpApplication(1, 1));
        other_ = vesta_hbbtv_create_window();
        vesta_hbbtv_set_broadcast_window(other_);
        sendAIT(AITSection().add(httpApplication(1, 2)));
        tickAll();
        ASSERT_NE(runningInOther(), nullptr);
        forgetJournal();
        log().clear();
    }

    Application* runningInOther() const
    {
        return static_cast<Window*>(other_)->getRunningApplication();
    }

    void* other_ = nullptr;
};

TEST_F(SetChannelOfTwo, WindowTakesTheBroadcastAndTheServicesApplicationInTheFormerEnds)
{
    startTwo();
    EXPECT_EQ(setChannel(inside, &channel_), 0);
    EXPECT_EQ(vesta_hbbtv_get_broadcast_window(), window());
    EXPECT_EQ(journal(),
              Lines({"STOP 1.2 related reactivate=0 http://a.example/index.html", "RELEASE w2"}));
    EXPECT_EQ(runningInOther(), nullptr);
    EXPECT_NE(running(), nullptr);
    EXPECT_EQ(setChannel(inside, &channel_), 0);
    EXPECT_EQ(journal(), Lines());
}

TEST_F(SetChannelOfTwo, NoChannelTakesTheBroadcastToo)
{
    startTwo();
    EXPECT_EQ(setChannel(inside, nullptr), 0);
    EXPECT_EQ(journal(),
              Lines({becameIndependent, "STOP 1.2 related reactivate=0 http://a.example/index.html",
                     "RELEASE w2"}));
    EXPECT_EQ(vesta_hbbtv_get_broadcast_window(), window());
}

TEST_F(SetChannelOfTwo, IndependentApplicationInTheFormerWindowGoesOn)
{
    startTwo();
    runningInOther()->setBroadcastRelated(false);
    forgetJournal();
    EXPECT_EQ(setChannel(inside, &channel_), 0);
    EXPECT_EQ(vesta_hbbtv_get_broadcast_window(), window());
    EXPECT_NE(runningInOther(), nullptr);
    EXPECT_EQ(journal(), Lines());
}

TEST_F(SetChannelOfTwo, WindowTakesTheBroadcastWhenNoneHasIt)
{
    startTwo();
    vesta_hbbtv_release_window(other_);
    EXPECT_EQ(vesta_hbbtv_get_broadcast_window(), nullptr);
    EXPECT_EQ(setChannel(inside, &channel_), 0);
    EXPECT_EQ(vesta_hbbtv_get_broadcast_window(), window());
}

TEST_F(SetChannelOfTwo, ListenerMayReleaseTheWindowThatBecomesIndependent)
{
    startTwo();
    listener().onNotification[HBBTV_NOTIFICATION_BROADCAST_RELATED_CHANGE] =
        [&](HBBTV_NotificationData*) { vesta_hbbtv_release_window(window()); };
    EXPECT_EQ(setChannel(inside, nullptr), 0);
    EXPECT_EQ(vesta_hbbtv_get_broadcast_window(), other_);
    EXPECT_NE(runningInOther(), nullptr);
}

}  // namespace
