#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>

namespace tq {

class AsyncResult;

/// The asynchronous calls of a page whose results somebody may still wait for. Main thread.
class OpenCalls {
public:
    void add(std::int64_t call, const std::shared_ptr<AsyncResult>& result);
    /// Nobody waits for that call any more.
    void giveUp(std::int64_t call);
    /// Nobody waits for any.
    void giveUpAll();

private:
    std::unordered_map<std::int64_t, std::weak_ptr<AsyncResult>> m_results;
    // How many there may be before those that have gone are looked for.
    std::size_t m_most = 64;
};

} // namespace tq
