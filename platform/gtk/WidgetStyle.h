#pragma once

#include "../UIKit/UIColor.h"
#include "GLibPointers.h"

#include <gtk/gtk.h>
#include <string>

namespace tq {

/// The look of one widget. GTK's style sheets are per display: the widget's own name ties them together.
class WidgetStyle {
public:
    explicit WidgetStyle(GtkWidget* widget);
    ~WidgetStyle();
    WidgetStyle(const WidgetStyle&) = delete;
    WidgetStyle& operator=(const WidgetStyle&) = delete;

    /// What stands for the widget in the rules.
    const std::string& selector() const { return m_selector; }
    /// Replaces the rules.
    void setRules(const std::string& rules);

private:
    std::string m_selector;
    GObjectPointer<GdkDisplay> m_display;
    GObjectPointer<GtkCssProvider> m_provider{ gtk_css_provider_new() };
};

std::string cssColor(UIColor color);

} // namespace tq
