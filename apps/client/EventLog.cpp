#include "EventLog.h"

#include "Accessible.h"
#include "Text.h"
#include "Translation.h"

#include <algorithm>

namespace tqclient {

namespace {

constexpr int kMostLines = 1000;
constexpr std::size_t kLongestDetail = 2000;

// A page can make things happen faster than they can be drawn: a line that follows another closely waits, and those
// that wait are shown together, so many of them at most.
constexpr std::int64_t kBunchMilliseconds = 250;
constexpr std::size_t kMostWaiting = 100;

// Readable on light and on dark ground.
constexpr GdkRGBA kQuiet{ 0.47F, 0.47F, 0.47F, 1 };
constexpr GdkRGBA kAlarming{ 0.85F, 0.2F, 0.2F, 1 };

std::string timeOfDay()
{
    UniqueDateTime now(g_date_time_new_now_local());
    UniqueChars text(g_date_time_format(now.get(), "%H:%M:%S"));
    return text.get();
}

} // namespace

EventLog::EventLog()
    : m_box(gtk_box_new(GTK_ORIENTATION_VERTICAL, 0))
    , m_placeholder(gtk_label_new(_("Nothing has happened yet.")))
    , m_scroller(newGroup(GTK_TYPE_SCROLLED_WINDOW))
    , m_view(GTK_TEXT_VIEW(gtk_text_view_new()))
    , m_buffer(gtk_text_view_get_buffer(m_view))
    , m_wholeTag(gtk_text_buffer_create_tag(m_buffer, nullptr, "insert-hyphens", FALSE, nullptr))
    , m_timeTag(gtk_text_buffer_create_tag(m_buffer, nullptr, "foreground-rgba", &kQuiet, nullptr))
    , m_eventTag(gtk_text_buffer_create_tag(m_buffer, nullptr, "weight", PANGO_WEIGHT_BOLD, nullptr))
    , m_failureTag(gtk_text_buffer_create_tag(
          m_buffer, nullptr, "weight", PANGO_WEIGHT_BOLD, "foreground-rgba", &kAlarming, nullptr))
{
    setAccessibleName(GTK_WIDGET(m_view), _("Events"));
    setAccessibleName(m_scroller, _("Events"));
    gtk_text_view_set_editable(m_view, FALSE);
    gtk_text_view_set_cursor_visible(m_view, FALSE);
    gtk_text_view_set_accepts_tab(m_view, FALSE);
    gtk_text_view_set_wrap_mode(m_view, GTK_WRAP_WORD_CHAR);
    gtk_text_view_set_left_margin(m_view, 12);
    gtk_text_view_set_right_margin(m_view, 12);
    gtk_text_view_set_indent(m_view, -16);
    gtk_text_view_set_pixels_below_lines(m_view, 3);
    GtkTextIter end;
    gtk_text_buffer_get_end_iter(m_buffer, &end);
    m_end = gtk_text_buffer_create_mark(m_buffer, nullptr, &end, FALSE);

    addBar();
    gtk_widget_add_css_class(m_placeholder, "dim-label");
    gtk_widget_set_vexpand(m_placeholder, TRUE);
    gtk_box_append(GTK_BOX(m_box), m_placeholder);
    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(m_scroller), GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(m_scroller), GTK_WIDGET(m_view));
    gtk_widget_set_vexpand(m_scroller, TRUE);
    gtk_box_append(GTK_BOX(m_box), m_scroller);
    gtk_box_append(GTK_BOX(m_box), m_preview.widget());
    setOrientation(GTK_ORIENTATION_HORIZONTAL);
    clear();
}

EventLog::~EventLog()
{
    if (m_timer)
        g_source_remove(m_timer);
}

void EventLog::addBar()
{
    GtkWidget* bar = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 4);
    gtk_widget_add_css_class(bar, "event-log-bar");
    GtkWidget* title = gtk_label_new(_("Events"));
    gtk_widget_add_css_class(title, "heading");
    gtk_label_set_xalign(GTK_LABEL(title), 0);
    gtk_widget_set_hexpand(title, TRUE);
    GtkWidget* copyButton = mnemonicButton(_("_Copy all"));
    GtkWidget* clearButton = gtk_button_new_with_label(_("Clear"));
    gtk_box_append(GTK_BOX(bar), title);
    for (GtkWidget* button : { copyButton, clearButton }) {
        gtk_widget_add_css_class(button, "flat");
        gtk_box_append(GTK_BOX(bar), button);
    }
    m_signals.connect(copyButton, "clicked",
        G_CALLBACK(+[](GtkButton*, gpointer self) { static_cast<EventLog*>(self)->copyAll(); }), this);
    m_signals.connect(clearButton, "clicked",
        G_CALLBACK(+[](GtkButton*, gpointer self) { static_cast<EventLog*>(self)->clear(); }), this);
    gtk_box_append(GTK_BOX(m_box), bar);
}

