/// A session with everything in it, in which one place where the library calls out does something
/// to the library.
#ifndef VESTA_TESTS_LIFECYCLE_REENTRANT_SESSION_H
#define VESTA_TESTS_LIFECYCLE_REENTRANT_SESSION_H

#include <array>
#include <functional>
#include <map>
#include <set>
#include <string>

#include "foundation/configuration_manager.h"
#include "foundation/threadsafe_event_queue.h"
#include "integration/application_events.h"
#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "oipf/notifications/notification_manager.h"
#include "tests/support/library_test.h"

namespace vesta::test {

using namespace VestaHbbTV;

class ReentrantSession : public LibraryTest {
protected:
    ReentrantSession()
    {
        test_ = this;
        handle_ = window();
        listener().trusted = 1;
    }

    ~ReentrantSession() override
    {
        veif_applicationManagerListener = nullptr;
        veif_applicationDestroyedListener = nullptr;
        test_ = nullptr;
        listener().onNotification.clear();
        browser().whileIn.clear();
        platform().whileIn.clear();
    }

    /// Calls act() from the place, a few times, up to four of them inside each other.
    void arm(const std::string& place, const std::string& action)
    {
        const auto callback = [this, action] {
            if (inside_ == 4 || fired_ == 8)
                return;
            ++inside_;
            ++fired_;
            act(action);
            --inside_;
        };
        callback_ = callback;
        if (std::isdigit(static_cast<unsigned char>(place.front())))
            listener().onNotification[std::stoi(place)] = [callback](auto*) { callback(); };
        else if (place.rfind("ve_", 0) == 0 || place.rfind("tavo_", 0) == 0)
            browser().whileIn[place] = callback;
        else
            platform().whileIn[place] = callback;
        place_ = place;
        native_ApplicationManagerSetListener([](int, void*) { test_->comeBy("plugin"); });
        native_ApplicationManagerSetAppDestroyedListener([](void* id) {
            EXPECT_TRUE(test_->ended_.insert(id).second) << "the plugin heard twice of an end";
            test_->comeBy("destroyed");
        });
    }

    void comeBy(const char* place)
    {
        if (place_ == place)
            callback_();
    }

