#include "tests/support/TestWindow.h"

#include "EngineView.h"
#include "Widgets.h"
#include "tests/support/MainLoop.h"

#include <QLayout>
#include <QVBoxLayout>

namespace tq::test {

namespace {
QWidget* native(void* window) { return static_cast<QWidget*>(window); }
QWidget* contentOf(void* window)
{
    auto* item = native(window)->layout()->itemAt(0);
    return item ? item->widget() : nullptr;
}
} // namespace

TestWindow::TestWindow(const WKWebView& view, int width, int height)
    : m_window(new QWidget)
{
    auto* layout = new QVBoxLayout(native(m_window));
    layout->setContentsMargins({});
    layout->addWidget(widgetOf(view));
    native(m_window)->resize(width, height);
    native(m_window)->show();
}

TestWindow::~TestWindow() { delete native(m_window); }

void TestWindow::setTitle(const std::string& title) { native(m_window)->setWindowTitle(QString::fromStdString(title)); }

void TestWindow::clear()
{
    if (auto* content = contentOf(m_window))
        content->setParent(nullptr);
}

void TestWindow::resize(int width, int height)
{
    native(m_window)->resize(width, height);
    runUntil([&] { return native(m_window)->height() == height; }, "the window has its size");
}

void TestWindow::waitUntilDrawn() { waitForFrame(*native(m_window)); }

std::array<int, 4> TestWindow::colorInTheMiddle()
{
    const auto picture = contentOf(m_window)->grab().toImage();
    const auto color = picture.pixelColor(picture.width() / 2, picture.height() / 2);
    return { color.red(), color.green(), color.blue(), color.alpha() };
}

Screen::Point TestWindow::middle(Screen& screen) const { return middleOf(screen, *contentOf(m_window)); }

} // namespace tq::test
