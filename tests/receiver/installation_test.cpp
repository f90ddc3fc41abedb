#include <filesystem>
#include <gtest/gtest.h>
#include <string>

#include "receiver/installation.h"

namespace receiver {
namespace {

namespace fs = std::filesystem;

TEST(Installation, TheProgramsFolderIsThatOfTheRunningProgram)
{
    const fs::path folder = programFolder();
    EXPECT_EQ(programFolder().back(), '/');
    EXPECT_TRUE(fs::equivalent(folder, fs::read_symlink("/proc/self/exe").parent_path()));
}

TEST(Installation, LibrariesLieBelowThePrefixOfTheProgram)
{
    EXPECT_EQ(libraryFolder().rfind(programFolder() + "..", 0), 0u);
    EXPECT_EQ(libraryFolder().back(), '/');
}

TEST(Installation, WhatLiesBesideTheProgramIsTakenFirst)
{
    const std::string name = "installation-test-folder";
    const fs::path beside = programFolder() + name;
    fs::remove(beside);
    EXPECT_EQ(privateFolder(name), libraryFolder() + "vesta_hbbtv_appman/" + name);
    fs::create_directory(beside);
    EXPECT_EQ(privateFolder(name), beside);
    fs::remove(beside);
}

}  // namespace
}  // namespace receiver
