#include <gtest/gtest.h>

#include "receiver/browser/page.h"

namespace receiver {
namespace {

using References = std::vector<std::string>;

TEST(Page, ResourcesAreWhatAPageNeedsToBeShown)
{
    const std::string page =
        "<html><head><link rel='stylesheet' href='a.css'><script src=a.js></script>"
        "</head><body><img src=\"i/a.png\"><a href='next.html'>next</a>"
        "<p><object><embed src='b.swf'></object></p></body></html>";
    EXPECT_EQ(subresources(page), (References{"a.css", "a.js", "i/a.png", "b.swf"}));
}

TEST(Page, EachResourceIsNamedOnceAndPlacesInThePageAreNone)
{
    EXPECT_EQ(subresources("<img src='a'><img src='b'><img src='a'><img src='#top'><img src=''>"),
              (References{"a", "b"}));
}

TEST(Page, APageThatIsTooLongIsNotLookedThrough)
{
    const std::string page = "<img src='a'>";
    EXPECT_EQ(subresources(page + std::string(mostPageBytes - page.size(), ' ')),
              (References{"a"}));
    EXPECT_EQ(subresources(page + std::string(mostPageBytes - page.size() + 1, ' ')), std::nullopt);
}

TEST(Page, APageWithATagOfTooManyAttributesIsNotLookedThrough)
{
    const auto pageWith = [](size_t count) {
        std::string page = "<p>x<img src='a' ";
        for (size_t number = 1; number < count; ++number)
            page += "a" + std::to_string(number) + "='>' ";
        return page + "><img src='b'>";
    };
    EXPECT_EQ(subresources(pageWith(mostAttributes)), (References{"a", "b"}));
    EXPECT_EQ(subresources(pageWith(2 * mostAttributes)), std::nullopt);
    EXPECT_EQ(subresources(pageWith(100 * mostAttributes)), std::nullopt);
}

TEST(Page, TextsAndCommentsMayBeLong)
{
    const std::string text(200000, 'x');
    for (const std::string& page : {"<p>" + text + "</p>", "<script>" + text + "</script>",
                                    "<style>" + text + "</style>", "<!--" + text + "-->"})
        EXPECT_EQ(subresources(page + "<img src='a'>"), References{"a"}) << page.substr(0, 9);
}

TEST(Page, ReferencesThatAreTooLongForAUrlAreNone)
{
    const std::string url(mostReferenceBytes, 'x');
    EXPECT_EQ(subresources("<img src='" + url + "'><img src='" + url + "x'>"), References{url});
}

TEST(Page, TensOfThousandsOfReferencesAreEachNamedOnce)
{
    std::string page;
    References wanted;
    for (int number = 0; number < 20000; ++number) {
        wanted.push_back(std::to_string(number));
        page += "<img src='" + wanted.back() + "'><img src='0'>";
    }
    EXPECT_EQ(subresources(page), wanted);
}

TEST(Page, XhtmlWithPrologueIsReadToo)
{
    const std::string page = "<?xml version='1.0' encoding='utf-8'?>\n<!DOCTYPE html PUBLIC "
                             "'-//HbbTV//1.1.1//EN' 'http://www.hbbtv.org/dtd/HbbTV-1.1.1.dtd'>\n"
                             "<html xmlns='http://www.w3.org/1999/xhtml'><head><LINK href='s.css'/>"
                             "</head><body><img src='&amp;.png'/></body></html>";
    EXPECT_EQ(subresources(page), (References{"s.css", "&.png"}));
}

TEST(Page, BrokenAndEmptyPagesHaveWhatCanBeFound)
{
    EXPECT_EQ(subresources(""), References());
    EXPECT_EQ(subresources("no page at all"), References());
    EXPECT_EQ(subresources("<img src='a'><div><p></span><img"), (References{"a"}));
}

TEST(Page, UrlsAreResolvedAgainstTheirPage)
{
    const std::string base = "dvb://20fa.441.6dd0.2a/a/index.html?x#y";
    const std::pair<const char*, const char*> cases[] = {
        {"b.css", "dvb://20fa.441.6dd0.2a/a/b.css"},
        {"../b.css", "dvb://20fa.441.6dd0.2a/b.css"},
        {"/b.css", "dvb://20fa.441.6dd0.2a/b.css"},
        {"?q", "dvb://20fa.441.6dd0.2a/a/index.html?q"},
        {"http://a.example/b", "http://a.example/b"},
        {"//1.2.3.4/b", "dvb://1.2.3.4/b"},
        {"with blank.html", "dvb://20fa.441.6dd0.2a/a/with%20blank.html"},
        {"100%25", "dvb://20fa.441.6dd0.2a/a/100%25"},
    };
    for (const auto& [url, resolved] : cases)
        EXPECT_EQ(resolveURL(base, url), resolved) << url;
}

}  // namespace
}  // namespace receiver
