#include "oipf/notifications/notification_manager.h"

#include <algorithm>
#include <memory>

#include "foundation/at_exit.h"
#include "oipf/notifications/notifications.h"

namespace VestaHbbTV {

NotificationManager* NotificationManager::instance = nullptr;

NotificationManager* NotificationManager::getInstance()
{
    if (!instance)
        instance = new NotificationManager;
    return instance;
}

void NotificationManager::broadcastIfAny(Notification* notification)
{
    if (instance)
        instance->broadcast(notification);
    else
        delete notification;
}

NotificationManager::NotificationManager() = default;

NotificationManager::~NotificationManager()
{
    if (instance == this)
        instance = nullptr;
}

void NotificationManager::init()
{
}

void NotificationManager::shutdown()
{
    if (broadcasts_ == 0) {
        delete this;
        return;
    }
    shutDown_ = true;
    listeners_.clear();
    if (instance == this)
        instance = nullptr;
}

void NotificationManager::addListener(HBBTV_NotificationListener listener)
{
    if (listener)
        listeners_.push_back(listener);
}

void NotificationManager::removeListener(HBBTV_NotificationListener listener)
{
    const auto found = std::find(listeners_.begin(), listeners_.end(), listener);
    if (found != listeners_.end())
        listeners_.erase(found);
}

void NotificationManager::broadcast(Notification* notification)
{
    const std::unique_ptr<Notification> owned(notification);
    if (!owned)
        return;
    ++broadcasts_;
    // A listener may shut the library down in return.
    const AtExit end([this] {
        if (--broadcasts_ == 0 && shutDown_)
            delete this;
    });
    // By index, and with the end looked up anew: listeners may change the list.
    for (size_t index = 0; index < listeners_.size(); ++index)
        listeners_[index](owned->getType(), owned->getData());
}

}  // namespace VestaHbbTV
