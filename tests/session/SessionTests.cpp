#include "tests/support/SessionTest.h"

#include <boost/json/parse.hpp>
#include <cctype>
#include <fstream>
#include <malloc.h>
#include <thread>

namespace tq::test {
namespace {

using Lines = std::vector<std::string>;

// The requests that have come, without those for pages.
std::vector<ReceivedRequest> operations(const HttpsServer& server)
{
    auto all = server.requests();
    std::erase_if(all, [](const auto& request) { return request.line().starts_with("GET "); });
    return all;
}

bool isRandomText(const boost::json::value& value)
{
    const auto* text = value.if_string();
    return text && text->size() == 10
        && std::ranges::all_of(*text, [](unsigned char character) { return std::isalnum(character); });
}

TEST(RandomTexts, AreOfLettersAndDigits)
{
    EXPECT_EQ(TQWhiteBoard::getVersion(), "1.0.0");
    EXPECT_EQ(TQWhiteBoard::generateMixed(0), "");
    EXPECT_EQ(TQWhiteBoard::generateMixed(-5), "");
    EXPECT_NE(TQWhiteBoard::generateMixed(10), TQWhiteBoard::generateMixed(10));
    const auto text = TQWhiteBoard::generateMixed(20000);
    EXPECT_EQ(text.size(), 20000U);
    for (const char character : std::string_view("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"))
        EXPECT_GT(std::ranges::count(text, character), 150) << character;
    EXPECT_TRUE(std::ranges::all_of(text, [](unsigned char character) { return std::isalnum(character); }));
}

TEST_F(SessionTest, ChecksFailBeforeTheOperationReturnsAndLogAfterTheCallback)
{
    struct Row {
        const char* name;
        std::function<void(TQWBFailure)> start;
        NSUInteger code;
        std::string text;
    };
    auto spent = TQWhiteBoard::initWithWebView(nullptr);
    const std::vector<Row> rows{
        { "join without view", [&](auto e) { spent->joinWithConfig(config, {}, e); }, 300001, "SDK not init" },
        { "play without view", [&](auto e) { spent->playWithConfig(record, {}, e); }, 300001, "SDK not init" },
        { "quit without view", [&](auto e) { spent->quitWhiteBoard({}, e); }, 300001, "SDK not init" },
        { "join with nothing", [&](auto e) { board->joinWithConfig(nullptr, {}, e); }, 300002, "config is invalid" },
        { "play with nothing", [&](auto e) { board->playWithConfig(nullptr, {}, e); }, 300002, "config is invalid" },
        { "join for too long",
            [&](auto e) {
                config->minutes = 20000;
                board->joinWithConfig(config, {}, e);
            },
            300002, "config is invalid" },
        { "quit without join", [&](auto e) { board->quitWhiteBoard({}, e); }, 300010, "not in WhiteBoard" },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        clearLog();
        int calls = 0;
        row.start([&](NSUInteger code, const OptionalText& text) {
            ++calls;
            EXPECT_EQ(code, row.code);
            EXPECT_EQ(text, row.text);
            EXPECT_TRUE(logLines().empty());
        });
        EXPECT_EQ(calls, 1);
        EXPECT_EQ(logLines(), (Lines{ "[TQ:Log] " + row.text }));
        row.start(nullptr);
    }
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(SessionTest, JoinSendsItsRequestAndLoadsTheRoom)
{
    config->minutes = 0;
    config->userName = "";
    const auto ending = join();
    EXPECT_EQ(ending->successes, 1);
    EXPECT_FALSE(ending->onMainThread);
    EXPECT_EQ(config->minutes, 1440);
    EXPECT_EQ(board->roomConfig(), config);
    EXPECT_EQ(countOfLine("[TQ:Log] joinWhiteBoard success"), 1);
    const auto url = "https://" + server.host() + "/conference/index.html?key=k1&iwbLeaseUri=" + server.host();
    EXPECT_EQ(board->getRoomUrl("k1"), url);
    runUntil([&] { return server.requests().size() >= 2; }, "the page is asked for");

    const auto request = server.requests()[0];
    EXPECT_EQ(request.line(), "POST /api/v1/iwb/join/room HTTP/1.1");
    for (const char* header : { "Content-Type: application/json", "TQ-AppKey: key", "TQ-Token: token" })
        EXPECT_TRUE(request.hasHeader(header)) << request.head;
    EXPECT_NE(request.body.find("\n"), std::string::npos);
    const auto body = boost::json::parse(request.body).as_object();
    EXPECT_EQ(body.size(), 6U);
    for (const char* member : { "outTradeNo", "ownerId", "name", "fileName" })
        EXPECT_TRUE(isRandomText(body.at(member))) << member;
    EXPECT_NE(body.at("name"), body.at("ownerId"));
    EXPECT_EQ(body.at("minutes"), 1440);
    EXPECT_EQ(body.at("user"), boost::json::parse(R"({"name":"","role":"presenter","uid":"user"})"));
    const auto page = server.requests()[1];
    EXPECT_EQ(page.line(), "GET /conference/index.html?key=k1&iwbLeaseUri=" + server.host() + " HTTP/1.1");
    EXPECT_TRUE(page.hasHeader("User-Agent: i")) << page.head;

    config->roleType = 3;
    config->minutes = 30;
    join();
    const auto other = boost::json::parse(operations(server).back().body).as_object();
    EXPECT_EQ(other.at("minutes"), 30);
    EXPECT_EQ(other.at("user").at("role"), "viewer");
}

TEST_F(SessionTest, AbsentMembersAreLeftOutAndEmptyHeadersAreSent)
{
    join(); // so that the service is known
    record = std::make_shared<TQWBRecordConfig>(TQWBRecordConfig{ "key", "", {}, {}, {}, {} });
    run([this](Ending& ending) { board->requestRecordUrl(record, ending.success(), ending.failure()); });
    const auto request = operations(server).back();
    EXPECT_EQ(request.line(), "POST /api/v1/iwb/player HTTP/1.1");
    EXPECT_TRUE(request.hasHeader("TQ-Token:")) << request.head;
    auto body = boost::json::parse(request.body).as_object();
    body.erase("outTradeNo");
    EXPECT_EQ(boost::json::value(body), boost::json::parse(R"({"user":{"name":"","role":"record","uid":""}})"));
    // What is no UTF-8 cannot be written.
    EXPECT_EQ(TQWhiteBoard::getRequest("https://x.example/a", { { "k", "\xFF" } }, {}, {}).HTTPBody, std::nullopt);
}

// The key and the token go to the host that was named, or nowhere.
TEST_F(SessionTest, AServiceThatCannotBeAskedIsAFailureAndChangesNothing)
{
    EXPECT_EQ(join()->successes, 1);
    const boost::json::value refusing("localhost:" + std::to_string(refusingPort()));
    for (const boost::json::value& host : boost::json::array{ refusing, 5, "bad host", "", "/" + server.host(), "#",
             "a@", "a\\@" + server.host(), "local%68ost" + server.host().substr(9) }) {
        SCOPED_TRACE(host);
        knowService(host, server.host());
        for (const auto& [ending, code] : { std::pair{ join(), 300005U }, { play(), 300007U }, { quit(), 300005U } }) {
            EXPECT_EQ(ending->code, code);
            EXPECT_EQ(ending->text == "unsupported URL", host != refusing) << ending->text.value_or("");
            EXPECT_FALSE(ending->text.value_or("").empty());
        }
        EXPECT_EQ(board->roomConfig(), config);
    }
    EXPECT_EQ(operations(server).size(), 1U);
}

TEST_F(SessionTest, RoomAndUserArriveAsTheyStand)
{
    const std::vector<std::pair<std::string, std::string>> rows{ { "..", "a/../../b" }, { "a//b/", "/" },
        { "%2e%2E", "%zz%" }, { R"(!"$&'()*+,-;<=>@[\]^_`{|}~:)", "d&e?f=g" } };
    for (const auto& [room, user] : rows) {
        SCOPED_TRACE(room);
        config->roomId = room;
        config->userId = user;
        EXPECT_EQ(join()->successes, 1);
        EXPECT_EQ(quit()->successes, 1);
        board = TQWhiteBoard::initWithWebView(view);
        const auto requests = operations(server);
        ASSERT_GE(requests.size(), 2U);
        EXPECT_EQ(requests[requests.size() - 2].line(), "POST /api/v1/iwb/join/" + room + " HTTP/1.1");
        EXPECT_EQ(requests.back().line(), "DELETE /api/v1/iwb/hubs/" + room + "/users/" + user + " HTTP/1.1");
    }
}

TEST_F(SessionTest, WhatCannotArriveOrWouldSplitARequestIsNotSent)
{
    EXPECT_EQ(join()->successes, 1);
    const std::vector<std::string> noAddress{ "a b", "a#b", "\xC3\xA9" };
    const std::vector<std::string> split{ "a\nX-Evil: 1", "a\rX-Evil: 1", { "a\0X-Evil: 1", 11 } };
    for (auto field :
        { &TQWBRoomConfig::appKey, &TQWBRoomConfig::token, &TQWBRoomConfig::roomId, &TQWBRoomConfig::userId }) {
        const bool isHeader = field == &TQWBRoomConfig::appKey || field == &TQWBRoomConfig::token;
        auto texts = split;
        if (!isHeader)
            texts.insert(texts.end(), noAddress.begin(), noAddress.end());
        for (const auto& text : texts) {
            SCOPED_TRACE(text);
            const auto kept = std::exchange((*config).*field, text);
            record->appKey = config->appKey;
            record->token = config->token;
            knowService(server.host(), server.host(), config->token, config->appKey);
            EXPECT_EQ(quit()->code, 300005U);
            // The user stands in the body when a room is joined, and nothing else when a recording is played.
            if (field != &TQWBRoomConfig::userId) {
                EXPECT_EQ(join()->code, 300005U);
            }
            if (isHeader) {
                EXPECT_EQ(play()->code, 300007U);
            }
            (*config).*field = kept;
        }
    }
    EXPECT_EQ(operations(server).size(), 1U);
}

TEST_F(SessionTest, ReplaySendsItsRequestAndLeavesTheRoomAlone)
{
    EXPECT_EQ(play()->successes, 1);
    EXPECT_EQ(countOfLine("[TQ:Log] play video success"), 1);
    EXPECT_EQ(board->roomConfig(), nullptr);
    const auto request = server.requests()[0];
    EXPECT_EQ(request.line(), "POST /api/v1/iwb/player HTTP/1.1");
    auto body = boost::json::parse(request.body).as_object();
    EXPECT_TRUE(isRandomText(body.at("outTradeNo")));
    body.erase("outTradeNo");
    EXPECT_EQ(boost::json::value(body),
        boost::json::parse(R"({"url":"https://r.example/1","playHubId":"room",)"
                           R"("user":{"name":"Ann","role":"record","uid":"user"}})"));
    runUntil([&] { return server.requests().size() >= 2; }, "the page is asked for");
    EXPECT_EQ(quit()->code, 300010U);
}

TEST_F(SessionTest, QuitSendsItsRequestAndSpendsTheSession)
{
    join();
    runUntil([&] { return server.requests().size() >= 2; }, "the page is asked for");
    answer.set(HttpsServer::answerWith(200, R"({"code":0})"));
    const auto ending = quit();
    EXPECT_EQ(ending->successes, 1);
    EXPECT_FALSE(ending->onMainThread);
    EXPECT_EQ(countOfLine("[TQ:Log] QuitWhiteBoard success"), 1);
    const auto request = operations(server).back();
    EXPECT_EQ(request.line(), "DELETE /api/v1/iwb/hubs/room/users/user HTTP/1.1");
    for (const char* header : { "Content-Type: application/json", "TQ-AppKey: key", "TQ-Token: token" })
        EXPECT_TRUE(request.hasHeader(header)) << request.head;
    EXPECT_EQ(request.body, "");
    EXPECT_EQ(board->webView(), nullptr);
    EXPECT_EQ(board->roomConfig(), nullptr);
    EXPECT_EQ(join()->code, 300001U);
    // The page's events reach nobody any more. The view is let go of here, since its page cannot do it now.
    for (const char* name : { "TQJSBridge.onLoadEnd", "TQNativeBridge.onLoadEnd" })
        EXPECT_EQ(view->call(name, "{}"), R"({"code":-1,"data":""})");
}

TEST_F(SessionTest, QuitChecksTheFieldsOfTheJoinedRecordAsTheyAreNow)
{
    join();
    for (auto field :
        { &TQWBRoomConfig::appKey, &TQWBRoomConfig::token, &TQWBRoomConfig::roomId, &TQWBRoomConfig::userId }) {
        const auto kept = (*config).*field;
        ((*config).*field).reset();
        const auto ending = quit();
        EXPECT_EQ(ending->code, 300010U);
        EXPECT_EQ(ending->text, "config is invalid");
        (*config).*field = kept;
    }
    config->userName.reset();
    config->minutes = -5;
    EXPECT_EQ(quit()->successes, 1);
}

TEST_F(SessionTest, TheServicesRefusalsPassThrough)
{
    struct Row {
        std::string body;
        NSUInteger code;
        OptionalText text;
        std::string logged;
    };
    const std::vector<Row> rows{
        { R"({"code":4001,"desc":"room full"})", 4001, "room full", "room full" },
        { R"({"code":7.9,"desc":null,"key":"k"})", 7, std::nullopt, "null" },
    };
    join();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.body);
        answer.set(HttpsServer::answerWith(418, row.body));
        for (const auto& [ending, name] :
            { std::pair{ join(), "joinWhiteBoard" }, { play(), "play video" }, { quit(), "QuitWhiteBoard" } }) {
            EXPECT_EQ(ending->code, row.code) << name;
            EXPECT_EQ(ending->text, row.text) << name;
            EXPECT_FALSE(ending->onMainThread);
            EXPECT_GE(countOfLine("[TQ:Log] " + std::string(name) + " error：" + row.logged), 1);
        }
        EXPECT_EQ(board->roomConfig(), config);
        EXPECT_EQ(board->webView(), view);
    }
}

TEST_F(SessionTest, AnswersThatCannotBeReadCountAsSuccess)
{
    for (const char* body : { "oops", "", "[1]", R"({"key":null})", "\xFF" }) {
        SCOPED_TRACE(body);
        answer.set(HttpsServer::answerWith(500, body));
        const auto before = server.requests().size();
        EXPECT_EQ(join()->successes, 1);
        runUntil([&] { return server.requests().size() >= before + 2; }, "the page is asked for");
        EXPECT_EQ(server.requests().back().line(),
            "GET /conference/index.html?key=(null)&iwbLeaseUri=" + server.host() + " HTTP/1.1");
    }
}

TEST_F(SessionTest, WithoutThePagesHostThereIsNoRoomAddress)
{
    for (const boost::json::value& pages : boost::json::array{ "", 5 }) {
        knowService(server.host(), pages);
        for (const auto& [ending, code] : { std::pair{ join(), 300006U }, { play(), 300008U } }) {
            EXPECT_EQ(ending->code, code);
            EXPECT_EQ(ending->text, "url is nil");
        }
        EXPECT_EQ(board->getRoomUrl("k"), "");
        EXPECT_EQ(board->roomConfig(), nullptr);
    }
    EXPECT_EQ(countOfLine("[TQ:Log] joinWhiteBoard error：url is nil"), 2);
    EXPECT_EQ(countOfLine("[TQ:Log] play video error：url is nil"), 2);
}

TEST_F(SessionTest, NavigationIsAskedOnceAndThenRemembered)
{
    std::atomic<int> navigations = 0;
    HttpsServer navigation([&](const auto&) {
        ++navigations;
        return HttpsServer::answerWith(
            200, R"({"iwbLeaseUri":")" + server.host() + R"(","iwbConferenceUri":")" + server.host() + R"("})");
    });
    config->token = record->token = "fresh@" + navigation.host();
    EXPECT_EQ(join()->successes, 1);
    EXPECT_EQ(countOfLine("[TQ:Log] requestNavis success"), 1);
    EXPECT_EQ(board->naviData()->iwbLeaseUri, server.host());
    EXPECT_EQ(join()->successes, 1);
    EXPECT_EQ(play()->successes, 1);
    TQWhiteBoard::forgetNavigation("key", "another");
    EXPECT_EQ(join()->successes, 1);
    EXPECT_EQ(navigations, 1);
    TQWhiteBoard::forgetNavigation("key", config->token);
    EXPECT_EQ(join()->successes, 1);
    EXPECT_EQ(navigations, 2);
    EXPECT_EQ(quit()->successes, 1);
    EXPECT_EQ(navigations, 2);
    EXPECT_TRUE(navigation.requests()[0].body.ends_with("&v=1.0.0&p=iOS"));
}

TEST_F(SessionTest, NavigationFailuresPassThroughOnTheMainThread)
{
    HttpsServer navigation([](const auto&) { return HttpsServer::answerWith(403, R"({"code":401})"); });
    config->token = record->token = "refused@" + navigation.host();
    for (const auto& ending : { join(), play() }) {
        EXPECT_EQ(ending->code, 100010U);
        EXPECT_EQ(ending->text, "code = 401, responseCode = 403.");
        EXPECT_TRUE(ending->onMainThread);
    }
    EXPECT_EQ(
        countOfLine(
            "[TQ:Log] requestNavis failure, errorCode: 100010, errorDescription: code = 401, responseCode = 403."),
        2);
    EXPECT_EQ(board->naviData(), nullptr);
}

TEST_F(SessionTest, TheSessionStaysUntilItsRequestHasEnded)
{
    const std::weak_ptr<TQWhiteBoard> watched = board;
    Ending ending;
    board->joinWithConfig(config, ending.success(), ending.failure());
    board.reset();
    EXPECT_FALSE(watched.expired());
    ending.wait();
    EXPECT_EQ(ending.successes, 1);
    runUntil([&] { return watched.expired(); }, "the session is gone");
    board = TQWhiteBoard::initWithWebView(view);
}

TEST_F(SessionTest, QuitWhileThePageReportsAndOthersLook)
{
    join();
    std::atomic<bool> isOver = false;
    std::jthread looker([&, watched = board] {
        while (!isOver) {
            static_cast<void>(watched->webView());
            static_cast<void>(watched->roomConfig());
            static_cast<void>(watched->getRoomUrl("k"));
        }
    });
    Ending ending;
    board->quitWhiteBoard(ending.success(), ending.failure());
    runUntil(
        [&] {
            view->call("TQJSBridge.onStatusChange", "{}");
            return ending.successes == 1;
        },
        "the quit has succeeded");
    isOver = true;
}

TEST_F(SessionTest, ExceptionsOfTheApplicationsCallbacksAreLogged)
{
    board->joinWithConfig(
        config, [] { throw std::runtime_error("thrown by the application"); }, nullptr);
    runUntil([] { return countOfLine("thrown by the application") == 1; }, "the exception is logged");
}

// What this process has in memory, in pages, without what its allocator only keeps for later.
double residentMemory()
{
    malloc_trim(0);
    double total = 0;
    double resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident;
}

// A few are no test of memory: TQWB_LIFETIMES asks for more.
TEST_F(SessionTest, LifetimesLeaveNothingBehind)
{
    constexpr int kWarmUp = 50;
    const char* wanted = std::getenv("TQWB_LIFETIMES");
    const int lifetimes = wanted ? std::atoi(wanted) : 2;
    double warm = 0;
    for (int number = 1; number <= lifetimes; ++number) {
        board = TQWhiteBoard::initWithWebView(view);
        EXPECT_EQ(join()->successes, 1);
        runUntil([&] { return view->estimatedProgress() == 1; }, "the page is there");
        EXPECT_EQ(quit()->successes, 1);
        const std::weak_ptr<TQWBWebView> watched = std::exchange(view, TQWBWebView::initWithFrame({}, nullptr));
        runUntil([&] { return watched.expired(); }, "the view is destroyed");
        if (number == kWarmUp)
            warm = residentMemory();
    }
    if (lifetimes > kWarmUp) {
        EXPECT_LE(residentMemory(), warm * 1.10);
    }
}

} // namespace
} // namespace tq::test
