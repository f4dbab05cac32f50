#pragma once

#include "../Foundation/Export.h"
#include "../Foundation/NSError.h"
#include "../Foundation/NSTypes.h"
#include "../Foundation/NSURLRequest.h"
#include "../Foundation/WeakDelegate.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace tq {

class WKWebView;

/// Whether the server is to be trusted.
inline constexpr std::string_view NSURLAuthenticationMethodServerTrust = "NSURLAuthenticationMethodServerTrust";
/// A name and a password, in clear.
inline constexpr std::string_view NSURLAuthenticationMethodHTTPBasic = "NSURLAuthenticationMethodHTTPBasic";
/// A name and a password, hashed.
inline constexpr std::string_view NSURLAuthenticationMethodHTTPDigest = "NSURLAuthenticationMethodHTTPDigest";
/// A certificate of the user.
inline constexpr std::string_view NSURLAuthenticationMethodClientCertificate
    = "NSURLAuthenticationMethodClientCertificate";

/// One load of a page; a mere token.
struct WKNavigation { };

/// A server's certificate, as the port keeps it.
class SecTrust;

/// Who asks to be trusted, or to be told who the user is.
struct NSURLProtectionSpace {
    /// One of the "NSURLAuthenticationMethod" names.
    std::string_view authenticationMethod;
    /// The server, without a port.
    std::string host;
    /// The certificate in question; absent unless the method is server trust.
    std::shared_ptr<SecTrust> serverTrust;
};

/// A question that a load cannot go on without an answer to.
struct NSURLAuthenticationChallenge {
    /// Who asks, and for what.
    NSURLProtectionSpace protectionSpace;
};

/// What becomes of the load that was challenged.
enum class NSURLSessionAuthChallengeDisposition {
    UseCredential = 0,
    PerformDefaultHandling = 1,
    CancelAuthenticationChallenge = 2
};

/// What answers a challenge.
struct NSURLCredential {
    /// The answer that trusts a certificate.
    static NSURLCredential initWithTrust(std::shared_ptr<SecTrust> trust) { return { std::move(trust) }; }

    /// The certificate that is trusted.
    std::shared_ptr<SecTrust> trust;
};

/// What the page wants to load.
struct WKNavigationAction {
    /// What would be loaded; without an address for an empty window.
    NSMutableURLRequest request;
};

/// What becomes of a load that a page may be left for.
enum class WKNavigationActionPolicy { Cancel = 0, Allow = 1 };

/// The head of a server's answer to a load of the page or of a frame in it.
struct WKNavigationResponse {
    /// Where the answer comes from; its status is 0 where HTTP has no part in it.
    NSHTTPURLResponse response;
    /// Whether the page itself is to be made of it, and not a frame.
    bool isForMainFrame = false;
    /// Whether the engine can show what comes.
    bool canShowMIMEType = false;
};

/// What becomes of an answer.
enum class WKNavigationResponsePolicy { Cancel = 0, Allow = 1 };

/// Follows the loads of a view. Every method is optional; all run on the main thread.
///
/// A load of the page ends in one of four ways: it has finished, it has failed before anything of the page was there,
/// it has failed while the page arrived, or the page's process has ended. One that another load takes the place of has
/// failed with `NSURLErrorCancelled`, which is no reason to load anything. The errors are of the domain
/// "NSURLErrorDomain" and carry a sentence in English or of the engine's. What the library repeats for itself (a
/// certificate that has been accepted, a load that the engine has lost) begins anew and has not failed.
///
/// A method may load another page, and may drop the last reference to the view.
class TQWB_EXPORT WKNavigationDelegate {
public:
    /// Answers a challenge; the credential is read only with `UseCredential`.
    using ChallengeCompletion
        = std::function<void(NSURLSessionAuthChallengeDisposition, std::optional<NSURLCredential>)>;

    virtual ~WKNavigationDelegate() = default;

    /// A load has begun.
    virtual void didStartProvisionalNavigation(WKWebView& webView, const WKNavigation& navigation);

    /// The page's server asks for a decision: its certificate is not trusted, or it wants to know the user. A class
    /// without this method gets the engine's own handling, which refuses untrusted certificates.
    /// @param completion may be kept and called later; the first answer counts. A certificate that is accepted stays so
    /// for its host, in every view, while the process runs. A load whose certificate is not accepted, by any other
    /// answer or by none, has failed with `NSURLErrorServerCertificateUntrusted`.
    virtual void didReceiveAuthenticationChallenge(
        WKWebView& webView, const NSURLAuthenticationChallenge& challenge, ChallengeCompletion completion);

