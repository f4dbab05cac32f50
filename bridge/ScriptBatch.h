#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>

namespace tq {

/// Collects the scripts that deliver asynchronous results, so that the page is asked to evaluate at most about once
/// every 50 ms however many there are. Any thread.
class ScriptBatch {
public:
    /// Asks for a flush after so many milliseconds.
    using RequestFlush = std::function<void(std::int32_t delay)>;
    using Evaluate = std::function<void(std::string_view script)>;

    /// Adds a script and asks for a flush if none is on its way: at once when the last one is at least 50 ms ago.
    /// @param now milliseconds since 1970. @param requestFlush is called under the batch's lock.
    void append(std::string_view script, std::uint64_t now, const RequestFlush& requestFlush);

    /// Evaluates everything collected as one script; does nothing when there is nothing.
    /// @param evaluate is called under the batch's lock.
    void flush(std::uint64_t now, const Evaluate& evaluate);

    /// The clock of `append` and `flush`.
    static std::uint64_t milliseconds();

private:
    // Recursive: a script evaluation may come back to the batch on the same thread.
    std::recursive_mutex m_mutex;
    std::uint64_t m_lastCallTime = 0;
    std::string m_jsCache;
    bool m_isPending = false;
    // A flush without delay has been asked for and has not run: no need to ask again for every further script.
    bool m_isDue = false;
};

} // namespace tq
