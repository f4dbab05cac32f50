#pragma once

#include "NSError.h"
#include "NSOperationQueue.h"
#include "NSTypes.h"
#include "NSURLRequest.h"
#include "NSURLSessionConfiguration.h"

#include <functional>
#include <memory>
#include <optional>

namespace tq {

/// The outcome of a transfer: the answer's body and its head (both absent after an error), and the error (absent when
/// none happened). An answer that breaks off is an error, and so is a body longer than the request allows.
using NSURLCompletion = std::function<void(
    OptionalText data, const std::optional<NSHTTPURLResponse>& response, const std::optional<NSError>& error)>;

/// Makes transfers over HTTP and HTTPS. A redirection is followed within the same origin only; one that leads elsewhere
/// is an error, so that headers and body never travel to another host.
class NSURLSession {
public:
    /// One transfer.
    class DataTask {
    public:
        /// Starts it. The completion runs once, on the session's queue, never inside this call.
        void resume();

    private:
        friend class NSURLSession;
        struct Impl;
        explicit DataTask(std::shared_ptr<Impl> impl);
        std::shared_ptr<Impl> m_impl;
    };

    /// @param delegate held until the session has been invalidated and its last task is done.
    /// @param queue runs the completions.
    static std::shared_ptr<NSURLSession> sessionWithConfiguration(const NSURLSessionConfiguration& configuration,
        std::shared_ptr<NSURLSessionDelegate> delegate, std::shared_ptr<NSOperationQueue> queue);

    /// Makes a transfer, which waits for its `resume`. Any thread.
    DataTask dataTaskWithRequest(NSMutableURLRequest request, NSURLCompletion completion);
    /// No more tasks; the session ends with those it has.
    void finishTasksAndInvalidate();

private:
    struct Impl;
    explicit NSURLSession(std::shared_ptr<Impl> impl);
    std::shared_ptr<Impl> m_impl;
};

} // namespace tq
