// What boundary extensions open, and what comes of those that open nothing.

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "inspector/check/boundary_check.h"

namespace inspector::test {
namespace {

using Texts = std::vector<std::string>;

const std::string carouselPage = "dvb://20fa.441.6dd0.2a/index.html";
const std::string webPage = "http://a.example/index.html";

/// What is wrong with extensions of an application that may begin with these pages.
Texts findingsOf(const Texts& pages, const Texts& extensions)
{
    Texts findings;
    const auto report = [&findings](const char* id, const std::string& detail) {
        findings.push_back(std::string(id) + " " + detail);
    };
    BoundaryCheck check(pages);
    for (const std::string& extension : extensions)
        check.add(extension, report);
    check.finish(report);
    return findings;
}

TEST(BoundaryCheck, SaysWhatAnExtensionOfAnApplicationFromTheCarouselOpens)
{
    const struct {
        const char* extension;
        const char* opened;
    } cases[] = {
        {"http", "every http: page, every https: page"},
        {"h", "every http: page, every https: page"},
        {"https", "every https: page"},
        {"http:", "every http: page"},
        {"http://", "every http: page"},
        {"https:///page", "every https: page"},
        {"d", "every carousel"},
        {"dvb:", "every carousel"},
        {"dvb://", "every carousel"},
        {"", "every http: page, every https: page, every carousel"},
    };
    for (const auto& [extension, opened] : cases)
        EXPECT_EQ(
            findingsOf({carouselPage}, {extension}),
            Texts({"boundary-opens-everything \"" + std::string(extension) + "\": " + opened}));
}

TEST(BoundaryCheck, AcceptsOrigins)
{
    for (const char* const extension :
         {"http://a.example", "http://a.example/path", "https://any.example:8080", "http://a",
          "dvb://20fa.441.6dd0", "dvb://20fa.441.6dd0.2b/page"})
        EXPECT_EQ(findingsOf({carouselPage}, {extension}), Texts()) << extension;
}

TEST(BoundaryCheck, KnowsExtensionsThatAdmitNothing)
{
    for (const char* const extension : {"a.example", "HTTP://a.example", "dvb:1.2.3", "ftp://"})
        EXPECT_EQ(findingsOf({carouselPage}, {extension}),
                  Texts({"boundary-not-an-origin \"" + std::string(extension) + "\""}));
}

/// The domain of a web page has its host alone: such an extension never gets into it.
TEST(BoundaryCheck, KnowsThatTheHostOfAWebPageKeepsOthersOut)
{
    for (const char* const extension : {"http", "h", "http:", "http://", ""})
        EXPECT_EQ(findingsOf({webPage}, {extension}).front().rfind("boundary-opens", 0),
                  std::string::npos)
            << extension;
    EXPECT_EQ(findingsOf({webPage}, {"dvb:"}).front(),
              "boundary-opens-everything \"dvb:\": every carousel");
    EXPECT_EQ(findingsOf({webPage}, {"http://b.example"}),
              Texts({"boundary-foreign-host \"http://b.example\", the page is " + webPage,
                     "boundary-page-outside " + webPage}));
}

TEST(BoundaryCheck, AsksOfEveryPageThatTheApplicationMayBeginWith)
{
    EXPECT_EQ(findingsOf({webPage, carouselPage}, {"http:", "http://"}),
              Texts({"boundary-opens-everything \"http:\": every http: page",
                     "boundary-several-hosts \"http://\""}));
    EXPECT_EQ(findingsOf({webPage, carouselPage}, {"http://a.example"}), Texts());
}

TEST(BoundaryCheck, TakesTheExtensionsOfTheFirstHost)
{
    EXPECT_EQ(findingsOf({carouselPage}, {"http://a.example", "https://a.example"}), Texts());
    EXPECT_EQ(findingsOf({carouselPage}, {"http://a.example", "http://b.example", "dvb://1.2.3"}),
              Texts({"boundary-several-hosts \"http://b.example\""}));
    EXPECT_EQ(
        findingsOf({carouselPage}, {"a", "http://b.example"}),
        Texts({"boundary-not-an-origin \"a\"", "boundary-several-hosts \"http://b.example\""}));
}

TEST(BoundaryCheck, JudgesTheExtensionAloneWherePagesAreNotKnown)
{
    EXPECT_EQ(findingsOf({}, {"http"}),
              Texts({"boundary-opens-everything \"http\": every http: page, every https: page"}));
    EXPECT_EQ(findingsOf({}, {"http://a.example"}), Texts());
    EXPECT_EQ(findingsOf({webPage}, {}), Texts());
}

}  // namespace
}  // namespace inspector::test
