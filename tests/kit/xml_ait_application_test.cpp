// The elements of an application: each with what it becomes in the table, and with what is wrong of
// it.

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "tests/kit/xml_ait_text.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

constexpr auto invalid = HBBTV_KIT_XML_AIT_INVALID;
constexpr auto tooLarge = HBBTV_KIT_XML_AIT_TOO_LARGE;

using Texts = std::vector<std::string>;

/// The sample with a part replaced.
std::string sampleWith(const std::string& part, const std::string& by)
{
    return changed(sampleDocument(), part, by);
}

/// The sample with the text of an element replaced.
std::string sampleWithText(const std::string& name, const std::string& text)
{
    const std::string sample = sampleDocument();
    const size_t begin = sample.find("<" + name + ">") + name.size() + 2;
    return std::string(sample).replace(begin, sample.find("</" + name + ">") - begin, text);
}

/// Without the element and its content.
std::string sampleWithout(const std::string& name)
{
    const std::string sample = sampleDocument();
    const size_t begin = sample.find("<" + name);
    const std::string end = "</" + name + ">";
    return std::string(sample).erase(begin, sample.find(end) + end.size() - begin);
}

/// With a copy right after it, which begins in a way of its own: "<name >".
std::string sampleWithTwo(const std::string& name)
{
    const std::string sample = sampleDocument();
    const size_t begin = sample.find("<" + name);
    const std::string end = "</" + name + ">";
    std::string copy = sample.substr(begin, sample.find(end) + end.size() - begin);
    copy.insert(name.size() + 1, " ");
    return std::string(sample).insert(sample.find(end) + end.size(), copy);
}

const AITApplication::ApplicationDescriptor& descriptorOf(const ReadDocument& read)
{
    return *read.application().getApplicationDescriptor();
}

Texts urlsOf(const ReadDocument& read)
{
    Texts urls;
    for (const auto& transport : read.application().getTransports())
        urls.push_back(transport->getURL(read.application().getApplicationLocation()));
    return urls;
}

/// The address of the first page for a base and a location.
std::string pageOf(const std::string& base, const std::string& location,
                   const std::string& url = documentUrl)
{
    const ReadDocument read(
        changed(sampleWithText("URLBase", base), ">index.html<", ">" + location + "<"), url);
    return read.table ? urlsOf(read)[0] : read.fault.getText();
}

Texts boundaryOf(const std::string& extensions, const std::string& url = documentUrl)
{
    const ReadDocument read(sampleWithText("applicationBoundary", extensions), url);
    return read.table ? read.application().getApplicationDomain()->getEntries()
                      : Texts{read.fault.getText()};
}

std::string extension(const std::string& text)
{
    return "<BoundaryExtension>" + text + "</BoundaryExtension>";
}

TEST(XMLAITApplication, HasAllThatATableHolds)
{
    const ReadDocument read(sampleDocument());
    const AITApplication& application = read.application();
    EXPECT_EQ(application.getApplicationName(), "Name");
    EXPECT_EQ(application.getOrganisationId(), 1u);
    EXPECT_EQ(application.getApplicationId(), 2);
    EXPECT_EQ(application.getControlCode(), AITApplication::AUTOSTART);
    EXPECT_EQ(descriptorOf(read).getVisibility(), 3);
    EXPECT_FALSE(descriptorOf(read).isServiceBound());
    EXPECT_EQ(descriptorOf(read).getApplicationPriority(), 0x7F);
    ASSERT_EQ(descriptorOf(read).getPlatformProfiles().size(), 1u);
    const auto& profile = descriptorOf(read).getPlatformProfiles()[0];
    EXPECT_EQ(profile.getApplicationProfile(), 0);
    EXPECT_EQ(profile.getVersionMajor(), 1);
    EXPECT_EQ(profile.getVersionMinor(), 1);
    EXPECT_EQ(profile.getVersionMicro(), 1);
    EXPECT_EQ(application.getUsageType(), AITApplication::DIGITAL_TELETEXT);
    EXPECT_EQ(application.getApplicationDomain()->getEntries(), Texts({"http://a.example"}));
    EXPECT_EQ(application.getApplicationLocation(), "index.html");
    EXPECT_EQ(urlsOf(read), Texts({"http://a.example/app/index.html"}));
    EXPECT_EQ(application.getChannelHandle(), nullptr);
    EXPECT_EQ(application.getApplicationRecordingDescriptor(), nullptr);
}

