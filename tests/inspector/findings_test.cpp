// Each kind of finding: something that produces it, and something much like it that does not.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <ostream>
#include <regex>
#include <string_view>
#include <unistd.h>

#include "inspector/check/report.h"
#include "inspector/input/input_reader.h"
#include "tests/inspector/support/signal.h"
#include "tests/inspector/support/xml.h"

namespace inspector::test {
namespace {

using namespace receiver;
using vesta::test::applicationDescriptor;
using vesta::test::ApplicationFields;
using vesta::test::descriptor;
using vesta::test::httpTransport;
using vesta::test::locationDescriptor;
using vesta::test::nameDescriptor;
using vesta::test::otherTransport;

using Ids = std::set<std::string>;
using Case = std::function<Findings()>;

/// A kind of finding, and two cases that differ in what it is about.
struct Row {
    const char* id;
    Case with;
    Case without;
};

void PrintTo(const Row& row, std::ostream* out)
{
    *out << row.id;
}

/// The right signal after a change.
template <typename Change>
Case signal(Change change)
{
    return [change] {
        Signal signal;
        change(signal);
        return check(*surveyOf(signal.bytes()));
    };
}

Case clean()
{
    return signal([](Signal&) {});
}

Case application(const AITEntry& entry)
{
    return signal([entry](Signal& signal) { signal.application(entry); });
}

Case table(const AITSection& section)
{
    return signal([section](Signal& signal) { signal.ait(section); });
}

Case streams(const std::vector<PmtStream>& streams)
{
    return signal([streams](Signal& signal) { signal.streams(streams); });
}

Case emission(const std::string& name, const Emission& emission)
{
    return signal([=](Signal& signal) { signal[name] = emission; });
}

Case withPeriod(const std::string& name, unsigned ms, unsigned durationMs = 15'000)
{
    return signal([=](Signal& signal) {
        signal[name].periodMs = ms;
        signal.durationMs = durationMs;
    });
}

Case sections(const std::vector<Bytes>& bytes)
{
    return [bytes] { return check(*surveyOfSections(bytes)); };
}

AITSection rightTable()
{
    return AITSection().version(3).add(rightApplication());
}

/// With a right CRC_32 after the change.
Bytes changed(Bytes section, size_t at, unsigned char value)
{
    section.at(at) = value;
    VestaHbbTV::setChecksum(section);
    return section;
}

Bytes numbered(const Bytes& section, unsigned char number, unsigned char last)
{
    return changed(changed(section, 6, number), 7, last);
}

Bytes cut(Bytes section, size_t bytes)
{
    section.resize(section.size() - bytes);
    return section;
}

/// Another version of the right table; it may have another content.
Emission version(unsigned version, uint16_t applicationId, unsigned fromMs, unsigned untilMs)
{
    const Bytes section = AITSection()
                              .version(static_cast<uint8_t>(version))
                              .add(rightApplication(applicationId))
                              .bytes();
    return {aitPid, {section}, 1'000, fromMs, untilMs};
}

/// Two contents, one after the other, each so long.
Case alternating(unsigned ms)
{
    return signal([ms](Signal& signal) {
        signal.durationMs = 30'000;
        signal.without("ait");
        for (unsigned from = 0; from < signal.durationMs; from += ms) {
            Emission& part = signal["ait from " + std::to_string(from)];
            part = version(3, uint16_t(1 + from / ms % 2), from, from + ms);
            part.periodMs = 200;
        }
    });
}

Case twoVersions(const Emission& first, const Emission& second)
{
    return signal([=](Signal& signal) {
        signal["ait"] = first;
        signal["ait, later"] = second;
    });
}

AITEntry withProfile(vesta::test::Profile profile)
{
    return rightApplication().profiles({profile});
}

AITEntry bareApplication()
{
    return AITEntry(0x0A, 1).location("index.html");
}

AITEntry withBoundary(const std::string& extension)
{
    return rightApplication().boundary({extension});
}

AITSection tableOfCommonBytes(size_t bytes)
{
    AITSection section;
    for (size_t at = 0; at < bytes; at += 200)
        section.common(descriptor(0x7F, Bytes(200, 1)));
    return section;
}

/// A carousel whose list announces one thing, and whose blocks bring another.
Case carousel(const ModuleFields& announced, const std::vector<Bytes>& blocks)
{
    return signal([=](Signal& signal) {
        std::vector<Bytes>& all = signal["carousel"].sections;
        all = {all.front(), makeDii(0x80000002, {announced})};
        all.insert(all.end(), blocks.begin(), blocks.end());
    });
}

ModuleFields rightAnnouncement()
{
    return {1, uint32_t(rightModule().size())};
}

std::vector<Bytes> rightBlocks()
{
    return makeDdbs(1, 0, rightModule());
}

std::vector<Bytes> with(std::vector<Bytes> blocks, const Bytes& another)
{
    blocks.push_back(another);
    return blocks;
}

std::vector<Bytes> withoutLast(std::vector<Bytes> blocks)
{
    blocks.pop_back();
    return blocks;
}

Case moduleOf(const Bytes& module)
{
    return signal([=](Signal& signal) { signal.module(module); });
}

Bytes gatewayTo(const std::string& name, const std::string& key)
{
    IorFields file;
    file.typeId = std::string("fil\0", 4);
    file.key = key;
    IorFields index = file;
    index.key = "index";
    return makeGateway("root", {{"index.html", makeIor(index)}, {name, makeIor(file)}});
}

/// A document with a part of it replaced.
Case xml(const std::string& part, const std::string& by)
{
    return [=] { return checkXml(vesta::test::changed(vesta::test::sampleDocument(), part, by)); };
}

/// As many applications as the feed takes, and so many more.
std::vector<Bytes> tableOf(unsigned applications)
{
    constexpr unsigned inASection = 16;
    const unsigned last = (applications - 1) / inASection;
    std::vector<Bytes> sections;
    for (unsigned number = 0; number <= last; ++number) {
        AITSection section;
        section.number(static_cast<uint8_t>(number), static_cast<uint8_t>(last));
        for (unsigned i = number * inASection;
             i < std::min(applications, (number + 1) * inASection); ++i)
            section.add(
                AITEntry(0x0A, static_cast<uint16_t>(i + 1), 2).http(1, "http://a.example/"));
        sections.push_back(section.bytes());
    }
    return sections;
}

Case survey(const SurveyLimits& limits)
{
    return [limits] {
        const Bytes stream = Signal().bytes();
        Survey survey(limits);
        StreamSurveyor surveyor(survey, std::nullopt);
        surveyor.feed(stream.data(), stream.size());
        surveyor.finish();
        return check(survey);
    };
}

SurveyLimits noCarousels()
{
    SurveyLimits limits;
    limits.carouselGroups = 0;
    return limits;
}

Case cutStream(size_t packet)
{
    return [packet] {
        Bytes stream = Signal().bytes();
        constexpr std::ptrdiff_t size = 188;
        const auto at = stream.begin() + std::ptrdiff_t(packet) * size;
        stream.erase(at, at + (packet == 0 ? 0 : size));
        return check(*surveyOf(stream));
    };
}

/// A packet of the carousel, in a block of several.
size_t middlePacket()
{
    const Bytes stream = Signal().bytes();
    size_t packet = 0;
    for (size_t at = 0; at < stream.size(); at += 188) {
        const unsigned pid = ((stream[at + 1] & 0x1FU) << 8) | stream[at + 2];
        if (pid == carouselPid)
            packet = at / 188;
    }
    return packet - 1;
}

Bytes sdtOf(unsigned transportStreamId)
{
    return changed(
        changed(sdtWith(serviceId, 3), 3, static_cast<unsigned char>(transportStreamId >> 8)), 4,
        static_cast<unsigned char>(transportStreamId));
}

const Bytes emptyDescriptor = descriptor(0x03, {});
const std::vector<PmtStream> rightStreams = {
    {0x1B, 0x0100, makeDescriptor(0x52, {0})}, aitStream(), carouselStream()};

std::vector<PmtStream> withStream(size_t index, const PmtStream& stream)
{
    std::vector<PmtStream> list = rightStreams;
    list[index] = stream;
    return list;
}

/// A file that no other run of these tests writes at the same time.
std::string ownFile(const std::string& name)
{
    return testing::TempDir() + "/" + std::to_string(::getpid()) + "-" + name;
}

std::vector<Row> rows()
{
    const Bytes right = rightTable().bytes();
    return {
        {"section-incomplete",
         [right] {
             Survey survey;
             InputReader reader(survey, ReadingOptions());
             const std::string path = ownFile("cut-section.bin");
             const Bytes bytes = cut(right, 1);
             std::ofstream(path, std::ios::binary)
                 .write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
             EXPECT_EQ(reader.read(path), "");
             reader.finish();
             std::filesystem::remove(path);
             return check(survey);
         },
         sections({right})},
        {"section-not-ait", signal([](Signal& signal) {
             signal["other"] = {aitPid, {makeSection({0x75, 0x10}, Bytes(20, 0))}};
         }),
         clean()},
        {"section-length", sections({tableOfCommonBytes(5 * 200).bytes()}),
         sections({tableOfCommonBytes(4 * 200).bytes()})},
        {"section-syntax", sections({changed(right, 1, right[1] & 0x7F)}), sections({right})},
        {"section-crc", sections({[right] {
             Bytes section = right;
             section.back() ^= 1;
             return section;
         }()}),
         sections({right})},
        {"section-test", table(rightTable().applicationType(0x8010)), signal([](Signal& signal) {
             signal["test"] = {aitPid, {rightTable().applicationType(0x8010).bytes()}};
         })},
        {"section-test-beside", signal([](Signal& signal) {
             signal["test"] = {aitPid, {rightTable().applicationType(0x8010).bytes()}};
         }),
         table(rightTable().applicationType(0x8010))},
        {"section-not-current", signal([](Signal& signal) {
             signal["next"] = {aitPid, {rightTable().version(4).currentNext(false).bytes()}};
         }),
         clean()},
        {"section-number", sections({rightTable().number(2, 1).bytes()}),
         sections({rightTable().number(0, 0).bytes()})},
        {"section-common-loop", sections({rightTable().commonLength(0x0FFF).bytes()}),
         sections({right})},
        {"section-application-loop", sections({rightTable().applicationLoopLength(0x0FFF).bytes()}),
         sections({right})},
        {"section-application",
         sections({AITSection().add(rightApplication().loopLength(0x0FFF)).bytes()}),
         sections({right})},
        {"section-descriptor",
         sections({AITSection().add(rightApplication().raw({0x7F, 9, 0})).bytes()}),
         sections({AITSection().add(rightApplication().raw({0x7F, 1, 0})).bytes()})},
        {"section-name",
         sections({AITSection()
                       .add(bareApplication().raw(descriptor(0x01, {'e', 'n', 'g', 200, 'x'})))
                       .bytes()}),
         sections({AITSection()
                       .add(bareApplication().raw(descriptor(0x01, {'e', 'n', 'g', 1, 'x'})))
                       .bytes()})},
        {"section-empty-descriptor", application(rightApplication().raw(emptyDescriptor)),
         table(rightTable().common(emptyDescriptor))},
        // The name goes on in an empty descriptor, which the feed takes out.
        {"section-refused",
         sections({AITSection()
                       .add(bareApplication().raw({0x01, 4, 'e', 'n', 'g', 2, 0x77, 0}))
                       .bytes()}),
         sections({AITSection()
                       .add(bareApplication().raw({0x01, 4, 'e', 'n', 'g', 0, 0x77, 0}))
                       .bytes()})},

        {"table-incomplete", table(rightTable().number(0, 1)), clean()},
        {"table-limits", sections(tableOf(257)), sections(tableOf(256))},
        {"version-kept", twoVersions(version(3, 1, 0, 5'000), version(3, 2, 5'000, 15'000)),
         twoVersions(version(2, 1, 0, 5'000), version(3, 2, 5'000, 15'000))},
        {"version-alone", twoVersions(version(2, 1, 0, 5'000), version(3, 1, 5'000, 15'000)),
         twoVersions(version(2, 2, 0, 5'000), version(3, 1, 5'000, 15'000))},
        // 0.1 s more than the standards allow is within the clock's precision.
        {"repetition-pat", withPeriod("pat", 640), withPeriod("pat", 600)},
        {"repetition-pmt", withPeriod("pmt", 640), withPeriod("pmt", 600)},
        {"repetition-sdt", withPeriod("sdt", 2'120), withPeriod("sdt", 2'080)},
        {"repetition-eit", withPeriod("eit", 2'120), withPeriod("eit", 2'080)},
        {"repetition-ait", withPeriod("ait", 10'120, 40'000), withPeriod("ait", 10'080, 40'000)},
        {"table-flapping", alternating(1'000), alternating(10'000)},
        {"pat-incomplete", signal([](Signal& signal) {
             signal["pat"].sections = {numbered(signal["pat"].sections.front(), 0, 1)};
         }),
         signal([](Signal& signal) {
             signal["pat"].sections = {numbered(signal["pat"].sections.front(), 0, 1),
                                       numbered(makePat(0x0441, 1, {{0, 0x10}}), 1, 1)};
         })},
        {"pmt-sections", signal([](Signal& signal) {
             signal["pmt"].sections = {numbered(signal["pmt"].sections.front(), 0, 1)};
         }),
         clean()},
        {"sdt-incomplete", signal([](Signal& signal) {
             signal["sdt"].sections = {numbered(signal["sdt"].sections.front(), 0, 1)};
         }),
         clean()},
        {"psi-version-kept", signal([](Signal& signal) {
             signal["pmt"].untilMs = 7'000;
             signal["pmt, later"] = {
                 pmtPid, {makePmt(serviceId, 4, {aitStream(), carouselStream()})}, 100, 7'000};
         }),
         signal([](Signal& signal) {
             signal["pmt"].untilMs = 7'000;
             signal["pmt, later"] = {
                 pmtPid, {makePmt(serviceId, 5, {aitStream(), carouselStream()})}, 100, 7'000};
         })},
        {"psi-version-alone", signal([](Signal& signal) {
             signal["pmt"].untilMs = 7'000;
             signal["pmt, later"] = {pmtPid, {makePmt(serviceId, 5, rightStreams)}, 100, 7'000};
         }),
         clean()},

        {"pat-missing", signal([](Signal& signal) { signal.without("pat"); }),
         signal([](Signal& signal) {
             signal.without("pat");
             signal.durationMs = 600;  // it may come yet
         })},

        {"pmt-missing", signal([](Signal& signal) { signal.without("pmt"); }),
         signal([](Signal& signal) {
             signal.without("pmt");
             signal.durationMs = 600;  // it may come yet
         })},
        {"pmt-malformed", signal([](Signal& signal) {
             Bytes& pmt = signal["pmt"].sections.front();
             pmt = changed(pmt, 11, 200);  // program_info_length
         }),
         clean()},
        {"pmt-no-ait", streams({rightStreams[0], carouselStream()}), clean()},
        {"pmt-ait-unlisted", streams({rightStreams[0], carouselStream()}),
         signal([](Signal& signal) {
             signal.without("ait");
             signal.streams({rightStreams[0], carouselStream()});
         })},
        {"pmt-ait-stream-type", streams(withStream(1, aitStream(0x06))), clean()},
        {"pmt-ait-version", streams(withStream(1, aitStream(0x05, 4))), clean()},
        {"pmt-ait-types", streams(withStream(1, {0x05, aitPid, {}})), clean()},
        {"pmt-ait-type-unnamed",
         streams(withStream(1, {0x05, aitPid, makeDescriptor(0x6F, {0x80, 0x01, 0xE3})})),
         streams(withStream(1, {0x05, aitPid, {}}))},
        {"pmt-carousel-tag",
         streams(withStream(2, {0x0B, carouselPid, makeDescriptor(0x13, {0, 0, 0, 42, 0})})),
         clean()},
        {"pmt-component-tag-twice",
         streams(withStream(0, {0x1B, 0x0100, makeDescriptor(0x52, {0x2A})})), clean()},
        {"ait-missing", signal([](Signal& signal) { signal.without("ait"); }),
         signal([](Signal& signal) {
             signal.without("ait");
             signal.durationMs = 5'000;  // it may come yet
         })},
        {"ait-several-pids", signal([](Signal& signal) {
             std::vector<PmtStream> list = rightStreams;
             list.push_back(aitStream(0x05, 3, 0x0300));
             signal.streams(list);
             signal["second"] = {0x0300, {rightTable().bytes()}};
         }),
         signal([](Signal& signal) {
             std::vector<PmtStream> list = rightStreams;
             list.push_back(aitStream(0x05, 3, 0x0300));
             signal.streams(list);
         })},
        {"ait-several-types", signal([](Signal& signal) {
             signal["java"] = {aitPid, {AITSection().applicationType(1).bytes()}};
         }),
         clean()},
        {"sdt-missing", signal([](Signal& signal) { signal.without("sdt"); }),
         signal([](Signal& signal) {
             signal.without("sdt");
             signal.durationMs = 1'500;  // it may come yet
         })},
        {"sdt-service", emission("sdt", {0x0011, {sdtWith(1, 3)}}), clean()},
        {"sdt-transport-stream",
         signal([](Signal& signal) { signal["sdt"].sections = {sdtOf(0x0442)}; }),
         signal([](Signal& signal) { signal["sdt"].sections = {sdtOf(0x0441)}; })},
        {"sdt-eit-flag", emission("sdt", {0x0011, {sdtWith(serviceId, 0)}}),
         signal([](Signal& signal) {
             signal["sdt"].sections = {sdtWith(serviceId, 0)};
             signal.without("eit").without("schedule");
         })},

        {"application-descriptor-missing",
         application(bareApplication().withoutApplicationDescriptor()), clean()},
        {"application-descriptor-twice",
         application(rightApplication().raw(applicationDescriptor({{{0, 1, 5, 1}}, {1, 2}, 9}))),
         clean()},
        {"profile-missing", application(rightApplication().profiles({})), clean()},
        {"profile-unknown", application(withProfile({0, 2, 0, 0})),
         application(rightApplication().profiles({{1, 1, 7, 1}, {0, 2, 0, 0}}))},
        {"profile-unused", application(rightApplication().profiles({{0, 1, 1, 1}, {0, 1, 9, 1}})),
         application(withProfile({0, 1, 9, 1}))},
        {"profile-version", application(withProfile({0, 1, 1, 2})),
         application(withProfile({0, 1, 5, 1}))},
        {"control-code-unknown", application(rightApplication().controlCode(9)),
         application(rightApplication().controlCode(8))},
        {"visibility-reserved", application(rightApplication().visibility(2)),
         application(rightApplication().visibility(1))},
        {"application-id-range", application(rightApplication(0x8000)),
         application(rightApplication(0x7FFF))},
        {"application-id-wildcard", application(rightApplication(0xFFFF)),
         application(rightApplication(0xFFFD))},
        {"organisation-id-zero",
         application(AITEntry(0, 1).carousel(1, 0x2A).location("index.html")), clean()},
        {"application-twice", table(rightTable().add(rightApplication().controlCode(2))),
         table(rightTable().add(rightApplication(2).controlCode(2)))},
        {"autostart-equal-priority", table(rightTable().add(rightApplication(2))),
         table(rightTable().add(rightApplication(2).priority(7)))},
        {"autostart-http-only",
         application(AITEntry(0x0A, 1).http(1, "http://a.example/").location("i.html")),
         application(AITEntry(0x0A, 1, 2).http(1, "http://a.example/").location("i.html"))},
        {"transport-unusable",
         application(AITEntry(0x0A, 1).raw(otherTransport(3, 0x0107)).labels({3})),
         application(rightApplication().labels({1, 2, 3}).raw(otherTransport(3, 0x0107)))},
        {"location-missing", application(AITEntry(0x0A, 1).carousel(1, 0x2A)), clean()},
        {"location-twice", application(rightApplication().raw(locationDescriptor("?a=b"))),
         application(rightApplication().raw(nameDescriptor("index.html")))},
        {"location-url",
         application(AITEntry(0x0A, 1).http(1, "http://a.example").location("i.html")),
         application(AITEntry(0x0A, 1).http(1, "http://a.example").location("/i.html"))},
        {"location-unresolved",
         application(AITEntry(0x0A, 1).carousel(1, 0x2A).location("nowhere.html")),
         application(AITEntry(0x0A, 1).carousel(1, 0x2A).location("index.html?a=b#c"))},
        {"location-incomplete", carousel(rightAnnouncement(), withoutLast(rightBlocks())), clean()},
        {"transport-missing", application(rightApplication().labels({1, 2, 3})),
         table(AITSection()
                   .version(3)
                   .common(httpTransport(3, "http://a.example/"))
                   .add(rightApplication().labels({1, 2, 3})))},
        {"transport-none", application(bareApplication()), clean()},
        {"transport-unused", application(rightApplication().labels({1})), clean()},
        {"transport-twice",
         application(rightApplication().raw(httpTransport(2, "http://b.example/"))), clean()},
        {"transport-protocol",
         application(rightApplication().labels({1, 2, 3}).raw(otherTransport(3, 0x0107))), clean()},
        {"transport-component",
         application(AITEntry(0x0A, 1).carousel(1, 0x2B).location("index.html")), clean()},
        {"transport-url", application(rightApplication().http(3, "ftp://a.example/")),
         application(rightApplication().http(3, "https://a.example/"))},
        {"transport-other-service",
         application(rightApplication().remoteCarousel(3, 0x20FA, 0x0441, 1, 0x2A)),
         application(rightApplication().remoteCarousel(3, 0x20FA, 0x0441, serviceId, 0x2A))},
        {"boundary-opens-everything", application(withBoundary("http://")),
         application(withBoundary("http://a.example"))},
        {"boundary-not-an-origin", application(withBoundary("a.example")),
         application(withBoundary("http://a.example"))},
        {"boundary-several-hosts",
         application(rightApplication().boundary({"http://a.example", "http://b.example"})),
         application(rightApplication().boundary({"http://a.example", "https://a.example"}))},
        {"boundary-foreign-host", application(withBoundary("http://b.example")),
         application(withBoundary("http://a.example"))},
        {"boundary-page-outside", application(withBoundary("https://a.example")),
         application(withBoundary("http://a.example"))},
        {"descriptor-malformed", application(rightApplication().raw(descriptor(0x10, {1, 2}))),
         clean()},

        {"carousel-no-gateway", signal([](Signal& signal) {
             std::vector<Bytes>& all = signal["carousel"].sections;
             all.erase(all.begin());
         }),
         clean()},
        {"carousel-no-list", signal([](Signal& signal) {
             std::vector<Bytes>& all = signal["carousel"].sections;
             all.erase(all.begin() + 1);
         }),
         clean()},
        {"carousel-block-missing", carousel(rightAnnouncement(), withoutLast(rightBlocks())),
         signal([](Signal& signal) {
             signal["carousel"].sections.pop_back();
             signal.durationMs = 2'000;  // it may come yet
         })},
        {"carousel-module-incomplete", signal([](Signal& signal) {
             signal["carousel"].sections.pop_back();
             signal.durationMs = 2'000;
         }),
         clean()},
        {"carousel-module-refused", carousel({1, 0}, {}), clean()},
        {"carousel-module-damaged",
         carousel(rightAnnouncement(),
                  with(withoutLast(rightBlocks()), makeDdb(1, 0, 0, Bytes(50, 1)))),
         clean()},
        {"carousel-block-version", carousel(rightAnnouncement(), makeDdbs(1, 1, rightModule())),
         clean()},
        {"carousel-block-number",
         carousel(rightAnnouncement(), with(rightBlocks(), makeDdb(1, 0, 99, Bytes(10, 1)))),
         clean()},
        {"carousel-block-unannounced",
         carousel(rightAnnouncement(), with(rightBlocks(), makeDdb(7, 0, 0, Bytes(10, 1)))),
         clean()},
        {"carousel-file-missing",
         moduleOf(gatewayTo("gone.html", "gone") + makeFile("index", "<html/>")),
         moduleOf(gatewayTo("there.html", "there") + makeFile("index", "<html/>") +
                  makeFile("there", "<html/>"))},
        {"carousel-file-unreached", moduleOf(rightModule() + makeFile("lost", "nobody")), clean()},

        {"xml-ait", xml("AUTOSTART", "AUTOSTRAT"), xml("AUTOSTART", "PRESENT")},
        {"xml-skipped", xml("<orgId>", "<organisation/><orgId>"), xml("", "")},
        {"continuity", cutStream(middlePacket()), cutStream(0)},
        {"survey-limit", survey(noCarousels()), survey({})},
    };
}

/// The file of a row's document.
std::string documentOf(const std::string& row)
{
    return ownFile("All-FindingKinds-AreFoundWhereTheyAreAndOnlyThere-" + row + ".xml");
}

/// How grave the first finding of a row is, and where.
const std::map<std::string, std::string>& places()
{
    static const std::map<std::string, std::string> places = {
        {"section-incomplete", "error: " + ownFile("cut-section.bin") + ", AIT, byte 1"},
        {"section-not-ait", "warning: service 28112, PID 0x0200, table 0x75, section 0, byte 0"},
        {"section-length", "error: AIT, section 0, byte 1"},
        {"section-syntax", "error: AIT, byte 1"},
        {"section-crc", "error: AIT, section 0, byte 87"},
        {"section-test", "error: service 28112, PID 0x0200, AIT, section 0, byte 3"},
        {"section-test-beside", "information: service 28112, PID 0x0200, AIT, section 0, byte 3"},
        {"section-not-current", "information: service 28112, PID 0x0200, AIT, section 0, byte 5"},
        {"section-number", "error: AIT, section 2, byte 6"},
        {"section-common-loop", "error: AIT, section 0, byte 8"},
        {"section-application-loop", "error: AIT, section 0, byte 10"},
        {"section-application", "error: AIT, section 0, byte 12, application a.1"},
        {"section-descriptor", "error: AIT, section 0, byte 87, application a.1"},
        {"section-name", "error: AIT, section 0, byte 43, application a.1"},
        {"section-empty-descriptor",
         "warning: service 28112, PID 0x0200, AIT, section 0, byte 87, application a.1"},
        {"section-refused", "error: AIT, section 0, byte 0"},
        {"table-incomplete", "error: service 28112, PID 0x0200, AIT"},
        {"table-limits", "error: AIT"},
        {"version-kept", "error: service 28112, PID 0x0200, AIT, section 0"},
        {"version-alone", "information: service 28112, PID 0x0200, AIT"},
        {"repetition-pat", "warning: PID 0x0000, PAT"},
        {"repetition-pmt", "warning: service 28112, PID 0x0050, PMT"},
        {"repetition-sdt", "warning: PID 0x0011, SDT"},
        {"repetition-eit", "warning: service 28112, PID 0x0012, EIT present/following"},
        {"repetition-ait", "warning: service 28112, PID 0x0200, AIT"},
        {"table-flapping", "warning: service 28112, PID 0x0200, AIT"},
        {"pat-incomplete", "error: PID 0x0000, PAT"},
        {"pmt-sections", "warning: service 28112, PID 0x0050, PMT"},
        {"sdt-incomplete", "warning: PID 0x0011, SDT"},
        {"psi-version-kept", "error: service 28112, PID 0x0050, PMT, section 0"},
        {"psi-version-alone", "information: service 28112, PID 0x0050, PMT"},
        {"pat-missing", "error: PID 0x0000, PAT"},
        {"pmt-missing", "error: service 28112, PID 0x0050, PMT"},
        {"pmt-malformed", "error: service 28112, PID 0x0050, PMT"},
        {"pmt-no-ait", "information: service 28112, PID 0x0050, PMT"},
        {"pmt-ait-unlisted", "error: PID 0x0200, AIT"},
        {"pmt-ait-stream-type", "error: service 28112, PID 0x0050, PMT"},
        {"pmt-ait-version", "warning: service 28112, PID 0x0050, PMT"},
        {"pmt-ait-types", "information: service 28112, PID 0x0050, PMT"},
        {"pmt-ait-type-unnamed", "error: service 28112, PID 0x0050, PMT"},
        {"pmt-carousel-tag", "error: service 28112, PID 0x0050, PMT"},
        {"pmt-component-tag-twice", "warning: service 28112, PID 0x0050, PMT"},
        {"ait-missing", "error: service 28112, PID 0x0050, PMT"},
        {"ait-several-pids", "warning: service 28112, PID 0x0050, PMT"},
        {"ait-several-types", "information: service 28112, PID 0x0050, PMT"},
        {"sdt-missing", "warning: PID 0x0011, SDT"},
        {"sdt-service", "warning: service 28112, PID 0x0011, SDT"},
        {"sdt-transport-stream", "warning: PID 0x0011, SDT"},
        {"sdt-eit-flag", "warning: service 28112, PID 0x0011, SDT, section 0, byte 11"},
        {"application-descriptor-missing",
         "error: service 28112, PID 0x0200, AIT, section 0, byte 12, application a.1"},
        {"application-descriptor-twice",
         "warning: service 28112, PID 0x0200, AIT, section 0, byte 87, application a.1"},
        {"profile-missing",
         "error: service 28112, PID 0x0200, AIT, section 0, byte 21, application a.1"},
        {"profile-unknown",
         "error: service 28112, PID 0x0200, AIT, section 0, byte 21, application a.1"},
        {"profile-unused",
         "warning: service 28112, PID 0x0200, AIT, section 0, byte 21, application a.1"},
        {"profile-version",
         "warning: service 28112, PID 0x0200, AIT, section 0, byte 21, application a.1"},
        {"control-code-unknown",
         "warning: service 28112, PID 0x0200, AIT, section 0, byte 12, application a.1"},
        {"visibility-reserved",
         "warning: service 28112, PID 0x0200, AIT, section 0, byte 21, application a.1"},
        {"application-id-range",
         "error: service 28112, PID 0x0200, AIT, section 0, byte 12, application a.8000"},
        {"application-id-wildcard",
         "error: service 28112, PID 0x0200, AIT, section 0, byte 12, application a.ffff"},
        {"organisation-id-zero",
         "warning: service 28112, PID 0x0200, AIT, section 0, byte 12, application 0.1"},
        {"application-twice",
         "error: service 28112, PID 0x0200, AIT, section 0, byte 87, application a.1"},
        {"autostart-equal-priority",
         "warning: service 28112, PID 0x0200, AIT, section 0, byte 87, application a.2"},
        {"autostart-http-only",
         "warning: service 28112, PID 0x0200, AIT, section 0, byte 21, application a.1"},
        {"transport-unusable",
         "error: service 28112, PID 0x0200, AIT, section 0, byte 21, application a.1"},
        {"location-missing",
         "warning: service 28112, PID 0x0200, AIT, section 0, byte 12, application a.1"},
        {"location-twice",
         "error: service 28112, PID 0x0200, AIT, section 0, byte 87, application a.1"},
        {"location-url",
         "error: service 28112, PID 0x0200, AIT, section 0, byte 12, application a.1"},
        {"location-unresolved",
         "error: service 28112, PID 0x0200, AIT, section 0, byte 12, application a.1"},
        {"location-incomplete",
         "warning: service 28112, PID 0x0200, AIT, section 0, byte 12, application a.1"},
        {"transport-missing",
         "error: service 28112, PID 0x0200, AIT, section 0, byte 21, application a.1"},
        {"transport-none",
         "error: service 28112, PID 0x0200, AIT, section 0, byte 21, application a.1"},
        {"transport-unused",
         "warning: service 28112, PID 0x0200, AIT, section 0, byte 39, application a.1"},
        {"transport-twice",
         "warning: service 28112, PID 0x0200, AIT, section 0, byte 87, application a.1"},
        {"transport-protocol",
         "warning: service 28112, PID 0x0200, AIT, section 0, byte 88, application a.1"},
        {"transport-component",
         "error: service 28112, PID 0x0200, AIT, section 0, byte 12, application a.1"},
        {"transport-url",
         "error: service 28112, PID 0x0200, AIT, section 0, byte 88, application a.1"},
        {"transport-other-service",
         "information: service 28112, PID 0x0200, AIT, section 0, byte 12, application a.1"},
        {"boundary-opens-everything",
         "error: service 28112, PID 0x0200, AIT, section 0, byte 87, application a.1"},
        {"boundary-not-an-origin",
         "warning: service 28112, PID 0x0200, AIT, section 0, byte 87, application a.1"},
        {"boundary-several-hosts",
         "warning: service 28112, PID 0x0200, AIT, section 0, byte 87, application a.1"},
        {"boundary-foreign-host",
         "warning: service 28112, PID 0x0200, AIT, section 0, byte 87, application a.1"},
        {"boundary-page-outside",
         "warning: service 28112, PID 0x0200, AIT, section 0, byte 12, application a.1"},
        {"descriptor-malformed",
         "warning: service 28112, PID 0x0200, AIT, section 0, byte 87, application a.1"},
        {"carousel-no-gateway", "error: service 28112, PID 0x0201, carousel 0x2a"},
        {"carousel-no-list", "error: service 28112, PID 0x0201, carousel 0x2a"},
        {"carousel-block-missing", "error: service 28112, PID 0x0201, carousel 0x2a"},
        {"carousel-module-incomplete", "warning: service 28112, PID 0x0201, carousel 0x2a"},
        {"carousel-module-refused", "error: service 28112, PID 0x0201, carousel 0x2a"},
        {"carousel-module-damaged", "warning: service 28112, PID 0x0201, carousel 0x2a"},
        {"carousel-block-version", "error: service 28112, PID 0x0201, carousel 0x2a"},
        {"carousel-block-number", "warning: service 28112, PID 0x0201, carousel 0x2a"},
        {"carousel-block-unannounced", "warning: service 28112, PID 0x0201"},
        {"carousel-file-missing", "error: service 28112, PID 0x0201, carousel 0x2a"},
        {"carousel-file-unreached", "information: service 28112, PID 0x0201, carousel 0x2a"},
        {"xml-ait", "error: " + documentOf("xml_ait") + ", line 14, column 11"},
        {"xml-skipped", "information: " + documentOf("xml_skipped") + ", line 9, column 11"},
        {"continuity", "warning: PID 0x0201"},
        {"survey-limit", "information: "},
    };
    return places;
}

class FindingKinds : public testing::TestWithParam<Row> {};

TEST_P(FindingKinds, AreFoundWhereTheyAreAndOnlyThere)
{
    const Findings findings = GetParam().with();
    const Ids with = idsOf(findings);
    ASSERT_EQ(with.count(GetParam().id), 1U) << testing::PrintToString(with);
    const auto first =
        std::find_if(findings.all().begin(), findings.all().end(), [](const Finding& finding) {
            return finding.kind->id == std::string_view(GetParam().id);
        });
    ASSERT_NE(first, findings.all().end());
    const auto place = places().find(GetParam().id);
    ASSERT_NE(place, places().end()) << textOf(first->place);
    EXPECT_EQ(std::string(nameOf(first->kind->severity)) + ": " + textOf(first->place),
              place->second);
    const Ids without = idsOf(GetParam().without());
    EXPECT_EQ(without.count(GetParam().id), 0U) << testing::PrintToString(without);
}

std::string nameOfRow(const testing::TestParamInfo<Row>& info)
{
    return std::regex_replace(info.param.id, std::regex("-"), "_");
}

INSTANTIATE_TEST_SUITE_P(All, FindingKinds, testing::ValuesIn(rows()), nameOfRow);

TEST(FindingKindsTable, IsTestedAsAWhole)
{
    Ids tested, known;
    for (const Row& row : rows())
        EXPECT_TRUE(tested.insert(row.id).second) << row.id;
    for (const FindingKind& kind : findingKinds())
        EXPECT_TRUE(known.insert(kind.id).second) << kind.id;
    EXPECT_EQ(tested, known);
}

TEST(CleanSignal, HasNoFindings)
{
    EXPECT_EQ(findingsIn(Signal()), Ids());
}

TEST(Findings, AreCountedBeyondTheirLimit)
{
    Findings findings;
    for (size_t i = 0; i < Findings::mostOfAKind + 5; ++i)
        findings.add("continuity", {}, "");
    EXPECT_EQ(findings.all().size(), Findings::mostOfAKind);
    EXPECT_EQ(findings.leftOut(), 5U);
    EXPECT_EQ(findings.countOf(Severity::Warning), Findings::mostOfAKind + 5);
    EXPECT_EQ(findings.countOf(Severity::Error), 0U);
}

}  // namespace
}  // namespace inspector::test