    void act(const std::string& action)
    {
        using Action = void (ReentrantSession::*)();
        const std::map<std::string, Action> functions = {
            {"release the window", &ReentrantSession::releaseWindow},
            {"release it twice", &ReentrantSession::releaseTwice},
            {"release all windows", &ReentrantSession::releaseAll},
            {"shut down", &ReentrantSession::shutDown},
            {"shut down and init", &ReentrantSession::shutDownAndInit},
            {"init again", &ReentrantSession::initAgain},
            {"tick", &ReentrantSession::tick},
            {"send another AIT", &ReentrantSession::sendAnotherAIT},
            {"start another application", &ReentrantSession::startAnother},
            {"create a child", &ReentrantSession::createChild},
            {"destroy an application", &ReentrantSession::destroyApplications},
            {"terminate", &ReentrantSession::terminate},
            {"remove the listener", &ReentrantSession::removeListener},
            {"add the listener again", &ReentrantSession::addListener},
            {"shift time", &ReentrantSession::shiftTime},
            {"change the channel", &ReentrantSession::changeChannel},
            {"report load results", &ReentrantSession::reportResults},
            {"delete the window manager", &ReentrantSession::deleteManager},
            {"take over the broadcast", &ReentrantSession::takeOverBroadcast},
            {"cancel the loads", &ReentrantSession::cancelLoads},
            {"start the loads anew", &ReentrantSession::startLoads},
            {"report the files", &ReentrantSession::reportFiles},
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

    void cancelLoads()
    {
        for (char& load : loads_) {
            TavoVestaEventData data = {};
            data.request_id = &load;
            notify(TAVO_VESTA_EVT_PROTOCOL_LOADING_STOP, 1, data);
        }
    }

    void startLoads()
    {
        for (size_t i = 0; i < loads_.size(); ++i)
            startLoad(1, pages[i], loads_[loads_.size() - 1 - i]);
    }

    void reportFiles()
    {
        for (char& load : loads_) {
            deliver(E_DSMCC_FILE_READY, downloadRecord(&load));
            deliver(E_DSMCC_FILE_ERROR, downloadRecord(&load));
        }
        tickSome();
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

    /// Pages come from the carousel at once, later, or not at all.
    void pagesLoad(long windowId)
    {
        platform().files["1.2.3.7/now"] = {std::string(140000, 'x'), 0, 0, "text/html", 0, {}};
        platform().files["1.2.3.7/later"] = {"bytes", DSMCC_PENDING, 0, {}, 0, {}};
        platform().files["1.2.3.7/broken"] = {"bytes", 0, 0, {}, 0, DSMCC_ERROR};
        for (size_t i = 0; i < loads_.size(); ++i)
            startLoad(windowId, pages[i], loads_[i]);
        deliver(E_DSMCC_FILE_READY, downloadRecord(&loads_[1]));
        deliver(E_DSMCC_FILE_ERROR, downloadRecord(&loads_[3]));
        tickSome();
    }

    void startLoad(long windowId, const char* url, char& load)
    {
        TavoVestaEventData data = {};
        data.url = url;
        data.request_id = &load;
        notify(TAVO_VESTA_EVT_PROTOCOL_LOADING_START, windowId, data);
    }

    void streamEventsAreAskedFor(long windowId)
    {
        native_BroadcastAddStreamEventListener("ev", nullptr, nullptr, nullptr, nullptr, windowId);
        native_BroadcastAddXMLStreamEventListener(nullptr, nullptr, 1, 2, nullptr, nullptr, nullptr,
                                                  windowId);
        deliver(E_DSMCC_STREAM_EVENT,
                streamEventRecord([](const char*, uint32_t, const char*, const char*, const char*,
                                     uint32_t) { test_->comeBy("stream event"); },
                                  1, 2, {"a", "b", nullptr, "d"}));
        tickSome();
        native_BroadcastRemoveStreamEventListener("ev", nullptr, nullptr, nullptr, nullptr,
                                                  windowId);
        native_BroadcastRemoveAllStreamEventListeners(nullptr, windowId);
    }

    void keysArePressed(long windowId)
    {
        for (const int type : {TAVO_KEY_DOWN, TAVO_KEY_UP}) {
            TAVO_KeyboardEvent event = {type, TAVO_VK_RED};
            vesta_hbbtv_key_input(browser().window(windowId), &event);
        }
    }

    void useEverything()
    {
        for (uintptr_t id = 1; id < Application::next_id; ++id) {
            double keySet = 0;
            long windowId = 0;
            native_KeySetSetValue(reinterpret_cast<void*>(id), 3, &keySet);
            native_AppManGetWindowOfApplication(reinterpret_cast<void*>(id), &windowId);
        }
        for (long windowId = 1; windowId < 3; ++windowId) {
            pagesLoad(windowId);
            streamEventsAreAskedFor(windowId);
            keysArePressed(windowId);
        }
        deliver(E_USER_AGENT_INFO, userAgentRecord(1, {"a", "b", "c", "d", "e", "f"}));
        tickSome();
    }

    /// A session that comes past every place.
    void session()
    {
        serviceStarts();
        finishLoading();
        scriptsCall(1);
        useEverything();
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
        vesta_hbbtv_init(browser().handle());
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

    static inline ReentrantSession* test_ = nullptr;
    std::function<void()> callback_;
    std::string place_;
    std::set<void*> ended_;
    static constexpr std::array<const char*, 4> pages = {"dvb://1.2.3.7/now", "dvb://1.2.3.7/later",
                                                         "dvb://1.2.3.7/broken",
                                                         "dvb://1.2.3.7/missing"};
    std::array<char, pages.size()> loads_ = {};
    void* handle_ = nullptr;
    int inside_ = 0;
    bool listenerRemoved_ = false;
    int fired_ = 0;
    unsigned version_ = 0;
};

}  // namespace vesta::test

#endif
