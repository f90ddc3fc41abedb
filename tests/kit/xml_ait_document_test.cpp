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
          "<orgId>", "<controlCode>", "<OtherApp>", "</ServiceDiscovery>"}) {
        const ReadDocument read(changed(sampleDocument(), before, unknown + before));
        EXPECT_EQ(read.application().getOrganisationId(), 1u) << before;
    }
}

TEST(XMLAITDocument, IsRefusedWithTextBetweenElements)
{
    for (const char* const parent :
         {"ServiceDiscovery", "ApplicationDiscovery", "ApplicationList", "Application",
          "applicationIdentifier", "applicationDescriptor", "type", "mhpVersion",
          "applicationUsageDescriptor", "applicationBoundary", "applicationTransport"}) {
        const std::string end = "</" + std::string(parent) + ">";
        expectFault(changed(sampleDocument(), end, " \t?text<!-- -->&amp;more\n" + end), invalid,
                    "?text", std::string(parent) + ": expected elements and no text \"?text\"");
        EXPECT_EQ(ReadDocument(changed(sampleDocument(), end, " \n<!-- a -->" + end))
                      .numberOfApplications(),
                  1u)
            << parent;
    }
}

TEST(XMLAITDocument, IsRefusedWithAnElementInAText)
{
    const char* const texts[][2] = {{"controlCode", "AUTO<b/>START"},
                                    {"appName", "Na<b>me</b>"},
                                    {"OtherApp", "<b/>application/vnd.hbbtv.xhtml+xml"},
                                    {"URLBase", "http://a.example/<b/>"},
                                    {"applicationLocation", "<b xmlns=\"urn:other\"/>i"}};
    for (const auto& [name, text] : texts) {
        const std::string sample = sampleDocument();
        const size_t begin = sample.find('>', sample.find("<" + std::string(name))) + 1;
        const size_t end = sample.find('<', begin);
        expectFault(std::string(sample).replace(begin, end - begin, text), invalid, "<b",
                    std::string(name) + ": expected text and no element \"b\"");
    }
}

/// Nothing is known of what an application of another type has in it.
TEST(XMLAITDocument, MayHaveMixedContentInApplicationsOfOtherTypes)
{
    const std::string other =
        "<Application>text<applicationDescriptor><type><DvbApp>DVB-J</DvbApp></type><controlCode>"
        "<b/></controlCode></applicationDescriptor></Application>";
    const ReadDocument read(documentOf(other + applicationText));
    EXPECT_EQ(read.numberOfApplications(), 1u) << read.fault.getText();
    expectFault(documentOf(changed(other, "<DvbApp>DVB-J</DvbApp>",
                                   "<OtherApp>application/vnd.hbbtv.xhtml+xml</OtherApp>")),
                invalid, "text<", "Application: expected elements and no text \"text\"");
}

TEST(XMLAITDocument, HasEachApplicationOnce)
{
    const std::string again = changed(applicationText, "<Application>", "<Application >");
    expectFault(documentOf(applicationText + again), invalid, "<Application >",
                "Application: expected once with orgId 1 and appId 2");
    EXPECT_EQ(ReadDocument(documentOf(applicationText + changed(again, "<orgId>1<", "<orgId>2<")))
                  .numberOfApplications(),
              2u);
}

TEST(XMLAITDocument, KnowsTheNamespacesOfTypes)
{
    const auto withType = [](const std::string& attributes) {
        return ReadDocument(
            changed(sampleDocument(), "xsi:type=\"HTTPTransportType\"", attributes));
    };
    for (const char* const right :
         {"xsi:type=\"HTTPTransportType\"", "xsi:type=\"undeclared:HTTPTransportType\"",
          "xmlns:q=\"urn:dvb:mhp:2009\" xsi:type=\"q:HTTPTransportType\"",
          "xmlns:q=\"urn:dvb:mhp:2012\" xsi:type=\"q:HTTPTransportType\"",
          "xmlns:q=\"urn:other\" xsi:type=\"HTTPTransportType\"",
          "xmlns:i=\"http://www.w3.org/2001/XMLSchema-instance\" i:type=\"HTTPTransportType\""})
        EXPECT_EQ(withType(right).numberOfApplications(), 1u) << right;
    for (const char* const other : {"xmlns:q=\"urn:other\" xsi:type=\"q:HTTPTransportType\"",
                                    "xmlns:q=\"urn:dvb:mhp\" xsi:type=\" q:HTTPTransportType\"",
                                    "xsi:type=\"xsi:HTTPTransportType\""})
        EXPECT_EQ(withType(other).fault.getText(),
                  "Application: expected an applicationTransport of HTTPTransportType or "
                  "OCTransportType")
            << other;
    EXPECT_EQ(withType("xmlns:xsi=\"urn:other\" xsi:type=\"HTTPTransportType\"").fault.getText(),
              "applicationTransport: expected an xsi:type, HTTPTransportType or OCTransportType");
}

