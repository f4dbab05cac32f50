#pragma once

#include "../Foundation/Export.h"
#include "../Foundation/NSTypes.h"
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

/// Follows the loads of a view. Every method is optional; all run on the main thread.
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
    /// for its host, in every view, while the process runs.
    virtual void didReceiveAuthenticationChallenge(
        WKWebView& webView, const NSURLAuthenticationChallenge& challenge, ChallengeCompletion completion);

    /// The process that ran the view's page has ended: it crashed, was killed, or took too much memory. The page is
    /// gone, its dialogs with it, and its calls get no answer; the view can load a page again, from within this call
    /// too.
    virtual void webViewWebContentProcessDidTerminate(WKWebView& webView);

    /// @cond
    // Which of the methods a class has.
    struct Methods {
        bool didStartProvisionalNavigation = false;
        bool didReceiveAuthenticationChallenge = false;
        bool webViewWebContentProcessDidTerminate = false;
    };
    template <class Delegate> static constexpr Methods methodsOf()
    {
        using Protocol = WKNavigationDelegate;
        return {
            .didStartProvisionalNavigation = implements<DidStartProvisionalNavigation, Delegate, Protocol>(),
            .didReceiveAuthenticationChallenge = implements<DidReceiveAuthenticationChallenge, Delegate, Protocol>(),
            .webViewWebContentProcessDidTerminate = implements<DidTerminate, Delegate, Protocol>(),
        };
    }
    /// @endcond

private:
    template <class T> using DidStartProvisionalNavigation = decltype(&T::didStartProvisionalNavigation);
    template <class T> using DidReceiveAuthenticationChallenge = decltype(&T::didReceiveAuthenticationChallenge);
    template <class T> using DidTerminate = decltype(&T::webViewWebContentProcessDidTerminate);
};

} // namespace tq
