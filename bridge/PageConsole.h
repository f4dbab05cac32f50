#pragma once

#include "LineLimit.h"
#include "platform/WebKit/WKUserContentController.h"

#include <memory>

namespace tq {

/// Writes what pages say to their console to the log. What comes from a page is a stranger's: it is read as one line
/// each, cut, and limited in number, for each frame before it leaves the page's process and for all of them here. Main
/// thread.
class PageConsole final : public WKScriptMessageHandler, public std::enable_shared_from_this<PageConsole> {
public:
    ~PageConsole() override { reportLeftOut(); }

    /// Adds what pages need.
    void addTo(WKUserContentController& content);

    void didReceiveScriptMessage(const WKScriptMessage& message) override;

private:
    void reportSoon();
    void reportLeftOut();

    LineLimit m_limit;
    bool m_isReportDue = false;
};

} // namespace tq
