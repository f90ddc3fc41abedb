// The command line, inputs of every kind, and exit codes.

#include "tests/inspector/support/call.h"
#include "tests/kit/xml_ait_text.h"

namespace inspector::test {
namespace {

using namespace receiver;
using testing::HasSubstr;
using testing::Not;

class Program : public InFolder {
protected:
    std::string right() const { return write("right.ts", Signal().bytes()); }

    /// With a finding of severity warning, and no error.
    std::string odd() const
    {
        Signal signal;
        signal.application(rightApplication().visibility(2));
        return write("odd.ts", signal.bytes());
    }

    /// In which nothing is wrong without a stream.
    static Bytes httpTable()
    {
        return AITSection()
            .add(AITEntry(0x0A, 1, 2).http(1, "http://a.example/").location("i.html"))
            .bytes();
    }

    std::string wrong() const
    {
        Signal signal;
        signal.application(rightApplication().labels({3}));
        return write("wrong.ts", signal.bytes());
    }
};

TEST_F(Program, ExplainsItself)
{
    EXPECT_THAT(call({"--help"}).output, HasSubstr("usage: vesta_signalling dump|check"));
    EXPECT_EQ(call({"-h"}).code, exitSuccess);
    EXPECT_THAT(call({"--version"}).output, HasSubstr("vesta_signalling 1."));
}

TEST_F(Program, RefusesWrongUsage)
{
    const std::vector<std::string> cases[] = {
        {},
        {"show", right()},
        {"dump"},
        {"check", "--json"},
        {"dump", "--loud", right()},
        {"dump", "--strict", right()},
        {"dump", "--service", "abc", right()},
        {"dump", "--service", "65536", right()},
        {"dump", "--service"},
        {"dump", "--seconds", "0", right()},
        {"dump", "--seconds", "soon", right()},
        {"dump", "--url", "", right()},
        {"dump", "--service", "7", right()},
    };
    for (const std::vector<std::string>& arguments : cases) {
        const Answer answer = call(arguments);
        EXPECT_EQ(answer.code, exitUsage) << testing::PrintToString(arguments);
        EXPECT_EQ(answer.output, "");
        EXPECT_THAT(answer.errors, testing::StartsWith("vesta_signalling: "));
    }
}

TEST_F(Program, SaysWhatItCannotRead)
{
    const std::string noise(5'000, 'x');
    const std::string cases[] = {
        (folder_ / "nowhere").string(),
        folder_.string(),
        write("empty", std::string()),
        write("noise", noise),
        write("G", std::string("G")),
        write("halfway", std::string(6'000, '0') + "zz"),
        "udp://nobody",
    };
    for (const std::string& path : cases) {
        const Answer answer = call({"check", path});
        EXPECT_EQ(answer.code, exitUnreadable) << path;
        EXPECT_EQ(answer.output, "");
        EXPECT_THAT(answer.errors, testing::StartsWith("vesta_signalling: ")) << path;
    }
    EXPECT_EQ(call({"check", right(), right()}).code, exitUnreadable) << "two streams";
}

TEST_F(Program, TellsByItsExitCodeWhatWasFound)
{
    EXPECT_EQ(call({"check", right()}).code, exitSuccess);
    EXPECT_EQ(call({"check", "--strict", right()}).code, exitSuccess);
    EXPECT_EQ(call({"check", odd()}).code, exitSuccess);
    EXPECT_EQ(call({"check", "--strict", odd()}).code, exitWarnings);
    EXPECT_EQ(call({"check", "--strict", "--json", odd()}).code, exitWarnings);
    EXPECT_EQ(call({"check", wrong()}).code, exitErrors);
    EXPECT_EQ(call({"check", "--strict", wrong()}).code, exitErrors);
    EXPECT_EQ(call({"dump", wrong()}).code, exitSuccess);
}

TEST_F(Program, ReadsSectionsInEveryForm)
{
    const Bytes ait = AITSection().version(9).add(rightApplication()).bytes();
    const std::string binary = write("ait.bin", ait);
    const std::string several = write("several.bin", ait + Bytes(3, 0xFF) + ait);
    std::string digits = hexadecimalOf(std::string(ait.begin(), ait.end()));
    const std::string plain = write("plain.txt", digits);
    std::string spaced = "# the table\n";
    for (size_t at = 0; at < digits.size(); at += 2)
        spaced += "0x" + digits.substr(at, 2) + (at % 32 == 30 ? ",\n" : ", ");
    const std::string listed = write("listed.txt", spaced);
    for (const std::string& path : {binary, several, plain, listed}) {
        const Answer answer = call({"dump", path});
        EXPECT_EQ(answer.code, exitSuccess) << answer.errors;
        EXPECT_THAT(answer.output, HasSubstr("AIT of type HbbTV, version 9")) << path;
        EXPECT_THAT(answer.output, HasSubstr("application a.1")) << path;
    }
}

TEST_F(Program, TakesSectionsOfSeveralFilesTogether)
{
    const std::string pmt = write("pmt.bin", makePmt(serviceId, 0, {aitStream()}));
    const std::string ait = write("ait.bin", AITSection().add(rightApplication()).bytes());
    const Answer answer = call({"dump", pmt, ait});
    EXPECT_THAT(answer.output, HasSubstr("service 28112\n"));
    EXPECT_THAT(answer.output, HasSubstr("\n  AIT of type HbbTV")) << "it is the service's";
    EXPECT_EQ(call({"check", "--strict", pmt, write("http.bin", httpTable())}).code, exitSuccess);
    const std::string bare = write("bare.bin", makePmt(serviceId, 0, {}));
    EXPECT_THAT(call({"check", bare, ait}).output, HasSubstr("error pmt-ait-unlisted: "));
}

TEST_F(Program, ChecksEachFileOfSectionsForItself)
{
    const Bytes first = AITSection().add(rightApplication(1)).bytes();
    const std::string one = write("one.bin", first);
    const std::string two = write("two.bin", AITSection().add(rightApplication(2)).bytes());
    const std::string pmt = write("pmt.bin", makePmt(serviceId, 0, {aitStream()}));
    EXPECT_THAT(call({"check", one, two}).output, Not(HasSubstr("version-kept")));
    EXPECT_THAT(call({"check", one, two, pmt}).output, Not(HasSubstr("ait-several-pids")));
    const std::string both =
        write("both.bin", first + AITSection().add(rightApplication(2)).bytes());
    EXPECT_THAT(call({"check", both}).output, HasSubstr("version-kept"));
    const std::string bad =
        write("bad.bin", AITSection().add(rightApplication().labels({3})).bytes());
    const Answer answer = call({"check", one, bad});
    EXPECT_THAT(answer.output, HasSubstr("where      " + bad + ", AIT, section 0, byte"));
    EXPECT_THAT(call({"check", "--json", one, bad}).output, HasSubstr("\"file\":"));
}

TEST_F(Program, PutsATableTogetherThatLiesInSeveralFiles)
{
    const auto part = [](uint8_t number) {
        return AITSection().number(number, 2).add(rightApplication(number + 1)).bytes();
    };
    const std::string zero = write("0.bin", part(0));
    const std::string one = write("1.bin", part(1));
    const std::string two = write("2.bin", part(2));
    EXPECT_THAT(call({"check", zero, one}).output, HasSubstr("table-incomplete"));
    EXPECT_THAT(call({"check", zero, one, two}).output, Not(HasSubstr("table-incomplete")));
}

TEST_F(Program, LooksInFilesOfSectionsAtOneServiceOrAll)
{
    const std::string ait = write("ait.bin", AITSection().add(rightApplication()).bytes());
    const std::string two = write("pmts.bin", makePmt(1, 0, {aitStream()}) + makePmt(2, 0, {}));
    EXPECT_EQ(call({"dump", "--service", "1", ait}).code, exitSuccess) << "it is nobody's";
    const Answer one = call({"dump", "--service", "1", two, ait});
    EXPECT_THAT(one.output, HasSubstr("service 1\n"));
    EXPECT_THAT(one.output, Not(HasSubstr("service 2\n")));
    EXPECT_THAT(one.output, HasSubstr("\n  AIT of type HbbTV")) << "it is the service's";
    EXPECT_THAT(call({"dump", two, ait}).output, HasSubstr("service 2\n"));
    EXPECT_EQ(call({"dump", "--service", "3", two, ait}).code, exitUsage);
}

TEST_F(Program, FindsAStreamWithoutAPat)
{
    Bytes nulls;
    PacketWriter writer(0x1FFF);
    for (unsigned i = 0; i < 100; ++i)
        nulls = nulls + writer.packet(false, {}, Bytes(184, 0xFF));
    const Answer answer = call({"check", write("nulls.ts", nulls)});
    EXPECT_EQ(answer.code, exitErrors);
    EXPECT_THAT(answer.output, HasSubstr("error pat-missing: "));
}

TEST_F(Program, ReadsXmlAits)
{
    using vesta::test::applicationText, vesta::test::documentBegin, vesta::test::documentEnd;
    const std::string right = write("a.xml", documentBegin + applicationText + documentEnd);
    const Answer answer = call({"dump", right});
    EXPECT_EQ(answer.code, exitSuccess);
    EXPECT_THAT(answer.output, HasSubstr("http://a.example/app/index.html"));
    EXPECT_EQ(call({"check", right}).code, exitSuccess);
    EXPECT_EQ(call({"check", write("b.xml", std::string("<ServiceDiscovery>"))}).code, exitErrors);
    std::string text = applicationText;
    text.replace(text.find("http://a.example/app/"), 21, "app/");
    const std::string relative = write("c.xml", documentBegin + text + documentEnd);
    EXPECT_EQ(call({"check", relative}).code, exitErrors);
    EXPECT_EQ(call({"check", "--url", "http://a.example/x.xml", relative}).code, exitSuccess);
}

TEST_F(Program, LooksAtOneServiceOrAll)
{
    Signal signal;
    signal["pat"].sections = {makePat(0x0441, 1, {{serviceId, pmtPid}, {5, 0x60}})};
    signal["pmt of 5"] = {0x60, {makePmt(5, 0, {})}, 100};
    const std::string path = write("two.ts", signal.bytes());
    const Answer all = call({"dump", path});
    EXPECT_THAT(all.output, HasSubstr("service 5:"));
    EXPECT_THAT(all.output, HasSubstr("service 28112 \"One\""));
    for (const char* const id : {"28112", "0x6dd0"}) {
        const Answer one = call({"dump", "--service", id, path});
        EXPECT_THAT(one.output, Not(HasSubstr("service 5:")));
        EXPECT_THAT(one.output, HasSubstr("service 28112 \"One\""));
    }
}

TEST_F(Program, SaysWhereUrlsLead)
{
    const Answer answer = call({"dump", right()});
    EXPECT_THAT(answer.output, HasSubstr("url \"dvb://20fa.441.6dd0.2a/index.html\""));
    EXPECT_THAT(answer.output, HasSubstr("leads_to \"file\", size 7"));
    EXPECT_THAT(answer.output, HasSubstr("leads_to \"network\""));
}

TEST_F(Program, PrintsNothingThatATerminalWouldObey)
{
    Signal signal;
    signal.application(rightApplication().name("\x1B[2J").location("a\r\n\x9B"));
    const std::string path = write("escapes.ts", signal.bytes());
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"dump", path},
                                               {"check", path},
                                               {"dump", "--json", path},
                                               {"check", "--json", path}}) {
        const Answer answer = call(arguments);
        for (const char forbidden : {'\x1B', '\r'})
            EXPECT_EQ(answer.output.find(forbidden), std::string::npos) << arguments[0];
    }
}

TEST_F(Program, FindsTheSameInACaptureWithoutItsBeginning)
{
    const Bytes stream = Signal().bytes();
    const Bytes rest(stream.begin() + 188 * 3 + 50, stream.end());
    EXPECT_EQ(call({"check", "--strict", write("cut.ts", rest)}).code, exitSuccess);
}

}  // namespace
}  // namespace inspector::test
