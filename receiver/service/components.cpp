#include "receiver/service/components.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "foundation/descriptor.h"

namespace receiver {

using VestaHbbTV::ByteReader;
using VestaHbbTV::forEachDescriptor;

namespace {

constexpr uint16_t pidMask = 0x1FFF;

enum DescriptorTag : uint8_t {
    conditionalAccessTag = 0x09,
    languageTag = 0x0A,
    componentTag = 0x50,
    streamIdentifierTag = 0x52,
    teletextTag = 0x56,
    subtitlingTag = 0x59,
    ac3Tag = 0x6A,
    enhancedAc3Tag = 0x7A,
    dtsTag = 0x7B,
    aacTag = 0x7C,
    extensionTag = 0x7F
};

enum ExtensionTag : uint8_t { supplementaryAudioTag = 0x06, ac4Tag = 0x15 };

/// ISO/IEC 13818-1, table 2-34.
enum StreamType : uint8_t {
    mpeg1Video = 0x01,
    mpeg2Video = 0x02,
    mpeg1Audio = 0x03,
    mpeg2Audio = 0x04,
    privateData = 0x06,
    adtsAudio = 0x0F,
    latmAudio = 0x11,
    avcVideo = 0x1B,
    hevcVideo = 0x24
};

/// stream_content of a component descriptor: ETSI EN 300 468, table 26.
enum StreamContent : uint8_t {
    mpeg2VideoContent = 0x1,
    mpeg1AudioContent = 0x2,
    ac3Content = 0x4,
    avcVideoContent = 0x5,
    heAacContent = 0x6,
    hevcContent = 0x9
};

// component_type of an audio stream, MPEG or AAC.
constexpr uint8_t monoType = 0x01;
constexpr uint8_t dualMonoType = 0x02;
constexpr uint8_t stereoType = 0x03;
constexpr uint8_t surroundType = 0x05;
constexpr uint8_t forVisuallyImpairedType = 0x40;
constexpr uint8_t forHearingImpairedType = 0x41;

/// A component descriptor.
struct Description {
    uint8_t content = 0;
    uint8_t type = 0;
};
using Descriptions = std::map<uint8_t, Description>;  // by component tag

Descriptions readDescriptions(const std::vector<unsigned char>& event)
{
    Descriptions descriptions;
    forEachDescriptor(ByteReader(event.data(), event.size()),
                      [&descriptions](uint8_t tag, ByteReader payload, ByteReader /*rest*/) {
                          if (tag != componentTag)
                              return true;
                          Description description;
                          description.content = payload.u8() & 0x0F;
                          description.type = payload.u8();
                          const uint8_t component = payload.u8();
                          if (payload.ok())
                              descriptions.emplace(component, description);
                          return true;
                      });
    return descriptions;
}

/// Three letters (ISO 639-2); empty where others stand in their place.
std::string readLanguage(ByteReader& reader)
{
    const std::string code = reader.text(3);
    const auto isLetter = [](char character) {
        return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
    };
    return std::all_of(code.begin(), code.end(), isLetter) ? code : "";
}

/// ISO/IEC 13818-1, 2.6.18; of several languages the first counts.
void readLanguages(ByteReader payload, Component& audio)
{
    const std::string language = readLanguage(payload);
    const uint8_t audioType = payload.u8();
    if (!payload.ok())
        return;
    audio.language = language;
    audio.isForHearingImpaired = audio.isForHearingImpaired || audioType == 2;
    audio.hasAudioDescription = audio.hasAudioDescription || audioType == 3;
}

/// component_type of AC-3 and enhanced AC-3: ETSI EN 300 468, annex D.
void noteAc3Type(uint8_t type, Component& audio)
{
    const unsigned channelsByMode[] = {1, 2, 2, 2, 6, 8, 0, 0};
    const unsigned serviceType = (type >> 3) & 7;
    audio.audioChannels = channelsByMode[type & 7];
    audio.hasAudioDescription = audio.hasAudioDescription || serviceType == 2;
    audio.isForHearingImpaired = audio.isForHearingImpaired || serviceType == 3;
}

void readAc3(ByteReader payload, const char* encoding, Component& audio)
{
    audio.type = Component::Type::Audio;
    audio.encoding = encoding;
    const bool hasType = (payload.u8() & 0x80) != 0;
    const uint8_t type = payload.u8();
    if (hasType && payload.ok())
        noteAc3Type(type, audio);
}

/// ETSI EN 300 468, 6.4.11.
void readSupplementaryAudio(ByteReader payload, Component& audio)
{
    const uint8_t flags = payload.u8();
    const unsigned classification = (flags >> 2) & 0x1F;
    const bool hasLanguage = (flags & 1) != 0;
    audio.hasAudioDescription = audio.hasAudioDescription || classification == 1;
    audio.isForHearingImpaired = audio.isForHearingImpaired || classification == 2;
    const std::string language = readLanguage(payload);
    if (hasLanguage && payload.ok())
        audio.language = language;
}

/// A stream as far as it has been read.
struct Stream {
    std::optional<Component::Type> type;
    Component component;
    std::vector<Component> subtitles;  ///< one for each language
};

void addSubtitle(Stream& stream, const std::string& language, const char* encoding,
                 bool isForHearingImpaired)
{
    Component subtitle;
    subtitle.language = language;
    subtitle.encoding = encoding;
    subtitle.isForHearingImpaired = isForHearingImpaired;
    stream.subtitles.push_back(std::move(subtitle));
}

/// ETSI EN 300 468, 6.2.41.
void readSubtitling(ByteReader payload, Stream& stream)
{
    constexpr size_t entrySize = 8;
    while (payload.remaining() >= entrySize) {
        const std::string language = readLanguage(payload);
        const uint8_t type = payload.u8();
        payload.skip(4);  // pages
        addSubtitle(stream, language, "DVB-SUBT", type >= 0x20 && type <= 0x26);
    }
}

/// ETSI EN 300 468, 6.2.43; pages that are no subtitles are left out.
void readTeletext(ByteReader payload, Stream& stream)
{
    constexpr size_t entrySize = 5;
    constexpr unsigned subtitlePage = 2;
    constexpr unsigned hearingImpairedPage = 5;
    while (payload.remaining() >= entrySize) {
        const std::string language = readLanguage(payload);
        const unsigned type = payload.u8() >> 3;
        payload.skip(1);  // page
        if (type == subtitlePage || type == hearingImpairedPage)
            addSubtitle(stream, language, "EBU-SUBT", type == hearingImpairedPage);
    }
}

std::optional<Component::Type> typeOf(uint8_t streamType)
{
    switch (streamType) {
    case mpeg1Video:
    case mpeg2Video:
    case avcVideo:
    case hevcVideo:
        return Component::Type::Video;
    case mpeg1Audio:
    case mpeg2Audio:
    case adtsAudio:
    case latmAudio:
        return Component::Type::Audio;
    default:
        return std::nullopt;  // its descriptors may say
    }
}

const char* audioEncodingOf(uint8_t streamType)
{
    if (streamType == mpeg1Audio || streamType == mpeg2Audio)
        return "MPEG1_L2";
    return streamType == adtsAudio || streamType == latmAudio ? "HEAAC" : "";
}

void readExtension(ByteReader payload, Stream& stream)
{
    const uint8_t tag = payload.u8();
    if (tag == ac4Tag)
        stream.type = Component::Type::Audio;
    else if (tag == supplementaryAudioTag && !payload.empty())
        readSupplementaryAudio(payload, stream.component);
}

void readPrivateStream(uint8_t tag, ByteReader payload, Stream& stream)
{
    switch (tag) {
    case ac3Tag:
    case enhancedAc3Tag:
        readAc3(payload, tag == ac3Tag ? "AC3" : "E-AC3", stream.component);
        stream.type = Component::Type::Audio;
        break;
    case dtsTag:
    case aacTag:
        stream.component.encoding = tag == dtsTag ? "DTS" : "HEAAC";
        stream.type = Component::Type::Audio;
        break;
    case subtitlingTag:
        readSubtitling(payload, stream);
        break;
    case teletextTag:
        readTeletext(payload, stream);
        break;
    default:
        break;
    }
}

void readDescriptor(uint8_t tag, ByteReader payload, bool isPrivate, Stream& stream)
{
    switch (tag) {
    case conditionalAccessTag:
        stream.component.isEncrypted = true;
        break;
    case languageTag:
        readLanguages(payload, stream.component);
        break;
    case streamIdentifierTag:
        if (!payload.empty())
            stream.component.componentTag = payload.u8();
        break;
    case extensionTag:
        readExtension(payload, stream);
        break;
    default:
        if (isPrivate)
            readPrivateStream(tag, payload, stream);
    }
}

/// In steps of four, the types of a video are: 4:3, 16:9 with and without panning, wider. The first
/// eight are of standard definition, each four of another frame rate.
void noteVideo(const Description& description, Component& video)
{
    constexpr double narrow = 1.33, wide = 1.78, wider = 2.21;
    const bool isAvc = description.content == avcVideoContent;
    if (description.content == hevcContent) {
        video.aspectRatio = wide;
        return;
    }
    if (!isAvc && description.content != mpeg2VideoContent)
        return;
    if (description.type == 0 || description.type > 0x10) {
        if (isAvc && description.type >= 0x80 && description.type <= 0x83)
            video.aspectRatio = wide;  // plano-stereoscopic
        return;
    }
    const unsigned place = description.type - 1U;
    const double ratios[] = {narrow, wide, wide, wider};
    const char* const sizes[] = {"SD_25", "SD_30", "HD_25", "HD_30"};
    video.aspectRatio = ratios[place % 4];
    video.encoding = std::string(isAvc ? "AVC_" : "MPEG2_") + sizes[place / 4];
}

unsigned channelsOf(uint8_t type)
{
    switch (type) {
    case monoType:
        return 1;
    case dualMonoType:
    case stereoType:
        return 2;
    case surroundType:
        return 6;
    default:
        return 0;
    }
}

void noteAudio(const Description& description, Component& audio)
{
    if (description.content == ac3Content)
        return noteAc3Type(description.type, audio);
    if (description.content != mpeg1AudioContent && description.content != heAacContent)
        return;
    if (const unsigned channels = channelsOf(description.type))
        audio.audioChannels = channels;
    audio.hasAudioDescription =
        audio.hasAudioDescription || description.type == forVisuallyImpairedType;
    audio.isForHearingImpaired =
        audio.isForHearingImpaired || description.type == forHearingImpairedType;
}

/// @param type of the PMT
void readStream(uint8_t type, ByteReader descriptors, Stream& stream)
{
    stream.type = typeOf(type);
    stream.component.encoding = audioEncodingOf(type);
    forEachDescriptor(descriptors, [&](uint8_t tag, ByteReader payload, ByteReader /*rest*/) {
        readDescriptor(tag, payload, type == privateData, stream);
        return true;
    });
}

void addComponents(Stream stream, const Descriptions& descriptions, std::vector<Component>& list)
{
    Component& component = stream.component;
    for (Component& subtitle : stream.subtitles) {
        subtitle.type = Component::Type::Subtitle;
        subtitle.pid = component.pid;
        subtitle.componentTag = component.componentTag;
        subtitle.isEncrypted = component.isEncrypted;
        list.push_back(std::move(subtitle));
    }
    if (!stream.type)
        return;
    component.type = *stream.type;
    const auto description =
        component.componentTag ? descriptions.find(*component.componentTag) : descriptions.end();
    if (description != descriptions.end() && component.type == Component::Type::Video)
        noteVideo(description->second, component);
    if (description != descriptions.end() && component.type == Component::Type::Audio)
        noteAudio(description->second, component);
    list.push_back(std::move(component));
}

}  // namespace

std::vector<Component> readComponents(const SectionBytes& pmt,
                                      const std::vector<unsigned char>& presentEvent)
{
    const Descriptions descriptions = readDescriptions(presentEvent);
    std::vector<Component> components;
    ByteReader body = sectionBody(pmt);
    body.skip(2);  // PCR_PID
    Stream whole;  // what holds of all streams
    forEachDescriptor(body.take(body.length12()), [&whole](uint8_t tag, ByteReader /*payload*/,
                                                           ByteReader /*rest*/) {
        whole.component.isEncrypted = whole.component.isEncrypted || tag == conditionalAccessTag;
        return true;
    });
    while (!body.empty()) {
        Stream stream = whole;
        const uint8_t type = body.u8();
        stream.component.pid = body.u16() & pidMask;
        const ByteReader descriptors = body.take(body.length12());
        if (!body.ok())
            break;
        readStream(type, descriptors, stream);
        addComponents(std::move(stream), descriptions, components);
    }
    return components;
}

}  // namespace receiver
