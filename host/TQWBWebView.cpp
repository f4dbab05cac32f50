#include "TQWhiteBoardLib/TQWBWebView.h"

#include "PageWatcher.h"
#include "TQWBBridge.h"
#include "platform/Foundation/NSLog.h"
#include "platform/UIKit/UIScreen.h"

#include <algorithm>
#include <utility>

namespace tq {

namespace {

// The single-precision number nearest 0.3.
constexpr double kHideDelay = 0.30000001192092896;
constexpr double kHideDuration = 0.25;

void prepare(WKWebViewConfiguration& configuration)
{
    if (!configuration.preferences)
        configuration.preferences = std::make_shared<WKPreferences>();
    configuration.allowsInlineMediaPlayback = true;
    configuration.allowUniversalAccessFromFileURLs = true;
    configuration.preferences->allowFileAccessFromFileURLs = true;
    configuration.preferences->javaScriptEnabled = true;
    configuration.preferences->javaScriptCanOpenWindowsAutomatically = true;
    configuration.suppressesIncrementalRendering = true;
    configuration.userContentController = std::make_shared<WKUserContentController>();
    configuration.userContentController->addUserScript(
        { " $('meta[name=description]').remove(); $('head').append( '' );", WKUserScriptInjectionTime::AtDocumentEnd,
            WKUserScriptFrames::All });
}

UIScrollView unscrollable()
{
    return { .pinchGestureRecognizerEnabled = false, .panGestureRecognizerEnabled = false, .scrollEnabled = false };
}

} // namespace

std::shared_ptr<TQWBWebView> TQWBWebView::initWithFrame(
    CGRect frame, std::shared_ptr<WKWebViewConfiguration> configuration)
{
    return make<TQWBWebView>(frame, std::move(configuration));
}

TQWBWebView::TQWBWebView(Token token)
    : DWKWebView(token)
{
}

TQWBWebView::~TQWBWebView()
{
    NSLog("[TQ:Log] -[TQWBWebView dealloc]");
    removeObserver(this, "estimatedProgress");
}

void TQWBWebView::initialize(CGRect frame, std::shared_ptr<WKWebViewConfiguration> configuration)
{
    prepare(*configuration);
    if (frame.height > frame.width)
        std::swap(frame.width, frame.height);
    DWKWebView::initialize(frame, std::move(configuration));
    setCustomUserAgent("i");
    setBackgroundColor(UIColor::whiteColor());
    setScrollView(unscrollable());
    setTintColor(UIColor::clearColor());

    auto bridge = std::make_shared<TQWBBridge>();
    m_bridge = bridge;
    bridge->setWebView(std::static_pointer_cast<TQWBWebView>(shared_from_this()));
    addJavascriptObject(bridge, "TQJSBridge");
    addJavascriptObject(std::move(bridge), "TQNativeBridge");
    addObserver(this, "estimatedProgress", nullptr);
    addProgressView();
}

void TQWBWebView::end()
{
    const auto self = shared_from_this();
    DWKWebView::end();
    if (const auto watcher = std::exchange(m_pageWatcher, {}).lock())
        watcher->viewWasClosed();
    m_roomStatusDelegate.clear();
    m_recordDelegate.clear();
    m_permisssionDelegate.clear();
    if (const auto bridge = m_bridge.lock())
        bridge->setWebView(nullptr);
}

void TQWBWebView::addProgressView()
{
    const auto screen = UIScreen::mainScreen();
    const auto width = screen ? std::max(screen->bounds.width, screen->bounds.height) : 0;
    m_progressView = UIProgressView::initWithFrame({ 0, 20, width, 1 });
    m_progressView->setTintColor(UIColor::systemBlueColor());
    m_progressView->setTransform({ .scaleX = 1, .scaleY = 1 });
    addSubview(m_progressView);
}

void TQWBWebView::observeValueForKeyPath(
    std::string_view keyPath, NSObject* object, const boost::json::object& change, void* context)
{
    if (keyPath != "estimatedProgress") {
        DWKWebView::observeValueForKeyPath(keyPath, object, change, context);
        return;
    }
    if (!m_progressView)
        return;
    m_progressView->setProgress(static_cast<float>(estimatedProgress()));
    if (m_progressView->progress() != 1.0F)
        return;
    UIView::animateWithDuration(
        kHideDuration, kHideDelay, UIViewAnimationOptions::CurveEaseOut, [] {},
        [weak = weak_from_this()](bool) {
            auto view = std::static_pointer_cast<TQWBWebView>(weak.lock());
            if (view && view->m_progressView)
                view->m_progressView->setHidden(true);
        });
}

void TQWBWebView::didStartProvisionalNavigation(WKWebView&, const WKNavigation&)
{
    if (!m_progressView)
        return;
    m_progressView->setHidden(false);
    bringSubviewToFront(m_progressView);
}

bool TQWBWebView::acceptsEveryCertificate() const
{
    return m_acceptedCertificates == AcceptedCertificates::Every
        || navigationDelegate().get() == static_cast<const WKNavigationDelegate*>(this);
}

void TQWBWebView::didReceiveAuthenticationChallenge(
    WKWebView&, const NSURLAuthenticationChallenge& challenge, ChallengeCompletion completion)
{
    const auto& space = challenge.protectionSpace;
    if (space.authenticationMethod == NSURLAuthenticationMethodServerTrust)
        completion(
            NSURLSessionAuthChallengeDisposition::UseCredential, NSURLCredential::initWithTrust(space.serverTrust));
}

} // namespace tq
