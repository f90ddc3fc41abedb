// What is said of applications and where, beyond the one case that each kind of finding has.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/inspector/support/signal.h"

namespace inspector::test {
namespace {

using testing::ElementsAre;
using vesta::test::applicationDescriptor;
using vesta::test::locationDescriptor;

/// The findings of one kind, as "byte: detail".
std::vector<std::string> findingsOf(const AITSection& section, const std::string& id)
{
    std::vector<std::string> found;
    const Findings findings = check(*surveyOfSections({section.bytes()}));
    for (const Finding& finding : findings.all()) {
        if (finding.kind->id == id)
            found.push_back(std::to_string(finding.place.offset.value_or(0)) + ": " +
                            finding.detail);
    }
    return found;
}

AITSection webApplication(const std::string& base, const std::string& location)
{
    return AITSection().add(AITEntry(0x0A, 1).http(1, base).location(location));
}

TEST(ApplicationChecks, FindAWebBaseWithoutAHostOrWithBlanks)
{
    EXPECT_THAT(findingsOf(webApplication("http://", "i.html"), "transport-url"),
                ElementsAre("32: URL_base \"http://\": no host"));
    EXPECT_THAT(findingsOf(webApplication("http://a b.example/", "i.html"), "transport-url"),
                ElementsAre("32: URL_base \"http://a b.example/\": a blank or control character"));
    EXPECT_THAT(findingsOf(webApplication("http://a.example/", "i.html"), "transport-url"),
                ElementsAre());
}

TEST(ApplicationChecks, FindALocationThatDoesNotFollowTheBase)
{
    EXPECT_THAT(
        findingsOf(webApplication("http://a.example", "i.html"), "location-url"),
        ElementsAre("12: \"http://a.example\" and \"i.html\": the path becomes part of the host"));
    EXPECT_THAT(
        findingsOf(webApplication("http://a.example/", "http://b.example/"), "location-url"),
        ElementsAre("12: \"http://a.example/\" and \"http://b.example/\": an address of "
                    "its own"));
    EXPECT_THAT(findingsOf(webApplication("http://a.example/", "i.html"), "location-url"),
                ElementsAre());
}

TEST(ApplicationChecks, FindTheSecondOfWhatMayStandOnce)
{
    const AITEntry once = AITEntry(0x0A, 1).http(1, "http://a.example").location("/i");
    const AITEntry twice =
        AITEntry(once).raw(locationDescriptor(".html")).raw(applicationDescriptor({}));
    EXPECT_THAT(findingsOf(AITSection().add(twice), "location-twice"),
                ElementsAre("59: \"/i\", \".html\""));
    EXPECT_THAT(findingsOf(AITSection().add(twice), "application-descriptor-twice"),
                ElementsAre("66: 2 application_descriptors"));
    EXPECT_THAT(findingsOf(AITSection().add(twice), "location-url"), ElementsAre())
        << "the paths are joined";
    EXPECT_THAT(findingsOf(AITSection().add(once), "location-twice"), ElementsAre());
}

TEST(ApplicationChecks, FindMalformedCommonDescriptors)
{
    const Bytes cut = vesta::test::descriptor(0x02, {0, 3});
    EXPECT_THAT(findingsOf(AITSection().common(cut), "descriptor-malformed"),
                ElementsAre("10: common transport_protocol_descriptor"));
    EXPECT_THAT(findingsOf(AITSection().common(vesta::test::httpTransport(1, "http://a.example/")),
                           "descriptor-malformed"),
                ElementsAre());
}

}  // namespace
}  // namespace inspector::test
