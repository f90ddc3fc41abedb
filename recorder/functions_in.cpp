// The functions that the integrator calls, under their own names: each is recorded, and the library
// called. Nothing else is exported.

#include <type_traits>

#include "vesta_browser.h"
#include "vesta_hbbtv_appman.h"

#include "recorder/crossing.h"
#include "recorder/listeners.h"
#include "recorder/next_function.h"
#include "recorder/sent_events.h"
#include "vesta_hbbtv_kit.h"

namespace recorder {

namespace {

/// Whether a call is one across the boundary: the kit's own calls into the library are none.
bool isToBeRecorded()
{
    return Recorder::isOn() && !thisThread().isInsideLibrary;
}

/// @param make calls the library and keeps its result in `call`
template <typename Call, typename Make>
void callIn(Call& call, const Make& make)
{
    SentEvents::handOver();
    cross(call, Direction::in, make);
}

template <typename Call, typename Function = typename Call::Function>
struct Recorded;

template <typename Call, typename Result, typename... Parameters>
struct Recorded<Call, Result(Parameters...)> {
    static Result call(Parameters... arguments)
    {
        Result (*const real)(Parameters...) = next<Call>();
        if (!isToBeRecorded())
            return real(arguments...);
        if constexpr (std::is_void_v<Result>) {
            Call call{arguments...};
            callIn(call, [&] { real(arguments...); });
        } else {
            Call call{arguments..., Result{}};
            callIn(call, [&] { call.result = real(arguments...); });
            return call.result;
        }
    }
};

template <typename Call, typename... Arguments>
auto record(Arguments... arguments)
{
    return Recorded<Call>::call(arguments...);
}

/// A shutdown from inside another is none: the library forgets its listeners at the end.
class ShutdownsUnderWay {
public:
    ShutdownsUnderWay() { ++count_; }
    ShutdownsUnderWay(const ShutdownsUnderWay&) = delete;
    ShutdownsUnderWay& operator=(const ShutdownsUnderWay&) = delete;
    ~ShutdownsUnderWay()
    {
        if (--count_ > 0)
            return;
        SentEvents::setRunning(false);
        forgetListeners();
    }

private:
    static inline int count_ = 0;  // the browser thread's
};

}  // namespace

}  // namespace recorder

using namespace recorder;

namespace VestaHbbTV {

void vesta_hbbtv_init(TAVO_Vesta* browser)
{
    if (isToBeRecorded())
        SentEvents::handOver();  // before there is a new queue
    SentEvents::setRunning(true);
    record<Init>(browser);
}

void vesta_hbbtv_shutdown()
{
    if (!isToBeRecorded())
        return next<Shutdown>()();
    Shutdown call;
    const ShutdownsUnderWay shutdown;
    callIn(call, next<Shutdown>());
}

bool vesta_hbbtv_tick()
{
    const bool result = record<Tick>();
    if (Recorder::isOn() && Recorder::instance().isNewPartDue())
        Recorder::instance().beginNewPart(next<GetBroadcastWindow>()());
    return result;
}

void vesta_hbbtv_send_event(HBBTV_EventType type, HBBTV_EventData* data)
{
    if (!Recorder::isOn())
        return next<SendEvent>()(type, data);
    if (thisThread().isInsideLibrary)
        next<SendEvent>()(type, data);
    else
        SentEvents::send(type, data);
    SentEvents::wakeUp();
}

// The recorder itself wakes up who waits, as the library is called later than the integrator
// thinks.
void vesta_hbbtv_set_sendevent_condition(pthread_cond_t* condition, pthread_mutex_t* mutex)
{
    if (!isToBeRecorded())
        return next<SetSendeventCondition>()(condition, mutex);
    SetSendeventCondition call{condition, mutex};
    callIn(call, [&] {
        SentEvents::setCondition(condition, mutex);
        next<SetSendeventCondition>()(nullptr, nullptr);
    });
}

bool vesta_hbbtv_add_notification_listener(HBBTV_NotificationListener listener)
{
    if (!isToBeRecorded() || !listener)
        return record<AddNotificationListener>(listener);
    AddNotificationListener call{listener, false};
    callIn(call, [&] { call.result = next<AddNotificationListener>()(standInFor(listener)); });
    return call.result;
}

void* vesta_hbbtv_create_window()
{
    return record<CreateWindow>();
}

void vesta_hbbtv_release_window(void* window)
{
    record<ReleaseWindow>(window);
}

void* vesta_hbbtv_get_window_identifier(TAVO_VestaWindow* tavoWindow)
{
    return record<GetWindowOfPage>(tavoWindow);
}

void vesta_hbbtv_set_broadcast_window(void* window)
{
    record<SetBroadcastWindow>(window);
}

void* vesta_hbbtv_get_broadcast_window()
{
    return record<GetBroadcastWindow>();
}

TAVO_VestaWindow* vesta_hbbtv_get_tavo_window(void* window)
{
    return record<GetTavoWindow>(window);
}

bool vesta_hbbtv_is_within_boundaries(void* window, const char* url)
{
    return record<IsWithinBoundaries>(window, url);
}

unsigned int vesta_hbbtv_set_time_shifted(void* window, int timeShifted)
{
    return record<SetTimeShifted>(window, timeShifted);
}

bool vesta_hbbtv_is_hbbtv_window(TAVO_VestaWindow* tavoWindow)
{
    return record<IsHbbtvWindow>(tavoWindow);
}

unsigned int vesta_hbbtv_handle_notification(TAVO_Vesta* browser, TAVO_VestaWindow* tavoWindow,
                                             TAVO_VESTA_EVENT event, TavoVestaEventData* data,
                                             int* result)
{
    return record<HandleNotification>(browser, tavoWindow, event, data, result);
}

int vesta_hbbtv_key_input(TAVO_VestaWindow* tavoWindow, TAVO_KeyboardEvent* event)
{
    return record<KeyInput>(tavoWindow, event);
}

}  // namespace VestaHbbTV

