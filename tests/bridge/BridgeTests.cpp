#include "TQWhiteBoardLib/NativeFunctions.h"
#include "tests/support/CallWays.h"
#include "tests/support/PageTest.h"

#include "bridge/CallbackName.h"

#include <boost/json/serialize.hpp>
#include <chrono>
#include <limits>
#include <stdexcept>
#include <thread>

namespace tq::test {
namespace {

OptionalValue text(const std::string& characters) { return boost::json::value(boost::json::string(characters)); }

class BridgeTest : public PageTest {
protected:
    void SetUp() override
    {
        PageTest::SetUp();
        use(DWKWebView::initWithFrame({ 0, 0, 400, 300 }, nullptr));
        view->addJavascriptObject(service, "ns.a");
        view->addJavascriptObject(service, std::nullopt);
    }
    void TearDown() override
    {
        kept = nullptr;
        PageTest::TearDown();
    }
    std::string missing(const std::string& method) const
    {
        return "Error! \n Method " + method + " is not invoked, since there is not a implementation for it";
    }

    NSCompletion kept;
    // Serves every way of calling that the protocol has.
    std::shared_ptr<NSObject> service = nativeFunctions({
        { "echo:", [](OptionalValue argument) { return argument; } },
        { "nothing:", [] {} },
        { "fail:", []() -> OptionalValue { throw std::runtime_error("out of order"); } },
        { "endless:", [] { return OptionalValue(std::numeric_limits<double>::infinity()); } },
        { "later:completion:", [](const NSCompletion&) {} },
        { "thrice::",
            [](const NSCompletion& completion) {
                completion("one", Complete::No);
                completion(std::nullopt, Complete::No);
                completion(3, Complete::Yes);
            } },
        { "keep::", [this](NSCompletion completion) { kept = std::move(completion); } },
        { "break::", [](const NSCompletion&) { throw std::runtime_error("out of order"); } },
    });
};

/// What holds for calls whichever way they come.
class BridgeWaysTest : public BridgeTest, public testing::WithParamInterface<Way> {
protected:
    void load(const std::string& html = "") { BridgeTest::load(bareHalf(GetParam()) + html); }
    /// What the page gets back at once, which is nothing for a message. The call has come by then.
    OptionalValue begin(const std::string& method, const std::string& message)
    {
        return ask("begin(" + boost::json::serialize(boost::json::string(method)) + ", "
            + boost::json::serialize(boost::json::string(message)) + ")");
    }
};

// Texts of few and of many bytes a letter, in runs of every length.
TEST_F(BridgeTest, EveryLetterTravelsWhole)
{
    load(R"(<script>
        function letters(first, last, step) {
            let text = "";
            for (let code = first; code <= last; code += step)
                text += String.fromCodePoint(code);
            return text;
        }
        const runs = [letters(0x20, 0x7F, 1), letters(0x80, 0x7FF, 1), letters(0x800, 0xD7FF, 1),
            letters(0xE000, 0xFFFF, 1), letters(0x10000, 0x10FFFF, 17)];
        let text = runs.join("");
        for (let length = 1; length < 100; ++length)
            text += runs.map((run) => run.slice(0, 2 * length)).join("");
        const back = JSON.parse(prompt("_dsbridge=ns.a.echo", JSON.stringify({ data: text }))).data;
        window.isWhole = back === text && text.length;
    </script>)");
    EXPECT_EQ(ask("window.isWhole > 200000"), OptionalValue(true));
}

TEST_F(BridgeTest, SynchronousCallsGetTheExactResultText)
{
    struct Row {
        std::string method;
        std::string message;
        OptionalText result;
        std::string logLine;
    };
    const std::string none = R"({"code":-1,"data":""})";
    const std::string empty = R"({"code":0,"data":""})";
    const std::string unknown
        = "Js bridge  called, but can't find a corresponded JavascriptObject , please check your code!";
    const std::string deep = R"({"data":)" + std::string(600, '[') + std::string(600, ']') + "}";
    const std::vector<Row> rows{
        { "ns.a.echo", R"({"data":5})", R"({"code":0,"data":5})", "" },
        { "ns.a.echo", R"({"data":{"k":["é",null,true,1.5]}})", R"({"code":0,"data":{"k":["é",null,true,1.5]}})", "" },
        { " \tns.a.echo ", R"({"data":"x"})", R"({"code":0,"data":"x"})", "" },
        { "echo", R"({"data":0})", R"({"code":0,"data":0})", "" },
        { "echo", R"({"_dscbstub":"cb"})", none, missing("echo") },
        { "ns.a.echo", R"({"data":null})", empty, "" },
        { "ns.a.echo", "{}", empty, "" },
        { "ns.a.echo", "[1]", empty, "" },
        { "ns.a.echo", "", empty, "json解析失败：" },
        { "ns.a.echo", deep, empty, "json解析失败：" },
        { "ns.a.nothing", R"({"data":1})", empty, "" },
        { "ns.a.fail", "{}", std::nullopt, "out of order" },
        { "ns.a.endless", "{}", "{}", "" },
        { "ns.a.later", "{}", none, missing("ns.a.later") },
        { " ns.a.absent ", "{}", none, missing(" ns.a.absent ") },
        { "ns.a.echo:", R"({"data":1})", none, missing("ns.a.echo:") },
        { "ns.b.echo", "{}", none, unknown },
        { "", "{}", none, missing("") },
        { "ns.a.", "{}", none, missing("ns.a.") },
    };
    load();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.method + " with " + row.message.substr(0, 40));
        clearLog();
        EXPECT_EQ(call(row.method, row.message), row.result ? text(*row.result) : std::nullopt);
        EXPECT_EQ(logLines().size(), row.logLine.empty() ? 0U : 1U);
        EXPECT_TRUE(row.logLine.empty() || hasLineBeginning(row.logLine));
    }
}

