#include <gtest/gtest.h>

#include "recorder/left_out_queries.h"

using recorder::LeftOutQueries;
using recorder::partsOfText;
using recorder::partsOfUrl;

TEST(LeftOutQueries, AreNumbered)
{
    LeftOutQueries queries;
    EXPECT_EQ(queries.without("http://a/?one", partsOfUrl), "http://a/?~1");
    EXPECT_EQ(queries.without("http://a/?two#top?three", partsOfUrl), "http://a/?~2#~3");
    EXPECT_EQ(queries.without("http://b/c?one#", partsOfUrl), "http://b/c?~1#");
    EXPECT_EQ(queries.without("?a?b", partsOfUrl), "?~4");
    EXPECT_EQ(queries.without("#top", partsOfUrl), "#~5");
}

TEST(LeftOutQueries, AreNamesAndPasswordsToo)
{
    const std::pair<const char*, const char*> cases[] = {
        {"http://me:secret@a/", "http://~1@a/"},
        {"http://me@a", "http://~1@a"},
        {"//me:secret@a/b@c", "//~1@a/b@c"},
        {"http://me:se@cret@a/", "http://~1@a/"},
        {"http:////me:secret@a/", "http:////~1@a/"},
        {"http:\\\\me:secret@a\\", "http:\\\\~1@a\\"},
        {"http://a/http://me:secret@b/", "http://a/http://~1@b/"},
        {"http://@a/", "http://@a/"},
        {"http://a/b@c", "http://a/b@c"},
        {"http://me@a/?me@b#me@c", "http://~1@a/?~2#~3"},
    };
    for (const auto& [url, expected] : cases) {
        LeftOutQueries queries;
        EXPECT_EQ(queries.without(url, partsOfUrl), expected);
    }
}

TEST(LeftOutQueries, LeaveUrlsWithoutThemAlone)
{
    LeftOutQueries queries;
    for (const char* const url :
         {"", "/", "//", "http://", "http://a/", "http://a/?", "http://a/?#"})
        EXPECT_EQ(queries.without(url, partsOfUrl), url);
}

TEST(LeftOutQueries, LeaveTheirOwnNumbersAlone)
{
    LeftOutQueries queries;
    for (const char* const url : {"http://a/?~1", "http://~3@a/?~27#~4"})
        EXPECT_EQ(queries.without(url, partsOfUrl), url);
    EXPECT_EQ(queries.without("http://a/?~", partsOfUrl), "http://a/?~1");
    EXPECT_EQ(queries.without("http://a/?~1x", partsOfUrl), "http://a/?~2");
}

TEST(LeftOutQueries, AreFoundInTexts)
{
    const std::pair<const char*, const char*> cases[] = {
        {"no URL: what? #1 //me@here", "no URL: what? #1 //me@here"},
        {"://", "://"},
        {"http://a/?one", "http://a/?~1"},
        {"see http://a/?one and\thttps://me@b/#two.", "see http://a/?~1 and\thttps://~2@b/#~3"},
        {"{\"url\":\"http://a/?one\",\"next?\":1}", "{\"url\":\"http://a/?~1\",\"next?\":1}"},
        {"<http://a/?one>#2", "<http://a/?~1>#2"},
        {"why? http://a/", "why? http://a/"},
        {"url=http://a/?one,http://b/?two", "url=http://a/?~1"},
    };
    for (const auto& [text, expected] : cases) {
        LeftOutQueries queries;
        EXPECT_EQ(queries.without(text, partsOfText), expected);
    }
}

TEST(LeftOutQueries, GoOnCountingWhereThereAreTooMany)
{
    LeftOutQueries queries;
    for (size_t number = 1; number <= LeftOutQueries::known; ++number)
        queries.without("?" + std::to_string(number), partsOfUrl);
    EXPECT_EQ(queries.without("?1", partsOfUrl), "?~1");
    EXPECT_EQ(queries.without("?another", partsOfUrl), "?~65537");
    EXPECT_EQ(queries.without("?1", partsOfUrl), "?~65538");
}
