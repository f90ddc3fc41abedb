// Writes small transport streams to a folder: services whose applications come over HTTP, and what
// broadcasters do to them.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/receiver/support/carousel_builder.h"
#include "tests/receiver/support/information_builder.h"
#include "tests/receiver/support/stream_builder.h"

namespace {

using namespace receiver;

const unsigned transportStreamId = 0x441;
const unsigned network = 0x20FA;
const unsigned pmtPid = 0x100;
const unsigned carouselTag = 0x2A;

const unsigned autostart = 1;
const unsigned present = 2;
const unsigned kill = 4;

Bytes transport(unsigned label, unsigned protocol, const Bytes& selector)
{
    return makeDescriptor(0x02, ByteWriter().u16(protocol).u8(label).add(selector));
}

Bytes http(unsigned label, const std::string& base)
{
    return transport(label, 3, ByteWriter().with8(base).u8(0));
}

Bytes carousel(unsigned label)
{
    return transport(label, 1, ByteWriter().u8(0x7F).u8(carouselTag));
}

const unsigned visible = 0x7F;  // to users and other applications
const unsigned serviceBound = 0x80;

/// An entry of the table. @param transports with labels 1, 2, ... of which `labels` are used
Bytes application(unsigned id, unsigned controlCode, const Bytes& labels, const Bytes& transports,
                  const std::string& page = "index.html", unsigned flags = serviceBound | visible)
{
    const Bytes profile = ByteWriter().u16(0).u8(1).u8(1).u8(1);
    const Bytes fields = ByteWriter().with8(profile).u8(flags).u8(1).add(labels);
    const Bytes descriptors =
        makeDescriptor(0x00, fields) + transports + makeDescriptor(0x15, ByteWriter().add(page));
    return ByteWriter()
        .u32(0x0A)
        .u16(id)
        .u8(controlCode)
        .u16(0xF000 | unsigned(descriptors.size()))
        .add(descriptors);
}

Bytes application(unsigned id, unsigned controlCode, const std::string& base)
{
    return application(id, controlCode, {1}, http(1, base));
}

/// An entry with a name, in whatever character table.
Bytes namedApplication(unsigned id, unsigned controlCode, const std::string& name)
{
    const Bytes names = makeDescriptor(0x01, ByteWriter().add(std::string("eng")).with8(name));
    return application(id, controlCode, {1}, http(1, "http://one.example/") + names);
}

Bytes table(unsigned version, const Bytes& applications, unsigned type = 0x0010,
            unsigned number = 0, unsigned last = 0)
{
    const Bytes body =
        ByteWriter().u16(0xF000).u16(0xF000 | unsigned(applications.size())).add(applications);
    return makeSection({0x74, type, version, true, number, last}, body);
}

Bytes signalling(unsigned type)
{
    return makeDescriptor(0x6F, ByteWriter().u16(0x8000 | type).u8(0xE0));
}

/// A stream that may begin with PAT and SDT.
class Stream : public StreamWriter {
public:
    /// PAT and SDT of services with the ids 1, 2, ..., whose PMTs share a PID.
    Stream& services(const std::vector<std::string>& names)
    {
        std::vector<PatEntry> programs;
        std::vector<std::pair<unsigned, std::string>> descriptions;
        for (const std::string& name : names) {
            const auto id = static_cast<unsigned>(programs.size() + 1);
            programs.push_back({id, pmtPid});
            descriptions.emplace_back(id, name);
        }
        add(0, makePat(transportStreamId, 0, programs));
        add(0x11, makeSdt(transportStreamId, network, descriptions));
        return *this;
    }
};

PmtStream tablesOn(unsigned pid)
{
    return {0x05, pid, signalling(0x0010)};
}

Bytes component(unsigned tag, const Bytes& descriptors = {})
{
    return makeDescriptor(0x52, ByteWriter().u8(tag)) + descriptors;
}

/// A carousel of one module.
StreamWriter& addCarousel(StreamWriter& stream, unsigned pid, const Bytes& module)
{
    stream.add(pid, makeDsi(makeIor({"srg", 1, "g"})));
    stream.add(pid, makeDii(0x80000002, {{1, uint32_t(module.size())}}));
    for (const Bytes& block : makeDdbs(1, 0, module))
        stream.add(pid, block);
    return stream;
}

Bytes twoServices()
{
    Stream stream;
    stream.services({"First", "Second"});
    stream.add(pmtPid, makePmt(1, 0, {tablesOn(0x200)}));
    stream.add(pmtPid, makePmt(2, 0, {tablesOn(0x201)}));
    const Bytes first = application(1, autostart, "http://one.example/") +
                        application(2, present, "http://two.example/");
    const Bytes second = application(3, autostart, "http://two.example/");
    stream.add(0x200, table(0, first)).add(0x201, table(0, second)).pause();
    stream.add(0x200, table(0, first)).add(0x201, table(0, second)).pause();
    return stream.bytes();
}

/// A table of two sections, then one that kills the application.
Bytes killedApplication()
{
    Stream stream;
    stream.services({"First"}).add(pmtPid, makePmt(1, 0, {tablesOn(0x200)}));
    const Bytes one = application(1, autostart, "http://one.example/");
    const Bytes two = application(2, present, "http://two.example/");
    stream.add(0x200, table(0, one, 0x0010, 0, 1)).pause();
    stream.add(0x200, table(0, two, 0x0010, 1, 1)).pause();
    stream.add(0x200, table(1, application(1, kill, "http://one.example/"))).pause();
    return stream.bytes();
}

/// By the stream's clock, the application is there for five seconds. Its page is not done by then.
Bytes timedKill()
{
    const uint64_t second = 90000;
    const std::string base = "http://test.example/";
    Stream stream;
    for (unsigned gone = 0; gone < 8; ++gone) {
        const bool isOver = gone >= 5;
        const Bytes entry =
            application(1, isOver ? kill : autostart, {1}, http(1, base), "endless.html");
        stream.services({"First"}).add(pmtPid, makePmt(1, 0, {tablesOn(0x200)}));
        stream.addClock(pmtPid, gone * second);
        stream.add(0x200, table(isOver ? 1 : 0, entry)).pause();
    }
    return stream.bytes();
}

/// The carousel is not there, so that the second transport gets its turn.
Bytes fallback()
{
    Stream stream;
    stream.services({"First"}).add(pmtPid, makePmt(1, 0, {tablesOn(0x200)}));
    const Bytes transports = carousel(1) + http(2, "http://one.example/");
    stream.add(0x200, table(0, application(1, autostart, {1, 2}, transports))).pause();
    return stream.bytes();
}

/// A carousel of which the PMT says no more than the stream, and which comes round long after the
/// table that names it first.
Bytes lateCarousel()
{
    const unsigned pid = 0x300;
    Stream stream;
    const PmtStream listed = {0x0B, pid, component(carouselTag)};
    stream.services({"First"}).add(pmtPid, makePmt(1, 0, {tablesOn(0x200), listed}));
    const Bytes transports = carousel(1) + http(2, "http://one.example/");
    const Bytes applications = table(0, application(1, autostart, {1, 2}, transports));
    for (int round = 0; round < 25; ++round)
        stream.add(0x200, applications).pause();
    addCarousel(stream, pid,
                makeGateway("g", {{"index.html", makeIor({"fil", 1, "i"})}}) +
                    makeFile("i", "<html></html>"));
    return stream.pause().bytes();
}

/// A page of a carousel whose script never comes whole, and a service to leave it for.
Bytes stalledScript()
{
    const unsigned pid = 0x300;
    const std::string page = "<html xmlns=\"http://www.w3.org/1999/xhtml\"><head><script "
                             "src=\"script.js\"></script></head></html>";
    const Bytes files = makeGateway("g", {{"index.html", makeIor({"fil", 1, "i"})},
                                          {"script.js", makeIor({"fil", 2, "s"})}}) +
                        makeFile("i", page);
    const Bytes script = makeFile("s", "debug('begins');" + std::string(5000, ' '));
    const std::vector<Bytes> blocks = makeDdbs(2, 0, script);
    Stream stream;
    stream.services({"First", "Second"});
    stream.add(pmtPid, makePmt(1, 0, {tablesOn(0x200), {0x0B, pid, component(carouselTag)}}));
    stream.add(pmtPid, makePmt(2, 0, {tablesOn(0x201)}));
    stream.add(0x200, table(0, application(1, autostart, {1}, carousel(1))));
    stream.add(0x201, table(0, application(2, autostart, "http://two.example/")));
    stream.add(pid, makeDsi(makeIor({"srg", 1, "g"})));
    stream.add(pid,
               makeDii(0x80000002, {{1, uint32_t(files.size())}, {2, uint32_t(script.size())}}));
    for (const Bytes& block : makeDdbs(1, 0, files))
        stream.add(pid, block);
    for (size_t index = 0; index < blocks.size() / 2; ++index)
        stream.add(pid, blocks[index]);
    return stream.pause().bytes();
}

/// A service with several tables at once, of which the second PID has the right one.
Bytes severalTables()
{
    Stream stream;
    stream.services({"First"});
    stream.add(pmtPid,
               makePmt(1, 0, {{0x05, 0x200, signalling(1)}, tablesOn(0x201), tablesOn(0x202)}));
    const Bytes right = table(3, application(1, autostart, "http://one.example/"));
    const Bytes other = table(4, application(2, autostart, "http://two.example/"));
    for (int round = 0; round < 3; ++round)
        stream.add(0x200, table(1, {}, 1)).add(0x202, other).add(0x201, right).pause();
    return stream.bytes();
}

/// The PMT moves the table to another PID, and later has none any more.
Bytes movingTable()
{
    Stream stream;
    stream.services({"First"}).add(pmtPid, makePmt(1, 0, {tablesOn(0x200)}));
    stream.add(0x200, table(0, application(1, autostart, "http://one.example/"))).pause();
    stream.add(pmtPid, makePmt(1, 1, {tablesOn(0x201)}));
    stream.add(0x201, table(1, application(2, autostart, "http://two.example/"))).pause();
    stream.add(0x200, table(2, application(3, autostart, "http://left.example/"))).pause();
    stream.add(pmtPid, makePmt(1, 2, {{0x1B, 0x300, {}}})).pause();
    return stream.bytes();
}

/// A service with a table, one without, and one whose table is of another type.
Bytes servicesWithoutTable()
{
    Stream stream;
    stream.services({"First", "Plain", "Other"});
    stream.add(pmtPid, makePmt(1, 0, {tablesOn(0x200)}));
    stream.add(pmtPid, makePmt(2, 0, {{0x1B, 0x300, {}}}));
    stream.add(pmtPid, makePmt(3, 0, {{0x05, 0x201, signalling(1)}}));
    const Bytes applications = application(1, autostart, "http://one.example/");
    for (int round = 0; round < 3; ++round) {
        stream.add(0x200, table(0, applications)).add(0x201, table(0, {}, 1)).pause();
        stream.add(pmtPid, makePmt(2, 0, {{0x1B, 0x300, {}}}));
    }
    stream.add(pmtPid, makePmt(2, 1, {{0x1B, 0x301, {}}})).pause();
    return stream.bytes();
}

/// The PMT gives the PID of the table to other applications, and later lists none.
Bytes contradictedTable()
{
    Stream stream;
    stream.services({"First"});
    stream.add(pmtPid, makePmt(1, 0, {{0x05, 0x200, signalling(1)}})).pause();
    stream.add(0x200, table(0, application(1, autostart, "http://one.example/"))).pause();
    stream.add(pmtPid, makePmt(1, 1, {{0x1B, 0x300, {}}})).pause();
    return stream.bytes();
}

Bytes noTable()
{
    Stream stream;
    stream.services({"First"}).add(pmtPid, makePmt(1, 0, {{0x1B, 0x300, {}}})).pause();
    return stream.bytes();
}

/// Without an SDT nobody knows the network.
Bytes noNetwork()
{
    Stream stream;
    stream.add(0, makePat(transportStreamId, 0, {{1, pmtPid}}));
    stream.add(pmtPid, makePmt(1, 0, {tablesOn(0x200)}));
    stream.add(0x200, table(0, application(1, autostart, "http://one.example/"))).pause();
    return stream.bytes();
}

/// Names in several character tables, and names that would do something to a terminal.
Bytes names()
{
    Stream stream;
    stream.services({"T\xC8\x65l\xC8\x65 \xA4", "\x86"
                                                "Clear\x87\x1B[2J"});
    stream.add(pmtPid, makePmt(1, 0, {tablesOn(0x200)}));
    stream.add(pmtPid, makePmt(2, 0, {{0x1B, 0x300, {}}}));
    stream.add(0x200, table(0, namedApplication(1, autostart, "\x05\xDDzmir") +
                                   namedApplication(2, present, "Caf\xC2\x65") +
                                   namedApplication(4, present, std::string("\x10\0\x01\xE9", 4)) +
                                   namedApplication(3, present,
                                                    "\x15"
                                                    "A\x1B]0;B\x07\xC2\x9B\xFF")));
    return stream.pause().bytes();
}

/// A table whose second section is refused, one that never completes, and one that comes too late.
Bytes brokenTables()
{
    Stream stream;
    stream.services({"First"}).add(pmtPid, makePmt(1, 0, {tablesOn(0x200)}));
    const Bytes one = application(1, autostart, "http://one.example/");
    stream.add(0x200, table(0, one)).pause();
    for (int round = 0; round < 4; ++round)
        stream.add(0x200, table(1, one, 0x0010, 0, 2)).add(0x200, table(1, {0, 0}, 0x0010, 2, 2));
    return stream.pause().add(0x200, table(2, one)).pause().bytes();
}

/// Applications that cannot start: for another terminal, or without anything to load them from.
Bytes idleApplications()
{
    Stream stream;
    stream.services({"First"}).add(pmtPid, makePmt(1, 0, {tablesOn(0x200)}));
    const Bytes profile = ByteWriter().u16(1).u8(9).u8(8).u8(7);
    const Bytes fields = ByteWriter().with8(profile).u8(0xFF).u8(1).u8(1);
    const Bytes descriptors = makeDescriptor(0x00, fields) + http(1, "http://one.example/");
    const Bytes demanding = ByteWriter()
                                .u32(0x0A)
                                .u16(1)
                                .u8(autostart)
                                .u16(0xF000 | unsigned(descriptors.size()))
                                .add(descriptors);
    stream
        .add(0x200, table(0, demanding + application(2, autostart, {1}, {}) +
                                 application(3, present, "http://two.example/")))
        .pause();
    return stream.bytes();
}

/// Packets go missing, are marked as damaged or scrambled, and rubbish comes between; the second
/// service leaves, and the PMT of the third never comes.
Bytes damagedStream()
{
    Stream stream;
    stream.services({"First", "Second", "Third"});
    stream.add(pmtPid, makePmt(1, 0, {{0x1B, 0x300, {}}})).pause();
    stream.add(0, makePat(transportStreamId, 1, {{1, pmtPid}, {3, pmtPid}})).pause();
    Bytes bytes = stream.bytes();
    PacketWriter video(0x300);
    const Bytes payload(184, 0);
    bytes = bytes + video.packet(false, {}, payload);
    video.skipCounter(3);
    Bytes scrambled = video.packet(false, {}, payload);
    scrambled[3] |= 0xC0;
    Bytes damaged = video.packet(false, {}, payload);
    damaged[1] |= 0x80;
    bytes = bytes + scrambled + damaged + Bytes(77, 0);
    for (int count = 0; count < 8; ++count)
        bytes = bytes + video.packet(false, {}, payload);
    return bytes;
}

/// The elementary streams of the first service of television().
std::vector<PmtStream> televisionComponents()
{
    const auto tag = [](unsigned value) { return makeDescriptor(0x52, ByteWriter().u8(value)); };
    const auto language = [](const std::string& code, unsigned audioType) {
        return makeDescriptor(0x0A, ByteWriter().add(code).u8(audioType));
    };
    const auto subtitles = [](const std::string& code, unsigned type) {
        return makeDescriptor(0x59, ByteWriter().add(code).u8(type).u16(1).u16(1));
    };
    const unsigned audioDescription = 3;
    const unsigned wideForHearingImpaired = 0x22;
    return {
        tablesOn(0x200),
        {0x1B, 0x300, tag(1)},
        {0x04, 0x301, tag(2) + language("deu", 0)},
        {0x04, 0x302, tag(3) + language("eng", audioDescription)},
        {0x06, 0x303, tag(4) + subtitles("deu", wideForHearingImpaired)},
        {0x0C, 0x304, tag(0x2B)},
        {0x0B, 0x305, tag(carouselTag) + makeDescriptor(0x13, {0, 0, 0, 42, 0})},
    };
}

/// A carousel with an object, "events", whose event "round" has this id, and a file.
StreamWriter& addEventCarousel(StreamWriter& stream, unsigned id)
{
    return addCarousel(stream, 0x305,
                       makeGateway("g", {{"events", makeIor({"ste", 1, "e"})},
                                         {"table.aitx", makeIor({"fil", 1, "t"})}}) +
                           makeStreamEvents("e", {{"round", id}}) + makeFile("t", "<no table/>"));
}

/// Present, following and three more of a schedule, each an hour long.
StreamWriter& addProgrammes(StreamWriter& stream)
{
    const std::string names[] = {"\x05\xDDzmir", "\x15Gr\xC3\xBCn",
                                 std::string("\x10\0\x01\xE9", 4),
                                 "Caf\xC2"
                                 "e",
                                 "Last"};
    std::vector<EventFields> events;
    for (unsigned index = 0; index < std::size(names); ++index) {
        EventFields event;
        event.id = index + 1;
        event.start = {0xC0, 0x79, static_cast<unsigned char>(0x12 + index), 0x00, 0x00};
        event.duration = {0x01, 0x00, 0x00};
        event.descriptors = makeShortEvent(names[index], "a text");
        if (index == 0)
            event.descriptors = event.descriptors + makeComponentDescriptor(5, 0x0B, 1) +
                                makeDescriptor(0x55, ByteWriter().add(std::string("DEU")).u8(9));
        events.push_back(event);
    }
    stream.add(0x12, makePresentFollowing(1, 0, events[0]));
    stream.add(0x12, makePresentFollowing(1, 1, events[1]));
    EitFields schedule;
    schedule.tableId = schedule.lastTable = 0x50;
    schedule.lastSectionNumber = schedule.segmentLastSection = 0;
    return stream.add(0x12, makeEit(schedule, events));
}

/// What the pages of tests/television are signalled in: a service with all of them, one with those
/// that live through a change of the service, one with none, one without a table, and one whose
/// application starts by itself. The sixth has no PMT.
Bytes television()
{
    Stream stream;
    const std::string base = "http://test.example/related/";
    const auto entry = [&base](unsigned id, const std::string& page) {
        return application(id, present, {1}, http(1, base), page, visible);
    };
    // simple_application_boundary_descriptor(): its carousel belongs to the application.
    const Bytes boundary =
        makeDescriptor(0x17, ByteWriter().u8(1).with8(std::string("dvb://20fa.441.1.2a")));
    const Bytes lasting = entry(0x101, "broadcast.html") + entry(0x108, "direct_channel.html");
    const Bytes all =
        lasting + entry(0x102, "channels.html") + entry(0x103, "video_place.html") +
        entry(0x104, "programmes.html") + entry(0x105, "stream_events.html") +
        entry(0x106, "applications.html?signalled=1") + entry(0x107, "created.html?signalled=2") +
        application(0x109, present, {1}, http(1, base) + boundary, "requests.html", visible) +
        entry(0x10A, "from_xml.html") + entry(0x10B, "own_methods.html") +
        entry(0x10C, "videos.html");
    const Bytes autostarted = application(0x201, autostart, {1}, http(1, base), "autostart.html");
    const unsigned tablePids[] = {0x200, 0x201, 0x202, 0x203};
    const Bytes tables[] = {table(1, all), table(1, lasting), table(1, {}), table(1, autostarted)};
    const Bytes terrestrial = makeDescriptor(0x5A, Bytes(11, 0x1F));
    const unsigned networkId = 0x3001;
    for (unsigned round = 0; round < 20; ++round) {
        stream.services({"One", "Two", "Three", "Four", "Five", "Six"});
        stream.add(0x10, makeNit(networkId, {{transportStreamId, network, terrestrial}}));
        addProgrammes(stream);
        stream.add(pmtPid, makePmt(1, 0, televisionComponents()));
        for (unsigned service = 2; service <= 3; ++service)
            stream.add(pmtPid, makePmt(service, 0, {tablesOn(tablePids[service - 1])}));
        stream.add(pmtPid, makePmt(4, 0, {{0x1B, 0x300, {}}}));
        stream.add(pmtPid, makePmt(5, 0, {tablesOn(tablePids[3])}));
        for (size_t index = 0; index < std::size(tables); ++index)
            stream.add(tablePids[index], tables[index]);
        addEventCarousel(stream, 7);
        stream.add(0x304, makeStreamEventSection(7, round, "round " + std::to_string(round)));
        stream.pause();
    }
    return stream.bytes();
}

/// Half a second goes by from round to round. Two events are announced from the first one on: one
/// happens when the programme is five seconds on, one had happened before.
Bytes scheduledEvents()
{
    const unsigned eventPid = 0x304;
    const unsigned past = 0x8006, coming = 0x8007;
    const uint64_t second = 90000, programme = 1000 * second;
    Stream stream;
    stream.services({"First"}).add(pmtPid, makePmt(1, 0, televisionComponents()));
    stream.add(0x200, table(0, application(1, autostart, "http://one.example/")));
    addEventCarousel(stream, coming).pause();
    const Bytes events = makeStreamEventDescriptor(past, "past", programme - second) +
                         makeStreamEventDescriptor(coming, "coming", programme + 5 * second);
    for (unsigned round = 0; round < 15; ++round) {
        const uint64_t gone = round * second / 2;
        stream.addClock(pmtPid, gone);
        stream.add(eventPid,
                   makeSection({0x3D, 0x4000}, makeTimeReference(gone, programme + gone)));
        stream.add(eventPid, makeSection({0x3D, 0x8000}, events)).pause();
    }
    return stream.bytes();
}

Bytes language(const std::string& code, unsigned audioType)
{
    return makeDescriptor(0x0A, ByteWriter().add(code).u8(audioType));
}

/// What a viewer sees, hears and reads: a video, three sounds, subtitles in two languages.
std::vector<PmtStream> pictureAndSound()
{
    const Bytes subtitles = makeDescriptor(0x59, ByteWriter()
                                                     .add(std::string("deu\x20"))
                                                     .u32(0x00010001)
                                                     .add(std::string("fra\x10"))
                                                     .u32(0x00020002));
    const Bytes access = makeDescriptor(0x09, {0, 1, 0xE7, 0});
    return {{0x02, 0x300, component(1)},
            {0x04, 0x301, component(2, language("deu", 0))},
            {0x04, 0x302, component(3, language("deu", 3))},
            {0x06, 0x303,
             component(4, language("fra", 2) + makeDescriptor(0x6A, {0x80, 0x44}) + access)},
            {0x06, 0x304, component(5, subtitles)}};
}

/// An event of the schedule.
Bytes eventOn(unsigned day, unsigned id, const Bytes& descriptors)
{
    EventFields event;
    event.id = id;
    event.descriptors = descriptors;
    event.start[1] = static_cast<unsigned char>(0x79 + day);
    EitFields fields;
    fields.tableId = fields.lastTable = 0x50;
    fields.sectionNumber = fields.segmentLastSection = day * 8;
    fields.lastSectionNumber = 8;
    return makeEit(fields, {event});
}

/// A service with all that the stream can tell of it.
Bytes information()
{
    Stream stream;
    const Bytes page = application(0x101, present, {1}, http(1, "http://test.example/related/"),
                                   "information.html", visible);
    std::vector<PmtStream> streams = pictureAndSound();
    streams.push_back(tablesOn(0x200));
    EventFields now, next;
    now.id = 7;
    now.descriptors = makeShortEvent("\x05"
                                     "Deneme \xFD",
                                     "About it") +
                      makeExtendedEvent(0, "A long story") + makeComponentDescriptor(1, 3, 1) +
                      makeDescriptor(0x55, {'D', 'E', 'U', 9});
    next.id = 8;
    next.start[2] = 0x14;
    next.descriptors = makeShortEvent("Next");
    for (int round = 0; round < 20; ++round) {
        stream.services({"One"}).add(pmtPid, makePmt(1, 0, streams));
        stream.add(0x10, makeNit(0x3001, {{transportStreamId, network,
                                           makeDescriptor(0x5A, Bytes(11, 0x12))}}));
        stream.add(0x12, makePresentFollowing(1, 0, now));
        stream.add(0x12, makePresentFollowing(1, 1, next));
        stream.add(0x12, eventOn(0, 7, now.descriptors));
        stream.add(0x12, eventOn(1, 9, makeShortEvent("Tomorrow")));
        stream.add(0x200, table(1, page)).pause();
    }
    return stream.bytes();
}

/// Every name and every address is markup, and would be obeyed by a terminal.
Bytes markup()
{
    const unsigned pid = 0x300;
    const std::string utf8 = "\x15";
    const std::string hostile = "</script><img src=x onerror=alert(1)>\"'&\x1b[2J\xE2\x80\xAE";
    const std::string file = "<img src=x onerror=alert(1)>.html";
    const Bytes names =
        makeDescriptor(0x01, ByteWriter().add(std::string("eng")).with8(utf8 + hostile));
    const Bytes transports = carousel(1) + http(2, "http://one.example/<b onclick=alert(1)>/");
    const Bytes files =
        makeGateway("g",
                    {{"index.html", makeIor({"fil", 1, "i"})}, {file, makeIor({"fil", 1, "h"})}}) +
        makeFile("i", "<html><body>" + hostile + "</body></html>") + makeFile("h", hostile);
    Stream stream;
    stream.services({utf8 + hostile + " One", utf8 + hostile + " Two"});
    stream.add(pmtPid, makePmt(1, 0, {tablesOn(0x200), {0x0B, pid, component(carouselTag)}}));
    stream.add(pmtPid, makePmt(2, 0, {tablesOn(0x201)}));
    stream.add(0x200, table(0, application(1, autostart, {1, 2}, transports + names)));
    stream.add(0x201, table(0, namedApplication(2, present, utf8 + hostile)));
    return addCarousel(stream, pid, files).pause().bytes();
}

bool write(const std::filesystem::path& folder, const std::string& name, const Bytes& bytes)
{
    std::ofstream file(folder / (name + ".ts"), std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    return file.good();
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_streams FOLDER\n");
        return 1;
    }
    const std::filesystem::path folder = argv[1];
    std::filesystem::create_directories(folder);
    bool isWritten = true;
    const std::pair<const char*, Bytes> streams[] = {
        {"two-services", twoServices()},
        {"killed-application", killedApplication()},
        {"timed-kill", timedKill()},
        {"fallback", fallback()},
        {"late-carousel", lateCarousel()},
        {"stalled-script", stalledScript()},
        {"several-tables", severalTables()},
        {"moving-table", movingTable()},
        {"no-table", noTable()},
        {"no-network", noNetwork()},
        {"services-without-table", servicesWithoutTable()},
        {"contradicted-table", contradictedTable()},
        {"names", names()},
        {"broken-tables", brokenTables()},
        {"idle-applications", idleApplications()},
        {"damaged", damagedStream()},
        {"scheduled-events", scheduledEvents()},
        {"television", television()},
        {"information", information()},
        {"markup", markup()},
    };
    for (const auto& [name, bytes] : streams)
        isWritten = write(folder, name, bytes) && isWritten;
    return isWritten ? 0 : 2;
}
