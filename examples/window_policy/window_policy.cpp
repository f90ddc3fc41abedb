// A listener with a policy: which applications may start, and which browser window each of them
// gets.
//
// Teletext has a window of its own, which other applications never get; they share two, so that a
// child can load while its parent is still seen. One organisation is not let in at all, and who
// leaves the teletext finds the service's own application again.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <map>
#include <set>
#include <vector>
#include <vesta_hbbtv_appman.h>

#include "quiet_browser.h"

using namespace VestaHbbTV;

namespace {

class WindowPolicy {
public:
    /// Whether the application may start. Its browser window is asked for on a later tick, without
    /// saying for whom: it is for the one that was let in last, in that window of the library.
    void decideOnStart(HBBTV_ApplicationNotificationData& start);

    /// Chooses one that is free; the application ends where there is none.
    void giveWindow(HBBTV_WindowNotificationData& request);

    void takeBack(const HBBTV_WindowNotificationData& release);

    /// Whether the service's table is looked through again after this end.
    void decideOnReturn(const HBBTV_ApplicationNotificationData& stop);

private:
    static constexpr unsigned long unwanted = 0xBAD;
    static constexpr unsigned char teletext = 1;  // ETSI TS 102 809, application usage descriptor

    TAVO_VestaWindow windows_[3] = {{"teletext"}, {"main 1"}, {"main 2"}};
    std::set<const TAVO_VestaWindow*> taken_;
    std::map<void*, bool> awaitsTeletext_;  // by the library's window
};

void WindowPolicy::decideOnStart(HBBTV_ApplicationNotificationData& start)
{
    const bool isWanted = start.organisationId != unwanted;
    std::printf("policy:   %lx.%x, usage %u: %s\n", start.organisationId, start.applicationId,
                start.usageType, isWanted ? "yes" : "no");
    if (isWanted)
        awaitsTeletext_[start.window] = start.usageType == teletext;
    else
        start.action = HBBTV_APPLICATION_ACTION_BLOCK_AND_KEEP;
}

void WindowPolicy::giveWindow(HBBTV_WindowNotificationData& request)
{
    const bool isTeletext = awaitsTeletext_[request.window];
    TAVO_VestaWindow* const first = windows_ + (isTeletext ? 0 : 1);
    TAVO_VestaWindow* const last = windows_ + (isTeletext ? 1 : 3);
    TAVO_VestaWindow* const chosen = std::find_if(
        first, last, [this](const TAVO_VestaWindow& window) { return !taken_.count(&window); });
    std::printf("policy:   it gets %s\n", chosen == last ? "no window" : chosen->name);
    if (chosen == last)
        return;
    taken_.insert(chosen);
    *request.tavoWindow = chosen;
    request.success = 1;
}

void WindowPolicy::takeBack(const HBBTV_WindowNotificationData& release)
{
    taken_.erase(*release.tavoWindow);
    std::printf("policy:   %s is free\n", (*release.tavoWindow)->name);
}

void WindowPolicy::decideOnReturn(const HBBTV_ApplicationNotificationData& stop)
{
    // The record of an end has no usage type: the one in the teletext's window is meant.
    if (vesta_hbbtv_get_tavo_window(stop.window) == windows_)
        *stop.reactivateAIT = 1;
    std::printf("policy:   %lx.%x ended, the service's application comes back: %s\n",
                stop.organisationId, stop.applicationId, *stop.reactivateAIT ? "yes" : "no");
}

// A listener carries no pointer of its user's: this is where it finds the policy.
WindowPolicy policy;

HBBTV_STATUS listen(HBBTV_NotificationType type, HBBTV_NotificationData* data)
{
    switch (type) {
    case HBBTV_NOTIFICATION_START_APPLICATION:
        policy.decideOnStart(data->application);
        break;
    case HBBTV_NOTIFICATION_STOP_APPLICATION:
        policy.decideOnReturn(data->application);
        break;
    case HBBTV_NOTIFICATION_REQUEST_WINDOW:
        policy.giveWindow(data->window);
        break;
    case HBBTV_NOTIFICATION_RELEASE_WINDOW:
        policy.takeBack(data->window);
        break;
    default:
        break;  // what is not handled has a preset answer
    }
    return HBBTV_STATUS_OK;
}

// A table, as a service would signal it.

using Bytes = std::vector<unsigned char>;

Bytes joined(std::initializer_list<Bytes> parts)
{
    Bytes all;
    for (const Bytes& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

Bytes withLength(unsigned char flags, const Bytes& content)
{
    const size_t size = content.size();
    return joined(
        {{static_cast<unsigned char>(flags | size >> 8), static_cast<unsigned char>(size & 0xFF)},
         content});
}

Bytes descriptor(unsigned char tag, const Bytes& content)
{
    return joined({{tag, static_cast<unsigned char>(content.size())}, content});
}

Bytes text(const char* characters)
{
    return Bytes(characters, characters + std::strlen(characters));
}

enum ControlCode : unsigned char { AUTOSTART = 1, PRESENT = 2 };

Bytes application(unsigned short organisation, unsigned char id, ControlCode code,
                  unsigned char usage, const char* page)
{
    const Bytes base = text("http://a.example/");
    const Bytes url = joined({{static_cast<unsigned char>(base.size())}, base, {0}});
    const Bytes descriptors =
        joined({descriptor(0x00, {5, 0, 0, 1, 1, 1, 0x7F, 1, 1}),  // any HbbTV 1.1.1 terminal
                descriptor(0x02, joined({{0x00, 0x03, 1}, url})),  // over HTTP
                descriptor(0x15, text(page)), descriptor(0x16, {usage})});
    return joined({{0, 0, static_cast<unsigned char>(organisation >> 8),
                    static_cast<unsigned char>(organisation & 0xFF), 0, id, code},
                   withLength(0xF0, descriptors)});
}

/// Hands an event a malloc'ed record: the library frees it.
template <typename Record>
void send(HBBTV_EventType type, const Record& record)
{
    void* const copy = std::malloc(sizeof(record));
    if (copy)
        std::memcpy(copy, &record, sizeof(record));
    vesta_hbbtv_send_event(type, static_cast<HBBTV_EventData*>(copy));
    while (vesta_hbbtv_tick()) {
    }
}

void sendTable(std::initializer_list<Bytes> applications)
{
    const Bytes section = joined({{0x74},
                                  withLength(0xB0, joined({{0x00, 0x10, 0xC1, 0, 0, 0xF0, 0},
                                                           withLength(0xF0, joined(applications)),
                                                           {0, 0, 0, 0}}))});
    HBBTV_AITSectionEventData record = {};
    record.section = static_cast<unsigned char*>(std::malloc(section.size()));
    if (record.section)
        std::memcpy(record.section, section.data(), section.size());
    send(E_AIT_SECTION, record);
}

}  // namespace

int main()
{
    TAVO_Vesta* const noBrowser = nullptr;  // this one has no scripts that could subscribe
    vesta_hbbtv_init(noBrowser);
    vesta_hbbtv_add_notification_listener(listen);
    void* const window = vesta_hbbtv_create_window();
    vesta_hbbtv_set_broadcast_window(window);

    std::printf("viewer:   tunes to a service with three applications\n");
    sendTable({application(0xBAD, 1, AUTOSTART, 0, "unwanted.html"),
               application(0x00A, 1, AUTOSTART, 0, "launcher.html"),
               application(0x00A, 2, PRESENT, 1, "teletext.html")});
    std::printf("viewer:   presses TEXT\n");
    send(E_START_APPLICATION, HBBTV_StartApplicationEventData{window, 0, 0x00A, 2});
    std::printf("viewer:   leaves the teletext\n");
    send(E_TERMINATE_APPLICATION, HBBTV_WindowEventData{window});
    vesta_hbbtv_shutdown();
}