TEST(XMLAITApplication, MayLackWhatIsOptional)
{
    std::string text = applicationText;
    for (const char* const name :
         {"appName", "visibility", "serviceBound", "priority", "version", "mhpVersion",
          "applicationUsageDescriptor", "applicationBoundary"}) {
        const size_t begin = text.find("<" + std::string(name));
        const std::string end = "</" + std::string(name) + ">";
        text.erase(begin, text.find(end) + end.size() - begin);
    }
    const ReadDocument read(documentOf(text));
    const AITApplication& application = read.application();
    EXPECT_EQ(application.getApplicationName(), "");
    EXPECT_EQ(descriptorOf(read).getVisibility(), 3);
    EXPECT_FALSE(descriptorOf(read).isServiceBound());
    EXPECT_EQ(descriptorOf(read).getApplicationPriority(), 0);
    ASSERT_EQ(descriptorOf(read).getPlatformProfiles().size(), 1u) << "any terminal will do";
    EXPECT_TRUE(descriptorOf(read).getPlatformProfiles()[0].isCompatible(0, 0, 0, 0));
    EXPECT_EQ(application.getUsageType(), 0);
    EXPECT_TRUE(application.getApplicationDomain()->getEntries().empty());
}

TEST(XMLAITApplication, MayHaveItsElementsInAnyOrder)
{
    const std::string location = "        <applicationLocation>index.html</applicationLocation>\n";
    std::string text = changed(changed(applicationText, location, ""), "<applicationIdentifier>",
                               location + "<applicationIdentifier>");
    text = changed(changed(text, "<orgId>1</orgId>", ""), "</applicationIdentifier>",
                   "<orgId>1</orgId></applicationIdentifier>");
    const ReadDocument read(documentOf(text));
    EXPECT_EQ(read.application().getOrganisationId(), 1u);
    EXPECT_EQ(read.application().getApplicationLocation(), "index.html");
}

TEST(XMLAITApplication, IsRefusedWithoutWhatItNeeds)
{
    const struct {
        const char* without;
        const char* at;
        const char* text;
    } cases[] = {
        {"applicationIdentifier", "<Application>", "Application: expected applicationIdentifier"},
        {"orgId", "<applicationIdentifier>", "applicationIdentifier: expected orgId"},
        {"appId", "<applicationIdentifier>", "applicationIdentifier: expected appId"},
        {"applicationDescriptor", "<Application>", "Application: expected applicationDescriptor"},
        {"type", "<applicationDescriptor>", "applicationDescriptor: expected type"},
        {"OtherApp", "<type>", "type: expected OtherApp or DvbApp"},
        {"controlCode", "<applicationDescriptor>", "applicationDescriptor: expected controlCode"},
        {"profile", "<mhpVersion>", "mhpVersion: expected profile"},
        {"versionMajor", "<mhpVersion>", "mhpVersion: expected versionMajor"},
        {"versionMinor", "<mhpVersion>", "mhpVersion: expected versionMinor"},
        {"versionMicro", "<mhpVersion>", "mhpVersion: expected versionMicro"},
        {"ApplicationUsage", "<applicationUsageDescriptor>",
         "applicationUsageDescriptor: expected ApplicationUsage"},
        {"applicationTransport", "<Application>",
         "Application: expected an applicationTransport of HTTPTransportType or OCTransportType"},
        {"URLBase", "<applicationTransport", "applicationTransport: expected URLBase"},
        {"applicationLocation", "<Application>", "Application: expected applicationLocation"},
    };
    for (const auto& [without, at, text] : cases)
        expectFault(sampleWithout(without), invalid, at, text);
}

