#include <gtest/gtest.h>
#include <string>

#include "receiver/text/printable.h"

namespace receiver {
namespace {

using namespace std::string_literals;

const std::string sign = replacementCharacter;

TEST(Printable, TextStaysAsItIs)
{
    for (const char* const text :
         {"", "plain", "Café Ünïcode", "日本語", "\xF0\x9F\x93\xBA", "~ }"})
        EXPECT_EQ(printable(text), text);
}

TEST(Printable, WhatATerminalObeysIsReplaced)
{
    const std::pair<std::string, std::string> cases[] = {
        {"\x1B]0;title\x07", sign + "]0;title" + sign},
        {"a\nb\rc\td\0e"s, "a" + sign + "b" + sign + "c" + sign + "d" + sign + "e"},
        {"\x7F", sign},
        {"\xC2\x9B"
         "2J",
         sign + "2J"},  // C1 as UTF-8
        {"\x9B"
         "2J",
         sign + "2J"},  // and as a byte
        {"\xC2\x80\xC2\x9F\xC2\xA0", sign + sign + "\xC2\xA0"},
        {"\xE2\x80\xAE"
         "gpj",
         sign + "gpj"},                             // right-to-left override
        {"\xE2\x80\xA8\xE2\x81\xA6", sign + sign},  // line separator, isolate
        {"\xE2\x80\xA7\xE2\x80\xAF", "\xE2\x80\xA7\xE2\x80\xAF"},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(printable(text), expected);
    for (char control = 0; control < 0x20; ++control)
        EXPECT_EQ(printable(std::string(1, control)), sign) << int(control);
}

TEST(Printable, MarksThatNobodySeesAreReplaced)
{
    const char* const marks[] = {"\xD8\x9C",     "\xE2\x80\x8E", "\xE2\x80\x8F", "\xE2\x81\xAA",
                                 "\xE2\x81\xAF", "\xEF\xBB\xBF", "\xEF\xBF\xB9", "\xEF\xBF\xBB"};
    for (const char* const mark : marks) {
        EXPECT_EQ(printable(mark), sign);
        EXPECT_EQ(printableJson(mark).rfind("\\u", 0), 0u) << mark;
    }
    const std::string neighbours =
        "\xD8\x9B\xD8\x9D\xE2\x80\x8D\xE2\x80\x90\xE2\x81\xB0\xEF\xBF\xBC";
    EXPECT_EQ(printable(neighbours), neighbours);
}

TEST(Printable, BytesThatAreNoUtf8AreReplacedOneByOne)
{
    const std::pair<std::string, std::string> cases[] = {
        {"\xFF"
         "A",
         sign + "A"},
        {"\xC3", sign},
        {"\xC3"
         "A",
         sign + "A"},
        {"\xE2\x82", sign + sign},
        {"\xC0\x9B", sign + sign},                        // ESC in a form too long
        {"\xE0\x82\x9B", sign + sign + sign},             // C1 in a form too long
        {"\xED\xA0\x80", sign + sign + sign},             // a surrogate
        {"\xF4\x90\x80\x80", sign + sign + sign + sign},  // beyond Unicode
        {"\xF5\x80\x80\x80", sign + sign + sign + sign},
    };
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(printable(text), expected);
}

TEST(Printable, WhatIsPrintableStaysSo)
{
    const std::string once = printable("\x1B[31m\xC2\x9B\xFFred\n");
    EXPECT_EQ(printable(once), once);
}

TEST(Printable, JsonGetsEscapes)
{
    EXPECT_EQ(printableJson("{\"a\":\"\x7F\xC2\x9B\xC3\xA9\xE2\x80\xAE\"}"),
              "{\"a\":\"\\u007f\\u009b\xC3\xA9\\u202e\"}");
}

TEST(Printable, OtherBytesThanTextAreLeftOut)
{
    EXPECT_EQ(withoutOtherBytes("plain, \xC3\xA4 and\n"), "plain, \xC3\xA4 and\n");
    EXPECT_EQ(withoutOtherBytes("\x80"
                                "a\xC3"
                                "b\xED\xA0\x80"
                                "c\xF0\x9F"),
              "abc");
    EXPECT_EQ(withoutOtherBytes(std::string("a\0b", 3)), "ab");
    EXPECT_EQ(withoutOtherBytes(""), "");
}

}  // namespace
}  // namespace receiver
