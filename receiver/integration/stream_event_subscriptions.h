/// The stream events that scripts listen to, and where they are broadcast.
#ifndef VESTA_RECEIVER_INTEGRATION_STREAM_EVENT_SUBSCRIPTIONS_H
#define VESTA_RECEIVER_INTEGRATION_STREAM_EVENT_SUBSCRIPTIONS_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "vesta_hbbtv_appman.h"

#include "foundation/mutex.h"
#include "receiver/carousel/carousel_path.h"
#include "receiver/carousel/stream_event_sections.h"
#include "receiver/console/event_log.h"
#include "receiver/integration/event_records.h"
#include "receiver/service/service_tables.h"
#include "receiver/stream/transport_stream.h"

namespace receiver {

class ServiceCarousels;

/// Keeps the subscriptions, listens to the streams that they need and answers with
/// E_DSMCC_STREAM_EVENT (ETSI TS 102 796, 8.2.1).
///
/// What the natives hand through to the hooks is a matter between the plugin and this class:
///  - native_BroadcastAddStreamEventListener and native_BroadcastRemoveStreamEventListener: p1 is
///    the listener's number, not 0, carried in a pointer; p2 the event's name, a const char* that
///    is valid for the call; p3 and p4 are null. Numbers are the plugin's: one for each listener.
///  - native_BroadcastAddXMLStreamEventListener: x1 is the listener's number, x2 the event's name,
///    d1 the component tag, d2 the stream event's id; x3, x4 and x5 are null. Removed as above.
///  - native_BroadcastRemoveAllStreamEventListeners: p1 is the number of the listener all of whose
///    subscriptions end; null ends everybody's.
/// The callback gets: string1 the event's name, value1 the listener's number, string2 the data as
/// hexadecimal text, string3 the data as text (UTF-8, bytes that are none left out), string4 the
/// status, "trigger" or "error". value2 is this class's own.
///
/// What cannot be subscribed to (no such object, event or component in the tuned service) gives one
/// "error", and the subscription has ended; waiting for a carousel that has not come round is no
/// error. What was subscribed in one service ends in silence when another is tuned to.
///
/// Fed by the middleware thread; the hooks run on the browser thread.
class StreamEventSubscriptions {
public:
    /// There may be so many at a time; more are refused.
    static constexpr size_t mostSubscriptions = 1024;

    /// @param carousels, log borrowed
    StreamEventSubscriptions(const ServiceCarousels& carousels, EventLog& log);
    ~StreamEventSubscriptions();
    StreamEventSubscriptions(const StreamEventSubscriptions&) = delete;
    StreamEventSubscriptions& operator=(const StreamEventSubscriptions&) = delete;

    /// Who hears the events of all subscriptions, on the browser thread. @param callback may be
    /// null
    void setStreamEventCallback(VestaHbbTV::HBBTV_StreamEventCallback callback);

    /// @name The platform's side of the hooks; false refuses
    /// @{
    /// @param target a stream-event object as parseCarouselPath() takes it
    bool subscribe(const std::string& target, uint32_t listener, const std::string& name);
    bool subscribe(uint16_t serviceId, uint16_t componentTag, uint16_t eventId, uint32_t listener,
                   const std::string& name);
    /// Nothing is heard from the return of these functions on, not even what is under way.
    void unsubscribe(uint32_t listener, const std::string& name);
    /// @param listener 0: everybody
    void unsubscribeAll(uint32_t listener);
    /// @}

    /// @name For the middleware thread alone
    /// @{
    /// Forgets the service. Subscriptions wait for the next one.
    void leave();
    /// @param streams of the service's PMT, again whenever it changes
    void join(const Service& service, const std::vector<StreamDescription>& streams);
    /// No more sections follow until leave(): what is waited for will not come.
    void giveUp();

    /// Looks what became of the subscriptions that wait; does nothing unless something new came.
    /// @return whether pids() changed
    bool update();

    /// The PIDs whose sections are needed.
    const std::set<uint16_t>& pids() const { return pids_; }

