// The program as a whole, with records written by hand: of the library, and of a small one that
// does what no library should.

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <tuple>
#include <unistd.h>

#include "tests/replay/support/record_text.h"

namespace {

/// A folder that is there for the time of a test.
class Folder {
public:
    Folder() : path_(testing::TempDir() + "vesta_replay_XXXXXX")
    {
        EXPECT_NE(mkdtemp(path_.data()), nullptr);
    }
    ~Folder() { EXPECT_EQ(std::system(("rm -r '" + path_ + "'").c_str()), 0); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string file(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

struct Ended {
    int code;  ///< the exit code, or the negative number of a signal
    std::string output;
};

class ReplayProgram : public testing::Test {
protected:
    /// @param arguments for the shell
    Ended run(const std::string& arguments)
    {
        const std::string command =
            std::string("exec ") + VESTA_EMULATOR " '" VESTA_REPLAY "' " + arguments + " 2>&1";
        FILE* const pipe = popen(command.c_str(), "r");
        Ended result = {-1, ""};
        if (!pipe)
            return result;
        char piece[4096];
        while (const size_t length = fread(piece, 1, sizeof(piece), pipe))
            result.output.append(piece, length);
        const int status = pclose(pipe);
        result.code = WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
        return result;
    }

    std::string recordOf(const RecordText& record, const std::string& rest = "")
    {
        std::ofstream(folder.file("record.vesta"), std::ios::binary) << record.text() << rest;
        return "'" + folder.file("record.vesta") + "'";
    }

    Ended play(const RecordText& record, const std::string& options = "")
    {
        return run(options + " " + recordOf(record));
    }

    Ended playSmall(const RecordText& record, const std::string& options = "")
    {
        return play(record, "--library '" VESTA_SMALL_LIBRARY "' " + options);
    }

    std::string contentsOf(const std::string& name)
    {
        std::ifstream input(folder.file(name), std::ios::binary);
        std::ostringstream contents;
        contents << input.rdbuf();
        return contents.str();
    }

    const Folder folder;
};

#define EXPECT_SAYS(run, text) EXPECT_NE((run).output.find(text), std::string::npos) << (run).output

const char* const question = "vesta_hbbtv_is_within_boundaries";

// The same.

TEST_F(ReplayProgram, AgreesWithWhatTheLibraryDoes)
{
    const Ended got = play(RecordText()
                               .init()
                               .in("vesta_hbbtv_create_window")
                               .end(R"({"result":"window:1"})")
                               .in("vesta_hbbtv_get_broadcast_window")
                               .end(R"({"result":null})")
                               .in("vesta_hbbtv_set_broadcast_window", R"({"window":"window:1"})")
                               .end()
                               .in("vesta_hbbtv_get_broadcast_window")
                               .end(R"({"result":"window:1"})")
                               .line(R"({"idle":25})"));
    EXPECT_EQ(got.code, 0);
    EXPECT_EQ(got.output, "the same: 5 calls of the library, 3 calls out of it\n");
}

TEST_F(ReplayProgram, HasAConditionToWakeUp)
{
    const Ended got = play(RecordText()
                               .in("vesta_hbbtv_set_sendevent_condition",
                                   R"({"condition":"passed:1","mutex":"passed:2"})")
                               .end()
                               .init()
                               .in("vesta_hbbtv_send_event", R"({"type":"E_HTTP_AVAILABLE"})")
                               .end()
                               .tick());
    EXPECT_EQ(got.code, 0) << got.output;
}

TEST_F(ReplayProgram, HasListenersThatCallBack)
{
    RecordText record;
    record.init()
        .in("vesta_hbbtv_add_notification_listener", R"({"listener":"listener:1"})")
        .end(R"({"result":true})")
        .in("native_AppPrivateDataGetFreeMem", R"({"windowId":1})")
        .out("HBBTV_NotificationListener",
             R"({"listener":"listener:1","type":"HBBTV_NOTIFICATION_GET_FREE_MEMORY"})")
        .in("vesta_hbbtv_create_window")
        .end(R"({"result":"window:1"})")
        .line(R"({"idle":2})")
        .in("vesta_hbbtv_add_notification_listener", R"({"listener":"listener:2"})")
        .end(R"({"result":true})")
        .end(R"({"result":0,"freeMemory":4711})")
        .out("HBBTV_NotificationListener",
             R"({"listener":"listener:2","type":"HBBTV_NOTIFICATION_GET_FREE_MEMORY"})")
        .end(R"({"result":1,"freeMemory":-2})")
        .end(R"({"result":0,"freeMemory":-2})")
        .in("native_AppPrivateDataGetFreeMem", R"({"windowId":1,"freeMemory":null})")
        .end(R"({"result":4})");
    const Ended got = play(record);
    EXPECT_EQ(got.code, 0) << got.output;
}

TEST_F(ReplayProgram, IsTheListenerOfStreamEvents)
{
    const Ended got = play(
        RecordText()
            .init()
            .in("vesta_hbbtv_send_event",
                R"({"type":"E_DSMCC_STREAM_EVENT","callback":"callback:1","value1":1,"string1":"a","string2":null,"string3":"c","string4":"","value2":2})")
            .end()
            .in("vesta_hbbtv_tick")
            .out(
                "HBBTV_StreamEventCallback",
                R"({"callback":"callback:1","string1":"a","value1":1,"string2":null,"string3":"c","string4":"","value2":2})")
            .end()
            .end(R"({"result":true})"));
    EXPECT_EQ(got.code, 0) << got.output;
}

TEST_F(ReplayProgram, IsTheListenerOfThePlugin)
{
    const Ended got =
        play(RecordText()
                 .init()
                 .in("native_ApplicationManagerSetListener", R"({"listener":"plugin:1"})")
                 .end(R"({"result":0})")
                 .in("vesta_hbbtv_send_event", R"({"type":"E_LOW_MEMORY"})")
                 .end()
                 .in("vesta_hbbtv_tick")
                 .out("VEIF_ApplicationManagerListener", R"({"event":0,"appId":null})")
                 .end()
                 .end(R"({"result":true})"));
    EXPECT_EQ(got.code, 0) << got.output;
}

TEST_F(ReplayProgram, StartsTheLibraryASecondTime)
{
    RecordText record;
    record.init()
        .in("vesta_hbbtv_shutdown")
        .out("hbbtv_ait_stop")
        .end()
        .out("dsmcc_stop")
        .end()
        .end()
        .init()
        .in("vesta_hbbtv_create_window")
        .end(R"({"result":"window:1"})");
    const Ended got = play(record);
    EXPECT_EQ(got.code, 0) << got.output;
}

TEST_F(ReplayProgram, BringsTheLibraryIntoTheStateInWhichARecordBegins)
{
    RecordText record;
    record.line(R"({"state":"begin"})")
        .in("vesta_hbbtv_init", R"({"browser":"browser:1"})")
        .out("hbbtv_keyset_get_supported_values")
        .end(R"({"result":31})")
        .end()
        .in("vesta_hbbtv_create_window")
        .end(R"({"result":"window:7"})")
        .in("vesta_hbbtv_set_broadcast_window", R"({"window":"window:7"})")
        .end()
        .in("vesta_hbbtv_send_event", R"({"type":"E_CHANNEL_CHANGE"})")
        .end()
        .in("vesta_hbbtv_tick")
        .end(R"({"result":true})")
        .line(R"({"state":"end"})")
        .in("vesta_hbbtv_get_broadcast_window")
        .end(R"({"result":"window:7"})")
        .in("native_KeySetGetMaximumValue", R"({"windowId":1})")
        .end(R"({"result":0,"maximum":31})");
    const Ended got = play(record);
    EXPECT_EQ(got.code, 0) << got.output;
}

TEST_F(ReplayProgram, GoesToTheEndOfARecordThatEndsInsideCalls)
{
    RecordText record;
    record.in("vesta_hbbtv_init", R"({"browser":"browser:1"})")
        .out("hbbtv_keyset_get_supported_values");
    const Ended got = play(record);
    EXPECT_EQ(got.code, 0);
    EXPECT_EQ(got.output, "the same, and the record ends here inside:\n"
                          "      1  in   vesta_hbbtv_init {\"browser\":\"browser:1\"}\n"
                          "      2  out  hbbtv_keyset_get_supported_values {}\n");
    const Ended back = playSmall(RecordText().in(question, R"({"window":null,"url":""})"));
    EXPECT_EQ(back.code, 0);
    EXPECT_SAYS(back, "the record ends here, but the library comes back, inside:\n");
}

TEST_F(ReplayProgram, GoesToTheEndOfARecordThatBecameFullInsideACall)
{
    const Ended got = play(
        RecordText().in("vesta_hbbtv_init", R"({"browser":"browser:1"})").line(R"({"full":true})"));
    EXPECT_EQ(got.code, 0);
    EXPECT_SAYS(got, "the same, and the record is full and ends here inside:\n");
}

TEST_F(ReplayProgram, LeavesOutWhatIsNoWholeLineAtTheEnd)
{
    const Ended got = run("--library '" VESTA_SMALL_LIBRARY "' " +
                          recordOf(RecordText().ask("a"), "{\"n\":2,\"in\":"));
    EXPECT_EQ(got.code, 0);
    EXPECT_SAYS(got, "line 4, the last one, is no whole line: it is left out");
    EXPECT_SAYS(got, "the same: 1 calls");
}

// Differences.

TEST_F(ReplayProgram, NoticesAnotherFunction)
{
    const Ended got = playSmall(RecordText()
                                    .in(question, R"({"window":null,"url":"open"})")
                                    .out("ve_clear_history", R"({"page":null})")
                                    .end(R"({"result":0})")
                                    .end(R"({"result":true})"));
    EXPECT_EQ(got.code, 3);
    EXPECT_EQ(got.output, R"(difference at step 2 (line 3)
  the record:  ve_clear_history {"page":null}
  the library: ve_open_url {"page":null, "url":"one"}
inside:
      1  in   vesta_hbbtv_is_within_boundaries {"window":null, "url":"open"}
before it:
      1  in   vesta_hbbtv_is_within_boundaries {"window":null, "url":"open"}
)");
}

TEST_F(ReplayProgram, NoticesAnotherArgumentAndMarksIt)
{
    const Ended got = playSmall(RecordText()
                                    .ask("before")
                                    .in(question, R"({"window":null,"url":"open another"})")
                                    .out("ve_open_url", R"({"page":null,"url":"one"})")
                                    .end(R"({"result":0})")
                                    .end(R"({"result":true})"),
                                "--steps 2");
    EXPECT_EQ(got.code, 3);
    EXPECT_EQ(got.output, R"(difference at step 3 (line 5)
  the record:  ve_open_url {"page":null, "url":>>"one"<<}
  the library: ve_open_url {"page":null, "url":>>"another"<<}
inside:
      2  in   vesta_hbbtv_is_within_boundaries {"window":null, "url":"open another"}
before it:
      1  end  vesta_hbbtv_is_within_boundaries {"result":true}
      2  in   vesta_hbbtv_is_within_boundaries {"window":null, "url":"open another"}
)");
}

TEST_F(ReplayProgram, NoticesACallThatDoesNotCome)
{
    const Ended got = playSmall(RecordText()
                                    .in(question, R"({"window":null,"url":"quiet"})")
                                    .out("ve_open_url", R"({"page":null,"url":"one"})")
                                    .end(R"({"result":0})")
                                    .end(R"({"result":true})"));
    EXPECT_EQ(got.code, 3);
    EXPECT_SAYS(got, "difference at step 2 (line 3)\n"
                     "  the record:  ve_open_url {\"page\":null, \"url\":\"one\"}\n"
                     "  the library: returns from vesta_hbbtv_is_within_boundaries "
                     "{\"result\":true}\n");
}

TEST_F(ReplayProgram, NoticesACallThatTheRecordDoesNotHave)
{
    const Ended got = playSmall(RecordText().ask("open"));
    EXPECT_EQ(got.code, 3);
    EXPECT_SAYS(got, "difference at step 1 (line 3)\n"
                     "  the record:  returns from vesta_hbbtv_is_within_boundaries "
                     "{\"result\":true}\n"
                     "  the library: ve_open_url {\"page\":null, \"url\":\"one\"}\n");
}

TEST_F(ReplayProgram, NoticesAnotherResult)
{
    const Ended got = playSmall(RecordText().ask("no"));
    EXPECT_EQ(got.code, 3);
    EXPECT_SAYS(got, "  the record:  returns from vesta_hbbtv_is_within_boundaries "
                     "{\"result\":>>true<<}\n"
                     "  the library: returns from vesta_hbbtv_is_within_boundaries "
                     "{\"result\":>>false<<}\n");
}

TEST_F(ReplayProgram, NoticesAnotherValueThatWasWritten)
{
    const Ended got = play(RecordText()
                               .init()
                               .in("native_KeySetGetMaximumValue", R"({"windowId":1})")
                               .end(R"({"result":0,"maximum":1022})"));
    EXPECT_EQ(got.code, 3);
    EXPECT_SAYS(got, "  the record:  returns from native_KeySetGetMaximumValue {\"result\":0, "
                     "\"maximum\":>>1022<<}\n");
}

TEST_F(ReplayProgram, NoticesAHandleThatIsNotTheOneItWas)
{
    const Ended got = play(RecordText()
                               .init()
                               .in("vesta_hbbtv_create_window")
                               .end(R"({"result":"window:1"})")
                               .in("vesta_hbbtv_create_window")
                               .end(R"({"result":"window:2"})")
                               .in("vesta_hbbtv_set_broadcast_window", R"({"window":"window:2"})")
                               .end()
                               .in("vesta_hbbtv_get_broadcast_window")
                               .end(R"({"result":"window:1"})"));
    EXPECT_EQ(got.code, 3);
    EXPECT_SAYS(got, R"({"result":>>"window:2"<<})");
}

TEST_F(ReplayProgram, NoticesAHandleThatNobodyKnows)
{
    const Ended got = playSmall(RecordText()
                                    .in(question, R"({"window":null,"url":"free a window"})")
                                    .out("ve_clear_history", R"({"page":"page:1"})")
                                    .end(R"({"result":0})")
                                    .end(R"({"result":true})"));
    EXPECT_EQ(got.code, 0) << "it is the first: " << got.output;
    const Ended second =
        playSmall(RecordText()
                      .in("vesta_hbbtv_handle_notification",
                          R"({"page":"page:1","event":2,"data":null,"handled":null})")
                      .end(R"({"result":0})"));
    EXPECT_EQ(second.code, 2);
    EXPECT_SAYS(second, "the library has no vesta_hbbtv_handle_notification");
}

TEST_F(ReplayProgram, NoticesAnIdleTickThatRan)
{
    const RecordText record = RecordText()
                                  .in("vesta_hbbtv_send_event", R"({"type":"E_LOW_MEMORY"})")
                                  .end()
                                  .line(R"({"idle":3})");
    const Ended small = playSmall(record);
    EXPECT_EQ(small.code, 3);
    EXPECT_SAYS(small, "difference in the idle ticks of line 4\n"
                       "  the record:  vesta_hbbtv_tick finds nothing to do\n"
                       "  the library: vesta_hbbtv_tick runs an event\n");
    const Ended real = play(RecordText()
                                .init()
                                .in("vesta_hbbtv_create_window")
                                .end(R"({"result":"window:1"})")
                                .in("vesta_hbbtv_set_broadcast_window", R"({"window":"window:1"})")
                                .end()
                                .in("vesta_hbbtv_send_event", R"({"type":"E_CHANNEL_CHANGE"})")
                                .end()
                                .line(R"({"idle":1})"));
    EXPECT_EQ(real.code, 3);
    EXPECT_SAYS(real, "  the library: dsmcc_clear_cache {}\n");
}

RecordText opensWithQuery(const std::string& second)
{
    RecordText record("\"queries\"");
    for (const std::string& what : {std::string("open with query"), second}) {
        record.in(question, R"({"window":null,"url":")" + what + "\"}")
            .out("ve_open_url", R"({"page":null,"url":"http://a.example/?~1"})")
            .end(R"({"result":0})")
            .end(R"({"result":true})");
    }
    return record;
}

TEST_F(ReplayProgram, KnowsQueriesThatWereLeftOutByTheirFirst)
{
    const Ended same = playSmall(opensWithQuery("open with query"));
    EXPECT_EQ(same.code, 0) << same.output;
    const Ended other = playSmall(opensWithQuery("open with another query"));
    EXPECT_EQ(other.code, 3);
    EXPECT_SAYS(other, R"(>>"http://a.example/?real=2"<<)");
}

/// A file of 2000 bytes that is handed on in halves.
RecordText handsOn(const std::string& how, const std::string& second)
{
    const std::string file(64, 'a');
    const std::string first(64, 'b');
    RecordText record("\"bodies\"");
    for (const std::string& half : {first, second})
        record.line(R"({"body":")" + half + R"(","length":1000})");
    return record.line(R"({"body":")" + file + R"(","length":2000})")
        .in(question, R"({"window":null,"url":"hand on )" + how + "\"}")
        .out("dsmcc_read", R"({"id":null})")
        .end(R"({"result":0,"bytes":{"length":2000,"sha256":")" + file + "\"}}")
        .out("ve_protocol_write",
             R"({"id":null,"bytes":{"length":1000,"sha256":")" + first + "\"}}")
        .end(R"({"result":0})")
        .out("ve_protocol_write",
             R"({"id":null,"bytes":{"length":1000,"sha256":")" + second + "\"}}")
        .end(R"({"result":0})")
        .end(R"({"result":true})");
}

TEST_F(ReplayProgram, NoticesWrongPiecesOfBytesThatWereLeftOut)
{
    const std::tuple<const char*, int, const char*> cases[] = {
        {"as they are", 0, "the same"},
        {"a wrong byte", 3, "difference at step 4 "},
        {"a wrong offset", 3, "difference at step 4 "},
        {"a wrong order", 3, "difference at step 3 "},
        {"the same again", 3, "difference at step 4 "},
        {"null", 3, "difference at step 4 "},
    };
    for (const auto& [how, code, said] : cases) {
        const Ended got = playSmall(handsOn(how, std::string(64, 'c')));
        EXPECT_EQ(got.code, code) << how;
        EXPECT_SAYS(got, said) << how;
    }
    const Ended alike = playSmall(handsOn("as they are", std::string(64, 'b')));
    EXPECT_EQ(alike.code, 0) << "pieces whose bytes were the same: " << alike.output;
}

TEST_F(ReplayProgram, TellsBytesFromNone)
{
    const std::string piece = R"({"id":null,"bytes":{"length":1000,"sha256":)";
    const std::string file(64, 'a');
    const auto record = [&](const std::string& how) {
        return RecordText("\"bodies\"")
            .line(R"({"body":")" + file + R"(","length":2000})")
            .line(R"({"body":")" + std::string(64, 'b') + R"(","length":1000})")
            .in(question, R"({"window":null,"url":"hand on )" + how + "\"}")
            .out("dsmcc_read", R"({"id":null})")
            .end(R"({"result":0,"bytes":{"length":2000,"sha256":")" + file + "\"}}")
            .out("ve_protocol_write", piece + "\"" + std::string(64, 'b') + "\"}}")
            .end(R"({"result":0})")
            .out("ve_protocol_write", piece + "null}}")
            .end(R"({"result":0})")
            .end(R"({"result":true})");
    };
    EXPECT_EQ(playSmall(record("null")).code, 0);
    const Ended bytes = playSmall(record("as they are"));
    EXPECT_EQ(bytes.code, 3);
    EXPECT_SAYS(bytes, R"("sha256":>>null<<)");
}

