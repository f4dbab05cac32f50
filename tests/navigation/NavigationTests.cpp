#include "tests/support/SessionTest.h"

#include "platform/Foundation/NSDate.h"
#include "platform/Foundation/NSUserDefaults.h"

#include <boost/json/parse.hpp>
#include <concepts>
#include <ctime>
#include <limits>
#include <thread>

namespace tq::test {
namespace {

constexpr const char* kGood
    = R"({"code":5,"iwbLeaseUri":"lease.example","iwbConferenceUri":"page.example","more":[1]})";
constexpr auto kAllBits = std::numeric_limits<NSUInteger>::max();

class NavigationTest : public testing::Test {
protected:
    void SetUp() override
    {
        clearLog();
        NSURLSessionConfiguration::defaultSessionConfiguration().setExtraTrustAnchors(HttpsServer::authority());
    }
    std::unique_ptr<Ending> walk(const TQWBNaviManager::URLList& urls, double timeout = 10)
    {
        auto ending = std::make_unique<Ending>();
        manager->requestNavis(urls, "app", "token", "1.0.0", timeout, ending->found(), ending->notFound());
        ending->wait();
        runPending();
        EXPECT_EQ(ending->successes + ending->failures, 1);
        return ending;
    }
    static std::optional<NSURL> at(const HttpsServer& server, const std::string& path = "/config.json")
    {
        return NSURL::URLWithString("https://" + server.host() + path);
    }
    static std::optional<NSURL> refusing()
    {
        return NSURL::URLWithString("https://localhost:" + std::to_string(refusingPort()) + "/config.json");
    }
    static long attemptsLogged()
    {
        return std::ranges::count_if(
            logLines(), [](const std::string& line) { return line.starts_with("[TQ:Log] response:"); });
    }