/// A prefix is that of the innermost element around it, and is forgotten with it.
TEST(XMLAITDocument, KnowsWherePrefixesAreInForce)
{
    const std::string typed =
        changed(sampleDocument(), "xsi:type=\"HTTPTransportType\"",
                "xmlns:q=\"urn:dvb:mhp:2009\" xsi:type=\"q:HTTPTransportType\"");
    EXPECT_EQ(ReadDocument(changed(typed, "<Application>", "<Application xmlns:q=\"urn:other\">"))
                  .numberOfApplications(),
              1u);
    EXPECT_EQ(ReadDocument(changed(changed(typed, "xmlns:q=\"urn:dvb:mhp:2009\" ", ""),
                                   "<applicationTransport",
                                   "<q:x xmlns:q=\"urn:other\"/><applicationTransport"))
                  .numberOfApplications(),
              1u);
}

TEST(XMLAITDocument, HasAtMost256PrefixesInForce)
{
    const auto withPrefixes = [](size_t count) {
        std::string declarations;
        for (size_t i = 0; i < count; ++i)
            declarations += " xmlns:p" + std::to_string(i) + "=\"u\"";
        // The parser's memory is bounded by the size of the document.
        return ReadDocument(
            changed(sampleDocument(), "<Application>",
                    "<Application" + declarations + "><!--" + std::string(100'000, ' ') + "-->"));
    };
    EXPECT_EQ(withPrefixes(254).numberOfApplications(), 1u) << "the root has two";
    EXPECT_EQ(withPrefixes(255).fault.getText(), "expected at most 256 prefixes");
    EXPECT_EQ(withPrefixes(255).fault.getStatus(), tooLarge);
}

/// For those who ask why something is not in the table.
TEST(XMLAITDocument, TellsWhatItSkipped)
{
    std::string document = changed(sampleDocument(), "applicationBoundary", "applicationBoundry");
    document = changed(document, "</applicationBoundary", "</applicationBoundry");
    document = changed(document, "<orgId>", "<orgId a=\"1\" xsi:nil=\"false\">");
    document = changed(document, "<applicationLocation>",
                       "<applicationTransport xsi:type=\"IPType\"/><applicationLocation>");
    document = changed(document, ":digitalText", ":digitalTxt");
    document = changed(document, "<Application>",
                       "<Application ><applicationDescriptor><type><OtherApp>text/html</OtherApp>"
                       "</type></applicationDescriptor></Application><Application>");
    XMLFault fault;
    XMLAITNotes notes;
    ASSERT_TRUE(readXMLAIT(document, documentUrl, fault, &notes)) << fault.getText();
    std::vector<std::string> told, expected;
    for (const XMLAITNotes::Skipped& skipped : notes.skipped)
        told.push_back(std::to_string(skipped.place.line) + ": " + skipped.text);
    const std::pair<const char*, const char*> parts[] = {
        {"<Application >", "Application of type \"text/html\""},
        {"<orgId a", "attribute \"a\" of orgId"},
        {"<applicationBoundry>", "\"applicationBoundry\" in Application"},
        {"<ApplicationUsage>", "ApplicationUsage \"urn:dvb:mhp:2009:digitalTxt\""},
        {"<applicationTransport xsi:type=\"IPType", "applicationTransport of type \"IPType\""}};
    for (const auto& [at, text] : parts)
        expected.push_back(std::to_string(placeOf(document, at).line) + ": " + text);
    EXPECT_EQ(told, expected);
    ASSERT_EQ(notes.applications.size(), 1u);
    EXPECT_EQ(notes.applications[0].organisationId, 1u);
    EXPECT_EQ(notes.applications[0].applicationId, 2);
    EXPECT_EQ(notes.applications[0].place.line, placeOf(document, "<Application>").line);
    notes = {};
    readXMLAIT(changed(sampleDocument(), "<orgId>", repeated("<icon/>", 200) + "<orgId>"),
               documentUrl, fault, &notes);
    EXPECT_EQ(notes.skipped.size(), XMLAITNotes::mostSkipped);
    notes = {};
    readXMLAIT(sampleDocument(), documentUrl, fault, &notes);
    EXPECT_TRUE(notes.skipped.empty());
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
    EXPECT_EQ(ReadDocument(documentOf(manyOf(applicationText, 256))).numberOfApplications(), 256u);
    expectFault(documentOf(manyOf(applicationText, 256) +
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
    EXPECT_EQ(ReadDocument(documentOf(manyOf(applicationText, 20))).numberOfApplications(), 20u);
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
