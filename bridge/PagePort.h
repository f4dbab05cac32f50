#pragma once

#include "AsyncResult.h"
#include "OpenCalls.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace tq {

/// The way back to a page half that calls without stopping its page: results go to it in batches, one at a time, and
/// in order. What is added while one is under way travels in the next. Made and closed on the main thread; results come
/// from any.
class PagePort : public std::enable_shared_from_this<PagePort> {
public:
    /// Runs a script in the page, and says when that is over or is not to be. Main thread.
    using Evaluate = std::function<void(const std::string& script, std::function<void()> over)>;

    /// @param receiver the function of the page that takes batches. @param isFull called on the main thread, once, when
    /// the page has not taken 256 MiB of results: the port is closed then.
    PagePort(const std::string& receiver, Evaluate evaluate, std::function<void()> isFull);

    /// What a call that has failed comes to, where others have a map.
    static constexpr std::string_view kFailure = "null";

    class Result;
    /// Makes what takes the results of the call of that number.
    std::shared_ptr<Result> makeResult(std::int64_t call);
    /// Nobody in the page waits for that call's results any more.
    void giveUp(std::int64_t call);
    /// Adds a result, for the next batch. Any thread.
    void add(std::int64_t call, Complete complete, std::string&& resultMessage);

    /// Answers a message with what there is for the page until now. @param reply is given the batch.
    template <class Reply> void answer(const Reply& reply)
    {
        const auto script = takeBatch(newMark());
        reply(std::string_view(script).substr(m_head.size()));
    }
    /// Sends it at a later turn of the main loop.
    void flushSoon();
    /// The next result of a call that the page was told to fetch; absent where there is none.
    OptionalText fetch(std::int64_t call);
    /// Whether the page has read the last answer, of which this is the mark.
    bool isLastMark(std::string_view mark) const { return mark == m_mark; }
    /// A new mark, which nobody can know who has not read it.
    const std::string& newMark();

    /// The page has gone: nothing reaches anybody any more.
    void close();

private:
    // The engine carries nothing as fast as the answer to a prompt, which is worth the page's waiting for what is as
    // long as this: it is ready to be handed over.
    static constexpr std::size_t kLarge = 256UL * 1024;
    static constexpr std::size_t kMostUnsent = 256UL * 1024 * 1024;

    void forget();
    void flush();
    std::string takeBatch(std::string_view mark);

    // What a script begins with that gives a batch to the page; the batch follows.
    const std::string m_head;
    const Evaluate m_evaluate;
    const std::function<void()> m_isFull;
    std::string m_mark;
    bool m_isEvaluating = false;
    OpenCalls m_calls;

    std::mutex m_mutex;
    // The script as far as it is written; empty where there is nothing for the page.
    std::string m_script;
    // Results that the page is to fetch, by call.
    std::unordered_map<std::int64_t, std::deque<std::string>> m_large;
    std::size_t m_largeSize = 0;
    std::uint64_t m_batches = 0;
    bool m_isFlushDue = false;
    bool m_isClosed = false;
};

/// Results that a port brings. What comes while the method is being called belongs to the answer of the message.
class PagePort::Result final : public AsyncResult {
public:
    Result(std::shared_ptr<PagePort> port, std::int64_t call);

    /// The method has returned.
    void hasBeenCalled();
    /// The method has failed, and whatever it has sent, or will, reaches nobody.
    void hasFailed();

private:
    enum class State { BeingCalled, Called, Failed };

    void send(std::string&& resultMessage, std::string_view reason, Complete complete) override;

    const std::shared_ptr<PagePort> m_port;
    const std::int64_t m_call;
    std::mutex m_mutex;
    State m_state = State::BeingCalled;
    std::vector<std::pair<Complete, std::string>> m_early;
};

} // namespace tq
