#include "tests/support/Engine.h"
#include "tests/support/HttpsServer.h"
#include "tests/support/PageTest.h"

#include "TQWhiteBoardLib/TQWBWebView.h"
#include "platform/Foundation/NSURLSession.h"

#include <algorithm>
#include <stdexcept>

namespace tq::test {
namespace {

using Events = std::vector<std::string>;

// Has every method but that for challenges, writes down what it is told, and then does what the test wants.
class Recorder : public WKNavigationDelegate {
public:
    void didStartProvisionalNavigation(WKWebView&, const WKNavigation&) override { tell("start"); }
    WKNavigationActionPolicy decidePolicyForNavigationAction(WKWebView&, const WKNavigationAction& action) override
    {
        places.push_back(action.request.URL->absoluteString());
        return places.back() == forbidden ? WKNavigationActionPolicy::Cancel : WKNavigationActionPolicy::Allow;
    }
    void decidePolicyForNavigationResponse(WKWebView&, const WKNavigationResponse& response,
        std::function<void(WKNavigationResponsePolicy)> decisionHandler) override
    {
        auto event = std::string(response.isForMainFrame ? "response " : "frame ")
            + std::to_string(response.response.statusCode) + (response.canShowMIMEType ? "" : " not to be shown");
        if (decide)
            decide(std::move(decisionHandler));
        else
            decisionHandler(WKNavigationResponsePolicy::Allow);
        tell(std::move(event));
    }
    void didFinishNavigation(WKWebView&, const WKNavigation&) override { tell("finish"); }
    void didFailProvisionalNavigation(WKWebView&, const WKNavigation&, const NSError& error) override
    {
        tell("no page " + told(error));
    }
    void didFailNavigation(WKWebView&, const WKNavigation&, const NSError& error) override
    {
        tell("broken page " + told(error));
    }

    bool has(std::string_view event) const
    {
        return std::ranges::any_of(events, [&](const auto& known) { return known.starts_with(event); });
    }
    // Whether the last load has ended.
    bool isAtRest() const
    {
        return !events.empty() && !events.back().starts_with("start") && !events.back().starts_with("response")
            && !events.back().starts_with("frame");
    }

    Events events;
    // What the page was to be left for, and may not be.
    std::vector<std::string> places;
    std::string forbidden;
    std::function<void(std::function<void(WKNavigationResponsePolicy)>)> decide;
    std::function<void(const std::string&)> then;

private:
    static std::string told(const NSError& error)
    {
        EXPECT_EQ(error.domain, "NSURLErrorDomain");
        EXPECT_NE(error.localizedDescription, "");
        return std::to_string(error.code);
    }
    void tell(std::string event)
    {
        // What the library repeats begins anew.
        if (event != "start" || events.empty() || events.back() != event)
            events.push_back(event);
        if (then)
            then(event);
    }
};

// Is asked about certificates, too.
class DecidingRecorder final : public Recorder {
public:
    void didReceiveAuthenticationChallenge(
        WKWebView&, const NSURLAuthenticationChallenge& challenge, ChallengeCompletion completion) override
    {
        events.emplace_back("challenge");
        space = challenge.protectionSpace;
        kept = std::move(completion);
    }
    void refuse() { kept(NSURLSessionAuthChallengeDisposition::CancelAuthenticationChallenge, std::nullopt); }
    void accept()
    {
        kept(NSURLSessionAuthChallengeDisposition::UseCredential, NSURLCredential::initWithTrust(space.serverTrust));
    }
    NSURLProtectionSpace space;
    ChallengeCompletion kept;
};

// What is told of these where the engine tells what a server has answered when the page is there.
Events asTold(Events events)
{
    if (kEngine.tellsAnswersFirst)
        return events;
    std::erase_if(events, [](const auto& event) { return event.starts_with("frame"); });
    Events told;
    for (std::size_t i = 0; i < events.size(); ++i) {
        if (!events[i].starts_with("response") || (i + 1 < events.size() && events[i + 1] == "finish"))
            told.push_back(events[i]);
    }
    return told;
}

constexpr const char* kReport = "</title><script>function report(v) {"
                                " prompt('_dsbridge=test.report', JSON.stringify({data: v})); }</script>";

class NavigationDelegateTest : public PageTest {
protected:
    void SetUp() override
    {
        PageTest::SetUp();
        NSURLSessionConfiguration::defaultSessionConfiguration().setExtraTrustAnchors(HttpsServer::authority());
        use(makeView());
        view->setNavigationDelegate(recorder);
    }
    void TearDown() override
    {
        PageTest::TearDown();
        NSURLSessionConfiguration::defaultSessionConfiguration().setExtraTrustAnchors(std::nullopt);
    }
    // A view that nobody holds but the test.
    static std::shared_ptr<TQWBWebView> makeView()
    {
        auto made = TQWBWebView::initWithFrame({ 0, 0, 300, 200 }, nullptr);
        if (made)
            made->call("TQJSBridge.onRoomQuited", "{}");
        return made;
    }
    std::string at(const std::string& path) const { return "https://" + server.host() + path; }
    std::string port() const { return server.host().substr(server.host().find(':')); }
    static std::string refusing() { return "https://127.0.0.1:" + std::to_string(refusingPort()) + "/"; }
    const Events& eventsOf(const std::string& address)
    {
        recorder->events.clear();
        view->loadUrl(address);
        runUntil([&] { return recorder->isAtRest(); }, "the load has ended");
        runPending();
        return recorder->events;
    }

