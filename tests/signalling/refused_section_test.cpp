// What is said of a section that a table refused.

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "signalling/refused_section.h"
#include "tests/support/heard_decisions.h"
#include "tests/support/section_builder.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

using Lines = std::vector<std::string>;

Lines refusalOf(const AITSection& section)
{
    HeardDecisions heard;
    explainRefusal(section.exactBlock().get());
    return heard.lines();
}

AITEntry entry(uint16_t applicationId)
{
    return AITEntry(1, applicationId).withoutApplicationDescriptor();
}

}  // namespace

TEST(RefusedSection, OfWhichNothingIsWrongNothingIsSaid)
{
    EXPECT_EQ(refusalOf(AITSection()), Lines());
    EXPECT_EQ(refusalOf(AITSection().add(entry(1)).add(entry(2).usage(1))), Lines());
}

TEST(RefusedSection, TheFirstEntryThatIsWrongIsSaid)
{
    EXPECT_EQ(
        refusalOf(AITSection().add(entry(1)).add(entry(2).raw({0x5F, 0})).add(entry(3))),
        Lines({HeardDecisions::describe(HBBTV_REASON_SECTION_EMPTY_DESCRIPTOR, "1.2", 30, 0x5F)}));
}

TEST(RefusedSection, WhatFailsAnEntryDoesNotFailTheCommonLoop)
{
    const Bytes emptyDescriptor = {0x5F, 0};
    const Bytes nameThatLeavesTheLoop = {0x01, 4, 'e', 'n', 'g', 9};
    EXPECT_EQ(refusalOf(AITSection().common(emptyDescriptor).common(nameThatLeavesTheLoop)),
              Lines());
}

TEST(RefusedSection, ThatEndsWithItsCommonLoopHasNoApplicationLoop)
{
    // Five bytes of the table's header, two of the loop's length, none of the next one's.
    EXPECT_EQ(
        refusalOf(AITSection().sectionLength(7)),
        Lines({HeardDecisions::describe(HBBTV_REASON_SECTION_APPLICATION_LOOP, "0.0", 10, 0)}));
}

TEST(RefusedSection, WhoseNameFitsIsNotRefusedForIt)
{
    EXPECT_EQ(refusalOf(AITSection().add(entry(1).raw({0x01, 5, 'e', 'n', 'g', 1, 'a'}))), Lines());
}
