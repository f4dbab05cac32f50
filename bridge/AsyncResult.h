#pragma once

#include "platform/Foundation/NSStream.h"
#include "platform/Foundation/NSTypes.h"

#include <mutex>
#include <string>
#include <string_view>

namespace tq {

/// The result of one asynchronous page call while it is being delivered, and the result of the call itself.
class AsyncResult : public ResultSink {
public:
    /// @param callbackName the page's function that receives the results.
    explicit AsyncResult(std::string callbackName);

    /// Queues the script that carries the result to the page.
    void deliver(OptionalValue value, Complete complete) final;
    /// The page's function is called without a value, for the last time.
    void end() final;

    /// The result message as it stands.
    std::string message() const;

    /// Whether a script may safely call a function of this name: identifiers of ASCII letters, digits, "_" and "$",
    /// joined by dots, the first of them no reserved word.
    static bool isCallable(std::string_view callbackName);

private:
    void queue(std::string_view resultMessage, Complete complete);
    /// Queues a script for the page. Any thread.
    virtual void queueScript(std::string_view script) = 0;

    const std::string m_callbackName;
    mutable std::mutex m_mutex;
    boost::json::value m_result;
};

} // namespace tq
