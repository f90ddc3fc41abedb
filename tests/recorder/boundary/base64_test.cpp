#include <gtest/gtest.h>

#include "recorder/boundary/base64.h"

namespace {

std::string encoded(const std::string& bytes)
{
    std::string text = "before ";
    recorder::appendBase64(text, bytes.data(), bytes.size());
    return text.substr(7);
}

}  // namespace

// RFC 4648, 10.
TEST(Base64, IsThatOfTheStandard)
{
    EXPECT_EQ(encoded(""), "");
    EXPECT_EQ(encoded("f"), "Zg==");
    EXPECT_EQ(encoded("fo"), "Zm8=");
    EXPECT_EQ(encoded("foo"), "Zm9v");
    EXPECT_EQ(encoded("foob"), "Zm9vYg==");
    EXPECT_EQ(encoded("fooba"), "Zm9vYmE=");
    EXPECT_EQ(encoded("foobar"), "Zm9vYmFy");
    EXPECT_EQ(encoded("\xFB\xEF\xFF"), "++//");
}
