#pragma once

#include "Screen.h"

#include <gtk/gtk.h>
#include <vector>

namespace tq::test {

/// The dialogs of this process that are on the screen.
std::vector<GtkWindow*> dialogs();

/// The dialog on the screen, waited for; null, with the test failed, when there is none or more than one.
GtkWindow* dialog();

/// The window of this process as the screen has it, waited for.
Screen::Window onScreen(Screen& screen, GtkWindow* window);

/// The middle of a widget of a window on the screen.
Screen::Point middleOf(Screen& screen, GtkWidget* widget);

/// The visible widgets of that type in a window, from the top.
std::vector<GtkWidget*> widgetsIn(GtkWindow* window, GType type);

} // namespace tq::test
