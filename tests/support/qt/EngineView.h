#pragma once

#include "platform/WebKit/WKWebView.h"

#include <QWebEngineView>
#include <QWidget>

namespace tq::test {

/// The toolkit's widget of a view.
inline QWidget* widgetOf(const WKWebView& view) { return static_cast<QWidget*>(view.nativeHandle()); }

/// The engine's widget in it.
inline QWebEngineView* engineOf(const WKWebView& view) { return widgetOf(view)->findChild<QWebEngineView*>(); }

} // namespace tq::test
