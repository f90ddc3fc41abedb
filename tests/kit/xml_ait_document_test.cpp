// The document around its applications: its namespace, what is skipped, and its limits.

#include <array>
#include <gtest/gtest.h>
#include <string>

#include "tests/kit/xml_ait_text.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

constexpr auto invalid = HBBTV_KIT_XML_AIT_INVALID;
constexpr auto notWellFormed = HBBTV_KIT_XML_AIT_NOT_WELL_FORMED;
constexpr auto tooLarge = HBBTV_KIT_XML_AIT_TOO_LARGE;

std::string inNamespace(const std::string& name)
{
    return changed(sampleDocument(), "urn:dvb:mhp:2009", name);
}

void expectNoRoot(const std::string& document, const std::string& name)
{
    expectFault(document, invalid, "<" + name,
                "root " + quotation(name.substr(name.find(':') + 1)) +
                    ": expected ServiceDiscovery of the namespace urn:dvb:mhp:2009");
}

/// The sample with a prefix before every name of an element.
std::string prefixed(const std::string& prefix)
{
    std::string text;
    const std::string plain = sampleDocument();
    for (size_t i = 0; i < plain.size(); ++i) {
        text += plain[i];
        const bool ends = plain[i] == '<' && plain[i + 1] == '/';
        if (plain[i] != '<' || plain[i + 1] == '?')
            continue;
        if (ends)
            text += plain[++i];
        text += prefix + ":";
    }
    return changed(text, "xmlns=", "xmlns:" + prefix + "=");
}

TEST(XMLAITDocument, MakesACompleteTableThatIsKnownToBeXML)
{
    const ReadDocument read(sampleDocument());
    ASSERT_EQ(read.numberOfApplications(), 1u) << read.fault.getText();
    EXPECT_TRUE(read.table->isXMLBased());
    EXPECT_TRUE(read.table->isComplete());
    EXPECT_TRUE(read.application().isXMLAITbased());
    EXPECT_EQ(read.application().getAIT(), read.table.get());
    EXPECT_FALSE(read.fault.isSet());
}

TEST(XMLAITDocument, IsKnownByItsNamespaceWhateverThePrefix)
{
    for (const char* const prefix : {"mhp", "x", "isd"})
        EXPECT_EQ(ReadDocument(prefixed(prefix)).numberOfApplications(), 1u) << prefix;
    for (const char* const year : {"urn:dvb:mhp:2009", "urn:dvb:mhp:2008", "urn:dvb:mhp:2014"})
        EXPECT_EQ(ReadDocument(inNamespace(year)).numberOfApplications(), 1u) << year;
    for (const char* const other :
         {"urn:dvb:mhp:", "urn:dvb:mhp:209", "urn:dvb:mhp:20090", "urn:dvb:mhp:200a",
          "urn:dvb:mhp:2009 ", "urn:DVB:mhp:2009", "urn:dvb:metadata:iptv:sdns:2008-1", ""})
        expectNoRoot(inNamespace(other), "ServiceDiscovery");
    expectNoRoot(changed(sampleDocument(), "xmlns=", "xmlns:unused="), "ServiceDiscovery");
}

TEST(XMLAITDocument, HasAServiceDiscoveryForItsRoot)
{
    const std::string begin = "<p:Application xmlns:p=\"urn:dvb:mhp:2009\"/>";
    expectNoRoot(begin, "p:Application");
    expectNoRoot("<html/>", "html");
    expectNoRoot("<a\xc3\xa4/>", "a\xc3\xa4");
}

TEST(XMLAITDocument, SkipsWhatItDoesNotKnowWithItsContent)
{
    const std::string unknown = "<other a=\"b\">text<orgId>9</orgId><Application/></other>"
                                "<y:orgId xmlns:y=\"urn:other\">8</y:orgId>"
                                "<orgId xmlns=\"\">7</orgId>";
    for (const char* const before :
         {"<applicationIdentifier>", "<Application>", "<ApplicationList>",
          "  <ApplicationDiscovery", "</ApplicationDiscovery>", "<BoundaryExtension>", "<URLBase>",
          "<orgId>", "</orgId>", "<controlCode>", "</controlCode>", "<OtherApp>",
          "</ServiceDiscovery>"}) {
        const ReadDocument read(changed(sampleDocument(), before, unknown + before));
        EXPECT_EQ(read.application().getOrganisationId(), 1u) << before;
    }
}

