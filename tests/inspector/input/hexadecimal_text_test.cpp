#include <gtest/gtest.h>

#include "inspector/input/hexadecimal_text.h"

namespace inspector::test {
namespace {

TEST(HexadecimalText, MayBeWrittenInManyWays)
{
    const std::optional<std::string> expected("\x74\xF0\x0D");
    for (const char* const text : {"74f00d", "74 F0 0d", "0x74,0xf0,0x0d", "74:f0:0d\r\n",
                                   "# a\n74 # b\n f0\t0d", "#\n74f00d#"})
        EXPECT_EQ(bytesOfHexadecimalText(text), expected) << text;
    for (const char* const text :
         {"\xEF\xBB\xBF"
          "74 f0 0d",
          "unsigned char ait[] = {\n 0x74, 0xf0, 0x0d\n};\n",
          "// mine {\nconst uint8_t a[3] = {0x74, 0xF0}; /* } */ x[] = {0x0D};", "{74f00d"})
        EXPECT_EQ(bytesOfHexadecimalText(text), expected) << text;
    for (const char* const text : {"", " ", "7", "74f", "74 f", "7 4", "0x", "zz", "74;f0", "#",
                                   "{}", "{74, zz}", "a[] = 74"})
        EXPECT_FALSE(bytesOfHexadecimalText(text)) << text;
}

TEST(HexadecimalText, MayHaveAColumnOfOffsets)
{
    const std::optional<std::string> expected("abcdefghijklmnopqrst");
    for (const char* const text :
         {"00000000: 61 62 63 64 65 66 67 68 69 6a 6b 6c 6d 6e 6f 70  abcdefghijklmnop\n"
          "00000010: 71 72 73 74                                      qrst\n",
          "00000000: 6162 6364 6566 6768 696a 6b6c 6d6e 6f70  abcdefghijklmnop\r\n"
          "00000010: 7172 7374                                qrst\r\n",
          "00000000  61 62 63 64 65 66 67 68  69 6a 6b 6c 6d 6e 6f 70  |abcdefghijklmnop|\n"
          "00000010  71 72 73 74                                       |qrst|\n"
          "00000014\n",
          "000000 61 62 63 64 65 66 67 68 69 6a 6b 6c 6d 6e 6f 70\n"
          "000010 71 72 73 74\n"
          "000014\n",
          "# od\n 000000 61 62 63 64 65 66 67 68  >abcdefgh<\n\n"
          " 000008 696a6b6c6d6e6f7071727374\n"})
        EXPECT_EQ(bytesOfHexadecimalText(text), expected) << text;
    for (const char* const text :
         {"00000000: 61 62\n00000003: 63", "00000000  61 62  |ab|\n*\n00000020\n",
          "00000000: 61 62\n63 64", "00000000: 6", "00000000: 61 zz"})
        EXPECT_FALSE(bytesOfHexadecimalText(text)) << text;
}

}  // namespace
}  // namespace inspector::test
