// The story of the carousel application with a second thread as middleware: it sends everything
// through vesta_hbbtv_send_event(), while the browser thread waits on the registered condition and
// ticks.

#include <condition_variable>
#include <mutex>
#include <pthread.h>
#include <thread>

#include "lifecycle/application.h"
#include "lifecycle/window.h"
#include "tests/support/carousel_story.h"
#include "tests/support/counted_memory.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

/// What the middleware is asked to do next, from the browser thread to its own.
class Orders {
public:
    void give(std::function<void()> order)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        orders_.push_back(std::move(order));
        given_.notify_one();
    }

    std::function<void()> take()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        given_.wait(lock, [this] { return !orders_.empty(); });
        std::function<void()> order = std::move(orders_.front());
        orders_.erase(orders_.begin());
        return order;
    }

private:
    std::mutex mutex_;
    std::condition_variable given_;
    std::vector<std::function<void()>> orders_;
};

class ThreadedStory : public CarouselSession {
protected:
    ThreadedStory()
    {
        vesta_hbbtv_set_sendevent_condition(&condition_, &mutex_);
        middleware_ = std::thread([this] {
            while (std::function<void()> order = orders_.take())
                order();
        });
    }

    ~ThreadedStory() override
    {
        orders_.give(nullptr);
        middleware_.join();
        shutdown();
        pthread_cond_destroy(&condition_);
        pthread_mutex_destroy(&mutex_);
    }

    /// Has the middleware send it. @param makeRecord called on the middleware's thread
    void sendFromMiddleware(HBBTV_EventType type,
                            std::function<HBBTV_EventData*()> makeRecord = nullptr)
    {
        orders_.give([type, makeRecord] {
            vesta_hbbtv_send_event(type, makeRecord ? makeRecord() : nullptr);
        });
    }

    /// The browser's main loop: ticks, and sleeps when there is nothing to do, until something is
    /// as expected.
    template <typename Condition>
    void runBrowserUntil(Condition condition)
    {
        pthread_mutex_lock(&mutex_);
        while (!condition()) {
            // No wake-up is lost: whoever queues an event signals under this mutex afterwards.
            if (!vesta_hbbtv_tick())
                pthread_cond_wait(&condition_, &mutex_);
        }
        pthread_mutex_unlock(&mutex_);
    }

    /// Runs until the conversation since the last call is as long as this, and compares.
    void expectConversation(const Lines& expected)
    {
        runBrowserUntil([&] { return Journal::instance().lines().size() >= expected.size(); });
        EXPECT_EQ(journal(), expected);
    }

    Lines startAnew() const
    {
        const Lines start = startConversation();
        return Lines(start.begin() + 2, start.end());
    }

    pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t condition_ = PTHREAD_COND_INITIALIZER;
    Orders orders_;
    std::thread middleware_;
};

