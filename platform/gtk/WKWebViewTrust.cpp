#include "../Foundation/Dispatch.h"
#include "../Foundation/NSURLSession.h"
#include "WKWebViewImpl.h"

#include <algorithm>
#include <utility>

namespace tq {

namespace {

std::string hostOf(const char* uri)
{
    const GUriPointer parsed(g_uri_parse(uri, G_URI_FLAGS_PARSE_RELAXED, nullptr));
    const char* host = parsed ? g_uri_get_host(parsed.get()) : nullptr;
    return host ? host : "";
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

constexpr auto kChallengeMethod = &WKNavigationDelegate::Methods::didReceiveAuthenticationChallenge;

} // namespace

// At a later turn of the main loop, since the engine has not done with the failed load while it tells of it, and only
// if nothing else has been loaded by then.
void WKWebView::Impl::loadAgain(const std::string& uri)
{
    dispatchToMain([weak = view.weak_from_this(), uri, load = loads] {
        auto self = weak.lock();
        if (self && self->m_impl->loads == load)
            self->m_impl->load(uri);
    });
}

// Trusts the certificate for the host from now on, and loads again.
void WKWebView::Impl::allow(const std::string& failingUri, const std::string& host, GTlsCertificate* certificate)
{
    exceptions.push_back({ host, retained(certificate) });
    webkit_network_session_allow_tls_certificate_for_host(
        webkit_web_view_get_network_session(webView), certificate, host.c_str());
    loadAgain(failingUri);
}

// The engine now and then takes its own refusal of a certificate for a connection that somebody cancelled, and then
// asks nobody about the certificate. (A load that really is cancelled fails with an error of the engine's own.)
gboolean WKWebView::Impl::loadFailed(
    WebKitWebView*, WebKitLoadEvent, const char* failingUri, const GError* error, gpointer impl)
{
    const EngineCall call(impl);
    auto& self = call.impl();
    self.isLeaving = false;
    if (call.isTooLate() || !g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED) || self.repeats == kMostRepeats)
        return FALSE;
    ++self.repeats;
    self.loadAgain(failingUri);
    return TRUE;
}

gboolean WKWebView::Impl::loadFailedWithTlsErrors(
    WebKitWebView*, const char* failingUri, GTlsCertificate* certificate, GTlsCertificateFlags, gpointer impl)
{
    const EngineCall call(impl);
    if (call.isTooLate())
        return FALSE;
    auto& self = call.impl();
    self.isLeaving = false;
    const auto host = hostOf(failingUri);
    // What was allowed and still fails would be loaded for ever.
    if (std::ranges::any_of(self.exceptions, [&](const Exception& exception) {
            return exception.host == host && g_tls_certificate_is_same(exception.certificate.get(), certificate);
        }))
        return FALSE;
    if (isTrustedByExtraAnchors(certificate, host)) {
        self.allow(failingUri, host, certificate);
        return TRUE;
    }
    auto delegate = self.view.m_navigationDelegate.respondingTo(kChallengeMethod);
    if (!delegate)
        return FALSE;
    auto trust = std::make_shared<SecTrust>(certificate);
    const NSURLAuthenticationChallenge challenge{ { NSURLAuthenticationMethodServerTrust, host, trust } };
    auto completion = [weak = self.view.weak_from_this(), uri = std::string(failingUri), host,
                          isAnswered = std::make_shared<bool>(false)](NSURLSessionAuthChallengeDisposition disposition,
                          const std::optional<NSURLCredential>& credential) {
        // The first answer counts.
        const auto view = std::exchange(*isAnswered, true) ? nullptr : weak.lock();
        if (view && disposition == NSURLSessionAuthChallengeDisposition::UseCredential && credential
            && credential->trust)
            view->m_impl->allow(uri, host, credential->trust->certificate.get());
    };
    runGuarded([&] { delegate->didReceiveAuthenticationChallenge(self.view, challenge, completion); });
    return TRUE;
}

gboolean WKWebView::Impl::authenticate(WebKitWebView*, WebKitAuthenticationRequest* request, gpointer impl)
{
    const EngineCall call(impl);
    if (call.isTooLate())
        return FALSE;
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
