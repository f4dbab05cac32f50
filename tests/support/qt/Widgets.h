#pragma once

#include "tests/support/Screen.h"

#include <QWidget>

namespace tq::test {

/// Returns when the window has drawn one more frame.
void waitForFrame(QWidget& window);

/// The window of this process as the screen has it, waited for.
Screen::Window onScreen(Screen& screen, const QWidget& window);

/// The middle of a widget of a window on the screen.
Screen::Point middleOf(Screen& screen, const QWidget& widget);

} // namespace tq::test
