// The process ends by `exit` while transfers are under way.

#include "tests/support/HttpsServer.h"
#include "tests/support/MainLoop.h"

#include "navigation/TQWBNaviManager.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSURLSession.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>

namespace tq::test {
namespace {

constexpr const char* kHost = "TQWB_TEST_EXIT_HOST";

// The server is the first process's, and not ended with the one that ends.
class ExitTest : public testing::Test {
protected:
    void SetUp() override
    {
        if (getenv(kHost)) {
            NSURLSessionConfiguration::defaultSessionConfiguration().setExtraTrustAnchors(getenv("TQWB_TEST_ANCHOR"));
            return;
        }
        m_server = std::make_unique<HttpsServer>([](const ReceivedRequest& request, Wire& wire) {
            if (request.line().find("/silent") != std::string::npos)
                wire.waitForEnd();
            else
                wire.send(HttpsServer::answerWith(200, R"({"iwbLeaseUri":"l","iwbConferenceUri":"c"})"));
        });
        setenv(kHost, m_server->host().c_str(), 1);
        setenv("TQWB_TEST_ANCHOR", HttpsServer::authority().c_str(), 1);
    }
    void TearDown() override { unsetenv(kHost); }
    static std::optional<NSURL> at(const std::string& path)
    {
        const char* host = getenv(kHost);
        return host ? NSURL::URLWithString("https://" + std::string(host) + path) : std::nullopt;
    }
    static void request(const std::string& path, NSURLCompletion completion)
    {
        auto session = NSURLSession::sessionWithConfiguration(
            NSURLSessionConfiguration::defaultSessionConfiguration(), nullptr, NSOperationQueue::create());
        session->dataTaskWithRequest({ .URL = at(path) }, std::move(completion)).resume();
    }

private:
    std::unique_ptr<HttpsServer> m_server;
};

using Clock = std::chrono::steady_clock;

std::atomic<bool> s_isTakenDown = false;
Clock::time_point s_end = Clock::time_point::max();

std::atomic<bool> s_isThreadEnding = false;
std::atomic<bool> s_hasThreadEnded = false;

// What a library keeps for each thread.
struct KeptForThread {
    bool isUsed = false;
    ~KeptForThread()
    {
        if (!isUsed)
            return;
        s_isThreadEnding = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        s_hasThreadEnded = true;
    }
};
thread_local KeptForThread t_kept;

// Goes when the process ends, after all that was made later.
struct Early {
    ~Early()
    {
        s_isTakenDown = true;
        if (s_end != Clock::time_point::max() && Clock::now() - s_end > std::chrono::seconds(1))
            _exit(3);
        if (s_isThreadEnding && !s_hasThreadEnded)
            _exit(4);
    }
} s_early;

TEST_F(ExitTest, ACallbackThatIsRunningMeetsNothingThatHasBeenTakenDown)
{
    const auto end = [] {
        std::atomic<bool> isRunning = false;
        request("/", [&](auto&&...) {
            isRunning = true;
            const auto until = Clock::now() + std::chrono::milliseconds(300);
            while (Clock::now() < until && !s_isTakenDown)
                std::this_thread::yield();
            if (s_isTakenDown)
                _exit(1);
        });
        runUntil([&] { return isRunning.load(); }, "the callback runs");
        std::exit(0);
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(0), "");
}

TEST_F(ExitTest, AThreadThatEndsMeetsNothingThatHasBeenTakenDown)
{
    const auto end = [] {
        request("/", [](auto&&...) { t_kept.isUsed = true; });
        runUntil([&] { return s_isThreadEnding.load(); }, "the thread ends");
        std::exit(0);
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(0), "");
}

TEST_F(ExitTest, ACallbackMayEndTheProcessWithoutWaitingForItself)
{
    const auto end = [] {
        request("/", [](auto&&...) {
            s_end = Clock::now();
            std::exit(0);
        });
        runUntil([] { return false; }, "the process ends");
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(0), "");
}

TEST_F(ExitTest, TransfersInEveryStateEndWithTheProcess)
{
    const auto end = [](int wanted) {
        std::atomic<int> answers = 0;
        for (int number = 0; number < 6; ++number) {
            request(number % 3 ? "/" : "/silent", [&](auto&&...) { ++answers; });
            TQWBNaviManager::sharedInstance()->requestNavis(
                TQWBNaviManager::URLList{ at("/silent"), at("/") }, "key", "token", "v", 0.1 * number,
                [&](bool) { ++answers; }, nullptr);
        }
        runUntil([&] { return answers >= wanted; }, "some have ended");
        std::exit(0);
    };
    for (const int wanted : { 0, 2, 5 })
        EXPECT_EXIT(end(wanted), testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace tq::test
