// Listeners, the browser, the platform and the scripts' plugin may call back into the library from
// every place where it calls them: whatever they do there, the library survives, frees everything,
// and goes on working.

#include "foundation/configuration_manager.h"
#include "foundation/threadsafe_event_queue.h"
#include "integration/application_events.h"
#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "oipf/notification_manager.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

/// The places from which the library calls out. A number is a notification's type.
const std::vector<std::string> places = {"0",
                                         "1",
                                         "2",
                                         "3",
                                         "4",
                                         "5",
                                         "6",
                                         "7",
                                         "8",
                                         "9",
                                         "10",
                                         "11",
                                         "12",
                                         "ve_clear_history",
                                         "ve_open_url",
                                         "ve_get_loading_url",
                                         "hbbtv_ait_completed",
                                         "hbbtv_ait_stop",
                                         "dsmcc_clear_cache",
                                         "plugin",
                                         "destroyed"};

const std::vector<std::string> actions = {"release the window",
                                          "release it twice",
                                          "release all windows",
                                          "shut down",
                                          "shut down and init",
                                          "init again",
                                          "tick",
                                          "send another AIT",
                                          "start another application",
                                          "create a child",
                                          "destroy an application",
                                          "terminate",
                                          "remove the listener",
                                          "add the listener again",
                                          "shift time",
                                          "change the channel",
                                          "report load results",
                                          "delete the window manager",
                                          "take over the broadcast"};

