// What the application is told when a navigation server or the conference service fails it.

#include "tests/support/Authority.h"
#include "tests/support/SessionTest.h"

#include <array>
#include <cstring>
#include <thread>

namespace tq::test {
namespace {

using Conversation = HttpsServer::Conversation;
using Transport = HttpsServer::Transport;

// The most bytes that any connection has taken.
using Most = std::atomic<std::size_t>;

// Sends as long as it is taken.
Conversation endless(const std::string& beginning, const std::string& bytes, Most& most)
{
    return [=, &most](const auto&, Wire& wire) {
        wire.send(beginning);
        std::size_t sent = 0;
        while (sent < (100U << 20U) && wire.send(bytes))
            sent += bytes.size();
        for (auto before = most.load(); before < sent && !most.compare_exchange_weak(before, sent);) { }
    };
}

Conversation dripping(const std::string& beginning, const std::string& bytes)
{
    return [=](const auto&, Wire& wire) {
        wire.send(beginning);
        for (std::size_t i = 0; wire.send(bytes.substr(i % bytes.size(), 1)); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
    };
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

std::string goodAnswer() { return goodHead() + "\r\n" + kGoodBody; }

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
    // What the application is told; empty: anything.
    std::string text{};
};

std::vector<Fault> brokenAnswers(Most& most)
{
    const std::string half = std::string(kGoodBody).substr(0, 20);
    const std::string chunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
    return {
        { "reset in the body", End::Failure,
            [head = goodHead()](const auto&, Wire& wire) {
                wire.send(head + "\r\n{");
                wire.reset();
            } },
        { "closed in the head that redirects", End::Failure,
            saying("HTTP/1.1 307 Moved\r\nLocation: /b\r\nContent-Le") },
        { "closed after an interim answer", End::Failure, saying("HTTP/1.1 102 Processing\r\n\r\n") },
        { "closed in the body", End::Failure, saying(goodHead() + "\r\n" + half) },
        { "another protocol", End::Failure, saying("220 mail.example ESMTP\r\n") },
        { "a length beyond all", End::Failure,
            saying("HTTP/1.1 200 OK\r\nContent-Length: 99999999999999999999999\r\n\r\n" + half) },
        { "no answer", End::TimeOut, [](const auto&, Wire& wire) { wire.waitForEnd(); } },
        { "no handshake", End::TimeOut, saying(""), { .identity = {}, .isPlain = true } },
        { "a slow body", End::TimeOut, dripping("HTTP/1.1 200 OK\r\nContent-Length: 5000\r\n\r\n", " ") },
        { "a long chunked body", End::Failure, endless(chunked, "10000\r\n" + std::string(65536, ' ') + "\r\n", most) },
        { "a long head", End::Failure,
            endless("HTTP/1.1 200 OK\r\n", "X-Long: " + std::string(65536, 'x') + "\r\n", most) },
    };
}

std::vector<Fault> otherAnswers(const Authority& authority)
{
    const auto good = saying(goodAnswer());
    return {
        { "an expired certificate", End::Untrusted, good,
            { .identity = authority.identity({ .end = std::time(nullptr) - 60 }) } },
        { "a certificate for another host", End::Untrusted, good,
            { .identity = authority.identity({ .host = "other.example" }) } },
        { "a self-signed certificate", End::Untrusted, good,
            { .identity = authority.identity({ .isSelfSigned = true }) } },
        { "a good certificate", End::Success, good, { .identity = authority.identity({}) } },
    };
}

constexpr std::array kOperations{ "navigation", "join", "play", "quit" };
constexpr std::array<NSUInteger, 4> kCodes{ 300003, 300005, 300007, 300005 };

// The four operations, each against a server of that fault.
struct Trial {
    const Fault& fault;
    // Every trial has a service of its own.
    std::string token;
    HttpsServer server{ fault.talk, fault.transport };
    // Of somebody who is in the room.
    std::shared_ptr<TQWhiteBoard> leaver{};
    Ending joining{};
    std::optional<std::array<Ending, kOperations.size()>> endings{};

    void wait() const
    {
        std::ranges::for_each(*endings, [](const Ending& ending) { ending.wait(); });
    }
    void expectEnd() const
    {
        const auto end = fault.end;
        for (std::size_t i = 0; i < kOperations.size(); ++i) {
            const auto& ending = endings->at(i);
            SCOPED_TRACE(fault.name + ", " + kOperations[i]);
            EXPECT_EQ(ending.successes, end == End::Success ? 1 : 0) << ending.text.value_or("");
            EXPECT_EQ(ending.failures, end == End::Success ? 0 : 1);
            EXPECT_EQ(ending.seconds() > 9.5, end == End::TimeOut) << ending.seconds();
            EXPECT_LT(ending.seconds(), 12);
            if (end != End::Success) {
                EXPECT_EQ(ending.code, kCodes[i]);
                EXPECT_FALSE(ending.text.value_or("").empty());
            }
            if (!fault.text.empty()) {
                EXPECT_EQ(ending.text, fault.text);
            }
        }
        if (end == End::Untrusted) {
            EXPECT_TRUE(server.requests().empty());
        }
    }
};
using Trials = std::vector<std::unique_ptr<Trial>>;

class NetworkFaultTest : public SessionTest {
protected:
    void SetUp() override
    {
        SessionTest::SetUp();
        // The good server's CA is trusted, and the test's own.
        NSURLSessionConfiguration::defaultSessionConfiguration().setExtraTrustAnchors(
            HttpsServer::authority() + authority.certificate());
    }
    // Joined by way of the good server, all at once.
    Trials joined(const std::vector<Fault>& faults)
    {
        Trials trials;
        for (const auto& fault : faults) {
            auto& trial = *trials.emplace_back(new Trial{ fault, "token " + std::to_string(trials.size()) });
            trial.leaver = TQWhiteBoard::initWithWebView(view);
            knowService(server.host(), server.host(), trial.token);
            trial.leaver->joinWithConfig(roomConfig(trial.token), trial.joining.success(), trial.joining.failure());
        }
        for (const auto& trial : trials) {
            trial->joining.wait();
            EXPECT_EQ(trial->joining.successes, 1) << trial->joining.text.value_or("");
        }
        return trials;
    }
    void start(Trial& trial)
    {
        const auto& host = trial.server.host();
        knowService(host, host, trial.token);
        auto& [navigation, joining, playing, quitting] = trial.endings.emplace();
        TQWBNaviManager::sharedInstance()->requestNavis(
            TQWBNaviManager::URLList{ NSURL::URLWithString("https://" + host + "/config.json") }, "key", "navigation",
            "v", 10, [success = navigation.success()](bool) { success(); },
            [failure = navigation.failure()](
                NSUInteger code, const OptionalText&, const std::string& description) { failure(code, description); });
        TQWhiteBoard::initWithWebView(view)->joinWithConfig(
            roomConfig(trial.token), joining.success(), joining.failure());
        TQWhiteBoard::initWithWebView(view)->playWithConfig(
            recordConfig(trial.token), playing.success(), playing.failure());
        trial.leaver->quitWhiteBoard(quitting.success(), quitting.failure());
    }
    Trials tried(const std::vector<Fault>& faults)
    {
        auto trials = joined(faults);
        const auto isSlow = [](const auto& trial) { return trial->fault.end == End::TimeOut; };
        const auto quick = std::partition(trials.begin(), trials.end(), isSlow);
        // Those that take the whole ten seconds wait side by side. The others come one by one meanwhile: what they are
        // timed by is the library then, and not how much a machine does at once.
        std::for_each(trials.begin(), quick, [&](const auto& trial) { start(*trial); });
        std::for_each(quick, trials.end(), [&](const auto& trial) {
            start(*trial);
            trial->wait();
        });
        std::for_each(trials.begin(), quick, [](const auto& trial) { trial->wait(); });
        runPending();
        std::ranges::for_each(trials, [](const auto& trial) { trial->expectEnd(); });
        return trials;
    }

    const Authority authority;
};

TEST_F(NetworkFaultTest, EveryFaultOfAServerEndsEveryOperationOnceAndInTime)
{
    Most most = 0;
    auto faults = brokenAnswers(most);
    std::ranges::move(otherAnswers(authority), std::back_inserter(faults));
    auto trials = tried(faults);
    // Whoever could not leave is in the room still, and can.
    for (const auto& trial : trials) {
        if (trial->endings->at(3).successes)
            continue;
        knowService(server.host(), server.host(), trial->token);
        board = trial->leaver;
        EXPECT_EQ(quit()->successes, 1) << trial->fault.name;
    }
    trials.clear();
    EXPECT_LT(most, 24U << 20U) << "far more than 16 MiB are taken";
}

// PORT stands for that of the server that redirects.
Fault redirection(int status, const std::string& location, const std::string& text)
{
    const auto talk = [status, location](const ReceivedRequest& request, Wire& wire) {
        const std::string host = "\r\nHost: localhost:";
        const auto port = request.head.find(host) + host.size();
        auto where = location;
        if (const auto place = where.find("PORT"); place != std::string::npos)
            where.replace(place, 4, request.head, port, request.head.find("\r\n", port) - port);
        wire.send(request.line().find("/moved") != std::string::npos
                ? goodAnswer()
                : HttpsServer::answerWith(status, "", "Location: " + where + "\r\n"));
    };
    return { std::to_string(status) + " " + location, text.empty() ? End::Success : End::Failure, talk, {}, text };
}

TEST_F(NetworkFaultTest, RedirectionsTakeNoSecretsElsewhere)
{
    HttpsServer other([](const auto&) { return goodAnswer(); });
    // It speaks plain HTTP on the port of the server that redirects there, too: nothing is sent to it either.
    HttpsServer plain(saying(goodAnswer()), { .identity = {}, .isPlain = true });
    const std::string none = "The server redirects to an address that is none.";
    const std::string port = "The server redirects to another port, which is refused.";
    const std::string scheme = "The server redirects to another scheme, which is refused.";
    const std::string host = "The server redirects to another host, which is refused.";
    const std::vector<std::pair<std::string, std::string>> locations{
        { "https://" + other.host() + "/config.json", port },
        { "http://" + plain.host() + "/config.json", scheme },
        { "http://localhost:PORT/config.json", scheme },
        { "https://localhost:PORT@" + other.host() + "/config.json", port },
        { "https:\\\\" + other.host() + "\\config.json", none },
        { "HTTPS://127.0.0.1:PORT/config.json", host },
        { "https://localhost./config.json", host },
        { "file:///etc/hostname", scheme },
        { "/moved\x01", none },
    };
    std::vector<Fault> faults;
    // Where it leads counts, and not by which status.
    for (const auto& [location, text] : locations)
        faults.push_back(redirection(faults.size() % 2 ? 307 : 301, location, text));
    for (const auto& trial : tried(faults)) {
        for (const auto& request : trial->server.requests())
            EXPECT_EQ(request.line().find("/moved"), std::string::npos) << trial->fault.name;
    }
    // Whoever else may knock at a port that has just been given out, it is no request.
    EXPECT_TRUE(other.requests().empty());
    EXPECT_TRUE(plain.requests().empty());
}

} // namespace
} // namespace tq::test