void EventLog::setOrientation(GtkOrientation orientation)
{
    bool isAtSide = orientation == GTK_ORIENTATION_HORIZONTAL;
    const char* classes[] = { "event-log", "view", isAtSide ? "side" : "bottom", nullptr };
    gtk_widget_set_css_classes(m_box, classes);
    gtk_widget_set_size_request(m_box, isAtSide ? 300 : -1, isAtSide ? -1 : 200);
}

void EventLog::insert(std::string_view text, GtkTextTag* tag)
{
    GtkTextIter end;
    gtk_text_buffer_get_end_iter(m_buffer, &end);
    int offset = gtk_text_iter_get_offset(&end);
    gtk_text_buffer_insert(m_buffer, &end, text.data(), static_cast<int>(text.size()));
    GtkTextIter start;
    gtk_text_buffer_get_iter_at_offset(m_buffer, &start, offset);
    // What is broken to fit gets no hyphen: an address would be another one.
    gtk_text_buffer_apply_tag(m_buffer, m_wholeTag, &start, &end);
    if (tag)
        gtk_text_buffer_apply_tag(m_buffer, tag, &start, &end);
}

void EventLog::add(std::string_view event, std::string_view detail, Severity severity)
{
    if (m_waiting.size() == kMostWaiting) {
        m_waiting.pop_front();
        ++m_leftOut;
    }
    m_waiting.push_back(
        { timeOfDay(), displayText(event, kLongestDetail), displayText(detail, kLongestDetail), severity });
    auto show = [](gpointer data) -> gboolean {
        auto* self = static_cast<EventLog*>(data);
        self->m_timer = 0;
        self->showWaiting();
        return G_SOURCE_REMOVE;
    };
    if (m_timer)
        return;
    auto sinceLast = (g_get_monotonic_time() - m_lastShown) / 1000;
    m_timer
        = g_timeout_add(static_cast<guint>(std::max(kBunchMilliseconds - sinceLast, std::int64_t{ 0 })), show, this);
}

void EventLog::append(const Line& line)
{
    if (gtk_text_buffer_get_char_count(m_buffer))
        insert("\n", nullptr);
    insert(line.time + "  ", m_timeTag);
    insert(line.event, line.severity == Severity::Failure ? m_failureTag : m_eventTag);
    if (!line.detail.empty())
        insert("  " + line.detail, nullptr);
}

void EventLog::showWaiting()
{
    if (m_waiting.empty())
        return;
    if (m_leftOut)
        append({ m_waiting.front().time, "…",
            formatted(ngettext("%u more event", "%u more events", m_leftOut), m_leftOut), Severity::Plain });
    for (const auto& line : m_waiting)
        append(line);
    m_waiting.clear();
    m_leftOut = 0;
    m_lastShown = g_get_monotonic_time();
    dropOldest();
    gtk_widget_set_visible(m_placeholder, FALSE);
    gtk_widget_set_visible(m_scroller, TRUE);
    gtk_text_view_scroll_mark_onscreen(m_view, m_end);
}

void EventLog::showCapture(const tq::UIImage& image)
{
    m_preview.show(image);
    gtk_text_view_scroll_to_mark(m_view, m_end, 0, FALSE, 0, 0);
}

void EventLog::dropOldest()
{
    int excess = gtk_text_buffer_get_line_count(m_buffer) - kMostLines;
    if (excess <= 0)
        return;
    GtkTextIter start;
    GtkTextIter end;
    gtk_text_buffer_get_start_iter(m_buffer, &start);
    gtk_text_buffer_get_iter_at_line(m_buffer, &end, excess);
    gtk_text_buffer_delete(m_buffer, &start, &end);
}

void EventLog::copyAll()
{
    showWaiting();
    GtkTextIter start;
    GtkTextIter end;
    gtk_text_buffer_get_bounds(m_buffer, &start, &end);
    UniqueChars text(gtk_text_buffer_get_text(m_buffer, &start, &end, FALSE));
    gdk_clipboard_set_text(gtk_widget_get_clipboard(m_box), text.get());
}

void EventLog::clear()
{
    m_waiting.clear();
    m_leftOut = 0;
    gtk_text_buffer_set_text(m_buffer, "", 0);
    gtk_widget_set_visible(m_placeholder, TRUE);
    gtk_widget_set_visible(m_scroller, FALSE);
}

} // namespace tqclient
