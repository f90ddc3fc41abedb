#include <gtest/gtest.h>

#include "replay/texts.h"

namespace replay {
namespace {

TEST(Texts, AreOneLineWithLongValuesShortened)
{
    Line line;
    line.kind = Line::Kind::Out;
    line.step = 12;
    line.name = "ve_open_url";
    line.members = {{"page", "page:1"}, {"url", std::string(200, 'x')}};
    EXPECT_EQ(lineText(line), "     12  out  ve_open_url {\"page\":\"page:1\", \"url\":\"" +
                                  std::string(39, 'x') + "..." + std::string(19, 'x') + "\"}");
    line.kind = Line::Kind::End;
    line.threw = true;
    EXPECT_EQ(lineText(line), "     12  end  ve_open_url threw");
    line.kind = Line::Kind::Idle;
    line.count = 25;
    EXPECT_EQ(lineText(line), "         idle ticks: 25");
}

TEST(Texts, MarkWhatDiffersWhereItStands)
{
    const Json record = Json::parse(R"({"a":1,"b":[{"c":"d"},{"c":"e"}],"f":null})");
    const Json library = Json::parse(R"({"a":1,"b":[{"c":"d"},{"c":"x"},7],"g":null})");
    EXPECT_EQ(markedText(record, library),
              R"({"a":1, "b":[{"c":"d"}, {"c":>>"e"<<}], >>"f":null<<})");
    EXPECT_EQ(markedText(library, record),
              R"({"a":1, "b":[{"c":"d"}, {"c":>>"x"<<}, >>7<<], >>"g":null<<})");
}

}  // namespace
}  // namespace replay
