#pragma once

#include <gtk/gtk.h>
#include <vector>

namespace tq::test {

/// The dialogs of this process that are on the screen.
std::vector<GtkWindow*> dialogs();

/// The dialog on the screen, waited for; null, with the test failed, when there is none or more than one.
GtkWindow* dialog();

} // namespace tq::test