    std::shared_ptr<TQWBNaviManager> manager = TQWBNaviManager::sharedInstance();
};

TEST_F(NavigationTest, TheRequestIsExactlyThis)
{
    HttpsServer server([](const auto&) { return HttpsServer::answerWith(200, kGood); });
    Ending ending;
    // It builds the list of the operations that it has itself.
    EXPECT_EQ(TQWBNaviManager::formatNaviServers(std::vector<std::string>{ "a.example", "" }),
        (std::vector<std::string>{ "https://a.example/config.json" }));
    EXPECT_EQ(TQWBNaviManager::formatNaviServers(std::nullopt), std::nullopt);
    EXPECT_EQ(TQWBNaviManager::formatCorrectNaviServer("http://a.example/x/"), "http://a.example/x/config.json");
    static_assert(std::derived_from<TQWBNaviManager, NSURLSessionTaskDelegate>);
    const std::string token = "t&=+/%é@" + server.host();
    const auto urls = manager->getAllNaviURLS(token, std::vector<std::string>{ "unused.example" });
    ASSERT_TRUE(urls);
    std::thread([&] { manager->requestNavis(urls, "the app", token, "1.0.0", 10, ending.found(), nullptr); }).join();
    ending.wait();
    EXPECT_EQ(ending.isSaved, true);
    EXPECT_TRUE(ending.onMainThread);
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_EQ(requests[0].line(), "POST /config.json HTTP/1.1");
    EXPECT_TRUE(requests[0].hasHeader("Content-Type: application/x-www-form-urlencoded")) << requests[0].head;
    EXPECT_TRUE(requests[0].hasHeader("appId: the app")) << requests[0].head;
    EXPECT_EQ(requests[0].body, "token=" + token + "&v=1.0.0&p=iOS");
    EXPECT_TRUE(logLines().empty());
    EXPECT_EQ(manager->token(), token);
    EXPECT_EQ(manager->timeout(), 10);

    const auto stored = manager->getNaviData("the app", token);
    ASSERT_TRUE(stored);
    EXPECT_EQ(stored->code, 5);
    EXPECT_EQ(stored->iwbLeaseUri, "lease.example");
    EXPECT_EQ(stored->iwbConferenceUri, "page.example");
}

TEST_F(NavigationTest, NoAddressesFailAtOnceOnTheCallersThread)
{
    for (const auto& urls : { std::optional<TQWBNaviManager::URLList>(), std::optional(TQWBNaviManager::URLList{}) }) {
        std::jthread([&] {
            Ending ending;
            manager->requestNavis(urls, "a", "t", "v", 10, nullptr, ending.notFound());
            EXPECT_EQ(ending.code, kAllBits);
            EXPECT_EQ(ending.body, "");
            EXPECT_EQ(ending.text, "invalid navi url");
            EXPECT_FALSE(ending.onMainThread);
        }).join();
        manager->requestNavis(urls, "a", "t", "v", 10, nullptr, nullptr);
    }
}

TEST_F(NavigationTest, AddressesAreAskedInOrderUntilOneAnswers)
{
    HttpsServer server([](const ReceivedRequest& request) {
        if (request.line().find("/good/") != std::string::npos)
            return HttpsServer::answerWith(200, kGood);
        if (request.line().find("/refuses/") != std::string::npos)
            return HttpsServer::answerWith(401, R"({"code":403})");
        return HttpsServer::answerWith(500, "no");
    });
    const auto first = at(server, "/first/config.json");
    const auto good = at(server, "/good/config.json");
    const auto refuses = at(server, "/refuses/config.json");

    // One address twice is asked twice; an invalid one and a dead one count as failures.
    EXPECT_EQ(walk({ first, first, std::nullopt, refusing(), good, refuses })->isSaved, true);
    ASSERT_EQ(server.requests().size(), 3U);
    EXPECT_EQ(server.requests()[1].line(), "POST /first/config.json HTTP/1.1");
    EXPECT_EQ(server.requests()[2].line(), "POST /good/config.json HTTP/1.1");
    EXPECT_EQ(attemptsLogged(), 4);

    EXPECT_EQ(walk({ first, refuses, good })->code, 100010U);
    EXPECT_EQ(server.requests().size(), 5U);

    EXPECT_EQ(walk({ good, first })->isSaved, true);
    const auto failed = walk({ refusing(), refusing(), first });
    EXPECT_EQ(failed->code, 300003U);
    EXPECT_EQ(failed->text, "responseCode = 500.");
}

TEST_F(NavigationTest, TransfersThatFailHaveAnErrorsTextAndNoBodyAndNoStatus)
{
    HttpsServer broken([](const auto&) { return std::string("HTTP/1.1 200 OK\r\nContent-Length: 500\r\n\r\n{"); });
    for (const auto& url : { at(broken), refusing(), std::optional<NSURL>() }) {
        clearLog();
        const auto ending = walk({ url });
        EXPECT_EQ(ending->code, 300003U);
        EXPECT_EQ(ending->body, std::nullopt);
        EXPECT_FALSE(ending->text.value_or("").empty());
        EXPECT_EQ(attemptsLogged(), 1);
        EXPECT_TRUE(hasLineBeginning("[TQ:Log] response:(null), error:Error Domain=NSURLErrorDomain Code=-"));
    }
}

// An answer of so many bytes with as much to read and to store as can be.
std::string answerOfSize(std::size_t size, const std::string& member)
{
    std::string body = R"({"iwbLeaseUri":"lease.example","iwbConferenceUri":"page.example")";
    for (int number = 0; body.size() + member.size() + 8 < size; ++number)
        body += R"(,")" + std::to_string(number) + R"(":)" + member;
    body += "}";
    return body + std::string(size - body.size(), ' ');
}

TEST_F(NavigationTest, AnswersHaveABoundAndTheLongestIsQuicklyReadAndStored)
{
    constexpr std::size_t kBound = 32768;
    Shared<std::string> body{ "" };
    HttpsServer server([&](const ReceivedRequest& request) {
        return HttpsServer::answerWith(200, request.line().find("/next/") == std::string::npos ? body.get() : kGood);
    });
    body.set(answerOfSize(kBound + 1, "0"));
    const auto refused = walk({ at(server) });
    EXPECT_EQ(refused->code, 300003U);
    EXPECT_EQ(refused->body, std::nullopt);
    EXPECT_EQ(refused->text, "The answer is longer than 32 KiB.");
    EXPECT_EQ(walk({ at(server), at(server, "/next/config.json") })->isSaved, true);

    const std::string deep = std::string(400, '[') + std::string(400, ']');
    for (const std::string member : { "0", "{}", R"("\u0001\u0001\u0001\u0001")", "1e-300", deep.c_str() }) {
        SCOPED_TRACE(member.substr(0, 20));
        body.set(answerOfSize(kBound, member));
        // Of the processor's time, which is what it needs on however busy a machine.
        const auto before = std::clock();
        EXPECT_EQ(walk({ at(server) })->isSaved, true);
        EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC);
        const auto stored = NSUserDefaults::standardUserDefaults().dictionaryForKey("app+token");
        ASSERT_TRUE(stored);
        EXPECT_EQ(stored->at("TQWB-navi-data"), boost::json::parse(body.get(), {}, { .max_depth = 512 }));
        EXPECT_EQ(manager->freshNaviData("app", "token")->iwbLeaseUri, "lease.example");
    }
}

TEST_F(NavigationTest, RedirectionsStayWithinTheServer)
{
    HttpsServer server([](const ReceivedRequest& request) {
        if (request.line().find("/moved") != std::string::npos)
            return HttpsServer::answerWith(200, kGood);
        return HttpsServer::answerWith(308, "", "Location: /moved\r\n");
    });
    EXPECT_EQ(walk({ at(server) })->isSaved, true);
    EXPECT_EQ(server.requests().back().body, "token=token&v=1.0.0&p=iOS");

    HttpsServer loop([](const auto&) { return HttpsServer::answerWith(302, "", "Location: /again\r\n"); });
    EXPECT_EQ(walk({ at(loop) })->code, 300003U);
    EXPECT_EQ(loop.requests().size(), 6U);
}

TEST_F(NavigationTest, ASilentServerIsGivenUpWhenTheTimeIsUp)
{
    HttpsServer server([](const auto&, Wire& wire) { wire.waitForEnd(); });
    const auto ending = walk({ at(server) }, 0.3);
    EXPECT_EQ(ending->code, 300003U);
    EXPECT_LT(ending->seconds(), 5);
}

TEST_F(NavigationTest, NullAddressesAreASuccessThatIsNotStored)
{
    Shared<std::string> body{ R"({"iwbLeaseUri":"kept","iwbConferenceUri":"kept"})" };
    HttpsServer server([&](const auto&) { return HttpsServer::answerWith(200, body.get()); });
    EXPECT_EQ(walk({ at(server) })->isSaved, true);
    for (const char* next :
        { R"({"iwbLeaseUri":null,"iwbConferenceUri":"x"})", R"({"iwbLeaseUri":"x","iwbConferenceUri":null})" }) {
        body.set(next);
        EXPECT_EQ(walk({ at(server) })->isSaved, false);
        EXPECT_EQ(manager->getNaviData("app", "token")->iwbLeaseUri, "kept");
    }
    body.set(R"({"iwbLeaseUri":5,"iwbConferenceUri":{}})");
    EXPECT_EQ(walk({ at(server) })->isSaved, true);
    EXPECT_EQ(manager->getNaviData("app", "token")->iwbLeaseUri, std::nullopt);
}

TEST_F(NavigationTest, EntriesAreKeptForEveryPairOnItsOwn)
{
    auto answer = [](const char* lease) {
        return boost::json::object{ { "iwbLeaseUri", lease }, { "iwbConferenceUri", "c" } };
    };
    EXPECT_TRUE(manager->needRequestNavi("k1", "t1"));
    EXPECT_EQ(manager->getNaviData("k1", "t1"), nullptr);
    EXPECT_TRUE(manager->saveNavi(answer("1"), "k1", "t1"));
    EXPECT_TRUE(manager->saveNavi(answer("2"), "k1", "t2"));
    EXPECT_TRUE(manager->saveNavi(answer("3"), std::nullopt, "t1"));
    EXPECT_FALSE(manager->saveNavi(std::nullopt, "k1", "t1"));
    EXPECT_FALSE(manager->needRequestNavi("k1", "t1"));
    EXPECT_EQ(manager->getNaviData("k1", "t1")->iwbLeaseUri, "1");
    EXPECT_EQ(manager->getNaviData("k1", "t2")->iwbLeaseUri, "2");
    EXPECT_EQ(manager->getNaviData("(null)", "t1")->iwbLeaseUri, "3");
    // What holds nothing is no entry.
    NSUserDefaults::standardUserDefaults().setObject({}, "k3+t1");
    EXPECT_TRUE(manager->needRequestNavi("k3", "t1"));
    EXPECT_EQ(manager->getNaviData("k3", "t1"), nullptr);

    TQWhiteBoard::forgetNavigation("k1", "t1");
    TQWhiteBoard::forgetNavigation("never", "seen");
    EXPECT_TRUE(manager->needRequestNavi("k1", "t1"));
    EXPECT_EQ(manager->getNaviData("k1", "t1"), nullptr);
    EXPECT_EQ(manager->getNaviData("k1", "t2")->iwbLeaseUri, "2");
    TQWhiteBoard::forgetNavigation(std::nullopt, "t1");
    EXPECT_EQ(manager->getNaviData("(null)", "t1"), nullptr);
}

TEST_F(NavigationTest, AChangeOfTheTimeZoneMovesTheAge)
{
    auto& defaults = NSUserDefaults::standardUserDefaults();
    auto saveAged = [&](std::int64_t seconds) {
        setenv("TZ", "UTC0", 1);
        const auto now = static_cast<std::int64_t>(timeIntervalSince1970());
        defaults.setObject({ { "TQWB-timestamp", now - seconds }, { "TQWB-navi-data", boost::json::object{} } }, "k+t");
    };
    // East of Greenwich makes an answer younger, west of it older. A minute's room for the clock that goes on.
    for (const auto& [age, zone, isNeeded] :
        std::vector<std::tuple<std::int64_t, const char*, bool>>{ { 7201 + 3540, "EAST-1", false },
            { 7201 + 3600, "EAST-1", true }, { 3540, "WEST1", false }, { 3601, "WEST1", true } }) {
        saveAged(age);
        setenv("TZ", zone, 1);
        EXPECT_EQ(manager->needRequestNavi("k", "t"), isNeeded) << age << " in " << zone;
    }
    // What is saved in a zone is fresh in it.
    manager->saveNavi(boost::json::object{ { "iwbLeaseUri", "a" }, { "iwbConferenceUri", "b" } }, "k", "t");
    EXPECT_FALSE(manager->needRequestNavi("k", "t"));
    unsetenv("TZ");
}

} // namespace
} // namespace tq::test
