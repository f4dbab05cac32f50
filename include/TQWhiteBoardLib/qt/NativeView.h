#pragma once

#include "../DWKWebView.h"

class QWidget;

namespace tq {

/// The view as a Qt widget, to be placed in the application's window. It belongs to the view: keep the view as long as
/// the widget is on the screen. Null once a window that it was placed in has been destroyed with it. Main thread.
TQWB_EXPORT QWidget* nativeView(const WKWebView& view);

} // namespace tq
