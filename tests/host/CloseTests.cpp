#include "tests/support/HttpsServer.h"
#include "tests/support/PageTest.h"
#include "tests/support/TestWindow.h"

#include "TQWhiteBoardLib/NativeFunctions.h"
#include "TQWhiteBoardLib/TQWBWebView.h"
#include "platform/Foundation/NSURLSession.h"

#include <algorithm>
#include <atomic>

namespace tq::test {
namespace {

using Events = std::vector<std::string>;

// Is told everything, and does then what the test wants.
class Everything final : public TQWBRoomStatusProtocol,
                         public TQWBRecordProtocol,
                         public WKNavigationDelegate,
                         public WKUIDelegate {
public:
    void onWBRoomQuit() override { tell("quit"); }
    void onWBRecordStart() override { tell("record"); }
    void didStartProvisionalNavigation(WKWebView&, const WKNavigation&) override { tell("start"); }
    void didFinishNavigation(WKWebView&, const WKNavigation&) override { tell("finish"); }
    void didFailProvisionalNavigation(WKWebView&, const WKNavigation&, const NSError&) override { tell("failure"); }
    void webViewWebContentProcessDidTerminate(WKWebView&) override { tell("crash"); }
    void didReceiveAuthenticationChallenge(
        WKWebView&, const NSURLAuthenticationChallenge&, ChallengeCompletion completion) override
    {
        challenge = std::move(completion);
        tell("challenge");
    }
    void runJavaScriptAlertPanelWithMessage(
        WKWebView&, std::string_view, const WKFrameInfo&, std::function<void()> completion) override
    {
        dialog = std::move(completion);
        tell("alert");
    }

    Events events;
    ChallengeCompletion challenge;
    std::function<void()> dialog;
    std::function<void()> then;

    void tell(const std::string& event)
    {
        events.push_back(event);
        if (then)
            then();
    }
};

constexpr const char* kCalling = "<script>prompt('_dsbridge=all.call', '{}');</script>";

class CloseTest : public testing::Test {
protected:
    void SetUp() override { anchors(HttpsServer::authority()); }
    void TearDown() override { anchors(std::nullopt); }
    static void anchors(OptionalText pem)
    {
        NSURLSessionConfiguration::defaultSessionConfiguration().setExtraTrustAnchors(std::move(pem));
    }
    static std::shared_ptr<TQWBWebView> makeView() { return TQWBWebView::initWithFrame({ 0, 0, 300, 200 }, nullptr); }
    std::string at(const std::string& path) const { return "https://" + server.host() + path; }
    std::size_t countOf(const std::string& path) const { return server.requests(path).size(); }

    // A page with a connection and timers, once it runs.
    void loadRoom(TQWBWebView& room)
    {
        isConnected = hasConnectionEnded = false;
        room.loadUrl(at("/room"));
        runUntil([&] { return isConnected.load(); }, "the page runs");
    }

