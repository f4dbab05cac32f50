#include "ClientPrograms.h"
#include "tests/support/MainLoop.h"

#include <algorithm>
#include <boost/json/value_to.hpp>
#include <cmath>

namespace tq::test {
namespace {

constexpr int kLength = 120;

// The client and the room page under a user's mouse and fingers.
class ClientInputTest : public ServiceTest {
protected:
    ClientInputTest()
        : ServiceTest(2)
    {
    }
    void SetUp() override
    {
        if (!screen)
            GTEST_SKIP() << "nobody can point at this screen";
        ServiceTest::SetUp();
        client = joined("ann");
        window = waitForWindow("hall – Whiteboard");
    }
    // A place in the board's middle, and from it.
    Screen::Point at(double x, double y) const
    {
        return { std::round(window.corner.x + window.width / 2) + x,
            std::round(window.corner.y + window.height / 2) + y };
    }
    // The points of the next stroke, once its last is as far to the right. The order on the board changes until the
    // room has told it.
    std::vector<double> nextPoints(double right = 0)
    {
        ++m_strokes;
        std::vector<double> points{ 0, 0 };
        const auto isThere = [&] {
            const auto board = call(*client, "board.strokes").as_array();
            if (board.size() < m_strokes)
                return false;
            const auto newest
                = std::ranges::max(board, {}, [](const auto& stroke) { return stroke.at("id").as_int64(); });
            points = boost::json::value_to<std::vector<double>>(newest.at("points"));
            return points[points.size() - 2] >= right;
        };
        runUntil(isThere, "stroke " + std::to_string(m_strokes) + " has come to " + std::to_string(right));
        return points;
    }
    // What a finger, or the mouse where there is none, has drawn there with a tap. The engine lets a touch overtake the
    // mouse that still waits for the page: fingers come first in these tests.
    std::vector<double> dotAt(Screen::Point place)
    {
        if (screen->hasTouch())
            screen->tap(place);
        else
            screen->click(place);
        return nextPoints();
    }
    void expectFrom(const std::vector<double>& start, const std::vector<double>& end, const std::vector<double>& drawn)
    {
        const double pixel = std::abs(end[0] - start[0]) / kLength;
        ASSERT_GE(drawn.size(), 4U);
        for (const std::size_t axis : { std::size_t{ 0 }, std::size_t{ 1 } }) {
            EXPECT_NEAR(drawn[axis], start[axis], 2 * pixel);
            EXPECT_NEAR(drawn[drawn.size() - 2 + axis], end[axis], 3 * pixel);
        }
        for (std::size_t i = 2; i < drawn.size(); i += 2)
            EXPECT_GE(drawn[i], drawn[i - 2]) << "it goes to the right only";
    }

    Screen* const screen = Screen::get();
    std::unique_ptr<Program> client;
    Screen::Window window;

private:
    std::size_t m_strokes = 0;
};

TEST_F(ClientInputTest, AFingerDrawsWhatTheMouseDraws)
{
    const auto start = dotAt(at(0, 0));
    const auto end = dotAt(at(kLength, -kLength / 2.0));
    ASSERT_EQ(start.size(), 2U);
    const auto almost = end[0] - (end[0] - start[0]) / 50;
    if (screen->hasTouch()) {
        // Other fingers come and go meanwhile: the first draws on alone.
        screen->touch(0, at(0, 0));
        for (int x = 0; x <= kLength; x += 5) {
            screen->slide(0, at(x, -x / 2.0));
            if (x == kLength / 4)
                screen->touch(1, at(60, 60));
            if (x == kLength / 2)
                screen->touch(2, at(-60, 60));
            if (x > kLength / 2)
                screen->slide(2, at(-x, 60));
            if (x == kLength * 3 / 4)
                screen->lift(1);
        }
        screen->lift(0);
        screen->lift(2);
        expectFrom(start, end, nextPoints(almost));
        // Nothing of the window's takes a touch at the board's edges.
        const double pixel = (end[0] - start[0]) / kLength;
        for (const double edge : { 4 * pixel, 1 - 4 * pixel })
            EXPECT_NEAR(dotAt(at(std::round((edge - start[0]) / pixel), 0))[0], edge, 2 * pixel);
    }
    screen->move(at(0, 0));
    screen->press();
    for (int x = 0; x <= kLength; x += 5)
        screen->move(at(x, -x / 2.0));
    screen->release();
    expectFrom(start, end, nextPoints(almost));
}

} // namespace
} // namespace tq::test
