// Thirty-odd ways in which an integration or a broadcast goes wrong, each of them on air, and what
// the receiver's `why` answers: the cause, in a sentence.

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <vector>

#include "tests/receiver/support/carousel_builder.h"
#include "tests/receiver/support/played_session.h"
#include "tests/receiver/support/stream_builder.h"
#include "tests/support/section_builder.h"

namespace receiver {
namespace {

using vesta::test::AITEntry;
using vesta::test::AITSection;
using Lines = std::vector<std::string>;
using Tables = std::vector<AITSection>;

const unsigned transportStreamId = 1;
const unsigned network = 0x20FA;
const unsigned pmtPid = 0x100;
const unsigned aitPid = 0x200;
const unsigned carouselPid = 0x300;
const unsigned carouselTag = 0x2A;

const uint8_t present = 2;
const uint8_t kill = 4;

AITEntry application(uint8_t id, uint8_t controlCode = 1)
{
    return AITEntry(0x0A, id, controlCode).http(1, "http://one.example/").location("index.html");
}

/// A carousel whose one file is index.html.
void addCarousel(StreamWriter& stream)
{
    const Bytes module =
        makeGateway("g", {{"index.html", makeIor({"fil", 1, "i"})}}) + makeFile("i", "<html/>");
    stream.add(carouselPid, makeDsi(makeIor({"srg", 1, "g"})));
    stream.add(carouselPid, makeDii(0x80000002, {{1, uint32_t(module.size())}}));
    for (const Bytes& block : makeDdbs(1, 0, module))
        stream.add(carouselPid, block);
}

/// A service that sends these sections one after the other, each for a while.
class Broadcast {
public:
    explicit Broadcast(unsigned applicationType = 0x0010)
    {
        stream_.add(0, makePat(transportStreamId, 0, {{1, pmtPid}, {2, pmtPid}}));
        stream_.add(0x11, makeSdt(transportStreamId, network, {{1, "First"}, {2, "Second"}}));
        const Bytes signalling =
            makeDescriptor(0x6F, ByteWriter().u16(0x8000 | applicationType).u8(0xE0));
        const Bytes tag = makeDescriptor(0x52, ByteWriter().u8(carouselTag));
        stream_.add(pmtPid,
                    makePmt(1, 0,
                            {{0x05, aitPid, signalling},
                             {0x0B, carouselPid, tag + makeDescriptor(0x13, {0, 0, 0, 42, 0})}}));
        stream_.add(pmtPid, makePmt(2, 0, {{0x1B, 0x400, {}}}));
        addCarousel(stream_);
    }

    Broadcast& add(const Bytes& section)
    {
        for (int round = 0; round < 3; ++round)
            stream_.add(aitPid, section).pause();
        return *this;
    }
    Broadcast& add(const AITSection& section) { return add(section.bytes()); }

