#include "TQWhiteBoardLib/TQWBNaviCode.h"
#include "TQWhiteBoardLib/TQWBRoom.h"
#include "TQWhiteBoardLib/TQWBSessionCode.h"
#include "tests/support/Engine.h"
#include "tests/support/SessionTest.h"

#include <stdexcept>
#include <thread>

namespace tq::test {
namespace {

using namespace std::chrono_literals;
using State = TQWBRoomState;
using Category = TQWBErrorCategory;

const std::string kFull = HttpsServer::answerWith(200, R"({"code":4001,"desc":"room full"})");
const std::string kGoodPage = HttpsServer::pageOf("<script>prompt('_dsbridge=TQJSBridge.onLoadEnd', '{}')</script>");

struct Answers {
    std::string join = kGoodAnswer;
    std::string page = kGoodPage;
    std::string quit = kGoodAnswer;
    // Empty: where the service is.
    std::string navigation{};
};

/// A service whose answers the test chooses.
class Service {
public:
    Shared<Answers> answers{ {} };
    // So many requests for pages get no answer.
    std::atomic<int> silentPages = 0;

    // Requests whose line begins so wait for their answer until this is another beginning; empty: none.
    Shared<std::string> held{ "" };

    ~Service() { held.set(""); }

    const std::string& host() const { return m_server.host(); }
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
        const auto line = request.line();
        if (line.starts_with("GET /conference/") && silentPages-- > 0)
            return wire.waitForEnd();
        const auto waited = held.get();
        while (!waited.empty() && line.starts_with(waited) && held.get() == waited)
            std::this_thread::yield();
        const auto [join, page, quit, navigation] = answers.get();
        if (line.starts_with("POST /config.json"))
            wire.send(HttpsServer::answerWith(200,
                navigation.empty() ? R"({"iwbLeaseUri":")" + host() + R"(","iwbConferenceUri":")" + host() + "\"}"
                                   : navigation));
        else
            wire.send(line.starts_with("GET ") ? page : line.starts_with("DELETE ") ? quit : join);
    }

