#include <gtest/gtest.h>
#include <sstream>
#include <utility>

#include "replay/record_writer.h"
#include "tests/replay/support/record_text.h"

namespace replay {
namespace {

Record read(const std::string& text)
{
    std::istringstream input(text);
    std::string problem;
    std::optional<Record> record = readRecord(input, problem);
    EXPECT_TRUE(record) << problem;
    return record ? *record : Record();
}

std::string written(const Record& record, const std::vector<Piece>& pieces)
{
    std::ostringstream output;
    writeRecord(output, record, pieces);
    return output.str();
}

TEST(RecordWriter, LeavesOutTimesAndThreadsAlone)
{
    const std::string text = RecordText()
                                 .line(R"({"state":"begin"})")
                                 .tick()
                                 .line(R"({"state":"end"})")
                                 .line(R"({"idle":4})")
                                 .in("vesta_hbbtv_tick")
                                 .out("dsmcc_start")
                                 .threw()
                                 .end(R"({"result":"\u00e4\"\u0001"})")
                                 .line(R"({"full":true})")
                                 .text();
    const Record record = read(text);
    EXPECT_EQ(written(record, piecesOf(record)),
              R"({"vesta_recording":1,"pointer_bits":64,"left_out":[]}
{"state":"begin"}
{"n":1,"in":"vesta_hbbtv_tick","with":{}}
{"end":1,"gave":{"result":true}}
{"state":"end"}
{"idle":4}
{"n":2,"in":"vesta_hbbtv_tick","with":{}}
{"n":3,"out":"dsmcc_start","with":{}}
{"end":3,"threw":true}
{"end":2,"gave":{"result":"\u00e4\"\u0001"}}
)");
}

TEST(RecordWriter, SaysAgainWhatIsOfACrash)
{
    const std::string text = R"({"vesta_recording":1,"pointer_bits":64,"left_out":[]}
{"n":1,"in":"vesta_hbbtv_tick","with":{}}
{"crash":true}
)";
    const Record record = read(text);
    EXPECT_EQ(written(record, piecesOf(record)), text);
}

TEST(RecordWriter, TakesWhatIsWholeBeforeAStep)
{
    const Record record = read(RecordText()
                                   .tick()
                                   .line(R"({"idle":4})")
                                   .in("vesta_hbbtv_tick")
                                   .out("dsmcc_start")
                                   .end()
                                   .end()
                                   .text());
    const std::pair<uint64_t, size_t> cases[] = {{1, 0}, {2, 2}, {3, 2}, {4, 3}, {99, 3}};
    for (const auto& [step, count] : cases)
        EXPECT_EQ(piecesBefore(record, step).size(), count) << step;
    EXPECT_EQ(piecesBefore(read(RecordText().tick().in("vesta_hbbtv_tick").text()), 99).size(), 1u);
}

TEST(RecordWriter, WritesBodiesOnceAndOnlyThoseThatAreNamed)
{
    const std::string hash = "b5d4045c3f466fa91fe2cc6abe79232a1a57cdf104f7a26e716e0a1e2789df78";
    const std::string leftOut(64, 'a');
    const std::string body = R"({"body":")" + hash + R"(","base64":"QUJD"})";
    const std::string other = R"({"body":")" + leftOut + R"(","length":5})";
    const auto read1 = [](RecordText& text, const std::string& sha256) {
        text.in("vesta_hbbtv_tick")
            .out("dsmcc_read", R"({"id":"file:1"})")
            .end(R"({"result":0,"bytes":{"length":3,"sha256":")" + sha256 + "\"}}")
            .end(R"({"result":true})");
    };
    RecordText text;
    text.line(body).line(other);
    read1(text, hash);
    read1(text, hash);
    read1(text, leftOut);
    const Record record = read(text.text());
    const std::vector<Piece> pieces = piecesOf(record);
    ASSERT_EQ(pieces.size(), 3u);
    const std::string all = written(record, pieces);
    EXPECT_NE(all.find(other), std::string::npos);
    EXPECT_NE(all.find(body), std::string::npos);
    EXPECT_EQ(all.find(body), all.rfind(body));
    const std::string last = written(record, {pieces[2]});
    EXPECT_EQ(last.find(body), std::string::npos);
    EXPECT_NE(last.find(other), std::string::npos);
}

TEST(RecordWriter, TakesACallWithAllThatCameOfIt)
{
    RecordText text;
    text.init().line(R"({"idle":1})").in("vesta_hbbtv_tick").out("dsmcc_start");
    const std::vector<Piece> pieces = piecesOf(read(text.text()));
    ASSERT_EQ(pieces.size(), 3u);
    EXPECT_EQ(pieces[0].end, 8u);
    EXPECT_EQ(pieces[1].end, 9u);
    EXPECT_EQ(pieces[2].end, 11u) << "the record ends in it";
}

}  // namespace
}  // namespace replay
