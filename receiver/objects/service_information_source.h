/// What the script objects want to know of services and cannot know from PAT, SDT and AIT:
/// programmes, components, the network.
#ifndef VESTA_RECEIVER_OBJECTS_SERVICE_INFORMATION_SOURCE_H
#define VESTA_RECEIVER_OBJECTS_SERVICE_INFORMATION_SOURCE_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace receiver {

/// An event of the EIT (ETSI EN 300 468, 5.2.4). Texts are UTF-8.
struct Programme {
    uint16_t eventId = 0;
    std::string name;                        ///< of the short event descriptor
    std::string description;                 ///< its text
    std::string longDescription;             ///< of the extended event descriptors, joined
    int64_t startTime = 0;                   ///< seconds since 1970, UTC
    uint32_t duration = 0;                   ///< seconds
    std::vector<unsigned char> descriptors;  ///< the whole loop as it came
};

/// An elementary stream that a viewer sees, hears or reads.
struct Component {
    enum class Type { Video = 0, Audio = 1, Subtitle = 2 };  ///< as COMPONENT_TYPE_... of OIPF

    Type type = Type::Video;
    uint16_t pid = 0;
    std::optional<uint8_t> componentTag;  ///< stream identifier descriptor
    std::string encoding;      ///< the standard's name, such as "MPEG2_SD_25"; may be empty
    bool isEncrypted = false;  ///< a CA descriptor is there
    /// Of a video: 1.33 or 1.78, by the component descriptor of the present event with the
    /// stream's component tag; nothing where none says so.
    std::optional<double> aspectRatio;
    std::string language;  ///< ISO 639-2; empty where nothing says so
    bool hasAudioDescription = false;
    bool isForHearingImpaired = false;
    unsigned audioChannels = 0;  ///< 0 where nothing says so
};

/// A service's place and kind, as far as NIT and SDT tell.
struct ServiceDetails {
    std::optional<uint16_t> networkId;  ///< of the actual NIT
    /// The delivery system descriptor of the service's transport stream, with tag and length; empty
    /// without NIT.
    std::vector<unsigned char> deliverySystem;
    uint8_t serviceType = 0;  ///< of the service descriptor (ETSI EN 300 468, table 87); 0: unknown
};

/// Answers at once with what is known by now. Callable from any thread.
class ServiceInformationSource {
public:
    virtual ~ServiceInformationSource() = default;

    /// The present event and the following one; empty, or the present one alone, where the EIT does
    /// not tell.
    virtual std::vector<Programme> programmesOf(uint16_t serviceId) const = 0;

    /// All events of the schedule, present and following ones too, by start time.
    virtual std::vector<Programme> scheduleOf(uint16_t serviceId) const = 0;

    /// In the order of the PMT.
    virtual std::vector<Component> componentsOf(uint16_t serviceId) const = 0;

    virtual ServiceDetails detailsOf(uint16_t serviceId) const = 0;

    /// Counts up whenever programmesOf() a service, or its componentsOf(), may answer otherwise.
    virtual unsigned long long changesOf(uint16_t serviceId) const = 0;
};

}  // namespace receiver

#endif
