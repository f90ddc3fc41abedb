/// Genuine sections, most of which the application manager refuses as they are on air, take effect
/// through the feed.
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

#include "lifecycle/window.h"
#include "tests/kit/pmt_bytes.h"
#include "tests/signalling/ait_expectations.h"
#include "tests/support/library_test.h"
#include "vesta_hbbtv_kit.h"

namespace vesta::test {
namespace {

/// What the section signals once the descriptors that say nothing are taken out.
json withoutEmptyDescriptors(json section)
{
    for (json& application : section["applications"]) {
        json kept = json::array();
        for (const json& descriptor : application["descriptors"]) {
            if (descriptor["length"] != 0)
                kept.push_back(descriptor);
        }
        application["descriptors"] = kept;
    }
    return section;
}

class GenuineSections : public LibraryTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(GenuineSections, TakeEffect)
{
    const std::string path = std::string(VESTA_SHARED_DATA "/ait/") + GetParam();
    if (!std::filesystem::exists(path + ".bin"))
        GTEST_SKIP() << "not part of the repository: " << path;
    const Sample sample(path);

    HBBTV_KitFeedOptions options;
    hbbtv_kit_feed_get_defaults(&options);
    options.applicationType = sample.content["application_type"];
    HBBTV_KitAITFeed* const feed = hbbtv_kit_feed_create(&options);
    const uint32_t tuning =
        hbbtv_kit_feed_tune(feed, originalNetworkId, transportStreamId, serviceId, nullptr);
    const Bytes pmt = pmtBytes({{5, 100, {}}}, true, {}, serviceId);
    hbbtv_kit_feed_pmt(feed, tuning, pmt.data(), pmt.size(), 0);
    hbbtv_kit_feed_section(feed, tuning, 100, sample.bytes.data(), sample.bytes.size(), 0);
    hbbtv_kit_feed_destroy(feed);
    tickAll();

    ASSERT_NE(window()->getAIT(), nullptr);
    Expected expected;
    EXPECT_TRUE(expected.add(withoutEmptyDescriptors(sample.content)));
    expected.check(*window()->getAIT());
}

INSTANTIATE_TEST_SUITE_P(AIT, GenuineSections,
                         ::testing::Values("r-1-three-aits-pid1ec5", "r-1-three-aits-pid1ec6",
                                           "r-1-three-aits-pid1ec7", "r-2-two-types-pid07d1",
                                           "r-2-two-types-pid07d2", "r-3-launcher-pid00aa"),
                         [](const auto& row) {
                             std::string name = row.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

}  // namespace
}  // namespace vesta::test