    HttpsServer m_server{ [this](const ReceivedRequest& request, Wire& wire) { converse(request, wire); } };
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
    TQWBRoomStep enter()
    {
        make();
        return room->enter(config);
    }
    static std::optional<TQWBError> errorOf(const TQWBRoomStep& step)
    {
        std::optional<TQWBRoomOutcome> outcome;
        step.then([&](const TQWBRoomOutcome& newOutcome) { outcome = newOutcome; });
        runUntil([&] { return outcome.has_value(); }, "the step has ended");
        return outcome.value().error;
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
    void killPage() const { crashPage(*room->view()); }

    Service service;
    TQWBRoomConfig config;
    TQWBRoomOptions options{ .frame = { 0, 0, 200, 100 } };
    std::unique_ptr<TQWBRoom> room;
    std::weak_ptr<TQWBWebView> watched;
    std::vector<State> states;
    std::optional<TQWBError> reason;
    bool isLeft = true;
};

TEST_F(RoomTest, ComesAndGoes)
{
    const auto step = enter();
    EXPECT_FALSE(errorOf(step));
    EXPECT_EQ(room->state(), State::Shown);
    EXPECT_EQ(states, (std::vector{ State::Finding, State::Joining, State::Loading, State::Shown }));
    EXPECT_FALSE(service.isEmpty());
    EXPECT_EQ(errorOf(room->enter(config)).value().code, TQWBRoomCodeUsed);

    const auto left = room->leave();
    EXPECT_EQ(room->state(), State::Leaving);
    EXPECT_FALSE(errorOf(left));
    EXPECT_EQ(states.back(), State::Over);
    EXPECT_FALSE(reason);
    EXPECT_EQ(service.quits(), 1);
    EXPECT_FALSE(room->view());
}

TEST_F(RoomTest, SaysWhyThereIsNone)
{
    HttpsServer untrusted([](const ReceivedRequest&, Wire&) {}, HttpsServer::Transport::Untrusted);
    const auto refused = "localhost:" + std::to_string(refusingPort());
    const auto html = [](int status) { return HttpsServer::answerWith(status, "<h1>No</h1>"); };
    const auto json = [](const char* body, int status = 200) { return HttpsServer::answerWith(status, body); };
    const auto password = HttpsServer::answerWith(401, "no", "WWW-Authenticate: Basic realm=\"page\"\r\n");
    struct Row {
        const char* what;
        Answers answers;
        Category category;
        NSUInteger code;
        State last;
        int quits = 1;
        std::function<void()> prepare = [] {};
    };
    const std::vector<Row> rows{
        { "page refused", {}, Category::Page, TQWBRoomCodePageUnreachable, State::Loading, 1,
            [&] { knowService(service.host(), refused, config.token); } },
        { "page untrusted", {}, Category::Certificate, TQWBRoomCodePageUntrusted, State::Loading, 1,
            [&] { knowService(service.host(), untrusted.host(), config.token); } },
        { "page 500", { .page = html(500) }, Category::Page, 500, State::Loading },
        { "page that asks for a password", { .page = password }, Category::Page, 401, State::Loading },
        { "page silent", {}, Category::Page, TQWBRoomCodePageSilent, State::Loading, 1,
            [&] {
                service.silentPages = 1000;
                options.pagePatience = 100ms;
            } },
        { "page never complete", { .page = html(200) }, Category::Page, TQWBRoomCodeTimedOut, State::Loading, 1,
            [&] {
                options.timeLimit = 3s;
                options.pagePatience = options.loadEndPatience = 20s;
            } },
        { "join in HTML", { .join = html(200) }, Category::Service, TQWBRoomCodeAnswerUnreadable, State::Joining },
        { "join with status 500", { .join = json(R"({"code":0,"key":"k1"})", 500) }, Category::Service,
            TQWBRoomCodeAnswerUnreadable, State::Joining },
        { "join without a key", { .join = json(R"({"code":0})") }, Category::Service, TQWBRoomCodeAnswerUnreadable,
            State::Joining },
        { "join of strangers", { .join = html(401) }, Category::Token, TQWBRoomCodeAnswerUnreadable, State::Joining },
        { "key that makes no address", { .join = json(R"({"code":0,"key":"k 1"})") }, Category::Service,
            TQWBRoomCodeAnswerUnreadable, State::Joining },
        { "join refused", { .join = kFull }, Category::Service, 4001, State::Joining, 0 },
        { "join broken off", { .join = "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n" }, Category::Network,
            TQWBSessionCodeRequestFailed, State::Joining },
        { "room that is no part of an address", {}, Category::Usage, TQWBSessionCodeRequestFailed, State::Joining, 0,
            [&] { config.roomId = "my hall"; } },
        { "service without a place", { .navigation = R"({"iwbLeaseUri":null,"iwbConferenceUri":null})" },
            Category::Network, TQWBNaviCodeAnswerIncomplete, State::Finding, 0 },
        { "record unusable", {}, Category::Usage, TQWBSessionCodeInvalidConfig, State::Idle, 0,
            [&] { config.minutes = 20000; } },
    };
    const auto before = config;
    const auto optionsBefore = options;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        config = before;
        options = optionsBefore;
        TQWhiteBoard::forgetNavigation(config.appKey, config.token);
        service.answers.set(row.answers);
        service.silentPages = 0;
        const auto quits = service.quits();
        row.prepare();
        const auto error = errorOf(enter());
        ASSERT_TRUE(reason && error);
        EXPECT_EQ(room->state(), State::Over);
        EXPECT_EQ(reason->category, row.category) << reason->text;
        EXPECT_EQ(reason->code, row.code) << reason->text;
        EXPECT_FALSE(reason->text.empty());
        EXPECT_EQ(error->text, reason->text);
        EXPECT_EQ(states.size() < 2 ? State::Idle : states[states.size() - 2], row.last);
        runUntil([&] { return service.quits() == quits + row.quits; }, "the user is out of the room again");
        runUntil([&] { return watched.expired(); }, "the view is destroyed");
    }
}

TEST_F(RoomTest, APageThatDoesNotBeginIsAskedForAgain)
{
    // Longer than an engine takes to begin on a busy machine.
    options.pagePatience = 1500ms;
    service.silentPages = 1;
    enterAndSee();
    EXPECT_GE(service.pages(), 2);
    EXPECT_EQ(states, (std::vector{ State::Finding, State::Joining, State::Loading, State::Shown }));
}

TEST_F(RoomTest, AQuietPageIsShownAfterAWhileAndReachesItsServersAtOnce)
{
    HttpsServer files([](const ReceivedRequest&) { return HttpsServer::answerWith(200, ""); });
    // Certificates are trusted for each host.
    const auto address = "https://127.0.0.1" + files.host().substr(files.host().find(':'));
    options.expectedServers = { address };
    options.loadEndPatience = 100ms;
    service.answers.set(
        { .page = HttpsServer::pageOf("<script>new WebSocket('wss" + address.substr(5) + "/')</script>") });
    enterAndSee();
    runUntil([&] { return files.requests().size() == 1; }, "the page's first try reaches the other server");
}