TEST_P(BridgeWaysTest, StreamedResultsArriveInOrderAndDeleteTheirFunction)
{
    load("<script>window.cb = v => report(['cb', v, typeof window.cb]);</script>");
    // The first completion comes before the method returns, so that the call's own result carries the last value too.
    EXPECT_EQ(begin("thrice", R"({"data":0,"_dscbstub":"cb"})"),
        GetParam() == Way::Prompts ? OptionalValue(R"({"code":0,"data":3})") : std::nullopt);
    const auto before = reports->values.size();
    waitForReports(before + 3);
    ASSERT_GE(reports->values.size(), before + 3);
    EXPECT_EQ(reports->values[before], OptionalValue(boost::json::array{ "cb", "one", "function" }));
    EXPECT_EQ(reports->values[before + 1], OptionalValue(boost::json::array{ "cb", "one", "function" }));
    EXPECT_EQ(reports->values[before + 2], OptionalValue(boost::json::array{ "cb", 3, "function" }));
    EXPECT_EQ(ask("typeof window.cb"), OptionalValue("undefined"));
}

TEST_P(BridgeWaysTest, ResultsOfEveryKindReachThePageUnharmed)
{
    const boost::json::value values = { "\"'\\\n\r\t</script>%25%", "\u2028\u2029", "汉字 \xF0\x9F\x98\x80 é",
        boost::json::string("a\0b", 3), "`${1}`", boost::json::array{ nullptr, false, -0.5, boost::json::object{} },
        boost::json::object{ { "__proto__", { { "k", 1 } } } } };
    load();
    for (const auto& value : values.get_array()) {
        ask("window.cb = report, 0");
        begin("keep", R"({"_dscbstub":"cb"})");
        const auto before = reports->values.size();
        kept(value, Complete::Yes);
        waitForReports(before + 1);
        EXPECT_EQ(reports->values.back(), OptionalValue(value));
    }
}

