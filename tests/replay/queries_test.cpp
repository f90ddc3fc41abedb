#include <gtest/gtest.h>

#include "replay/queries.h"

namespace replay {
namespace {

TEST(Queries, AreTheFirstThatIsMetInTheirPlace)
{
    Queries queries;
    EXPECT_EQ(queries.written("http://a/?x=1", "http://a/?~1"), "http://a/?~1");
    EXPECT_EQ(queries.written("http://b/?x=1#end", "http://b/?~1#end"), "http://b/?~1#end");
    EXPECT_EQ(queries.written("http://a/?x=2", "http://a/?~1"), "http://a/?x=2");
    EXPECT_EQ(queries.written("http://a/?x=2", "http://a/?~2"), "http://a/?~2");
}

TEST(Queries, AreNumbersWhereNothingElseIsKnown)
{
    Queries queries;
    EXPECT_EQ(queries.restored("http://a/?~1#end"), "http://a/?~1#end");
    EXPECT_EQ(queries.written("http://a/?~1", "http://a/?~1"), "http://a/?~1");
}

TEST(Queries, AreGivenBackToTheLibrary)
{
    Queries queries;
    queries.written("http://a/?x=1", "http://a/?~1");
    EXPECT_EQ(queries.restored("http://b/c?~1#end"), "http://b/c?x=1#end");
    EXPECT_EQ(queries.restored("http://b/c?~2"), "http://b/c?~2");
    EXPECT_EQ(queries.restored("http://b/c"), "http://b/c");
}

TEST(Queries, HideNoOtherDifference)
{
    Queries queries;
    for (const char* const expected :
         {"http://other/?~1", "http://a/?~1#end", "http://a/", "", "http://a/?~", "http://a/?~x"})
        EXPECT_EQ(queries.written("http://a/?x=1", expected), "http://a/?x=1") << expected;
    EXPECT_EQ(queries.written("http://a/", "http://a/?~1"), "http://a/");
    EXPECT_EQ(queries.restored("http://a/?~1"), "http://a/?~1") << "nothing was bound";
}

}  // namespace
}  // namespace replay
