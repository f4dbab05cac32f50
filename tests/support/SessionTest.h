#pragma once

#include "HttpsServer.h"
#include "Log.h"
#include "MainLoop.h"
#include "TQWhiteBoardLib/TQWBWebView.h"
#include "TQWhiteBoardLib/TQWhiteBoard.h"
#include "navigation/TQWBNaviManager.h"
#include "platform/Foundation/Dispatch.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>

namespace tq::test {

/// What a service says that lets a user in, and out.
inline const std::string kGoodAnswer = HttpsServer::answerWith(200, R"({"code":0,"key":"k1"})");

/// How an operation ended; written on whatever thread it ended on.
struct Ending {
    using Clock = std::chrono::steady_clock;

    std::atomic<int> successes = 0;
    std::atomic<int> failures = 0;
    NSUInteger code = 0;
    OptionalText text;
    /// Of a walk over navigation servers.
    OptionalText body;
    std::optional<bool> isSaved;
    bool onMainThread = false;
    Clock::time_point begin = Clock::now();
    Clock::time_point end;

    bool isThere() const { return successes + failures > 0; }
    double seconds() const { return std::chrono::duration<double>(end - begin).count(); }
    void wait() const
    {
        runUntil([this] { return isThere(); }, "the operation has ended");
        EXPECT_EQ(successes + failures, 1);
    }
    TQWBSuccess success()
    {
        return [this] { tell(successes); };
    }
    TQWBFailure failure()
    {
        return [this](NSUInteger newCode, const OptionalText& newText) {
            code = newCode;
            text = newText;
            tell(failures);
        };
    }
    NaviSuccess found()
    {
        return [this](bool newIsSaved) {
            isSaved = newIsSaved;
            tell(successes);
        };
    }
    NaviFailure notFound()
    {
        return [this](NSUInteger newCode, const OptionalText& newBody, const std::string& description) {
            code = newCode;
            body = newBody;
            text = description;
            tell(failures);
        };
    }

private:
    void tell(std::atomic<int>& count)
    {
        end = Clock::now();
        onMainThread = isMainThread();
        ++count;
    }
};

/// As if a navigation server had told where the service and the rooms' pages are.
inline void knowService(boost::json::value_ref lease, boost::json::value_ref pages, const OptionalText& token = "token",
    const OptionalText& appKey = "key")
{
    TQWBNaviManager::sharedInstance()->saveNavi(
        boost::json::object{ { "iwbLeaseUri", lease }, { "iwbConferenceUri", pages } }, appKey, token);
}

/// Sessions of a service that answers as the test says. The view must be gone at the end of the test.
class SessionTest : public testing::Test {
protected:
    using RoomConfig = std::shared_ptr<TQWBRoomConfig>;
    using RecordConfig = std::shared_ptr<TQWBRecordConfig>;

    void SetUp() override
    {
        clearLog();
        NSURLSessionConfiguration::defaultSessionConfiguration().setExtraTrustAnchors(HttpsServer::authority());
        view = TQWBWebView::initWithFrame({ 0, 0, 200, 100 }, nullptr);
        if (!view) {
            std::fputs("these tests need a display\n", stderr);
            std::exit(1);
        }
        board = TQWhiteBoard::initWithWebView(view);
        knowService(server.host(), server.host());
    }
    void TearDown() override
    {
        view->call("TQJSBridge.onRoomQuited", "{}");
        const std::weak_ptr<TQWBWebView> watched = view;
        view.reset();
        board.reset();
        runUntil([&] { return watched.expired(); }, "the view is destroyed");
    }
    static RoomConfig roomConfig(const std::string& token = "token")
    {
        return std::make_shared<TQWBRoomConfig>(TQWBRoomConfig{ "key", token, "room", "user", "Ann", 0, 30 });
    }
    static RecordConfig recordConfig(const std::string& token = "token")
    {
        return std::make_shared<TQWBRecordConfig>(
            TQWBRecordConfig{ "key", token, "room", "user", "Ann", "https://r.example/1" });
    }
    /// Starts an operation and waits for its end.
    template <class Operation> static std::unique_ptr<Ending> run(const Operation& operation)
    {
        auto ending = std::make_unique<Ending>();
        operation(*ending);
        ending->wait();
        return ending;
    }
    std::unique_ptr<Ending> join()
    {
        return run([this](Ending& ending) { board->joinWithConfig(config, ending.success(), ending.failure()); });
    }
    std::unique_ptr<Ending> play()
    {
        return run([this](Ending& ending) { board->playWithConfig(record, ending.success(), ending.failure()); });
    }
    std::unique_ptr<Ending> quit()
    {
        return run([this](Ending& ending) { board->quitWhiteBoard(ending.success(), ending.failure()); });
    }

    Shared<std::string> answer{ kGoodAnswer };
    HttpsServer server{ [this](const ReceivedRequest& request) {
        return request.line().starts_with("GET ") ? HttpsServer::pageOf("<title>room</title>") : answer.get();
    } };
    std::shared_ptr<TQWBWebView> view;
    std::shared_ptr<TQWhiteBoard> board;
    RoomConfig config = roomConfig();
    RecordConfig record = recordConfig();
};

} // namespace tq::test