TEST_P(BridgeWaysTest, ErrorsOfThePagesFunctionSpoilNothing)
{
    load("<script>window.bad = v => { report(v); throw 1; }; window.good = v => report(v);</script>");
    begin("keep", R"({"_dscbstub":"bad"})");
    auto bad = kept;
    begin("keep", R"({"_dscbstub":"good"})");
    const auto before = reports->values.size();
    bad(1, Complete::Yes);
    waitForReports(before + 1);
    kept(2, Complete::Yes);
    waitForReports(before + 2);
    EXPECT_EQ(reports->values.back(), OptionalValue(2));
}

TEST_F(BridgeTest, ACallbackNameThatIsNoIdentifierGetsNoScript)
{
    for (const char* name :
        { "cb", "$._a1.b", "window.cb", "self.window.app.done", "onResult", "App.take", "app.top.x" })
        EXPECT_TRUE(isCallable(name)) << name;
    for (const char* name :
        { "", ".", "a.", ".a", "1a", "class", "new.a", "a.1", "a b", "a(1)", "x};report('run');{", "a\n", "é" })
        EXPECT_FALSE(isCallable(name)) << name;

    load("<script>window.cb = v => report(v);</script>");
    const auto before = reports->values.size();
    for (const std::string name : { R"("x};report('run');{")", R"("")", "5", "[]" }) {
        call("thrice", R"({"_dscbstub":)" + name + "}");
        EXPECT_EQ(call("_tq.open", R"({"data":{"receiver":)" + name + "}}"), text(R"({"code":0,"data":""})"));
    }
    call("thrice", R"({"_dscbstub":"cb"})");
    waitForReports(before + 9 + 3);
    for (const auto& value : reports->values)
        EXPECT_NE(value, OptionalValue("run"));
}

TEST_F(BridgeTest, WhatTheEngineGivesToEveryPageIsNoCallback)
{
    load();
    // Classes whose call fails, and that have no functions of their own but such as compute something, may be named.
    const auto names = ask(R"((() => {
        const computing = /^(abort|any|timeout|error|json|redirect|from|fromMatrix|fromPoint|fromRect|fromQuad|of|parse|parseAll|supports|fromFloat32Array|fromFloat64Array|fromBase64|fromHex|isView|isTypeSupported|isConfigSupported|groupBy|only|lowerBound|upperBound|bound|supportedEntryTypes)$/;
        const isThing = (of, name) => {
            try {
                return typeof of[name] === "function" || (typeof of[name] === "object" && of[name] !== null);
            } catch { return true; } // this page may not have it
        };
        const isHarmless = (thing) => {
            try { thing("1"); return false; } catch { }
            for (let at = thing; at && at !== Function.prototype && at !== Object.prototype; at = Object.getPrototypeOf(at))
                for (const name of Object.getOwnPropertyNames(at))
                    if (name !== "prototype" && isThing(thing, name) && !computing.test(name)) return false;
            return true;
        };
        const names = new Set();
        for (let at = window; at; at = Object.getPrototypeOf(at))
            for (const name of Object.getOwnPropertyNames(at))
                if (/^[\w$]+$/.test(name) && !/^\d/.test(name) && isThing(window, name)
                    && !(/^[A-Z]/.test(name) && isHarmless(window[name])) && name !== "report")
                    names.add(name);
        return [...names];
    })())");
    ASSERT_GT(names->as_array().size(), 100U);
    for (const auto& value : names->as_array()) {
        const std::string name(value.as_string());
        for (const auto* path : { "", "window.", "globalThis.self." })
            EXPECT_FALSE(isCallable(path + name)) << path << name;
    }
    for (const char* name :
        { "self.top.eval", "cb.constructor", "cb.constructor.constructor", "a.__proto__.b", "frame.contentWindow.eval",
            "frame.eval", "frame.location.assign", "element.insertAdjacentHTML", "script.append",
            "element.ownerDocument.write", "a.setTimeout", "$.globalEval", "Function", "window.Function" })
        EXPECT_FALSE(isCallable(name)) << name;
}

