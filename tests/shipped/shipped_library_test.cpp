// The shared library as it is shipped, through what it exports: a broadcast from the first table to
// the end, a sink and an event of the integrator's own, and data that a program may have copied.

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

#include "vesta_hbbtv_appman.h"

#include "foundation/configuration_manager.h"
#include "foundation/logging.h"
#include "foundation/threadsafe_event_queue.h"
#include "foundation/utilities.h"
#include "integration/key_set.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "security/application_domain.h"
#include "security/sha256.h"
#include "signalling/ait.h"
#include "tests/support/fake_browser.h"
#include "tests/support/journal.h"
#include "tests/support/section_builder.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

std::vector<std::string> notices;

HBBTV_STATUS listen(HBBTV_NotificationType type, HBBTV_NotificationData* data)
{
    switch (type) {
    case HBBTV_NOTIFICATION_REQUEST_WINDOW:
        *data->window.tavoWindow = FakeBrowser::instance().window(1);
        data->window.success = 1;
        notices.push_back("request");
        break;
    case HBBTV_NOTIFICATION_RELEASE_WINDOW:
        *data->window.tavoWindow = nullptr;
        data->window.success = 1;
        notices.push_back("release");
        break;
    case HBBTV_NOTIFICATION_STOP_APPLICATION:
        notices.push_back(std::string("stop ") + data->application.url);
        break;
    default:
        break;
    }
    return HBBTV_STATUS_OK;
}

void runEvents()
{
    while (vesta_hbbtv_tick())
        ;
}

class ShippedLibrary : public ::testing::Test {
protected:
    ShippedLibrary()
    {
        notices.clear();
        Journal::instance().clear();
        vesta_hbbtv_init(FakeBrowser::instance().handle());
        vesta_hbbtv_add_notification_listener(listen);
        window_ = vesta_hbbtv_create_window();
        vesta_hbbtv_set_broadcast_window(window_);
    }
    ~ShippedLibrary() override { vesta_hbbtv_shutdown(); }

    void* window() const { return window_; }

    static void tuneIn()
    {
        auto* const data = static_cast<HBBTV_EventData*>(std::calloc(1, sizeof(HBBTV_EventData)));
        data->ait.section =
            AITSection()
                .add(AITEntry(0x1A, 0x2B).http(1, "http://a.example/").location("index.html"))
                .mallocBlock();
        vesta_hbbtv_send_event(E_AIT_SECTION, data);
        runEvents();
    }

    static void tableGoesAway()
    {
        auto* const data = static_cast<HBBTV_EventData*>(std::calloc(1, sizeof(HBBTV_EventData)));
        vesta_hbbtv_send_event(E_AIT_SECTION, data);  // no section, nothing to be kept
        runEvents();
    }

private:
    void* window_ = nullptr;
};

TEST_F(ShippedLibrary, StartsTheSignalledApplicationAndStopsIt)
{
    tuneIn();
    EXPECT_EQ(Journal::instance().take(),
              std::vector<std::string>(
                  {"ve_clear_history(w1)", "ve_open_url(w1, http://a.example/index.html)"}));
    EXPECT_EQ(vesta_hbbtv_get_tavo_window(window()), FakeBrowser::instance().window(1));
    EXPECT_TRUE(vesta_hbbtv_is_hbbtv_window(FakeBrowser::instance().window(1)));
    EXPECT_TRUE(vesta_hbbtv_is_within_boundaries(window(), "http://a.example/other.html"));
    EXPECT_FALSE(vesta_hbbtv_is_within_boundaries(window(), "http://b.example/"));

    tableGoesAway();
    EXPECT_EQ(notices,
              std::vector<std::string>({"request", "stop http://a.example/index.html", "release"}));
    EXPECT_EQ(vesta_hbbtv_get_tavo_window(window()), nullptr);
}

TEST_F(ShippedLibrary, AnswersTheNatives)
{
    tuneIn();
    void* appId = nullptr;
    ASSERT_EQ(native_AppManGetApplicationId(1, nullptr, &appId), VEIF_RETURN_OK);
    EXPECT_NE(appId, nullptr);
    double granted = 0;
    EXPECT_EQ(native_KeySetSetValue(appId, 0x11, &granted), VEIF_RETURN_OK);
    EXPECT_EQ(granted, 0x11);
    EXPECT_EQ(native_ApplicationDestroyApplication(appId), VEIF_RETURN_OK);
    runEvents();
    EXPECT_NE(std::find(notices.begin(), notices.end(), "stop http://a.example/index.html"),
              notices.end());
}