// Cannot be played.

TEST_F(ReplayProgram, CannotPlayExceptions)
{
    const Ended out = playSmall(RecordText()
                                    .in(question, R"({"window":null,"url":"open"})")
                                    .out("ve_open_url", R"({"page":null,"url":"one"})")
                                    .threw()
                                    .end(R"({"result":true})"));
    EXPECT_EQ(out.code, 4);
    EXPECT_SAYS(out, "cannot be played: ve_open_url threw an exception in step 2 (line 3)\n");
    const Ended in = playSmall(RecordText().in(question, R"({"window":null,"url":""})").threw());
    EXPECT_EQ(in.code, 4);
    EXPECT_SAYS(in, "cannot be played: an exception left vesta_hbbtv_is_within_boundaries, step 1");
}

TEST_F(ReplayProgram, SaysWhichArgumentIsWrong)
{
    const Ended in = playSmall(RecordText().in(question, R"({"window":"page:1","url":""})"));
    EXPECT_EQ(in.code, 2);
    EXPECT_SAYS(in, "line 2, vesta_hbbtv_is_within_boundaries: \"window\" is no window\n");
    const Ended out = playSmall(RecordText()
                                    .in(question, R"({"window":null,"url":"open"})")
                                    .out("ve_open_url", R"({"page":null,"url":"one"})")
                                    .end(R"({"result":"fine"})")
                                    .end(R"({"result":true})"));
    EXPECT_EQ(out.code, 2);
    EXPECT_SAYS(out, "line 4, ve_open_url: \"result\" is no number that fits\n");
}

