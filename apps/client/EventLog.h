#pragma once

#include "CapturePreview.h"
#include "GLibTypes.h"
#include "SessionObserver.h"
#include "Signals.h"

#include <string_view>

namespace tqclient {

/// What has happened in the room, line by line: time, event, detail. The oldest lines go when there are too many.
class EventLog {
public:
    EventLog();

    GtkWidget* widget() const { return m_box; }
    void add(std::string_view event, std::string_view detail, Severity severity);
    void showCapture(const tq::UIImage& image);
    /// Sets whether the log stands at the side of the board or below it.
    void setOrientation(GtkOrientation orientation);

private:
    void addBar();
    void insert(std::string_view text, GtkTextTag* tag);
    void dropOldest();
    void copyAll();
    void clear();

    GtkWidget* m_box;
    GtkWidget* m_placeholder;
    GtkWidget* m_scroller;
    GtkTextView* m_view;
    GtkTextBuffer* m_buffer;
    GtkTextTag* m_timeTag;
    GtkTextTag* m_eventTag;
    GtkTextTag* m_failureTag;
    GtkTextMark* m_end;
    CapturePreview m_preview;
    Signals m_signals;
};

} // namespace tqclient
