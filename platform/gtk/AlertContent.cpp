#include "AlertContent.h"

#include "../UIKit/AlertLayout.h"

#include <algorithm>

namespace tq {

namespace {

// Beside the texts.
constexpr int kScrollBarWidth = 24;

int heightOf(GtkWidget* widget, int width)
{
    int height = 0;
    gtk_widget_measure(widget, GTK_ORIENTATION_VERTICAL, width, nullptr, &height, nullptr, nullptr);
    return height;
}

int widthOf(GtkWidget* widget)
{
    int width = 0;
    gtk_widget_measure(widget, GTK_ORIENTATION_HORIZONTAL, -1, nullptr, &width, nullptr, nullptr);
    return width;
}

// What is broken to fit gets no hyphen: an address would be another one.
void wrap(GtkLabel* label)
{
    gtk_label_set_wrap(label, TRUE);
    gtk_label_set_wrap_mode(label, PANGO_WRAP_WORD_CHAR);
    auto* attributes = pango_attr_list_new();
    pango_attr_list_insert(attributes, pango_attr_insert_hyphens_new(FALSE));
    gtk_label_set_attributes(label, attributes);
    pango_attr_list_unref(attributes);
}

GtkWidget* createLabel(const std::string& text, const char* cssClass)
{
    auto* label = gtk_label_new(text.c_str());
    wrap(GTK_LABEL(label));
    if (g_utf8_strlen(text.c_str(), -1) > kAlertMostCentred)
        gtk_label_set_xalign(GTK_LABEL(label), 0);
    else
        gtk_label_set_justify(GTK_LABEL(label), GTK_JUSTIFY_CENTER);
    gtk_widget_add_css_class(label, cssClass);
    // High stacks of marks stay within their text.
    gtk_widget_set_overflow(label, GTK_OVERFLOW_HIDDEN);
    gtk_widget_set_visible(label, !text.empty());
    return label;
}

// A width that is told saves the toolkit from looking for one, which it does by laying out the text again and again.
void setWidth(GtkWidget* label, int width)
{
    auto* metrics = pango_context_get_metrics(gtk_widget_get_pango_context(label), nullptr, nullptr);
    const int character = std::max(pango_font_metrics_get_approximate_char_width(metrics),
        pango_font_metrics_get_approximate_digit_width(metrics));
    pango_font_metrics_unref(metrics);
    const int characters = std::max(width * PANGO_SCALE / std::max(character, 1), 1);
    gtk_label_set_width_chars(GTK_LABEL(label), characters);
    gtk_label_set_max_width_chars(GTK_LABEL(label), characters);
}

GtkWidget* createScroller(GtkWidget* child)
{
    auto* scroller = gtk_scrolled_window_new();
    gtk_scrolled_window_set_overlay_scrolling(GTK_SCROLLED_WINDOW(scroller), FALSE);
    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scroller), child);
    return scroller;
}

void setHeight(GtkWidget* scroller, int height, int mostHeight)
{
    const bool isScrolled = height > mostHeight;
    // To the side it is as wide as it is told, also when there are letters that no line can be broken between.
    gtk_scrolled_window_set_policy(
        GTK_SCROLLED_WINDOW(scroller), GTK_POLICY_EXTERNAL, isScrolled ? GTK_POLICY_ALWAYS : GTK_POLICY_EXTERNAL);
    // The keyboard scrolls a long text.
    gtk_widget_set_focusable(scroller, isScrolled);
    gtk_widget_set_size_request(scroller, -1, std::min(height, mostHeight));
}

} // namespace

AlertContent::AlertContent(const std::string& title, const std::string& message, GtkWidget* field)
    : m_box(gtk_box_new(GTK_ORIENTATION_VERTICAL, kAlertGap))
    , m_texts(gtk_box_new(GTK_ORIENTATION_VERTICAL, kAlertSpacing))
    , m_field(field)
    , m_buttons(gtk_box_new(GTK_ORIENTATION_HORIZONTAL, kAlertSpacing))
{
    for (auto* set : { gtk_widget_set_margin_top, gtk_widget_set_margin_bottom, gtk_widget_set_margin_start,
             gtk_widget_set_margin_end })
        set(m_box, kAlertMargin);
    gtk_widget_set_size_request(m_box, kAlertWidth, -1);
    auto* heading = createLabel(title, message.empty() ? "body" : "title-4");
    for (auto* label : { heading, createLabel(message, "body") }) {
        m_labels.push_back(label);
        gtk_box_append(GTK_BOX(m_texts), label);
    }
    gtk_box_append(GTK_BOX(m_box), createScroller(m_texts));
    if (m_field) {
        gtk_widget_set_size_request(m_field, -1, kAlertControlHeight);
        gtk_accessible_update_property(
            GTK_ACCESSIBLE(m_field), GTK_ACCESSIBLE_PROPERTY_LABEL, gtk_label_get_text(GTK_LABEL(heading)), -1);
        gtk_box_append(GTK_BOX(m_box), m_field);
    }
    gtk_box_append(GTK_BOX(m_box), createScroller(m_buttons));
}

GtkWidget* AlertContent::addButton(const std::string& label)
{
    auto* button = gtk_button_new_with_label(label.c_str());
    gtk_widget_set_hexpand(button, TRUE);
    gtk_widget_set_size_request(button, -1, kAlertControlHeight);
    gtk_box_append(GTK_BOX(m_buttons), button);
    return button;
}

void AlertContent::arrangeButtons()
{
    bool areShort = true;
    for (auto* button = gtk_widget_get_first_child(m_buttons); button; button = gtk_widget_get_next_sibling(button))
        areShort = areShort && widthOf(button) <= (kAlertWidth - kAlertSpacing) / 2;
    gtk_box_set_homogeneous(GTK_BOX(m_buttons), areShort);
    if (areShort)
        return;
    gtk_orientable_set_orientation(GTK_ORIENTABLE(m_buttons), GTK_ORIENTATION_VERTICAL);
    for (auto* button = gtk_widget_get_first_child(m_buttons); button; button = gtk_widget_get_next_sibling(button)) {
        auto* label = gtk_button_get_child(GTK_BUTTON(button));
        wrap(GTK_LABEL(label));
        gtk_label_set_justify(GTK_LABEL(label), GTK_JUSTIFY_CENTER);
        setWidth(label, kAlertWidth / 2);
    }
}

void AlertContent::putInto(GtkWindow* window, int height)
{
    gtk_window_set_child(window, m_box);
    for (auto* label : m_labels)
        setWidth(label, kAlertWidth - kScrollBarWidth);
    arrangeButtons();
    const int texts = heightOf(m_texts, kAlertWidth);
    const int buttons = heightOf(m_buttons, kAlertWidth);
    const auto field = m_field ? std::optional(heightOf(m_field, kAlertWidth)) : std::nullopt;
    const AlertHeights most(height, field, texts, buttons);
    setHeight(gtk_widget_get_first_child(m_box), texts, most.texts);
    setHeight(gtk_widget_get_last_child(m_box), buttons, most.buttons);
}

} // namespace tq
