/// The records that cross the boundary, field by field: those fields alone that mean something for
/// the type of event or notification at hand, since nobody sets the others.
///
/// `fields` is a Writer, which writes what a field holds, or a Reader, which sets it. Of pointers
/// to text, `const char*` is borrowed and `char*` malloc'ed by whoever fills the record in.
#ifndef VESTA_RECORDER_BOUNDARY_RECORDS_H
#define VESTA_RECORDER_BOUNDARY_RECORDS_H

#include "vesta_browser.h"
#include "vesta_hbbtv_appman.h"

#include "recorder/boundary/choices.h"
#include "recorder/boundary/handles.h"

namespace recorder {

/// The record of an event. @param data its member that belongs to the type is there
template <typename Fields>
void visitEvent(Fields& fields, VestaHbbTV::HBBTV_EventType type, VestaHbbTV::HBBTV_EventData& data)
{
    using namespace VestaHbbTV;
    switch (type) {
    case E_AIT_SECTION:
        fields.section("section", data.ait.section);
        fields.number("original_network_id", data.ait.original_network_id);
        fields.number("transport_stream_id", data.ait.transport_stream_id);
        fields.number("service_id", data.ait.service_id);
        if (!data.ait.section)
            fields.number("keepApplication", data.ait.keepApplication);
        fields.handle("channelHandle", Handle::channel, data.ait.channelHandle);
        break;
    case E_START_APPLICATION:
        fields.handle("window", Handle::window, data.start.window);
        fields.number("organisationId", data.start.organisationId);
        fields.number("applicationId", data.start.applicationId);
        break;
    case E_START_BROADCAST_INDEPENDENT_APPLICATION:
        fields.handle("window", Handle::window, data.url.window);
        fields.url("url", data.url.url);
        break;
    case E_TERMINATE_APPLICATION:
        fields.handle("window", Handle::window, data.window.window);
        break;
    case E_DSMCC_FILE_READY:
    case E_DSMCC_FILE_ERROR:
        fields.handle("downloadId", Handle::file, data.download.downloadId);
        break;
    case E_DSMCC_STREAM_EVENT:
        fields.callback("callback", data.streamEvent.callback);
        fields.number("value1", data.streamEvent.value1);
        fields.text("string1", data.streamEvent.string1);
        fields.text("string2", data.streamEvent.string2);
        fields.text("string3", data.streamEvent.string3);
        fields.text("string4", data.streamEvent.string4);
        fields.number("value2", data.streamEvent.value2);
        break;
    case E_USER_AGENT_INFO:
        fields.number("versionSelector", data.userAgent.versionSelector);
        fields.text("capabilities", data.userAgent.capabilities);
        fields.text("vendorName", data.userAgent.vendorName);
        fields.text("modelName", data.userAgent.modelName);
        fields.text("softwareVersion", data.userAgent.softwareVersion);
        fields.text("hardwareVersion", data.userAgent.hardwareVersion);
        fields.text("reserved", data.userAgent.reserved);
        break;
    case E_SUPPORTED_PROFILES:
        fields.number("supportedProfiles", data.profiles.supportedProfiles);
        break;
    case E_CHANNEL_CHANGE:
    case E_HTTP_AVAILABLE:
    case E_HTTP_UNAVAILABLE:
    case E_LOW_MEMORY:
        break;
    }
}

/// What a browser event brings. The answer to an XMLHttpRequest is visitBrowserAnswer()'s.
template <typename Fields>
void visitBrowserEvent(Fields& fields, TAVO_VESTA_EVENT event, TavoVestaEventData& data)
{
    switch (event) {
    case TAVO_VESTA_EVT_URL_CHANGED:
        fields.url("url", data.url);
        break;
    case TAVO_VESTA_EVT_LOADING_FINISHED:
        fields.number("load_status", data.load_status);
        fields.number("http_status", data.http_status);
        break;
    case TAVO_VESTA_EVT_PROTOCOL_LOADING_START:
        fields.url("url", data.url);
        fields.handle("request_id", Handle::load, data.request_id);
        break;
    case TAVO_VESTA_EVT_PROTOCOL_LOADING_STOP:
        fields.handle("request_id", Handle::load, data.request_id);
        break;
    case TAVO_VESTA_EVT_XHR_PERMISSION:
        fields.url("url", data.url);
        fields.url("second_url", data.second_url);
        break;
    case TAVO_VESTA_EVT_WINDOW_CLOSE:
    case TAVO_VESTA_EVT_LOADING_FAILED:
    case TAVO_VESTA_EVT_XML_PARSE_FAILED:
        break;
    }
}

template <typename Fields>
void visitKeyEvent(Fields& fields, TAVO_KeyboardEvent& event)
{
    fields.number("type", event.type);
    fields.number("key_code", event.key_code);
}

/// One application of an AIT update; the library alone writes it.
template <typename Fields>
void visitApplicationInfo(Fields& fields, VestaHbbTV::HBBTV_AITApplicationInfo& info)
{
    fields.text("name", info.name);
    fields.number("organisationId", info.organisationId);
    fields.number("applicationId", info.applicationId);
    fields.number("usageType", info.usageType);
    fields.number("controlCode", info.controlCode);
    fields.number("hasHttpTransport", info.hasHttpTransport);
    fields.number("hasOCTransport", info.hasOCTransport);
    fields.list("urls", info.numUrls,
                [&](Fields& slot, unsigned int place) { slot.url("url", info.urls[place]); });
}

/// What a listener is told, or asked.
template <typename Fields>
void visitNotification(Fields& fields, VestaHbbTV::HBBTV_NotificationType type,
                       VestaHbbTV::HBBTV_NotificationData& data)
{
    using namespace VestaHbbTV;
    HBBTV_ApplicationNotificationData& application = data.application;
    switch (type) {
    case HBBTV_NOTIFICATION_START_APPLICATION:
    case HBBTV_NOTIFICATION_STOP_APPLICATION:
    case HBBTV_NOTIFICATION_TRUSTED:
    case HBBTV_NOTIFICATION_BROADCAST_RELATED_CHANGE:
        fields.handle("window", Handle::window, application.window);
        fields.number("broadcastRelated", application.broadcastRelated);
        fields.number("serviceBound", application.serviceBound);
        fields.number("trusted", application.trusted);
        fields.number("autostart", application.autostart);
        fields.number("organisationId", application.organisationId);
        fields.number("applicationId", application.applicationId);
        fields.url("url", application.url);
        fields.number("usageType", application.usageType);
        if (type == HBBTV_NOTIFICATION_START_APPLICATION)
            fields.number("action", application.action);
        if (type == HBBTV_NOTIFICATION_STOP_APPLICATION &&
            fields.record("reactivateAIT", application.reactivateAIT))
            fields.number("reactivateAIT", *application.reactivateAIT);
        break;
    case HBBTV_NOTIFICATION_REJECT_APPLICATION:
        fields.number("broadcastRelated", application.broadcastRelated);
        fields.number("autostart", application.autostart);
        fields.number("organisationId", application.organisationId);
        fields.number("applicationId", application.applicationId);
        fields.url("url", application.url);
        break;
    case HBBTV_NOTIFICATION_AIT_UPDATE:
        fields.handle("window", Handle::window, data.ait.window);
        fields.number("isXML", data.ait.isXML);
        fields.list("applications", static_cast<unsigned int>(data.ait.numApplications),
                    [&](Fields& entry, unsigned int place) {
                        visitApplicationInfo(entry, data.ait.applications[place]);
                    });
        break;
    case HBBTV_NOTIFICATION_XHR:
        fields.url("documentUrl", data.xhr.documentUrl);
        fields.url("requestUrl", data.xhr.requestUrl);
        fields.number("permission", data.xhr.permission);
        break;
    case HBBTV_NOTIFICATION_REQUEST_WINDOW:
        fields.handle("window", Handle::window, data.window.window);
        break;
    case HBBTV_NOTIFICATION_RELEASE_WINDOW:
    case HBBTV_NOTIFICATION_SHOW_WINDOW:
    case HBBTV_NOTIFICATION_HIDE_WINDOW:
        fields.handle("page", Handle::page, *data.window.tavoWindow);
        break;
    case HBBTV_NOTIFICATION_KEYSET_CHANGED:
        fields.handle("page", Handle::page, data.keyset.tavoWindow);
        fields.number("keysetValue", data.keyset.keysetValue);
        break;
    case HBBTV_NOTIFICATION_GET_FREE_MEMORY:
        break;
    }
}

/// What a listener answered.
template <typename Fields>
void visitNotificationAnswer(Fields& fields, VestaHbbTV::HBBTV_NotificationType type,
                             VestaHbbTV::HBBTV_NotificationData& data)
{
    using namespace VestaHbbTV;
    switch (type) {
    case HBBTV_NOTIFICATION_START_APPLICATION:
        fields.number("action", data.application.action);
        break;
    case HBBTV_NOTIFICATION_STOP_APPLICATION:
        if (data.application.reactivateAIT)
            fields.number("reactivateAIT", *data.application.reactivateAIT);
        break;
    case HBBTV_NOTIFICATION_TRUSTED:
        fields.number("trusted", data.application.trusted);
        break;
    case HBBTV_NOTIFICATION_XHR:
        fields.number("permission", data.xhr.permission);
        break;
    case HBBTV_NOTIFICATION_REQUEST_WINDOW:
        fields.handle("page", Handle::page, *data.window.tavoWindow);
        fields.number("success", data.window.success);
        break;
    case HBBTV_NOTIFICATION_GET_FREE_MEMORY:
        fields.number("freeMemory", *data.memory.freeMemory);
        break;
    case HBBTV_NOTIFICATION_REJECT_APPLICATION:
    case HBBTV_NOTIFICATION_AIT_UPDATE:
    case HBBTV_NOTIFICATION_BROADCAST_RELATED_CHANGE:
    case HBBTV_NOTIFICATION_RELEASE_WINDOW:
    case HBBTV_NOTIFICATION_SHOW_WINDOW:
    case HBBTV_NOTIFICATION_HIDE_WINDOW:
    case HBBTV_NOTIFICATION_KEYSET_CHANGED:
        break;
    }
}

}  // namespace recorder

#endif
