#include "tests/support/Content.h"
#include "tests/support/Engine.h"
#include "tests/support/HttpsServer.h"
#include "tests/support/PageTest.h"

#include "TQWhiteBoardLib/NativeFunctions.h"
#include "TQWhiteBoardLib/TQWBWebView.h"

#include <algorithm>
#include <atomic>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <map>

namespace tq::test {
namespace {

// Two origins of one server: "localhost" is the good one, "127.0.0.1" the other. Pages tell the server what they got.
bool hasRefused(const std::string& origin) { return countOfLine("Js bridge: refused for a page of " + origin) > 0; }

class OriginTest : public PageTest {
protected:
    void SetUp() override
    {
        PageTest::SetUp();
        room = TQWBWebView::initWithFrame({ 0, 0, 300, 200 }, nullptr);
        room->setNavigationDelegate(room);
        use(room);
    }
    void TearDown() override
    {
        isHeld = false;
        completions.clear();
        room->call("TQJSBridge.onRoomQuited", "{}");
        room.reset();
        PageTest::TearDown();
    }
    std::string good() const { return "https://" + server.host(); }
    std::string other() const { return "https://127.0.0.1" + server.host().substr(server.host().find(':')); }
    // Loads a page and returns what its call was answered with.
    std::string answerAt(const std::string& address)
    {
        const auto before = told("/got").size();
        view->loadUrl(address + "/page");
        return toldAfter("/got", before);
    }
    std::string toldAfter(const std::string& path, std::size_t count)
    {
        runUntil([&] { return told(path).size() > count; }, "the page has told what it got");
        return told(path).empty() ? "" : told(path).back();
    }
    // The bodies that were sent to a path.
    std::vector<std::string> told(const std::string& path) const
    {
        std::vector<std::string> bodies;
        for (const auto& request : server.requests(path))
            bodies.push_back(request.body);
        return bodies;
    }

    static constexpr const char* kPage = R"(<script>
        const tell = (path, text) => fetch(path, {method: "POST", body: String(text)});
        window.take = (value) => tell("/taken", value);
        window._handleMessageFromNative = (message) => tell("/called", message.method);
        const callHome = () => prompt("_dsbridge=test.report", '{"data":"hello"}');
        tell("/got", callHome());
    </script>)";
    static constexpr const char* kRefused = R"({"code":-1,"data":""})";
    static constexpr const char* kAnswered = R"({"code":0,"data":""})";

    // What the pages of paths other than "/page" begin with.
    static constexpr const char* kHelpers = R"(<script>
        const tell = (path, value) => fetch(path, {method: "POST", body: JSON.stringify(value)});
        const call = (name, more) => prompt("_dsbridge=" + name, JSON.stringify({data: "hello", ...more}));
    </script>)";
    // The page's calls of "keep.stream" wait for the test.
    void keepCompletions()
    {
        view->addJavascriptObject(nativeFunctions({ { "stream::",
                                      [this](NSCompletion taken) { completions.push_back(std::move(taken)); } } }),
            "keep");
    }
    // Waits for what a page tells, and reads it.
    boost::json::value toldOnce(const std::string& path) { return boost::json::parse(toldAfter(path, 0)); }

    std::vector<NSCompletion> completions;
    std::atomic<bool> isHeld = false;
    // Complete before the first page is loaded.
    std::map<std::string, std::string> pages;
    std::shared_ptr<TQWBWebView> room;
    HttpsServer server{ [this](const ReceivedRequest& request) {
        // Held back while the test says so; the connection has a thread of its own.
        while (isHeld && request.path() == "/held")
            std::this_thread::yield();
        if (request.path() == "/bridge.js")
            return HttpsServer::answerWith(
                200, contentOf(TQWB_PAGE_FOLDER "/bridge.js"), "Content-Type: text/javascript\r\n");
        const auto found = pages.find(request.path());
        return HttpsServer::pageOf(found == pages.end() ? kPage : kHelpers + found->second);
    } };
};