class ReentrantCalls : public LibraryTest,
                       public ::testing::WithParamInterface<std::tuple<std::string, std::string>> {
protected:
    ReentrantCalls()
    {
        test_ = this;
        handle_ = window();
        listener().trusted = 1;
    }

    ~ReentrantCalls() override
    {
        test_ = nullptr;
        listener().onNotification.clear();
        browser().whileIn.clear();
        platform().whileIn.clear();
    }

    /// Calls act() from the place, a few times, and never from inside itself.
    void arm(const std::string& place, const std::string& action)
    {
        const auto callback = [this, action] {
            if (inside_ || fired_ == 3)
                return;
            inside_ = true;
            ++fired_;
            act(action);
            inside_ = false;
        };
        callback_ = callback;
        if (std::isdigit(static_cast<unsigned char>(place.front())))
            listener().onNotification[std::stoi(place)] = [callback](auto*) { callback(); };
        else if (place.rfind("ve_", 0) == 0)
            browser().whileIn[place] = callback;
        else
            platform().whileIn[place] = callback;
        native_ApplicationManagerSetListener(
            place == "plugin" ? +[](int, void*) { test_->callback_(); } : nullptr);
        native_ApplicationManagerSetAppDestroyedListener(
            place == "destroyed" ? +[](void*) { test_->callback_(); } : nullptr);
    }

    void act(const std::string& action)
    {
        using Action = void (ReentrantCalls::*)();
        const std::map<std::string, Action> functions = {
            {"release the window", &ReentrantCalls::releaseWindow},
            {"release it twice", &ReentrantCalls::releaseTwice},
            {"release all windows", &ReentrantCalls::releaseAll},
            {"shut down", &ReentrantCalls::shutDown},
            {"shut down and init", &ReentrantCalls::shutDownAndInit},
            {"init again", &ReentrantCalls::initAgain},
            {"tick", &ReentrantCalls::tick},
            {"send another AIT", &ReentrantCalls::sendAnotherAIT},
            {"start another application", &ReentrantCalls::startAnother},
            {"create a child", &ReentrantCalls::createChild},
            {"destroy an application", &ReentrantCalls::destroyApplications},
            {"terminate", &ReentrantCalls::terminate},
            {"remove the listener", &ReentrantCalls::removeListener},
            {"add the listener again", &ReentrantCalls::addListener},
            {"shift time", &ReentrantCalls::shiftTime},
            {"change the channel", &ReentrantCalls::changeChannel},
            {"report load results", &ReentrantCalls::reportResults},
            {"delete the window manager", &ReentrantCalls::deleteManager},
            {"take over the broadcast", &ReentrantCalls::takeOverBroadcast},
        };
        (this->*functions.at(action))();
    }

    void releaseWindow() { vesta_hbbtv_release_window(handle_); }

    void releaseTwice()
    {
        vesta_hbbtv_release_window(handle_);
        vesta_hbbtv_release_window(handle_);
    }

    void releaseAll() { manager()->removeAllWindows(); }
    void shutDown() { vesta_hbbtv_shutdown(); }

    void shutDownAndInit()
    {
        vesta_hbbtv_shutdown();
        vesta_hbbtv_init(browser().handle());
        handle_ = vesta_hbbtv_create_window();
        vesta_hbbtv_set_broadcast_window(handle_);
        addListener();
    }

    void initAgain() { vesta_hbbtv_init(browser().handle()); }
    void tick() { tickSome(); }

    void sendAnotherAIT()
    {
        deliver(AITSection().version(nextVersion()).add(httpApplication(9, nextVersion())));
        tickSome();
    }

    void startAnother()
    {
        deliver(E_START_BROADCAST_INDEPENDENT_APPLICATION, urlRecord(handle_, "http://b.example/"));
        tickSome();
    }

    void createChild()
    {
        for (uintptr_t id = 1; id < Application::next_id; ++id) {
            void* created = nullptr;
            if (native_ApplicationCreateApplication("http://c.example/", 1,
                                                    reinterpret_cast<void*>(id), &created) == 0)
                break;
        }
        tickSome();
    }

    void destroyApplications()
    {
        for (uintptr_t id = 1; id < Application::next_id; ++id)
            native_ApplicationDestroyApplication(reinterpret_cast<void*>(id));
        tickSome();
    }

    void terminate()
    {
        deliver(E_TERMINATE_APPLICATION, windowRecord(handle_));
        tickSome();
    }

    void removeListener()
    {
        listenerRemoved_ = true;
        NotificationManager::getInstance()->removeListener(RecordingListener::listen);
    }

    void addListener() { vesta_hbbtv_add_notification_listener(RecordingListener::listen); }

    void shiftTime()
    {
        vesta_hbbtv_set_time_shifted(handle_, 1);
        vesta_hbbtv_set_time_shifted(handle_, 0);
    }

    void changeChannel()
    {
        deliver(E_CHANNEL_CHANGE);
        deliver(E_AIT_SECTION, noSectionRecord(0));
        tickSome();
    }

    void reportResults()
    {
        for (long id = 1; id < 4; ++id) {
            failLoading(id);
            finishLoading(id);
            TavoVestaEventData data = {};
            notify(TAVO_VESTA_EVT_XML_PARSE_FAILED, id, data);
            notify(TAVO_VESTA_EVT_WINDOW_CLOSE, id, data);
        }
        tickSome();
    }

    void deleteManager() { delete WindowManager::getInstance(); }

    void takeOverBroadcast()
    {
        handle_ = vesta_hbbtv_create_window();
        vesta_hbbtv_set_broadcast_window(handle_);
    }

    static void tickSome()
    {
        for (int ticks = 0; ticks < 50 && vesta_hbbtv_tick(); ++ticks) {
        }
    }

    uint8_t nextVersion() { return static_cast<uint8_t>(++version_ & 0x1F); }

    void queueXMLTable()
    {
        if (ThreadsafeEventQueue* const queue = ConfigurationManager::getCurrentQueue())
            queue->add(
                new TAVOAITEvent(static_cast<Window*>(handle_), xmlTable({httpApplication(5, 6)})));
        tickSome();
    }

    void serviceStarts()
    {
        deliver(AITSection()
                    .version(nextVersion())
                    .add(httpApplication(1, 1).profiles({{0, 9, 9, 9}}))
                    .add(httpApplication(1, 2).carousel(2, 7)));
        tickSome();
    }

    /// Everything that a script asks of its application manager.
    void scriptsCall(uintptr_t first)
    {
        for (uintptr_t id = first; id < Application::next_id; ++id) {
            void* const appId = reinterpret_cast<void*>(id);
            double number = 0;
            native_ApplicationShow(appId);
            native_ApplicationHide(appId);
            native_KeySetSetValue(appId, 3, &number);
            native_AppPrivateDataGetFreeMem(1, &number);
        }
        for (long windowId = 1; windowId < 3; ++windowId) {
            native_PermissionsIsTrusted(windowId, "http://a.example/");
            TavoVestaEventData data = {};
            data.url = "http://a.example/index.html";
            data.second_url = "http://a.example/data";
            notify(TAVO_VESTA_EVT_XHR_PERMISSION, windowId, data);
        }
        tickSome();
    }

    /// A session that comes past every place.
    void session()
    {
        serviceStarts();
        finishLoading();
        scriptsCall(1);
        void* child = nullptr;
        for (uintptr_t id = 1; id < Application::next_id; ++id)
            native_ApplicationCreateApplication("http://a.example/c", 1,
                                                reinterpret_cast<void*>(id), &child);
        tickSome();
        failLoading(2);
        tickSome();
        native_AppManNotifySetChannelCalled(1, "http://a.example/", nullptr);
        queueXMLTable();
        browser().loadingURL = "http://a.example/index.html";
        deliver(AITSection().version(nextVersion()).add(httpApplication(5, 6)));
        tickSome();
        failLoading(1);
        failLoading(2);
        tickSome();
        deliver(E_CHANNEL_CHANGE);
        serviceStarts();
        vesta_hbbtv_set_time_shifted(handle_, 1);
        tickSome();
        deliver(E_TERMINATE_APPLICATION, windowRecord(handle_));
        tickSome();
        vesta_hbbtv_shutdown();
    }

    /// After a new start the library works as if nothing had happened.
    void expectUsable()
    {
        arm("nowhere", "tick");
        browser().whileIn.clear();
        platform().whileIn.clear();
        listener().onNotification.clear();
        vesta_hbbtv_shutdown();
        if (listenerRemoved_)
            listener().windowsInUse.clear();  // nobody heard of their release
        EXPECT_TRUE(listener().windowsInUse.empty());
        vesta_hbbtv_init(browser().handle());
        Window* const fresh = static_cast<Window*>(vesta_hbbtv_create_window());
        addListener();
        fresh->startBroadcastIndependentApplication(HbbTVURL("http://a.example/"));
        tickSome();
        ASSERT_NE(fresh->getRunningApplication(), nullptr);
        EXPECT_EQ(manager()->getWindows().size(), 1u);
    }

    static ReentrantCalls* test_;
    std::function<void()> callback_;
    void* handle_ = nullptr;
    bool inside_ = false;
    bool listenerRemoved_ = false;
    int fired_ = 0;
    unsigned version_ = 0;
};

