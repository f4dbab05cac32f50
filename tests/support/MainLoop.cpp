#include "MainLoop.h"

#include <glib.h>
#include <gtest/gtest.h>

namespace tq::test {

bool runUntil(const std::function<bool()>& condition, std::string_view what, std::chrono::seconds bound)
{
    const auto deadline = std::chrono::steady_clock::now() + bound;
    // Conditions may come true on another thread, which wakes nobody: look again every few milliseconds at least.
    const auto tick = g_timeout_add(
        5, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
    bool holds = condition();
    while (!holds && std::chrono::steady_clock::now() < deadline) {
        g_main_context_iteration(nullptr, TRUE);
        holds = condition();
    }
    g_source_remove(tick);
    EXPECT_TRUE(holds) << "waited in vain until " << what;
    return holds;
}

void runPending()
{
    while (g_main_context_iteration(nullptr, FALSE)) { }
}

} // namespace tq::test
