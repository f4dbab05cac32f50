#pragma once

// Operations of the library for C++20 coroutines. Optional: `TQWhiteBoardLib.h` does not include it.

#include "DWKWebView.h"
#include "TQWBRoom.h"
#include "TQWhiteBoard.h"
#include "platform/Foundation/Dispatch.h"

// Up to its release 14, clang has coroutines under an older name, which the C++ library does not offer.
#if defined(__clang__) && !defined(__cpp_impl_coroutine)
#define __cpp_impl_coroutine 201902L // NOLINT(bugprone-reserved-identifier): the compiler's own name
#include <coroutine>
#if !defined(__cpp_lib_coroutine)
#error "Include <TQWhiteBoardLib/Coroutines.h> before <coroutine>"
#endif
namespace std::experimental { // where this compiler looks for them
using std::coroutine_handle;
using std::coroutine_traits;
}
#else
#include <coroutine>
#endif

#include <concepts>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace tq {

/// @cond
/// What every coroutine of a `Task` has in common: who waits for it, and what becomes of it when its task goes.
class TaskPromiseBase {
public:
    TaskPromiseBase() = default;
    TaskPromiseBase(const TaskPromiseBase&) = delete;
    TaskPromiseBase& operator=(const TaskPromiseBase&) = delete;
    ~TaskPromiseBase()
    {
        if (!m_exception)
            return;
        // Nobody has taken it.
        try {
            std::rethrow_exception(m_exception);
        } catch (...) {
            logCurrentException();
        }
    }

    /// Whether the task has gone while the coroutine was running.
    bool isAbandoned() const { return m_isAbandoned; }
    /// Says that the coroutine is about to wait. @returns false when it is to be destroyed instead.
    bool suspend() { return m_isSuspended = !m_isAbandoned; }
    void resumed() { m_isSuspended = false; }

    // What the language asks for.
    std::suspend_never initial_suspend() const noexcept { return {}; }
    auto final_suspend() const noexcept { return AtEnd(); }
    void unhandled_exception() { m_exception = std::current_exception(); }

protected:
    void rethrow()
    {
        if (m_exception)
            std::rethrow_exception(std::exchange(m_exception, nullptr));
    }

private:
    template <class T> friend class Task;

    struct AtEnd {
        bool await_ready() const noexcept { return false; }
        template <class Promise>
        std::coroutine_handle<> await_suspend(std::coroutine_handle<Promise> self) const noexcept
        {
            auto& promise = self.promise();
            const auto next = promise.m_continuation ? promise.m_continuation : std::noop_coroutine();
            if (promise.m_isAbandoned || promise.m_isDetached)
                self.destroy();
            else
                promise.m_isSuspended = true;
            return next;
        }
        void await_resume() const noexcept { }
    };

    std::coroutine_handle<> m_continuation;
    std::exception_ptr m_exception;
    bool m_isSuspended = false;
    bool m_isAbandoned = false;
    bool m_isDetached = false;
};

template <class T> class TaskPromise : public TaskPromiseBase {
public:
    template <class Value> void return_value(Value&& value) { m_value.emplace(std::forward<Value>(value)); }
    T take()
    {
        rethrow();
        return std::move(*m_value);
    }

private:
    std::optional<T> m_value;
};

template <> class TaskPromise<void> : public TaskPromiseBase {
public:
    void return_void() const { }
    void take() { rethrow(); }
};
/// @endcond

