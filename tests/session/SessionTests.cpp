#include "tests/support/HttpsServer.h"
#include "tests/support/Log.h"
#include "tests/support/MainLoop.h"

#include "TQWhiteBoardLib/TQWBWebView.h"
#include "TQWhiteBoardLib/TQWhiteBoard.h"
#include "navigation/TQWBNaviManager.h"
#include "platform/Foundation/Dispatch.h"

#include <algorithm>
#include <atomic>
#include <boost/json/parse.hpp>
#include <cctype>
#include <cstdlib>
#include <gtest/gtest.h>
#include <iostream>
#include <limits>
#include <thread>

namespace tq::test {
namespace {

constexpr auto kAllBits = std::numeric_limits<NSUInteger>::max();
using Lines = std::vector<std::string>;

// How an operation ended; written on whatever thread it ended on.
struct Ending {
    std::atomic<int> successes = 0;
    std::atomic<int> failures = 0;
    NSUInteger code = 0;
    OptionalText text;
    bool onMainThread = false;

    TQWBSuccess success()
    {
        return [this] {
            onMainThread = isMainThread();
            ++successes;
        };
    }
    TQWBFailure failure()
    {
        return [this](NSUInteger newCode, const OptionalText& newText) {
            code = newCode;
            text = newText;
            onMainThread = isMainThread();
            ++failures;
        };
    }
    void wait()
    {
        runUntil([this] { return successes + failures > 0; }, "the operation has ended");
        EXPECT_EQ(successes + failures, 1);
    }
};

boost::json::value json(const std::string& text) { return boost::json::string(text); }

class SessionTest : public testing::Test {
protected:
    void SetUp() override
    {
        clearLog();
        NSURLSessionConfiguration::defaultSessionConfiguration().setExtraTrustAnchors(HttpsServer::authority());
        view = TQWBWebView::initWithFrame({ 0, 0, 200, 100 }, nullptr);
        if (!view) {
            std::cerr << "these tests need a display\n";
            std::exit(1);
        }
        board = TQWhiteBoard::initWithWebView(view);
        config = std::make_shared<TQWBRoomConfig>(TQWBRoomConfig{ "key", "token", "room", "user", "Ann", 0, 30 });
        record = std::make_shared<TQWBRecordConfig>(
            TQWBRecordConfig{ "key", "token", "room", "user", "Ann", "https://r.example/1" });
        knowService(json(server.host()), json(server.host()));
    }
    void TearDown() override
    {
        view->call("TQJSBridge.onRoomQuited", "{}");
        const std::weak_ptr<TQWBWebView> watched = view;
        view.reset();
        board.reset();
        runUntil([&] { return watched.expired(); }, "the view is destroyed");
    }
    // As if a navigation server had told.
    static void knowService(const boost::json::value& lease, const boost::json::value& conference)
    {
        boost::json::object answer{ { "iwbLeaseUri", lease }, { "iwbConferenceUri", conference } };
        TQWBNaviManager::sharedInstance()->saveNavi(std::move(answer), "key", "token");
    }
    std::unique_ptr<Ending> join()
    {
        auto ending = std::make_unique<Ending>();
        board->joinWithConfig(config, ending->success(), ending->failure());
        ending->wait();
        return ending;
    }
    std::unique_ptr<Ending> play()
    {
        auto ending = std::make_unique<Ending>();
        board->playWithConfig(record, ending->success(), ending->failure());
        ending->wait();
        return ending;
    }
    std::unique_ptr<Ending> quit()
    {
        auto ending = std::make_unique<Ending>();
        board->quitWhiteBoard(ending->success(), ending->failure());
        ending->wait();
        return ending;
    }
    std::string answerTo(const ReceivedRequest& request) const
    {
        if (request.line().starts_with("GET /conference/"))
            return HttpsServer::answerWith(200, "<title>room</title>", "Content-Type: text/html\r\n");
        return answer.get();
    }

