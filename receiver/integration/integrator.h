/// The integrator's side of the notifications: what to answer, and what is running.
#ifndef VESTA_RECEIVER_INTEGRATION_INTEGRATOR_H
#define VESTA_RECEIVER_INTEGRATION_INTEGRATOR_H

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "vesta_hbbtv_appman.h"

#include "receiver/browser/browser_engine.h"
#include "receiver/console/event_log.h"

namespace receiver {

class TableBook;

/// Answers the application manager's questions and keeps the books for the status page. Browser
/// thread.
class Integrator {
public:
    /// @param log, browser borrowed @param book what the notifications leave out of the tables;
    ///        borrowed, may be null
    Integrator(EventLog& log, BrowserEngine& browser, const TableBook* book = nullptr);
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

    /// @name What the application manager knows of the terminal
    /// @{
    unsigned supportedProfiles = 0;
    std::string version = "1.2.1";  ///< of HbbTV
    bool hasBroadband = true;
    bool isTimeShifted = false;
    /// @}

    /// A start was asked for. @param what ids of an application of the table, or a URL
    void expectStart(const std::string& what) { expectedStart_ = what; }

    /// To be called when everything that was queued is done: says which starts came to nothing, of
    /// those that were expected and of applications that are signalled to start by themselves.
    void reportStartsThatCameToNothing();

    /// An application as far as the notifications say.
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

    /// An application of the table in force.
    struct Listed {
        std::string ids;
        uint32_t organisationId;
        uint16_t applicationId;
        int controlCode;
        std::string name;               ///< UTF-8
        std::vector<std::string> urls;  ///< of its transports, in the order in which they are tried
        bool needsBroadband;            ///< all its transports do

        bool isAutostart() const;
    };
    const std::vector<Listed>& listed() const { return listed_; }

    /// What the receiver knows against the start of an application; the application manager only
    /// does not start it. @return for people; empty where it knows nothing
    std::string reasonAgainst(const std::string& ids) const;

    /// The service changed: the table that was reported last is void. Does nothing without an
    /// integrator.
    static void forgetTable();

    /// The application that runs in a browser window; null for none.
    const RunningApplication* applicationOf(const TAVO_VestaWindow* window) const;

    /// Keys that an application wants beside its key set, which has no list. @param window of the
    /// application; forgotten with it @param codes TAVO_VIRTUAL_KEYs, instead of the ones before
    void setOtherKeys(const TAVO_VestaWindow* window, const std::set<int>& codes);
    /// @return in ascending order
    std::set<int> otherKeysOf(const TAVO_VestaWindow* window) const;

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
    Listed listedFrom(const VestaHbbTV::HBBTV_AITApplicationInfo& info) const;
    std::string knownReason(const std::string& ids) const;
    void reportNotStarted(const std::string& what, const std::string& reason);

    EventLog& log_;
    BrowserEngine& browser_;
    const TableBook* book_;
    std::vector<Listed> listed_;
    std::set<std::string> rejected_;            // of the table in force
    std::optional<std::string> expectedStart_;  // until it is asked for
    bool expectsAutostart_ = false;
    std::vector<RunningApplication> applications_;
    std::vector<std::string> table_;
    std::optional<RunningApplication> starting_;
    std::map<const TAVO_VestaWindow*, std::set<int>> otherKeys_;
    std::string nextParent_;

    static Integrator* current;
};

/// The words for HBBTV_ApplicationActionType and HBBTV_XHR_Permission, in their order.
constexpr std::array<const char*, 3> startAnswers = {"allow", "kill", "keep"};
constexpr std::array<const char*, 3> requestAnswers = {"allow", "deny", "core"};

/// "AUTOSTART"; "?" of a code that is none.
const char* controlCodeName(int code);

/// "a.2a01"
std::string idsOf(unsigned long organisationId, unsigned applicationId);

}  // namespace receiver

#endif
