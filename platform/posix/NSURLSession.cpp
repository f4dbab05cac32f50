#include "../Foundation/NSURLSession.h"

#include "../Foundation/Dispatch.h"
#include "CurlTransfer.h"

#include <utility>

namespace tq {

std::string NSHTTPURLResponse::description() const
{
    return "{ URL: " + URL + " } { Status Code: " + std::to_string(statusCode) + " }";
}

struct NSURLSession::Impl {
    std::shared_ptr<NSURLSessionDelegate> delegate;
    std::shared_ptr<NSOperationQueue> queue;
    OptionalText extraTrustAnchors;
};

struct NSURLSession::DataTask::Impl {
    NSURLSession::Impl session;
    NSMutableURLRequest request;
    NSURLCompletion completion;

    // Whatever happens, there is an outcome.
    TransferOutcome transfer() const
    {
        TransferOutcome outcome{ .error = urlError(NSURLErrorUnknown, "The transfer could not be made.") };
        runGuarded([&] { outcome = performTransfer(request, session.extraTrustAnchors); });
        return outcome;
    }
    void complete(TransferOutcome&& outcome)
    {
        if (auto done = std::exchange(completion, nullptr); done)
            done(std::move(outcome.data), outcome.response, outcome.error);
        session.delegate.reset();
    }
    static void completeOnMain(std::shared_ptr<Impl> impl, TransferOutcome&& outcome)
    {
        dispatchToMain([impl = std::move(impl), held = std::make_shared<TransferOutcome>(std::move(outcome))] {
            impl->complete(std::move(*held));
        });
    }
};

NSURLSession::NSURLSession(std::shared_ptr<Impl> impl)
    : m_impl(std::move(impl))
{
}

std::shared_ptr<NSURLSession> NSURLSession::sessionWithConfiguration(const NSURLSessionConfiguration& configuration,
    std::shared_ptr<NSURLSessionDelegate> delegate, std::shared_ptr<NSOperationQueue> queue)
{
    startTransfers();
    return std::shared_ptr<NSURLSession>(new NSURLSession(
        std::make_shared<Impl>(Impl{ std::move(delegate), std::move(queue), configuration.extraTrustAnchors() })));
}

NSURLSession::DataTask NSURLSession::dataTaskWithRequest(NSMutableURLRequest request, NSURLCompletion completion)
{
    return DataTask(
        std::make_shared<DataTask::Impl>(DataTask::Impl{ *m_impl, std::move(request), std::move(completion) }));
}

void NSURLSession::finishTasksAndInvalidate() { m_impl->delegate.reset(); }

NSURLSession::DataTask::DataTask(std::shared_ptr<Impl> impl)
    : m_impl(std::move(impl))
{
}

void NSURLSession::DataTask::resume()
{
    const auto& queue = m_impl->session.queue;
    if (!queue->isMainQueue()) {
        queue->addOperation([impl = m_impl] { impl->complete(impl->transfer()); });
        return;
    }
    // The main queue must not wait for the transfer: another one makes it, if there is a thread for that.
    const auto worker = NSOperationQueue::create();
    if (worker->isMainQueue()) {
        Impl::completeOnMain(m_impl, { .error = urlError(NSURLErrorUnknown, "There is no thread for the transfer.") });
        return;
    }
    worker->addOperation([impl = m_impl]() mutable {
        auto outcome = impl->transfer();
        Impl::completeOnMain(std::move(impl), std::move(outcome));
    });
}

} // namespace tq