/// Work that is under way: what a coroutine returns. It runs at once, as far as its first `co_await`, and on the main
/// thread, where it is to be called.
///
/// The work lasts as long as its task: when that goes, the coroutine is destroyed where it waits, with all that it
/// holds, and what it has waited for reaches nobody. (A coroutine that lets go of its own task goes at its next
/// `co_await`.) An exception that leaves the coroutine reaches the one that awaits the task; if there is none, the log.
template <class T = void> class [[nodiscard]] Task {
public:
    /// @cond
    struct promise_type : TaskPromise<T> {
        Task get_return_object() { return Task(std::coroutine_handle<promise_type>::from_promise(*this)); }
    };

    /// @endcond

    /// The work goes on under the new task.
    Task(Task&& other) noexcept
        : m_coroutine(std::exchange(other.m_coroutine, nullptr))
    {
    }
    /// The work that was under way ends where it is.
    Task& operator=(Task&& other) noexcept
    {
        Task old(std::move(*this));
        m_coroutine = std::exchange(other.m_coroutine, nullptr);
        return *this;
    }
    ~Task() { drop(); }

    /// Whether it has come to its end.
    bool isDone() const { return !m_coroutine || (m_coroutine.promise().m_isSuspended && m_coroutine.done()); }
    /// Lets the work come to its end without a task.
    void detach() &&
    {
        if (!isDone())
            std::exchange(m_coroutine, nullptr).promise().m_isDetached = true;
    }

    /// @cond
    /// What awaits the end of a task; the work is part of the waiting one then.
    class Waiting {
    public:
        explicit Waiting(Task&& task)
            : m_task(std::move(task))
        {
        }
        bool await_ready() const noexcept { return m_task.isDone(); }
        template <std::derived_from<TaskPromiseBase> Promise>
        void await_suspend(std::coroutine_handle<Promise> coroutine)
        {
            if (!coroutine.promise().suspend()) {
                coroutine.destroy();
                return;
            }
            m_waiting = &coroutine.promise();
            m_task.m_coroutine.promise().m_continuation = coroutine;
        }
        T await_resume()
        {
            if (m_waiting)
                m_waiting->resumed();
            return m_task.m_coroutine.promise().take();
        }

    private:
        Task m_task;
        TaskPromiseBase* m_waiting = nullptr;
    };
    /// @endcond
    /// Waits for the end: `co_await visit(room)`, or `co_await std::move(task)`.
    Waiting operator co_await() && { return Waiting(std::move(*this)); }

private:
    explicit Task(std::coroutine_handle<promise_type> coroutine)
        : m_coroutine(coroutine)
    {
    }
    void drop()
    {
        if (!m_coroutine)
            return;
        auto& promise = m_coroutine.promise();
        if (promise.m_isSuspended) {
            m_coroutine.destroy();
            return;
        }
        promise.m_isAbandoned = true;
        promise.m_continuation = nullptr;
    }

    std::coroutine_handle<promise_type> m_coroutine;
};

/// @cond
/// A coroutine that waits for a result. Known to the main thread, except for the result on its way there.
template <class Result> struct AwaitedResult {
    std::optional<Result> result;
    /// None when nobody waits any more.
    std::coroutine_handle<> coroutine;
};

/// Where the callbacks of an operation leave its result: the first one counts. When they have all gone and left none,
/// there will be none. Any thread, one at a time.
template <class Result> class ResultTaker {
public:
    /// @param missing stands for the result that does not come.
    ResultTaker(std::shared_ptr<AwaitedResult<Result>> awaited, Result missing)
        : m_awaited(std::move(awaited))
        , m_missing(std::move(missing))
    {
    }
    ResultTaker(const ResultTaker&) = delete;
    ResultTaker& operator=(const ResultTaker&) = delete;
    ~ResultTaker() { take(std::move(m_missing)); }

    /// The coroutine goes on with it at a later turn of the main loop.
    void take(Result result)
    {
        if (!m_awaited)
            return;
        m_awaited->result.emplace(std::move(result));
        dispatchToMain([awaited = std::move(m_awaited)] {
            if (const auto coroutine = std::exchange(awaited->coroutine, nullptr))
                coroutine.resume();
        });
    }

private:
    std::shared_ptr<AwaitedResult<Result>> m_awaited;
    Result m_missing;
};

/// @endcond

/// An operation that a coroutine of a `Task` awaits, in the expression that makes it. It starts then, and the coroutine
/// goes on with the result on the main thread, never before that has come back to its loop. When the coroutine is
/// destroyed meanwhile, the operation takes its course, and its result reaches nobody.
template <class Result> class [[nodiscard]] Operation {
public:
    /// Starts the operation, with callbacks that hold the taker.
    using Start = std::function<void(const std::shared_ptr<ResultTaker<Result>>& taker)>;

    /// @cond
    Operation(Start start, Result missing)
        : m_start(std::move(start))
        , m_missing(std::move(missing))
    {
    }
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;
    ~Operation()
    {
        if (m_awaited)
            m_awaited->coroutine = nullptr;
    }

    bool await_ready() const noexcept { return false; }
    template <std::derived_from<TaskPromiseBase> Promise> void await_suspend(std::coroutine_handle<Promise> coroutine)
    {
        auto& promise = coroutine.promise();
        if (!promise.isAbandoned()) {
            m_awaited = std::make_shared<AwaitedResult<Result>>();
            m_start(std::make_shared<ResultTaker<Result>>(m_awaited, std::move(m_missing)));
            m_awaited->coroutine = coroutine;
            m_promise = &promise;
        }
        if (!promise.suspend())
            coroutine.destroy();
    }
    Result await_resume()
    {
        m_promise->resumed();
        return std::move(*m_awaited->result);
    }
    /// @endcond

private:
    Start m_start;
    Result m_missing;
    std::shared_ptr<AwaitedResult<Result>> m_awaited;
    TaskPromiseBase* m_promise = nullptr;
};