    const Bytes& bytes() const { return stream_.bytes(); }

private:
    StreamWriter stream_;
};

/// @return the file that it is in
std::string written(const Broadcast& broadcast)
{
    std::string path = ::testing::TempDir() + "/broken-setup-" + std::to_string(getpid()) + ".ts";
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(broadcast.bytes().data()),
               std::streamsize(broadcast.bytes().size()));
    return path;
}

/// @return what `why` answers at the end
Lines whyAfter(const Broadcast& broadcast, const Lines& script)
{
    PlayedSession session(written(broadcast));
    EXPECT_EQ(session.play(script), 0) << session.problem();
    return *session.session().decisions().sentencesAbout("");
}

/// A way in which nothing happens, or not what was wanted.
struct Setup {
    const char* name;
    Broadcast broadcast;
    Lines script;
    std::string cause;  ///< in one of the sentences
};

const Lines toTheEnd = {"wait end"};

AITEntry carouselApplication(uint8_t controlCode = 1)
{
    return AITEntry(0x0A, 1, controlCode).carousel(1, carouselTag).location("index.html");
}

Broadcast oneSection(const AITEntry& entry)
{
    return Broadcast().add(AITSection().add(entry));
}

/// @param commands for the running application
Lines whileItRuns(const Lines& commands)
{
    Lines script = {"wait running a.1"};
    script.insert(script.end(), commands.begin(), commands.end());
    script.emplace_back("wait end");
    return script;
}

std::vector<Setup> setupsOfTables()
{
    Bytes damaged = AITSection().add(application(1)).bytes();
    damaged[20] ^= 1;
    Bytes cut = AITSection().add(application(1)).bytes();
    cut[1] = 0xB2;  // 512 bytes and some, of which the other packets do not come
    Bytes tooLong = cut;
    tooLong[1] = tooLong[2] = 0xFF;
    return {
        {"a bit of the section is wrong", Broadcast().add(damaged), toTheEnd,
         "PID 512, CRC_32 does not match"},
        {"the section announces more than comes", Broadcast().add(cut), toTheEnd,
         "PID 512, the next section begins before it ends"},
        {"the section announces more than there can be", Broadcast().add(tooLong), toTheEnd,
         "PID 512, its section_length is more than a section can have"},
        {"the PMT names applications of another type",
         Broadcast(1).add(AITSection().add(application(1))), toTheEnd,
         "no service of the stream signals HbbTV applications"},
        {"the section is for tests",
         Broadcast().add(AITSection().applicationType(0x8010).add(application(1))), toTheEnd,
         "test_application_flag is set"},
        {"the section is for later",
         Broadcast().add(AITSection().currentNext(false).add(application(1))), toTheEnd,
         "not in force yet (current_next_indicator is 0)"},
        {"a length leaves the section",
         Broadcast().add(AITSection().add(application(1)).applicationLoopLength(900)), toTheEnd,
         "the application loop leaves the section, or is missing at offset 10"},
        {"the second section never comes",
         Broadcast().add(AITSection().number(0, 1).add(application(1))), toTheEnd,
         "Sections of the table are still missing. (section_number 1 is missing, "
         "last_section_number 1)"},
        {"no section comes at all", Broadcast(), toTheEnd, "no AIT for HbbTV came in service 1"},
        {"nothing is to start by itself", oneSection(application(1, present)), toTheEnd,
         "lists no AUTOSTART application, or none that can be started: a reason before this one "
         "says why. (1 application)"},
    };
}

std::vector<Setup> setupsOfStarts()
{
    const AITEntry unknownProtocol = AITEntry(0x0A, 1)
                                         .raw(vesta::test::otherTransport(1, 0x0107))
                                         .labels({1})
                                         .location("index.html");
    return {
        {"another version of HbbTV", oneSection(application(1).profiles({{0, 9, 9, 9}})), toTheEnd,
         "(it wants 9.9.9, the terminal has 1.2.1)"},
        {"a profile that the terminal lacks",
         oneSection(application(1).profiles({{0x8000, 1, 1, 1}})), toTheEnd,
         "(it wants 0x8000, the terminal has 0x0)"},
        {"no transport", oneSection(AITEntry(0x0A, 1).location("index.html")), toTheEnd,
         "lists no transport_protocol_label"},
        {"a label of nothing", oneSection(application(1).labels({7})), toTheEnd,
         "no transport_protocol_descriptor has such a transport_protocol_label. (label 7)"},
        {"a protocol of nobody", oneSection(unknownProtocol), toTheEnd,
         "a protocol that is neither the object carousel nor HTTP"},
        {"no broadband",
         oneSection(application(1)),
         {"http off", "wait end"},
         "All its transports are HTTP, and broadband is off"},
        {"to be killed",
         oneSection(application(1, kill)),
         {"wait table", "start a.1", "wait end"},
         "no, start of a.1: The application control code forbids it: KILL or DISABLED. (control "
         "code 4)"},
        {"mistyped ids",
         oneSection(application(1, present)),
         {"wait table", "start a.9", "wait end"},
         "no, start of a.9: The table in force does not list the application."},
        {"started before the table came",
         Broadcast(),
         {"wait service", "start a.1", "wait end"},
         "no, start of a.1: No table is in force."},
        {"an application id that is none",
         oneSection(AITEntry(0x0A, 0).http(1, "http://one.example/").location("i")), toTheEnd,
         "Its application id is 0 or above 0x7FFF"},
        {"the integrator forbids it",
         oneSection(application(1)),
         {"answer start kill", "wait end"},
         "A listener answered the start request with \"block and kill\""},
        {"the integrator keeps the old one",
         oneSection(application(1)),
         {"answer start keep", "wait end"},
         "A listener answered the start request with \"block and keep\""},
        {"time-shifted",
         oneSection(application(1)),
         {"timeshift on", "wait end"},
         "The service is shown time-shifted"},
    };
}

std::vector<Setup> setupsOfPages()
{
    return {
        {"a file that the carousel has not",
         oneSection(AITEntry(0x0A, 1).carousel(1, carouselTag).location("nothere.html")), toTheEnd,
         "the directory does not list \"nothere.html\""},
        {"a carousel that the service has not",
         oneSection(AITEntry(0x0A, 1).carousel(1, 0x77).location("index.html")), toTheEnd,
         "no carousel with component tag 0x77"},
        {"a server that does not answer", oneSection(application(1)), toTheEnd,
         "The browser could not load the page. (no HTTP answer) http://one.example/index.html"},
        {"killed by the next table",
         Broadcast()
             .add(AITSection().add(carouselApplication()))
             .add(AITSection().version(1).add(carouselApplication(kill))),
         toTheEnd, "yes, end of a.1: The new table lists it with KILL."},
        {"forgotten by the next table",
         Broadcast().add(AITSection().add(carouselApplication())).add(AITSection().version(1)),
         toTheEnd, "yes, end of a.1: The new table does not list it."},
        {"the viewer zaps", oneSection(carouselApplication()), whileItRuns({"zap Second"}),
         "service 2 \"Second\" signals no HbbTV applications"},
    };
}

std::vector<Setup> setupsOfScripts()
{
    const Broadcast runs = oneSection(carouselApplication());
    return {
        {"a key that it did not ask for", runs, whileItRuns({"key RED"}),
         "The key's group is not in the application's key set: its script did not ask for it, or "
         "the terminal does not offer it. (group 0x1, key set 0x0)"},
        {"a key that was down before", runs, whileItRuns({"keyset RED", "key RED up"}),
         "the application did not get it when it was pressed. (key 403)"},
        {"a request to elsewhere", runs, whileItRuns({"xhr http://other.example/"}),
         "The URL is outside the application's boundaries: the browser's own rules decide, "
         "and may refuse it. http://other.example/"},
        {"a request that the integrator forbids", runs,
         whileItRuns({"answer request deny", "xhr dvb://20fa.1.1.2a/x"}),
         "no, request of a.1: A listener that was asked for permission denied it."},
        {"ids that are none", runs, whileItRuns({"create dvb://current.ait/zz"}),
         "no, native: The URL is no valid dvb://current.ait/ URL"},
        {"a picture that the carousel has not", runs,
         whileItRuns({"load dvb://20fa.1.1.2a/nothere.png"}),
         "the directory does not list \"nothere.png\""},
    };
}

void expectCauses(const std::vector<Setup>& setups)
{
    for (const Setup& setup : setups) {
        const Lines sentences = whyAfter(setup.broadcast, setup.script);
        EXPECT_THAT(sentences, ::testing::Contains(::testing::HasSubstr(setup.cause)))
            << setup.name;
    }
}

TEST(BrokenSetups, OfTables)
{
    expectCauses(setupsOfTables());
}

TEST(BrokenSetups, OfStarts)
{
    expectCauses(setupsOfStarts());
}

TEST(BrokenSetups, OfPages)
{
    expectCauses(setupsOfPages());
}

TEST(BrokenSetups, OfScripts)
{
    expectCauses(setupsOfScripts());
}

TEST(BrokenSetups, WhatRefusedTheTableIsWhyNothingRan)
{
    const AITSection test = AITSection().applicationType(0x8010).add(application(1));
    PlayedSession refused(written(Broadcast().add(test)));
    refused.play(toTheEnd);
    EXPECT_TRUE(refused.says("no application ran: the receiver, section: left out: PID 512, "
                             "test_application_flag is set"))
        << refused.output();
    PlayedSession empty(written(Broadcast()));
    empty.play(toTheEnd);
    EXPECT_TRUE(empty.says("no application ran: the receiver, table: no AIT for HbbTV came in "
                           "service 1 \"First\""))
        << empty.output();
}

}  // namespace
}  // namespace receiver
