#include "foundation/decision.h"

#include <algorithm>
#include <iterator>

namespace VestaHbbTV {

namespace {

HBBTV_DecisionListener decisionListener = nullptr;
void* decisionContext = nullptr;

struct Reason {
    HBBTV_Reason reason;
    bool isYes;
    const char* text;
};

// By their numbers.
const Reason reasons[] = {
    {HBBTV_REASON_SECTION_NO_BROADCAST_WINDOW, false,
     "No window shows the broadcast: call vesta_hbbtv_set_broadcast_window() before the first "
     "section."},
    {HBBTV_REASON_SECTION_NOT_RUNNING, false,
     "The library has no listeners yet, or not any more: send sections between vesta_hbbtv_init() "
     "and vesta_hbbtv_shutdown()."},
    {HBBTV_REASON_SECTION_NOT_AIT, false,
     "The section is of another table: give the library sections of table_id 0x74 alone."},
    {HBBTV_REASON_SECTION_TOO_SHORT, false, "The section is shorter than its own fields."},
    {HBBTV_REASON_SECTION_COMMON_LOOP, false,
     "The common loop leaves the section: its length is wrong."},
    {HBBTV_REASON_SECTION_APPLICATION_LOOP, false,
     "The application loop leaves the section, or is missing: its length is wrong."},
    {HBBTV_REASON_SECTION_APPLICATION, false,
     "An application leaves the section: the length of its descriptors is wrong."},
    {HBBTV_REASON_SECTION_DESCRIPTOR, false, "A descriptor leaves its loop: its length is wrong."},
    {HBBTV_REASON_SECTION_EMPTY_DESCRIPTOR, false,
     "A descriptor of an application is empty, which this reader does not take: the feed of the "
     "kit takes such ones out."},
    {HBBTV_REASON_SECTION_NAME, false, "An application name leaves its loop: its length is wrong."},
    {HBBTV_REASON_SECTION_OTHER_VERSION, false,
     "A table of another version is being collected, and is not complete: nothing else is taken "
     "until it is, or the channel changes. The feed of the kit sends whole tables."},
    {HBBTV_REASON_SECTION_TABLE_CLOSED, false,
     "All sections of the table have come, and one of them was refused: nothing is taken until the "
     "channel changes. The feed of the kit keeps such tables back."},
    {HBBTV_REASON_SECTION_REPEATED, false, "A section of this number was taken already."},
    {HBBTV_REASON_SECTION_VERSION_IN_FORCE, false,
     "The table of this version is in force: it is a repetition, or its content changed and its "
     "version_number did not."},
    {HBBTV_REASON_TABLE_INCOMPLETE, false, "Sections of the table are still missing."},
    {HBBTV_REASON_TABLE_SUPERSEDED, false,
     "A listener put a newer table in force, or changed the channel, while this one was "
     "announced."},
    {HBBTV_REASON_TABLE_NO_WINDOW, false, "The window that an XML AIT was for is released."},
    {HBBTV_REASON_TABLE_IN_FORCE, true, "The table is in force now."},
    {HBBTV_REASON_TABLE_VOID, true,
     "A service was tuned to: the table of the one before counts no more."},
    {HBBTV_REASON_TABLE_GONE, true, "The service has no table: its application ends."},
    {HBBTV_REASON_TABLE_WITHOUT_AUTOSTART, false,
     "The table lists no AUTOSTART application, or none that can be started: a reason before this "
     "one says why."},
    {HBBTV_REASON_START_UNKNOWN_WINDOW, false,
     "The window is unknown: its handle is null, foreign, or that of a released window."},
    {HBBTV_REASON_START_NO_TABLE, false, "No table is in force."},
    {HBBTV_REASON_START_NOT_LISTED, false, "The table in force does not list the application."},
    {HBBTV_REASON_START_CONTROL_CODE, false,
     "The application control code forbids it: KILL or DISABLED."},
    {HBBTV_REASON_START_NO_PROFILE, false,
     "The application names no profile: its application descriptor is missing or lists none."},
    {HBBTV_REASON_START_PROFILE, false,
     "The application wants profiles that the terminal does not claim: the table is wrong, or "
     "E_SUPPORTED_PROFILES was not sent before it."},
    {HBBTV_REASON_START_VERSION, false,
     "The application wants a newer version of HbbTV than the terminal has. Where the terminal "
     "carries it all the same, give that version to the kit's feed."},
    {HBBTV_REASON_START_NO_TRANSPORT, false,
     "The application has no transport: its application descriptor lists no "
     "transport_protocol_label."},
    {HBBTV_REASON_START_LABEL_WITHOUT_TRANSPORT, false,
     "The application's labels lead to no transport: no transport_protocol_descriptor has such a "
     "transport_protocol_label."},
    {HBBTV_REASON_START_BROADBAND_OFF, false,
     "All its transports are HTTP, and broadband is off: send E_HTTP_AVAILABLE when it is there."},
    {HBBTV_REASON_START_PROTOCOL, false,
     "Its transport has a protocol that is neither the object carousel nor HTTP."},
    {HBBTV_REASON_START_NO_LOCATION, false,
     "Transport and simple_application_location_descriptor make no URL."},
    {HBBTV_REASON_START_TIME_SHIFT, false,
     "The service is shown time-shifted, and the application is not signalled for it: its "
     "application recording descriptor needs trick_mode_aware_flag and time_shift_flag."},
    {HBBTV_REASON_START_BLOCKED_AND_KILLED, false,
     "A listener answered the start request with \"block and kill\": it does not start, and the "
     "one that runs ends."},
    {HBBTV_REASON_START_BLOCKED_AND_KEPT, false,
     "A listener answered the start request with \"block and keep\": it does not start, and the "
     "one that runs goes on."},
    {HBBTV_REASON_START_APPLICATION_ID, false,
     "Its application id is 0 or above 0x7FFF, which an application of a broadcast may not have: "
     "it is blocked, unless a listener answers otherwise."},
    {HBBTV_REASON_START_URL, false, "There is no URL to start."},
    {HBBTV_REASON_START_CLOSING, false, "Its window or the library is closing."},
    {HBBTV_REASON_START_TABLE_CHANGED, false,
     "Another table came in force while listeners were asked."},
    {HBBTV_REASON_START_NO_BROWSER_WINDOW, false,
     "No listener gave a browser window: REQUEST_WINDOW wants the slot filled and success 1."},
    {HBBTV_REASON_START_SUPERSEDED, false, "Another application was started after it."},
    {HBBTV_REASON_START_LOWER_AUTOSTART, true,
     "The first AUTOSTART application did not start: this one of lower priority does."},
    {HBBTV_REASON_STARTED, true, "It runs: its page is being opened."},
    {HBBTV_REASON_END_KILLED, true, "The new table lists it with KILL."},
    {HBBTV_REASON_END_NOT_LISTED, true, "The new table does not list it."},
    {HBBTV_REASON_END_SERVICE_BOUND, true,
     "It is bound to its service, and another one was tuned to."},
    {HBBTV_REASON_END_WITHOUT_ENTRY, true,
     "A table came in force, and no table started this application."},
    {HBBTV_REASON_END_NOT_ADOPTED, true,
     "It runs for itself, and cannot become a part of the service: the reason before this one says "
     "why."},
    {HBBTV_REASON_END_REPLACED, true, "Another application takes its place."},
    {HBBTV_REASON_END_LOAD_FAILED, true,
     "Its page could not be loaded, and no other transport or application is left."},
    {HBBTV_REASON_END_CHILD_FAILED, true, "Its page could not be loaded: its parent goes on."},
    {HBBTV_REASON_END_PARENT, true, "The child that it created has loaded its page."},
    {HBBTV_REASON_END_SCRIPT, true, "A script ended it."},
    {HBBTV_REASON_END_WINDOW_CLOSED, true, "Its page closed its window."},
    {HBBTV_REASON_END_TERMINATED, true, "E_TERMINATE_APPLICATION."},
    {HBBTV_REASON_END_TABLE_GONE, true, "The service has no table any more."},
    {HBBTV_REASON_END_BLOCKED, true,
     "A listener blocked the start of another one, and wanted this one ended."},
    {HBBTV_REASON_END_TIME_SHIFT, true,
     "The service is shown time-shifted now, and the application is not signalled for it "
     "(trick_mode_aware_flag and time_shift_flag)."},
    {HBBTV_REASON_END_CHANNEL_TAKEN, true, "A script in another window took the channel over."},
    {HBBTV_REASON_END_UNKNOWN_WINDOW, false,
     "The window is unknown: its handle is null, foreign, or that of a released window."},
    {HBBTV_REASON_KEPT, true, "The new table lists it, too: it goes on."},
    {HBBTV_REASON_ADOPTED, true, "The table of the service lists it: it is broadcast-related now."},
    {HBBTV_REASON_NOT_ADOPTED_XML, false,
     "The new table is an XML AIT: those make no application broadcast-related."},
    {HBBTV_REASON_NOT_ADOPTED_CONTROL_CODE, false,
     "The service's table lists it with neither AUTOSTART nor PRESENT."},
    {HBBTV_REASON_NOT_ADOPTED_TRANSPORT, false,
     "No HTTP transport of the service's table leads to the URL that it was started with."},
    {HBBTV_REASON_NOT_ADOPTED_BOUNDARY, false,
     "Its page is outside the boundaries that the service's table gives it."},
    {HBBTV_REASON_NEXT_TRANSPORT, true,
     "Its page could not be loaded: the next transport is tried."},
    {HBBTV_REASON_NO_NEXT_TRANSPORT, false,
     "Its page could not be loaded, and it has no other transport that is available."},
    {HBBTV_REASON_NEXT_AUTOSTART, true,
     "Its page could not be loaded: the next AUTOSTART application is started."},
    {HBBTV_REASON_LATER_LOAD_FAILED, false,
     "A page after the first could not be loaded: that is the application's affair."},
    {HBBTV_REASON_REACTIVATED, true,
     "The service's table is activated again: its AUTOSTART application comes back."},
    {HBBTV_REASON_NOT_REACTIVATED, false,
     "A listener kept the service's table from being activated again."},
    {HBBTV_REASON_PAGE_FAILED, false, "The browser could not load the page."},
    {HBBTV_REASON_PAGE_NOT_WELL_FORMED, false,
     "The page is not well-formed XML: it counts as one that could not be loaded."},
    {HBBTV_REASON_LOAD_NOT_DVB, false, "The URL is no dvb: URL."},
    {HBBTV_REASON_LOAD_NO_APPLICATION, false, "No application is shown in the browser window."},
    {HBBTV_REASON_LOAD_NOT_RELATED, false,
     "The application is not broadcast-related: it has no carousel."},
    {HBBTV_REASON_FILE_REFUSED, false,
     "dsmcc_get_file() answered an error: the platform has no such file."},
    {HBBTV_REASON_FILE_UNREADABLE, false,
     "The platform answered an error for a file that it had called ready."},
    {HBBTV_REASON_FILE_FAILED, false, "The platform reported that a file will not come."},
    {HBBTV_REASON_FILE_UNKNOWN, false, "The platform reported a file that nobody waits for."},
    {HBBTV_REASON_KEY_NO_APPLICATION, false,
     "No application is shown in the browser window that the key was offered for."},
    {HBBTV_REASON_KEY_NOT_FOR_APPLICATIONS, false, "No key set has this key."},
    {HBBTV_REASON_KEY_NOT_GRANTED, false,
     "The key's group is not in the application's key set: its script did not ask for it, or the "
     "terminal does not offer it."},
    {HBBTV_REASON_KEY_UP_WITHOUT_DOWN, false,
     "The key is let go, and the application did not get it when it was pressed."},
    {HBBTV_REASON_KEYS_CUT, false,
     "Keys that the terminal does not offer were left out of the key set."},
    {HBBTV_REASON_REQUEST_NO_APPLICATION, false, "No application is shown in the browser window."},
    {HBBTV_REASON_REQUEST_OUTSIDE, false, "The dvb: URL is outside the application's boundaries."},
    {HBBTV_REASON_REQUEST_LEFT_TO_BROWSER, true,
     "The URL is outside the application's boundaries: the browser's own rules decide, and may "
     "refuse it."},
    {HBBTV_REASON_REQUEST_DENIED, false, "A listener that was asked for permission denied it."},
    {HBBTV_REASON_NATIVE_NULL, false, "A place for an answer is null."},
    {HBBTV_REASON_NATIVE_UNKNOWN_APPLICATION, false,
     "The application id is null, or that of an application that has ended."},
    {HBBTV_REASON_NATIVE_UNKNOWN_WINDOW, false,
     "The window id is unknown to the browser, or shows no application."},
    {HBBTV_REASON_NATIVE_NO_BROWSER, false, "vesta_hbbtv_init() was given no browser."},
    {HBBTV_REASON_NATIVE_NO_ENTRY, false,
     "The application has no entry in a table, or no transport."},
    {HBBTV_REASON_NATIVE_NO_CHANNEL, false,
     "The application is not broadcast-related, or its table came without a channel."},
    {HBBTV_REASON_NATIVE_URL, false,
     "The URL is no valid dvb://current.ait/ URL: those go on with the ids in hexadecimal, as in "
     "dvb://current.ait/a.1."},
    {HBBTV_REASON_NATIVE_BROADBAND_OFF, false,
     "Broadband is off: E_HTTP_AVAILABLE says that it is there."},
    {HBBTV_REASON_NATIVE_OUTSIDE, false,
     "The page is outside the application's boundaries, or the application is not "
     "broadcast-related."},
};

/// @return null for a number that is no reason
const Reason* find(int reason)
{
    const auto* const found =
        std::lower_bound(std::begin(reasons), std::end(reasons), reason,
                         [](const Reason& each, int number) { return each.reason < number; });
    return found != std::end(reasons) && found->reason == reason ? found : nullptr;
}

}  // namespace

bool areDecisionsHeard = false;

void report(HBBTV_Reason reason, const DecisionAbout& about, uint32_t wanted, uint32_t had,
            const char* text)
{
    constexpr int reasonsOfASubject = 100;
    const Reason* const known = find(reason);
    HBBTV_Decision decision = {};
    decision.size = sizeof(decision);
    decision.subject = reason / reasonsOfASubject;
    decision.verdict = known && known->isYes ? 1 : 0;
    decision.reason = reason;
    decision.organisationId = about.organisationId;
    decision.applicationId = about.applicationId;
    decision.wanted = wanted;
    decision.had = had;
    decision.window = about.window;
    decision.scriptApplication = about.scriptApplication;
    decision.text = text;
    decisionListener(&decision, decisionContext);
}

}  // namespace VestaHbbTV

void vesta_hbbtv_set_decision_listener(HBBTV_DecisionListener listener, void* context)
{
    VestaHbbTV::decisionListener = listener;
    VestaHbbTV::decisionContext = context;
    VestaHbbTV::areDecisionsHeard = listener != nullptr;
}

const char* vesta_hbbtv_reason_text(int reason)
{
    const VestaHbbTV::Reason* const known = VestaHbbTV::find(reason);
    return known ? known->text : "";
}
