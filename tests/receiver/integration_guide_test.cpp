// The excerpts of the guides stand in the sources that they name.

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct Excerpt {
    std::string file;
    std::string text;
};

std::string trimmed(const std::string& line)
{
    const size_t first = line.find_first_not_of(" \t");
    return first == std::string::npos ? "" : line.substr(first);
}

std::string contentOf(const std::string& path)
{
    std::ifstream file(std::string(VESTA_PROJECT) + "/" + path);
    std::string text;
    for (std::string line; std::getline(file, line);)
        text += trimmed(line) + "\n";
    return text;
}

// A code block right after a comment with the name of a file.
std::vector<Excerpt> excerptsOf(const std::string& guide)
{
    std::vector<Excerpt> excerpts;
    std::istringstream lines(guide);
    std::string file;
    bool isInside = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.compare(0, 5, "<!-- ") == 0) {
            file = line.substr(5, line.find(" -->") - 5);
        } else if (line.compare(0, 3, "```") == 0) {
            isInside = !isInside && !file.empty();
            if (isInside)
                excerpts.push_back({file, ""});
            file.clear();
        } else if (isInside) {
            excerpts.back().text += line + "\n";
        } else {
            file.clear();
        }
    }
    return excerpts;
}

void expectQuotes(const std::string& guide, size_t least)
{
    const std::vector<Excerpt> excerpts = excerptsOf(contentOf(guide));
    EXPECT_GE(excerpts.size(), least) << guide;
    for (const Excerpt& excerpt : excerpts)
        EXPECT_NE(contentOf(excerpt.file).find(excerpt.text), std::string::npos)
            << excerpt.file << " does not hold\n"
            << excerpt.text;
}

TEST(IntegrationGuide, QuotesTheSourcesAsTheyAre)
{
    expectQuotes("docs/integration.md", 20);
}

TEST(IntegrationGuide, TheFirstPageQuotesTheSourcesAsTheyAre)
{
    expectQuotes("README.md", 1);
}

TEST(IntegrationGuide, TheEnginesGuideQuotesTheSourcesAsTheyAre)
{
    expectQuotes("docs/engine.md", 6);
}

TEST(IntegrationGuide, TheReasonsGuideQuotesTheSourcesAsTheyAre)
{
    expectQuotes("docs/reasons.md", 1);
}

TEST(IntegrationGuide, TheKitsGuideQuotesTheSourcesAsTheyAre)
{
    expectQuotes("docs/kit.md", 1);
}

}  // namespace