TEST(XMLAITApplication, IsRefusedWithTwoOfWhatMayStandOnce)
{
    const std::pair<const char*, const char*> names[] = {
        {"applicationIdentifier", "Application"},
        {"orgId", "applicationIdentifier"},
        {"appId", "applicationIdentifier"},
        {"applicationDescriptor", "Application"},
        {"type", "applicationDescriptor"},
        {"OtherApp", "type"},
        {"controlCode", "applicationDescriptor"},
        {"visibility", "applicationDescriptor"},
        {"serviceBound", "applicationDescriptor"},
        {"priority", "applicationDescriptor"},
        {"version", "applicationDescriptor"},
        {"mhpVersion", "applicationDescriptor"},
        {"profile", "mhpVersion"},
        {"versionMajor", "mhpVersion"},
        {"versionMinor", "mhpVersion"},
        {"versionMicro", "mhpVersion"},
        {"applicationUsageDescriptor", "Application"},
        {"ApplicationUsage", "applicationUsageDescriptor"},
        {"applicationBoundary", "Application"},
        {"URLBase", "applicationTransport"},
        {"applicationLocation", "Application"},
    };
    for (const auto& [name, parent] : names)
        expectFault(sampleWithTwo(name), invalid, "<" + std::string(name) + " >",
                    std::string(name) + ": expected once in " + parent);
}

TEST(XMLAITApplication, HasTheFirstOfItsNames)
{
    const ReadDocument read(sampleWith("<appName",
                                       "<appName Language=\"ger\"> \xc3\x84pfel </appName>"
                                       "<appName"));
    EXPECT_EQ(read.application().getApplicationName(), "\xc3\x84pfel");
}

TEST(XMLAITApplication, HasAtMost32Names)
{
    const auto withNames = [](size_t more, const char* last) {
        return sampleWith("<appName", repeated("<appName/>", more) + last + "<appName");
    };
    EXPECT_EQ(ReadDocument(withNames(31, "")).numberOfApplications(), 1u);
    expectFault(withNames(31, "<appName a=\"\"/>"), tooLarge, "<appName L",
                "appName: expected at most 32 in Application");
}

TEST(XMLAITApplication, HasIdsInTheirRanges)
{
    const std::pair<const char*, uint32_t> organisations[] = {
        {"1", 1}, {"4294967295", 0xFFFFFFFF}, {"0000000000000007", 7}, {" 8\n", 8}};
    for (const auto& [text, id] : organisations)
        EXPECT_EQ(ReadDocument(sampleWithText("orgId", text)).application().getOrganisationId(),
                  id);
    const std::pair<const char*, uint32_t> applications[] = {{"1", 1}, {"65533", 0xFFFD}};
    for (const auto& [text, id] : applications)
        EXPECT_EQ(ReadDocument(sampleWithText("appId", text)).application().getApplicationId(), id);

    for (const char* const text :
         {"", "0", "4294967296", "18446744073709551617", "99999999999999999999999999", "-1", "+1",
          "1 2", "0x10", "1a", "1.0", "\xd9\xa1"})
        expectFault(sampleWithText("orgId", text), invalid, "<orgId>",
                    "orgId " + quotation(text) + ": expected a number from 1 to 4294967295");
    for (const char* const text : {"", "0", "65534", "65535", "65536", "4294967296", "a"})
        expectFault(sampleWithText("appId", text), invalid, "<appId>",
                    "appId " + quotation(text) + ": expected a number from 1 to 65533");
}

