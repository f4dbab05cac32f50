#include "WidgetStyle.h"

#include "../Foundation/JSONWriter.h"

#include <cmath>
#include <cstdint>

namespace tq {

WidgetStyle::WidgetStyle(GtkWidget* widget)
    : m_display(retained(gtk_widget_get_display(widget)))
{
    const auto name = "tq-" + std::to_string(reinterpret_cast<std::uintptr_t>(this));
    gtk_widget_set_name(widget, name.c_str());
    m_selector = "#" + name;
    gtk_style_context_add_provider_for_display(
        m_display.get(), GTK_STYLE_PROVIDER(m_provider.get()), GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
}

WidgetStyle::~WidgetStyle()
{
    gtk_style_context_remove_provider_for_display(m_display.get(), GTK_STYLE_PROVIDER(m_provider.get()));
}

void WidgetStyle::setRules(const std::string& rules)
{
    gtk_css_provider_load_from_data(m_provider.get(), rules.c_str(), gssize(rules.size()));
}

std::string cssColor(UIColor color)
{
    auto byte = [](float component) { return std::to_string(std::lround(component * 255)); };
    return "rgba(" + byte(color.red) + "," + byte(color.green) + "," + byte(color.blue) + "," + writtenJSON(color.alpha)
        + ")";
}

} // namespace tq
