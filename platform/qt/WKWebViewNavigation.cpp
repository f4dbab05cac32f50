// How loads go on and end, and who is told of it.

#include "../Foundation/Dispatch.h"
#include "../Foundation/LateAnswer.h"
#include "EnginePage.h"
#include "NavigationErrors.h"

#include <csignal>
#include <utility>

namespace tq {

namespace {
using Methods = WKNavigationDelegate::Methods;
}

void WKWebView::Impl::load(const std::string& uri)
{
    isLeaving = true;
    cancelDialogs(TellView::Yes);
    replaceLoad();
    loadStage = LoadStage::Asked;
    beginLoad(uri);
}

void WKWebView::Impl::beginLoad(const std::string& uri)
{
    const auto profile = wantedProfile();
    const bool needsPage = !page || profile != profileKind || isPageDead;
    // The engine's page is not changed under the engine's feet.
    if (page && needsPage && EngineCall::isUnderWay())
        return beginLoadLater(uri);
    if (needsPage)
        createPage(profile);
    loadAfterEnd = isPageEnding ? OptionalText(uri) : OptionalText();
    if (!isPageEnding)
        page->load(QUrl::fromEncoded(QByteArray::fromStdString(uri)));
}

void WKWebView::Impl::beginLoadLater(const std::string& uri)
{
    dispatchToMain([weak = view.weak_from_this(), uri, load = loads] {
        const auto self = weak.lock();
        if (self && self->m_impl->loads == load)
            self->m_impl->beginLoad(uri);
    });
}

void WKWebView::Impl::replaceLoad()
{
    if (loadStage == LoadStage::None)
        return;
    view.loadIsReplaced(std::exchange(loadStage, LoadStage::None));
}

bool WKWebView::Impl::mayLeaveFor(const QUrl& url, bool isRedirect)
{
    const EngineCall call(view);
    if (call.isTooLate() || hasEnded)
        return false;
    // The engine says nothing of the start of a load that interrupts another; of others it says it after this.
    if (!isRedirect) {
        loadBegins();
        hasJustBegun = true;
    }
    const auto load = lastLoad;
    const bool isAllowed = view.allowsLoad(url.toEncoded().toStdString());
    if (!isAllowed && lastLoad == load && loadStage == LoadStage::Provisional)
        endLoad(urlError(NSURLErrorCancelled, "The application stays with the page before."));
    return isAllowed;
}

void WKWebView::Impl::loadBegins()
{
    const EngineCall call(view);
    if (call.isTooLate() || hasEnded)
        return;
    const auto loadsBefore = loads;
    // One that the page has begun takes the place of another.
    if (loadStage == LoadStage::Provisional || loadStage == LoadStage::Committed)
        view.m_replacedLoads.push_back(loadStage);
    loadStage = LoadStage::Provisional;
    view.tellOfReplacedLoads();
    if (loads != loadsBefore)
        return;
    ++lastLoad;
    if (const auto delegate = view.m_navigationDelegate.respondingTo(&Methods::didStartProvisionalNavigation))
        runGuarded([&] { delegate->didStartProvisionalNavigation(view, {}); });
}

void WKWebView::Impl::pageHasArrived(const QString& address)
{
    const EngineCall call(view);
    if (call.isTooLate() || hasEnded)
        return;
    const auto url = NSURL::URLWithString(address.toStdString());
    pageOrigin = url ? url->origin() : std::nullopt;
    followWheel();
    pageIsGone(PageEnd::Replaced);
    hasPage = true;
    if (loadStage == LoadStage::Provisional) {
        loadStage = LoadStage::Committed;
        isLeaving = false;
    }
}

void WKWebView::Impl::pageIsGone(PageEnd how)
{
    cancelDialogs(TellView::Yes);
    failEvaluations(how == PageEnd::Replaced ? "Another page has come." : "The page's process has ended.");
    view.pageHasGone(how);
}

void WKWebView::Impl::loadingChanged(const QWebEngineLoadingInfo& info)
{
    if (info.status() == QWebEngineLoadingInfo::LoadStartedStatus) {
        if (!std::exchange(hasJustBegun, false))
            loadBegins();
        return;
    }
    hasJustBegun = false;
    const EngineCall call(view);
    // Of an older load nobody hears here.
    if (call.isTooLate() || hasEnded || (loadStage != LoadStage::Provisional && loadStage != LoadStage::Committed))
        return;
    // The page that is there leads to what the engine does not load (as "mailto:"), and its own load ends with that.
    if (loadStage == LoadStage::Committed && page->url() != info.url())
        return finishLoad();
    const bool hasStatus = info.errorDomain() == QWebEngineLoadingInfo::HttpStatusCodeDomain;
    if (info.status() != QWebEngineLoadingInfo::LoadSucceededStatus && !hasStatus)
        return endStoppedLoad(info);
    // A page that runs no scripts has not said that it is there.
    if (loadStage == LoadStage::Provisional)
        pageHasArrived(info.url().toEncoded());
    const bool isHttp = info.url().scheme().startsWith("http");
    askAboutAnswer(
        { { info.url().toEncoded().toStdString(), isHttp && hasStatus ? info.errorCode() : 0 }, true, true });
}

// The engine tells what a server has answered when the page is there.
void WKWebView::Impl::askAboutAnswer(const WKNavigationResponse& response)
{
    const auto delegate = view.m_navigationDelegate.respondingTo(&Methods::decidePolicyForNavigationResponse);
    if (!delegate)
        return finishLoad();
    const auto decision = std::make_shared<LateAnswer<WKNavigationResponsePolicy>>(
        [weak = view.weak_from_this(), load = lastLoad](WKNavigationResponsePolicy policy) {
            const auto self = weak.lock();
            if (!self || self->m_impl->lastLoad != load || self->m_impl->hasEnded)
                return;
            const EngineCall call(*self);
            if (policy == WKNavigationResponsePolicy::Allow)
                self->m_impl->finishLoad();
            else
                self->m_impl->endLoad(urlError(NSURLErrorCancelled, "The server's answer was refused."));
        },
        WKNavigationResponsePolicy::Allow);
    runGuarded([&] {
        delegate->decidePolicyForNavigationResponse(
            view, response, [decision](WKNavigationResponsePolicy policy) { decision->answer(policy); });
    });
}

void WKWebView::Impl::finishLoad()
{
    isLeaving = false;
    loadStage = LoadStage::None;
    if (const auto delegate = view.m_navigationDelegate.respondingTo(&Methods::didFinishNavigation))
        runGuarded([&] { delegate->didFinishNavigation(view, {}); });
}

// That what has come is a download the engine says soon afterwards.
void WKWebView::Impl::endStoppedLoad(const QWebEngineLoadingInfo& info)
{
    constexpr std::chrono::milliseconds kSoon(250);
    const auto error = navigationError(info);
    if (info.status() != QWebEngineLoadingInfo::LoadStoppedStatus || error.code != NSURLErrorCancelled)
        return endLoad(error);
    dispatchToMainAfter(kSoon, [weak = view.weak_from_this(), load = lastLoad, error] {
        const auto self = weak.lock();
        if (self && self->m_impl->lastLoad == load && self->m_impl->loadStage == LoadStage::Provisional)
            self->m_impl->endLoad(error);
    });
}

// There is nothing to show, and nobody is asked where to keep it.
void WKWebView::Impl::downloads()
{
    const EngineCall call(view);
    if (!call.isTooLate() && loadStage == LoadStage::Provisional)
        endLoad(urlError(NSURLErrorBadServerResponse, "The server's answer cannot be shown."));
}

void WKWebView::Impl::endLoad(const NSError& error)
{
    isLeaving = false;
    view.tellFailure(std::exchange(loadStage, LoadStage::None), error);
}

void WKWebView::Impl::processTerminated()
{
    const EngineCall call(view);
    if (call.isTooLate() || hasEnded)
        return;
    isPageEnding = false;
    isPageDead = true;
    const auto load = loads;
    const auto next = std::exchange(loadAfterEnd, {});
    if (!next) {
        isLeaving = false;
        loadStage = LoadStage::None;
    }
    pageIsGone(PageEnd::ProcessEnded);
    if (const auto delegate = view.m_navigationDelegate.respondingTo(&Methods::webViewWebContentProcessDidTerminate))
        runGuarded([&] { delegate->webViewWebContentProcessDidTerminate(view); });
    if (next && loads == load)
        beginLoadLater(*next);
}

void WKWebView::terminatePage()
{
    const auto process = m_impl->page ? m_impl->page->renderProcessPid() : 0;
    if (process > 0 && kill(static_cast<pid_t>(process), SIGKILL) == 0)
        m_impl->isPageEnding = true;
}

} // namespace tq
