/// What an AIT section signals, as the JSON file beside it tells, and what of that the library must
/// hold. Nothing here asks the library.
#ifndef VESTA_TESTS_SIGNALLING_AIT_CONTENT_H
#define VESTA_TESTS_SIGNALLING_AIT_CONTENT_H

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "signalling/ait.h"
#include "tests/support/section_builder.h"

namespace vesta::test {

using nlohmann::json;

enum Tag {
    applicationTag = 0x00,
    nameTag = 0x01,
    transportTag = 0x02,
    recordingTag = 0x06,
    locationTag = 0x15,
    usageTag = 0x16,
    boundaryTag = 0x17
};

inline Bytes readBytes(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

/// A section and what it signals.
struct Sample {
    Bytes bytes;
    json content;

    /// @param path of both files, without ".bin" and ".json"
    explicit Sample(const std::string& path) : bytes(readBytes(path + ".bin"))
    {
        std::ifstream(path + ".json") >> content;
    }

    bool feedTo(VestaHbbTV::AIT& table) const { return table.parse(exactBlock(bytes).get()); }
};

inline std::string fromHex(const std::string& hex)
{
    std::string text;
    for (size_t i = 0; i + 1 < hex.size(); i += 2)
        text += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
    return text;
}

inline std::vector<json> ofTag(const json& descriptors, Tag tag)
{
    std::vector<json> found;
    for (const json& descriptor : descriptors)
        if (descriptor["tag"] == tag)
            found.push_back(descriptor);
    return found;
}

inline bool hasEmptyDescriptor(const json& application)
{
    const json& descriptors = application["descriptors"];
    return std::any_of(descriptors.begin(), descriptors.end(),
                       [](const json& descriptor) { return descriptor["length"] == 0; });
}

/// The transports of a loop by label, the first of each.
inline std::map<int, json> transportsByLabel(const json& descriptors, bool common)
{
    std::map<int, json> transports;
    for (json transport : ofTag(descriptors, transportTag)) {
        transport["common"] = common;
        transports.emplace(transport["label"], transport);
    }
    return transports;
}

/// What an application must list, in order: its own transports first, each but once.
inline std::vector<json> expectedTransports(const json& application, std::map<int, json> common)
{
    std::vector<json> expected;
    const auto descriptors = ofTag(application["descriptors"], applicationTag);
    if (descriptors.empty())
        return expected;
    std::map<int, json> own = transportsByLabel(application["descriptors"], false);
    for (const int label : descriptors.front()["transport_labels"]) {
        if (own.count(label)) {
            expected.push_back(own[label]);
            own.erase(label);
        } else if (common.count(label)) {
            expected.push_back(common[label]);
        }
    }
    return expected;
}

/// The component tags are read only where something follows them in the descriptor.
inline json expectedComponentTags(const json& recording)
{
    size_t size = 3 + recording["component_tags"].size();
    for (const json& label : recording["labels"])
        size += 2 + label["label"].get<std::string>().size();
    return size < recording["length"].get<size_t>() ? recording["component_tags"] : json::array();
}

inline std::string expectedName(const json& application)
{
    std::string name;
    for (const json& descriptor : ofTag(application["descriptors"], nameTag))
        if (!descriptor["names"].empty())
            name += fromHex(descriptor["names"][0]["name_bytes_hex"]);
    return name;
}

inline std::string expectedLocation(const json& application)
{
    std::string location;
    for (const json& descriptor : ofTag(application["descriptors"], locationTag))
        location += fromHex(descriptor["payload_hex"]);
    return location;
}

inline int expectedUsage(const json& application)
{
    const auto descriptors = ofTag(application["descriptors"], usageTag);
    return descriptors.empty() ? 0 : descriptors.back()["usage_type"].get<int>();
}

/// What of a URL decides whether it may stand in a domain, found without the library.
struct Origin {
    std::string scheme;
    std::string host;
    std::string text;

    explicit Origin(const std::string& url)
    {
        for (const std::string candidate : {"dvb://", "https://", "http://"})
            if (url.find(candidate) != std::string::npos)
                scheme = candidate;
        const size_t slash = std::min(url.find('/', scheme.size()), url.size());
        text = scheme.empty() ? url : url.substr(0, slash);
        host = url.substr(scheme.size(), slash - scheme.size());
        host = host.substr(0, host.find(':'));
    }
};

/// Any number of dvb: origins and one web host.
inline std::vector<std::string> expectedDomain(const json& application)
{
    std::vector<std::string> entries;
    for (const json& descriptor : ofTag(application["descriptors"], boundaryTag)) {
        for (const std::string url : descriptor["prefixes"]) {
            const Origin added(url);
            const bool isCompatible =
                std::all_of(entries.begin(), entries.end(), [&added](const std::string& entry) {
                    return Origin(entry).host == added.host || Origin(entry).scheme == "dvb://";
                });
            if (url.rfind("dvb:", 0) == 0 || isCompatible)
                entries.push_back(added.text);
        }
    }
    return entries;
}

inline int priority(const json& application)
{
    const auto descriptors = ofTag(application["descriptors"], applicationTag);
    return descriptors.empty() ? 0 : descriptors.front()["priority"].get<int>();
}

}  // namespace vesta::test

#endif
