#include <cstddef>
#include <new>

#include "foundation/configuration_manager.h"
#include "integration/application_events.h"
#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "lifecycle/window_manager.h"
#include "lifecycle/window_storage.h"
#include "tests/support/counted_table.h"
#include "tests/support/library_test.h"
#include "tests/support/log_texts.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

/// While one lives, objects of a size are made at one and the same address, as soon as it is free:
/// what allocators do now and then, and sanitizers never. The program is linked with --wrap for
/// operator new and delete.
class SameAddress {
public:
    explicit SameAddress(size_t size) : size_(size), place_(::operator new(size)) { armed = this; }
    SameAddress(const SameAddress&) = delete;
    SameAddress& operator=(const SameAddress&) = delete;
    ~SameAddress()
    {
        armed = nullptr;
        EXPECT_TRUE(isFree_) << "the object must end before the place";
        ::operator delete(place_);
    }

    /// @return null when this is no allocation for the place
    static void* allocate(size_t size)
    {
        if (!armed || size != armed->size_ || !armed->isFree_)
            return nullptr;
        armed->isFree_ = false;
        return armed->place_;
    }

    /// @return whether the block was the place
    static bool release(const void* block)
    {
        if (!armed || block != armed->place_)
            return false;
        armed->isFree_ = true;
        return true;
    }

private:
    static SameAddress* armed;

    const size_t size_;
    void* const place_;
    bool isFree_ = true;
};

SameAddress* SameAddress::armed = nullptr;

}  // namespace

extern "C" {

// The names of the operators tell what size_t is.
#if __SIZEOF_SIZE_T__ == 8
#define VESTA_NEW(prefix) prefix##Znwm
#define VESTA_SIZED_DELETE(prefix) prefix##ZdlPvm
#else
#define VESTA_NEW(prefix) prefix##Znwj
#define VESTA_SIZED_DELETE(prefix) prefix##ZdlPvj
#endif

void* VESTA_NEW(__real__)(size_t size);
void __real__ZdlPv(void* block);
void VESTA_SIZED_DELETE(__real__)(void* block, size_t size);

void* VESTA_NEW(__wrap__)(size_t size)
{
    void* const place = SameAddress::allocate(size);
    return place ? place : VESTA_NEW(__real__)(size);
}

void __wrap__ZdlPv(void* block)
{
    if (!SameAddress::release(block))
        __real__ZdlPv(block);
}

void VESTA_SIZED_DELETE(__wrap__)(void* block, size_t size)
{
    if (!SameAddress::release(block))
        VESTA_SIZED_DELETE(__real__)(block, size);
}

}  // extern "C"

namespace {

class ApplicationEvents : public LibraryTest {
protected:
    static void queue(ThreadsafeEventQueue::Event* event)
    {
        ConfigurationManager::getInstance()->getEventQueue()->add(event);
    }

    /// Starts an application by its URL and lets it run.
    Application* run(Window* in, const std::string& url = "http://a.example/i")
    {
        in->startBroadcastIndependentApplication(HbbTVURL(url));
        tickAll();
        log().clear();
        forgetJournal();
        return in->getRunningApplication();
    }

