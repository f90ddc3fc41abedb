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
    EXPECT_EQ(idsOf(check(*surveyWith(ofTest(3)))), std::set<std::string>({"section-test-beside"}));
    EXPECT_EQ(idsOf(check(*surveyWith(ofTest(7)))), std::set<std::string>({"section-test-beside"}));
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

/// Not even as an older version of it.
TEST(RefusedSections, AreNotLookedIntoBesideTheTableInForce)
{
    const Bytes section = AITSection()
                              .applicationType(0x8010)
                              .version(7)
                              .add(rightApplication(9).visibility(2))
                              .bytes();
    EXPECT_EQ(idsOf(check(*surveyWith(section))), std::set<std::string>({"section-test-beside"}));
}

TEST(RefusedSections, AreNoTableForViewers)
{
    Signal signal;
    signal["ait"].sections = {damaged(3), ofTest(3)};
    const std::set<std::string> ids = findingsIn(signal);
    EXPECT_EQ(ids.count("section-test"), 1U);
    EXPECT_EQ(ids.count("section-test-beside"), 0U);
}

TEST(RefusedSections, AreOfTheTableThatLiesInOtherFiles)
{
    const Bytes first = AITSection().number(0, 1).add(rightApplication()).bytes();
    const Bytes second =
        AITSection().number(1, 1).add(rightApplication(2).raw({0x7F, 9, 0})).bytes();
    const std::pair<const char*, const Bytes*> orders[][2] = {
        {{"a.bin", &first}, {"b.bin", &second}},
        {{"a.bin", &second}, {"b.bin", &first}},
    };
    for (const auto& files : orders) {
        Survey survey;
        for (const auto& [file, section] : files)
            survey.take({std::nullopt, file}, *section, std::nullopt);
        survey.finish(std::nullopt);
        ASSERT_EQ(survey.aits.size(), 1U);
        ASSERT_EQ(survey.refusedAits.size(), 1U);
        EXPECT_EQ(survey.aits.begin()->first, survey.refusedAits.begin()->first);
        EXPECT_EQ(survey.aits.begin()->second.latest()->sections.count(0), 1U);
    }
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

TEST(RefusedSections, AreMissedWhereThereIsNoMemoryForThem)
{
    const Bytes right = AITSection().version(3).add(rightApplication()).bytes();
    SurveyLimits limits;
    limits.tableBytes = 600;  // enough for one of them
    Survey survey(limits);
    survey.take(aitPid, right, std::nullopt);
    survey.take(aitPid, damaged(1), std::nullopt);
    survey.finish(std::nullopt);
    EXPECT_EQ(survey.aits.begin()->second.leftOut(), 0U);
    EXPECT_EQ(idsOf(check(survey)).count("survey-limit"), 1U);
}

}  // namespace
}  // namespace inspector::test
