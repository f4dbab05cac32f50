#include "ClientPrograms.h"
#include "tests/support/Accessibility.h"
#include "tests/support/Processes.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <set>

namespace tq::test {
namespace {

/// The client's window, driven by keys and seen as a screen reader sees it.
class WindowTest : public ServiceTest {
protected:
    WindowTest()
        : ServiceTest(4)
    {
    }
    void SetUp() override
    {
        ServiceTest::SetUp();
        bus = std::make_unique<AccessibilityBus>(folder);
    }

    // Presses what the words of xdotool say, in the client's window.
    static void press(const std::string& words)
    {
        EXPECT_EQ(std::system(("timeout 60 xdotool " + words).c_str()), 0) << words;
    }
    static void giveKeyboard(const std::string& title)
    {
        // The search fails when another window goes meanwhile.
        const auto search = "xdotool search --sync --onlyvisible --name '^" + title + "$' windowfocus --sync";
        EXPECT_EQ(std::system(("timeout 60 sh -c \"until " + search + "; do :; done\"").c_str()), 0) << title;
    }
    void waitForFocus(const std::string& name) const
    {
        bus->waitFor(
            "the focus on " + name, [&](const AccessibleNode& node) { return node.isFocused && node.name == name; });
    }
    void waitForShown(const std::string& name, bool isShown = true) const
    {
        bus->waitFor(
            name, [&](const AccessibleNode& node) { return node.name == name; }, isShown);
    }
    std::unique_ptr<AccessibilityBus> bus;
};

bool isPressed(const AccessibleNode& node)
{
    static const std::set<std::string> kRoles{ "button", "toggle button", "tab", "checkbox", "radio button" };
    return kRoles.contains(node.role);
}
bool isControl(const AccessibleNode& node) { return node.isShown && (node.isFocusable || isPressed(node)); }

// The controls of their own: what holds others lends them its focus, and a choice has its parts. What the engine has
// around a page, where its toolkit lets readers see pages, is its own.
std::vector<const AccessibleNode*> controlsOf(const AccessibleNode& node)
{
    if (node.role == "filler")
        return {};
    std::vector<const AccessibleNode*> found;
    for (const auto& child : node.children) {
        const auto below = controlsOf(child);
        found.insert(found.end(), below.begin(), below.end());
    }
    if (isControl(node) && (found.empty() || node.role == "combo box"))
        return { &node };
    return found;
}

// Places are those of the controls' contents, without the padding and the border of five points above and below.
constexpr int kFingerHeight = 44 - 10;

void expectGood(const AccessibleNode& all, int width, int height)
{
    const auto windows = all.find([](const AccessibleNode& node) { return node.role == "window"; });
    ASSERT_FALSE(windows.empty()) << all.outline();
    const auto& window = *windows.front();
    EXPECT_LE(window.width, width) << "the window cannot be as narrow";
    EXPECT_LE(window.height, height) << "the window cannot be as low";
    // The forms and the log scroll, up and down only.
    std::set<const AccessibleNode*> scrolled;
    const auto isScroller
        = [](const AccessibleNode& node) { return node.role == "group" && node.isFocusable && node.isShown; };
    for (const auto* scroller : window.find(isScroller)) {
        const auto below = scroller->find([](const AccessibleNode&) { return true; });
        scrolled.insert(below.begin(), below.end());
    }
    const auto controls = controlsOf(window);
    EXPECT_GT(controls.size(), 2U);
    for (const auto* control : controls) {
        SCOPED_TRACE(control->outline());
        // What has none is given its class's.
        for (const std::string noName : { "Gtk", "Adw", "WebKit" })
            EXPECT_FALSE(control->name.starts_with(noName));
        EXPECT_FALSE(control->name.empty() || control->name.find('_') != std::string::npos);
        if (isPressed(*control) && control->isFocusable) {
            EXPECT_GE(control->height, kFingerHeight);
        }
        // Of the tabs the toolkit keeps those of other sizes too.
        if (control->role == "tab")
            continue;
        EXPECT_GE(control->x, -mostMisplaced());
        EXPECT_LE(control->x + control->width, window.width);
        EXPECT_TRUE(scrolled.contains(control) || control->y + control->height <= window.height);
    }
}

class SmallScreenTest : public WindowTest {
protected:
    void expectThatStatesFit(int width, int height)
    {
        const auto expectGoodWindow = [&](const char* state) {
            SCOPED_TRACE(state);
            expectGood(bus->read(), width, height);
        };
        const std::string size = std::to_string(width) + "x" + std::to_string(height);
        auto client = start({ "join", "--app-key", "key", "--size", size });
        client->waitFor("error", "join");
        waitForShown("The room could not be joined");
        expectGoodWindow("failed to join");
        giveKeyboard("Whiteboard");
        press("key Escape");
        waitForShown("The room could not be joined", false);
        press("key alt+i");
        waitForShown("“Token” is missing.");
        expectGoodWindow("a field is missing");
        press("key alt+r");
        waitForShown("Open the recording");
        expectGoodWindow("form of a replay");
        client.reset();

        auto words = joinWords("ann");
        words.insert(words.end(), { "--size", size });
        client = start(words);
        client->waitForLog("[TQ:Log] onLoadEnd");
        waitForShown("Leave");
        expectGoodWindow("in the room");
        client->write("call room.record [true]");
        client->waitFor("onWBRecordStart");
        client->write("call room.record [false]");
        client->waitFor("onWBRecordEnd");
        client->write("call board.capture");
        client->waitFor("onWBCaptureEnd");
        giveKeyboard("hall – Whiteboard");
        press("key F9");
        waitForShown("The recording is saved");
        bus->waitFor("the panel in its place",
            [&](const AccessibleNode& node) { return node.name == "Copy all" && node.x + node.width < width; });
        waitForShown("The captured board");
        expectGoodWindow("with everything open");
    }
};

TEST_F(SmallScreenTest, EveryStateFitsUprightAndHasItsNames) { expectThatStatesFit(360, 720); }

TEST_F(SmallScreenTest, EveryStateFitsSidewaysAndHasItsNames) { expectThatStatesFit(720, 360); }

TEST_F(WindowTest, ALostPageComesBackAndIsSaidWhenItDoesNot)
{
    auto client = start(joinWords("ann"));
    client->waitFor("room", { { "state", "shown" } });
    waitForShown("Leave");
    for (int count = 0; count < 3; ++count) {
        killPages(client->id());
        client->waitFor("room", { { "state", "reconnecting" } });
        client->waitFor("room", { { "state", "shown" } });
    }
    EXPECT_EQ(call(*client, "board.strokes"), boost::json::array{});
    killPages(client->id());
    EXPECT_EQ(client->waitFor("room", { { "state", "over" } }).at("category"), "page");
    waitForShown("The page has stopped working");
    waitForShown("Leave", false);
    giveKeyboard("Whiteboard");
    waitForFocus("Try again");
    press("key Return");
    client->waitFor("success", "join");
    waitForShown("Leave");
}

TEST_F(WindowTest, KeysAloneLeadIntoARoomAndOut)
{
    auto client = start({ "--ca", authority });
    giveKeyboard("Whiteboard");
    waitForFocus("App key");
    press("type --delay 1 key");
    press("key Tab type --delay 1 good@" + host);
    press("key Tab key Tab type --delay 1 hall"); // past the button that shows the token
    press("key Tab type --delay 1 ann");
    waitForFocus("User");
    // What is missing is said where the keyboard is.
    press("key Return");
    bus->waitFor("what is missing", [](const AccessibleNode& node) {
        return node.isFocused && node.name == "Name" && node.description == "“Name” is missing.";
    });
    press("type --delay 1 Ann");
    press("key Return");
    client->waitFor("success", "join");
    client->waitForLog("[TQ:Log] onLoadEnd");

    // The board has the keyboard: its first control, its tools, and the last of these, which records.
    press("key Tab key Tab key End key Return");
    client->waitFor("onWBRecordStart");
    press("key Return");
    client->waitFor("onWBRecordEnd");
    waitForShown("Leave and replay");
    press("key F6");
    waitForFocus("Leave");
    press("key F6");
    waitForFocus("Leave and replay");
    press("key Escape");
    waitForShown("Leave and replay", false);
    // The board has it again, from its last tool on.
    press("key Return");
    client->waitFor("onWBRecordStart");
    press("key shift+F6");
    waitForFocus("Leave");
    press("key Return");
    client->waitFor("onWBRoomQuit");
    client->waitFor("success", "quit");

    waitForFocus("Join the room");
    press("key Return");
    client->waitFor("success", "join");
    press("key alt+l");
    client->waitFor("success", "quit");
    press("key F1");
    giveKeyboard("Keys");
    press("key Escape");
    giveKeyboard("Whiteboard");
    press("key ctrl+q");
    EXPECT_EQ(client->end(), 0);
}

} // namespace
} // namespace tq::test
