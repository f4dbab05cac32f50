#include "TQWhiteBoardLib/NativeFunctions.h"
#include "TQWhiteBoardLib/TQWBLog.h"
#include "tests/support/CallWays.h"
#include "tests/support/Dialogs.h"
#include "tests/support/MainLoop.h"
#include "tests/support/PageWindowTest.h"

#include <algorithm>
#include <cstdlib>

namespace tq::test {
namespace {

using Clock = std::chrono::steady_clock;

// What a user takes for an application that hangs; the sanitizers' slowness and a machine with other work allowed for.
constexpr StallMeter::Milliseconds kLongestStall = std::chrono::milliseconds(2000);

// How often the page calls; TQWB_FLOOD_CALLS asks for more than a quick run makes.
long calls()
{
    const char* text = std::getenv("TQWB_FLOOD_CALLS");
    return text ? std::strtol(text, nullptr, 10) : 10000;
}

class FloodTest : public PageWindowTest {
protected:
    void SetUp() override
    {
        PageWindowTest::SetUp();
        // As in an application: shown, and over with what the first window of a process takes.
        load("<script>const show = () => { document.title = performance.now(); requestAnimationFrame(show); };"
             "show()</script><p>flooded");
        window->waitUntilDrawn();
    }
    // Has the page run a script to its end.
    void flood(const std::string& script)
    {
        const auto count = reports->values.size();
        view->evaluateJavaScript(script + "; report('done')");
        runUntil([&] { return reports->values.size() > count; }, "the flood is over",
            std::chrono::seconds(100 + calls() / 2000));
    }
};

TEST_F(FloodTest, SynchronousCallsLeaveTheMainLoopItsTurns)
{
    StallMeter meter;
    flood("for (let i = 0; i < " + std::to_string(calls()) + "; ++i) prompt('_dsbridge=_dsb.hasNativeMethod', '{}')");
    EXPECT_LT(meter.longest(std::to_string(calls()) + " synchronous calls"), kLongestStall);
}

// The page does not wait, and so is not stopped by a main loop that has enough to do.
TEST_F(FloodTest, MessagesWithoutEndEndThePageAndNotTheApplication)
{
    constexpr std::string_view kEnded = "Js bridge: the page sends without end, and its process is ended";
    for (const char* text : { "'x'", "'x'.repeat(1 << 20)" }) {
        clearLog();
        StallMeter meter;
        view->evaluateJavaScript(
            std::string("for (;;) webkit.messageHandlers._tqcalls.postMessage(") + text + ").catch(() => 0)");
        runUntil([&] { return countOfLine(kEnded) > 0; }, "the page is ended");
        load();
        EXPECT_LT(meter.longest(std::string("messages without end, ") + text), kLongestStall);
        EXPECT_EQ(ask("1 + 1"), OptionalValue(2));
    }
}

TEST_F(FloodTest, ResultsWithoutEndEndThePageThatTakesNone)
{
    std::vector<Stream<std::string>> kept;
    view->addJavascriptObject(
        nativeFunctions({ { "keep::", [&](Stream<std::string> results) { kept.push_back(std::move(results)); } } }),
        "silent");
    load(bareHalf(Way::Messages));
    ask(R"(begin("silent.keep", '{"_dscbstub":"f"}'))");
    ASSERT_EQ(kept.size(), 1U);
    view->evaluateJavaScript("for (;;);");
    StallMeter meter;
    const std::jthread worker([&kept, text = std::string(1 << 20, 'x')] {
        while (!kept.front().isAbandoned())
            kept.front().send(text);
    });
    runUntil([&] { return kept.front().isAbandoned(); }, "the page is ended");
    EXPECT_LT(meter.longest("results without end"), kLongestStall);
    EXPECT_EQ(countOfLine("Js bridge: the page does not take its results, and its process is ended"), 1);
    load();
    EXPECT_EQ(ask("1 + 1"), OptionalValue(2));
}

TEST_F(FloodTest, AMessageOfManyCallsLeavesTheMainLoopItsTurns)
{
    std::vector<int> numbers;
    view->addJavascriptObject(
        nativeFunctions({ { "note:", [&](int number) { numbers.push_back(number); } } }), "order");
    const auto count = calls() * 10;
    const auto begin = Clock::now();
    StallMeter meter;
    flood("const {port, mark} = JSON.parse(prompt('_dsbridge=_tq.open', '{\"data\":{\"receiver\":\"f\"}}')).data;"
          "webkit.messageHandlers._tqcalls.postMessage(port + '\\t' + mark + '\\n' + Array.from({length: "
        + std::to_string(count)
        + "}, (_, i) => '\\t\"order.note\"\\t{\"data\":' + i + '}').join('\\n'));"
          "prompt('_dsbridge=order.note', '{\"data\":-1}')");
    const auto longest = meter.longest(std::to_string(count) + " calls in one message");
    // A machine that is slow takes its time for all of it.
    EXPECT_LT(longest, std::max<StallMeter::Milliseconds>(kLongestStall / 10, (Clock::now() - begin) / 3));
    ASSERT_EQ(static_cast<long>(numbers.size()), count + 1);
    EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end() - 1));
    EXPECT_EQ(numbers.back(), -1) << "the page waits until its earlier calls are answered";
}

