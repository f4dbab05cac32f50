#include "tests/support/Dialogs.h"

#include "Widgets.h"
#include "platform/gtk/GLibPointers.h"
#include "tests/support/MainLoop.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <limits>

namespace tq::test {
namespace {

GtkWindow* native(void* window) { return static_cast<GtkWindow*>(window); }

GtkEditable* fieldOf(void* window)
{
    const auto fields = widgetsIn(native(window), GTK_TYPE_ENTRY);
    return fields.empty() ? nullptr : GTK_EDITABLE(fields.front());
}

PangoLayout* layoutOf(GtkWidget* label) { return gtk_label_get_layout(GTK_LABEL(label)); }

} // namespace

std::vector<std::string> Dialog::texts() const
{
    std::vector<std::string> texts;
    for (auto* label : widgetsIn(native(m_window), GTK_TYPE_LABEL))
        texts.emplace_back(gtk_label_get_text(GTK_LABEL(label)));
    return texts;
}

void Dialog::press(Answer answer) const
{
    const auto buttons = widgetsIn(native(m_window), GTK_TYPE_BUTTON);
    ASSERT_FALSE(buttons.empty());
    g_signal_emit_by_name(answer == Answer::Ok ? buttons.back() : buttons.front(), "clicked");
}

std::optional<std::string> Dialog::field() const
{
    auto* field = fieldOf(m_window);
    return field ? std::optional<std::string>(gtk_editable_get_text(field)) : std::nullopt;
}

void Dialog::setField(const std::string& text) const { gtk_editable_set_text(fieldOf(m_window), text.c_str()); }

bool Dialog::isFieldNamed(const std::string& name) const
{
    const GCharPointer difference(gtk_test_accessible_check_property(
        GTK_ACCESSIBLE(fieldOf(m_window)), GTK_ACCESSIBLE_PROPERTY_LABEL, name.c_str()));
    return !difference;
}

bool Dialog::isModal() const { return gtk_window_get_modal(native(m_window)); }

bool Dialog::isOver(const TestWindow& window) const
{
    return gtk_window_get_transient_for(native(m_window)) == window.nativeHandle();
}

int Dialog::width() const { return gtk_widget_get_width(GTK_WIDGET(m_window)); }
int Dialog::height() const { return gtk_widget_get_height(GTK_WIDGET(m_window)); }

void Dialog::waitForPlace() const
{
    runUntil([this] { return width() > 0; }, "the dialog has its place");
}

void Dialog::waitUntilDrawn() const { waitForFrame(native(m_window)); }

Dialog::Extent Dialog::messageExtent() const
{
    waitForPlace();
    auto* layout = layoutOf(widgetsIn(native(m_window), GTK_TYPE_LABEL)[1]);
    int glyphs = 0;
    for (auto* line = pango_layout_get_lines_readonly(layout); line; line = line->next) {
        for (auto* run = static_cast<PangoLayoutLine*>(line->data)->runs; run; run = run->next)
            glyphs += static_cast<PangoGlyphItem*>(run->data)->glyphs->num_glyphs;
    }
    return { pango_layout_get_line_count(layout), glyphs };
}

int Dialog::leastButtonHeight() const
{
    int least = std::numeric_limits<int>::max();
    for (auto* button : widgetsIn(native(m_window), GTK_TYPE_BUTTON)) {
        const bool isCut = pango_layout_is_ellipsized(layoutOf(gtk_button_get_child(GTK_BUTTON(button))));
        least = std::min(least, isCut ? 0 : gtk_widget_get_allocated_height(button));
    }
    return least;
}

bool Dialog::scrollsWhatDoesNotFit() const
{
    return std::ranges::all_of(widgetsIn(native(m_window), GTK_TYPE_SCROLLED_WINDOW), [](GtkWidget* scroller) {
        auto* range = gtk_scrolled_window_get_vadjustment(GTK_SCROLLED_WINDOW(scroller));
        auto* bar = gtk_scrolled_window_get_vscrollbar(GTK_SCROLLED_WINDOW(scroller));
        const bool isMore = gtk_adjustment_get_upper(range) > gtk_adjustment_get_page_size(range) + 1;
        return (gtk_widget_get_mapped(bar) != FALSE) == isMore;
    });
}

Screen::Window Dialog::onScreen(Screen& screen) const { return test::onScreen(screen, native(m_window)); }

Screen::Point Dialog::middleOfButton(Screen& screen, const std::string& label) const
{
    for (auto* button : widgetsIn(native(m_window), GTK_TYPE_BUTTON)) {
        const char* shown = gtk_button_get_label(GTK_BUTTON(button));
        if (shown && shown == label)
            return middleOf(screen, button);
    }
    ADD_FAILURE() << "no button " << label;
    return {};
}

std::vector<Dialog> dialogs()
{
    std::vector<Dialog> found;
    auto* windows = gtk_window_get_toplevels();
    for (guint i = 0; i < g_list_model_get_n_items(windows); ++i) {
        const GObjectPointer<GtkWidget> window(static_cast<GtkWidget*>(g_list_model_get_item(windows, i)));
        if (gtk_widget_has_css_class(window.get(), "message") && gtk_widget_get_visible(window.get()))
            found.emplace_back(window.get());
    }
    return found;
}

Dialog dialog()
{
    const bool isAlone = runUntil([] { return dialogs().size() == 1; }, "a dialog is on the screen");
    return isAlone ? dialogs().front() : Dialog(nullptr);
}

} // namespace tq::test
