/// What a station broadcasts, as its description says it.
#ifndef VESTA_STATION_DESCRIPTION_DESCRIPTION_H
#define VESTA_STATION_DESCRIPTION_DESCRIPTION_H

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "station/description/place.h"

namespace station {

enum class DeliverySystem { Terrestrial, Satellite, Cable };

struct Delivery {
    DeliverySystem system = DeliverySystem::Terrestrial;
    int64_t frequencyKhz = 0;
    unsigned bandwidthMhz = 8;      ///< terrestrial
    int64_t symbolRate = 0;         ///< satellite and cable, symbols per second
    unsigned orbitalPosition = 0;   ///< satellite, tenths of a degree
    bool isEast = true;             ///< satellite
    unsigned polarisation = 0;      ///< satellite, as in the descriptor: 0 horizontal, 1 vertical
    unsigned cableModulation = 16;  ///< cable, QAM points
};

struct Network {
    std::string name;
    unsigned networkId = 0;
    unsigned originalNetworkId = 0;
    unsigned transportStreamId = 0;
    Delivery delivery;
};

struct LocalTime {
    std::string country;  ///< three letters, ISO 3166
    int64_t offsetMinutes = 0;
};

enum class ComponentType { Video, Audio, Subtitle };

/// A stream that the PMT names. Nothing is broadcast in it.
struct Component {
    ComponentType type = ComponentType::Video;
    std::string codec;  ///< empty for subtitles
    unsigned pid = 0;
    unsigned componentTag = 0;
    std::string language;  ///< ISO 639-2; may be empty for video
    unsigned audioType = 0;
    unsigned subtitlingType = 0x10;
};

struct Text {
    std::string language;
    std::string text;  ///< UTF-8
};

struct PlatformProfile {
    unsigned profile = 0;
    unsigned major = 1;
    unsigned minor = 2;
    unsigned micro = 1;
};

struct Transport {
    unsigned label = 1;
    std::optional<unsigned> componentTag;  ///< of a carousel; else HTTP
    std::string urlBase;
};

struct Application {
    Place place;
    uint32_t organisationId = 0;
    unsigned applicationId = 0;
    std::vector<Text> names;
    unsigned controlCode = 1;
    std::vector<PlatformProfile> profiles;
    unsigned visibility = 3;
    unsigned priority = 1;
    bool serviceBound = true;
    std::optional<unsigned> usage;
    std::vector<Transport> transports;  ///< the first one is tried first
    std::string initialPath;
    std::vector<std::string> boundaries;
};

struct ApplicationTable {
    Place place;
    unsigned pid = 0;
    unsigned version = 0;
    std::vector<Application> applications;
};

struct NamedEvent {
    std::string name;
    unsigned id = 0;
};

/// A DSM::StreamEvent object of a carousel.
struct StreamEventObject {
    std::string path;
    unsigned componentTag = 0;  ///< of the stream with the events
    std::vector<NamedEvent> events;
};

struct Carousel {
    Place place;
    unsigned pid = 0;
    unsigned componentTag = 0;
    uint32_t id = 0;
    std::filesystem::path folder;
    size_t moduleSize = 0;
    unsigned moduleVersion = 0;
    bool compress = true;
    bool contentTypes = true;
    int64_t cycleMs = 0;  ///< 0: as short as the bitrate allows
    std::vector<StreamEventObject> streamEvents;
};

struct TimedEvent {
    int64_t timeMs = 0;  ///< since the start of the stream
    unsigned id = 0;
    unsigned version = 0;
    std::string text;
};

struct ScheduledEvent {
    int64_t timeMs = 0;  ///< of the programme (NPT)
    unsigned id = 0;
    std::string text;
};

/// A stream with stream descriptors of events: "do it now", and at times of the programme.
struct EventStream {
    Place place;
    unsigned pid = 0;
    unsigned componentTag = 0;
    unsigned streamType = 0x0C;
    unsigned repetitions = 5;
    std::vector<TimedEvent> events;  ///< in the order of their times
    int64_t programmeTimeMs = 0;     ///< the programme's time (NPT) at the start of the stream
    std::vector<ScheduledEvent> scheduled;
};

struct ProgrammeComponent {
    unsigned streamContent = 0;
    unsigned componentType = 0;
    unsigned componentTag = 0;
    std::string language;
    std::string text;
};

struct Programme {
    Place place;
    unsigned eventId = 0;
    int64_t start = 0;     ///< seconds since 1970 (UTC)
    int64_t duration = 0;  ///< seconds
    std::string language;
    std::string name;
    std::string text;
    std::vector<ProgrammeComponent> components;
    std::vector<unsigned> content;  ///< bytes: content_nibble_level_1 and _2
    std::optional<unsigned> minimumAge;
};

struct Service {
    Place place;
    unsigned id = 0;
    std::string name;
    std::string provider;
    unsigned type = 1;
    unsigned pmtPid = 0;
    unsigned pcrPid = 0;
    std::vector<Component> components;
    std::optional<ApplicationTable> applications;
    std::vector<Carousel> carousels;
    std::vector<EventStream> eventStreams;
    std::vector<Programme> programmes;  ///< in the order of their starts, none overlaps another
    bool hasSchedule = true;
};

struct Description {
    Network network;
    Place streamPlace;
    int64_t bitrate = 0;   ///< bits per second
    int64_t duration = 0;  ///< seconds
    int64_t start = 0;     ///< seconds since 1970 (UTC)
    std::optional<LocalTime> localTime;
    Place servicesPlace;
    std::vector<Service> services;
};

}  // namespace station

#endif
