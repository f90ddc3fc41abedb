#include <gtest/gtest.h>

#include "recorder/names.h"

using recorder::Handle;
using recorder::Names;

TEST(Names, AreGivenAtFirstSightAndByKind)
{
    Names names;
    EXPECT_EQ(names.nameOf(Handle::window, 100, false), "window:1");
    EXPECT_EQ(names.nameOf(Handle::window, 200, false), "window:2");
    EXPECT_EQ(names.nameOf(Handle::page, 200, false), "page:1");
    EXPECT_EQ(names.nameOf(Handle::window, 100, false), "window:1");
}

TEST(Names, OfWhatIsNewAreNewEvenIfTheValueHadOne)
{
    Names names;
    EXPECT_EQ(names.nameOf(Handle::file, 100, true), "file:1");
    EXPECT_EQ(names.nameOf(Handle::file, 100, true), "file:2");
    EXPECT_EQ(names.nameOf(Handle::file, 100, false), "file:2");
}

TEST(Names, OfTheOldestAreForgottenWhereThereAreTooMany)
{
    Names names;
    for (uintptr_t value = 1; value <= Names::known; ++value)
        names.nameOf(Handle::load, value, false);
    EXPECT_EQ(names.nameOf(Handle::load, 1, false), "load:1");
    EXPECT_EQ(names.nameOf(Handle::load, Names::known + 1, false), "load:65537");
    EXPECT_EQ(names.nameOf(Handle::load, 2, false), "load:2");
    EXPECT_EQ(names.nameOf(Handle::load, 1, false), "load:65538");
    EXPECT_EQ(names.nameOf(Handle::load, 2, false), "load:65539");
}

TEST(Names, ThatTookAnothersPlaceOutliveIt)
{
    Names names;
    names.nameOf(Handle::file, 1, true);
    names.nameOf(Handle::file, 1, true);
    for (uintptr_t value = 2; value < Names::known; ++value)
        names.nameOf(Handle::file, value, true);
    EXPECT_EQ(names.nameOf(Handle::file, Names::known, true), "file:65537");  // file:1 is forgotten
    EXPECT_EQ(names.nameOf(Handle::file, 1, false), "file:2");
}
