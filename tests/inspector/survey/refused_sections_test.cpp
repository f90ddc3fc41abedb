// Sections that the feed refuses, beside those of the table in force.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

#include "inspector/dump/document.h"
#include "inspector/dump/printers.h"
#include "tests/inspector/support/signal.h"

namespace inspector::test {
namespace {

using testing::HasSubstr;
using testing::Not;

/// A descriptor leaves its loop.
Bytes damaged(uint8_t version)
{
    return AITSection().version(version).add(rightApplication().raw({0x7F, 9, 0})).bytes();
}

/// For the test of receivers, and with another content.
Bytes ofTest(uint8_t version)
{
    return AITSection().applicationType(0x8010).version(version).add(rightApplication(9)).bytes();
}

/// The right signal, and another section on the PID of its AIT.
std::unique_ptr<Survey> surveyWith(const Bytes& another)
{
    Signal signal;
    signal["another"] = {aitPid, {another}};
    return surveyOf(signal.bytes());
}

std::string dumpOf(const Survey& survey)
{
    std::ostringstream out;
    printJson(documentOf(survey), out);
    return out.str();
}

TEST(RefusedSections, ChangeNothingOfTheTableInForce)
{
    EXPECT_EQ(idsOf(check(*surveyWith(ofTest(3)))), std::set<std::string>({"section-test"}));
    EXPECT_EQ(idsOf(check(*surveyWith(ofTest(7)))), std::set<std::string>({"section-test"}));
    EXPECT_EQ(idsOf(check(*surveyWith(damaged(5)))), std::set<std::string>({"section-descriptor"}));
}

TEST(RefusedSections, DoNotHideWhatIsWrongWithTheTableInForce)
{
    Signal signal;
    signal.application(rightApplication().visibility(2));
    signal["another"] = {aitPid, {damaged(5)}};
    EXPECT_EQ(findingsIn(signal),
              std::set<std::string>({"section-descriptor", "visibility-reserved"}));
}

TEST(RefusedSections, AreOfTheTableWhereNothingElseIs)
{
    Signal signal;
    signal["ait"].sections = {AITSection()
                                  .version(3)
                                  .applicationType(0x8010)
                                  .add(rightApplication().visibility(2))
                                  .bytes()};
    EXPECT_EQ(findingsIn(signal), std::set<std::string>({"section-test", "visibility-reserved"}));
    EXPECT_THAT(dumpOf(*surveyOf(signal.bytes())), Not(HasSubstr("refused_sections")));
}

TEST(RefusedSections, AreInTheDump)
{
    const auto survey = surveyWith(ofTest(3));
    ASSERT_EQ(survey->refusedAits.size(), 1U);
    EXPECT_THAT(dumpOf(*survey), HasSubstr("refused_sections"));
    EXPECT_THAT(dumpOf(*surveyOf(Signal().bytes())), Not(HasSubstr("refused_sections")));
}

/// An empty descriptor is taken out, and the section counts.
TEST(RefusedSections, AreNotThoseThatTheFeedMends)
{
    const auto survey =
        surveyWith(AITSection().version(4).add(rightApplication(2).raw({0x7F, 0})).bytes());
    EXPECT_TRUE(survey->refusedAits.empty());
    EXPECT_EQ(survey->aits.size(), 1U);
    EXPECT_GT(survey->aits.begin()->second.changes(), 0U);
}

TEST(RefusedSections, AreKeptWithinTheLimits)
{
    SurveyLimits limits;
    limits.tables = 3;
    limits.tableBytes = 3'000;
    Survey survey(limits);
    for (uint16_t pid = 0x100; pid < 0x110; ++pid)
        survey.take(pid, damaged(1), std::nullopt);
    EXPECT_EQ(survey.refusedAits.size(), 3U);
    EXPECT_EQ(survey.leftOut.tables, 13U);
    survey.finish(std::nullopt);
    EXPECT_EQ(survey.aits.size(), 3U);
}

}  // namespace
}  // namespace inspector::test
