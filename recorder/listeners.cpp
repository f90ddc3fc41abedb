#include "recorder/listeners.h"

#include <array>
#include <cstddef>
#include <utility>

#include "recorder/crossing.h"

namespace recorder {

namespace {

using namespace VestaHbbTV;

constexpr size_t places = 64;

/// Who is stood in for, by the stand-in's place. The browser thread's.
template <typename Function>
class Places {
public:
    /// @return its place, which may be a new one; `places` where there is none
    size_t placeOf(Function function)
    {
        size_t place = 0;
        while (place < taken_ && functions_[place] != function)
            ++place;
        if (place == taken_ && place < places)
            functions_[taken_++] = function;
        return place;
    }

    Function at(size_t place) const { return functions_[place]; }

    /// Deliberate: who is called until another one takes the place stays the same.
    void forgetAll() { taken_ = 0; }

private:
    std::array<Function, places> functions_ = {};
    size_t taken_ = 0;
};

Places<HBBTV_NotificationListener> listeners;
Places<HBBTV_StreamEventCallback> callbacks;

template <size_t place>
HBBTV_STATUS notify(HBBTV_NotificationType type, HBBTV_NotificationData* data)
{
    Notify call{listeners.at(place), type, data, HBBTV_STATUS_OK};
    callOut(call, [&] { call.result = call.listener(type, data); });
    return call.result;
}

template <size_t place>
void tellStreamEvent(const char* string1, uint32_t value1, const char* string2, const char* string3,
                     const char* string4, uint32_t value2)
{
    const HBBTV_StreamEventCallback callback = callbacks.at(place);
    TellStreamEvent call{callback, string1, value1, string2, string3, string4, value2};
    callOut(call, [&] { callback(string1, value1, string2, string3, string4, value2); });
}

template <size_t... place>
std::array<HBBTV_NotificationListener, places> notifyAll(std::index_sequence<place...>)
{
    return {notify<place>...};
}

template <size_t... place>
std::array<HBBTV_StreamEventCallback, places> tellAll(std::index_sequence<place...>)
{
    return {tellStreamEvent<place>...};
}

template <typename Function>
Function standIn(Places<Function>& functions, const std::array<Function, places>& standIns,
                 Function function, const char* complaint)
{
    const size_t place = functions.placeOf(function);
    if (place < places)
        return standIns[place];
    static bool isSaid = false;  // of each kind
    if (!isSaid)
        complain(complaint);
    isSaid = true;
    return function;
}

}  // namespace

HBBTV_NotificationListener standInFor(HBBTV_NotificationListener listener)
{
    static const auto standIns = notifyAll(std::make_index_sequence<places>());
    return standIn(listeners, standIns, listener,
                   "there are more than 64 listeners; what the others hear is not recorded");
}

void forgetListeners()
{
    listeners.forgetAll();
}

HBBTV_StreamEventCallback standInFor(HBBTV_StreamEventCallback callback)
{
    static const auto standIns = tellAll(std::make_index_sequence<places>());
    if (!callback)
        return nullptr;
    return standIn(callbacks, standIns, callback,
                   "there are more than 64 listeners of stream events; what the others hear is not "
                   "recorded");
}

}  // namespace recorder
