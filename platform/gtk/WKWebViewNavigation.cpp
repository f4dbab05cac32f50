// How loads go on and end, and who is told of it.

#include "../Foundation/Dispatch.h"
#include "NavigationErrors.h"
#include "WKWebViewImpl.h"

#include <utility>

namespace tq {

namespace {

using Methods = WKNavigationDelegate::Methods;

// An answer of a server that waits for the application's decision. The first one counts; without any, the engine does
// what it does of itself.
class ResponseDecision {
public:
    ResponseDecision(WebKitPolicyDecision* decision, bool isShowable)
        : m_decision(retained(decision))
        , m_isShowable(isShowable)
    {
    }
    ~ResponseDecision()
    {
        // The last copy may be dropped anywhere.
        if (m_decision)
            dispatchToMain([decision = std::shared_ptr<WebKitPolicyDecision>(std::move(m_decision)),
                               isShowable = m_isShowable] { decide(decision.get(), isShowable); });
    }
    ResponseDecision(const ResponseDecision&) = delete;
    ResponseDecision& operator=(const ResponseDecision&) = delete;

    bool isAnswered() const { return !m_decision; }
    void answer(WKNavigationResponsePolicy policy)
    {
        const auto decision = std::exchange(m_decision, nullptr);
        decide(decision.get(), policy == WKNavigationResponsePolicy::Allow);
    }

private:
    static void decide(WebKitPolicyDecision* decision, bool isAllowed)
    {
        if (isAllowed)
            webkit_policy_decision_use(decision);
        else
            webkit_policy_decision_ignore(decision);
    }

    GObjectPointer<WebKitPolicyDecision> m_decision;
    const bool m_isShowable;
};

NSHTTPURLResponse headOf(WebKitURIResponse* response)
{
    const char* uri = webkit_uri_response_get_uri(response);
    NSHTTPURLResponse head{ .URL = uri ? uri : "" };
    // The engine makes up a status for addresses of other kinds.
    if (head.URL.starts_with("http:") || head.URL.starts_with("https:"))
        head.statusCode = static_cast<NSInteger>(webkit_uri_response_get_status_code(response));
    return head;
}

} // namespace

void WKWebView::Impl::giveToEngine(const std::string& uri)
{
    // The page before may have begun another load meanwhile.
    if (loadStage != LoadStage::Waiting)
        replaceLoad();
    loadStage = LoadStage::Asked;
    webkit_web_view_load_uri(webView, uri.c_str());
}

void WKWebView::Impl::replaceLoad()
{
    // A load within the page ends without a word.
    if (loadStage == LoadStage::Asked && !webkit_web_view_is_loading(webView))
        loadStage = LoadStage::None;
    if (loadStage == LoadStage::None)
        return;
    mayTellOldStart |= loadStage == LoadStage::Asked;
    view.loadIsReplaced(std::exchange(loadStage, LoadStage::None));
}

void WKWebView::Impl::loadChanged(WebKitWebView*, WebKitLoadEvent event, gpointer impl)
{
    const EngineCall call(impl);
    if (call.isTooLate())
        return;
    auto& self = call.impl();
    const auto tell = [&](bool Methods::*method, auto tellDelegate) {
        if (const auto delegate = self.view.m_navigationDelegate.respondingTo(method))
            runGuarded([&] { tellDelegate(*delegate); });
    };
    switch (event) {
    case WEBKIT_LOAD_STARTED: {
        if (self.mayTellOldStart)
            return;
        const bool isExplanation = std::exchange(self.isExplaining, false);
        const auto loadsBefore = self.loads;
        self.view.tellOfReplacedLoads();
        if (self.loads != loadsBefore)
            return;
        self.challenges.clear();
        if (!isExplanation) {
            self.loadStage = LoadStage::Provisional;
            self.isAnswerRefused = false;
        }
        tell(&Methods::didStartProvisionalNavigation,
            [&](auto& delegate) { delegate.didStartProvisionalNavigation(self.view, {}); });
        break;
    }
    case WEBKIT_LOAD_REDIRECTED:
        break;
    case WEBKIT_LOAD_COMMITTED: {
        // The address that the engine gives at other times may be that of a page to come.
        const auto url = self.view.URL();
        const auto address = url ? NSURL::URLWithString(*url) : std::nullopt;
        self.pageOrigin = address ? address->origin() : std::nullopt;
        self.cancelDialogs(TellView::Yes);
        self.view.pageHasGone(PageEnd::Replaced);
        if (self.loadStage == LoadStage::Provisional) {
            self.loadStage = LoadStage::Committed;
            self.isLeaving = false;
        }
        break;
    }
    case WEBKIT_LOAD_FINISHED:
        // It comes after failures, too.
        if (self.loadStage != LoadStage::Committed)
            return;
        self.loadStage = LoadStage::None;
        tell(&Methods::didFinishNavigation, [&](auto& delegate) { delegate.didFinishNavigation(self.view, {}); });
        break;
    }
}

// The engine now and then takes its own refusal of a certificate for a connection that somebody cancelled, and then
// asks nobody about the certificate. (A load that really is cancelled fails with an error of the engine's own.)
gboolean WKWebView::Impl::loadFailed(
    WebKitWebView*, WebKitLoadEvent event, const char* failingUri, const GError* error, gpointer impl)
{
    const EngineCall call(impl);
    if (call.isTooLate())
        return TRUE;
    auto& self = call.impl();
    const auto failing = event == WEBKIT_LOAD_COMMITTED ? LoadStage::Committed : LoadStage::Provisional;
    // Of an older load nobody hears here, and its failure is not shown in place of the newer page.
    if (self.loadStage != failing)
        return TRUE;
    self.isLeaving = false;
    if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED) && self.repeats < kMostRepeats) {
        ++self.repeats;
        self.loadAgain(failingUri);
        return TRUE;
    }
    return self.endLoad(*error);
}

