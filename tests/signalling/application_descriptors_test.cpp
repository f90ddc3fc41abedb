#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "signalling/ait_application.h"
#include "tests/support/printed_tables.h"
#include "tests/support/section_builder.h"

using namespace VestaHbbTV;
using namespace vesta::test;
using testing::ElementsAre;

namespace {

using PlatformProfile = AITApplication::PlatformProfile;
using ApplicationDescriptor = AITApplication::ApplicationDescriptor;
using ApplicationRecordingDescriptor = AITApplication::ApplicationRecordingDescriptor;

std::string describe(const Bytes& bytes)
{
    return print(ApplicationDescriptor(exactBlock(bytes).get()));
}

std::string describeRecording(const Bytes& bytes)
{
    return print(ApplicationRecordingDescriptor(exactBlock(bytes).get()));
}

constexpr char nothing[] = "unbound visibility 0 priority 0 labels";

}  // namespace

TEST(ApplicationDescriptors, AreNamedByTheApplication)
{
    EXPECT_TRUE((std::is_constructible_v<ApplicationDescriptor, const unsigned char*>));
    EXPECT_TRUE((std::is_constructible_v<ApplicationRecordingDescriptor, const unsigned char*>));
    EXPECT_TRUE((std::is_constructible_v<PlatformProfile, const unsigned char*>));
}

TEST(ApplicationDescriptors, ReadProfilesFlagsPriorityAndLabels)
{
    ApplicationFields fields;
    fields.profiles = {{0x8001, 1, 2, 3}, {0, 0xFF, 0xFE, 0xFD}};
    fields.labels = {9, 0, 9, 255};
    fields.priority = 200;
    fields.visibility = 2;
    fields.serviceBound = true;
    EXPECT_EQ(describe(applicationDescriptor(fields)),
              "32769/1.2.3 0/255.254.253 bound visibility 2 priority 200 labels 9 0 9 255");
}

TEST(ApplicationDescriptors, ReadFlagsAndVisibilityFromTheirBits)
{
    const std::tuple<unsigned char, const char*> cases[] = {
        {0x00, "unbound visibility 0 priority 1 labels"},
        {0x1F, "unbound visibility 0 priority 1 labels"},
        {0x20, "unbound visibility 1 priority 1 labels"},
        {0x40, "unbound visibility 2 priority 1 labels"},
        {0x60, "unbound visibility 3 priority 1 labels"},
        {0x80, "bound visibility 0 priority 1 labels"},
        {0xFF, "bound visibility 3 priority 1 labels"},
    };
    for (const auto& [flags, expected] : cases)
        EXPECT_EQ(describe(descriptor(0x00, {0, flags, 1})), expected) << int{flags};
}

TEST(ApplicationDescriptors, ReadNothingIfTheProfilesOverrunThem)
{
    const Bytes profile = {0, 1, 1, 2, 3};
    const std::tuple<const char*, Bytes, std::string> cases[] = {
        {"no payload", {}, nothing},
        {"no profiles and no more", {0}, nothing},
        {"profiles exactly to the end", Bytes{5} + profile, std::string("1/1.2.3 ") + nothing},
        {"one over", Bytes{6} + profile, nothing},
        {"maximum", Bytes{0xFF} + profile + Bytes{0xFF, 9, 1}, nothing},
    };
    for (const auto& [why, payload, expected] : cases)
        EXPECT_EQ(describe(descriptor(0x00, payload)), expected) << why;
}

TEST(ApplicationDescriptors, KeepWhatStandsBeforeTheirEnd)
{
    EXPECT_EQ(describe(descriptor(0x00, {0, 0xFF})), "bound visibility 3 priority 0 labels");
    EXPECT_EQ(describe(descriptor(0x00, {0, 0xFF, 7})), "bound visibility 3 priority 7 labels");
}

TEST(ApplicationDescriptors, ReadTheFlagsAfterTheLastWholeProfile)
{
    // Seven bytes of profiles: one profile, and the two left over are flags and priority.
    EXPECT_EQ(describe(descriptor(0x00, {7, 0, 1, 1, 2, 3, 0x80, 9, 0x60, 4, 5})),
              "1/1.2.3 bound visibility 0 priority 9 labels 96 4 5");
    EXPECT_EQ(describe(descriptor(0x00, {4, 0x80, 9, 1, 2})),
              "bound visibility 0 priority 9 labels 1 2");
}

