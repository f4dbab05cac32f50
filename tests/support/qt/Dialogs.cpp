#include "tests/support/Dialogs.h"

#include "Widgets.h"
#include "tests/support/MainLoop.h"

#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <algorithm>
#include <gtest/gtest.h>
#include <limits>

namespace tq::test {
namespace {

QDialog* native(void* window) { return static_cast<QDialog*>(window); }

// In the order in which they were made, which is that from the top.
template <class Widget> QList<Widget*> shownIn(void* window)
{
    auto found = native(window)->findChildren<Widget*>();
    found.removeIf([](const Widget* widget) { return !widget->isVisible(); });
    return found;
}

QLineEdit* fieldOf(void* window)
{
    const auto fields = shownIn<QLineEdit>(window);
    return fields.isEmpty() ? nullptr : fields.front();
}

} // namespace

std::vector<std::string> Dialog::texts() const
{
    std::vector<std::string> texts;
    for (const auto* label : shownIn<QLabel>(m_window))
        texts.push_back(label->text().toStdString());
    for (const auto* button : shownIn<QPushButton>(m_window))
        texts.push_back(button->text().replace("&&", "&").toStdString());
    return texts;
}

void Dialog::press(Answer answer) const
{
    const auto buttons = shownIn<QPushButton>(m_window);
    ASSERT_FALSE(buttons.empty());
    (answer == Answer::Ok ? buttons.back() : buttons.front())->click();
}

std::optional<std::string> Dialog::field() const
{
    const auto* field = fieldOf(m_window);
    return field ? std::optional<std::string>(field->text().toStdString()) : std::nullopt;
}

void Dialog::setField(const std::string& text) const { fieldOf(m_window)->setText(QString::fromStdString(text)); }

bool Dialog::isFieldNamed(const std::string& name) const
{
    return fieldOf(m_window)->accessibleName().toStdString() == name;
}

bool Dialog::isModal() const { return native(m_window)->isModal(); }

bool Dialog::isOver(const TestWindow& window) const
{
    return native(m_window)->parentWidget() == static_cast<QWidget*>(window.nativeHandle());
}

int Dialog::width() const { return native(m_window)->width(); }
int Dialog::height() const { return native(m_window)->height(); }

void Dialog::waitForPlace() const { waitUntilDrawn(); }

void Dialog::waitUntilDrawn() const { waitForFrame(*native(m_window)); }

Dialog::Extent Dialog::messageExtent() const
{
    waitForPlace();
    const auto* label = shownIn<QLabel>(m_window)[1];
    const auto metrics = label->fontMetrics();
    const auto box = metrics.boundingRect(
        QRect(0, 0, label->width(), std::numeric_limits<int>::max() / 2), Qt::TextWordWrap, label->text());
    return { box.height() / metrics.lineSpacing(), int(label->text().size()) };
}

int Dialog::leastButtonHeight() const
{
    int least = std::numeric_limits<int>::max();
    for (const auto* button : shownIn<QPushButton>(m_window)) {
        const bool isCut = button->width() < button->minimumSizeHint().width();
        least = std::min(least, isCut ? 0 : button->height());
    }
    return least;
}

bool Dialog::scrollsWhatDoesNotFit() const
{
    return std::ranges::all_of(shownIn<QScrollArea>(m_window), [](const QScrollArea* scroller) {
        const auto* bar = scroller->verticalScrollBar();
        return bar->isVisible() == (bar->maximum() > 0);
    });
}

Screen::Window Dialog::onScreen(Screen& screen) const { return test::onScreen(screen, *native(m_window)); }

Screen::Point Dialog::middleOfButton(Screen& screen, const std::string& label) const
{
    for (const auto* button : shownIn<QPushButton>(m_window)) {
        if (button->text().toStdString() == label)
            return middleOf(screen, *button);
    }
    ADD_FAILURE() << "no button " << label;
    return {};
}

std::vector<Dialog> dialogs()
{
    std::vector<Dialog> found;
    for (auto* window : QApplication::topLevelWidgets()) {
        if (qobject_cast<QDialog*>(window) && window->isVisible())
            found.emplace_back(static_cast<QDialog*>(window));
    }
    return found;
}

Dialog dialog()
{
    const bool isAlone = runUntil([] { return dialogs().size() == 1; }, "a dialog is on the screen");
    return isAlone ? dialogs().front() : Dialog(nullptr);
}

} // namespace tq::test