TEST_F(ShippedLibrary, RunsAnIntegratorsOwnEvent)
{
    class Flag : public ThreadsafeEventQueue::Event {
    public:
        explicit Flag(bool& ran) : ran_(ran) {}
        void execute() override { ran_ = true; }

    private:
        bool& ran_;
    };
    bool ran = false;
    ConfigurationManager::getInstance()->getEventQueue()->add(new Flag(ran));
    EXPECT_TRUE(vesta_hbbtv_tick());
    EXPECT_TRUE(ran);
}

TEST_F(ShippedLibrary, RunsAnIntegratorsOwnKindOfWindow)
{
    class Counting : public Window {
    public:
        explicit Counting(int& count) : Window(WindowManager::getInstance()), count_(count) {}
        bool activateAIT() override
        {
            ++count_;
            return Window::activateAIT();
        }

    private:
        int& count_;
    };
    int count = 0;
    const std::unique_ptr<Window> heaped = std::make_unique<Counting>(count);
    heaped->activateAIT();
    EXPECT_EQ(count, 1);
    Counting stacked(count);
    static_cast<Window&>(stacked).activateAIT();
    EXPECT_EQ(count, 2);
}

// A program that is not position-independent copies the library's data into itself; both must go
// on speaking of the same object.
TEST_F(ShippedLibrary, SharesItsDataWithTheProgram)
{
    EXPECT_EQ(ConfigurationManager::instance, ConfigurationManager::getInstance());
    EXPECT_EQ(Logging::instance, Logging::getInstance());

    static int lowMemory;
    lowMemory = 0;
    EXPECT_EQ(
        native_ApplicationManagerSetListener([](int event, void*) { lowMemory += event == 0; }),
        VEIF_RETURN_OK);
    EXPECT_NE(veif_applicationManagerListener, nullptr);
    vesta_hbbtv_send_event(E_LOW_MEMORY, nullptr);
    runEvents();
    EXPECT_EQ(lowMemory, 1);
    veif_applicationManagerListener = nullptr;
}

TEST(ShippedLog, GivesEveryLineToAnIntegratorsSink)
{
    class Lines : public LoggingOutput {
    public:
        explicit Lines(std::vector<std::string>& lines) : LoggingOutput(DEBUG), lines_(lines) {}
        void output(LogEntry& entry) override { lines_.push_back(entry.stream().str()); }

    private:
        std::vector<std::string>& lines_;
    };
    std::vector<std::string> lines;
    EXPECT_FALSE(Logging::hasOutputs());
    Logging::getInstance()->addOutput(new Lines(lines));
    EXPECT_TRUE(Logging::hasOutputs());  // inline, so this program's view of the library's data
    LogEntry(WARN, "Shipped") << "one " << 1;
    delete Logging::getInstance();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines[0].find("  WARN [     Shipped] one 1\n"), std::string::npos) << lines[0];
}

TEST(ShippedLog, SharesItsTypeInformationWithTheProgram)
{
    const std::unique_ptr<LoggingOutput> sink = std::make_unique<LoggingOutputStdout>(ERR);
    const LoggingOutput& output = *sink;
    EXPECT_EQ(typeid(output), typeid(LoggingOutputStdout));
    EXPECT_NE(dynamic_cast<LoggingOutputStdout*>(sink.get()), nullptr);
}

TEST(ShippedClasses, AreThereForTheIntegrator)
{
    SHA256 hash;
    hash << "abc";
    EXPECT_EQ(hash.getResultString(),
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");

    const ref_ptr<AIT> table(new AIT(1, 2, 3, nullptr));
    const AITSection section = AITSection().version(4).add(AITEntry(1, 2).http(1, "http://a/"));
    EXPECT_TRUE(table->parse(section.exactBlock().get()));
    EXPECT_EQ(table->getVersion(), 4);
}

}  // namespace
