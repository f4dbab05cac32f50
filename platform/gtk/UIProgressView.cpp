#include "../UIKit/UIProgressView.h"

#include "../Foundation/JSONWriter.h"
#include "UIViewNative.h"
#include "WidgetStyle.h"

namespace tq {

namespace {

GtkWidget* createBar(CGRect frame)
{
    auto* bar = gtk_progress_bar_new();
    gtk_widget_set_halign(bar, GTK_ALIGN_START);
    gtk_widget_set_valign(bar, GTK_ALIGN_START);
    gtk_widget_set_margin_start(bar, int(frame.x));
    gtk_widget_set_margin_top(bar, int(frame.y));
    gtk_widget_set_size_request(bar, int(frame.width), int(frame.height));
    gtk_widget_set_can_target(bar, FALSE);
    return bar;
}

} // namespace

struct UIProgressView::Style : WidgetStyle {
    using WidgetStyle::WidgetStyle;
};

UIProgressView::UIProgressView(CGRect frame)
    : UIView(frame, std::make_unique<Native>(createBar(frame)))
    , m_style(std::make_unique<Style>(static_cast<GtkWidget*>(nativeHandle())))
{
    updateStyle();
}

UIProgressView::~UIProgressView() = default;

void UIProgressView::updateProgress()
{
    gtk_progress_bar_set_fraction(static_cast<GtkProgressBar*>(nativeHandle()), double(m_progress));
}

void UIProgressView::updateStyle()
{
    const auto& selector = m_style->selector();
    const auto height = writtenJSON(frame().height);
    const auto css = selector + " { transform: scale(" + writtenJSON(m_transform.scaleX) + ","
        + writtenJSON(m_transform.scaleY) + "); min-width: 0; } " + selector + " > trough, " + selector
        + " > trough > progress { min-height: " + height
        + "px; min-width: 0; border: none; border-radius: 0; padding: 0; margin: 0; box-shadow: none; } " + selector
        + " > trough { background: transparent; } " + selector
        + " > trough > progress { background: " + cssColor(tintColor()) + "; }";
    m_style->setRules(css);
}

} // namespace tq
