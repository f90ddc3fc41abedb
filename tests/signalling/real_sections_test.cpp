/// Sections made by independent encoders or cut from broadcasts. The JSON file beside each tells
/// what it signals, and so what the library must hold.
#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <vector>

#include "signalling/ait.h"
#include "tests/signalling/ait_expectations.h"
#include "tests/support/section_builder.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

void checkAlone(const Sample& sample)
{
    AIT table(originalNetworkId, transportStreamId, serviceId, nullptr);
    Expected expected;
    EXPECT_EQ(sample.feedTo(table), expected.add(sample.content));
    expected.check(table);
    expected.checkLookups(table);
    EXPECT_EQ(table.getVersion(), sample.content["version"]);
    EXPECT_EQ(table.isComplete(), sample.content["last_section_number"] == 0);
    EXPECT_EQ(sample.feedTo(table), sample.content["last_section_number"] != 0);
}

const std::string ownFolder = VESTA_TEST_DATA "/ait";
const std::string sharedFolder = VESTA_SHARED_DATA "/ait";

std::vector<std::string> ownNames()
{
    std::vector<std::string> names;
    for (const auto& file : std::filesystem::directory_iterator(ownFolder))
        if (file.path().extension() == ".bin")
            names.push_back(file.path().stem().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::string readable(const testing::TestParamInfo<std::string>& info)
{
    std::string name = info.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

/// The sections of a table or the versions of one: "NAME-sec0" and on, "NAME-t0" and on.
std::map<std::string, std::vector<Sample>> series(const std::string& mark)
{
    std::map<std::string, std::vector<Sample>> found;
    for (const std::string& name : ownNames()) {
        const size_t at = name.rfind(mark);
        if (at != std::string::npos && at + mark.size() + 1 == name.size())
            found[name.substr(0, at)].emplace_back(ownFolder + "/" + name);
    }
    return found;
}

class MadeSection : public testing::TestWithParam<std::string> {};
class BroadcastSection : public testing::TestWithParam<std::string> {};

}  // namespace

TEST_P(MadeSection, IsHeldAsItIsSignalled)
{
    checkAlone(Sample(ownFolder + "/" + GetParam()));
}

INSTANTIATE_TEST_SUITE_P(AIT, MadeSection, testing::ValuesIn(ownNames()), readable);

TEST_P(BroadcastSection, IsHeldAsItIsSignalled)
{
    const std::string path = sharedFolder + "/" + GetParam();
    if (!std::filesystem::exists(path + ".bin"))
        GTEST_SKIP() << "not part of the repository: " << path;
    checkAlone(Sample(path));
}

INSTANTIATE_TEST_SUITE_P(AIT, BroadcastSection,
                         testing::Values("r-1-three-aits-pid1ec5", "r-1-three-aits-pid1ec6",
                                         "r-1-three-aits-pid1ec7", "r-2-two-types-pid07d1",
                                         "r-2-two-types-pid07d2", "r-3-launcher-pid00aa"),
                         readable);

TEST(RealSections, AreAllThere)
{
    EXPECT_EQ(ownNames().size(), 89U);
    EXPECT_EQ(series("-sec").size(), 7U);
    EXPECT_EQ(series("-t").size(), 2U);
}

TEST(RealSections, OfBroadcastDVBJApplicationsAreRefusedForTheirEmptyDescriptors)
{
    // DVB-J applications are on air with application descriptors of length 0.
    const std::map<std::string, bool> acceptance = {
        {"r-1-three-aits-pid1ec5", false}, {"r-1-three-aits-pid1ec6", false},
        {"r-1-three-aits-pid1ec7", false}, {"r-2-two-types-pid07d1", false},
        {"r-2-two-types-pid07d2", true},   {"r-3-launcher-pid00aa", true},
    };
    for (const auto& [name, accepted] : acceptance) {
        const std::string path = sharedFolder + "/" + name;
        if (!std::filesystem::exists(path + ".bin"))
            GTEST_SKIP() << "not part of the repository: " << path;
        AIT table(originalNetworkId, transportStreamId, serviceId, nullptr);
        EXPECT_EQ(Sample(path).feedTo(table), accepted) << name;
    }
}

TEST(RealSections, OfOneTableAreCollected)
{
    for (const auto& [name, sections] : series("-sec")) {
        SCOPED_TRACE(name);
        AIT table(originalNetworkId, transportStreamId, serviceId, nullptr);
        Expected expected;
        for (const Sample& section : sections) {
            EXPECT_FALSE(table.isComplete());
            EXPECT_EQ(section.feedTo(table), expected.add(section.content));
        }
        EXPECT_TRUE(table.isComplete());
        expected.check(table);
        expected.checkLookups(table);
    }
}

TEST(RealSections, OfOneTableAreCollectedInReverseAndWithRepetitions)
{
    for (const auto& [name, sections] : series("-sec")) {
        SCOPED_TRACE(name);
        AIT table(originalNetworkId, transportStreamId, serviceId, nullptr);
        Expected expected;
        for (auto section = sections.rbegin(); section != sections.rend(); ++section) {
            EXPECT_EQ(section->feedTo(table), expected.add(section->content));
            EXPECT_EQ(section->feedTo(table), !table.isComplete());
        }
        EXPECT_TRUE(table.isComplete());
        expected.check(table);
    }
}

TEST(RealSections, OfAnotherVersionAreRefusedByATableThatHasOne)
{
    const auto versions = series("-t").at("e-versions");
    ASSERT_EQ(versions.size(), 5U);
    for (const Sample& first : versions) {
        for (const Sample& second : versions) {
            AIT table(originalNetworkId, transportStreamId, serviceId, nullptr);
            // Pretend that a second section is to come, so that the version alone decides.
            Bytes incomplete = first.bytes;
            incomplete[7] = 1;
            Bytes next = second.bytes;
            next[6] = 1;
            next[7] = 1;
            ASSERT_TRUE(table.parse(exactBlock(incomplete).get()));
            EXPECT_EQ(table.parse(exactBlock(next).get()),
                      first.content["version"] == second.content["version"]);
        }
    }
}
