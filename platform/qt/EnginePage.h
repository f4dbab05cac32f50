#pragma once

#include "WKWebViewImpl.h"

namespace tq {

/// The engine's page, which tells the view what happens in it.
class WKWebView::Impl::Page final : public QWebEnginePage {
public:
    Page(Impl& impl, QWebEngineProfile& profile)
        : QWebEnginePage(&profile)
        , m_impl(impl)
    {
    }

private:
    bool javaScriptPrompt(const QUrl& origin, const QString& message, const QString& text, QString* answer) override
    {
        return m_impl.prompted(origin, message, text, answer);
    }
    // Also whether the page may be left.
    bool javaScriptConfirm(const QUrl& origin, const QString& message) override
    {
        return m_impl.confirmed(origin, message);
    }
    void javaScriptAlert(const QUrl& origin, const QString& message) override
    {
        m_impl.ask(origin, "alert", message, {});
    }
    // What is to be written comes another way.
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel, const QString&, int, const QString&) override { }
    bool acceptNavigationRequest(const QUrl& url, NavigationType type, bool isMainFrame) override
    {
        return !isMainFrame || m_impl.mayLeaveFor(url, type == NavigationTypeRedirect);
    }

    Impl& m_impl;
};

} // namespace tq
