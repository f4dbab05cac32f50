#include "../Foundation/NSURLSessionConfiguration.h"

#include "../Foundation/Certificates.h"

#include <mutex>
#include <utility>

namespace tq {

namespace {

struct TrustAnchors {
    std::mutex mutex;
    OptionalText pem;
};

TrustAnchors& trustAnchors()
{
    static auto& anchors = *new TrustAnchors;
    return anchors;
}

} // namespace

NSURLSessionConfiguration& NSURLSessionConfiguration::defaultSessionConfiguration()
{
    static auto& configuration = *new NSURLSessionConfiguration;
    return configuration;
}

bool NSURLSessionConfiguration::setExtraTrustAnchors(OptionalText pem)
{
    if (pem && !holdsCertificate(*pem))
        return false;
    const std::lock_guard lock(trustAnchors().mutex);
    trustAnchors().pem = std::move(pem);
    return true;
}

OptionalText NSURLSessionConfiguration::extraTrustAnchors() const
{
    const std::lock_guard lock(trustAnchors().mutex);
    return trustAnchors().pem;
}

} // namespace tq
