#include "../Foundation/Dispatch.h"
#include "../Foundation/LateAnswer.h"
#include "../Foundation/NSURLSessionConfiguration.h"
#include "NavigationErrors.h"
#include "WKWebViewImpl.h"

#include <algorithm>
#include <utility>

namespace tq {

namespace {

std::string hostOf(const char* uri)
{
    const auto url = NSURL::URLWithString(uri);
    return url ? url->host() : "";
}

// Whether the certificate is good under the extra anchors alone.
bool isTrustedByExtraAnchors(GTlsCertificate* certificate, const std::string& host)
{
    const auto anchors = NSURLSessionConfiguration::defaultSessionConfiguration().extraTrustAnchors();
    if (!anchors)
        return false;
    const GObjectPointer<GSocketConnectable> identity(g_network_address_new(host.c_str(), 443));
    // The text is known to hold certificates, one after another.
    constexpr std::string_view kEnd = "-----END CERTIFICATE-----";
    std::string_view rest(*anchors);
    for (auto end = rest.find(kEnd); end != std::string_view::npos; end = rest.find(kEnd)) {
        end += kEnd.size();
        const GObjectPointer<GTlsCertificate> anchor(
            g_tls_certificate_new_from_pem(rest.data(), static_cast<gssize>(end), nullptr));
        if (anchor && g_tls_certificate_verify(certificate, identity.get(), anchor.get()) == G_TLS_CERTIFICATE_NO_FLAGS)
            return true;
        rest.remove_prefix(end);
    }
    return false;
}

std::string_view methodOf(WebKitAuthenticationScheme scheme)
{
    switch (scheme) {
    case WEBKIT_AUTHENTICATION_SCHEME_SERVER_TRUST_EVALUATION_REQUESTED:
        return NSURLAuthenticationMethodServerTrust;
    case WEBKIT_AUTHENTICATION_SCHEME_HTTP_DIGEST:
        return NSURLAuthenticationMethodHTTPDigest;
    case WEBKIT_AUTHENTICATION_SCHEME_CLIENT_CERTIFICATE_REQUESTED:
    case WEBKIT_AUTHENTICATION_SCHEME_CLIENT_CERTIFICATE_PIN_REQUESTED:
        return NSURLAuthenticationMethodClientCertificate;
    default:
        return NSURLAuthenticationMethodHTTPBasic;
    }
}

// For the views that accept every certificate: what comes by them is nobody's, and is kept nowhere.
WebKitNetworkSession* acceptingSession()
{
    static auto* const s_session = [] {
        auto* session = webkit_network_session_new_ephemeral();
        webkit_network_session_set_tls_errors_policy(session, WEBKIT_TLS_ERRORS_POLICY_IGNORE);
        return session;
    }();
    return s_session;
}

bool acceptsAll(WebKitWebView* webView)
{
    return webkit_network_session_get_tls_errors_policy(webkit_web_view_get_network_session(webView))
        == WEBKIT_TLS_ERRORS_POLICY_IGNORE;
}

constexpr auto kChallengeMethod = &WKNavigationDelegate::Methods::didReceiveAuthenticationChallenge;

} // namespace

void WKWebView::Impl::load(const std::string& uri)
{
    isLeaving = true;
    requested = uri;
    cancelDialogs(TellView::Yes);
    certificates.reset();
    // The engine's view is not changed under the engine's feet.
    if (EngineCall::isUnderWay() && isSessionWrong()) {
        loadAgain(uri);
        return;
    }
    chooseSession();
    if (!NSURLSessionConfiguration::defaultSessionConfiguration().hasExtraTrustAnchors() || acceptsAll(webView)) {
        giveToEngine(uri);
        return;
    }
    loadStage = LoadStage::Waiting;
    // What is decided before the load needs no second one, and holds for what the page asks of elsewhere, too: nobody
    // is asked about the certificates of that.
    auto servers = expectedServers;
    servers.push_back(uri);
    certificates = std::make_unique<ServerCertificates>(
        servers,
        [this](const std::string& host, GTlsCertificate* certificate) {
            if (isTrustedByExtraAnchors(certificate, host))
                allow(host, certificate);
        },
        [this] {
            certificates.reset();
            giveToEngine(requested);
        });
}

bool WKWebView::Impl::isSessionWrong() const { return view.acceptsEveryCertificate() != acceptsAll(webView); }

// The engine's policy for certificates is that of a whole session, and a session is for the whole life of the engine's
// view: a view that changes its mind gets another one.
void WKWebView::Impl::chooseSession()
{
    if (!isSessionWrong())
        return;
    replaceEngineView(view.acceptsEveryCertificate() ? acceptingSession() : nullptr);
}

// At a later turn of the main loop, since the engine has not done with the failed load while it tells of it, and only
// if nothing else has been loaded by then.
void WKWebView::Impl::loadAgain(const std::string& uri)
{
    loadStage = LoadStage::Waiting;
    dispatchToMain([weak = view.weak_from_this(), uri, load = loads] {
        auto self = weak.lock();
        if (self && self->m_impl->loads == load)
            self->m_impl->load(uri);
    });
}

// Trusts the certificate for the host from now on.
void WKWebView::Impl::allow(const std::string& host, GTlsCertificate* certificate)
{
    if (!isAllowed(host, certificate))
        exceptions.push_back({ host, retained(certificate) });
    webkit_network_session_allow_tls_certificate_for_host(
        webkit_web_view_get_network_session(webView), certificate, host.c_str());
}

bool WKWebView::Impl::isAllowed(const std::string& host, GTlsCertificate* certificate) const
{
    return std::ranges::any_of(exceptions, [&](const Exception& exception) {
        return exception.host == host && g_tls_certificate_is_same(exception.certificate.get(), certificate);
    });
}

void WKWebView::Impl::allowAndLoad(const std::string& failingUri, const std::string& host, GTlsCertificate* certificate)
{
    allow(host, certificate);
    loadAgain(failingUri);
}

// The engine asks about the page itself alone. Of what the page asks elsewhere it tells when it has failed; the next
// try finds the certificate allowed.
void WKWebView::Impl::resourceLoadStarted(WebKitWebView*, WebKitWebResource* resource, WebKitURIRequest*, gpointer impl)
{
    using View = std::weak_ptr<WKWebView>;
    if (!NSURLSessionConfiguration::defaultSessionConfiguration().hasExtraTrustAnchors())
        return;
    g_signal_connect_data(
        resource, "failed-with-tls-errors",
        G_CALLBACK(+[](WebKitWebResource* failed, GTlsCertificate* certificate, GTlsCertificateFlags, gpointer weak) {
            const auto view = static_cast<View*>(weak)->lock();
            const auto host = hostOf(webkit_web_resource_get_uri(failed));
            if (view && isTrustedByExtraAnchors(certificate, host))
                view->m_impl->allow(host, certificate);
        }),
        new View(static_cast<Impl*>(impl)->view.weak_from_this()),
        [](gpointer weak, GClosure*) { delete static_cast<View*>(weak); }, GConnectFlags(0));
}

gboolean WKWebView::Impl::loadFailedWithTlsErrors(
    WebKitWebView*, const char* failingUri, GTlsCertificate* certificate, GTlsCertificateFlags, gpointer impl)
{
    const EngineCall call(impl);
    if (call.isTooLate())
        return TRUE;
    auto& self = call.impl();
    // An older load's.
    if (self.loadStage != LoadStage::Provisional)
        return TRUE;
    self.isLeaving = false;
    const auto host = hostOf(failingUri);
    // What was allowed and still fails would be loaded for ever.
    if (self.isAllowed(host, certificate))
        return FALSE;
    if (isTrustedByExtraAnchors(certificate, host)) {
        self.allowAndLoad(failingUri, host, certificate);
        return TRUE;
    }
    auto delegate = self.view.m_navigationDelegate.respondingTo(kChallengeMethod);
    if (!delegate)
        return FALSE;
    self.loadStage = LoadStage::Waiting;
    auto trust = std::make_shared<SecTrust>(certificate);
    const NSURLAuthenticationChallenge challenge{ { NSURLAuthenticationMethodServerTrust, host, trust } };
    // An answer that comes when another page has been asked for brings no old one back.
    using Decision = LateAnswer<std::shared_ptr<SecTrust>>;
    auto decision = std::make_shared<Decision>(
        [weak = self.view.weak_from_this(), uri = std::string(failingUri), host, load = self.loads](
            const std::shared_ptr<SecTrust>& accepted) {
            const auto view = weak.lock();
            if (!view)
                return;
            auto& impl = *view->m_impl;
            if (accepted && impl.loads == load)
                impl.allowAndLoad(uri, host, accepted->certificate.get());
            else if (accepted)
                impl.allow(host, accepted->certificate.get());
            else if (impl.loads == load)
                impl.refuseCertificate();
        },
        nullptr);
    auto completion = [decision](NSURLSessionAuthChallengeDisposition disposition,
                          const std::optional<NSURLCredential>& credential) {
        const bool isAccepted = disposition == NSURLSessionAuthChallengeDisposition::UseCredential && credential;
        decision->answer(isAccepted ? credential->trust : nullptr);
    };
    decision.reset();
    runGuarded([&] { delegate->didReceiveAuthenticationChallenge(self.view, challenge, std::move(completion)); });
    return TRUE;
}

// Nobody accepts the certificate of the load that waits for that.
void WKWebView::Impl::refuseCertificate()
{
    if (loadStage != LoadStage::Waiting)
        return;
    loadStage = LoadStage::None;
    view.tellFailure(LoadStage::Waiting,
        urlError(NSURLErrorServerCertificateUntrusted, "The certificate of the page's server was not accepted."));
}

gboolean WKWebView::Impl::authenticate(WebKitWebView*, WebKitAuthenticationRequest* request, gpointer impl)
{
    const EngineCall call(impl);
    // A view that goes asks nobody, by a dialog of the engine's neither.
    if (call.isTooLate())
        return TRUE;
    auto& self = call.impl();
    auto delegate = self.view.m_navigationDelegate.respondingTo(kChallengeMethod);
    if (!delegate)
        return FALSE;
    self.challenges.push_back(retained(request));
    const std::shared_ptr<WebKitAuthenticationRequest> held(retained(request));
    const NSURLAuthenticationChallenge challenge{ { methodOf(webkit_authentication_request_get_scheme(request)),
        webkit_authentication_request_get_host(request), nullptr } };
    auto completion = [held](NSURLSessionAuthChallengeDisposition disposition, const std::optional<NSURLCredential>&) {
        if (disposition == NSURLSessionAuthChallengeDisposition::CancelAuthenticationChallenge)
            webkit_authentication_request_cancel(held.get());
        else
            webkit_authentication_request_authenticate(held.get(), nullptr);
    };
    runGuarded([&] { delegate->didReceiveAuthenticationChallenge(self.view, challenge, completion); });
    return TRUE;
}

} // namespace tq
