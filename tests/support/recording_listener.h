/// The integrator's listener: it writes every notification to the journal and answers as it is
/// told. By default everything may start, and browser windows are handed out in turn.
#ifndef VESTA_TESTS_SUPPORT_RECORDING_LISTENER_H
#define VESTA_TESTS_SUPPORT_RECORDING_LISTENER_H

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "vesta_hbbtv_appman.h"

namespace vesta::test {

/// The one listener of a test program; reset() between tests.
class RecordingListener {
public:
    static RecordingListener& instance();

    /// To be registered with vesta_hbbtv_add_notification_listener().
    static VestaHbbTV::HBBTV_STATUS listen(VestaHbbTV::HBBTV_NotificationType type,
                                           VestaHbbTV::HBBTV_NotificationData* data);

    void reset();

    /// @name Answers; unset ones leave the record as the library made it
    /// @{
    std::optional<int> startAction;
    std::optional<int> reactivateAIT;
    std::optional<int> trusted;
    std::optional<int> xhrPermission;
    std::optional<long> freeMemory;
    /// Browser windows by number that are handed out next; then the lowest free one.
    std::vector<long> nextWindows;
    /// Whether a request for a window fails.
    bool refuseWindows = false;
    /// @}

    /// Called for a notification of that type after it was written and answered.
    std::map<int, std::function<void(VestaHbbTV::HBBTV_NotificationData*)>> onNotification;

    /// The browser windows that are handed out, by number.
    std::set<long> windowsInUse;

    /// Names of window handles: what concerns one is marked in the journal, " @A" for a window that
    /// is called "A".
    std::map<const void*, std::string> windowNames;

    bool journalling = true;

private:
    void answer(VestaHbbTV::HBBTV_NotificationType type, VestaHbbTV::HBBTV_NotificationData& data);
    void requestWindow(VestaHbbTV::HBBTV_WindowNotificationData& record);
    void releaseWindow(VestaHbbTV::HBBTV_WindowNotificationData& record);
    std::string describe(VestaHbbTV::HBBTV_NotificationType type,
                         const VestaHbbTV::HBBTV_NotificationData* data) const;
    std::string mark(VestaHbbTV::HBBTV_NotificationType type,
                     const VestaHbbTV::HBBTV_NotificationData* data) const;
};

}  // namespace vesta::test

#endif
