#include "MainWindow.h"

#include "Accessible.h"
#include "MainThread.h"
#include "Options.h"
#include "ShortcutsHelp.h"
#include "TQWhiteBoardLib/TQWBWebView.h"
#include "TQWhiteBoardLib/gtk/NativeView.h"
#include "Translation.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

namespace tqclient {

namespace {

constexpr const char* kStartPage = "start";
constexpr const char* kBoardPage = "board";

/// What a field can hold without keeping its user waiting, in bytes; no recording's address is as long.
constexpr std::size_t kLongestAddress = 4096;

/// For touches GtkPaned's handle is fifty pixels wide to either side, over whatever is there: the board and its
/// buttons.
void leaveTouchesToChildren(GtkWidget* paned)
{
    UniqueObject<GListModel> controllers(gtk_widget_observe_controllers(paned));
    for (guint i = 0; i < g_list_model_get_n_items(controllers.get()); ++i) {
        UniqueObject<GtkEventController> controller(
            static_cast<GtkEventController*>(g_list_model_get_item(controllers.get(), i)));
        if (GTK_IS_GESTURE_PAN(controller.get()))
            gtk_event_controller_set_propagation_phase(controller.get(), GTK_PHASE_NONE);
    }
}

/// The widget within the view that can have the focus: the engine's own.
GtkWidget* engineWidget(const tq::TQWBWebView& view) { return gtk_widget_get_first_child(tq::nativeView(view)); }

} // namespace

MainWindow::MainWindow(const Options& options, Actions actions)
    : m_window(GTK_WINDOW(gtk_window_new()))
    , m_actions(std::move(actions))
    , m_message([this] { leavePart(m_message.widget()); })
    , m_recording(m_actions.replayRecorded, [this] { leavePart(m_recording.widget()); })
    , m_start(options, m_actions.join, m_actions.replay)
    , m_self(std::make_shared<MainWindow*>(this))
{
    gtk_window_set_title(m_window, _("Whiteboard"));
    gtk_window_set_default_size(m_window, options.size.width, options.size.height);
    buildHeader();
    buildBody();
    addShortcuts();
    followSize();
    m_signals.connect(m_window, "close-request", G_CALLBACK(+[](GtkWindow*, gpointer self) -> gboolean {
        static_cast<MainWindow*>(self)->m_actions.closed();
        return TRUE;
    }),
        this);
    sessionStateChanged({});
    applyLayout(layoutOf(options.size.width, options.size.height));
}

MainWindow::~MainWindow()
{
    sessionViewChanged(nullptr);
    gtk_window_destroy(m_window);
}

void MainWindow::present()
{
    gtk_window_present(m_window);
    m_start.focus();
}

void MainWindow::buildHeader()
{
    m_title = GTK_LABEL(gtk_label_new(_("Whiteboard")));
    gtk_widget_add_css_class(GTK_WIDGET(m_title), "title");
    gtk_label_set_ellipsize(m_title, PANGO_ELLIPSIZE_END);
    m_headerPlace = GTK_BOX(gtk_box_new(GTK_ORIENTATION_VERTICAL, 2));
    gtk_widget_set_valign(GTK_WIDGET(m_headerPlace), GTK_ALIGN_CENTER);
    gtk_box_append(m_headerPlace, GTK_WIDGET(m_title));

    m_leaveButton = mnemonicButton(_("_Leave"));
    gtk_widget_set_tooltip_text(m_leaveButton, _("Leave the room"));
    m_signals.connect(m_leaveButton, "clicked", G_CALLBACK(+[](GtkButton*, gpointer data) {
        auto* self = static_cast<MainWindow*>(data);
        self->m_message.dismiss();
        self->m_actions.leave();
    }),
        this);

    m_logButton = GTK_TOGGLE_BUTTON(gtk_toggle_button_new());
    setMnemonicLabel(GTK_WIDGET(m_logButton), _("E_vents"));
    gtk_widget_set_tooltip_text(GTK_WIDGET(m_logButton), _("Show what has happened in the room (F9)"));
    m_signals.connect(m_logButton, "toggled", G_CALLBACK(+[](GtkToggleButton* button, gpointer data) {
        auto* self = static_cast<MainWindow*>(data);
        bool isShown = gtk_toggle_button_get_active(button);
        if (!isShown)
            self->leavePart(self->m_log.widget());
        gtk_widget_set_visible(self->m_log.widget(), isShown);
        gtk_widget_remove_css_class(GTK_WIDGET(button), "suggested-action");
    }),
        this);

    m_header = GTK_HEADER_BAR(gtk_header_bar_new());
    gtk_header_bar_set_title_widget(m_header, GTK_WIDGET(m_headerPlace));
    gtk_header_bar_pack_start(m_header, m_leaveButton);
    gtk_header_bar_pack_end(m_header, GTK_WIDGET(m_logButton));
    gtk_window_set_titlebar(m_window, GTK_WIDGET(m_header));
}

void MainWindow::buildBody()
{
    m_board = GTK_BOX(gtk_box_new(GTK_ORIENTATION_VERTICAL, 0));
    m_pages = GTK_STACK(gtk_stack_new());
    gtk_stack_add_named(m_pages, m_start.widget(), kStartPage);
    gtk_stack_add_named(m_pages, GTK_WIDGET(m_board), kBoardPage);
    m_capture.emplace(GTK_WIDGET(m_pages));

    m_paned = GTK_PANED(newGroup(GTK_TYPE_PANED));
    gtk_paned_set_start_child(m_paned, GTK_WIDGET(m_pages));
    gtk_paned_set_end_child(m_paned, m_log.widget());
    gtk_paned_set_resize_end_child(m_paned, FALSE);
    gtk_paned_set_shrink_start_child(m_paned, FALSE);
    gtk_paned_set_shrink_end_child(m_paned, FALSE);
    leaveTouchesToChildren(GTK_WIDGET(m_paned));
    gtk_widget_set_vexpand(GTK_WIDGET(m_paned), TRUE);
    setAccessibleName(GTK_WIDGET(m_paned), _("Board and events"));

    m_stripPlace = GTK_BOX(gtk_box_new(GTK_ORIENTATION_VERTICAL, 0));
    gtk_widget_add_css_class(GTK_WIDGET(m_stripPlace), "status-strip");
    GtkWidget* body = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    gtk_box_append(GTK_BOX(body), GTK_WIDGET(m_stripPlace));
    gtk_box_append(GTK_BOX(body), m_message.widget());
    gtk_box_append(GTK_BOX(body), m_recording.widget());
    gtk_box_append(GTK_BOX(body), GTK_WIDGET(m_paned));
    gtk_window_set_child(m_window, body);
}

template <auto method> void MainWindow::addShortcut(const char* trigger, GtkPropagationPhase phase)
{
    auto run = [](GtkWidget*, GVariant*, gpointer self) -> gboolean {
        return (static_cast<MainWindow*>(self)->*method)() ? TRUE : FALSE;
    };
    GtkEventController* controller = gtk_shortcut_controller_new();
    gtk_event_controller_set_propagation_phase(controller, phase);
    gtk_shortcut_controller_add_shortcut(GTK_SHORTCUT_CONTROLLER(controller),
        gtk_shortcut_new(gtk_shortcut_trigger_parse_string(trigger), gtk_callback_action_new(run, this, nullptr)));
    gtk_widget_add_controller(GTK_WIDGET(m_window), controller);
}

void MainWindow::addShortcuts()
{
    // Before the page sees them: whatever it does with its keys, there is a way out of it.
    addShortcut<&MainWindow::goToNextPart<GTK_DIR_TAB_FORWARD>>("F6", GTK_PHASE_CAPTURE);
    addShortcut<&MainWindow::goToNextPart<GTK_DIR_TAB_BACKWARD>>("<Shift>F6", GTK_PHASE_CAPTURE);
    addShortcut<&MainWindow::toggleLog>("F9", GTK_PHASE_CAPTURE);
    addShortcut<&MainWindow::showHelp>("F1", GTK_PHASE_CAPTURE);
    addShortcut<&MainWindow::close>("<Control>q|<Control>w", GTK_PHASE_CAPTURE);
    // What has opened within the page, or within a field, closes first.
    addShortcut<&MainWindow::closeWhatIsOpen>("Escape", GTK_PHASE_BUBBLE);
}

bool MainWindow::toggleLog()
{
    gtk_toggle_button_set_active(m_logButton, !gtk_toggle_button_get_active(m_logButton));
    return true;
}

bool MainWindow::showHelp()
{
    showShortcutsHelp(m_window);
    return true;
}

bool MainWindow::close()
{
    gtk_window_close(m_window);
    return true;
}

bool MainWindow::closeWhatIsOpen()
{
    if (m_message.isShown())
        m_message.dismiss();
    else if (m_recording.isShown())
        m_recording.dismiss();
    else if (m_layout != Layout::Wide && gtk_toggle_button_get_active(m_logButton))
        toggleLog();
    else
        return false;
    return true;
}

bool MainWindow::hasFocus(GtkWidget* part) const
{
    GtkWidget* focus = gtk_window_get_focus(m_window);
    return focus && (focus == part || gtk_widget_is_ancestor(focus, part));
}

template <GtkDirectionType direction> bool MainWindow::goToNextPart()
{
    std::vector<GtkWidget*> parts{ GTK_WIDGET(m_pages), GTK_WIDGET(m_header) };
    if (m_message.isShown())
        parts.push_back(m_message.widget());
    if (m_recording.isShown())
        parts.push_back(m_recording.widget());
    if (gtk_widget_get_visible(m_log.widget()))
        parts.push_back(m_log.widget());
    if (direction == GTK_DIR_TAB_BACKWARD)
        std::ranges::reverse(parts);
    auto at = std::ranges::find_if(parts, [this](GtkWidget* part) { return hasFocus(part); });
    if (at != parts.end())
        std::rotate(parts.begin(), at + 1, parts.end());
    for (GtkWidget* part : parts) {
        if (part == GTK_WIDGET(m_pages))
            focusContent();
        else if (!gtk_widget_child_focus(part, GTK_DIR_TAB_FORWARD))
            continue;
        break;
    }
    gtk_window_set_focus_visible(m_window, TRUE);
    return true;
}

void MainWindow::focusContent()
{
    if (std::string_view(gtk_stack_get_visible_child_name(m_pages)) == kStartPage)
        m_start.focus();
    else if (m_view)
        gtk_widget_grab_focus(engineWidget(*m_view));
}

void MainWindow::leavePart(GtkWidget* part)
{
    if (hasFocus(part))
        focusContent();
}

void MainWindow::followSize()
{
    m_signals.connect(m_window, "realize", G_CALLBACK(+[](GtkWidget* window, gpointer data) {
        auto* self = static_cast<MainWindow*>(data);
        self->m_signals.connect(gtk_native_get_surface(GTK_NATIVE(window)), "layout",
            G_CALLBACK(+[](GdkSurface*, int width, int height, gpointer owner) {
                static_cast<MainWindow*>(owner)->resized(layoutOf(width, height));
            }),
            self);
    }),
        this);
}

void MainWindow::resized(Layout layout)
{
    if (layout == m_layout)
        return;
    // Not in the middle of the layout that told us.
    postToMain([layout, weakThis = std::weak_ptr(m_self)] {
        if (auto self = weakThis.lock())
            (*self)->applyLayout(layout);
    });
}

void MainWindow::applyLayout(Layout layout)
{
    if (layout == m_layout)
        return;
    m_layout = layout;
    bool isNarrow = layout == Layout::Narrow;
    GtkOrientation orientation = isNarrow ? GTK_ORIENTATION_VERTICAL : GTK_ORIENTATION_HORIZONTAL;
    gtk_orientable_set_orientation(GTK_ORIENTABLE(m_paned), orientation);
    m_log.setOrientation(orientation);
    m_recording.setOrientation(orientation);
    m_start.setLayout(layout);
    // A screen of that size shows one window; nobody makes it smaller.
    gtk_header_bar_set_decoration_layout(m_header, isNarrow ? ":close" : nullptr);
    auto setSmall = isSmall(layout) ? gtk_widget_add_css_class : gtk_widget_remove_css_class;
    setSmall(GTK_WIDGET(m_window), "small");
    gtk_toggle_button_set_active(m_logButton, layout == Layout::Wide);
    gtk_widget_set_visible(m_log.widget(), layout == Layout::Wide);

    if (GtkWidget* place = gtk_widget_get_parent(m_pill.widget()))
        gtk_box_remove(GTK_BOX(place), m_pill.widget());
    gtk_orientable_set_orientation(
        GTK_ORIENTABLE(m_headerPlace), layout == Layout::Short ? GTK_ORIENTATION_HORIZONTAL : GTK_ORIENTATION_VERTICAL);
    gtk_box_append(isNarrow ? m_stripPlace : m_headerPlace, m_pill.widget());
    gtk_widget_set_visible(GTK_WIDGET(m_stripPlace), isNarrow);
    showTitle();
}

void MainWindow::sessionStateChanged(const SessionState& state)
{
    m_pill.show(state);
    m_start.show(state);
    m_recording.show(state);
    const std::string program = _("Whiteboard");
    bool isNamed = state.showsBoard && !state.room.empty();
    gtk_label_set_text(m_title, (isNamed ? state.room : program).c_str());
    gtk_window_set_title(m_window, (isNamed ? state.room + " – " + program : program).c_str());
    gtk_widget_set_visible(m_leaveButton, state.showsBoard || state.canBeLeft());
    gtk_widget_set_sensitive(m_leaveButton, state.canBeLeft());
    if (state.isBusy())
        m_message.dismiss();
    setBoardVisible(state.showsBoard);
    showTitle();
    // The button that was pressed could not keep the focus meanwhile.
    if (std::exchange(m_wasBusy, state.isBusy()) && !state.isBusy() && !state.showsBoard)
        m_start.focus();
}

void MainWindow::showTitle()
{
    // Beside the buttons of a narrow header bar a title would be nothing but an ellipsis.
    bool isCrowded = m_layout == Layout::Narrow && gtk_widget_get_visible(m_leaveButton);
    gtk_widget_set_visible(GTK_WIDGET(m_title), !isCrowded);
}

void MainWindow::setBoardVisible(bool isVisible)
{
    const char* page = isVisible ? kBoardPage : kStartPage;
    if (std::string_view(gtk_stack_get_visible_child_name(m_pages)) == page)
        return;
    gtk_stack_set_visible_child_name(m_pages, page);
    focusContent();
}

void MainWindow::sessionViewChanged(const std::shared_ptr<tq::TQWBWebView>& view)
{
    if (m_view)
        gtk_box_remove(m_board, tq::nativeView(*m_view));
    m_view = view;
    if (!m_view)
        return;
    GtkWidget* widget = tq::nativeView(*m_view);
    for (GtkWidget* named : { widget, engineWidget(*m_view) })
        setAccessibleName(named, _("The room's page"));
    gtk_widget_set_hexpand(widget, TRUE);
    gtk_widget_set_vexpand(widget, TRUE);
    gtk_box_append(m_board, widget);
}

void MainWindow::sessionEvent(std::string_view name, std::string_view detail, Severity severity)
{
    m_log.add(name, detail, severity);
}

void MainWindow::sessionFailed(std::string_view title, std::string_view detail)
{
    m_message.show(std::string(title), std::string(detail));
}

void MainWindow::sessionRecorded(const tq::OptionalText& url)
{
    if (!url || url->size() > kLongestAddress)
        return;
    m_start.setReplayUrl(*url);
    m_recording.offer(*url);
}

void MainWindow::sessionCaptured(const tq::UIImage& image)
{
    m_log.showCapture(image);
    // Whoever takes a picture wants to see it, but not to lose half of the board to it.
    if (!gtk_toggle_button_get_active(m_logButton))
        gtk_widget_add_css_class(GTK_WIDGET(m_logButton), "suggested-action");
}

} // namespace tqclient