TEST(XMLAITApplication, OfAnotherTypeIsSkippedWhateverElseIsInIt)
{
    const auto besideAnother = [](const std::string& other) {
        const std::string text = changed(applicationText, "<appId>2<", "<appId>3<");
        const ReadDocument read(documentOf(other + text));
        EXPECT_EQ(read.fault.getText(), "") << other;
        return read.numberOfApplications();
    };
    const std::string hbbtv = "<OtherApp>application/vnd.hbbtv.xhtml+xml</OtherApp>";
    for (const char* const type :
         {"<DvbApp>DVB-J</DvbApp>", "<DvbApp>DVB-HTML</DvbApp>", "<OtherApp>text/html</OtherApp>",
          "<OtherApp>application/xhtml+xml</OtherApp>", "<OtherApp/>"})
        EXPECT_EQ(besideAnother(changed(applicationText, hbbtv, type)), 1u) << type;
    EXPECT_EQ(besideAnother("<Application><applicationDescriptor><type><DvbApp/></type>"
                            "<controlCode>?</controlCode></applicationDescriptor></Application>"),
              1u);
    for (const char* const type :
         {"<OtherApp> application/vnd.hbbtv.xhtml+xml </OtherApp>",
          "<OtherApp>Application/Vnd.HbbTV.XHTML+XML</OtherApp>",
          "<OtherApp>application/vnd.hbbtv.xhtml+xml; charset=x</OtherApp>"})
        EXPECT_EQ(besideAnother(changed(applicationText, hbbtv, type)), 2u) << type;
}

TEST(XMLAITApplication, IsRefusedWithATypeThatOnlyLooksLikeHbbTVs)
{
    for (const char* const type :
         {"application/vnd.hbbtv.xhtml", "application/vnd.hbbtv.xhtml+xmlx",
          "APPLICATION/vnd.hbbtv", "application/vnd.hbbtv.ait+xml; charset=x"})
        expectFault(sampleWithText("OtherApp", type), invalid, "<OtherApp>",
                    "OtherApp " + quotation(type) + ": expected application/vnd.hbbtv.xhtml+xml");
}

TEST(XMLAITApplication, HasTheControlCodesOfTheStandard)
{
    const std::pair<const char*, int> codes[] = {
        {"AUTOSTART", 1}, {"PRESENT", 2}, {"DESTROY", 3},  {"KILL", 4},
        {"PREFETCH", 5},  {"REMOTE", 6},  {"DISABLED", 7}, {"PLAYBACK_AUTOSTART", 8}};
    for (const auto& [name, code] : codes)
        EXPECT_EQ(ReadDocument(sampleWithText("controlCode", name)).application().getControlCode(),
                  code)
            << name;
    for (const char* const name : {"AUTOSTRAT", "autostart", "", "1", "AUTOSTART PRESENT"})
        expectFault(sampleWithText("controlCode", name), invalid, "<controlCode>",
                    "controlCode " + quotation(name) +
                        ": expected AUTOSTART, PRESENT, DESTROY, KILL, PREFETCH, REMOTE, DISABLED, "
                        "PLAYBACK_AUTOSTART");
}

TEST(XMLAITApplication, HasTheVisibilitiesOfTheStandard)
{
    const std::pair<const char*, int> visibilities[] = {
        {"NOT_VISIBLE_ALL", 0}, {"NOT_VISIBLE_USERS", 1}, {"VISIBLE_ALL", 3}};
    for (const auto& [name, visibility] : visibilities)
        EXPECT_EQ(descriptorOf(ReadDocument(sampleWithText("visibility", name))).getVisibility(),
                  visibility);
    for (const char* const name : {"VISIBLE", "", "3"})
        expectFault(sampleWithText("visibility", name), invalid, "<visibility>",
                    "visibility " + quotation(name) +
                        ": expected NOT_VISIBLE_ALL, NOT_VISIBLE_USERS, VISIBLE_ALL");
}

TEST(XMLAITApplication, IsServiceBoundWhereThatIsSaid)
{
    const std::pair<const char*, bool> values[] = {
        {"true", true}, {"1", true}, {"false", false}, {"0", false}, {" true ", true}};
    for (const auto& [text, isBound] : values)
        EXPECT_EQ(descriptorOf(ReadDocument(sampleWithText("serviceBound", text))).isServiceBound(),
                  isBound);
    for (const char* const text : {"TRUE", "yes", "", "2"})
        expectFault(sampleWithText("serviceBound", text), invalid, "<serviceBound>",
                    "serviceBound " + quotation(text) + ": expected true, false, 1, 0");
}

