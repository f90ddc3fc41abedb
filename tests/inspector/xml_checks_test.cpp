// What is said of an XML AIT, and where.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

#include "inspector/check/report.h"
#include "tests/inspector/support/xml.h"

namespace inspector::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using vesta::test::applicationText;
using vesta::test::carouselText;
using vesta::test::changed;
using vesta::test::documentOf;
using vesta::test::manyOf;
using vesta::test::placeOf;
using vesta::test::sampleDocument;

/// As "line:column id application: detail".
std::vector<std::string> findingsOf(const std::string& document)
{
    std::vector<std::string> found;
    const Findings findings = checkXml(document);
    for (const Finding& finding : findings.all())
        found.push_back(std::to_string(finding.place.line.value_or(0)) + ":" +
                        std::to_string(finding.place.column.value_or(0)) + " " + finding.kind->id +
                        " " + finding.place.application + ": " + finding.detail);
    return found;
}

std::string at(const std::string& document, const std::string& part)
{
    const VestaHbbTV::XMLPlace place = placeOf(document, part);
    return std::to_string(place.line) + ":" + std::to_string(place.column) + " ";
}

TEST(XmlChecks, AcceptARightDocument)
{
    EXPECT_THAT(findingsOf(sampleDocument()), ElementsAre());
}

TEST(XmlChecks, SayWhereADocumentCannotBeRead)
{
    const std::string document = changed(sampleDocument(), "AUTOSTART", "AUTOSTRAT");
    EXPECT_THAT(findingsOf(document),
                ElementsAre(HasSubstr(at(document, "<controlCode>") +
                                      "xml-ait : controlCode \"AUTOSTRAT\"")));
    std::ostringstream report;
    printReport(checkXml(document), report);
    EXPECT_THAT(report.str(), HasSubstr(".xml, line 14, column 11\n"));
}

TEST(XmlChecks, LookAtProfilesAndVersions)
{
    std::string document = changed(sampleDocument(), ">0000<", ">8000<");
    EXPECT_THAT(findingsOf(document), ElementsAre(at(document, "<Application>") +
                                                  "profile-unknown 1.2: 0x8000 version 1.1.1"));
    document = changed(sampleDocument(), "<versionMicro>01<", "<versionMicro>02<");
    EXPECT_THAT(findingsOf(document), ElementsAre(at(document, "<Application>") +
                                                  "profile-version 1.2: 0x0000 version 1.1.2"));
}

TEST(XmlChecks, LookAtPriorities)
{
    const std::string second = changed(changed(applicationText, "<appId>2<", "<appId>3<"),
                                       "<Application>", "<Application >");
    const std::string document = documentOf(applicationText + second);
    EXPECT_THAT(findingsOf(document),
                ElementsAre(at(document, "<Application >") +
                            "autostart-equal-priority 1.3: 1.2, 1.3 have priority 127"));
    EXPECT_THAT(findingsOf(documentOf(applicationText + changed(second, ">7F<", ">7E<"))),
                ElementsAre());
}

TEST(XmlChecks, LookAtBoundaries)
{
    const std::string foreign =
        changed(sampleDocument(), "<BoundaryExtension>http://a", "<BoundaryExtension>http://b");
    EXPECT_THAT(findingsOf(foreign),
                ElementsAre(at(foreign, "<Application>") +
                                "boundary-foreign-host 1.2: \"http://b.example\", the page is "
                                "http://a.example/app/index.html",
                            HasSubstr("boundary-page-outside 1.2: ")));
}

/// That the page comes over the network is no wonder, and every id is valid there.
TEST(XmlChecks, LeaveOutWhatIsOfSectionsAlone)
{
    EXPECT_THAT(findingsOf(changed(sampleDocument(), "<appId>2<", "<appId>65533<")), ElementsAre());
    EXPECT_THAT(findingsOf(changed(sampleDocument(), "<applicationLocation>",
                                   carouselText + "<applicationLocation>")),
                ElementsAre());
}

TEST(XmlChecks, SayWhatWasSkipped)
{
    const std::string document =
        changed(sampleDocument(), "<orgId>", "<organisation>1</organisation><orgId>");
    EXPECT_THAT(findingsOf(document),
                ElementsAre(at(document, "<organisation>") +
                            "xml-skipped : \"organisation\" in applicationIdentifier"));
}

TEST(XmlChecks, LookAtManyApplications)
{
    const Findings findings = checkXml(documentOf(manyOf(applicationText, 256)));
    EXPECT_THAT(findings.countOf(Severity::Warning), 1U) << "their priorities are equal";
}

}  // namespace
}  // namespace inspector::test