TEST_F(ThreadedStory, MiddlewareOnAThreadOfItsOwnTellsTheWholeStory)
{
    sendFromMiddleware(E_USER_AGENT_INFO, [] {
        return userAgentRecord(2, {"+DL", "Maker", "Model", "1.0", "2.0", nullptr});
    });
    sendFromMiddleware(E_SUPPORTED_PROFILES, [] { return profilesRecord(1); });
    expectConversation({"ve_set_uastring_extension(HbbTV/1.2.1 (+DL; Maker; Model; 1.0; 2.0; ))"});

    sendFromMiddleware(E_AIT_SECTION, [] { return aitRecord(carouselTable()); });
    expectConversation(startConversation());

    // The platform answers from the middleware's thread.
    platform().whileIn["dsmcc_get_file"] = [this] {
        sendFromMiddleware(E_DSMCC_FILE_READY, [] { return downloadRecord(&pageLoad); });
    };
    EXPECT_EQ(startPageLoad(browser()), 1u);
    Lines served = {"dsmcc_get_file(1.2.3.a/app/index.html)"};
    const Lines page = pageConversation();
    served.insert(served.end(), page.begin(), page.end());
    expectConversation(served);
    EXPECT_TRUE(browser().written[&pageLoad] == pageBytes());

    TavoVestaEventData loaded = {};
    loaded.http_status = 200;
    notify(TAVO_VESTA_EVT_LOADING_FINISHED, 1, loaded);
    runBrowserUntil([this] { return running()->isInitialPageLoaded(); });

    askForItself();
    useKeys();
    requestInsideAndOutside();
    void* child = nullptr;
    EXPECT_EQ(native_ApplicationCreateApplication("dvb://current.ait/1a.2c?from=parent#top", 1,
                                                  parent_, &child),
              0);
    expectConversation(childConversation());
    notify(TAVO_VESTA_EVT_LOADING_FINISHED, 2, loaded);
    expectConversation({"STOP 1a.2b related reactivate=0 " + std::string(startURL), "RELEASE w1"});

    EXPECT_EQ(native_ApplicationDestroyApplication(child), 0);
    Lines destroyed = {"STOP 1a.2c related reactivate=1 " + std::string(childURL), "RELEASE w2"};
    const Lines start = startAnew();
    destroyed.insert(destroyed.end(), start.begin(), start.end());
    expectConversation(destroyed);

    sendFromMiddleware(E_AIT_SECTION, [] { return noSectionRecord(0); });
    expectConversation({"STOP 1a.2b related reactivate=0 " + std::string(startURL), "RELEASE w1"});
    EXPECT_EQ(running(), nullptr);
}

TEST_F(ThreadedStory, TwoMiddlewareThreadsLoseNothingAndEachKeepsItsOrder)
{
    const unsigned count = 500;
    static std::vector<uint32_t> seen[2];
    seen[0].clear();
    seen[1].clear();
    const auto sendAll = [](uint32_t sender) {
        for (uint32_t number = 0; number < count; ++number)
            vesta_hbbtv_send_event(
                E_DSMCC_STREAM_EVENT,
                streamEventRecord([](const char*, uint32_t from, const char*, const char*,
                                     const char*, uint32_t what) { seen[from].push_back(what); },
                                  sender, number, {"one", nullptr, "three", "four"}));
    };
    orders_.give([sendAll] { sendAll(0); });
    std::thread other(sendAll, 1u);
    runBrowserUntil([] { return seen[0].size() == count && seen[1].size() == count; });
    other.join();
    for (const std::vector<uint32_t>& numbers : seen) {
        for (uint32_t number = 0; number < count; ++number)
            EXPECT_EQ(numbers[number], number);
    }
    EXPECT_FALSE(vesta_hbbtv_tick());
}

TEST_F(ThreadedStory, SectionsOfAChangingServiceWhileItsApplicationIsUsed)
{
    const unsigned versions = 32;
    for (unsigned version = 0; version < versions; ++version)
        sendFromMiddleware(E_AIT_SECTION, [version] {
            return aitRecord(AITSection()
                                 .version(static_cast<uint8_t>(version))
                                 .add(httpApplication(1, static_cast<uint16_t>(1 + version % 2))));
        });
    const auto lastOneRuns = [&] {
        return running() && window()->getAIT()->getVersion() == versions - 1 &&
               running()->getApplicationId() == 2 && running()->getTransport();
    };
    for (unsigned version = 0; version < versions; ++version) {
        runBrowserUntil(
            [&] { return window()->getAIT() && window()->getAIT()->getVersion() >= version; });
        TAVO_KeyboardEvent key = {TAVO_KEY_DOWN, TAVO_VK_RED};
        vesta_hbbtv_key_input(browser().window(1), &key);
        TavoVestaEventData loaded = {};
        notify(TAVO_VESTA_EVT_LOADING_FINISHED, 1, loaded);
    }
    runBrowserUntil(lastOneRuns);
    EXPECT_NE(running(), nullptr);
}

}  // namespace
