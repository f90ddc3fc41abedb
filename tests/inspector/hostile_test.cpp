// Whatever comes: nothing is read beyond a section, memory and output stay bounded, and the tree
// can be printed and checked.

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>

#include "inspector/check/report.h"
#include "inspector/dump/document.h"
#include "inspector/dump/printers.h"
#include "tests/inspector/support/signal.h"

namespace inspector::test {
namespace {

using namespace receiver;

constexpr size_t mostOutput = 4'000'000;

/// The report ends with the number of findings, and has no character that a terminal obeys.
void checkReport(const std::string& report)
{
    EXPECT_THAT(report, testing::EndsWith(" for information\n"));
    const auto isControl = [](char c) { return (c >= 0 && c < ' ' && c != '\n') || c == '\x7F'; };
    EXPECT_TRUE(std::none_of(report.begin(), report.end(), isControl)) << report;
}

/// Everything that the program does with a survey. @return the size of what it printed
size_t useAll(const Survey& survey)
{
    std::ostringstream report;
    const Findings findings = check(survey);
    printReport(findings, report);
    checkReport(report.str());
    size_t size = report.str().size();
    for (const Node& document : {documentOf(survey), documentOf(survey, findings)}) {
        std::ostringstream text, json;
        printText(document, text);
        printJson(document, json);
        EXPECT_TRUE(nlohmann::json::accept(json.str())) << json.str();
        size += text.str().size() + json.str().size();
    }
    EXPECT_LT(size, mostOutput);
    return size;
}

std::vector<Bytes> sectionsOf(Signal& signal)
{
    std::vector<Bytes> all;
    for (const char* const name : {"pat", "pmt", "sdt", "eit", "schedule", "ait", "carousel"}) {
        for (const Bytes& section : signal[name].sections)
            all.push_back(section);
    }
    return all;
}

/// Some bytes are others; the checksum is right, so that the section is looked at.
Bytes spoiled(Bytes section, std::mt19937& random)
{
    for (uint64_t count = 1 + random() % 4; count > 0; --count)
        section[3 + random() % (section.size() - 7)] = static_cast<unsigned char>(random());
    VestaHbbTV::setChecksum(section);
    return section;
}

TEST(Hostile, SpoiledSectionsAreSurveyed)
{
    std::mt19937 random(1);
    Signal signal;
    signal.application(rightApplication()
                           .boundary({"http://a.example", "b"})
                           .recording(0xFF, {"one"}, {1, 2})
                           .usage(1));
    const std::vector<Bytes> right = sectionsOf(signal);
    for (unsigned round = 0; round < 300; ++round) {
        std::vector<Bytes> sections;
        for (const Bytes& section : right)
            sections.push_back(random() % 2 == 0 ? section : spoiled(section, random));
        useAll(*surveyOfSections(sections));
    }
}

TEST(Hostile, SpoiledStreamsAreSurveyed)
{
    std::mt19937 random(2);
    for (unsigned round = 0; round < 60; ++round) {
        Signal signal;
        signal.durationMs = 2'000;
        for (const char* const name : {"pat", "pmt", "sdt", "eit", "ait", "carousel"}) {
            for (Bytes& section : signal[name].sections)
                section = random() % 2 == 0 ? section : spoiled(section, random);
        }
        Bytes stream = signal.bytes();
        for (uint64_t count = random() % 20; count > 0; --count)
            stream[random() % stream.size()] = static_cast<unsigned char>(random());
        useAll(*surveyOf(stream));
    }
}

/// A table that is another one each time.
TEST(Hostile, TablesThatChangeForEverTakeBoundedMemory)
{
    SurveyLimits limits;
    limits.tableBytes = 20'000;
    Survey survey(limits);
    for (unsigned round = 0; round < 2'000; ++round) {
        const AITEntry entry = rightApplication(static_cast<uint16_t>(round + 1));
        const auto version = static_cast<uint8_t>(round % 32);
        survey.take(aitPid, AITSection().version(version).add(entry).bytes(), std::nullopt);
    }
    survey.finish(std::nullopt);
    const TableHistory& history = survey.aits.begin()->second;
    EXPECT_LE(history.versions().size(), TableHistory::mostVersions);
    EXPECT_EQ(history.changes(), 1'999U);
    EXPECT_EQ(history.latest()->version, 1'999 % 32) << "the newest is kept";
    EXPECT_LT(useAll(survey), 100'000U);
}

TEST(Hostile, TablesForWhichThereIsNoMemoryAreCounted)
{
    SurveyLimits limits;
    limits.tableBytes = 1'000;
    limits.tables = 20;
    Survey survey(limits);
    for (unsigned pid = 0x100; pid < 0x200; ++pid)
        survey.take(uint16_t(pid), AITSection().add(rightApplication()).bytes(), std::nullopt);
    survey.finish(std::nullopt);
    EXPECT_EQ(survey.aits.size(), 20U);
    EXPECT_EQ(survey.leftOut.tables, 0x100U - 20U);
    uint64_t leftOut = 0;
    for (const auto& [key, history] : survey.aits)
        leftOut += history.leftOut();
    EXPECT_GT(leftOut, 0U);
    EXPECT_EQ(idsOf(check(survey)).count("survey-limit"), 1U);
}

TEST(Hostile, ManyServicesAreTakenUpToALimit)
{
    SurveyLimits limits;
    limits.services = 10;
    Survey survey(limits);
    for (unsigned id = 1; id <= 100; ++id)
        survey.take(std::nullopt, makePmt(id, 0, {aitStream()}), std::nullopt);
    EXPECT_EQ(survey.services.size(), 10U);
    EXPECT_EQ(survey.leftOut.services, 90U);
}

TEST(Hostile, ServicesWithTheSameCarouselsShareThem)
{
    Signal signal;
    std::vector<PatEntry> programs;
    for (unsigned id = 1; id <= 20; ++id) {
        programs.push_back({id, 0x1000 + id});
        signal["pmt of " + std::to_string(id)] = {
            0x1000 + id, {makePmt(id, 0, {aitStream(), carouselStream()})}, 100};
    }
    signal["pat"].sections = {makePat(1, 0, programs)};
    const auto survey = surveyOf(signal.bytes());
    EXPECT_EQ(survey->leftOut.carousels, 0U);
    std::set<const CarouselSurvey*> different;
    for (const auto& [id, service] : survey->services)
        different.insert(service.carousels.get());
    EXPECT_EQ(survey->services.size(), 20U);
    EXPECT_EQ(different.size(), 1U);
}

/// What many services share is in the document once.
TEST(Hostile, TablesThatManyServicesShareMakeNoLongDocument)
{
    const auto lengthFor = [](unsigned services) {
        std::vector<Bytes> sections;
        for (unsigned id = 1; id <= services; ++id)
            sections.push_back(makePmt(id, 0, {aitStream()}));
        Survey survey;
        for (const Bytes& section : sections)
            survey.take(pmtPid, section, std::nullopt);
        AITSection table;
        for (uint16_t id = 1; id <= 10; ++id)
            table.add(AITEntry(1, id).raw(vesta::test::descriptor(0x7F, Bytes(70, 1))));
        survey.take(aitPid, table.bytes(), std::nullopt);
        survey.finish(std::nullopt);
        std::ostringstream out;
        printJson(documentOf(survey), out);
        return out.str().size();
    };
    EXPECT_LT(lengthFor(100), 10 * lengthFor(10));
    EXPECT_LT(lengthFor(100) - lengthFor(99), 3'000U);
}

}  // namespace
}  // namespace inspector::test
