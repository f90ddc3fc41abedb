// Sections made by an independent table compiler, and broadcast ones where they are at hand: each
// must be held as its description tells.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "signalling/pmt.h"
#include "tests/signalling/pmt_content.h"
#include "tests/support/section_builder.h"

namespace VestaHbbTV {
namespace {

using nlohmann::json;
using vesta::test::Bytes;
using vesta::test::contentOf;
using vesta::test::exactBlock;
using vesta::test::StreamContent;

const std::string ownFolder = VESTA_TEST_DATA "/pmt/";
const std::string sharedFolder = VESTA_SHARED_DATA "/pmt/";

Bytes read(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

StreamContent described(const json& stream)
{
    StreamContent content;
    content.type = stream["stream_type"];
    content.pid = stream["elementary_pid"];
    for (const json& descriptor : stream["descriptors"]) {
        const auto tag = descriptor["tag"].get<unsigned>();
        if (tag == 0x52)
            content.componentTag = descriptor["component_tag"].get<unsigned>();
        if (tag == 0x13)
            content.carouselId = descriptor["carousel_id"].get<uint32_t>();
        content.hasAssociationTag |= tag == 0x14;
        content.hasDeferredAssociationTags |= tag == 0x15;
        content.hasApplicationSignalling |= tag == 0x6F;
    }
    return content;
}

void expectLookUps(PMT& table, const std::vector<StreamContent>& expected)
{
    for (unsigned value = 0; value <= 0xFF; ++value) {
        const auto byte = static_cast<unsigned char>(value);
        std::vector<StreamContent> tagged;
        for (const StreamContent& content : expected)
            if (content.componentTag == value)
                tagged.push_back(content);
        std::vector<ElementaryStream*> found;
        EXPECT_EQ(table.getElementaryStreams(byte, found), !tagged.empty()) << value;
        std::vector<StreamContent> contents;
        for (const ElementaryStream* stream : found)
            contents.push_back(contentOf(*stream));
        EXPECT_EQ(contents, tagged) << value;
        EXPECT_EQ(table.getElementaryStream(byte), found.empty() ? nullptr : found[0]) << value;

        const auto ofType = std::find_if(expected.begin(), expected.end(),
                                         [value](const auto& s) { return s.type == value; });
        const ElementaryStream* const first = table.getElementaryStreamByStreamType(byte);
        ASSERT_EQ(first != nullptr, ofType != expected.end()) << value;
        if (first) {
            EXPECT_EQ(contentOf(*first), *ofType) << value;
        }
    }
}

/// @param path without extension
void expectAsDescribed(const std::string& path)
{
    const Bytes bytes = read(path + ".bin");
    const json description = json::parse(std::ifstream(path + ".json"));
    ASSERT_EQ(bytes.size(), description["size"]);
    std::vector<StreamContent> expected;
    for (const json& stream : description["streams"])
        expected.push_back(described(stream));
    PMT table(exactBlock(bytes).get());
    EXPECT_EQ(contentOf(table), expected);
    expectLookUps(table, expected);
}

std::string readable(const testing::TestParamInfo<const char*>& info)
{
    std::string name = info.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

class MadePMTSections : public testing::TestWithParam<const char*> {};
class BroadcastPMTSections : public testing::TestWithParam<const char*> {};

}  // namespace

TEST_P(MadePMTSections, IsHeldAsItIsSignalled)
{
    expectAsDescribed(ownFolder + GetParam());
}

INSTANTIATE_TEST_SUITE_P(PMT, MadePMTSections,
                         testing::Values("e-empty", "e-hbbtv", "e-program-info", "e-two-carousels"),
                         readable);

TEST_P(BroadcastPMTSections, IsHeldAsItIsSignalled)
{
    const std::string path = sharedFolder + GetParam();
    if (!std::filesystem::exists(path + ".bin"))
        GTEST_SKIP() << "not part of the repository: " << path;
    expectAsDescribed(path);
}

INSTANTIATE_TEST_SUITE_P(PMT, BroadcastPMTSections,
                         testing::Values("r-1-three-aits-pid0100", "r-1-three-aits-pid0101",
                                         "r-2-two-types-pid0100", "r-2-two-types-pid0101",
                                         "r-2-two-types-pid0102", "r-2-two-types-pid0103",
                                         "r-2-two-types-pid0104", "r-2-two-types-pid0105",
                                         "r-2-two-types-pid0118", "r-3-launcher-pid0064-0",
                                         "r-3-launcher-pid0064-1"),
                         readable);

TEST(PMTSections, FindsTheStreamsOfACarousel)
{
    PMT table(exactBlock(read(ownFolder + "e-two-carousels.bin")).get());
    const auto* first = table.getElementaryStream(16)->getCarouselIdentifierDescriptor();
    const auto* second = table.getElementaryStream(17)->getCarouselIdentifierDescriptor();
    ASSERT_NE(first, nullptr);
    EXPECT_TRUE(first->equals(second));
    EXPECT_NE(first, second);
}

}  // namespace VestaHbbTV
