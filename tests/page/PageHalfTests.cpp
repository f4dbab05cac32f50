#include "bridge/PercentEncoding.h"
#include "tests/support/PageTest.h"

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>
#include <fstream>
#include <iterator>
#include <limits>
#include <regex>
#include <set>
#include <stdexcept>
#include <thread>

namespace tq::test {
namespace {

using boost::json::array;
using boost::json::object;

std::string contentOf(const char* file)
{
    std::ifstream stream(std::string(TQWB_PAGE_FOLDER "/") + file, std::ios::binary);
    if (!stream)
        throw std::runtime_error(std::string("cannot read ") + file);
    return { std::istreambuf_iterator<char>(stream), {} };
}

// Answers pages in all the ways there are.
class Tools final : public NSObject {
public:
    static const NSClass& staticClass()
    {
        static const NSClass table("Tools", &NSObject::staticClass(),
            {
                { "echo:", &Tools::echo },
                { "nothing:", &Tools::nothing },
                { "fail:", &Tools::fail },
                { "endless:", &Tools::endless },
                { "atOnce::", &Tools::atOnce },
                { "failLater::", &Tools::failLater },
                { "count::", &Tools::count },
                { "keep::", &Tools::keep },
            });
        return table;
    }
    const NSClass& objectClass() const override { return staticClass(); }

    OptionalValue echo(OptionalValue argument)
    {
        wasAbsent = !argument;
        return argument;
    }
    OptionalValue nothing(OptionalValue) { return std::nullopt; }
    OptionalValue fail(OptionalValue) { throw std::runtime_error("out of order"); }
    OptionalValue endless(OptionalValue) { return std::numeric_limits<double>::infinity(); }
    void atOnce(OptionalValue argument, NSCompletion completion) { completion(std::move(argument), Complete::Yes); }
    void failLater(OptionalValue, NSCompletion completion)
    {
        completion(1, Complete::No);
        throw std::runtime_error("out of order");
    }
    void count(OptionalValue most, NSCompletion completion)
    {
        workers.emplace_back([last = most ? most->to_number<int>() : 1, completion = std::move(completion)] {
            for (int number = 1; number <= last; ++number)
                completion(number, number == last ? Complete::Yes : Complete::No);
        });
    }
    void keep(OptionalValue, NSCompletion completion) { kept.push_back(std::move(completion)); }

    bool wasAbsent = false;
    std::vector<NSCompletion> kept;
    std::vector<std::jthread> workers;
};

class PageHalfTest : public PageTest {
protected:
    void SetUp() override
    {
        PageTest::SetUp();
        use(DWKWebView::initWithFrame({ 0, 0, 400, 300 }, nullptr));
        view->addJavascriptObject(tools, "app");
        loadPage();
    }
    void TearDown() override
    {
        tools->workers.clear();
        tools->kept.clear();
        PageTest::TearDown();
    }

    /// A page that uses the script as it is shipped. It counts its prompts and its pending timers.
    void loadPage()
    {
        const auto count = reports->values.size();
        load(R"(<script>
            window.prompts = 0;
            const realPrompt = window.prompt;
            window.prompt = (...texts) => { ++prompts; return realPrompt.apply(window, texts); };
            window.timers = new Set();
            const realSet = window.setTimeout, realClear = window.clearTimeout;
            window.setTimeout = (run, delay) => {
                const id = realSet(() => { timers.delete(id); run(); }, delay);
                timers.add(id);
                return id;
            };
            window.clearTimeout = (id) => { timers.delete(id); realClear(id); };
            window.outcome = async (run) => {
                try { return await run(); } catch (error) {
                    return [error.name, error.method ?? null, error.reason ?? null];
                }
            };
            window.leftovers = () => Object.keys(window).filter((name) => name.startsWith("_tq")).length;
            </script>
            <script type="module">
            import * as native from ")"
            + address("") + R"(";
            Object.assign(window, native, { native });
            report("imported");
            </script>)");
        waitForReports(count + 2);
    }
    /// The script's address; another note makes another address.
    static std::string address(const std::string& note)
    {
        return "data:text/javascript;charset=utf-8," + percentEncoded(contentOf("bridge.js") + "//" + note);
    }
    /// What becomes of an expression that may throw or be a Promise: its value, or [error, method, reason].
    OptionalValue outcome(const std::string& expression)
    {
        const auto count = reports->values.size();
        view->evaluateJavaScript("outcome(() => " + expression + ").then(report)");
        waitForReports(count + 1);
        return reports->values.back();
    }
    static OptionalValue failure(const char* method, const char* reason)
    {
        return array{ "NativeCallError", method, reason };
    }
    void waitForKept(std::size_t count)
    {
        runUntil([&] { return tools->kept.size() >= count; }, "the page has called keep");
    }

