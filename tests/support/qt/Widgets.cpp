#include "Widgets.h"

#include "tests/support/MainLoop.h"

#include <QEvent>

namespace tq::test {

namespace {

class PaintCounter final : public QObject {
public:
    int count = 0;

private:
    bool eventFilter(QObject*, QEvent* event) override
    {
        // A window that its content covers paints nothing of its own.
        count += event->type() == QEvent::Paint || event->type() == QEvent::UpdateRequest ? 1 : 0;
        return false;
    }
};

} // namespace

void waitForFrame(QWidget& window)
{
    PaintCounter paints;
    window.installEventFilter(&paints);
    window.update();
    runUntil([&] { return paints.count > 0; }, "the window is drawn");
}

Screen::Window onScreen(Screen& screen, const QWidget& window)
{
    std::optional<Screen::Window> found;
    runUntil(
        [&] {
            found = screen.window(window.windowTitle().toStdString());
            return found && int(found->width) == window.width();
        },
        "the window is on the screen");
    return found.value_or(Screen::Window{});
}

Screen::Point middleOf(Screen& screen, const QWidget& widget)
{
    const auto place = onScreen(screen, *widget.window());
    const auto middle = widget.mapTo(widget.window(), QPoint(widget.width() / 2, widget.height() / 2));
    return { place.corner.x + middle.x(), place.corner.y + middle.y() };
}

} // namespace tq::test
