#include "tests/support/Accessibility.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <gtk/gtk.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace tq::test {

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kBound = std::chrono::seconds(30);
constexpr auto kPause = std::chrono::milliseconds(20);
constexpr int kCallMilliseconds = 10000;
constexpr int kDeepest = 60;
constexpr guint kInWindow = 1;
// Places in a node's set of states.
constexpr unsigned kFocusable = 11;
constexpr unsigned kFocused = 12;
constexpr const char* kNode = "org.a11y.atspi.Accessible";

std::shared_ptr<GVariant> owned(GVariant* value)
{
    return { value, [](GVariant* held) {
                if (held)
                    g_variant_unref(held);
            } };
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
    const auto addressWord = "--address=" + address;
    m_daemon = fork();
    if (!m_daemon) {
        // Without a screen nobody is told of this bus but those who are given its address.
        unsetenv("DISPLAY");
        // What the bus starts looks for it, and for a desktop's session, which it is not to wait for.
        setenv("AT_SPI_BUS_ADDRESS", address.c_str(), 1);
        setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
        execlp("dbus-daemon", "dbus-daemon", "--config-file=/usr/share/defaults/at-spi2/accessibility.conf", "--nofork",
            "--nopidfile", addressWord.c_str(), nullptr);
        _exit(127);
    }
    const auto end = Clock::now() + kBound;
    while (!m_connection && Clock::now() < end) {
        const auto flags = static_cast<GDBusConnectionFlags>(
            G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
        auto* connection = g_dbus_connection_new_for_address_sync(address.c_str(), flags, nullptr, nullptr, nullptr);
        if (connection)
            m_connection = { connection, g_object_unref };
        else
            std::this_thread::sleep_for(kPause); // nobody says when the address is there
    }
    if (!m_connection)
        throw std::runtime_error("the accessibility bus did not start; is at-spi2-core installed?");
    g_dbus_connection_set_exit_on_close(m_connection.get(), FALSE);
    setenv("AT_SPI_BUS_ADDRESS", address.c_str(), 1);
    unsetenv("GTK_A11Y");
}

AccessibilityBus::~AccessibilityBus()
{
    setenv("GTK_A11Y", "none", 1);
    unsetenv("AT_SPI_BUS_ADDRESS");
    m_connection.reset();
    kill(m_daemon, SIGTERM);
    waitpid(m_daemon, nullptr, 0);
}

std::shared_ptr<GVariant> AccessibilityBus::call(const std::string& program, const std::string& path,
    const char* interface, const char* method, GVariant* arguments) const
{
    // What went away meanwhile has no answer.
    return owned(g_dbus_connection_call_sync(m_connection.get(), program.c_str(), path.c_str(), interface, method,
        arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, kCallMilliseconds, nullptr, nullptr));
}

std::string AccessibilityBus::textOf(const std::string& program, const std::string& path, const char* property) const
{
    const auto answer
        = call(program, path, "org.freedesktop.DBus.Properties", "Get", g_variant_new("(ss)", kNode, property));
    if (!answer)
        return {};
    const auto boxed = owned(g_variant_get_child_value(answer.get(), 0));
    const auto text = owned(g_variant_get_variant(boxed.get()));
    return g_variant_is_of_type(text.get(), G_VARIANT_TYPE_STRING) ? g_variant_get_string(text.get(), nullptr) : "";
}

AccessibleNode AccessibilityBus::read(
    const std::string& program, const std::string& path, int depth, bool isShown) const
{
    AccessibleNode node;
    node.name = textOf(program, path, "Name");
    node.description = textOf(program, path, "Description");
    if (const auto role = call(program, path, kNode, "GetRoleName")) {
        const char* text = nullptr;
        g_variant_get(role.get(), "(&s)", &text);
        node.role = text;
    }
    if (const auto states = call(program, path, kNode, "GetState")) {
        const auto words = owned(g_variant_get_child_value(states.get(), 0));
        guint32 word = 0;
        if (g_variant_n_children(words.get()) > 0)
            g_variant_get_child(words.get(), 0, "u", &word);
        node.isFocusable = word & (1U << kFocusable);
        node.isFocused = word & (1U << kFocused);
    }
    if (const auto place
        = call(program, path, "org.a11y.atspi.Component", "GetExtents", g_variant_new("(u)", kInWindow)))
        g_variant_get(place.get(), "((iiii))", &node.x, &node.y, &node.width, &node.height);
    // Oldest toolkits do not say so. Programs are not on the screen, their windows are.
    constexpr int kWindowDepth = 2;
    node.isShown = isShown && (depth < kWindowDepth || (node.width > 0 && node.height > 0));
    const auto children = depth < kDeepest ? call(program, path, kNode, "GetChildren") : nullptr;
    if (!children)
        return node;
    GVariantIter* each = nullptr;
    g_variant_get(children.get(), "(a(so))", &each);
    const char* childProgram = nullptr;
    const char* childPath = nullptr;
    while (g_variant_iter_next(each, "(&s&o)", &childProgram, &childPath))
        node.children.push_back(read(childProgram, childPath, depth + 1, node.isShown));
    g_variant_iter_free(each);
    return node;
}

AccessibleNode AccessibilityBus::read() const
{
    return read("org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root", 0, true);
}

void AccessibilityBus::waitFor(
    const std::string& what, const std::function<bool(const AccessibleNode&)>& test, bool isThere) const
{
    const auto end = Clock::now() + kBound;
    const auto isShown = [&](const AccessibleNode& node) { return node.isShown && test(node); };
    auto all = read();
    while (all.find(isShown).empty() == isThere && Clock::now() < end) {
        std::this_thread::sleep_for(kPause); // the tree tells of its changes only in part
        all = read();
    }
    EXPECT_NE(all.find(isShown).empty(), isThere) << "waited in vain for " << what << " in\n" << all.outline();
}

} // namespace tq::test
