#include <cstddef>
#include <gtest/gtest.h>
#include <string>
#include <tuple>

#include "receiver/text/dvb_text.h"

namespace receiver {
namespace {

using namespace std::string_literals;

struct Case {
    const char* why;
    std::string text;
    std::string expected;
};

TEST(DvbText, IsDecodedByTheTableThatItsFirstBytesSelect)
{
    const Case cases[] = {
        {"ISO 8859-5", "\x01\xBC\xBE\xC1\xBA\xB2\xB0"s, "МОСКВА"},
        {"ISO 8859-6", "\x02\xC7\xE4"s, "ال"},
        {"ISO 8859-7", "\x03\xC5\xD1\xD4"s, "ΕΡΤ"},
        {"ISO 8859-8", "\x04\xEB\xE0\xEF"s, "כאן"},
        {"ISO 8859-9", "\x05\xDDzmir"s, "İzmir"},
        {"ISO 8859-10", "\x06\xAFL\xAC"s, "ŊLŽ"},
        {"ISO 8859-11", "\x07\xE4\xB7\xC2"s, "ไทย"},
        {"ISO 8859-13", "\x09\xD0V"s, "ŠV"},
        {"ISO 8859-14", "\x0A\xDE"s, "Ŷ"},
        {"ISO 8859-15", "\x0B\xA4"s, "€"},
        {"ISO 8859-1 by its number", "\x10\x00\x01"s + "F\xE9", "Fé"},
        {"ISO 8859-2 by its number", "\x10\x00\x02\xA3\xF3"s, "Łó"},
        {"ISO 8859-15 by its number", "\x10\x00\x0F\xA4"s, "€"},
        {"ISO/IEC 10646", "\x11\x00T\x20\xAC\x65\x87"s, "T€文"},
        {"KS X 1001", "\x12\xC7\xD1KBS"s, "한KBS"},
        {"GB 2312", "\x13\xD6\xD0\xD1\xEB 1"s, "中央 1"},
        {"Big5", "\x14\xA4\xA4TV"s, "中TV"},
        {"UTF-8", "\x15"s + "F\xC3\xA9", "Fé"},
        {"plain", "Das Erste", "Das Erste"},
        {"empty", "", ""},
    };
    for (const auto& [why, text, expected] : cases)
        EXPECT_EQ(decodeDvbText(text), expected) << why;
}

TEST(DvbText, WithoutSelectorIsISO6937WithAEuroSign)
{
    const Case cases[] = {
        {"accents before their letters", "Caf\xC2\x65 \xC8U\xC8o", "Café Üö"},
        {"letters and signs of its own", "\xE1\xE9\xFB\xAA\xBA", "ÆØß“”"},
        {"the euro sign, which ISO 6937 lacks", "\xA4 5\xA4", "€ 5€"},
        {"an accent that the table has for no such letter",
         "\xC7"
         "Ab",
         "A\xCC\x87"
         "b"},
        {"an accent before no letter",
         "\xC1"
         "1",
         "\xEF\xBF\xBD"
         "1"},
        {"an accent at the end", "A\xC2", "A\xEF\xBF\xBD"},
        {"a byte of nothing",
         "A\xD9"
         "B",
         "A\xEF\xBF\xBD"
         "B"},
    };
    for (const auto& [why, text, expected] : cases)
        EXPECT_EQ(decodeDvbText(text), expected) << why;
}

TEST(DvbText, ControlCodesAreObeyedOrLeftOut)
{
    const Case cases[] = {
        {"emphasis",
         "\x86"
         "A\x87",
         "A"},
        {"a line break", "one\x8Atwo", "one two"},
        {"ASCII's, of which there should be none", "A\x1B[2J\x07\x7F\nB", "A[2J B"},
        {"in an ISO 8859 part",
         "\x05"
         "A\x8A\x86"
         "B",
         "A B"},
        {"in ISO/IEC 10646",
         "\x11\x00"
         "A\xE0\x8A\xE0\x86\x00"
         "B\x00\x9B"s,
         "A B"},
        {"in UTF-8",
         "\x15"
         "A\xEE\x82\x8A\xEE\x82\x86\xC2\x9B"
         "B",
         "A B"},
        {"in KS X 1001", "\x12\xC7\xD1\xE0\x8A\xE0\x87K", "한 K"},
        {"in GB 2312", "\x13\xD6\xD0\xE0\x8A\xD6\xD0\x86", "中 中"},
        {"in Big5", "\x14\xA4\xA4\xE0\x8A\xA4\xA4", "中 中"},
    };
    for (const auto& [why, text, expected] : cases)
        EXPECT_EQ(decodeDvbText(text), expected) << why;
}

TEST(DvbText, WhatCannotBeDecodedLeavesTheRest)
{
    const Case cases[] = {
        {"UTF-8 with a wrong byte",
         "\x15"
         "A\xFF"
         "B",
         "A\xEF\xBF\xBD"
         "B"},
        {"UTF-8 that looks like a control code",
         "\x15"
         "A\x9B"
         "B",
         "A\xEF\xBF\xBD"
         "B"},
        {"UTF-8 cut short",
         "\x15"
         "A\xC3",
         "A\xEF\xBF\xBD"},
        {"half a surrogate",
         "\x11\xD8\x00\x00"
         "A"s,
         "\xEF\xBF\xBD"
         "A"},
        {"half a character",
         "\x11\x00"
         "A\x00"s,
         "A\xEF\xBF\xBD"},
        {"half a Korean character", "\x12\xC7\xD1\xC7", "한\xEF\xBF\xBD"},
        {"a hole of ISO 8859-8",
         "\x04\xA1"
         "A",
         "\xEF\xBF\xBD"
         "A"},
        {"a part of ISO 8859 that does not exist",
         "\x08"
         "A\xE9",
         "A\xEF\xBF\xBD"},
        {"the same by its number",
         "\x10\x00\x0C"
         "A\xE9"s,
         "A\xEF\xBF\xBD"},
        {"a number of no part",
         "\x10\x01\x01"
         "A\xE9"s,
         "A\xEF\xBF\xBD"},
        {"a reserved selector",
         "\x16"
         "A\xE9",
         "A\xEF\xBF\xBD"},
        {"a table of somebody's own",
         "\x1F\x05"
         "A\xE9",
         "A\xEF\xBF\xBD"},
        {"selectors alone", "\x10", ""},
        {"selectors alone, two bytes", "\x10\x00"s, ""},
        {"selectors alone, three bytes", "\x10\x00\x01"s, ""},
        {"a selector alone", "\x1F", ""},
        {"zeros", "\0\0"s, ""},
    };
    for (const auto& [why, text, expected] : cases)
        EXPECT_EQ(decodeDvbText(text), expected) << why;
}

TEST(DvbText, EveryPairOfBytesBecomesOneLine)
{
    for (unsigned selector = 0; selector < 0x21; ++selector) {
        for (unsigned pair = 0; pair < 0x10000; pair += 7) {
            const char bytes[] = {char(selector), char(pair >> 8), char(pair & 0xFF), 'A'};
            const std::string decoded = decodeDvbText(std::string(bytes, sizeof(bytes)));
            EXPECT_EQ(decoded.find_first_of("\n\r\x1B\x7F"s), std::string::npos)
                << selector << " " << pair;
        }
    }
}

}  // namespace
}  // namespace receiver
