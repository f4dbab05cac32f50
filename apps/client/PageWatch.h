#pragma once

#include "TQWhiteBoardLib/TQWBWebView.h"

#include <memory>

namespace tqclient {

class Session;

/// The navigation delegate of one view: tells the session when the process that runs the room's page has ended.
class PageWatch : public tq::WKNavigationDelegate, public std::enable_shared_from_this<PageWatch> {
public:
    explicit PageWatch(std::weak_ptr<Session> session)
        : m_session(std::move(session))
    {
    }

    void webViewWebContentProcessDidTerminate(tq::WKWebView& webView) override;

private:
    std::weak_ptr<Session> m_session;
};

/// The same, and lets the view do what it does as its own delegate: it accepts any certificate.
class TrustingPageWatch final : public PageWatch {
public:
    TrustingPageWatch(std::weak_ptr<Session> session, std::weak_ptr<tq::TQWBWebView> view)
        : PageWatch(std::move(session))
        , m_view(std::move(view))
    {
    }

    void didStartProvisionalNavigation(tq::WKWebView& webView, const tq::WKNavigation& navigation) override;
    void didReceiveAuthenticationChallenge(tq::WKWebView& webView, const tq::NSURLAuthenticationChallenge& challenge,
        ChallengeCompletion completion) override;

private:
    std::weak_ptr<tq::TQWBWebView> m_view;
};

} // namespace tqclient
