#include "MainWindow.h"

#include "TQWhiteBoardLib/TQWBWebView.h"
#include "TQWhiteBoardLib/TQWhiteBoard.h"
#include "TQWhiteBoardLib/gtk/NativeView.h"
#include "Translation.h"
#include "platform/Foundation/Dispatch.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

namespace tqclient {

namespace {

/// What a field can hold without keeping its user waiting, in bytes; no recording's address is as long.
constexpr std::size_t kLongestAddress = 4096;

// Fingers press the buttons of windows that are as narrow as a phone held upright, or as low as one held sideways.
constexpr int kNarrow = 600;
constexpr int kLow = 480;

/// The widget within the view that can have the focus: the engine's own.
GtkWidget* engineWidget(const tq::TQWBWebView& view) { return gtk_widget_get_first_child(tq::nativeView(view)); }

void showWindow(GtkWindow* window, GtkWindow* parent)
{
    gtk_window_set_transient_for(window, parent);
    gtk_window_set_destroy_with_parent(window, TRUE);
    gtk_window_present(window);
}

} // namespace

MainWindow::MainWindow(const Options& options, Session& session, std::function<void()> closed)
    : m_session(session)
    , m_closed(std::move(closed))
    , m_log([this](const std::string& failure) { tell(failure); })
    , m_start(options, [this](Operation operation, const Options& record) { m_session.start(operation, record); })
{
    gtk_window_set_default_size(m_window, options.size.width, options.size.height);
    g_signal_connect_swapped(m_window, "close-request", G_CALLBACK(+[](MainWindow* self) -> gboolean {
        self->m_closed();
        return TRUE;
    }),
        this);
    addActions();
    putTogether();
    followPanel();
    setSmall(options.size.width < kNarrow || options.size.height < kLow);
    followSize();
    sessionStateChanged({});
}

MainWindow::~MainWindow()
{
    sessionViewChanged(nullptr);
    g_clear_weak_pointer(&m_toast);
    gtk_window_destroy(m_window);
}

void MainWindow::present()
{
    gtk_window_present(m_window);
    m_start.focus();
}

void MainWindow::putTogether()
{
    gtk_box_append(GTK_BOX(content()), m_start.widget());
    adw_flap_set_flap(m_panel, m_log.widget());
    auto* switcher = m_ui.get<AdwViewSwitcherTitle>("switcher");
    adw_view_switcher_title_set_stack(switcher, m_start.forms());
    g_object_bind_property(switcher, "title-visible", m_start.bar(), "reveal", G_BINDING_SYNC_CREATE);
    nameControls(GTK_WIDGET(m_window));
    g_signal_connect_swapped(m_offer, "response", G_CALLBACK(+[](MainWindow* self) { self->dismissOffer(); }), this);
}

void MainWindow::followPanel()
{
    auto moved = +[](MainWindow* self) {
        const bool isRevealed = adw_flap_get_reveal_flap(self->m_panel);
        if (!isRevealed && self->hasFocus(self->m_log.widget()))
            self->focusContent();
        // What is out of sight is not there for screen readers either.
        gtk_widget_set_visible(self->m_log.widget(), isRevealed || adw_flap_get_reveal_progress(self->m_panel) > 0);
    };
    for (const char* property : { "notify::reveal-flap", "notify::reveal-progress" })
        g_signal_connect_swapped(m_panel, property, G_CALLBACK(moved), this);
    moved(this);
}

void MainWindow::followSize()
{
    auto laidOut = +[](GdkSurface*, int width, int height, gpointer self) {
        const bool isSmall = width < kNarrow || height < kLow;
        if (isSmall == bool(gtk_widget_has_css_class(GTK_WIDGET(static_cast<MainWindow*>(self)->m_window), "small")))
            return;
        // Not in the middle of the layout that told us.
        tq::dispatchToMain([isSmall, weakSelf = static_cast<MainWindow*>(self)->weak_from_this()] {
            if (const auto strongSelf = weakSelf.lock())
                strongSelf->setSmall(isSmall);
        });
    };
    gtk_widget_realize(GTK_WIDGET(m_window));
    g_signal_connect(gtk_native_get_surface(GTK_NATIVE(m_window)), "layout", G_CALLBACK(laidOut), this);
}

void MainWindow::setSmall(bool isSmall)
{
    (isSmall ? gtk_widget_add_css_class : gtk_widget_remove_css_class)(GTK_WIDGET(m_window), "small");
    // A screen of that size shows one window; nobody makes it smaller.
    adw_header_bar_set_decoration_layout(m_ui.get<AdwHeaderBar>("header"), isSmall ? ":close" : nullptr);
}

void MainWindow::addActions()
{
    auto add = [this](const char* name, std::function<void()> run) {
        addAction(G_ACTION_MAP(m_actionGroup.get()), name, std::move(run));
    };
    gtk_widget_insert_action_group(GTK_WIDGET(m_window), "win", G_ACTION_GROUP(m_actionGroup.get()));
    UniqueObject<GPropertyAction> showEvents(g_property_action_new("show-events", m_panel, "reveal-flap"));
    g_action_map_add_action(G_ACTION_MAP(m_actionGroup.get()), G_ACTION(showEvents.get()));
    add("leave", [this] { m_session.leave(); });
    add("submit", [this] { m_start.submit(); });
    add("replay", [this] {
        dismissOffer();
        m_session.replay(m_recording);
    });
    add("copy-address", [this] { gdk_clipboard_set_text(gtk_widget_get_clipboard(content()), m_recording.c_str()); });
    add("retry", [this] { m_session.retry(); });
    add("close-what-is-open", [this] { closeWhatIsOpen(); });
    add("next-part", [this] { goToNextPart(GTK_DIR_TAB_FORWARD); });
    add("previous-part", [this] { goToNextPart(GTK_DIR_TAB_BACKWARD); });
    add("copy-events", [this] { m_log.copyAll(); });
    add("clear-events", [this] { m_log.clear(); });
    add("copy-picture", [this] { m_log.copyPicture(); });
    add("save-picture", [this] { m_log.savePicture(); });
    add("keys", [this] { showWindow(Ui("keys.ui").get<GtkWindow>("keys"), m_window); });
    add("about", [this] {
        const Ui ui("about.ui");
        adw_about_window_set_version(ui.get<AdwAboutWindow>("about"), tq::TQWhiteBoard::getVersion().c_str());
        showWindow(ui.get<GtkWindow>("about"), m_window);
    });
}

void MainWindow::closeWhatIsOpen()
{
    if (std::exchange(m_tellsFailure, false))
        showPage();
    else if (gtk_widget_get_visible(m_offer))
        dismissOffer();
    else if (adw_flap_get_folded(m_panel))
        adw_flap_set_reveal_flap(m_panel, FALSE);
}

bool MainWindow::hasFocus(GtkWidget* part) const
{
    GtkWidget* focus = gtk_window_get_focus(m_window);
    return focus && (focus == part || gtk_widget_is_ancestor(focus, part));
}

void MainWindow::goToNextPart(GtkDirectionType direction)
{
    std::vector<GtkWidget*> parts{ content(), m_ui.get("header") };
    if (gtk_widget_get_visible(m_offer))
        parts.push_back(m_offer);
    if (adw_flap_get_reveal_flap(m_panel))
        parts.push_back(m_log.widget());
    if (direction == GTK_DIR_TAB_BACKWARD)
        std::ranges::reverse(parts);
    auto at = std::ranges::find_if(parts, [this](GtkWidget* part) { return hasFocus(part); });
    if (at != parts.end())
        std::rotate(parts.begin(), at + 1, parts.end());
    for (GtkWidget* part : parts) {
        if (part == content())
            focusContent();
        else if (!gtk_widget_child_focus(part, GTK_DIR_TAB_FORWARD))
            continue;
        break;
    }
    gtk_window_set_focus_visible(m_window, TRUE);
}

void MainWindow::focusContent()
{
    if (m_page == m_start.widget())
        m_start.focus();
    else if (m_page == m_failed)
        gtk_widget_grab_focus(m_ui.get("retry"));
    else if (m_page == m_board && m_view)
        gtk_widget_grab_focus(engineWidget(*m_view));
}

void MainWindow::sessionStateChanged(const SessionState& state)
{
    const bool hasLeft = state.phase == Phase::Left && m_state.phase != Phase::Left;
    m_state = state;
    if (state.isBusy())
        m_tellsFailure = false;
    gtk_widget_set_visible(m_ui.get("leave"), state.showsBoard || state.canBeLeft());
    gtk_widget_set_visible(m_ui.get("recording"), state.isRecording);
    enableActions();
    showPage();
    if (hasLeft)
        tell(state.summary());
}

void MainWindow::enableActions()
{
    auto enable = [this](const char* action, bool isEnabled) {
        g_simple_action_set_enabled(
            G_SIMPLE_ACTION(g_action_map_lookup_action(G_ACTION_MAP(m_actionGroup.get()), action)), isEnabled);
    };
    enable("leave", m_state.canBeLeft());
    enable("submit", !m_state.isBusy());
    enable("replay", !m_state.isBusy());
    enable("copy-address", !m_recording.empty());
    auto* replay = m_ui.get<GtkButton>("replay");
    gtk_button_set_label(replay, m_state.phase == Phase::InRoom ? _("Leave and re_play") : _("Re_play"));
    nameControls(GTK_WIDGET(replay));
}

void MainWindow::showPage()
{
    GtkWidget* before = m_page;
    m_page = m_state.showsBoard ? m_board : m_state.isBusy() ? m_busy : m_tellsFailure ? m_failed : m_start.widget();
    for (GtkWidget* page : { m_board, m_busy, m_failed, m_start.widget() })
        gtk_widget_set_visible(page, page == m_page);
    showTitle();
    if (m_page != before)
        focusContent();
}

void MainWindow::showTitle()
{
    const std::string program = _("Whiteboard");
    const auto summary = m_state.summary();
    const bool isNamed = m_state.showsBoard && !m_state.room.empty();
    gtk_window_set_title(m_window, (isNamed ? m_state.room + " – " + program : program).c_str());
    adw_status_page_set_title(ADW_STATUS_PAGE(m_busy), summary.c_str());
    auto* title = m_ui.get<AdwWindowTitle>("title");
    adw_window_title_set_title(title, (isNamed ? m_state.room : program).c_str());
    adw_window_title_set_subtitle(title, m_state.showsBoard ? summary.c_str() : "");
    setAccessibleName(GTK_WIDGET(title), summary);
    const bool isChoosing = m_page == m_start.widget();
    gtk_widget_set_visible(m_ui.get("switcher"), isChoosing);
    gtk_widget_set_visible(GTK_WIDGET(title), !isChoosing);
}

void MainWindow::sessionViewChanged(const std::shared_ptr<tq::TQWBWebView>& view)
{
    GtkWidget* widget = view ? tq::nativeView(*view) : nullptr;
    adw_bin_set_child(ADW_BIN(m_board), widget);
    m_view = view;
    if (!view)
        return;
    for (GtkWidget* named : { widget, engineWidget(*view) })
        setAccessibleName(named, _("The room's page"));
    gtk_widget_set_hexpand(widget, TRUE);
    gtk_widget_set_vexpand(widget, TRUE);
}

void MainWindow::sessionEvent(std::string_view name, std::string_view detail, Severity severity)
{
    m_log.add(name, detail, severity);
}

void MainWindow::sessionFailed(std::string_view title, std::string_view detail)
{
    // Something else goes on.
    if (m_state.phase != Phase::Failed)
        return tell(std::string(title) + "\n" + std::string(detail));
    auto* page = ADW_STATUS_PAGE(m_failed);
    UniqueChars description(g_markup_escape_text(detail.data(), static_cast<gssize>(detail.size())));
    adw_status_page_set_title(page, std::string(title).c_str());
    adw_status_page_set_description(page, description.get());
    m_tellsFailure = true;
    showPage();
}

void MainWindow::tell(const std::string& text, const char* button, const char* action)
{
    if (m_toast)
        adw_toast_dismiss(m_toast);
    // A label of our own takes nothing for markup, whoever it comes from.
    auto* label = GTK_WIDGET(g_object_new(GTK_TYPE_LABEL, "accessible-role", GTK_ACCESSIBLE_ROLE_ALERT, "label",
        text.c_str(), "wrap", TRUE, "wrap-mode", PANGO_WRAP_WORD_CHAR, "natural-wrap-mode", GTK_NATURAL_WRAP_NONE,
        "lines", 3, "ellipsize", PANGO_ELLIPSIZE_END, "xalign", 0.0, nullptr));
    g_set_weak_pointer(&m_toast, adw_toast_new(""));
    adw_toast_set_custom_title(m_toast, label);
    adw_toast_set_button_label(m_toast, button);
    adw_toast_set_action_name(m_toast, action);
    adw_toast_overlay_add_toast(m_toasts, m_toast);
    nameControls(GTK_WIDGET(m_toasts));
}

void MainWindow::sessionRecorded(const tq::OptionalText& url)
{
    if (!url || url->size() > kLongestAddress)
        return;
    m_recording = *url;
    m_start.setReplayUrl(*url);
    enableActions();
    gtk_widget_set_visible(m_offer, TRUE);
}

void MainWindow::dismissOffer()
{
    if (hasFocus(m_offer))
        focusContent();
    gtk_widget_set_visible(m_offer, FALSE);
}

void MainWindow::sessionCaptured(const tq::UIImage& image)
{
    m_log.showPicture(image);
    // Whoever takes a picture wants to see it, but not to lose a part of the board to it.
    if (adw_flap_get_reveal_flap(m_panel))
        return;
    tell(_("A picture of the board is taken"), _("Show"), "win.show-events");
}

} // namespace tqclient
