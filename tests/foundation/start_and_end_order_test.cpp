// In which order the library's parts come and go, as hooks, the scripts' plugin and queued events
// see it.

#include <functional>
#include <utility>

#include "foundation/configuration_manager.h"
#include "foundation/threadsafe_event_queue.h"
#include "lifecycle/window_manager.h"
#include "oipf/notification_manager.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

class Start : public ::testing::Test {
protected:
    Start() { FakePlatform::instance().reset(); }

    ~Start() override
    {
        FakePlatform::instance().reset();
        vesta_hbbtv_shutdown();
        Journal::instance().clear();
    }

    static void init() { vesta_hbbtv_init(FakeBrowser::instance().handle()); }

    static void whenAskedForKeySets(std::function<void()> action)
    {
        FakePlatform::instance().whileIn["hbbtv_keyset_get_supported_values"] = std::move(action);
    }
};

TEST_F(Start, AsksForTheKeySetsWhenEventsAndDownloadsArePossibleAndNothingElseIs)
{
    int asked = 0;
    whenAskedForKeySets([&asked] {
        ++asked;
        const ConfigurationManager* const configuration = ConfigurationManager::instance;
        ASSERT_NE(configuration, nullptr);
        EXPECT_EQ(configuration->getBrowser(), FakeBrowser::instance().handle());
        EXPECT_NE(configuration->getOCDownloadManager(), nullptr);
        EXPECT_NE(configuration->getEventQueue(), nullptr);
        EXPECT_EQ(WindowManager::instance, nullptr);
        EXPECT_EQ(NotificationManager::instance, nullptr);
        EXPECT_EQ(Journal::instance().lines(), Lines()) << "the platform is started later";
        vesta_hbbtv_send_event(E_LOW_MEMORY, nullptr);
    });
    init();
    EXPECT_EQ(asked, 1);
    EXPECT_TRUE(vesta_hbbtv_tick()) << "what is sent meanwhile is queued";
    EXPECT_FALSE(vesta_hbbtv_tick());
}

TEST_F(Start, TheLibraryMayBeShutDownWhenItAsksForTheKeySets)
{
    whenAskedForKeySets(vesta_hbbtv_shutdown);
    init();
    EXPECT_EQ(ConfigurationManager::getCurrentQueue(), nullptr);
    EXPECT_FALSE(vesta_hbbtv_tick());

    vesta_hbbtv_shutdown();
    FakePlatform::instance().reset();
    FakePlatform::instance().supportedKeySets = 0x21;
    init();
    EXPECT_EQ(ConfigurationManager::instance->getSupportedKeySetValues(), 0x21);
    EXPECT_NE(ConfigurationManager::getCurrentQueue(), nullptr);
}

int endedApplications = 0;

/// An application ends here: the listeners are gone already, events could still be queued.
void lookAroundAtTheEndOf(void*)
{
    ++endedApplications;
    EXPECT_EQ(NotificationManager::instance, nullptr);
    EXPECT_NE(ConfigurationManager::getCurrentQueue(), nullptr);
}

/// Looks around when it is deleted.
class LastEvent : public ThreadsafeEventQueue::Event {
public:
    explicit LastEvent(bool& isDeleted) : isDeleted_(isDeleted) {}
    ~LastEvent() override
    {
        isDeleted_ = true;
        EXPECT_EQ(NotificationManager::instance, nullptr);
        EXPECT_EQ(WindowManager::instance, nullptr);
        EXPECT_NE(ConfigurationManager::instance, nullptr);
    }
    void execute() override { ADD_FAILURE() << "not any more"; }

private:
    bool& isDeleted_;
};

class End : public LibraryTest {};

TEST_F(End, ListenersGoFirstThenWindowsThenTheQueue)
{
    bool isDeleted = false;
    endedApplications = 0;
    platform().whileIn["dsmcc_stop"] = [&isDeleted] {
        // The windows were removed before: what starts now is left to the window manager's end.
        vesta_hbbtv_set_broadcast_window(vesta_hbbtv_create_window());
        sendAIT(AITSection().add(httpApplication(1, 2)));
        tickAll();
        native_ApplicationManagerSetAppDestroyedListener(lookAroundAtTheEndOf);
        ConfigurationManager::getCurrentQueue()->add(new LastEvent(isDeleted));
        forgetJournal();
    };
    shutdown();
    platform().whileIn.clear();
    EXPECT_EQ(endedApplications, 1);
    EXPECT_TRUE(isDeleted);
    EXPECT_EQ(journal(), Lines()) << "no listener hears of the application's end";
    EXPECT_EQ(ConfigurationManager::instance, nullptr);
    EXPECT_EQ(listener().windowsInUse.size(), 1u);
    listener().windowsInUse.clear();  // so that nobody asked for it back
    native_ApplicationManagerSetAppDestroyedListener(nullptr);
}

}  // namespace
