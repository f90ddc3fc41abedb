#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "kit/xml_parser.h"

using namespace VestaHbbTV;

namespace {

/// Writes down what it hears: "<space|local name=value", "text" (adjacent pieces as one), ">".
class Recorder : public XMLContent {
public:
    void startElement(const XMLName& name, const XMLAttributes& attributes,
                      const XMLPlace& place) override
    {
        std::string line = "<" + std::string(name.space) + "|" + std::string(name.local);
        for (size_t i = 0; i < attributes.size(); ++i) {
            const XMLName attribute = attributes.nameOf(i);
            line += " " + std::string(attribute.space) + "|" + std::string(attribute.local) + "=" +
                    std::string(attributes.valueOf(i));
        }
        lines.push_back(line);
        places.push_back(std::to_string(place.line) + ":" + std::to_string(place.column));
        isInText_ = false;
        if (name.local == stopAt && fault)
            fault->set(HBBTV_KIT_XML_AIT_INVALID, place, "stopped");
    }

    void endElement() override
    {
        lines.emplace_back(">");
        isInText_ = false;
    }

    void addText(std::string_view text, const XMLPlace&) override
    {
        if (!isInText_)
            lines.emplace_back();
        lines.back() += text;
        isInText_ = true;
    }

    std::vector<std::string> lines;
    std::vector<std::string> places;
    std::string stopAt;
    XMLFault* fault = nullptr;

private:
    bool isInText_ = false;
};

using Lines = std::vector<std::string>;

Lines contentOf(const std::string& document)
{
    Recorder recorder;
    XMLFault fault;
    parseXML(document, recorder, fault);
    EXPECT_FALSE(fault.isSet()) << fault.getText();
    return recorder.lines;
}

/// "5 2:1 text" for status, line and column.
std::string faultOf(const std::string& document)
{
    Recorder recorder;
    XMLFault fault;
    parseXML(document, recorder, fault);
    return std::to_string(fault.getStatus()) + " " + std::to_string(fault.getPlace().line) + ":" +
           std::to_string(fault.getPlace().column) + " " + fault.getText();
}

std::string utf16(const std::string& ascii, bool bigEndian)
{
    std::string encoded = bigEndian ? "\xFE\xFF" : "\xFF\xFE";
    for (const char c : ascii)
        encoded += bigEndian ? std::string(1, '\0') + c : c + std::string(1, '\0');
    return encoded;
}

TEST(XMLParser, HandsOnElementsAttributesAndTextWithTheirNamespaces)
{
    EXPECT_EQ(contentOf("<a xmlns='urn:x' xmlns:p='urn:y'><b c='1' p:d='2'>t&amp;u</b><p:b/></a>"),
              Lines({"<urn:x|a", "<urn:x|b |c=1 urn:y|d=2", "t&u", ">", "<urn:y|b", ">", ">"}));
    EXPECT_EQ(contentOf("<a/>"), Lines({"<|a", ">"}));
}

TEST(XMLParser, JoinsTextAroundCommentsInstructionsAndCDATA)
{
    EXPECT_EQ(contentOf("<a>1<!-- -->2<?p?>3<![CDATA[<&>]]>&lt;&#52;</a>"),
              Lines({"<|a", "123<&><4", ">"}));
}

TEST(XMLParser, ReadsItsEncodings)
{
    const Lines expected = {"<|a", "\xc3\xa4", ">"};
    EXPECT_EQ(contentOf("<a>\xc3\xa4</a>"), expected);
    EXPECT_EQ(contentOf("\xEF\xBB\xBF<a>\xc3\xa4</a>"), expected) << "byte order mark";
    EXPECT_EQ(contentOf("<?xml version='1.0' encoding='ISO-8859-1'?><a>\xe4</a>"), expected);
    EXPECT_EQ(contentOf(utf16("<a>&#228;</a>", true)), expected);
    EXPECT_EQ(contentOf(utf16("<a>&#228;</a>", false)), expected);
    EXPECT_EQ(contentOf("<?xml version='1.0' encoding='US-ASCII'?><a>&#228;</a>"), expected);
}

TEST(XMLParser, TellsWhereElementsBegin)
{
    Recorder recorder;
    XMLFault fault;
    parseXML("<a>\n\t<b/>\r\n  \xc3\xa4\xe2\x82\xac<c/>\n</a>", recorder, fault);
    EXPECT_EQ(recorder.places, Lines({"1:1", "2:2", "3:5"})) << "columns count characters";
}

TEST(XMLParser, RefusesWhatIsNotWellFormedAndSaysWhere)
{
    const std::pair<std::string, const char*> cases[] = {
        {"", "4 1:1 not well-formed XML: no element found"},
        {"\n text", "4 2:2 not well-formed XML: syntax error"},
        {"<a>", "4 1:4 not well-formed XML: no element found"},
        {"<a>\n<b></a>", "4 2:6 not well-formed XML: mismatched tag"},
        {"<a b='1' b='2'/>", "4 1:10 not well-formed XML: duplicate attribute"},
        {"<a><p:b/></a>", "4 1:4 not well-formed XML: unbound prefix"},
        {"<a/><b/>", "4 1:5 not well-formed XML: junk after document element"},
        {"<a>\xff</a>", "4 1:4 not well-formed XML: not well-formed (invalid token)"},
        {"<a>&other;</a>", "4 1:4 not well-formed XML: undefined entity"},
        {"<?xml version='1.0' encoding='x-none'?><a/>",
         "4 1:31 not well-formed XML: unknown encoding"},
        {std::string("<a>\0</a>", 8), "4 1:4 not well-formed XML: not well-formed (invalid token)"},
    };
    for (const auto& [document, fault] : cases)
        EXPECT_EQ(faultOf(document), fault) << document;
}

TEST(XMLParser, AcceptsOfADocumentTypeNothingButItsName)
{
    EXPECT_EQ(contentOf("<!DOCTYPE a><a/>"), Lines({"<|a", ">"}));
    const std::string text = " DOCTYPE: expected neither declarations nor a reference to them";
    for (const char* const type : {
             "<!DOCTYPE a SYSTEM 'http://a.example/a.dtd'>",
             "<!DOCTYPE a PUBLIC 'a' 'file:///etc/passwd'>",
             "<!DOCTYPE a []>",
             "<!DOCTYPE a [<!ENTITY e 'x'>]>",
             "<!DOCTYPE a [<!ENTITY e SYSTEM 'file:///etc/passwd'>]>",
             "<!DOCTYPE a [<!ENTITY % e SYSTEM 'http://a.example/e'> %e;]>",
             "<!DOCTYPE a [<!ATTLIST a b CDATA 'c'>]>",
             "<!DOCTYPE a [<!ENTITY x0 'x'><!ENTITY x1 '&x0;&x0;'><!ENTITY x2 '&x1;&x1;'>]>",
         }) {
        const std::string fault = faultOf(std::string(type) + "<a>&e;</a>");
        EXPECT_EQ(fault.substr(0, 4), "4 1:") << type;
        EXPECT_EQ(fault.substr(fault.find(" DOC")), text) << type;
    }
}

TEST(XMLParser, RefusesElementsThatAreTooDeep)
{
    const auto nested = [](size_t depth) {
        std::string document;
        for (size_t i = 0; i < depth; ++i)
            document.append("<a>");
        for (size_t i = 0; i < depth; ++i)
            document.append("</a>");
        return document;
    };
    EXPECT_EQ(contentOf(nested(32)).size(), 64u);
    EXPECT_EQ(faultOf(nested(33)), "6 1:97 expected elements not deeper than 32");
}

TEST(XMLParser, CountsTheDepthOfElementsThatAreOpen)
{
    std::string document = "<a>";
    for (int i = 0; i < 100; ++i)
        document += "<b/>";
    EXPECT_EQ(contentOf(document + "</a>").size(), 202u);
}

TEST(XMLParser, RefusesADocumentWhoseNamesTakeTooMuchMemory)
{
    std::string document = "<a>";
    for (int i = 0; i < 60000; ++i)
        document += "<e" + std::to_string(i) + "/>";
    const std::string fault = faultOf(document + "</a>");
    EXPECT_EQ(fault.substr(0, 2), "6 ");
    EXPECT_NE(fault.find(" the document needs too much memory for its size"), std::string::npos)
        << fault;
}

TEST(XMLParser, TakesLongTextsAndAttributesInItsStride)
{
    const std::string text(500000, 'x');
    EXPECT_EQ(contentOf("<a>" + text + "</a>"), Lines({"<|a", text, ">"}));
    const std::string value(20000, 'y');
    EXPECT_EQ(contentOf("<a b='" + value + "'/>"), Lines({"<|a |b=" + value, ">"}));
}

TEST(XMLParser, CallsNobodyAfterAFault)
{
    for (const char* const document :
         {"<a><stop/><b>c</b></a>", "<a><stop>d</stop></a>", "<stop/>"}) {
        Recorder recorder;
        XMLFault fault;
        recorder.stopAt = "stop";
        recorder.fault = &fault;
        parseXML(document, recorder, fault);
        EXPECT_EQ(fault.getText(), "stopped");
        EXPECT_EQ(recorder.lines.back(), "<|stop") << document;
    }
}

}  // namespace
