#include "tests/support/HttpsServer.h"
#include "tests/support/Log.h"
#include "tests/support/MainLoop.h"

#include "TQWhiteBoardLib/TQWBNaviCode.h"
#include "TQWhiteBoardLib/TQWBRoom.h"
#include "TQWhiteBoardLib/TQWBSessionCode.h"
#include "TQWhiteBoardLib/TQWhiteBoard.h"
#include "navigation/TQWBNaviManager.h"
#include "tests/support/Authority.h"

#include <algorithm>
#include <condition_variable>
#include <gtest/gtest.h>
#include <mutex>
#include <stdexcept>
#include <webkit/webkit.h>

namespace tq::test {
namespace {

using namespace std::chrono_literals;
using State = TQWBRoomState;
using Category = TQWBErrorCategory;

const std::string kGoodAnswer = HttpsServer::answerWith(200, R"({"code":0,"key":"k1"})");
const std::string kHtml = "Content-Type: text/html\r\n";
const std::string kGoodPage
    = HttpsServer::answerWith(200, "<script>prompt('_dsbridge=TQJSBridge.onLoadEnd', '{}')</script>", kHtml);

/// A service whose answers the test chooses.
class Service {
public:
    Shared<std::string> join{ kGoodAnswer };
    Shared<std::string> page{ kGoodPage };
    Shared<std::string> quit{ kGoodAnswer };
    // Empty: where the service is.
    Shared<std::string> navigation{ "" };
    // Requests that get no answer: those whose line begins so, so many times.
    Shared<std::string> silentAbout{ "" };
    std::atomic<int> silences = 1000;

    ~Service() { hold(""); }

    const std::string& host() const { return m_server.host(); }
    // Requests whose line begins so wait for their answer until another beginning is held; empty: none.
    void hold(const std::string& beginning)
    {
        const std::lock_guard lock(m_mutex);
        m_held = beginning;
        m_changed.notify_all();
    }
    int count(const std::string& beginning) const
    {
        const auto all = m_server.requests();
        return static_cast<int>(std::ranges::count_if(
            all, [&](const ReceivedRequest& request) { return request.line().starts_with(beginning); }));
    }
    int joins() const { return count("POST /api/v1/iwb/join/"); }
    int pages() const { return count("GET /conference/"); }
    int quits() const { return count("DELETE /api/v1/iwb/hubs/hall/users/ann "); }
    // Whether the last of these requests was a quit: nobody is in the room.
    bool isEmpty() const
    {
        const auto all = m_server.requests();
        const auto last = std::find_if(all.rbegin(), all.rend(), [](const ReceivedRequest& request) {
            return request.line().starts_with("POST /api/") || request.line().starts_with("DELETE ");
        });
        return last == all.rend() || last->line().starts_with("DELETE ");
    }

private:
    void converse(const ReceivedRequest& request, Wire& wire)
    {
        const auto silent = silentAbout.get();
        if (!silent.empty() && request.line().starts_with(silent) && silences-- > 0)
            return wire.waitForEnd();
        {
            std::unique_lock lock(m_mutex);
            const auto held = m_held;
            if (!held.empty() && request.line().starts_with(held))
                m_changed.wait(lock, [&] { return m_held != held; });
        }
        if (request.line().starts_with("POST /config.json"))
            wire.send(HttpsServer::answerWith(200,
                navigation.get().empty() ? R"({"iwbLeaseUri":")" + host() + R"(","iwbConferenceUri":")" + host() + "\"}"
                                         : navigation.get()));
        else if (request.line().starts_with("GET /nothing"))
            wire.send(HttpsServer::answerWith(204, ""));
        else if (request.line().starts_with("GET "))
            wire.send(page.get());
        else
            wire.send(request.line().starts_with("DELETE ") ? quit.get() : join.get());
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::string m_held;
    HttpsServer m_server{ [this](const ReceivedRequest& request, Wire& wire) { converse(request, wire); }, {} };
};

class RoomTest : public testing::Test {
protected:
    void SetUp() override
    {
        clearLog();
        NSURLSessionConfiguration::defaultSessionConfiguration().setExtraTrustAnchors(HttpsServer::authority());
        config
            = { .appKey = "key", .token = "t@" + service.host(), .roomId = "hall", .userId = "ann", .userName = "Ann" };
        TQWhiteBoard::forgetNavigation(config.appKey, config.token);
    }
    void TearDown() override
    {
        room.reset();
        runUntil([&] { return watched.expired(); }, "the view is destroyed");
        runUntil([&] { return service.isEmpty() || !isLeft; }, "nobody is left in the room");
    }
    // As if a navigation server had told, some time ago.
    void rememberService(const std::string& lease, const std::string& pages) const
    {
        TQWBNaviManager::sharedInstance()->saveNavi(
            boost::json::object{ { "iwbLeaseUri", lease }, { "iwbConferenceUri", pages } }, config.appKey,
            config.token);
    }
    void make()
    {
        states.clear();
        room = std::make_unique<TQWBRoom>(options);
        room->setStateHandler([this](State state, const TQWBError* newReason) {
            states.push_back(state);
            reason = newReason ? std::optional(*newReason) : std::nullopt;
        });
        watched = room->view();
    }
    void enter()
    {
        make();
        room->enter(config).then([this](const TQWBRoomOutcome& newOutcome) { outcome = newOutcome; });
    }
    void waitFor(State state)
    {
        runUntil([&] { return !room || room->state() == state; }, nameOf(state), 60s);
        ASSERT_TRUE(room);
        ASSERT_EQ(room->state(), state) << (reason ? reason->text : "");
    }
    void enterAndSee()
    {
        enter();
        waitFor(State::Shown);
    }
    void killPage() const
    {
        auto* widget = static_cast<GtkWidget*>(room->view()->nativeHandle());
        webkit_web_view_terminate_web_process(WEBKIT_WEB_VIEW(gtk_overlay_get_child(GTK_OVERLAY(widget))));
    }

