// What the application is told when a navigation server or the conference service fails it.

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
};

struct Fault {
    std::string name;
    End end;
    Conversation talk;
    Transport transport = Transport::Trusted;
    // Before the server's name.
    std::string prefix{};
};

std::vector<Fault> allFaults(Most& most)
{
    const auto good = saying(goodAnswer());
    const std::string chunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
    return {
        { "closed in the head that redirects", End::Failure,
            saying("HTTP/1.1 307 Moved\r\nLocation: /b\r\nContent-Le") },
        { "closed in the body", End::Failure, saying(goodHead() + "\r\n{") },
        { "no answer", End::TimeOut, [](const auto&, Wire& wire) { wire.waitForEnd(); } },
        { "no handshake", End::TimeOut, saying(""), Transport::Plain },
        { "a slow body", End::TimeOut, dripping("HTTP/1.1 200 OK\r\nContent-Length: 5000\r\n\r\n", " ") },
        { "a long chunked body", End::Failure, endless(chunked, "10000\r\n" + std::string(65536, ' ') + "\r\n", most) },
        { "a stranger's certificate", End::Untrusted, good, Transport::Untrusted },
        { "a certificate for another host", End::Untrusted, good, Transport::Trusted, "other." },
    };
}

constexpr std::array kOperations{ "navigation", "join", "play", "quit" };
constexpr std::array<NSUInteger, 4> kCodes{ 300003, 300005, 300007, 300005 };

// The four operations, each against a server of that fault.
struct Trial {
    const Fault& fault;
    HttpsServer server{ fault.talk, fault.transport };
    std::array<Ending, kOperations.size()> endings{};

    void expectEnd() const
    {
        const auto end = fault.end;
        for (std::size_t i = 0; i < kOperations.size(); ++i) {
            const auto& ending = endings.at(i);
            SCOPED_TRACE(fault.name + ", " + kOperations[i]);
            ending.wait();
            runPending();
            EXPECT_EQ(ending.failures, 1);
            EXPECT_EQ(ending.seconds() > 9.5, end == End::TimeOut) << ending.seconds();
            EXPECT_LT(ending.seconds(), 12);
            EXPECT_EQ(ending.code, kCodes[i]);
            EXPECT_FALSE(ending.text.value_or("").empty());
        }
        if (end == End::Untrusted) {
            EXPECT_TRUE(server.requests().empty());
        }
    }
};

class NetworkFaultTest : public SessionTest {
protected:
    std::unique_ptr<Trial> start(const Fault& fault)
    {
        std::unique_ptr<Trial> trial(new Trial{ fault });
        auto& [navigation, joining, playing, quitting] = trial->endings;
        const auto host = fault.prefix + trial->server.host();
        // What is known of one service is nothing to the others.
        const auto& token = fault.name;
        knowService(host, host, token);
        TQWBNaviManager::sharedInstance()->requestNavis(
            TQWBNaviManager::URLList{ NSURL::URLWithString("https://" + host + "/config.json") }, "key", "navigation",
            "v", 10, navigation.found(), navigation.notFound());
        const auto whiteBoard = TQWhiteBoard::initWithWebView(view);
        whiteBoard->joinWithConfig(roomConfig(token), joining.success(), joining.failure());
        whiteBoard->playWithConfig(recordConfig(token), playing.success(), playing.failure());
        whiteBoard->requestQuitUrlWithConfig(roomConfig(token), quitting.success(), quitting.failure());
        return trial;
    }
};

TEST_F(NetworkFaultTest, EveryFaultOfAServerEndsEveryOperationOnceAndInTime)
{
    Most most = 0;
    const auto faults = allFaults(most);
    // Those that take the whole ten seconds wait side by side. The others come one by one meanwhile: what they are
    // timed by is the library then, and not how much a machine does at once.
    std::vector<std::unique_ptr<Trial>> slow;
    for (const auto& fault : faults) {
        if (fault.end == End::TimeOut)
            slow.push_back(start(fault));
    }
    for (const auto& fault : faults) {
        if (fault.end != End::TimeOut)
            start(fault)->expectEnd();
    }
    for (const auto& trial : slow)
        trial->expectEnd();
    EXPECT_LT(most, 24U << 20U) << "far more than 16 MiB are taken";
}

TEST_F(NetworkFaultTest, RedirectionsTakeNoSecretsElsewhere)
{
    HttpsServer other([](const auto&) { return goodAnswer(); });
    HttpsServer plain(saying(goodAnswer()), Transport::Plain);
    const auto port = server.host().substr(server.host().find(':'));
    for (const auto& [location, reason] : std::vector<std::pair<std::string, std::string>>{
             { "https://" + other.host() + "/", "another port, which is refused." },
             { "https://localhost" + port + "@" + other.host() + "/", "another port, which is refused." },
             { "http://" + plain.host() + "/", "another scheme, which is refused." },
             { "http://" + server.host() + "/", "another scheme, which is refused." },
             { "file:///etc/hostname", "another scheme, which is refused." },
             { "HTTPS://127.0.0.1" + port + "/", "another host, which is refused." },
             { "https://localhost." + port + "/", "another host, which is refused." },
             { "https:\\\\" + other.host() + "\\", "an address that is none." },
             { "/moved\x01", "an address that is none." },
         }) {
        SCOPED_TRACE(location);
        answer.set(HttpsServer::answerWith(307, "", "Location: " + location + "\r\n"));
        EXPECT_EQ(join()->text, "The server redirects to " + reason);
    }
    for (const auto& request : server.requests())
        EXPECT_EQ(request.line(), "POST /api/v1/iwb/join/room HTTP/1.1");
    // Whoever else may knock at a port that has just been given out, it is no request.
    EXPECT_TRUE(other.requests().empty() && plain.requests().empty());
}

} // namespace
} // namespace tq::test