TEST_F(OriginTest, PagesOfOtherOriginsAreRefusedAndHearNothing)
{
    EXPECT_EQ(answerAt(other()), kAnswered) << "any page at first";
    ASSERT_TRUE(view->setAllowedOrigins(std::vector{ good() }));
    const auto reported = reports->values.size();
    EXPECT_EQ(answerAt(other()), kRefused);
    EXPECT_EQ(reports->values.size(), reported);
    EXPECT_TRUE(hasRefused(other()));

    EXPECT_EQ(answerAt(good()), kAnswered);
    view->dispatchStartupQueue();
    view->callHandler("hello", boost::json::array{});
    EXPECT_EQ(toldAfter("/called", 0), "hello");
    EXPECT_EQ(answerAt(other()), kRefused);
    view->callHandler("secret", boost::json::array{});
    view->evaluateJavaScript("tell('/got', 'the last')");
    EXPECT_EQ(toldAfter("/got", 4), "the last");
    EXPECT_EQ(told("/called").size(), 1U);

    for (const std::string text : { "", "localhost", "https://", "https://host/path", "https://*", "data:,x" })
        EXPECT_FALSE(view->setAllowedOrigins(std::vector{ other(), text })) << text;
    EXPECT_EQ(answerAt(other()), kRefused) << "nothing has been changed";
    ASSERT_TRUE(view->setAllowedOrigins(std::nullopt));
    EXPECT_EQ(answerAt(other()), kAnswered);
}

TEST_F(OriginTest, APageThatIsStillToComeLendsItsOriginToNobody)
{
    ASSERT_TRUE(view->setAllowedOrigins(std::vector{ good() }));
    EXPECT_EQ(answerAt(other()), kRefused);
    isHeld = true;
    view->loadUrl(good() + "/held");
    runUntil([&] { return !server.requests("/held").empty(); }, "the page to come is asked for");
    EXPECT_EQ(view->URL() == good() + "/held", kEngine.namesPagesToCome);
    // (What this page fetches now may be given up with it.)
    clearLog();
    view->evaluateJavaScript("callHome()");
    runUntil([&] { return hasRefused(other()); }, "the page that is there is refused");
    isHeld = false;
    runUntil([&] { return told("/got").back() == kAnswered; }, "the page to come is answered");
}

TEST_F(OriginTest, ResultsDoNotFollowToTheNextPage)
{
    ASSERT_TRUE(view->setAllowedOrigins(std::vector{ good() }));
    EXPECT_EQ(answerAt(good()), kAnswered);
    keepCompletions();
    view->evaluateJavaScript("prompt('_dsbridge=keep.stream', '{\"_dscbstub\":\"take\"}')");
    runUntil([&] { return !completions.empty(); }, "the page has called");
    completions[0](boost::json::value("for you"), Complete::No);
    EXPECT_EQ(toldAfter("/taken", 0), "for you");
    EXPECT_EQ(answerAt(other()), kRefused);
    clearLog();
    completions[0](boost::json::value("for you only"), Complete::Yes);
    runUntil([&] { return hasRefused(other()); }, "the result is dropped");
    view->evaluateJavaScript("tell('/got', 'the last')");
    EXPECT_EQ(toldAfter("/got", 2), "the last");
    EXPECT_EQ(told("/taken").size(), 1U);
}

TEST_F(OriginTest, AFrameOfAnotherOriginRunsNothingInThePageAroundIt)
{
    pages["/outer"] = "<title>As it was</title><script>window.hits = 0; window.take = (value) => tell('/taken', value);"
                      "</script><form id=form></form><script id=empty></script><iframe id=inner name=inner src='"
        + other() + "/frame'></iframe>";
    pages["/frame"] = R"js(<script>
        for (const name of ["eval", "Function", "setTimeout", "setInterval", "window.eval", "self.top.eval", "document.write",
            "globalThis.window.self.eval", "document.body.insertAdjacentHTML", "location.assign", "location.replace", "open",
            "fetch", "empty.append", "empty.ownerDocument.write", "inner.eval", "inner.parent.eval",
            "form.constructor.constructor", "take.constructor", "history.go", "navigation.navigate"])
            for (const data of ["hits = 1; document.title = 'hit'", "javascript:void(document.title = 'hit')", "/page"])
                call("echo.later", {data, _dscbstub: name});
        call("echo.later", {_dscbstub: "take"});
    </script>)js";
    // Its frame calls once: nothing of it is answered when the frame's origin may call.
    pages["/refused"] = "<iframe src='" + other() + "/page'></iframe>";
    view->addJavascriptObject(
        nativeFunctions({ { "later::",
            [](const OptionalValue& value, const NSCompletion& completion) { completion(value, Complete::Yes); } } }),
        "echo");
    EXPECT_EQ(answerAt(other()), kAnswered) << "its certificate is taken";
    ASSERT_TRUE(view->setAllowedOrigins(std::vector{ good() }));
    if (kEngine.tellsFrames) {
        clearLog();
        view->loadUrl(good() + "/refused");
        runUntil([&] { return hasRefused(other()); }, "the frame is refused");
        ASSERT_TRUE(view->setAllowedOrigins(std::vector{ good(), other() }));
    }
    view->loadUrl(good() + "/outer");
    EXPECT_EQ(toldOnce("/taken"), "hello");
    view->evaluateJavaScript("setTimeout(() => tell('/state', [hits, document.title, location.pathname]))");
    EXPECT_EQ(toldOnce("/state"), (boost::json::array{ 0, "As it was", "/outer" }));
}

