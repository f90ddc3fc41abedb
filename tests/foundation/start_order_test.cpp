// In which order the library's parts come, as hooks see it.

#include <functional>
#include <utility>

#include "foundation/configuration_manager.h"
#include "foundation/logging.h"
#include "lifecycle/window_manager.h"
#include "oipf/notifications/notification_manager.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

class StartOrder : public ::testing::Test {
protected:
    StartOrder() { FakePlatform::instance().reset(); }

    ~StartOrder() override
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

TEST_F(StartOrder, AsksForTheKeySetsWhenEventsAndDownloadsArePossibleAndNothingElseIs)
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

TEST_F(StartOrder, MakesTheLogFirst)
{
    delete Logging::getInstance();
    ASSERT_EQ(Logging::instance, nullptr);
    bool isThere = false;
    whenAskedForKeySets([&isThere] { isThere = Logging::instance != nullptr; });
    init();
    EXPECT_TRUE(isThere);
}

TEST_F(StartOrder, TheLibraryMayBeShutDownWhenItAsksForTheKeySets)
{
    whenAskedForKeySets(vesta_hbbtv_shutdown);
    init();
    EXPECT_EQ(ConfigurationManager::instance, nullptr);
    EXPECT_EQ(WindowManager::instance, nullptr);
    EXPECT_EQ(NotificationManager::instance, nullptr);
    EXPECT_EQ(Journal::instance().take(), Lines({"hbbtv_ait_stop()", "dsmcc_stop()"}));
    EXPECT_FALSE(vesta_hbbtv_tick());

    vesta_hbbtv_shutdown();
    FakePlatform::instance().reset();
    FakePlatform::instance().supportedKeySets = 0x21;
    init();
    EXPECT_EQ(ConfigurationManager::instance->getSupportedKeySetValues(), 0x21);
    EXPECT_NE(ConfigurationManager::getCurrentQueue(), nullptr);
}

TEST_F(StartOrder, EndsWhereThePlatformShutsTheLibraryDown)
{
    for (const char* const hook : {"hbbtv_ait_start", "dsmcc_start"}) {
        FakePlatform::instance().whileIn[hook] = vesta_hbbtv_shutdown;
        init();
        const Lines lines = Journal::instance().take();
        EXPECT_EQ(lines[lines.size() - 3], std::string(hook) + "()");
        EXPECT_EQ(lines.back(), "dsmcc_stop()");
        EXPECT_EQ(ConfigurationManager::instance, nullptr);
        EXPECT_EQ(WindowManager::instance, nullptr);
        EXPECT_EQ(NotificationManager::instance, nullptr);
        FakePlatform::instance().whileIn.clear();
    }
}

TEST_F(StartOrder, GoesOnNoFurtherWhereThePlatformStartsTheLibraryAnew)
{
    const std::pair<const char*, size_t> hooks[] = {
        {"hbbtv_keyset_get_supported_values", 0}, {"hbbtv_ait_start", 1}, {"dsmcc_start", 2}};
    const Lines whole = {"hbbtv_ait_start()", "dsmcc_start()"};
    for (const auto& [hook, before] : hooks) {
        FakePlatform::instance().supportedKeySets = 0x21;
        FakePlatform::instance().whileIn[hook] = [] {
            FakePlatform::instance().whileIn.clear();
            FakePlatform::instance().supportedKeySets = 0x42;
            vesta_hbbtv_shutdown();
            init();
            FakePlatform::instance().supportedKeySets = 0x21;
        };
        init();
        Lines expected(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(before));
        expected.insert(expected.end(), {"hbbtv_ait_stop()", "dsmcc_stop()"});
        expected.insert(expected.end(), whole.begin(), whole.end());
        EXPECT_EQ(Journal::instance().take(), expected) << hook;
        EXPECT_EQ(ConfigurationManager::instance->getSupportedKeySetValues(), 0x42) << hook;
        vesta_hbbtv_shutdown();
        Journal::instance().clear();
    }
}

}  // namespace
