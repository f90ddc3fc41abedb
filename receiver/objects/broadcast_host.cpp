#include "receiver/objects/broadcast_host.h"

#include <algorithm>
#include <sstream>
#include <vector>

#include "vesta_hbbtv_appman.h"

#include "receiver/console/event_log.h"
#include "receiver/integration/channel_reference.h"
#include "receiver/integration/platform.h"
#include "receiver/objects/object_host.h"
#include "receiver/service/middleware.h"

namespace receiver {

using Json = nlohmann::json;

namespace {

/// How long a service's table, or the service itself, may be awaited: tables come every second.
constexpr std::chrono::seconds longestChange{5};

/// Of a video's place, in any direction.
constexpr double mostPixels = 100000;

/// Of OIPF DAE, 7.16.5.1.
enum IdType { idDvbC = 10, idDvbS = 11, idDvbT = 12, idDvbC2 = 14, idDvbS2 = 15, idDvbT2 = 16 };
constexpr int idDvbSiDirect = 13;
enum ChannelType { typeTv = 0, typeRadio = 1 };

/// Of OIPF DAE, 7.13.1.2: why a channel cannot be tuned to.
enum ChannelError { errorNoSignal = 1, errorUnknownChannel = 5, errorNotInTransportStream = 12 };

/// A character for each byte.
std::string asCharacters(const std::vector<unsigned char>& bytes)
{
    std::string text;
    for (const unsigned char byte : bytes) {
        if (byte < 0x80) {
            text += static_cast<char>(byte);
        } else {
            text += static_cast<char>(0xC0 | byte >> 6);
            text += static_cast<char>(0x80 | (byte & 0x3F));
        }
    }
    return text;
}

/// By the delivery system descriptor (ETSI EN 300 468, 6.2.13 and 6.4.6).
int idTypeOf(const std::vector<unsigned char>& deliverySystem)
{
    const unsigned extension = 0x7F;
    const unsigned tag = deliverySystem.empty() ? 0 : deliverySystem[0];
    if (tag == extension && deliverySystem.size() > 2)
        return deliverySystem[2] == 0x0D ? idDvbC2 : deliverySystem[2] == 0x04 ? idDvbT2 : idDvbT;
    switch (tag) {
    case 0x43:
        return idDvbS;
    case 0x44:
        return idDvbC;
    case 0x79:
        return idDvbS2;
    default:
        return idDvbT;
    }
}

/// By the service descriptor (ETSI EN 300 468, table 87).
int channelTypeOf(uint8_t serviceType)
{
    return serviceType == 0x02 || serviceType == 0x0A ? typeRadio : typeTv;
}

std::string ccidOf(const Service& service)
{
    std::ostringstream text;
    text << "ccid:" << std::hex << service.originalNetworkId.value_or(0) << "."
         << service.transportStreamId << "." << service.programNumber;
    return text.str();
}

Json describe(const Programme& programme)
{
    return {{"eventId", programme.eventId},
            {"name", programme.name},
            {"description", programme.description},
            {"longDescription", programme.longDescription},
            {"startTime", programme.startTime},
            {"duration", programme.duration},
            {"descriptors", asCharacters(programme.descriptors)}};
}

Json describe(const std::vector<Programme>& programmes)
{
    Json list = Json::array();
    for (const Programme& programme : programmes)
        list.push_back(describe(programme));
    return list;
}

Json describe(const Component& component)
{
    return {{"type", static_cast<int>(component.type)},
            {"pid", component.pid},
            {"componentTag", component.componentTag ? Json(*component.componentTag) : Json()},
            {"encoding", component.encoding},
            {"encrypted", component.isEncrypted},
            {"aspectRatio", component.aspectRatio ? Json(*component.aspectRatio) : Json()},
            {"language", component.language},
            {"audioDescription", component.hasAudioDescription},
            {"hearingImpaired", component.isForHearingImpaired},
            {"audioChannels", component.audioChannels}};
}

/// @return 0 for what is no id of a service
uint16_t asServiceId(double number)
{
    return number >= 0 && number <= 0xFFFF ? static_cast<uint16_t>(number) : 0;
}

uint16_t serviceArgument(const Json& arguments, size_t index)
{
    return asServiceId(numberArgument(arguments, index));
}

/// Whether a script made the channel of a delivery system and a service's id.
bool isDirect(const Json& channel)
{
    return channel.value("idType", 0.0) == idDvbSiDirect;
}

bool isRelated(const CallingDocument& document, const std::string& url)
{
    return native_PermissionsIsBroadcastRelated(document.window->id, url.c_str()) == VEIF_RETURN_OK;
}

}  // namespace

BroadcastHost::BroadcastHost(const Parts& parts)
    : parts_(parts), channelChanges_(parts.platform.channelChanges)
{
    addChannelFunctions();
    addInformationFunctions();
    addVideoFunctions();
}

// ------------------------------------------------------------------------------------------------
// Channels
// ------------------------------------------------------------------------------------------------

void BroadcastHost::addChannelFunctions()
{
    parts_.objects.add("channel.current", [this](const CallingDocument& document, const Json&) {
        void* application = nullptr;
        native_AppManGetApplicationId(document.window->id, nullptr, &application);
        return currentChannel(application);
    });
    parts_.objects.add("application.currentChannel", [this](const CallingDocument& document,
                                                            const Json& arguments) {
        return currentChannel(parts_.objects.applicationArgument(document, arguments, 0));
    });
    parts_.objects.add("channel.list", [this](const CallingDocument&, const Json&) {
        Json list = Json::array();
        for (const Service& service : parts_.middleware.services())
            list.push_back(describe(service));
        return list;
    });
    parts_.objects.add("channel.tune",
                       [this](const CallingDocument& document, const Json& arguments) {
                           const std::string url = textArgument(arguments, 0);
                           return tune(document, url, arguments.size() > 1 ? arguments[1] : Json());
                       });
    parts_.objects.add("channel.isRelated",
                       [](const CallingDocument& document, const Json& arguments) -> Json {
                           return isRelated(document, textArgument(arguments, 0));
                       });
}

std::optional<Service> BroadcastHost::findService(uint16_t serviceId) const
{
    for (const Service& service : parts_.middleware.services()) {
        if (service.programNumber == serviceId)
            return service;
    }
    return std::nullopt;
}

/// @param channel as scripts carry it: with a delivery system, or with the three ids
std::optional<Service> BroadcastHost::findService(const Json& channel) const
{
    auto found = findService(asServiceId(channel.value("sid", 0.0)));
    if (!found || isDirect(channel))
        return found;
    const bool isThere = channel.value("tsid", -1.0) == found->transportStreamId &&
                         channel.value("onid", -1.0) == found->originalNetworkId.value_or(0);
    return isThere ? found : std::nullopt;
}

Json BroadcastHost::describe(const Service& service) const
{
    const ServiceDetails details = parts_.information
                                       ? parts_.information->detailsOf(service.programNumber)
                                       : ServiceDetails();
    return {{"ccid", ccidOf(service)},
            {"onid", service.originalNetworkId.value_or(0)},
            {"tsid", service.transportStreamId},
            {"sid", service.programNumber},
            {"nid", details.networkId ? Json(*details.networkId) : Json()},
            {"name", service.name},
            {"dsd", asCharacters(details.deliverySystem)},
            {"idType", idTypeOf(details.deliverySystem)},
            {"channelType", channelTypeOf(details.serviceType)}};
}

/// Of a broadcast-related application; null for others.
Json BroadcastHost::currentChannel(void* application) const
{
    void* channel = nullptr;
    native_AppPrivateDataGetCurrentChannel(application, &channel);
    const auto service = findService(serviceIdOf(channel));
    return service ? describe(*service) : Json();
}

/// @param url of the document @param channel null to leave the broadcast
/// @return null where the tuner goes there, else a ChannelError
Json BroadcastHost::tune(const CallingDocument& document, const std::string& url,
                         const Json& channel)
{
    const long window = document.window->id;
    if (channel.is_null()) {
        native_AppManNotifySetChannelCalled(window, url.c_str(), nullptr);
        parts_.middleware.tune(Middleware::noService);
        independentTuner_.reset();
        wanted_.reset();
        return nullptr;
    }
    const auto service = findService(channel);
    if (!service)
        return isDirect(channel) ? errorNotInTransportStream : errorUnknownChannel;
    if (isDirect(channel) && !hasDeliverySystem(*service, channel.value("dsd", "")))
        return errorNoSignal;
    const bool wasRelated = isRelated(document, url);
    if (wasRelated && parts_.middleware.tunedService() == service->programNumber) {
        parts_.objects.send(document.window,
                            {{"event", "ChannelChanged"}, {"channel", describe(*service)}});
        return nullptr;
    }
    parts_.log.report(Source::Script, "set-channel",
                      "the script sets the channel " + std::to_string(service->programNumber),
                      {{"service", service->programNumber}});
    native_AppManNotifySetChannelCalled(
        window, url.c_str(), channelReference(service->transportStreamId, service->programNumber));
    independentTuner_ = wasRelated ? std::nullopt : std::optional<long>(window);
    wanted_ = service->programNumber;
    parts_.middleware.tune(service->programNumber);
    return nullptr;
}

/// @param wanted the descriptor, a character for each byte
bool BroadcastHost::hasDeliverySystem(const Service& service, const std::string& wanted) const
{
    const auto known = describe(service).value("dsd", "");
    return known.empty() || known == wanted;
}

// ------------------------------------------------------------------------------------------------
// What the tables say of services
// ------------------------------------------------------------------------------------------------

void BroadcastHost::addInformationFunctions()
{
    using Function = Json (*)(const ServiceInformationSource& information, uint16_t service);
    const std::pair<const char*, Function> functions[] = {
        {"channel.programmes",
         [](const ServiceInformationSource& information, uint16_t service) {
             return receiver::describe(information.programmesOf(service));
         }},
        {"search.schedule",
         [](const ServiceInformationSource& information, uint16_t service) {
             return receiver::describe(information.scheduleOf(service));
         }},
        {"channel.components",
         [](const ServiceInformationSource& information, uint16_t service) {
             Json list = Json::array();
             for (const Component& component : information.componentsOf(service))
                 list.push_back(receiver::describe(component));
             return list;
         }},
    };
    for (const auto& [name, function] : functions)
        parts_.objects.add(
            name, [this, answer = function](const CallingDocument&, const Json& arguments) -> Json {
                const uint16_t service = serviceArgument(arguments, 0);
                return parts_.information ? answer(*parts_.information, service) : Json::array();
            });
    parts_.objects.add("channel.details",
                       [this](const CallingDocument&, const Json& arguments) -> Json {
                           const auto service = findService(serviceArgument(arguments, 0));
                           return service ? describe(*service) : Json();
                       });
}

// ------------------------------------------------------------------------------------------------
// The video plane
// ------------------------------------------------------------------------------------------------

void BroadcastHost::addVideoFunctions()
{
    parts_.objects.add("broadcast.place",
                       [this](const CallingDocument& document, const Json& arguments) -> Json {
                           setPlace(document, arguments.empty() ? Json() : arguments[0]);
                           return nullptr;
                       });
}

/// @param place null: the document does not want the video in any place any more
void BroadcastHost::setPlace(const CallingDocument& document, const Json& place)
{
    const bool isOwner = placeOwner_ && placeOwner_->window == document.window->id &&
                         placeOwner_->document == document.number;
    if (place.is_null()) {
        if (isOwner)
            freePlace();
        return;
    }
    placeOwner_ = PlaceOwner{document.window->id, document.number};
    // Pages may be larger than anything that can be painted.
    const auto part = [&place](size_t index) {
        return std::clamp(numberArgument(place, index), -mostPixels, mostPixels);
    };
    const Rectangle wanted = {part(0), part(1), part(2), part(3)};
    reportPlace(wanted);
    parts_.browser.setVideoPlace(wanted);
}

void BroadcastHost::reportPlace(const Rectangle& place)
{
    std::ostringstream text;
    if (place.width <= 0 || place.height <= 0)
        text << "no video is presented";
    else
        text << "the video is " << place.width << " by " << place.height << " at " << place.x
             << ", " << place.y;
    parts_.log.report(Source::Script, "video-place", text.str());
}

void BroadcastHost::freePlace()
{
    placeOwner_.reset();
    parts_.log.report(Source::Script, "video-place", "the video is on the whole screen");
    parts_.browser.setVideoPlace(std::nullopt);
}

// ------------------------------------------------------------------------------------------------
// What pages are told
// ------------------------------------------------------------------------------------------------

void BroadcastHost::update()
{
    if (placeOwner_ && !parts_.browser.findWindow(placeOwner_->window))
        freePlace();
    if (parts_.platform.channelChanges != channelChanges_) {
        channelChanges_ = parts_.platform.channelChanges;
        isChanging_ = true;
        changeBegan_ = Clock::now();
        parts_.objects.send(nullptr, {{"event", "ChannelChanging"}});
    }
    if (isChanging_)
        endChange();
    else
        reportChanges();
}

/// Where the new service is there, and its table was acted on.
void BroadcastHost::endChange()
{
    const std::optional<uint16_t> tuned = parts_.middleware.tunedService();
    const std::optional<Service> service = tuned ? findService(*tuned) : std::nullopt;
    if (!service && wanted_ && Clock::now() - changeBegan_ > longestChange)
        return giveUpChange();
    if (!service || !isActedOn(*service))
        return;
    isChanging_ = false;
    wanted_.reset();
    parts_.objects.send(nullptr, {{"event", "ChannelChanged"}, {"channel", describe(*service)}});
    endIndependentApplication();
}

/// The list of services has the service, and nothing else comes of it.
void BroadcastHost::giveUpChange()
{
    isChanging_ = false;
    wanted_.reset();
    independentTuner_.reset();
    parts_.objects.send(nullptr, {{"event", "ChannelFailed"}, {"error", int(errorNoSignal)}});
}

bool BroadcastHost::isActedOn(const Service& service) const
{
    return parts_.platform.hasTable ||
           parts_.middleware.signallingOf(service.programNumber) == ApplicationSignalling::None ||
           Clock::now() - changeBegan_ > longestChange;
}

/// An independent application that tunes to a service whose table does not list it is not allowed
/// to go on (ETSI TS 102 796, 6.2.2.6). Where there is a table the application manager saw to it.
void BroadcastHost::endIndependentApplication()
{
    const auto window = std::exchange(independentTuner_, std::nullopt);
    if (!window || parts_.platform.hasTable)
        return;
    void* application = nullptr;
    if (native_AppManGetApplicationId(*window, nullptr, &application) == VEIF_RETURN_OK)
        native_ApplicationDestroyApplication(application);
}

void BroadcastHost::reportChanges()
{
    const uint16_t service = parts_.middleware.tunedService().value_or(0);
    if (!parts_.information || service == 0)
        return;
    const std::pair<uint16_t, unsigned long long> now(service,
                                                      parts_.information->changesOf(service));
    if (now == toldInformation_)
        return;
    const bool isNews = toldInformation_.first == service;
    toldInformation_ = now;
    if (isNews)
        parts_.objects.send(nullptr, {{"event", "ProgrammesChanged"}});
}

}  // namespace receiver
