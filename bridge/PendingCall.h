#pragma once

#include "TQWhiteBoardLib/PageFunction.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <unordered_map>

namespace tq {

/// A call of a page function that is not over.
struct PendingCall {
    PageReplyCallback callback;
    /// Whether the callback wants to hear of the end without an answer: a page or a process that has gone, a page that
    /// must not be called, a time limit. If not, the call waits as long as the view lives.
    bool settles = false;
    /// Whether it has left the startup queue.
    bool isSent = false;
};

/// Which calls are to be over by when, with one timer for all of them. Main thread.
class CallDeadlines : public std::enable_shared_from_this<CallDeadlines> {
public:
    /// @param due is called for each call when its time has come.
    explicit CallDeadlines(std::function<void(std::int32_t call)> due)
        : m_due(std::move(due))
    {
    }

    void add(std::int32_t call, std::chrono::milliseconds limit);
    /// The call has no limit any more.
    void remove(std::int32_t call);

private:
    using Clock = std::chrono::steady_clock;

    void schedule();

    const std::function<void(std::int32_t)> m_due;
    std::multimap<Clock::time_point, std::int32_t> m_calls;
    std::unordered_map<std::int32_t, decltype(m_calls)::iterator> m_places;
    // When the timer that counts fires.
    std::optional<Clock::time_point> m_timer;
};

} // namespace tq
