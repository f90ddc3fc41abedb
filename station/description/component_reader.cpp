#include "station/description/part_readers.h"

namespace station {

namespace {

const Choices types = {{"video", unsigned(ComponentType::Video)},
                       {"audio", unsigned(ComponentType::Audio)},
                       {"subtitle", unsigned(ComponentType::Subtitle)}};
const Choices videoCodecs = {{"h264", 0}, {"mpeg2", 1}, {"hevc", 2}};
const Choices audioCodecs = {{"mpeg", 0}, {"aac", 1}, {"ac3", 2}, {"eac3", 3}};
const Choices audioTypes = {{"normal", 0}, {"hearing_impaired", 2}, {"audio_description", 3}};
const Choices subtitlingTypes = {{"normal", 0x10}, {"hearing_impaired", 0x20}};

std::string codecOf(ObjectReader& object, const Choices& codecs)
{
    return codecs[object.choice("codec", codecs, codecs.front().first)].first;
}

}  // namespace

Component readComponent(ObjectReader& object, unsigned otherwiseTag)
{
    Component component;
    component.type = static_cast<ComponentType>(object.choice("type", types));
    component.componentTag = object.number("component_tag", tagRange, otherwiseTag);
    switch (component.type) {
    case ComponentType::Video:
        component.codec = codecOf(object, videoCodecs);
        component.language = object.language("language", "");
        break;
    case ComponentType::Audio:
        component.codec = codecOf(object, audioCodecs);
        component.language = object.language("language");
        component.audioType = object.choice("audio_type", audioTypes, "normal");
        break;
    case ComponentType::Subtitle:
        component.language = object.language("language");
        component.subtitlingType = object.choice("subtitling_type", subtitlingTypes, "normal");
        break;
    }
    return component;
}

}  // namespace station
