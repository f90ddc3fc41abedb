#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

#include "receiver/integration/decision_log.h"

namespace receiver {
namespace {

using Lines = std::vector<std::string>;

class DecisionLogTest : public ::testing::Test {
protected:
    /// What is said of one decision, of a.10.
    std::string sentence(HBBTV_Reason reason, uint32_t wanted = 0, uint32_t had = 0,
                         const char* text = "")
    {
        hear(reason, 0x0A, 0x10, wanted, had, text);
        return decisions_.sentencesAbout("")->back();
    }

    void hear(HBBTV_Reason reason, uint32_t organisationId = 0, uint32_t applicationId = 0,
              uint32_t wanted = 0, uint32_t had = 0, const char* text = "")
    {
        HBBTV_Decision decision = {};
        decision.size = sizeof(decision);
        decision.subject = reason / 100;
        decision.verdict = reason == HBBTV_REASON_STARTED || reason == HBBTV_REASON_TABLE_IN_FORCE;
        decision.reason = reason;
        decision.organisationId = organisationId;
        decision.applicationId = applicationId;
        decision.wanted = wanted;
        decision.had = had;
        decision.text = text;
        decisions_.hear(decision);
    }

    std::ostringstream out_;
    EventLog log_{out_, false};
    DecisionLog decisions_{log_};
};

TEST_F(DecisionLogTest, NumbersAreSaidAsWhatTheyAre)
{
    EXPECT_EQ(sentence(HBBTV_REASON_START_VERSION, 0x10401, 0x10201),
              "no, start of a.10: The application wants a newer version of HbbTV than the terminal "
              "has. Where the terminal carries it all the same, give that version to the kit's "
              "feed. (it wants "
              "1.4.1, the terminal has 1.2.1)");
    const struct {
        HBBTV_Reason reason;
        uint32_t wanted;
        uint32_t had;
        const char* end;
    } rows[] = {
        {HBBTV_REASON_START_PROFILE, 3, 16, "(it wants 0x3, the terminal has 0x10)"},
        {HBBTV_REASON_KEY_NOT_GRANTED, 1, 0x12, "(group 0x1, key set 0x12)"},
        {HBBTV_REASON_KEYS_CUT, 0x13, 0x11, "(it wants 0x13 and has 0x11)"},
        {HBBTV_REASON_SECTION_DESCRIPTOR, 12, 0x5F, "(offset 12, tag 0x5f)"},
        {HBBTV_REASON_SECTION_EMPTY_DESCRIPTOR, 12, 0x5F, "(offset 12, tag 0x5f)"},
        {HBBTV_REASON_SECTION_NAME, 12, 1, "(offset 12, tag 0x1)"},
        {HBBTV_REASON_SECTION_COMMON_LOOP, 8, 99, "(offset 8, length 99)"},
        {HBBTV_REASON_SECTION_APPLICATION_LOOP, 8, 99, "(offset 8, length 99)"},
        {HBBTV_REASON_SECTION_APPLICATION, 8, 99, "(offset 8, length 99)"},
        {HBBTV_REASON_SECTION_OTHER_VERSION, 1, 2, "(version 2, while 1 is begun)"},
        {HBBTV_REASON_SECTION_TABLE_CLOSED, 1, 2, "(version 2, while 1 is begun)"},
        {HBBTV_REASON_TABLE_INCOMPLETE, 1, 2,
         "(section_number 1 is missing, last_section_number 2)"},
        {HBBTV_REASON_SECTION_VERSION_IN_FORCE, 0, 5, "(version 5)"},
        {HBBTV_REASON_TABLE_SUPERSEDED, 0, 5, "(version 5)"},
        {HBBTV_REASON_TABLE_IN_FORCE, 0, 0, "(version 0)"},
        {HBBTV_REASON_START_LABEL_WITHOUT_TRANSPORT, 7, 0, "(label 7)"},
        {HBBTV_REASON_START_CONTROL_CODE, 0, 4, "(control code 4)"},
        {HBBTV_REASON_KEY_UP_WITHOUT_DOWN, 0, 403, "(key 403)"},
        {HBBTV_REASON_KEY_NO_APPLICATION, 0, 13, "(key 13)"},
        {HBBTV_REASON_NOT_ADOPTED_CONTROL_CODE, 0, 4, "(control code 4)"},
        {HBBTV_REASON_TABLE_WITHOUT_AUTOSTART, 0, 1, "(1 application)"},
        {HBBTV_REASON_TABLE_WITHOUT_AUTOSTART, 0, 0, "(0 applications)"},
        {HBBTV_REASON_FILE_REFUSED, 0, 1, "(answer 1)"},
        {HBBTV_REASON_PAGE_FAILED, 0, 404, "(HTTP status 404)"},
        {HBBTV_REASON_PAGE_FAILED, 0, 0, "(no HTTP answer)"},
        {HBBTV_REASON_START_URL, 0, 0, "There is no URL to start."},
    };
    for (const auto& row : rows) {
        const std::string said = sentence(row.reason, row.wanted, row.had);
        const std::string end = row.end;
        EXPECT_EQ(said.substr(said.size() - std::min(said.size(), end.size())), end);
    }
    EXPECT_EQ(sentence(HBBTV_REASON_STARTED, 0, 0, "http://a.example/"),
              "yes, start of a.10: It runs: its page is being opened. http://a.example/");
}

TEST_F(DecisionLogTest, TheyAreFoundByWhatTheyAreAboutOrByIds)
{
    hear(HBBTV_REASON_START_URL);
    hear(HBBTV_REASON_START_NOT_LISTED, 0x0A, 0x10);
    hear(HBBTV_REASON_KEY_NO_APPLICATION);
    EXPECT_EQ(decisions_.sentencesAbout("")->size(), 3u);
    EXPECT_EQ(decisions_.sentencesAbout("start")->size(), 2u);
    EXPECT_EQ(decisions_.sentencesAbout("key")->size(), 1u);
    EXPECT_EQ(*decisions_.sentencesAbout("section"), Lines());
    EXPECT_EQ(*decisions_.sentencesAbout("a.10"),
              Lines{"no, start of a.10: The table in force does not list the application."});
    EXPECT_EQ(*decisions_.sentencesAbout("a.11"), Lines());
    EXPECT_FALSE(decisions_.sentencesAbout("keys"));
    EXPECT_EQ(DecisionLog::subjects(), "section, table, start, end, load, key, request, native");
}

TEST_F(DecisionLogTest, TheLatestAreKept)
{
    for (uint32_t code = 0; code < 300; ++code)
        hear(HBBTV_REASON_START_CONTROL_CODE, 0, 0, 0, code);
    const Lines kept = *decisions_.sentencesAbout("");
    EXPECT_EQ(kept.size(), 200u);
    EXPECT_NE(kept.back().find("(control code 299)"), std::string::npos);
}

TEST_F(DecisionLogTest, TheyAreShownWhereThatIsWanted)
{
    hear(HBBTV_REASON_START_URL);
    EXPECT_EQ(out_.str(), "");
    decisions_.showEach();
    hear(HBBTV_REASON_START_URL);
    EXPECT_NE(out_.str().find("decision  no, start: There is no URL to start.\n"),
              std::string::npos)
        << out_.str();
}

TEST_F(DecisionLogTest, WhatTheReceiverRefusesStandsBetweenTheDecisions)
{
    hear(HBBTV_REASON_START_URL);
    log_.report(Source::Air, "carousel-problem", "carousel 0x2a: damaged");
    log_.mention(Source::Receiver, "left-out", "left out: PID 512");
    log_.report(Source::Air, "service", "service 1 found");
    EXPECT_EQ(*decisions_.sentencesAbout(""), Lines({"no, start: There is no URL to start.",
                                                     "the receiver, load: carousel 0x2a: damaged",
                                                     "the receiver, section: left out: PID 512"}));
    EXPECT_EQ(decisions_.sentencesAbout("section")->size(), 1u);
    EXPECT_EQ(out_.str().find("left out"), std::string::npos);
    EXPECT_EQ(decisions_.whyNothingRan(), "the receiver, section: left out: PID 512");
    log_.mention(Source::Receiver, "lack", "no AIT");
    EXPECT_EQ(decisions_.whyNothingRan(), "the receiver, section: left out: PID 512");
}

TEST_F(DecisionLogTest, WhyNothingRanIsTheLastObstacle)
{
    EXPECT_EQ(decisions_.whyNothingRan(), "");
    hear(HBBTV_REASON_START_URL);
    hear(HBBTV_REASON_START_NO_TABLE);
    hear(HBBTV_REASON_SECTION_REPEATED);
    hear(HBBTV_REASON_SECTION_VERSION_IN_FORCE);
    hear(HBBTV_REASON_TABLE_IN_FORCE);
    hear(HBBTV_REASON_KEY_NO_APPLICATION);
    EXPECT_EQ(decisions_.whyNothingRan(), "no, start: No table is in force.");
    hear(HBBTV_REASON_STARTED);
    EXPECT_EQ(decisions_.whyNothingRan(), "");
}

TEST_F(DecisionLogTest, TheLastDecisionAboutAStartIsWhatSpeaksAgainstIt)
{
    EXPECT_FALSE(decisions_.againstStart("a.10"));
    hear(HBBTV_REASON_START_PROFILE, 0x0A, 0x10, 3, 16);
    hear(HBBTV_REASON_START_NO_TABLE, 0x0A, 0x11);
    hear(HBBTV_REASON_END_REPLACED, 0x0A, 0x10);
    ASSERT_TRUE(decisions_.againstStart("a.10"));
    EXPECT_NE(decisions_.againstStart("a.10")->sentence.find("it wants 0x3"), std::string::npos);
    EXPECT_TRUE(decisions_.againstStart("a.10")->isLasting);
    EXPECT_FALSE(decisions_.againstStart("a.12"));
    hear(HBBTV_REASON_STARTED, 0x0A, 0x10);
    EXPECT_FALSE(decisions_.againstStart("a.10"));
}

TEST_F(DecisionLogTest, AStartThatAnotherOneWasPreferredToMayStillBeAskedFor)
{
    for (const HBBTV_Reason reason :
         {HBBTV_REASON_START_LOWER_AUTOSTART, HBBTV_REASON_START_SUPERSEDED,
          HBBTV_REASON_START_CLOSING, HBBTV_REASON_START_TABLE_CHANGED}) {
        hear(reason, 0x0A, 0x10);
        ASSERT_TRUE(decisions_.againstStart("a.10"));
        EXPECT_FALSE(decisions_.againstStart("a.10")->isLasting) << reason;
    }
}

}  // namespace
}  // namespace receiver
