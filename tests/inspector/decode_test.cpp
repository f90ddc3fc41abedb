// Sections become trees of named fields, with the places of all of them.

#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "inspector/decode/tables.h"
#include "inspector/dump/printers.h"
#include "tests/inspector/support/signal.h"

namespace inspector::test {
namespace {

using namespace receiver;
using nlohmann::json;

json jsonOf(const Node& node)
{
    std::ostringstream out;
    printJson(node, out);
    return json::parse(out.str());
}

json decoded(const Bytes& section)
{
    return jsonOf(decodeSection(section));
}

TEST(Decode, ReadsAnApplicationWithItsPlaces)
{
    const AITEntry entry = AITEntry(0x0A, 1)
                               .carousel(1, 0x2A)
                               .remoteCarousel(2, 3, 4, 5, 6)
                               .http(7, "http://a.example/")
                               .location("i.html")
                               .boundary({"http://a.example", "http://b.example"})
                               .usage(1);
    const json ait = decoded(AITSection().version(9).add(entry).bytes());
    EXPECT_EQ(ait["table_id_name"], "AIT");
    EXPECT_EQ(ait["application_type_name"], "HbbTV");
    EXPECT_EQ(ait["version_number"], 9);
    EXPECT_EQ(ait["CRC_32_matches"], true);
    const json& application = ait["applications"][0];
    EXPECT_EQ(application["offset"], 12);
    EXPECT_EQ(application["organisation_id"], 10);
    EXPECT_EQ(application["application_control_code_name"], "AUTOSTART");
    std::map<std::string, json> descriptors;
    size_t place = 21;
    for (const json& descriptor : application["descriptors"]) {
        EXPECT_EQ(descriptor["offset"], place);
        place += descriptor["length"].get<size_t>() + 2;
        descriptors[descriptor["descriptor"]] = descriptor;
    }
    const json& described = descriptors["application_descriptor"];
    EXPECT_EQ(described["transport_protocol_labels"], json({1, 2, 7}));
    EXPECT_EQ(described["profiles"][0]["version_micro"], 1);
    EXPECT_EQ(descriptors["simple_application_location_descriptor"]["initial_path"], "i.html");
    EXPECT_EQ(descriptors["simple_application_boundary_descriptor"]["boundary_extensions"],
              json({"http://a.example", "http://b.example"}));
    EXPECT_EQ(descriptors["application_usage_descriptor"]["usage_type_name"], "digital text");
    EXPECT_EQ(descriptors["transport_protocol_descriptor"]["urls"][0]["URL_base"],
              "http://a.example/");
}

TEST(Decode, SaysWhichDescriptorDoesNotFitIntoItself)
{
    const Bytes short3 = vesta::test::descriptor(0x10, {1, 2, 3});
    const json ait = decoded(AITSection().add(AITEntry(1, 1).raw(short3)).bytes());
    const json& storage = ait["applications"][0]["descriptors"][1];
    EXPECT_EQ(storage["descriptor"], "application_storage_descriptor");
    EXPECT_EQ(storage["malformed"], true);
    EXPECT_EQ(storage["payload"], "010203");
}

TEST(Decode, ShowsUnknownDescriptorsAsBytes)
{
    const Bytes unknown = vesta::test::descriptor(0xFE, {0xAB, 0xCD});
    const json ait = decoded(AITSection().common(unknown).bytes());
    const json& descriptor = ait["common_descriptors"][0];
    EXPECT_EQ(descriptor["descriptor"], "unknown");
    EXPECT_EQ(descriptor["tag"], 0xFE);
    EXPECT_EQ(descriptor["payload"], "abcd");
}

/// Whatever the lengths say: nothing is read beyond the section, and the tree tells of it.
TEST(Decode, EndsLoopsWhereTheyLeaveTheSection)
{
    const AITEntry entry = AITEntry(1, 1).http(1, "http://a.example/");
    const Bytes right = AITSection().add(entry).common({0x7F, 1, 0}).bytes();
    for (size_t at = 0; at < right.size(); ++at) {
        for (const unsigned value : {0x00U, 0x01U, 0x7FU, 0xFFU}) {
            Bytes section = right;
            section[at] = static_cast<unsigned char>(value);
            const auto block = vesta::test::exactBlock(section);
            EXPECT_FALSE(decodeSection(SectionBytes(block.get(), block.get() + section.size()))
                             .children.empty());
        }
    }
    EXPECT_EQ(decoded(AITSection().add(entry).commonLength(0xFFF).bytes())["malformed"], true);
    EXPECT_EQ(decoded(AITSection().add(entry).applicationLoopLength(0xFFF).bytes())["malformed"],
              true);
}

TEST(Decode, TakesSectionsOfAnySize)
{
    const Bytes right = Signal()["pmt"].sections.front();
    for (size_t size = 0; size < right.size(); ++size)
        EXPECT_FALSE(decodeSection(Bytes(right.begin(), right.begin() + std::ptrdiff_t(size)))
                         .children.empty());
}

TEST(Decode, ReadsPatPmtSdtAndEit)
{
    Signal signal;
    const json pat = decoded(signal["pat"].sections.front());
    EXPECT_EQ(pat["programs"][0]["program_map_PID"], pmtPid);
    const json pmt = decoded(signal["pmt"].sections.front());
    EXPECT_EQ(pmt["program_number"], serviceId);
    EXPECT_EQ(pmt["streams"][1]["descriptors"][0]["application_types"][0]["AIT_version_number"], 3);
    EXPECT_EQ(pmt["streams"][2]["descriptors"][1]["carousel_id"], 42);
    const json sdt = decoded(signal["sdt"].sections.front());
    EXPECT_EQ(sdt["services"][0]["descriptors"][0]["service_name"], "One");
    EXPECT_EQ(sdt["services"][0]["EIT_schedule_flag"], true);
    const json eit = decoded(signal["eit"].sections.front());
    EXPECT_EQ(eit["events"][0]["event_id"], 1);
}

/// The names of our fields by those of the independent description, and what of it is compared.
const std::map<std::string, std::string> sameFields = {
    {"label", "transport_protocol_label"},
    {"protocol_id", "protocol_id"},
    {"remote", "remote_connection"},
    {"component_tag", "component_tag"},
    {"original_network_id", "original_network_id"},
    {"transport_stream_id", "transport_stream_id"},
    {"service_id", "service_id"},
    {"selector_hex", "selector"},
    {"base_directory", "base_directory"},
    {"classpath_extension", "classpath_extension"},
    {"initial_class", "initial_class"},
    {"not_launchable_from_broadcast", "not_launchable_from_broadcast"},
    {"is_launchable_with_older_version", "is_launchable_with_older_version"},
    {"handles_configuration_changed", "handles_configuration_changed"},
    {"handles_externally_controlled_video", "handles_externally_controlled_video"},
    {"private_hex", "private_data"},
    {"alignment_indicator", "alignment_indicator"},
    {"service_bound", "service_bound_flag"},
    {"visibility", "visibility"},
    {"priority", "application_priority"},
    {"transport_labels", "transport_protocol_labels"},
    {"initial_path", "initial_path"},
    {"usage_type", "usage_type"},
    {"prefixes", "boundary_extensions"},
    {"scheduled_recording", "scheduled_recording_flag"},
    {"trick_mode_aware", "trick_mode_aware_flag"},
    {"time_shift", "time_shift_flag"},
    {"dynamic", "dynamic_flag"},
    {"av_synced", "av_synced_flag"},
    {"initiating_replay", "initiating_replay_flag"},
    {"component_tags", "component_tags"},
    {"icon_locator", "icon_locator"},
    {"icon_flags", "icon_flags"},
    {"platform_id", "platform_id"},
    {"storage_property", "storage_property"},
    {"launchable_completely_from_cache", "launchable_completely_from_cache"},
    {"can_run_without_visible_ui", "can_run_without_visible_ui"},
    {"physical_root", "physical_root"},
    {"regular_expression", "regular_expression"},
    {"parameter", "parameter"},
};

json listOfBytes(const std::string& hexadecimal)
{
    json bytes = json::array();
    for (size_t at = 0; at < hexadecimal.size(); at += 2)
        bytes.push_back(std::stoul(hexadecimal.substr(at, 2), nullptr, 16));
    return bytes;
}

/// Entries of a list, as our tree has them. @param entry as the independent description has it
json asWeNameProfile(const json& entry)
{
    return {{"application_profile", entry["profile"]},
            {"version_major", entry["version"][0]},
            {"version_minor", entry["version"][1]},
            {"version_micro", entry["version"][2]}};
}

/// Text of an AIT is UTF-8, but where its first byte selects a table: ETSI TS 102 809, 5.3.5.6.
json asWeNameName(const json& entry)
{
    std::string bytes;
    for (const json& byte : listOfBytes(entry["name_bytes_hex"]))
        bytes += static_cast<char>(byte.get<unsigned>());
    const bool selectsTable = !bytes.empty() && static_cast<unsigned char>(bytes[0]) < ' ';
    return {{"language", entry["language"]},
            {"application_name", selectsTable ? entry["text_as_dvb_string"] : json(bytes)}};
}

json asWeNameUrl(const json& entry)
{
    return entry.is_string()
               ? entry
               : json({{"URL_base", entry["base"]}, {"URL_extensions", entry["extensions"]}});
}

json asWeNameApplication(const json& item)
{
    const json& entry = item["application"];
    return {{"organisation_id", entry["organization_id"]},
            {"application_id", entry["application_id"]},
            {"application_priority", entry["application_priority"]}};
}

/// Lists whose entries have fields of their own, by the descriptor.
struct ComparedList {
    unsigned tag;
    const char* theirs;
    const char* ours;
    std::function<json(const json& entry)> asWeName;
};

const std::vector<ComparedList> comparedLists = {
    {0x00, "profiles", "profiles", asWeNameProfile},
    {0x01, "names", "names", asWeNameName},
    {0x02, "urls", "urls", asWeNameUrl},
    {0x03, "items", "parameters", [](const json& item) { return item["parameter"]["value"]; }},
    {0x05, "items", "applications", asWeNameApplication},
    {0x06, "labels", "labels", [](const json& label) { return label; }},
    {0x08, "items", "application_ids", [](const json& item) { return item["application"]["id"]; }},
    {0x0C, "items", "modules", [](const json& item) { return item["module"]; }},
    {0x0D, "items", "indications", [](const json& item) { return item["module"]; }},
};

void compareLists(const json& expected, const json& actual, std::map<unsigned, size_t>& compared)
{
    const unsigned tag = expected["tag"];
    for (const ComparedList& list : comparedLists) {
        if (list.tag != tag || !expected.contains(list.theirs) || expected[list.theirs].is_null())
            continue;
        json entries = json::array();
        for (const json& entry : expected[list.theirs])
            entries.push_back(list.asWeName(entry));
        EXPECT_EQ(actual[list.ours], entries) << expected["kind"];
        compared[tag] += entries.size();
    }
    constexpr unsigned graphics = 0x14;
    if (tag == graphics && expected.contains("items")) {
        const std::string bytes = expected["items"][0]["graphics_configuration"]["hex"];
        EXPECT_EQ(actual["graphics_configurations"], listOfBytes(bytes));
        compared[tag] += bytes.size() / 2;
    }
    constexpr unsigned storage = 0x10;
    if (tag == storage && expected.contains("priority")) {
        EXPECT_EQ(actual["version"], expected["version"]);
        EXPECT_EQ(actual["priority"], expected["priority"]);
        ++compared[tag];
    }
}

/// What was compared, and of the lists by the tag of their descriptor.
struct Compared {
    size_t fields = 0;
    std::map<unsigned, size_t> entries;
};

void compareDescriptor(const json& expected, const json& actual, Compared& compared)
{
    compareLists(expected, actual, compared.entries);
    EXPECT_EQ(actual["tag"], expected["tag"]);
    EXPECT_EQ(actual["length"], expected["length"]);
    // Of descriptors that were drawn at random the description has no fields.
    const bool isWithoutFields = expected["tag"] == 0x0B && !expected.contains("icon_locator");
    EXPECT_EQ(actual.contains("malformed"), isWithoutFields);
    const bool isTransport = expected["tag"] == 0x02;
    const bool isStorage = expected["tag"] == 0x10;
    for (const auto& [theirs, ours] : sameFields) {
        const bool isOther =
            (theirs == "label" && !isTransport) || (theirs == "priority" && isStorage);
        if (!expected.contains(theirs) || expected[theirs].is_null() || isOther)
            continue;
        if (expected[theirs] == "" && !actual.contains(ours))
            continue;  // bytes that there are none of
        EXPECT_EQ(actual[ours], expected[theirs]) << theirs;
        ++compared.fields;
    }
}

void compareDescriptors(const json& expected, const json& actual, Compared& compared)
{
    ASSERT_EQ(actual.size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i)
        compareDescriptor(expected[i], actual[i], compared);
}

/// Sections that others made and described.
TEST(Decode, AgreesWithAnIndependentDescriptionOfGenuineTables)
{
    const std::filesystem::path folder = VESTA_SHARED_DATA "/ait";
    if (!std::filesystem::exists(folder))
        GTEST_SKIP() << "not part of the repository: " << folder;
    Compared compared;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() != ".bin")
            continue;
        SCOPED_TRACE(entry.path().filename());
        std::ifstream file(entry.path(), std::ios::binary);
        const Bytes bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        std::filesystem::path description = entry.path();
        const json expected = json::parse(std::ifstream(description.replace_extension(".json")));
        const json actual = decoded(bytes);
        EXPECT_EQ(actual["version_number"], expected["version"]);
        EXPECT_EQ(actual["application_type"], expected["application_type"]);
        EXPECT_EQ(actual["CRC_32_matches"], true);
        EXPECT_FALSE(actual.contains("malformed"));
        compareDescriptors(expected["common_descriptors"], actual["common_descriptors"], compared);
        const json& applications = expected["applications"];
        ASSERT_EQ(actual["applications"].size(), applications.size());
        for (size_t i = 0; i < applications.size(); ++i) {
            const json& application = actual["applications"][i];
            EXPECT_EQ(application["organisation_id"], applications[i]["organisation_id"]);
            EXPECT_EQ(application["application_id"], applications[i]["application_id"]);
            EXPECT_EQ(application["application_control_code"], applications[i]["control_code"]);
            compareDescriptors(applications[i]["descriptors"], application["descriptors"],
                               compared);
        }
    }
    EXPECT_GT(compared.fields, 500U);
    for (const unsigned tag :
         {0x00U, 0x01U, 0x02U, 0x03U, 0x05U, 0x06U, 0x08U, 0x0CU, 0x0DU, 0x10U, 0x14U})
        EXPECT_GE(compared.entries[tag], 2U) << tag;
}

}  // namespace
}  // namespace inspector::test
