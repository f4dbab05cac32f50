#include "platform/posix/DefaultsDatabase.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <sqlite3.h>
#include <vector>

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
    static std::filesystem::perms modeOf(const std::filesystem::path& path)
    {
        return std::filesystem::status(path).permissions();
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
    EXPECT_TRUE(first.write("gone", "one"));
    EXPECT_TRUE(other.remove("gone") && other.remove("gone"));
    EXPECT_EQ(first.read("gone"), std::nullopt);
    EXPECT_EQ(DefaultsDatabase(file).read("key"), "two");
    EXPECT_EQ(modeOf(file), std::filesystem::perms(0600));
    EXPECT_EQ(modeOf(file.string() + "-wal"), std::filesystem::perms(0600));
    EXPECT_EQ(modeOf(folder), std::filesystem::perms(0700));
}

TEST_F(UserDefaultsTest, ADamagedFileIsSetAsideAndANewOneBegun)
{
    constexpr std::streamoff kFormat = 44;
    constexpr std::streamoff kStartOfTablesContents = 4096 + 5;
    struct Damage {
        std::streamoff place;
        std::string bytes;
    };
    // A page whose head calls a part of its contents free: a write would go there, and never be read.
    for (const auto& [place, bytes] : { Damage{ 0, std::string(5000, 'x') },
             Damage{ kFormat, std::string("\0\0\0\x05", 4) }, Damage{ kStartOfTablesContents, "\x0F\xFD" } }) {
        SCOPED_TRACE(place);
        std::filesystem::remove_all(folder);
        EXPECT_TRUE(DefaultsDatabase(file).write("key", "one"));
        EXPECT_EQ(DefaultsDatabase(file).read("key"), "one");
        std::fstream(file, std::ios::in | std::ios::out | std::ios::binary).seekp(place) << bytes;
        DefaultsDatabase database(file);
        database.read("key");
        EXPECT_TRUE(database.write("other", "new"));
        EXPECT_EQ(database.read("other"), "new");
        EXPECT_EQ(database.read("key"), std::nullopt);
        EXPECT_EQ(asideFiles(), 1);
    }
}

