#include "platform/gtk/DefaultsDatabase.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace tq::test {
namespace {

class UserDefaultsTest : public testing::Test {
protected:
    void SetUp() override { std::filesystem::remove_all(folder); }
    long asideFiles() const
    {
        return std::ranges::count_if(std::filesystem::directory_iterator(folder),
            [](const auto& entry) { return entry.path().filename().string().find(".damaged-") != std::string::npos; });
    }
    static unsigned modeOf(const std::filesystem::path& path)
    {
        struct stat status { };
        stat(path.c_str(), &status);
        return status.st_mode & 0777U;
    }

    std::filesystem::path folder = std::filesystem::path(getenv("XDG_DATA_HOME")) / "defaults test";
    std::filesystem::path file = folder / "store.sqlite";
};

TEST_F(UserDefaultsTest, WhatIsWrittenIsThereForTheNextRunAndForOtherProcesses)
{
    DefaultsDatabase first(file);
    DefaultsDatabase other(file);
    EXPECT_EQ(first.read("key"), std::nullopt);
    EXPECT_TRUE(first.write("key", "one"));
    EXPECT_TRUE(first.write(std::string("k\0y", 3), ""));
    EXPECT_EQ(other.read("key"), "one");
    EXPECT_TRUE(other.write("key", "two"));
    EXPECT_EQ(first.read("key"), "two");
    EXPECT_EQ(first.read(std::string("k\0y", 3)), "");
    EXPECT_EQ(first.read("k"), std::nullopt);
    EXPECT_EQ(DefaultsDatabase(file).read("key"), "two");
    EXPECT_EQ(modeOf(file), 0600U);
    EXPECT_EQ(modeOf(file.string() + "-wal"), 0600U);
    EXPECT_EQ(modeOf(folder), 0700U);
}

TEST_F(UserDefaultsTest, ADamagedFileIsSetAsideAndANewOneBegun)
{
    std::filesystem::create_directories(folder);
    const std::string rubbish(5000, 'x');
    std::ofstream(file) << rubbish;
    DefaultsDatabase database(file);
    EXPECT_EQ(database.read("key"), std::nullopt);
    EXPECT_TRUE(database.write("key", "one"));
    EXPECT_EQ(database.read("key"), "one");
    EXPECT_EQ(asideFiles(), 1);
}

TEST_F(UserDefaultsTest, DamageUnderAnOpenStoreLeavesAStoreThatWorks)
{
    const std::string rubbish(5000, 'x');
    {
        DefaultsDatabase database(file);
        DefaultsDatabase late(file);
        EXPECT_TRUE(database.write("key", "one"));
        std::ofstream(file) << rubbish;
        EXPECT_TRUE(late.write("key", "two"));
        EXPECT_EQ(late.read("key"), "two");
        EXPECT_EQ(database.read("key"), "two");
        std::ofstream(file.string() + "-wal") << rubbish;
        EXPECT_TRUE(late.write("key", "three"));
        EXPECT_EQ(late.read("key"), "three");
    }
    DefaultsDatabase next(file);
    EXPECT_TRUE(next.write("key", "four"));
    EXPECT_EQ(DefaultsDatabase(file).read("key"), "four");
}

TEST_F(UserDefaultsTest, AStoreThatCannotBeOpenedRefusesAndRecovers)
{
    // A folder stands where the file should be.
    std::filesystem::create_directories(file);
    DefaultsDatabase database(file);
    EXPECT_EQ(database.read("key"), std::nullopt);
    EXPECT_FALSE(database.write("key", "one"));
    std::filesystem::remove(file);
    EXPECT_TRUE(database.write("key", "one"));
    EXPECT_EQ(database.read("key"), "one");
}

} // namespace
} // namespace tq::test
