#include "WKNavigationDelegate.h"
#include "WKUIDelegate.h"

namespace tq {

// The methods that a delegate may lack: nobody calls these.

void WKUIDelegate::runJavaScriptTextInputPanelWithPrompt(WKWebView&, std::string_view, std::optional<std::string_view>,
    const WKFrameInfo&, std::function<void(OptionalText)>)
{
}

void WKNavigationDelegate::didStartProvisionalNavigation(WKWebView&, const WKNavigation&) { }

void WKNavigationDelegate::didReceiveAuthenticationChallenge(
    WKWebView&, const NSURLAuthenticationChallenge&, ChallengeCompletion)
{
}

} // namespace tq