TEST_F(ReplayProgram, SaysWhatCannotBeRead)
{
    EXPECT_EQ(run("'" + folder.file("nowhere") + "'").code, 2);
    EXPECT_EQ(run("").code, 1);
    EXPECT_EQ(run("--help").code, 0);
    EXPECT_EQ(run("--version").code, 0);
    const Ended noLibrary = play(RecordText().ask("a"), "--library '" + folder.file("no.so") + "'");
    EXPECT_EQ(noLibrary.code, 2);
    EXPECT_SAYS(noLibrary, "no.so: cannot open shared object file");
    const Ended broken = play(RecordText().line("{").ask("a"));
    EXPECT_EQ(broken.code, 2);
    EXPECT_SAYS(broken, "line 2: this is no object of JSON");
}

const char* const emptyHash = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";

RecordText xmlAit()
{
    return RecordText()
        .line(std::string(R"({"body":")") + emptyHash + R"(","base64":""})")
        .in("hbbtv_kit_load_xml_ait",
            std::string(R"({"window":null,"bytes":{"length":0,"sha256":")") + emptyHash +
                R"("},"documentUrl":null})")
        .end(R"({"status":1,"line":0,"column":0})");
}

TEST_F(ReplayProgram, DoesNotPassOverAKitThatIsNamedAndIsNone)
{
    const Ended missing = play(xmlAit(), "--kit '" + folder.file("no.so") + "'");
    EXPECT_EQ(missing.code, 2);
    EXPECT_SAYS(missing, "no.so");
    const Ended other = play(xmlAit(), "--kit '" VESTA_SMALL_LIBRARY "'");
    EXPECT_EQ(other.code, 2);
    EXPECT_SAYS(other, " has no hbbtv_kit_load_xml_ait");
}

