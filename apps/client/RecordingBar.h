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
    /// @param replay runs with the recording's address.
    explicit RecordingBar(std::function<void(const std::string& url)> replay);

    GtkWidget* widget() const { return GTK_WIDGET(m_revealer); }
    void offer(const std::string& url);
    void show(const SessionState& state);
    /// Sets whether the buttons stand beside the text or below it.
    void setOrientation(GtkOrientation orientation);
    bool isShown() const { return gtk_revealer_get_reveal_child(m_revealer); }
    void dismiss();

private:
    template <void (RecordingBar::*method)()> static GCallback handler();
    void replay();
    void copyAddress();

    std::function<void(const std::string& url)> m_replay;
    std::string m_url;
    GtkRevealer* m_revealer;
    GtkWidget* m_bar;
    GtkWidget* m_content;
    GtkLabel* m_address;
    GtkWidget* m_replayButton;
    Signals m_signals;
};

} // namespace tqclient
