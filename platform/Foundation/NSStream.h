#pragma once

#include "Export.h"
#include "NSConversion.h"
#include "NSTypes.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace tq {

/// Whether more results of the same call will follow.
enum class Complete : bool { No, Yes };

/// Where the results of one asynchronous call go. Any thread, one at a time.
class TQWB_EXPORT ResultSink {
public:
    ResultSink() = default;
    ResultSink(const ResultSink&) = delete;
    ResultSink& operator=(const ResultSink&) = delete;
    virtual ~ResultSink();

    /// Takes one result; absent leaves the value of the previous one in place.
    virtual void deliver(OptionalValue value, Complete complete) = 0;
    /// Ends the call without a further result.
    virtual void end() = 0;
    /// Ends a call whose completion has gone before it had a last result.
    virtual void abandon() = 0;
    /// Ends the call without a further result, and says why.
    virtual void fail(std::string reason) = 0;
    /// Whether nobody waits for results any more.
    virtual bool isAbandoned() const = 0;
};

/// Hands a result of an asynchronous native method to the page. It may be called any number of times and from any
/// thread (not from two threads at once); absent leaves the value of the previous result in place. When its last copy
/// goes before there was a last result, the call ends without one.
using NSCompletion = std::function<void(OptionalValue value, Complete complete)>;

/// Makes the completion of a call. Not for applications.
TQWB_EXPORT NSCompletion completionOf(std::shared_ptr<ResultSink> sink);

/// What a typed method sends the results of an asynchronous call by: the last parameter of such a method. Keep
/// it, and call it from any thread, but not from two at once. Copies are the same stream; when the last of them goes
/// and nobody has finished it, it ends without a further result.
///
/// A function that fails with an exception before it has kept its stream ends it by that, too.
template <class T> class Stream {
public:
    /// What is sent.
    using Value = T;

    /// What the library makes it of. Not for applications.
    explicit Stream(std::shared_ptr<ResultSink> sink)
        : m_state(std::make_shared<State>(std::move(sink)))
    {
    }

    /// Sends a result that others will follow. After the end it does nothing. A page that falls 256 MiB of results
    /// behind is ended: send no faster than it takes them.
    void send(T value) const
    {
        if (!m_state->isOver)
            m_state->sink->deliver(boost::json::value_from(std::move(value)), Complete::No);
    }
    /// Sends the last result.
    void finish(T value) const
    {
        if (!m_state->isOver)
            m_state->sink->deliver(boost::json::value_from(std::move(value)), Complete::Yes);
        m_state->isOver = true;
    }
    /// Ends the stream; what was sent last was the last result.
    void finish() const { m_state->end(); }
    /// Ends the stream, since there can be no further result.
    /// @param reason for the page, which gets it as the message of an error: what may be read there.
    void fail(std::string reason) const
    {
        if (!std::exchange(m_state->isOver, true))
            m_state->sink->fail(std::move(reason));
    }
    /// Whether nobody waits for results any more: the page has given the call up, or has gone (a reload makes another
    /// page), or the view has. Work for the stream may stop then; nothing else changes. Any thread. (A page that calls
    /// by prompts is not known to have given up before it goes.)
    bool isAbandoned() const { return m_state->sink->isAbandoned(); }

private:
    struct State {
        explicit State(std::shared_ptr<ResultSink> newSink)
            : sink(std::move(newSink))
        {
        }
        State(const State&) = delete;
        State& operator=(const State&) = delete;
        ~State() { end(); }
        void end()
        {
            if (!std::exchange(isOver, true))
                sink->end();
        }

        const std::shared_ptr<ResultSink> sink;
        bool isOver = false;
    };

    std::shared_ptr<State> m_state;
};

} // namespace tq