TEST_F(ReplayProgram, CannotReadDocumentsThatWereLeftOut)
{
    const std::string hash(64, 'a');
    const Ended got =
        play(RecordText("\"bodies\"")
                 .line(R"({"body":")" + hash + R"(","length":9})")
                 .in("hbbtv_kit_load_xml_ait", R"({"window":null,"bytes":{"length":9,"sha256":")" +
                                                   hash + R"("},"documentUrl":null})")
                 .end(R"({"status":0,"line":0,"column":0})"));
    EXPECT_EQ(got.code, 4);
    EXPECT_SAYS(got, "cannot be played: step 1 (line 3) reads a document that was left out");
}

#ifdef VESTA_HAS_KIT
TEST_F(ReplayProgram, OpensTheKitWhereItIsWanted)
{
    const Ended got = play(xmlAit());
    EXPECT_EQ(got.code, 0) << got.output;
}
#endif

// Options.

TEST_F(ReplayProgram, StopsBeforeAStep)
{
    const RecordText record = RecordText().init();
    EXPECT_EQ(play(record, "--until 3").output,
              "stopped before step 3 (line 5):\n"
              "      3  out  hbbtv_ait_start {}\n"
              "inside:\n"
              "      1  in   vesta_hbbtv_init {\"browser\":\"browser:1\"}\n"
              "before it:\n"
              "      1  in   vesta_hbbtv_init {\"browser\":\"browser:1\"}\n"
              "      2  out  hbbtv_keyset_get_supported_values {}\n"
              "      2  end  hbbtv_keyset_get_supported_values {\"result\":1023}\n");
    EXPECT_SAYS(play(record, "--until 3 --steps 1"),
                "before it:\n"
                "      2  end  hbbtv_keyset_get_supported_values {\"result\":1023}\n");
    EXPECT_EQ(play(record, "--until 3 --steps 0").output.find("before it"), std::string::npos);
    EXPECT_EQ(play(record, "--until 1").output,
              "stopped before step 1 (line 2):\n"
              "      1  in   vesta_hbbtv_init {\"browser\":\"browser:1\"}\n");
    EXPECT_EQ(play(record, "--until 1").code, 0);
    EXPECT_SAYS(play(record, "--until 5"), "the same: 1 calls");
}