    Service service;
    TQWBRoomConfig config;
    TQWBRoomOptions options{ .frame = { 0, 0, 200, 100 } };
    std::unique_ptr<TQWBRoom> room;
    std::weak_ptr<TQWBWebView> watched;
    std::vector<State> states;
    std::optional<TQWBError> reason;
    std::optional<TQWBRoomOutcome> outcome;
    bool isLeft = true;
};

TEST_F(RoomTest, ComesAndGoes)
{
    enterAndSee();
    EXPECT_EQ(states, (std::vector{ State::Finding, State::Joining, State::Loading, State::Shown }));
    runUntil([&] { return outcome.has_value(); }, "the step has ended");
    EXPECT_TRUE(*outcome);
    EXPECT_EQ(service.isEmpty(), false);

    std::optional<TQWBRoomOutcome> again;
    room->enter(config).then([&](const auto& newOutcome) { again = newOutcome; });
    runUntil([&] { return again.has_value(); }, "the second entering is refused");
    EXPECT_EQ(again->error.value().code, TQWBRoomCodeUsed);

    std::optional<TQWBRoomOutcome> left;
    room->leave().then([&](const auto& newOutcome) { left = newOutcome; });
    EXPECT_EQ(room->state(), State::Leaving);
    runUntil([&] { return left.has_value(); }, "the room is left");
    EXPECT_TRUE(*left);
    EXPECT_EQ(states.back(), State::Over);
    EXPECT_FALSE(reason);
    EXPECT_EQ(service.quits(), 1);
    EXPECT_FALSE(room->view());
}

TEST_F(RoomTest, SaysWhyThereIsNone)
{
    const Authority stranger;
    const auto html = HttpsServer::answerWith(200, "<html>Log in first</html>", kHtml);
    HttpsServer untrusted([](const ReceivedRequest&, Wire&) {}, { .identity = stranger.identity({}) });
    const auto refused = "localhost:" + std::to_string(refusingPort());
    const auto status = [](int number) { return HttpsServer::answerWith(number, "<h1>No</h1>", kHtml); };
    struct Row {
        const char* what;
        std::function<void()> prepare;
        Category category;
        NSUInteger code;
        State last;
        int quits = 0;
    };
    const std::vector<Row> rows{
        { "page refused", [&] { rememberService(service.host(), refused); }, Category::Page,
            TQWBRoomCodePageUnreachable, State::Loading, 1 },
        { "page untrusted", [&] { rememberService(service.host(), untrusted.host()); }, Category::Certificate,
            TQWBRoomCodePageUntrusted, State::Loading, 1 },
        { "page 404", [&] { service.page.set(status(404)); }, Category::Page, 404, State::Loading, 1 },
        { "page 500", [&] { service.page.set(status(500)); }, Category::Page, 500, State::Loading, 1 },
        { "page silent",
            [&] {
                service.silentAbout.set("GET /conference/");
                options.pagePatience = 200ms;
            },
            Category::Page, TQWBRoomCodePageSilent, State::Loading, 1 },
        { "page never complete",
            [&] {
                options.timeLimit = 3s;
                options.pagePatience = options.loadEndPatience = 20s;
                service.page.set(status(200));
            },
            Category::Page, TQWBRoomCodeTimedOut, State::Loading, 1 },
        { "join in HTML", [&] { service.join.set(html); }, Category::Service, TQWBRoomCodeAnswerUnreadable,
            State::Joining, 1 },
        { "join with status 500", [&] { service.join.set(HttpsServer::answerWith(500, R"({"code":0,"key":"k1"})")); },
            Category::Service, TQWBRoomCodeAnswerUnreadable, State::Joining, 1 },
        { "join without a key", [&] { service.join.set(HttpsServer::answerWith(200, R"({"code":0})")); },
            Category::Service, TQWBRoomCodeAnswerUnreadable, State::Joining, 1 },
        { "join of strangers", [&] { service.join.set(status(401)); }, Category::Token, TQWBRoomCodeAnswerUnreadable,
            State::Joining, 1 },
        { "key that makes no address",
            [&] { service.join.set(HttpsServer::answerWith(200, R"({"code":0,"key":"k 1"})")); }, Category::Service,
            TQWBRoomCodeAnswerUnreadable, State::Joining, 1 },
        { "page that asks for a password",
            [&] {
                service.page.set(
                    HttpsServer::answerWith(401, "no", kHtml + "WWW-Authenticate: Basic realm=\"page\"\r\n"));
            },
            Category::Page, 401, State::Loading, 1 },
        { "room that is no part of an address", [&] { config.roomId = "my hall"; }, Category::Usage,
            TQWBSessionCodeRequestFailed, State::Joining },
        { "service without a place", [&] { service.navigation.set(R"({"iwbLeaseUri":null,"iwbConferenceUri":null})"); },
            Category::Network, TQWBNaviCodeAnswerIncomplete, State::Finding },
        { "join refused",
            [&] { service.join.set(HttpsServer::answerWith(200, R"({"code":4001,"desc":"room full"})")); },
            Category::Service, 4001, State::Joining },
        { "join broken off", [&] { service.join.set("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n"); },
            Category::Network, TQWBSessionCodeRequestFailed, State::Joining, 1 },
        { "record unusable", [&] { config.minutes = 20000; }, Category::Usage, TQWBSessionCodeInvalidConfig,
            State::Idle },
    };
    const auto before = config;
    const auto optionsBefore = options;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        config = before;
        options = optionsBefore;
        TQWhiteBoard::forgetNavigation(config.appKey, config.token);
        service.join.set(kGoodAnswer);
        service.page.set(kGoodPage);
        service.silentAbout.set("");
        service.navigation.set("");
        service.silences = 1000;
        const auto quits = service.quits();
        row.prepare();
        outcome.reset();
        enter();
        runUntil([&] { return outcome.has_value(); }, "the room is over");
        ASSERT_EQ(room->state(), State::Over);
        ASSERT_TRUE(reason);
        EXPECT_EQ(reason->category, row.category) << reason->text;
        EXPECT_EQ(reason->code, row.code) << reason->text;
        EXPECT_FALSE(reason->text.empty());
        EXPECT_EQ(outcome->error.value().text, reason->text);
        EXPECT_EQ(states.size() < 2 ? State::Idle : states[states.size() - 2], row.last);
        runUntil([&] { return service.quits() == quits + row.quits; }, "the user is out of the room again");
        runUntil([&] { return watched.expired(); }, "the view is destroyed");
    }
}

TEST_F(RoomTest, APageThatDoesNotBeginIsAskedForAgain)
{
    // Longer than an engine takes to begin on a busy machine.
    options.pagePatience = 1500ms;
    service.silentAbout.set("GET /conference/");
    service.silences = 1;
    enterAndSee();
    EXPECT_GE(service.pages(), 2);
    EXPECT_EQ(states, (std::vector{ State::Finding, State::Joining, State::Loading, State::Shown }));
}

TEST_F(RoomTest, ServersThatThePageWillAskAreLookedAtBefore)
{
    HttpsServer files([](const ReceivedRequest&) { return HttpsServer::answerWith(200, ""); });
    options.expectedServers = { "https://" + files.host() };
    enterAndSee();
    EXPECT_GT(files.connections(), 0);
}

TEST_F(RoomTest, APageThatDoesNotSayThatItHasLoadedIsShownAllTheSame)
{
    options.loadEndPatience = 100ms;
    service.page.set(HttpsServer::answerWith(200, "<h1>room</h1>", kHtml));
    enterAndSee();
}

TEST_F(RoomTest, ThePageEndsItsRoom)
{
    isLeft = false;
    for (const auto& [call, code] :
        std::vector<std::pair<std::string, std::optional<NSUInteger>>>{ { "onRoomQuited', '{}'", std::nullopt },
            { "onRoomException', '{\"data\":{\"code\":4091,\"msg\":\"replaced\"}}'", 4091 } }) {
        const auto quits = service.quits();
        enterAndSee();
        room->view()->evaluateJavaScript("prompt('_dsbridge=TQJSBridge." + call + ")");
        waitFor(State::Over);
        EXPECT_EQ(reason ? std::optional(reason->code) : std::nullopt, code);
        runUntil([&] { return watched.expired(); }, "the view is destroyed");
        // The same user may be in the room from another place by now.
        EXPECT_EQ(service.quits(), quits);
    }
}

TEST_F(RoomTest, DelegatesThatThrowOrCloseTheViewEndTheRoomAllTheSame)
{
    isLeft = false;
    struct Delegate final : TQWBRoomStatusProtocol {
        std::function<void()> act;
        void onWBRoomQuit() override { act(); }
    };
    const auto delegate = std::make_shared<Delegate>();
    for (const auto& act : std::vector<std::function<void()>>{
             [] { throw std::runtime_error("a delegate's own"); }, [&] { room->view()->close(); } }) {
        enterAndSee();
        delegate->act = act;
        room->setRoomStatusDelegate(delegate);
        room->view()->evaluateJavaScript("prompt('_dsbridge=TQJSBridge.onRoomQuited', '{}')");
        waitFor(State::Over);
        EXPECT_FALSE(reason);
    }
    isLeft = true;
    enterAndSee();
    room->view()->close();
    waitFor(State::Over);
    EXPECT_EQ(reason->category, Category::Cancelled);
}

TEST_F(RoomTest, WhatAShownPageLeadsToEndsNoRoom)
{
    HttpsServer other([](const auto&) { return kGoodPage; });
    const auto refused = "https://localhost:" + std::to_string(refusingPort()) + "/";
    enterAndSee();
    int asked = 0;
    for (const auto& address : { std::string("mailto:ann@b.example"), "https://" + service.host() + "/nothing", refused,
             "https://" + other.host() + "/" }) {
        SCOPED_TRACE(address);
        room->view()->evaluateJavaScript("location = '" + address + "'");
        if (address.ends_with("nothing"))
            runUntil([&] { return service.count("GET /nothing") == 1; }, "the link is followed");
        if (address.find(other.host()) != std::string::npos)
            runUntil([&] { return other.requests().size() == 1; }, "the other page is asked for");
        // The page is still there, and has heard of the load's end by then.
        for (int count = 0; count < 5; ++count) {
            ++asked;
            room->view()->evaluateJavaScript(
                "setTimeout(() => prompt('_dsbridge=TQJSBridge.onRecordStart', '{}'), 50)");
            runUntil([&] { return countOfLine("[TQ:Log] onRecordStart") == asked; }, "the page speaks");
        }
        EXPECT_EQ(room->state(), State::Shown);
    }
    EXPECT_EQ(service.joins(), 1);
    EXPECT_EQ(service.pages(), 1);
}

TEST_F(RoomTest, NobodyIsLeftBehindWhenARoomCannotComeBack)
{
    enterAndSee();
    service.join.set(HttpsServer::answerWith(200, R"({"code":4001,"desc":"room full"})"));
    killPage();
    waitFor(State::Over);
    EXPECT_EQ(reason->code, 4001U);
    runUntil([&] { return service.quits() == 1; }, "the service is told");
}

TEST_F(RoomTest, ANewerJoinOfTheSameUserStays)
{
    enterAndSee();
    const auto before = std::move(room);
    enterAndSee();
    const std::weak_ptr<TQWBWebView> view = before->view();
    before->setStateHandler(nullptr);
    before->leave();
    runUntil([&] { return before->state() == State::Over && view.expired(); }, "the older room is over");
    EXPECT_EQ(service.quits(), 0);
    EXPECT_EQ(room->state(), State::Shown);
    room->leave();
    waitFor(State::Over);
    EXPECT_EQ(service.quits(), 1);
}

TEST_F(RoomTest, AServiceThatHasMovedIsFoundAgain)
{
    rememberService("localhost:" + std::to_string(refusingPort()), service.host());
    enterAndSee();
    EXPECT_EQ(states,
        (std::vector{ State::Finding, State::Joining, State::Finding, State::Joining, State::Loading, State::Shown }));
}

TEST_F(RoomTest, NavigationFailuresNameTheServersThatWereAsked)
{
    HttpsServer refusing([](const auto&) { return HttpsServer::answerWith(401, R"({"code":403})"); });
    const auto dead = "localhost:" + std::to_string(refusingPort());
    config.token = "t@" + dead;
    enter();
    waitFor(State::Over);
    EXPECT_EQ(reason->category, Category::Network);
    EXPECT_EQ(reason->code, TQWBNaviCodeRequestFailed);
    EXPECT_NE(reason->text.find(dead.substr(dead.find(':') + 1)), std::string::npos) << reason->text;
    ASSERT_EQ(reason->servers.size(), 3U);
    EXPECT_EQ(reason->servers[0].server, "https://" + dead + "/config.json");

    config.token = "t@" + dead + ";" + refusing.host();
    enter();
    waitFor(State::Over);
    EXPECT_EQ(reason->category, Category::Token);
    EXPECT_EQ(reason->code, TQWBNaviCodeUnauthorized);
    EXPECT_EQ(reason->servers.size(), 2U);
}

TEST_F(RoomTest, ALostPageComesBackSomeTimes)
{
    enterAndSee();
    for (int count = 1; count <= 3; ++count) {
        states.clear();
        killPage();
        runUntil([&] { return states.size() == 2; }, "the room is back");
        EXPECT_EQ(states, (std::vector{ State::Reconnecting, State::Shown }));
        EXPECT_EQ(service.joins(), 1 + count);
    }
    killPage();
    waitFor(State::Over);
    EXPECT_EQ(reason->category, Category::Page);
    EXPECT_EQ(reason->code, TQWBRoomCodePageLost);
}

TEST_F(RoomTest, DroppedOrLeftInEveryStateNothingStays)
{
    struct Row {
        State state;
        const char* held;
        bool isJoinSent;
    };
    constexpr int kRooms = 10;
    for (const Row& row : { Row{ State::Idle, "", false }, Row{ State::Finding, "POST /config.json", false },
             Row{ State::Joining, "POST /api/", true }, Row{ State::Loading, "GET /conference/", true },
             Row{ State::Shown, "", true }, Row{ State::Reconnecting, "", true },
             Row{ State::Leaving, "DELETE ", true } }) {
        for (int number = 0; number < kRooms; ++number) {
            SCOPED_TRACE(std::string(nameOf(row.state)) + " " + std::to_string(number));
            const auto quits = service.quits();
            const auto joins = service.joins();
            TQWhiteBoard::forgetNavigation(config.appKey, config.token);
            service.hold(row.held);
            make();
            if (row.state != State::Idle)
                room->enter(config);
            if (row.state == State::Reconnecting || row.state == State::Leaving)
                waitFor(State::Shown);
            if (row.state == State::Reconnecting)
                killPage();
            if (row.state == State::Leaving)
                room->leave();
            waitFor(row.state);
            if (row.state == State::Joining)
                runUntil([&] { return service.joins() > joins; }, "the join is sent");
            if (number % 2 || row.state == State::Leaving)
                room.reset();
            else
                room->leave();
            service.hold("");
            if (room && row.state < State::Loading) {
                EXPECT_EQ(room->state(), State::Over);
            }
            if (row.isJoinSent)
                runUntil([&] { return service.quits() > quits; }, "the service is told");
            room.reset();
            runUntil([&] { return watched.expired(); }, "the view is destroyed");
        }
    }
}

TEST_F(RoomTest, TheSameUserComesBackAfterTheWayOut)
{
    enterAndSee();
    for (int count = 0; count < 5; ++count) {
        room.reset();
        enterAndSee();
        EXPECT_EQ(service.quits(), count + 1);
        EXPECT_FALSE(service.isEmpty());
    }
}

TEST_F(RoomTest, AServiceThatCannotBeToldIsTheReason)
{
    enterAndSee();
    service.quit.set(HttpsServer::answerWith(200, R"({"code":4041,"desc":"not in room"})"));
    std::optional<TQWBRoomOutcome> left;
    room->leave().then([&](const auto& newOutcome) { left = newOutcome; });
    waitFor(State::Over);
    EXPECT_EQ(reason->category, Category::Service);
    EXPECT_EQ(reason->code, 4041U);
    EXPECT_EQ(reason->text, "not in room");
    runUntil([&] { return left.has_value(); }, "the step has ended");
    EXPECT_EQ(left->error.value().code, 4041U);
}

TEST_F(RoomTest, HandlersMayEndTheRoomAtAnyTime)
{
    for (const auto last : { State::Finding, State::Joining, State::Loading, State::Shown, State::Reconnecting,
             State::Leaving, State::Over }) {
        SCOPED_TRACE(nameOf(last));
        make();
        room->setStateHandler([&](State state, const TQWBError*) {
            states.push_back(state);
            if (state == last)
                room.reset();
            else if (state == State::Shown && last == State::Reconnecting)
                killPage();
            else if (state == State::Shown)
                room->leave();
        });
        room->enter(config);
        runUntil([&] { return !room; }, "the room is dropped");
        EXPECT_EQ(states.back(), last);
        runUntil([&] { return watched.expired(); }, "the view is destroyed");
        runUntil([&] { return service.isEmpty(); }, "nobody is left in the room");
    }
}

} // namespace
} // namespace tq::test
