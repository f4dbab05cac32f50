// What the application is told when a navigation server or the conference service fails it.

#include "tests/support/Authority.h"
#include "tests/support/HttpsServer.h"
#include "tests/support/Log.h"
#include "tests/support/MainLoop.h"

#include "TQWhiteBoardLib/TQWBWebView.h"
#include "TQWhiteBoardLib/TQWhiteBoard.h"
#include "navigation/TQWBNaviManager.h"
#include "platform/Foundation/Dispatch.h"

#include <algorithm>
#include <array>
#include <boost/json/serialize.hpp>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>
#include <thread>

namespace tq::test {
namespace {

using Clock = std::chrono::steady_clock;
using Conversation = HttpsServer::Conversation;
using Transport = HttpsServer::Transport;

constexpr std::array kOperations{ "navigation", "join", "play", "quit" };
constexpr std::array<NSUInteger, 4> kCodes{ 300003, 300005, 300007, 300005 };

// One operation against one server, and how it ended; written on whatever thread it ended on.
struct Attempt {
    std::size_t operation = 0;
    std::shared_ptr<TQWhiteBoard> board;
    std::atomic<int> successes = 0;
    std::atomic<int> failures = 0;
    NSUInteger code = 0;
    OptionalText text;
    Clock::time_point begin;
    Clock::time_point end;

    bool hasEnded() const { return successes + failures > 0; }
    TQWBSuccess success()
    {
        return [this] {
            end = Clock::now();
            ++successes;
        };
    }
    TQWBFailure failure()
    {
        return [this](NSUInteger newCode, const OptionalText& newText) {
            end = Clock::now();
            code = newCode;
            text = newText;
            ++failures;
        };
    }
    double seconds() const { return std::chrono::duration<double>(end - begin).count(); }
};
using Attempts = std::vector<std::unique_ptr<Attempt>>;

class NetworkFaultTest : public testing::Test {
protected:
    void SetUp() override
    {
        clearLog();
        // Certificates of the good server's authority are trusted, and those of the test's own.
        NSURLSessionConfiguration::defaultSessionConfiguration().setExtraTrustAnchors(
            HttpsServer::authority() + authority.certificate());
        view = TQWBWebView::initWithFrame({ 0, 0, 200, 100 }, nullptr);
        if (!view) {
            std::cerr << "these tests need a display\n";
            std::exit(1);
        }
    }
    void TearDown() override
    {
        view->call("TQJSBridge.onRoomQuited", "{}");
        const std::weak_ptr<TQWBWebView> watched = view;
        view.reset();
        runUntil([&] { return watched.expired(); }, "the view is destroyed");
    }
    // As if a navigation server had told. Every token has a service of its own.
    static void knowService(const std::string& token, const std::string& host)
    {
        TQWBNaviManager::sharedInstance()->saveNavi(
            boost::json::object{ { "iwbLeaseUri", host }, { "iwbConferenceUri", host } }, "key", token);
    }
    static std::shared_ptr<TQWBRoomConfig> room(const std::string& token)
    {
        return std::make_shared<TQWBRoomConfig>(TQWBRoomConfig{ "key", token, "room", "user", "Ann", 0, 30 });
    }
    static std::shared_ptr<TQWBRecordConfig> recording(const std::string& token)
    {
        return std::make_shared<TQWBRecordConfig>(
            TQWBRecordConfig{ "key", token, "room", "user", "Ann", "https://r.example/1" });
    }
    // In the room by way of the good server, and not waited for.
    std::unique_ptr<Attempt> joinedAttempt(std::size_t operation, const std::string& token)
    {
        auto attempt = std::make_unique<Attempt>();
        attempt->operation = operation;
        attempt->board = TQWhiteBoard::initWithWebView(view);
        if (operation == 3) {
            knowService(token, good.host());
            Attempt joining;
            attempt->board->joinWithConfig(room(token), joining.success(), joining.failure());
            runUntil([&] { return joining.hasEnded(); }, "the room is joined");
            EXPECT_EQ(joining.successes, 1);
        }
        return attempt;
    }
    void start(Attempt& attempt, const std::string& token, const std::string& host)
    {
        attempt.begin = Clock::now();
        knowService(token, host);
        switch (attempt.operation) {
        case 0:
            TQWBNaviManager::sharedInstance()->requestNavis(
                TQWBNaviManager::URLList{ NSURL::URLWithString("https://" + host + "/config.json") }, "key", token, "v",
                10, [success = attempt.success()](bool) { success(); },
                [failure = attempt.failure()](NSUInteger code, const OptionalText&, const std::string& description) {
                    failure(code, description);
                });
            break;
        case 1:
            attempt.board->joinWithConfig(room(token), attempt.success(), attempt.failure());
            break;
        case 2:
            attempt.board->playWithConfig(recording(token), attempt.success(), attempt.failure());
            break;
        default:
            attempt.board->quitWhiteBoard(attempt.success(), attempt.failure());
        }
    }
    static void waitForEnd(const Attempts& attempts)
    {
        runUntil([&] { return std::ranges::all_of(attempts, [](const auto& attempt) { return attempt->hasEnded(); }); },
            "all operations have ended");
        runPending();
    }

