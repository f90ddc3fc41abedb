#include <gtest/gtest.h>
#include <string>

#include "kit/xml_fault.h"

using namespace VestaHbbTV;

namespace {

TEST(XMLFault, KeepsTheFirst)
{
    XMLFault fault;
    EXPECT_FALSE(fault.isSet());
    EXPECT_EQ(fault.getStatus(), HBBTV_KIT_XML_AIT_OK);
    fault.set(HBBTV_KIT_XML_AIT_INVALID, {3, 4}, "first");
    fault.set(HBBTV_KIT_XML_AIT_TOO_LARGE, {5, 6}, "second");
    EXPECT_TRUE(fault.isSet());
    EXPECT_EQ(fault.getStatus(), HBBTV_KIT_XML_AIT_INVALID);
    EXPECT_EQ(fault.getPlace().line, 3u);
    EXPECT_EQ(fault.getPlace().column, 4u);
    EXPECT_EQ(fault.getText(), "first");
}

TEST(XMLFault, QuotesPrintableASCIIAndAMarkForEveryOtherCharacter)
{
    EXPECT_EQ(quotation(""), "\"\"");
    EXPECT_EQ(quotation(" ~"), "\" ~\"");
    EXPECT_EQ(quotation("a\tb\nc\x1b[1m\x7f"), "\"a?b?c?[1m?\"");
    EXPECT_EQ(quotation("\xc3\xa4\xe2\x80\xae\xf0\x9f\x93\xbax"), "\"???x\"") << "2, 3 and 4 bytes";
}

TEST(XMLFault, CutsWhatItQuotes)
{
    const std::string forty(40, 'x');
    EXPECT_EQ(quotation(forty), '"' + forty + '"');
    EXPECT_EQ(quotation(forty + 'y'), '"' + forty + "...\"");
    std::string umlauts;
    for (int i = 0; i < 41; ++i)
        umlauts += "\xc3\xa4";
    EXPECT_EQ(quotation(umlauts), '"' + std::string(40, '?') + "...\"");
}

}  // namespace
