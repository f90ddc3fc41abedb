// Random sessions: whatever comes in whatever order, the books of windows and applications agree,
// and nothing leaks.
//
// Each session has a fixed seed. VESTA_PROPERTY_STEPS sets the number of steps of all sessions
// together.

#include <cstdlib>
#include <random>
#include <set>

#include "foundation/configuration_manager.h"
#include "foundation/threadsafe_event_queue.h"
#include "integration/application_events.h"
#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "tests/support/counted_table.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

const unsigned sessions = 10;
const long browserWindows = 8;

unsigned stepsOfASession()
{
    const char* const wanted = std::getenv("VESTA_PROPERTY_STEPS");
    const unsigned long steps = wanted ? std::strtoul(wanted, nullptr, 10) : 20000;
    return static_cast<unsigned>(steps / sessions);
}

int livingTables = 0;

class LifecycleProperty : public LibraryTest, public ::testing::WithParamInterface<unsigned> {
protected:
    LifecycleProperty() : random_(GetParam()), handles_({window()}) {}

    // What happens at random ---------------------------------------------------------------------

    unsigned below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }
    bool oneIn(unsigned chance) { return below(chance) == 0; }

    template <typename Value>
    Value oneOf(const std::vector<Value>& values)
    {
        return values[below(static_cast<unsigned>(values.size()))];
    }

    /// Mostly living ones, sometimes dead ones.
    void* anyHandle()
    {
        if (oneIn(8) || manager()->getWindows().empty())
            return oneIn(4) ? nullptr : oneOf(handles_);
        return manager()->getWindow(below(static_cast<unsigned>(manager()->getWindows().size())));
    }
    /// Mostly an application of a living window.
    void* anyId()
    {
        const auto* const window = static_cast<Window*>(anyHandle());
        if (!oneIn(6) && manager()->windowExists(window) && !window->getApplications().empty())
            return idOf(oneOf(window->getApplications()));
        const auto recent = static_cast<unsigned>(std::min(Application::next_id, 12ul));
        return reinterpret_cast<void*>(
            static_cast<uintptr_t>(Application::next_id - below(recent)));
    }
    /// Mostly one that shows an application.
    long anyWindowId()
    {
        const auto& used = listener().windowsInUse;
        if (oneIn(6) || used.empty())
            return 1 + static_cast<long>(below(browserWindows));
        return *std::next(used.begin(),
                          static_cast<int>(below(static_cast<unsigned>(used.size()))));
    }

    AITEntry anyEntry()
    {
        const auto applicationId =
            oneIn(15) ? oneOf<uint16_t>({0, 0x8000}) : static_cast<uint16_t>(1 + below(4));
        AITEntry entry(1, applicationId, oneOf<uint8_t>({1, 1, 1, 1, 2, 2, 3, 4, 7}));
        entry.priority(static_cast<uint8_t>(below(4))).serviceBound(oneIn(3));
        if (!oneIn(10))
            entry.location(oneOf<std::string>({"i", "j", "l.aitx"}));
        if (!oneIn(4))
            entry.http(1, oneOf<std::string>({"http://a.example/", "http://b.example/"}));
        if (oneIn(2))
            entry.carousel(2, static_cast<uint8_t>(below(3)));
        if (oneIn(4))
            entry.labels(oneOf<std::vector<uint8_t>>({{1, 1, 2}, {2, 3, 2}, {3, 3, 1}, {1}}));
        if (oneIn(3))
            entry.recording(oneOf<uint8_t>({0x00, 0x60}), {}, {});
        if (oneIn(10))
            entry.profiles({{0, 9, 9, 9}});
        if (oneIn(20))
            entry.withoutApplicationDescriptor();
        return entry;
    }

    void sendTable()
    {
        AITSection section;
        section.version(static_cast<uint8_t>(below(16)));
        if (oneIn(10))
            section.number(static_cast<uint8_t>(below(2)), 1);
        if (oneIn(3))
            section.common(carouselTransport(2, 1) + httpTransport(3, "http://b.example/"));
        for (unsigned entries = below(5); entries > 0; --entries)
            section.add(anyEntry());
        deliver(section);
    }

    void sendXMLTable()
    {
        ThreadsafeEventQueue* const queue = ConfigurationManager::getCurrentQueue();
        if (!queue)
            return;
        const ref_ptr<AIT> table(new CountedTable(livingTables));
        for (unsigned entries = below(3); entries > 0; --entries) {
            auto application = std::make_unique<AITApplication>(table.get());
            application->parse(anyEntry().exactBlock().get());
            table->insertAITApplication(application.release());
        }
        queue->add(new TAVOAITEvent(static_cast<Window*>(anyHandle()), table));
    }

    void reportFromBrowser()
    {
        TavoVestaEventData data = {};
        data.url = "http://a.example/other";
        data.http_status = oneIn(6) ? 404 : 200;
        notify(oneOf<TAVO_VESTA_EVENT>(
                   {TAVO_VESTA_EVT_LOADING_FINISHED, TAVO_VESTA_EVT_LOADING_FINISHED,
                    TAVO_VESTA_EVT_LOADING_FAILED, TAVO_VESTA_EVT_XML_PARSE_FAILED,
                    TAVO_VESTA_EVT_URL_CHANGED, TAVO_VESTA_EVT_WINDOW_CLOSE}),
               anyWindowId(), data);
        browser().loadingURL =
            oneOf<std::string>({"", "http://a.example/i", "http://b.example/i", "dvb://1.2.3.1/i"});
    }

    void requestFromOutside()
    {
        const unsigned choice = below(4);
        if (choice == 0 && oneIn(2))
            deliver(E_TERMINATE_APPLICATION, windowRecord(anyHandle()));
        else if (choice == 1)
            deliver(E_START_APPLICATION,
                    startRecord(anyHandle(), 1, static_cast<unsigned short>(1 + below(4))));
        else
            deliver(
                E_START_BROADCAST_INDEPENDENT_APPLICATION,
                urlRecord(anyHandle(), oneOf<const char*>({"http://a.example/i", "x", "", "l.aitx",
                                                           "http://b.example/j?p#a"})));
    }

    void callFromScript()
    {
        void* created = nullptr;
        double number = 0;
        switch (below(6)) {
        case 0:
            if (oneIn(3))
                native_ApplicationDestroyApplication(anyId());
            break;
        case 1:
            native_ApplicationHide(anyId());
            break;
        case 2:
            native_ApplicationShow(anyId());
            native_KeySetSetValue(anyId(), 0x1F, &number);
            break;
        case 3:
            native_AppManNotifySetChannelCalled(anyWindowId(), "http://a.example/",
                                                oneIn(2) ? nullptr : this);
            break;
        default:
            native_ApplicationCreateApplication(
                oneOf<const char*>({"http://a.example/child", "child", "l.aitx",
                                    "dvb://current.ait/1.1", "dvb://current.ait/1.2"}),
                1, anyId(), &created);
            break;
        }
    }

    void changeWindows()
    {
        switch (below(4)) {
        case 0:
            if (manager()->getWindows().size() < 4)
                handles_.push_back(vesta_hbbtv_create_window());
            break;
        case 1:
            if (oneIn(3))
                vesta_hbbtv_release_window(anyHandle());
            break;
        default:
            vesta_hbbtv_set_broadcast_window(anyHandle());
            break;
        }
        if (handles_.size() > 12)
            handles_.erase(handles_.begin());
    }

    void changeConditions()
    {
        switch (below(5)) {
        case 0:
            deliver(oneIn(4) ? E_HTTP_UNAVAILABLE : E_HTTP_AVAILABLE);
            break;
        case 1:
            vesta_hbbtv_set_time_shifted(anyHandle(), oneIn(4) ? 1 : 0);
            break;
        case 2:
            deliver(E_CHANNEL_CHANGE);
            break;
        case 3:
            deliver(E_AIT_SECTION, noSectionRecord(oneIn(3) ? 0 : 1));
            break;
        default:
            if (oneIn(40))
                vesta_hbbtv_shutdown();
            else if (oneIn(30))
                vesta_hbbtv_init(browser().handle());
            break;
        }
    }

    void changeAnswers()
    {
        listener().startAction.reset();
        listener().reactivateAIT.reset();
        if (oneIn(4))
            listener().startAction = oneOf<int>({0, 1, 2, 7});
        if (oneIn(3))
            listener().reactivateAIT = oneOf<int>({0, 1});
        listener().refuseWindows = oneIn(8);
        listener().nextWindows.clear();
        if (oneIn(8))
            listener().nextWindows = {anyWindowId()};  // perhaps one that is in use
        listener().onNotification.clear();
        if (oneIn(3))
            listener().onNotification[static_cast<int>(below(11))] = [this](auto*) { interfere(); };
    }

    /// A listener that calls back into the library.
    void interfere()
    {
        const int deepest = 4;
        if (interfering_ == deepest)
            return;
        ++interfering_;
        switch (below(9)) {
        case 0:
            if (oneIn(5))
                vesta_hbbtv_release_window(anyHandle());
            break;
        case 7:
            sendTable();
            vesta_hbbtv_tick();
            break;
        case 8:
            sendXMLTable();
            vesta_hbbtv_tick();
            break;
        case 1:
            vesta_hbbtv_tick();
            break;
        case 2:
            reportFromBrowser();
            break;
        case 3:
            if (oneIn(20))
                vesta_hbbtv_shutdown();
            break;
        case 4:
            requestFromOutside();
            vesta_hbbtv_tick();
            break;
        default:
            callFromScript();
            break;
        }
        --interfering_;
    }

    void step()
    {
        using Step = void (LifecycleProperty::*)();
        const std::pair<const char*, Step> steps[] = {
            {"table", &LifecycleProperty::sendTable},
            {"table", &LifecycleProperty::sendTable},
            {"XML table", &LifecycleProperty::sendXMLTable},
            {"browser", &LifecycleProperty::reportFromBrowser},
            {"browser", &LifecycleProperty::reportFromBrowser},
            {"request", &LifecycleProperty::requestFromOutside},
            {"request", &LifecycleProperty::requestFromOutside},
            {"script", &LifecycleProperty::callFromScript},
            {"script", &LifecycleProperty::callFromScript},
            {"windows", &LifecycleProperty::changeWindows},
            {"conditions", &LifecycleProperty::changeConditions},
            {"answers", &LifecycleProperty::changeAnswers},
            {"ticks", &LifecycleProperty::tickThrice},
            {"ticks", &LifecycleProperty::tickThrice},
            {"ticks", &LifecycleProperty::tickThrice},
        };
        if (!ConfigurationManager::getCurrentQueue())
            startAgain();
        if (!vesta_hbbtv_get_broadcast_window() && oneIn(5))
            vesta_hbbtv_set_broadcast_window(anyHandle());
        const auto& [name, function] = steps[below(std::size(steps))];
        last_ = name;
        (this->*function)();
        forgetJournal();
        log().clear();
    }

    void tickThrice()
    {
        for (int ticks = 0; ticks < 3; ++ticks)
            vesta_hbbtv_tick();
    }

    void startAgain()
    {
        vesta_hbbtv_init(browser().handle());
        handles_.push_back(vesta_hbbtv_create_window());
        vesta_hbbtv_set_broadcast_window(handles_.back());
        vesta_hbbtv_add_notification_listener(RecordingListener::listen);
    }

    // What always holds --------------------------------------------------------------------------

    /// @return the first rule that is broken; "" when all hold
    std::string brokenRule()
    {
        if (!WindowManager::instance)
            return "";
        std::string broken;
        std::set<unsigned long> ids;
        for (Window* each : manager()->getWindows()) {
            if (broken.empty())
                broken = brokenRuleOf(*each);
            for (Application* application : each->getApplications()) {
                if (!ids.insert(application->getID()).second)
                    broken = "two applications have one id";
            }
        }
        if (broken.empty())
            broken = brokenRuleOfRegistry();
        return broken;
    }

    std::string brokenRuleOf(Window& window)
    {
        Application* const running = window.getRunningApplication();
        Application* const pending = window.getPendingApplication();
        if ((window.getState() == Window::IDLE) != (running == nullptr))
            return "the state does not agree with the running application";
        if (window.getState() == Window::TEARDOWN && !pending)
            return "nobody succeeds a forbidden application";
        if (running && !window.applicationExists(running))
            return "the running application is not in the map";
        if (pending && (pending == running || window.applicationExists(pending)))
            return "the pending application is in the map";
        if (pending && window.getApplicationId(pending) == 0)
            return "the pending application is not one of the window's";
        if (window.getBroadcastAIT() && window.getBroadcastAIT()->isXMLBased())
            return "the broadcast table is an XML table";
        runningSeen_ += running ? 1u : 0u;
        teardownsSeen_ += window.getState() == Window::TEARDOWN ? 1u : 0u;
        for (Application* application : window.getApplications()) {
            childrenSeen_ += application->getParent() ? 1u : 0u;
            const std::string broken = brokenRuleOf(window, *application);
            if (!broken.empty())
                return broken;
        }
        return brokenRuleOfMap(window);
    }

    std::string brokenRuleOf(Window& window, Application& application)
    {
        const unsigned long id = application.getID();
        if (id == 0 || id >= Application::next_id || window.findApplication(id) != &application)
            return "an application's id does not lead to it";
        if (application.getWindow() != &window)
            return "an application belongs to another window";
        Application* const parent = application.getParent();
        if (parent == &application || (parent && window.getApplicationId(parent) == 0))
            return "a parent is not an application of the window";
        const AITApplication* const entry = application.getAITApplication();
        if (entry && (!entry->getAIT() || !entry->getAIT()->isHandledAITApplication(entry)))
            return "an entry is not in its table";
        if (!window.applicationExists(&application))
            return "";
        if (manager()->getApplication(id) != &application)
            return "the manager does not know an application";
        return window.getApplication(application.getTavoWindow()) == &application
                   ? ""
                   : "an application is in the map under another browser window";
    }

    std::string brokenRuleOfMap(Window& window)
    {
        for (long id = 0; id < 64; ++id) {
            Application* const shown = window.getApplication(browser().window(id));
            if (shown && (window.getApplicationId(shown) == 0 ||
                          shown->getTavoWindow() != browser().window(id)))
                return "the map leads to an application that is not there";
        }
        return "";
    }

    std::string brokenRuleOfRegistry()
    {
        for (long id = 0; id < 64; ++id) {
            Window* const owner = manager()->getWindow(browser().window(id));
            if (owner && !manager()->windowExists(owner))
                return "a browser window leads to a dead window";
        }
        Window* const broadcast = manager()->getBroadcastWindow();
        if (broadcast && !manager()->windowExists(broadcast))
            return "the broadcast window is dead";
        const unsigned long checkedIds = 64;
        const unsigned long end = Application::next_id;
        for (unsigned long id = end > checkedIds ? end - checkedIds : 0; id <= end; ++id) {
            Application* const application = manager()->getApplication(id);
            if (!application)
                continue;
            Window* const owner = application->getWindow();
            if (application->getID() != id || (owner && !manager()->windowExists(owner)))
                return "an id leads to another application, or to one of a dead window";
        }
        return "";
    }

    std::mt19937 random_;
    std::vector<void*> handles_;
    int interfering_ = 0;  // calls back that stand in each other
    const char* last_ = "";
    unsigned runningSeen_ = 0;
    unsigned childrenSeen_ = 0;
    unsigned teardownsSeen_ = 0;
};

TEST_P(LifecycleProperty, TheBooksAgreeAfterEveryStep)
{
    const unsigned steps = stepsOfASession();
    for (unsigned number = 0; number < steps; ++number) {
        step();
        ASSERT_EQ(brokenRule(), "")
            << "seed " << GetParam() << ", step " << number << " (" << last_ << ")";
    }
    listener().onNotification.clear();
    shutdown();
    EXPECT_EQ(livingTables, 0) << "seed " << GetParam();
    if (steps >= 1000) {
        // The rules mean something only where something happens.
        EXPECT_GT(Application::next_id, steps / 15);
        EXPECT_GT(runningSeen_, steps / 4);
        EXPECT_GT(childrenSeen_, steps / 200);
        EXPECT_GT(teardownsSeen_, 0u);
    }
    EXPECT_TRUE(listener().windowsInUse.empty()) << "seed " << GetParam();
}

INSTANTIATE_TEST_SUITE_P(Seeds, LifecycleProperty, ::testing::Range(1u, sessions + 1));

}  // namespace
