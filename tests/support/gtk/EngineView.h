#pragma once

#include "platform/WebKit/WKWebView.h"

#include <gtk/gtk.h>
#include <webkit/webkit.h>

namespace tq::test {

/// The toolkit's widget of a view.
inline GtkWidget* widgetOf(const WKWebView& view) { return static_cast<GtkWidget*>(view.nativeHandle()); }

/// The engine's widget in it.
inline WebKitWebView* engineOf(const WKWebView& view)
{
    return WEBKIT_WEB_VIEW(gtk_overlay_get_child(GTK_OVERLAY(widgetOf(view))));
}

} // namespace tq::test
