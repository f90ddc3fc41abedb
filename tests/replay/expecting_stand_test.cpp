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

/// A file whose bytes were left out, as are those of its piece.
class LeftOutFile : public testing::Test {
protected:
    LeftOutFile()
    {
        EXPECT_TRUE(bodies.addLeftOut(file, 2000));
        EXPECT_TRUE(bodies.addLeftOut(piece, 1000));
    }

    const std::string& bytes() const { return bodies.find(file)->bytes; }

    /// How the record has those bytes of the file, where the piece is expected.
    std::string hashOf(size_t begin, size_t length)
    {
        stand.expect({{"bytes", {{"length", length}, {"sha256", piece}}}});
        return stand.hashOf(bytes().data() + begin, length);
    }

    const std::string file = std::string(64, 'a');
    const std::string piece = std::string(64, 'b');
    Bodies bodies;
    Meaning meaning{bodies};
    ExpectingStand stand{meaning, false};
};

TEST_F(LeftOutFile, GoesOnPieceByPiece)
{
    meaning.pieces.begin(*bodies.find(file));
    EXPECT_EQ(hashOf(0, 1000), piece);
    EXPECT_EQ(hashOf(1000, 1000), piece) << "its bytes were the same as those of the first";
    EXPECT_NE(hashOf(0, 1000), piece) << "it has been handed on";
    meaning.pieces.begin(*bodies.find(file));
    EXPECT_EQ(hashOf(0, 1000), piece) << "it was read again";
}

TEST_F(LeftOutFile, HasPiecesOfNoOtherPlaceAndLength)
{
    EXPECT_NE(hashOf(0, 1000), piece) << "nobody has read it";
    meaning.pieces.begin(*bodies.find(file));
    EXPECT_NE(hashOf(1, 1000), piece);
    EXPECT_NE(hashOf(64, 1000), piece);
    EXPECT_NE(hashOf(1000, 1000), piece);
    EXPECT_NE(hashOf(0, 999), piece);
    EXPECT_NE(hashOf(0, 2000), piece) << "it is known itself";
    EXPECT_EQ(hashOf(0, 2000), file);
}

TEST_F(LeftOutFile, GoesOnWhereAnotherWasReadInBetween)
{
    const std::string between(64, 'c');
    ASSERT_TRUE(bodies.addLeftOut(between, 3000));
    meaning.pieces.begin(*bodies.find(file));
    EXPECT_EQ(hashOf(0, 1000), piece);
    meaning.pieces.begin(*bodies.find(between));
    EXPECT_EQ(hashOf(1000, 1000), piece);
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
