// Which keys the groups admit.

#include <set>

#include "foundation/configuration_manager.h"
#include "integration/key_set.h"
#include "tests/support/library_test.h"

using namespace VestaHbbTV;
using namespace vesta::test;

namespace {

std::set<int> range(int first, int last)
{
    std::set<int> keys;
    for (int key = first; key <= last; ++key)
        keys.insert(key);
    return keys;
}

const std::pair<int, std::set<int>> groups[] = {
    {0x1, {403}},
    {0x2, {404}},
    {0x4, {405}},
    {0x8, {406}},
    {0x10, {13, 37, 38, 39, 40, 461}},
    {0x20, {19, 412, 413, 415, 417, 463}},
    {0x40, {33, 34}},
    {0x80, {457}},
    {0x100, range(48, 57)},
    {0x200, range(65, 90)},
};

std::set<int> admitted(int value)
{
    const KeySet keySet(value);
    std::set<int> keys;
    for (int key = -300; key < 70000; ++key) {
        if (keySet.matchesKey(static_cast<TAVO_VIRTUAL_KEY>(key)))
            keys.insert(key);
    }
    return keys;
}

class KeySetTest : public LibraryTest {
protected:
    static void restartSupporting(int mask)
    {
        platform().supportedKeySets = mask;
        vesta_hbbtv_init(browser().handle());
    }
};

TEST_F(KeySetTest, EveryGroupAdmitsItsKeysAndNoOthers)
{
    for (const auto& [group, keys] : groups)
        EXPECT_EQ(admitted(group), keys) << group;
}

TEST_F(KeySetTest, UnionAdmitsTheKeysOfItsGroups)
{
    std::set<int> all;
    for (const auto& [group, keys] : groups)
        all.insert(keys.begin(), keys.end());
    EXPECT_EQ(admitted(0x3FF), all);
    EXPECT_EQ(admitted(-1), all);
    EXPECT_EQ(admitted(0x41), (std::set<int>{33, 34, 403}));
    EXPECT_EQ(admitted(0), std::set<int>());
    EXPECT_EQ(admitted(0x400), std::set<int>());
    EXPECT_EQ(admitted(~0x3FF), std::set<int>());
}

TEST_F(KeySetTest, ConstructorStoresTheValueUnmasked)
{
    restartSupporting(0x1F);
    EXPECT_EQ(KeySet(0x3FF).getValue(), 0x3FF);
    EXPECT_EQ(KeySet(-1).getValue(), -1);
    EXPECT_EQ(KeySet(0).getValue(), 0);
}

TEST_F(KeySetTest, SetValueStoresWhatTheTerminalSupports)
{
    restartSupporting(0x1F);
    KeySet keySet(0);
    EXPECT_EQ(keySet.setValue(0x3FF), 0x1F);
    EXPECT_EQ(keySet.getValue(), 0x1F);
    EXPECT_EQ(keySet.setValue(0x108), 0x8);
    EXPECT_EQ(keySet.setValue(-1), 0x1F);
    EXPECT_EQ(keySet.setValue(0x3E0), 0);
    EXPECT_EQ(keySet.getValue(), 0);
}

TEST_F(KeySetTest, SupportedMaskIsAskedOnceAtTheStartAndTakenAsItIs)
{
    restartSupporting(-1);
    platform().supportedKeySets = 0;
    EXPECT_EQ(ConfigurationManager::getInstance()->getSupportedKeySetValues(), -1);
    KeySet keySet(0);
    EXPECT_EQ(keySet.setValue(0x7FFFFFFF), 0x7FFFFFFF);
}

TEST_F(KeySetTest, NothingIsSupportedOutsideTheLifeOfTheLibrary)
{
    shutdown();
    KeySet keySet(0x3FF);
    EXPECT_EQ(keySet.setValue(0x3FF), 0);
}

}  // namespace
