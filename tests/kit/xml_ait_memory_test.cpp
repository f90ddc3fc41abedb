// What documents cost in memory, hostile ones too.

#include <algorithm>
#include <gtest/gtest.h>
#include <string>

#include "kit/xml_parser.h"
#include "tests/kit/xml_ait_text.h"
#include "tests/support/heap_use.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

constexpr size_t always = size_t{256} * 1024;

/// Looks at the heap while a document is parsed.
class Watcher : public XMLContent {
public:
    void startElement(const XMLName&, const XMLAttributes&, const XMLPlace&) override { look(); }
    void endElement() override { look(); }
    void addText(std::string_view, const XMLPlace&) override { look(); }

    size_t most = 0;

private:
    void look() { most = std::max(most, heapInUse()); }
};

size_t mostWhileParsing(const std::string& document)
{
    Watcher watcher;
    XMLFault fault;
    const size_t before = heapInUse();
    parseXML(document, watcher, fault);
    return watcher.most - std::min(watcher.most, before);
}

size_t sizeOfTable(const std::string& document)
{
    const size_t before = heapInUse();
    const ReadDocument read(document);
    EXPECT_TRUE(read.table) << read.fault.getText();
    return heapInUse() - before;
}

std::string documentOfSize(const std::string& repeatedPart, size_t size)
{
    return "<a>" + repeated(repeatedPart, size / repeatedPart.size()) + "</a>";
}

std::string manyNames(const std::string& before, const std::string& after, int count)
{
    std::string document = "<a>";
    for (int i = 0; i < count; ++i)
        document += before + std::to_string(i) + after;
    return document + "</a>";
}

TEST(XMLAITMemory, OfTheParserIsAtMostThreeTimesTheDocument)
{
    for (const std::string& document :
         {documentOfSize("<b/>", 1000000), documentOfSize("text", 1000000),
          documentOfSize("<b c='d'>e</b>", 100000), manyNames("<e", "/>", 100000),
          manyNames("<b x", "=''/>", 100000), manyNames("<b xmlns:x", "='u'/>", 50000),
          "<a b='" + std::string(1000000, 'x') + "'/>",
          "<a " + std::string(1000000, 'x') + "='1'/>"})
        EXPECT_LT(mostWhileParsing(document), 3 * document.size() + always)
            << document.substr(0, 40);
}

TEST(XMLAITMemory, OfATableIsLessThanTwiceTheDocument)
{
    const std::string smallest =
        "<Application><applicationIdentifier><orgId>1</orgId><appId>1</appId>"
        "</applicationIdentifier><applicationDescriptor><type><OtherApp>"
        "application/vnd.hbbtv.xhtml+xml</OtherApp></type><controlCode>KILL</controlCode>"
        "</applicationDescriptor><applicationTransport xsi:type=\"HTTPTransportType\"><URLBase>"
        "http://a</URLBase></applicationTransport><applicationLocation/></Application>";
    const std::string transports = repeated("<applicationTransport xsi:type=\"HTTPTransportType\">"
                                            "<URLBase>http://a</URLBase></applicationTransport>",
                                            15);
    const std::string boundaries = "<applicationBoundary>" +
                                   repeated("<BoundaryExtension>dvb://1</BoundaryExtension>", 32) +
                                   "</applicationBoundary>";
    const std::string large =
        changed(changed(smallest, "http://a", "http://a/" + std::string(4000, 'b')),
                "<applicationLocation/>",
                "<applicationLocation>" + std::string(4096, 'c') + "</applicationLocation>");
    const std::string full = changed(smallest, "<applicationLocation/>",
                                     transports + boundaries + "<applicationLocation/>");
    for (const std::string& document :
         {documentOf(manyOf(smallest, 256)), documentOf(manyOf(full, 256)),
          documentOf(manyOf(large, 100))})
        EXPECT_LT(sizeOfTable(document), 2 * document.size()) << document.size();
}

}  // namespace