    /// The page is to be left for another one, by a link, a script, an address that leads on or the application: before
    /// that one's server is asked, or, where the port's engine does not tell loads of frames from those of the page
    /// then (GTK's), when it has answered and nothing of it is shown. A class without this method allows everything.
    /// @returns at once what becomes of the load. One that is refused fails with `NSURLErrorCancelled`, and the page
    /// before stays.
    virtual WKNavigationActionPolicy decidePolicyForNavigationAction(
        WKWebView& webView, const WKNavigationAction& action);

    /// A server has begun to answer: what its status says, before anything of the body is shown. A class without this
    /// method gets what the engine does: it shows answers of every status, and refuses what it cannot show.
    /// @param decisionHandler may be kept and called later, on the main thread; the first answer counts. Dropped
    /// without an answer, the engine does as without this method. A load that is refused fails with
    /// `NSURLErrorCancelled`.
    virtual void decidePolicyForNavigationResponse(WKWebView& webView, const WKNavigationResponse& response,
        std::function<void(WKNavigationResponsePolicy)> decisionHandler);

    /// The page and what it is made of have arrived. (A page of an error status is a page, too.)
    virtual void didFinishNavigation(WKWebView& webView, const WKNavigation& navigation);

    /// A load has failed before anything of its page was there: a server that is not to be found or does not answer, a
    /// certificate that nobody accepts, an answer that cannot be shown or was refused. The page before stays. A class
    /// without this method gets a page of the engine's own that tells of the failure.
    virtual void didFailProvisionalNavigation(WKWebView& webView, const WKNavigation& navigation, const NSError& error);

    /// A load has failed while its page arrived: what there is of it stays. A class without this method gets a page of
    /// the engine's own. The engine does not notice that an
    /// answer over plain HTTP ends early: it takes that for the whole page.
    virtual void didFailNavigation(WKWebView& webView, const WKNavigation& navigation, const NSError& error);

    /// The process that ran the view's page has ended: it crashed, was killed, or took too much memory. The page is
    /// gone, its dialogs with it, and its calls get no answer; the view can load a page again, from within this call
    /// too.
    virtual void webViewWebContentProcessDidTerminate(WKWebView& webView);

    /// @cond
    // Which of the methods a class has.
    struct Methods {
        bool didStartProvisionalNavigation = false;
        bool didReceiveAuthenticationChallenge = false;
        bool decidePolicyForNavigationAction = false;
        bool decidePolicyForNavigationResponse = false;
        bool didFinishNavigation = false;
        bool didFailProvisionalNavigation = false;
        bool didFailNavigation = false;
        bool webViewWebContentProcessDidTerminate = false;
    };
    template <class Delegate> static constexpr Methods methodsOf()
    {
        using Protocol = WKNavigationDelegate;
        return {
            .didStartProvisionalNavigation = implements<DidStartProvisionalNavigation, Delegate, Protocol>(),
            .didReceiveAuthenticationChallenge = implements<DidReceiveAuthenticationChallenge, Delegate, Protocol>(),
            .decidePolicyForNavigationAction = implements<DecidePolicyForAction, Delegate, Protocol>(),
            .decidePolicyForNavigationResponse = implements<DecidePolicyForResponse, Delegate, Protocol>(),
            .didFinishNavigation = implements<DidFinishNavigation, Delegate, Protocol>(),
            .didFailProvisionalNavigation = implements<DidFailProvisionalNavigation, Delegate, Protocol>(),
            .didFailNavigation = implements<DidFailNavigation, Delegate, Protocol>(),
            .webViewWebContentProcessDidTerminate = implements<DidTerminate, Delegate, Protocol>(),
        };
    }
    /// @endcond

private:
    template <class T> using DidStartProvisionalNavigation = decltype(&T::didStartProvisionalNavigation);
    template <class T> using DidReceiveAuthenticationChallenge = decltype(&T::didReceiveAuthenticationChallenge);
    template <class T> using DecidePolicyForAction = decltype(&T::decidePolicyForNavigationAction);
    template <class T> using DecidePolicyForResponse = decltype(&T::decidePolicyForNavigationResponse);
    template <class T> using DidFinishNavigation = decltype(&T::didFinishNavigation);
    template <class T> using DidFailProvisionalNavigation = decltype(&T::didFailProvisionalNavigation);
    template <class T> using DidFailNavigation = decltype(&T::didFailNavigation);
    template <class T> using DidTerminate = decltype(&T::webViewWebContentProcessDidTerminate);
};

} // namespace tq
