#pragma once

#include <chrono>
#include <functional>
#include <string_view>

namespace tq::test {

/// Runs the main loop until the condition holds. Fails the test, naming what it waited for, when the bound is reached.
bool runUntil(const std::function<bool()>& condition, std::string_view what,
    std::chrono::seconds bound = std::chrono::seconds(30));

/// Runs what is due on the main loop now, without waiting.
void runPending();

} // namespace tq::test
