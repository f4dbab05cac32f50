#include "tests/support/HttpsServer.h"
#include "tests/support/Log.h"
#include "tests/support/MainLoop.h"

#include "TQWhiteBoardLib/TQWBWebView.h"
#include "TQWhiteBoardLib/TQWhiteBoard.h"
#include "navigation/TQWBNaviManager.h"

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>
#include <malloc.h>
#include <unistd.h>

namespace tq::test {
namespace {

// Cycles that are made before memory is looked at, and whose growth after them is a leak.
constexpr int kWarmUp = 50;
constexpr double kMostGrowth = 1.10;
// A server of the tests keeps what it was asked.
constexpr int kCyclesOfAServer = 25;

// TQWB_LIFE_CYCLES asks for more than a quick run makes.
int cycles()
{
    const char* text = std::getenv("TQWB_LIFE_CYCLES");
    return text ? std::atoi(text) : 10;
}

// What this process has in memory, in MiB, without what its allocator only keeps for later.
double residentMemory()
{
    malloc_trim(0);
    long total = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1 << 20);
}

// A service with a room, for some cycles.
class Service {
public:
    Service()
    {
        boost::json::object answer{ { "iwbLeaseUri", m_server.host() }, { "iwbConferenceUri", m_server.host() } };
        TQWBNaviManager::sharedInstance()->saveNavi(std::move(answer), "key", "token");
    }
    int pagesAsked() const { return m_pagesAsked; }

private:
    std::atomic<int> m_pagesAsked = 0;
    HttpsServer m_server{ [this](const ReceivedRequest& request) {
        if (!request.line().starts_with("GET "))
            return HttpsServer::answerWith(200, R"({"code":0,"key":"k1"})");
        ++m_pagesAsked;
        return HttpsServer::answerWith(200, "<title>room</title>", "Content-Type: text/html\r\n");
    } };
};

// Joins, has the page on the screen's side, quits. Returns the view, to see it go.
std::weak_ptr<TQWBWebView> joinAndQuit(const Service& service)
{
    const auto view = TQWBWebView::initWithFrame({ 0, 0, 200, 100 }, nullptr);
    view->setNavigationDelegate(view);
    const auto board = TQWhiteBoard::initWithWebView(view);
    const auto config
        = std::make_shared<TQWBRoomConfig>(TQWBRoomConfig{ "key", "token", "room", "user", "Ann", 0, 30 });
    std::atomic<int> successes = 0;
    const auto success = [&] { ++successes; };
    const auto failure
        = [](NSUInteger code, const OptionalText& text) { ADD_FAILURE() << code << " " << text.value_or(""); };
    const auto pages = service.pagesAsked();
    board->joinWithConfig(config, success, failure);
    runUntil([&] { return successes == 1 && service.pagesAsked() > pages; }, "the room is joined");
    runUntil([&] { return view->estimatedProgress() == 1; }, "the page is there");
    board->quitWhiteBoard(success, failure);
    runUntil([&] { return successes == 2; }, "the room is left");
    return view;
}

TEST(LifeTest, JoinsAndQuitsLeaveNothingBehind)
{
    NSURLSessionConfiguration::defaultSessionConfiguration().setExtraTrustAnchors(HttpsServer::authority());
    std::unique_ptr<Service> service;
    double warm = 0;
    for (int cycle = 0; cycle < cycles() && !HasFailure(); ++cycle) {
        clearLog();
        if (cycle % kCyclesOfAServer == 0)
            service = std::make_unique<Service>();
        const auto view = joinAndQuit(*service);
        runUntil([&] { return view.expired(); }, "the view is destroyed");
        if (cycle + 1 == kWarmUp)
            warm = residentMemory();
    }
    if (warm == 0)
        return;
    const auto end = residentMemory();
    std::cout << cycles() << " cycles: " << warm << " MiB after " << kWarmUp << ", " << end << " MiB at the end\n";
    EXPECT_LE(end, warm * kMostGrowth);
}

} // namespace
} // namespace tq::test