// A write that seems to succeed must not be undone by what somebody has put into the file.
TEST_F(UserDefaultsTest, AFileWithOtherContentsIsSetAside)
{
    const std::string table = "CREATE TABLE defaults (key BLOB PRIMARY KEY, value BLOB NOT NULL) WITHOUT ROWID;";
    for (const auto& sql : { std::string("CREATE TABLE defaults (key, value);"),
             table + "CREATE TRIGGER t AFTER INSERT ON defaults BEGIN UPDATE defaults SET value = 'changed'; END;" }) {
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder);
        sqlite3* made = nullptr;
        ASSERT_EQ(sqlite3_open(file.c_str(), &made), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(made, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sql;
        sqlite3_close(made);

        DefaultsDatabase database(file);
        EXPECT_EQ(database.read("key"), std::nullopt) << sql;
        EXPECT_TRUE(database.write("key", "one")) << sql;
        EXPECT_TRUE(database.write("other", "two")) << sql;
        EXPECT_EQ(database.read("key"), "one") << sql;
        EXPECT_EQ(asideFiles(), 1) << sql;
        EXPECT_EQ(DefaultsDatabase(file).read("other"), "two") << sql;
        EXPECT_EQ(asideFiles(), 1) << sql;
    }
}

// While it exists, SQLite's files are reached through it, and their operations fail when their time has come.
class FailingDisk {
public:
    FailingDisk()
    {
        s_real = sqlite3_vfs_find(nullptr);
        s_failing = *s_real;
        s_failing.zName = "failing";
        s_failing.xOpen = openFile;
        sqlite3_vfs_register(&s_failing, 1);
    }
    ~FailingDisk() { sqlite3_vfs_unregister(&s_failing); }
    FailingDisk(const FailingDisk&) = delete;
    FailingDisk& operator=(const FailingDisk&) = delete;

    // After so many good operations, and until it is mended.
    void breakAfter(int operations, int code)
    {
        s_operationsLeft = operations;
        s_code = code;
        s_hasFailed = false;
    }
    void mend() { s_operationsLeft = -1; }
    // Since it was broken.
    bool hasFailed() const { return s_hasFailed; }

private:
    using Methods = sqlite3_io_methods;
    struct FailingMethods : Methods {
        const Methods* real;
    };

    static int failure()
    {
        if (s_operationsLeft < 0 || s_operationsLeft-- > 0)
            return SQLITE_OK;
        s_hasFailed = true;
        // What is busy is tried again for long: it is so only once.
        s_operationsLeft = (s_code & 0xFF) == SQLITE_BUSY ? -1 : 0;
        return s_code;
    }
    // The real method, or the failure in its place.
    template <auto Method, class... Arguments> static int failingly(sqlite3_file* file, Arguments... arguments)
    {
        const int code = failure();
        const auto& real = *static_cast<const FailingMethods*>(file->pMethods)->real;
        return code ? code : (real.*Method)(file, arguments...);
    }
    // Nobody waits for a real disk.
    static int sync(sqlite3_file*, int) { return failure(); }
    static int openFile(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags)
    {
        file->pMethods = nullptr;
        if (const int code = failure())
            return code;
        const int code = s_real->xOpen(s_real, name, file, flags, outFlags);
        if (!file->pMethods)
            return code;
        FailingMethods methods{ *file->pMethods, file->pMethods };
        methods.iVersion = 2; // no mapped pages
        methods.xRead = failingly<&Methods::xRead, void*, int, sqlite3_int64>;
        methods.xWrite = failingly<&Methods::xWrite, const void*, int, sqlite3_int64>;
        methods.xSync = sync;
        methods.xLock = failingly<&Methods::xLock, int>;
        file->pMethods = &s_methods.try_emplace(file->pMethods, methods).first->second;
        return code;
    }

    static inline int s_operationsLeft = -1;
    static inline int s_code = SQLITE_OK;
    static inline bool s_hasFailed = false;
    static inline sqlite3_vfs* s_real = nullptr;
    static inline sqlite3_vfs s_failing;
    // By the real ones: not every file has the same.
    static inline std::map<const Methods*, FailingMethods> s_methods;
};

// Every code that there is for a failure, but the two that speak of damage; with and without what extends it.
std::vector<int> harmlessCodes()
{
    std::vector<int> codes;
    for (int code = SQLITE_ERROR; code <= SQLITE_WARNING; ++code) {
        if (code == SQLITE_CORRUPT || code == SQLITE_NOTADB)
            continue;
        codes.push_back(code);
        codes.push_back(code | 3 << 8);
    }
    // The file system's own damage, and a page whose sum is wrong for a layer below.
    codes.insert(codes.end(), { SQLITE_IOERR_CORRUPTFS, SQLITE_IOERR_DATA, SQLITE_IOERR_NOMEM, SQLITE_IOERR_AUTH });
    return codes;
}

TEST_F(UserDefaultsTest, OnlyDamageSetsAFileAside)
{
    FailingDisk disk;
    EXPECT_TRUE(DefaultsDatabase(file).write("key", std::string(9000, 'k')));
    for (const int code : harmlessCodes()) {
        SCOPED_TRACE(sqlite3_errstr(code) + (" " + std::to_string(code)));
        // At every point of an opening, a reading and a writing; for ever, or the file works again right away.
        bool hasFailed = true;
        for (int operations = 0; hasFailed; ++operations) {
            {
                DefaultsDatabase database(file);
                disk.breakAfter(operations, code);
                database.read("key");
                database.write("other", "value");
                hasFailed = disk.hasFailed();
                disk.mend();
                ASSERT_EQ(database.read("key"), std::string(9000, 'k')) << operations;
                ASSERT_TRUE(database.write("other", "value")) << operations;
            }
            ASSERT_EQ(asideFiles(), 0) << operations;
            ASSERT_LT(operations, 1000);
        }
    }
    // What speaks of damage does.
    DefaultsDatabase database(file);
    disk.breakAfter(0, SQLITE_NOTADB);
    database.read("key");
    disk.mend();
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

} // namespace
} // namespace tq::test