    const Authority authority;
    HttpsServer good{ [](const ReceivedRequest& request) {
        return HttpsServer::answerWith(200,
            request.line().starts_with("GET") ? "<title>room</title>" : R"({"code":0,"key":"k"})",
            request.line().starts_with("GET") ? "Content-Type: text/html\r\n" : "");
    } };
    std::shared_ptr<TQWBWebView> view;
};

// The most bytes that any connection has taken.
using Most = std::atomic<std::size_t>;

// Sends as long as it is taken.
void sendWithoutEnd(Wire& wire, const std::string& beginning, const std::string& bytes, Most& most)
{
    wire.send(beginning);
    std::size_t sent = 0;
    while (sent < (100U << 20U) && wire.send(bytes))
        sent += bytes.size();
    for (auto before = most.load(); before < sent && !most.compare_exchange_weak(before, sent);) { }
}

void drip(Wire& wire, const std::string& beginning, const std::string& bytes, const std::atomic<bool>& isOver)
{
    wire.send(beginning);
    for (std::size_t i = 0; !isOver && wire.send(bytes.substr(i % bytes.size(), 1)); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
}

Conversation saying(const std::string& bytes)
{
    return [bytes](const auto&, Wire& wire) { wire.send(bytes); };
}

constexpr const char* kGoodBody = R"({"code":0,"key":"k","iwbLeaseUri":"l","iwbConferenceUri":"c"})";

std::string goodHead()
{
    return "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(std::strlen(kGoodBody)) + "\r\n";
}

std::string goodAnswer(const std::string& headers = "") { return goodHead() + headers + "\r\n" + kGoodBody; }

// What is to come of an operation.
enum class End {
    Failure,
    // After the whole time that an operation has.
    TimeOut,
    // A failure, before a request could be sent.
    Untrusted,
    Success,
};

struct Fault {
    std::string name;
    End end;
    Conversation talk;
    Transport transport{};
};

std::vector<Fault> brokenAnswers(std::array<Most, 3>& sent, const std::atomic<bool>& isOver)
{
    const auto resetAfter = [](const std::string& bytes) {
        return [bytes](const auto&, Wire& wire) {
            wire.send(bytes);
            wire.reset();
        };
    };
    const std::string half = std::string(kGoodBody).substr(0, 20);
    const std::string chunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
    return {
        { "reset at once", End::Failure, resetAfter("") },
        { "reset in the head", End::Failure, resetAfter("HTTP/1.1 200 OK\r\nContent-Le") },
        { "reset after the head", End::Failure, resetAfter(goodHead() + "\r\n") },
        { "reset in the body", End::Failure, resetAfter(goodHead() + "\r\n" + half) },
        { "closed in the head", End::Failure, saying("HTTP/1.1 200 OK\r\nContent-Le") },
        { "closed in the head that redirects", End::Failure,
            saying("HTTP/1.1 307 Moved\r\nLocation: /b\r\nContent-Le") },
        { "closed after an interim answer", End::Failure, saying("HTTP/1.1 102 Processing\r\n\r\n") },
        { "closed after the head", End::Failure, saying(goodHead() + "\r\n") },
        { "closed in the body", End::Failure, saying(goodHead() + "\r\n" + half) },
        { "closed in a chunk", End::Failure, saying(chunked + "40\r\n" + half) },
        { "a chunk of no length", End::Failure, saying(chunked + "zz\r\n" + kGoodBody) },
        { "another protocol", End::Failure, saying("220 mail.example ESMTP\r\n") },
        { "a length below zero", End::Failure, saying("HTTP/1.1 200 OK\r\nContent-Length: -5\r\n\r\n" + half) },
        { "a length beyond all", End::Failure,
            saying("HTTP/1.1 200 OK\r\nContent-Length: 99999999999999999999999\r\n\r\n" + half) },
        { "a header without a colon", End::Failure, saying(goodAnswer("odd\r\n")) },
        { "a header with a null byte", End::Failure, saying(goodAnswer("X-Odd: a" + std::string(1, '\0') + "b\r\n")) },
        { "no answer", End::TimeOut, [](const auto&, Wire& wire) { wire.waitForEnd(); } },
        { "no body", End::TimeOut,
            [](const auto&, Wire& wire) {
                wire.send(goodHead() + "\r\n");
                wire.waitForEnd();
            } },
        { "no handshake", End::TimeOut, saying(""), { .identity = {}, .isPlain = true } },
        { "a slow head", End::TimeOut,
            [&](const auto&, Wire& wire) { drip(wire, "HTTP/1.1 200 OK\r\n", "X-Drip: drip\r\n", isOver); } },
        { "a slow body", End::TimeOut,
            [&](const auto&, Wire& wire) {
                drip(wire, "HTTP/1.1 200 OK\r\nContent-Length: 5000\r\n\r\n", " ", isOver);
            } },
        { "slow interim answers", End::TimeOut,
            [&](const auto&, Wire& wire) { drip(wire, "", "HTTP/1.1 102 Processing\r\n\r\n", isOver); } },
        { "a long body", End::Failure,
            [&](const auto&, Wire& wire) {
                sendWithoutEnd(
                    wire, "HTTP/1.1 200 OK\r\nContent-Length: 104857600\r\n\r\n", std::string(65536, ' '), sent[0]);
            } },
        { "a long chunked body", End::Failure,
            [&, chunked](const auto&, Wire& wire) {
                sendWithoutEnd(wire, chunked, "10000\r\n" + std::string(65536, ' ') + "\r\n", sent[1]);
            } },
        { "a long head", End::Failure,
            [&](const auto&, Wire& wire) {
                sendWithoutEnd(wire, "HTTP/1.1 200 OK\r\n", "X-Long: " + std::string(65536, 'x') + "\r\n", sent[2]);
            } },
    };
}

std::vector<Fault> otherAnswers(const Authority& authority)
{
    const auto now = std::time(nullptr);
    const auto good = saying(goodAnswer());
    const Authority imitation;
    return {
        { "an expired certificate", End::Untrusted, good,
            { .identity = authority.identity({ .begin = now - 7200, .end = now - 60 }) } },
        { "a certificate of the future", End::Untrusted, good,
            { .identity = authority.identity({ .begin = now + 3600, .end = now + 7200 }) } },
        { "a certificate for another host", End::Untrusted, good,
            { .identity = authority.identity({ .host = "other.example" }) } },
        { "a self-signed certificate", End::Untrusted, good,
            { .identity = authority.identity({ .isSelfSigned = true }) } },
        { "an imitated authority's certificate", End::Untrusted, good, { .identity = imitation.identity({}) } },
        { "a good certificate", End::Success, good, { .identity = authority.identity({}) } },
        { "a folded header", End::Success, saying(goodAnswer("X-Odd: a\r\n b: c\r\n\td\r\n")) },
        { "headers after the body", End::Success,
            saying("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3d\r\n" + std::string(kGoodBody)
                + "\r\n0\r\nX-Late: 1\r\n\r\n") },
        { "carriage returns in a header", End::Success, saying(goodAnswer("X-Odd: a\rLocation: /b\r\r\r\n")) },
        { "bytes of no text in a header", End::Success, saying(goodAnswer("X-\xFF\x01: \xC3\x28\x7F\r\n")) },
    };
}

// The four operations, each against a server of that fault.
struct Trial {
    explicit Trial(const Fault* itsFault)
        : fault(itsFault)
        , server(itsFault->talk, itsFault->transport)
    {
    }
    const Fault* fault;
    HttpsServer server;
    Attempts attempts;
    std::vector<std::string> tokens;
};

void expectEnd(const Trial& trial)
{
    const auto end = trial.fault->end;
    for (const auto& attempt : trial.attempts) {
        SCOPED_TRACE(trial.fault->name + ", " + kOperations[attempt->operation]);
        EXPECT_EQ(attempt->successes, end == End::Success ? 1 : 0);
        EXPECT_EQ(attempt->failures, end == End::Success ? 0 : 1);
        EXPECT_EQ(attempt->seconds() > 9.5, end == End::TimeOut) << attempt->seconds();
        EXPECT_LT(attempt->seconds(), 12);
        if (end != End::Success) {
            EXPECT_EQ(attempt->code, kCodes[attempt->operation]);
            EXPECT_FALSE(attempt->text.value_or("").empty());
        }
    }
    if (end == End::Untrusted) {
        EXPECT_TRUE(trial.server.requests().empty());
    }
}

TEST_F(NetworkFaultTest, EveryFaultOfAServerEndsEveryOperationOnceAndInTime)
{
    std::array<Most, 3> sent{};
    std::atomic<bool> isOver = false;
    auto faults = brokenAnswers(sent, isOver);
    std::ranges::move(otherAnswers(authority), std::back_inserter(faults));
    std::vector<std::unique_ptr<Trial>> trials;
    for (const auto& fault : faults) {
        trials.push_back(std::make_unique<Trial>(&fault));
        for (std::size_t operation = 0; operation < kOperations.size(); ++operation) {
            trials.back()->tokens.push_back(fault.name + kOperations[operation]);
            trials.back()->attempts.push_back(joinedAttempt(operation, trials.back()->tokens.back()));
        }
    }
    const auto begin = [&](Trial& trial) {
        for (std::size_t i = 0; i < kOperations.size(); ++i)
            start(*trial.attempts[i], trial.tokens[i], trial.server.host());
    };
    // Those that take the whole ten seconds wait side by side. The others come one by one: what they are timed by is
    // the library then, and not how much a machine does at once.
    const auto slow = [](const auto& trial) { return trial->fault->end == End::TimeOut; };
    const auto quick = std::partition(trials.begin(), trials.end(), slow);
    for (auto trial = trials.begin(); trial != quick; ++trial)
        begin(**trial);
    for (auto trial = trials.begin(); trial != quick; ++trial)
        waitForEnd((*trial)->attempts);
    isOver = true;
    for (auto trial = quick; trial != trials.end(); ++trial) {
        begin(**trial);
        waitForEnd((*trial)->attempts);
    }
    std::ranges::for_each(trials, [](const auto& trial) { expectEnd(*trial); });

    // Whoever could not leave is in the room still, and can.
    for (const auto& trial : trials) {
        auto& leaver = *trial->attempts[3];
        if (leaver.successes)
            continue;
        Attempt second;
        second.operation = 3;
        second.board = leaver.board;
        start(second, trial->tokens[3], good.host());
        runUntil([&] { return second.hasEnded(); }, "the room is left");
        EXPECT_EQ(second.successes, 1) << trial->fault->name;
    }
    trials.clear();
    for (const auto& most : sent)
        EXPECT_LT(most, 24U << 20U) << "far more than 16 MiB are taken";
}

TEST_F(NetworkFaultTest, RedirectionsTakeNoSecretsElsewhere)
{
    HttpsServer other([](const auto&) { return goodAnswer(); });
    HttpsServer plain(saying(goodAnswer()), { .identity = {}, .isPlain = true });
    // It speaks plain HTTP on the port of the server that redirects there, too: nothing is sent to it either.
    const std::string none = "The server redirects to an address that is none.";
    const auto another
        = [](const std::string& what) { return "The server redirects to another " + what + ", which is refused."; };
    const auto locations = [&](const std::string& host) {
        const auto port = host.substr(host.find(':'));
        return std::vector<std::pair<std::string, std::string>>{
            { "https://" + other.host() + "/config.json", another("port") },
            { "http://" + plain.host() + "/config.json", another("scheme") },
            { "http://" + host + "/config.json", another("scheme") },
            { "//" + other.host() + "/config.json", another("port") },
            { "https://" + host + "@" + other.host() + "/config.json", another("port") },
            { "https:\\\\" + other.host() + "\\config.json", none },
            { "https:/" + other.host() + "/config.json", none },
            { "https:///" + other.host() + "/config.json", none },
            { "///" + other.host() + "/config.json", none },
            { "https://", none },
            { "HTTPS://127.0.0.1" + port + "/config.json", another("host") },
            { "https://localhost./config.json", another("host") },
            { "ftp://" + plain.host() + "/config.json", another("scheme") },
            { "file:///etc/hostname", another("scheme") },
            { "/moved\x01", none },
            { "/moved to", none },
            { "/moved\xC3\xA9", none },
        };
    };
    Shared<std::string> head{ "" };
    HttpsServer server([&](const ReceivedRequest& request) {
        return request.line().find("/moved") != std::string::npos ? goodAnswer() : head.get();
    });
    for (const int status : { 301, 307 }) {
        for (const auto& [location, text] : locations(server.host())) {
            head.set(HttpsServer::answerWith(status, "", "Location: " + location + "\r\n"));
            Attempts attempts;
            for (std::size_t operation = 0; operation < kOperations.size(); ++operation) {
                SCOPED_TRACE(std::to_string(status) + " " + location + ", " + kOperations[operation]);
                attempts.push_back(joinedAttempt(operation, kOperations[operation]));
                start(*attempts.back(), kOperations[operation], server.host());
            }
            waitForEnd(attempts);
            for (const auto& attempt : attempts) {
                SCOPED_TRACE(std::to_string(status) + " " + location + ", " + kOperations[attempt->operation]);
                EXPECT_EQ(attempt->failures, 1);
                EXPECT_EQ(attempt->code, kCodes[attempt->operation]);
                EXPECT_EQ(attempt->text, text);
            }
        }
    }
    EXPECT_EQ(other.connections(), 0);
    EXPECT_EQ(plain.connections(), 0);
    for (const auto& request : server.requests())
        EXPECT_EQ(request.line().find("/moved"), std::string::npos);

    // The same server in capitals is the same; an escape in the new address stays one; what is never sent is left out.
    auto capitals = server.host();
    std::ranges::transform(
        capitals, capitals.begin(), [](unsigned char letter) { return static_cast<char>(std::toupper(letter)); });
    for (const auto& [location, line] : std::vector<std::pair<std::string, std::string>>{
             { "HTTPS://" + capitals + "/moved", "/moved" }, { "/moved%0d%0aX-Evil:%201", "/moved%0d%0aX-Evil:%201" },
             { "/moved#there", "/moved" }, { "../a/../moved/.", "/api/v1/iwb/moved/" } }) {
        SCOPED_TRACE(location);
        head.set(HttpsServer::answerWith(307, "", "Location: " + location + "\r\n"));
        const auto attempt = joinedAttempt(1, "join");
        start(*attempt, "join", server.host());
        runUntil([&] { return attempt->hasEnded(); }, "the join has ended");
        EXPECT_EQ(attempt->successes, 1) << attempt->text.value_or("");
        // The room's page may have been asked for by now.
        auto requests = server.requests();
        std::erase_if(requests, [](const auto& request) { return !request.line().starts_with("POST "); });
        EXPECT_EQ(requests.back().line(), "POST " + line + " HTTP/1.1");
    }
}

TEST_F(NetworkFaultTest, FieldsThatWouldSplitARequestAreNeverSent)
{
    using Field = OptionalText TQWBRoomConfig::*;
    const std::array<std::pair<const char*, Field>, 4> fields{ { { "key", &TQWBRoomConfig::appKey },
        { "token", &TQWBRoomConfig::token }, { "room", &TQWBRoomConfig::roomId },
        { "user", &TQWBRoomConfig::userId } } };
    const std::string evil[]{ "a\r\nX-Evil: 1", "a\nX-Evil: 1", "a\rX-Evil: 1", std::string("a\0X-Evil: 1", 11) };
    for (const auto& [name, field] : fields) {
        for (const auto& value : evil) {
            SCOPED_TRACE(name + (" " + boost::json::serialize(boost::json::string(value))));
            auto config = room("split");
            const auto board = TQWhiteBoard::initWithWebView(view);
            const auto run = [&](const auto& operation) {
                auto attempt = std::make_unique<Attempt>();
                const auto before = good.requests().size();
                TQWBNaviManager::sharedInstance()->saveNavi(
                    boost::json::object{ { "iwbLeaseUri", good.host() }, { "iwbConferenceUri", good.host() } },
                    config->appKey, config->token);
                operation(*attempt);
                runUntil([&] { return attempt->hasEnded(); }, "the operation has ended");
                const auto all = good.requests();
                for (auto i = before; i < all.size(); ++i)
                    EXPECT_EQ(all[i].head.find("X-Evil"), std::string::npos) << all[i].head;
                return attempt;
            };
            const auto join
                = [&](Attempt& attempt) { board->joinWithConfig(config, attempt.success(), attempt.failure()); };
            EXPECT_EQ(run(join)->successes, 1);
            const auto kept = (*config).*field;
            (*config).*field = value;
            const auto joined = run(join);
            // The user is named in the body, where every text is harmless.
            EXPECT_EQ(joined->code, field == &TQWBRoomConfig::userId ? 0U : 300005U);
            const auto played = run([&](Attempt& attempt) {
                auto record = recording("split");
                record->appKey = config->appKey;
                record->token = config->token;
                record->roomId = config->roomId;
                record->userId = config->userId;
                board->playWithConfig(record, attempt.success(), attempt.failure());
            });
            EXPECT_EQ(
                played->code, field == &TQWBRoomConfig::userId || field == &TQWBRoomConfig::roomId ? 0U : 300007U);
            const auto leave = [&](Attempt& attempt) { board->quitWhiteBoard(attempt.success(), attempt.failure()); };
            EXPECT_EQ(run(leave)->code, 300005U);
            (*config).*field = kept;
            EXPECT_EQ(run(leave)->successes, 1);
        }
    }
}

// The answer cannot be remembered, or what was remembered is lost: a room is joined all the same.
TEST_F(NetworkFaultTest, ADamagedStoreDoesNotKeepAnybodyOut)
{
    namespace fs = std::filesystem;
    const fs::path folder = fs::path(getenv("XDG_DATA_HOME")) / fs::read_symlink("/proc/self/exe").filename();
    const auto file = folder / "user-defaults.sqlite";
    HttpsServer navigation([&](const auto&) {
        return HttpsServer::answerWith(
            200, R"({"iwbLeaseUri":")" + good.host() + R"(","iwbConferenceUri":")" + good.host() + R"("})");
    });
    const auto rubbish = [](const fs::path& path) { std::ofstream(path) << std::string(20000, 'x'); };
    const std::vector<std::pair<const char*, std::function<void()>>> rows{
        { "file", [&] { rubbish(file); } },
        { "file and log",
            [&] {
                rubbish(file);
                rubbish(file.string() + "-wal");
            } },
        { "empty", [&] { fs::resize_file(file, 0); } },
        { "gone", [&] { fs::remove_all(folder); } },
        { "a folder",
            [&] {
                fs::remove_all(folder);
                fs::create_directories(file / "full");
            } },
    };
    fs::create_directories(folder);
    const std::string token = "damaged@" + navigation.host();
    int number = 0;
    for (const auto& [name, damage] : rows) {
        SCOPED_TRACE(name);
        const auto board = TQWhiteBoard::initWithWebView(view);
        damage();
        // The second one is asked for nothing: what the first has learnt is known in this run.
        const auto own = std::to_string(++number) + token;
        for (int i = 0; i < 2; ++i) {
            Attempt attempt;
            board->joinWithConfig(room(own), attempt.success(), attempt.failure());
            runUntil([&] { return attempt.hasEnded(); }, "the join has ended");
            EXPECT_EQ(attempt.successes, 1) << attempt.text.value_or("");
        }
        EXPECT_EQ(navigation.requests().size(), static_cast<std::size_t>(number));
    }
    fs::remove_all(folder);
}

} // namespace
} // namespace tq::test
