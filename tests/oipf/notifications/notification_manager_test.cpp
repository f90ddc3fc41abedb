// The registry of listeners: who is called when, and what listeners may do meanwhile.

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "oipf/notifications/notification_manager.h"
#include "oipf/notifications/notifications.h"

using namespace VestaHbbTV;

namespace {

std::vector<std::string> calls;
std::function<void(HBBTV_NotificationType, HBBTV_NotificationData*)> whenFirstIsCalled;

HBBTV_STATUS first(HBBTV_NotificationType type, HBBTV_NotificationData* data)
{
    calls.push_back("first");
    const auto action = whenFirstIsCalled;
    if (action)
        action(type, data);
    return HBBTV_STATUS_ERROR;  // nobody looks at it
}

HBBTV_STATUS second(HBBTV_NotificationType, HBBTV_NotificationData*)
{
    calls.push_back("second");
    return HBBTV_STATUS_OK;
}

HBBTV_STATUS third(HBBTV_NotificationType, HBBTV_NotificationData*)
{
    calls.push_back("third");
    return static_cast<HBBTV_STATUS>(-1);
}

/// Tells when it is deleted.
class CountedNotification : public Notification {
public:
    explicit CountedNotification(int* deleted)
        : Notification(HBBTV_NOTIFICATION_GET_FREE_MEMORY, nullptr), deleted_(deleted)
    {
    }
    ~CountedNotification() override { ++*deleted_; }

private:
    int* deleted_;
};

using Calls = std::vector<std::string>;

class NotificationManagerTest : public ::testing::Test {
protected:
    NotificationManagerTest()
    {
        calls.clear();
        whenFirstIsCalled = {};
    }

    ~NotificationManagerTest() override
    {
        NotificationManager::getInstance()->shutdown();
        EXPECT_EQ(NotificationManager::instance, nullptr);
    }

    static NotificationManager* manager() { return NotificationManager::getInstance(); }

