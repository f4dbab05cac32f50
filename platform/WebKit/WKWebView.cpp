#include "WKWebView.h"

#include "../Foundation/Dispatch.h"
#include "../Foundation/NSLog.h"
#include "EngineCall.h"

#include <algorithm>
#include <utility>

// What is the same in all ports.

namespace tq {

using Methods = WKNavigationDelegate::Methods;

void WKWebView::destroyOnMainThread(WKWebView* view)
{
    if (isMainThread() && !EngineCall::isUnderWay())
        delete view;
    else
        dispatchToMain([view] { delete view; });
}

void WKWebView::addObserver(NSObject* observer, std::string_view keyPath, void* context)
{
    m_observers.push_back({ observer, std::string(keyPath), context });
}

void WKWebView::removeObserver(NSObject* observer, std::string_view keyPath)
{
    std::erase_if(
        m_observers, [&](const Observer& entry) { return entry.object == observer && entry.keyPath == keyPath; });
}

void WKWebView::progressHasChanged()
{
    const boost::json::object change{ { "new", estimatedProgress() } };
    // An observer may remove itself, or another one, when it is told.
    for (const auto& observer : std::vector(m_observers)) {
        if (observer.keyPath == "estimatedProgress")
            runGuarded(
                [&] { observer.object->observeValueForKeyPath(observer.keyPath, this, change, observer.context); });
    }
}

bool WKWebView::allowsLoad(const std::string& address)
{
    auto policy = WKNavigationActionPolicy::Allow;
    const WKNavigationAction action{ { .URL = NSURL::URLWithString(address) } };
    if (const auto delegate = m_navigationDelegate.respondingTo(&Methods::decidePolicyForNavigationAction))
        runGuarded([&] { policy = delegate->decidePolicyForNavigationAction(*this, action); });
    return policy == WKNavigationActionPolicy::Allow;
}

bool WKWebView::tellFailure(LoadStage failedIn, const NSError& error)
{
    const bool hasPage = failedIn == LoadStage::Committed;
    const auto delegate = m_navigationDelegate.respondingTo(
        hasPage ? &Methods::didFailNavigation : &Methods::didFailProvisionalNavigation);
    if (!delegate)
        return false;
    runGuarded([&] {
        if (hasPage)
            delegate->didFailNavigation(*this, {}, error);
        else
            delegate->didFailProvisionalNavigation(*this, {}, error);
    });
    return true;
}

void WKWebView::loadIsReplaced(LoadStage stage)
{
    m_replacedLoads.push_back(stage);
    dispatchToMain([weak = weak_from_this()] {
        if (const auto self = weak.lock())
            self->tellOfReplacedLoads();
    });
}

void WKWebView::tellOfReplacedLoads()
{
    for (const auto stage : std::exchange(m_replacedLoads, {}))
        tellFailure(stage, urlError(NSURLErrorCancelled, "Another page was asked for before this one had arrived."));
}

} // namespace tq
