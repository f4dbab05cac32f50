// What becomes of the stored settings when processes are killed, disks are full and files are damaged.

#include "platform/Foundation/NSUserDefaults.h"
#include "platform/posix/DefaultsDatabase.h"
#include "tests/support/Log.h"
#include "tests/support/Program.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace tq::test {
namespace {

namespace fs = std::filesystem;

// Tells the test a line, whole, from another process.
void tell(const std::string& line)
{
    const auto bytes = line + "\n";
    if (write(STDOUT_FILENO, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
        _exit(3);
}

// A value that shows whether it is whole: a number, and as many bytes that follow from it as the number says.
std::string valueOf(unsigned number)
{
    // From a few bytes to several pages, and now and then a large one.
    const std::size_t size = number % 10 == 0 ? 300000 : std::array<std::size_t, 4>{ 10, 700, 5000, 20000 }[number % 4];
    std::string value = std::to_string(number) + ":";
    for (std::uint64_t place = 1; value.size() < size; ++place) {
        const auto bytes = (place << 32U | number) * 0x9E3779B97F4A7C15U;
        value.append(reinterpret_cast<const char*>(&bytes), sizeof bytes);
    }
    return value;
}

// The number of a whole value; absent for a torn one.
std::optional<unsigned> numberOf(const OptionalText& value)
{
    if (!value)
        return std::nullopt;
    const auto number = static_cast<unsigned>(std::strtoul(value->c_str(), nullptr, 10));
    return valueOf(number) == *value ? std::optional(number) : std::nullopt;
}

boost::json::object objectOf(const std::string& text) { return { { "value", text } }; }

std::string textOf(const std::optional<boost::json::object>& object)
{
    return object ? std::string(object->at("value").as_string()) : "nothing";
}

// As many bytes as a file may have from now on, in this process.
void limitFiles(rlim_t bytes)
{
    const rlimit limit{ bytes, RLIM_INFINITY };
    setrlimit(RLIMIT_FSIZE, &limit);
}

class StoreFaultTest : public testing::Test {
protected:
    void SetUp() override
    {
        clearLog();
        fs::remove_all(m_data);
        fs::create_directories(folder);
    }
    // NSUserDefaults is one a process: only children use it.
    void run(const std::function<void()>& body, const std::string& expected)
    {
        EXPECT_EQ(Program([&] {
            clearLog();
            body();
        }).readRest(),
            expected);
    }
    OptionalText stored(std::string_view key = "key") { return DefaultsDatabase(file).read(key); }
    long asideFiles() const
    {
        return std::ranges::count_if(fs::directory_iterator(folder), [](const auto& entry) {
            const auto name = entry.path().filename().string();
            return name.find(".damaged-") != std::string::npos && !name.ends_with("-wal") && !name.ends_with("-shm");
        });
    }

    const fs::path m_data = getenv("XDG_DATA_HOME");
    const fs::path folder = m_data / fs::read_symlink("/proc/self/exe").filename();
    const fs::path file = folder / "user-defaults.sqlite";
};

TEST_F(StoreFaultTest, AKilledProcessLeavesTheOldValueOrTheNew)
{
    constexpr int kKills = 240;
    std::mt19937 random(7);
    unsigned saved = 0;
    for (int round = 0; round < kKills; ++round) {
        SCOPED_TRACE(round);
        const auto first = saved + 1;
        Program child([&] {
            tell("begin");
            DefaultsDatabase database(file);
            for (auto number = first;; ++number) {
                if (!database.write("key", valueOf(number))) {
                    tell("failed");
                    _exit(1);
                }
                tell(std::to_string(number));
            }
        });
        auto last = child.readLine();
        // While the file is opened, or some saves later.
        for (auto saves = round % 2 ? 1 + random() % 4 : 0; saves; --saves)
            last = child.readLine();
        // Not a wait for anything: the point at which it dies is what varies.
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 5000));
        child.end(SIGKILL);
        while (auto line = child.readLine())
            last = line;
        ASSERT_TRUE(last && last != "failed") << "it has ended by itself";
        if (last != "begin")
            saved = static_cast<unsigned>(std::stoul(*last));
        const auto value = stored();
        if (!saved && !value)
            continue;
        const auto found = numberOf(value);
        ASSERT_TRUE(found) << "a torn value of " << (value ? value->size() : 0) << " bytes";
        ASSERT_GE(*found, saved) << "a finished save is lost";
        ASSERT_LE(*found, saved + 1);
        saved = *found;
    }
    EXPECT_EQ(asideFiles(), 0);
    EXPECT_TRUE(logLines().empty());
}

TEST_F(StoreFaultTest, ProcessesThatSaveAtOnceLoseNothing)
{
    constexpr unsigned kSaves = 60;
    auto save = [&](const std::string& name) {
        return [this, name] {
            for (unsigned number = 0; number < kSaves; ++number) {
                // Anew each time: opening and closing is what processes do to each other, too.
                DefaultsDatabase database(file);
                if (!database.write(name + std::to_string(number), valueOf(number))
                    || !database.write("common", valueOf(number)) || !numberOf(database.read("common")))
                    tell("failed at " + std::to_string(number));
            }
            for (const auto& line : logLines())
                tell(line);
        };
    };
    // They make the file at once as well.
    Program one(save("one "));
    Program other(save("other "));
    EXPECT_EQ(one.readRest(), "");
    EXPECT_EQ(other.readRest(), "");
    for (const auto* name : { "one ", "other " }) {
        for (unsigned number = 0; number < kSaves; ++number)
            ASSERT_EQ(numberOf(stored(name + std::to_string(number))), number) << name;
    }
    EXPECT_EQ(numberOf(stored("common")), kSaves - 1);
}

TEST_F(StoreFaultTest, AFullDiskKeepsTheOldValueOnItAndTheNewOneInTheProcess)
{
    const std::string large(200000, 'n');
    const auto tried = [&](rlim_t room, bool isFirst, bool isMadeRoom) {
        return [=, this] {
            std::signal(SIGXFSZ, SIG_IGN);
            auto& defaults = NSUserDefaults::standardUserDefaults();
            // The first time, not even the opening of the file finds room.
            if (!isFirst)
                std::ignore = defaults.dictionaryForKey("key");
            limitFiles(room);
            defaults.setObject(objectOf(large), "key");
            tell(hasLineBeginning("user defaults: " + file.string() + " cannot be ") ? "logged" : "silent");
            tell(defaults.synchronize() ? "saved" : "not saved");
            tell(textOf(defaults.dictionaryForKey("key")) == large ? "new in the process" : "lost");
            limitFiles(RLIM_INFINITY);
            if (isMadeRoom)
                tell(defaults.synchronize() ? "saved" : "never saved");
        };
    };
    // There is room for nothing at all, or for the files and not for what is to be saved; from the first save on, or
    // later.
    const std::string refused = "logged\nnot saved\nnew in the process\n";
    for (const auto& [room, isFirst] : { std::pair<rlim_t, bool>{ 0, true }, { 0, false }, { 60000, false } }) {
        SCOPED_TRACE(std::to_string(room) + (isFirst ? " for the first save" : ""));
        SetUp();
        const auto old = isFirst ? std::nullopt : OptionalText(R"({"value":"old"})");
        EXPECT_TRUE(!old || DefaultsDatabase(file).write("key", *old));
        run(tried(room, isFirst, false), refused);
        EXPECT_EQ(stored(), old);
        run(tried(room, isFirst, true), refused + "saved\n");
        EXPECT_EQ(stored(), R"({"value":")" + large + "\"}");
        EXPECT_EQ(asideFiles(), 0);
    }
}

