#include "receiver/integration/stream_event_subscriptions.h"

#include <algorithm>
#include <utility>

#include "receiver/carousel/service_carousels.h"
#include "receiver/text/printable.h"
#include "receiver/text/url.h"

namespace receiver {

using namespace VestaHbbTV;

namespace {

// Taps whose stream carries events (ISO/IEC 13818-6, table 4-12): STR_STATUS_AND_EVENT_USE and
// STR_EVENT_USE.
constexpr uint16_t statusAndEventUse = 0x000C;
constexpr uint16_t eventUse = 0x000D;

constexpr char triggerStatus[] = "trigger";
constexpr char errorStatus[] = "error";

std::string hexadecimal(const std::string& bytes)
{
    static const char digits[] = "0123456789ABCDEF";
    std::string text;
    for (const char byte : bytes) {
        text += digits[static_cast<unsigned char>(byte) >> 4];
        text += digits[static_cast<unsigned char>(byte) & 0x0F];
    }
    return text;
}

/// An association tag descriptor names a stream, and else its component tag does (ETSI TR 101 202,
/// 4.7.7.3).
const StreamDescription* streamOf(const std::vector<StreamDescription>& streams, uint16_t tag)
{
    const StreamDescription* byComponentTag = nullptr;
    for (const StreamDescription& stream : streams) {
        const std::vector<uint16_t>& tags = stream.associationTags;
        if (std::find(tags.begin(), tags.end(), tag) != tags.end())
            return &stream;
        if (!byComponentTag && stream.componentTag == tag)
            byComponentTag = &stream;
    }
    return byComponentTag;
}

std::string listenerText(uint32_t listener)
{
    return " for listener " + std::to_string(listener);
}

}  // namespace

StreamEventSubscriptions* StreamEventSubscriptions::current = nullptr;

/// Where an event is broadcast, or why that is not known.
struct StreamEventSubscriptions::Place {
    Lookup::Result result = Lookup::Result::Error;
    std::string reason;
    uint16_t pid = 0;
    uint16_t eventId = 0;

