/// An XML AIT that is complete, for tests that change one thing of it.
#ifndef VESTA_TESTS_KIT_XML_AIT_TEXT_H
#define VESTA_TESTS_KIT_XML_AIT_TEXT_H

#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "kit/xml_ait_document.h"
#include "kit/xml_fault.h"

namespace vesta::test {

/// Where a document stands whose relative URLs are resolved.
inline const std::string documentUrl = "http://a.example/lists/ait.xml";

inline const std::string documentBegin =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<ServiceDiscovery xmlns=\"urn:dvb:mhp:2009\"\n"
    "    xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">\n"
    "  <ApplicationDiscovery DomainName=\"a.example\">\n"
    "    <ApplicationList>\n";
inline const std::string documentEnd = "    </ApplicationList>\n"
                                       "  </ApplicationDiscovery>\n"
                                       "</ServiceDiscovery>\n";

/// AUTOSTART application 1.2 at http://a.example/app/index.html, for any terminal of HbbTV 1.1.1.
inline const std::string applicationText =
    "      <Application>\n"
    "        <appName Language=\"eng\">Name</appName>\n"
    "        <applicationIdentifier>\n"
    "          <orgId>1</orgId>\n"
    "          <appId>2</appId>\n"
    "        </applicationIdentifier>\n"
    "        <applicationDescriptor>\n"
    "          <type><OtherApp>application/vnd.hbbtv.xhtml+xml</OtherApp></type>\n"
    "          <controlCode>AUTOSTART</controlCode>\n"
    "          <visibility>VISIBLE_ALL</visibility>\n"
    "          <serviceBound>false</serviceBound>\n"
    "          <priority>7F</priority>\n"
    "          <version>01</version>\n"
    "          <mhpVersion>\n"
    "            <profile>0000</profile>\n"
    "            <versionMajor>01</versionMajor>\n"
    "            <versionMinor>01</versionMinor>\n"
    "            <versionMicro>01</versionMicro>\n"
    "          </mhpVersion>\n"
    "        </applicationDescriptor>\n"
    "        <applicationUsageDescriptor>\n"
    "          <ApplicationUsage>urn:dvb:mhp:2009:digitalText</ApplicationUsage>\n"
    "        </applicationUsageDescriptor>\n"
    "        <applicationBoundary>\n"
    "          <BoundaryExtension>http://a.example/</BoundaryExtension>\n"
    "        </applicationBoundary>\n"
    "        <applicationTransport xsi:type=\"HTTPTransportType\">\n"
    "          <URLBase>http://a.example/app/</URLBase>\n"
    "        </applicationTransport>\n"
    "        <applicationLocation>index.html</applicationLocation>\n"
    "      </Application>\n";

/// A transport over the carousel, to stand in the place of the other or beside it.
inline const std::string carouselText =
    "        <applicationTransport xsi:type=\"OCTransportType\">\n"
    "          <DvbTriplet OrigNetId=\"8442\" TSId=\"1089\" ServiceId=\"28112\"/>\n"
    "          <ComponentTag ComponentTag=\"2a\"/>\n"
    "        </applicationTransport>\n";

inline std::string documentOf(const std::string& applications)
{
    return documentBegin + applications + documentEnd;
}

/// The document of one application.
inline std::string sampleDocument()
{
    return documentOf(applicationText);
}

/// A text with the first occurrence of a part, which must be there, replaced.
inline std::string changed(std::string text, const std::string& part, const std::string& by)
{
    const size_t at = text.find(part);
    EXPECT_NE(at, std::string::npos) << part << " is not part of the text";
    return at == std::string::npos ? text : text.replace(at, part.size(), by);
}

inline std::string repeated(const std::string& text, size_t times)
{
    std::string all;
    for (size_t i = 0; i < times; ++i)
        all += text;
    return all;
}

/// An application so many times, each with an id of its own, from 1 on.
inline std::string manyOf(const std::string& application, size_t times)
{
    const std::string before = "<appId>";
    const size_t begin = application.find(before) + before.size();
    const size_t end = application.find('<', begin);
    std::string all;
    for (size_t i = 1; i <= times; ++i)
        all += std::string(application).replace(begin, end - begin, std::to_string(i));
    return all;
}

/// Where a part of a text stands.
inline VestaHbbTV::XMLPlace placeOf(const std::string& text, const std::string& part)
{
    const size_t at = text.find(part);
    EXPECT_NE(at, std::string::npos) << part << " is not part of the text";
    VestaHbbTV::XMLPlace place = {1, 1};
    for (size_t i = 0; i < at && at != std::string::npos; ++i) {
        place.column = text[i] == '\n' ? 1 : place.column + 1;
        place.line += text[i] == '\n' ? 1U : 0U;
    }
    return place;
}

/// What became of a document.
struct ReadDocument {
    explicit ReadDocument(const std::string& document, const std::string& url = documentUrl)
    {
        // A block of exactly that size, so that a sanitizer sees one byte too far.
        const std::unique_ptr<char[]> block(new char[document.size()]);
        document.copy(block.get(), document.size());
        table = VestaHbbTV::readXMLAIT({block.get(), document.size()}, url, fault);
    }

    unsigned numberOfApplications() const { return table ? table->getNumApplications() : 0; }

    /// The first application, which there must be.
    VestaHbbTV::AITApplication& application() const
    {
        if (table && table->getNumApplications() > 0)
            return *table->getAITApplication(0U);
        ADD_FAILURE() << "no application: " << fault.getText();
        static VestaHbbTV::AITApplication none(nullptr);
        return none;
    }

    VestaHbbTV::XMLFault fault;
    VestaHbbTV::ref_ptr<VestaHbbTV::AIT> table;
};

/// Expects a document to be refused.
/// @param at a part of the document: the fault is said to be where it begins
inline void expectFault(const std::string& document, HBBTV_KitXMLAITStatus status,
                        const std::string& at, const std::string& text,
                        const std::string& url = documentUrl)
{
    const ReadDocument read(document, url);
    const VestaHbbTV::XMLPlace place = placeOf(document, at);
    EXPECT_EQ(read.table.get(), nullptr) << text;
    EXPECT_EQ(read.fault.getStatus(), status) << text;
    EXPECT_EQ(read.fault.getText(), text);
    EXPECT_EQ(read.fault.getPlace().line, place.line) << text;
    EXPECT_EQ(read.fault.getPlace().column, place.column) << text;
}

}  // namespace vesta::test

#endif
