#include "platform/Foundation/NSLog.h"
#include "tests/support/Log.h"

#include <atomic>
#include <clocale>
#include <cstdlib>
#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>

namespace tq::test {
namespace {

TEST(LogTest, KeepsItsLettersWithoutALocaleAndStaysOneLine)
{
    const auto writeAndExit = [] {
        uselocale(newlocale(LC_ALL_MASK, "C", nullptr));
        NSLog("[TQ:Log] joinWhiteBoard error：满\n[TQ:Log] joinWhiteBoard success");
        NSLog(TQWBLogLevel::Error, "Error! \n Method ", "a\nb", " is not invoked");
        std::_Exit(0);
    };
    EXPECT_EXIT(writeAndExit(), testing::ExitedWithCode(0),
        "joinWhiteBoard error：满\\\\n\\[TQ:Log\\] joinWhiteBoard success\n(.|\n)*Error! \n Method a\\\\nb is not "
        "invoked");
}

// What a handler was given, and the library's lines that went elsewhere.
class LogHandlerTest : public testing::Test {
protected:
    void SetUp() override { clearLog(); }
    void TearDown() override { setLogHandler(nullptr); }
    using Lines = std::vector<std::string>;
    Lines given;
    TQWBLogHandler keeping()
    {
        return [this](TQWBLogLevel level, std::string_view line) {
            given.push_back(std::to_string(static_cast<int>(level)) + " " + std::string(line));
        };
    }
};

TEST_F(LogHandlerTest, LinesGoToTheHandlerUpToALevelAndBackToTheSystemsLogWithout)
{
    const auto writeAll = [] {
        NSLog(TQWBLogLevel::Error, "e");
        NSLog(TQWBLogLevel::Warning, "w\n", "v\n", "");
        NSLog("i");
        NSLog(TQWBLogLevel::Debug, "d");
    };
    setLogHandler(keeping());
    writeAll();
    EXPECT_EQ(given, (Lines{ "0 e", "1 w\nv\\n", "2 i" }));
    EXPECT_EQ(logLines(), Lines{});
    given.clear();
    setLogHandler(keeping(), TQWBLogLevel::Error);
    writeAll();
    setLogHandler(keeping(), TQWBLogLevel::Debug);
    writeAll();
    EXPECT_EQ(given, (Lines{ "0 e", "0 e", "1 w\nv\\n", "2 i", "3 d" }));
    EXPECT_EQ(logLines(), Lines{});
    setLogHandler(nullptr, TQWBLogLevel::Error);
    writeAll();
    EXPECT_EQ(given.size(), 5U);
    EXPECT_EQ(logLines(), (Lines{ "e", "w\nv\\n", "i", "d" }));
}

TEST_F(LogHandlerTest, AHandlerMayThrowWriteLinesAndReplaceItself)
{
    setLogHandler([](TQWBLogLevel, std::string_view) { throw std::runtime_error("no"); });
    NSLog("thrown");
    setLogHandler([this](TQWBLogLevel, std::string_view line) {
        NSLog("its own");
        given.emplace_back(line);
    });
    NSLog("written");
    setLogHandler([this](TQWBLogLevel level, std::string_view line) {
        setLogHandler(keeping());
        NSLog("still its own");
        keeping()(level, line);
    });
    NSLog("replaced");
    NSLog("next");
    EXPECT_EQ(given, (Lines{ "written", "2 replaced", "2 next" }));
    EXPECT_EQ(logLines(), (Lines{ "thrown", "its own", "still its own" }));
}

// Whoever has taken a handler away may destroy what it used.
TEST_F(LogHandlerTest, NoHandlerRunsOnceItIsReplaced)
{
    constexpr int kReplacements = 300;
    std::atomic<bool> isOver = false;
    std::atomic<int> calls = 0;
    std::atomic<int> lateCalls = 0;
    setLogHandler([&](TQWBLogLevel, std::string_view) { ++calls; });
    std::vector<std::thread> writers;
    for (int number = 0; number < 3; ++number)
        writers.emplace_back([&] {
            while (!isOver)
                NSLog(TQWBLogLevel::Error, "line");
        });
    for (int number = 0; number < kReplacements; ++number) {
        // Not atomic on purpose: ThreadSanitizer sees a call that comes too late, too.
        auto isThere = std::make_unique<bool>(true);
        setLogHandler([&, alive = isThere.get(), number](TQWBLogLevel, std::string_view) {
            lateCalls += *alive ? 0 : 1;
            // Some replace themselves; that must not wait for the others.
            if (++calls % 64 == 0 && number % 2)
                setLogHandler([&](TQWBLogLevel, std::string_view) { ++calls; });
        });
        const int before = calls;
        while (calls == before)
            std::this_thread::yield();
        setLogHandler([&](TQWBLogLevel, std::string_view) { ++calls; });
        *isThere = false;
    }
    isOver = true;
    for (auto& writer : writers)
        writer.join();
    EXPECT_EQ(lateCalls, 0);
    EXPECT_GE(calls, kReplacements);
}

} // namespace
} // namespace tq::test