TEST_F(StoreFaultTest, AStoreThatMayOnlyBeReadIsReadAndRefusesSaves)
{
    struct Row {
        const char* name;
        unsigned folderMode;
        unsigned fileMode;
        bool hasLog = false;
    };
    // Somebody else's process reaches the folder.
    fs::permissions(getenv("TQWB_TEST_FOLDER"), fs::perms::others_exec, fs::perm_options::add);
    for (const auto& row : { Row{ "file", 0777, 0444 }, Row{ "folder and file", 0555, 0444 },
             Row{ "folder", 0555, 0666 }, Row{ "folder and file, with a log", 0555, 0444, true } }) {
        SCOPED_TRACE(row.name);
        SetUp();
        fs::permissions(m_data, fs::perms(0755));
        Program([&] {
            DefaultsDatabase database(file);
            database.write("key", R"({"value":"old"})");
            if (row.hasLog)
                _exit(0);
        }).readRest();
        ASSERT_EQ(fs::exists(file.string() + "-wal"), row.hasLog);
        for (const auto& entry : fs::directory_iterator(folder))
            fs::permissions(entry.path(), fs::perms(row.fileMode));
        fs::permissions(folder, fs::perms(row.folderMode));
        run(
            [&] {
                if (!geteuid() && (setgid(65534) || setuid(65534)))
                    _exit(1);
                auto& defaults = NSUserDefaults::standardUserDefaults();
                tell(textOf(defaults.dictionaryForKey("key")));
                clearLog();
                defaults.setObject(objectOf("new"), "key");
                tell(hasLineBeginning("user defaults: " + file.string() + " cannot be ") ? "logged" : "silent");
                tell(textOf(defaults.dictionaryForKey("key")));
                tell(defaults.synchronize() ? "saved" : "not saved");
                defaults.removeObjectForKey("key");
                tell(textOf(defaults.dictionaryForKey("key")));
                tell(defaults.synchronize() ? "saved" : "not saved");
            },
            "old\nlogged\nnew\nnot saved\nnothing\nnot saved\n");
        fs::permissions(folder, fs::perms(0700));
        for (const auto& entry : fs::directory_iterator(folder))
            fs::permissions(entry.path(), fs::perms(0600));
        EXPECT_EQ(stored(), R"({"value":"old"})");
        EXPECT_EQ(asideFiles(), 0);
    }
}

