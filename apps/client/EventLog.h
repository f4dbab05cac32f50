#pragma once

#include "CapturePreview.h"
#include "GLibTypes.h"
#include "SessionObserver.h"
#include "Signals.h"

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

namespace tqclient {

/// What has happened in the room, line by line: time, event, detail. The oldest lines go when there are too many, and
/// when more happens than can be shown.
class EventLog {
public:
    EventLog();
    EventLog(const EventLog&) = delete;
    EventLog& operator=(const EventLog&) = delete;
    ~EventLog();

    GtkWidget* widget() const { return m_box; }
    void add(std::string_view event, std::string_view detail, Severity severity);
    void showCapture(const tq::UIImage& image);
    /// Sets whether the log stands at the side of the board or below it.
    void setOrientation(GtkOrientation orientation);

private:
    struct Line {
        std::string time;
        std::string event;
        std::string detail;
        Severity severity;
    };

    void addBar();
    void showWaiting();
    void append(const Line& line);
    void insert(std::string_view text, GtkTextTag* tag);
    void dropOldest();
    void copyAll();
    void clear();

    GtkWidget* m_box;
    GtkWidget* m_placeholder;
    GtkWidget* m_scroller;
    GtkTextView* m_view;
    GtkTextBuffer* m_buffer;
    GtkTextTag* m_wholeTag;
    GtkTextTag* m_timeTag;
    GtkTextTag* m_eventTag;
    GtkTextTag* m_failureTag;
    GtkTextMark* m_end;
    // Lines that are not in the buffer yet, and how many were dropped before them.
    std::deque<Line> m_waiting;
    unsigned m_leftOut = 0;
    std::int64_t m_lastShown = 0;
    guint m_timer = 0;
    CapturePreview m_preview;
    Signals m_signals;
};

} // namespace tqclient
