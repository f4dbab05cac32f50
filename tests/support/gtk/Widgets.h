#pragma once

#include "tests/support/Screen.h"

#include <gtk/gtk.h>
#include <vector>

namespace tq::test {

/// The visible widgets of that type in a window, from the top.
std::vector<GtkWidget*> widgetsIn(GtkWindow* window, GType type);

/// Returns when the window has drawn one more frame.
void waitForFrame(GtkWindow* window);

/// The window of this process as the screen has it, waited for.
Screen::Window onScreen(Screen& screen, GtkWindow* window);

/// The middle of a widget of a window on the screen.
Screen::Point middleOf(Screen& screen, GtkWidget* widget);

} // namespace tq::test