extern "C" {

int native_ApplicationManagerSetListener(VEIF_ApplicationManagerListener listener)
{
    return record<ManagerSetListener>(listener);
}

int native_ApplicationManagerSetAppDestroyedListener(VEIF_ApplicationDestroyedListener listener)
{
    return record<ManagerSetDestroyedListener>(listener);
}

int native_AppPrivateDataGetFreeMem(long windowId, double* freeMemory)
{
    return record<GetFreeMem>(windowId, freeMemory);
}

int native_KeySetGetMaximumValue(long windowId, double* maximum)
{
    return record<KeySetGetMaximumValue>(windowId, maximum);
}

int native_KeySetSetValue(void* appId, double value, double* granted)
{
    return record<KeySetSetValue>(appId, value, granted);
}

int native_KeySetGetValue(void* appId, double* value)
{
    return record<KeySetGetValue>(appId, value);
}

int native_PermissionsIsBroadcastRelated(long windowId, const char* url)
{
    return record<IsBroadcastRelated>(windowId, url);
}

int native_PermissionsIsTrusted(long windowId, const char* url)
{
    return record<IsTrusted>(windowId, url);
}

int native_AppManNotifySetChannelCalled(long windowId, const char* url, void* channel)
{
    return record<NotifySetChannelCalled>(windowId, url, channel);
}

int native_AppManGetWindowOfApplication(void* appId, long* windowId)
{
    return record<GetWindowOfApplication>(appId, windowId);
}

int native_AppPrivateDataGetCurrentChannel(void* appId, void** channel)
{
    return record<GetCurrentChannel>(appId, channel);
}

int native_ApplicationDestroyApplication(void* appId)
{
    return record<DestroyApplication>(appId);
}

int native_ApplicationHide(void* appId)
{
    return record<HideApplication>(appId);
}

int native_ApplicationShow(void* appId)
{
    return record<ShowApplication>(appId);
}

int native_AppManGetApplicationId(long windowId, void* reserved, void** appId)
{
    return record<GetApplicationId>(windowId, reserved, appId);
}

int native_ApplicationCreateApplication(const char* url, int createChild, void* parentAppId,
                                        void** appId)
{
    return record<CreateApplication>(url, createChild, parentAppId, appId);
}

int native_BroadcastAddStreamEventListener(const char* target, void* p1, void* p2, void* p3,
                                           void* p4, long windowId)
{
    return record<AddStreamEventListener>(target, p1, p2, p3, p4, windowId);
}

int native_BroadcastAddXMLStreamEventListener(void* x1, void* x2, double d1, double d2, void* x3,
                                              void* x4, void* x5, long windowId)
{
    return record<AddXmlStreamEventListener>(x1, x2, d1, d2, x3, x4, x5, windowId);
}

int native_BroadcastRemoveStreamEventListener(const char* target, void* p1, void* p2, void* p3,
                                              void* p4, long windowId)
{
    return record<RemoveStreamEventListener>(target, p1, p2, p3, p4, windowId);
}

int native_BroadcastRemoveAllStreamEventListeners(void* p1, long windowId)
{
    return record<RemoveAllStreamEventListeners>(p1, windowId);
}

HBBTV_KitXMLAITResult hbbtv_kit_load_xml_ait(void* window, const void* bytes, size_t length,
                                             const char* documentUrl)
{
    return record<LoadXmlAit>(window, bytes, length, documentUrl);
}

}  // extern "C"