TEST_F(BridgeTest, TenThousandResultsFromAThreadCostOneEvaluationPerInterval)
{
    // All results of one evaluation come before the page's next microtask.
    load("<script>var n = 0, runs = 0, open = false, ordered = true;"
         "window.cb = v => { ordered = ordered && v === n++;"
         "  if (!open) { open = true; ++runs; queueMicrotask(() => { open = false; }); }"
         "  if (n === 10000) report({ordered, runs}); };</script>");
    call("keep", R"({"_dscbstub":"cb"})");
    const auto before = reports->values.size();
    const auto begin = std::chrono::steady_clock::now();
    // Spread over several intervals, while the main loop runs.
    const std::jthread worker([completion = kept] {
        for (int index = 0; index < 10000; ++index) {
            if (index % 250 == 0)
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            completion(index, index == 9999 ? Complete::Yes : Complete::No);
        }
    });
    waitForReports(before + 1);
    const auto elapsed = std::chrono::steady_clock::now() - begin;
    const auto& result = reports->values.back()->get_object();
    EXPECT_EQ(result.at("ordered"), true);
    const auto runs = result.at("runs").to_number<std::int64_t>();
    EXPECT_GT(runs, 1);
    // A flush that comes late is followed by the one that was asked for meanwhile.
    EXPECT_LE(runs, 2 * (elapsed / std::chrono::milliseconds(50)) + 2);
}

TEST_P(BridgeWaysTest, ManyThreadsCompleteWhileThePageCalls)
{
    load("<script>var got = {}; function cb(i) { return v => { got[i] = (got[i] || 0) + 1; }; }"
         "for (let i = 0; i < 8; ++i) window['cb' + i] = cb(i);</script>");
    std::vector<std::jthread> workers;
    for (int index = 0; index < 8; ++index) {
        begin("keep", R"({"_dscbstub":"cb)" + std::to_string(index) + R"("})");
        workers.emplace_back([completion = kept] {
            for (int round = 0; round < 200; ++round)
                completion(round, round == 199 ? Complete::Yes : Complete::No);
        });
    }
    for (int round = 0; round < 20; ++round) {
        view->removeJavascriptObject("ns.a");
        view->addJavascriptObject(service, "ns.a");
        EXPECT_EQ(call("echo", R"({"data":1})"), OptionalValue(R"({"code":0,"data":1})"));
    }
    runUntil([&] { return ask("Object.values(got).filter(n => n === 200).length") == OptionalValue(8); },
        "every stream has ended");
}

TEST_P(BridgeWaysTest, RegistryChangesTakeEffectFromAnyThread)
{
    std::string called;
    const auto noting = [&called](const char* who) {
        return nativeFunctions({ { "note:", [&called, who] { called += who; } } });
    };
    load();
    const auto calledAt = [&](const char* method) {
        called.clear();
        begin(method, "{}");
        return called;
    };
    view->addJavascriptObject(noting("first"), "ns.a");
    view->addJavascriptObject(noting("other"), "ns.a");
    EXPECT_EQ(calledAt("ns.a.note"), "other");
    view->addJavascriptObject(nullptr, "ns.a");
    EXPECT_EQ(calledAt("ns.a.note"), "other");
    std::jthread([this] { view->removeJavascriptObject("ns.a"); }).join();
    EXPECT_EQ(calledAt("ns.a.note"), "");
    view->addJavascriptObject(noting("nameless"), std::nullopt);
    EXPECT_EQ(calledAt("note"), "nameless");
    view->removeJavascriptObject(std::nullopt);
    EXPECT_EQ(calledAt("note"), "");
    view->removeJavascriptObject("never there");
}