TEST_F(FloodTest, CallsThatAreNeverAnsweredLeaveTheMainLoopItsTurns)
{
    std::vector<NSCompletion> kept;
    view->addJavascriptObject(
        nativeFunctions({ { "wait::", [&](NSCompletion completion) { kept.push_back(std::move(completion)); } } }),
        "silent");
    const auto count = calls() / 10;
    StallMeter meter;
    flood("for (let i = 0; i < " + std::to_string(count)
        + "; ++i) prompt('_dsbridge=silent.wait', '{\"data\":1,\"_dscbstub\":\"f' + i + '\"}')");
    EXPECT_LT(meter.longest(std::to_string(count) + " calls without an answer"), kLongestStall);
    EXPECT_EQ(static_cast<long>(kept.size()), count);
    EXPECT_EQ(ask("1 + 1"), OptionalValue(2));
    kept.clear();
}

// What a page writes to its console in debug mode: in number, lines in the log and lines that the log says are missing.
TEST_F(FloodTest, AConsoleWithoutEndFillsNoLogAndLeavesTheMainLoopItsTurns)
{
    constexpr std::string_view kLeftOut = "Js console: ";
    view->setDebugMode(DebugMode::On);
    struct Row {
        const char* name;
        const char* call;
    };
    for (const auto& [name, call] : { Row{ "lines of the console", "console.log('flood')" },
             Row{ "events in its place",
                 "dispatchEvent(new CustomEvent('_tqconsole', { detail: ['log', 'flood', ''] }))" } }) {
        load();
        long written = 0;
        long leftOut = 0;
        setLogHandler([&](TQWBLogLevel, std::string_view line) {
            if (line.starts_with(kLeftOut))
                leftOut += std::atol(line.data() + kLeftOut.size());
            else
                ++written;
        });
        const auto begin = Clock::now();
        StallMeter meter;
        flood("for (let i = 0; i < " + std::to_string(calls()) + "; ++i) " + call);
        runUntil([&] { return written + leftOut == calls(); }, "every line is written or counted",
            std::chrono::seconds(100));
        EXPECT_LT(meter.longest(std::to_string(calls()) + " " + name), kLongestStall);
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - begin).count();
        EXPECT_LE(written, 100 * (seconds + 2)) << name;
        EXPECT_GE(written, 100) << name;
        setLogHandler(nullptr);
    }
}

TEST_F(FloodTest, AlertsInALoopAreCutOffAndLeaveTheMainLoopItsTurns)
{
    view->disableJavascriptDialogBlock(true);
    // The toolkit takes its time for the first one of a process.
    view->evaluateJavaScript("alert('the first')");
    const auto first = dialog();
    ASSERT_TRUE(first);
    first.waitUntilDrawn();
    first.press(Answer::Ok);
    StallMeter meter;
    flood("for (let i = 0; i < 2000; ++i) alert('again ' + i)");
    EXPECT_LT(meter.longest("2000 alerts"), kLongestStall);
    EXPECT_GT(countOfLine("an alert is cancelled unseen, since too many are waiting already"), 1900);
    int shown = 0;
    for (; !dialogs().empty() && shown < 100; ++shown) {
        ASSERT_EQ(dialogs().size(), 1U);
        dialogs().front().press(Answer::Ok);
    }
    EXPECT_GT(shown, 10);
    EXPECT_LT(shown, 50);
}

} // namespace
} // namespace tq::test