    std::atomic<bool> isConnected = false;
    std::atomic<bool> hasConnectionEnded = false;
    HttpsServer server{ [this](const ReceivedRequest& request, Wire& wire) {
        if (request.path() == "/events") {
            wire.send("HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\n\r\n");
            isConnected = true;
            wire.waitForEnd();
            hasConnectionEnded = true;
        } else if (request.path() == "/hang") {
            wire.waitForEnd();
        } else {
            wire.send(
                HttpsServer::pageOf(request.path() == "/room" ? "<script>setInterval(() => fetch('/tick'), 20);"
                                                                "window.events = new EventSource('/events');</script>"
                                                              : "<p>page"));
        }
    } };
};

TEST_F(CloseTest, IsSafeAtAnyTime)
{
    const HttpsServer untrusted([](const ReceivedRequest&, Wire&) {}, HttpsServer::Transport::Untrusted);
    // Waits for a request in clear, and so never shakes hands.
    const HttpsServer silent([](const ReceivedRequest&, Wire&) {}, HttpsServer::Transport::Plain);
    const struct {
        const char* name;
        std::string address;
        // The view is closed within what it tells of this; empty: from outside, when the next one holds.
        const char* within = "";
        std::function<bool(const Everything& told)> when = [](const Everything&) { return true; };
    } rows[] = {
        { "before the first page", "" },
        { "a load has been asked for", at("/page") },
        { "the load is on its way", at("/hang"), "", [&](const auto&) { return countOf("/hang") > 0; } },
        { "a handshake for certificates", "https://" + silent.host() + "/", "",
            [&](const auto&) { return silent.connections() > 0; } },
        { "a decision about a certificate", "https://close." + untrusted.host() + "/", "",
            [](const auto& told) { return told.challenge != nullptr; } },
        { "asked about a certificate", "https://close." + untrusted.host() + "/", "challenge" },
        { "a load has begun", at("/page"), "start" },
        { "a load has ended", at("/page"), "finish" },
        { "a load has failed", "https://127.0.0.1:" + std::to_string(refusingPort()) + "/", "failure" },
        { "a call of the page", pageWith(kCalling), "call" },
        { "the room's end", pageWith("<script>prompt('_dsbridge=TQJSBridge.onRoomQuited', '{}')</script>"), "quit" },
        { "a dialog is open", pageWith("<script>alert('?'); " + std::string(kCalling + 8)), "",
            [](const auto& told) { return told.dialog != nullptr; } },
        { "a dialog comes", pageWith("<script>alert('?'); " + std::string(kCalling + 8)), "alert" },
    };
    // Of a page whose script never ends the engine itself ends the process, when that has said nothing for long.
    auto endless = makeView();
    loadRoom(*endless);
    endless->evaluateJavaScript("for (;;);");
    endless->close();
    endless.reset();
    const auto other = makeView();
    const auto loaded = std::make_shared<Everything>();
    other->setNavigationDelegate(loaded);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        auto room = makeView();
        const std::weak_ptr<TQWBWebView> watched = room;
        const auto told = std::make_shared<Everything>();
        room->setRoomStatusDelegate(told);
        room->setRecordDelegate(told);
        room->setNavigationDelegate(told);
        room->setDSUIDelegate(told);
        room->addJavascriptObject(nativeFunctions({ { "call:", [told] { told->tell("call"); } } }), "all");
        auto token = std::make_shared<int>();
        const std::weak_ptr<int> waiting = token;
        room->callHandler("never", [token = std::move(token)](const auto&) {});
        bool isClosed = false;
        const auto close = [&] {
            room->close();
            isClosed = true;
            told->then = nullptr;
        };
        const std::string within = row.within;
        told->then = [&] {
            if (told->events.back() == within)
                close();
        };
        if (!row.address.empty())
            room->loadUrl(row.address);
        if (within.empty()) {
            runUntil([&] { return row.when(*told); }, "the time has come");
            close();
        }
        runUntil([&] { return isClosed; }, "the view is closed");
        room->close();
        EXPECT_TRUE(waiting.expired());
        const auto known = told->events;
        room->loadUrl(at("/after"));
        room->callHandler("late", [](const auto&) { ADD_FAILURE(); });
        if (const auto late = std::exchange(told->challenge, nullptr))
            late(NSURLSessionAuthChallengeDisposition::CancelAuthenticationChallenge, std::nullopt);
        if (const auto late = std::exchange(told->dialog, nullptr))
            late();
        // What another view does afterwards is what this one did not.
        const auto loads = loaded->events.size();
        other->loadUrl(pageWith("<p>"));
        runUntil([&] { return loaded->events.size() == loads + 2; }, "another view's page is there");
        EXPECT_EQ(room->call("TQJSBridge.onRecordStart", "{}"), R"({"code":0,"data":"onRecordStart"})");
        EXPECT_EQ(told->events, known);
        EXPECT_EQ(room->URL(), std::nullopt);
        room.reset();
        runUntil([&] { return watched.expired(); }, "the view is destroyed");
    }
    other->close();
    EXPECT_EQ(countOf("/after"), 0);
    runUntil([&] { return hasConnectionEnded.load(); }, "the endless page's connection has ended");
}

TEST_F(CloseTest, ThePagesTimersAndConnectionsEnd)
{
    auto room = makeView();
    // The timers of what nobody sees come once a second.
    const TestWindow window(*room);
    loadRoom(*room);
    runUntil([&] { return countOf("/tick") > 0; }, "the page's timers run");
    room->close();
    runUntil([&] { return hasConnectionEnded.load(); }, "the page's connection has ended");
    // As long as another page takes for ten ticks, twice: requests that were on their way come in the first.
    auto other = makeView();
    const TestWindow shown(*other);
    const auto reports = std::make_shared<Reports>();
    other->addJavascriptObject(reports, "test");
    other->loadUrl(pageWith("<script>setInterval(() => prompt('_dsbridge=test.report', '{}'), 20)</script>"));
    runUntil([&] { return reports->values.size() >= 10; }, "time has passed");
    const auto ticks = countOf("/tick");
    runUntil([&] { return reports->values.size() >= 20; }, "more time has passed");
    other->close();
    EXPECT_EQ(countOf("/tick"), ticks);
}

} // namespace
} // namespace tq::test