TEST_F(OriginTest, OnlyTheMainFrameCallsWhereTheApplicationSaysSo)
{
    const auto ask = [&](const std::string& script, const std::string& path) {
        const auto before = told(path).size();
        view->evaluateJavaScript(script);
        return toldAfter(path, before);
    };
    pages["/outer"]
        = "<script>addEventListener('pageshow', (event) => tell('/shown', [event.persisted,"
          " call('test.report', {_tqframe})]));</script><iframe srcdoc='x'></iframe><iframe></iframe><iframe src='"
        + other() + "/frame'></iframe>";
    pages["/frame"] = R"(<script>
        let seen = "nothing";
        try { seen = parent._tqframe; } catch { }
        tell("/framed", [seen, typeof _tqframe, call("test.report"), call("test.report", {_tqframe: "0".repeat(32)}),
            call("test.report", {_tqframe: ""}), call("test.report", {_dscbstub: "take"}), call("_dsb.dsinit")]);
    </script>)";
    pages["/own"] = "<script>tell('/seen', [typeof _tqframe, call('test.report')])</script>";
    // The same host, another port.
    HttpsServer neighbour([](const ReceivedRequest&) {
        return HttpsServer::pageOf("<title>Neighbour</title><script>document.title = typeof _tqframe</script>");
    });
    EXPECT_EQ(answerAt(other()), kAnswered);
    view->setCallingFrames(CallingFrames::MainFrameOnly);
    EXPECT_EQ(answerAt(good()), kRefused) << "no origin is allowed, and nobody knows a secret";
    ASSERT_TRUE(view->setAllowedOrigins(std::vector{ good() }));
    // What debug mode adds to pages takes nothing away.
    view->setDebugMode(DebugMode::On);
    view->loadUrl(good() + "/outer");
    EXPECT_EQ(toldOnce("/shown"), (boost::json::array{ false, kAnswered }));
    const auto reported = reports->values.size();
    EXPECT_EQ(toldOnce("/framed"),
        (boost::json::array{ "nothing", "undefined", kRefused, kRefused, kRefused, kRefused, kRefused }));
    EXPECT_EQ(ask("tell('/frames', [0, 1].map((at) => [typeof frames[at]._tqframe,"
                  " frames[at].prompt('_dsbridge=test.report', '{\"data\":1}')]))",
                  "/frames"),
        boost::json::serialize(boost::json::array{ { "undefined", kRefused }, { "undefined", kRefused } }));
    EXPECT_EQ(reports->values.size(), reported);
    EXPECT_EQ(ask("tell('/named', [Object.keys(window).includes('_tqframe'), _tqframe.length, (() => { try {"
                  " Object.defineProperty(window, '_tqframe', {value: 1}); } catch { } return _tqframe.length; })()])",
                  "/named"),
        "[false,32,32]");

    view->loadUrl("https://" + neighbour.host() + "/");
    runUntil([&] { return view->pageOrigin() == "https://" + neighbour.host() && view->estimatedProgress() == 1; },
        "the neighbour's page is there");
    EXPECT_EQ(answerAt(other()), kRefused);
    // The address of another origin leads back to a page that still knows its own secret, also when others came to it.
    ASSERT_TRUE(view->setAllowedOrigins(std::vector<std::string>{ good(), "https://127.0.0.2" }));
    view->evaluateJavaScript("history.go(-2)");
    runUntil([&] { return told("/shown").size() == 2; }, "the page is shown again");
    EXPECT_EQ(boost::json::parse(told("/shown").back()).at(1), kAnswered);

    view->setCallingFrames(CallingFrames::All);
    view->loadUrl(good() + "/own");
    EXPECT_EQ(toldOnce("/seen"), (boost::json::array{ "undefined", kAnswered }));
}

