#include "tests/support/Accessibility.h"

#include "platform/Foundation/Releaser.h"
#include "tests/support/MainLoop.h"

#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <gtk/gtk.h>
#include <stdexcept>

namespace tq::test {

namespace {

constexpr int kCallMilliseconds = 10000;
constexpr int kDeepest = 60;
constexpr guint kInWindow = 1;
// Places in a node's set of states.
constexpr unsigned kFocusable = 11;
constexpr unsigned kFocused = 12;
constexpr const char* kNode = "org.a11y.atspi.Accessible";

using Value = std::unique_ptr<GVariant, Releaser<g_variant_unref>>;

// Where a node is.
struct Place {
    GDBusConnection* connection;
    std::string program;
    std::string path;

    Value call(const char* interface, const char* method, GVariant* arguments = nullptr) const
    {
        // What went away meanwhile has no answer.
        return Value(g_dbus_connection_call_sync(connection, program.c_str(), path.c_str(), interface, method,
            arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, kCallMilliseconds, nullptr, nullptr));
    }
    std::string textOf(const char* property) const
    {
        const auto answer = call("org.freedesktop.DBus.Properties", "Get", g_variant_new("(ss)", kNode, property));
        if (!answer)
            return {};
        const Value boxed(g_variant_get_child_value(answer.get(), 0));
        const Value text(g_variant_get_variant(boxed.get()));
        return g_variant_is_of_type(text.get(), G_VARIANT_TYPE_STRING) ? g_variant_get_string(text.get(), nullptr) : "";
    }
};

AccessibleNode readNode(const Place& at, int depth, bool isShown)
{
    AccessibleNode node;
    node.name = at.textOf("Name");
    node.description = at.textOf("Description");
    if (const auto role = at.call(kNode, "GetRoleName")) {
        const char* text = nullptr;
        g_variant_get(role.get(), "(&s)", &text);
        node.role = text;
    }
    if (const auto states = at.call(kNode, "GetState")) {
        const Value words(g_variant_get_child_value(states.get(), 0));
        guint32 word = 0;
        if (g_variant_n_children(words.get()) > 0)
            g_variant_get_child(words.get(), 0, "u", &word);
        node.isFocusable = word & (1U << kFocusable);
        node.isFocused = word & (1U << kFocused);
    }
    if (const auto place = at.call("org.a11y.atspi.Component", "GetExtents", g_variant_new("(u)", kInWindow)))
        g_variant_get(place.get(), "((iiii))", &node.x, &node.y, &node.width, &node.height);
    // Oldest toolkits do not say so. Programs are not on the screen, their windows are.
    constexpr int kWindowDepth = 2;
    node.isShown = isShown && (depth < kWindowDepth || (node.width > 0 && node.height > 0));
    const auto children = depth < kDeepest ? at.call(kNode, "GetChildren") : nullptr;
    if (!children)
        return node;
    GVariantIter* each = nullptr;
    g_variant_get(children.get(), "(a(so))", &each);
    const char* program = nullptr;
    const char* path = nullptr;
    while (g_variant_iter_next(each, "(&s&o)", &program, &path))
        node.children.push_back(readNode({ at.connection, program, path }, depth + 1, node.isShown));
    g_variant_iter_free(each);
    return node;
}

} // namespace

// Newer toolkits count the padding of a node, but forget that of what it is in.
int mostMisplaced() { return gtk_check_version(4, 10, 0) ? 0 : 30; }

std::vector<const AccessibleNode*> AccessibleNode::find(const std::function<bool(const AccessibleNode&)>& test) const
{
    std::vector<const AccessibleNode*> found;
    if (test(*this))
        found.push_back(this);
    for (const auto& child : children) {
        const auto below = child.find(test);
        found.insert(found.end(), below.begin(), below.end());
    }
    return found;
}

std::string AccessibleNode::outline(int depth) const
{
    auto text = std::string(static_cast<std::size_t>(depth) * 2, ' ') + role + " \"" + name + "\" "
        + (isFocusable ? "focusable " : "") + (isFocused ? "focused " : "") + (isShown ? "" : "hidden ")
        + std::to_string(x) + "," + std::to_string(y) + " " + std::to_string(width) + "x" + std::to_string(height)
        + "\n";
    for (const auto& child : children)
        text += child.outline(depth + 1);
    return text;
}

AccessibilityBus::AccessibilityBus(const std::string& folder)
{
    const auto address = "unix:path=" + folder + "/accessibility";
    // Without a screen nobody is told of this bus but those who are given its address. What the bus starts looks for
    // it, and for a desktop's session, which it is not to wait for.
    m_daemon = std::make_unique<Program>(std::vector<std::string>{ "/usr/bin/env", "-u", "DISPLAY", "dbus-daemon",
                                             "--config-file=/usr/share/defaults/at-spi2/accessibility.conf", "--nofork",
                                             "--nopidfile", "--print-address", "--address=" + address },
        folder + "/accessibility.log",
        Program::Environment{ { "AT_SPI_BUS_ADDRESS", address }, { "DBUS_SESSION_BUS_ADDRESS", address } });
    m_daemon->waitForLine(address);
    const auto flags = static_cast<GDBusConnectionFlags>(
        G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    auto* connection = g_dbus_connection_new_for_address_sync(address.c_str(), flags, nullptr, nullptr, nullptr);
    if (!connection)
        throw std::runtime_error("the accessibility bus did not start; is at-spi2-core installed?");
    m_connection = { connection, g_object_unref };
    g_dbus_connection_set_exit_on_close(connection, FALSE);
    setenv("AT_SPI_BUS_ADDRESS", address.c_str(), 1);
    unsetenv("GTK_A11Y");
}

AccessibilityBus::~AccessibilityBus()
{
    setenv("GTK_A11Y", "none", 1);
    unsetenv("AT_SPI_BUS_ADDRESS");
    m_connection.reset();
    m_daemon->end(SIGTERM);
}

AccessibleNode AccessibilityBus::read() const
{
    return readNode({ m_connection.get(), "org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root" }, 0, true);
}

void AccessibilityBus::waitFor(
    const std::string& what, const std::function<bool(const AccessibleNode&)>& test, bool isThere) const
{
    const auto isShown = [&](const AccessibleNode& node) { return node.isShown && test(node); };
    AccessibleNode all;
    // The tree tells of its changes only in part.
    const auto holds = [&] {
        all = read();
        return all.find(isShown).empty() != isThere;
    };
    if (!runUntil(holds, what + (isThere ? " is there" : " is gone")))
        ADD_FAILURE() << all.outline();
}

} // namespace tq::test