    static Place nowhere(const std::string& reason)
    {
        return {Lookup::Result::Error, reason, 0, 0};
    }
};

StreamEventSubscriptions::StreamEventSubscriptions(const ServiceCarousels& carousels, EventLog& log)
    : carousels_(carousels), log_(log)
{
    current = this;
}

StreamEventSubscriptions::~StreamEventSubscriptions()
{
    for (const Outgoing& event : outgoing_)
        discard(event);
    if (current == this)
        current = nullptr;
}

void StreamEventSubscriptions::setStreamEventCallback(HBBTV_StreamEventCallback callback)
{
    const MutexLock lock(mutex_);
    callback_ = callback;
}

/// The callback of every record. What was sent before a subscription ended is heard by nobody.
void StreamEventSubscriptions::deliver(const char* name, uint32_t listener, const char* data,
                                       const char* text, const char* status, uint32_t serial)
{
    const HBBTV_StreamEventCallback callback = current ? current->callbackFor(serial) : nullptr;
    if (callback)
        callback(name, listener, data, text, status, serial);
}

HBBTV_StreamEventCallback StreamEventSubscriptions::callbackFor(uint32_t serial)
{
    const MutexLock lock(mutex_);
    const auto found = subscriptions_.find(serial);
    if (found == subscriptions_.end())
        return nullptr;
    if (found->second.hasFailed)
        subscriptions_.erase(found);
    return callback_;
}

bool StreamEventSubscriptions::subscribe(const std::string& target, uint32_t listener,
                                         const std::string& name)
{
    return add({target, parseCarouselPath(withoutEscapes(target)), {}}, listener, name);
}

bool StreamEventSubscriptions::subscribe(uint16_t serviceId, uint16_t componentTag,
                                         uint16_t eventId, uint32_t listener,
                                         const std::string& name)
{
    const std::string text = "component " + std::to_string(componentTag);
    return add({text, {}, Component{serviceId, componentTag, eventId}}, listener, name);
}

bool StreamEventSubscriptions::add(Target target, uint32_t listener, const std::string& name)
{
    std::vector<Outgoing> answers;
    {
        const MutexLock lock(mutex_);
        const std::string what = "stream event \"" + name + "\" of " + target.text;
        if (subscriptions_.size() >= mostSubscriptions) {
            log_.report(Source::Platform, "subscribe", what + ": there are too many subscriptions");
            return false;
        }
        log_.report(Source::Platform, "subscribe", what + listenerText(listener));
        const uint32_t serial = ++lastSerial_;
        Subscription& subscription = subscriptions_[serial];
        subscription.target = std::move(target);
        subscription.listener = listener;
        subscription.name = name;
        isStale_ = true;
        // The middleware thread sleeps, and there will be nothing that wakes it.
        if (hasEnded_) {
            failUnlessFound(serial, subscription);
            answers = std::exchange(outgoing_, {});
        }
    }
    for (const Outgoing& answer : answers)
        send(answer);
    return true;
}

void StreamEventSubscriptions::unsubscribe(uint32_t listener, const std::string& name)
{
    const MutexLock lock(mutex_);
    for (auto entry = subscriptions_.begin(); entry != subscriptions_.end();) {
        const bool isMeant = entry->second.listener == listener && entry->second.name == name;
        entry = isMeant ? subscriptions_.erase(entry) : std::next(entry);
    }
    isStale_ = true;
}

void StreamEventSubscriptions::unsubscribeAll(uint32_t listener)
{
    const MutexLock lock(mutex_);
    for (auto entry = subscriptions_.begin(); entry != subscriptions_.end();) {
        const bool isMeant = listener == 0 || entry->second.listener == listener;
        entry = isMeant ? subscriptions_.erase(entry) : std::next(entry);
    }
    isStale_ = true;
}

void StreamEventSubscriptions::leave()
{
    const MutexLock lock(mutex_);
    service_.reset();
    streams_.clear();
    pids_.clear();
    readers_.clear();
    hasEnded_ = false;
    hasRemarked_ = false;
    isStale_ = true;
    for (auto& [serial, subscription] : subscriptions_) {
        subscription.isOfFormerService = true;
        subscription.pid.reset();
    }
}

void StreamEventSubscriptions::join(const Service& service,
                                    const std::vector<StreamDescription>& streams)
{
    const MutexLock lock(mutex_);
    service_ = service;
    streams_ = streams;
    for (auto entry = subscriptions_.begin(); entry != subscriptions_.end();) {
        Subscription& subscription = entry->second;
        const bool hasEnded = subscription.isOfFormerService && !isOfService(subscription.target);
        subscription.pid.reset();
        entry = hasEnded ? subscriptions_.erase(entry) : std::next(entry);
    }
    resolveAll();  // at once: the next section may be an event
}

bool StreamEventSubscriptions::isOfService(const Target& target) const
{
    const uint16_t service = service_->programNumber;
    return (target.object && target.object->serviceId == service) ||
           (target.component && target.component->serviceId == service);
}

void StreamEventSubscriptions::giveUp()
{
    const MutexLock lock(mutex_);
    hasEnded_ = true;
    for (auto& [serial, subscription] : subscriptions_) {
        if (!subscription.hasFailed)
            failUnlessFound(serial, subscription);
    }
}

/// At the end of the stream nothing is waited for.
void StreamEventSubscriptions::failUnlessFound(uint32_t serial, Subscription& subscription)
{
    const Place place = find(subscription);
    const bool isWaiting = place.result == Lookup::Result::Pending;
    if (place.result != Lookup::Result::Ready)
        fail(serial, subscription, isWaiting ? "the stream has ended" : place.reason);
}

bool StreamEventSubscriptions::update()
{
    const MutexLock lock(mutex_);
    if (!isStale_ && (waiting_ == 0 || seenRevision_ == carousels_.revision()))
        return false;
    return resolveAll();
}

/// @return whether pids() changed
bool StreamEventSubscriptions::resolveAll()
{
    seenRevision_ = carousels_.revision();
    isStale_ = false;
    waiting_ = 0;
    for (auto& [serial, subscription] : subscriptions_) {
        if (!subscription.hasFailed && !subscription.pid)
            resolve(serial, subscription);
    }
    const std::set<uint16_t> before = pids_;
    listen();
    return pids_ != before;
}

void StreamEventSubscriptions::resolve(uint32_t serial, Subscription& subscription)
{
    const Place place = find(subscription);
    switch (place.result) {
    case Lookup::Result::Ready:
        subscription.pid = place.pid;
        subscription.eventId = place.eventId;
        break;
    case Lookup::Result::Pending:
        ++waiting_;
        break;
    case Lookup::Result::Error:
        fail(serial, subscription, place.reason);
        break;
    }
}

/// Listens to the streams with events of subscriptions, and to no others.
void StreamEventSubscriptions::listen()
{
    pids_.clear();
    for (const auto& [serial, subscription] : subscriptions_) {
        if (subscription.pid)
            pids_.insert(*subscription.pid);
    }
    for (auto reader = readers_.begin(); reader != readers_.end();)
        reader = pids_.count(reader->first) == 0 ? readers_.erase(reader) : std::next(reader);
}

StreamEventSubscriptions::Place
StreamEventSubscriptions::find(const Subscription& subscription) const
{
    const Target& target = subscription.target;
    if (!service_)
        return {Lookup::Result::Pending, "no service is tuned to", 0, 0};
    if (target.object)
        return findObject(*target.object, subscription.name);
    if (!isOfService(target))
        return Place::nowhere("it is not of the tuned service");
    return findStream({target.component->tag}, target.component->eventId);
}

StreamEventSubscriptions::Place StreamEventSubscriptions::findObject(const CarouselPath& path,
                                                                     const std::string& name) const
{
    const StreamEventLookup lookup = carousels_.findStreamEvents(path);
    if (lookup.result != Lookup::Result::Ready)
        return {lookup.result, lookup.reason, 0, 0};
    const auto event = std::find_if(lookup.events.begin(), lookup.events.end(),
                                    [&name](const auto& each) { return each.name == name; });
    if (event == lookup.events.end())
        return Place::nowhere("the object names no such event");
    std::vector<uint16_t> tags;
    for (const Tap& tap : lookup.taps) {
        if (tap.use == statusAndEventUse || tap.use == eventUse)
            tags.push_back(tap.associationTag);
    }
    return findStream(tags, event->id);
}

/// @param associationTags the first that names a stream of the service counts
StreamEventSubscriptions::Place
StreamEventSubscriptions::findStream(const std::vector<uint16_t>& associationTags,
                                     uint16_t eventId) const
{
    for (const uint16_t tag : associationTags) {
        if (const StreamDescription* const stream = streamOf(streams_, tag))
            return {Lookup::Result::Ready, "", stream->pid, eventId};
    }
    return Place::nowhere("the service has no stream for its events");
}

void StreamEventSubscriptions::fail(uint32_t serial, Subscription& subscription,
                                    const std::string& reason)
{
    subscription.hasFailed = true;
    subscription.pid.reset();
    log_.report(Source::Platform, "stream-event-error",
                "stream event \"" + subscription.name + "\" of " + subscription.target.text + ": " +
                    reason,
                {{"name", subscription.name}});
    outgoing_.push_back(streamEvent(deliver, {subscription.name, "", "", errorStatus},
                                    subscription.listener, serial));
}

void StreamEventSubscriptions::feed(uint16_t pid, const SectionBytes& section)
{
    if (pids_.count(pid) == 0)
        return;
    const MutexLock lock(mutex_);
    StreamEventSections& reader = readers_[pid];
    const std::optional<StreamEvent> event = reader.take(section);
    if (reader.scheduled().hasLeftOut() && !std::exchange(hasRemarked_, true))
        log_.report(Source::Receiver, "remark",
                    "more than " + std::to_string(ScheduledEvents::mostEvents) +
                        " stream events at a time of the programme (NPT): some are left out");
    if (event)
        happen(pid, *event);
}

void StreamEventSubscriptions::advance(uint64_t clock, bool jumps)
{
    const MutexLock lock(mutex_);
    for (auto& [pid, reader] : readers_) {
        for (const StreamEvent& event : reader.scheduled().advance(clock, jumps))
            happen(pid, event);
    }
}

/// Reports an event to those who listen to it.
void StreamEventSubscriptions::happen(uint16_t pid, const StreamEvent& event)
{
    const std::string data = hexadecimal(event.data);
    for (const auto& [serial, subscription] : subscriptions_) {
        if (subscription.pid != pid || subscription.eventId != event.id)
            continue;
        log_.report(Source::Air, "stream-event",
                    "stream event \"" + subscription.name + "\"" +
                        listenerText(subscription.listener),
                    {{"name", subscription.name}, {"data", data}});
        outgoing_.push_back(streamEvent(
            deliver, {subscription.name, data, withoutOtherBytes(event.data), triggerStatus},
            subscription.listener, serial));
    }
}

std::vector<Outgoing> StreamEventSubscriptions::takeEvents()
{
    const MutexLock lock(mutex_);
    return std::exchange(outgoing_, {});
}

}  // namespace receiver