TEST(XMLAITApplication, HasHexadecimalNumbersOfTheirLengths)
{
    const std::pair<const char*, int> bytes[] = {{"0", 0}, {"a", 10}, {"FF", 255}, {"7f", 127}};
    for (const auto& [text, value] : bytes) {
        EXPECT_EQ(
            descriptorOf(ReadDocument(sampleWithText("priority", text))).getApplicationPriority(),
            value);
        const auto profileWith = [byte = text](const char* name) {
            return descriptorOf(ReadDocument(sampleWithText(name, byte))).getPlatformProfiles()[0];
        };
        EXPECT_EQ(profileWith("versionMajor").getVersionMajor(), value);
        EXPECT_EQ(profileWith("versionMinor").getVersionMinor(), value);
        EXPECT_EQ(profileWith("versionMicro").getVersionMicro(), value);
    }
    const std::pair<const char*, int> words[] = {{"0", 0}, {"8000", 0x8000}, {"fFfF", 0xFFFF}};
    for (const auto& [text, value] : words)
        EXPECT_EQ(descriptorOf(ReadDocument(sampleWithText("profile", text)))
                      .getPlatformProfiles()[0]
                      .getApplicationProfile(),
                  value);

    for (const char* const name :
         {"priority", "version", "versionMajor", "versionMinor", "versionMicro"})
        for (const char* const text : {"", "100", "001", "g", "0x1", "-1",
                                       "1 "
                                       "2"})
            expectFault(sampleWithText(name, text), invalid, "<" + std::string(name) + ">",
                        std::string(name) + " " + quotation(text) +
                            ": expected 1 to 2 hexadecimal digits");
    for (const char* const text : {"", "10000", "0x01", "xyz"})
        expectFault(sampleWithText("profile", text), invalid, "<profile>",
                    "profile " + quotation(text) + ": expected 1 to 4 hexadecimal digits");
}

TEST(XMLAITApplication, IsDigitalTextWhereItsUsageIsThat)
{
    const std::pair<const char*, int> usages[] = {{"urn:dvb:mhp:2009:digitalText", 1},
                                                  {"urn:dvb:mhp:2012:digitalText", 1},
                                                  {"urn:dvb:mhp:2009:digitalTxt", 0},
                                                  {"urn:other:2009:digitalText", 0},
                                                  {":digitalText", 0},
                                                  {"digitalText", 0},
                                                  {"urn:hbbtv:other", 0},
                                                  {"", 0}};
    for (const auto& [usage, type] : usages)
        EXPECT_EQ(
            ReadDocument(sampleWithText("ApplicationUsage", usage)).application().getUsageType(),
            type)
            << usage;
    for (const char* const usage : {"urn:dvb:mhp:2009:digitaltext", "URN:dvb:mhp:2009:digitalText",
                                    "urn:dvb:mhp:2009:DigitalText"})
        expectFault(sampleWithText("ApplicationUsage", usage), invalid, "<ApplicationUsage>",
                    "ApplicationUsage " + quotation(usage) +
                        ": expected urn:dvb:mhp:2009:digitalText");
}

