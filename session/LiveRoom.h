#pragma once

#include "Membership.h"
#include "RoomProgress.h"
#include "ServiceSearch.h"
#include "host/PageWatcher.h"

#include <chrono>
#include <memory>
#include <string>

namespace tq {

/// A room of the conference service, in a view of its own.
class LiveRoom final : public RoomProgress, public WKNavigationDelegate, public PageWatcher {
public:
    static std::shared_ptr<LiveRoom> make(TQWBRoomOptions options);
    std::shared_ptr<TQWBWebView> view() const override { return m_view; }

    // What becomes of the page's loads.
    void didStartProvisionalNavigation(WKWebView& webView, const WKNavigation& navigation) override;
    WKNavigationActionPolicy decidePolicyForNavigationAction(
        WKWebView& webView, const WKNavigationAction& action) override;
    void decidePolicyForNavigationResponse(WKWebView& webView, const WKNavigationResponse& navigationResponse,
        std::function<void(WKNavigationResponsePolicy)> decisionHandler) override;
    void didFinishNavigation(WKWebView& webView, const WKNavigation& navigation) override;
    void didFailProvisionalNavigation(
        WKWebView& webView, const WKNavigation& navigation, const NSError& error) override;
    void didFailNavigation(WKWebView& webView, const WKNavigation& navigation, const NSError& error) override;
    void webViewWebContentProcessDidTerminate(WKWebView& webView) override;
    void didReceiveAuthenticationChallenge(
        WKWebView& webView, const NSURLAuthenticationChallenge& challenge, ChallengeCompletion completion) override;

    void pageHasLoaded() override;
    void roomWasQuit() override;
    void roomHasFailed(const TQWBException& exception) override;
    void viewWasClosed() override;

private:
    using Milliseconds = std::chrono::milliseconds;

    explicit LiveRoom(TQWBRoomOptions options);

    void begin(RoomRecord record) override;
    void tellService() override;
    void giveUp() override;

    std::shared_ptr<LiveRoom> self() { return std::static_pointer_cast<LiveRoom>(shared_from_this()); }
    template <class Task> auto inTime(Task task);
    template <class Task> void later(Task task);
    template <class Task> void after(Milliseconds delay, const std::uint64_t& counter, Task task);
    void setDeadline();
    bool advance(TQWBRoomState state);

    const TQWBRoomConfig* roomConfig() const { return std::get_if<TQWBRoomConfig>(&m_record); }
    const OptionalText& appKey() const;
    const OptionalText& token() const;
    const RequestKind& requestKind() const { return roomConfig() ? kJoinRequest : kPlayRequest; }

    void find();
    void join();
    void sendJoin();
    void joined(const ServiceReply& reply);
    bool findAgain();
    void load(const OptionalText& key);
    void openPage();
    void openPageAgain(TQWBError reason);
    void shown();
    void pageFailed(const NSError& error);
    void reconnect();
    void stop();
    void leaveService();

    const TQWBRoomOptions m_options;
    std::shared_ptr<TQWBWebView> m_view;
    std::shared_ptr<TQWBWebView> m_closedView;
    RoomRecord m_record;
    std::shared_ptr<ServiceSearch> m_search;
    std::shared_ptr<const TQWBNaviDataInfo> m_service;
    std::shared_ptr<Membership> m_membership;
    std::string m_pageAddress;

    // Answers and timers that were begun under another number are too late.
    std::uint64_t m_entry = 0;
    std::uint64_t m_opening = 0;

    // Where the service is has been remembered, and not been asked for again.
    bool m_isRemembered = false;
    // The page is on its way.
    bool m_isOpening = false;
    bool m_hasBegun = false;
    int m_repeats = 0;
    int m_reconnects = 0;
    std::chrono::steady_clock::time_point m_shownAt{};
};

} // namespace tq