TEST(ApplicationDescriptors, HoldAsManyProfilesAndLabelsAsFit)
{
    for (const size_t count : {0U, 1U, 2U, 3U, 7U, 8U, 9U, 40U}) {
        ApplicationFields fields;
        fields.profiles.clear();
        std::string profiles;
        std::string labels;
        for (size_t i = 0; i < count; ++i) {
            const auto number = static_cast<uint8_t>(i + 1);
            fields.profiles.push_back({number, number, 2, 3});
            fields.labels.push_back(number);
            profiles += std::to_string(number) + "/" + std::to_string(number) + ".2.3 ";
            labels += " " + std::to_string(number);
        }
        EXPECT_EQ(describe(applicationDescriptor(fields)),
                  profiles + "unbound visibility 3 priority 1 labels" + labels);
    }
}

TEST(ApplicationDescriptors, OfNoBytesAreEmpty)
{
    const unsigned char* const none = nullptr;
    EXPECT_TRUE(ApplicationDescriptor(none).getPlatformProfiles().empty());
    EXPECT_FALSE(ApplicationRecordingDescriptor(none).isScheduledRecording());
}

TEST(ApplicationDescriptors, StayUsableAfterTheirContentMovedAway)
{
    ApplicationFields fields;
    fields.profiles = {{1, 1, 1, 1}, {2, 1, 1, 1}, {3, 1, 1, 1}};
    fields.labels = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    ApplicationDescriptor from(exactBlock(applicationDescriptor(fields)).get());
    AITApplication application(nullptr);
    application.setApplicationDescriptor(std::move(from));
    EXPECT_EQ(application.getApplicationDescriptor()->getTransportProtocolLabels().size(), 9U);
    // Unspecified content, but whatever it claims to hold must be there.
    size_t profiles = 0;
    for (const PlatformProfile& profile :
         from.getPlatformProfiles())  // NOLINT(bugprone-use-after-move)
        profiles += profile.getVersionMajor();
    EXPECT_EQ(profiles, from.getPlatformProfiles().size());
    from.addTransportProtocolLabel(10);
    const auto& labels = from.getTransportProtocolLabels();
    EXPECT_EQ(labels[labels.size() - 1], 10);
}

TEST(ApplicationDescriptors, APlatformProfileReadsItsFiveBytes)
{
    const PlatformProfile profile(exactBlock({0x12, 0x34, 5, 6, 7}).get());
    EXPECT_EQ(profile.getApplicationProfile(), 0x1234);
    EXPECT_EQ(profile.getVersionMajor(), 5);
    EXPECT_EQ(profile.getVersionMinor(), 6);
    EXPECT_EQ(profile.getVersionMicro(), 7);
}

TEST(ApplicationDescriptors, APlatformProfileOfNoBytesIsThatOfAnyTerminal)
{
    const unsigned char* const none = nullptr;
    const PlatformProfile profile(none);
    EXPECT_EQ(profile.getApplicationProfile(), 0);
    EXPECT_EQ(profile.getVersionMajor(), 0);
    EXPECT_EQ(profile.getVersionMinor(), 0);
    EXPECT_EQ(profile.getVersionMicro(), 0);
}

TEST(ApplicationDescriptors, APlatformProfileIsCompatibleWithATerminalThatIsNotOlderAndHasEveryBit)
{
    const std::tuple<PlatformProfile, PlatformProfile, bool> cases[] = {
        {{0, 1, 2, 3}, {0, 1, 3, 0}, true},      {{0, 1, 2, 3}, {0, 1, 2, 3}, true},
        {{0, 1, 2, 3}, {0, 1, 2, 4}, true},      {{0, 1, 2, 3}, {0, 1, 2, 2}, false},
        {{0, 1, 2, 3}, {0, 1, 1, 9}, false},     {{0, 1, 2, 3}, {0, 2, 0, 0}, true},
        {{0, 1, 2, 3}, {0, 0, 9, 9}, false},     {{0, 255, 255, 255}, {0, 255, 255, 255}, true},
        {{3, 1, 1, 1}, {1, 1, 1, 1}, false},     {{1, 1, 1, 1}, {3, 1, 1, 1}, true},
        {{0, 1, 1, 1}, {0xFFFF, 1, 1, 1}, true}, {{0x8000, 1, 1, 1}, {0x7FFF, 1, 1, 1}, false},
    };
    for (const auto& [application, terminal, compatible] : cases)
        EXPECT_EQ(application.isCompatible(terminal.getApplicationProfile(),
                                           terminal.getVersionMajor(), terminal.getVersionMinor(),
                                           terminal.getVersionMicro()),
                  compatible);
}

