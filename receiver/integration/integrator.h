/// The integrator's side of the notifications: what to answer, and what is running.
#ifndef VESTA_RECEIVER_INTEGRATION_INTEGRATOR_H
#define VESTA_RECEIVER_INTEGRATION_INTEGRATOR_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "vesta_hbbtv_appman.h"

#include "receiver/browser/browser_engine.h"
#include "receiver/console/event_log.h"

namespace receiver {

/// Answers the application manager's questions and keeps the books for the status page. Browser
/// thread.
class Integrator {
public:
    /// @param log, browser borrowed
    Integrator(EventLog& log, BrowserEngine& browser);
    ~Integrator();
    Integrator(const Integrator&) = delete;
    Integrator& operator=(const Integrator&) = delete;

    /// To be registered with vesta_hbbtv_add_notification_listener().
    static VestaHbbTV::HBBTV_STATUS listen(VestaHbbTV::HBBTV_NotificationType type,
                                           VestaHbbTV::HBBTV_NotificationData* data);

    /// @name Answers
    /// @{
    VestaHbbTV::HBBTV_ApplicationActionType startAnswer =
        VestaHbbTV::HBBTV_APPLICATION_ACTION_START;
    VestaHbbTV::HBBTV_XHR_Permission requestAnswer = VestaHbbTV::HBBTV_XHR_ALLOW;
    long freeMemory = 64L << 20;  ///< bytes
    /// @}

    /// An application as far as the notifications tell.
    struct RunningApplication {
        std::string ids;  ///< "organisation.application", hexadecimal
        std::string url;
        bool broadcastRelated;
        bool visible;
        TAVO_VestaWindow* window;
        std::string parent;  ///< ids of the application whose script created it
    };
    const std::vector<RunningApplication>& applications() const { return applications_; }

    /// The applications of the last table and their URLs, for people; empty without a table.
    const std::vector<std::string>& table() const { return table_; }
    /// The service changed: the table that was told last is void. Does nothing without an
    /// integrator.
    static void forgetTable();

    /// The application that runs in a browser window; null for none.
    const RunningApplication* applicationOf(const TAVO_VestaWindow* window) const;

    /// The next application that starts is created by this one's script.
    void setNextParent(const std::string& ids) { nextParent_ = ids; }

private:
    void handle(VestaHbbTV::HBBTV_NotificationType type, VestaHbbTV::HBBTV_NotificationData* data);
    void start(VestaHbbTV::HBBTV_ApplicationNotificationData& record);
    void stop(const VestaHbbTV::HBBTV_ApplicationNotificationData& record);
    void reject(const VestaHbbTV::HBBTV_ApplicationNotificationData& record);
    void change(const VestaHbbTV::HBBTV_ApplicationNotificationData& record);
    void trusted(const VestaHbbTV::HBBTV_ApplicationNotificationData& record);
    void update(const VestaHbbTV::HBBTV_NotificationData* data);
    void request(VestaHbbTV::HBBTV_XHRNotificationData& record);
    void openWindow(VestaHbbTV::HBBTV_WindowNotificationData& record);
    void closeWindow(VestaHbbTV::HBBTV_WindowNotificationData& record);
    void setVisible(const VestaHbbTV::HBBTV_WindowNotificationData& record, bool visible);
    void report(const char* event, const std::string& text,
                const EventLog::Details& details = nullptr);

    EventLog& log_;
    BrowserEngine& browser_;
    std::vector<RunningApplication> applications_;
    std::vector<std::string> table_;
    std::optional<RunningApplication> starting_;
    std::string nextParent_;

    static Integrator* current;
};

/// "a.2a01"
std::string idsOf(unsigned long organisationId, unsigned applicationId);

}  // namespace receiver

#endif