TEST(XMLAITApplication, HasTheBoundaryExtensionsThatADomainTakes)
{
    EXPECT_EQ(boundaryOf(""), Texts());
    EXPECT_EQ(boundaryOf(extension("http://b.example/a/b?c") + extension("dvb://1.2.3/d") +
                         extension("HTTPS://b.example") + extension("dvb://4.5.6")),
              Texts({"http://b.example", "dvb://1.2.3", "https://b.example", "dvb://4.5.6"}));
    expectFault(sampleWithText("applicationBoundary",
                               extension("http://b.example/") +
                                   "<BoundaryExtension >http://c.example/</BoundaryExtension>"),
                invalid, "<BoundaryExtension >",
                "BoundaryExtension \"http://c.example/\": expected the web host of those before "
                "it");
    EXPECT_EQ(boundaryOf(extension("/x") + extension("//a.example:8080/y")),
              Texts({"http://a.example", "http://a.example:8080"}));
    for (const char* const text : {"", "ftp://a.example/", "http:/a", "http:///a", "urn:x",
                                   "http://a b/", "dvb:/a", "javascript:x"})
        expectFault(sampleWithText("BoundaryExtension", text), invalid, "<BoundaryExtension>",
                    "BoundaryExtension " + quotation(text) +
                        ": expected an http:, https: or dvb: URL");
    expectFault(sampleWithText("BoundaryExtension", "//b.example/"), invalid, "<BoundaryExtension>",
                "BoundaryExtension \"//b.example/\": expected an http:, https: or dvb: URL, "
                "absolute since the document's URL is not known",
                "");
}

TEST(XMLAITApplication, HasAtMost32BoundaryExtensions)
{
    const std::string one = extension("http://a.example/");
    EXPECT_EQ(boundaryOf(repeated(one, 32)).size(), 32u);
    expectFault(sampleWithText("applicationBoundary",
                               repeated(one, 32) + "<BoundaryExtension >x</BoundaryExtension>"),
                tooLarge, "<BoundaryExtension >",
                "BoundaryExtension: expected at most 32 in applicationBoundary");
}

TEST(XMLAITApplication, HasItsTransportsInTheirOrder)
{
    const std::string end = "        <applicationLocation>";
    const ReadDocument read(sampleWith(end, carouselText + end));
    EXPECT_EQ(urlsOf(read),
              Texts({"http://a.example/app/index.html", "dvb://20fa.441.6dd0.2a/index.html"}));
    const ReadDocument reversed(sampleWith("        <applicationTransport",
                                           carouselText + "        <applicationTransport"));
    EXPECT_EQ(urlsOf(reversed),
              Texts({"dvb://20fa.441.6dd0.2a/index.html", "http://a.example/app/index.html"}));
    const AITApplicationTransport& carousel = *reversed.application().getTransports()[0];
    EXPECT_EQ(carousel.getProtocol(), AITApplicationTransport::OBJECT_CAROUSEL);
    EXPECT_TRUE(carousel.isRemote());
    EXPECT_EQ(carousel.getComponentTag(), 0x2a);
}

TEST(XMLAITApplication, KnowsTypesOfTransportsWhateverTheirPrefix)
{
    for (const char* const type : {"HTTPTransportType", "mhp:HTTPTransportType",
                                   "x:HTTPTransportType", " a:HTTPTransportType "})
        EXPECT_EQ(ReadDocument(sampleWith("\"HTTPTransportType\"", "\"" + std::string(type) + "\""))
                      .numberOfApplications(),
                  1u)
            << type;
    const std::string carousel =
        changed(sampleWithout("applicationTransport"), "<applicationLocation>",
                changed(carouselText, "\"OC", "\"mhp:OC") + "<applicationLocation>");
    EXPECT_EQ(urlsOf(ReadDocument(carousel)), Texts({"dvb://20fa.441.6dd0.2a/index.html"}));
}

TEST(XMLAITApplication, SkipsTransportsOfOtherTypes)
{
    const std::string other = "<applicationTransport xsi:type=\"mhp:IPTransportType\"/>";
    EXPECT_EQ(
        urlsOf(ReadDocument(sampleWith("<applicationTransport", other + "<applicationTransport")))
            .size(),
        1u);
    expectFault(changed(sampleWithout("applicationTransport"), "<applicationLocation>",
                        other + "<applicationLocation>"),
                invalid, "<Application>",
                "Application: expected an applicationTransport of HTTPTransportType or "
                "OCTransportType");
    for (const char* const type : {"HttpTransportType", "mhp:octransporttype"}) {
        const std::string typed = "<applicationTransport xsi:type=\"" + std::string(type) + "\"/>";
        expectFault(sampleWith("<applicationTransport", typed + "<applicationTransport"), invalid,
                    "<applicationTransport",
                    "xsi:type " + quotation(type + std::string(type).find_first_not_of("mhp:")) +
                        ": expected HTTPTransportType or OCTransportType");
    }
    for (const char* const type : {"", "TransportType", "HTTPTransportType:"})
        expectFault(sampleWith("\"HTTPTransportType\"", "\"" + std::string(type) + "\""), invalid,
                    "<Application>",
                    "Application: expected an applicationTransport of HTTPTransportType or "
                    "OCTransportType");
}

