// The process-wide configuration: its defaults, what init makes and what its end frees.

#include "vesta_hbbtv_appman.h"

#include "foundation/configuration_manager.h"
#include "foundation/threadsafe_event_queue.h"
#include "integration/oc_download_manager.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

class ConfigurationManagerTest : public ::testing::Test {
protected:
    ConfigurationManagerTest() { FakePlatform::instance().reset(); }
    ~ConfigurationManagerTest() override { delete ConfigurationManager::getInstance(); }

    static ConfigurationManager* manager() { return ConfigurationManager::getInstance(); }
};

TEST_F(ConfigurationManagerTest, IsOneInstanceWithDefaults)
{
    EXPECT_EQ(ConfigurationManager::instance, nullptr);
    EXPECT_EQ(ConfigurationManager::getCurrentQueue(), nullptr);
    EXPECT_EQ(ConfigurationManager::instance, nullptr) << "asking for the queue creates nothing";
    ConfigurationManager* const created = manager();
    EXPECT_EQ(manager(), created);
    EXPECT_EQ(ConfigurationManager::instance, created);

    EXPECT_EQ(created->getBrowser(), nullptr);
    EXPECT_EQ(created->getEventQueue(), nullptr);
    EXPECT_EQ(created->getOCDownloadManager(), nullptr);
    EXPECT_EQ(created->getHbbTVVersionMajor(), 1);
    EXPECT_EQ(created->getHbbTVVersionMinor(), 2);
    EXPECT_EQ(created->getHbbTVVersionMicro(), 1);
    EXPECT_EQ(created->getSupportedProfiles(), 0);
    EXPECT_EQ(created->getSupportedKeySetValues(), 0);
}

TEST_F(ConfigurationManagerTest, InitStoresTheBrowserMakesTheQueuesAndAsksForTheKeySets)
{
    FakePlatform::instance().supportedKeySets = 0x155;
    TAVO_Vesta* const browser = FakeBrowser::instance().handle();
    manager()->init(browser);
    EXPECT_EQ(manager()->getBrowser(), browser);
    EXPECT_NE(manager()->getOCDownloadManager(), nullptr);
    ASSERT_NE(manager()->getEventQueue(), nullptr);
    EXPECT_EQ(manager()->getEventQueue(), ConfigurationManager::getCurrentQueue());
    EXPECT_FALSE(manager()->getEventQueue()->executeFirst());
    EXPECT_EQ(manager()->getSupportedKeySetValues(), 0x155);
    EXPECT_EQ(manager()->getHbbTVVersionMinor(), 2);
}

TEST_F(ConfigurationManagerTest, ANullBrowserIsStoredAsGiven)
{
    manager()->init(FakeBrowser::instance().handle());
    manager()->init(nullptr);
    EXPECT_EQ(manager()->getBrowser(), nullptr);
}

TEST_F(ConfigurationManagerTest, KeepsTheTerminalsCapabilities)
{
    manager()->setHbbTVVersion(3, 4, 5);
    EXPECT_EQ(manager()->getHbbTVVersionMajor(), 3);
    EXPECT_EQ(manager()->getHbbTVVersionMinor(), 4);
    EXPECT_EQ(manager()->getHbbTVVersionMicro(), 5);
    manager()->setHbbTVVersion(1, 1, 1);
    manager()->setSupportedProfiles(0xFFFF);
    EXPECT_EQ(manager()->getHbbTVVersionMinor(), 1);
    EXPECT_EQ(manager()->getSupportedProfiles(), 0xFFFF);
    FakePlatform::instance().supportedKeySets = -1;
    manager()->init(nullptr);
    EXPECT_EQ(manager()->getSupportedKeySetValues(), -1);
    EXPECT_EQ(manager()->getHbbTVVersionMinor(), 1) << "init touches nothing else";
    EXPECT_EQ(manager()->getSupportedProfiles(), 0xFFFF);
}

/// Tells what it finds when it is deleted.
class Witness : public ThreadsafeEventQueue::Event {
public:
    explicit Witness(std::function<void()> atEnd) : atEnd_(std::move(atEnd)) {}
    ~Witness() override { atEnd_(); }
    void execute() override {}

private:
    std::function<void()> atEnd_;
};

TEST_F(ConfigurationManagerTest, TheEndDeletesTheDownloadsBeforeTheQueuedEvents)
{
    manager()->init(nullptr);
    bool isDeleted = false;
    manager()->getEventQueue()->add(new Witness([&isDeleted] {
        isDeleted = true;
        EXPECT_EQ(manager()->getOCDownloadManager(), nullptr);
        EXPECT_EQ(ConfigurationManager::getCurrentQueue(), nullptr);
    }));
    delete manager();
    EXPECT_TRUE(isDeleted);
    EXPECT_EQ(ConfigurationManager::instance, nullptr);
    EXPECT_EQ(manager()->getEventQueue(), nullptr) << "a later one is not initialised";
}

TEST_F(ConfigurationManagerTest, ASecondInitDeletesTheFormerQueueWhenTheNewOneIsThere)
{
    manager()->init(nullptr);
    ThreadsafeEventQueue* const former = manager()->getEventQueue();
    bool isDeleted = false;
    former->add(new Witness([&isDeleted, former] {
        isDeleted = true;
        EXPECT_NE(ConfigurationManager::getCurrentQueue(), nullptr);
        EXPECT_NE(ConfigurationManager::getCurrentQueue(), former);
    }));
    manager()->init(nullptr);
    EXPECT_TRUE(isDeleted);
    EXPECT_FALSE(manager()->getEventQueue()->executeFirst());
}

TEST_F(ConfigurationManagerTest, TheEndOfAFormerOneLeavesItsSuccessorAlone)
{
    const ConfigurationManager* const former = manager();
    ConfigurationManager::instance = nullptr;
    const ConfigurationManager* const successor = manager();
    delete former;
    EXPECT_EQ(ConfigurationManager::instance, successor);
}

TEST(ConfigurationSession, IsOverWithTheInstanceAlsoWhenAnotherOneBegan)
{
    delete ConfigurationManager::instance;
    const Session none;
    EXPECT_FALSE(none.isOver());
    ConfigurationManager::getInstance();
    EXPECT_TRUE(none.isOver());
    const Session first;
    EXPECT_FALSE(first.isOver());
    delete ConfigurationManager::instance;
    EXPECT_TRUE(first.isOver());
    ConfigurationManager::getInstance();
    EXPECT_TRUE(first.isOver());
    delete ConfigurationManager::instance;
}

}  // namespace
