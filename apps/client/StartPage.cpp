#include "StartPage.h"

#include "Accessible.h"
#include "MainThread.h"
#include "Translation.h"

#include <string_view>

namespace tqclient {

namespace {

constexpr const char* kJoinPage = "join";
constexpr const char* kReplayPage = "replay";

GtkWidget* centeredLabel(const char* text, const char* style)
{
    GtkWidget* label = gtk_label_new(text);
    gtk_widget_add_css_class(label, style);
    gtk_label_set_wrap(GTK_LABEL(label), TRUE);
    gtk_label_set_justify(GTK_LABEL(label), GTK_JUSTIFY_CENTER);
    return label;
}

void nameTabs(GtkWidget* switcher, std::initializer_list<const char*> titles)
{
    GtkWidget* tab = gtk_widget_get_first_child(switcher);
    for (const char* title : titles) {
        setAccessibleName(tab, withoutMnemonic(title));
        tab = gtk_widget_get_next_sibling(tab);
    }
}

} // namespace

StartPage::StartPage(const Options& options, JoinForm::Submit join, ReplayForm::Submit replay)
    : m_join(options, std::move(join))
    , m_replay(options, std::move(replay))
    , m_scroller(newGroup(GTK_TYPE_SCROLLED_WINDOW))
    , m_column(gtk_box_new(GTK_ORIENTATION_VERTICAL, 10))
    , m_introduction{ centeredLabel(_("Whiteboard"), "headline"),
        centeredLabel(_("Draw together in a live room, or watch a recorded one."), "dim-label") }
    , m_forms(GTK_STACK(gtk_stack_new()))
    , m_spinner(GTK_SPINNER(gtk_spinner_new()))
    , m_self(std::make_shared<StartPage*>(this))
{
    GtkStackPage* joinPage = gtk_stack_add_titled(m_forms, m_join.grid().widget(), kJoinPage, _("_Join a room"));
    GtkStackPage* replayPage
        = gtk_stack_add_titled(m_forms, m_replay.grid().widget(), kReplayPage, _("_Replay a recording"));
    gtk_stack_page_set_use_underline(joinPage, TRUE);
    gtk_stack_page_set_use_underline(replayPage, TRUE);
    gtk_stack_set_vhomogeneous(m_forms, FALSE);
    if (options.command == StartCommand::Play)
        gtk_stack_set_visible_child_name(m_forms, kReplayPage);

    GtkWidget* switcher = gtk_stack_switcher_new();
    gtk_stack_switcher_set_stack(GTK_STACK_SWITCHER(switcher), m_forms);
    gtk_widget_set_halign(switcher, GTK_ALIGN_CENTER);
    nameTabs(switcher, { gtk_stack_page_get_title(joinPage), gtk_stack_page_get_title(replayPage) });

    setAccessibleName(switcher, _("What to open"));
    setAccessibleName(GTK_WIDGET(m_spinner), _("Working"));
    setAccessibleName(m_scroller, _("Whiteboard"));
    gtk_widget_add_css_class(m_column, "start-page");
    gtk_widget_set_valign(m_column, GTK_ALIGN_CENTER);
    for (GtkWidget* label : m_introduction)
        gtk_box_append(GTK_BOX(m_column), label);
    gtk_box_append(GTK_BOX(m_column), switcher);
    gtk_box_append(GTK_BOX(m_column), GTK_WIDGET(m_forms));
    gtk_box_append(GTK_BOX(m_column), GTK_WIDGET(m_spinner));
    gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(m_scroller), GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
    gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(m_scroller), m_column);

    m_signals.connect(gtk_scrolled_window_get_vadjustment(GTK_SCROLLED_WINDOW(m_scroller)), "notify::page-size",
        G_CALLBACK(+[](GObject*, GParamSpec*, gpointer self) { static_cast<StartPage*>(self)->heightChanged(); }),
        this);
    m_signals.connect(m_forms, "notify::visible-child",
        G_CALLBACK(+[](GObject*, GParamSpec*, gpointer self) { static_cast<StartPage*>(self)->formSwitched(); }), this);
}

bool StartPage::showsReplay() const
{
    const char* name = gtk_stack_get_visible_child_name(m_forms);
    return name && std::string_view(name) == kReplayPage;
}

void StartPage::formSwitched()
{
    // What was typed in the one form need not be typed again in the other.
    if (showsReplay())
        m_replay.identity().setValues(m_join.identity().values());
    else
        m_join.identity().setValues(m_replay.identity().values());
}

void StartPage::show(const SessionState& state)
{
    bool isBusy = state.isBusy();
    auto busy = isBusy ? FormGrid::Busy::Yes : FormGrid::Busy::No;
    m_join.grid().setBusy(busy);
    m_replay.grid().setBusy(busy);
    gtk_spinner_set_spinning(m_spinner, isBusy);
    gtk_widget_set_visible(GTK_WIDGET(m_spinner), isBusy);
}

void StartPage::setLayout(Layout layout)
{
    gtk_widget_set_halign(m_column, layout == Layout::Narrow ? GTK_ALIGN_FILL : GTK_ALIGN_CENTER);
    for (GtkWidget* label : m_introduction)
        gtk_widget_set_visible(label, layout != Layout::Short);
}

void StartPage::heightChanged()
{
    // Not in the middle of the layout that told us.
    postToMain([weakThis = std::weak_ptr(m_self)] {
        if (auto self = weakThis.lock())
            (*self)->keepFocusInSight();
    });
}

void StartPage::keepFocusInSight()
{
    GtkRoot* root = gtk_widget_get_root(m_scroller);
    GtkWidget* focus = root ? gtk_root_get_focus(root) : nullptr;
    graphene_rect_t place;
    if (!focus || !gtk_widget_is_ancestor(focus, m_column)
        || !gtk_widget_compute_bounds(focus, gtk_widget_get_parent(m_column), &place))
        return;
    constexpr double kMargin = 8;
    GtkAdjustment* scrolled = gtk_scrolled_window_get_vadjustment(GTK_SCROLLED_WINDOW(m_scroller));
    const double top = gtk_adjustment_get_value(scrolled) + place.origin.y;
    gtk_adjustment_clamp_page(scrolled, top - kMargin, top + place.size.height + kMargin);
}

void StartPage::focus()
{
    if (showsReplay())
        m_replay.grid().focusFirstGap();
    else
        m_join.grid().focusFirstGap();
}

} // namespace tqclient