    HttpsServer server{ [](const ReceivedRequest& request, Wire& wire) {
        const auto path = request.path();
        if (path == "/hang") {
            wire.waitForEnd();
        } else if (path == "/slow" || path == "/cut") {
            wire.send("HTTP/1.1 200 Answer\r\nContent-Type: text/html\r\nContent-Length: 90000\r\n\r\n<p>"
                + std::string(3000, 'x'));
            if (path == "/slow")
                wire.waitForEnd();
        } else if (path == "/frames") {
            wire.send(HttpsServer::pageOf("<iframe src=/404></iframe>"));
        } else if (path == "/on") {
            wire.send(HttpsServer::answerWith(302, "", "Location: /404\r\n"));
        } else if (path == "/zip") {
            wire.send(HttpsServer::answerWith(200, "PK", "Content-Type: application/zip\r\n"));
        } else {
            const bool isStatus = path == "/404" || path == "/500";
            wire.send(HttpsServer::answerWith(
                isStatus ? std::stoi(path.substr(1)) : 200, "<title>" + path + kReport, "Content-Type: text/html\r\n"));
        }
    } };
    std::shared_ptr<Recorder> recorder = std::make_shared<Recorder>();
};

TEST_F(NavigationDelegateTest, EveryLoadEndsInOneWay)
{
    const HttpsServer untrusted([](const ReceivedRequest&, Wire&) {}, HttpsServer::Transport::Untrusted);
    const std::vector<std::pair<std::string, Events>> rows{
        { at("/page"), { "start", "response 200", "finish" } },
        { at("/404"), { "start", "response 404", "finish" } },
        { at("/500"), { "start", "response 500", "finish" } },
        { at("/frames"), { "start", "response 200", "frame 404", "finish" } },
        { pageWith("<p>data"), { "start", "response 0", "finish" } },
        { refusing(), { "start", "no page -1004" } },
        { "https://unknown." + untrusted.host() + "/", { "start", "no page -1202" } },
        { "unheard-of://host/", { "start", "no page -1002" } },
        { "file:///nothing/there", { "start", "no page -1100" } },
        { at("/zip"), { "start", "response 200 not to be shown", "no page -1011" } },
        { at("/cut"), { "start", "response 200", "broken page -1005" } },
        { at("/page"), { "start", "response 200", "finish" } },
    };
    for (const auto& [address, expected] : rows) {
        // As the engine does where nobody decides.
        recorder->decide = address == at("/zip") ? [](const auto&) {} : decltype(recorder->decide)();
        EXPECT_EQ(eventsOf(address), asTold(expected)) << address;
    }
}

TEST_F(NavigationDelegateTest, AnotherLoadTakesThePlaceOfOneThatHasNotEnded)
{
    const auto expectPageAfter = [&](Events events) {
        view->loadUrl(at("/page"));
        runUntil([&] { return recorder->has("finish"); }, "the other page is there");
        events.insert(events.end(), { "start", "response 200", "finish" });
        EXPECT_EQ(std::exchange(recorder->events, {}), asTold(std::move(events)));
    };
    // The same address, too.
    for (const std::ptrdiff_t loads : { 1, 2 }) {
        view->loadUrl(at("/hang"));
        runUntil([&] { return std::ranges::count(recorder->events, "start") == loads; }, "it has begun");
        runUntil([&] { return std::ssize(server.requests()) == loads; }, "it is asked for");
    }
    expectPageAfter({ "start", "no page -999", "start", "no page -999" });
    const auto origin = "https://127.0.0.1" + port();
    view->loadUrl(origin + "/slow");
    runUntil([&] { return view->pageOrigin() == origin; }, "the page has begun to come");
    expectPageAfter({ "start", "response 200", "broken page -999" });
    view->loadUrl(at("/hang"));
    expectPageAfter({ "no page -999" });
    // One that fails just when another is asked for.
    recorder->then = [&](const std::string& event) {
        if (event == "no page -1004")
            view->loadUrl(at("/page"));
    };
    view->loadUrl(refusing());
    runUntil([&] { return recorder->has("finish"); }, "the other page is there");
    EXPECT_EQ(recorder->events, (Events{ "start", "no page -1004", "start", "response 200", "finish" }));
    EXPECT_EQ(view->URL(), at("/page"));
}

// A busy application hears of a load's start when the server has been asked already, and has asked for another by then.
TEST_F(NavigationDelegateTest, ALoadThatIsReplacedBeforeItsStartIsHeardOfEndsOnce)
{
    const HttpsServer::Conversation conversation = [](const ReceivedRequest& request, Wire& wire) {
        if (request.path() == "/hang")
            wire.waitForEnd();
        else
            wire.send(HttpsServer::pageOf(request.path()));
    };
    for (const auto transport : { HttpsServer::Transport::Trusted, HttpsServer::Transport::Plain }) {
        const HttpsServer busy(conversation, transport);
        const bool isPlain = transport == HttpsServer::Transport::Plain;
        if (isPlain)
            NSURLSessionConfiguration::defaultSessionConfiguration().setExtraTrustAnchors(std::nullopt);
        const auto place = (isPlain ? "http://" : "https://") + busy.host();
        recorder->events.clear();
        view->loadUrl(place + "/hang");
        while (busy.requests("/hang").empty()) {
            runTurn(Waiting::Yes);
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        view->loadUrl(place + "/page");
        runUntil([&] { return recorder->has("finish"); }, "the other page is there");
        runPending();
        // (An engine that tells of starts itself has told of this one.)
        if (recorder->events.front() == "start")
            recorder->events.erase(recorder->events.begin());
        EXPECT_EQ(recorder->events, (Events{ "no page -999", "start", "response 200", "finish" }));
        EXPECT_EQ(view->URL(), place + "/page");
    }
}

TEST_F(NavigationDelegateTest, TheApplicationDecidesAboutAnswers)
{
    eventsOf(at("/page"));
    recorder->decide = [](const auto& handler) {
        handler(WKNavigationResponsePolicy::Cancel);
        handler(WKNavigationResponsePolicy::Allow);
    };
    const bool isFirst = kEngine.tellsAnswersFirst;
    EXPECT_EQ(eventsOf(at("/404")), (Events{ "start", "response 404", isFirst ? "no page -999" : "broken page -999" }));
    EXPECT_EQ(ask("document.title"), OptionalValue(isFirst ? "/page" : "/404")) << "the page before stays";

    std::function<void(WKNavigationResponsePolicy)> kept;
    recorder->decide = [&](auto handler) { kept = std::move(handler); };
    recorder->events.clear();
    view->loadUrl(at("/500"));
    runUntil([&] { return kept != nullptr; }, "there is an answer");
    EXPECT_EQ(ask("document.title"), OptionalValue(isFirst ? "/page" : "/500"));
    kept(WKNavigationResponsePolicy::Allow);
    runUntil([&] { return recorder->has("finish"); }, "the page is there");
    // Late and twice is never, also when the view has gone.
    const auto late = kept;
    view->loadUrl(at(isFirst ? "/slow" : "/page"));
    runUntil([&] { return recorder->events.back() == "response 200"; }, "there is an answer");
    late(WKNavigationResponsePolicy::Cancel);
    recorder->decide = nullptr;
    eventsOf(at("/page"));
    view.reset();
    kept(WKNavigationResponsePolicy::Allow);
}

TEST_F(NavigationDelegateTest, TheApplicationDecidesWhatAPageIsLeftFor)
{
    recorder->forbidden = at("/404");
    eventsOf(at("/frames"));
    EXPECT_EQ(recorder->places, Events{ at("/frames") }) << "frames leave no page";
    eventsOf(at("/page"));
    for (const auto* path : { "/404", "/on" }) {
        for (const bool isPages : { false, true }) {
            recorder->events.clear();
            recorder->places.clear();
            if (isPages)
                view->evaluateJavaScript("location = '" + at(path) + "'");
            else
                view->loadUrl(at(path));
            runUntil([&] { return recorder->isAtRest(); }, "the load has ended");
            EXPECT_EQ(recorder->events, (Events{ "start", "no page -999" })) << path;
            EXPECT_EQ(recorder->places.back(), recorder->forbidden);
            EXPECT_EQ(ask("document.title"), OptionalValue("/page")) << "the page before stays";
        }
    }
    // Nor does a page that still loads fail by what the engine itself does not load.
    eventsOf(pageWith("<script>location = 'mailto:ann@b.example'</script>"));
    runUntil([&] { return recorder->has("finish"); }, "it has loaded");
    EXPECT_FALSE(recorder->has("broken"));
    // Each was asked for only where the engine does not tell of which frame it speaks before that.
    EXPECT_EQ(server.requests("/404").size(), kEngine.tellsFrames ? 1 : 5);
}

TEST_F(NavigationDelegateTest, WithoutAnAcceptedCertificateALoadEnds)
{
    const HttpsServer untrusted([](const ReceivedRequest&, Wire& wire) { wire.send(HttpsServer::pageOf("<p>")); },
        HttpsServer::Transport::Untrusted);
    const auto address = "https://refused." + untrusted.host() + "/";
    const auto deciding = std::make_shared<DecidingRecorder>();
    recorder = deciding;
    view->setNavigationDelegate(deciding);
    const auto challenge = [&] {
        deciding->events.clear();
        view->loadUrl(address);
        runUntil([&] { return deciding->has("challenge"); }, "the application is asked");
    };
    const auto refused = [&] {
        runUntil([&] { return deciding->isAtRest() && deciding->events.back() != "challenge"; }, "the load has ended");
        EXPECT_EQ(deciding->events, (Events{ "start", "challenge", "no page -1202" }));
    };
    challenge();
    EXPECT_EQ(deciding->space.authenticationMethod, "NSURLAuthenticationMethodServerTrust");
    EXPECT_EQ(deciding->space.host, "refused.localhost");
    // The first answer counts.
    deciding->refuse();
    deciding->accept();
    refused();
    challenge();
    deciding->kept = nullptr;
    refused();
    // Another page meanwhile: nothing of the first is heard any more.
    challenge();
    view->loadUrl(at("/page"));
    deciding->refuse();
    runUntil([&] { return deciding->has("finish"); }, "the other page is there");
    EXPECT_EQ(deciding->events, (Events{ "start", "challenge", "no page -999", "start", "response 200", "finish" }));
    challenge();
    runPending();
    EXPECT_TRUE(untrusted.requests().empty());
    deciding->accept();
    runUntil([&] { return deciding->has("finish"); }, "the page is there");
}

TEST_F(NavigationDelegateTest, ADelegateMayLoadAnotherPageOrLetGoOfTheViewWheneverItIsTold)
{
    for (const auto& [event, path] : std::vector<std::pair<std::string, std::string>>{ { "start", "/page" },
             { "response", "/page" }, { "finish", "/page" }, { "no page", "" }, { "broken page", "/cut" } }) {
        SCOPED_TRACE(event);
        const auto address = path.empty() ? refusing() : at(path);
        recorder->events.clear();
        recorder->then = [&, event = event](const std::string& told) {
            if (told.starts_with(event))
                std::exchange(recorder->then, nullptr), view->loadUrl(at("/500"));
        };
        view->loadUrl(address);
        runUntil([&] { return recorder->has("response 500") && recorder->events.back() == "finish"; }, "it has loaded");
        EXPECT_EQ(view->URL(), at("/500"));

        auto one = makeView();
        const auto dropping = std::make_shared<Recorder>();
        one->addJavascriptObject(reports, "test");
        one->setNavigationDelegate(dropping);
        const std::weak_ptr<TQWBWebView> watched = one;
        dropping->then = [&, event = event](const std::string& told) {
            if (told.starts_with(event))
                one.reset();
        };
        one->loadUrl(address);
        runUntil([&] { return watched.expired(); }, "the view is destroyed");
    }
}

TEST_F(NavigationDelegateTest, WithoutTheMethodsTheEngineDoesAsItDoes)
{
    class Ends final : public WKNavigationDelegate {
    public:
        void didStartProvisionalNavigation(WKWebView&, const WKNavigation&) override
        {
            events.emplace_back("start");
            throw std::runtime_error("a faulty delegate");
        }
        void didFinishNavigation(WKWebView&, const WKNavigation&) override { events.emplace_back("finish"); }
        Events events;
    };
    const auto ends = std::make_shared<Ends>();
    view->setNavigationDelegate(ends);
    view->loadUrl(at("/404"));
    runUntil([&] { return ends->events.size() == 2; }, "the page is there");
    // An engine's own page about a failure has a start, too; its end is not the failed page's.
    Events expected{ "start", "finish", "start" };
    if (kEngine.explainsFailures)
        expected.emplace_back("start");
    view->loadUrl(refusing());
    runUntil([&] { return ends->events.size() == expected.size() && view->estimatedProgress() == 1; },
        "the engine has told");
    view->loadUrl(at("/page"));
    expected.insert(expected.end(), { "start", "finish" });
    runUntil([&] { return ends->events.size() == expected.size(); }, "the page is there");
    EXPECT_EQ(ends->events, expected);
    EXPECT_EQ(countOfLine("a faulty delegate"), std::ranges::count(expected, "start"));
}

} // namespace
} // namespace tq::test
