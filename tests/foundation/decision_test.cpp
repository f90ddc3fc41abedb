// Who hears decisions, and what the reasons are.

#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "foundation/decision.h"
#include "tests/support/heard_decisions.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

std::string contentOf(const std::string& file)
{
    std::ifstream stream(VESTA_PROJECT "/" + file);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

/// Number and name of each enumerator of HBBTV_Reason.
std::map<int, std::string> enumerators()
{
    const std::string header = contentOf("include/vesta_hbbtv_diagnosis.h");
    const std::regex pattern("HBBTV_REASON_([A-Z_]+) = ([0-9]+)");
    std::map<int, std::string> found;
    for (std::sregex_iterator each(header.begin(), header.end(), pattern), end; each != end; ++each)
        EXPECT_TRUE(found.emplace(std::stoi((*each)[2]), (*each)[1]).second) << (*each)[2];
    return found;
}

TEST(Decision, NothingIsToldWithoutAListener)
{
    vesta_hbbtv_set_decision_listener(nullptr, nullptr);
    EXPECT_FALSE(areDecisionsHeard);
    explain(HBBTV_REASON_START_URL);
}

TEST(Decision, ARecordSaysAllOfIt)
{
    static HBBTV_Decision heard;
    static std::string text;
    int context = 0;
    vesta_hbbtv_set_decision_listener(
        [](const HBBTV_Decision* decision, void* given) {
            heard = *decision;
            text = decision->text;
            ++*static_cast<int*>(given);
        },
        &context);
    EXPECT_TRUE(areDecisionsHeard);
    explain(HBBTV_REASON_START_VERSION, {&heard, 1, 2, &context}, 3, 4, "text");
    EXPECT_EQ(context, 1);
    EXPECT_EQ(heard.size, sizeof(HBBTV_Decision));
    EXPECT_EQ(heard.subject, HBBTV_DECISION_START);
    EXPECT_EQ(heard.verdict, 0);
    EXPECT_EQ(heard.reason, HBBTV_REASON_START_VERSION);
    EXPECT_EQ(heard.window, &heard);
    EXPECT_EQ(heard.organisationId, 1u);
    EXPECT_EQ(heard.applicationId, 2u);
    EXPECT_EQ(heard.scriptApplication, &context);
    EXPECT_EQ(heard.wanted, 3u);
    EXPECT_EQ(heard.had, 4u);
    EXPECT_EQ(text, "text");
    explain(HBBTV_REASON_STARTED);
    EXPECT_EQ(heard.verdict, 1);
    EXPECT_EQ(text, "");
    HeardDecisions other;
    explain(HBBTV_REASON_STARTED);
    EXPECT_EQ(context, 2) << "one listener, the last";
    EXPECT_EQ(other.decisions.size(), 1u);
}

TEST(Decision, ANumberThatIsNoReasonIsANo)
{
    HeardDecisions heard;
    explain(static_cast<HBBTV_Reason>(0));
    ASSERT_EQ(heard.decisions.size(), 1u);
    EXPECT_EQ(heard.decisions[0].verdict, 0);
    EXPECT_STREQ(vesta_hbbtv_reason_text(0), "");
}

TEST(Decision, EachReasonHasASentenceOfItsOwn)
{
    std::set<std::string> sentences;
    for (const auto& [number, name] : enumerators()) {
        const std::string sentence = vesta_hbbtv_reason_text(number);
        ASSERT_FALSE(sentence.empty()) << name;
        EXPECT_EQ(sentence.back(), '.') << name;
        sentences.insert(sentence);
    }
    // Of an unknown window there is no more to say at an end than at a start, and of one without an
    // application at a request than at a load.
    EXPECT_EQ(sentences.size() + 2, enumerators().size());
    for (const int number : {-1, 0, 100, 115, 9999})
        EXPECT_STREQ(vesta_hbbtv_reason_text(number), "");
}

TEST(Decision, TheGuideListsTheReasonsAsTheyAre)
{
    std::ostringstream rows;
    for (const auto& [number, name] : enumerators())
        rows << "| " << number << " | `" << name << "` | " << vesta_hbbtv_reason_text(number)
             << " |\n";
    const std::string guide = contentOf("docs/reasons.md");
    std::istringstream wanted(rows.str());
    std::string row;
    size_t place = 0;
    while (std::getline(wanted, row)) {
        const size_t found = guide.find(row + "\n", place);
        EXPECT_NE(found, std::string::npos) << row;
        place = found == std::string::npos ? place : found;
    }
}

TEST(Decision, EachReasonHasATestThatProducesIt)
{
    std::string tests;
    for (const char* const story : {"section", "start", "end", "call"})
        tests += contentOf("tests/stories/" + std::string(story) + "_reasons_test.cpp");
    for (const auto& [number, name] : enumerators())
        EXPECT_TRUE(std::regex_search(tests, std::regex("HBBTV_REASON_" + name + "\\b"))) << name;
}

}  // namespace
