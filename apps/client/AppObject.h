#pragma once

#include "platform/Foundation/NSObject.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <thread>

namespace tqclient {

/// The client's own native object, with which a page can try out its calls. The page's calls come on the main thread.
class AppObject final : public tq::NSObject {
public:
    ~AppObject() override;

    const tq::NSClass& objectClass() const override;

    /// Returns its argument.
    tq::OptionalValue echo(tq::OptionalValue argument);
    /// Always throws.
    tq::OptionalValue fail(tq::OptionalValue argument);
    /// Takes `{"count":N}` and answers 1 to N from a thread of its own, the N-th as the last. A count that is no whole
    /// number from 1 to 100000 is answered once, by an object with the member "error".
    void ticks(tq::OptionalValue argument, tq::NSCompletion completion);

private:
    struct Job {
        std::int64_t count;
        tq::NSCompletion completion;
    };

    void work(const std::stop_token& stop);

    std::mutex m_mutex;
    std::condition_variable_any m_wake;
    std::deque<Job> m_jobs;
    std::jthread m_worker;
};

} // namespace tqclient
