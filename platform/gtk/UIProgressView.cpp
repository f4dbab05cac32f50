#include "../UIKit/UIProgressView.h"

#include "UIViewNative.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace tq {

namespace {

std::string cssNumber(double number)
{
    std::array<char, G_ASCII_DTOSTR_BUF_SIZE> buffer{};
    return g_ascii_formatd(buffer.data(), int(buffer.size()), "%.4f", number);
}

std::string cssColor(UIColor color)
{
    auto byte = [](float component) { return std::to_string(std::lround(component * 255)); };
    return "rgba(" + byte(color.red) + "," + byte(color.green) + "," + byte(color.blue) + "," + cssNumber(color.alpha)
        + ")";
}

GtkWidget* createBar(CGRect frame)
{
    auto* bar = gtk_progress_bar_new();
    gtk_widget_set_halign(bar, GTK_ALIGN_START);
    gtk_widget_set_valign(bar, GTK_ALIGN_START);
    gtk_widget_set_margin_start(bar, int(frame.x));
    gtk_widget_set_margin_top(bar, int(frame.y));
    gtk_widget_set_size_request(bar, int(frame.width), int(frame.height));
    gtk_widget_set_can_target(bar, FALSE);
    return static_cast<GtkWidget*>(g_object_ref_sink(bar));
}

} // namespace

struct UIProgressView::Style {
    GObjectPointer<GtkCssProvider> provider{ gtk_css_provider_new() };
};

UIProgressView::UIProgressView(CGRect frame)
    : UIView(frame, std::make_unique<Native>(Native{ GObjectPointer<GtkWidget>(createBar(frame)) }))
    , m_style(std::make_unique<Style>())
{
    auto* bar = static_cast<GtkWidget*>(nativeHandle());
    // The look is per bar, and GTK's style sheets are per display: the widget's own name ties them together.
    gtk_widget_set_name(bar, ("tq-progress-" + std::to_string(reinterpret_cast<std::uintptr_t>(this))).c_str());
    gtk_style_context_add_provider_for_display(gtk_widget_get_display(bar), GTK_STYLE_PROVIDER(m_style->provider.get()),
        GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    updateStyle();
}

UIProgressView::~UIProgressView()
{
    gtk_style_context_remove_provider_for_display(
        gtk_widget_get_display(static_cast<GtkWidget*>(nativeHandle())), GTK_STYLE_PROVIDER(m_style->provider.get()));
}

std::shared_ptr<UIProgressView> UIProgressView::initWithFrame(CGRect frame)
{
    return std::shared_ptr<UIProgressView>(new UIProgressView(frame));
}

void UIProgressView::setProgress(float progress)
{
    if (std::isnan(progress))
        return;
    m_progress = std::clamp(progress, 0.0F, 1.0F);
    gtk_progress_bar_set_fraction(static_cast<GtkProgressBar*>(nativeHandle()), double(m_progress));
}

void UIProgressView::setTintColor(UIColor color)
{
    UIView::setTintColor(color);
    updateStyle();
}

void UIProgressView::setTransform(CGAffineTransform transform)
{
    m_transform = transform;
    updateStyle();
}

void UIProgressView::updateStyle()
{
    auto* bar = static_cast<GtkWidget*>(nativeHandle());
    const std::string selector = std::string("#") + gtk_widget_get_name(bar);
    const auto height = cssNumber(frame().height);
    const auto css = selector + " { transform: scale(" + cssNumber(m_transform.scaleX) + ","
        + cssNumber(m_transform.scaleY) + "); min-width: 0; } " + selector + " > trough, " + selector
        + " > trough > progress { min-height: " + height
        + "px; min-width: 0; border: none; border-radius: 0; padding: 0; margin: 0; box-shadow: none; } " + selector
        + " > trough { background: transparent; } " + selector
        + " > trough > progress { background: " + cssColor(tintColor()) + "; }";
    gtk_css_provider_load_from_data(m_style->provider.get(), css.c_str(), gssize(css.size()));
}

} // namespace tq
