// What becomes of exceptions where memory may run out.

#include <gtest/gtest.h>
#include <new>
#include <stdexcept>

#include "foundation/out_of_memory.h"

using namespace VestaHbbTV;

TEST(Guarded, AnswersWhatItsBodyAnswers)
{
    EXPECT_EQ(guarded(1, [] { return 2; }), 2);
    bool isRun = false;
    guarded([&isRun] { isRun = true; });
    EXPECT_TRUE(isRun);
}

TEST(Guarded, AnswersOtherwiseWhereMemoryRanOut)
{
    EXPECT_EQ(guarded(1, []() -> int { throw std::bad_alloc(); }), 1);
    EXPECT_NO_THROW(guarded([] { throw std::bad_alloc(); }));
}

TEST(Guarded, LetsTheExceptionsOfOthersPass)
{
    EXPECT_THROW(guarded(1, []() -> int { throw std::runtime_error("a listener's"); }),
                 std::runtime_error);
    EXPECT_THROW(guarded([] { throw std::runtime_error("a listener's"); }), std::runtime_error);
}

TEST(Allocated, IsTheBlockOrThrows)
{
    int block = 0;
    EXPECT_EQ(allocated(&block), &block);
    EXPECT_THROW(allocated(static_cast<int*>(nullptr)), std::bad_alloc);
}