TEST_F(ReplayProgram, SaysWhatTheLibraryDecides)
{
    const RecordText record = RecordText()
                                  .init()
                                  .in("native_PermissionsIsTrusted", R"({"windowId":1,"url":"a"})")
                                  .out("ve_get_window", R"({"browser":"browser:1","id":1})")
                                  .end(R"({"result":1,"page":null})")
                                  .end(R"({"result":7})");
    const Ended got = play(record, "--decisions");
    EXPECT_EQ(got.code, 0);
    EXPECT_SAYS(got, "step 5: no, native: ");
    EXPECT_EQ(play(record).output.find("step 5"), std::string::npos);
    const Ended small = playSmall(RecordText().ask("a"), "--decisions");
    EXPECT_EQ(small.code, 2);
    EXPECT_SAYS(small, "this library says nothing of its decisions");
}

TEST_F(ReplayProgram, WritesATestOfWhatAgrees)
{
    const RecordText record = RecordText().ask("a");
    const Ended got = playSmall(record, "--test agreed --into '" + folder.file("") + "'");
    EXPECT_EQ(got.code, 0);
    EXPECT_SAYS(got, "written: ");
    EXPECT_EQ(contentsOf("agreed.vesta"),
              R"({"vesta_recording":1,"pointer_bits":64,"left_out":[]}
{"n":1,"in":"vesta_hbbtv_is_within_boundaries","with":{"window":null,"url":"a"}}
{"end":1,"gave":{"result":true}}
)");
    const Ended again =
        run("--library '" VESTA_SMALL_LIBRARY "' '" + folder.file("agreed.vesta") + "'");
    EXPECT_EQ(again.code, 0) << again.output;
    const Ended different =
        playSmall(RecordText().ask("no"), "--test other --into '" + folder.file("") + "'");
    EXPECT_EQ(different.code, 3);
    EXPECT_EQ(contentsOf("other.vesta"), "");
    EXPECT_EQ(playSmall(record, "--test t --into '" + folder.file("nowhere") + "'").code, 1);
}