TEST(XMLAITDocument, SkipsAttributesThatItDoesNotKnow)
{
    std::string document =
        changed(sampleDocument(), "<orgId>", "<orgId a=\"1\" xsi:nil=\"false\">");
    document = changed(document, "<applicationTransport", "<applicationTransport type=\"other\"");
    document = changed(document, "<Application>", "<Application xsi:type=\"other\">");
    EXPECT_EQ(ReadDocument(document).numberOfApplications(), 1u);
}

TEST(XMLAITDocument, HasTextInCommentsCDATAAndWhiteSpace)
{
    std::string document = changed(sampleDocument(), "<orgId>1<", "<orgId>\n\t 2<!-- -->3 \r\n<");
    document = changed(document, ">index.html<", "> <![CDATA[i?a=b&c=d]]>&amp;e=f <");
    const ReadDocument read(document);
    EXPECT_EQ(read.application().getOrganisationId(), 23u);
    EXPECT_EQ(read.application().getApplicationLocation(), "i?a=b&c=d&e=f");
}

TEST(XMLAITDocument, MayHaveAByteOrderMarkAndOtherEncodings)
{
    EXPECT_EQ(ReadDocument("\xEF\xBB\xBF" + sampleDocument()).numberOfApplications(), 1u);
    std::string latin = changed(sampleDocument(), "UTF-8", "ISO-8859-1");
    latin = changed(latin, ">Name<", ">\xc4pfel<");
    EXPECT_EQ(ReadDocument(latin).application().getApplicationName(), "\xc3\x84pfel");
    std::string utf16 = "\xFE\xFF";
    for (const char c : changed(sampleDocument(), " encoding=\"UTF-8\"", ""))
        utf16.append(1, '\0').append(1, c);
    EXPECT_EQ(ReadDocument(utf16).application().getApplicationName(), "Name");
}

TEST(XMLAITDocument, MayHaveSeveralDiscoveriesAndLists)
{
    const std::string second = changed(applicationText, "<appId>2<", "<appId>3<");
    const std::string third = changed(applicationText, "<appId>2<", "<appId>4<");
    const ReadDocument read(documentOf(applicationText + "</ApplicationList><ApplicationList>" +
                                       second +
                                       "</ApplicationList></ApplicationDiscovery>"
                                       "<ApplicationDiscovery DomainName=\"b\"><ApplicationList>" +
                                       third));
    ASSERT_EQ(read.numberOfApplications(), 3u) << read.fault.getText();
    EXPECT_EQ(read.table->getAITApplication(2U)->getApplicationId(), 4);
}

TEST(XMLAITDocument, OrdersItsApplicationsByPriority)
{
    const auto application = [](const char* id, const char* priority) {
        return changed(changed(applicationText, "<appId>2<", std::string("<appId>") + id + "<"),
                       "<priority>7F<", std::string("<priority>") + priority + "<");
    };
    const ReadDocument read(documentOf(application("10", "01") + application("11", "ff") +
                                       application("12", "1") + application("13", "80")));
    ASSERT_EQ(read.numberOfApplications(), 4u);
    for (unsigned i = 0; i < 4; ++i)
        EXPECT_EQ(read.table->getAITApplication(i)->getApplicationId(),
                  (std::array<int, 4>{11, 13, 10, 12}[i]));
}

TEST(XMLAITDocument, IsRefusedWithoutAnApplicationOfHbbTV)
{
    const std::string fault = "ServiceDiscovery: expected an Application of HbbTV's type";
    expectFault(documentOf(""), invalid, "<ServiceDiscovery", fault);
    expectFault("<ServiceDiscovery xmlns=\"urn:dvb:mhp:2009\"/>", invalid, "<Serv", fault);
    expectFault(
        documentOf(changed(applicationText, "application/vnd.hbbtv.xhtml+xml", "text/html")),
        invalid, "<ServiceDiscovery", fault);
    // An application in the wrong place is none.
    expectFault("<ServiceDiscovery xmlns=\"urn:dvb:mhp:2009\"><Application/></ServiceDiscovery>",
                invalid, "<Serv", fault);
}

TEST(XMLAITDocument, IsRefusedWhereItIsNotWellFormed)
{
    expectFault("", notWellFormed, "", "not well-formed XML: no element found");
    expectFault(changed(sampleDocument(), "</orgId>", "</appId>"), notWellFormed, "appId>\n",
                "not well-formed XML: mismatched tag");
    // Also after applications that are complete.
    expectFault(sampleDocument() + "<x/>", notWellFormed, "<x/>",
                "not well-formed XML: junk after document element");
}

