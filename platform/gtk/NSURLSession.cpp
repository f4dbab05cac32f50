#include "../Foundation/NSURLSession.h"

#include "CurlTransfer.h"
#include "GLibPointers.h"

#include <mutex>
#include <thread>
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

bool holdsCertificate(const std::string& pem)
{
    const GObjectPointer<GTlsCertificate> first(
        g_tls_certificate_new_from_pem(pem.data(), static_cast<gssize>(pem.size()), nullptr));
    return first != nullptr;
}

} // namespace

std::string NSHTTPURLResponse::description() const
{
    return "{ URL: " + URL + " } { Status Code: " + std::to_string(statusCode) + " }";
}

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

struct NSURLSession::Impl {
    std::shared_ptr<NSURLSessionDelegate> delegate;
    std::shared_ptr<NSOperationQueue> queue;
    OptionalText extraTrustAnchors;
};

struct NSURLSession::DataTask::Impl {
    std::shared_ptr<NSURLSessionDelegate> delegate;
    std::shared_ptr<NSOperationQueue> queue;
    OptionalText extraTrustAnchors;
    NSMutableURLRequest request;
    NSURLCompletion completion;

    TransferOutcome transfer() const { return performTransfer(request, extraTrustAnchors); }
    void complete(TransferOutcome outcome)
    {
        if (auto done = std::exchange(completion, nullptr); done && !outcome.isAbandoned)
            done(std::move(outcome.data), outcome.response, outcome.error);
        delegate.reset();
    }
};

NSURLSession::NSURLSession(std::shared_ptr<Impl> impl)
    : m_impl(std::move(impl))
{
}

std::shared_ptr<NSURLSession> NSURLSession::sessionWithConfiguration(const NSURLSessionConfiguration& configuration,
    std::shared_ptr<NSURLSessionDelegate> delegate, std::shared_ptr<NSOperationQueue> queue)
{
    return std::shared_ptr<NSURLSession>(new NSURLSession(
        std::make_shared<Impl>(Impl{ std::move(delegate), std::move(queue), configuration.extraTrustAnchors() })));
}

NSURLSession::DataTask NSURLSession::dataTaskWithRequest(NSMutableURLRequest request, NSURLCompletion completion)
{
    return DataTask(std::make_shared<DataTask::Impl>(DataTask::Impl{
        m_impl->delegate, m_impl->queue, m_impl->extraTrustAnchors, std::move(request), std::move(completion) }));
}

void NSURLSession::finishTasksAndInvalidate() { m_impl->delegate.reset(); }

NSURLSession::DataTask::DataTask(std::shared_ptr<Impl> impl)
    : m_impl(std::move(impl))
{
}

void NSURLSession::DataTask::resume()
{
    // A queue off the main thread makes the transfer itself; the main one must not wait for it.
    if (!m_impl->queue->isMainQueue()) {
        m_impl->queue->addOperation([impl = m_impl] { impl->complete(impl->transfer()); });
        return;
    }
    std::thread([impl = m_impl]() mutable {
        auto outcome = impl->transfer();
        auto& queue = *impl->queue;
        queue.addOperation([impl = std::move(impl), outcome = std::move(outcome)] { impl->complete(outcome); });
    }).detach();
}

} // namespace tq