TEST_F(ReplayProgram, WritesATestOfTheFirstSteps)
{
    const RecordText record = RecordText().ask("a").ask("b").ask("no");
    const std::string into = " --into '" + folder.file("") + "'";
    const Ended got = playSmall(record, "--until 3 --test first" + into);
    EXPECT_EQ(got.code, 0) << got.output;
    EXPECT_SAYS(got, "the same: 2 calls");
    EXPECT_SAYS(got, ", 2 calls\n");
    EXPECT_EQ(contentsOf("first.vesta"),
              R"({"vesta_recording":1,"pointer_bits":64,"left_out":[]}
{"n":1,"in":"vesta_hbbtv_is_within_boundaries","with":{"window":null,"url":"a"}}
{"end":1,"gave":{"result":true}}
{"n":2,"in":"vesta_hbbtv_is_within_boundaries","with":{"window":null,"url":"b"}}
{"end":2,"gave":{"result":true}}
)");
    const Ended none = playSmall(record, "--until 1 --test none" + into);
    EXPECT_EQ(none.code, 1);
    EXPECT_SAYS(none, "no call of the library ends before step 1");
}

TEST_F(ReplayProgram, RefusesWhatIsCutOffWhereItHasToBeWhole)
{
    const RecordText whole = RecordText().ask("a");
    EXPECT_EQ(playSmall(whole, "--whole").code, 0);
    RecordText cutOff = whole;
    cutOff.in("vesta_hbbtv_tick").line(R"({"full":true})");
    EXPECT_EQ(playSmall(cutOff).code, 0);
    const Ended inside = playSmall(cutOff, "--whole");
    EXPECT_EQ(inside.code, 4);
    EXPECT_SAYS(inside, "it is not whole: it ends inside vesta_hbbtv_tick, step 2 (line 4)\n");
    const Ended torn =
        run("--whole --library '" VESTA_SMALL_LIBRARY "' " + recordOf(whole, "{\"n\":2,"));
    EXPECT_EQ(torn.code, 4);
    EXPECT_SAYS(torn, "it is not whole: line 4, the last one, is no whole line");
    EXPECT_EQ(torn.output.find("it is left out"), std::string::npos);
    const Ended crash =
        playSmall(RecordText().in("vesta_hbbtv_tick").line(R"({"crash":true})"), "--whole");
    EXPECT_EQ(crash.code, 0) << crash.output;
}