ReentrantCalls* ReentrantCalls::test_ = nullptr;

TEST_P(ReentrantCalls, AreSurvived)
{
    const auto& [place, action] = GetParam();
    arm(place, action);
    session();
    EXPECT_GT(fired_, 0) << "the session does not come past " << place;
    expectUsable();
}

std::string nameOf(const ::testing::TestParamInfo<std::tuple<std::string, std::string>>& info)
{
    std::string name = std::get<0>(info.param) + "_" + std::get<1>(info.param);
    for (char& letter : name) {
        if (!std::isalnum(static_cast<unsigned char>(letter)))
            letter = '_';
    }
    return name;
}

INSTANTIATE_TEST_SUITE_P(Everywhere, ReentrantCalls,
                         ::testing::Combine(::testing::ValuesIn(places),
                                            ::testing::ValuesIn(actions)),
                         nameOf);

/// The listener shuts the library down and starts it again, without registering itself anew.
TEST_F(ReentrantCalls, AShutdownFromInsideEndsTheApplicationsBeforeThePlatformStops)
{
    startApplication(httpApplication(0x1A, 0x2B));
    listener().onNotification[HBBTV_NOTIFICATION_AIT_UPDATE] = [](HBBTV_NotificationData*) {
        vesta_hbbtv_shutdown();
        vesta_hbbtv_init(FakeBrowser::instance().handle());
    };
    sendAIT(AITSection().version(1).add(httpApplication(0x1A, 0x2B)));
    tickAll();
    EXPECT_EQ(journal(), Lines({
                             "AIT broadcast [1a.2b]",
                             "STOP 1a.2b related reactivate=0 http://a.example/index.html",
                             "RELEASE w1",
                             "hbbtv_ait_stop()",
                             "dsmcc_stop()",
                             "hbbtv_ait_start()",
                             "dsmcc_start()",
                             "hbbtv_ait_completed(1)",
                         }));
    EXPECT_TRUE(listener().windowsInUse.empty());
}

