#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

#include "vesta_browser.h"

#include "receiver/browser/sites.h"
#include "receiver/console/key_names.h"

namespace receiver {
namespace {

std::string fileOf(const std::vector<Site>& sites, const std::string& url)
{
    const auto file = fileOfURL(sites, url);
    return file ? file->string() : "no site";
}

TEST(Sites, UrlsLeadToFilesBelowTheirFolder)
{
    const std::vector<Site> sites = {{"http://a.example", "/a"}, {"http://b.example/x/", "/b"}};
    const std::pair<const char*, const char*> cases[] = {
        {"http://a.example", "/a/index.html"},
        {"http://a.example/", "/a/index.html"},
        {"http://a.example?q", "/a/index.html"},
        {"http://a.example/p/", "/a/p/index.html"},
        {"http://a.example/p/q.html?x=/../y#z", "/a/p/q.html"},
        {"http://a.example/with%20blank", "/a/with blank"},
        {"http://b.example/x/y", "/b/y"},
    };
    for (const auto& [url, file] : cases)
        EXPECT_EQ(fileOf(sites, url), file) << url;
}

TEST(Sites, NoSiteAnswersForStrangers)
{
    const std::vector<Site> sites = {{"http://a.example", "/a"}, {"http://b.example/x/", "/b"}};
    for (const char* const url : {"http://a.example.org/", "http://a.exampl", "https://a.example/",
                                  "http://b.example/x", "http://b.example/y", ""})
        EXPECT_EQ(fileOf(sites, url), "no site") << url;
    EXPECT_FALSE(fileOfURL({}, "http://a.example/"));
}

TEST(Sites, TheLongestBeginningAnswers)
{
    const std::vector<Site> sites = {{"http://a.example", "/a"},
                                     {"http://a.example/deep", "/deep"},
                                     {"http://a.example/d", "/d"}};
    EXPECT_EQ(fileOf(sites, "http://a.example/deep/f"), "/deep/f");
    EXPECT_EQ(fileOf(sites, "http://a.example/deeper/f"), "/a/deeper/f");
}

TEST(Sites, NoPathLeadsOutOfTheFolder)
{
    const std::vector<Site> sites = {{"http://a.example", "/a"}};
    for (const char* const path : {"/../x", "/p/../../x", "/%2e%2e/x", "/..%2fx", "/..", "/x%00y"})
        EXPECT_EQ(fileOf(sites, std::string("http://a.example") + path), "") << path;
    EXPECT_EQ(fileOf(sites, "http://a.example/p/../x"), "/a/x");
    EXPECT_EQ(fileOf(sites, "http://a.example/..x"), "/a/..x");
    EXPECT_EQ(fileOf(sites, "http://a.example///etc/x"), "/a/etc/x");
}

TEST(KeyNames, LeadToCodesAndBack)
{
    EXPECT_EQ(keyCode("RED"), TAVO_VK_RED);
    EXPECT_EQ(keyCode("red"), TAVO_VK_RED);
    EXPECT_EQ(keyCode("OK"), TAVO_VK_ENTER);
    EXPECT_EQ(keyCode("ENTER"), TAVO_VK_ENTER);
    EXPECT_EQ(keyCode("5"), 53);
    EXPECT_EQ(keyCode("z"), TAVO_VK_Z);
    for (const char* const name : {"", "NOSUCH", "55", "*", "\xFC"})
        EXPECT_EQ(keyCode(name), 0) << name;
    EXPECT_EQ(keyName(TAVO_VK_ENTER), "OK");
    EXPECT_EQ(keyName(53), "5");
    EXPECT_EQ(keyName(1234), "1234");
}

TEST(Sites, AFolderThatIsNotThereIsSaidWithWhatThereIs)
{
    const auto parent =
        std::filesystem::temp_directory_path() / ("vesta-sites-" + std::to_string(::getpid()));
    std::filesystem::create_directories(parent / "two");
    std::filesystem::create_directories(parent / "one");
    std::ofstream(parent / "file") << "x";
    const std::pair<std::string, std::string> cases[] = {
        {parent / "one", ""},
        {parent, ""},
        {parent / "onne", (parent / "onne").string() + ": no such folder; in " + parent.string() +
                              " there are one, two"},
        {parent / "file", (parent / "file").string() + ": is no folder"},
        {parent / "no/where", (parent / "no/where").string() + ": no such folder"},
    };
    for (const auto& [folder, problem] : cases)
        EXPECT_EQ(problemOf({"http://a.example", folder}), problem);
    EXPECT_EQ(problemOf({"http://a.example", "no-such-folder"}).rfind("no-such-folder: no such", 0),
              0u);
    std::filesystem::remove_all(parent);
}

}  // namespace
}  // namespace receiver
