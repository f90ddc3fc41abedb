#include <gtest/gtest.h>

#include "recorder/left_out_queries.h"

using recorder::LeftOutQueries;

TEST(LeftOutQueries, AreNumberedUpToTheFragment)
{
    LeftOutQueries queries;
    EXPECT_EQ(queries.without("http://a/?one"), "http://a/?~1");
    EXPECT_EQ(queries.without("http://a/?two#top?three"), "http://a/?~2#top?three");
    EXPECT_EQ(queries.without("http://b/c?one#"), "http://b/c?~1#");
    EXPECT_EQ(queries.without("?a?b"), "?~3");
}

TEST(LeftOutQueries, LeaveUrlsWithoutAQueryAlone)
{
    LeftOutQueries queries;
    for (const char* const url : {"", "http://a/", "http://a/?", "http://a/?#x", "http://a/#x?y"})
        EXPECT_EQ(queries.without(url), url);
}

TEST(LeftOutQueries, LeaveTheirOwnNumbersAlone)
{
    LeftOutQueries queries;
    for (const char* const url : {"http://a/?~1", "http://a/?~27#x"})
        EXPECT_EQ(queries.without(url), url);
    EXPECT_EQ(queries.without("http://a/?~"), "http://a/?~1");
    EXPECT_EQ(queries.without("http://a/?~1x"), "http://a/?~2");
}

TEST(LeftOutQueries, GoOnCountingWhereThereAreTooMany)
{
    LeftOutQueries queries;
    for (size_t number = 1; number <= LeftOutQueries::known; ++number)
        queries.without("?" + std::to_string(number));
    EXPECT_EQ(queries.without("?1"), "?~1");
    EXPECT_EQ(queries.without("?another"), "?~65537");
    EXPECT_EQ(queries.without("?1"), "?~65538");
}
