#include <gtest/gtest.h>

#include "replay/queries.h"

namespace replay {
namespace {

using recorder::partsOfText;
using recorder::partsOfUrl;

TEST(Queries, AreTheFirstThatIsMetInTheirPlace)
{
    Queries queries;
    EXPECT_EQ(queries.written("http://a/?x=1", "http://a/?~1", partsOfUrl), "http://a/?~1");
    EXPECT_EQ(queries.written("http://b/?x=1#end", "http://b/?~1#end", partsOfUrl),
              "http://b/?~1#end");
    EXPECT_EQ(queries.written("http://a/?x=2", "http://a/?~1", partsOfUrl), "http://a/?x=2");
    EXPECT_EQ(queries.written("http://a/?x=2", "http://a/?~2", partsOfUrl), "http://a/?~2");
}

TEST(Queries, AreNumbersWhereNothingElseIsKnown)
{
    Queries queries;
    EXPECT_EQ(queries.restored("http://a/?~1#end", partsOfUrl), "http://a/?~1#end");
    EXPECT_EQ(queries.written("http://a/?~1", "http://a/?~1", partsOfUrl), "http://a/?~1");
}

TEST(Queries, AreGivenBackToTheLibrary)
{
    Queries queries;
    queries.written("http://a/?x=1", "http://a/?~1", partsOfUrl);
    EXPECT_EQ(queries.restored("http://b/c?~1#end", partsOfUrl), "http://b/c?x=1#end");
    EXPECT_EQ(queries.restored("http://b/c?~2", partsOfUrl), "http://b/c?~2");
    EXPECT_EQ(queries.restored("http://b/c", partsOfUrl), "http://b/c");
}

TEST(Queries, AreNamesFragmentsAndUrlsInTextsToo)
{
    Queries queries;
    EXPECT_EQ(queries.written("http://me@a/?x#y", "http://~1@a/?~2#~3", partsOfUrl),
              "http://~1@a/?~2#~3");
    EXPECT_EQ(queries.written("see http://b/#x, me@b", "see http://b/#~4 you@b", partsOfText),
              "see http://b/#x, me@b");
    EXPECT_EQ(queries.written("see http://b/?x me@b", "see http://b/?~2 me@b", partsOfText),
              "see http://b/?~2 me@b");
    EXPECT_EQ(queries.restored("at http://~1@b/#~3 ~2", partsOfText), "at http://me@b/#y ~2");
    EXPECT_EQ(queries.restored("~1", partsOfUrl), "~1");
}

TEST(Queries, HideNoOtherDifference)
{
    Queries queries;
    for (const char* const expected :
         {"http://other/?~1", "http://a/?~1#end", "http://a/", "", "http://a/?~", "http://a/?~x"})
        EXPECT_EQ(queries.written("http://a/?x=1", expected, partsOfUrl), "http://a/?x=1")
            << expected;
    EXPECT_EQ(queries.written("http://a/", "http://a/?~1", partsOfUrl), "http://a/");
    EXPECT_EQ(queries.restored("http://a/?~1", partsOfUrl), "http://a/?~1") << "nothing was bound";
}

}  // namespace
}  // namespace replay
