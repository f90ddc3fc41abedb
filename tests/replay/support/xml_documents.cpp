// In the place of tests/support/xml_tables.cpp where stories are recorded: what crosses the
// boundary is a document.

#include <gtest/gtest.h>
#include <iomanip>
#include <sstream>
#include <string>

#include "signalling/ait_application.h"
#include "tests/support/xml_tables.h"
#include "vesta_hbbtv_kit.h"

using namespace VestaHbbTV;

namespace vesta::test {

namespace {

/// All that the stories' tables have: applications that start by themselves, on any terminal, over
/// HTTP.
std::string textOf(const AITApplication& application)
{
    EXPECT_TRUE(application.isSignalledWith(AITApplication::AUTOSTART));
    EXPECT_EQ(application.getTransports().size(), 1u);
    std::ostringstream text;
    text << "<Application><applicationIdentifier><orgId>" << application.getOrganisationId()
         << "</orgId><appId>" << application.getApplicationId()
         << "</appId></applicationIdentifier><applicationDescriptor>"
            "<type><OtherApp>application/vnd.hbbtv.xhtml+xml</OtherApp></type>"
            "<controlCode>AUTOSTART</controlCode><visibility>VISIBLE_ALL</visibility>"
            "<serviceBound>false</serviceBound><priority>"
         << std::hex << std::setfill('0') << std::setw(2)
         << static_cast<unsigned>(application.getApplicationPriority())
         << "</priority><version>01</version><mhpVersion><profile>0000</profile>"
            "<versionMajor>01</versionMajor><versionMinor>01</versionMinor>"
            "<versionMicro>01</versionMicro></mhpVersion></applicationDescriptor>";
    for (const auto& transport : application.getTransports())
        text << "<applicationTransport xsi:type=\"HTTPTransportType\"><URLBase>"
             << transport->getURLBase() << "</URLBase></applicationTransport>";
    text << "<applicationLocation>" << application.getApplicationLocation()
         << "</applicationLocation></Application>";
    return text.str();
}

}  // namespace

void queueXMLTable(Window* window, const ref_ptr<AIT>& table)
{
    std::string document = "<ServiceDiscovery xmlns=\"urn:dvb:mhp:2009\" "
                           "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">"
                           "<ApplicationDiscovery DomainName=\"a.example\"><ApplicationList>";
    for (unsigned place = 0; place < table->getNumApplications(); ++place)
        document += textOf(*table->getAITApplication(place));
    document += "</ApplicationList></ApplicationDiscovery></ServiceDiscovery>";
    const HBBTV_KitXMLAITResult read =
        hbbtv_kit_load_xml_ait(window, document.data(), document.size(), nullptr);
    EXPECT_EQ(read.status, HBBTV_KIT_XML_AIT_OK) << read.text << "\n" << document;
}

}  // namespace vesta::test
