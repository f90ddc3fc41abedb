// Sections become trees of named fields, with the places of all of them.

#include <filesystem>
#include <fstream>
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

void compareDescriptor(const json& expected, const json& actual, size_t& compared)
{
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
        EXPECT_EQ(actual[ours], expected[theirs]) << theirs;
        ++compared;
    }
}

void compareDescriptors(const json& expected, const json& actual, size_t& compared)
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
    size_t compared = 0;
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
    EXPECT_GT(compared, 500U);
}

}  // namespace
}  // namespace inspector::test