TEST(ApplicationDescriptors, ARecordingDescriptorReadsEachFlag)
{
    const std::tuple<uint8_t, const char*> cases[] = {
        {0x80, "S"}, {0x40, "T"}, {0x20, "H"},      {0x10, "D"}, {0x08, "A"},
        {0x04, "I"}, {0x03, ""},  {0xFF, "STHDAI"}, {0x00, ""},
    };
    for (const auto& [flags, expected] : cases) {
        EXPECT_EQ(describeRecording(recordingDescriptor(flags, {}, {})), expected) << int{flags};
        EXPECT_EQ(describeRecording(descriptor(0x06, {flags})), expected) << int{flags};
    }
}

TEST(ApplicationDescriptors, ARecordingDescriptorReadsComponentTagsOnlyIfBytesFollowThem)
{
    EXPECT_EQ(describeRecording(recordingDescriptor(0x80, {"main", ""}, {16, 17}, {0})), "S 16 17");
    EXPECT_EQ(describeRecording(recordingDescriptor(0x80, {"main", ""}, {16, 17})), "S");
    EXPECT_EQ(describeRecording(recordingDescriptor(0x80, {}, {}, {1, 2, 3})), "S");
    EXPECT_EQ(describeRecording(descriptor(0x06, {0x80, 0, 3, 1, 2})), "S");
    EXPECT_EQ(describeRecording(descriptor(0x06, {0x80, 0, 0xFF, 1, 2})), "S");
    EXPECT_EQ(describeRecording(descriptor(0x06, {0x80, 0, 1, 5, 6})), "S 5");
}

TEST(ApplicationDescriptors, ARecordingDescriptorStopsAtALabelThatReachesTheEnd)
{
    const std::tuple<const char*, Bytes, const char*> cases[] = {
        {"a label before the tags", {0x80, 1, 2, 'a', 'b', 0, 1, 5, 0}, "S 5"},
        {"a label that reaches the end", {0x80, 1, 2, 'a', 'b', 0}, "S"},
        {"a label that passes the end by one", {0x80, 1, 3, 'a', 'b', 0}, "S"},
        {"a label of maximum length", {0x80, 1, 0xFF, 'a', 'b', 0, 1, 5, 0}, "S"},
        {"a label without length", {0x80, 1}, "S"},
        {"more labels than there are", {0x80, 0xFF, 0, 0, 0, 0, 1, 5, 0}, "S"},
        {"the second label passes the end", {0x80, 2, 0, 0, 9, 0, 1, 5, 0}, "S"},
    };
    for (const auto& [why, payload, expected] : cases)
        EXPECT_EQ(describeRecording(descriptor(0x06, payload)), expected) << why;
}

TEST(ApplicationDescriptors, ARecordingDescriptorCanBeFilledByHand)
{
    ApplicationRecordingDescriptor descriptor;
    descriptor.setTrickModeAware(true);
    descriptor.setTimeShift(true);
    descriptor.setDynamic(true);
    descriptor.setAVSynced(true);
    descriptor.setInitiatingReplay(true);
    descriptor.addComponentTag(3);
    EXPECT_FALSE(descriptor.isScheduledRecording());
    EXPECT_TRUE(descriptor.isTrickModeAware());
    EXPECT_TRUE(descriptor.isTimeShift());
    EXPECT_TRUE(descriptor.isDynamic());
    EXPECT_TRUE(descriptor.isAVSynced());
    EXPECT_TRUE(descriptor.isInitiatingReplay());
    EXPECT_THAT(descriptor.getComponentTags(), ElementsAre(3));
}
