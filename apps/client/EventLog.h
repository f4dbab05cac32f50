#pragma once

#include "SessionObserver.h"
#include "Ui.h"

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

namespace tqclient {

/// What has happened in the room, line by line: time, event, detail. The oldest lines go when there are too many, and
/// when more happens than can be shown.
class EventLog {
public:
    /// @param failed is told why a picture cannot be saved.
    explicit EventLog(std::function<void(const std::string& failure)> failed);
    EventLog(const EventLog&) = delete;
    EventLog& operator=(const EventLog&) = delete;
    ~EventLog();

    GtkWidget* widget() const { return m_ui.get("event-log"); }
    void add(std::string_view event, std::string_view detail, Severity severity);
    void copyAll();
    void clear();

    // The picture of the board that was captured last, below the lines.
    void showPicture(const tq::UIImage& image);
    void copyPicture();
    /// Asks for a place, and writes the picture there.
    void savePicture();

private:
    struct Line {
        std::string time;
        std::string event;
        std::string detail;
        Severity severity;
    };

    void showWaiting();
    void append(const Line& line);
    void insert(std::string_view text, const char* tag = nullptr);
    void dropOldest();
    void showLines(bool areThere);

    Ui m_ui{ "event-log.ui" };
    GtkTextBuffer* m_buffer = m_ui.get<GtkTextBuffer>("buffer");
    GtkTextMark* m_end = nullptr;
    std::function<void(const std::string& failure)> m_failed;
    UniqueObject<GdkTexture> m_texture;
    // The question where to save, while it is on the screen.
    UniqueObject<GtkNativeDialog> m_question;
    // Lines that are not in the buffer yet, and how many were dropped before them.
    std::deque<Line> m_waiting;
    unsigned m_leftOut = 0;
    std::int64_t m_lastShown = 0;
    guint m_timer = 0;
};

} // namespace tqclient
