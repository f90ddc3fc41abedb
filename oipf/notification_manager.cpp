#include "oipf/notification_manager.h"

#include <algorithm>
#include <memory>

#include "lifecycle/call_scope.h"
#include "oipf/notifications.h"

namespace VestaHbbTV {

NotificationManager* NotificationManager::instance = nullptr;

NotificationManager* NotificationManager::getInstance()
{
    finishShutdown();
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

void NotificationManager::shutdown()
{
    shutDown_ = true;
    if (!CallScope::isOpen())
        close();
}

void NotificationManager::finishShutdown()
{
    if (instance && instance->shutDown_)
        instance->close();
}

void NotificationManager::close()
{
    if (instance == this)
        instance = nullptr;
    if (broadcasts_ == 0)
        delete this;
    else
        listeners_.clear();
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
    // By index, and with the end looked up anew: listeners may change the list.
    for (size_t index = 0; index < listeners_.size(); ++index)
        listeners_[index](owned->getType(), owned->getData());
    if (--broadcasts_ == 0 && shutDown_ && instance != this)
        delete this;
}

}  // namespace VestaHbbTV
