/// Broadcasts one notification to one listener and lets a test look at the record.
#ifndef VESTA_TESTS_OIPF_NOTIFICATION_RECORDER_H
#define VESTA_TESTS_OIPF_NOTIFICATION_RECORDER_H

#include <cstddef>
#include <functional>
#include <gtest/gtest.h>

#include "oipf/notifications/notification_manager.h"
#include "oipf/notifications/notifications.h"

namespace vesta::test {

class NotificationTest : public ::testing::Test {
protected:
    using Look = std::function<void(VestaHbbTV::HBBTV_NotificationData*)>;

    ~NotificationTest() override
    {
        VestaHbbTV::NotificationManager::getInstance()->shutdown();
        look() = {};
    }

    /// Broadcasts to nobody.
    static void broadcastUnheard(VestaHbbTV::Notification* notification)
    {
        VestaHbbTV::NotificationManager::getInstance()->broadcast(notification);
    }

    /// Broadcasts to one listener, which must be called once and with this type.
    static void broadcast(VestaHbbTV::HBBTV_NotificationType type,
                          VestaHbbTV::Notification* notification, Look lookAt)
    {
        auto* const manager = VestaHbbTV::NotificationManager::getInstance();
        look() = std::move(lookAt);
        expectedType() = type;
        callCount() = 0;
        manager->addListener(listen);
        manager->broadcast(notification);
        manager->removeListener(listen);
        EXPECT_EQ(callCount(), 1);
    }

    /// Whether the bytes of a record behind its member are zero.
    template <typename Member>
    static bool isZeroBehind(const VestaHbbTV::HBBTV_NotificationData& data, const Member& member)
    {
        const auto* const bytes = reinterpret_cast<const unsigned char*>(&data);
        for (size_t index = sizeof(member); index < sizeof(data); ++index) {
            if (bytes[index] != 0)
                return false;
        }
        return true;
    }

private:
    static VestaHbbTV::HBBTV_STATUS listen(VestaHbbTV::HBBTV_NotificationType type,
                                           VestaHbbTV::HBBTV_NotificationData* data)
    {
        EXPECT_EQ(type, expectedType());
        ++callCount();
        if (look())
            look()(data);
        return VestaHbbTV::HBBTV_STATUS_OK;
    }

    static Look& look()
    {
        static Look current;
        return current;
    }

    static VestaHbbTV::HBBTV_NotificationType& expectedType()
    {
        static VestaHbbTV::HBBTV_NotificationType type;
        return type;
    }

    static int& callCount()
    {
        static int count;
        return count;
    }
};

}  // namespace vesta::test

#endif