TEST_F(ReplayProgram, WritesNoTestOfWhatIsCutOffUnlessItCrashed)
{
    const RecordText cutOff = RecordText().ask("a").in("vesta_hbbtv_tick");
    const std::string into = " --into '" + folder.file("") + "'";
    const Ended refused = playSmall(cutOff, "--test cut" + into);
    EXPECT_EQ(refused.code, 4);
    EXPECT_SAYS(refused, "it ends inside vesta_hbbtv_tick, step 2 (line 4)");
    EXPECT_SAYS(refused, "--until 2 keeps what is before that, --crash a record of a crash");
    EXPECT_EQ(contentsOf("cut.vesta"), "");
    EXPECT_EQ(playSmall(cutOff, "--until 2 --test cut" + into).code, 0);
    EXPECT_NE(contentsOf("cut.vesta"), "");
    EXPECT_EQ(playSmall(cutOff, "--crash --test crash" + into).code, 0);
    EXPECT_NE(contentsOf("crash.vesta").find("\"with\":{}}\n{\"crash\":true}\n"),
              std::string::npos);
    const Ended kept =
        run("--whole --library '" VESTA_SMALL_LIBRARY "' '" + folder.file("crash.vesta") + "'");
    EXPECT_EQ(kept.code, 0) << kept.output;
    const Ended whole = playSmall(RecordText().ask("a"), "--crash --test whole" + into);
    EXPECT_EQ(whole.code, 1);
    EXPECT_SAYS(whole, "this record does not end inside a call");
    RecordText full = cutOff;
    const Ended isFull = playSmall(full.line(R"({"full":true})"), "--crash --test full" + into);
    EXPECT_EQ(isFull.code, 1);
    EXPECT_SAYS(isFull, "this record ends since it is full");
}

