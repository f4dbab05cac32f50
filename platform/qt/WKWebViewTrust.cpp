#include "../Foundation/Certificates.h"
#include "../Foundation/LateAnswer.h"
#include "../Foundation/NSURLSessionConfiguration.h"
#include "EnginePage.h"
#include "ServerTrust.h"

#include <utility>

namespace tq {

bool holdsCertificate(const std::string& pem)
{
    return !QSslCertificate::fromData(QByteArray::fromStdString(pem), QSsl::Pem).isEmpty();
}

namespace {

constexpr auto kChallengeMethod = &WKNavigationDelegate::Methods::didReceiveAuthenticationChallenge;

} // namespace

void WKWebView::Impl::certificateFailed(QWebEngineCertificateError error)
{
    const EngineCall call(view);
    const auto chain = error.certificateChain();
    if (call.isTooLate() || hasEnded || chain.isEmpty())
        return error.rejectCertificate();
    const SecTrust trust{ error.url().host(), chain.first() };
    if (profileKind.acceptsEveryCertificate || AcceptedCertificates::contains(trust))
        return error.acceptCertificate();
    error.defer();
    const auto anchors = NSURLSessionConfiguration::defaultSessionConfiguration().extraTrustAnchors();
    if (!anchors)
        return askForTrust(error, trust);
    checkServer(error.url(), trust, *anchors, [weak = view.weak_from_this(), error, trust](bool isGood) mutable {
        const auto self = weak.lock();
        if (isGood) {
            AcceptedCertificates::add(trust);
            error.acceptCertificate();
        } else if (self) {
            self->m_impl->askForTrust(error, trust);
        } else {
            error.rejectCertificate();
        }
    });
}

// About the page itself alone.
void WKWebView::Impl::askForTrust(QWebEngineCertificateError error, const SecTrust& trust)
{
    const EngineCall call(view);
    const auto delegate = view.m_navigationDelegate.respondingTo(kChallengeMethod);
    const auto requested = page ? page->requestedUrl() : QUrl();
    const bool isPages = loadStage == LoadStage::Provisional && requested.host() == error.url().host()
        && requested.port() == error.url().port();
    if (call.isTooLate() || hasEnded || !delegate || !isPages)
        return error.rejectCertificate();
    using Decision = LateAnswer<std::shared_ptr<SecTrust>>;
    auto decision = std::make_shared<Decision>(
        [error](const std::shared_ptr<SecTrust>& accepted) mutable {
            if (!accepted)
                return error.rejectCertificate();
            AcceptedCertificates::add(*accepted);
            error.acceptCertificate();
        },
        nullptr);
    const NSURLAuthenticationChallenge challenge{ { NSURLAuthenticationMethodServerTrust, trust.host.toStdString(),
        std::make_shared<SecTrust>(trust) } };
    auto completion = [decision](NSURLSessionAuthChallengeDisposition disposition,
                          const std::optional<NSURLCredential>& credential) {
        const bool isAccepted = disposition == NSURLSessionAuthChallengeDisposition::UseCredential && credential;
        decision->answer(isAccepted ? credential->trust : nullptr);
    };
    decision.reset();
    runGuarded([&] { delegate->didReceiveAuthenticationChallenge(view, challenge, std::move(completion)); });
}

// The engine wants its answer at once, and asks again and again unless it gets an empty one.
void WKWebView::Impl::authenticate(std::string_view method, const QUrl& url, QAuthenticator& authenticator)
{
    const EngineCall call(view);
    authenticator = QAuthenticator();
    const auto delegate = view.m_navigationDelegate.respondingTo(kChallengeMethod);
    if (call.isTooLate() || hasEnded || !delegate)
        return;
    const NSURLAuthenticationChallenge challenge{ { method, url.host().toStdString(), nullptr } };
    runGuarded([&] { delegate->didReceiveAuthenticationChallenge(view, challenge, [](auto&&...) {}); });
}

} // namespace tq
