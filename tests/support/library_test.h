/// A started library with one broadcast window, a listener, a fake browser and platform, and its
/// log: the fixture of everything that is told through entry functions and ticks.
///
///     class Autostart : public LibraryTest {};
///     TEST_F(Autostart, StartsOnTuneIn) {
///         sendAIT(AITSection().add(AITEntry(1, 2).http(1, "http://a.example/").location("i")));
///         tickAll();
///         EXPECT_EQ(journal(), Lines({"AIT broadcast [1.2]", "hbbtv_ait_completed(0)", ...}));
///     }
///
/// After each test the library is shut down, and every block that the test's middleware handed over
/// must have been freed.
#ifndef VESTA_TESTS_SUPPORT_LIBRARY_TEST_H
#define VESTA_TESTS_SUPPORT_LIBRARY_TEST_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "vesta_hbbtv_appman.h"

#include "foundation/ref_ptr.h"
#include "tests/support/captured_log.h"
#include "tests/support/event_records.h"
#include "tests/support/fake_browser.h"
#include "tests/support/fake_platform.h"
#include "tests/support/journal.h"
#include "tests/support/recording_listener.h"
#include "tests/support/section_builder.h"

namespace VestaHbbTV {
class AIT;
class Application;
class Window;
class WindowManager;
}  // namespace VestaHbbTV

namespace vesta::test {

using Lines = std::vector<std::string>;

class LibraryTest : public ::testing::Test {
protected:
    LibraryTest();
    ~LibraryTest() override;

    /// The broadcast window.
    VestaHbbTV::Window* window() const { return window_; }
    static VestaHbbTV::WindowManager* manager();
    VestaHbbTV::Application* running() const;
    /// "http://a.example/i" for the start URL of the running application; "" without one.
    std::string runningURL() const;

    static FakeBrowser& browser() { return FakeBrowser::instance(); }
    static FakePlatform& platform() { return FakePlatform::instance(); }
    static RecordingListener& listener() { return RecordingListener::instance(); }
    CapturedLog& log() { return *log_; }

    /// The conversation since the last call.
    static Lines journal() { return Journal::instance().take(); }
    static void forgetJournal() { Journal::instance().clear(); }
    /// The end of it; "" when nothing was said.
    static std::string lastLine()
    {
        const Lines lines = journal();
        return lines.empty() ? "" : lines.back();
    }

    /// From now on the log lines of these modules stand in the journal, too: "WARN Window: text".
    void journalLog(const std::set<std::string>& modules) { *journalledModules_ = modules; }

    /// The log lines of a module, as "WARN Window: text"; forgets the whole log.
    Lines takeLog(const std::string& module = "Window");

    /// Another window. @param name how the journal marks what concerns it: " @<name>"
    VestaHbbTV::Window* createWindow(const std::string& name);

    /// An application as scripts know it. @param application may be null
    static void* idOf(VestaHbbTV::Application* application);

    /// The same, asked of the library where a script could ask it: a record of the test then knows
    /// where it came from.
    static void* askForIdOf(VestaHbbTV::Application* application);

    /// A complete table made of one section of the service 1.2.3, not yet in force.
    static VestaHbbTV::ref_ptr<VestaHbbTV::AIT> broadcastTable(const AITSection& section);

    /// A table that does not come from sections, not yet in force.
    static VestaHbbTV::ref_ptr<VestaHbbTV::AIT> xmlTable(const std::vector<AITEntry>& entries);

    /// Queues such a table for a window. @param window null for the broadcast window
    void sendXMLAIT(const std::vector<AITEntry>& entries, VestaHbbTV::Window* window = nullptr);

    static void send(VestaHbbTV::HBBTV_EventType type, VestaHbbTV::HBBTV_EventData* data = nullptr);
    static void sendAIT(const AITSection& section, void* channelHandle = nullptr);

    /// As send(), for tests in which the library may be shut down: it owns the record only while it
    /// has a queue, so that the record is freed here otherwise.
    static void deliver(VestaHbbTV::HBBTV_EventType type,
                        VestaHbbTV::HBBTV_EventData* data = nullptr);
    static void deliver(const AITSection& section);

    /// Runs what is queued, and what that queues. @return how many events ran
    static int tickAll();

    /// A whole application over HTTP: "http://a.example/<page>", AUTOSTART.
    static AITEntry httpApplication(uint32_t organisationId, uint16_t applicationId,
                                    const std::string& page = "index.html");

    /// Sends a table with this application and lets it run, its page not yet loaded; forgets the
    /// journal and the log.
    void startApplication(const AITEntry& entry, uint8_t version = 0);

    /// Reports the page of the browser window as loaded, and ticks.
    void finishLoading(long windowId = 1);
    /// Reports it as failed (connection). @return what the library wrote as result
    int failLoading(long windowId = 1);

    /// A browser event. @param result as the library wrote it, untouched when it did not
    unsigned int notify(TAVO_VESTA_EVENT event, long windowId, TavoVestaEventData& data,
                        int* result = nullptr);

    /// Shuts the library down now; the destructor does it otherwise.
    void shutdown();

private:
    std::unique_ptr<CapturedLog> log_;
    std::shared_ptr<std::set<std::string>> journalledModules_;
    VestaHbbTV::Window* window_ = nullptr;
};

}  // namespace vesta::test

#endif
