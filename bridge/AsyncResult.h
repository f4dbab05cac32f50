#pragma once

#include "platform/Foundation/NSStream.h"
#include "platform/Foundation/NSTypes.h"

#include <atomic>
#include <mutex>
#include <string>
#include <string_view>

namespace tq {

/// The results of one asynchronous page call while they are being delivered, and the result of the call itself.
class AsyncResult : public ResultSink {
public:
    /// @param takesReasons whether the page has asked for more than the plain results can say: why there is none, and
    /// whether the first one is the last.
    explicit AsyncResult(bool takesReasons)
        : m_takesReasons(takesReasons)
    {
    }

    void deliver(OptionalValue value, Complete complete) final;
    /// The page gets no value, for the last time.
    void end() final;
    /// The same, without an effect on the message. A page that expects no reasons, and has had results, takes what it
    /// has got for all.
    void abandon() final;
    /// A page that expects no reasons is called as by `end`.
    void fail(std::string reason) final;
    bool isAbandoned() const final { return m_isAbandoned; }

    /// Nobody waits any more.
    void giveUp() { m_isAbandoned = true; }

    /// The result message as it stands.
    std::string message() const;

protected:
    bool takesReasons() const { return m_takesReasons; }

private:
    /// Sends a result message to the page. Any thread.
    /// @param reason in a word, why it has no value; else empty.
    virtual void send(std::string&& resultMessage, std::string_view reason, Complete complete) = 0;

    const bool m_takesReasons;
    mutable std::mutex m_mutex;
    // How many results there have been; the end without one is none.
    int m_results = 0;
    bool m_hasBegun = false;
    // The last of them was the last one.
    bool m_isLast = false;
    // The last value of all results so far.
    OptionalValue m_data;
    // Why there are no more.
    OptionalText m_failure;
    std::atomic<bool> m_isAbandoned = false;
};

/// The function of a page that receives the results of an asynchronous call.
struct PageCallback {
    /// Its name, which may be anything.
    std::string name;
    /// Whether the page takes reasons: by a second parameter of the function.
    bool takesReasons = false;
};

/// Results that a script brings to a function of the page.
class ScriptResult : public AsyncResult {
public:
    explicit ScriptResult(PageCallback callback);

private:
    void send(std::string&& resultMessage, std::string_view reason, Complete complete) final;
    /// Queues a script for the page. Any thread.
    virtual void queueScript(std::string_view script) = 0;

    const std::string m_callback;
    const bool m_isCallable;
};

} // namespace tq
