#include "WKNavigationDelegate.h"
#include "WKUIDelegate.h"
#include "WKWebView.h"

#include <utility>

namespace tq {

WKFrameInfo::WKFrameInfo(const WKWebView& webView)
    : WKFrameInfo(webView, webView.pageOrigin())
{
}

WKFrameInfo::WKFrameInfo(const WKWebView& webView, OptionalText origin)
    : m_webView(webView)
    , m_origin(std::move(origin))
{
}

OptionalText WKFrameInfo::URL() const { return m_webView.URL(); }

// The methods that a delegate may lack: nobody calls these.

void WKUIDelegate::runJavaScriptAlertPanelWithMessage(
    WKWebView&, std::string_view, const WKFrameInfo&, std::function<void()>)
{
}

void WKUIDelegate::runJavaScriptConfirmPanelWithMessage(
    WKWebView&, std::string_view, const WKFrameInfo&, std::function<void(bool)>)
{
}

void WKUIDelegate::runJavaScriptTextInputPanelWithPrompt(WKWebView&, std::string_view, std::optional<std::string_view>,
    const WKFrameInfo&, std::function<void(OptionalText)>)
{
}

std::shared_ptr<WKWebView> WKUIDelegate::createWebViewWithConfiguration(
    WKWebView&, const std::shared_ptr<WKWebViewConfiguration>&, const WKNavigationAction&, const WKWindowFeatures&)
{
    return nullptr;
}

void WKUIDelegate::webViewDidClose(WKWebView&) { }

bool WKUIDelegate::shouldPreviewElement(WKWebView&, const WKPreviewElementInfo&) { return false; }

std::shared_ptr<UIViewController> WKUIDelegate::previewingViewControllerForElement(
    WKWebView&, const WKPreviewElementInfo&, const std::vector<WKPreviewActionItem>&)
{
    return nullptr;
}

void WKUIDelegate::commitPreviewingViewController(WKWebView&, const std::shared_ptr<UIViewController>&) { }

void WKNavigationDelegate::didStartProvisionalNavigation(WKWebView&, const WKNavigation&) { }

void WKNavigationDelegate::didReceiveAuthenticationChallenge(
    WKWebView&, const NSURLAuthenticationChallenge&, ChallengeCompletion)
{
}

WKNavigationActionPolicy WKNavigationDelegate::decidePolicyForNavigationAction(WKWebView&, const WKNavigationAction&)
{
    return WKNavigationActionPolicy::Allow;
}

void WKNavigationDelegate::decidePolicyForNavigationResponse(
    WKWebView&, const WKNavigationResponse&, std::function<void(WKNavigationResponsePolicy)>)
{
}

void WKNavigationDelegate::didFinishNavigation(WKWebView&, const WKNavigation&) { }

void WKNavigationDelegate::didFailProvisionalNavigation(WKWebView&, const WKNavigation&, const NSError&) { }

void WKNavigationDelegate::didFailNavigation(WKWebView&, const WKNavigation&, const NSError&) { }

void WKNavigationDelegate::webViewWebContentProcessDidTerminate(WKWebView&) { }

} // namespace tq
