#include "EventLog.h"

#include "Text.h"
#include "Translation.h"
#include "ViewCapture.h"

#include <algorithm>

namespace tqclient {

namespace {

constexpr int kMostLines = 1000;
constexpr std::size_t kLongestDetail = 2000;

// A page can make things happen faster than they can be drawn: a line that follows another closely waits, and those
// that wait are shown together, so many of them at most.
constexpr std::int64_t kBunchMilliseconds = 250;
constexpr std::size_t kMostWaiting = 100;

std::string timeOfDay()
{
    UniqueDateTime now(g_date_time_new_now_local());
    UniqueChars text(g_date_time_format(now.get(), "%H:%M:%S"));
    return text.get();
}

} // namespace

EventLog::EventLog(std::function<void(const std::string& failure)> failed)
    : m_failed(std::move(failed))
{
    nameControls(widget());
    GtkTextIter end;
    gtk_text_buffer_get_end_iter(m_buffer, &end);
    m_end = gtk_text_buffer_create_mark(m_buffer, nullptr, &end, FALSE);
}

EventLog::~EventLog()
{
    if (m_timer)
        g_source_remove(m_timer);
}

void EventLog::add(std::string_view event, std::string_view detail, Severity severity)
{
    if (m_waiting.size() == kMostWaiting) {
        m_waiting.pop_front();
        ++m_leftOut;
    }
    m_waiting.push_back(
        { timeOfDay(), displayText(event, kLongestDetail), displayText(detail, kLongestDetail), severity });
    if (m_timer)
        return;
    auto show = [](gpointer data) -> gboolean {
        auto* self = static_cast<EventLog*>(data);
        self->m_timer = 0;
        self->showWaiting();
        return G_SOURCE_REMOVE;
    };
    const auto sinceLast = (g_get_monotonic_time() - m_lastShown) / 1000;
    m_timer
        = g_timeout_add(static_cast<guint>(std::max(kBunchMilliseconds - sinceLast, std::int64_t{ 0 })), show, this);
}

void EventLog::insert(std::string_view text, const char* tag)
{
    GtkTextIter end;
    gtk_text_buffer_get_end_iter(m_buffer, &end);
    gtk_text_buffer_insert_with_tags_by_name(
        m_buffer, &end, text.data(), static_cast<int>(text.size()), "plain", tag, nullptr);
}

void EventLog::append(const Line& line)
{
    if (gtk_text_buffer_get_char_count(m_buffer))
        insert("\n");
    insert(line.time + "  ", "time");
    insert(line.event, line.severity == Severity::Failure ? "failure" : "event");
    if (!line.detail.empty())
        insert("  " + line.detail);
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
    showLines(true);
    gtk_text_view_scroll_mark_onscreen(m_ui.get<GtkTextView>("lines"), m_end);
}

void EventLog::showLines(bool areThere)
{
    gtk_widget_set_visible(m_ui.get("happened"), areThere);
    gtk_widget_set_visible(m_ui.get("empty"), !areThere);
}

void EventLog::dropOldest()
{
    const int excess = gtk_text_buffer_get_line_count(m_buffer) - kMostLines;
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
    gdk_clipboard_set_text(gtk_widget_get_clipboard(widget()), text.get());
}

void EventLog::clear()
{
    m_waiting.clear();
    m_leftOut = 0;
    gtk_text_buffer_set_text(m_buffer, "", 0);
    showLines(false);
}

void EventLog::showPicture(const tq::UIImage& image)
{
    auto png = image.pngRepresentation();
    UniqueBytes bytes(g_bytes_new(png.data(), png.size()));
    m_texture.reset(gdk_texture_new_from_bytes(bytes.get(), nullptr));
    if (!m_texture)
        return;
    gtk_picture_set_paintable(m_ui.get<GtkPicture>("picture"), GDK_PAINTABLE(m_texture.get()));
    auto caption = formatted(_("Captured, %d×%d"), static_cast<int>(image.width()), static_cast<int>(image.height()));
    gtk_label_set_text(m_ui.get<GtkLabel>("caption"), caption.c_str());
    gtk_widget_set_visible(m_ui.get("capture"), TRUE);
}

void EventLog::copyPicture() { gdk_clipboard_set_texture(gtk_widget_get_clipboard(widget()), m_texture.get()); }

void EventLog::savePicture()
{
    auto* window = GTK_WINDOW(gtk_widget_get_root(widget()));
    auto* chooser = gtk_file_chooser_native_new(
        _("Save the picture"), window, GTK_FILE_CHOOSER_ACTION_SAVE, _("_Save"), _("_Cancel"));
    gtk_file_chooser_set_current_name(GTK_FILE_CHOOSER(chooser), _("whiteboard.png"));
    m_question.reset(GTK_NATIVE_DIALOG(chooser));
    gtk_native_dialog_set_modal(m_question.get(), TRUE);
    auto answered = +[](GtkNativeDialog* dialog, int response, gpointer self) {
        UniqueObject<GFile> file(gtk_file_chooser_get_file(GTK_FILE_CHOOSER(dialog)));
        auto* log = static_cast<EventLog*>(self);
        if (response != GTK_RESPONSE_ACCEPT || !file)
            return;
        if (auto failure = writePicture(log->m_texture.get(), file.get()); !failure.empty())
            log->m_failed(failure);
    };
    g_signal_connect(chooser, "response", G_CALLBACK(answered), this);
    gtk_native_dialog_show(m_question.get());
}

} // namespace tqclient
