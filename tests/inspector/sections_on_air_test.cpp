// What is wrong with sections that come in a stream: each is found, where it is.

#include <gtest/gtest.h>

#include "inspector/check/report.h"
#include "tests/inspector/support/signal.h"

namespace inspector::test {
namespace {

using namespace receiver;
using vesta::test::descriptor;

/// Beside the right table.
Findings findingsWith(const Bytes& section)
{
    Signal signal;
    signal["wrong"] = {aitPid, {section}};
    return check(*surveyOf(signal.bytes()));
}

std::vector<std::string> placesOf(const Findings& findings, const std::string& id)
{
    std::vector<std::string> places;
    for (const Finding& finding : findings.all()) {
        if (finding.kind->id == id)
            places.push_back(textOf(finding.place));
    }
    return places;
}

AITSection table()
{
    return AITSection().version(4).add(rightApplication(7));
}

/// With a right CRC_32 after the change.
Bytes changed(Bytes section, size_t at, unsigned char value)
{
    section.at(at) = value;
    VestaHbbTV::setChecksum(section);
    return section;
}

Bytes longTable(size_t bytes)
{
    AITSection section;
    for (size_t at = 0; at < bytes; at += 200)
        section.common(descriptor(0x7F, Bytes(200, 1)));
    return section.bytes();
}

Bytes wrongLast(Bytes section)
{
    section.back() ^= 1;
    return section;
}

/// So many bytes of a section, of which the rest never comes.
Bytes begunTable(size_t bytes)
{
    Bytes section = longTable(800);
    section[6] = section[7] = 2;  // its number
    section.resize(bytes);
    return section;
}

TEST(SectionsOnAir, AreFoundWrongWhereTheyAre)
{
    const AITEntry left = AITEntry(0x0A, 2).raw({0x7F, 9, 0});
    const std::string service = "service 28112, PID 0x0200, AIT";
    const std::tuple<const char*, Bytes, std::string> cases[] = {
        {"section-length", longTable(1'000), ", section 0, byte 1"},
        {"section-length", changed(changed(table().bytes(), 1, 0xFF), 2, 0xFF),
         ", byte 1"},  // 4095
        {"section-syntax", changed(table().bytes(), 1, 0x70), ", byte 1"},
        {"section-crc", wrongLast(table().number(1, 1).bytes()), ", section 1, byte 87"},
        {"section-incomplete", begunTable(300), ", section 2, byte 1"},
        {"section-number", table().number(2, 1).bytes(), ", section 2, byte 6"},
        {"section-not-current", table().currentNext(false).bytes(), ", section 0, byte 5"},
        {"section-test-beside", table().applicationType(0x8010).bytes(), ", section 0, byte 3"},
        {"section-common-loop", table().commonLength(0x0FFF).bytes(), ", section 0, byte 8"},
        {"section-application-loop", table().applicationLoopLength(0x0FFF).bytes(),
         ", section 0, byte 10"},
        {"section-application", AITSection().add(rightApplication(7).loopLength(0x0FFF)).bytes(),
         ", section 0, byte 12, application a.7"},
        {"section-descriptor", AITSection().add(AITEntry(0x0A, 1).usage(1)).add(left).bytes(),
         ", section 0, byte 53, application a.2"},
        {"section-name",
         AITSection()
             .add(AITEntry(0x0A, 3).raw(descriptor(0x01, {'e', 'n', 'g', 200, 'x'})))
             .bytes(),
         ", section 0, byte 31, application a.3"},
        {"section-refused",
         AITSection().add(AITEntry(0x0A, 3).raw({0x01, 4, 'e', 'n', 'g', 2, 0x77, 0})).bytes(),
         ", section 0, byte 0"},
    };
    for (const auto& [id, section, place] : cases)
        EXPECT_EQ(placesOf(findingsWith(section), id), std::vector<std::string>{service + place})
            << id;
}

TEST(SectionsOnAir, HaveAFindingForEachApplicationWithAnEmptyDescriptor)
{
    AITSection section;
    for (uint16_t id = 1; id <= 4; ++id) {
        AITEntry entry = rightApplication(id);
        section.add(id == 3 ? entry : entry.raw(descriptor(0x03, {}) + descriptor(0x03, {})));
    }
    std::vector<std::string> applications;
    const Findings findings = findingsWith(section.bytes());
    for (const Finding& finding : findings.all()) {
        if (finding.kind->id == std::string("section-empty-descriptor"))
            applications.push_back(finding.place.application);
    }
    EXPECT_EQ(applications, (std::vector<std::string>{"a.1", "a.2", "a.4"}));
}

TEST(SectionsOnAir, NameTheServiceThatAloneHasThem)
{
    Signal signal;
    signal["wrong"] = {aitPid, {table().commonLength(0x0FFF).bytes()}};
    signal["pat"].sections = {makePat(0x0441, 1, {{serviceId, pmtPid}, {5, 0x60}})};
    signal["pmt of 5"] = {0x60, {makePmt(5, 0, {aitStream()})}, 100};
    EXPECT_EQ(placesOf(check(*surveyOf(signal.bytes())), "section-common-loop"),
              std::vector<std::string>{"PID 0x0200, AIT, section 0, byte 8"});
}

/// Packets of another PID than the first one that has lost one.
TEST(Continuity, SaysWhichPidsHaveGaps)
{
    Bytes stream = Signal().bytes();
    std::map<unsigned, unsigned> packets;
    for (size_t at = 0; at < stream.size();) {
        const unsigned pid = ((stream[at + 1] & 0x1FU) << 8) | stream[at + 2];
        const bool isLost = (pid == aitPid && packets[pid] == 3) ||
                            (pid == carouselPid && packets[pid] % 7 == 3 && packets[pid] < 14);
        ++packets[pid];
        const auto begin = stream.begin() + std::ptrdiff_t(at);
        if (isLost)
            stream.erase(begin, begin + 188);
        else
            at += 188;
    }
    std::vector<std::string> found;
    const Findings findings = check(*surveyOf(stream));
    for (const Finding& finding : findings.all()) {
        if (finding.kind->id == std::string("continuity"))
            found.push_back(textOf(finding.place) + ": " + finding.detail);
    }
    EXPECT_EQ(found,
              (std::vector<std::string>{"service 28112, PID 0x0200: 1 gap", "PID 0x0201: 2 gaps"}));
}

TEST(UnlistedTables, AreFoundWhereverTheyBeginInAPacket)
{
    const Bytes ait = table().bytes();
    const Bytes other = makeSection({0x75, 1}, Bytes(30, 0));
    const Bytes rest(183 - ait.size(), 0xFF);
    const Bytes filler(183 - other.size() - ait.size(), 0xFF);
    const Bytes stuffing(20, 0xFF);
    const auto find = [](const auto& write) {
        Signal signal;
        signal.streams({carouselStream()}).without("ait");
        Bytes stream = signal.bytes();
        PacketWriter writer(0x300);
        for (unsigned i = 0; i < 5; ++i)
            stream = stream + write(writer);
        // It is looked for where the PMT has come, and comes again after it.
        return placesOf(check(*surveyOf(stream)), "pmt-ait-unlisted");
    };
    const std::vector<std::string> expected = {"PID 0x0300, AIT"};
    EXPECT_EQ(find([&](PacketWriter& w) { return w.packet(true, {}, Bytes{0} + ait + rest); }),
              expected);
    EXPECT_EQ(
        find([&](PacketWriter& w) { return w.packet(true, {}, Bytes{0} + other + ait + filler); }),
        expected)
        << "after another section";
    EXPECT_EQ(find([&](PacketWriter& w) {
                  return w.packet(true, Bytes{0} + Bytes(18, 0xFF),
                                  Bytes{0} + ait + Bytes(163 - ait.size(), 0xFF));
              }),
              expected)
        << "after an adaptation field";
    EXPECT_EQ(find([&](PacketWriter& w) {
                  return w.packet(true, {}, Bytes{0} + other + Bytes(183 - other.size(), 0xFF));
              }),
              std::vector<std::string>());
}

/// Of a table that is not the last one.
TEST(OlderTables, AreLookedAtAsWell)
{
    const auto idsWith = [](const Bytes& section, unsigned untilMs) {
        Signal signal;
        signal["before"] = {aitPid, {section}, 1'000, 0, untilMs};
        signal["ait"].fromMs = untilMs;
        return check(*surveyOf(signal.bytes()));
    };
    const AITEntry wrong = AITEntry(0x0A, 0xFFFF).withoutApplicationDescriptor();
    const Findings bad = idsWith(AITSection().version(2).add(wrong).bytes(), 10'000);
    for (const char* const id : {"application-id-wildcard", "application-descriptor-missing"})
        EXPECT_EQ(placesOf(bad, id).size(), 1U) << id;
    const auto detail = std::find_if(bad.all().begin(), bad.all().end(), [](const auto& finding) {
        return finding.kind->id == std::string("application-descriptor-missing");
    });
    ASSERT_NE(detail, bad.all().end());
    EXPECT_NE(detail->detail.find("in version 2, which was not the last"), std::string::npos);
    EXPECT_EQ(idsOf(idsWith(AITSection().version(2).add(rightApplication()).bytes(), 10'000)),
              std::set<std::string>{"version-alone"});
    const Bytes part = AITSection().version(2).number(0, 1).add(rightApplication()).bytes();
    EXPECT_EQ(idsOf(idsWith(part, 10'000)), std::set<std::string>{"table-incomplete"});
    EXPECT_EQ(idsOf(idsWith(part, 2'000)), std::set<std::string>()) << "it has hardly begun";
}

/// Tables that come late are missed from the stream's beginning on.
TEST(Repetition, IsMeasuredFromTheBeginning)
{
    const auto findings = [](const char* name, unsigned fromMs) {
        Signal signal;
        signal.durationMs = 25'000;
        signal[name].fromMs = fromMs;
        return findingsIn(signal);
    };
    for (const char* const name : {"pat", "pmt", "sdt", "eit", "ait"}) {
        const std::string id = std::string("repetition-") + name;
        EXPECT_EQ(findings(name, 15'000).count(id), 1U) << name;
        EXPECT_EQ(findings(name, 200).count(id), 0U) << name;
    }
}

TEST(Repetition, IsMeasuredToTheEnd)
{
    for (const char* const name : {"pat", "pmt", "sdt", "eit", "ait"}) {
        Signal signal;
        signal.durationMs = 25'000;
        signal[name].untilMs = 5'000;
        EXPECT_EQ(findingsIn(signal).count(std::string("repetition-") + name), 1U) << name;
    }
}

TEST(Repetition, OfATableThatThePmtNamesLateIsMeasuredFromThere)
{
    Signal signal;
    signal.durationMs = 25'000;
    signal["ait"].fromMs = 15'000;
    const Bytes named = signal["pmt"].sections.front();
    signal["pmt"].sections = {makePmt(serviceId, 3, {carouselStream()})};
    signal["pmt"].untilMs = 14'000;
    signal["pmt, later"] = {pmtPid, {named}, 100, 14'000};
    EXPECT_EQ(findingsIn(signal).count("repetition-ait"), 0U);
}

}  // namespace
}  // namespace inspector::test