/// How an operation of a `TQWhiteBoard` has ended.
struct TQWBOutcome {
    /// Whether the success callback was the one that ran.
    bool isSuccess = false;
    /// Of a failure, as the error callback gets them.
    NSUInteger code = 0;
    /// Of a failure; absent when the service sent none.
    OptionalText text;

    /// Whether it was a success.
    explicit operator bool() const { return isSuccess; }
};

/// Awaits an operation with a success and an error callback.
/// @param start takes the two.
template <std::invocable<TQWBSuccess, TQWBFailure> Start> Operation<TQWBOutcome> awaitOutcome(Start start)
{
    return Operation<TQWBOutcome>(
        [start = std::move(start)](const auto& taker) {
            start(
                [taker] {
                    taker->take(TQWBOutcome{ true, 0, std::nullopt });
                },
                [taker](NSUInteger code, const OptionalText& text) {
                    taker->take(TQWBOutcome{ false, code, text });
                });
        },
        TQWBOutcome{ false, 0, "no result will come" });
}

/// `co_await tq::join(board, config)`: see `TQWhiteBoard::joinWithConfig`.
inline Operation<TQWBOutcome> join(TQWhiteBoard& board, std::shared_ptr<TQWBRoomConfig> config)
{
    return awaitOutcome([&board, config = std::move(config)](TQWBSuccess success, TQWBFailure error) {
        board.joinWithConfig(config, std::move(success), std::move(error));
    });
}

/// `co_await tq::replay(board, config)`: see `TQWhiteBoard::playWithConfig`.
inline Operation<TQWBOutcome> replay(TQWhiteBoard& board, std::shared_ptr<TQWBRecordConfig> config)
{
    return awaitOutcome([&board, config = std::move(config)](TQWBSuccess success, TQWBFailure error) {
        board.playWithConfig(config, std::move(success), std::move(error));
    });
}

/// `co_await tq::quit(board)`: see `TQWhiteBoard::quitWhiteBoard`.
inline Operation<TQWBOutcome> quit(TQWhiteBoard& board)
{
    return awaitOutcome([&board](TQWBSuccess success, TQWBFailure error) {
        board.quitWhiteBoard(std::move(success), std::move(error));
    });
}

/// `co_await room.enter(config)`, `co_await room.leave()`: see `TQWBRoom`. A room that is dropped meanwhile counts as
/// cancelled. Make the record beforehand: g++ 12 destroys twice what a `co_await` expression has between braces.
inline Operation<TQWBRoomOutcome> operator co_await(TQWBRoomStep step)
{
    return Operation<TQWBRoomOutcome>(
        [step = std::move(step)](
            const auto& taker) { step.await([taker](const TQWBRoomOutcome& outcome) { taker->take(outcome); }); },
        TQWBRoomOutcome{
            TQWBError{ TQWBErrorCategory::Cancelled, TQWBRoomCodeCancelled, "The room was dropped before it came." } });
}

/// `co_await tq::callHandler<int>(view, "sum", 3, 4)`, or with a time limit
/// `co_await tq::callHandler<int>(view, { "sum", std::chrono::seconds(5) }, 3, 4)`: the first answer of a page
/// function, or an error, see `DWKWebView::callHandler`.
template <AnswerType T, JSONWritable... Arguments>
Operation<Answer<T>> callHandler(DWKWebView& view, PageFunction function, Arguments&&... arguments)
{
    const auto missing = function.name + ": no answer will come";
    return Operation<Answer<T>>(
        [&view, function = std::move(function), list = jsonList(std::forward<Arguments>(arguments)...)](
            const auto& taker) {
            view.callPageFunction(function, list, PageReplyCallback([name = function.name, taker](PageReply reply) {
                taker->take(Answer<T>::read(name, std::move(reply)));
            }));
        },
        Answer<T>{ std::nullopt, missing });
}

} // namespace tq
