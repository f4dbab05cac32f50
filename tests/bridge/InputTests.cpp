#include "tests/support/Dialogs.h"
#include "tests/support/PageWindowTest.h"
#include "tests/support/Screen.h"

#include <sstream>

namespace tq::test {
namespace {

// A page in a window on the screen, for a user who points at it.
class InputTest : public PageWindowTest {
protected:
    void SetUp() override
    {
        if (!screen)
            GTEST_SKIP() << "nobody can point at this screen";
        PageWindowTest::SetUp();
        window->setTitle("Input");
    }
    void point(Screen::Point place, bool isByFinger) const { isByFinger ? screen->tap(place) : screen->click(place); }
    // The page fills the window, and what is reported waits for the engine to have drawn it.
    void show(const std::string& html)
    {
        window->middle(*screen);
        load("<style>html, body { margin: 0; height: 100% }</style>" + html);
        const auto count = reports->values.size();
        view->evaluateJavaScript("requestAnimationFrame(() => requestAnimationFrame(() => report('drawn')))");
        waitForReports(count + 1);
    }

    Screen* const screen = Screen::get();
};

TEST_F(InputTest, EveryPointerAsksAndAnswers)
{
    show("<button style='width: 100%; height: 100%' onclick='report(confirm(\"sure?\"))'>ask</button>");
    view->customJavascriptDialogLabelTitles(
        { { { "confirmTitle", "Question" }, { "confirmCancelBtn", "No" }, { "confirmOkBtn", "Yes" } } });
    for (const bool isByFinger : { false, true }) {
        if (isByFinger && !screen->hasTouch())
            continue;
        for (const std::string answer : { "Yes", "No" }) {
            const auto count = reports->values.size();
            point(window->middle(*screen), isByFinger);
            const auto asked = dialog();
            ASSERT_TRUE(asked);
            point(asked.middleOfButton(*screen, answer), isByFinger);
            EXPECT_EQ(answerFrom(count), answer == "Yes" ? "true" : "false");
            runUntil([&] { return !screen->window("Question"); }, "the dialog has left the screen");
        }
    }
}

TEST_F(InputTest, TwoFingersAreThePagesAndZoomNothing)
{
    if (!screen->hasTouch())
        GTEST_SKIP() << "this screen has no touch";
    view->setScrollView({ .pinchGestureRecognizerEnabled = false });
    // Where each touch has begun, where it has moved to, and how large the page is then.
    show(R"(<div id="pad" style="height: 100%; touch-action: none"></div><script>
let touches = [];
for (const name of ["touchstart", "touchmove", "touchend"])
    pad.addEventListener(name, event => {
        for (const { identifier, clientX } of event.changedTouches) {
            const place = Math.round(clientX - innerWidth / 2);
            if (name === "touchstart")
                touches.push({ identifier, places: [place] });
            else if (name === "touchmove")
                touches.findLast(touch => touch.identifier === identifier).places[1] = place;
        }
        if (name === "touchend" && !event.touches.length)
            report([...touches.splice(0).map(touch => touch.places), visualViewport.scale]);
    }, { passive: true });
</script>)");
    const auto middle = window->middle(*screen);
    // d and u: a finger goes down and up, m: it moves away from the other one. 0 is the left one, 1 the right one.
    const struct {
        const char* steps;
        const char* seen;
    } rows[] = {
        { "d0 d1 m0 m1 u0 u1", "[[-20,-120],[20,120],1]" },
        { "d0 m0 d1 m1 u0 u1", "[[-20,-120],[20,120],1]" },
        { "d0 m0 d1 m0 m1 u1 u0", "[[-20,-220],[20,120],1]" },
        { "d1 m1 d0 m0 m1 u0 u1", "[[20,220],[-20,-120],1]" },
        { "d0 d1 u1 d1 m0 m1 u0 u1", "[[-20,-120],[20],[20,120],1]" },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.steps);
        const auto count = reports->values.size();
        double distance[] = { 20, 20 };
        std::istringstream steps(row.steps);
        for (std::string step; steps >> step;) {
            const int finger = step[1] - '0';
            const auto place = [&] {
                return Screen::Point{ middle.x + (finger ? 1 : -1) * distance[finger], middle.y };
            };
            if (step[0] == 'd') {
                distance[finger] = 20;
                screen->touch(finger, place());
            } else if (step[0] == 'u') {
                screen->lift(finger);
            }
            for (int i = 0; step[0] == 'm' && i < 10; ++i) {
                distance[finger] += 10;
                screen->slide(finger, place());
            }
        }
        EXPECT_EQ(answerFrom(count), row.seen);
    }
}

} // namespace
} // namespace tq::test
