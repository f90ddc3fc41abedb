#include "receiver/objects/stream_event_host.h"

#include <limits>

#include "vesta_hbbtv_appman.h"

#include "receiver/integration/stream_event_subscriptions.h"
#include "receiver/objects/object_host.h"

namespace receiver {

using Json = nlohmann::json;

namespace {

void* asPointer(uint32_t listener)
{
    // NOLINTNEXTLINE(performance-no-int-to-ptr): listeners are numbers in pointers
    return reinterpret_cast<void*>(static_cast<uintptr_t>(listener));
}

/// The platform copies it within the call.
void* asPointer(const std::string& name)
{
    return const_cast<char*>(name.c_str());
}

std::string textOf(const char* text)
{
    return text ? text : "";
}

}  // namespace

StreamEventHost* StreamEventHost::current = nullptr;

StreamEventHost::StreamEventHost(ObjectHost& objects, BrowserEngine& browser,
                                 StreamEventSubscriptions& subscriptions)
    : objects_(objects), browser_(browser), subscriptions_(subscriptions)
{
    current = this;
    subscriptions_.setStreamEventCallback(hear);
    objects_.add("streamEvents.listen",
                 [this](const CallingDocument& document, const Json& arguments) {
                     return listen(document, arguments);
                 });
    objects_.add("streamEvents.listenToComponent",
                 [this](const CallingDocument& document, const Json& arguments) {
                     return listenToComponent(document, arguments);
                 });
    objects_.add("streamEvents.remove",
                 [this](const CallingDocument& document, const Json& arguments) -> Json {
                     const auto listener = static_cast<uint32_t>(
                         wholeNumberArgument(arguments, 0, std::numeric_limits<uint32_t>::max()));
                     const auto found = windows_.find(listener);
                     if (found != windows_.end() && found->second == document.window->id)
                         remove(listener);
                     return nullptr;
                 });
}

StreamEventHost::~StreamEventHost()
{
    subscriptions_.setStreamEventCallback(nullptr);
    current = nullptr;
}

uint32_t StreamEventHost::newListener(const CallingDocument& document)
{
    windows_[++lastListener_] = document.window->id;
    return lastListener_;
}

/// @param arguments the stream-event object's URL, the event's name
/// @return the listener's number; null for an application that is of no table
Json StreamEventHost::listen(const CallingDocument& document, const Json& arguments)
{
    const std::string target = textArgument(arguments, 0);
    const std::string name = textArgument(arguments, 1);
    const uint32_t listener = newListener(document);
    const int result =
        native_BroadcastAddStreamEventListener(target.c_str(), asPointer(listener), asPointer(name),
                                               nullptr, nullptr, document.window->id);
    if (result == VEIF_RETURN_OK)
        return listener;
    windows_.erase(listener);
    return nullptr;
}

/// @param arguments the component's tag, the event's id, its name @return as above
Json StreamEventHost::listenToComponent(const CallingDocument& document, const Json& arguments)
{
    const uint64_t most = 0xFFFF;
    const auto component = static_cast<double>(wholeNumberArgument(arguments, 0, most));
    const auto event = static_cast<double>(wholeNumberArgument(arguments, 1, most));
    const std::string name = textArgument(arguments, 2);
    const uint32_t listener = newListener(document);
    const int result = native_BroadcastAddXMLStreamEventListener(
        asPointer(listener), asPointer(name), component, event, nullptr, nullptr, nullptr,
        document.window->id);
    if (result == VEIF_RETURN_OK)
        return listener;
    windows_.erase(listener);
    return nullptr;
}

void StreamEventHost::remove(uint32_t listener)
{
    const auto found = windows_.find(listener);
    if (found == windows_.end())
        return;
    native_BroadcastRemoveAllStreamEventListeners(asPointer(listener), found->second);
    windows_.erase(found);
}

void StreamEventHost::hear(const char* name, uint32_t listener, const char* data, const char* text,
                           const char* status, uint32_t /*subscription*/)
{
    if (current)
        current->tell(listener, {{"event", "StreamEvent"},
                                 {"listener", listener},
                                 {"name", textOf(name)},
                                 {"data", textOf(data)},
                                 {"text", textOf(text)},
                                 {"status", textOf(status)}});
}

void StreamEventHost::tell(uint32_t listener, const Json& event)
{
    const auto found = windows_.find(listener);
    const TAVO_VestaWindow* const window =
        found == windows_.end() ? nullptr : browser_.findWindow(found->second);
    if (window)
        objects_.send(window, event);
    else
        remove(listener);  // its page is gone
}

}  // namespace receiver
