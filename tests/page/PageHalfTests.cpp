#include "TQWhiteBoardLib/NativeFunctions.h"
#include "tests/support/CallWays.h"
#include "tests/support/Content.h"
#include "tests/support/Engine.h"
#include "tests/support/PageTest.h"

#include <algorithm>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>
#include <limits>
#include <regex>
#include <set>
#include <stdexcept>
#include <thread>

namespace tq::test {
namespace {

using boost::json::array;
using boost::json::object;

const std::filesystem::path kFolder = TQWB_PAGE_FOLDER;

class PageHalfTest : public PageTest {
protected:
    explicit PageHalfTest(Way newWay = Way::Messages)
        : way(newWay)
    {
    }
    void SetUp() override
    {
        PageTest::SetUp();
        use(DWKWebView::initWithFrame({ 0, 0, 400, 300 }, nullptr));
        view->addJavascriptObject(tools(), "app");
        loadPage();
    }
    void TearDown() override
    {
        workers.clear();
        kept.clear();
        PageTest::TearDown();
    }

    /// Answers pages in all the ways there are.
    std::shared_ptr<NSObject> tools()
    {
        return nativeFunctions({
            { "echo:", [this](OptionalValue argument) { return wasAbsent = !argument, argument; } },
            { "nothing:", [] {} },
            { "fail:", []() -> OptionalValue { throw std::runtime_error("out of order"); } },
            { "endless:", [] { return OptionalValue(std::numeric_limits<double>::infinity()); } },
            { "atOnce::", [](OptionalValue argument, NSCompletion done) { done(std::move(argument), Complete::Yes); } },
            { "failLater::",
                [](const NSCompletion& completion) {
                    completion(1, Complete::No);
                    throw std::runtime_error("out of order");
                } },
            { "count::",
                [this](int last, NSCompletion completion) {
                    workers.emplace_back([last, completion = std::move(completion)] {
                        for (int number = 1; number <= last; ++number)
                            completion(number, number == last ? Complete::Yes : Complete::No);
                    });
                } },
            { "drop::", [](const NSCompletion&) {} },
            { "keep::", [this](NSCompletion completion) { kept.push_back(std::move(completion)); } },
        });
    }
    /// A page that uses the script as it is shipped. It counts its prompts and its pending timers.
    void loadPage()
    {
        const auto count = reports->values.size();
        load(std::string(way == Way::Messages ? "" : "<script>window.webkit = undefined</script>") + R"(<script>
            window.prompts = 0;
            const realPrompt = window.prompt;
            window.prompt = (...texts) => { ++prompts; return realPrompt.apply(window, texts); };
            window.timers = new Set();
            window.timersSet = 0;
            const realSet = window.setTimeout, realClear = window.clearTimeout;
            window.setTimeout = (run, delay) => {
                ++timersSet;
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
            window.collect = async (results) => {
                const all = [];
                try { for await (const one of results) all.push(one); } catch (error) { all.push(error.reason); }
                return all;
            };
            window.leftovers = () => Object.keys(window).filter((name) => /^_tq.*\d$/.test(name)).length;
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
        return dataAddress("text/javascript", contentOf(kFolder / "bridge.js") + "//" + note);
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
    /// What a page function answers, to its end: the application is not left waiting.
    std::vector<OptionalValue> answersOf(const std::string& name, array arguments = {})
    {
        const auto answers = std::make_shared<std::vector<OptionalValue>>();
        auto held = std::make_shared<int>();
        const std::weak_ptr<int> watched = held;
        view->callHandler(name, std::move(arguments),
            [answers, held = std::move(held)](OptionalValue value) { answers->push_back(std::move(value)); });
        runUntil([&] { return watched.expired(); }, "the last answer of " + name);
        return *answers;
    }
    OptionalValue has(const std::string& name)
    {
        OptionalValue answer;
        view->hasJavascriptMethod(name, [&](bool exists) { answer = exists; });
        runUntil([&] { return answer.has_value(); }, "the page knows whether it has " + name);
        return answer;
    }
    void waitForKept(std::size_t count)
    {
        runUntil([&] { return kept.size() >= count; }, "the page has called keep");
    }

    const Way way;
    const int oneByPrompts = way == Way::Prompts ? 1 : 0;
    bool wasAbsent = false;
    std::vector<NSCompletion> kept;
    std::vector<std::jthread> workers;
};

class BothWaysTest : public PageHalfTest, public testing::WithParamInterface<Way> {
protected:
    BothWaysTest()
        : PageHalfTest(GetParam())
    {
    }
};

TEST_F(PageHalfTest, ExportsWhatItsDeclarationsDeclare)
{
    const auto text = contentOf(kFolder / "bridge.d.ts");
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
        { "callSync('app.nothing')", "" },
        { "callSync('app.fail')", failure("app.fail", "failed") },
        { "callSync('app.endless')", failure("app.endless", "unreadable") },
        { "callSync('app.absent')", failure("app.absent", "no-method") },
        { "callSync('none.echo')", failure("none.echo", "no-method") },
        { "callSync('app.atOnce', 1)", failure("app.atOnce", "no-method") },
        { "callSync('app.echo', window)", array{ "TypeError", nullptr, nullptr } },
        { "hasNativeMethod('app.echo')", true },
        { "hasNativeMethod('app.echo', 'asyn')", false },
        { "hasNativeMethod('app.absent')", false },
    };
    for (const auto& [expression, expected] : rows)
        EXPECT_EQ(outcome(expression), expected) << expression;
    for (const char* argument : { "", ", undefined", ", () => 1", ", Symbol()" }) {
        wasAbsent = false;
        outcome("callSync('app.echo'" + std::string(argument) + ")");
        EXPECT_TRUE(wasAbsent) << argument;
    }
}

TEST_P(BothWaysTest, AsynchronousCallsEndWithTheFirstResultOrSayWhyThereIsNone)
{
    const std::vector<std::pair<std::string, OptionalValue>> rows{
        { "callAsync('app.atOnce', 'now')", "now" },
        { "callAsync('app.count', 3)", 1 },
        { "Promise.all(Array.from({length: 50}, (_, i) => callAsync('app.atOnce', i))).then((all) => all.join())",
            outcome("Array.from({length: 50}, (_, i) => i).join()") },
        { "callAsync('app.failLater')", failure("app.failLater", "failed") },
        { "callAsync('app.absent')", failure("app.absent", "no-method") },
        { "new Promise((_, fail) => callWithCallback('none.count', 1, (value, isLast, error) => isLast && "
          "fail(error)))",
            failure("none.count", "no-method") },
        { "callAsync('app.echo', 1)", 1 },
        { "stream('app.fail').next()", failure("app.fail", "failed") },
        { "callAsync('app.keep', 1n)", array{ "TypeError", nullptr, nullptr } },
        { "callAsync('app.keep', 1, {timeout: NaN})", array{ "RangeError", nullptr, nullptr } },
        { "callAsync('app.keep', 1, {timeout: '5000'})", array{ "RangeError", nullptr, nullptr } },
    };
    for (const auto& [expression, expected] : rows)
        EXPECT_EQ(outcome(expression), expected) << expression;
    EXPECT_EQ(ask("leftovers()"), 0);
}

TEST_P(BothWaysTest, ProxiesCallMethodsByTheirNames)
{
    ask("(window.app = native.native('app'), 0)");
    const std::vector<std::pair<std::string, OptionalValue>> rows{
        { "app.echo(5)", 5 },
        { "app.echo([5])", array{ 5 } },
        { "app.echo(5, null)", array{ 5, nullptr } },
        { "app.echo()", "" },
        { "app.atOnce('now')", "now" },
        { "Promise.resolve(app).then((same) => JSON.stringify(same))", "{}" },
        { "app.count(3)", 1 },
        { "collect(app.count(3))", array{ 1, 2, 3 } },
        { "collect(app.echo(5))", array{ 5 } },
        { "collect(app.failLater())", array{ "failed" } },
        { "app.absent()", failure("app.absent", "no-method") },
        { "collect(app.absent())", array{ "no-method" } },
        { "app.keep(1n)", array{ "TypeError", nullptr, nullptr } },
        { "collect(app.keep(1n)).then((all) => all.length)", 1 },
        { "native.native('app', {timeout: 20}).keep()", failure("app.keep", "timeout") },
        { "(async () => { const call = app.count(3); await call; for await (const late of call); })()",
            array{ "TypeError", nullptr, nullptr } },
        { "nativeSync('app').echo(5, 6)", array{ 5, 6 } },
        { "nativeSync().echo(5)", failure("echo", "no-method") },
    };
    for (const auto& [expression, expected] : rows)
        EXPECT_EQ(outcome(expression), expected) << expression;
    EXPECT_EQ(ask("leftovers()"), 0);
}

TEST_F(PageHalfTest, TextsAreMadeWellFormedAndWhatIsTooDeepIsRefused)
{
    ask("register('echo', (value) => value), register('deep', (levels) => nested(levels)),"
        " window.nested = (levels) => { let list = 'x'; while (levels--) list = [list]; return list; },"
        " window.depth = (list) => { let levels = 0; for (; Array.isArray(list); list = list[0]) ++levels; return "
        "levels; },"
        " ready(), 0");
    const auto tooDeep = array{ "TypeError", nullptr, nullptr };
    const auto odd = array{ "a\uFFFD\\ud800", object{ { "\uFFFDk", "\U0001F600" } } };
    const std::vector<std::pair<std::string, OptionalValue>> rows{
        { "callSync('app.echo', ['a\\ud800\\\\ud800', {'\\udc00k': '\\ud83d\\ude00'}])", odd },
        { "callAsync('app.atOnce', ['a\\ud800\\\\ud800', {'\\udc00k': '\\ud83d\\ude00'}])", odd },
        { "depth(callSync('app.echo', nested(510)))", 510 },
        { "callAsync('app.atOnce', nested(510)).then(depth)", 510 },
        { "callAsync('app.keep', nested(512))", tooDeep },
        { "callSync('app.echo', ['[{\"\\\\'.repeat(2000), nested(509)]).length", 2 },
    };
    for (const auto& [expression, expected] : rows)
        EXPECT_EQ(outcome(expression), expected) << expression;
    const auto before = ask("prompts")->as_int64();
    for (const char* levels : { "512", "5000" })
        EXPECT_EQ(outcome("callSync('app.echo', nested(" + std::string(levels) + "))"), tooDeep);
    EXPECT_EQ(ask("prompts")->as_int64() - before, 3) << "the reports' alone";
    EXPECT_EQ(answersOf("echo", { "x" }), std::vector<OptionalValue>{ "x" });
    EXPECT_TRUE(answersOf("deep", { 510 }).front());
    EXPECT_EQ(answersOf("deep", { 511 }), std::vector<OptionalValue>{ std::nullopt });
    EXPECT_EQ(ask("leftovers()"), 0);
}

TEST_P(BothWaysTest, EveryAsynchronousCallCostsOnePromptAtMostAndSettles)
{
    view->addJavascriptObject(nativeFunctions({
                                  { "leave::",
                                      [this](NSCompletion completion) {
                                          view->removeJavascriptObject("self");
                                          kept.push_back(std::move(completion));
                                      } },
                              }),
        "self");
    const auto prompts = [&](const std::string& expression) {
        const auto before = ask("prompts")->as_int64();
        outcome(expression);
        return ask("prompts")->as_int64() - before - 2;
    };
    EXPECT_EQ(prompts("callAsync('app.count', 2)"), 1); // which opens the way for messages, or is the call itself
    EXPECT_EQ(prompts("callAsync('app.absent')"), oneByPrompts);
    EXPECT_EQ(prompts("callAsync('none.absent')"), oneByPrompts);
    view->evaluateJavaScript("for (const call of [() => callAsync('app.keep'), () => stream('app.keep').next()])"
                             " outcome(call).then(report);"
                             "callWithCallback('app.keep', 0, (value, isLast, error) =>"
                             " report([value ?? null, isLast, error?.reason ?? null]));"
                             "outcome(() => callAsync('self.leave')).then(report);");
    waitForKept(4);
    const auto before = reports->values.size();
    for (std::size_t call = 0; call < 3; ++call)
        kept[call](std::numeric_limits<double>::infinity(), Complete::No);
    kept[3]("done", Complete::Yes);
    waitForReports(before + 4);
    kept[2](5, Complete::Yes);
    waitForReports(before + 5);
    const auto first = reports->values.begin() + static_cast<std::ptrdiff_t>(before);
    for (const OptionalValue& expected :
        { failure("app.keep", "unreadable"), OptionalValue(array{ nullptr, false, "unreadable" }),
            OptionalValue("done"), OptionalValue(array{ 5, true, nullptr }) })
        EXPECT_GT(std::count(first, reports->values.end(), expected), 0) << boost::json::serialize(*expected);
    EXPECT_EQ(std::count(first, reports->values.end(), failure("app.keep", "unreadable")), 2);
    EXPECT_EQ(ask("leftovers()"), 0);
}

// A page that sends more than a thousand messages without reading an answer is ended.
TEST_F(PageHalfTest, MessagesWaitForEachOtherHoweverCallsThatStopThePageComeBetween)
{
    ask("(window.again = (left, done) => left"
        " ? callWithCallback('app.atOnce', left, () => again(left - 1, done)) : done(), 0)");
    EXPECT_EQ(outcome("new Promise((done) => callWithCallback('app.atOnce', 0, () => {"
                      " again(1500, () => done('done')); callSync('app.echo'); again(1500, () => {}); }))"),
        "done");
    EXPECT_EQ(outcome("(() => { for (let i = 0; i < 1100; ++i) {"
                      " callAsync('app.atOnce', i); try { callSync('app.echo', 1n); } catch {} }"
                      " return callAsync('app.atOnce', 'last'); })()"),
        "last");
}

TEST_F(PageHalfTest, CallsUnderWayEndWhenTheApplicationRefusesThePage)
{
    ask("(register('never', () => new Promise(() => {})), ready(), 0)");
    view->evaluateJavaScript("outcome(() => callAsync('app.keep')).then(report)");
    waitForKept(1);
    std::string error;
    view->callHandler<int>("never", [&](const Answer<int>& answer) { error = answer.error; });
    view->setAllowedOrigins(std::vector<std::string>{ "https://elsewhere.example" });
    EXPECT_EQ(error, "never: the page must not be called");
    kept.front()("unheard", Complete::Yes);
    runPending();
    view->setAllowedOrigins(std::nullopt);
    const auto before = reports->values.size();
    view->evaluateJavaScript("callAsync('app.atOnce', 1).catch(() => 0)");
    waitForReports(before + 1);
    EXPECT_EQ(reports->values.back(), failure("app.keep", "left"));
    EXPECT_EQ(outcome("callAsync('app.atOnce', 2)"), 2);
}

TEST_F(PageHalfTest, AnApplicationThatKnowsNoMoreIsAskedWhetherThereIsAMethod)
{
    // As one of an earlier version answers.
    ask("(() => { window.webkit = undefined;"
        " const real = window.prompt; window.prompt = (name, message) => {"
        " const answer = real(name, message?.replace(',\"_tq\":1', '')); return answer; }; })(), 0");
    EXPECT_EQ(outcome("callAsync('app.count', 2)"), 1);
    EXPECT_EQ(outcome("callAsync('app.absent')"), failure("app.absent", "no-method"));
    EXPECT_EQ(outcome("callAsync('app.drop').then((value) => value === undefined)"), true);
}

TEST_P(BothWaysTest, CallsThatAreNeverAnsweredTimeOutOnOneTimer)
{
    ask("window.slow = Array.from({length: 40}, (_, i) => callAsync('app.keep', i, {timeout: 3e9 + i})), 0");
    EXPECT_EQ(ask("timers.size"), 1);
    EXPECT_EQ(outcome("callAsync('app.keep', 'x', {timeout: 20})"), failure("app.keep", "timeout"));
    EXPECT_EQ(ask("timers.size"), 1);
    EXPECT_LE(ask("timersSet")->as_int64(), 10); // none that fires again and again
    kept.back()("late", Complete::Yes); // nobody waits for it any more
    for (int index = 0; index < 40; ++index)
        kept[static_cast<std::size_t>(index)](index, Complete::Yes);
    EXPECT_EQ(outcome("Promise.all(slow).then((all) => all.every((value, i) => value === i))"), true);
    EXPECT_EQ(ask("timers.size"), 0);
    EXPECT_EQ(ask("leftovers()"), 0);
}

TEST_P(BothWaysTest, CallbacksKnowTheLastResult)
{
    view->evaluateJavaScript("window.follow = (name) => callWithCallback('app.keep', 0,"
                             " (value, isLast) => report([name, value, isLast]));"
                             "callWithCallback('app.keep', 0, () => { throw 'for the console'; });"
                             "follow('a'); follow('b'); window.abandon = follow('c');"
                             "const stop = callWithCallback('app.keep', 0, (value) => { report(value); stop(); });");
    waitForKept(5);
    const auto before = reports->values.size();
    const auto say = [&](std::size_t call, const char* value, Complete complete) { kept[call](value, complete); };
    say(0, "thrown", Complete::Yes);
    say(1, "one", Complete::No); // these come in one evaluation
    say(2, "only", Complete::Yes);
    say(1, "two", Complete::No);
    say(4, "enough", Complete::No);
    say(4, "too much", Complete::No);
    waitForReports(before + 4);
    say(1, "three", Complete::No); // and these in another
    say(1, "four", Complete::Yes);
    say(3, "heard", Complete::No);
    waitForReports(before + 7);
    ask("abandon()");
    say(3, "unheard", Complete::No);
    say(3, "unheard", Complete::Yes);
    EXPECT_EQ(outcome("callAsync('app.count', 1)"), 1); // comes after those
    const std::vector<OptionalValue> expected{ array{ "a", "one", false }, array{ "b", "only", true },
        array{ "a", "two", false }, "enough", array{ "a", "three", false }, array{ "a", "four", true },
        array{ "c", "heard", false }, std::nullopt, 1 };
    EXPECT_EQ(
        (std::vector(reports->values.begin() + static_cast<std::ptrdiff_t>(before), reports->values.end())), expected);
    EXPECT_EQ(ask("leftovers()"), 0);
}

TEST_P(BothWaysTest, StreamsGiveEveryResultAndEndAfterTheLast)
{
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
    kept.back()("late", Complete::Yes);
    EXPECT_EQ(outcome("callAsync('app.count', 1)"), 1);
    EXPECT_EQ(ask("leftovers()"), 0);
}

TEST_P(BothWaysTest, MethodsSayWhyTheyFailAndSeeThatNobodyWaits)
{
    std::vector<Stream<int>> streams;
    view->addJavascriptObject(nativeFunctions({ { "fail::",
                                                    [](int sent, Stream<int> results) {
                                                        for (int number = 0; number < sent; ++number)
                                                            results.send(number);
                                                        results.fail("out of \"paper\"");
                                                        results.finish(5);
                                                    } },
                                  { "keep::", [&](Stream<int> results) { streams.push_back(std::move(results)); } } }),
        "work");
    ask("window.all = async (results) => { const all = []; try { for await (const one of results) all.push(one); }"
        " catch (error) { all.push(error.message, error.reason ?? error.name); } return all; }, 0");
    EXPECT_EQ(outcome("all(stream('work.fail', 0))"), (array{ "work.fail: out of \"paper\"", "failed" }));
    EXPECT_EQ(outcome("all(stream('work.fail', 2))"), (array{ 0, 1, "work.fail: out of \"paper\"", "failed" }));
    EXPECT_EQ(outcome("callAsync('work.fail', 0)"), failure("work.fail", "failed"));

    const auto keep = [&](const char* script) {
        const auto count = streams.size();
        view->evaluateJavaScript(script);
        runUntil([&] { return streams.size() > count; }, "the page has called");
    };
    auto before = reports->values.size();
    keep("outcome(() => callAsync('work.keep', 0, {timeout: 1})).then(report)");
    waitForReports(before + 1);
    EXPECT_EQ(reports->values.back(), failure("work.keep", "timeout"));
    keep("window.stop = new AbortController(); all(stream('work.keep', 0, stop)).then(report)");
    keep("outcome(() => callAsync('work.keep', 0, stop)).then(report)");
    keep("callAsync('work.keep')");
    before = reports->values.size();
    ask("stop.abort()");
    waitForReports(before + 3);
    const auto* first = reports->values.data() + before;
    // In the engine's words.
    EXPECT_EQ(std::count_if(first, first + 3,
                  [](const OptionalValue& told) {
                      const auto* list = told ? told->if_array() : nullptr;
                      return list && list->size() == 2 && list->at(1) == "AbortError";
                  }),
        1);
    EXPECT_EQ(std::count(first, first + 3, OptionalValue(array{ "AbortError", nullptr, nullptr })), 1);
    EXPECT_EQ(outcome("callAsync('work.keep', 0, stop)")->at(0), "AbortError");
    if (way == Way::Messages)
        runUntil(
            [&] {
                return std::all_of(streams.begin(), streams.begin() + 3, [](auto& each) { return each.isAbandoned(); });
            },
            "the methods know");
    EXPECT_FALSE(streams[3].isAbandoned());
    loadPage();
    EXPECT_TRUE(streams[3].isAbandoned());
}

TEST_P(BothWaysTest, CallsOfThePageEndWithTheReason)
{
    const auto prepare = [&] {
        ask("register('words', () => { throw new RangeError('not so'); }), register('torn', async () => { throw "
            "'torn'; }),"
            " register('never', () => new Promise(() => {})),"
            " registerStream('late', (answer) => { answer(1); setTimeout(() => answer.end(2), 50); }), ready(), 0");
    };
    std::vector<std::string> ends;
    const auto call = [&](PageFunction function) {
        view->callHandler<int>(std::move(function),
            [&](const Answer<int>& answer) { ends.push_back(answer ? std::to_string(*answer.value) : answer.error); });
    };
    const auto endOf = [&](PageFunction function, std::size_t answers = 1) {
        ends.clear();
        call(std::move(function));
        EXPECT_TRUE(ends.empty());
        runUntil([&] { return ends.size() == answers; }, "the call has ended");
        return ends.back();
    };
    call("torn");
    call({ "never", std::chrono::milliseconds(1) });
    runUntil([&] { return !ends.empty(); }, "the page is not ready in time");
    EXPECT_EQ(ends, std::vector<std::string>{ "never: no answer came in time" });
    prepare();
    runUntil([&] { return ends.size() == 2; }, "the page is ready");
    EXPECT_EQ(ends.back(), "torn: torn");
    EXPECT_EQ(endOf("words"), "words: RangeError: not so");
    EXPECT_EQ(endOf("absent"), "absent: the page has no such function");
    EXPECT_EQ(endOf({ "never", std::chrono::milliseconds(20) }), "never: no answer came in time");
    EXPECT_EQ(endOf({ "late", std::chrono::milliseconds(30) }, 2), "2") << "the first answer came in time";
    ends.clear();
    call("never");
    loadPage();
    EXPECT_EQ(ends, std::vector<std::string>{ "never: another page has come" });
    call("never");
    crashPage(*view);
    runUntil([&] { return ends.size() == 2; }, "the page has died");
    EXPECT_EQ(ends.back(), "never: the page's process has ended");
    load(); // a page without the script
    EXPECT_TRUE(endOf("words").starts_with("words: TypeError: ")) << ends.back();
    ASSERT_TRUE(view->setAllowedOrigins(std::vector<std::string>{ "https://elsewhere.example" }));
    EXPECT_EQ(endOf("words"), "words: the page must not be called");
    ASSERT_TRUE(view->setAllowedOrigins(std::nullopt));
    load("<script>window._handleMessageFromNative = () => {}</script>");
    auto held = std::make_shared<int>();
    const std::weak_ptr<int> watched = held;
    view->callHandler<int>("never", [held = std::move(held)](const auto&) { ADD_FAILURE(); });
    view.reset();
    runUntil([&] { return watched.expired(); }, "the callback goes with the view");
}

TEST_P(BothWaysTest, CallsArriveInTheOrderInWhichTheyWereMade)
{
    std::vector<int> arrived;
    const auto note = [&](int number) { arrived.push_back(number); };
    view->addJavascriptObject(nativeFunctions({ { "now:", note },
                                  { "later::",
                                      [note](int number, Stream<int> results) {
                                          note(number);
                                          results.finish(number);
                                      } } }),
        "order");
    EXPECT_EQ(outcome("(async () => { const later = (number) => callAsync('order.later', number);"
                      " const first = later(1); later(2); callSync('order.now', 3); later(4); await first;"
                      " callSync('order.now', 5); later(6); callSync('order.now', 7); return later(8); })()"),
        8);
    EXPECT_EQ(arrived, (std::vector<int>{ 1, 2, 3, 4, 5, 6, 7, 8 }));
}

TEST_P(BothWaysTest, TypedMethodsSayWhatTheyCannotTakeAndEndTheirStreams)
{
    const auto count = [this](int last, Stream<int> numbers) {
        // Dropped unfinished.
        workers.emplace_back([last, numbers = std::move(numbers)] {
            for (int number = 1; number <= last; ++number)
                numbers.send(number);
        });
    };
    view->addJavascriptObject(nativeFunctions({ { "negate:", [](int number) { return -number; } },
                                  { "add:", [](int left, int right) { return left + right; } }, { "count::", count } }),
        "typed");
    ask("window.why = (run) => outcome(async () => { try { return await run(); }"
        " catch (error) { return [error.message, error.reason]; } }), 0");
    const std::vector<std::pair<std::string, OptionalValue>> rows{
        { "callSync('typed.add', [1, 2])", 3 },
        { "callSync('typed.negate', 'x')", array{ "typed.negate: the argument is not an integer", "bad-argument" } },
        { "stream('typed.count', 1.5).next()", array{ "typed.count: the argument is not an integer", "bad-argument" } },
        { "collect(stream('typed.count', 3))", array{ 1, 2, 3 } },
        { "collect(stream('typed.count', 0))", array{} },
        { "callAsync('typed.count', 0).then((value) => value === undefined)", true },
        { "new Promise((done) => { const all = []; callWithCallback('typed.count', 1, (value, isLast) => {"
          " all.push(value === undefined, isLast); if (isLast) done(all); }); })",
            array{ false, false, true, true } },
    };
    for (const auto& [expression, expected] : rows)
        EXPECT_EQ(outcome("why(() => " + expression + ")"), expected) << expression;
    EXPECT_EQ(outcome("callSync('typed.negate', 'x')"), failure("typed.negate", "bad-argument"));
    EXPECT_EQ(ask("leftovers()"), 0);
    EXPECT_EQ(countOfLine("Js bridge: typed.negate: the argument is not an integer"), 2);
}

TEST_P(BothWaysTest, ResultsOfAnEarlierPagesCallsReachNobody)
{
    view->evaluateJavaScript("callAsync('app.keep', 'old').then(report)");
    waitForKept(1);
    loadPage();
    view->evaluateJavaScript("callAsync('app.keep', 'new').then(report)");
    waitForKept(2);
    const auto before = reports->values.size();
    kept[0]("of the old page", Complete::Yes);
    kept[1]("of the new page", Complete::Yes);
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

TEST_P(BothWaysTest, PageFunctionsAnswerToTheEndWhateverTheyDo)
{
    ask(R"(
        register('sum', (a, b) => a + b),
        register('later', async (text) => { await new Promise((done) => setTimeout(done, 1)); return text + '!'; }),
        register('nothing', () => {}),
        register('throws', () => { throw new Error('for the console'); }),
        register('rejects', () => Promise.reject('for the console')),
        register('unwritable', () => window),
        registerStream('thrice', (answer, from) => {
            answer(from); answer(from + 1); answer.end(from + 2); answer('after the end'); answer.end();
        }),
        registerStream('breaks', (answer) => { answer(1); throw new Error('for the console'); }),
        registerStream('spoils', async (answer) => { answer(1); await null; answer(1n); }),
        register('gone', () => 1), unregister('gone'),
        ready(), 0)");
    const std::vector<OptionalValue> none{ std::nullopt };
    struct Row {
        const char* name;
        array arguments;
        std::vector<OptionalValue> answers;
    };
    const std::vector<Row> rows{
        { "sum", { "汉字 \"'\\\n", "</script>\u2028" }, { "汉字 \"'\\\n</script>\u2028" } },
        { "later", { "soon" }, { "soon!" } },
        { "nothing", {}, none },
        { "throws", {}, none },
        { "rejects", {}, none },
        { "unwritable", {}, none },
        { "thrice", { 7 }, { 7, 8, 9 } },
        { "breaks", {}, { 1, std::nullopt } },
        { "spoils", {}, { 1, std::nullopt } },
        { "gone", {}, none },
        { "absent", {}, none },
        { "__proto__", {}, none },
        // Arguments that cannot be written come as none.
        { "later", { std::numeric_limits<double>::infinity() }, { "undefined!" } },
    };
    for (const auto& row : rows)
        EXPECT_EQ(answersOf(row.name, row.arguments), row.answers) << row.name;
    for (const char* call : { "register('_hasJavascriptMethod', () => true)",
             "registerStream('_hasJavascriptMethod', (answer) => answer.end(true))", "register('text', 'text')" })
        EXPECT_EQ(outcome(call), (array{ "TypeError", nullptr, nullptr })) << call;
    const auto before = ask("prompts")->as_int64();
    answersOf("thrice", { 7 });
    EXPECT_EQ(ask("prompts")->as_int64() - before, 1 + 3 * oneByPrompts); // nothing is sent after the end
    EXPECT_EQ(has("sum"), true);
    for (const char* name : { "gone", "absent", "toString", "__proto__", "_hasJavascriptMethod", "" })
        EXPECT_EQ(has(name), false) << name;
}

TEST_P(BothWaysTest, CallsThatComeBeforeThePageIsReadyAreAnsweredInOrder)
{
    std::vector<OptionalValue> answers;
    for (int number = 0; number < 20; ++number)
        view->callHandler("echo", { number }, [&](OptionalValue value) { answers.push_back(std::move(value)); });
    ask("register('echo', (value) => value), 0");
    EXPECT_TRUE(answers.empty());
    ask("ready(), 0");
    view->callHandler("echo", { 20 }, [&](OptionalValue value) { answers.push_back(std::move(value)); });
    runUntil([&] { return answers.size() == 21; }, "every call is answered");
    for (int number = 0; number <= 20; ++number)
        EXPECT_EQ(answers[static_cast<std::size_t>(number)], number);
}

TEST_F(PageHalfTest, MessagesThatAreNoCallsSpoilNothing)
{
    ask("register('count', (...list) => list.length), ready(), 0");
    const auto before = ask("prompts")->as_int64();
    for (const char* message : { "", "null", "5", "'count'", "{}", "{method: 'count'}", "{method: 5, callbackId: 1}",
             "{method: 'count', callbackId: 'x', data: '[]'}", "[{method: 'count', callbackId: 1}]" })
        ask("_handleMessageFromNative(" + std::string(message) + ") ?? 0");
    EXPECT_EQ(ask("prompts")->as_int64() - before, 10); // the reports' alone: nothing was answered
    // An odd list of arguments is no list, not a fault.
    for (const char* data : { "", ", data: 5", ", data: '{\"length\": 9}'", ", data: 'nonsense'", ", data: [1]" }) {
        const auto start = ask("prompts")->as_int64();
        const auto value = ask("_handleMessageFromNative({method: 'count', callbackId: 99" + std::string(data) + "})");
        EXPECT_EQ(value.has_value(), way == Way::Messages) << data;
        EXPECT_EQ(ask("prompts")->as_int64() - start, 2 + oneByPrompts) << data;
    }
    EXPECT_EQ(answersOf("count", { 1, 2 }), std::vector<OptionalValue>{ 2 });
}

TEST_F(PageHalfTest, ASecondCopyOfTheScriptTakesNothingFromTheFirst)
{
    ask("register('first', () => 1), register('both', () => 1), 0");
    // The address has no double quotes.
    EXPECT_EQ(
        outcome("import(\"" + address("again") + "\").then((copy) => (window.copy = copy).register !== register)"),
        true);
    ask("copy.register('second', () => 2), copy.register('both', () => 2), copy.ready(), 0");
    EXPECT_EQ(answersOf("first"), std::vector<OptionalValue>{ 1 });
    EXPECT_EQ(answersOf("second"), std::vector<OptionalValue>{ 2 });
    EXPECT_EQ(answersOf("both"), std::vector<OptionalValue>{ 2 });
    EXPECT_EQ(
        outcome("Promise.all([callAsync('app.atOnce', 'a'), copy.callAsync('app.atOnce', 'b')])"), (array{ "a", "b" }));
}

TEST_F(PageHalfTest, TheExamplesOfItsDocumentRun)
{
    const auto text = contentOf(kFolder / "README.md");
    const std::regex block("\n```js\n([^`]*)```");
    std::string examples;
    for (std::sregex_iterator match(text.begin(), text.end(), block); match != std::sregex_iterator(); ++match)
        examples += (*match)[1];
    examples = std::regex_replace(examples, std::regex("\\./bridge.js"), address(""));
    const auto called = nativeFunctions({ { "add:", [](int left, int right) { return left + right; } },
        { "subtract:", [](int left, int right) { return left - right; } },
        { "take::", [](OptionalValue size, NSCompletion done) { done(std::move(size), Complete::Yes); } },
        { "start::",
            [](const std::string&, const Stream<int>& percents) { percents.send(50), percents.finish(100); } } });
    for (const auto* name : { "calculator", "camera", "download" })
        view->addJavascriptObject(called, name);
    const auto count = reports->values.size();
    load(R"(<title>Shown</title><script>
        const url = "u", bar = {};
        let isCancelled = false;
        window.onerror = window.onunhandledrejection = (event) => report(String(event.reason ?? event));
        </script><script type="module">)"
        + examples + "report([sum, difference, picture.width, bar.value]);</script>");
    waitForReports(count + 2);
    EXPECT_EQ(reports->values.back(), (array{ 3, 1, 640, 100 }));
    EXPECT_EQ(answersOf("page.title"), std::vector<OptionalValue>{ "Shown" });
    ask("setInterval(() => document.body.click(), 5), 0");
    EXPECT_EQ(answersOf("page.clicks", { 1 }), std::vector<OptionalValue>{ 1 });
}

INSTANTIATE_TEST_SUITE_P(
    , BothWaysTest, testing::Values(Way::Messages, Way::Prompts), testing::PrintToStringParamName());

} // namespace
} // namespace tq::test