TEST_F(ReentrantCalls, AShutdownFromTheStopOfAReleasedWindowStillReleasesTheBrowserWindow)
{
    startApplication(httpApplication(0x1A, 0x2B));
    listener().onNotification[HBBTV_NOTIFICATION_STOP_APPLICATION] = [](HBBTV_NotificationData*) {
        vesta_hbbtv_shutdown();
    };
    vesta_hbbtv_release_window(window());
    EXPECT_EQ(journal(), Lines({
                             "STOP 1a.2b related reactivate=0 http://a.example/index.html",
                             "RELEASE w1",
                             "hbbtv_ait_stop()",
                             "dsmcc_stop()",
                         }));
}

int endsTold = 0;

TEST_F(ReentrantCalls, ThePluginHearsOnceOfAnEndThatBecomesAShutdown)
{
    endsTold = 0;
    native_ApplicationManagerSetAppDestroyedListener([](void*) { ++endsTold; });
    startApplication(httpApplication(0x1A, 0x2B));
    listener().onNotification[HBBTV_NOTIFICATION_STOP_APPLICATION] = [](HBBTV_NotificationData*) {
        vesta_hbbtv_shutdown();
    };
    window()->shutdownApplication(running(), false, false, true);
    tickAll();
    EXPECT_EQ(endsTold, 1);
}

TEST_F(ReentrantCalls, NothingStartsWhileEverythingEnds)
{
    startApplication(httpApplication(0x1A, 0x2B));
    listener().onNotification[HBBTV_NOTIFICATION_STOP_APPLICATION] = [](HBBTV_NotificationData*) {
        vesta_hbbtv_send_event(E_START_BROADCAST_INDEPENDENT_APPLICATION,
                               urlRecord(vesta_hbbtv_create_window(), "http://b.example/"));
        tickAll();
    };
    shutdown();
    EXPECT_EQ(journal(), Lines({
                             "STOP 1a.2b related reactivate=0 http://a.example/index.html",
                             "RELEASE w1",
                             "hbbtv_ait_stop()",
                             "dsmcc_stop()",
                         }));
}

TEST_F(ReentrantCalls, AWindowThatIsReleasedInTheStopOfItsFormerApplicationStartsNothing)
{
    startApplication(httpApplication(0x1A, 0x2B));
    listener().onNotification[HBBTV_NOTIFICATION_STOP_APPLICATION] = [this](auto*) {
        vesta_hbbtv_release_window(window());
    };
    send(E_START_BROADCAST_INDEPENDENT_APPLICATION, urlRecord(window(), "http://b.example/"));
    tickAll();
    EXPECT_EQ(journal(), Lines({
                             "START 0.0 independent http://b.example/",
                             "STOP 1a.2b related reactivate=0 http://a.example/index.html",
                             "RELEASE w1",
                         }));
}

}  // namespace