    /// Releases so many windows that the storage of those released before rests no longer.
    static void freeRestingWindows()
    {
        for (unsigned n = 0; n < WindowStorage::resting; ++n)
            vesta_hbbtv_release_window(vesta_hbbtv_create_window());
    }
};

TEST_F(ApplicationEvents, StopEndsTheApplicationAtOnceWithItsFlags)
{
    startApplication(httpApplication(1, 2));
    queue(new StopApplicationEvent(window(), running(), true, true));
    queue(new StopApplicationEvent(window(), running(), false, false));
    EXPECT_TRUE(vesta_hbbtv_tick());
    EXPECT_EQ(log().leveledLines().front(),
              "DEBUG StopApplicationEvent: StopApplicationEvent::execute()");
    EXPECT_EQ(journal()[0], "STOP 1.2 related reactivate=1 http://a.example/index.html");
    EXPECT_EQ(window()->getState(), Window::IDLE);
    ASSERT_NE(window()->getPendingApplication(), nullptr);
}

TEST_F(ApplicationEvents, StopOfNoApplicationStopsNone)
{
    Application* const first = run(window());
    EXPECT_EQ(first->getID(), 1u);
    queue(new StopApplicationEvent(window(), nullptr, true, true));
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(running(), first);
    EXPECT_EQ(journal(), Lines());
}

TEST_F(ApplicationEvents, StopOfAnEndedApplicationIsNormal)
{
    Application* const application = run(window());
    queue(new StopApplicationEvent(window(), application, true, true));
    window()->shutdownApplication(application, true, false, true);
    forgetJournal();
    log().clear();
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(log().leveledLines(),
              Lines({"DEBUG StopApplicationEvent: StopApplicationEvent::execute()", shutting}));
    EXPECT_EQ(journal(), Lines());
}

TEST_F(ApplicationEvents, StartMakesThePendingApplicationTheRunningOne)
{
    window()->startBroadcastIndependentApplication(HbbTVURL("http://a.example/"));
    log().clear();
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(log().leveledLines().front(),
              "DEBUG StartApplicationEvent: StartApplicationEvent::execute()");
    EXPECT_EQ(window()->getState(), Window::RUNNING);
}

TEST_F(ApplicationEvents, OfAReleasedWindowOnlyLogAnError)
{
    Application* const application = run(window());
    queue(new StopApplicationEvent(window(), application, true, true));
    window()->startBroadcastIndependentApplication(HbbTVURL("http://a.example/next"));
    vesta_hbbtv_release_window(window());
    log().clear();
    forgetJournal();
    EXPECT_EQ(tickAll(), 2);
    EXPECT_EQ(log().leveledLines(),
              Lines({"DEBUG StopApplicationEvent: StopApplicationEvent::execute()",
                     "ERR StopApplicationEvent: Invalid setup or window do not exist.",
                     "DEBUG StartApplicationEvent: StartApplicationEvent::execute()",
                     "ERR StartApplicationEvent: Invalid setup or window do not exist."}));
    EXPECT_EQ(journal(), Lines());
}

TEST_F(ApplicationEvents, OfNoOrAForeignWindowOnlyLogAnError)
{
    Window foreign(nullptr);
    for (Window* target : {static_cast<Window*>(nullptr), &foreign}) {
        log().clear();
        queue(new StopApplicationEvent(target, nullptr, true, true));
        queue(new StartApplicationEvent(target, nullptr));
        tickAll();
        EXPECT_EQ(log().count("ERR StopApplicationEvent: Invalid setup or window do not exist."),
                  1);
        EXPECT_EQ(log().count("ERR StartApplicationEvent: Invalid setup or window do not exist."),
                  1);
    }
}

TEST_F(ApplicationEvents, WithoutWindowManagerTheyOnlyLogAnError)
{
    queue(new StopApplicationEvent(window(), nullptr, true, true));
    queue(new StartApplicationEvent(window(), nullptr));
    queue(new LoadSuccessEvent(browser().window(1)));
    queue(new HideApplicationEvent(1, 0));
    queue(new TAVOAITEvent(window(), xmlTable({})));
    delete manager();
    log().clear();
    EXPECT_EQ(tickAll(), 5);
    EXPECT_EQ(log().leveledLines(),
              Lines({"DEBUG StopApplicationEvent: StopApplicationEvent::execute()",
                     "ERR StopApplicationEvent: Invalid setup or window do not exist.",
                     "DEBUG StartApplicationEvent: StartApplicationEvent::execute()",
                     "ERR StartApplicationEvent: Invalid setup or window do not exist.",
                     "DEBUG LoadSuccessEvent: LoadSuccessEvent::execute()",
                     "ERR LoadSuccessEvent: Could not get WindowManager instance."}));
    EXPECT_EQ(WindowManager::instance, nullptr);
}

TEST_F(ApplicationEvents, AWindowCreatedAtTheSameAddressIsNotMeant)
{
    const SameAddress place(sizeof(Window));
    Window* const former = static_cast<Window*>(vesta_hbbtv_create_window());
    Application* const application = run(former);
    queue(new StopApplicationEvent(former, application, false, true));
    queue(new TAVOAITEvent(former, xmlTable({httpApplication(1, 2)})));
    former->startBroadcastIndependentApplication(HbbTVURL("http://a.example/pending"));
    vesta_hbbtv_release_window(former);
    freeRestingWindows();
    Window* const later = static_cast<Window*>(vesta_hbbtv_create_window());
    ASSERT_EQ(later, former);
    log().clear();
    forgetJournal();
    EXPECT_EQ(tickAll(), 3);
    EXPECT_EQ(log().count("ERR StopApplicationEvent: Invalid setup or window do not exist."), 1);
    EXPECT_EQ(log().count("ERR StartApplicationEvent: Invalid setup or window do not exist."), 1);
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(later->getAIT(), nullptr);
    EXPECT_EQ(later->getState(), Window::IDLE);
    vesta_hbbtv_release_window(later);
    freeRestingWindows();
}

TEST_F(ApplicationEvents, AnApplicationCreatedAtTheSameAddressIsNotStoppedForAnother)
{
    const SameAddress place(sizeof(Application));
    Application* const former = run(window());
    window()->shutdownApplication(former, false, true, true);
    window()->shutdownApplication(former, true, false, true);
    Application* const later =
        window()->startBroadcastIndependentApplication(HbbTVURL("http://b.example/"));
    ASSERT_EQ(later, former);
    window()->startPendingApplication(later);
    EXPECT_EQ(running(), later);
    EXPECT_TRUE(vesta_hbbtv_tick());  // the stop of the former one
    EXPECT_EQ(running(), later);
    shutdown();
}

TEST_F(ApplicationEvents, AnApplicationCreatedAtTheSameAddressIsNotStartedForAnother)
{
    const SameAddress place(sizeof(Application));
    Application* const former =
        window()->startBroadcastIndependentApplication(HbbTVURL("http://a.example/"));
    window()->destroyPendingApplication();
    Application* const later =
        window()->startBroadcastIndependentApplication(HbbTVURL("http://b.example/"));
    ASSERT_EQ(later, former);
    log().clear();
    EXPECT_TRUE(vesta_hbbtv_tick());  // the start of the former one
    EXPECT_EQ(log().count(noLongerPending), 1);
    EXPECT_TRUE(window()->isPendingApplication(later));
    tickAll();
    EXPECT_EQ(running(), later);
    shutdown();
}

TEST_F(ApplicationEvents, LoadSuccessIsReportedToTheWindowThatHoldsTheBrowserWindow)
{
    run(window());
    queue(new LoadSuccessEvent(browser().window(1)));
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(log().leveledLines(),
              Lines({"DEBUG LoadSuccessEvent: LoadSuccessEvent::execute()",
                     "LOG Window: Initial page of application successfully loaded."}));
    EXPECT_EQ(journal(), Lines({"SHOW w1"}));
}

TEST_F(ApplicationEvents, LoadSuccessForAnUnknownBrowserWindowOnlyLogsAnError)
{
    queue(new LoadSuccessEvent(browser().window(1)));
    queue(new LoadSuccessEvent(nullptr));
    tickAll();
    EXPECT_EQ(log().leveledLines(),
              Lines({"DEBUG LoadSuccessEvent: LoadSuccessEvent::execute()",
                     "ERR LoadSuccessEvent: Could not get Window for given vesta window.",
                     "DEBUG LoadSuccessEvent: LoadSuccessEvent::execute()",
                     "ERR LoadSuccessEvent: Could not get Window for given vesta window."}));
    EXPECT_EQ(journal(), Lines());
}

TEST_F(ApplicationEvents, AScriptsHideTakesEffectOnTheThirdTick)
{
    Application* const application = run(window());
    EXPECT_EQ(native_ApplicationHide(idOf(application)), VEIF_RETURN_OK);
    EXPECT_TRUE(vesta_hbbtv_tick());
    EXPECT_TRUE(vesta_hbbtv_tick());
    EXPECT_EQ(journal(), Lines());
    EXPECT_TRUE(vesta_hbbtv_tick());
    EXPECT_EQ(journal(), Lines({"HIDE w1"}));
    EXPECT_FALSE(vesta_hbbtv_tick());
}

TEST_F(ApplicationEvents, HideWaitsForWhatIsQueuedMeanwhile)
{
    Application* const application = run(window());
    queue(new HideApplicationEvent(application->getID(), 1));
    queue(new StopApplicationEvent(window(), application, false, true));
    EXPECT_EQ(tickAll(), 3);
    EXPECT_EQ(journal(),
              Lines({"STOP 0.0 independent reactivate=0 http://a.example/i", "RELEASE w1"}));
}

TEST_F(ApplicationEvents, HideWithoutCountdownHidesAtOnce)
{
    Application* const application = run(window());
    queue(new HideApplicationEvent(application->getID(), 0));
    queue(new HideApplicationEvent(application->getID(), -5));
    EXPECT_EQ(tickAll(), 2);
    EXPECT_EQ(journal(), Lines({"HIDE w1", "HIDE w1"}));
    EXPECT_FALSE(application->isVisible());
    EXPECT_EQ(log().leveledLines(), Lines());
}

TEST_F(ApplicationEvents, HideOfAnUnknownApplicationDoesNothing)
{
    queue(new HideApplicationEvent(0, 0));
    queue(new HideApplicationEvent(4711, 0));
    EXPECT_EQ(tickAll(), 2);
    EXPECT_EQ(journal(), Lines());
}

TEST_F(ApplicationEvents, ATableIsAnnouncedPrintedAndActivated)
{
    journalLog({"AIT", "Window"});
    sendXMLAIT({httpApplication(3, 4)});
    EXPECT_EQ(tickAll(), 2);
    const Lines lines = journal();
    EXPECT_EQ(lines[0], "AIT xml [3.4]");
    EXPECT_EQ(lines[1], "DEBUG AIT: --- Outputing AIT ---");
    EXPECT_EQ(lines[2], "DEBUG AIT: --- [0] ");
    EXPECT_EQ(lines[3], "DEBUG AIT: --- Done ---");
    EXPECT_EQ(lines[4], "LOG Window: Starting application from AITApplication.");
    EXPECT_EQ(lines[5], "START 3.4 independent autostart http://a.example/index.html");
    EXPECT_EQ(runningURL(), "http://a.example/index.html");
    EXPECT_TRUE(running()->isAutostarted());
    EXPECT_FALSE(running()->isBroadcastRelated());
}

TEST_F(ApplicationEvents, ATableOfAnUnknownWindowIsReleasedUntouched)
{
    int alive = 0;
    Window foreign(nullptr);
    queue(new TAVOAITEvent(&foreign, ref_ptr<AIT>(new CountedTable(alive))));
    queue(new TAVOAITEvent(nullptr, ref_ptr<AIT>(new CountedTable(alive))));
    EXPECT_EQ(alive, 2);
    EXPECT_EQ(tickAll(), 2);
    EXPECT_EQ(alive, 0);
    EXPECT_EQ(journal(), Lines());
    EXPECT_EQ(log().leveledLines(), Lines());
    EXPECT_EQ(foreign.getAIT(), nullptr);
}

TEST_F(ApplicationEvents, NoTableIsAnnouncedAsSuch)
{
    window()->setAIT(broadcastTable(AITSection()));
    queue(new TAVOAITEvent(window(), ref_ptr<AIT>()));
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(journal(), Lines({"AIT (null)"}));
    EXPECT_TRUE(window()->getAIT()->isStale());
}

TEST_F(ApplicationEvents, ATableIsNotActivatedInAWindowThatAListenerReleased)
{
    listener().onNotification[HBBTV_NOTIFICATION_AIT_UPDATE] = [](HBBTV_NotificationData* data) {
        vesta_hbbtv_release_window(data->ait.window);
    };
    sendXMLAIT({httpApplication(3, 4)});
    EXPECT_EQ(tickAll(), 1);
    EXPECT_EQ(journal(), Lines({"AIT xml [3.4]"}));
    EXPECT_EQ(log().count("DEBUG AIT: --- Done ---"), 1) << "it is printed all the same";
    EXPECT_EQ(takeLog("Window"), Lines({"DEBUG Window: terminateRunningApplication"}));
}

TEST_F(ApplicationEvents, ANewerTableThatComesWhileATableIsAnnouncedStaysInForce)
{
    listener().onNotification[HBBTV_NOTIFICATION_AIT_UPDATE] = [this](auto*) {
        listener().onNotification.clear();
        sendXMLAIT({httpApplication(3, 5, "newer")});
        tickAll();
    };
    sendXMLAIT({httpApplication(3, 4, "older")});
    tickAll();
    EXPECT_EQ(window()->getAIT()->getAITApplication(0U)->getApplicationId(), 5);
    EXPECT_EQ(runningURL(), "http://a.example/newer");
    EXPECT_EQ(log().count("DEBUG AIT: --- Done ---"), 2);
}

TEST_F(ApplicationEvents, DeletedUnexecutedTheyDoNothing)
{
    Application* const application = run(window());
    delete new StopApplicationEvent(window(), application, true, true);
    delete new StartApplicationEvent(window(), application);
    delete new LoadSuccessEvent(browser().window(1));
    delete new HideApplicationEvent(application->getID(), 0);
    delete new TAVOAITEvent(window(), xmlTable({}));
    EXPECT_EQ(running(), application);
    EXPECT_EQ(journal(), Lines());
}

}  // namespace
