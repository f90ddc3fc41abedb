// In which order the library's parts go, as hooks, tables and queued events see it.

#include "foundation/configuration_manager.h"
#include "foundation/threadsafe_event_queue.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "oipf/notifications/notification_manager.h"
#include "signalling/ait.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

/// Looks around when it is deleted, with its window: the listeners are gone already, events could
/// still be queued.
class LastTable : public AIT {
public:
    explicit LastTable(bool& isDeleted) : isDeleted_(isDeleted) {}
    ~LastTable() override
    {
        isDeleted_ = true;
        EXPECT_EQ(NotificationManager::instance, nullptr);
        EXPECT_NE(ConfigurationManager::getCurrentQueue(), nullptr);
    }

private:
    bool& isDeleted_;
};

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

class EndOrder : public LibraryTest {};

TEST_F(EndOrder, ListenersGoFirstThenWindowsThenTheQueue)
{
    bool isTableDeleted = false;
    bool isEventDeleted = false;
    platform().whileIn["dsmcc_stop"] = [&] {
        // The windows were removed before: one that is made now is left to the manager's end.
        manager()->createWindow()->setAIT(ref_ptr<AIT>(new LastTable(isTableDeleted)));
        ConfigurationManager::getCurrentQueue()->add(new LastEvent(isEventDeleted));
    };
    shutdown();
    platform().whileIn.clear();
    EXPECT_TRUE(isTableDeleted);
    EXPECT_TRUE(isEventDeleted);
    EXPECT_EQ(ConfigurationManager::instance, nullptr);
}

TEST_F(EndOrder, NothingStartsWhileThePlatformStops)
{
    for (const char* const hook : {"hbbtv_ait_stop", "dsmcc_stop"}) {
        platform().whileIn[hook] = [] {
            void* const window = vesta_hbbtv_create_window();
            send(E_START_BROADCAST_INDEPENDENT_APPLICATION, urlRecord(window, "http://a.example/"));
            tickAll();
        };
    }
    shutdown();
    platform().whileIn.clear();
    EXPECT_EQ(journal(), Lines({"hbbtv_ait_stop()", "dsmcc_stop()"}));
}

}  // namespace
