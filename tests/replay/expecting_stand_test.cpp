#include <gtest/gtest.h>
#include <tuple>

#include "replay/expecting_stand.h"

namespace replay {
namespace {

TEST(ExpectingStand, BindsWhatComesForTheFirstTimeToWhatTheRecordHas)
{
    const Bodies bodies;
    Meaning meaning(bodies);
    ExpectingStand stand(meaning, false);
    stand.expect(Json::parse(R"({"result":"window:3"})"));
    EXPECT_EQ(stand.nameOf("result", recorder::Handle::window, 77, true), "window:3");
    stand.expect(Json::parse(R"({"window":"window:4"})"));
    EXPECT_EQ(stand.nameOf("window", recorder::Handle::window, 77, false), "window:3");
    EXPECT_EQ(stand.nameOf("window", recorder::Handle::window, 78, false), "window:?");
}

TEST(ExpectingStand, KnowsTheQueriesOfListsInTheirOrder)
{
    const Bodies bodies;
    Meaning meaning(bodies);
    ExpectingStand stand(meaning, true);
    stand.expect(Json::parse(
        R"({"applications":[{"urls":[{"url":null},{"url":"http://a/?~1"}]},{"urls":[{"url":"http://a/?~2"}]}]})"));
    EXPECT_EQ(stand.urlFor("url", "http://a/?x"), "http://a/?~1");
    EXPECT_EQ(stand.urlFor("url", "http://a/?y"), "http://a/?~2");
    EXPECT_EQ(stand.urlFor("url", "http://a/?z"), "http://a/?z");
}

TEST(ExpectingStand, KnowsQueriesBesideLettersOfAnyKind)
{
    const Bodies bodies;
    Meaning meaning(bodies);
    ExpectingStand stand(meaning, true);
    stand.expect(
        Json::parse(R"({"url":"http://a/\u00c3\u00a4?~1","name":"\u00c3\u00a4 http://a/#~2"})"));
    EXPECT_EQ(stand.urlFor("url", "http://a/\xC3\xA4?x"), "http://a/\xC3\xA4?~1");
    EXPECT_EQ(stand.textFor("name", "\xC3\xA4 http://a/#y"), "\xC3\xA4 http://a/#~2");
}

TEST(ExpectingStand, LeavesQueriesAloneWhereTheRecordDoes)
{
    const Bodies bodies;
    Meaning meaning(bodies);
    ExpectingStand stand(meaning, false);
    stand.expect(Json::parse(R"({"url":"http://a/?~1"})"));
    EXPECT_EQ(stand.urlFor("url", "http://a/?x"), "http://a/?x");
}

TEST(ExpectingStand, TakesPiecesOfBytesThatWereLeftOut)
{
    const std::string piece(64, 'a');
    Bodies bodies;
    ASSERT_TRUE(bodies.addLeftOut(piece, 3));
    Meaning meaning(bodies);
    ExpectingStand stand(meaning, false);
    const Json expected = {{"bytes", {{"length", 3}, {"sha256", piece}}}};
    stand.expect(expected);
    EXPECT_EQ(stand.hashOf("ABC", 3), piece);
    stand.expect(expected);
    EXPECT_EQ(stand.hashOf("ABC", 3), piece);
    stand.expect(expected);
    EXPECT_NE(stand.hashOf("ABD", 3), piece) << "another one";
    stand.expect(expected);
    EXPECT_NE(stand.hashOf("ABCD", 4), piece) << "of another length";
}

TEST(Agreement, IsThatEverythingTheLibrarySaysStandsInTheRecord)
{
    const std::tuple<const char*, const char*, bool> cases[] = {
        {R"({"a":1,"b":[{"c":"d"}]})", R"({"b":[{"c":"d"}],"a":1})", true},
        {R"({"a":1})", R"({"a":1,"new":2})", true},
        {R"({"a":1})", R"({"a":2})", false},
        {R"({"a":1})", R"({"a":"1"})", false},
        {R"({"a":1})", R"({})", false},
        {R"({"a":null})", R"({})", false},
        {R"({"a":[1]})", R"({"a":[1,2]})", false},
        {R"({"a":[{"b":1}]})", R"({"a":[{"b":2}]})", false},
        {R"({"a":5})", R"({"a":5.0})", true},
    };
    for (const auto& [library, record, agreed] : cases)
        EXPECT_EQ(agrees(Json::parse(library), Json::parse(record)), agreed)
            << library << " and " << record;
}

}  // namespace
}  // namespace replay