// Ways to spoil a file.
void overwrite(const fs::path& path, std::uintmax_t from, std::uintmax_t count)
{
    std::minstd_rand bytes(3);
    std::fstream stream(path, std::ios::in | std::ios::out | std::ios::binary);
    stream.seekp(static_cast<std::streamoff>(from));
    for (; count; --count)
        stream.put(static_cast<char>(bytes() >> 8U));
}

void truncate(const fs::path& path, unsigned percent) { fs::resize_file(path, fs::file_size(path) * percent / 100); }

TEST_F(StoreFaultTest, ADamagedStoreNeverGivesAWrongValueAndWorksAgain)
{
    constexpr int kKeys = 16;
    constexpr std::uintmax_t kPage = 4096;
    const auto keyOf = [](int number) { return "key " + std::to_string(number); };
    const auto textFor = [](const char* name, int number) {
        return name + std::to_string(number) + std::string(number % 7 == 0 ? 9000 : 600, '.');
    };
    // Half of the entries are in the file and half in its log only, which a killed process has left.
    const auto make = [&] {
        SetUp();
        for (const int half : { 0, 1 }) {
            Program([&] {
                DefaultsDatabase database(file);
                for (int number = half; number < kKeys; number += 2)
                    database.write(keyOf(number), textFor("old ", number));
                if (half)
                    _exit(0);
            }).readRest();
        }
    };
    const fs::path log = file.string() + "-wal";
    make();
    ASSERT_GT(fs::file_size(log), 8 * kPage);
    ASSERT_GT(fs::file_size(file), 5 * kPage);

    struct Row {
        std::string name;
        std::function<void()> damage;
        // How many of the old entries must have survived.
        int kept = 0;
    };
    std::vector<Row> rows{
        { "no file", [&] { fs::remove(file); } },
        { "empty file", [&] { truncate(file, 0); } },
        { "header", [&] { overwrite(file, 0, 100); } },
        { "half a file", [&] { truncate(file, 50); } },
        { "no log", [&] { fs::remove(log); }, kKeys / 2 },
        { "the middle of the log", [&] { overwrite(log, fs::file_size(log) / 2, kPage); }, kKeys / 2 },
    };
    // Every page on its own, with no log that holds a good copy of it.
    for (std::uintmax_t page = 0; page < fs::file_size(file) / kPage; ++page)
        rows.push_back({ "page " + std::to_string(page), [&, page] {
                            stored();
                            ASSERT_FALSE(fs::exists(log));
                            overwrite(file, page * kPage, kPage);
                        } });
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        make();
        row.damage();
        DefaultsDatabase database(file);
        int kept = 0;
        for (int number = 0; number < kKeys; ++number) {
            const auto text = database.read(keyOf(number));
            EXPECT_TRUE(!text || text == textFor("old ", number)) << "a wrong value of " << keyOf(number);
            kept += text ? 1 : 0;
        }
        EXPECT_GE(kept, row.kept);
        for (int number = 0; number < kKeys; ++number)
            EXPECT_TRUE(database.write(keyOf(number), textFor("new ", number)));
        for (int number = 0; number < kKeys; ++number) {
            EXPECT_EQ(database.read(keyOf(number)), textFor("new ", number));
            EXPECT_EQ(stored(keyOf(number)), textFor("new ", number));
        }
    }
}

TEST_F(StoreFaultTest, TheStoreIsAmongTheUsersOwnData)
{
    const auto home = m_data / "home";
    const auto save = [&](const char* data) {
        return [&home, data] {
            setenv("HOME", home.c_str(), 1);
            data ? setenv("XDG_DATA_HOME", data, 1) : unsetenv("XDG_DATA_HOME");
            NSUserDefaults::standardUserDefaults().setObject(objectOf(data ? "empty" : "unset"), "key");
        };
    };
    const auto there = home / ".local" / "share" / folder.filename() / file.filename();
    for (const char* data : { static_cast<const char*>(nullptr), "" }) {
        run(save(data), "");
        EXPECT_EQ(DefaultsDatabase(there).read("key"), data ? R"({"value":"empty"})" : R"({"value":"unset"})");
    }
    EXPECT_EQ(fs::status(home / ".local").permissions(), fs::perms::owner_all);
}

TEST_F(StoreFaultTest, AProcessNoticesThatTheFileHasBeenReplaced)
{
    DefaultsDatabase database(file);
    EXPECT_TRUE(database.write("key", "old"));
    // As a process does that finds it damaged.
    for (const std::string suffix : { "", "-wal", "-shm" })
        fs::rename(file.string() + suffix, file.string() + ".damaged-1" + suffix);
    Program([&] {
        DefaultsDatabase other(file);
        other.write("other", "one");
        _exit(0);
    }).readRest();
    EXPECT_TRUE(database.write("key", "new"));
    EXPECT_EQ(stored(), "new") << "what was saved is not where the next run looks for it";
    EXPECT_EQ(database.read("other"), "one");
    EXPECT_EQ(stored("other"), "one");
}

} // namespace
} // namespace tq::test