    Shared<std::string> answer{ HttpsServer::answerWith(200, R"({"code":0,"key":"k1"})") };
    HttpsServer server{ [this](const ReceivedRequest& request) { return answerTo(request); } };
    std::shared_ptr<TQWBWebView> view;
    std::shared_ptr<TQWhiteBoard> board;
    std::shared_ptr<TQWBRoomConfig> config;
    std::shared_ptr<TQWBRecordConfig> record;
};

bool isRandomText(const boost::json::value& value)
{
    const auto* text = value.if_string();
    return text && text->size() == 10
        && std::ranges::all_of(*text, [](unsigned char character) { return std::isalnum(character); });
}

TEST(SessionRules, RandomTextsAreOfLettersAndDigits)
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
}

TEST(SessionRules, RequestsEndInTenSecondsAndLeaveOutWhatIsAbsent)
{
    const auto request = TQWhiteBoard::getRequest("https://x.example/a", { { "k", 1 } }, std::nullopt, "");
    EXPECT_EQ(request.timeoutInterval, 10);
    EXPECT_EQ(request.HTTPMethod, "POST");
    EXPECT_EQ(request.headers,
        (std::vector<std::pair<std::string, std::string>>{
            { "Content-Type", "application/json" }, { "TQ-Token", "" } }));
    EXPECT_EQ(TQWhiteBoard::getRequest("https://x.example/a", { { "k", "\xFF" } }, {}, {}).HTTPBody, std::nullopt);
    EXPECT_FALSE(TQWhiteBoard::getRequest("https://a b/", {}, {}, {}).URL);
}

TEST_F(SessionTest, AbsentMembersAreLeftOutAndEmptyHeadersAreSent)
{
    join(); // so that the service is known
    const auto before = server.requests().size();
    Ending ending;
    board->requestRecordUrl(std::make_shared<TQWBRecordConfig>(TQWBRecordConfig{ "key", "", {}, {}, {}, {} }),
        ending.success(), ending.failure());
    ending.wait();
    runUntil([&] { return server.requests().size() > before; }, "the service is asked");
    for (const auto& request : server.requests()) {
        if (!request.line().starts_with("POST /api/v1/iwb/player"))
            continue;
        EXPECT_TRUE(request.hasHeader("TQ-Token:")) << request.head;
        auto body = boost::json::parse(request.body).as_object();
        body.erase("outTradeNo");
        EXPECT_EQ(boost::json::value(body), boost::json::parse(R"({"user":{"name":"","role":"record","uid":""}})"));
        return;
    }
    FAIL() << "no replay was asked for";
}

// The key and the token go to the host that was named, or nowhere.
TEST_F(SessionTest, AServiceWithoutAHostIsAskedForNothing)
{
    for (const std::string& host : Lines{ "", "/", "/" + server.host(), "//" + server.host(), "?", "#", "@", ":443",
             "a@", "\\" + server.host(), "a\\@" + server.host(), "local%68ost" + server.host().substr(9) }) {
        SCOPED_TRACE(host);
        knowService(json(host), json(server.host()));
        EXPECT_EQ(join()->code, 300005U);
        EXPECT_EQ(play()->code, 300007U);
        knowService(json(server.host()), json(server.host()));
        EXPECT_EQ(join()->successes, 1);
        knowService(json(host), json(server.host()));
        const auto before = server.requests().size();
        const auto left = quit();
        EXPECT_EQ(left->code, 300005U);
        EXPECT_EQ(left->text, "unsupported URL");
        for (const auto& request : server.requests())
            EXPECT_FALSE(request.line().starts_with("DELETE")) << before;
    }
}

TEST_F(SessionTest, RoomAndUserArriveAsTheyStand)
{
    const std::vector<std::pair<std::string, std::string>> rows{ { "..", ".." }, { ".", "." }, { "%2e%2E", "..%2f.." },
        { "../..", "a/../../b" }, { "a//b/", "/" }, { "100%", "%zz%" }, { "a?b=c", "d&e" },
        { R"(!"$&'()*+,-;<=>@[\]^_`{|}~:)", "A\\b" } };
    for (const auto& [room, user] : rows) {
        SCOPED_TRACE(room);
        config->roomId = room;
        config->userId = user;
        EXPECT_EQ(join()->successes, 1);
        EXPECT_EQ(quit()->successes, 1);
        board = TQWhiteBoard::initWithWebView(view);
        std::vector<std::string> lines;
        for (const auto& request : server.requests()) {
            if (!request.line().starts_with("GET"))
                lines.push_back(request.line());
        }
        ASSERT_GE(lines.size(), 2U);
        EXPECT_EQ(lines[lines.size() - 2], "POST /api/v1/iwb/join/" + room + " HTTP/1.1");
        EXPECT_EQ(lines.back(), "DELETE /api/v1/iwb/hubs/" + room + "/users/" + user + " HTTP/1.1");
    }
    // What cannot arrive is not sent. (The user stands in the body when a room is joined.)
    EXPECT_EQ(join()->successes, 1);
    const auto count = [&] {
        return std::ranges::count_if(
            server.requests(), [](const auto& request) { return !request.line().starts_with("GET"); });
    };
    const auto before = count();
    for (const char* text : { "a b", "a#b", "a\tb", "\xC3\xA9" }) {
        config->userId = text;
        EXPECT_EQ(quit()->code, 300005U) << text;
        config->roomId = text;
        EXPECT_EQ(join()->code, 300005U) << text;
    }
    EXPECT_EQ(count(), before);
}

TEST_F(SessionTest, RolesAndMinutesAreTheRecords)
{
    config->roleType = 3;
    join();
    const auto body = boost::json::parse(server.requests()[0].body).as_object();
    EXPECT_EQ(body.at("minutes"), 30);
    EXPECT_EQ(body.at("user").at("role"), "viewer");
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
    const auto request = server.requests().back();
    EXPECT_EQ(request.line(), "DELETE /api/v1/iwb/hubs/room/users/user HTTP/1.1");
    for (const char* header : { "Content-Type: application/json", "TQ-AppKey: key", "TQ-Token: token" })
        EXPECT_TRUE(request.hasHeader(header)) << request.head;
    EXPECT_EQ(request.body, "");
    EXPECT_EQ(board->webView(), nullptr);
    EXPECT_EQ(board->roomConfig(), nullptr);
    EXPECT_EQ(join()->code, 300001U);
    // The page's events reach nobody any more. The view is let go of here, since its page cannot do it now.
    EXPECT_EQ(view->call("TQJSBridge.onLoadEnd", "{}"), R"({"code":-1,"data":""})");
    EXPECT_EQ(view->call("TQNativeBridge.onLoadEnd", "{}"), R"({"code":-1,"data":""})");
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
        { R"({"code":-2,"desc":"x"})", kAllBits - 1, "x", "x" },
        { R"({"code":"403"})", 403, std::nullopt, "(null)" },
        { R"({"code":7.9,"desc":null,"key":"k"})", 7, std::nullopt, "null" },
        { R"({"code":1,"desc":{"a":1}})", 1, std::nullopt, R"({"a":1})" },
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
    for (const auto& [lease, conference] : std::vector<std::pair<boost::json::value, boost::json::value>>{
             { json(server.host()), "" }, { json(server.host()), 5 } }) {
        knowService(lease, conference);
        const auto joined = join();
        EXPECT_EQ(joined->code, 300006U);
        EXPECT_EQ(joined->text, "url is nil");
        const auto played = play();
        EXPECT_EQ(played->code, 300008U);
        EXPECT_EQ(played->text, "url is nil");
        EXPECT_EQ(board->getRoomUrl("k"), "");
        EXPECT_EQ(board->roomConfig(), nullptr);
    }
    EXPECT_EQ(countOfLine("[TQ:Log] joinWhiteBoard error：url is nil"), 2);
    EXPECT_EQ(countOfLine("[TQ:Log] play video error：url is nil"), 2);
}

TEST_F(SessionTest, FailedTransfersHaveTheirCodesAndChangeNothing)
{
    join();
    const std::string refusing = "localhost:" + std::to_string(refusingPort());
    HttpsServer silent([](const auto&) { return std::string(); });
    auto expectFailures = [&](const char* what) {
        SCOPED_TRACE(what);
        for (const auto& [ending, code] : { std::pair{ join(), 300005U }, { play(), 300007U }, { quit(), 300005U } }) {
            EXPECT_EQ(ending->code, code);
            EXPECT_FALSE(ending->text.value_or("").empty());
        }
        EXPECT_EQ(board->roomConfig(), config);
    };
    knowService(json(refusing), "c");
    expectFailures("refused connection");
    knowService(json(silent.host()), "c");
    expectFailures("closed connection");
    knowService(nullptr, nullptr);
    knowService(5, "c");
    expectFailures("no host at all");
    knowService("bad host", "c");
    expectFailures("a host that is none");
    knowService(json(server.host()), json(server.host()));
    config->roomId = record->token = "a\r\nb";
    TQWBNaviManager::sharedInstance()->saveNavi(
        boost::json::object{ { "iwbLeaseUri", json(server.host()) }, { "iwbConferenceUri", "c" } }, "key", "a\r\nb");
    config->userId = "a b";
    expectFailures("fields that cannot be sent");
    config->roomId = config->userId = record->token = "token";
    NSURLSessionConfiguration::defaultSessionConfiguration().setExtraTrustAnchors(std::nullopt);
    expectFailures("untrusted certificate");
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

TEST_F(SessionTest, TheSessionLivesUntilItsRequestHasEnded)
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

} // namespace
} // namespace tq::test
