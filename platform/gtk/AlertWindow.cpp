#include "../UIKit/AlertWindow.h"

#include "../UIKit/UITextField.h"
#include "AlertContent.h"
#include "GLibPointers.h"

#include <algorithm>
#include <gtk/gtk.h>
#include <utility>

namespace tq {

namespace {

// What fits a telephone held sideways, and what is high enough for anybody.
constexpr int kLeastHeight = 320;
constexpr int kMostHeight = 640;
// What the toolkit may draw around a window.
constexpr int kFrame = 12;

} // namespace

struct AlertWindow::Impl {
    ~Impl();
    void create(const AlertText& text);
    void addContent(const AlertText& text, GtkWidget* entry);
    void addEscape();

    // The window goes while its handler runs, and what is told with it.
    void press(std::int64_t button) const
    {
        const auto tell = pressed;
        tell(button);
    }
    static void cancel(gpointer, gpointer impl) { static_cast<Impl*>(impl)->press(kCancelButton); }
    static void accept(gpointer, gpointer impl) { static_cast<Impl*>(impl)->press(kOtherButton); }
    static gboolean closeRequest(GtkWindow*, gpointer impl)
    {
        cancel(nullptr, impl);
        return TRUE;
    }

    Pressed pressed;
    // Not held, so that it can go; the alert goes with it.
    GtkWindow* parent = nullptr;
    SignalConnection parentGoes{};
    GObjectPointer<GtkWindowGroup> group{};
    GtkWindow* window = nullptr;
    GtkWidget* defaultButton = nullptr;
};

AlertWindow::Impl::~Impl()
{
    parentGoes = {};
    if (group && gtk_window_has_group(parent) && gtk_window_get_group(parent) == group.get())
        gtk_window_group_remove_window(group.get(), parent);
    group.reset();
    if (window)
        gtk_window_destroy(window);
}

void AlertWindow::Impl::create(const AlertText& text)
{
    // Over no window there is none to hold up.
    window = static_cast<GtkWindow*>(g_object_new(GTK_TYPE_WINDOW, "title", text.name.c_str(), "modal",
        parent != nullptr, "resizable", FALSE, "accessible-role", GTK_ACCESSIBLE_ROLE_ALERT_DIALOG, nullptr));
    gtk_window_set_transient_for(window, parent);
    // The application's other windows go on; without a group of its own the alert would hold up all of them.
    if (parent && !gtk_window_has_group(parent)) {
        group.reset(gtk_window_group_new());
        gtk_window_group_add_window(group.get(), parent);
        gtk_window_group_add_window(group.get(), window);
    }
    gtk_widget_add_css_class(GTK_WIDGET(window), "dialog");
    gtk_widget_add_css_class(GTK_WIDGET(window), "message");
    // The alert says its title itself; it has no bar.
    auto* bar = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0);
    gtk_widget_set_visible(bar, FALSE);
    gtk_window_set_titlebar(window, bar);
    g_signal_connect(window, "close-request", G_CALLBACK(closeRequest), this);
    addEscape();
}

void AlertWindow::Impl::addContent(const AlertText& text, GtkWidget* entry)
{
    AlertContent content(text.title, text.message, entry);
    defaultButton = content.addButton(text.cancelButton);
    g_signal_connect(defaultButton, "clicked", G_CALLBACK(cancel), this);
    if (text.otherButton) {
        defaultButton = content.addButton(*text.otherButton);
        g_signal_connect(defaultButton, "clicked", G_CALLBACK(accept), this);
    }
    gtk_widget_add_css_class(defaultButton, "suggested-action");
    const int height = parent ? gtk_widget_get_height(GTK_WIDGET(parent)) : 0;
    content.putInto(window, std::clamp(height, kLeastHeight, kMostHeight) - kFrame);
}

void AlertWindow::Impl::addEscape()
{
    auto* shortcuts = gtk_shortcut_controller_new();
    gtk_shortcut_controller_set_scope(GTK_SHORTCUT_CONTROLLER(shortcuts), GTK_SHORTCUT_SCOPE_GLOBAL);
    auto* action = gtk_callback_action_new(
        [](GtkWidget*, GVariant*, gpointer impl) -> gboolean { return closeRequest(nullptr, impl); }, this, nullptr);
    gtk_shortcut_controller_add_shortcut(GTK_SHORTCUT_CONTROLLER(shortcuts),
        gtk_shortcut_new(gtk_keyval_trigger_new(GDK_KEY_Escape, GdkModifierType(0)), action));
    gtk_widget_add_controller(GTK_WIDGET(window), shortcuts);
}

AlertWindow::AlertWindow(void* over, Pressed pressed)
    : m_impl(new Impl{ .pressed = std::move(pressed) })
{
    auto* root = over ? gtk_widget_get_root(static_cast<GtkWidget*>(over)) : nullptr;
    if (!GTK_IS_WINDOW(root))
        return;
    m_impl->parent = GTK_WINDOW(root);
    m_impl->parentGoes = SignalConnection(root, "destroy", G_CALLBACK(Impl::cancel), m_impl.get());
}

AlertWindow::~AlertWindow() = default;

const void* AlertWindow::parent() const { return m_impl->parent; }

void AlertWindow::present(const AlertText& text, const UITextField* field)
{
    auto* parent = m_impl->parent;
    if (m_impl->window || (parent && gtk_widget_in_destruction(GTK_WIDGET(parent))))
        return;
    auto* entry = field ? static_cast<GtkWidget*>(field->nativeHandle()) : nullptr;
    if (entry)
        gtk_entry_set_activates_default(GTK_ENTRY(entry), TRUE);
    m_impl->create(text);
    m_impl->addContent(text, entry);
    gtk_window_set_default_widget(m_impl->window, m_impl->defaultButton);
    gtk_window_set_focus(m_impl->window, entry ? entry : m_impl->defaultButton);
    gtk_window_present(m_impl->window);
}

} // namespace tq
