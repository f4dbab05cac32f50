// What a developer sees of a page, its console in the log, and the messages that the console comes by.

#include "TQWhiteBoardLib/TQWBLog.h"
#include "tests/support/Engine.h"
#include "tests/support/PageTest.h"

#include <algorithm>
#include <boost/json/serialize.hpp>
#include <boost/json/value_from.hpp>
#include <stdexcept>

namespace tq::test {
namespace {

using Lines = std::vector<std::string>;

// Keeps what pages send, as texts.
class Receiver final : public WKScriptMessageHandler {
public:
    void didReceiveScriptMessage(const WKScriptMessage& message) override
    {
        messages.push_back(message.name + " " + (message.body ? boost::json::serialize(*message.body) : "nothing"));
        if (then)
            then();
    }
    Lines messages;
    std::function<void()> then;
};

class ConsoleTest : public PageTest {
protected:
    void SetUp() override
    {
        PageTest::SetUp();
        auto configuration = std::make_shared<WKWebViewConfiguration>();
        controller = configuration->userContentController;
        controller->addScriptMessageHandler(receiver, "first");
        controller->addScriptMessageHandler(receiver, "second");
        controller->addScriptMessageHandler(nullptr, "none");
        use(DWKWebView::initWithFrame({ 0, 0, 400, 300 }, configuration));
        setLogHandler(
            [this](TQWBLogLevel level, std::string_view line) {
                lines.push_back(std::to_string(static_cast<int>(level)) + " " + std::string(line));
            },
            TQWBLogLevel::Debug);
    }
    void TearDown() override
    {
        setLogHandler(nullptr);
        controller.reset();
        receiver->then = nullptr;
        PageTest::TearDown();
    }
    // A message is no prompt: it comes when it comes. What was sent before this one has come then.
    void waitForMessages()
    {
        const auto before = receiver->messages.size();
        view->evaluateJavaScript("webkit.messageHandlers.second.postMessage('marker')");
        runUntil(
            [&] {
                return std::ranges::count(receiver->messages, "second \"marker\"") > m_markers
                    && receiver->messages.size() > before;
            },
            "the messages have come");
        ++m_markers;
    }
    std::shared_ptr<WKUserContentController> controller;
    std::shared_ptr<Receiver> receiver = std::make_shared<Receiver>();
    Lines lines;

private:
    long m_markers = 0;
};

constexpr const char* kWhatIsOfIt
    = "[console.log.toString().includes('[native code]'), typeof webkit.messageHandlers._tqconsole]";

TEST_F(ConsoleTest, WhatAPageWritesAndWhatFailsInItIsInTheLog)
{
    view->setDebugMode(DebugMode::On);
    load(R"(<script>
        console.log("text", 5, null, undefined, true, { a: [1, "b"] });
        console.info("line\nbreak \u202E");
        console.warn(); console.error(new RangeError("far")); console.debug(Symbol("s"), 7n, [1n]);
        const circle = {}; circle.self = circle;
        console.log(circle, window, { get broken() { throw 1; } }, { toJSON() { console.log("never"); return 3; } });
        console.log("x".repeat(100000)); console.log(Array(100000).fill(1));
        frame = document.createElement("iframe"); document.documentElement.append(frame);
        frame.contentWindow.console.log("in a frame");
        </script><script>
        setTimeout(() => undefinedFunction());
        Promise.reject(new TypeError("nobody waits"));
        setTimeout(() => report("later"), 50);
        </script>)");
    waitForReports(2);
    waitForMessages();
    // Where in the source does not matter for most of them.
    auto texts = lines;
    for (auto& line : texts)
        line.resize(line.rfind(" (data:text/html") == line.npos ? line.size() : line.rfind(" (data:text/html"));
    const auto has = [&](std::string_view part) {
        EXPECT_EQ(
            std::ranges::count_if(texts, [&](const std::string& line) { return line.find(part) != std::string::npos; }),
            1)
            << part << boost::json::serialize(boost::json::value_from(texts));
    };
    has(R"(2 Js console, log: text 5 null undefined true {"a":[1,"b"]})");
    has(R"(2 Js console, info: line\nbreak \u202e)");
    has("1 Js console, warn: ");
    has(std::string("0 Js console, error: RangeError: far < ") + kEngine.pagesFrame + "data:");
    has("3 Js console, debug: Symbol(s) 7 [\"1\"]");
    has("2 Js console, log: [object Object] [object Window] [object Object] 3");
    has("2 Js console, log: " + std::string(4096, 'x') + "… (cut)");
    has("2 Js console, log: [object Array]");
    if (kEngine.runsScriptsInEmptyFrames)
        has("2 Js console, log: in a frame");
    has(std::string("0 Js console, uncaught error: ") + kEngine.unknownFunction);
    has("0 Js console, unhandled rejection: TypeError: nobody waits < ");
    view->evaluateJavaScript("function f() {\n console.log('here'); }\n f()");
    waitForMessages();
    EXPECT_TRUE(lines.back().starts_with(std::string("2 Js console, log: here (") + kEngine.evaluatedIn))
        << lines.back();
    EXPECT_TRUE(lines.back().ends_with(kEngine.evaluatedAt)) << lines.back();
}

TEST_F(ConsoleTest, NothingOfItIsInAPageWithoutDebugMode)
{
    const auto scripts = controller->userScripts();
    load("<script>console.log('unheard'); Promise.reject(1)</script>");
    EXPECT_EQ(ask(kWhatIsOfIt), (boost::json::array{ true, "undefined" }));
    EXPECT_FALSE(isInspectorAllowed(*view));
    view->setDebugMode(DebugMode::On);
    view->setDebugMode(DebugMode::On);
    // A script of the view's other affairs takes nothing away.
    view->setCallingFrames(CallingFrames::All);
    EXPECT_TRUE(isInspectorAllowed(*view));
    load("<script>console.log('heard')</script>");
    EXPECT_EQ(ask(kWhatIsOfIt), (boost::json::array{ false, "undefined" }));
    EXPECT_EQ(controller->userScripts(), scripts);
    EXPECT_EQ(controller->scriptMessageHandlers().size(), 2U);
    view->setDebugMode(DebugMode::Off);
    EXPECT_FALSE(isInspectorAllowed(*view));
    EXPECT_EQ(ask("(console.log('too late'), 1)"), OptionalValue(1));
    load("<script>console.log('unheard');"
         "window.dispatchEvent(new CustomEvent('_tqconsole', { detail: ['log', 'unheard', ''] }))</script>");
    EXPECT_EQ(ask(kWhatIsOfIt), (boost::json::array{ true, "undefined" }));
    EXPECT_EQ(ask("window._dswk"), OptionalValue(true));
    waitForMessages();
    ASSERT_EQ(lines.size(), 1U) << lines[1];
    EXPECT_TRUE(lines[0].starts_with("2 Js console, log: heard ("));
}

TEST_F(ConsoleTest, WhatAPageSendsInTheConsolesPlaceIsOneLineOrNone)
{
    view->setDebugMode(DebugMode::On);
    load();
    view->evaluateJavaScript(R"js(
        const send = detail => window.dispatchEvent(new CustomEvent("_tqconsole", { detail }));
        const circle = []; circle.push(circle);
        for (const value of [undefined, null, 5, "log", {}, [], ["log", 5, 6], ["LOG", "x", ""], ["left out", 5],
            circle, [["log"]], ["error", "a\n0 b", "c\nd)"],
            ["warn", "x", "y".repeat(9000)]])
            send(value);
        let deep = 1;
        for (let i = 0; i < 2000; ++i) deep = [deep];
        send(deep);
        send(1e300);
        window.dispatchEvent(new Event("_tqconsole"));
        send([Symbol(), () => 1, { toString() { throw 1; } }]);
    )js");
    waitForMessages();
    EXPECT_EQ(lines,
        (Lines{ "2 Js console, log: 5 (6)", "2 Js console, log: ", R"(0 Js console, error: a\n0 b (c\nd)))",
            "1 Js console, warn: x (" + std::string(4096, 'y') + "… (cut))" }));
    lines.clear();
    // A page that has made its own world unusable has spoilt its own console alone.
    view->evaluateJavaScript("JSON.stringify = Array.prototype.push = String.prototype.slice = Date.now = () => { throw"
                             " 1; }; console.log('spoilt', {}); console.log = 5;"
                             " prompt('_dsbridge=test.report', '{\"data\":\"alive\"}')");
    waitForReports(2);
    EXPECT_EQ(reports->values.back(), OptionalValue("alive"));
}

TEST_F(ConsoleTest, MessagesArriveInOrderAsJsonAndTheirHandlerMayThrowOrEndTheView)
{
    load("<script>for (const value of [1, 'a', { b: [null, 2.5] }, undefined])"
         "webkit.messageHandlers.first.postMessage(value); webkit.messageHandlers.second.postMessage(null)</script>"
         "<iframe srcdoc='<script>webkit.messageHandlers.first.postMessage(`frame`)</script>'></iframe>");
    runUntil([&] { return receiver->messages.size() >= 6; }, "the messages have come");
    EXPECT_EQ(receiver->messages,
        (Lines{ "first 1", "first \"a\"", R"(first {"b":[null,2.5E0]})", "first nothing", "second null",
            "first \"frame\"" }));
    EXPECT_EQ(ask("typeof webkit.messageHandlers.none"), OptionalValue("undefined"));
    receiver->then = [] { throw std::runtime_error("of the handler"); };
    waitForMessages();
    EXPECT_EQ(lines.back(), "0 of the handler");
    receiver->then = [this] { view.reset(); };
    view->evaluateJavaScript("for (let i = 0; i < 3; ++i) webkit.messageHandlers.first.postMessage(i)");
    runUntil([&] { return !view; }, "the handler has let go of the view");
    const auto count = receiver->messages.size();
    runPending();
    EXPECT_EQ(receiver->messages.size(), count) << "a view that is gone has no messages";
}

} // namespace
} // namespace tq::test
