/// What the script objects of the broadcast (video/broadcast, channels, programmes; OIPF DAE, 7.13,
/// 7.16 and 7.12) ask of the receiver.
#ifndef VESTA_RECEIVER_OBJECTS_BROADCAST_HOST_H
#define VESTA_RECEIVER_OBJECTS_BROADCAST_HOST_H

#include <chrono>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>

#include "receiver/browser/browser_engine.h"
#include "receiver/browser/script_host.h"
#include "receiver/objects/service_information_source.h"
#include "receiver/stream/transport_stream.h"

namespace receiver {

class EventLog;
class Middleware;
class ObjectHost;
class Platform;

/// Browser thread. Pages hear of a new service once its table was acted on: an application that is
/// still there then is part of it.
class BroadcastHost {
public:
    /// What the broadcast's objects stand on; all borrowed.
    struct Parts {
        ObjectHost& objects;
        Middleware& middleware;
        BrowserEngine& browser;
        Platform& platform;
        EventLog& log;
        const ServiceInformationSource* information;  ///< null: nothing is known
    };

    explicit BroadcastHost(const Parts& parts);

    /// To be called whenever everything that was queued is done: tells pages what has changed.
    void update();

private:
    using Json = nlohmann::json;
    using Clock = std::chrono::steady_clock;

    /// Whose video/broadcast object has the video.
    struct PlaceOwner {
        long window;
        unsigned long long document;
    };

    void addChannelFunctions();
    void addInformationFunctions();
    void addVideoFunctions();

    std::optional<Service> findService(uint16_t serviceId) const;
    std::optional<Service> findService(const Json& channel) const;
    Json describe(const Service& service) const;
    Json currentChannel(void* application) const;
    Json tune(const CallingDocument& document, const std::string& url, const Json& channel);
    bool hasDeliverySystem(const Service& service, const std::string& wanted) const;

    void setPlace(const CallingDocument& document, const Json& place);
    void freePlace();
    void reportPlace(const Rectangle& place);

    void endChange();
    void giveUpChange();
    bool isActedOn(const Service& service) const;
    void endIndependentApplication();
    void reportChanges();

    Parts parts_;
    std::optional<PlaceOwner> placeOwner_;
    unsigned channelChanges_ = 0;  // as far as pages know
    bool isChanging_ = false;
    Clock::time_point changeBegan_;
    std::optional<uint16_t> wanted_;        // that a script tunes to
    std::optional<long> independentTuner_;  // the window whose independent application tuned
    std::pair<uint16_t, unsigned long long> toldInformation_;  // the service, its changes
};

}  // namespace receiver

#endif
