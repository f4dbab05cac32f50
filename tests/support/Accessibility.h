#pragma once

#include "Program.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

typedef struct _GDBusConnection GDBusConnection; // NOLINT(bugprone-reserved-identifier): the toolkit's own name

namespace tq::test {

/// A widget, or a part of a page, as a screen reader meets it.
struct AccessibleNode {
    std::string name;
    std::string description;
    std::string role;
    bool isFocusable = false;
    bool isFocused = false;
    /// Whether it has a place in its window.
    bool isShown = false;
    /// In its window, see `mostMisplaced`.
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    std::vector<AccessibleNode> children;

    /// The nodes below this one, and itself, that the test holds for.
    std::vector<const AccessibleNode*> find(const std::function<bool(const AccessibleNode&)>& test) const;
    /// The names of all of them in one text, for a failure's message.
    std::string outline(int depth = 0) const;
};

/// How much further right than they are the toolkit tells nodes to be, at most.
int mostMisplaced();

/// What screen readers read over: a bus of the test's own, for programs that are started while it lives.
class AccessibilityBus {
public:
    /// @param folder where the bus has its address.
    explicit AccessibilityBus(const std::string& folder);
    ~AccessibilityBus();
    AccessibilityBus(const AccessibilityBus&) = delete;
    AccessibilityBus& operator=(const AccessibilityBus&) = delete;

    /// All that is there now: the programs, their windows and what is in them.
    AccessibleNode read() const;
    /// Waits until the test holds for some node on the screen, or for none; fails the test when the bound is reached
    /// first.
    void waitFor(
        const std::string& what, const std::function<bool(const AccessibleNode&)>& test, bool isThere = true) const;

private:
    std::unique_ptr<Program> m_daemon;
    std::shared_ptr<GDBusConnection> m_connection;
};

} // namespace tq::test
