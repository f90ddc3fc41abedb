// Memory runs out in every allocation of the kit's functions, the parser's included.

#include <string>

#include "lifecycle/window.h"
#include "tests/kit/xml_ait_text.h"
#include "tests/memory/failing_memory.h"
#include "tests/memory/tight_library.h"
#include "tests/support/counted_memory.h"
#include "vesta_hbbtv_kit.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

constexpr long endless = 5000;

HBBTV_KitXMLAITResult load(const std::string& document)
{
    return hbbtv_kit_load_xml_ait(broadcastWindow(), document.data(), document.size(),
                                  "http://a.example/a/list/that/no/string/holds/in/place/ait.xml");
}

/// Two applications of which no text is short, relative URLs and a carousel among them.
std::string longDocument()
{
    std::string text = changed(applicationText, ">http://a.example/app/<",
                               ">a/base/that/no/string/holds/in/place/<");
    text = changed(text, "        <applicationLocation>",
                   carouselText + "        <applicationLocation>");
    text = changed(text, ">Name<", ">a name that no string holds in place either<");
    return documentOf(text + changed(text, "<appId>2<", "<appId>3<"));
}

class KitOutOfMemory : public TightLibraryTest {
protected:
    /// Fails each allocation in turn until none is left to fail.
    void failEach(const std::string& document, bool fromThenOn, int otherwise)
    {
        long number = 1;
        for (long failures = 1; failures > 0; ++number) {
            ASSERT_LT(number, endless);
            start();
            const size_t beforeInC = outstandingBlocks();
            const long before = FailingMemory::blocksInUse();
            FailingMemory::fail(number, fromThenOn);
            const HBBTV_KitXMLAITResult result = load(document);
            failures = FailingMemory::stop();
            const long after = FailingMemory::blocksInUse();
            EXPECT_EQ(outstandingBlocks(), beforeInC) << "allocation " << number;
            if (failures > 0) {
                EXPECT_EQ(result.status, HBBTV_KIT_XML_AIT_OUT_OF_MEMORY)
                    << "allocation " << number;
                EXPECT_STREQ(result.text, "out of memory");
                EXPECT_EQ(after, before) << "allocation " << number;
                EXPECT_FALSE(vesta_hbbtv_tick()) << "nothing is queued";
            } else {
                EXPECT_EQ(result.status, otherwise);
            }
            vesta_hbbtv_shutdown();
        }
        EXPECT_GT(number, 20) << "it is the kit that allocates";
    }
};

TEST_F(KitOutOfMemory, IsAnswered)
{
    failEach(longDocument(), false, HBBTV_KIT_XML_AIT_OK);
    failEach(longDocument(), true, HBBTV_KIT_XML_AIT_OK);
    expectUsable();
}

TEST_F(KitOutOfMemory, IsAnsweredInTheMidstOfAFault)
{
    failEach(changed(longDocument(), "index.html", "http://other.example/"), false,
             HBBTV_KIT_XML_AIT_INVALID);
    failEach(longDocument() + "<", false, HBBTV_KIT_XML_AIT_NOT_WELL_FORMED);
    expectUsable();
}

TEST_F(KitOutOfMemory, IsALineOfTheLog)
{
    const std::string document = longDocument();
    countReports();
    start();
    FailingMemory::fail(1, false);
    load(document);
    EXPECT_EQ(FailingMemory::stop(), 1);
    EXPECT_EQ(reports(), 1);
}

TEST_F(KitOutOfMemory, IsOverWhenThereIsSomeAgain)
{
    const std::string document = longDocument();
    start();
    FailingMemory::fail(10, false);
    EXPECT_EQ(load(document).status, HBBTV_KIT_XML_AIT_OUT_OF_MEMORY);
    EXPECT_EQ(FailingMemory::stop(), 1);
    EXPECT_EQ(load(document).status, HBBTV_KIT_XML_AIT_OK);
    tickAll();
    EXPECT_NE(running(), nullptr);
}

}  // namespace
