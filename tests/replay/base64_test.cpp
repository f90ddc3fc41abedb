#include <gtest/gtest.h>
#include <utility>

#include "recorder/boundary/base64.h"
#include "replay/base64.h"

namespace replay {
namespace {

std::string toBase64(const std::string& bytes)
{
    std::string text;
    recorder::appendBase64(text, bytes.data(), bytes.size());
    return text;
}

TEST(Base64, IsThatOfTheStandard)
{
    const std::pair<const char*, const char*> cases[] = {{"", ""},
                                                         {"f", "Zg=="},
                                                         {"fo", "Zm8="},
                                                         {"foo", "Zm9v"},
                                                         {"foob", "Zm9vYg=="},
                                                         {"fooba", "Zm9vYmE="},
                                                         {"foobar", "Zm9vYmFy"}};
    for (const auto& [bytes, text] : cases) {
        EXPECT_EQ(toBase64(bytes), text);
        EXPECT_EQ(fromBase64(text), bytes);
    }
}

TEST(Base64, HoldsEveryByte)
{
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte)
        bytes += static_cast<char>(byte);
    EXPECT_EQ(fromBase64(toBase64(bytes)), bytes);
}

TEST(Base64, RefusesWhatIsNone)
{
    for (const char* const text : {"Z", "Zg=", "Zg", "Z===", "====", "Zg==Zg==", "Z-==", "Zm 9"})
        EXPECT_FALSE(fromBase64(text)) << text;
}

}  // namespace
}  // namespace replay
