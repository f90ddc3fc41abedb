#include <gtest/gtest.h>
#include <tuple>

#include "receiver/console/words.h"

namespace receiver {
namespace {

TEST(Words, AreSplitAtBlanksOutsideQuotations)
{
    const std::pair<const char*, Words> cases[] = {
        {"", {}},
        {"  \t \r", {}},
        {"# a comment", {}},
        {"zap 1", {"zap", "1"}},
        {"  zap\t1 \r", {"zap", "1"}},
        {"zap \"Das Erste HD\"", {"zap", "Das Erste HD"}},
        {"zap Das\" \"Erste", {"zap", "Das Erste"}},
        {"say \"\"", {"say", ""}},
        {"zap 1 # the first", {"zap", "1"}},
        {"load page.html#part", {"load", "page.html#part"}},
        {"say \"# none\"", {"say", "# none"}},
    };
    for (const auto& [line, words] : cases)
        EXPECT_EQ(splitWords(line), words) << line;
}

TEST(Words, WantTheEndOfAQuotation)
{
    EXPECT_FALSE(splitWords("say \"never ends"));
    EXPECT_FALSE(splitWords("\""));
}

TEST(Words, WholeNumbersAreDecimalOrHexadecimalAndNotTooLarge)
{
    EXPECT_EQ(wholeNumber("0"), 0u);
    EXPECT_EQ(wholeNumber("010"), 10u);
    EXPECT_EQ(wholeNumber("0x6Dd0"), 0x6DD0u);
    EXPECT_EQ(wholeNumber("4294967295"), 0xFFFFFFFFu);
    EXPECT_EQ(wholeNumber("65535", 0xFFFF), 65535u);
    for (const char* const text : {"", "x", "0x", "1.5", "-1", "+1", " 1", "1 ", "4294967296",
                                   "0x1ffffffff", "99999999999999999999", "0x0x1"})
        EXPECT_FALSE(wholeNumber(text)) << text;
    EXPECT_FALSE(wholeNumber("65536", 0xFFFF));
}

TEST(Words, PositiveNumbersMayHaveAFraction)
{
    EXPECT_EQ(positiveNumber("0.5"), 0.5);
    EXPECT_EQ(positiveNumber("100"), 100.0);
    for (const char* const text :
         {"", "0", "0.0", "-1", "1e3", "nan", "inf", "0x10", "1.2.3", ".", "1000000000"})
        EXPECT_FALSE(positiveNumber(text)) << text;
}

TEST(Words, IdsAreTwoHexadecimalNumbers)
{
    const std::optional<Ids> ids = idsFrom("a.2A01");
    ASSERT_TRUE(ids);
    EXPECT_EQ(ids->organisationId, 0x0Au);
    EXPECT_EQ(ids->applicationId, 0x2A01u);
    EXPECT_EQ(idsFrom("ffffffff.ffff")->organisationId, 0xFFFFFFFFu);
    for (const char* const text : {"", "a", ".", "a.", ".1", "a.10000", "100000000.1", "a.1.2",
                                   "g.1", "0xa.1", "http://a.b"})
        EXPECT_FALSE(idsFrom(text)) << text;
}

TEST(Words, KeySetsAreNamesOrANumber)
{
    EXPECT_EQ(keySetFrom("RED"), 0x1u);
    EXPECT_EQ(keySetFrom("red+GREEN+Navigation"), 0x13u);
    EXPECT_EQ(keySetFrom("YELLOW+BLUE+VCR+SCROLL+INFO+NUMERIC+ALPHA"), 0x3ECu);
    EXPECT_EQ(keySetFrom("0x3ff"), 0x3FFu);
    EXPECT_EQ(keySetFrom("0"), 0u);
    for (const char* const text : {"", "+", "PINK", "RED+PINK", "RED,GREEN", "0x80000000"})
        EXPECT_FALSE(keySetFrom(text)) << text;
}

TEST(Words, SwitchesAreOnOrOff)
{
    EXPECT_EQ(switchFrom("on"), true);
    EXPECT_EQ(switchFrom("off"), false);
    for (const char* const text : {"", "ON", "yes", "1"})
        EXPECT_FALSE(switchFrom(text)) << text;
}

}  // namespace
}  // namespace receiver