// @returns whether the engine shall leave it at that, and show no page of its own about it.
bool WKWebView::Impl::endLoad(const GError& error)
{
    const auto loadsBefore = loads;
    const auto failedIn = std::exchange(loadStage, LoadStage::None);
    const auto told
        = isAnswerRefused ? urlError(NSURLErrorCancelled, "The server's answer was refused.") : navigationError(error);
    if (view.tellFailure(failedIn, told) || loads != loadsBefore)
        return true;
    isExplaining = isExplainedByEngine(error);
    return false;
}

gboolean WKWebView::Impl::decidePolicy(
    WebKitWebView*, WebKitPolicyDecision* decision, WebKitPolicyDecisionType type, gpointer impl)
{
    const EngineCall call(impl);
    if (call.isTooLate())
        return FALSE;
    auto& self = call.impl();
    if (type == WEBKIT_POLICY_DECISION_TYPE_NAVIGATION_ACTION)
        self.mayTellOldStart = false;
    if (type != WEBKIT_POLICY_DECISION_TYPE_RESPONSE)
        return FALSE;
    auto* native = WEBKIT_RESPONSE_POLICY_DECISION(decision);
    const bool isForMainFrame = webkit_response_policy_decision_is_main_frame_main_resource(native);
    // An older load's answer is nobody's.
    if (isForMainFrame && self.loadStage != LoadStage::Provisional)
        return FALSE;
    const bool isShowable = webkit_response_policy_decision_is_mime_type_supported(native);
    const WKNavigationResponse response{ headOf(webkit_response_policy_decision_get_response(native)), isForMainFrame,
        isShowable };
    // The engine has asked before, without a word on which frame it is about.
    if (const auto loads = self.loads; isForMainFrame && !self.view.allowsLoad(response.response.URL)) {
        if (self.loads == loads)
            self.isAnswerRefused = true;
        webkit_policy_decision_ignore(decision);
        return TRUE;
    }
    const auto delegate = self.view.m_navigationDelegate.respondingTo(&Methods::decidePolicyForNavigationResponse);
    if (!delegate)
        return FALSE;
    auto handler
        = [weak = self.view.weak_from_this(), load = self.loads, isForMainFrame,
              pending = std::make_shared<ResponseDecision>(decision, isShowable)](WKNavigationResponsePolicy policy) {
              if (pending->isAnswered())
                  return;
              const auto view = isForMainFrame ? weak.lock() : nullptr;
              if (view && view->m_impl->loads == load)
                  view->m_impl->isAnswerRefused = policy == WKNavigationResponsePolicy::Cancel;
              pending->answer(policy);
          };
    runGuarded([&] { delegate->decidePolicyForNavigationResponse(self.view, response, std::move(handler)); });
    return TRUE;
}

} // namespace tq
