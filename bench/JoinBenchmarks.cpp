#include "Benchmarks.h"
#include "Pages.h"
#include "TQWhiteBoardLib/TQWBWebView.h"
#include "TQWhiteBoardLib/TQWhiteBoard.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSURLSession.h"
#include "tests/support/HttpsServer.h"

#include <atomic>
#include <cstdlib>
#include <curl/curl.h>
#include <iostream>
#include <thread>

namespace tq::bench {

namespace {

using test::HttpsServer;
using test::ReceivedRequest;

constexpr double kLimit = 1.10;
constexpr int kJoins = 4;
constexpr int kRounds = 35;

void endBecause(const std::string& reason)
{
    std::cerr << "bench: " << reason << "\n";
    std::exit(1);
}

// One service for both: it tells where it is, lets everybody in, and has a page that is there at once.
std::string answerTo(const ReceivedRequest& request, const std::string& host)
{
    if (request.line().find("config.json") != std::string::npos)
        return HttpsServer::answerWith(
            200, R"({"code":0,"iwbLeaseUri":")" + host + R"(","iwbConferenceUri":")" + host + "\"}");
    if (request.line().starts_with("GET "))
        return HttpsServer::answerWith(200, "<title>room</title>", "Content-Type: text/html\r\n");
    // Another key, and so another page, for every join.
    static std::atomic<int> s_keys = 0;
    return HttpsServer::answerWith(200, R"({"code":0,"key":"k)" + std::to_string(++s_keys) + "\"}");
}

// Sends a request that was received once more, byte for byte what matters, with a handle of its own.
void sendAgain(const ReceivedRequest& request, const std::string& host)
{
    auto* handle = curl_easy_init();
    const auto line = request.line();
    const auto path = line.substr(line.find(' ') + 1, line.rfind(' ') - line.find(' ') - 1);
    curl_slist* headers = nullptr;
    for (auto start = request.head.find("\r\n") + 2; start < request.head.size();) {
        const auto end = request.head.find("\r\n", start);
        const auto header = request.head.substr(start, end - start);
        if (!header.empty() && !header.starts_with("Host:") && !header.starts_with("Content-Length:"))
            headers = curl_slist_append(headers, header.c_str());
        start = end + 2;
    }
    curl_blob authority{ const_cast<char*>(HttpsServer::authority().data()), HttpsServer::authority().size(),
        CURL_BLOB_NOCOPY };
    std::string answer;
    curl_easy_setopt(handle, CURLOPT_URL, ("https://" + host + path).c_str());
    curl_easy_setopt(handle, CURLOPT_CAINFO_BLOB, &authority);
    curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE, static_cast<long>(request.body.size()));
    curl_easy_setopt(handle, CURLOPT_POSTFIELDS, request.body.data());
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, &answer);
    curl_easy_setopt(
        handle, CURLOPT_WRITEFUNCTION, +[](char* bytes, std::size_t, std::size_t size, void* text) {
            static_cast<std::string*>(text)->append(bytes, size);
            return size;
        });
    if (curl_easy_perform(handle) != CURLE_OK || answer.empty())
        endBecause("a bare request failed");
    curl_slist_free_all(headers);
    curl_easy_cleanup(handle);
}

class Joins {
public:
    Joins()
    {
        NSURLSessionConfiguration::defaultSessionConfiguration().setExtraTrustAnchors(HttpsServer::authority());
        m_view = TQWBWebView::initWithFrame({ 0, 0, 200, 100 }, nullptr);
        m_board = TQWhiteBoard::initWithWebView(m_view);
    }
    ~Joins() { m_view->call("TQJSBridge.onRoomQuited", "{}"); }
    Joins(const Joins&) = delete;
    Joins& operator=(const Joins&) = delete;

    // From the call until the view has been told to load the room's page.
    Seconds join(const std::string& token)
    {
        const auto config
            = std::make_shared<TQWBRoomConfig>(TQWBRoomConfig{ "key", token, "room", "user", "Ann", 0, 30 });
        timeOfLoad().reset();
        const auto start = Clock::now();
        m_board->joinWithConfig(config, {}, [&](NSUInteger code, const OptionalText& text) {
            endBecause("a join failed: " + std::to_string(code) + " " + text.value_or(""));
        });
        runUntil([&] { return timeOfLoad().has_value(); }, "the room's page is loaded");
        const auto end = *timeOfLoad();
        // The page's own load is not part of it.
        waitForPage();
        return end - start;
    }
    // What a join leaves the engine to do, so that the other side meets it as busy.
    void loadPage()
    {
        m_view->loadUrl("https://" + server.host() + "/conference/index.html?key=bare" + std::to_string(m_pages)
            + "&iwbLeaseUri=" + server.host());
        waitForPage();
    }
    std::string freshToken() { return "token" + std::to_string(++m_tokens) + "@" + server.host(); }
    // The last requests that were no page's.
    std::vector<ReceivedRequest> requestsSince(std::size_t count) const
    {
        auto requests = server.requests();
        requests.erase(requests.begin(), requests.begin() + static_cast<long>(count));
        std::erase_if(requests, [](const auto& request) { return request.line().starts_with("GET "); });
        return requests;
    }

    std::atomic<int> pagesAsked = 0;
    HttpsServer server{ [this](const ReceivedRequest& request) {
        pagesAsked += request.line().starts_with("GET ") ? 1 : 0;
        dispatchToMain([] {});
        return answerTo(request, server.host());
    } };

private:
    void waitForPage()
    {
        ++m_pages;
        runUntil([&] { return pagesAsked == m_pages; }, "the room's page is asked for");
        runUntil([&] { return m_view->estimatedProgress() == 1; }, "the room's page is loaded");
    }

    int m_pages = 0;
    std::shared_ptr<TQWBWebView> m_view;
    std::shared_ptr<TQWhiteBoard> m_board;
    int m_tokens = 0;
};

Benchmark joinBenchmark(Joins& joins, const char* name, bool isCold)
{
    const auto known = joins.freshToken();
    joins.join(known);
    const auto before = joins.server.requests().size();
    joins.join(isCold ? joins.freshToken() : known);
    const auto requests = joins.requestsSince(before);
    if (requests.size() != (isCold ? 2U : 1U))
        endBecause("a join makes another number of requests than expected");
    return compare(
        name, "the same requests by bare libcurl handles", kLimit, kJoins,
        [&] {
            Seconds total{};
            for (int i = 0; i < kJoins; ++i)
                total += joins.join(isCold ? joins.freshToken() : known);
            return total;
        },
        [&] {
            Seconds total{};
            for (int i = 0; i < kJoins; ++i) {
                // On a thread of their own, so that the main loop has the same to do meanwhile.
                std::atomic<bool> isDone = false;
                Clock::time_point end;
                const auto start = Clock::now();
                const std::jthread worker([&] {
                    for (const auto& request : requests)
                        sendAgain(request, joins.server.host());
                    end = Clock::now();
                    isDone = true;
                    dispatchToMain([] {});
                });
                runUntil([&] { return isDone.load(); }, "the bare requests are answered");
                total += end - start;
                joins.loadPage();
            }
            return total;
        },
        kRounds);
}

} // namespace

std::vector<Benchmark> joinBenchmarks()
{
    Joins joins;
    return { joinBenchmark(joins, "join with a cold navigation cache", true),
        joinBenchmark(joins, "join with a warm navigation cache", false) };
}

} // namespace tq::bench