    /// Takes a section; one of another PID changes nothing.
    void feed(uint16_t pid, const SectionBytes& section);

    /// The service's clock has come; events at a time of the programme may happen.
    /// @param clock of 90 kHz @param jumps away from the one before
    void advance(uint64_t clock, bool jumps);

    /// @return what is to be sent since the last call, in order; the events are the caller's
    std::vector<Outgoing> takeEvents();
    /// @}

private:
    struct Component {
        uint16_t serviceId;
        uint16_t tag;
        uint16_t eventId;
    };
    /// What a script named: an object of a carousel, or a stream and an event on it. Neither where
    /// it named nothing of the kind.
    struct Target {
        std::string text;  ///< for people
        std::optional<CarouselPath> object;
        std::optional<Component> component;
    };
    struct Subscription {
        Target target;
        uint32_t listener = 0;
        std::string name;
        bool isOfFormerService = false;
        bool hasFailed = false;       ///< its "error" is under way, and nothing else will be
        std::optional<uint16_t> pid;  ///< nothing while it waits
        uint16_t eventId = 0;
    };
    struct Place;

    static void deliver(const char* name, uint32_t listener, const char* data, const char* text,
                        const char* status, uint32_t serial);
    VestaHbbTV::HBBTV_StreamEventCallback callbackFor(uint32_t serial);
    bool add(Target target, uint32_t listener, const std::string& name);
    Place find(const Subscription& subscription) const VESTA_REQUIRES(mutex_);
    Place findObject(const CarouselPath& path, const std::string& name) const
        VESTA_REQUIRES(mutex_);
    Place findStream(const std::vector<uint16_t>& associationTags, uint16_t eventId) const
        VESTA_REQUIRES(mutex_);
    bool isOfService(const Target& target) const VESTA_REQUIRES(mutex_);
    bool resolveAll() VESTA_REQUIRES(mutex_);
    void resolve(uint32_t serial, Subscription& subscription) VESTA_REQUIRES(mutex_);
    void failUnlessFound(uint32_t serial, Subscription& subscription) VESTA_REQUIRES(mutex_);
    void fail(uint32_t serial, Subscription& subscription, const std::string& reason)
        VESTA_REQUIRES(mutex_);
    void listen() VESTA_REQUIRES(mutex_);
    void happen(uint16_t pid, const StreamEvent& event) VESTA_REQUIRES(mutex_);

    const ServiceCarousels& carousels_;
    EventLog& log_;
    mutable VestaHbbTV::Mutex mutex_;
    VestaHbbTV::HBBTV_StreamEventCallback callback_ VESTA_GUARDED_BY(mutex_) = nullptr;
    std::optional<Service> service_ VESTA_GUARDED_BY(mutex_);
    std::vector<StreamDescription> streams_ VESTA_GUARDED_BY(mutex_);  // of the service
    std::map<uint32_t, Subscription> subscriptions_ VESTA_GUARDED_BY(mutex_);
    uint32_t lastSerial_ VESTA_GUARDED_BY(mutex_) = 0;
    // Whether subscriptions or the service changed since the last update().
    bool isStale_ VESTA_GUARDED_BY(mutex_) = false;
    size_t waiting_ VESTA_GUARDED_BY(mutex_) = 0;         // so many wait for a carousel
    uint64_t seenRevision_ VESTA_GUARDED_BY(mutex_) = 0;  // of the carousels
    bool hasEnded_ VESTA_GUARDED_BY(mutex_) = false;
    bool hasRemarked_ VESTA_GUARDED_BY(mutex_) = false;  // on events that are left out
    std::set<uint16_t> pids_;
    std::map<uint16_t, StreamEventSections> readers_ VESTA_GUARDED_BY(mutex_);  // by PID
    std::vector<Outgoing> outgoing_ VESTA_GUARDED_BY(mutex_);

    static StreamEventSubscriptions* current;
};

}  // namespace receiver

#endif
