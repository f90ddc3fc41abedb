#include "tests/support/recording_listener.h"

#include <sstream>

#include "tests/support/fake_browser.h"
#include "tests/support/journal.h"

using namespace VestaHbbTV;

namespace vesta::test {

namespace {

std::string ids(const HBBTV_ApplicationNotificationData& record)
{
    std::ostringstream text;
    text << std::hex << record.organisationId << "." << record.applicationId;
    return text.str();
}

const char* related(const HBBTV_ApplicationNotificationData& record)
{
    return record.broadcastRelated ? " related" : " independent";
}

std::string tavoWindow(const HBBTV_WindowNotificationData& record)
{
    return FakeBrowser::instance().nameOf(*record.tavoWindow);
}

std::string describeAIT(const HBBTV_NotificationData* data)
{
    if (!data)
        return "AIT (null)";
    std::ostringstream text;
    text << "AIT " << (data->ait.isXML ? "xml" : "broadcast") << " [";
    for (int index = 0; index < data->ait.numApplications; ++index) {
        const HBBTV_AITApplicationInfo& info = data->ait.applications[index];
        text << (index ? " " : "") << std::hex << info.organisationId << "." << info.applicationId;
    }
    text << "]";
    return text.str();
}

}  // namespace

RecordingListener& RecordingListener::instance()
{
    static RecordingListener listener;
    return listener;
}

void RecordingListener::reset()
{
    *this = RecordingListener();
}

HBBTV_STATUS RecordingListener::listen(HBBTV_NotificationType type, HBBTV_NotificationData* data)
{
    RecordingListener& self = instance();
    // A released window is described before the slot is given up, a requested one when it is there.
    if (self.journalling && type != HBBTV_NOTIFICATION_REQUEST_WINDOW)
        Journal::instance().write(self.describe(type, data));
    if (data)
        self.answer(type, *data);
    if (self.journalling && type == HBBTV_NOTIFICATION_REQUEST_WINDOW)
        Journal::instance().write(self.describe(type, data));
    const auto action = self.onNotification.find(type);
    if (action != self.onNotification.end())
        std::function<void(HBBTV_NotificationData*)>(action->second)(data);
    return HBBTV_STATUS_OK;
}

void RecordingListener::answer(HBBTV_NotificationType type, HBBTV_NotificationData& data)
{
    switch (type) {
    case HBBTV_NOTIFICATION_START_APPLICATION:
        if (startAction)
            data.application.action = static_cast<HBBTV_ApplicationActionType>(*startAction);
        break;
    case HBBTV_NOTIFICATION_STOP_APPLICATION:
        if (reactivateAIT)
            *data.application.reactivateAIT = *reactivateAIT;
        break;
    case HBBTV_NOTIFICATION_TRUSTED:
        if (trusted)
            data.application.trusted = *trusted;
        break;
    case HBBTV_NOTIFICATION_XHR:
        if (xhrPermission)
            data.xhr.permission = static_cast<HBBTV_XHR_Permission>(*xhrPermission);
        break;
    case HBBTV_NOTIFICATION_REQUEST_WINDOW:
        requestWindow(data.window);
        break;
    case HBBTV_NOTIFICATION_RELEASE_WINDOW:
        releaseWindow(data.window);
        break;
    case HBBTV_NOTIFICATION_GET_FREE_MEMORY:
        if (freeMemory)
            *data.memory.freeMemory = *freeMemory;
        break;
    default:
        break;
    }
}

void RecordingListener::requestWindow(HBBTV_WindowNotificationData& record)
{
    if (refuseWindows || record.success)
        return;  // registered twice, it serves a request once
    long id = 1;
    if (!nextWindows.empty()) {
        id = nextWindows.front();
        nextWindows.erase(nextWindows.begin());
    } else {
        while (windowsInUse.count(id))
            ++id;
    }
    *record.tavoWindow = FakeBrowser::instance().window(id);
    record.success = *record.tavoWindow != nullptr;
    if (record.success)
        windowsInUse.insert(id);
}

void RecordingListener::releaseWindow(HBBTV_WindowNotificationData& record)
{
    const auto used = windowsInUse.find(FakeBrowser::instance().idOf(*record.tavoWindow));
    if (used != windowsInUse.end())
        windowsInUse.erase(used);
    record.success = 1;
}

std::string RecordingListener::describe(HBBTV_NotificationType type,
                                        const HBBTV_NotificationData* data) const
{
    std::ostringstream text;
    switch (type) {
    case HBBTV_NOTIFICATION_START_APPLICATION: {
        const auto& record = data->application;
        text << "START " << ids(record) << related(record) << (record.serviceBound ? " bound" : "")
             << (record.autostart ? " autostart" : "") << " " << record.url;
        break;
    }
    case HBBTV_NOTIFICATION_STOP_APPLICATION: {
        const auto& record = data->application;
        text << "STOP " << ids(record) << related(record) << " reactivate=" << *record.reactivateAIT
             << " " << record.url;
        break;
    }
    case HBBTV_NOTIFICATION_REJECT_APPLICATION: {
        const auto& record = data->application;
        text << "REJECT " << ids(record) << related(record)
             << (record.autostart ? " autostart" : "");
        break;
    }
    case HBBTV_NOTIFICATION_AIT_UPDATE:
        text << describeAIT(data);
        break;
    case HBBTV_NOTIFICATION_TRUSTED: {
        const auto& record = data->application;
        text << "TRUSTED? " << ids(record) << related(record) << " trusted=" << record.trusted
             << (record.autostart ? " autostart" : "") << " " << record.url;
        break;
    }
    case HBBTV_NOTIFICATION_BROADCAST_RELATED_CHANGE: {
        const auto& record = data->application;
        text << "CHANGE " << ids(record) << related(record) << " trusted=" << record.trusted
             << (record.autostart ? " autostart" : "") << " " << record.url;
        break;
    }
    case HBBTV_NOTIFICATION_XHR:
        text << "XHR? " << data->xhr.documentUrl << " -> " << data->xhr.requestUrl;
        break;
    case HBBTV_NOTIFICATION_REQUEST_WINDOW:
        text << "REQUEST " << tavoWindow(data->window);
        break;
    case HBBTV_NOTIFICATION_RELEASE_WINDOW:
        text << "RELEASE " << tavoWindow(data->window);
        break;
    case HBBTV_NOTIFICATION_SHOW_WINDOW:
        text << "SHOW " << tavoWindow(data->window);
        break;
    case HBBTV_NOTIFICATION_HIDE_WINDOW:
        text << "HIDE " << tavoWindow(data->window);
        break;
    case HBBTV_NOTIFICATION_KEYSET_CHANGED:
        text << "KEYSET " << FakeBrowser::instance().nameOf(data->keyset.tavoWindow) << " "
             << data->keyset.keysetValue;
        break;
    case HBBTV_NOTIFICATION_GET_FREE_MEMORY:
        text << "MEMORY?";
        break;
    default:
        text << "unknown notification " << type;
        break;
    }
    return text.str() + mark(type, data);
}

std::string RecordingListener::mark(HBBTV_NotificationType type,
                                    const HBBTV_NotificationData* data) const
{
    const void* window = nullptr;
    if (type == HBBTV_NOTIFICATION_AIT_UPDATE)
        window = data ? data->ait.window : nullptr;
    else if (type == HBBTV_NOTIFICATION_REQUEST_WINDOW)
        window = data->window.window;
    else if (type <= HBBTV_NOTIFICATION_BROADCAST_RELATED_CHANGE &&
             type != HBBTV_NOTIFICATION_REJECT_APPLICATION)  // carries no window
        window = data->application.window;
    const auto name = windowNames.find(window);
    return name == windowNames.end() ? "" : " @" + name->second;
}

}  // namespace vesta::test
