#include "tests/support/HttpsServer.h"
#include "tests/support/PageTest.h"

#include "TQWhiteBoardLib/TQWBWebView.h"

#include <algorithm>
#include <atomic>

namespace tq::test {
namespace {

// Keeps the completion of an asynchronous call.
class Keeper final : public NSObject {
public:
    static const NSClass& staticClass()
    {
        static const NSClass table("Keeper", &NSObject::staticClass(), { { "stream::", &Keeper::stream } });
        return table;
    }
    const NSClass& objectClass() const override { return staticClass(); }

    void stream(OptionalValue, NSCompletion taken) { completion = std::move(taken); }
    NSCompletion completion;
};

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
        for (const auto& request : server.requests()) {
            if (request.line().find(path + " ") != std::string::npos)
                bodies.push_back(request.body);
        }
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

    std::atomic<bool> isHeld = false;
    std::shared_ptr<TQWBWebView> room;
    HttpsServer server{ [this](const ReceivedRequest& request) {
        // Held back while the test says so; the connection has a thread of its own.
        while (isHeld && request.line().find("/held ") != std::string::npos)
            std::this_thread::yield();
        return HttpsServer::answerWith(200, kPage, "Content-Type: text/html\r\n");
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

    ASSERT_TRUE(view->setAllowedOrigins(std::nullopt));
    EXPECT_EQ(answerAt(other()), kAnswered);
}

TEST_F(OriginTest, APageThatIsStillToComeLendsItsOriginToNobody)
{
    ASSERT_TRUE(view->setAllowedOrigins(std::vector{ good() }));
    EXPECT_EQ(answerAt(other()), kRefused);
    isHeld = true;
    view->loadUrl(good() + "/held");
    runUntil([&] { return view->URL() == good() + "/held"; }, "the engine names the page to come");
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
    const auto streamer = std::make_shared<Keeper>();
    view->addJavascriptObject(streamer, "keep");
    view->evaluateJavaScript("prompt('_dsbridge=keep.stream', '{\"_dscbstub\":\"take\"}')");
    runUntil([&] { return streamer->completion != nullptr; }, "the page has called");
    streamer->completion(boost::json::value("for you"), Complete::No);
    EXPECT_EQ(toldAfter("/taken", 0), "for you");
    EXPECT_EQ(answerAt(other()), kRefused);
    clearLog();
    streamer->completion(boost::json::value("for you only"), Complete::Yes);
    runUntil([&] { return hasRefused(other()); }, "the result is dropped");
    view->evaluateJavaScript("tell('/got', 'the last')");
    EXPECT_EQ(toldAfter("/got", 2), "the last");
    EXPECT_EQ(told("/taken").size(), 1U);
    streamer->completion = nullptr;
}

TEST_F(OriginTest, OnlyOriginsAreTakenForSuch)
{
    for (const std::string text :
        { "", "localhost", "localhost:443", "https://", "https://host/path", "https://me@host", "https://host?q",
            "https://host#f", "https://*", "data:,x", "about:blank", "https://host name", "https://h:x" })
        EXPECT_FALSE(view->setAllowedOrigins(std::vector{ good(), text })) << text;
    EXPECT_EQ(answerAt(other()), kAnswered) << "nothing has been changed";
    auto loud = good();
    std::ranges::transform(
        loud, loud.begin(), [](unsigned char letter) { return static_cast<char>(std::toupper(letter)); });
    EXPECT_TRUE(view->setAllowedOrigins(std::vector{ loud + "/" }));
    EXPECT_EQ(answerAt(good()), kAnswered);
    EXPECT_EQ(answerAt(other()), kRefused);
}

} // namespace
} // namespace tq::test
