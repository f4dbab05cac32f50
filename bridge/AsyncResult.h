#pragma once

#include "platform/Foundation/NSStream.h"
#include "platform/Foundation/NSTypes.h"

#include <mutex>
#include <string>
#include <string_view>

namespace tq {

/// The function of a page that receives the results of an asynchronous call.
struct PageCallback {
    /// Its name, which may be anything.
    std::string name;
    /// Whether the page has asked to be told of results that cannot be written: by a second parameter, the reason.
    bool takesReasons = false;
};

/// The result of one asynchronous page call while it is being delivered, and the result of the call itself.
class AsyncResult : public ResultSink {
public:
    explicit AsyncResult(PageCallback callback);

    /// Queues the script that carries the result to the page.
    void deliver(OptionalValue value, Complete complete) final;
    /// The page's function is called without a value, for the last time.
    void end() final;
    /// The same, without an effect on the message. A page that expects no reasons, and has had results, takes what it
    /// has got for all.
    void abandon() final;

    /// The result message as it stands.
    std::string message() const;
    /// Whether there has been a result, or the end.
    bool hasBegun() const;

private:
    void queue(std::string_view resultMessage, Complete complete);
    /// Queues a script for the page. Any thread.
    virtual void queueScript(std::string_view script) = 0;

    const PageCallback m_callback;
    const bool m_isCallable;
    mutable std::mutex m_mutex;
    bool m_hasBegun = false;
    // The last value of all results so far.
    OptionalValue m_data;
};

} // namespace tq