TEST_F(OriginTest, MessagesAreTakenOfThePageAloneThatHasOpenedItsWay)
{
    pages["/module"] = R"(<script type=module>
        import * as native from "/bridge.js";
        window.later = () => native.callAsync("test.later", 1).then((value) => value, (error) => error.reason)
            .then((value) => tell("/later", value));
        later();
    </script><iframe src=')"
        + other() + "/frame'></iframe>";
    pages["/frame"] = R"(<script>
        const line = `\n1\t"test.later"\t{"data":1}`;
        const post = (head) => window.webkit ? webkit.messageHandlers._tqcalls.postMessage(head + line) : Promise.reject();
        Promise.allSettled(["", "x", "\t"].map(post))
            .then((all) => tell("/framed", [call("test.report"), ...all.map((one) => one.status)]));
    </script>)";
    int calls = 0;
    view->addJavascriptObject(nativeFunctions({ { "report:", [](OptionalValue) {} },
                                  { "later::",
                                      [&calls](int value, Stream<int> results) {
                                          ++calls;
                                          results.finish(value);
                                      } } }),
        "test");
    const auto again = [&] {
        const auto before = told("/later").size();
        view->evaluateJavaScript("later()");
        return toldAfter("/later", before);
    };
    EXPECT_EQ(answerAt(other()), kAnswered) << "its certificate is taken";
    ASSERT_TRUE(view->setAllowedOrigins(std::vector{ good() }));
    view->loadUrl(good() + "/module");
    EXPECT_EQ(toldAfter("/later", 0), "1");
    EXPECT_EQ(toldOnce("/framed"),
        (boost::json::array{ kEngine.tellsFrames ? kRefused : kAnswered, "rejected", "rejected", "rejected" }))
        << "a frame may call as the page around it, but not by its way";
    EXPECT_EQ(calls, 1);
    ASSERT_TRUE(view->setAllowedOrigins(std::vector{ other() }));
    EXPECT_EQ(again(), R"("left")");
    EXPECT_EQ(again(), R"("no-method")");
    EXPECT_TRUE(hasRefused(good()));
    ASSERT_TRUE(view->setAllowedOrigins(std::vector{ good() }));
    EXPECT_EQ(again(), "1");
    view->setCallingFrames(CallingFrames::MainFrameOnly);
    EXPECT_EQ(again(), R"("no-method")") << "it has not shown whose frame it is";
    view->loadUrl(good() + "/module");
    runUntil([&] { return told("/framed").size() == 2; }, "the frame has tried again");
    EXPECT_EQ(boost::json::parse(told("/framed").back()).at(0), kRefused);
    EXPECT_EQ(again(), "1");
}

TEST_F(OriginTest, CallsOfAPageThatWasPutAwayEndWithAReason)
{
    pages["/module"] = R"(<script type=module>
        import * as native from "/bridge.js";
        Object.assign(window, {native, tell});
        addEventListener("pageshow", (event) => event.persisted && tell("/restored", true));
        tell("/ready", true);
    </script>)";
    if (!kEngine.putsPagesAway)
        GTEST_SKIP() << "the engine ends the page that another one comes after";
    keepCompletions();
    view->loadUrl(good() + "/module");
    toldOnce("/ready");
    view->evaluateJavaScript(R"(
        const ends = [];
        const end = (text) => ends.push(text) === 4 && tell("/ended", ends.sort());
        native.callAsync("keep.stream").catch((error) => end("promise " + error.reason));
        native.callAsync("keep.stream", 0, {timeout: 1e6}).catch((error) => end("deadline " + error.reason));
        native.callWithCallback("keep.stream", 0, (value, isLast, error) => end("callback " + isLast + error.reason));
        (async () => { for await (const one of native.stream("keep.stream")); })().catch((error) => end("stream " + error.reason));
    )");
    runUntil([&] { return completions.size() == 4; }, "the page has called");
    EXPECT_EQ(answerAt(good()), kAnswered);
    view->evaluateJavaScript("history.back()");
    EXPECT_EQ(toldOnce("/restored"), true) << "it is the page that was put away";
    EXPECT_EQ(toldOnce("/ended"),
        (boost::json::array{ "callback trueleft", "deadline left", "promise left", "stream left" }));
}

} // namespace
} // namespace tq::test