TEST_P(BridgeWaysTest, DebugModeShowsMissingMethodsInThePage)
{
    view->setDebugMode(DebugMode::On);
    load("<script>window.alert = text => report(text);</script>");
    const auto before = reports->values.size();
    begin("ns.a.absent", R"({"_dscbstub":"cb"})");
    waitForReports(before + 2);
    EXPECT_EQ(reports->values.back(), text(missing("ns.a.absent")));
    EXPECT_EQ(countOfLine(missing("ns.a.absent")), 1);
}

TEST_P(BridgeWaysTest, DebugModeLetsExceptionsEndTheProgram)
{
    load("<script>window.cb = () => {};</script>");
    for (const char* name : { "ns.a.fail", "ns.a.break" })
        begin(name, name == std::string("ns.a.break") ? R"({"_dscbstub":"cb"})" : "{}");
    EXPECT_EQ(countOfLine("out of order"), 2) << "else they are logged";
    view->setDebugMode(DebugMode::On);
    EXPECT_DEATH(begin("ns.a.break", R"({"_dscbstub":"cb"})"), "out of order");
}

TEST_F(BridgeTest, LinesThatAreNoCallsSpoilNothing)
{
    load(bareHalf(Way::Messages) + "<script>window.cb = v => report(v);</script>");
    const auto before = reports->values.size();
    // Without a number nobody waits, whatever the message says.
    ask(R"(post('\t"ns.a.thrice"\t{"_dscbstub":"cb"}'))");
    EXPECT_EQ(countOfLine(missing("ns.a.thrice")), 1);
    for (const char* line :
        { "", R"(\n\n)", "x", "-", "-1", "-0", R"(1\t)", R"(\t\t)", R"(1\t5\t{})", R"(2\t"ns.a.thrice)",
            R"(99999999999999999999\t"ns.a.thrice"\t{})", R"(-9223372036854775808)", R"(3\t"ns.a.thrice"\tnonsense)" })
        ask("post('" + std::string(line) + "')");
    ask(R"(begin("keep", '{"_dscbstub":"cb"}'))");
    const auto sent = reports->values.size();
    EXPECT_EQ(sent - before, 15U) << "nothing has come";
    kept("well", Complete::Yes);
    waitForReports(sent + 1);
    EXPECT_EQ(reports->values.back(), OptionalValue("well"));
}

TEST_F(BridgeTest, EveryMainFrameIsMarkedAndSubframesAreNot)
{
    load("<iframe srcdoc='<script>parent.inner = typeof window._dswk;</script>'></iframe>");
    EXPECT_EQ(ask("window._dswk"), OptionalValue(true));
    runUntil([&] { return ask("window.inner || null").has_value(); }, "the inner frame has run");
    EXPECT_EQ(ask("window.inner"), OptionalValue("undefined"));
    view->loadUrl("not an address");
    EXPECT_EQ(ask("window.inner"), OptionalValue("undefined")) << "the page stays";
}

TEST_P(BridgeWaysTest, ThePendingCompletionOfAPromptKeepsTheViewUntilItIsDropped)
{
    std::thread::id destroyedOn;
    load("<script>window.cb = () => {};</script>");
    view->addJavascriptObject(witness(destroyedOn), "witness");
    begin("keep", R"({"_dscbstub":"cb"})");
    view.reset();
    runPending();
    EXPECT_EQ(destroyedOn == std::thread::id(), GetParam() == Way::Prompts);
    std::thread([completion = std::exchange(kept, nullptr)]() mutable { completion = nullptr; }).join();
    runUntil([&] { return destroyedOn != std::thread::id(); }, "the view is destroyed");
    EXPECT_EQ(destroyedOn, std::this_thread::get_id());
}

INSTANTIATE_TEST_SUITE_P(
    , BridgeWaysTest, testing::Values(Way::Messages, Way::Prompts), testing::PrintToStringParamName());

} // namespace
} // namespace tq::test