TEST(XMLAITApplication, IsRefusedWithATransportWithoutAType)
{
    expectFault(sampleWith(" xsi:type=\"HTTPTransportType\"", ""), invalid,
                "<applicationTransport>",
                "applicationTransport: expected an xsi:type, HTTPTransportType or OCTransportType");
    expectFault(sampleWith("xsi:type=", "type="), invalid, "<applicationTransport",
                "applicationTransport: expected an xsi:type, HTTPTransportType or OCTransportType");
}

TEST(XMLAITApplication, HasAtMost16Transports)
{
    const std::string one = "<applicationTransport xsi:type=\"HTTPTransportType\">"
                            "<URLBase>http://b.example/</URLBase></applicationTransport>";
    EXPECT_EQ(urlsOf(ReadDocument(sampleWith("<applicationLocation>",
                                             repeated(one, 15) + "<applicationLocation>")))
                  .size(),
              16u);
    expectFault(sampleWith("<applicationLocation>",
                           repeated(one, 15) + "<applicationTransport /><applicationLocation>"),
                tooLarge, "<applicationTransport />",
                "applicationTransport: expected at most 16 in Application");
}

TEST(XMLAITApplication, SkipsExtensionsOfURLs)
{
    const ReadDocument read(sampleWith(
        "</URLBase>", "</URLBase><URLExtension>x/</URLExtension><URLExtension>y/</URLExtension>"));
    EXPECT_EQ(urlsOf(read), Texts({"http://a.example/app/index.html"}));
}

TEST(XMLAITApplication, HasAPageThatIsItsLocationAfterTheURLBase)
{
    EXPECT_EQ(pageOf("http://a.example/app/", "index.html?a=b&amp;c=d#e"),
              "http://a.example/app/index.html?a=b&c=d#e");
    EXPECT_EQ(pageOf("http://a.example/app", ".html"), "http://a.example/app.html");
    EXPECT_EQ(pageOf("http://a.example/app?page=", "1"), "http://a.example/app?page=1");
    EXPECT_EQ(pageOf("http://a.example/app/index.html", ""), "http://a.example/app/index.html");
    EXPECT_EQ(pageOf("http://a.example/", "a:b/c"), "http://a.example/a:b/c");
}

TEST(XMLAITApplication, HasAPageBelowAURLBaseThatIsAnOrigin)
{
    EXPECT_EQ(pageOf("http://a.example", "index.html"), "http://a.example/index.html");
    EXPECT_EQ(pageOf("https://a.example:8080", "?a=b"), "https://a.example:8080/?a=b");
    EXPECT_EQ(pageOf("http://a.example", "/index.html"), "http://a.example/index.html");
    EXPECT_EQ(pageOf("http://a.example", ""), "http://a.example/");
}

TEST(XMLAITApplication, HasARelativeURLBaseResolvedAgainstTheDocument)
{
    EXPECT_EQ(pageOf("app/", "i"), "http://a.example/lists/app/i");
    EXPECT_EQ(pageOf("/app/", "i"), "http://a.example/app/i");
    EXPECT_EQ(pageOf("../app/./", "i"), "http://a.example/app/i");
    EXPECT_EQ(pageOf("//b.example/", "i"), "http://b.example/i");
    EXPECT_EQ(pageOf("app/", "i", "https://c.example"), "https://c.example/app/i");
}

