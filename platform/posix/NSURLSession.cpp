#include "../Foundation/NSURLSession.h"

#include "../Foundation/Dispatch.h"
#include "../gtk/GLibPointers.h"
#include "BackgroundWork.h"
#include "CurlErrors.h"
#include "CurlTransfer.h"

#include <mutex>
#include <system_error>
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

bool NSURLSessionConfiguration::hasExtraTrustAnchors() const
{
    const std::lock_guard lock(trustAnchors().mutex);
    return trustAnchors().pem.has_value();
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

    // Whatever happens, there is an outcome.
    TransferOutcome transfer() const
    {
        TransferOutcome outcome{ .error = transferError(NSURLErrorUnknown, "The transfer could not be made.") };
        runGuarded([&] { outcome = performTransfer(request, extraTrustAnchors); });
        return outcome;
    }
    void complete(TransferOutcome&& outcome)
    {
        if (auto done = std::exchange(completion, nullptr); done)
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
    auto deliver = [](std::shared_ptr<Impl> impl, TransferOutcome&& outcome) {
        auto& queue = *impl->queue;
        auto held = std::make_shared<TransferOutcome>(std::move(outcome));
        queue.addOperation([impl = std::move(impl), held] { impl->complete(std::move(*held)); });
    };
    try {
        std::thread([impl = m_impl, deliver]() mutable {
            const BackgroundWork work;
            auto outcome = impl->transfer();
            deliver(std::move(impl), std::move(outcome));
        }).detach();
    } catch (const std::system_error& error) {
        deliver(m_impl, { .error = transferError(NSURLErrorUnknown, error.what()) });
    }
}

} // namespace tq
