// docs/signalling.md says what is so.

#include <iterator>
#include <regex>

#include "inspector/check/report.h"
#include "inspector/options.h"
#include "tests/inspector/support/call.h"

namespace inspector::test {
namespace {

std::string guide()
{
    std::ifstream file(VESTA_PROJECT "/docs/signalling.md");
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// What stands between the marks of the guide.
std::string part(const std::string& name)
{
    const std::string text = guide();
    const size_t mark = text.find("<!-- " + name + ": begin -->");
    if (mark == std::string::npos)
        return "";
    const size_t begin = text.find('\n', mark) + 1;
    return text.substr(begin, text.find("<!-- " + name + ": end -->") - begin);
}

std::string fenced(const std::string& text)
{
    return "```\n" + text + "```\n";
}

TEST(Guide, QuotesTheUsage)
{
    EXPECT_EQ(part("usage"), fenced(call({"--help"}).output));
}

TEST(Guide, ListsTheFindingsAsTheProgramHasThem)
{
    std::vector<std::string> rows;
    const std::string table = part("findings");
    const std::regex row(R"(\| `[a-z-]+` \|[^\n]*\n)");
    for (std::sregex_iterator match(table.begin(), table.end(), row), end; match != end; ++match)
        rows.push_back(match->str());
    std::vector<std::string> expected;
    for (const FindingKind& kind : findingKinds())
        expected.push_back(std::string("| `") + kind.id + "` | " + nameOf(kind.severity) + " | " +
                           kind.standard + " | " + kind.clause + " | " + kind.terminals + " |\n");
    EXPECT_EQ(rows, expected);
}

TEST(Guide, ShowsAFindingAsItIsPrinted)
{
    Signal signal;
    signal.application(rightApplication().labels({1, 2, 3}));
    std::ostringstream report;
    printReport(check(*surveyOf(signal.bytes())), report);
    EXPECT_EQ(part("example"), fenced(report.str()));
}

}  // namespace
}  // namespace inspector::test
