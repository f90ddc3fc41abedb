// samples/vesta-one: its description, and what its pages refer to.

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

#include "station/multiplex/schedule.h"
#include "tests/station/support/station_text.h"

namespace station {

namespace {

namespace fs = std::filesystem;

const fs::path folder = fs::path(VESTA_SAMPLES) / "vesta-one";

std::string contentOf(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<fs::path> pages()
{
    std::vector<fs::path> found;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.path().extension() == ".html")
            found.push_back(entry.path());
    }
    return found;
}

TEST(Sample, CanBeBroadcast)
{
    Problems problems;
    const auto description = readDescription(contentOf(folder / "station.json"), folder, problems);
    ASSERT_TRUE(description) << textOf(problems.front(), "station.json");
    EXPECT_TRUE(makeSchedule(*description, problems));
    for (const Problem& problem : problems)
        ADD_FAILURE() << textOf(problem, "station.json");
}

TEST(Sample, PagesReferToFilesThatThereAre)
{
    const std::regex reference("(?:src|href)=\"([^\"#:]+)\"");
    ASSERT_EQ(pages().size(), 4U);
    for (const fs::path& page : pages()) {
        const std::string text = contentOf(page);
        size_t count = 0;
        for (std::sregex_iterator found(text.begin(), text.end(), reference), end; found != end;
             ++found, ++count) {
            const std::string target = (*found)[1];
            EXPECT_TRUE(fs::is_regular_file(page.parent_path() / target)) << page << target;
        }
        EXPECT_GE(count, 2U) << page;
    }
}

TEST(Sample, ScriptsLeadToPagesThatThereAre)
{
    const std::regex leap(R"(location\.href = '([^'#]+))");
    size_t count = 0;
    for (const char* const room : {"launcher", "guide", "text"}) {
        for (const auto& entry : fs::directory_iterator(folder / "carousel" / room)) {
            const std::string text = contentOf(entry.path());
            for (std::sregex_iterator found(text.begin(), text.end(), leap), end; found != end;
                 ++found, ++count) {
                const std::string target = (*found)[1];
                EXPECT_TRUE(fs::is_regular_file(entry.path().parent_path() / target)) << target;
            }
        }
    }
    EXPECT_EQ(count, 3U);
    EXPECT_TRUE(fs::is_regular_file(folder / "site" / "portal" / "index.html"));
}

TEST(Sample, EveryElementThatAScriptNamesIsInItsPage)
{
    const std::regex named(R"((?:byId|TV\.write|TV\.byId|setThere|write)\('([a-z-]+)'[,)])");
    for (const fs::path& page : pages()) {
        const std::string html = contentOf(page);
        const std::string room = page.parent_path().filename().string();
        const std::string script = contentOf(page.parent_path() / (room + ".js"));
        ASSERT_FALSE(script.empty()) << page;
        for (std::sregex_iterator found(script.begin(), script.end(), named), end; found != end;
             ++found)
            EXPECT_NE(html.find("id=\"" + (*found)[1].str() + "\""), std::string::npos)
                << page << (*found)[1];
    }
}

TEST(Sample, TeletextLinksLeadToPages)
{
    const std::string text = contentOf(folder / "carousel" / "text" / "pages.js");
    const std::regex link(R"(', ?([0-9]{3})\]|\|([0-9]{3})')");
    size_t count = 0;
    for (std::sregex_iterator found(text.begin(), text.end(), link), end; found != end;
         ++found, ++count) {
        const std::string number = (*found)[1].matched ? (*found)[1] : (*found)[2];
        EXPECT_NE(text.find("\n    " + number + ": {"), std::string::npos) << number;
    }
    EXPECT_GT(count, 30U);
}

}  // namespace

}  // namespace station