    std::shared_ptr<Tools> tools = std::make_shared<Tools>();
};

TEST_F(PageHalfTest, ExportsWhatItsDeclarationsDeclare)
{
    const auto text = contentOf("bridge.d.ts");
    const std::regex declaration(R"((?:^|\n)export (?:declare )?(?:function|class|const) (\w+))");
    std::set<std::string> declared;
    for (std::sregex_iterator match(text.begin(), text.end(), declaration); match != std::sregex_iterator(); ++match)
        declared.insert((*match)[1]);
    std::set<std::string> exported;
    const auto names = ask("Object.keys(native)");
    for (const auto& name : names->as_array())
        exported.emplace(name.as_string());
    EXPECT_EQ(declared, exported);
    EXPECT_GT(exported.size(), 10U);
}

TEST_F(PageHalfTest, SynchronousCallsReturnTheValueOrSayWhyThereIsNone)
{
    const std::vector<std::pair<std::string, OptionalValue>> rows{
        { "callSync('app.echo', {k: ['é\\u2028', null, 1.5]})", object{ { "k", { "é\u2028", nullptr, 1.5 } } } },
        { "callSync('app.echo', 0)", 0 },
        { "callSync('app.nothing')", "" },
        { "callSync('app.fail')", failure("app.fail", "failed") },
        { "callSync('app.endless')", failure("app.endless", "unreadable") },
        { "callSync('app.absent')", failure("app.absent", "no-method") },
        { "callSync('none.echo')", failure("none.echo", "no-method") },
        { "callSync('app.atOnce', 1)", failure("app.atOnce", "no-method") },
        { "callSync('app.echo', window)", array{ "TypeError", nullptr, nullptr } },
        { "callSync('app.echo', 'x'.repeat(1 << 20)).length", 1 << 20 },
        { "hasNativeMethod('app.echo')", true },
        { "hasNativeMethod('app.echo', 'asyn')", false },
        { "hasNativeMethod('app.count', 'asyn')", true },
        { "hasNativeMethod('app.absent')", false },
    };
    for (const auto& [expression, expected] : rows)
        EXPECT_EQ(outcome(expression), expected) << expression;
    outcome("callSync('app.echo')");
    EXPECT_TRUE(tools->wasAbsent);
}

TEST_F(PageHalfTest, AsynchronousCallsEndWithTheFirstResultOrSayWhyThereIsNone)
{
    const std::vector<std::pair<std::string, OptionalValue>> rows{
        { "callAsync('app.atOnce', 'now')", "now" },
        { "callAsync('app.count', 3)", 1 },
        { "Promise.all(Array.from({length: 50}, (_, i) => callAsync('app.atOnce', i))).then((all) => all.join())",
            outcome("Array.from({length: 50}, (_, i) => i).join()") },
        { "callAsync('app.failLater')", failure("app.failLater", "failed") },
        { "callAsync('app.absent')", failure("app.absent", "no-method") },
        { "callAsync('app.echo', 1)", failure("app.echo", "no-method") },
        { "callWithCallback('none.count', 1, () => {})", failure("none.count", "no-method") },
        { "stream('app.echo', 1)", failure("app.echo", "no-method") },
        { "callAsync('app.keep', 1n)", array{ "TypeError", nullptr, nullptr } },
        { "callAsync('app.keep', 1, {timeout: NaN})", array{ "RangeError", nullptr, nullptr } },
    };
    for (const auto& [expression, expected] : rows)
        EXPECT_EQ(outcome(expression), expected) << expression;
    EXPECT_EQ(ask("leftovers()"), 0);
}

TEST_F(PageHalfTest, WhetherAMethodExistsIsAskedOnce)
{
    outcome("callAsync('app.keep', 1, {timeout: 0})");
    outcome("callAsync('app.count', 1)");
    const auto before = ask("prompts")->as_int64();
    outcome("callAsync('app.keep', 1, {timeout: 0})");
    outcome("callAsync('app.count', 1)");
    // The reports of both outcomes, of this question and of the one before are prompts of the counted kind too.
    EXPECT_EQ(ask("prompts")->as_int64() - before, 2 + 3);
}

TEST_F(PageHalfTest, CallsThatAreNeverAnsweredTimeOutOnOneTimer)
{
    ask("window.slow = Array.from({length: 40}, (_, i) => callAsync('app.keep', i, {timeout: 3e9 - 1e7 * i})), 0");
    EXPECT_EQ(ask("timers.size"), 1);
    EXPECT_EQ(outcome("callAsync('app.keep', 'x', {timeout: 20})"), failure("app.keep", "timeout"));
    EXPECT_EQ(ask("timers.size"), 1);
    tools->kept.back()("late", Complete::Yes); // nobody waits for it any more
    for (int index = 0; index < 40; ++index)
        tools->kept[static_cast<std::size_t>(index)](index, Complete::Yes);
    EXPECT_EQ(outcome("Promise.all(slow).then((all) => all.every((value, i) => value === i))"), true);
    EXPECT_EQ(ask("timers.size"), 0);
    EXPECT_EQ(ask("leftovers()"), 0);
}

TEST_F(PageHalfTest, CallbacksKnowTheLastResult)
{
    view->evaluateJavaScript("window.follow = (name) => callWithCallback('app.keep', 0,"
                             " (value, isLast) => report([name, value, isLast]));"
                             "callWithCallback('app.keep', 0, () => { throw 'for the console'; });"
                             "follow('a'); follow('b'); window.abandon = follow('c');");
    waitForKept(4);
    const auto before = reports->values.size();
    const auto say
        = [&](std::size_t call, const char* value, Complete complete) { tools->kept[call](value, complete); };
    say(0, "thrown", Complete::Yes);
    say(1, "one", Complete::No); // these come in one evaluation
    say(2, "only", Complete::Yes);
    say(1, "two", Complete::No);
    waitForReports(before + 3);
    say(1, "three", Complete::No); // and these in another
    say(1, "four", Complete::Yes);
    say(3, "heard", Complete::No);
    waitForReports(before + 6);
    ask("abandon()");
    say(3, "unheard", Complete::No);
    say(3, "unheard", Complete::Yes);
    EXPECT_EQ(outcome("callAsync('app.count', 1)"), 1); // comes after those
    const std::vector<OptionalValue> expected{ array{ "a", "one", false }, array{ "b", "only", true },
        array{ "a", "two", false }, array{ "a", "three", false }, array{ "a", "four", true },
        array{ "c", "heard", false }, std::nullopt, 1 };
    EXPECT_EQ(
        (std::vector(reports->values.begin() + static_cast<std::ptrdiff_t>(before), reports->values.end())), expected);
    EXPECT_EQ(ask("leftovers()"), 0);
}

TEST_F(PageHalfTest, StreamsGiveEveryResultAndEndAfterTheLast)
{
    ask("window.collect = async (results) => { const all = []; for await (const one of results) all.push(one);"
        " return all; }, 0");
    EXPECT_EQ(outcome("collect(stream('app.count', 5000)).then((all) => [all.length,"
                      " all.every((value, i) => value === i + 1)])"),
        (array{ 5000, true }));
    EXPECT_EQ(outcome("collect(stream('app.atOnce', 'only'))"), (array{ "only" }));
    EXPECT_EQ(outcome("(async () => { let sum = 0; for await (const one of stream('app.count', 1000)) {"
                      " sum += one; if (one === 4) break; } return sum; })()"),
        10);
    // Ended from outside while the loop waits.
    EXPECT_EQ(outcome("(async () => { const results = stream('app.keep'); const all = collect(results);"
                      " await results.return(); return all; })()"),
        array{});
    tools->kept.back()("late", Complete::Yes);
    EXPECT_EQ(outcome("callAsync('app.count', 1)"), 1);
    EXPECT_EQ(ask("leftovers()"), 0);
}

TEST_F(PageHalfTest, ResultsOfAnEarlierPagesCallsReachNobody)
{
    view->evaluateJavaScript("callAsync('app.keep', 'old').then(report)");
    waitForKept(1);
    loadPage();
    view->evaluateJavaScript("callAsync('app.keep', 'new').then(report)");
    waitForKept(2);
    const auto before = reports->values.size();
    tools->kept[0]("of the old page", Complete::Yes);
    tools->kept[1]("of the new page", Complete::Yes);
    waitForReports(before + 1);
    EXPECT_EQ(reports->values.back(), OptionalValue("of the new page"));
}

TEST_F(PageHalfTest, WithoutAnApplicationNobodyIsAsked)
{
    ask("window._dswk = false");
    const auto before = ask("prompts")->as_int64();
    ask("register('f', () => 1), ready(), 0");
    EXPECT_EQ(ask("[isInApplication(), hasNativeMethod('app.echo')]"), (array{ false, false }));
    for (const char* call : { "callSync('app.echo', 1)", "callAsync('app.atOnce', 1)", "stream('app.count', 1)" })
        EXPECT_EQ(outcome(call)->at(2), "no-application") << call;
    EXPECT_EQ(ask("prompts")->as_int64() - before, 6); // the reports'
    EXPECT_EQ(ask("leftovers()"), 0);
}

} // namespace
} // namespace tq::test