    /// Broadcasts, and checks that the notification is gone afterwards.
    Calls broadcast()
    {
        calls.clear();
        int deleted = 0;
        manager()->broadcast(new CountedNotification(&deleted));
        EXPECT_EQ(deleted, 1);
        return calls;
    }
};

TEST_F(NotificationManagerTest, ManagerIsMadeOnFirstUse)
{
    EXPECT_EQ(NotificationManager::instance, nullptr);
    NotificationManager* const created = manager();
    EXPECT_EQ(NotificationManager::instance, created);
    EXPECT_EQ(manager(), created);
    created->init();
    EXPECT_EQ(manager(), created);
}

TEST_F(NotificationManagerTest, NoneStillDeletesTheNotification)
{
    EXPECT_EQ(broadcast(), Calls());
}

TEST_F(NotificationManagerTest, AllAreCalledInTheOrderOfRegistrationWhateverTheyReturn)
{
    for (const auto listener : {first, second, third})
        manager()->addListener(listener);
    EXPECT_EQ(broadcast(), Calls({"first", "second", "third"}));
}

TEST_F(NotificationManagerTest, NullIsIgnored)
{
    manager()->addListener(nullptr);
    manager()->addListener(first);
    EXPECT_EQ(broadcast(), Calls({"first"}));
    manager()->removeListener(nullptr);
    EXPECT_EQ(broadcast(), Calls({"first"}));
}

TEST_F(NotificationManagerTest, OneAddedTwiceIsCalledTwiceAndRemovedOnce)
{
    for (const auto listener : {first, second, first, third})
        manager()->addListener(listener);
    EXPECT_EQ(broadcast(), Calls({"first", "second", "first", "third"}));
    manager()->removeListener(first);
    EXPECT_EQ(broadcast(), Calls({"second", "first", "third"}));
    manager()->removeListener(first);
    EXPECT_EQ(broadcast(), Calls({"second", "third"}));
    manager()->removeListener(first);
    EXPECT_EQ(broadcast(), Calls({"second", "third"}));
}

TEST_F(NotificationManagerTest, RemovingTheOnlyOneLeavesNone)
{
    manager()->addListener(first);
    manager()->removeListener(first);
    EXPECT_EQ(broadcast(), Calls());
}

TEST_F(NotificationManagerTest, ANullNotificationCallsNobody)
{
    manager()->addListener(first);
    manager()->broadcast(nullptr);
    EXPECT_TRUE(calls.empty());
}

TEST_F(NotificationManagerTest, AreForgottenWithTheManager)
{
    manager()->addListener(first);
    manager()->shutdown();
    EXPECT_EQ(NotificationManager::instance, nullptr);
    EXPECT_EQ(broadcast(), Calls());
}

TEST_F(NotificationManagerTest, WithoutAManagerNotificationsAreOnlyDeleted)
{
    int deleted = 0;
    NotificationManager::broadcastIfAny(new CountedNotification(&deleted));
    EXPECT_EQ(deleted, 1);
    NotificationManager::broadcastIfAny(nullptr);
    EXPECT_EQ(NotificationManager::instance, nullptr);

    manager()->addListener(first);
    NotificationManager::broadcastIfAny(new CountedNotification(&deleted));
    EXPECT_EQ(deleted, 2);
    EXPECT_EQ(calls, Calls({"first"}));
}

TEST_F(NotificationManagerTest, OneAddedByAListenerIsCalledInTheSameBroadcast)
{
    manager()->addListener(first);
    whenFirstIsCalled = [](auto, auto*) {
        for (int n = 0; n < 100; ++n)  // enough to move the list's storage
            NotificationManager::getInstance()->addListener(second);
    };
    EXPECT_EQ(broadcast().size(), 101u);
    EXPECT_EQ(calls.back(), "second");
}

TEST_F(NotificationManagerTest, OneRemovedByAnEarlierListenerIsNotCalled)
{
    for (const auto listener : {first, second, third})
        manager()->addListener(listener);
    whenFirstIsCalled = [](auto, auto*) {
        NotificationManager::getInstance()->removeListener(second);
    };
    EXPECT_EQ(broadcast(), Calls({"first", "third"}));
}

TEST_F(NotificationManagerTest, AListenerMayRemoveItself)
{
    for (const auto listener : {first, second, third})
        manager()->addListener(listener);
    whenFirstIsCalled = [](auto, auto*) {
        NotificationManager::getInstance()->removeListener(first);
    };
    EXPECT_EQ(broadcast().back(), "third");
    EXPECT_EQ(broadcast(), Calls({"second", "third"}));
}

TEST_F(NotificationManagerTest, AListenerMayRemoveAll)
{
    for (const auto listener : {first, second, third})
        manager()->addListener(listener);
    whenFirstIsCalled = [](auto, auto*) {
        for (const auto listener : {third, second, first})
            NotificationManager::getInstance()->removeListener(listener);
    };
    EXPECT_EQ(broadcast(), Calls({"first"}));
    EXPECT_EQ(broadcast(), Calls());
}

TEST_F(NotificationManagerTest, AListenerMayBroadcast)
{
    manager()->addListener(first);
    manager()->addListener(second);
    int deleted = 0;
    whenFirstIsCalled = [&deleted](auto, auto*) {
        whenFirstIsCalled = {};
        NotificationManager::getInstance()->broadcast(new CountedNotification(&deleted));
        EXPECT_EQ(deleted, 1);
    };
    EXPECT_EQ(broadcast(), Calls({"first", "first", "second", "second"}));
}

TEST_F(NotificationManagerTest, AListenerMayShutTheManagerDownWhichEndsTheBroadcast)
{
    manager()->addListener(first);
    manager()->addListener(second);
    bool trusted = false;
    whenFirstIsCalled = [](auto, HBBTV_NotificationData* data) {
        NotificationManager::getInstance()->shutdown();
        EXPECT_EQ(NotificationManager::instance, nullptr);
        data->application.trusted = 1;  // the record lives on
    };
    manager()->broadcast(new TrustedNotification(nullptr, "url", &trusted, false, 1, 2, 0, false));
    EXPECT_EQ(calls, Calls({"first"}));
    EXPECT_TRUE(trusted) << "the answer still arrives";
    EXPECT_EQ(NotificationManager::instance, nullptr);
}

TEST_F(NotificationManagerTest, AManagerMadeWhileTheFormerBroadcastsIsAnother)
{
    NotificationManager* const former = manager();
    former->addListener(first);
    former->addListener(third);
    whenFirstIsCalled = [former](auto, auto*) {
        former->shutdown();
        EXPECT_NE(manager(), former);
        manager()->addListener(second);
    };
    int deleted = 0;
    former->broadcast(new CountedNotification(&deleted));
    EXPECT_EQ(deleted, 1);
    EXPECT_EQ(calls, Calls({"first"}));
    EXPECT_EQ(broadcast(), Calls({"second"}));
}

TEST_F(NotificationManagerTest, AFormerManagersSecondShutdownLeavesItsSuccessorAlone)
{
    NotificationManager* const former = manager();
    former->addListener(first);
    whenFirstIsCalled = [former](auto, auto*) {
        former->shutdown();
        NotificationManager* const successor = manager();
        former->shutdown();
        EXPECT_EQ(NotificationManager::instance, successor);
    };
    int deleted = 0;
    former->broadcast(new CountedNotification(&deleted));
    EXPECT_EQ(deleted, 1);
}

TEST_F(NotificationManagerTest, ShutdownInsideANestedBroadcastEndsBoth)
{
    manager()->addListener(first);
    manager()->addListener(second);
    int deleted = 0;
    whenFirstIsCalled = [&deleted](auto, auto*) {
        whenFirstIsCalled = [](auto, auto*) { NotificationManager::getInstance()->shutdown(); };
        NotificationManager::getInstance()->broadcast(new CountedNotification(&deleted));
    };
    manager()->broadcast(new CountedNotification(&deleted));
    EXPECT_EQ(deleted, 2);
    EXPECT_EQ(calls, Calls({"first", "first"}));
    EXPECT_EQ(NotificationManager::instance, nullptr);
}

}  // namespace
