#include <gtest/gtest.h>
#include <string>
#include <tuple>
#include <vector>

#include "signalling/hbbtv_url.h"
#include "tests/support/fake_browser.h"
#include "tests/support/journal.h"

namespace VestaHbbTV {
namespace {

using vesta::test::FakeBrowser;
using vesta::test::Journal;

class HbbTVURLResolve : public testing::Test {
protected:
    void SetUp() override
    {
        Journal::instance().clear();
        browser().reset();
        browser().journalResolving = true;
    }

    void TearDown() override
    {
        browser().reset();
        Journal::instance().clear();
    }

    static FakeBrowser& browser() { return FakeBrowser::instance(); }

    static std::vector<std::string> conversation() { return Journal::instance().take(); }
};

TEST_F(HbbTVURLResolve, RelativeDvbTakesTheBaseUpToItsLastSlashInPlaceOfItsScheme)
{
    const std::tuple<const char*, const char*, const char*> cases[] = {
        // base, URL, resolved
        {"dvb://1.2.3.4/dir/index.html", "dvb:/page2.html", "dvb://1.2.3.4/dir/page2.html"},
        {"dvb://1.2.3.4/dir/", "dvb:/page2.html", "dvb://1.2.3.4/dir/page2.html"},
        {"dvb://1.2.3.4", "dvb:/page2.html", "dvb://page2.html"},
        {"dvb://1.2.3.4/index.html", "dvb:page2.html", "dvb://1.2.3.4page2.html"},
        {"dvb://1.2.3.4/index.html", "dvb:", "dvb://1.2.3.4"},
        {"http://a.b/c/d", "dvb:/x/y", "http://a.b/c/x/y"},
        {"/x", "dvb:/y", "/y"},
        {"dvb://1.2.3/a?b/c#d/e", "dvb:/x", "dvb://1.2.3/x"},
        {"dvb://1.2.3/a%2Fb", "dvb:/x", "dvb://1.2.3/a/x"},
        // no slash in the base
        {"dvb:index.html", "dvb:/x", "dvb:/x"},
        {"", "dvb:/x", "dvb:/x"},
        // absolute, wherever "dvb://" stands
        {"dvb://9.9.9/a/b", "dvb://1.2.3/x", "dvb://1.2.3/x"},
        {"dvb://9.9.9/a/b", "dvb://", "dvb://"},
        {"dvb://9.9.9/a/b", "dvb:/x/dvb://y", "dvb:/x/dvb://y"},
        {"dvb://9.9.9/a/b", "dvb:dvb%3A//y", "dvb:dvb://y"},
    };
    for (const auto& [base, text, resolved] : cases) {
        HbbTVURL url{std::string(text)};
        EXPECT_TRUE(url.resolveRelativeUrl(HbbTVURL(base)));
        EXPECT_EQ(url.getURL(), resolved) << text << " against " << base;
        EXPECT_EQ(url.getType(), HbbTVURL::dvbURL);
    }
    EXPECT_TRUE(conversation().empty()) << "the browser is not asked";
}

TEST_F(HbbTVURLResolve, DvbTypeAloneDecidesThatFourCharactersAreReplaced)
{
    const HbbTVURL base("dvb://1.2.3/a/b");
    const std::tuple<const char*, const char*> cases[] = {
        {"abcdef", "dvb://1.2.3/aef"}, {"abcd", "dvb://1.2.3/a"},
        {"abc", "dvb://1.2.3/a"},      {"", "dvb://1.2.3/a"},
        {"dvb", "dvb://1.2.3/a"},      {"http://x/y", "dvb://1.2.3/a://x/y"},
    };
    for (const auto& [text, resolved] : cases) {
        HbbTVDVBURL url{std::string(text)};
        EXPECT_TRUE(url.resolveRelativeUrl(base));
        EXPECT_EQ(url.getURL(), resolved) << text;
        EXPECT_EQ(url.getType(), HbbTVURL::dvbURL);
    }
    HbbTVDVBURL currentAIT("dvb://current.ait/1.2");
    EXPECT_TRUE(currentAIT.resolveRelativeUrl(base));
    EXPECT_EQ(currentAIT.getURL(), "dvb://current.ait/1.2");
    EXPECT_TRUE(conversation().empty());
}

TEST_F(HbbTVURLResolve, DvbResolvesAgainstItself)
{
    HbbTVURL url("dvb:/a-directory-with-a-name-too-long-to-be-kept-inside-a-string/b");
    EXPECT_TRUE(url.resolveRelativeUrl(url));
    EXPECT_EQ(url.getURL(), "dvb:/a-directory-with-a-name-too-long-to-be-kept-inside-a-string"
                            "/a-directory-with-a-name-too-long-to-be-kept-inside-a-string/b");
}

TEST_F(HbbTVURLResolve, BrowserResolvesAllOtherTypesFromTheAddressesAlone)
{
    HbbTVURL page("pa%67e.html?x=1#top");
    EXPECT_TRUE(page.resolveRelativeUrl(HbbTVURL("http://a.b/c/index.html?y=2#end")));
    EXPECT_EQ(page.getURL(), "http://a.b/c/page.html");
    EXPECT_EQ(page.getFullUrl(), "http://a.b/c/page.html?x=1#top");

    HbbTVURL currentAIT("dvb://current.ait/1.2");
    EXPECT_TRUE(currentAIT.resolveRelativeUrl(HbbTVURL("http://a.b/c")));
    EXPECT_EQ(currentAIT.getURL(), "dvb://current.ait/1.2");

    HbbTVURL absolute("https://d.e/f");
    EXPECT_TRUE(absolute.resolveRelativeUrl(HbbTVURL("")));
    EXPECT_EQ(absolute.getURL(), "https://d.e/f");

    EXPECT_EQ(conversation(), std::vector<std::string>({
                                  "ve_resolve_relative_url(http://a.b/c/index.html, page.html)",
                                  "ve_resolve_relative_url(http://a.b/c, dvb://current.ait/1.2)",
                                  "ve_resolve_relative_url(, https://d.e/f)",
                              }));
}

TEST_F(HbbTVURLResolve, BrowserIsAskedForAForcedCurrentAITType)
{
    HbbTVCurrentAITDVBURL url("dvb:/x");
    EXPECT_TRUE(url.resolveRelativeUrl(HbbTVURL("dvb://1.2.3/a/b")));
    EXPECT_EQ(conversation(),
              std::vector<std::string>({"ve_resolve_relative_url(dvb://1.2.3/a/b, dvb:/x)"}));
}

TEST_F(HbbTVURLResolve, TypeAndIdsStayWhenTheAddressChanges)
{
    browser().resolve = [](const std::string&, const std::string&) { return "dvb://1.2.3/x"; };
    HbbTVURL other("x?y#z");
    EXPECT_TRUE(other.resolveRelativeUrl(HbbTVURL("dvb://1.2.3/")));
    EXPECT_EQ(other.getFullUrl(), "dvb://1.2.3/x?y#z");
    EXPECT_EQ(other.getType(), HbbTVURL::otherURL);

    HbbTVCurrentAITDVBURL currentAIT("dvb://current.ait/1.2");
    EXPECT_TRUE(currentAIT.resolveRelativeUrl(other));
    EXPECT_EQ(currentAIT.getURL(), "dvb://1.2.3/x");
    EXPECT_EQ(currentAIT.getType(), HbbTVURL::currentAITDVBURL);
    EXPECT_TRUE(currentAIT.isValid());
    EXPECT_EQ(currentAIT.getApplicationId(), 2u);
}

TEST_F(HbbTVURLResolve, IsTakenAsTheBrowserGivesItWithoutDecodingOrSplitting)
{
    browser().resolve = [](const std::string&, const std::string&) { return "http://a/%20?b#c"; };
    HbbTVURL url("x");
    EXPECT_TRUE(url.resolveRelativeUrl(HbbTVURL("http://a/")));
    EXPECT_EQ(url.getURL(), "http://a/%20?b#c");
    EXPECT_EQ(url.getParameters(), "");
    EXPECT_EQ(url.getAnchor(), "");
}

TEST_F(HbbTVURLResolve, OutlivesTheBrowsersString)
{
    HbbTVURL first("first"), second("second");
    EXPECT_TRUE(first.resolveRelativeUrl(HbbTVURL("http://a/")));
    EXPECT_TRUE(second.resolveRelativeUrl(HbbTVURL("http://a/")));
    EXPECT_EQ(first.getURL(), "http://a/first");
    EXPECT_EQ(second.getURL(), "http://a/second");
}

TEST_F(HbbTVURLResolve, ResolvesAgainstItselfThroughTheBrowser)
{
    HbbTVURL url("a/b");
    EXPECT_TRUE(url.resolveRelativeUrl(url));
    EXPECT_EQ(url.getURL(), "a/a/b");
}

TEST_F(HbbTVURLResolve, FailingBrowserIsReportedAndChangesNothing)
{
    for (const int status : {1, -1, 3}) {
        browser().results["ve_resolve_relative_url"] = status;
        for (const char* text : {"x?y#z", "dvb://current.ait/1.2"}) {
            HbbTVURL url{std::string(text)};
            EXPECT_FALSE(url.resolveRelativeUrl(HbbTVURL("http://a.b/c"))) << text << status;
            EXPECT_EQ(url.getFullUrl(), text);
        }
        browser().resolveToNull = true;
    }
    HbbTVURL dvb("dvb:/x");
    EXPECT_TRUE(dvb.resolveRelativeUrl(HbbTVURL("dvb://1.2.3/"))) << "does not need the browser";
}

TEST_F(HbbTVURLResolve, BrowserWithoutAResultChangesNothingAndIsNoFailure)
{
    browser().resolveToNull = true;
    HbbTVURL url("x?y#z");
    EXPECT_TRUE(url.resolveRelativeUrl(HbbTVURL("http://a.b/c")));
    EXPECT_EQ(url.getFullUrl(), "x?y#z");
}

TEST_F(HbbTVURLResolve, EmptyResultIsAResult)
{
    browser().resolve = [](const std::string&, const std::string&) { return ""; };
    HbbTVURL url("x?y#z");
    EXPECT_TRUE(url.resolveRelativeUrl(HbbTVURL("http://a.b/c")));
    EXPECT_EQ(url.getFullUrl(), "?y#z");
}

}  // namespace
}  // namespace VestaHbbTV