TEST_F(ReplayProgram, StaysACrashAndSaysWhere)
{
    const Ended got = playSmall(RecordText().ask("one").ask("arm").ask("crash"), "--steps 2");
#ifndef VESTA_INSTRUMENTED
    EXPECT_EQ(got.code, -11);
#endif
    EXPECT_SAYS(got, "vesta_replay: signal 11, inside:\n"
                     "  3  in   vesta_hbbtv_is_within_boundaries\n"
                     "the latest steps:\n"
                     "  2  in   vesta_hbbtv_is_within_boundaries\n"
                     "  3  in   vesta_hbbtv_is_within_boundaries\n");
    EXPECT_EQ(got.output.find("  1  in"), std::string::npos);
}

TEST_F(ReplayProgram, ShrinksACrashToTheCallsThatItTakes)
{
    RecordText record;
    for (int calls = 0; calls < 10; ++calls)
        record.ask("before " + std::to_string(calls));
    record.ask("arm");
    for (int calls = 0; calls < 10; ++calls)
        record.ask("between " + std::to_string(calls)).line(R"({"idle":3})");
    record.ask("crash").ask("after");
    const std::string least = folder.file("least.vesta");
    setenv("ASAN_OPTIONS", "handle_segv=0", 1);  // else it is an exit code there, and no signal
    const Ended got = playSmall(record, "--shrink '" + least + "'");
    unsetenv("ASAN_OPTIONS");
    EXPECT_EQ(got.code, 0) << got.output;
    EXPECT_SAYS(got, "signal 11 inside vesta_hbbtv_is_within_boundaries\n");
    EXPECT_SAYS(got, ", 2 of 23 calls\n");
    EXPECT_EQ(contentsOf("least.vesta"),
              R"({"vesta_recording":1,"pointer_bits":64,"left_out":[]}
{"n":11,"in":"vesta_hbbtv_is_within_boundaries","with":{"window":null,"url":"arm"}}
{"end":11,"gave":{"result":true}}
{"n":22,"in":"vesta_hbbtv_is_within_boundaries","with":{"window":null,"url":"crash"}}
{"end":22,"gave":{"result":true}}
)");
}

TEST_F(ReplayProgram, ShrinksADifferenceToTheCallsThatItTakes)
{
    RecordText record;
    record.ask("one").ask("two");
    record.in("vesta_hbbtv_create_window").end(R"({"result":"window:1"})");
    record.ask("no").ask("three").ask("no");
    const Ended got = playSmall(record, "--shrink '" + folder.file("least.vesta") + "'");
    EXPECT_EQ(got.code, 0) << got.output;
    EXPECT_SAYS(
        got,
        "difference inside vesta_hbbtv_is_within_boundaries\n"
        "  the record:  returns from vesta_hbbtv_is_within_boundaries {\"result\":>>true<<}\n"
        "  the library: returns from vesta_hbbtv_is_within_boundaries {\"result\":>>false<<}\n");
    EXPECT_SAYS(got, ", 1 of 6 calls\n");
    const Ended least =
        run("--library '" VESTA_SMALL_LIBRARY "' '" + folder.file("least.vesta") + "'");
    EXPECT_EQ(least.code, 3);
    EXPECT_SAYS(least, "difference at step 4 (line 3)\n");
}

TEST_F(ReplayProgram, ShrinksACrashOfTheProgramToTheWayThere)
{
    RecordText record;
    for (int calls = 0; calls < 10; ++calls)
        record.ask("before " + std::to_string(calls));
    record.in(question, R"({"window":null,"url":"open"})")
        .out("ve_open_url", R"({"page":null,"url":"one"})");
    const Ended got = playSmall(record, "--shrink '" + folder.file("least.vesta") + "'");
    EXPECT_EQ(got.code, 0) << got.output;
    EXPECT_SAYS(got, "the record ends inside ve_open_url\n{\"page\":null, \"url\":\"one\"}\n");
    EXPECT_SAYS(got, ", 1 of 11 calls\n");
    EXPECT_EQ(contentsOf("least.vesta"),
              R"({"vesta_recording":1,"pointer_bits":64,"left_out":[]}
{"n":11,"in":"vesta_hbbtv_is_within_boundaries","with":{"window":null,"url":"open"}}
{"n":12,"out":"ve_open_url","with":{"page":null,"url":"one"}}
)");
}

TEST_F(ReplayProgram, HasNothingToShrinkWhereTheReplayAgrees)
{
    const Ended got = playSmall(RecordText().ask("a"), "--shrink '" + folder.file("o") + "'");
    EXPECT_EQ(got.code, 1);
    EXPECT_SAYS(got, "there is nothing to shrink");
}

}  // namespace
