#pragma once

#include "TQWhiteBoardLib/TQWBWebView.h"

#include <memory>

namespace tqclient {

class Session;

/// The navigation delegate of one view: tells the session when the process that runs the room's page has ended.
class PageWatch final : public tq::WKNavigationDelegate, public std::enable_shared_from_this<PageWatch> {
public:
    explicit PageWatch(std::weak_ptr<Session> session)
        : m_session(std::move(session))
    {
    }

    void webViewWebContentProcessDidTerminate(tq::WKWebView& webView) override;

private:
    std::weak_ptr<Session> m_session;
};

} // namespace tqclient
