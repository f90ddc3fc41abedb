// docs/station.md says what is so.

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <unistd.h>

#include "station/program.h"
#include "tests/station/support/station_text.h"

namespace station {

namespace {

namespace fs = std::filesystem;

std::string contentOf(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string guide()
{
    return contentOf(fs::path(VESTA_PROJECT) / "docs" / "station.md");
}

/// The lines between the fences after a mark of the guide.
std::string block(const std::string& name)
{
    const std::string text = guide();
    const size_t mark = text.find("<!-- " + name + ": begin -->");
    const size_t begin = text.find('\n', text.find("```", mark)) + 1;
    return mark == std::string::npos ? "" : text.substr(begin, text.find("```", begin) - begin);
}

std::string replaced(std::string text, const std::string& old, const std::string& news)
{
    EXPECT_NE(text.find(old), std::string::npos) << old;
    return text.replace(text.find(old), old.size(), news);
}

struct Answer {
    std::string output;
    std::string errors;
};

/// Checks a description that lies beside a folder of pages.
Answer check(const std::string& description, int expected)
{
    const std::string test = testing::UnitTest::GetInstance()->current_test_info()->name();
    const fs::path folder =
        fs::path(testing::TempDir()) / ("guide-" + std::to_string(::getpid()) + "-" + test);
    fs::create_directories(folder / "pages");
    std::ofstream(folder / "pages" / "index.html") << "<html/>";
    std::ofstream(folder / "station.json") << description;
    std::ostringstream output, errors;
    EXPECT_EQ(run({"check", (folder / "station.json").string()}, output, errors), expected)
        << errors.str();
    fs::remove_all(folder);
    return {output.str(), std::regex_replace(errors.str(), std::regex(folder.string() + "/"), "")};
}

TEST(Guide, QuotesTheUsage)
{
    std::ostringstream output, errors;
    run({"--help"}, output, errors);
    EXPECT_EQ(block("usage"), output.str());
}

TEST(Guide, HasAnExampleThatCanBeMade)
{
    const Answer answer = check(block("example"), exitSuccess);
    EXPECT_EQ(answer.errors, "");
    EXPECT_EQ(answer.output, block("summary"));
}

TEST(Guide, QuotesTheProblemsOfAnExampleGoneWrong)
{
    const std::string wrong =
        replaced(replaced(block("example"), "\"AUTOSTART\"", "\"START\""),
                 "      \"carousels\": [{\"id\": 1, \"component_tag\": 42, \"folder\": \"pages\"}]",
                 "      \"carousel\": []");
    const Answer answer = check(
        replaced(wrong, "{\"carousel\": 42}", "{\"http\": \"http://a.example/\"}"), exitUsage);
    EXPECT_EQ(answer.errors, block("problems"));
}

/// The keys that the readers of descriptions ask for.
std::set<std::string> keysRead()
{
    const std::regex question(
        R"re((?:number|integer|milliseconds|text|flag|choice|language|object|)re"
        R"re(objects|items)\(\s*"([a-z0-9_]+)")re");
    const std::regex claim(R"re(claim\([a-z_]+,\s*"([a-z0-9_]+)")re");
    std::set<std::string> keys;
    for (const auto& entry :
         fs::directory_iterator(fs::path(VESTA_PROJECT) / "station" / "description")) {
        const std::string source = contentOf(entry.path());
        for (const std::regex& pattern : {question, claim}) {
            for (std::sregex_iterator found(source.begin(), source.end(), pattern), end;
                 found != end; ++found)
                keys.insert((*found)[1]);
        }
    }
    return keys;
}

TEST(Guide, ExplainsEveryKey)
{
    const std::set<std::string> keys = keysRead();
    EXPECT_GT(keys.size(), 70U);
    const std::string text = guide();
    for (const std::string& key : keys)
        EXPECT_NE(text.find("`" + key + "`"), std::string::npos) << key;
}

TEST(Guide, NamesNoKeyInItsTablesThatThereIsNot)
{
    const std::set<std::string> keys = keysRead();
    const std::string text = guide();
    const std::string tables = text.substr(0, text.find("## On air"));
    const std::regex row(R"(\n\| ((?:`[a-z0-9_]+`(?:, )?)+) \|)");
    const std::regex name("`([a-z0-9_]+)`");
    size_t count = 0;
    for (std::sregex_iterator found(tables.begin(), tables.end(), row), end; found != end;
         ++found) {
        const std::string cell = (*found)[1];
        for (std::sregex_iterator key(cell.begin(), cell.end(), name); key != end; ++key, ++count)
            EXPECT_EQ(keys.count((*key)[1]), 1U) << (*key)[1];
    }
    EXPECT_GT(count, 60U);
}

}  // namespace

}  // namespace station
