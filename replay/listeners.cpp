#include "replay/listeners.h"

#include <utility>

#include "recorder/boundary/calls_out.h"
#include "replay/calls.h"

namespace replay {

namespace {

using VestaHbbTV::HBBTV_NotificationListener;
using VestaHbbTV::HBBTV_StreamEventCallback;

template <size_t place>
VestaHbbTV::HBBTV_STATUS listen(VestaHbbTV::HBBTV_NotificationType type,
                                VestaHbbTV::HBBTV_NotificationData* data)
{
    const HBBTV_NotificationListener self = listen<place>;
    return answerTo<recorder::Notify>(self, type, data);
}

template <size_t place>
void hearStreamEvent(const char* string1, uint32_t value1, const char* string2, const char* string3,
                     const char* string4, uint32_t value2)
{
    const HBBTV_StreamEventCallback self = hearStreamEvent<place>;
    answerTo<recorder::TellStreamEvent>(self, string1, value1, string2, string3, string4, value2);
}

template <size_t... places>
HBBTV_NotificationListener listenerAt(size_t place, std::index_sequence<places...>)
{
    static constexpr HBBTV_NotificationListener all[] = {listen<places>...};
    return all[place];
}

template <size_t... places>
HBBTV_StreamEventCallback callbackAt(size_t place, std::index_sequence<places...>)
{
    static constexpr HBBTV_StreamEventCallback all[] = {hearStreamEvent<places>...};
    return all[place];
}

using Places = std::make_index_sequence<Listeners::most>;

/// The function that a name is bound to, or else the next of the pool.
template <typename Function, typename At>
Function named(recorder::Handle kind, const std::string& name, Names& names, size_t& used, At at)
{
    if (const uintptr_t* const bound = names.boundTo(name))
        return reinterpret_cast<Function>(*bound);
    if (used == Listeners::most)
        return nullptr;
    const Function function = at(used++, Places());
    names.bind(kind, name, reinterpret_cast<uintptr_t>(function));
    return function;
}

}  // namespace

HBBTV_NotificationListener Listeners::notification(const std::string& name, Names& names)
{
    return named<HBBTV_NotificationListener>(
        recorder::Handle::listener, name, names, notifications_,
        [](size_t place, auto places) { return listenerAt(place, places); });
}

HBBTV_StreamEventCallback Listeners::streamEvent(const std::string& name, Names& names)
{
    return named<HBBTV_StreamEventCallback>(
        recorder::Handle::callback, name, names, streamEvents_,
        [](size_t place, auto places) { return callbackAt(place, places); });
}

VEIF_ApplicationManagerListener Listeners::managerListener()
{
    return [](int event, void* appId) { answerTo<recorder::TellManagerListener>(event, appId); };
}

VEIF_ApplicationDestroyedListener Listeners::destroyedListener()
{
    return [](void* appId) { answerTo<recorder::TellDestroyedListener>(appId); };
}

}  // namespace replay
