#include "receiver/integration/integrator.h"

#include <algorithm>
#include <iomanip>
#include <sstream>

#include "receiver/service/table_book.h"
#include "receiver/text/dvb_text.h"

namespace receiver {

using namespace VestaHbbTV;

namespace {

constexpr int autostartCode = 1;

std::string idsOf(const HBBTV_ApplicationNotificationData& record)
{
    return receiver::idsOf(record.organisationId, record.applicationId);
}

const char* answerName(HBBTV_ApplicationActionType answer)
{
    switch (answer) {
    case HBBTV_APPLICATION_ACTION_BLOCK_AND_KILL:
        return "no, and what runs is to stop";
    case HBBTV_APPLICATION_ACTION_BLOCK_AND_KEEP:
        return "no";
    default:
        return "yes";
    }
}

const char* answerName(HBBTV_XHR_Permission answer)
{
    switch (answer) {
    case HBBTV_XHR_DENY:
        return "no";
    case HBBTV_XHR_CORE_DECIDES:
        return "as the browser decides";
    default:
        return "yes";
    }
}

std::string titleOf(const Integrator::Listed& application)
{
    const std::string& name = application.name;
    return application.ids + " " + controlCodeName(application.controlCode) +
           (name.empty() ? "" : " \"" + name + "\"");
}

/// @return the URLs of the transports in the order in which they are tried
std::vector<std::string> urlsOf(const HBBTV_AITApplicationInfo& info)
{
    std::vector<std::string> urls;
    // The preferred transport stands in the last slot.
    for (unsigned slot = info.numUrls; slot-- > 0;) {
        if (info.urls[slot])
            urls.emplace_back(info.urls[slot]);
    }
    return urls;
}

}  // namespace

Integrator* Integrator::current = nullptr;

const char* controlCodeName(int code)
{
    const char* const names[] = {"?",    "AUTOSTART", "PRESENT", "DESTROY",
                                 "KILL", "PREFETCH",  "REMOTE",  "DISABLED"};
    return code > 0 && code <= 7 ? names[code] : names[0];
}

bool Integrator::Listed::isAutostart() const
{
    return controlCode == autostartCode;
}

std::string idsOf(unsigned long organisationId, unsigned applicationId)
{
    std::ostringstream text;
    text << std::hex << organisationId << "." << applicationId;
    return text.str();
}

Integrator::Integrator(EventLog& log, BrowserEngine& browser, const TableBook* book)
    : log_(log), browser_(browser), book_(book)
{
    current = this;
}

Integrator::~Integrator()
{
    current = nullptr;
}

HBBTV_STATUS Integrator::listen(HBBTV_NotificationType type, HBBTV_NotificationData* data)
{
    if (current)
        current->handle(type, data);
    return HBBTV_STATUS_OK;
}

void Integrator::forgetTable()
{
    if (!current)
        return;
    current->table_.clear();
    current->listed_.clear();
    current->rejected_.clear();
}

void Integrator::handle(HBBTV_NotificationType type, HBBTV_NotificationData* data)
{
    switch (type) {
    case HBBTV_NOTIFICATION_START_APPLICATION:
        return start(data->application);
    case HBBTV_NOTIFICATION_STOP_APPLICATION:
        return stop(data->application);
    case HBBTV_NOTIFICATION_REJECT_APPLICATION:
        return reject(data->application);
    case HBBTV_NOTIFICATION_AIT_UPDATE:
        return update(data);
    case HBBTV_NOTIFICATION_TRUSTED:
        return trusted(data->application);
    case HBBTV_NOTIFICATION_BROADCAST_RELATED_CHANGE:
        return change(data->application);
    case HBBTV_NOTIFICATION_XHR:
        return request(data->xhr);
    case HBBTV_NOTIFICATION_REQUEST_WINDOW:
        return openWindow(data->window);
    case HBBTV_NOTIFICATION_RELEASE_WINDOW:
        return closeWindow(data->window);
    case HBBTV_NOTIFICATION_SHOW_WINDOW:
        return setVisible(data->window, true);
    case HBBTV_NOTIFICATION_HIDE_WINDOW:
        return setVisible(data->window, false);
    case HBBTV_NOTIFICATION_KEYSET_CHANGED: {
        std::ostringstream text;
        text << "key set changed to 0x" << std::hex << data->keyset.keysetValue;
        return report("key-set", text.str(), {{"value", data->keyset.keysetValue}});
    }
    case HBBTV_NOTIFICATION_GET_FREE_MEMORY:
        *data->memory.freeMemory = freeMemory;
        return report("free-memory", "free memory? " + std::to_string(freeMemory) + " bytes");
    }
}

void Integrator::start(HBBTV_ApplicationNotificationData& record)
{
    expectedStart_.reset();
    expectsAutostart_ = false;
    // An application without a valid id comes with the answer set to a refusal; it stays so.
    if (startAnswer != HBBTV_APPLICATION_ACTION_START)
        record.action = startAnswer;
    const bool isAllowed = record.action == HBBTV_APPLICATION_ACTION_START;
    const std::string ids = idsOf(record);
    report("start",
           "may " + ids + " start" + (record.autostart ? " (AUTOSTART)" : "") + "? " +
               answerName(record.action) + ", " + record.url,
           {{"application", ids},
            {"url", record.url},
            {"autostart", record.autostart != 0},
            {"broadcast_related", record.broadcastRelated != 0},
            {"answer", static_cast<int>(record.action)}});
    if (isAllowed)
        starting_ = RunningApplication{ids,   record.url, record.broadcastRelated != 0,
                                       false, nullptr,    nextParent_};
    nextParent_.clear();
}

void Integrator::stop(const HBBTV_ApplicationNotificationData& record)
{
    report("stop",
           idsOf(record) + " stopped" +
               (*record.reactivateAIT ? ", the AIT is activated again" : ""),
           {{"application", idsOf(record)},
            {"url", record.url},
            {"reactivate", *record.reactivateAIT != 0}});
}

void Integrator::reject(const HBBTV_ApplicationNotificationData& record)
{
    const std::string ids = idsOf(record);
    std::vector<std::string> wanted;
    if (book_)
        wanted =
            book_->profilesOf(static_cast<uint32_t>(record.organisationId), record.applicationId);
    std::string list;
    for (const std::string& profile : wanted)
        list += (list.empty() ? "" : " or ") + profile;
    std::ostringstream had;
    had << "0x" << std::hex << std::setw(4) << std::setfill('0') << supportedProfiles
        << " with version " << version;
    rejected_.insert(ids);
    report("reject",
           ids + " rejected: it wants " + (list.empty() ? "no known profile" : "profile " + list) +
               ", the terminal has " + had.str(),
           {{"application", ids}, {"wanted", wanted}, {"had", had.str()}});
}

void Integrator::reportStartsThatCameToNothing()
{
    if (expectedStart_) {
        const bool isURL = expectedStart_->find(':') != std::string::npos;
        reportNotStarted(*expectedStart_, isURL ? "the application manager gives no reason"
                                                : knownReason(*expectedStart_));
    }
    if (expectsAutostart_ && applications_.empty()) {
        for (const Listed& application : listed_) {
            // One that was rejected has been said to be.
            if (application.isAutostart() && rejected_.count(application.ids) == 0)
                reportNotStarted(application.ids, knownReason(application.ids));
        }
    }
    expectedStart_.reset();
    expectsAutostart_ = false;
}

void Integrator::reportNotStarted(const std::string& what, const std::string& reason)
{
    log_.report(Source::Receiver, "not-started", what + " was not started: " + reason,
                {{"application", what}});
}

std::string Integrator::knownReason(const std::string& ids) const
{
    const std::string reason = reasonAgainst(ids);
    return reason.empty() ? "the application manager gives no reason" : reason;
}

std::string Integrator::reasonAgainst(const std::string& ids) const
{
    if (listed_.empty())
        return "there is no table";
    const auto found =
        std::find_if(listed_.begin(), listed_.end(),
                     [&ids](const Listed& application) { return application.ids == ids; });
    if (found == listed_.end())
        return "the table does not have it";
    if (found->urls.empty())
        return "the table says of no transport where to load it from";
    if (found->needsBroadband && !hasBroadband)
        return "it comes by broadband, which is off";
    if (rejected_.count(ids) != 0)
        return "it was rejected";
    return "";
}

void Integrator::change(const HBBTV_ApplicationNotificationData& record)
{
    const bool isRelated = record.broadcastRelated != 0;
    for (RunningApplication& application : applications_) {
        if (application.url == record.url)
            application.broadcastRelated = isRelated;
    }
    if (starting_ && starting_->url == record.url)
        starting_->broadcastRelated = isRelated;
    report("broadcast-related",
           std::string(record.url) + " is broadcast-" + (isRelated ? "related" : "independent"),
           {{"url", record.url}, {"broadcast_related", isRelated}});
}

void Integrator::trusted(const HBBTV_ApplicationNotificationData& record)
{
    report("trusted",
           std::string("is ") + record.url + " trusted? " + (record.trusted ? "yes" : "no"),
           {{"url", record.url}, {"trusted", record.trusted != 0}});
}

Integrator::Listed Integrator::listedFrom(const HBBTV_AITApplicationInfo& info) const
{
    const auto organisationId = static_cast<uint32_t>(info.organisationId);
    const std::string name = decodeDvbText(
        book_ ? book_->wholeName(organisationId, info.applicationId, info.name) : info.name);
    return {receiver::idsOf(info.organisationId, info.applicationId),
            organisationId,
            info.applicationId,
            info.controlCode,
            name,
            urlsOf(info),
            info.hasOCTransport == 0};
}

void Integrator::update(const HBBTV_NotificationData* data)
{
    table_.clear();
    listed_.clear();
    rejected_.clear();
    if (!data)
        return;
    const int count = data->ait.numApplications;
    report("ait-update",
           "new table: " + std::to_string(count) + (count == 1 ? " application" : " applications"),
           {{"applications", count}});
    for (int index = 0; index < count; ++index) {
        const HBBTV_AITApplicationInfo& info = data->ait.applications[index];
        const Listed& application = listed_.emplace_back(listedFrom(info));
        expectsAutostart_ = expectsAutostart_ || application.isAutostart();
        table_.push_back("  " + titleOf(application));
        report("ait-application", table_.back(),
               {{"application", application.ids},
                {"control_code", application.controlCode},
                {"name", application.name},
                {"urls", application.urls}});
        for (const std::string& url : application.urls) {
            table_.push_back("    " + url);
            report("ait-url", table_.back(), {{"url", url}});
        }
    }
}

void Integrator::request(HBBTV_XHRNotificationData& record)
{
    record.permission = requestAnswer;
    report("request",
           std::string("may ") + record.documentUrl + " ask for " + record.requestUrl + "? " +
               answerName(requestAnswer),
           {{"document", record.documentUrl},
            {"url", record.requestUrl},
            {"permission", static_cast<int>(requestAnswer)}});
}

void Integrator::openWindow(HBBTV_WindowNotificationData& record)
{
    *record.tavoWindow = browser_.createWindow();
    record.success = *record.tavoWindow ? 1 : 0;
    if (!starting_)
        return;
    starting_->window = *record.tavoWindow;
    applications_.push_back(*starting_);
    starting_.reset();
}

void Integrator::closeWindow(HBBTV_WindowNotificationData& record)
{
    TAVO_VestaWindow* const window = *record.tavoWindow;
    applications_.erase(std::remove_if(applications_.begin(), applications_.end(),
                                       [window](const RunningApplication& application) {
                                           return application.window == window;
                                       }),
                        applications_.end());
    otherKeys_.erase(window);
    browser_.closeWindow(window);
    record.success = 1;
}

void Integrator::setVisible(const HBBTV_WindowNotificationData& record, bool visible)
{
    for (RunningApplication& application : applications_) {
        if (application.window == *record.tavoWindow)
            application.visible = visible;
    }
    browser_.setVisible(*record.tavoWindow, visible);
}

void Integrator::setOtherKeys(const TAVO_VestaWindow* window, const std::set<int>& codes)
{
    otherKeys_[window] = codes;
}

std::set<int> Integrator::otherKeysOf(const TAVO_VestaWindow* window) const
{
    const auto found = otherKeys_.find(window);
    return found == otherKeys_.end() ? std::set<int>() : found->second;
}

const Integrator::RunningApplication*
Integrator::applicationOf(const TAVO_VestaWindow* window) const
{
    const auto found = std::find_if(
        applications_.begin(), applications_.end(),
        [window](const RunningApplication& application) { return application.window == window; });
    return found == applications_.end() ? nullptr : &*found;
}

void Integrator::report(const char* event, const std::string& text,
                        const EventLog::Details& details)
{
    log_.report(Source::Library, event, text, details);
}

}  // namespace receiver
