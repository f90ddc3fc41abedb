#include <gtest/gtest.h>
#include <sstream>
#include <tuple>

#include "replay/record.h"
#include "tests/replay/support/record_text.h"

namespace replay {
namespace {

struct Read {
    std::optional<Record> record;
    std::string problem;
};

Read read(const std::string& text)
{
    std::istringstream input(text);
    Read result;
    result.record = readRecord(input, result.problem);
    return result;
}

TEST(Record, HasItsCallsWithTheirEnds)
{
    const Read got = read(RecordText().init().line(R"({"idle":3})").text());
    ASSERT_TRUE(got.record) << got.problem;
    const std::vector<Line>& lines = got.record->lines;
    ASSERT_EQ(lines.size(), 9u);
    EXPECT_EQ(lines[0].kind, Line::Kind::In);
    EXPECT_EQ(lines[0].name, "vesta_hbbtv_init");
    EXPECT_EQ(lines[0].number, 2u);
    EXPECT_EQ(lines[0].members["browser"], "browser:1");
    EXPECT_EQ(lines[1].kind, Line::Kind::Out);
    EXPECT_EQ(lines[2].kind, Line::Kind::End);
    EXPECT_EQ(lines[2].name, "hbbtv_keyset_get_supported_values");
    EXPECT_EQ(lines[2].members["result"], 1023);
    EXPECT_EQ(lines[8].count, 3u);
    EXPECT_EQ(got.record->remark, "");
}

TEST(Record, SaysWhichLineIsWrongAndWhatIsWrongWithIt)
{
    const std::string tick = R"({"n":1,"in":"vesta_hbbtv_tick","with":{}})";
    const std::tuple<std::string, const char*> cases[] = {
        {"", "it is empty"},
        {"hello\n" + tick + "\n", "line 1: this is no object of JSON"},
        {"[1]\n", "line 1: this is no object of JSON"},
        {R"({"a":1})", "line 1: this is no record: \"vesta_recording\" is missing"},
        {R"({"vesta_recording":2})", "line 1: the record has version 2, known is 1"},
        {R"({"vesta_recording":"1"})", "line 1: this is no record"},
        {RecordText().line("{").line(tick).text(), "line 2: this is no object of JSON"},
        {RecordText().line(std::string(40, '[')).line(tick).text(), "line 2: this is no object"},
        {RecordText().line(R"({"n":1,"in":"vesta_hbbtv_tick"})").text(), "line 2: a call needs"},
        {RecordText().line(R"({"n":1,"in":7,"with":{}})").text(), "line 2: a call needs"},
        {RecordText().line(R"({"n":-1,"in":"vesta_hbbtv_tick","with":{}})").text(),
         "line 2: a call needs"},
        {RecordText().line(R"({"n":1,"in":"vesta_hbbtv_tick","with":[]})").text(),
         "line 2: a call needs"},
        {RecordText().in("vesta_hbbtv_tock").text(), "line 2: unknown function: vesta_hbbtv_tock"},
        {RecordText().in("ve_open_url").text(), "line 2: unknown function: ve_open_url"},
        {RecordText().tick().line(R"({"n":1,"in":"vesta_hbbtv_tick","with":{}})").text(),
         "line 4: step 1 follows step 1"},
        {RecordText().in("vesta_hbbtv_tick").in("vesta_hbbtv_tick").text(),
         "line 3: the library itself would call vesta_hbbtv_tick"},
        {RecordText().out("dsmcc_start").text(),
         "line 2: nobody called the library that calls dsmcc_start"},
        {RecordText().in("vesta_hbbtv_tick").out("dsmcc_start").out("dsmcc_stop").text(),
         "line 4: nobody called the library that calls dsmcc_stop"},
        {RecordText().line(R"({"end":1,"gave":{}})").text(),
         "line 2: this is not the end of the innermost call"},
        {RecordText().in("vesta_hbbtv_tick").line(R"({"end":2,"gave":{}})").text(),
         "line 3: this is not the end of the innermost call"},
        {RecordText().in("vesta_hbbtv_tick").line(R"({"end":1})").text(),
         "line 3: the end of a call needs \"gave\""},
        {RecordText().in("vesta_hbbtv_tick").line(R"({"idle":1})").text(), "line 3: idle ticks"},
        {RecordText().line(R"({"idle":"many"})").text(), "line 2: idle ticks"},
        {RecordText().line(R"({"state":"end"})").text(), "line 2: a state begins and ends"},
        {RecordText().line(R"({"state":"middle"})").text(), "line 2: a state begins and ends"},
        {RecordText().in("vesta_hbbtv_tick").line(R"({"state":"begin"})").text(),
         "line 3: a state begins and ends"},
        {RecordText().line(R"({"idle":1})").line(R"({"state":"begin"})").text(),
         "line 3: a state begins and ends"},
        {RecordText().line(R"({"state":"begin"})").text(),
         "it ends before the state in which it begins"},
        {RecordText().line(R"({"full":true})").tick().text(), "line 3: the record has ended"},
        {RecordText().line(R"({"body":"12","length":1})").text(), "line 2: a body needs its SHA"},
        {RecordText().line(R"({"body":")" + std::string(64, 'a') + "\"}").text(),
         "line 2: a body needs \"base64\" or \"length\""},
        {RecordText().line(R"({"body":")" + std::string(64, 'a') + R"(","base64":"A"})").text(),
         "line 2: this is not base64"},
        {RecordText().line(R"({"body":")" + std::string(64, 'a') + R"(","base64":"QUJD"})").text(),
         "line 2: the bytes do not have that hash"},
        {RecordText()
             .line(R"({"body":")" + std::string(64, 'a') + R"(","length":9999999999999})")
             .text(),
         "line 2: a body of that length is too large"},
    };
    for (const auto& [text, problem] : cases) {
        const Read got = read(text);
        EXPECT_FALSE(got.record) << text;
        EXPECT_EQ(got.problem.rfind(problem, 0), 0u) << got.problem << " for " << text;
    }
}

TEST(Record, DoesNotNestWithoutEnd)
{
    RecordText text;
    for (int calls = 0; calls < 300; ++calls)
        text.in("vesta_hbbtv_tick").out("dsmcc_start");
    EXPECT_EQ(read(text.text()).problem, "line 202: calls nest deeper than 200");
}

TEST(Record, MayEndInTheMiddleOfALine)
{
    for (const std::string& rest : {std::string("{\"n\":2,\"in\":\"vest"), std::string(512, '\0'),
                                    std::string("\0\n\0", 3)}) {
        const Read got = read(RecordText().tick().text() + rest);
        ASSERT_TRUE(got.record) << got.problem;
        EXPECT_EQ(got.record->lines.size(), 2u);
        EXPECT_EQ(got.record->remark, "line 4, the last one, is no whole line");
    }
}

TEST(Record, MayEndInsideCalls)
{
    const Read got = read(RecordText().in("vesta_hbbtv_tick").out("dsmcc_start").text());
    ASSERT_TRUE(got.record) << got.problem;
    EXPECT_EQ(got.record->lines.size(), 2u);
    EXPECT_EQ(got.record->open, (std::vector<size_t>{0, 1}));
    EXPECT_FALSE(got.record->isOfACrash);
    EXPECT_EQ(read(RecordText().tick().text()).record->open, std::vector<size_t>());
}

TEST(Record, SaysThatItIsOfACrash)
{
    const Read got = read(RecordText().in("vesta_hbbtv_tick").line(R"({"crash":true})").text());
    ASSERT_TRUE(got.record) << got.problem;
    EXPECT_TRUE(got.record->isOfACrash);
    EXPECT_EQ(read(RecordText().line(R"({"crash":true})").tick().text()).problem,
              "line 3: the record has ended before this line");
}

TEST(Record, SkipsKindsOfLinesThatItDoesNotKnow)
{
    const Read got = read(RecordText().line(R"({"weather":"rain"})").tick().text());
    ASSERT_TRUE(got.record) << got.problem;
    EXPECT_EQ(got.record->lines.size(), 2u);
}

TEST(Record, HasTheBytesOfBodies)
{
    const std::string hash = "b5d4045c3f466fa91fe2cc6abe79232a1a57cdf104f7a26e716e0a1e2789df78";
    const Read got =
        read(RecordText().line(R"({"body":")" + hash + R"(","base64":"QUJD"})").text());
    ASSERT_TRUE(got.record) << got.problem;
    ASSERT_NE(got.record->bodies.find(hash), nullptr);
    EXPECT_EQ(got.record->bodies.find(hash)->bytes, "ABC");
    EXPECT_FALSE(got.record->bodies.find(hash)->isLeftOut);
    EXPECT_EQ(got.record->bodies.hashOf("ABC", 3), hash);
    EXPECT_EQ(got.record->bodies.find(std::string(64, '0')), nullptr);
}

TEST(Record, HasOtherBytesOfThatLengthForBodiesThatWereLeftOut)
{
    const std::string one(64, 'a');
    const std::string other = std::string(63, 'a') + "b";
    const std::string length = R"(","length":1024})";
    const Read got = read(RecordText("\"bodies\"")
                              .line(R"({"body":")" + one + length)
                              .line(R"({"body":")" + other + length)
                              .text());
    ASSERT_TRUE(got.record) << got.problem;
    const Body* const body = got.record->bodies.find(one);
    ASSERT_NE(body, nullptr);
    EXPECT_TRUE(body->isLeftOut);
    EXPECT_EQ(body->bytes.size(), 1024u);
    EXPECT_NE(body->bytes, got.record->bodies.find(other)->bytes);
    EXPECT_EQ(got.record->bodies.hashOf(body->bytes.data(), body->bytes.size()), one);
}

TEST(Record, HasBytesForThoseLeftOutThatDifferFromPlaceToPlace)
{
    Bodies bodies;
    ASSERT_TRUE(bodies.addLeftOut(std::string(64, 'a'), 1 << 20));
    const std::string& bytes = bodies.find(std::string(64, 'a'))->bytes;
    for (size_t length = 1; length < bytes.size(); length *= 2)
        EXPECT_NE(bytes.compare(length, 16, bytes, 0, 16), 0) << length;
}

TEST(Record, KnowsWhetherQueriesWereLeftOut)
{
    EXPECT_FALSE(read(RecordText("\"bodies\"").text()).record->leavesOutQueries);
    EXPECT_TRUE(read(RecordText("\"bodies\",\"queries\"").text()).record->leavesOutQueries);
}

}  // namespace
}  // namespace replay