TEST(XMLAITApplication, IsRefusedWithAURLBaseThatIsNoWebAddress)
{
    for (const char* const text : {"", "dvb://1.2.3/", "ftp://a.example/", "http:", "http:a",
                                   "http://", "http:///a", "http://:80/", "http://@/",
                                   "https://u@:80", "http://a b/", "http://a.example/\xc2\xa0 x"})
        expectFault(sampleWithText("URLBase", text), invalid, "<URLBase>",
                    "URLBase " + quotation(text) + ": expected an http: or https: URL");
    for (const char* const text : {"app/", "/app/", "//a.example/", "?x"})
        expectFault(sampleWithText("URLBase", text), invalid, "<URLBase>",
                    "URLBase " + quotation(text) +
                        ": expected an http: or https: URL, absolute since the document's URL is "
                        "not known",
                    "");
    for (const char* const base : {"a.example", "dvb://1.2.3.4/ait.xml", "file:///ait.xml"})
        expectFault(sampleWithText("URLBase", "app/"), invalid, "<URLBase>",
                    "URLBase \"app/\": expected an http: or https: URL", base);
}

TEST(XMLAITApplication, IsRefusedWithALocationThatCannotFollowTheURLBase)
{
    for (const char* const text : {"http://a.example/i", "dvb://1.2.3.4/i", "a b", "a\nb"})
        expectFault(sampleWithText("applicationLocation", text), invalid, "<applicationLocation>",
                    "applicationLocation " + quotation(text) +
                        ": expected what follows the URLBase, without blanks");
}

TEST(XMLAITApplication, IsRefusedWithACarouselThatIsNotNamed)
{
    const auto withCarousel = [](const std::string& part, const std::string& by) {
        return sampleWith("        <applicationTransport",
                          changed(carouselText, part, by) + "        <applicationTransport");
    };
    const std::string triplet =
        "<DvbTriplet OrigNetId=\"8442\" TSId=\"1089\" ServiceId=\"28112\"/>";
    const std::string tag = "<ComponentTag ComponentTag=\"2a\"/>";
    const struct {
        std::string part;
        std::string by;
        const char* at;
        const char* text;
    } cases[] = {
        {triplet, "", "<applicationTransport", "applicationTransport: expected DvbTriplet"},
        {triplet, triplet + "<DvbTriplet />", "<DvbTriplet />",
         "DvbTriplet: expected once in applicationTransport"},
        {tag, "", "<applicationTransport", "applicationTransport: expected ComponentTag"},
        {tag, tag + "<ComponentTag />", "<ComponentTag />",
         "ComponentTag: expected once in applicationTransport"},
        {"OrigNetId=\"8442\"", "", "<DvbTriplet", "DvbTriplet: expected an attribute OrigNetId"},
        {"TSId=\"1089\"", "", "<DvbTriplet", "DvbTriplet: expected an attribute TSId"},
        {"ServiceId=\"28112\"", "", "<DvbTriplet", "DvbTriplet: expected an attribute ServiceId"},
        {"\"8442\"", "\"65536\"", "<DvbTriplet",
         "OrigNetId \"65536\": expected a number from 0 to 65535"},
        {"\"1089\"", "\"x\"", "<DvbTriplet", "TSId \"x\": expected a number from 0 to 65535"},
        {"\"28112\"", "\"\"", "<DvbTriplet", "ServiceId \"\": expected a number from 0 to 65535"},
        {"\"2a\"", "\"12a\"", "<ComponentTag",
         "ComponentTag \"12a\": expected 1 to 2 hexadecimal digits"},
        {tag, "<ComponentTag/>", "<ComponentTag",
         "ComponentTag \"\": expected 1 to 2 hexadecimal digits"},
    };
    for (const auto& [part, by, at, text] : cases)
        expectFault(withCarousel(part, by), invalid, at, text);
    const ReadDocument read(withCarousel(tag, "<ComponentTag> 2B </ComponentTag>"));
    EXPECT_EQ(read.application().getTransports()[0]->getComponentTag(), 0x2b) << "as its text";
}

}  // namespace
