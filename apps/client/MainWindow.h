#pragma once

#include "EventLog.h"
#include "Session.h"
#include "StartPage.h"
#include "Ui.h"

#include <functional>
#include <memory>
#include <string>

namespace tqclient {

/// The program's window: the board, or the start page while there is none; the room's state; the event log. Main
/// thread.
class MainWindow final : public SessionObserver, public std::enable_shared_from_this<MainWindow> {
public:
    /// @param session outlives the window. @param closed runs when the window's user closes it.
    MainWindow(const Options& options, Session& session, std::function<void()> closed);
    MainWindow(const MainWindow&) = delete;
    MainWindow& operator=(const MainWindow&) = delete;
    ~MainWindow() override;

    void present();
    /// What pictures of the board are taken of.
    GtkWidget* content() const { return m_ui.get("pages"); }

    void sessionStateChanged(const SessionState& state) override;
    void sessionViewChanged(const std::shared_ptr<tq::TQWBWebView>& view) override;
    void sessionEvent(std::string_view name, std::string_view detail, Severity severity) override;
    void sessionFailed(std::string_view title, std::string_view detail) override;
    void sessionRecorded(const tq::OptionalText& url) override;
    void sessionCaptured(const tq::UIImage& image) override;

private:
    void putTogether();
    void followPanel();
    void followSize();
    void setSmall(bool isSmall);
    void addActions();
    void enableActions();
    void showPage();
    void showTitle();
    void tell(const std::string& text, const char* button = nullptr, const char* action = nullptr);
    void dismissOffer();
    void closeWhatIsOpen();
    void goToNextPart(GtkDirectionType direction);
    void focusContent();
    bool hasFocus(GtkWidget* part) const;

    Ui m_ui{ "window.ui" };
    Session& m_session;
    std::function<void()> m_closed;
    UniqueObject<GSimpleActionGroup> m_actionGroup{ g_simple_action_group_new() };
    GtkWindow* m_window = m_ui.get<GtkWindow>("window");
    // The pages, one of which is shown, besides the start page.
    GtkWidget* m_board = m_ui.get("board");
    GtkWidget* m_busy = m_ui.get("busy");
    GtkWidget* m_failed = m_ui.get("failed");
    GtkWidget* m_page = nullptr;
    AdwFlap* m_panel = m_ui.get<AdwFlap>("flap");
    GtkWidget* m_offer = m_ui.get("offer");
    AdwToastOverlay* m_toasts = m_ui.get<AdwToastOverlay>("toasts");
    // The one on the screen.
    AdwToast* m_toast = nullptr;
    EventLog m_log;
    StartPage m_start;
    // Keeps the widget that it owns, which is in the window.
    std::shared_ptr<tq::TQWBWebView> m_view;
    SessionState m_state;
    // Whether the failure that the session ended with is still to be read.
    bool m_tellsFailure = false;
    std::string m_recording;
};

} // namespace tqclient