TEST(XMLAITDocument, IsRefusedWithADocumentTypeThatDeclares)
{
    expectFault(changed(sampleDocument(), "<ServiceDiscovery",
                        "<!DOCTYPE ServiceDiscovery [<!ENTITY a \"x\">]><ServiceDiscovery"),
                notWellFormed, "[",
                "DOCTYPE: expected neither declarations nor a reference to them");
}

TEST(XMLAITDocument, HasAtMostAMebibyte)
{
    std::string document = sampleDocument();
    document.append(size_t{1024} * 1024 - document.size(), '\n');
    EXPECT_EQ(ReadDocument(document).numberOfApplications(), 1u);
    const ReadDocument read(document + "\n");
    EXPECT_EQ(read.fault.getStatus(), tooLarge);
    EXPECT_EQ(read.fault.getText(), "expected at most 1048576 bytes of a document");
    EXPECT_EQ(read.fault.getPlace().line, 0u);
    EXPECT_EQ(read.fault.getPlace().column, 0u);
}

TEST(XMLAITDocument, ComesFromAURLOfAtMost2048Bytes)
{
    const std::string begin = "http://a.example/";
    const std::string longest = begin + std::string(2048 - begin.size(), 'x');
    EXPECT_EQ(ReadDocument(sampleDocument(), longest).numberOfApplications(), 1u);
    const ReadDocument read(sampleDocument(), longest + "x");
    EXPECT_EQ(read.fault.getStatus(), tooLarge);
    EXPECT_EQ(read.fault.getText(), "expected at most 2048 bytes of a document's URL");
    EXPECT_EQ(read.fault.getPlace().line, 0u);
}

TEST(XMLAITDocument, HasAtMost256Applications)
{
    EXPECT_EQ(ReadDocument(documentOf(repeated(applicationText, 256))).numberOfApplications(),
              256u);
    expectFault(documentOf(repeated(applicationText, 256) +
                           changed(applicationText, "<Application>", "<Application >")),
                tooLarge, "<Application >", "expected at most 256 applications");
}

TEST(XMLAITDocument, HasAtMost256ElementsThatCountInAnApplication)
{
    // The sample has 24, and two of one that may stand once are a fault of another kind.
    const auto withMore = [](size_t count) {
        return changed(sampleDocument(), "<visibility>",
                       repeated("<visibility/>", count) + "<visibility>");
    };
    EXPECT_EQ(ReadDocument(withMore(232)).fault.getStatus(), invalid);
    expectFault(withMore(233), tooLarge, "<applicationLocation>",
                "expected at most 256 elements in an application");
    // Those that do not count are as many as they like.
    EXPECT_EQ(
        ReadDocument(changed(sampleDocument(), "<orgId>", repeated("<icon/>", 500) + "<orgId>"))
            .numberOfApplications(),
        1u);
    EXPECT_EQ(ReadDocument(documentOf(repeated(applicationText, 20))).numberOfApplications(), 20u);
}

TEST(XMLAITDocument, HasTextsOfAtMost4096Bytes)
{
    const auto withLocation = [](const std::string& location) {
        return changed(sampleDocument(), ">index.html<", ">" + location + "<");
    };
    const std::string longest(4096, 'x');
    EXPECT_EQ(ReadDocument(withLocation(longest)).application().getApplicationLocation(), longest);
    const std::string text = "applicationLocation: expected at most 4096 bytes";
    expectFault(withLocation(longest + "x"), tooLarge, "<applicationLocation>", text);
    expectFault(withLocation(repeated("xxxxxxx&amp;", 512) + "x"), tooLarge,
                "<applicationLocation>", text);
    EXPECT_EQ(ReadDocument(withLocation(repeated("xxxxxxx&amp;", 512)))
                  .application()
                  .getApplicationLocation(),
              repeated("xxxxxxx&", 512));
    // White space between elements is no text.
    EXPECT_EQ(ReadDocument(changed(sampleDocument(), "<orgId>", std::string(5000, ' ') + "<orgId>"))
                  .numberOfApplications(),
              1u);
}

TEST(XMLAITDocument, HasAttributesOfAtMost4096Bytes)
{
    const auto withType = [](const std::string& spaces) {
        return changed(sampleDocument(), "\"HTTPTransportType\"",
                       "\"" + spaces + "HTTPTransportType\"");
    };
    EXPECT_EQ(ReadDocument(withType(std::string(4079, ' '))).numberOfApplications(), 1u);
    expectFault(withType(std::string(4080, ' ')), tooLarge, "<applicationTransport",
                "type: expected at most 4096 bytes");
}

}  // namespace
