#pragma once

#include "../DWKWebView.h"

typedef struct _GtkWidget GtkWidget; // NOLINT(bugprone-reserved-identifier): the toolkit's own name

namespace tq {

/// The view as a GTK widget, to be placed in the application's window. It belongs to the view: keep the view as long as
/// the widget is on the screen. Main thread.
TQWB_EXPORT GtkWidget* nativeView(const WKWebView& view);

} // namespace tq
