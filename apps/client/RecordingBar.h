#pragma once

#include "GLibTypes.h"
#include "SessionState.h"
#include "Signals.h"

#include <functional>
#include <string>

namespace tqclient {

/// Offers the recording that was made last, until it is watched or dismissed.
class RecordingBar {
public:
    /// @param replay runs with the recording's address. @param leaving runs before the bar goes, while what is in it
    /// may have the focus.
    RecordingBar(std::function<void(const std::string& url)> replay, std::function<void()> leaving);

    GtkWidget* widget() const { return m_bar; }
    void offer(const std::string& url);
    void show(const SessionState& state);
    /// Sets whether the buttons stand beside the text or below it.
    void setOrientation(GtkOrientation orientation);
    bool isShown() const { return gtk_widget_get_visible(m_bar); }
    void dismiss();

private:
    template <void (RecordingBar::*method)()> static GCallback handler();
    void replay();
    void copyAddress();

    std::function<void(const std::string& url)> m_replay;
    std::function<void()> m_leaving;
    std::string m_url;
    GtkWidget* m_bar;
    GtkWidget* m_content;
    GtkLabel* m_address;
    GtkWidget* m_replayButton;
    Signals m_signals;
};

} // namespace tqclient
