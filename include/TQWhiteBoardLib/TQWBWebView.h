#pragma once

#include "DWKWebView.h"
#include "TQWBPermissionProtocol.h"
#include "TQWBRecordProtocol.h"
#include "TQWBRoomStatusProtocol.h"
#include "platform/UIKit/UIProgressView.h"

#include <memory>

namespace tq {

class PageWatcher;
class TQWBBridge;

/// Which certificates the servers of a view may have: those that are good for the system or the extra trust anchors,
/// and those that the navigation delegate accepts; or every one.
enum class AcceptedCertificates : bool { Good, Every };

/// The view in which a room's page runs. Make it, put it in a window, set its delegates and hand it to a
/// `TQWhiteBoard`. Main thread only.
///
/// Once made, the view lives until its page reports that the room was quit or has failed, even when the application
/// lets go of it, and even when it never shows a page. Where the page cannot say so, `close` ends that.
class TQWB_EXPORT TQWBWebView final : public DWKWebView, public WKNavigationDelegate {
public:
    /// @param frame the view is always wider than tall: the sides are swapped when they are not. On GTK it is a wish
    /// only: the window that the view is placed in gives it its size.
    /// @param configuration altered in place; scripts that it held are dropped. Absent: the default one.
    /// @returns a view that lives on by itself, see the class: one that is not used, or whose room is not joined, has
    /// to be closed. Absent when there is no display.
    static std::shared_ptr<TQWBWebView> initWithFrame(
        CGRect frame, std::shared_ptr<WKWebViewConfiguration> configuration);
    /// For `initWithFrame`.
    explicit TQWBWebView(Token);
    ~TQWBWebView() override;

    /// Ends the page without asking it, and lets the view go when the application drops it: for a view that was never
    /// used, for a join or a replay that has failed, and for a window that closes with a room still in it. (Nobody
    /// leaves the room by that: it is the facade's quit that tells the service.) The page's script, timers and
    /// connections end at the next turn of the main loop; nothing is loaded into the view any more; no delegate is
    /// called, nor a callback of `callHandler` that still waits: those are let go of (typed ones are told so). Main
    /// thread, at any time: more than once, before the first page, and within calls of the page and of delegates.
    void close() { end(); }

    /// From the next load on, the view accepts certificates as one does that is its own navigation delegate, whoever
    /// the delegate is. Every certificate is a choice for networks that are trusted.
    void setAcceptedCertificates(AcceptedCertificates accepted) { m_acceptedCertificates = accepted; }

    /// Delegates are held weakly and set by their own class; a null pointer of that class, in a variable,
    /// takes one away.
    template <DelegateOf<TQWBRoomStatusProtocol> Delegate>
    void setRoomStatusDelegate(const std::shared_ptr<Delegate>& delegate)
    {
        m_roomStatusDelegate.set(delegate);
    }
    /// A temporary would be gone at once, since nobody else holds it: keep the delegate, and give that.
    template <DelegateOf<TQWBRoomStatusProtocol> Delegate>
    void setRoomStatusDelegate(const std::shared_ptr<Delegate>&& delegate) = delete;
    /// As `setRoomStatusDelegate`.
    template <DelegateOf<TQWBRecordProtocol> Delegate> void setRecordDelegate(const std::shared_ptr<Delegate>& delegate)
    {
        m_recordDelegate.set(delegate);
    }
    /// A temporary would be gone at once, since nobody else holds it: keep the delegate, and give that.
    template <DelegateOf<TQWBRecordProtocol> Delegate>
    void setRecordDelegate(const std::shared_ptr<Delegate>&& delegate) = delete;
    /// As `setRoomStatusDelegate`.
    template <DelegateOf<TQWBPermissionProtocol> Delegate>
    void setPermisssionDelegate(const std::shared_ptr<Delegate>& delegate)
    {
        m_permisssionDelegate.set(delegate);
    }
    /// A temporary would be gone at once, since nobody else holds it: keep the delegate, and give that.
    template <DelegateOf<TQWBPermissionProtocol> Delegate>
    void setPermisssionDelegate(const std::shared_ptr<Delegate>&& delegate) = delete;
    /// Absent when none was set or it is gone.
    std::shared_ptr<TQWBRoomStatusProtocol> roomStatusDelegate() const { return m_roomStatusDelegate.get(); }
    /// Absent when none was set or it is gone.
    std::shared_ptr<TQWBRecordProtocol> recordDelegate() const { return m_recordDelegate.get(); }
    /// Absent when none was set or it is gone.
    std::shared_ptr<TQWBPermissionProtocol> permisssionDelegate() const { return m_permisssionDelegate.get(); }

    /// The thin bar that shows how far the page has loaded.
    const std::shared_ptr<UIProgressView>& progressView() const { return m_progressView; }
    /// Moves another bar from now on; it does not become part of the view by that. Absent: none.
    void setProgressView(std::shared_ptr<UIProgressView> progressView) { m_progressView = std::move(progressView); }

    // The view as its own navigation delegate, which it is only when the application makes it so: the bar comes back
    // for every load, and every server certificate is accepted, those of the servers that the page itself asks
    // included; nothing of the pages is kept but in memory then. Other challenges are left without an answer.
    void didStartProvisionalNavigation(WKWebView& webView, const WKNavigation& navigation) override;
    void didReceiveAuthenticationChallenge(
        WKWebView& webView, const NSURLAuthenticationChallenge& challenge, ChallengeCompletion completion) override;

    void observeValueForKeyPath(
        std::string_view keyPath, NSObject* object, const boost::json::object& change, void* context) override;

    /// @cond
    // Told what the page says of itself, after the delegates. Held weakly.
    void setPageWatcher(std::weak_ptr<PageWatcher> watcher) { m_pageWatcher = std::move(watcher); }
    /// @endcond

private:
    friend class TQWBBridge;

    void initialize(CGRect frame, std::shared_ptr<WKWebViewConfiguration> configuration) override;
    void end() override;
    bool acceptsEveryCertificate() const override;
    void addProgressView();

    WeakDelegate<TQWBRoomStatusProtocol> m_roomStatusDelegate;
    WeakDelegate<TQWBRecordProtocol> m_recordDelegate;
    WeakDelegate<TQWBPermissionProtocol> m_permisssionDelegate;
    // Held by the registry of native objects.
    std::weak_ptr<TQWBBridge> m_bridge;
    std::shared_ptr<UIProgressView> m_progressView;
    std::weak_ptr<PageWatcher> m_pageWatcher;
    AcceptedCertificates m_acceptedCertificates = AcceptedCertificates::Good;
};

} // namespace tq
