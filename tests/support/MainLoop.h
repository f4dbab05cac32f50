#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace tq::test {

/// Runs the main loop until the condition holds. Fails the test, naming what it waited for, when the bound is reached.
bool runUntil(const std::function<bool()>& condition, std::string_view what,
    std::chrono::seconds bound = std::chrono::seconds(30));

/// Runs what is due on the main loop now, without waiting.
void runPending();

/// Gives the main loop one turn, which waits for something to do if it may.
enum class Waiting { No, Yes };
void runTurn(Waiting);

/// The longest time for which the main loop had no turn for its drawing, while one of these exists.
class StallMeter {
public:
    using Milliseconds = std::chrono::duration<double, std::milli>;
    StallMeter();
    StallMeter(const StallMeter&) = delete;
    StallMeter& operator=(const StallMeter&) = delete;

    /// Reported as well, since a reader wants to know more than that it is below a limit.
    Milliseconds longest(const std::string& what);

private:
    void tick();

    std::chrono::steady_clock::time_point m_last = std::chrono::steady_clock::now();
    Milliseconds m_longest{};
    std::shared_ptr<void> m_ticks;
};

} // namespace tq::test