TEST_F(RoomTest, ThePageEndsItsRoom)
{
    isLeft = false;
    for (const auto& [call, code] :
        std::vector<std::pair<std::string, std::optional<NSUInteger>>>{ { "onRoomQuited', '{}'", std::nullopt },
            { "onRoomException', '{\"data\":{\"code\":4091,\"msg\":\"replaced\"}}'", 4091 } }) {
        const auto quits = service.quits();
        enterAndSee();
        std::string callsEnd;
        room->view()->callHandler<int>("never", [&](const Answer<int>& answer) { callsEnd = answer.error; });
        room->view()->evaluateJavaScript("prompt('_dsbridge=TQJSBridge." + call + ")");
        waitFor(State::Over);
        EXPECT_EQ(reason ? std::optional(reason->code) : std::nullopt, code);
        EXPECT_EQ(reason ? reason->text : "replaced", "replaced");
        runUntil([&] { return !callsEnd.empty(); }, "a call of the page ends with its room");
        EXPECT_EQ(callsEnd, "never: the view has ended");
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
    const auto elsewhere = "https://" + other.host() + "/";
    const auto leadingOn = "https://" + service.host() + "/on";
    enterAndSee();
    service.answers.set({ .page = HttpsServer::answerWith(302, "", "Location: " + elsewhere + "\r\n") });
    int asked = 0;
    std::size_t others = 0;
    for (const auto& address : { std::string("mailto:ann@b.example"), refused, elsewhere, leadingOn }) {
        SCOPED_TRACE(address);
        room->view()->evaluateJavaScript("location = '" + address + "'");
        if (address == leadingOn)
            runUntil([&] { return service.count("GET /on ") == 1; }, "what leads on is asked for");
        if ((address == elsewhere || address == leadingOn) && !kEngine.tellsFrames)
            runUntil([&] { return other.requests().size() == others + 1; }, "it is asked for, too"), ++others;
        // The page is still there, and has heard of the load's end by then.
        ++asked;
        room->view()->evaluateJavaScript("setTimeout(() => prompt('_dsbridge=TQJSBridge.onRecordStart', '{}'), 150)");
        runUntil([&] { return countOfLine("[TQ:Log] onRecordStart") == asked; }, "the page speaks");
        EXPECT_EQ(room->state(), State::Shown);
    }
    EXPECT_EQ(other.requests().size(), others);
    EXPECT_EQ(service.joins(), 1);
    EXPECT_EQ(service.pages(), 1);
}

TEST_F(RoomTest, NobodyIsLeftBehindWhenARoomCannotComeBack)
{
    enterAndSee();
    service.answers.set({ .join = kFull });
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
    knowService("localhost:" + std::to_string(refusingPort()), service.host(), config.token);
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
    for (const auto& [state, held] :
        std::vector<std::pair<State, const char*>>{ { State::Idle, "" }, { State::Finding, "POST /config.json" },
            { State::Joining, "POST /api/" }, { State::Loading, "GET /conference/" }, { State::Shown, "" },
            { State::Reconnecting, "" }, { State::Leaving, "DELETE " } }) {
        for (const bool isDropped : { true, false }) {
            SCOPED_TRACE(std::string(nameOf(state)) + (isDropped ? ", dropped" : ", left"));
            const auto quits = service.quits();
            const auto joins = service.joins();
            TQWhiteBoard::forgetNavigation(config.appKey, config.token);
            service.held.set(held);
            make();
            if (state != State::Idle)
                room->enter(config);
            if (state == State::Reconnecting || state == State::Leaving)
                waitFor(State::Shown);
            if (state == State::Reconnecting)
                killPage();
            if (state == State::Leaving)
                room->leave();
            waitFor(state);
            if (state == State::Joining)
                runUntil([&] { return service.joins() > joins; }, "the join is sent");
            if (isDropped)
                room.reset();
            else
                room->leave();
            service.held.set("");
            if (room && state < State::Loading) {
                EXPECT_EQ(room->state(), State::Over);
            }
            if (state >= State::Joining)
                runUntil([&] { return service.quits() > quits; }, "the service is told");
            room.reset();
            runUntil([&] { return watched.expired(); }, "the view is destroyed");
        }
    }
}

TEST_F(RoomTest, TheSameUserComesBackAfterTheWayOut)
{
    enterAndSee();
    room.reset();
    enterAndSee();
    EXPECT_EQ(service.quits(), 1);
    EXPECT_FALSE(service.isEmpty());
}

TEST_F(RoomTest, AServiceThatCannotBeToldIsTheReason)
{
    enterAndSee();
    service.answers.set({ .quit = HttpsServer::answerWith(200, R"({"code":4041,"desc":"not in room"})") });
    EXPECT_EQ(errorOf(room->leave()).value().code, 4041U);
    EXPECT_EQ(reason->category, Category::Service);
    EXPECT_EQ(reason->code, 4041U);
    EXPECT_EQ(reason->text, "not in room");
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
